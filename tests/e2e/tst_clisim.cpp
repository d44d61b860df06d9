// corvane-cli against corvane-sim, both as child processes inside a private
// network namespace (tests/netns-run). The simulator is written from
// docs/protocol.md independently of the program, so a reading of the protocol
// that differs between the two shows up here.
#include "../support/clirunner.h"

#include <QElapsedTimer>
#include <QtTest>

#include <functional>
#include <iterator>

namespace {

QString compact(const QJsonObject &o)
{
    return QString::fromUtf8(QJsonDocument(o).toJson(QJsonDocument::Compact));
}

CliRun cli(const QStringList &args)
{
    return CliRunner({"--interface", "127.0.0.1"}).run(args);
}

// One request through the client's request router; the device's reply, or an
// empty object (with the reason logged) when none came.
QJsonObject send(const QString &devId, const QJsonObject &request)
{
    const CliRun r = cli({"--wait", "10", "send", devId, compact(request)});
    if (r.code != 0) {
        qWarning("send %s %s: exit %d: %s", qPrintable(devId), qPrintable(compact(request)), r.code, r.err.constData());
        return QJsonObject();
    }
    return r.json.object();
}

QJsonArray listing(const char *command, const QString &wait)
{
    const CliRun r = cli({"--wait", wait, "--json", QLatin1String(command)});
    if (r.code != 0)
        qWarning("%s: exit %d: %s", command, r.code, r.err.constData());
    return r.json.array();
}

QJsonArray routes()
{
    return listing("routes", QStringLiteral("20"));
}

// The flows SAP announces every three seconds: listen a little longer.
QJsonArray flows()
{
    return listing("flows", QStringLiteral("4"));
}

QJsonObject findBy(const QJsonArray &arr, const QString &key, const QString &value)
{
    for (const QJsonValue &v : arr)
        if (v.toObject().value(key).toString() == value)
            return v.toObject();
    return QJsonObject();
}

QByteArray shown(const QJsonArray &arr)
{
    return QJsonDocument(arr).toJson(QJsonDocument::Compact);
}

// corvane-cli --json watch running beside the test: one JSON object a line.
class Watch
{
public:
    ~Watch()
    {
        if (m_process.state() != QProcess::NotRunning) {
            m_process.kill();
            m_process.waitForFinished(2000);
        }
    }

    bool start(int ageScale)
    {
        m_process.start(Simulator::binary("corvane-cli"), {"--interface", "127.0.0.1", "--age-scale", QString::number(ageScale),
                                                "--wait", "120", "--json", "watch"});
        return m_process.waitForStarted(5000);
    }

    int size()
    {
        take();
        return m_lines.size();
    }

    // Index of the first line from `from` on that matches, or -1.
    int find(const std::function<bool(const QJsonObject &)> &match, int from = 0)
    {
        take();
        for (int i = from; i < m_lines.size(); ++i)
            if (match(m_lines.at(i)))
                return i;
        return -1;
    }

    int findOp(const QString &op, const QString &key, const QString &value, int from = 0)
    {
        return find([&](const QJsonObject &o) { return o.value("ops") == op && o.value(key) == value; }, from);
    }

    QJsonObject at(int i) const { return m_lines.at(i); }

private:
    void take()
    {
        m_pending += m_process.readAllStandardOutput();
        int end;
        while ((end = m_pending.indexOf('\n')) >= 0) {
            m_lines.append(QJsonDocument::fromJson(m_pending.left(end)).object());
            m_pending.remove(0, end + 1);
        }
    }

    QProcess m_process;
    QByteArray m_pending;
    QVector<QJsonObject> m_lines;
};

struct Expected
{
    const char *devId;
    const char *name;
    const char *model;
    const char *ip;
    int port;
    int chNumRx;
    int chNumTx;
    int phyChNumRx;
    int phyChNumTx;
    int sampleRate;
};

// The default scenario as docs/simulator.md describes it.
const Expected kDefaultScenario[] = {
    {"SIM-0001", "Stage Box 2", "RK0202", "127.0.0.2", 9990, 2, 2, 2, 2, 48000},
    {"SIM-0002", "Stage Box 8", "RK0808", "127.0.0.3", 9990, 8, 8, 8, 8, 48000},
    {"SIM-0003", "Console 64", "RK6464", "127.0.0.4", 9990, 64, 64, 32, 32, 48000},
    {"SIM-0004", "Amp Rack", "RK7731", "127.0.0.5", 9991, 4, 0, 0, 4, 48000},
    {"SIM-0005", "PC Audio", "RK0000", "127.0.0.6", 10000, 16, 16, 0, 0, 48000},
    {"SIM-0006", "DSP Matrix 16", "RK1616D", "127.0.0.7", 9990, 16, 16, 16, 16, 48000},
    {"SIM-0007", "Wall Panel 4", "RK0404D", "127.0.0.8", 9990, 4, 4, 4, 4, 96000},
    {"SIM-0008", "Stage Rack 128", "RK0128-1616", "127.0.0.9", 9990, 128, 128, 16, 16, 48000},
};

const char kLeaderClock[] = "00-1D-C1-FF-FE-00-00-02";

} // namespace

class TestCliSim : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase();
    void discoveryOfTheDefaultScenario();
    void unicastRoutesMadeAndCleared();
    void flowCreatedSeenSubscribedRemoved();
    void routeToAFlowJustCreated();
    void lockedDeviceRefusesRoutes();
    void silencedDeviceAgesOut();
    void dspDocumentFollowsChanges();
    void dspLinkFaults();
};

void TestCliSim::initTestCase()
{
    REQUIRE_PRIVATE_NETWORK();
}

void TestCliSim::discoveryOfTheDefaultScenario()
{
    Simulator sim;
    QVERIFY2(sim.start(), sim.why());
    // Devices learn the clock leader a second after power-on; an announcement
    // heard before that carries a grandmaster of zeros.
    QTest::qWait(1200);

    const CliRun r = cli({"--wait", "20", "--json", "devices"});
    QVERIFY2(r.code == 0, r.err.constData());
    const QJsonArray arr = r.json.array();
    QCOMPARE(arr.size(), int(std::size(kDefaultScenario)));

    int place = 0;
    for (const Expected &e : kDefaultScenario) {
        ++place;
        const QJsonObject d = findBy(arr, "devId", e.devId);
        QVERIFY2(!d.isEmpty(), e.devId);
        // The wire carries text; the client prints what it parsed, as numbers.
        for (const char *key : {"port", "chNumRx", "chNumTx", "ucastNumRx", "ucastNumTx", "mcastNumRx", "mcastNumTx",
                                "sampleRate", "sampleByteNum", "pFrameNum", "dscp", "delayUs", "phyChNumRx",
                                "phyChNumTx", "canWork"})
            QVERIFY2(d.value(key).isDouble(), qPrintable(QStringLiteral("%1 %2").arg(e.devId, key)));
        const QJsonObject want{{"name", QString::fromUtf8(e.name)}, {"model", e.model}, {"ip", e.ip}, {"port", e.port},
                               {"chNumRx", e.chNumRx}, {"chNumTx", e.chNumTx}, {"phyChNumRx", e.phyChNumRx},
                               {"phyChNumTx", e.phyChNumTx}, {"sampleRate", e.sampleRate},
                               {"pFrameNum", e.sampleRate / 1000}, {"sampleByteNum", 3}, {"delayUs", 2000},
                               {"canWork", 1}, {"gmClkId", kLeaderClock},
                               {"myClkId", QStringLiteral("00-1D-C1-FF-FE-00-00-0%1").arg(place)}};
        for (auto it = want.begin(); it != want.end(); ++it)
            QVERIFY2(d.value(it.key()) == it.value(), qPrintable(QStringLiteral("%1 %2").arg(e.devId, it.key())));
        QVERIFY2(d.value("tablesComplete").toBool(), e.devId);
    }
}

void TestCliSim::unicastRoutesMadeAndCleared()
{
    Simulator sim;
    QVERIFY2(sim.start(), sim.why());
    QCOMPARE(routes(), QJsonArray());

    // The second route lands on a later page of the 64-channel console's tables.
    QJsonObject reply = send("SIM-0001", {{"ops", "setUcastRx"}, {"srcDevId", "SIM-0002"}, {"srcChId", "0"},
                                          {"dstChId", "1"}});
    QCOMPARE(reply.value("result").toString(), QStringLiteral("succ"));
    reply = send("SIM-0003", {{"ops", "setUcastRx"}, {"srcDevId", "SIM-0006"}, {"srcChId", "15"}, {"dstChId", "60"}});
    QCOMPARE(reply.value("result").toString(), QStringLiteral("succ"));

    const QJsonArray made = routes();
    QCOMPARE(made.size(), 2);
    const QJsonObject small{{"rxDevId", "SIM-0001"}, {"rxCh", 2}, {"srcDevId", "SIM-0002"}, {"srcCh", 1}};
    const QJsonObject paged{{"rxDevId", "SIM-0003"}, {"rxCh", 61}, {"srcDevId", "SIM-0006"}, {"srcCh", 16}};
    QVERIFY2(made.contains(small), shown(made).constData());
    QVERIFY2(made.contains(paged), shown(made).constData());

    reply = send("SIM-0001", {{"ops", "clrRxCh"}, {"dstChId", "1"}});
    QCOMPARE(reply.value("result").toString(), QStringLiteral("succ"));
    QCOMPARE(routes(), QJsonArray{paged});
    reply = send("SIM-0003", {{"ops", "clrRxCh"}, {"dstChId", "60"}});
    QCOMPARE(reply.value("result").toString(), QStringLiteral("succ"));
    QCOMPARE(routes(), QJsonArray());
}

void TestCliSim::flowCreatedSeenSubscribedRemoved()
{
    Simulator sim;
    QVERIFY2(sim.start(), sim.why());
    // Flows age out after 120 s divided by the scale: 6 s, twice the SAP
    // interval, so a flow still announced never goes while one that stopped
    // goes within seconds.
    Watch watch;
    QVERIFY(watch.start(20));

    const QString group = QStringLiteral("239.69.7.7");
    const QJsonObject sdp{{"rtpTsOffset", "0"}, {"sampleByteNum", "3"}, {"chNum", "3"},  {"srcIp", "127.0.0.7"},
                          {"ssrc", "0"},        {"dstIp", group},       {"dstPort", "5004"}};
    QJsonObject reply = send("SIM-0006", {{"ops", "setMcastTx"}, {"name", "Test Flow"},
                                          {"srcChIdArr", QJsonArray{"2", "3", "4"}}, {"sdp", sdp}});
    QCOMPARE(reply.value("result").toString(), QStringLiteral("succ"));
    QCOMPARE(reply.value("dstIp").toString(), group);
    QCOMPARE(reply.value("dstPort").toString(), QStringLiteral("5004"));
    QVERIFY(reply.value("sdpId").isString());

    const QJsonObject flow = findBy(flows(), "name", "Test Flow");
    QVERIFY2(!flow.isEmpty(), "the new flow was not announced by SAP");
    QCOMPARE(flow.value("dstIp").toString(), group);
    QCOMPARE(flow.value("dstPort").toInt(), 5004);
    QCOMPARE(flow.value("srcIp").toString(), QStringLiteral("127.0.0.7"));
    QCOMPARE(flow.value("chNum").toInt(), 3);
    QCOMPARE(flow.value("sampleByteNum").toInt(), 3);
    QCOMPARE(flow.value("sampleRate").toInt(), 48000);
    QCOMPARE(flow.value("gmClkId").toString(), QString::fromLatin1(kLeaderClock));
    QCOMPARE(flow.value("pFrameNum").toInt(), 48);
    QCOMPARE(flow.value("rtpTsOffset").toInt(), 0);
    QVERIFY(cli({"--wait", "3", "flows"}).out.contains((group + ":5004").toUtf8()));

    // A page subscribes with the "sdp" the registry hands out with the flow.
    QTRY_VERIFY_WITH_TIMEOUT(watch.findOp("addMcast", "dstIp", group) >= 0, 10000);
    const QJsonObject announced = watch.at(watch.findOp("addMcast", "dstIp", group)).value("sdp").toObject();
    QCOMPARE(announced.value("chNum").toString(), QStringLiteral("3"));
    reply = send("SIM-0008", {{"ops", "setMcastRx"}, {"sdp", announced}, {"srcChId", "2"}, {"dstChId", "4"}});
    QCOMPARE(reply.value("result").toString(), QStringLiteral("succ"));
    const QJsonArray subscribed = routes();
    QCOMPARE(subscribed, (QJsonArray{QJsonObject{{"rxDevId", "SIM-0008"}, {"rxCh", 5}, {"flowDstIp", group},
                                                 {"flowCh", 3}}}));

    const int beforeRemoval = watch.size();
    QCOMPARE(watch.findOp("delMcast", "dstIp", group), -1);
    reply = send("SIM-0006", {{"ops", "clrMcastTx"}, {"name", "Test Flow"}, {"dstIp", group}});
    QCOMPARE(reply.value("result").toString(), QStringLiteral("succ"));
    // The device announces the deletion: the flow goes at once.
    QTRY_VERIFY_WITH_TIMEOUT(watch.findOp("delMcast", "dstIp", group, beforeRemoval) >= 0, 15000);

    const QJsonArray left = flows();
    QVERIFY2(findBy(left, "name", "Test Flow").isEmpty(), shown(left).constData());
    QVERIFY2(!findBy(left, "name", "Stage L-R").isEmpty(), shown(left).constData());
}

void TestCliSim::routeToAFlowJustCreated()
{
    Simulator sim;
    QVERIFY2(sim.start(), sim.why());
    // The route names a flow SAP may announce only seconds after the client
    // starts listening: the command waits for it instead of failing. The SAP
    // phase is the simulator's, so a few rounds give a late one its chance.
    for (int round = 1; round <= 3; ++round) {
        const QString name = QStringLiteral("Fresh %1").arg(round);
        CliRun r = cli({"--yes", "flow", "create", "SIM-0006", "--name", name, "--channels", "1,2"});
        QVERIFY2(r.code == 0, r.err.constData());
        r = cli({"--yes", "route", "add", "flow:" + name + ":1", QStringLiteral("SIM-0008:%1").arg(round)});
        QVERIFY2(r.code == 0, qPrintable(QStringLiteral("round %1: %2").arg(round).arg(QString::fromUtf8(r.err))));
        QVERIFY2(r.out.contains("\"result\":\"succ\""), r.out.constData());
    }
    const CliRun missing = cli({"--wait", "2", "--yes", "route", "add", "flow:Never:1", "SIM-0008:4"});
    QCOMPARE(missing.code, 3);
    QVERIFY2(missing.err.contains("no such flow: Never"), missing.err.constData());
}

void TestCliSim::lockedDeviceRefusesRoutes()
{
    Simulator sim;
    QVERIFY2(sim.start(), sim.why());

    // The router sends "setLock" to the lock port, 9995.
    const QJsonObject lock{{"ops", "setLock"}, {"password", "123456"}, {"val", "0x2"}};
    QJsonObject reply = send("SIM-0001", lock);
    QCOMPARE(reply.value("result").toString(), QStringLiteral("succ"));
    reply = send("SIM-0001", {{"ops", "getLock"}});
    QCOMPARE(reply.value("routeLock").toString(), QStringLiteral("1"));
    QCOMPARE(reply.value("val").toString(), QStringLiteral("0x2"));

    reply = send("SIM-0001", {{"ops", "setUcastRx"}, {"srcDevId", "SIM-0002"}, {"srcChId", "0"}, {"dstChId", "1"}});
    QCOMPARE(reply.value("result").toString(), QStringLiteral("fail"));
    QCOMPARE(reply.value("reason").toString(), QStringLiteral("LOCK_UCAST_MCAST"));
    QCOMPARE(routes(), QJsonArray());
}

void TestCliSim::silencedDeviceAgesOut()
{
    Simulator sim;
    QVERIFY2(sim.start({"--gone", "SIM-0004=2"}), sim.why());
    // Devices age out after 120 s divided by the scale: 3 s, three announcement
    // intervals, so a device that keeps announcing never goes even on a busy
    // machine.
    Watch watch;
    QVERIFY(watch.start(40));
    QElapsedTimer clock;
    clock.start();

    // Heard at all, not necessarily by "addDev": the client starts listening
    // before its watch prints, so a device announcing in that moment shows up
    // only by its later notices.
    auto unheard = [&] {
        QStringList out;
        for (const Expected &e : kDefaultScenario)
            if (watch.find([&](const QJsonObject &o) { return o.value("devId") == e.devId; }) < 0)
                out << e.devId;
        return out.join(' ');
    };
    QTRY_VERIFY2_WITH_TIMEOUT(unheard().isEmpty(), qPrintable(unheard()), 5000);
    QTRY_VERIFY_WITH_TIMEOUT(watch.findOp("delDev", "devId", "SIM-0004") >= 0, 10000);
    qInfo("SIM-0004 aged out %lld ms after the watch started", clock.elapsed());

    // Another full lifetime and more: every other device stays.
    QTest::qWait(4000);
    const int other = watch.find([](const QJsonObject &o) {
        return o.value("ops") == "delDev" && o.value("devId") != "SIM-0004";
    });
    QVERIFY2(other < 0, other < 0 ? "" : qPrintable(compact(watch.at(other))));
}

namespace {

QJsonObject dspDocument(const QString &device)
{
    const CliRun r = cli({"--wait", "3", "--json", "dsp", "get-config", device});
    if (r.code != 0) {
        qWarning() << "dsp get-config failed:" << r.code << r.err;
        return {};
    }
    return r.json.object();
}

QJsonObject blockAt(const QJsonObject &doc, int node, int port, int proc)
{
    return doc.value("nodeArr").toArray().at(node).toObject().value("portArr").toArray().at(port).toObject()
        .value("procArr").toArray().at(proc).toObject();
}

} // namespace

void TestCliSim::dspDocumentFollowsChanges()
{
    Simulator sim;
    QVERIFY2(sim.start(), sim.why());

    // The 16x16 matrix: inputs, echo cancelling, automixer, matrix, outputs.
    QJsonObject doc = dspDocument("DSP Matrix 16");
    const QJsonArray nodes = doc.value("nodeArr").toArray();
    QCOMPARE(nodes.size(), 5);
    QCOMPARE(nodes.first().toObject().value("portNum").toString(), QStringLiteral("16"));
    QCOMPARE(nodes.last().toObject().value("portNum").toString(), QStringLiteral("16"));
    QCOMPARE(nodes.at(3).toObject().value("type").toString(), QStringLiteral("1"));
    QJsonObject expander = blockAt(doc, 0, 2, 7);
    QCOMPARE(expander.value("type").toString(), QStringLiteral("8"));
    QCOMPARE(expander.value("bypass").toString(), QStringLiteral("1"));

    // Members left out keep their values; the whole block object goes to the device.
    CliRun r = cli({"--wait", "3", "dsp", "set-block", "SIM-0006", "0", "2", "7", R"({"ratio":"4","trigDb":"-32.5"})"});
    QVERIFY2(r.code == 0, r.err.constData());
    QVERIFY(r.out.contains(R"("obj":{"attackMs":"50","kneeDb":"0","ratio":"4","releaseMs":"100","trigDb":"-32.5"})"));
    r = cli({"--wait", "3", "dsp", "bypass", "SIM-0006", "0", "2", "7", "0"});
    QVERIFY2(r.code == 0, r.err.constData());
    doc = dspDocument("SIM-0006");
    expander = blockAt(doc, 0, 2, 7);
    QCOMPARE(expander.value("bypass").toString(), QStringLiteral("0"));
    QCOMPARE(expander.value("obj").toObject().value("ratio").toString(), QStringLiteral("4"));
    QCOMPARE(expander.value("obj").toObject().value("trigDb").toString(), QStringLiteral("-32.5"));
    // Nothing else moved: the neighbouring channel keeps its defaults.
    QCOMPARE(blockAt(doc, 0, 1, 7).value("obj").toObject().value("ratio").toString(), QStringLiteral("2"));

    // Refused before anything is sent, with the reason.
    r = cli({"--wait", "3", "dsp", "set-block", "SIM-0006", "0", "2", "7", R"({"freq":"100"})"});
    QCOMPARE(r.code, 2);
    QVERIFY2(r.err.contains("\"freq\" is not a parameter of the expander"), r.err.constData());
    r = cli({"--wait", "3", "dsp", "get-config", "Stage Box 2"});
    QCOMPARE(r.code, 3);
    QVERIFY2(r.err.contains("has no DSP"), r.err.constData());

    // A device locked against audio processing changes refuses them.
    QCOMPARE(send("SIM-0006", {{"ops", "setLock"}, {"uiTag", "dspUiTag"}, {"password", "123456"}, {"val", "0x1f"}})
                 .value("result").toString(),
             QStringLiteral("succ"));
    r = cli({"--wait", "3", "dsp", "bypass", "SIM-0006", "0", "2", "7", "1"});
    QCOMPARE(r.code, 1);
    QVERIFY2(r.err.contains("Set Bypass Failed!"), r.err.constData());
    QCOMPARE(blockAt(dspDocument("SIM-0006"), 0, 2, 7).value("bypass").toString(), QStringLiteral("0"));
}

void TestCliSim::dspLinkFaults()
{
    {
        // A slow device is waited for.
        Simulator sim;
        QVERIFY2(sim.start({"--dsp-delay", "600"}), sim.why());
        QCOMPARE(dspDocument("SIM-0007").value("nodeArr").toArray().size(), 3);
    }
    {
        // A device that hangs up: a clear message, soon, and no crash.
        Simulator sim;
        QVERIFY2(sim.start({"--dsp-drop-on-accept"}), sim.why());
        const CliRun r = cli({"--wait", "3", "dsp", "get-config", "SIM-0007"});
        QCOMPARE(r.code, 4);
        QVERIFY2(r.err.contains("SIM-0007"), r.err.constData());
        QVERIFY(r.elapsedMs < 15000);
    }
}

QTEST_GUILESS_MAIN(TestCliSim)
#include "tst_clisim.moc"
