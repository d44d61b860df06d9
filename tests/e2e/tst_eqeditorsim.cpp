// The equaliser editor against corvane-sim's SIM-0007, inside a private network namespace (tests/netns-run):
// a band typed into the editor is on the device at once, as a fresh "getConfig" on a connection of its own
// shows.
#include "core/dsp/dspcontroller.h"
#include "core/dsp/dspexchange.h"
#include "core/protocol/ipv4.h"
#include "gui/dsp/devdspdialog.h"
#include "gui/dsp/dspdiagramform.h"
#include "gui/dsp/blocks/dspeqhlpblockform.h"
#include "gui/dsp/blocks/dspeqsingleform.h"

#include "../support/programwindow.h"
#include "../support/simulator.h"

#include <QDoubleSpinBox>
#include <QJsonArray>
#include <QJsonDocument>
#include <QtTest>

class TestEqEditorSim : public QObject
{
    Q_OBJECT
private slots:
    void aBandTypedReachesTheDevice();

private:
    Simulator m_sim;
    ProgramWindow m_window;
};

void TestEqEditorSim::aBandTypedReachesTheDevice()
{
    constexpr int kWaitMs = 15000;
    const QString device = QStringLiteral("SIM-0007");
    REQUIRE_PRIVATE_NETWORK();
    QVERIFY2(m_sim.start(), m_sim.why());
    QVERIFY(m_window.open(MainWindow::Devices));
    QTRY_VERIFY_WITH_TIMEOUT(m_window.registry().findByDevId(device), kWaitMs);
    DevDspDialog *dsp = m_window->slot_openDsp(device);
    DspController *ctl = dsp->controller();
    QTRY_VERIFY_WITH_TIMEOUT(ctl->isLoaded(), kWaitMs);

    auto *form = qobject_cast<DspEqHlpBlockForm *>(dsp->diagram()->openBlockEditor(ctl->blockId(DspSide::In, 0, 4)));
    QVERIFY(form && QTest::qWaitForWindowExposed(form));
    auto *gain = form->strips().at(1)->findChild<QDoubleSpinBox *>("sp_gain");
    gain->selectAll();
    QTest::keyClicks(gain, "-7.5");
    QTest::keyClick(gain, Qt::Key_Enter);
    QTRY_COMPARE_WITH_TIMEOUT(ctl->block(form->eqUid())->as<DspEq>()->bands[1].dbGain, -7.5f, kWaitMs);

    const QJsonObject eq = ProgramWindow::blockOf(m_window.freshConfig(device), false, 0, 4);
    QCOMPARE(eq["obj"].toObject()["eqArr"].toArray()[1].toObject()["dbGain"].toString(), "-7.5");
}

QTEST_MAIN(TestEqEditorSim)
#include "tst_eqeditorsim.moc"
