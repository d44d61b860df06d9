// The PTP picture the devices paint: who leads, what followers report, and
// how a priority change moves the lead.
#include "grouplistener.h"
#include "simpeer.h"
#include "simtestnet.h"

#include <QRegularExpression>
#include <QtTest>

namespace {

const QString leaderId = QStringLiteral("00-1D-C1-FF-FE-00-00-02");  // SIM-0002, priority 100
const QString consoleId = QStringLiteral("00-1D-C1-FF-FE-00-00-03"); // SIM-0003, priority 100 too

} // namespace

class TestSimClock : public QObject
{
    Q_OBJECT
private slots:
    void init();
    void cleanup();
    void lowestPriorityLeadsTiesGoToTheLowerIdentity();
    void followersSettleThenLock();
    void priorityChangeMovesTheLead();
    void virtualSoundCardNeverLeads();
    void aDomainOfItsOwn();
    void flowsCarryTheLeadersIdentity();

private:
    /// The next announcement of \a devId heard after now.
    QJsonObject nextAnnouncement(const QString &devId)
    {
        m_groups->clear();
        return m_groups->waitFor(GroupListener::ops("iAmCorvane", devId), 2000).json;
    }

    std::unique_ptr<SimNetwork> m_net;
    SimPeer *m_peer = nullptr;
    GroupListener *m_groups = nullptr;
};

void TestSimClock::init()
{
    m_net = startNetwork(SimScenario::defaultScenario());
    m_peer = new SimPeer;
    m_groups = new GroupListener;
    QVERIFY(m_groups->isReady());
}

void TestSimClock::cleanup()
{
    delete m_groups;
    delete m_peer;
    m_net.reset();
}

void TestSimClock::lowestPriorityLeadsTiesGoToTheLowerIdentity()
{
    for (int k = 1; k <= 8; ++k) {
        const QString devId = QStringLiteral("SIM-%1").arg(k, 4, 10, QLatin1Char('0'));
        QTRY_COMPARE_WITH_TIMEOUT(nextAnnouncement(devId).value("gmClkId").toString(), leaderId, 3000);
    }
    const QJsonObject leader = nextAnnouncement("SIM-0002");
    QCOMPARE(leader.value("myClkId").toString(), leader.value("gmClkId").toString());
    QVERIFY(nextAnnouncement("SIM-0003").value("myClkId").toString() != leaderId);
    // The leader reports state 0 and no offset.
    const auto e = m_groups->waitFor(GroupListener::event("masterOffset", "SIM-0002"), 2000);
    QCOMPARE(e.from, QHostAddress("127.0.0.3"));
    QCOMPARE(e.json.value("state").toString(), QStringLiteral("0"));
    QCOMPARE(e.json.value("masterOffset").toString(), QStringLiteral("0"));
}

void TestSimClock::followersSettleThenLock()
{
    const QRegularExpression integer("^-?\\d+$");
    const QRegularExpression ppm("^-?\\d+\\.\\d{3}$");
    // Settling first (1), then locked (2): both seen from the 2x2 within the bounded wait.
    const auto settling = m_groups->waitFor(
        [](const GroupListener::Heard &h) {
            return h.json.value("devId") == "SIM-0001" && h.json.value("event") == "masterOffset" &&
                   h.json.value("state") == "1";
        },
        2000);
    QVERIFY2(!settling.json.isEmpty(), "no settling state from SIM-0001");
    const auto locked = m_groups->waitFor(
        [](const GroupListener::Heard &h) {
            return h.json.value("devId") == "SIM-0001" && h.json.value("event") == "masterOffset" &&
                   h.json.value("state") == "2";
        },
        3000);
    QVERIFY2(!locked.json.isEmpty(), "SIM-0001 never locked");
    QVERIFY(integer.match(locked.json.value("masterOffset").toString()).hasMatch());
    QVERIFY(qAbs(locked.json.value("masterOffset").toString().toInt()) < 1000);
    QCOMPARE(locked.json.keys(), QStringList({"devId", "event", "masterOffset", "state"}));
    const auto freq = m_groups->waitFor(GroupListener::event("adjustFreq", "SIM-0001"), 2000);
    QVERIFY2(ppm.match(freq.json.value("adjustFreq").toString()).hasMatch(),
             qPrintable(freq.json.value("adjustFreq").toString()));
    // Events travel on 239.0.0.189, never as "ops" announcements.
    QVERIFY(!locked.json.contains("ops"));
}

void TestSimClock::priorityChangeMovesTheLead()
{
    QTRY_COMPARE_WITH_TIMEOUT(nextAnnouncement("SIM-0001").value("gmClkId").toString(), leaderId, 3000);
    QCOMPARE(m_peer->request("127.0.0.4", 9994, R"({"ops":"setPtpPriority","devId":"SIM-0003","val":"99"})")
                 .value("result")
                 .toString(),
             QStringLiteral("succ"));
    QTRY_COMPARE_WITH_TIMEOUT(nextAnnouncement("SIM-0001").value("gmClkId").toString(), consoleId, 3000);
    QCOMPARE(nextAnnouncement("SIM-0002").value("gmClkId").toString(), consoleId);
    // The old leader now follows and settles anew.
    m_groups->clear();
    const auto following = m_groups->waitFor(GroupListener::event("masterOffset", "SIM-0002"), 2000);
    QVERIFY(following.json.value("state").toString() != "0");
    QCOMPARE(m_peer->request("127.0.0.4", 9994, R"({"ops":"getVersion"})").value("ptpPriority").toString(),
             QStringLiteral("99"));
    // Out of range is refused and leaves the lead where it is.
    QCOMPARE(m_peer->request("127.0.0.3", 9994, R"({"ops":"setPtpPriority","val":"256"})").value("reason").toString(),
             QStringLiteral("bad param"));
    QCOMPARE(nextAnnouncement("SIM-0001").value("gmClkId").toString(), consoleId);
}

void TestSimClock::virtualSoundCardNeverLeads()
{
    // SIM-0005 (RK0000) has priority 0 from the scenario and still follows.
    QCOMPARE(m_peer->request("127.0.0.6", 9994, R"({"ops":"getVersion"})").value("ptpPriority").toString(),
             QStringLiteral("0"));
    QTRY_COMPARE_WITH_TIMEOUT(nextAnnouncement("SIM-0005").value("gmClkId").toString(), leaderId, 3000);
    // Even alone in a domain it does not lead: it has nobody to follow.
    QCOMPARE(m_peer->request("127.0.0.6", 9994, R"({"ops":"setPtpDomain","val":"5"})").value("result").toString(),
             QStringLiteral("succ"));
    QTRY_COMPARE_WITH_TIMEOUT(nextAnnouncement("SIM-0005").value("gmClkId").toString(),
                              QStringLiteral("00-00-00-00-00-00-00-00"), 3000);
}

void TestSimClock::aDomainOfItsOwn()
{
    QCOMPARE(m_peer->request("127.0.0.2", 9994, R"({"ops":"setPtpDomain","val":"1"})").value("result").toString(),
             QStringLiteral("succ"));
    QTRY_COMPARE_WITH_TIMEOUT(nextAnnouncement("SIM-0001").value("gmClkId").toString(),
                              QStringLiteral("00-1D-C1-FF-FE-00-00-01"), 3000);
    QCOMPARE(nextAnnouncement("SIM-0003").value("gmClkId").toString(), leaderId);
    QCOMPARE(m_peer->request("127.0.0.2", 9994, R"({"ops":"setPtpDomain","val":"128"})").value("reason").toString(),
             QStringLiteral("bad param"));
}

void TestSimClock::flowsCarryTheLeadersIdentity()
{
    QTRY_COMPARE_WITH_TIMEOUT(nextAnnouncement("SIM-0002").value("gmClkId").toString(), leaderId, 3000);
    m_groups->clear();
    const auto sap = m_groups->waitFor(GroupListener::sapFor("239.69.1.2"), 2000);
    QVERIFY(sap.bytes.contains("a=ts-refclk:ptp=IEEE1588-2008:" + leaderId.toLatin1() + ":0\r\n"));
}

QTEST_GUILESS_MAIN(TestSimClock)
#include "tst_simclock.moc"
