// The equaliser editor against corvane-sim's SIM-0007, inside a private network namespace (tests/netns-run):
// a band typed into the editor and a crossover picked are on the device at once, as a fresh "getConfig" on a
// connection of its own shows.
#include "core/dsp/dspcontroller.h"
#include "core/dsp/dspexchange.h"
#include "core/dsp/filters/crossoverchoice.h"
#include "core/protocol/ipv4.h"
#include "gui/dsp/devdspdialog.h"
#include "gui/dsp/dspdiagramform.h"
#include "gui/dsp/dspeqhlpblockform.h"
#include "gui/dsp/dspeqsingleform.h"

#include "../support/programwindow.h"
#include "../support/simulator.h"

#include <QComboBox>
#include <QDoubleSpinBox>
#include <QJsonArray>
#include <QJsonDocument>
#include <QtTest>

class TestEqEditorSim : public QObject
{
    Q_OBJECT
private slots:
    void bandAndCrossoverReachTheDevice();

private:
    Simulator m_sim;
    ProgramWindow m_window;
};

void TestEqEditorSim::bandAndCrossoverReachTheDevice()
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

    const quint64 eqUid = ctl->blockId(DspSide::In, 0, 4);
    auto *form = qobject_cast<DspEqHlpBlockForm *>(dsp->diagram()->openBlockEditor(eqUid));
    QVERIFY(form);
    QVERIFY(QTest::qWaitForWindowExposed(form));
    auto *gain = form->strips().at(1)->findChild<QDoubleSpinBox *>("sp_gain");
    gain->selectAll();
    QTest::keyClicks(gain, "-7.5");
    QTest::keyClick(gain, Qt::Key_Enter);
    auto *lpType = form->findChild<QComboBox *>("com_lpfType");
    const int lpIndex = lpType->currentIndex() == 4 ? 7 : 4; // Butterworth 24 or 36: a change either way
    while (lpType->currentIndex() != lpIndex)
        QTest::keyClick(lpType, lpType->currentIndex() < lpIndex ? Qt::Key_Down : Qt::Key_Up);
    QTRY_VERIFY_WITH_TIMEOUT(ctl->isIdle(), kWaitMs);
    QCOMPARE(ctl->block(eqUid)->as<DspEq>()->bands[1].dbGain, -7.5f);

    const QString address = Ipv4::toText(m_window.registry().findByDevId(device)->rec.ip);
    const DspExchange::Result fresh = DspExchange::run(address, QStringLiteral(R"({"ops":"getConfig","uiTag":"dspUiTag"})"));
    QVERIFY2(fresh.ok, qPrintable(fresh.message));
    const QJsonObject config = QJsonDocument::fromJson(fresh.reply.toUtf8()).object().value("config").toObject();
    const QJsonArray chain = config.value("nodeArr")[0].toObject().value("portArr")[0].toObject().value("procArr").toArray();
    QCOMPARE(chain[4].toObject()["obj"].toObject()["eqArr"].toArray()[1].toObject()["dbGain"].toString(), "-7.5");
    const QJsonObject lp = chain[6].toObject()["obj"].toObject();
    QCOMPARE(lp["order"].toString().toInt(), CrossoverChoice::choice(lpIndex).order);
    QCOMPARE(lp["type"].toString().toInt(), CrossoverChoice::choice(lpIndex).type);

    dsp->close();
    QTRY_VERIFY(!m_window->dspWindow(device));
}

QTEST_MAIN(TestEqEditorSim)
#include "tst_eqeditorsim.moc"
