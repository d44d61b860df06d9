#include "core/devices/devmanager.h"
#include "core/protocol/ipv4.h"

#include "../support/packets.h"
#include "../support/recordingsink.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QtTest>

namespace {

quint32 ip(const char *text)
{
    return Ipv4::fromText(QString::fromLatin1(text));
}

struct Harness
{
    RecordingSink sink;
    DevManager registry{&sink};
    QVector<RegistryNotice> notices;
    Harness()
    {
        registry.setNotifier([this](const RegistryNotice &n) { notices.append(n); });
    }
    bool announce(const QString &devId, const char *address, const QJsonObject &overrides = {})
    {
        const QByteArray a = Packets::announcement(devId, QLatin1String(address), overrides);
        return registry.intakeAnnouncement(a.constData(), a.size(), ip(address), 9996);
    }
    void sap(const QByteArray &packet) { registry.intakeSap(packet.constData(), packet.size(), 0, 9875); }
    QStringList ops() const
    {
        QStringList out;
        for (const RegistryNotice &n : notices)
            out.append(n.toJson().value("ops").toString());
        return out;
    }
    void reply(const char *from, const QJsonObject &r) { registry.intakeReply(r, ip(from)); }
};

QJsonObject page(const char *op, int idStart, int idNext, const QJsonArray &items)
{
    return QJsonObject{{"ops", op}, {"result", "succ"}, {"idStart", QString::number(idStart)}, {"idNext", idNext},
                       {"arr", items}};
}

// A device's answer to one of the poller's requests: the page from its idStart, its cookie copied back.
QJsonObject answer(const QByteArray &request, int idNext, const QJsonArray &items)
{
    const QJsonObject req = QJsonDocument::fromJson(request).object();
    QJsonObject r = page(req.value("ops").toString().toLatin1().constData(), req.value("idStart").toString().toInt(),
                         idNext, items);
    r.insert("cookie", req.value("cookie"));
    return r;
}

} // namespace

class TestDevManager : public QObject
{
    Q_OBJECT
private slots:
    void addThenUpdateOnlyOnCanWorkOrClockState();
    void everyChangedMemberReachesThePages_data();
    void everyChangedMemberReachesThePages();
    void sameIdFromTwoAddressesIsOneDevice();
    void deviceAgesOutAfterExactly6000Ticks();
    void fullTablesIgnoreNewcomers();
    void pollAsksForEveryIncompleteTable();
    void repliesStoreAndAskForTheNextPage();
    void routeNoticesRefetchTheirTables();
    void aPageAskedBeforeARouteChangeIsNotTakenAfterIt();
    void flowsFromSap();
};

void TestDevManager::addThenUpdateOnlyOnCanWorkOrClockState()
{
    Harness h;
    QVERIFY(h.announce("A", "10.0.0.2"));
    QCOMPARE(h.ops(), QStringList{"addDev"});
    QCOMPARE(h.notices.first().devId, QStringLiteral("A"));
    QCOMPARE(h.notices.first().name, QStringLiteral("Dev A"));

    QVERIFY(h.announce("A", "10.0.0.2", {{"canWork", "0"}}));
    QCOMPARE(h.ops().last(), QStringLiteral("updateDev"));
    // A clock identity becoming known is a change of state; a different
    // known identity is not.
    QVERIFY(h.announce("A", "10.0.0.2", {{"canWork", "0"}, {"myClkId", "00-1D-C1-FF-FE-00-00-02"}}));
    QCOMPARE(h.ops().size(), 3);
    QVERIFY(h.announce("A", "10.0.0.2", {{"canWork", "0"}, {"myClkId", "00-1D-C1-FF-FE-00-00-03"}}));
    QCOMPARE(h.ops().size(), 3);
    QVERIFY(h.announce("A", "10.0.0.2", {{"canWork", "0"}, {"myClkId", "00-00-00-00-00-00-00-00"}}));
    QCOMPARE(h.ops().size(), 4);
    QVERIFY(h.registry.takeDirty());
}

void TestDevManager::everyChangedMemberReachesThePages_data()
{
    QTest::addColumn<QJsonObject>("change");
    QTest::addColumn<bool>("shown");
    QTest::newRow("same again") << QJsonObject{} << false;
    // The clock leader moved: the device's grandmaster is another clock now.
    QTest::newRow("new leader") << QJsonObject{{"gmClkId", "00-1D-C1-FF-FE-00-00-03"}} << true;
    QTest::newRow("own clock") << QJsonObject{{"myClkId", "00-1D-C1-FF-FE-00-00-04"}} << true;
    QTest::newRow("name") << QJsonObject{{"name", "Renamed"}} << true;
    QTest::newRow("model") << QJsonObject{{"model", "RK1616D"}} << true;
    QTest::newRow("sample rate") << QJsonObject{{"sampleRate", "96000"}} << true;
    QTest::newRow("channels") << QJsonObject{{"phyChNumTx", "4"}} << true;
    QTest::newRow("port") << QJsonObject{{"port", "9991"}} << true;
}

void TestDevManager::everyChangedMemberReachesThePages()
{
    QFETCH(QJsonObject, change);
    Harness h;
    const QJsonObject leader{{"myClkId", "00-1D-C1-FF-FE-00-00-02"}, {"gmClkId", "00-1D-C1-FF-FE-00-00-02"}};
    h.announce("A", "10.0.0.2", leader);
    QVERIFY(h.registry.takeDirty());
    QJsonObject next = leader;
    for (auto it = change.begin(); it != change.end(); ++it)
        next.insert(it.key(), it.value());
    h.announce("A", "10.0.0.2", next);
    // No notice for these; the pages' periodic refresh shows them, and it only comes when something changed.
    QCOMPARE(h.ops(), QStringList{"addDev"});
    QTEST(h.registry.takeDirty(), "shown");
}

void TestDevManager::sameIdFromTwoAddressesIsOneDevice()
{
    Harness h;
    h.announce("A", "10.0.0.2");
    h.announce("A", "10.0.0.9");
    QCOMPARE(h.registry.deviceCount(), 1);
    QCOMPARE(h.registry.findByDevId("A")->rec.ip, ip("10.0.0.9"));
    QCOMPARE(h.registry.devIdOfIp(ip("10.0.0.9")), QStringLiteral("A"));
    QVERIFY(!h.registry.findByIp(ip("10.0.0.2")));
}

void TestDevManager::deviceAgesOutAfterExactly6000Ticks()
{
    Harness h;
    h.announce("A", "10.0.0.2");
    for (int i = 0; i < 5999; ++i)
        h.registry.clock(20);
    QCOMPARE(h.registry.deviceCount(), 1);
    h.announce("A", "10.0.0.2"); // on tick 5999: a fresh 120 s
    for (int i = 0; i < 5999; ++i)
        h.registry.clock(20);
    QCOMPARE(h.registry.deviceCount(), 1);
    QVERIFY(!h.ops().contains("delDev"));
    h.registry.clock(20);
    QCOMPARE(h.registry.deviceCount(), 0);
    QCOMPARE(h.ops().last(), QStringLiteral("delDev"));
    QCOMPARE(h.notices.last().devId, QStringLiteral("A"));
    QVERIFY(!h.registry.findByDevId("A"));
    QCOMPARE(h.registry.elapsedMs(), qint64(11999 * 20));
    // Back again: a new device as far as the pages are concerned.
    h.announce("A", "10.0.0.2");
    QCOMPARE(h.ops().last(), QStringLiteral("addDev"));
}

void TestDevManager::fullTablesIgnoreNewcomers()
{
    Harness h;
    h.registry.setSink(nullptr); // 6000 poll rounds of 1024 devices: nothing to look at
    auto flow = [](const QString &name, int i) {
        return Packets::sap(Packets::sdp(name, "10.0.0.2", QStringLiteral("239.1.%1.%2").arg(i / 250).arg(i % 250 + 1)));
    };
    for (int i = 0; i < DevManager::kSlots; ++i) {
        QVERIFY(h.announce(QString::number(i), "10.0.0.2"));
        h.sap(flow("f", i));
    }
    QVERIFY(!h.announce("late", "10.0.0.3"));
    h.sap(flow("late", 2000));
    QCOMPARE(h.registry.deviceCount(), DevManager::kSlots);
    QCOMPARE(h.registry.flowCount(), DevManager::kSlots);
    // Keep all devices but one alive; once it and the flows age out, the newcomers get their slots.
    for (int t = 0; t < 6000; ++t) {
        if (t == 3000)
            for (int i = 1; i < DevManager::kSlots; ++i)
                h.announce(QString::number(i), "10.0.0.2");
        h.registry.clock(20);
    }
    QVERIFY(!h.registry.findByDevId("0"));
    QCOMPARE(h.registry.flowCount(), 0);
    QCOMPARE(h.ops().count("delMcast"), DevManager::kSlots);
    QCOMPARE(h.notices.last().flowAddress, ip("239.1.4.24"));
    QVERIFY(h.announce("late", "10.0.0.3"));
    h.sap(flow("late", 2000));
    QVERIFY(h.registry.findFlowByName("late"));
}

void TestDevManager::pollAsksForEveryIncompleteTable()
{
    Harness h;
    h.announce("A", "10.0.0.2", {{"mcastNumTx", "0"}});
    h.registry.clock(20);
    QCOMPARE(h.sink.payloads(),
             (QVector<QByteArray>{"{\"ops\":\"getAllRxCh\",\"idStart\":\"0\",\"cookie\":\"t0\"}",
                                  "{\"ops\":\"getAllRtpCh\",\"idStart\":\"0\",\"cookie\":\"t0\"}",
                                  "{\"ops\":\"getAllUcastRx\",\"idStart\":\"0\",\"cookie\":\"t0\"}",
                                  "{\"ops\":\"getAllUcastTx\",\"idStart\":\"0\",\"cookie\":\"t0\"}",
                                  "{\"ops\":\"getAllMcastRx\",\"idStart\":\"0\",\"cookie\":\"t0\"}",
                                  "{\"ops\":\"getAllActiveUcastId\",\"idStart\":\"0\",\"cookie\":\"t0\"}",
                                  "{\"ops\":\"getAllActiveMcastId\",\"idStart\":\"0\",\"cookie\":\"t0\"}"}));
    QCOMPARE(h.sink.sent.first().ip, ip("10.0.0.2"));
    QCOMPARE(h.sink.sent.first().port, quint16(9990));
    // No answer: the same requests again once the retry time has passed, not before.
    h.sink.sent.clear();
    h.registry.clock(20);
    QCOMPARE(h.sink.sent.size(), 0);
    h.registry.clock(DevManager::kRetryMs);
    QCOMPARE(h.sink.sent.size(), 7);
}

void TestDevManager::repliesStoreAndAskForTheNextPage()
{
    Harness h;
    h.announce("A", "10.0.0.2", {{"chNumRx", "20"}, {"chNumTx", "0"}, {"phyChNumRx", "0"}, {"phyChNumTx", "0"}});
    // The next page is asked for at once rather than on the next round.
    h.reply("10.0.0.2", page("getAllRxCh", 0, 16, {}));
    QCOMPARE(h.sink.payloads(), QVector<QByteArray>{"{\"ops\":\"getAllRxCh\",\"idStart\":\"16\",\"cookie\":\"t0\"}"});
    h.sink.sent.clear();
    h.reply("10.0.0.2", page("getAllRxCh", 16, 20, {}));
    QVERIFY(h.sink.sent.isEmpty());
    h.registry.pollRound();
    for (const QByteArray &p : h.sink.payloads())
        QVERIFY(!p.contains("getAllRxCh"));
    QCOMPARE(h.ops().count("updateRoute"), 2);
    h.reply("10.0.0.2", page("getAllActiveUcastId", 0, 4, {}));
    QCOMPARE(h.ops().last(), QStringLiteral("updateActive"));
    QCOMPARE(h.notices.last().devId, QStringLiteral("A"));

    // Names come the same way, on their own slower round.
    h.sink.sent.clear();
    h.registry.pollNames();
    QCOMPARE(h.sink.payloads(), QVector<QByteArray>{"{\"ops\":\"getAllChNameRx\",\"idStart\":\"0\"}"});
    h.sink.sent.clear();
    // A reply from an address the registry does not know is placed by its devId.
    QJsonObject named = page("getAllChNameRx", 0, 2, {QJsonObject{{"name", "Vox"}}});
    named.insert("devId", "A");
    h.registry.intakeReply(named, ip("10.9.9.9"));
    QCOMPARE(h.sink.payloads(), QVector<QByteArray>{"{\"ops\":\"getAllChNameRx\",\"idStart\":\"2\"}"});
    QCOMPARE(h.registry.findByDevId("A")->channelName(DeviceTables::NameRx, 0), QStringLiteral("Vox"));

    // A failed reply or one from a stranger stores nothing.
    h.reply("10.0.0.2", QJsonObject{{"ops", "getAllRtpCh"}, {"result", "fail"}, {"idStart", "0"}, {"idNext", 20}});
    h.reply("10.9.9.9", page("getAllRtpCh", 0, 20, {}));
    QCOMPARE(h.registry.findByDevId("A")->tables.fetched[DeviceTables::RtpCh], 0);
    QVERIFY(!h.registry.intakeReply(QJsonObject{{"ops", "getVersion"}, {"result", "succ"}}, ip("10.0.0.2")));
}

void TestDevManager::routeNoticesRefetchTheirTables()
{
    Harness h;
    h.announce("A", "10.0.0.2", {{"chNumRx", "2"}, {"ucastNumRx", "2"}, {"mcastNumRx", "2"}});
    auto completeAll = [&] {
        for (int t = 0; t < DeviceTables::TableCount; ++t)
            h.reply("10.0.0.2", page(DeviceTables::operation(DeviceTables::Table(t)), 0, 8, {}));
        QVERIFY(h.registry.findByDevId("A")->tablesComplete());
    };
    auto notice = [&](const QByteArray &text, const char *from) {
        h.registry.intakeAnnouncement(text.constData(), text.size(), ip(from), 9996);
    };
    completeAll();
    notice("{\"ops\":\"updateRoute\",\"devId\":\"A\"}", "10.0.0.9"); // from a stranger: nothing
    QVERIFY(h.registry.findByDevId("A")->tablesComplete());
    notice("{\"ops\":\"updateRoute\",\"devId\":\"A\"}", "10.0.0.2");
    Device d = *h.registry.findByDevId("A");
    QCOMPARE(d.tables.fetched[DeviceTables::McastTx], 0);
    QCOMPARE(d.tables.fetched[DeviceTables::ActiveUcastId], 8);
    completeAll();
    notice("{\"ops\":\"updateActive\"}", "10.0.0.2");
    d = *h.registry.findByDevId("A");
    QCOMPARE(d.tables.fetched[DeviceTables::RxCh], 8);
    QCOMPARE(d.tables.fetched[DeviceTables::ActiveMcastId], 0);
}

void TestDevManager::aPageAskedBeforeARouteChangeIsNotTakenAfterIt()
{
    Harness h;
    h.announce("A", "10.0.0.2", {{"chNumRx", "1"}});
    auto asked = [&](const char *op) {
        for (const QByteArray &p : h.sink.payloads())
            if (QJsonDocument::fromJson(p).object().value("ops") == QLatin1String(op))
                return p;
        return QByteArray();
    };
    auto routeFrom = [](const char *src) {
        return QJsonArray{QJsonObject{{"id", "0"}, {"active", "1"}, {"srcDevId", src}, {"srcChId", "0"}}};
    };
    auto shown = [&] {
        const Device d = *h.registry.findByDevId("A");
        return d.tables.fetched[DeviceTables::RtpCh] ? d.tables.rtpCh.value(0).srcDevId : QStringLiteral("?");
    };
    auto routesChanged = [&] {
        const QByteArray text("{\"ops\":\"updateRoute\",\"devId\":\"A\"}");
        h.registry.intakeAnnouncement(text.constData(), text.size(), ip("10.0.0.2"), 9996);
        h.sink.sent.clear();
    };

    // Asked while the channel took B; the device changes it to C, and its event overtakes the answer.
    h.registry.clock(20);
    const QByteArray before = asked("getAllRtpCh");
    routesChanged();
    h.reply("10.0.0.2", answer(before, 1, routeFrom("B")));
    QCOMPARE(shown(), QStringLiteral("?"));
    QVERIFY(h.sink.sent.isEmpty());
    // The answers under way no longer count, so the next round asks again at once, in the new generation.
    h.registry.clock(20);
    const QByteArray fresh = asked("getAllRtpCh");
    QVERIFY(!fresh.isEmpty() && fresh != before);
    h.reply("10.0.0.2", answer(fresh, 1, routeFrom("C")));
    QCOMPARE(shown(), QStringLiteral("C"));

    // A lost answer: the same request again once the retry time has passed, and its answer counts.
    routesChanged();
    h.registry.clock(20);
    const QByteArray lost = asked("getAllRtpCh");
    h.sink.sent.clear();
    h.registry.clock(20);
    QVERIFY(asked("getAllRtpCh").isEmpty());
    h.registry.clock(DevManager::kRetryMs);
    QCOMPARE(asked("getAllRtpCh"), lost);
    h.reply("10.0.0.2", answer(lost, 1, routeFrom("D")));
    QCOMPARE(shown(), QStringLiteral("D"));

    // The active flags are reset on their own event and guarded the same way.
    h.registry.clock(DevManager::kRetryMs);
    const QByteArray activeBefore = asked("getAllActiveUcastId");
    QVERIFY(!activeBefore.isEmpty());
    const QByteArray text("{\"ops\":\"updateActive\",\"devId\":\"A\"}");
    h.registry.intakeAnnouncement(text.constData(), text.size(), ip("10.0.0.2"), 9996);
    h.reply("10.0.0.2", answer(activeBefore, 4, {}));
    QCOMPARE(h.registry.findByDevId("A")->tables.fetched[DeviceTables::ActiveUcastId], 0);
}

void TestDevManager::flowsFromSap()
{
    Harness h;
    h.sap(Packets::sap(Packets::sdp("Stage L-R", "10.0.0.2", "239.1.2.3")));
    QCOMPARE(h.ops(), QStringList{"addMcast"});
    QCOMPARE(h.notices.first().flowAddress, ip("239.1.2.3"));
    // What a receiver subscribes with travels with the notice, numbers as text.
    const FlowRecord first = *h.registry.findFlow(ip("239.1.2.3"));
    const QJsonObject logged = h.notices.first().toJson(&first);
    QCOMPARE(logged.value("dstIp").toString(), QStringLiteral("239.1.2.3"));
    QCOMPARE(logged.value("name").toString(), QStringLiteral("Stage L-R"));
    QCOMPARE(logged.value("sdp").toObject().value("chNum").toString(), QStringLiteral("2"));
    // Same group from another source: one flow, the later wins, no second notice.
    h.sap(Packets::sap(Packets::sdp("Other", "10.0.0.9", "239.1.2.3", 5006)));
    QCOMPARE(h.ops().size(), 1);
    QCOMPARE(h.registry.flowCount(), 1);
    const FlowRecord f = *h.registry.findFlow(ip("239.1.2.3"));
    QCOMPARE(f.srcIp, ip("10.0.0.9"));
    QCOMPARE(f.dstPort, quint16(5006));
    QVERIFY(h.registry.findFlowByName("Other"));
    // A deletion packet removes the flow at once.
    QByteArray deletion = Packets::sap(Packets::sdp("Other", "10.0.0.9", "239.1.2.3", 5006));
    deletion[0] = char(0x24);
    h.sap(deletion);
    QCOMPARE(h.registry.flowCount(), 0);
    QCOMPARE(h.ops().last(), QStringLiteral("delMcast"));
    h.sap(deletion); // already gone: nothing more
    QCOMPARE(h.ops().size(), 2);
    h.sap(Packets::sap(Packets::sdp("Other", "10.0.0.9", "239.1.2.3", 5006)));
    // A broken packet is ignored without a trace.
    h.sap(Packets::sap("v=0\r\n"));
    QCOMPARE(h.registry.flowCount(), 1);
    QCOMPARE(h.ops().count("addMcast"), 2);
}

QTEST_GUILESS_MAIN(TestDevManager)
#include "tst_devmanager.moc"
