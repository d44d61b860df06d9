// The FIR editor against corvane-sim's 96 kHz signal processor SIM-0007, inside a private network namespace
// (tests/netns-run): a longer design chosen in the editor is what a fresh "getConfig" of the device then holds.
#include "core/dsp/dspcontroller.h"
#include "core/dsp/dspexchange.h"
#include "core/dsp/filters/firdesign.h"
#include "core/protocol/ipv4.h"
#include "gui/dsp/devdspdialog.h"
#include "gui/dsp/dspdiagramform.h"
#include "gui/dsp/blocks/dspfirform.h"

#include "../support/programwindow.h"
#include "../support/simulator.h"

#include <QComboBox>
#include <QJsonArray>
#include <QJsonDocument>
#include <QLabel>
#include <QtTest>

class TestFirEditorSim : public QObject
{
    Q_OBJECT
private slots:
    void designReachesTheDevice();
};

void TestFirEditorSim::designReachesTheDevice()
{
    REQUIRE_PRIVATE_NETWORK();
    Simulator sim;
    QVERIFY2(sim.start(), sim.why());
    ProgramWindow window;
    QVERIFY(window.open(MainWindow::Devices));
    QTRY_VERIFY_WITH_TIMEOUT(window.registry().findByDevId("SIM-0007"), 15000);
    DspController *ctl = window->slot_openDsp("SIM-0007")->controller();
    QTRY_VERIFY_WITH_TIMEOUT(ctl->isLoaded(), 15000);

    // Opened as a click in the diagram opens it: the design follows the device's rate, and says so.
    const quint64 uid = ctl->blockId(DspSide::Out, 0, 6);
    auto *form = qobject_cast<DspFirForm *>(window->dspWindow("SIM-0007")->diagram()->openBlockEditor(uid));
    QVERIFY(form && form->findChild<QLabel *>("lab_designrate")->text().contains("96000"));
    const int longer = FirDesign::tapChoices().value(form->findChild<QComboBox *>("cb_taps")->currentIndex() + 1);
    QTest::keyClick(form->findChild<QComboBox *>("cb_taps"), Qt::Key_Down);
    QTRY_COMPARE_WITH_TIMEOUT(ctl->block(uid)->as<DspFir>()->taps, longer, 15000);

    const QJsonObject obj = ProgramWindow::blockOf(window.freshConfig("SIM-0007"), true, 0, 6)["obj"].toObject();
    QCOMPARE(obj["taps"].toString(), QString::number(longer));
    QCOMPARE(obj["arr"].toArray().size(), longer);
}

QTEST_MAIN(TestFirEditorSim)
#include "tst_fireditorsim.moc"
