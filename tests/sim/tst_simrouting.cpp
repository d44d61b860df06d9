// Routes, streams and flows across devices, the notices that follow every
// change, and the lock that forbids them. Expected tables are written out
// by hand from protocol.md, sections 4 to 6 and 9.
#include "grouplistener.h"
#include "simpeer.h"
#include "simtestnet.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QtTest>

namespace {

const QString box2 = QStringLiteral("127.0.0.2");    // SIM-0001 2x2, two streams and two flows each way
const QString box8 = QStringLiteral("127.0.0.3");    // SIM-0002 8x8
const QString console = QStringLiteral("127.0.0.4"); // SIM-0003 64x64, flow "Mix Bus" in slot 0
const QString matrix = QStringLiteral("127.0.0.7");  // SIM-0006 16x16
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

class TestSimRouting : public QObject
{
    Q_OBJECT
private slots:
    void init();
    void cleanup();
    void unicastRouteMadeExtendedAndCleared();
    void receiverStreamSlotsRunOut();
    void rerouteReplacesTheOldSource();
    void flowCreatedAnnouncedSubscribedRemoved();
    void flowSlotsRunOutAndBadFlowsAreRefused();
    void sampleRateMismatchCarriesNoAudio();
    void routingLockRefusesRouteChanges();
    void detailsLockRefusesSettings();
    void audioProcessingLock();
    void passwordChange();

private:
    QJsonObject ask(const QString &address, const QByteArray &json, quint16 port = 9990)
    {
        return m_peer->request(address, port, json);
    }
    QJsonValue item(const QString &address, const char *ops, int index)
    {
        const QByteArray req = QStringLiteral(R"({"ops":"%1","idStart":"%2"})").arg(ops).arg(index).toUtf8();
        return ask(address, req).value("arr").toArray().first();
    }

    std::unique_ptr<SimNetwork> m_net;
    SimPeer *m_peer = nullptr;
    GroupListener *m_groups = nullptr;
};

void TestSimRouting::init()
{
    m_net = startNetwork(SimScenario::defaultScenario());
    m_peer = new SimPeer;
    m_groups = new GroupListener;
    QVERIFY(m_groups->isReady());
}

void TestSimRouting::cleanup()
{
    delete m_groups;
    delete m_peer;
    m_groups = nullptr;
    m_peer = nullptr;
    m_net.reset();
}

void TestSimRouting::unicastRouteMadeExtendedAndCleared()
{
    m_groups->clear();
    QCOMPARE(ask(box8, R"({"ops":"setUcastRx","devId":"SIM-0002","srcDevId":"SIM-0001","srcChId":"0","dstChId":"3"})"),
             parse(R"({"ops":"setUcastRx","devId":"SIM-0002","result":"succ"})"));
    // Both ends changed their tables and say so; the new stream carries audio.
    const auto fromReceiver = m_groups->waitFor(GroupListener::ops("updateRoute", "SIM-0002"), 1000);
    QCOMPARE(fromReceiver.from, QHostAddress(box8));
    QCOMPARE(m_groups->waitFor(GroupListener::ops("updateRoute", "SIM-0001"), 1000).from, QHostAddress(box2));
    QCOMPARE(m_groups->waitFor(GroupListener::ops("updateActive", "SIM-0002"), 1000).from, QHostAddress(box8));

    QCOMPARE(item(box8, "getAllRxCh", 3), QJsonValue(parse(R"({"id":"3","rtpChId":"3"})")));
    QCOMPARE(item(box8, "getAllRtpCh", 3),
             QJsonValue(parse(R"({"id":"3","active":"1","srcDevId":"SIM-0001","name":"Stage Box 2","srcChId":"0",)"
                              R"("srcIp":"127.0.0.2","dstIp":"127.0.0.3","dstPort":"5004"})")));
    QCOMPARE(
        item(box8, "getAllUcastRx", 0),
        QJsonValue(parse(R"({"id":"0","srcDevId":"SIM-0001","srcIp":"127.0.0.2","chNum":"1","rtpChIdArr":["3"]})")));
    QCOMPARE(item(box2, "getAllUcastTx", 0),
             QJsonValue(parse(R"({"id":"0","dstDevId":"SIM-0002","dstIp":"127.0.0.3","chNum":"1","srcChIdArr":["0",)"
                              R"("4294967295","4294967295","4294967295","4294967295","4294967295","4294967295",)"
                              R"("4294967295"]})")));
    QCOMPARE(item(box8, "getAllActiveUcastId", 0), QJsonValue(parse(R"({"id":"0","active":"1"})")));
    // The routed channel now has a level; the others stay silent.
    const QJsonArray levels = ask(box8, R"({"ops":"getAllVolumeDbRx","idStart":"0"})").value("arr").toArray();
    QVERIFY(levels.at(3).toString() != "-inf");
    QCOMPARE(levels.at(2).toString(), QStringLiteral("-inf"));

    // A second channel from the same transmitter rides the same stream.
    QCOMPARE(ask(box8, R"({"ops":"setUcastRx","srcDevId":"SIM-0001","srcChId":"1","dstChId":"4"})")
                 .value("result")
                 .toString(),
             QStringLiteral("succ"));
    QCOMPARE(
        item(box2, "getAllUcastTx", 0).toObject().value("srcChIdArr").toArray(),
        QJsonArray({"0", "1", "4294967295", "4294967295", "4294967295", "4294967295", "4294967295", "4294967295"}));
    QCOMPARE(item(box2, "getAllUcastTx", 0).toObject().value("chNum").toString(), QStringLiteral("2"));
    QCOMPARE(item(box2, "getAllUcastTx", 1).toObject().value("dstIp").toString(), QStringLiteral("0.0.0.0"));
    QCOMPARE(item(box8, "getAllUcastRx", 0).toObject().value("rtpChIdArr").toArray(), QJsonArray({"3", "4"}));

    // Clearing one channel shrinks the stream, clearing the last closes it on both sides.
    m_groups->clear();
    QCOMPARE(ask(box8, R"({"ops":"clrRxCh","devId":"SIM-0002","dstChId":"3"})"),
             parse(R"({"ops":"clrRxCh","devId":"SIM-0002","result":"succ"})"));
    QVERIFY(!m_groups->waitFor(GroupListener::ops("updateRoute", "SIM-0002"), 1000).json.isEmpty());
    QCOMPARE(item(box8, "getAllRxCh", 3), QJsonValue(parse(R"({"id":"3","rtpChId":"-1"})")));
    QCOMPARE(item(box2, "getAllUcastTx", 0).toObject().value("srcChIdArr").toArray().first().toString(),
             QStringLiteral("1"));
    QCOMPARE(ask(box8, R"({"ops":"clrRxCh","dstChId":"4"})").value("result").toString(), QStringLiteral("succ"));
    QCOMPARE(item(box2, "getAllUcastTx", 0),
             QJsonValue(
                 parse(R"({"id":"0","dstDevId":"","dstIp":"0.0.0.0","chNum":"0","srcChIdArr":[)" + eightEmpty + "]}")));
    QCOMPARE(item(box8, "getAllUcastRx", 0),
             QJsonValue(parse(R"({"id":"0","srcDevId":"","srcIp":"0.0.0.0","chNum":"0","rtpChIdArr":[]})")));
    QCOMPARE(item(box8, "getAllRtpCh", 4).toObject().value("srcIp").toString(), QStringLiteral("0.0.0.0"));
    QVERIFY(!m_groups->waitFor(GroupListener::ops("updateRoute", "SIM-0001"), 1000).json.isEmpty());

    // Bad requests change nothing.
    QCOMPARE(ask(box8, R"({"ops":"setUcastRx","srcDevId":"SIM-0001","srcChId":"2","dstChId":"0"})")
                 .value("reason")
                 .toString(),
             QStringLiteral("bad param"));
    QCOMPARE(ask(box8, R"({"ops":"setUcastRx","srcDevId":"SIM-0001","srcChId":"0","dstChId":"8"})")
                 .value("reason")
                 .toString(),
             QStringLiteral("bad param"));
    QCOMPARE(
        ask(box8, R"({"ops":"setUcastRx","srcDevId":"NOBODY","srcChId":"0","dstChId":"0"})").value("reason").toString(),
        QStringLiteral("bad param"));
}

void TestSimRouting::receiverStreamSlotsRunOut()
{
    // A receiver with four channels but two stream slots, and three transmitters.
    m_net.reset();
    SimScenario s;
    QString error;
    QVERIFY2(
        SimScenario::fromJson(R"({"devices":[{"devId":"R","name":"R","model":"RK0404","chNumRx":4,"chNumTx":4,)"
                              R"("ucastNumRx":2},{"devId":"T1","name":"T1","model":"RK0202","chNumRx":2,"chNumTx":2},)"
                              R"({"devId":"T2","name":"T2","model":"RK0202","chNumRx":2,"chNumTx":2},)"
                              R"({"devId":"T3","name":"T3","model":"RK0202","chNumRx":2,"chNumTx":2}]})",
                              &s, &error),
        qPrintable(error));
    m_net = startNetwork(s);
    const QString r = QStringLiteral("127.0.0.2");
    QCOMPARE(ask(r, R"({"ops":"setUcastRx","srcDevId":"T1","srcChId":"0","dstChId":"0"})").value("result").toString(),
             QStringLiteral("succ"));
    QCOMPARE(ask(r, R"({"ops":"setUcastRx","srcDevId":"T2","srcChId":"0","dstChId":"1"})").value("result").toString(),
             QStringLiteral("succ"));
    QCOMPARE(ask(r, R"({"ops":"setUcastRx","srcDevId":"T3","srcChId":"0","dstChId":"2"})"),
             parse(R"({"ops":"setUcastRx","devId":"R","result":"fail","reason":"no free sdpId"})"));
    // The refused transmitter keeps no stream to nobody.
    QCOMPARE(item("127.0.0.5", "getAllUcastTx", 0).toObject().value("dstIp").toString(), QStringLiteral("0.0.0.0"));
    QCOMPARE(item(r, "getAllRxCh", 2), QJsonValue(parse(R"({"id":"2","rtpChId":"-1"})")));
    // A transmitter already streaming to it adds channels freely.
    QCOMPARE(ask(r, R"({"ops":"setUcastRx","srcDevId":"T1","srcChId":"1","dstChId":"2"})").value("result").toString(),
             QStringLiteral("succ"));
    QCOMPARE(item(r, "getAllUcastRx", 0),
             QJsonValue(parse(R"({"id":"0","srcDevId":"T1","srcIp":"127.0.0.3","chNum":"2","rtpChIdArr":["0","2"]})")));
}

void TestSimRouting::rerouteReplacesTheOldSource()
{
    QCOMPARE(ask(box8, R"({"ops":"setUcastRx","srcDevId":"SIM-0001","srcChId":"0","dstChId":"2"})")
                 .value("result")
                 .toString(),
             QStringLiteral("succ"));
    QCOMPARE(ask(box8, R"({"ops":"setUcastRx","srcDevId":"SIM-0003","srcChId":"9","dstChId":"2"})")
                 .value("result")
                 .toString(),
             QStringLiteral("succ"));
    QCOMPARE(item(box8, "getAllRtpCh", 2).toObject().value("srcDevId").toString(), QStringLiteral("SIM-0003"));
    QCOMPARE(item(box8, "getAllRtpCh", 2).toObject().value("srcChId").toString(), QStringLiteral("9"));
    QCOMPARE(item(box2, "getAllUcastTx", 0).toObject().value("dstIp").toString(), QStringLiteral("0.0.0.0"));
    QCOMPARE(item(console, "getAllUcastTx", 0).toObject().value("srcChIdArr").toArray().first().toString(),
             QStringLiteral("9"));
    // Asking for the route it already has changes nothing and succeeds.
    QCOMPARE(ask(box8, R"({"ops":"setUcastRx","srcDevId":"SIM-0003","srcChId":"9","dstChId":"2"})")
                 .value("result")
                 .toString(),
             QStringLiteral("succ"));
    QCOMPARE(item(console, "getAllUcastTx", 0).toObject().value("chNum").toString(), QStringLiteral("1"));
}

void TestSimRouting::flowCreatedAnnouncedSubscribedRemoved()
{
    m_groups->clear();
    const QJsonObject created = ask(
        console,
        R"({"ops":"setMcastTx","devId":"SIM-0003","name":"Drums","srcChIdArr":["2","3"],"sdp":{"rtpTsOffset":"0",)"
        R"("sampleByteNum":"3","chNum":"2","srcIp":"127.0.0.4","ssrc":"0","dstIp":"239.69.12.34","dstPort":"5004"}})");
    // Slot 0 holds the scenario's "Mix Bus".
    QCOMPARE(created, parse(R"({"ops":"setMcastTx","devId":"SIM-0003","result":"succ","sdpId":"1",)"
                            R"("dstIp":"239.69.12.34","dstPort":"5004"})"));
    QCOMPARE(m_groups->waitFor(GroupListener::ops("updateRoute", "SIM-0003"), 1000).from, QHostAddress(console));
    const GroupListener::Heard sap = m_groups->waitFor(GroupListener::sapFor("239.69.12.34"), 2000);
    QVERIFY2(!sap.bytes.isEmpty(), "no SAP for the new flow on 239.255.255.255:9875");
    QCOMPARE(sap.from, QHostAddress(console));
    QCOMPARE(sap.bytes.mid(4, 4), QByteArray("\x7f\x00\x00\x04", 4));
    const QByteArray sdp = sap.bytes.mid(24);
    QVERIFY(sdp.contains("\r\ns=Drums\r\n"));
    QVERIFY(sdp.contains("\r\nm=audio 5004 RTP/AVP 98\r\n"));
    QVERIFY(sdp.contains("\r\na=rtpmap:98 L24/48000/2\r\n"));
    QVERIFY(sdp.contains("\r\na=ptime:1\r\n"));
    QVERIFY(sdp.contains("\r\na=source-filter: incl IN IP4 239.69.12.34 127.0.0.4\r\n"));
    QVERIFY(sdp.contains("\r\na=ts-refclk:ptp=IEEE1588-2008:"));
    QCOMPARE(item(console, "getAllMcastTx", 1),
             QJsonValue(parse(R"({"id":"1","sdpId":"1","name":"Drums","dstIp":"239.69.12.34","dstPort":"5004",)"
                              R"("chNum":"2","srcChIdArr":["2","3"]})")));

    // A receiver subscribes to the flow's second channel.
    const QByteArray subscribe = R"({"ops":"setMcastRx","devId":"SIM-0002","sdp":{"srcIp":"127.0.0.4",)"
                                 R"("dstIp":"239.69.12.34","dstPort":"5004","chNum":"2","sampleByteNum":"3",)"
                                 R"("rtpTsOffset":"0"},"srcChId":"1","dstChId":"5"})";
    QCOMPARE(ask(box8, subscribe), parse(R"({"ops":"setMcastRx","devId":"SIM-0002","result":"succ"})"));
    QCOMPARE(item(box8, "getAllMcastRx", 0),
             QJsonValue(parse(R"({"id":"0","name":"Drums","srcIp":"127.0.0.4","dstIp":"239.69.12.34",)"
                              R"("dstPort":"5004","chNum":"2","rtpChIdArr":["5"]})")));
    QCOMPARE(item(box8, "getAllRtpCh", 5),
             QJsonValue(parse(R"({"id":"5","active":"1","srcDevId":"","name":"Drums","srcChId":"1",)"
                              R"("srcIp":"127.0.0.4","dstIp":"239.69.12.34","dstPort":"5004"})")));
    QCOMPARE(item(box8, "getAllRxCh", 5), QJsonValue(parse(R"({"id":"5","rtpChId":"5"})")));
    QCOMPARE(item(box8, "getAllActiveMcastId", 0), QJsonValue(parse(R"({"id":"0","active":"1"})")));
    // A channel index beyond the flow is refused.
    QByteArray tooFar = subscribe;
    tooFar.replace(R"("srcChId":"1")", R"("srcChId":"2")");
    QCOMPARE(ask(box8, tooFar).value("reason").toString(), QStringLiteral("bad param"));

    // Removing the flow stops its SAP; the subscriber keeps its subscription, silent.
    m_groups->clear();
    QCOMPARE(ask(console, R"({"ops":"clrMcastTx","devId":"SIM-0003","name":"Drums","dstIp":"239.69.12.34"})"),
             parse(R"({"ops":"clrMcastTx","devId":"SIM-0003","result":"succ"})"));
    QVERIFY(!m_groups->waitFor(GroupListener::ops("updateRoute", "SIM-0003"), 1000).json.isEmpty());
    QCOMPARE(m_groups->waitFor(GroupListener::ops("updateActive", "SIM-0002"), 1000).from, QHostAddress(box8));
    QCOMPARE(item(console, "getAllMcastTx", 1).toObject().value("dstIp").toString(), QStringLiteral("0.0.0.0"));
    QCOMPARE(item(box8, "getAllMcastRx", 0).toObject().value("dstIp").toString(), QStringLiteral("239.69.12.34"));
    QCOMPARE(item(box8, "getAllActiveMcastId", 0), QJsonValue(parse(R"({"id":"0","active":"0"})")));
    m_groups->clear();
    m_groups->listen(400); // more than two SAP rounds of the test network
    QVERIFY(m_groups->all(GroupListener::sapFor("239.69.12.34")).isEmpty());
    QVERIFY(!m_groups->all(GroupListener::sapFor("239.69.0.4")).isEmpty()); // "Mix Bus" goes on
    QCOMPARE(ask(console, R"({"ops":"clrMcastTx","name":"Drums","dstIp":"239.69.12.34"})").value("reason").toString(),
             QStringLiteral("bad param"));

    QCOMPARE(ask(box8, R"({"ops":"clrRxCh","dstChId":"5"})").value("result").toString(), QStringLiteral("succ"));
    QCOMPARE(item(box8, "getAllMcastRx", 0).toObject().value("dstIp").toString(), QStringLiteral("0.0.0.0"));
}

void TestSimRouting::flowSlotsRunOutAndBadFlowsAreRefused()
{
    // Without an address the device picks one in 239.69.0.0/16, port 5004.
    const QJsonObject a = ask(box2, R"({"ops":"setMcastTx","name":"A","srcChIdArr":["0"],"sdp":{"chNum":"1"}})");
    const QJsonObject b = ask(box2, R"({"ops":"setMcastTx","name":"B","srcChIdArr":["1","0"],"sdp":{}})");
    QCOMPARE(a.value("result").toString(), QStringLiteral("succ"));
    QCOMPARE(b.value("result").toString(), QStringLiteral("succ"));
    QVERIFY(a.value("dstIp").toString().startsWith("239.69."));
    QVERIFY(a.value("dstIp") != b.value("dstIp"));
    QCOMPARE(a.value("dstPort").toString(), QStringLiteral("5004"));
    QCOMPARE(a.value("sdpId").toString(), QStringLiteral("0"));
    QCOMPARE(b.value("sdpId").toString(), QStringLiteral("1"));
    QCOMPARE(ask(box2, R"({"ops":"setMcastTx","name":"C","srcChIdArr":["0"],"sdp":{}})"),
             parse(R"({"ops":"setMcastTx","devId":"SIM-0001","result":"fail","reason":"no free sdpId"})"));

    const QList<QByteArray> bad{
        R"({"ops":"setMcastTx","name":"X","srcChIdArr":[],"sdp":{}})",
        R"({"ops":"setMcastTx","name":"X","srcChIdArr":["0","1","2","3","4","5","6","7","8"],"sdp":{}})",
        R"({"ops":"setMcastTx","name":"X","srcChIdArr":["64"],"sdp":{}})",
        R"({"ops":"setMcastTx","name":"X","srcChIdArr":["0"],"sdp":{"dstIp":"240.0.0.1","dstPort":"5004"}})",
        R"({"ops":"setMcastTx","name":"X","srcChIdArr":["0"],"sdp":{"dstIp":"223.1.1.1","dstPort":"5004"}})",
        R"({"ops":"setMcastTx","name":"X","srcChIdArr":["0","1"],"sdp":{"chNum":"3"}})",
        R"({"ops":"setMcastTx","name":"X","srcChIdArr":["0"],"sdp":{"dstIp":"239.1.1.1","dstPort":"80"}})",
    };
    for (const QByteArray &req : bad)
        QVERIFY2(ask(console, req).value("reason").toString() == "bad param", req.constData());
    // Eight channels are fine.
    QCOMPARE(ask(console, R"({"ops":"setMcastTx","name":"Eight","srcChIdArr":["0","1","2","3","4","5","6","7"],)"
                          R"("sdp":{"dstIp":"239.255.255.250","dstPort":"5006"}})")
                 .value("result")
                 .toString(),
             QStringLiteral("succ"));
}

void TestSimRouting::sampleRateMismatchCarriesNoAudio()
{
    // The 96 kHz panel to a 48 kHz receiver: the route is made, the stream stays silent.
    QCOMPARE(ask(box8, R"({"ops":"setUcastRx","srcDevId":"SIM-0007","srcChId":"0","dstChId":"0"})")
                 .value("result")
                 .toString(),
             QStringLiteral("succ"));
    QCOMPARE(item(box8, "getAllActiveUcastId", 0), QJsonValue(parse(R"({"id":"0","active":"0"})")));
    m_groups->clear();
    QCOMPARE(ask(box8, R"({"ops":"setSampleRate","sampleRate":"96000"})", 9994).value("result").toString(),
             QStringLiteral("succ"));
    QCOMPARE(m_groups->waitFor(GroupListener::ops("updateActive", "SIM-0002"), 1000).from, QHostAddress(box8));
    QCOMPARE(item(box8, "getAllActiveUcastId", 0), QJsonValue(parse(R"({"id":"0","active":"1"})")));
}

void TestSimRouting::routingLockRefusesRouteChanges()
{
    QCOMPARE(ask(box8, R"({"ops":"setLock","password":"654321","val":"0x2"})", 9995),
             parse(R"({"ops":"setLock","devId":"SIM-0002","result":"fail","reason":"mismatch"})"));
    QCOMPARE(ask(box8, R"({"ops":"setLock","password":"123456","val":"0x2"})", 9995),
             parse(R"({"ops":"setLock","devId":"SIM-0002","result":"succ"})"));
    QCOMPARE(ask(box8, R"({"ops":"getLock","devId":"SIM-0002"})"),
             parse(R"({"ops":"getLock","devId":"SIM-0002","result":"succ","devLock":"0","routeLock":"1",)"
                   R"("dspLock":"0","val":"0x2","dspVal":"0x0"})"));
    const QList<QByteArray> routeChanges{
        R"({"ops":"setUcastRx","srcDevId":"SIM-0001","srcChId":"0","dstChId":"0"})",
        R"({"ops":"setMcastRx","sdp":{"srcIp":"127.0.0.4","dstIp":"239.69.0.4","dstPort":"5004","chNum":"4",)"
        R"("sampleByteNum":"3","rtpTsOffset":"0"},"srcChId":"0","dstChId":"0"})",
        R"({"ops":"clrRxCh","dstChId":"0"})",
        R"({"ops":"setMcastTx","name":"X","srcChIdArr":["0"],"sdp":{}})",
        R"({"ops":"clrMcastTx","name":"Stage L-R","dstIp":"239.69.1.2"})",
    };
    for (const QByteArray &req : routeChanges) {
        const QJsonObject r = ask(box8, req);
        QVERIFY2(r.value("result").toString() == "fail" && r.value("reason").toString() == "LOCK_UCAST_MCAST",
                 req.constData());
    }
    QCOMPARE(item(box8, "getAllRxCh", 0), QJsonValue(parse(R"({"id":"0","rtpChId":"-1"})")));
    QCOMPARE(item(box8, "getAllMcastTx", 0).toObject().value("dstIp").toString(), QStringLiteral("239.69.1.2"));
    // Routing locked, details not: settings still go through.
    QCOMPARE(ask(box8, R"({"ops":"setDevName","name":"Still Me"})").value("result").toString(), QStringLiteral("succ"));

    // Hidden routing reads as level 3; unlocking lets routes through again.
    QCOMPARE(ask(box8, R"({"ops":"setLock","password":"123456","val":"0x10002"})", 9995).value("result").toString(),
             QStringLiteral("succ"));
    QCOMPARE(ask(box8, R"({"ops":"getLock"})").value("routeLock").toString(), QStringLiteral("3"));
    QCOMPARE(ask(box8, routeChanges.first()).value("reason").toString(), QStringLiteral("LOCK_UCAST_MCAST"));
    QCOMPARE(ask(box8, R"({"ops":"setLock","password":"123456","val":"0x0"})", 9995).value("result").toString(),
             QStringLiteral("succ"));
    QCOMPARE(ask(box8, routeChanges.first()).value("result").toString(), QStringLiteral("succ"));
    // The mask is "0x" and hexadecimal; anything else is refused.
    QCOMPARE(ask(box8, R"({"ops":"setLock","password":"123456","val":"2"})", 9995).value("reason").toString(),
             QStringLiteral("bad param"));
    QCOMPARE(ask(box8, R"({"ops":"setLock","password":"123456","val":"0x4"})", 9995).value("reason").toString(),
             QStringLiteral("bad param"));
}

void TestSimRouting::detailsLockRefusesSettings()
{
    QCOMPARE(ask(box8, R"({"ops":"setLock","password":"123456","val":"0x10003"})", 9995).value("result").toString(),
             QStringLiteral("succ"));
    const QJsonObject lock = ask(box8, R"({"ops":"getLock"})");
    QCOMPARE(lock.value("devLock").toString(), QStringLiteral("1"));
    QCOMPARE(lock.value("routeLock").toString(), QStringLiteral("3"));
    QCOMPARE(lock.value("val").toString(), QStringLiteral("0x10003"));
    QCOMPARE(ask(box8, R"({"ops":"setDevName","name":"Nope"})").value("reason").toString(),
             QStringLiteral("LOCK_UCAST_MCAST"));
    QCOMPARE(ask(box8, R"({"ops":"setPtpPriority","val":"10"})", 9994).value("reason").toString(),
             QStringLiteral("LOCK_UCAST_MCAST"));
    QCOMPARE(ask(box8, R"({"ops":"setChNameRx","chId":"0","name":"Nope"})").value("reason").toString(),
             QStringLiteral("LOCK_UCAST_MCAST"));
    // Reading is never locked.
    QCOMPARE(ask(box8, R"({"ops":"getVersion"})", 9994).value("result").toString(), QStringLiteral("succ"));
    QCOMPARE(ask(box8, R"({"ops":"getDebugInfo"})", 9994).value("devName").toString(), QStringLiteral("Stage Box 8"));
}

void TestSimRouting::audioProcessingLock()
{
    const QByteArray tagged = R"({"ops":"setLock","uiTag":"dspUiTag","password":"123456","val":"%1"})";
    const QList<QPair<QString, QString>> levels{{"0x1f", "1"}, {"0x1001f", "2"}, {"0x1", "3"}, {"0x0", "0"}};
    for (const auto &l : levels) {
        const QJsonObject r = ask(box8, QString::fromLatin1(tagged).arg(l.first).toUtf8(), 8999);
        QCOMPARE(r.value("uiTag").toString(), QStringLiteral("dspUiTag"));
        QCOMPARE(r.value("result").toString(), QStringLiteral("succ"));
        const QJsonObject lock = ask(box8, R"({"ops":"getLock"})");
        QCOMPARE(lock.value("dspLock").toString(), l.second);
        QCOMPARE(lock.value("dspVal").toString(), l.first);
        QCOMPARE(lock.value("val").toString(), QStringLiteral("0x0"));
    }
    QCOMPARE(ask(box8, QString::fromLatin1(tagged).arg("0x3").toUtf8(), 8999).value("reason").toString(),
             QStringLiteral("bad param"));
}

void TestSimRouting::passwordChange()
{
    QCOMPARE(ask(box8, R"({"ops":"setPassword","devId":"SIM-0002","old":"000000","new":"s3cret"})"),
             parse(R"({"ops":"setPassword","devId":"SIM-0002","result":"fail","reason":"mismatch"})"));
    QCOMPARE(ask(box8, R"({"ops":"setPassword","old":"123456","new":"has space"})").value("reason").toString(),
             QStringLiteral("bad param"));
    QCOMPARE(ask(box8, R"({"ops":"setPassword","old":"123456","new":"s3cret"})").value("result").toString(),
             QStringLiteral("succ"));
    QCOMPARE(ask(box8, R"({"ops":"setLock","password":"123456","val":"0x2"})", 9995).value("reason").toString(),
             QStringLiteral("mismatch"));
    QCOMPARE(ask(box8, R"({"ops":"setLock","password":"s3cret","val":"0x2"})", 9995).value("result").toString(),
             QStringLiteral("succ"));
    // Other devices keep the factory password.
    QCOMPARE(ask(box2, R"({"ops":"setLock","password":"123456","val":"0x0"})", 9995).value("result").toString(),
             QStringLiteral("succ"));
}

QTEST_GUILESS_MAIN(TestSimRouting)
#include "tst_simrouting.moc"
