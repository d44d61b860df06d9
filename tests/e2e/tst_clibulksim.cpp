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
    void lockedReceiverRefusesTheWholeBatch();
    void snapshotDiffShowsExactlyTheChangesAndRecallRestores();
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

    // Done again: nothing to change.
    r = cli({"--yes", "route", "bulk", "SIM-0006", "SIM-0003", "--from", "3", "--count", "2"});
    QVERIFY2(r.code == 0, r.err.constData());
    QVERIFY2(r.out.contains("routed 0 of 0, 2 already as asked"), r.out.constData());

    // A range past the receiver is refused before anything is sent.
    r = cli({"--yes", "route", "bulk", "SIM-0003", "SIM-0006", "--from", "10", "--count", "8"});
    QCOMPARE(r.code, 2);
    QVERIFY2(r.err.contains("Channels 10 to 17 are not on both devices (64 transmit, 16 receive)."), r.err.constData());
}

void TestCliBulkSim::lockedReceiverRefusesTheWholeBatch()
{
    Simulator sim;
    QVERIFY2(sim.start(), sim.why());
    // Routes locked on the receiver: "val" 0x2, as the lock page sends it.
    CliRun r = cli({"send", "SIM-0002", R"({"ops":"setLock","password":"123456","val":"0x2"})"});
    QVERIFY2(r.code == 0 && r.out.contains("succ"), r.out.constData());
    r = cli({"--json", "--yes", "route", "bulk", "SIM-0001", "SIM-0002"});
    QCOMPARE(r.code, 1);
    const QJsonArray refused = r.json.object().value("refused").toArray();
    QCOMPARE(refused.size(), 2);
    for (const QJsonValue &v : refused)
        QCOMPARE(v.toObject().value("reason").toString(), QStringLiteral("设备已加锁 (the device is locked)"));
    QCOMPARE(routes(), QJsonArray());
}

void TestCliBulkSim::snapshotDiffShowsExactlyTheChangesAndRecallRestores()
{
    Simulator sim;
    QVERIFY2(sim.start(), sim.why());
    CliRun r = cli({"--yes", "route", "bulk", "SIM-0002", "SIM-0006", "--count", "4"});
    QVERIFY2(r.code == 0, r.err.constData());
    r = cli({"--yes", "route", "add", "SIM-0001:2", "SIM-0002:1"});
    QVERIFY2(r.code == 0, r.err.constData());
    const QJsonArray before = routes();
    QCOMPARE(before.size(), 5);

    QTemporaryDir dir;
    const QString file = dir.filePath("show.json");
    r = cli({"snapshot", "save", file});
    QVERIFY2(r.code == 0, r.err.constData());
    QVERIFY2(r.out.contains("5 routes"), r.out.constData());
    r = cli({"snapshot", "diff", file});
    QVERIFY2(r.code == 0 && r.out.contains("no differences"), r.out.constData());

    // Three changes: one cleared, one given another source, one new.
    for (const QStringList &args : {QStringList{"route", "remove", "SIM-0006:2"},
                                    QStringList{"route", "add", "SIM-0001:1", "SIM-0006:3"},
                                    QStringList{"route", "add", "SIM-0008:5", "SIM-0002:4"}}) {
        r = cli(QStringList{"--yes"} + args);
        QVERIFY2(r.code == 0, (args.join(' ').toUtf8() + ": " + r.err).constData());
    }
    QCOMPARE(routes().size(), 5);

    r = cli({"--json", "snapshot", "diff", file});
    QCOMPARE(r.code, 1);
    const QJsonArray devices = r.json.object().value("devices").toArray();
    QCOMPARE(devices.size(), 2);
    // In the registry's order, which is the order the devices were heard in.
    const bool twoFirst = devices.at(0).toObject().value("devId") == QStringLiteral("SIM-0002");
    const QJsonObject two = devices.at(twoFirst ? 0 : 1).toObject();
    const QJsonObject six = devices.at(twoFirst ? 1 : 0).toObject();
    QCOMPARE(two.value("devId").toString(), QStringLiteral("SIM-0002"));
    QCOMPARE(two.value("routes").toArray(),
             (QJsonArray{QJsonObject{{"rxCh", 4}, {"change", "added"}, {"live", QJsonObject{{"srcDevId", "SIM-0008"}, {"srcCh", 5}}},
                                     {"snapshot", QJsonValue::Null}}}));
    QCOMPARE(six.value("devId").toString(), QStringLiteral("SIM-0006"));
    QCOMPARE(six.value("routes").toArray(),
             (QJsonArray{QJsonObject{{"rxCh", 2}, {"change", "removed"}, {"live", QJsonValue::Null},
                                     {"snapshot", QJsonObject{{"srcDevId", "SIM-0002"}, {"srcCh", 2}}}},
                         QJsonObject{{"rxCh", 3}, {"change", "changed"}, {"live", QJsonObject{{"srcDevId", "SIM-0001"}, {"srcCh", 1}}},
                                     {"snapshot", QJsonObject{{"srcDevId", "SIM-0002"}, {"srcCh", 3}}}}}));
    QCOMPARE(r.json.object().value("missing").toArray(), QJsonArray());

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

QTEST_GUILESS_MAIN(TestCliBulkSim)
#include "tst_clibulksim.moc"
