// The clock page's rules: role and state, the priority cell, the priority
// dialog's check and command, the row's problems.
#include "core/app/language.h"
#include "core/clock/clockpriority.h"
#include "core/clock/clockrow.h"
#include "core/devices/deviceuistore.h"
#include "core/devices/announcementparser.h"

#include "../support/packets.h"

#include <QtTest>

namespace {

const char kOwn[] = "00-1D-C1-FF-FE-00-00-02";
const char kOther[] = "00-1D-C1-FF-FE-00-00-01";
const char kZero[] = "00-00-00-00-00-00-00-00";

DevRecord record(const char *myClk, const char *gmClk, const char *model = "RK0808")
{
    DevRecord rec;
    const QJsonObject o =
        QJsonDocument::fromJson(
            Packets::announcement("D1", "127.0.0.20",
                                  {{"myClkId", myClk}, {"gmClkId", gmClk}, {"model", model}, {"name", "Box"}}))
            .object();
    AnnouncementParser::readDevice(o, &rec);
    return rec;
}

} // namespace

class TestClockRules : public QObject
{
    Q_OBJECT
private slots:
    void init() { Language::setChinese(false); }
    void roleAndState_data();
    void roleAndState();
    void priorityCell_data();
    void priorityCell();
    void priorityCheck_data();
    void priorityCheck();
    void rowProblems();
};

void TestClockRules::roleAndState_data()
{
    QTest::addColumn<QString>("myClk");
    QTest::addColumn<QString>("gmClk");
    QTest::addColumn<QString>("model");
    QTest::addColumn<int>("ptpState");
    QTest::addColumn<QString>("role");
    QTest::addColumn<QString>("state");
    QTest::newRow("leader, state 0") << kOwn << kOwn << "RK0808" << 0 << "Master" << "locked";
    QTest::newRow("leader, no event yet") << kOwn << kOwn << "RK0808" << -1 << "Master" << "locked";
    QTest::newRow("follower locked") << kOwn << kOther << "RK0808" << 2 << "Slave" << "locked";
    QTest::newRow("follower settling") << kOwn << kOther << "RK0808" << 1 << "Slave" << "unlock";
    QTest::newRow("follower state 0") << kOwn << kOther << "RK0808" << 0 << "Slave" << "unlock";
    QTest::newRow("follower, no event yet") << kOwn << kOther << "RK0808" << -1 << "Slave" << "unlock";
    QTest::newRow("virtual card as leader") << kOwn << kOwn << "RK0000" << 0 << "Slave" << "locked";
    QTest::newRow("virtual card unlocked") << kOwn << kOther << "RK0000" << 1 << "Slave" << "locked";
}

void TestClockRules::roleAndState()
{
    QFETCH(QString, myClk);
    QFETCH(QString, gmClk);
    QFETCH(QString, model);
    QFETCH(int, ptpState);
    const DevRecord rec = record(qPrintable(myClk), qPrintable(gmClk), qPrintable(model));
    DeviceUiData ui;
    ui.ptpState = ptpState;
    const ClockRow row = ClockRow::of(rec, ui);
    QTEST(row.role, "role");
    QTEST(row.state, "state");
}

void TestClockRules::priorityCell_data()
{
    QTest::addColumn<int>("priority");
    QTest::addColumn<QString>("cell");
    QTest::newRow("0") << 0 << "0";
    QTest::newRow("default 128") << 128 << "128";
    QTest::newRow("round 100") << 100 << "100";
    QTest::newRow("255") << 255 << "255";
    QTest::newRow("unknown 37") << 37 << "NA";
    QTest::newRow("unknown 254") << 254 << "NA";
    QTest::newRow("256") << 256 << QStringLiteral("\u2014");
    QTest::newRow("not reported") << -1 << QStringLiteral("\u2014");
}

void TestClockRules::priorityCell()
{
    QFETCH(int, priority);
    QTEST(ClockPriority::cellText(priority), "cell");
}

void TestClockRules::priorityCheck_data()
{
    QTest::addColumn<QString>("typed");
    QTest::addColumn<int>("value");
    QTest::newRow("0") << "0" << 0;
    QTest::newRow("255") << "255" << 255;
    QTest::newRow("spaces") << " 42 " << 42;
    QTest::newRow("leading zeros") << "007" << 7;
    QTest::newRow("256") << "256" << -1;
    QTest::newRow("1000") << "1000" << -1;
    QTest::newRow("negative") << "-1" << -1;
    QTest::newRow("plus") << "+5" << -1;
    QTest::newRow("fraction") << "12.5" << -1;
    QTest::newRow("word") << "abc" << -1;
    QTest::newRow("empty") << "" << -1;
    QTest::newRow("inner space") << "1 2" << -1;
}

void TestClockRules::priorityCheck()
{
    QFETCH(QString, typed);
    QFETCH(int, value);
    QCOMPARE(ClockPriority::parse(typed), value);
    const CommandPlan plan = ClockPriority::plan("D1", typed);
    if (value < 0) {
        QVERIFY(plan.refused());
        QVERIFY(plan.command.isEmpty());
        QCOMPARE(plan.steps.last().text, QStringLiteral("Please enter a number from 0 to 255"));
    } else {
        QVERIFY(!plan.refused());
        QCOMPARE(plan.command.value("val").toString(), QString::number(value));
    }
}

void TestClockRules::rowProblems()
{
    DeviceUiData ui;
    ui.ptpState = 1;
    ui.ptpPriority = 100;
    ui.adjustFreq = "-1.250";
    ui.version = "3.1.4.45";
    const ClockRow settling = ClockRow::of(record(kOwn, kOther), ui);
    QCOMPARE(settling.problem.level, RowProblem::Warning);
    QCOMPARE(settling.problem.text, QStringLiteral("Box is not locked to the clock leader yet"));
    QCOMPARE(settling.priority, QStringLiteral("100"));

    ui.ptpState = 2;
    QCOMPARE(ClockRow::of(record(kOwn, kOther), ui).problem.level, RowProblem::None);
    // No leader known yet: the identities are all zeros.
    QCOMPARE(ClockRow::of(record(kZero, kZero), ui).problem.level, RowProblem::Error);
    QCOMPARE(ClockRow::of(record(kOwn, kZero), ui).problem.level, RowProblem::Error);
    // The virtual sound card never has a clock problem.
    ui.ptpState = -1;
    QCOMPARE(ClockRow::of(record(kZero, kZero, "RK0000"), ui).problem.level, RowProblem::None);
}

QTEST_GUILESS_MAIN(TestClockRules)
#include "tst_clockrules.moc"
