// The echo-cancellation and automixer editors against corvane-sim's SIM-0006, which has both nodes, inside a
// private network namespace (tests/netns-run): changes made in each are what a fresh "getConfig" then holds.
#include "core/dsp/dspcontroller.h"
#include "core/dsp/dspexchange.h"
#include "core/protocol/ipv4.h"
#include "gui/dsp/devdspdialog.h"
#include "gui/dsp/dspdiagramform.h"

#include "../support/programwindow.h"
#include "../support/simulator.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QMenu>
#include <QPushButton>
#include <QtTest>

class TestNodeFormsSim : public QObject
{
    Q_OBJECT
private slots:
    void changesReachTheDevice();
};

void TestNodeFormsSim::changesReachTheDevice()
{
    REQUIRE_PRIVATE_NETWORK();
    Simulator sim;
    QVERIFY2(sim.start(), sim.why());
    ProgramWindow window;
    QVERIFY(window.open(MainWindow::Devices));
    QTRY_VERIFY_WITH_TIMEOUT(window.registry().findByDevId("SIM-0006"), 15000);
    DevDspDialog *dsp = window->slot_openDsp("SIM-0006");
    DspController *ctl = dsp->controller();
    QTRY_VERIFY_WITH_TIMEOUT(ctl->isLoaded(), 15000);
    const int aecNode = ctl->aecNodeId(), mixNode = ctl->automixerNodeId();
    QVERIFY(aecNode > 0 && mixNode > 0);

    QWidget *aec = dsp->diagram()->openNodeForm(true);
    QTest::mouseClick(aec->findChild<QPushButton *>("pb_aec_0"), Qt::LeftButton);
    aec->findChild<QPushButton *>("pb_far_0")->menu()->actions()[3]->trigger();
    QWidget *mix = dsp->diagram()->openNodeForm(false);
    QWidget *strip = mix->findChild<QWidget *>("DspAutomixChForm_1");
    QTest::mouseClick(strip->findChild<QPushButton *>("pb_inmix"), Qt::LeftButton);
    QTest::mouseClick(strip->findChild<QPushButton *>("pb_mute"), Qt::LeftButton);
    QTRY_VERIFY_WITH_TIMEOUT(ctl->isIdle() && ctl->document().nodeArr[mixNode].portArr[1].mute, 15000);
    QCOMPARE(ctl->document().nodeArr[aecNode].portArr[0].farArr, QVector<int>{3});

    const DspExchange::Result fresh = DspExchange::run(Ipv4::toText(window.registry().findByDevId("SIM-0006")->rec.ip),
                                                       QStringLiteral(R"({"ops":"getConfig","uiTag":"dspUiTag"})"));
    const QJsonArray nodes = QJsonDocument::fromJson(fresh.reply.toUtf8())["config"]["nodeArr"].toArray();
    const QJsonValue channel = nodes[aecNode]["portArr"][0];
    QCOMPARE(channel["hasAec"].toString(), QStringLiteral("0"));
    QCOMPARE(channel["farArr"].toArray(), QJsonArray{QStringLiteral("3")});
    QCOMPARE(channel["nearArr"].toArray(), QJsonArray{QStringLiteral("0")});
    QCOMPARE(nodes[mixNode]["obj"]["maskArr"][1].toString(), QStringLiteral("0"));
    QCOMPARE(nodes[mixNode]["portArr"][1]["mute"].toString(), QStringLiteral("1"));
}

QTEST_MAIN(TestNodeFormsSim)
#include "tst_nodeformssim.moc"
