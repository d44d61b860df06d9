// The clock, statistics and levels pages of the program against corvane-sim,
// inside a private network namespace (tests/netns-run). The simulator runs
// "Stage Box 2" warm, "Amp Rack" overheating and "Wall Panel 4" silent.
#include "core/app/language.h"
#include "gui/clock/clockform.h"
#include "gui/clock/clockitemform.h"
#include "gui/clock/dialogchangepriority.h"
#include "gui/clock/formclocktitle.h"
#include "gui/monitor/devmeterview.h"
#include "gui/monitor/devvolumeform.h"
#include "gui/monitor/devvolumeitemform.h"
#include "gui/monitor/devvolumetitleform.h"
#include "gui/monitor/formnettitle.h"
#include "gui/monitor/netstateform.h"
#include "gui/monitor/netstateitemform.h"
#include "gui/widgets/rowtipbutton.h"

#include "gui/widgets/style.h"

#include "../support/programwindow.h"
#include "../support/simulator.h"

#include <QDir>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QtTest>

class TestMonitorSim : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase();
    void hotDevicesShowTheirProblems();
    void silentDeviceShowsTheCommunicationProblem();
    void levelsArriveThroughThePageLevelNames();
    void clockSummaryInTheStandardOrder();
    void priorityChangeReElectsTheLeader();
    void meterViewOfTheLargestDevice();
    void pictures();

private:
    QString tipOf(const QString &devId) const;

    Simulator m_sim;
    ProgramWindow m_window;
    ClockForm *m_clock = nullptr;
    NetStateForm *m_stats = nullptr;
    DevVolumeForm *m_levels = nullptr;
};

void TestMonitorSim::initTestCase()
{
    REQUIRE_PRIVATE_NETWORK();
    Language::setChinese(false);
    QVERIFY2(m_sim.start({"--settle-ms", "800", "--hot", "Stage Box 2", "--hot", "Amp Rack=error", "--silent",
                          "Wall Panel 4"}),
             m_sim.why());
    QVERIFY(m_window.open(MainWindow::Devices));
    m_clock = m_window.page<ClockForm>(MainWindow::Clock);
    m_stats = m_window.page<NetStateForm>(MainWindow::NetStats);
    m_levels = m_window.page<DevVolumeForm>(MainWindow::Levels);
    QVERIFY(m_clock && m_stats && m_levels);
    QTRY_COMPARE_WITH_TIMEOUT(m_clock->items().size(), 8, 10000);
}

QString TestMonitorSim::tipOf(const QString &devId) const
{
    const NetStateItemForm *item = m_stats->item(devId);
    return item && item->tipButton()->isVisibleTo(item) ? item->tipButton()->toolTip() : QString();
}

void TestMonitorSim::hotDevicesShowTheirProblems()
{
    // New devices are asked at once; no need to wait for the 5 s tick.
    QTRY_COMPARE_WITH_TIMEOUT(
        tipOf("SIM-0001"),
        QStringLiteral("Stage Box 2 temperature is too high, please pay attention to heat dissipation"), 10000);
    QCOMPARE(m_stats->item("SIM-0001")->tipButton()->problem().level, RowProblem::Warning);
    // The overheating amplifier protects itself; that is the more serious news.
    QTRY_COMPARE_WITH_TIMEOUT(
        tipOf("SIM-0004"), QStringLiteral("Amp Rack amplifier protection is on (code 2), please check the equipment"),
        10000);
    QCOMPARE(m_stats->item("SIM-0004")->tipButton()->problem().level, RowProblem::Error);
    const QString temp = m_stats->item("SIM-0004")->text(FormNetTitle::Temperature);
    QVERIFY2(temp.endsWith(" °C") && temp.left(4).toDouble() > 85.0, qPrintable(temp));
    const QString tip = m_stats->item("SIM-0004")->label(FormNetTitle::Temperature)->toolTip();
    QVERIFY2(tip.startsWith("Device temperature: " + temp) && tip.contains("Amplifier power: on") &&
                 tip.contains("Output 4: "),
             qPrintable(tip));
    // A device at a normal temperature has no tip, and its running time counts.
    QCOMPARE(tipOf("SIM-0002"), QString());
    QVERIFY(QRegularExpression("^0:0:\\d+$").match(m_stats->item("SIM-0002")->text(FormNetTitle::Uptime)).hasMatch());
    // Stage Box 8 sends its flow "Stage L-R": 2 channels, L24, 1 ms.
    QTRY_COMPARE_WITH_TIMEOUT(m_stats->item("SIM-0002")->text(FormNetTitle::Bandwidth),
                              QStringLiteral("0.00 Mbps / 2.77 Mbps"), 10000);
}

void TestMonitorSim::silentDeviceShowsTheCommunicationProblem()
{
    m_stats->setPollInterval(300);
    QTRY_COMPARE_WITH_TIMEOUT(
        tipOf("SIM-0007"),
        QStringLiteral("Wall Panel 4 communication is abnormal, please check the network connection"), 5000);
    QCOMPARE(m_stats->item("SIM-0007")->text(FormNetTitle::Temperature), QString());
    // The devices that answer keep answering (a reply may still be on its
    // way when the next poll leaves, so one poll may count as missed).
    QTest::qWait(1000);
    QVERIFY(!m_stats->tracker().unreachable("SIM-0002"));
    QVERIFY(!tipOf("SIM-0001").contains("communication"));
    m_stats->setPollInterval(NetStatsTracker::kPollMs);
}

void TestMonitorSim::levelsArriveThroughThePageLevelNames()
{
    // Stage Box 8's inputs 7 and 8 are silent; nothing is routed to it.
    QTRY_VERIFY_WITH_TIMEOUT(m_levels->item("SIM-0002") &&
                                 m_levels->item("SIM-0002")->text(DevVolumeTitleForm::AnalogIn).count('/') == 7,
                             5000);
    QVERIFY(m_levels->item("SIM-0002")->text(DevVolumeTitleForm::AnalogIn).endsWith("/-/-"));
    QCOMPARE(m_levels->item("SIM-0002")->text(DevVolumeTitleForm::NetIn), QStringLiteral("-/-/-/-/-/-/-/-"));
    // Console 64 has 64 network channels: 32 shown on four lines.
    QTRY_COMPARE_WITH_TIMEOUT(m_levels->item("SIM-0003")->text(DevVolumeTitleForm::NetOut).split('\n').size(), 4, 5000);
    // The silent device shows no levels at all.
    QCOMPARE(m_levels->item("SIM-0007")->text(DevVolumeTitleForm::AnalogIn), QString());
}

void TestMonitorSim::clockSummaryInTheStandardOrder()
{
    // By name, whatever order the simulator's devices announced in.
    QStringList names;
    for (ClockItemForm *i : m_clock->items())
        names << i->text(FormClockTitle::Name);
    QCOMPARE(names, (QStringList{"Amp Rack", "Console 64", "DSP Matrix 16", "PC Audio", "Stage Box 2", "Stage Box 8",
                                 "Stage Rack 128", "Wall Panel 4"}));
    QTRY_VERIFY_WITH_TIMEOUT(m_clock->summaryLabel()->text().contains("leader Stage Box 8 (SIM-0002)"), 10000);
    QVERIFY(m_clock->item("SIM-0002")->hasLeaderMark());
    QVERIFY(!m_clock->item("SIM-0003")->hasLeaderMark());
    QVERIFY(m_clock->rateWarningLabel()->isVisibleTo(m_clock));
    QVERIFY(m_clock->rateWarningLabel()->text().endsWith("most devices run at 48 kHz; Wall Panel 4 runs at 96 kHz"));
    QVERIFY(m_clock->summaryLabel()->text().contains(" of 8 locked"));
}

void TestMonitorSim::priorityChangeReElectsTheLeader()
{
    ClockItemForm *box2 = m_clock->item("SIM-0001");
    ClockItemForm *box8 = m_clock->item("SIM-0002");
    QVERIFY(box2 && box8);
    QTRY_COMPARE_WITH_TIMEOUT(box8->text(FormClockTitle::Role), QStringLiteral("Master"), 10000);
    QTRY_COMPARE_WITH_TIMEOUT(box2->text(FormClockTitle::Priority), QStringLiteral("128"), 10000);
    QTRY_COMPARE_WITH_TIMEOUT(box2->text(FormClockTitle::State), QStringLiteral("locked"), 15000);

    m_window->setPage(MainWindow::Clock);
    QTest::mouseClick(box2->editButton(), Qt::LeftButton);
    auto *dialog = m_clock->findChild<DialogChangePriority *>();
    QVERIFY(dialog);
    auto *field = dialog->findChild<QLineEdit *>("le_priority");
    field->clear();
    QTest::keyClicks(field, "50");
    QTest::mouseClick(dialog->findChild<QPushButton *>("pb_ok"), Qt::LeftButton);

    // Lower wins: Stage Box 2 leads, and the page reads the new priority back.
    QTRY_COMPARE_WITH_TIMEOUT(box2->text(FormClockTitle::Priority), QStringLiteral("50"), 5000);
    QTRY_COMPARE_WITH_TIMEOUT(box2->text(FormClockTitle::Role), QStringLiteral("Master"), 10000);
    QTRY_COMPARE_WITH_TIMEOUT(box8->text(FormClockTitle::Role), QStringLiteral("Slave"), 10000);
    QCOMPARE(box2->text(FormClockTitle::State), QStringLiteral("locked"));
    QTRY_VERIFY_WITH_TIMEOUT(m_clock->summaryLabel()->text().contains("leader Stage Box 2 (SIM-0001)"), 10000);
    QTRY_VERIFY_WITH_TIMEOUT(box2->hasLeaderMark() && !box8->hasLeaderMark(), 10000);
    // The old leader settles on the new one.
    QTRY_COMPARE_WITH_TIMEOUT(box8->text(FormClockTitle::State), QStringLiteral("locked"), 15000);
    QCOMPARE(m_clock->item("SIM-0005")->text(FormClockTitle::Role), QStringLiteral("Slave"));
}

void TestMonitorSim::meterViewOfTheLargestDevice()
{
    // Stage Rack 128: 128 network channels each way, every one a bar.
    m_window->setPage(MainWindow::Levels);
    QTRY_VERIFY_WITH_TIMEOUT(m_levels->item("SIM-0008"), 5000);
    QTest::mouseClick(m_levels->item("SIM-0008")->label(DevVolumeTitleForm::Name), Qt::LeftButton);
    DevMeterView *view = m_levels->meterView();
    QCOMPARE(view->chosen(), QStringLiteral("SIM-0008"));
    QCOMPARE(view->bars(LevelsTracker::NetIn).size(), 128);
    QCOMPARE(view->bars(LevelsTracker::NetOut).size(), 128);
    QCOMPARE(view->bars(LevelsTracker::AnalogIn).size(), 16);
    // Every channel's level comes in, past the 32 the cells show.
    QTRY_COMPARE_WITH_TIMEOUT(m_levels->tracker().levels("SIM-0008", LevelsTracker::NetOut).size(), 128, 5000);
    QTRY_COMPARE_WITH_TIMEOUT(m_levels->tracker().levels("SIM-0008", LevelsTracker::AnalogIn).size(), 16, 5000);
}

void TestMonitorSim::pictures()
{
    if (qEnvironmentVariableIsEmpty("CORVANE_SHOT_DIR"))
        QSKIP("set CORVANE_SHOT_DIR to keep pictures of the meters and the priority dialog");
    const QDir dir(qEnvironmentVariable("CORVANE_SHOT_DIR"));
    m_window->resize(1500, 860);
    qApp->setStyleSheet(Style::applicationStyleSheet()); // as the program looks
    for (const bool chinese : {false, true}) {
        const QString lang = chinese ? QStringLiteral("zh") : QStringLiteral("en");
        m_window->slot_switchLanguage(chinese);
        m_window->setPage(MainWindow::Levels);
        m_levels->showMeters(QStringLiteral("SIM-0008"));
        QTest::qWait(2500); // two polls, so the peaks have something to hold
        QVERIFY(m_window->grab().save(dir.filePath(QStringLiteral("levels-meters-%1.png").arg(lang))));

        m_window->setPage(MainWindow::Clock);
        QTest::mouseClick(m_clock->item("SIM-0001")->editButton(), Qt::LeftButton);
        auto *dialog = m_clock->findChild<DialogChangePriority *>();
        QVERIFY(dialog);
        QTRY_VERIFY(dialog->isVisible());
        QTest::qWait(200); // let the window system draw it before the grab
        QVERIFY(dialog->grab().save(dir.filePath(QStringLiteral("clock-priority-%1.png").arg(lang))));
        QTest::mouseClick(dialog->findChild<QPushButton *>("pb_cancel"), Qt::LeftButton);
        QTRY_VERIFY(!m_clock->findChild<DialogChangePriority *>());
    }
    m_window->slot_switchLanguage(false);
    qApp->setStyleSheet(QString());
}

QTEST_MAIN(TestMonitorSim)
#include "tst_monitorsim.moc"
