// The event stream from registry notices, device lists and replies, on a driven clock.
#include "core/events/eventmonitor.h"

#include <QtTest>

namespace {

using K = EventLine::Kind;
using S = EventMonitor::ClockChange;

DevRecord rec(const char *devId, const char *myClk, const char *gmClk)
{
    DevRecord r;
    r.devId.set(devId);
    r.name.set(devId);
    r.myClkId.set(myClk);
    r.gmClkId.set(gmClk);
    return r;
}

RegistryNotice notice(RegistryNotice::Kind kind, const char *devId)
{
    RegistryNotice n;
    n.kind = kind;
    n.devId = QLatin1String(devId);
    n.name = n.devId == "D1" ? QStringLiteral("Stage") : n.devId;
    return n;
}

QJsonObject offset(const char *devId, const char *state)
{
    return {{"ops", "clockEvent"}, {"event", "masterOffset"}, {"devId", devId}, {"state", state}};
}

QVector<K> kinds(const EventMonitor &m, int from = 0)
{
    QVector<K> out;
    for (auto it = m.lines().begin() + from; it != m.lines().end(); ++it)
        out.append(it->kind);
    return out;
}

const char kA[] = "00-00-00-00-00-00-00-0a", kB[] = "00-00-00-00-00-00-00-0b", kC[] = "00-00-00-00-00-00-00-0c",
           kZero[] = "00-00-00-00-00-00-00-00";

} // namespace

class TestEvents : public QObject
{
    Q_OBJECT
private slots:
    void foundLostBackOnTheDrivenClock();
    void leadersPerDomainLocksAndClockHistory();
    void anUnknownLeaderWaitsToBeNamed();
    void temperatureAndRefusals();
    void bounds();
};

void TestEvents::foundLostBackOnTheDrivenClock()
{
    qint64 now = 1000;
    EventMonitor m([&now] { return now; });
    m.onNotice(notice(RegistryNotice::DevAdded, "D1"));
    m.onNotice(notice(RegistryNotice::DevAdded, "D1")); // a repeat is not news
    now = 121000;
    m.onNotice(notice(RegistryNotice::DevRemoved, "D1"));
    m.onNotice(notice(RegistryNotice::FlowRemoved, ""));
    now = 130500;
    m.onNotice(notice(RegistryNotice::DevAdded, "D1"));
    m.onNotice(notice(RegistryNotice::DevAdded, "D2"));
    QCOMPARE(kinds(m), (QVector<K>{K::Found, K::Lost, K::Back, K::Found}));
    const auto &l = m.lines();
    QCOMPARE(QVector<qint64>({l[0].atMs, l[1].atMs, l[2].atMs}), QVector<qint64>({1000, 121000, 130500}));
    QCOMPARE(QVector<int>({l[0].severity, l[1].severity, l[2].severity}),
             QVector<int>({EventLine::Info, EventLine::Warning, EventLine::Info}));
    QVERIFY(l[1].text().contains("Stage (D1)"));
}

void TestEvents::leadersPerDomainLocksAndClockHistory()
{
    qint64 now = 0;
    EventMonitor m([&now] { return now; });
    for (const char *id : {"A", "B", "C"})
        m.onNotice(notice(RegistryNotice::DevAdded, id));
    // A leads domain 0 and C follows it; B has no leader yet, then leads domain 1.
    m.onDevices({rec("A", kA, kA), rec("B", kB, kZero), rec("C", kC, kA)});
    m.onMessage(offset("C", "2")); // a first lock is the normal start: no line
    m.onMessage({{"ops", "getVersion"}, {"devId", "B"}, {"result", "succ"}, {"ptpDomain", "1"}});
    m.onDevices({rec("A", kA, kA), rec("B", kB, kB), rec("C", kC, kA)});
    QCOMPARE(kinds(m, 3), (QVector<K>{K::Leader, K::Leader}));
    QCOMPARE(m.lines()[3].devId + m.lines()[3].a + m.lines()[4].a, QStringLiteral("A01"));

    // A goes; C leads itself, then B moves into domain 0 and wins it (the lower identity); C follows B,
    // loses the lock and finds it again.
    now = 30;
    m.onNotice(notice(RegistryNotice::DevRemoved, "A"));
    m.onDevices({rec("B", kB, kB), rec("C", kC, kC)});
    m.onMessage({{"ops", "getVersion"}, {"devId", "B"}, {"result", "succ"}, {"ptpDomain", "0"}});
    m.onDevices({rec("B", kB, kB), rec("C", kC, kB)});
    for (const char *state : {"2", "1", "2"})
        m.onMessage(offset("C", state));
    QCOMPARE(kinds(m, 5), (QVector<K>{K::Lost, K::LeaderChanged, K::LeaderChanged, K::Unlocked, K::Relocked}));
    QCOMPARE(m.lines()[6].b + ">" + m.lines()[6].c, QStringLiteral("A>C"));
    QVERIFY(m.lines()[6].isAlert() && m.lines()[8].isAlert() && !m.lines()[9].isAlert());

    QVector<S::State> states;
    for (const S &c : m.clockHistory("C"))
        states.append(c.state);
    QCOMPARE(states, (QVector<S::State>{S::Settling, S::Locked, S::Leader, S::Locked, S::Settling, S::Locked}));
    QCOMPARE(qMakePair(m.clockHistory("C").first().atMs, m.clockHistory("C").last().atMs), qMakePair(0LL, 30LL));
    QCOMPARE(m.clockHistory("C").last().leaderText(), QStringLiteral("B"));
    QCOMPARE(m.clockHistory("A").last().state, S::Gone);
    QCOMPARE(m.clockHistory("B").first().state, S::NoLeader);
}

void TestEvents::anUnknownLeaderWaitsToBeNamed()
{
    qint64 now = 0;
    EventMonitor m([&now] { return now; });
    m.onNotice(notice(RegistryNotice::DevAdded, "C"));
    m.onDevices({rec("C", kC, kA)}); // A has not announced itself yet
    now = EventMonitor::kUnnamedLeaderMs - 1;
    m.onDevices({rec("C", kC, kA)});
    QCOMPARE(kinds(m), QVector<K>{K::Found});
    now = EventMonitor::kUnnamedLeaderMs;
    m.onDevices({rec("C", kC, kA)});
    QCOMPARE(m.lines().back().text(), QStringLiteral("PTP domain 0: %1 leads the clock").arg(kA));
}

void TestEvents::temperatureAndRefusals()
{
    EventMonitor m([] { return qint64(5); });
    m.onNotice(notice(RegistryNotice::DevAdded, "D"));
    for (const char *t : {"80000", "80500", "85000", "86000", "86500", "79000"})
        m.onMessage({{"ops", "getDebugInfo"}, {"devId", "D"}, {"result", "succ"}, {"temp", t}, {"uptime", "1"}});
    auto refused = [&](const char *op, const char *devId, const char *result, const char *reason) {
        m.onMessage({{"ops", op}, {"devId", devId}, {"result", result}, {"reason", reason}});
    };
    refused("setUcastRx", "D", "fail", "LOCK_UCAST_MCAST");
    refused("setMcastTx", "D", "fail", "bad param");
    refused("setLock", "D", "fail", "mismatch");
    refused("setDevName", "D", "fail", "LOCK_UCAST_MCAST");
    refused("setMcastTx", "D", "succ", "");
    refused("setUcastRx", "nobody", "fail", "bad param");
    QCOMPARE(kinds(m), (QVector<K>{K::Found, K::TempHigh, K::TempAbnormal, K::TempNormal, K::RouteRefused,
                                   K::FlowRefused, K::LockRefused, K::LockRefused}));
    QCOMPARE(m.lines()[2].severity + m.lines()[4].severity, EventLine::Error * 2);
    QCOMPARE(m.lines()[1].text(), QStringLiteral("D temperature is too high, please pay attention to heat "
                                                 "dissipation (80.5 °C)"));
    // The reason in the snack bar's words, not the device's code.
    QVERIFY(!m.lines()[4].text().contains("LOCK_UCAST_MCAST"));
    QVERIFY(m.lines()[5].text().contains("bad param"));
}

void TestEvents::bounds()
{
    EventMonitor m([] { return qint64(0); });
    for (int i = 0; i < EventMonitor::kMaxLines + 5; ++i)
        m.onNotice(notice(i % 2 ? RegistryNotice::DevRemoved : RegistryNotice::DevAdded, "F"));
    QCOMPARE(int(m.lines().size()), EventMonitor::kMaxLines);
    QCOMPARE(m.lines().back().kind, K::Back);
    QCOMPARE(m.unseenAlerts(), (EventMonitor::kMaxLines + 5) / 2);
    // A device flapping between two states keeps only its latest changes.
    for (int i = 0; i < EventMonitor::kMaxClockChanges + 10; ++i) {
        m.onDevices({rec("F", kC, kA)});
        m.onMessage(offset("F", i % 2 ? "2" : "1"));
    }
    QCOMPARE(m.clockHistory("F").size(), EventMonitor::kMaxClockChanges);
}

QTEST_GUILESS_MAIN(TestEvents)
#include "tst_events.moc"
