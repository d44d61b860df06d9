// corvane-cli's bulk routes and network snapshots against corvane-sim, in a
// private network namespace: every route checked in the devices' own tables.
#include "../support/clirunner.h"

#include <QTemporaryDir>
#include <QtTest>

namespace {

CliRun cli(const QStringList &args)
{
    return CliRunner({"--interface", "127.0.0.1", "--wait", "20"}).run(args, 60000);
}

QJsonArray routes()
{
    const CliRun r = cli({"--json", "routes"});
    if (r.code != 0)
        qWarning("routes: exit %d: %s", r.code, r.err.constData());
    return r.json.array();
}

QJsonObject unicast(const char *rx, int rxCh, const char *src, int srcCh)
{
    return QJsonObject{{"rxDevId", rx}, {"rxCh", rxCh}, {"srcDevId", src}, {"srcCh", srcCh}};
}

} // namespace

class TestCliBulkSim : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase()
    {
        REQUIRE_PRIVATE_NETWORK();
        qRegisterMetaType<QProcess::ExitStatus>();
    }
    void bulkRouteOfSixteenChannels();
    void snapshotDiffShowsExactlyTheChangesAndRecallRestores();
    void unusableInputSendsNothing();
};

void TestCliBulkSim::bulkRouteOfSixteenChannels()
{
    Simulator sim;
    QVERIFY2(sim.start(), sim.why());

    // Without --yes: the list of changes, nothing sent.
    CliRun r = cli({"route", "bulk", "SIM-0006", "SIM-0003"});
    QCOMPARE(r.code, 1);
    QVERIFY2(r.out.contains("change: SIM-0003:16 <- SIM-0006:16 (was -)"), r.out.constData());
    QVERIFY2(r.err.contains("16 route(s) would change"), r.err.constData());
    QCOMPARE(routes(), QJsonArray());

    r = cli({"--json", "--yes", "route", "bulk", "SIM-0006", "SIM-0003"});
    QVERIFY2(r.code == 0, r.err.constData());
    const QJsonObject out = r.json.object();
    QCOMPARE(out.value("done").toArray().size(), 16);
    QCOMPARE(out.value("refused").toArray(), QJsonArray());

    QJsonArray want;
    for (int ch = 1; ch <= 16; ++ch)
        want.append(unicast("SIM-0003", ch, "SIM-0006", ch));
    QCOMPARE(routes(), want);

    // What the device refuses is listed with its reason: routes locked on the receiver.
    r = cli({"send", "SIM-0002", R"({"ops":"setLock","password":"123456","val":"0x2"})"});
    QVERIFY2(r.code == 0 && r.out.contains("succ"), r.out.constData());
    r = cli({"--json", "--yes", "route", "bulk", "SIM-0001", "SIM-0002"});
    QCOMPARE(r.code, 1);
    const QJsonArray refused = r.json.object().value("refused").toArray();
    QCOMPARE(refused.size(), 2);
    for (const QJsonValue &v : refused)
        QCOMPARE(v.toObject().value("reason").toString(), QStringLiteral("设备已加锁 (the device is locked)"));
    QCOMPARE(routes().size(), 16);
}

void TestCliBulkSim::snapshotDiffShowsExactlyTheChangesAndRecallRestores()
{
    Simulator sim;
    QVERIFY2(sim.start(), sim.why());
    CliRun r = cli({"--yes", "route", "bulk", "SIM-0002", "SIM-0006", "--count", "4"});
    QVERIFY2(r.code == 0, (r.out + r.err).constData());
    r = cli({"--yes", "route", "add", "SIM-0001:2", "SIM-0002:1"});
    QVERIFY2(r.code == 0, r.err.constData());
    const QJsonArray before = routes();
    QCOMPARE(before.size(), 5);

    QTemporaryDir dir;
    const QString file = dir.filePath("show.json");
    r = cli({"snapshot", "save", file});
    QVERIFY2(r.code == 0 && r.out.contains("5 routes"), r.err.constData());

    // Three changes: one cleared, one given another source, one new.
    for (const QStringList &args : {QStringList{"route", "remove", "SIM-0006:2"},
                                    QStringList{"route", "add", "SIM-0001:1", "SIM-0006:3"},
                                    QStringList{"route", "add", "SIM-0008:5", "SIM-0002:4"}}) {
        r = cli(QStringList{"--yes"} + args);
        QVERIFY2(r.code == 0, (args.join(' ').toUtf8() + ": " + r.err).constData());
    }
    QCOMPARE(routes().size(), 5);

    r = cli({"snapshot", "diff", file});
    QCOMPARE(r.code, 1);
    QCOMPARE(r.out.count("  route "), 3);
    for (const char *line : {"SIM-0002 \"Stage Box 8\":\n  route 4 added: now SIM-0008:5, snapshot -\n",
                             "  route 2 removed: now -, snapshot SIM-0002:2\n",
                             "  route 3 changed: now SIM-0001:1, snapshot SIM-0002:3\n"})
        QVERIFY2(r.out.contains(line), r.out.constData());
    QVERIFY2(!r.out.contains("missing"), r.out.constData());

    // Without --yes nothing is sent; with it the three go back.
    r = cli({"snapshot", "recall", file});
    QCOMPARE(r.code, 1);
    r = cli({"--json", "--yes", "snapshot", "recall", file});
    QVERIFY2(r.code == 0, r.err.constData());
    QCOMPARE(r.json.object().value("done").toArray().size(), 3);
    QCOMPARE(routes(), before);
    r = cli({"snapshot", "diff", file});
    QVERIFY2(r.code == 0, r.out.constData());
}

void TestCliBulkSim::unusableInputSendsNothing()
{
    // No devices at all: what cannot be used fails at once, nothing printed as done.
    QTemporaryDir dir;
    QFile f(dir.filePath("show.json"));
    QVERIFY(f.open(QIODevice::WriteOnly));
    f.write(R"({"format":"corvanelink-network-snapshot","version":1,"devices":[{"devId":"SIM-0001","rou)");
    f.close();
    const CliRunner runner({"--interface", "127.0.0.1", "--wait", "1"});
    CliRun r = runner.run({"--yes", "snapshot", "recall", f.fileName()});
    QCOMPARE(r.code, 2);
    QVERIFY2(r.err.contains("Not a snapshot file, or cut short") && r.out.isEmpty(), r.err.constData());
    r = runner.run({"route", "bulk", "A", "B", "--from", "0"});
    QCOMPARE(r.code, 2);
    QVERIFY2(r.err.contains("--from goes only with route bulk"), r.err.constData());
}

QTEST_GUILESS_MAIN(TestCliBulkSim)
#include "tst_clibulksim.moc"
