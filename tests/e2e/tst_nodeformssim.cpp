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

    dsp->diagram()->openNodeForm(true)->findChild<QPushButton *>("pb_far_0")->menu()->actions()[3]->trigger();
    QWidget *mix = dsp->diagram()->openNodeForm(false);
    QTest::mouseClick(mix->findChild<QWidget *>("DspAutomixChForm_1")->findChild<QPushButton *>("pb_inmix"),
                      Qt::LeftButton);
    QTRY_VERIFY_WITH_TIMEOUT(ctl->isIdle() && !ctl->document().nodeArr[mixNode].automixer.maskArr[1], 15000);

    const DspExchange::Result fresh = DspExchange::run(Ipv4::toText(window.registry().findByDevId("SIM-0006")->rec.ip),
                                                       QStringLiteral(R"({"ops":"getConfig","uiTag":"dspUiTag"})"));
    const QJsonArray nodes = QJsonDocument::fromJson(fresh.reply.toUtf8())["config"]["nodeArr"].toArray();
    QCOMPARE(nodes[aecNode]["portArr"][0]["farArr"].toArray(), QJsonArray{QStringLiteral("3")});
    QCOMPARE(nodes[mixNode]["obj"]["maskArr"][1].toString(), QStringLiteral("0"));
}

QTEST_MAIN(TestNodeFormsSim)
#include "tst_nodeformssim.moc"
