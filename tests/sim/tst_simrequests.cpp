// The default network seen from the program's side of the wire: requests and
// their ports, refusals, paged tables, routes and their notices, the lock,
// the clock election, the address command and the timing of announcements.
// Requests and expected answers are written out by hand from the protocol
// document. What the program already does against the simulator end to end
// (tests/e2e) is not repeated here.
#include "simdevice.h"
#include "simpeer.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QThread>
#include <QtTest>
#include <algorithm>

namespace {

// The default scenario: device k at 127.0.0.(1 + k).
const QString box2 = QStringLiteral("127.0.0.2");    // SIM-0001 RK0202
const QString box8 = QStringLiteral("127.0.0.3");    // SIM-0002 RK0808, clock priority 100, flow "Stage L-R"
const QString console = QStringLiteral("127.0.0.4"); // SIM-0003 RK6464, priority 100 too, flow "Mix Bus"
const QString amp = QStringLiteral("127.0.0.5");     // SIM-0004 RK7731 on port 9991
const QString card = QStringLiteral("127.0.0.6");    // SIM-0005 RK0000, priority 0
const QString rack = QStringLiteral("127.0.0.9");    // SIM-0008 RK0128-1616
const QString succ = QStringLiteral("succ");
const QString broadcast = QStringLiteral("255.255.255.255");
const QString leaderClock = QStringLiteral("00-1D-C1-FF-FE-00-00-02");
const QString consoleClock = QStringLiteral("00-1D-C1-FF-FE-00-00-03");
const QByteArray eightEmpty = R"("4294967295","4294967295","4294967295","4294967295","4294967295","4294967295",)"
                              R"("4294967295","4294967295")";

QJsonObject parse(const QByteArray &json)
{
    const QJsonObject o = QJsonDocument::fromJson(json).object();
    if (o.isEmpty())
        qWarning("bad JSON in the test: %s", json.constData());
    return o;
}

} // namespace

class TestSimRequests : public QObject
{
    Q_OBJECT
private slots:
    void init();
    void cleanup();
    void announcementCarriesEveryMemberAsText();
    void operationsAnswerOnTheirOwnPort_data();
    void operationsAnswerOnTheirOwnPort();
    void badRequestsAreRefused_data();
    void badRequestsAreRefused();
    void envelopeOfRequestsAndReplies();
    void settingsShowInTheNextAnnouncement();
    void pagedTablesWalkToTheEnd_data();
    void pagedTablesWalkToTheEnd();
    void unicastStreamsShareAndClose();
    void flowSlotsRunOut();
    void rerouteReplacesTheOldSource();
    void lockRefusesChanges_data();
    void lockRefusesChanges();
    void passwordChange();
    void clockElection();
    void clockEventsSettleThenLock();
    void broadcastSetIpMovesOnlyTheNamedDevice();
    void identifyKeyAsksForABlink();
    void announcementPhasesSpreadAndSurviveALateTick();
    void announcementKeepsItsTurnUnderAFlood();

private:
    QJsonObject ask(const QString &address, const QByteArray &json, quint16 port = 9990)
    {
        return m_peer->request(address, port, json);
    }
    QString outcome(const QString &address, const QByteArray &json, quint16 port = 9990)
    {
        return m_peer->outcome(address, port, json);
    }
    /// Entry \a index of a paged table.
    QJsonValue item(const QString &address, const char *ops, int index)
    {
        const QByteArray req = QStringLiteral(R"({"ops":"%1","idStart":"%2"})").arg(ops).arg(index).toUtf8();
        return ask(address, req).value("arr").toArray().first();
    }
    /// The next announcement of \a devId heard from now on.
    QJsonObject nextAnnouncement(const QString &devId)
    {
        m_peer->clearHeard();
        return m_peer->waitFor(SimPeer::announcement(devId), 2000).json;
    }

    std::unique_ptr<SimNetwork> m_net;
    std::unique_ptr<SimPeer> m_peer;
};

void TestSimRequests::init()
{
    m_net = startNetwork(SimScenario::defaultScenario());
    QCOMPARE(m_net->devices().size(), 8);
    m_peer = std::make_unique<SimPeer>(true);
    QVERIFY(m_peer->isReady());
}

void TestSimRequests::cleanup()
{
    m_peer.reset();
    m_net.reset();
}

void TestSimRequests::announcementCarriesEveryMemberAsText()
{
    const SimPeer::Heard h = m_peer->waitFor(SimPeer::announcement("SIM-0002"), 3000);
    QCOMPARE(h.from, QHostAddress(box8));
    QStringList keys = h.json.keys();
    QStringList expected = QStringLiteral("ops devId name ip port chNumRx chNumTx ucastNumRx ucastNumTx mcastNumRx "
                                          "mcastNumTx sampleRate sampleByteNum pFrameNum dscp delayUs myClkId gmClkId "
                                          "model phyChNumRx phyChNumTx canWork")
                               .split(' ');
    keys.sort();
    expected.sort();
    QCOMPARE(keys, expected);
    for (const QJsonValue &v : h.json)
        QVERIFY2(v.isString(), h.bytes.constData());
    QCOMPARE(h.bytes, QJsonDocument(h.json).toJson(QJsonDocument::Compact));
}

void TestSimRequests::operationsAnswerOnTheirOwnPort_data()
{
    QTest::addColumn<QString>("address");
    QTest::addColumn<int>("port");
    QTest::addColumn<QByteArray>("request");
    QTest::addColumn<QString>("outcome");
    auto row = [](const char *name, const QString &address, int port, const QByteArray &request,
                  const char *outcome = "unknown ops") {
        QTest::newRow(name) << address << port << request << outcome;
    };
    row("table on the control port", box8, 9990, R"({"ops":"getAllRxCh","idStart":"0"})", "succ");
    row("getCfg on 9993", box8, 9993, R"({"ops":"getCfg"})", "succ");
    row("getLock on the amplifier's own port", amp, 9991, R"({"ops":"getLock"})", "succ");
    row("getVersion on the control port", box8, 9990, R"({"ops":"getVersion"})");
    row("setSampleRate on the control port", box8, 9990, R"({"ops":"setSampleRate","sampleRate":"96000"})");
    row("table on 9994", box8, 9994, R"({"ops":"getAllRxCh","idStart":"0"})");
    row("setLock on the control port", box8, 9990, R"({"ops":"setLock","password":"123456","val":"0x2"})");
    row("getCfg on 9992", box8, 9992, R"({"ops":"getCfg"})");
    row("uart on 9993", box8, 9993, R"({"ops":"sendUdpToUart","data":"x"})");
    row("setDevName on 9994", box8, 9994, R"({"ops":"setDevName","name":"X"})");
    row("amplifier info from no amplifier", box8, 9992, R"({"ops":"getInfo"})");
    row("amplifier status from no amplifier", box8, 9990, R"({"ops":"getTarnAmpInfo"})");
}

void TestSimRequests::operationsAnswerOnTheirOwnPort()
{
    QFETCH(QString, address);
    QFETCH(int, port);
    QFETCH(QByteArray, request);
    QFETCH(QString, outcome);
    SimPeer::Answer a;
    QVERIFY2(m_peer->ask(address, quint16(port), request, &a), "no answer");
    QCOMPARE(a.from, QHostAddress(address));
    QCOMPARE(int(a.fromPort), port);
    const QString result = a.json.value("result").toString();
    QCOMPARE(result == "succ" ? result : a.json.value("reason").toString(), outcome);
    QCOMPARE(a.json.value("ops"), parse(request).value("ops"));
    QVERIFY(!a.json.value("devId").toString().isEmpty());
    QVERIFY(a.bytes.size() < 1400);
}

void TestSimRequests::badRequestsAreRefused_data()
{
    QTest::addColumn<QString>("address");
    QTest::addColumn<int>("port");
    QTest::addColumn<QByteArray>("request");
    QTest::addColumn<QString>("reason");
    auto row = [&](const char *name, const QString &address, int port, const QByteArray &request,
                   const QString &reason = QStringLiteral("bad param")) {
        QTest::newRow(name) << address << port << request << reason;
    };
    row("sample rate not offered", box8, 9994, R"({"ops":"setSampleRate","sampleRate":"12345"})");
    row("dscp above 63", box8, 9990, R"({"ops":"setDscp","dscp":"64"})");
    row("name missing", box8, 9990, R"({"ops":"setDevName"})");
    row("table without idStart", box8, 9990, R"({"ops":"getAllRxCh"})");
    row("priority above 255", box8, 9994, R"({"ops":"setPtpPriority","val":"256"})");
    row("domain above 127", box2, 9994, R"({"ops":"setPtpDomain","val":"128"})");
    row("route from a channel the source lacks", box8, 9990,
        R"({"ops":"setUcastRx","srcDevId":"SIM-0001","srcChId":"2","dstChId":"0"})");
    row("route to a channel the receiver lacks", box8, 9990,
        R"({"ops":"setUcastRx","srcDevId":"SIM-0001","srcChId":"0","dstChId":"8"})");
    row("route from nobody", box8, 9990, R"({"ops":"setUcastRx","srcDevId":"NOBODY","srcChId":"0","dstChId":"0"})");
    row("subscription beyond the flow's channels", console, 9990,
        R"({"ops":"setMcastRx","sdp":{"srcIp":"127.0.0.3","dstIp":"239.69.1.2","dstPort":"5004","chNum":"2",)"
        R"("sampleByteNum":"3","rtpTsOffset":"0"},"srcChId":"2","dstChId":"5"})");
    row("removal of a flow never made", console, 9990, R"({"ops":"clrMcastTx","name":"Drums","dstIp":"239.69.12.34"})");
    row("flow of no channel", console, 9990, R"({"ops":"setMcastTx","name":"X","srcChIdArr":[],"sdp":{}})");
    row("flow of nine channels", console, 9990,
        R"({"ops":"setMcastTx","name":"X","srcChIdArr":["0","1","2","3","4","5","6","7","8"],"sdp":{}})");
    row("flow from a channel the device lacks", console, 9990,
        R"({"ops":"setMcastTx","name":"X","srcChIdArr":["64"],"sdp":{}})");
    row("flow above the multicast range", console, 9990,
        R"({"ops":"setMcastTx","name":"X","srcChIdArr":["0"],"sdp":{"dstIp":"240.0.0.1","dstPort":"5004"}})");
    row("flow whose channel count disagrees", console, 9990,
        R"({"ops":"setMcastTx","name":"X","srcChIdArr":["0","1"],"sdp":{"chNum":"3"}})");
    row("flow on a well-known port", console, 9990,
        R"({"ops":"setMcastTx","name":"X","srcChIdArr":["0"],"sdp":{"dstIp":"239.1.1.1","dstPort":"80"}})");
    row("lock mask without 0x", box8, 9995, R"({"ops":"setLock","password":"123456","val":"2"})");
    row("lock mask of no level", box8, 9995, R"({"ops":"setLock","password":"123456","val":"0x4"})");
    row("processing lock mask of no level", box8, 8999,
        R"({"ops":"setLock","uiTag":"dspUiTag","password":"123456","val":"0x3"})");
    row("password change from the wrong one", box8, 9990, R"({"ops":"setPassword","old":"000000","new":"s3cret"})",
        "mismatch");
    row("address without prefix", broadcast, 9994,
        R"({"ops":"setIp","devId":"SIM-0001","isFixedIp":"1","ip":"127.0.0.70","gateway":"127.0.0.1",)"
        R"("dns":"127.0.0.1"})");
    row("address out of range", broadcast, 9994,
        R"({"ops":"setIp","devId":"SIM-0001","isFixedIp":"1","ip":"127.0.0.300/24","gateway":"127.0.0.1",)"
        R"("dns":"127.0.0.1"})");
    row("address without gateway", broadcast, 9994,
        R"({"ops":"setIp","devId":"SIM-0001","isFixedIp":"1","ip":"127.0.0.70/24","dns":"127.0.0.1"})");
}

void TestSimRequests::badRequestsAreRefused()
{
    QFETCH(QString, address);
    QFETCH(int, port);
    QFETCH(QByteArray, request);
    QFETCH(QString, reason);
    const QJsonObject r = m_peer->request(address, quint16(port), request);
    QCOMPARE(r.value("result").toString(), QStringLiteral("fail"));
    QCOMPARE(r.value("reason").toString(), reason);
    QCOMPARE(r.value("ops"), parse(request).value("ops"));
    // Refused means unchanged: the address and the routes are still the scenario's.
    QCOMPARE(ask(box2, R"({"ops":"getIp"})", 9994).value("ip").toString(), QStringLiteral("127.0.0.2/24"));
    QCOMPARE(item(console, "getAllMcastTx", 1).toObject().value("dstIp").toString(), QStringLiteral("0.0.0.0"));
    QCOMPARE(item(box8, "getAllRxCh", 0), QJsonValue(parse(R"({"id":"0","rtpChId":"-1"})")));
}

void TestSimRequests::envelopeOfRequestsAndReplies()
{
    QCOMPARE(ask(box8, R"({"ops":"fooBar"})"),
             parse(R"({"ops":"fooBar","devId":"SIM-0002","result":"fail","reason":"unknown ops"})"));
    // A request for another device, unreadable or oversized, is not answered at all.
    SimPeer::Answer a;
    QVERIFY(!m_peer->ask(box8, 9990, R"({"ops":"getAllRxCh","devId":"SIM-0001","idStart":"0"})", &a, 300));
    QVERIFY(!m_peer->ask(box8, 9990, "{\"ops\":\"getLock\"", &a, 300));
    QVERIFY(!m_peer->ask(box8, 9990, QByteArray(1500, ' '), &a, 300));
    QCOMPARE(ask(box8, R"({"ops":"getAllRxCh","devId":"SIM-0002","idStart":"0"})").value("result"), QJsonValue("succ"));
    // "cookie" and "uiTag" come back, on a failure too, and only when sent.
    QJsonObject r = ask(box8, R"({"ops":"getLock","cookie":"0","uiTag":"superMatrixUiTag"})");
    QCOMPARE(r.value("cookie"), QJsonValue("0"));
    QCOMPARE(r.value("uiTag"), QJsonValue("superMatrixUiTag"));
    r = ask(box8, R"({"ops":"noSuchThing","cookie":"17"})");
    QCOMPARE(r.value("cookie"), QJsonValue("17"));
    r = ask(box8, R"({"ops":"getLock"})");
    QVERIFY(!r.contains("cookie") && !r.contains("uiTag"));
    // A number where text belongs reads as 0: priority 0 would take the clock's lead.
    QCOMPARE(outcome(box8, R"({"ops":"setPtpPriority","val":100})", 9994), succ);
    QCOMPARE(ask(box8, R"({"ops":"getVersion"})", 9994).value("ptpPriority"), QJsonValue("0"));
    QCOMPARE(ask(box8, R"({"ops":"getAllRxCh","idStart":5})").value("idStart"), QJsonValue("0"));
}

void TestSimRequests::settingsShowInTheNextAnnouncement()
{
    for (const QByteArray &set : {QByteArray(R"({"ops":"setDelayUs","delayUs":"1000"})"),
                                  QByteArray(R"({"ops":"setDscp","dscp":"46"})"),
                                  QByteArray(R"({"ops":"setSampleByteNum","sampleByteNum":"2"})"),
                                  QByteArray(R"({"ops":"setChNameRx","chId":"1","name":"Vox 2 in"})")})
        QVERIFY2(outcome(box8, set) == "succ", set.constData());
    QCOMPARE(outcome(box8, R"({"ops":"setPacketTimeDiv","packetTimeDiv":"4"})", 9994), succ);
    const QJsonObject h = nextAnnouncement("SIM-0002");
    QCOMPARE(h.value("pFrameNum"), QJsonValue("12"));
    QCOMPARE(h.value("delayUs"), QJsonValue("1000"));
    QCOMPARE(h.value("dscp"), QJsonValue("46"));
    QCOMPARE(h.value("sampleByteNum"), QJsonValue("2"));
    // Channel names land in their table.
    QCOMPARE(item(box8, "getAllChNameRx", 1), QJsonValue(parse(R"({"id":"1","name":"Vox 2 in"})")));
}

void TestSimRequests::pagedTablesWalkToTheEnd_data()
{
    QTest::addColumn<QString>("address");
    QTest::addColumn<QString>("ops");
    QTest::addColumn<int>("size");
    QTest::newRow("128x128 getAllRxCh, objects") << rack << "getAllRxCh" << 128;
    QTest::newRow("128x128 getAllVolumeDbTx, texts") << rack << "getAllVolumeDbTx" << 128;
    QTest::newRow("64x64 getAllUcastTx, long objects") << console << "getAllUcastTx" << 16;
    QTest::newRow("amplifier getAllChNameTx, empty") << amp << "getAllChNameTx" << 0;
}

void TestSimRequests::pagedTablesWalkToTheEnd()
{
    QFETCH(QString, address);
    QFETCH(QString, ops);
    QFETCH(int, size);
    const quint16 port = address == amp ? 9991 : 9990;
    auto page = [&](int start) {
        return QStringLiteral(R"({"ops":"%1","idStart":"%2"})").arg(ops).arg(start).toUtf8();
    };
    int next = 0;
    int pages = 0;
    while (next < size) {
        SimPeer::Answer a;
        QVERIFY2(m_peer->ask(address, port, page(next), &a), page(next).constData());
        QVERIFY2(a.bytes.size() <= 1400, qPrintable(QString::number(a.bytes.size())));
        QCOMPARE(a.json.value("idStart").toString(), QString::number(next));
        QVERIFY2(a.json.value("idNext").isDouble(), "idNext must be a JSON number");
        const QJsonArray arr = a.json.value("arr").toArray();
        QVERIFY(!arr.isEmpty());
        QCOMPARE(a.json.value("idNext").toInt(), next + arr.size());
        for (int i = 0; i < arr.size(); ++i)
            QVERIFY(arr[i].isString() || arr[i].toObject().value("id") == QString::number(next + i));
        // The poller resends every 20 ms: a repeated request is answered the same way.
        QCOMPARE(ask(address, page(next), port).value("idNext"), a.json.value("idNext"));
        next = a.json.value("idNext").toInt();
        QVERIFY(++pages <= size);
    }
    QCOMPARE(next, size);
    if (ops == "getAllRxCh")
        QVERIFY2(pages > 1, "a table this long must not fit one page");
    // Asked beyond the table: empty, and idNext is the size.
    const QJsonObject end = ask(address, page(size + 3), port);
    QCOMPARE(end.value("arr"), QJsonValue(QJsonArray()));
    QCOMPARE(end.value("idNext"), QJsonValue(size));
}

void TestSimRequests::unicastStreamsShareAndClose()
{
    m_peer->clearHeard();
    QCOMPARE(ask(box8, R"({"ops":"setUcastRx","devId":"SIM-0002","srcDevId":"SIM-0001","srcChId":"0","dstChId":"3"})"),
             parse(R"({"ops":"setUcastRx","devId":"SIM-0002","result":"succ"})"));
    // Both ends changed their tables and say so; the new stream carries audio.
    QCOMPARE(m_peer->waitFor(SimPeer::is("ops", "updateRoute", "SIM-0002"), 1000).from, QHostAddress(box8));
    QCOMPARE(m_peer->waitFor(SimPeer::is("ops", "updateRoute", "SIM-0001"), 1000).from, QHostAddress(box2));
    QCOMPARE(m_peer->waitFor(SimPeer::is("ops", "updateActive", "SIM-0002"), 1000).from, QHostAddress(box8));
    QCOMPARE(item(box8, "getAllRtpCh", 3),
             QJsonValue(parse(R"({"id":"3","active":"1","srcDevId":"SIM-0001","name":"Stage Box 2","srcChId":"0",)"
                              R"("srcIp":"127.0.0.2","dstIp":"127.0.0.3","dstPort":"5004"})")));
    // A second channel from the same transmitter rides the same stream.
    QCOMPARE(outcome(box8, R"({"ops":"setUcastRx","srcDevId":"SIM-0001","srcChId":"1","dstChId":"4"})"),succ);
    QCOMPARE(item(box2, "getAllUcastTx", 0),
             QJsonValue(parse(R"({"id":"0","dstDevId":"SIM-0002","dstIp":"127.0.0.3","chNum":"2","srcChIdArr":)"
                              R"(["0","1","4294967295","4294967295","4294967295","4294967295","4294967295",)"
                              R"("4294967295"]})")));
    // Clearing the last channel closes the stream on both sides, back to the empty forms.
    QCOMPARE(outcome(box8, R"({"ops":"clrRxCh","dstChId":"3"})"), succ);
    m_peer->clearHeard();
    QCOMPARE(outcome(box8, R"({"ops":"clrRxCh","dstChId":"4"})"), succ);
    QVERIFY(!m_peer->waitFor(SimPeer::is("ops", "updateRoute", "SIM-0001"), 1000).json.isEmpty());
    QCOMPARE(item(box2, "getAllUcastTx", 0),
             QJsonValue(parse(R"({"id":"0","dstDevId":"","dstIp":"0.0.0.0","chNum":"0","srcChIdArr":[)" + eightEmpty +
                              "]}")));
    QCOMPARE(item(box8, "getAllUcastRx", 0),
             QJsonValue(parse(R"({"id":"0","srcDevId":"","srcIp":"0.0.0.0","chNum":"0","rtpChIdArr":[]})")));
}

void TestSimRequests::flowSlotsRunOut()
{
    // Without an address a flow gets one in 239.69.0.0/16, port 5004; the 2x2 has two flow slots.
    const QJsonObject a = ask(box2, R"({"ops":"setMcastTx","name":"A","srcChIdArr":["0"],"sdp":{"chNum":"1"}})");
    const QJsonObject b = ask(box2, R"({"ops":"setMcastTx","name":"B","srcChIdArr":["1","0"],"sdp":{}})");
    QVERIFY(a.value("dstIp").toString().startsWith("239.69."));
    QVERIFY(a.value("dstIp") != b.value("dstIp"));
    QCOMPARE(a.value("sdpId"), QJsonValue("0"));
    QCOMPARE(b.value("sdpId"), QJsonValue("1"));
    QCOMPARE(outcome(box2, R"({"ops":"setMcastTx","name":"C","srcChIdArr":["0"],"sdp":{}})"),
             QStringLiteral("no free sdpId"));
}

void TestSimRequests::rerouteReplacesTheOldSource()
{
    // A new source for a channel replaces the old one, whose stream closes.
    QCOMPARE(outcome(box8, R"({"ops":"setUcastRx","srcDevId":"SIM-0001","srcChId":"0","dstChId":"2"})"),succ);
    const QByteArray fromConsole = R"({"ops":"setUcastRx","srcDevId":"SIM-0003","srcChId":"9","dstChId":"2"})";
    QCOMPARE(outcome(box8, fromConsole), succ);
    QCOMPARE(item(box8, "getAllRtpCh", 2).toObject().value("srcDevId"), QJsonValue("SIM-0003"));
    QCOMPARE(item(box2, "getAllUcastTx", 0).toObject().value("dstIp"), QJsonValue("0.0.0.0"));
}

void TestSimRequests::lockRefusesChanges_data()
{
    QTest::addColumn<QByteArray>("mask");
    QTest::addColumn<QString>("field");
    QTest::addColumn<QString>("level");
    QTest::addColumn<int>("port");
    QTest::addColumn<QByteArray>("request");
    QTest::addColumn<QString>("outcome");
    auto row = [](const char *name, const char *mask, const char *field, const char *level, int port,
                  const QByteArray &request, const char *outcome = "LOCK_UCAST_MCAST") {
        QTest::newRow(name) << QByteArray(mask) << field << level << port << request << outcome;
    };
    const QByteArray route = R"({"ops":"setUcastRx","srcDevId":"SIM-0001","srcChId":"0","dstChId":"0"})";
    row("routing: unicast route", "0x2", "routeLock", "1", 9990, route);
    row("routing: subscription", "0x2", "routeLock", "1", 9990,
        R"({"ops":"setMcastRx","sdp":{"srcIp":"127.0.0.4","dstIp":"239.69.0.4","dstPort":"5004","chNum":"4",)"
        R"("sampleByteNum":"3","rtpTsOffset":"0"},"srcChId":"0","dstChId":"0"})");
    row("routing: clearing", "0x2", "routeLock", "1", 9990, R"({"ops":"clrRxCh","dstChId":"0"})");
    row("routing: new flow", "0x2", "routeLock", "1", 9990,
        R"({"ops":"setMcastTx","name":"X","srcChIdArr":["0"],"sdp":{}})");
    row("routing: flow removal", "0x2", "routeLock", "1", 9990,
        R"({"ops":"clrMcastTx","name":"Stage L-R","dstIp":"239.69.1.2"})");
    row("routing: settings still go", "0x2", "routeLock", "1", 9990, R"({"ops":"setDevName","name":"Me"})", "succ");
    row("routing hidden reads as 3", "0x10002", "routeLock", "3", 9990, route);
    row("details: name", "0x10003", "devLock", "1", 9990, R"({"ops":"setDevName","name":"Nope"})");
    row("details: priority", "0x10003", "devLock", "1", 9994, R"({"ops":"setPtpPriority","val":"10"})");
    row("details: reading never locked", "0x10003", "routeLock", "3", 9994, R"({"ops":"getDebugInfo"})", "succ");
}

void TestSimRequests::lockRefusesChanges()
{
    QFETCH(QByteArray, mask);
    QFETCH(QString, field);
    QFETCH(QString, level);
    QFETCH(int, port);
    QFETCH(QByteArray, request);
    QFETCH(QString, outcome);
    auto lock = [](const QByteArray &val) { return R"({"ops":"setLock","password":"123456","val":")" + val + "\"}"; };
    QCOMPARE(this->outcome(box8, lock(mask), 9995), succ);
    const QJsonObject state = ask(box8, R"({"ops":"getLock"})");
    QCOMPARE(state.value(field).toString(), level);
    QCOMPARE(state.value("val").toString(), QString::fromLatin1(mask));
    QCOMPARE(this->outcome(box8, request, quint16(port)), outcome);
    if (outcome == "succ")
        return;
    QCOMPARE(item(box8, "getAllMcastTx", 0).toObject().value("dstIp"), QJsonValue("239.69.1.2"));
    // Unlocked, the same request goes through.
    QCOMPARE(this->outcome(box8, lock("0x0"), 9995), succ);
    QCOMPARE(this->outcome(box8, request, quint16(port)), succ);
}

void TestSimRequests::passwordChange()
{
    QCOMPARE(outcome(box8, R"({"ops":"setPassword","old":"123456","new":"s3cret"})"), succ);
    QCOMPARE(outcome(box8, R"({"ops":"setLock","password":"123456","val":"0x2"})", 9995), QStringLiteral("mismatch"));
    QCOMPARE(outcome(box8, R"({"ops":"setLock","password":"s3cret","val":"0x2"})", 9995), succ);
}

void TestSimRequests::clockElection()
{
    // Lowest priority leads; SIM-0002 and SIM-0003 tie at 100 and the lower identity wins. The sound card,
    // priority 0, still follows.
    for (const char *devId : {"SIM-0001", "SIM-0003", "SIM-0005"})
        QTRY_COMPARE_WITH_TIMEOUT(nextAnnouncement(devId).value("gmClkId").toString(), leaderClock, 3000);
    QCOMPARE(nextAnnouncement("SIM-0002").value("myClkId").toString(), leaderClock);
    // A priority change moves the lead.
    QCOMPARE(outcome(console, R"({"ops":"setPtpPriority","val":"99"})", 9994), succ);
    QTRY_COMPARE_WITH_TIMEOUT(nextAnnouncement("SIM-0001").value("gmClkId").toString(), consoleClock, 3000);
    QCOMPARE(nextAnnouncement("SIM-0002").value("gmClkId").toString(), consoleClock);
    // Alone in a domain, a device leads itself; the sound card leads nobody and follows nobody.
    QCOMPARE(outcome(box2, R"({"ops":"setPtpDomain","val":"1"})", 9994), succ);
    QCOMPARE(outcome(card, R"({"ops":"setPtpDomain","val":"5"})", 9994), succ);
    QTRY_COMPARE_WITH_TIMEOUT(nextAnnouncement("SIM-0001").value("gmClkId").toString(),
                              QStringLiteral("00-1D-C1-FF-FE-00-00-01"), 3000);
    QTRY_COMPARE_WITH_TIMEOUT(nextAnnouncement("SIM-0005").value("gmClkId").toString(),
                              QStringLiteral("00-00-00-00-00-00-00-00"), 3000);
}

void TestSimRequests::clockEventsSettleThenLock()
{
    auto state = [](const char *devId, const char *value) {
        return [devId, value](const SimPeer::Heard &h) {
            return h.json.value("devId") == devId && h.json.value("event") == "masterOffset" &&
                   h.json.value("state") == value;
        };
    };
    // Events travel on the event group, never as "ops" announcements.
    const SimPeer::Heard leader = m_peer->waitFor(state("SIM-0002", "0"), 2000);
    QCOMPARE(leader.json, parse(R"({"devId":"SIM-0002","event":"masterOffset","state":"0","masterOffset":"0"})"));
    QVERIFY2(!m_peer->waitFor(state("SIM-0001", "1"), 2000).json.isEmpty(), "no settling state from SIM-0001");
    QVERIFY2(!m_peer->waitFor(state("SIM-0001", "2"), 3000).json.isEmpty(), "SIM-0001 never locked");
}

void TestSimRequests::broadcastSetIpMovesOnlyTheNamedDevice()
{
    // Without a devId, or for nobody, no device takes it: it would move every device at once.
    SimPeer::Answer a;
    const QByteArray nobody = R"({"ops":"setIp","isFixedIp":"1","ip":"127.0.0.61/24","gateway":"127.0.0.1",)"
                              R"("dns":"127.0.0.1"})";
    QVERIFY(!m_peer->ask(broadcast, 9994, nobody, &a, 300));
    QVERIFY(!m_peer->ask(broadcast, 9994, QByteArray(nobody).replace("{", R"({"devId":"NOBODY",)"), &a, 300));
    // Only the named device answers, from its own address.
    QVERIFY(m_peer->ask(broadcast, 9994,
                        R"({"ops":"setIp","devId":"SIM-0002","isFixedIp":"1","ip":"127.0.0.60/16",)"
                        R"("gateway":"127.0.0.254","dns":"127.0.0.253"})",
                        &a));
    QCOMPARE(a.json, parse(R"({"ops":"setIp","devId":"SIM-0002","result":"succ"})"));
    QCOMPARE(a.from, QHostAddress(box8));
    QVERIFY(!m_peer->next(&a, 200));
    m_peer->clearHeard();
    QCOMPARE(m_peer->waitFor(SimPeer::is("ip", "127.0.0.60", "SIM-0002"), 2000).from, QHostAddress("127.0.0.60"));
    QCOMPARE(ask("127.0.0.60", R"({"ops":"getIp"})", 9994),
             parse(R"({"ops":"getIp","devId":"SIM-0002","result":"succ","fixedIp":"1","ip":"127.0.0.60/16",)"
                   R"("gateway":"127.0.0.254","dns":"127.0.0.253"})"));
    QVERIFY(!m_peer->ask(box8, 9994, R"({"ops":"getIp"})", &a, 300));
    // Streams follow the device to its new address.
    QCOMPARE(outcome(box2, R"({"ops":"setUcastRx","srcDevId":"SIM-0002","srcChId":"0","dstChId":"0"})"),succ);
    QCOMPARE(item(box2, "getAllRtpCh", 0).toObject().value("srcIp"), QJsonValue("127.0.0.60"));
    // An automatic address keeps the one it has here.
    QCOMPARE(outcome(broadcast, R"({"ops":"setIp","devId":"SIM-0001","isFixedIp":"0"})", 9994), succ);
    QCOMPARE(ask(box2, R"({"ops":"getIp"})", 9994).value("fixedIp"), QJsonValue("0"));
    QCOMPARE(ask(box2, R"({"ops":"getIp"})", 9994).value("ip"), QJsonValue("127.0.0.2/24"));
}


void TestSimRequests::identifyKeyAsksForABlink()
{
    m_net.reset();
    m_net = startNetwork(scenarioOf(R"({"devices":[{"devId":"B","model":"RK0808","blinkEveryS":1}]})"));
    const SimPeer::Heard h = m_peer->waitFor(SimPeer::is("ops", "devReqGuiBlink"), 3000);
    QCOMPARE(h.json, parse(R"({"ops":"devReqGuiBlink","devId":"B"})"));
    QCOMPARE(h.from, QHostAddress("127.0.0.2"));
}

void TestSimRequests::announcementPhasesSpreadAndSurviveALateTick()
{
    m_net.reset();
    SimConfig c = fastConfig();
    c.announceMs = 1000;
    m_net = startNetwork(SimScenario::generated(16), c);
    auto phases = [this] {
        QVector<qint64> p;
        for (const SimDevice *d : m_net->devices())
            p << d->nextAnnouncement() % 1000;
        return p;
    };
    const QVector<qint64> before = phases();
    QVector<qint64> sorted = before;
    std::sort(sorted.begin(), sorted.end());
    sorted << sorted.first() + 1000;
    // Sixteen devices: no two within the same tick, no gap much above a sixteenth of the period.
    for (int i = 1; i < sorted.size(); ++i)
        QVERIFY2(sorted[i] - sorted[i - 1] > 10 && sorted[i] - sorted[i - 1] <= 2 * 1000 / 16,
                 qPrintable(QStringLiteral("%1 -> %2").arg(sorted[i - 1]).arg(sorted[i])));
    // The event loop held up past a whole period: every device overdue at once. Each keeps its own phase.
    QThread::msleep(1100);
    QTRY_VERIFY(std::all_of(m_net->devices().begin(), m_net->devices().end(),
                            [this](const SimDevice *d) { return d->nextAnnouncement() > m_net->nowMs(); }));
    QCOMPARE(phases(), before);
}

void TestSimRequests::announcementKeepsItsTurnUnderAFlood()
{
    QVERIFY(!m_peer->waitFor(SimPeer::announcement("SIM-0001"), 3000).json.isEmpty());
    m_peer->clearHeard();
    // Each request moves the channel to the flow's other channel: an "updateRoute" on the same group socket
    // as the announcements, so the listener hears them in the order they were sent.
    const int flood = 120;
    for (int i = 0; i < flood; ++i)
        m_peer->send(box2, 9990,
                     QStringLiteral(R"({"ops":"setMcastRx","dstChId":"0","srcChId":"%1","sdp":{"dstIp":"239.69.1.2",)"
                                    R"("srcIp":"127.0.0.3","dstPort":"5004","chNum":"2"}})")
                         .arg(i % 2)
                         .toUtf8());
    // The requests wait in the queue while the announcement falls due.
    QThread::msleep(fastConfig().announceMs + 2 * fastConfig().tickMs);
    SimPeer::Answer a;
    for (int i = 0; i < flood; ++i)
        QVERIFY2(m_peer->next(&a, 3000), qPrintable(QString::number(i)));
    QTest::qWait(50);
    int routesBefore = 0;
    for (const SimPeer::Heard &h : m_peer->heard(SimPeer::is("devId", "SIM-0001"))) {
        if (h.json.value("ops") == QJsonValue("iAmCorvane"))
            break;
        routesBefore += h.json.value("ops") == QJsonValue("updateRoute");
    }
    // Answering the whole queue first would put all of them before it.
    QVERIFY2(routesBefore < flood / 2, qPrintable(QString::number(routesBefore)));
}

QTEST_GUILESS_MAIN(TestSimRequests)
#include "tst_simrequests.moc"
