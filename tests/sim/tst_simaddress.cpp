// Address settings: "getIp", the broadcast "setIp" and the move that
// follows, the broadcast factory query, and a reboot.
#include "grouplistener.h"
#include "simpeer.h"
#include "simtestnet.h"

#include <QJsonDocument>
#include <QSet>
#include <QtTest>

namespace {

QJsonObject parse(const QByteArray &json)
{
    return QJsonDocument::fromJson(json).object();
}

const QString broadcast = QStringLiteral("255.255.255.255");

} // namespace

class TestSimAddress : public QObject
{
    Q_OBJECT
private slots:
    void init();
    void cleanup();
    void getIpAsWritten();
    void broadcastSetIpMovesTheDevice();
    void setIpForSomeoneElseIsIgnored();
    void automaticAddress();
    void badAddressesAreRefused();
    void broadcastFactoryQueryIsAnsweredByAll();
    void rebootFallsSilentThenReturns();

private:
    std::unique_ptr<SimNetwork> m_net;
    SimPeer *m_peer = nullptr;
};

void TestSimAddress::init()
{
    m_net = startNetwork(SimScenario::defaultScenario());
    m_peer = new SimPeer;
}

void TestSimAddress::cleanup()
{
    delete m_peer;
    m_net.reset();
}

void TestSimAddress::getIpAsWritten()
{
    QCOMPARE(m_peer->request("127.0.0.3", 9994, R"({"ops":"getIp","devId":"SIM-0002"})"),
             parse(R"({"ops":"getIp","devId":"SIM-0002","result":"succ","fixedIp":"1","ip":"127.0.0.3/24",)"
                   R"("gateway":"127.0.0.1","dns":"127.0.0.1"})"));
}

void TestSimAddress::broadcastSetIpMovesTheDevice()
{
    GroupListener groups;
    QVERIFY(groups.isReady());
    SimPeer::Answer a;
    QVERIFY(m_peer->ask(broadcast, 9994,
                        R"({"ops":"setIp","devId":"SIM-0002","isFixedIp":"1","ip":"127.0.0.60/16",)"
                        R"("gateway":"127.0.0.254","dns":"127.0.0.253"})",
                        &a));
    // Only the named device answers, from its own address.
    QCOMPARE(a.json, parse(R"({"ops":"setIp","devId":"SIM-0002","result":"succ"})"));
    QCOMPARE(a.from, QHostAddress("127.0.0.3"));
    QCOMPARE(a.fromPort, quint16(9994));
    SimPeer::Answer extra;
    QVERIFY(!m_peer->next(&extra, 200));

    groups.clear();
    const auto moved = groups.waitFor(
        [](const GroupListener::Heard &h) {
            return h.json.value("ops") == "iAmCorvane" && h.json.value("devId") == "SIM-0002" &&
                   h.json.value("ip") == "127.0.0.60";
        },
        2000);
    QVERIFY2(!moved.json.isEmpty(), "no announcement from the new address");
    QCOMPARE(moved.from, QHostAddress("127.0.0.60"));
    QCOMPARE(m_peer->request("127.0.0.60", 9994, R"({"ops":"getIp"})"),
             parse(R"({"ops":"getIp","devId":"SIM-0002","result":"succ","fixedIp":"1","ip":"127.0.0.60/16",)"
                   R"("gateway":"127.0.0.254","dns":"127.0.0.253"})"));
    QCOMPARE(m_peer->request("127.0.0.60", 9990, R"({"ops":"getAllRxCh","idStart":"0"})").value("result").toString(),
             QStringLiteral("succ"));
    QVERIFY(!m_peer->ask("127.0.0.3", 9994, R"({"ops":"getIp"})", &extra, 300));
    // Streams follow the device to its new address.
    QCOMPARE(
        m_peer->request("127.0.0.2", 9990, R"({"ops":"setUcastRx","srcDevId":"SIM-0002","srcChId":"0","dstChId":"0"})")
            .value("result")
            .toString(),
        QStringLiteral("succ"));
    const QJsonObject rtp = m_peer->request("127.0.0.2", 9990, R"({"ops":"getAllRtpCh","idStart":"0"})");
    QCOMPARE(rtp.value("arr").toArray().first().toObject().value("srcIp").toString(), QStringLiteral("127.0.0.60"));
}

void TestSimAddress::setIpForSomeoneElseIsIgnored()
{
    SimPeer::Answer a;
    QVERIFY(!m_peer->ask(broadcast, 9994,
                         R"({"ops":"setIp","devId":"NOBODY","isFixedIp":"1","ip":"127.0.0.61/24",)"
                         R"("gateway":"127.0.0.1","dns":"127.0.0.1"})",
                         &a, 300));
    // Without a devId nobody may take it: it would move every device at once.
    QVERIFY(!m_peer->ask(
        broadcast, 9994,
        R"({"ops":"setIp","isFixedIp":"1","ip":"127.0.0.61/24","gateway":"127.0.0.1","dns":"127.0.0.1"})", &a, 300));
    QCOMPARE(m_peer->request("127.0.0.3", 9994, R"({"ops":"getIp"})").value("ip").toString(),
             QStringLiteral("127.0.0.3/24"));
}

void TestSimAddress::automaticAddress()
{
    QCOMPARE(m_peer->request(broadcast, 9994, R"({"ops":"setIp","devId":"SIM-0001","isFixedIp":"0"})"),
             parse(R"({"ops":"setIp","devId":"SIM-0001","result":"succ"})"));
    const QJsonObject ip = m_peer->request("127.0.0.2", 9994, R"({"ops":"getIp"})");
    QCOMPARE(ip.value("fixedIp").toString(), QStringLiteral("0"));
    QCOMPARE(ip.value("ip").toString(), QStringLiteral("127.0.0.2/24"));
}

void TestSimAddress::badAddressesAreRefused()
{
    const QList<QByteArray> bad{
        R"({"ops":"setIp","devId":"SIM-0001","isFixedIp":"1","ip":"127.0.0.70",)"
        R"("gateway":"127.0.0.1","dns":"127.0.0.1"})",
        R"({"ops":"setIp","devId":"SIM-0001","isFixedIp":"1","ip":"127.0.0.300/24",)"
        R"("gateway":"127.0.0.1","dns":"127.0.0.1"})",
        R"({"ops":"setIp","devId":"SIM-0001","isFixedIp":"1","ip":"127.0.0.70/24","dns":"127.0.0.1"})",
        R"({"ops":"setIp","devId":"SIM-0001","isFixedIp":"2"})",
        R"({"ops":"setIp","devId":"SIM-0001"})",
    };
    for (const QByteArray &req : bad)
        QVERIFY2(m_peer->request(broadcast, 9994, req).value("reason").toString() == "bad param", req.constData());
    QCOMPARE(m_peer->request("127.0.0.2", 9994, R"({"ops":"getIp"})").value("ip").toString(),
             QStringLiteral("127.0.0.2/24"));
}

void TestSimAddress::broadcastFactoryQueryIsAnsweredByAll()
{
    m_peer->drain();
    m_peer->send(broadcast, 9994, "AreYouCorvaneLink?");
    QSet<QString> from;
    SimPeer::Answer a;
    while (from.size() < 8 && m_peer->next(&a, 2000)) {
        QCOMPARE(a.bytes, QByteArray("iAmCorvaneLink!"));
        QCOMPARE(a.fromPort, quint16(9994));
        from.insert(a.from.toString());
    }
    QCOMPARE(from.size(), 8);
}

void TestSimAddress::rebootFallsSilentThenReturns()
{
    GroupListener groups;
    QVERIFY(groups.isReady());
    QTRY_VERIFY(m_peer->request("127.0.0.3", 9994, R"({"ops":"getDebugInfo"})").value("uptime").toString().toDouble() >
                0.2);
    QCOMPARE(m_peer->request("127.0.0.3", 9994, R"({"ops":"reboot","devId":"SIM-0002"})"),
             parse(R"({"ops":"reboot","devId":"SIM-0002","result":"succ"})"));
    // Silent: neither answers nor announcements for a while (the test network reboots in 400 ms).
    QTest::qWait(50);
    groups.clear();
    SimPeer::Answer a;
    QVERIFY(!m_peer->ask("127.0.0.3", 9994, R"({"ops":"getDebugInfo"})", &a, 200));
    QVERIFY(groups.all(GroupListener::ops("iAmCorvane", "SIM-0002")).isEmpty());
    // Back, announcing, with a fresh uptime and a clock that settles anew.
    const auto back = groups.waitFor(GroupListener::ops("iAmCorvane", "SIM-0002"), 3000);
    QVERIFY2(!back.json.isEmpty(), "no announcement after the reboot");
    const double uptime =
        m_peer->request("127.0.0.3", 9994, R"({"ops":"getDebugInfo"})").value("uptime").toString().toDouble();
    QVERIFY2(uptime < 0.5, qPrintable(QString::number(uptime)));
}

QTEST_GUILESS_MAIN(TestSimAddress)
#include "tst_simaddress.moc"
