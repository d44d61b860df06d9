// The table-driven block editors against corvane-sim's SIM-0007, inside a private network namespace
// (tests/netns-run): edits made in them are in a fresh "getConfig", and the compressor's reduction meter follows
// the simulated signal as its threshold comes down.
#include "core/dsp/dspcontroller.h"
#include "core/dsp/params/dspparams.h"
#include "gui/dsp/devdspdialog.h"
#include "gui/dsp/dspdiagramform.h"
#include "gui/dsp/blocks/dspdelayblockform.h"
#include "gui/dsp/blocks/dspdynamicsform.h"

#include "../support/programwindow.h"
#include "../support/simulator.h"

#include <QDoubleSpinBox>
#include <QLabel>
#include <QPushButton>
#include <QSlider>
#include <QtTest>

class TestBlockFormsSim : public QObject
{
    Q_OBJECT
private slots:
    void editsReachTheDeviceAndMetersMove();
};

void TestBlockFormsSim::editsReachTheDeviceAndMetersMove()
{
    REQUIRE_PRIVATE_NETWORK();
    Simulator sim;
    QVERIFY2(sim.start(), sim.why());
    ProgramWindow window;
    QVERIFY(window.open(MainWindow::Devices));
    QTRY_VERIFY_WITH_TIMEOUT(window.registry().findByDevId("SIM-0007"), 15000);
    DevDspDialog *dsp = window->slot_openDsp("SIM-0007");
    DspController *ctl = dsp->controller();
    QTRY_VERIFY_WITH_TIMEOUT(ctl->isLoaded(), 15000);

    auto *comp = qobject_cast<DspCompressForm *>(dsp->diagram()->openBlockEditor(ctl->blockId(DspSide::Out, 0, 4)));
    QVERIFY(comp);
    QTest::mouseClick(comp->findChild<QPushButton *>("pb_bypass"), Qt::LeftButton);
    auto *threshold = comp->findChild<QSlider *>("slider_threshold");
    auto *reduce = comp->findChild<QLabel *>("lab_reduce");
    threshold->setValue(1000); // 0 dBFS: nothing to reduce
    QTRY_COMPARE_WITH_TIMEOUT(reduce->text(), QStringLiteral("0"), 10000);
    threshold->setValue(400); // -60 dBFS
    QTRY_VERIFY_WITH_TIMEOUT(reduce->text().toInt() < -10, 10000);

    auto *delay = qobject_cast<DspDelayBlockForm *>(dsp->diagram()->openBlockEditor(ctl->blockId(DspSide::In, 0, 3)));
    QVERIFY(delay);
    delay->findChild<QDoubleSpinBox *>("dsMilliSeconds")->setValue(10.0);
    QTRY_VERIFY_WITH_TIMEOUT(ctl->isIdle(), 10000);

    // The other editors of the default chains: one slider each, and the value the controller took is the
    // device's.
    const struct
    {
        DspSide side;
        int proc;
        const char *slider;
        const char *member;
    } others[] = {{DspSide::In, 0, "slider_freq", "freq"},         {DspSide::In, 1, "slider_opentime", "openMs"},
                  {DspSide::In, 2, "slider_freqshift", "freqShift"}, {DspSide::In, 7, "slider_release", "releaseMs"},
                  {DspSide::Out, 5, "slider_limit", "limitDb"}};
    QVector<double> before;
    for (const auto &o : others) {
        before.append(*DspParams::value(*ctl->block(ctl->blockId(o.side, 0, o.proc)), o.member));
        QWidget *form = dsp->diagram()->openBlockEditor(ctl->blockId(o.side, 0, o.proc));
        QVERIFY2(form, o.member);
        auto *slider = form->findChild<QSlider *>(o.slider);
        slider->setValue(slider->value() + 20);
    }
    QTRY_VERIFY_WITH_TIMEOUT(ctl->isIdle(), 10000);

    const QJsonObject config = window.freshConfig("SIM-0007");
    for (const auto &o : others) {
        const double taken = *DspParams::value(*ctl->block(ctl->blockId(o.side, 0, o.proc)), o.member);
        QVERIFY2(taken != before.takeFirst(), o.member);
        const QJsonObject obj = ProgramWindow::blockOf(config, o.side == DspSide::Out, 0, o.proc)["obj"].toObject();
        QCOMPARE(obj[o.member].toString().toDouble(), taken);
    }
    const QJsonObject compressor = ProgramWindow::blockOf(config, true, 0, 4);
    QCOMPARE(compressor["bypass"].toString(), QStringLiteral("0"));
    QCOMPARE(compressor["obj"].toObject()["trigDb"].toString(), QStringLiteral("-60"));
    // 10 ms at the device's 96 kHz.
    QCOMPARE(ProgramWindow::blockOf(config, false, 0, 3)["obj"].toObject()["delayNum"].toString(), QStringLiteral("960"));
}

QTEST_MAIN(TestBlockFormsSim)
#include "tst_blockformssim.moc"
