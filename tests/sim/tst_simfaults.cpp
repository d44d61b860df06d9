// Misbehaving devices, as the monitoring pages and the poller must meet them.
#include "grouplistener.h"
#include "simpeer.h"

#include <QElapsedTimer>
#include <QJsonDocument>
#include <QtTest>

namespace {

// Two plain 8x8 devices: "A" at 127.0.0.2 misbehaves as told, "B" at 127.0.0.3 is the control.
SimScenario pair(const char *faultsOfA)
{
    SimScenario s;
    QString error;
    const QByteArray json = QByteArray(R"({"devices":[{"devId":"A","name":"A","model":"RK7731","faults":)") +
                            faultsOfA + R"(},{"devId":"B","name":"B","model":"RK0808"}]})";
    if (!SimScenario::fromJson(json, &s, &error))
        qWarning("bad scenario: %s", qPrintable(error));
    return s;
}

} // namespace

class TestSimFaults : public QObject
{
    Q_OBJECT
private slots:
    void cleanup();
    void lossDropsRepliesButNotAnnouncements();
    void delayHoldsRepliesBack();
    void refusalWithTheGivenReason();
    void silentDeviceStillAnnounces();
    void goneDeviceStopsAnnouncing();
    void malformedRepliesAndGarbageOnTheGroup();
    void oversizedReplies();
    void overheatedAmplifier();

private:
    void start(const char *faultsOfA)
    {
        m_net = startNetwork(pair(faultsOfA));
        QCOMPARE(m_net->devices().size(), 2);
    }
    std::unique_ptr<SimNetwork> m_net;
    SimPeer m_peer;
};

void TestSimFaults::cleanup()
{
    m_net.reset();
}

void TestSimFaults::lossDropsRepliesButNotAnnouncements()
{
    start(R"({"lossPercent":100})");
    GroupListener groups;
    QVERIFY(groups.isReady());
    SimPeer::Answer a;
    for (int i = 0; i < 5; ++i)
        QVERIFY(!m_peer.ask("127.0.0.2", 9994, R"({"ops":"getVersion"})", &a, 100));
    QVERIFY(m_peer.ask("127.0.0.3", 9994, R"({"ops":"getVersion"})", &a));
    QVERIFY(!groups.waitFor(GroupListener::ops("iAmCorvane", "A"), 2000).json.isEmpty());
}

void TestSimFaults::delayHoldsRepliesBack()
{
    start(R"({"delayMs":300})");
    SimPeer::Answer a;
    QElapsedTimer t;
    t.start();
    QVERIFY(m_peer.ask("127.0.0.2", 9994, R"({"ops":"getVersion"})", &a, 3000));
    QVERIFY2(t.elapsed() >= 250, qPrintable(QString::number(t.elapsed())));
    QCOMPARE(a.json.value("result").toString(), QStringLiteral("succ"));
}

void TestSimFaults::refusalWithTheGivenReason()
{
    start(R"({"refuse":{"setDevName":"busy","setUcastRx":"no free sdpId"}})");
    QCOMPARE(m_peer.request("127.0.0.2", 9990, R"({"ops":"setDevName","name":"X"})"),
             QJsonDocument::fromJson(R"({"ops":"setDevName","devId":"A","result":"fail","reason":"busy"})").object());
    QCOMPARE(m_peer.request("127.0.0.2", 9990, R"({"ops":"setUcastRx","srcDevId":"B","srcChId":"0","dstChId":"0"})")
                 .value("reason")
                 .toString(),
             QStringLiteral("no free sdpId"));
    QCOMPARE(
        m_peer.request("127.0.0.2", 9990, R"({"ops":"setChNameRx","chId":"0","name":"X"})").value("result").toString(),
        QStringLiteral("succ"));
    QCOMPARE(m_peer.request("127.0.0.3", 9990, R"({"ops":"setDevName","name":"X"})").value("result").toString(),
             QStringLiteral("succ"));
}

void TestSimFaults::silentDeviceStillAnnounces()
{
    start(R"({"silent":true})");
    GroupListener groups;
    QVERIFY(groups.isReady());
    SimPeer::Answer a;
    QVERIFY(!m_peer.ask("127.0.0.2", 9990, R"({"ops":"getAllRxCh","idStart":"0"})", &a, 300));
    QVERIFY(!m_peer.ask("127.0.0.2", 9994, "AreYouCorvaneLink?", &a, 200));
    QVERIFY(!groups.waitFor(GroupListener::ops("iAmCorvane", "A"), 2000).json.isEmpty());
}

void TestSimFaults::goneDeviceStopsAnnouncing()
{
    start(R"({"goneAfterS":1})");
    GroupListener groups;
    QVERIFY(groups.isReady());
    QVERIFY(!groups.waitFor(GroupListener::ops("iAmCorvane", "A"), 1000).json.isEmpty());
    // After its second: no more announcements, no answers, while B goes on.
    QTRY_VERIFY_WITH_TIMEOUT(!m_peer.request("127.0.0.2", 9994, R"({"ops":"getVersion"})", 100).contains("result"),
                             3000);
    groups.clear();
    groups.listen(400);
    QVERIFY(groups.all(GroupListener::ops("iAmCorvane", "A")).isEmpty());
    QVERIFY(!groups.all(GroupListener::ops("iAmCorvane", "B")).isEmpty());
}

void TestSimFaults::malformedRepliesAndGarbageOnTheGroup()
{
    start(R"({"malformedPercent":100})");
    GroupListener groups;
    QVERIFY(groups.isReady());
    SimPeer::Answer a;
    QVERIFY(m_peer.ask("127.0.0.2", 9994, R"({"ops":"getVersion"})", &a));
    QVERIFY(!a.bytes.isEmpty());
    QVERIFY2(QJsonDocument::fromJson(a.bytes).isNull(), a.bytes.constData());
    const auto junk = groups.waitFor(
        [](const GroupListener::Heard &h) { return !h.sap && h.from == QHostAddress("127.0.0.2") && h.json.isEmpty(); },
        2000);
    QVERIFY2(!junk.bytes.isEmpty(), "no garbage on the announcement group");
    // Real announcements still come too.
    QVERIFY(!groups.waitFor(GroupListener::ops("iAmCorvane", "A"), 2000).json.isEmpty());
}

void TestSimFaults::oversizedReplies()
{
    start(R"({"oversizePercent":100})");
    SimPeer::Answer a;
    QVERIFY(m_peer.ask("127.0.0.2", 9994, R"({"ops":"getVersion"})", &a));
    QVERIFY(a.bytes.size() >= 1500);
    QCOMPARE(a.json.value("ops").toString(), QStringLiteral("getVersion"));
}

void TestSimFaults::overheatedAmplifier()
{
    start(R"({"hot":"error"})");
    const int temp = m_peer.request("127.0.0.2", 9994, R"({"ops":"getDebugInfo"})").value("temp").toString().toInt();
    QVERIFY2(temp >= 86000, qPrintable(QString::number(temp)));
    QCOMPARE(m_peer.request("127.0.0.2", 9990, R"({"ops":"getTarnAmpInfo"})").value("protect").toString(),
             QStringLiteral("2"));
    QVERIFY(m_peer.request("127.0.0.3", 9994, R"({"ops":"getDebugInfo"})").value("temp").toString().toInt() < 80000);
}

QTEST_GUILESS_MAIN(TestSimFaults)
#include "tst_simfaults.moc"
