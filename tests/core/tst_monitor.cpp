// The statistics and levels pages' rules: temperatures and their levels,
// running time, missed polls, sort orders, derived figures, level cells.
#include "core/app/language.h"
#include "core/app/texts.h"
#include "core/devices/announcementparser.h"
#include "core/monitor/devicehealth.h"
#include "core/monitor/levelcell.h"
#include "core/monitor/levelmeter.h"
#include "core/monitor/levelstracker.h"
#include "core/monitor/netstatsdisplay.h"
#include "core/monitor/netstatstracker.h"

#include "../support/packets.h"

#include <QJsonArray>
#include <QtTest>

namespace {

Device device(const QString &devId, const QString &name, const QJsonObject &overrides = {})
{
    QJsonObject o = overrides;
    o.insert("name", name);
    Device d;
    AnnouncementParser::readDevice(QJsonDocument::fromJson(Packets::announcement(devId, "127.0.0.20", o)).object(),
                                   &d.rec);
    return d;
}

QJsonObject json(const char *text)
{
    return QJsonDocument::fromJson(text).object();
}

QJsonObject debugReply(const QString &devId, const QString &temp, const QString &uptime = "10.00")
{
    return {{"ops", "getDebugInfo"}, {"devId", devId}, {"result", "succ"},
            {"devName", "x"},        {"temp", temp},   {"uptime", uptime}};
}

} // namespace

class TestMonitor : public QObject
{
    Q_OBJECT
private slots:
    void init() { Language::setChinese(false); }
    void temperatures_data();
    void temperatures();
    void runningTime_data();
    void runningTime();
    void missedPollsAndTheNextReply();
    void amplifierInfo();
    void problemOrder();
    void sortOrders();
    void derivedFigures();
    void bandwidthFromTables();
    void levelCells_data();
    void levelCells();
    void levelRequestsAndReplies();
    void meterScale();
    void peakHoldAndClipLatch();
    void metersFetchEveryChannel();
};

void TestMonitor::temperatures_data()
{
    QTest::addColumn<QString>("temp");
    QTest::addColumn<QString>("shown");
    QTest::addColumn<int>("level");
    QTest::addColumn<QString>("tip");
    const QString hot = QStringLiteral("Amp temperature is too high, please pay attention to heat dissipation");
    QTest::newRow("80000") << "80000" << "80.0 °C" << int(RowProblem::None) << "";
    QTest::newRow("80040 rounds to 80.0") << "80040" << "80.0 °C" << int(RowProblem::None) << "";
    QTest::newRow("80500") << "80500" << "80.5 °C" << int(RowProblem::Warning) << hot;
    QTest::newRow("85000") << "85000" << "85.0 °C" << int(RowProblem::Warning) << hot;
    QTest::newRow("85040 rounds to 85.0") << "85040" << "85.0 °C" << int(RowProblem::Warning) << hot;
    QTest::newRow("86000") << "86000" << "86.0 °C" << int(RowProblem::Error)
                           << "Amp temperature is abnormal, please check the equipment";
    QTest::newRow("45500") << "45500" << "45.5 °C" << int(RowProblem::None) << "";
}

void TestMonitor::temperatures()
{
    QFETCH(QString, temp);
    QFETCH(QString, shown);
    QFETCH(int, level);
    NetStatsTracker t;
    const Device d = device("D1", "Amp");
    t.pollRound({d});
    QVERIFY(t.intake(debugReply("D1", temp)));
    const NetStateRow row = t.row(d);
    QCOMPARE(row.temperature, shown);
    QCOMPARE(int(row.problem.level), level);
    QTEST(row.problem.text, "tip");
}

void TestMonitor::runningTime_data()
{
    QTest::addColumn<QString>("uptime");
    QTest::addColumn<QString>("shown");
    QTest::newRow("3725") << "3725" << "1:2:5";
    QTest::newRow("fraction dropped") << "3725.99" << "1:2:5";
    QTest::newRow("zero") << "0.00" << "0:0:0";
    QTest::newRow("past a day") << "90061" << "25:1:1";
    QTest::newRow("not a number") << "soon" << "";
}

void TestMonitor::runningTime()
{
    QFETCH(QString, uptime);
    QTEST(NetStatsDisplay::runningTime(uptime), "shown");
}

void TestMonitor::missedPollsAndTheNextReply()
{
    NetStatsTracker t;
    const Device d = device("D1", "Box");
    QCOMPARE(t.pollRound({d}), QVector<QJsonObject>{json(R"({"devId":"D1","ops":"getDebugInfo"})")});
    QVERIFY(t.intake(debugReply("D1", "45000")));
    t.pollRound({d}); // answered before: nothing missed
    QCOMPARE(t.missedPolls("D1"), 0);
    t.pollRound({d});
    t.pollRound({d});
    QCOMPARE(t.missedPolls("D1"), 2);
    QCOMPARE(t.row(d).problem.level, RowProblem::None);
    t.pollRound({d});
    QVERIFY(t.unreachable("D1"));
    QCOMPARE(t.row(d).problem.level, RowProblem::Error);
    QCOMPARE(t.row(d).problem.text, "Box" + tx(Tx::CommAbnormalTip));
    // The last figures stay while the tip says they are old.
    QCOMPARE(t.row(d).temperature, QStringLiteral("45.0 °C"));

    // Any answer clears it, even a refusal.
    QVERIFY(t.intake(json(R"({"ops":"getDebugInfo","devId":"D1","result":"fail","reason":"unknown ops"})")));
    QCOMPARE(t.missedPolls("D1"), 0);
    QCOMPARE(t.row(d).problem.level, RowProblem::None);

    // A device that leaves the list is forgotten; replies for unknown devices are not kept.
    t.pollRound({});
    QCOMPARE(t.missedPolls("D1"), 0);
    QVERIFY(!t.intake(debugReply("D1", "45000")));
    QVERIFY(!t.answered("D1"));
}

void TestMonitor::amplifierInfo()
{
    NetStatsTracker t;
    const Device amp = device("A1", "Amp Rack", {{"model", "RK7731"}});
    const QVector<QJsonObject> polls = t.pollRound({amp, device("B1", "Box")});
    QCOMPARE(polls.size(), 3);
    QCOMPARE(polls.at(1), json(R"({"ops":"getTarnAmpInfo","devId":"A1"})"));
    QVERIFY(t.intake(json(R"({"ops":"getTarnAmpInfo","devId":"A1","result":"succ","power":"1","voltage":"48.2",)"
                          R"("protect":"0","tempArr":["79840","80240"]})")));
    QCOMPARE(t.row(amp).amplifier, QStringLiteral("Amplifier power: on · supply: 48.2 V · Output 1: 79.8 °C · Output 2: 80.2 °C"));
    QCOMPARE(t.row(amp).problem.level, RowProblem::None);
    t.intake(json(R"({"ops":"getTarnAmpInfo","devId":"A1","result":"succ","power":"1","protect":"2"})"));
    QCOMPARE(t.row(amp).problem.level, RowProblem::Error);
    QCOMPARE(t.row(amp).problem.text, "Amp Rack" + tx(Tx::AmpProtectTip).arg("2"));
}

void TestMonitor::problemOrder()
{
    // Communication first, then protection, then the temperature.
    QCOMPARE(DeviceHealth::problem("X", true, "2", 900).text, "X" + tx(Tx::CommAbnormalTip));
    QCOMPARE(DeviceHealth::problem("X", false, "2", 900).text, "X" + tx(Tx::AmpProtectTip).arg("2"));
    QCOMPARE(DeviceHealth::problem("X", false, "", 900).text, "X" + tx(Tx::TempAbnormalTip));
    QCOMPARE(DeviceHealth::problem("X", false, "", DeviceHealth::kNoTemperature).level, RowProblem::None);
}

void TestMonitor::sortOrders()
{
    const QVector<Device> devices{device("D3", "stage box"), device("D1", "Amp"), device("D2", "Stage box"),
                                  device("D4", "console")};
    NetStatsTracker t;
    t.pollRound(devices);
    for (const char *reply : {R"({"ops":"getDebugInfo","devId":"D3","result":"succ","temp":"45000"})",
                              R"({"ops":"getDebugInfo","devId":"D1","result":"succ","temp":"45020"})",
                              R"({"ops":"getDebugInfo","devId":"D2","result":"succ","temp":"60000"})"})
        QVERIFY(t.intake(QJsonDocument::fromJson(reply).object()));
    auto ids = [&](NetStateRow::SortOrder order) {
        QStringList out;
        for (const NetStateRow &r : t.rows(devices, order))
            out << r.devId;
        return out;
    };
    // Default: by name (case only breaks a tie), whatever the order given. By temperature: equal tenths in the
    // default order, devices that told none last either way.
    QCOMPARE(ids(NetStateRow::Default), (QStringList{"D1", "D4", "D2", "D3"}));
    QCOMPARE(ids(NetStateRow::Ascending), (QStringList{"D1", "D3", "D2", "D4"}));
    QCOMPARE(ids(NetStateRow::Descending), (QStringList{"D2", "D1", "D3", "D4"}));
}

void TestMonitor::derivedFigures()
{
    const Device d = device("D1", "Box", {{"sampleRate", "48000"}, {"pFrameNum", "12"}, {"delayUs", "500"}});
    const NetStateRow row = NetStatsTracker().row(d);
    QCOMPARE(row.sampleRate, QStringLiteral("48 kHz"));
    QCOMPARE(row.packetTime, QStringLiteral("250 µs"));
    QCOMPARE(row.delay, QStringLiteral("500 µs"));
    QCOMPARE(row.temperature, QString());
    QCOMPARE(row.uptime, QString());
    QCOMPARE(row.bandwidth, QStringLiteral("0.00 Mbps / 0.00 Mbps"));

    // Devices count whole kHz: 44 frames at 44.1 kHz are one millisecond.
    QCOMPARE(NetStatsTracker().row(device("D2", "B", {{"sampleRate", "44100"}, {"pFrameNum", "44"}})).packetTime,
             QStringLiteral("1 ms"));
    QCOMPARE(NetStatsTracker().row(device("D3", "B", {{"pFrameNum", "16"}, {"delayUs", "2000"}})).packetTime,
             QStringLiteral("333.3 µs"));
    QCOMPARE(NetStatsTracker().row(device("D3", "B", {{"delayUs", "2000"}})).delay, QStringLiteral("2 ms"));
}

void TestMonitor::bandwidthFromTables()
{
    Device d = device("D1", "Box"); // 48 kHz, 3 bytes, 48 frames
    // One active unicast receive stream of 2 channels, one inactive of 8,
    // one multicast subscription of 8 that is active.
    d.tables.ucastRx.resize(2);
    d.tables.ucastRx[0].srcIp = 1;
    d.tables.ucastRx[0].chNum = 2;
    d.tables.ucastRx[1].srcIp = 2;
    d.tables.ucastRx[1].chNum = 8;
    d.tables.activeUcast = {true, false};
    d.tables.mcastRx.resize(1);
    d.tables.mcastRx[0].dstIp = 3;
    d.tables.mcastRx[0].chNum = 8;
    d.tables.activeMcast = {true};
    // Sending: one multicast flow of 2 channels and a free slot.
    d.tables.mcastTx.resize(2);
    d.tables.mcastTx[0].dstIp = 4;
    d.tables.mcastTx[0].chNum = 2;
    // (2×3×48 + 58) × 8 × 1000 = 2.768 Mbps; 8 channels: 9.68 Mbps.
    QCOMPARE(NetStatsDisplay::streamBitsPerSecond(d.rec, 2), 2768000.0);
    QCOMPARE(NetStatsDisplay::receiveMbps(d), 2.768 + 9.68);
    QCOMPARE(NetStatsDisplay::sendMbps(d), 2.768);
    QCOMPARE(NetStatsTracker().row(d).bandwidth, QStringLiteral("12.45 Mbps / 2.77 Mbps"));
}

void TestMonitor::levelCells_data()
{
    QTest::addColumn<QStringList>("values");
    QTest::addColumn<QString>("cell");
    QTest::newRow("floor and truncation") << QStringList{"-inf", "-71.5", "-70", "-3.2"} << "-/-/-70/-3";
    QTest::newRow("towards zero") << QStringList{"-70.9", "-0.5", "3.9", "-69.99"} << "-70/0/3/-69";
    QTest::newRow("not a number") << QStringList{"loud", ""} << "-/-";
    QTest::newRow("empty") << QStringList{} << "";
    QStringList forty;
    for (int i = 0; i < 40; ++i)
        forty << QString::number(-i - 0.5, 'f', 1);
    QTest::newRow("40 values") << forty
                               << "0/-1/-2/-3/-4/-5/-6/-7\n-8/-9/-10/-11/-12/-13/-14/-15\n"
                                  "-16/-17/-18/-19/-20/-21/-22/-23\n-24/-25/-26/-27/-28/-29/-30/-31";
    QTest::newRow("nine values") << QStringList{"1", "2", "3", "4", "5", "6", "7", "8", "9"} << "1/2/3/4/5/6/7/8\n9";
}

void TestMonitor::levelCells()
{
    QFETCH(QStringList, values);
    QTEST(LevelCell::format(values), "cell");
}

void TestMonitor::levelRequestsAndReplies()
{
    LevelsTracker t;
    const Device box = device("D1", "Box", {{"phyChNumRx", "2"}, {"phyChNumTx", "0"}});
    // No analog outputs: that group is not asked for.
    QCOMPARE(t.pollRound({box}), (QVector<QJsonObject>{
                                     json(R"({"devId":"D1","idStart":"0","inOrOut":"0","ops":"getAllPhyLevel"})"),
                                     json(R"({"devId":"D1","idStart":"0","inOrOut":"0","ops":"getAllNetLevel"})"),
                                     json(R"({"devId":"D1","idStart":"0","inOrOut":"1","ops":"getAllNetLevel"})")}));

    // Page-level replies as the main window passes them on, and a device
    // operation's reply as it comes back with "cookie" "0".
    QVERIFY(t.intake(json(R"({"ops":"getAllPhyLevel","devId":"D1","result":"succ","inOrOut":"0","idStart":"0",)"
                          R"("idNext":2,"arr":["-inf","-12.5"]})")));
    QVERIFY(t.intake(json(R"({"ops":"getAllVolumeDbTx","devId":"D1","result":"succ","idStart":"0","arr":["-3.2","-80"]})")));
    // Later pages, refusals and other devices change nothing.
    for (const char *ignored :
         {R"({"ops":"getAllNetLevel","devId":"D1","result":"succ","inOrOut":"1","idStart":"8","arr":["0"]})",
          R"({"ops":"getAllNetLevel","devId":"D1","result":"fail","inOrOut":"0"})",
          R"({"ops":"getAllNetLevel","devId":"D9","result":"succ","inOrOut":"0"})"})
        QVERIFY2(!t.intake(json(ignored)), ignored);

    LevelsTracker::Row row = t.row(box);
    QCOMPARE(row.cells[LevelsTracker::AnalogIn], QStringLiteral("-/-12"));
    QCOMPARE(row.cells[LevelsTracker::AnalogOut], QString());
    QCOMPARE(row.cells[LevelsTracker::NetIn], QString());
    QCOMPARE(row.cells[LevelsTracker::NetOut], QStringLiteral("-3/-"));

    // Rows are as tall as the device's largest group needs, four lines at most.
    QCOMPARE(LevelsTracker::lineCount(box), 1);
    QCOMPARE(LevelsTracker::lineCount(device("D2", "Big", {{"chNumRx", "9"}})), 2);
    QCOMPARE(LevelsTracker::lineCount(device("D3", "Huge", {{"chNumTx", "128"}})), 4);

    // A device that stops answering loses its levels after three missed polls.
    for (int i = 0; i < LevelsTracker::kStalePolls; ++i)
        t.pollRound({box});
    QCOMPARE(t.row(box).cells[LevelsTracker::AnalogIn], QStringLiteral("-/-12"));
    t.pollRound({box});
    QCOMPARE(t.row(box).cells[LevelsTracker::AnalogIn], QString());
}

void TestMonitor::meterScale()
{
    QVERIFY(std::isinf(LevelMeter::parseDb("-inf")) && LevelMeter::parseDb("-inf") < 0);
    QVERIFY(std::isinf(LevelMeter::parseDb("n/a")) && LevelMeter::parseDb("nan") < 0);
    QCOMPARE(LevelMeter::parseDb(" -12.5"), -12.5);
    const LevelMeter::Scale net = LevelMeter::scaleOf(LevelsTracker::NetOut);
    const LevelMeter::Scale analog = LevelMeter::scaleOf(LevelsTracker::AnalogIn);
    QCOMPARE(LevelMeter::fraction(-qInf(), net), 0.0);
    QCOMPARE(LevelMeter::fraction(-70.0, net), 0.0);
    QCOMPARE(LevelMeter::fraction(-35.0, net), 0.5);
    QCOMPARE(LevelMeter::fraction(0.0, net), 1.0);
    QCOMPARE(LevelMeter::fraction(6.0, net), 1.0);
    // dBV reaches above 0: the analog bar is longer at the top.
    QCOMPARE(LevelMeter::fraction(-25.0, analog), 0.5);
    QCOMPARE(LevelMeter::fraction(0.0, analog), 70.0 / 90.0);
}

void TestMonitor::peakHoldAndClipLatch()
{
    LevelMeter m(LevelMeter::scaleOf(LevelsTracker::NetIn));
    const auto peak = [&] { return m.channels().at(0).peakDb; };
    m.update({"-6"}, 2);
    QCOMPARE(m.channels().size(), 2);
    QCOMPARE(peak(), -6.0);
    // Not yet answered: silence, no bar.
    QVERIFY(std::isinf(m.channels().at(1).levelDb));
    // Held for three polls, then falls by 6 dB a poll, never below the level.
    for (int i = 0; i < LevelMeter::kHoldPolls; ++i)
        m.update({"-16"}, 2);
    QCOMPARE(peak(), -6.0);
    m.update({"-16"}, 2);
    QCOMPARE(peak(), -12.0);
    m.update({"-16"}, 2);
    QCOMPARE(peak(), -16.0);
    // A higher level takes the peak at once and restarts the hold.
    m.update({"-3"}, 2);
    m.update({"-40"}, 2);
    QCOMPARE(peak(), -3.0);
    QVERIFY(!m.channels().at(0).clipped);
    m.update({"-0.1", "0.0"}, 2);
    QVERIFY(!m.channels().at(0).clipped);
    QVERIFY(m.channels().at(1).clipped);
    // Latched until cleared, whatever comes after.
    m.update({"-inf", "-60"}, 2);
    QVERIFY(m.channels().at(1).clipped);
    m.clearClips();
    QVERIFY(!m.channels().at(1).clipped);
    // The analog clip is +20 dBV, not 0.
    LevelMeter analog(LevelMeter::scaleOf(LevelsTracker::AnalogOut));
    analog.update({"4.0", "20.0"}, 2);
    QVERIFY(!analog.channels().at(0).clipped && analog.channels().at(1).clipped);
}

void TestMonitor::metersFetchEveryChannel()
{
    LevelsTracker t;
    Device big = device("D7", "Rack", {{"chNumRx", "128"}, {"chNumTx", "0"}, {"phyChNumRx", "0"}, {"phyChNumTx", "0"}});
    big.tables.names[DeviceTables::NameRx] = {"Vocal L", ""};
    t.pollRound({big});
    const auto page = [](int start, int count) {
        QJsonArray arr;
        for (int i = 0; i < count; ++i)
            arr.append(QString::number(-(start + i) * 0.5));
        return QJsonObject{{"ops", "getAllNetLevel"}, {"devId", "D7"}, {"result", "succ"}, {"inOrOut", "0"},
                           {"idStart", QString::number(start)}, {"idNext", start + count}, {"arr", arr}};
    };
    // Not followed: only the first page counts and nothing more is asked.
    QVector<QJsonObject> more;
    QVERIFY(t.intake(page(0, 100), &more));
    QVERIFY(more.isEmpty());
    QVERIFY(!t.intake(page(100, 28), &more));

    t.setFullDevice("D7");
    QVERIFY(t.intake(page(0, 100), &more));
    QCOMPARE(more, (QVector<QJsonObject>{
                       json(R"({"devId":"D7","idStart":"100","inOrOut":"0","ops":"getAllNetLevel"})")}));
    more.clear();
    QVERIFY(t.intake(page(100, 28), &more));
    QVERIFY(more.isEmpty());
    QCOMPARE(t.levels("D7", LevelsTracker::NetIn).size(), 128);
    QCOMPARE(t.levels("D7", LevelsTracker::NetIn).at(127), QStringLiteral("-63.5"));
    // The cells still show the first 32 only.
    QCOMPARE(t.row(big).cells[LevelsTracker::NetIn].count('\n'), 3);
    // A new first page keeps the channels past it until their own page comes.
    QVERIFY(t.intake(page(0, 10), &more));
    QCOMPARE(t.levels("D7", LevelsTracker::NetIn).size(), 128);

    DeviceMeters meters;
    meters.update(t, big);
    QCOMPARE(meters.devId(), QStringLiteral("D7"));
    QCOMPARE(meters.group(LevelsTracker::NetIn).channels().size(), 128);
    QCOMPARE(meters.group(LevelsTracker::NetIn).channels().at(127).levelDb, -63.5);
    QCOMPARE(meters.group(LevelsTracker::NetOut).channels().size(), 0);
    QCOMPARE(DeviceMeters::label(big, LevelsTracker::NetIn, 0), QStringLiteral("1 Vocal L"));
    QCOMPARE(DeviceMeters::label(big, LevelsTracker::NetIn, 1), QStringLiteral("2"));
    QCOMPARE(DeviceMeters::label(big, LevelsTracker::NetIn, 127), QStringLiteral("128"));
    // Another device starts with no peaks.
    meters.follow("D8");
    QCOMPARE(meters.group(LevelsTracker::NetIn).channels().size(), 0);
}

QTEST_GUILESS_MAIN(TestMonitor)
#include "tst_monitor.moc"
