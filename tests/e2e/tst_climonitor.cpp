// corvane-cli's clock, stats and levels commands against corvane-sim, both
// as child processes inside a private network namespace (tests/netns-run).
#include "../support/clirunner.h"

#include <QRegularExpression>
#include <QtTest>

namespace {

const CliRunner kCli({"--interface", "127.0.0.1"});

// The objects of a --json answer by devId.
QHash<QString, QJsonObject> byDevice(const CliRun &r)
{
    QHash<QString, QJsonObject> out;
    for (const QJsonValue &v : r.json.array())
        out.insert(v.toObject().value("devId").toString(), v.toObject());
    return out;
}

} // namespace

class TestCliMonitor : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase();
    void clock();
    void stats();
    void levels();

private:
    Simulator m_sim;
};

void TestCliMonitor::initTestCase()
{
    REQUIRE_PRIVATE_NETWORK();
    QVERIFY2(m_sim.start({"--settle-ms", "500", "--hot", "Stage Box 2", "--hot", "Amp Rack=error", "--silent",
                          "Wall Panel 4"}),
             m_sim.why());
}

void TestCliMonitor::clock()
{
    const CliRun r = kCli.run({"--json", "clock"});
    QCOMPARE(r.code, 0);
    const QHash<QString, QJsonObject> d = byDevice(r);
    QCOMPARE(d.size(), 8);
    QCOMPARE(d["SIM-0002"].value("role").toString(), QStringLiteral("Master"));
    QCOMPARE(d["SIM-0002"].value("state").toString(), QStringLiteral("locked"));
    QCOMPARE(d["SIM-0002"].value("priority").toString(), QStringLiteral("100"));
    QCOMPARE(d["SIM-0002"].value("name").toString(), QStringLiteral("Stage Box 8"));
    QCOMPARE(d["SIM-0002"].value("ip").toString(), QStringLiteral("127.0.0.3"));
    QCOMPARE(d["SIM-0003"].value("role").toString(), QStringLiteral("Slave"));
    // The virtual sound card: priority 0, yet a locked follower by rule.
    QCOMPARE(d["SIM-0005"].value("role").toString(), QStringLiteral("Slave"));
    QCOMPARE(d["SIM-0005"].value("state").toString(), QStringLiteral("locked"));
    QCOMPARE(d["SIM-0005"].value("priority").toString(), QStringLiteral("0"));
    QCOMPARE(d["SIM-0001"].value("version").toString(), QStringLiteral("3.1.4.5"));
    // The silent device never answers "getVersion": its priority is not known.
    QCOMPARE(d["SIM-0007"].value("priority").toString(), QStringLiteral("\u2014"));

    const CliRun text = kCli.run({"--wait", "3", "clock"});
    QCOMPARE(text.code, 0);
    const QStringList lines = QString::fromUtf8(text.out).split('\n', Qt::SkipEmptyParts);
    QCOMPARE(lines.size(), 9); // the header and one line per device
    QVERIFY(lines.first().startsWith("NAME"));
}

void TestCliMonitor::stats()
{
    const CliRun r = kCli.run({"--json", "stats"});
    QCOMPARE(r.code, 0);
    const QHash<QString, QJsonObject> d = byDevice(r);
    QCOMPARE(d.size(), 8);
    const QRegularExpression temp("^\\d+\\.\\d °C$");
    const QRegularExpression uptime("^\\d+:\\d+:\\d+$");
    QVERIFY(temp.match(d["SIM-0002"].value("temp").toString()).hasMatch());
    QVERIFY(uptime.match(d["SIM-0002"].value("uptime").toString()).hasMatch());
    QCOMPARE(d["SIM-0002"].value("tip").toString(), QString());
    QCOMPARE(d["SIM-0002"].value("bandwidth").toString(), QStringLiteral("0.00 Mbps / 2.77 Mbps"));
    QCOMPARE(d["SIM-0002"].value("packetTime").toString(), QStringLiteral("1 ms"));
    QCOMPARE(d["SIM-0002"].value("delay").toString(), QStringLiteral("2 ms"));
    QCOMPARE(d["SIM-0001"].value("level").toString(), QStringLiteral("warning"));
    QCOMPARE(d["SIM-0001"].value("tip").toString(),
             QStringLiteral("Stage Box 2 temperature is too high, please pay attention to heat dissipation"));
    QCOMPARE(d["SIM-0004"].value("level").toString(), QStringLiteral("error"));
    QVERIFY(d["SIM-0004"].value("amplifier").toString().startsWith("Amplifier power: on"));
    QCOMPARE(d["SIM-0007"].value("tip").toString(),
             QStringLiteral("Wall Panel 4 communication is abnormal, please check the network connection"));
    QCOMPARE(d["SIM-0007"].value("temp").toString(), QString());
}

void TestCliMonitor::levels()
{
    const CliRun r = kCli.run({"--json", "levels"});
    QCOMPARE(r.code, 0);
    const QHash<QString, QJsonObject> d = byDevice(r);
    QCOMPARE(d.size(), 8);
    // Stage Box 8: inputs 7 and 8 silent, nothing routed to it.
    const QString in = d["SIM-0002"].value("analogIn").toString();
    QCOMPARE(in.count('/'), 7);
    QVERIFY(in.endsWith("/-/-"));
    QCOMPARE(d["SIM-0002"].value("netIn").toString(), QStringLiteral("-/-/-/-/-/-/-/-"));
    // Console 64: 64 network outputs, the first 32 on four lines of eight.
    const QStringList lines = d["SIM-0003"].value("netOut").toString().split('\n');
    QCOMPARE(lines.size(), 4);
    for (const QString &line : lines)
        QCOMPARE(line.count('/'), 7);
    // The amplifier has no analog inputs: an empty cell.
    QCOMPARE(d["SIM-0004"].value("analogIn").toString(), QString());
    QVERIFY(!d["SIM-0004"].value("analogOut").toString().isEmpty());
}

QTEST_GUILESS_MAIN(TestCliMonitor)
#include "tst_climonitor.moc"
