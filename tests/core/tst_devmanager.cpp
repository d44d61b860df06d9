#include "core/devices/devmanager.h"
#include "core/protocol/ipv4.h"

#include "../support/packets.h"
#include "../support/recordingsink.h"

#include <QJsonArray>
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
    QVector<QJsonObject> notices;
    Harness()
    {
        registry.setNotifier([this](const QJsonObject &n) { notices.append(n); });
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
        for (const QJsonObject &n : notices)
            out.append(n.value("ops").toString());
        return out;
    }
    void reply(const char *from, const QJsonObject &r) { registry.intakeReply(r, ip(from)); }
};

QJsonObject page(const char *op, int idStart, int idNext, const QJsonArray &items)
{
    return QJsonObject{{"ops", op}, {"result", "succ"}, {"idStart", QString::number(idStart)}, {"idNext", idNext},
                       {"arr", items}};
}

} // namespace

class TestDevManager : public QObject
{
    Q_OBJECT
private slots:
    void addThenUpdateOnlyOnCanWorkOrClockState();
    void announcementFieldRules();
    void sameIdFromTwoAddressesIsOneDevice();
    void longTextsAreCutToTheirFields();
    void deviceAgesOutAfterExactly6000Ticks();
    void tableFullIgnoresNewcomer();
    void pollAsksForEveryIncompleteTable();
    void pagesAdvanceAndRepeatsAreHarmless();
    void routeNoticesRefetchTheirTables();
    void storedItemsReadBack();
    void channelNamesAreFetchedPageByPage();
    void flowsFromSap();
    void flowAgeingAndTableFull();
};

void TestDevManager::addThenUpdateOnlyOnCanWorkOrClockState()
{
    Harness h;
    QVERIFY(h.announce("A", "10.0.0.2"));
    QCOMPARE(h.ops(), QStringList{"addDev"});
    QCOMPARE(h.notices.first().value("devId").toString(), QStringLiteral("A"));
    QCOMPARE(h.notices.first().value("name").toString(), QStringLiteral("Dev A"));

    // Name and counts change silently.
    QVERIFY(h.announce("A", "10.0.0.2", {{"name", "Renamed"}, {"chNumRx", "16"}}));
    QCOMPARE(h.ops(), QStringList{"addDev"});
    QCOMPARE(h.registry.findByDevId("A")->rec.name.str(), QStringLiteral("Renamed"));
    QCOMPARE(h.registry.findByDevId("A")->rec.chNumRx, 16);

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

void TestDevManager::announcementFieldRules()
{
    Harness h;
    // Numbers must be strings: a JSON number reads as 0.
    QVERIFY(h.announce("A", "10.0.0.2", {{"port", 9990}, {"chNumRx", "12abc"}}));
    QCOMPARE(h.registry.findByDevId("A")->rec.port, 0);
    QCOMPARE(h.registry.findByDevId("A")->rec.chNumRx, 12);
    // Without a usable address or identifier nothing is stored.
    QVERIFY(!h.announce("B", "10.0.0.3", {{"ip", "0.0.0.0"}}));
    QVERIFY(!h.announce("C", "10.0.0.4", {{"ip", "10.0.0"}}));
    QVERIFY(!h.announce("", "10.0.0.5"));
    const QByteArray junk("{\"ops\":\"iAmCorvane\",");
    QVERIFY(!h.registry.intakeAnnouncement(junk.constData(), junk.size(), ip("10.0.0.6"), 9996));
    const QByteArray array("[1,2]");
    QVERIFY(!h.registry.intakeAnnouncement(array.constData(), array.size(), ip("10.0.0.6"), 9996));
    // Names that differ only after a NUL byte are one name to the parser.
    const QByteArray nul = Packets::announcement("D", "10.0.0.7").replace("\"name\"", QByteArray("\"n\0a\":\"x\",\"name\"", 14));
    QVERIFY(nul.contains('\0'));
    QVERIFY(!h.registry.intakeAnnouncement(nul.constData(), nul.size(), ip("10.0.0.7"), 9996));
    QCOMPARE(h.registry.deviceCount(), 1);
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

void TestDevManager::longTextsAreCutToTheirFields()
{
    Harness h;
    const QString longName = QString(70, QLatin1Char('n'));
    // 21 three-byte characters = 63 bytes; a 22nd would cross 64.
    const QString chinese = QString(30, QChar(0x8BBE));
    h.announce("A", "10.0.0.2", {{"name", longName}, {"model", chinese}, {"myClkId", QString(40, '1')}});
    const Device d = *h.registry.findByDevId("A");
    QCOMPARE(d.rec.name.str(), QString(64, QLatin1Char('n')));
    QCOMPARE(d.rec.model.str(), QString(21, QChar(0x8BBE)));
    QCOMPARE(d.rec.myClkId.str().size(), 32);
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
    QCOMPARE(h.notices.last().value("devId").toString(), QStringLiteral("A"));
    QVERIFY(!h.registry.findByDevId("A"));
    QCOMPARE(h.registry.elapsedMs(), qint64(11999 * 20));
    // Back again: a new device as far as the pages are concerned.
    h.announce("A", "10.0.0.2");
    QCOMPARE(h.ops().last(), QStringLiteral("addDev"));
}

void TestDevManager::tableFullIgnoresNewcomer()
{
    Harness h;
    h.registry.setSink(nullptr); // 6000 poll rounds of 1024 devices: nothing to look at
    for (int i = 0; i < DevManager::kSlots; ++i)
        QVERIFY(h.announce(QString::number(i), "10.0.0.2"));
    QVERIFY(!h.announce("late", "10.0.0.3"));
    QCOMPARE(h.registry.deviceCount(), DevManager::kSlots);
    // Keep all but one alive; once it ages out, the newcomer gets its slot.
    for (int t = 0; t < 6000; ++t) {
        if (t == 3000)
            for (int i = 1; i < DevManager::kSlots; ++i)
                h.announce(QString::number(i), "10.0.0.2");
        h.registry.clock(20);
    }
    QVERIFY(!h.registry.findByDevId("0"));
    QVERIFY(h.announce("late", "10.0.0.3"));
    QCOMPARE(h.registry.deviceCount(), DevManager::kSlots);
}

void TestDevManager::pollAsksForEveryIncompleteTable()
{
    Harness h;
    h.announce("A", "10.0.0.2", {{"mcastNumTx", "0"}});
    h.registry.clock(20);
    QCOMPARE(h.sink.payloads(),
             (QVector<QByteArray>{"{\"ops\":\"getAllRxCh\",\"idStart\":\"0\"}", "{\"ops\":\"getAllRtpCh\",\"idStart\":\"0\"}",
                                  "{\"ops\":\"getAllUcastRx\",\"idStart\":\"0\"}", "{\"ops\":\"getAllUcastTx\",\"idStart\":\"0\"}",
                                  "{\"ops\":\"getAllMcastRx\",\"idStart\":\"0\"}",
                                  "{\"ops\":\"getAllActiveUcastId\",\"idStart\":\"0\"}",
                                  "{\"ops\":\"getAllActiveMcastId\",\"idStart\":\"0\"}"}));
    QCOMPARE(h.sink.sent.first().ip, ip("10.0.0.2"));
    QCOMPARE(h.sink.sent.first().port, quint16(9990));
    // No answer: the same requests again once the retry time has passed, not before.
    h.sink.sent.clear();
    h.registry.clock(20);
    QCOMPARE(h.sink.sent.size(), 0);
    h.registry.clock(DevManager::kRetryMs);
    QCOMPARE(h.sink.sent.size(), 7);
}

void TestDevManager::pagesAdvanceAndRepeatsAreHarmless()
{
    Harness h;
    h.announce("A", "10.0.0.2", {{"chNumRx", "20"}});
    h.reply("10.0.0.2", page("getAllRxCh", 0, 16, {}));
    h.sink.sent.clear();
    h.registry.pollRound();
    QVERIFY(h.sink.payloads().contains("{\"ops\":\"getAllRxCh\",\"idStart\":\"16\"}"));
    // A late repeat of the first page must not move the count back or on.
    h.reply("10.0.0.2", page("getAllRxCh", 0, 16, {}));
    QCOMPARE(h.registry.findByDevId("A")->tables.fetched[DeviceTables::RxCh], 16);
    h.reply("10.0.0.2", page("getAllRxCh", 16, 20, {}));
    QCOMPARE(h.registry.findByDevId("A")->tables.fetched[DeviceTables::RxCh], 20);
    h.sink.sent.clear();
    h.registry.pollRound();
    for (const QByteArray &p : h.sink.payloads())
        QVERIFY(!p.contains("getAllRxCh"));
    // A failed reply or one from a stranger stores nothing.
    h.reply("10.0.0.2", QJsonObject{{"ops", "getAllRtpCh"}, {"result", "fail"}, {"idStart", "0"}, {"idNext", 20}});
    h.reply("10.9.9.9", page("getAllRtpCh", 0, 20, {}));
    QCOMPARE(h.registry.findByDevId("A")->tables.fetched[DeviceTables::RtpCh], 0);
    QCOMPARE(h.ops().count("updateRoute"), 2);
}

void TestDevManager::routeNoticesRefetchTheirTables()
{
    Harness h;
    h.announce("A", "10.0.0.2", {{"chNumRx", "2"}, {"ucastNumRx", "2"}, {"mcastNumRx", "2"}});
    const char *all[] = {"getAllRxCh", "getAllRtpCh", "getAllUcastRx", "getAllUcastTx",
                         "getAllMcastRx", "getAllMcastTx", "getAllActiveUcastId", "getAllActiveMcastId"};
    auto completeAll = [&] {
        for (const char *op : all)
            h.reply("10.0.0.2", page(op, 0, 8, {}));
        QVERIFY(h.registry.findByDevId("A")->tablesComplete());
    };
    completeAll();
    const QByteArray route = "{\"ops\":\"updateRoute\",\"devId\":\"A\"}";
    h.registry.intakeAnnouncement(route.constData(), route.size(), ip("10.0.0.2"), 9996);
    Device d = *h.registry.findByDevId("A");
    QCOMPARE(d.tables.fetched[DeviceTables::RxCh], 0);
    QCOMPARE(d.tables.fetched[DeviceTables::McastTx], 0);
    QCOMPARE(d.tables.fetched[DeviceTables::ActiveUcastId], 8);
    completeAll();
    const QByteArray active = "{\"ops\":\"updateActive\"}";
    h.registry.intakeAnnouncement(active.constData(), active.size(), ip("10.0.0.2"), 9996);
    d = *h.registry.findByDevId("A");
    QCOMPARE(d.tables.fetched[DeviceTables::RxCh], 8);
    QCOMPARE(d.tables.fetched[DeviceTables::ActiveUcastId], 0);
    QCOMPARE(d.tables.fetched[DeviceTables::ActiveMcastId], 0);
    QVERIFY(h.ops().contains("updateActive"));
}

void TestDevManager::storedItemsReadBack()
{
    Harness h;
    h.announce("RX", "10.0.0.2", {{"chNumRx", "4"}, {"ucastNumTx", "1"}});
    h.reply("10.0.0.2", page("getAllRxCh", 0, 4,
                             {QJsonObject{{"id", "0"}, {"rtpChId", "1"}}, QJsonObject{{"id", "1"}, {"rtpChId", "-1"}},
                              QJsonObject{{"id", "2"}, {"rtpChId", "2"}}, QJsonObject{{"id", "3"}, {"rtpChId", "3"}}}));
    h.reply("10.0.0.2",
            page("getAllRtpCh", 0, 4,
                 {QJsonObject{{"id", "1"}, {"active", "1"}, {"srcDevId", "TX"}, {"name", "Stage"}, {"srcChId", "5"},
                              {"srcIp", "10.0.0.3"}, {"dstIp", "10.0.0.2"}, {"dstPort", "5004"}},
                  QJsonObject{{"id", "2"}, {"active", "0"}, {"srcDevId", ""}, {"name", "Flow"}, {"srcChId", "1"},
                              {"srcIp", "10.0.0.3"}, {"dstIp", "239.1.2.3"}, {"dstPort", "5004"}},
                  QJsonObject{{"id", "3"}, {"srcIp", "0.0.0.0"}, {"srcDevId", ""}, {"dstIp", "0.0.0.0"}}}));
    h.reply("10.0.0.2", page("getAllUcastTx", 0, 1,
                             {QJsonObject{{"id", "0"}, {"dstDevId", "X"}, {"dstIp", "10.0.0.7"}, {"chNum", "1"},
                                          {"srcChIdArr", QJsonArray{"3", "4294967295"}}}}));
    const Device d = *h.registry.findByDevId("RX");
    QVERIFY(d.routeOf(0));
    QCOMPARE(d.routeOf(0)->srcDevId, QStringLiteral("TX"));
    QCOMPARE(d.routeOf(0)->srcChId, 5);
    QVERIFY(!d.routeOf(0)->isMulticast());
    QVERIFY(!d.routeOf(1));
    QVERIFY(d.routeOf(2)->isMulticast());
    QCOMPARE(d.routeOf(2)->dstIp, ip("239.1.2.3"));
    QVERIFY(!d.routeOf(3)); // an unused entry is no route
    QVERIFY(!d.routeOf(4));
    QCOMPARE(d.tables.ucastTx.at(0).srcChIds, (QVector<quint32>{3, UcastTxItem::kEmptyPlace}));
    QCOMPARE(d.tables.ucastTx.at(0).dstIp, ip("10.0.0.7"));
}

void TestDevManager::channelNamesAreFetchedPageByPage()
{
    Harness h;
    h.announce("A", "10.0.0.2", {{"chNumRx", "3"}, {"chNumTx", "0"}, {"phyChNumRx", "0"}, {"phyChNumTx", "0"}});
    h.registry.pollNames();
    QCOMPARE(h.sink.payloads(), QVector<QByteArray>{"{\"ops\":\"getAllChNameRx\",\"idStart\":\"0\"}"});
    h.sink.sent.clear();
    h.reply("10.0.0.2", page("getAllChNameRx", 0, 2, {QJsonObject{{"id", "0"}, {"name", "Vox"}}, QJsonObject{{"id", "1"}, {"name", "Gtr"}}}));
    // The next page is asked for at once rather than on the next round.
    QCOMPARE(h.sink.payloads(), QVector<QByteArray>{"{\"ops\":\"getAllChNameRx\",\"idStart\":\"2\"}"});
    h.reply("10.0.0.2", page("getAllChNameRx", 2, 3, {QJsonObject{{"id", "2"}, {"name", "Keys"}}}));
    const Device d = *h.registry.findByDevId("A");
    QVERIFY(d.namesComplete());
    QCOMPARE(d.channelName(DeviceTables::NameRx, 2), QStringLiteral("Keys"));
    QCOMPARE(d.channelName(DeviceTables::NameRx, 3), QString());
}

void TestDevManager::flowsFromSap()
{
    Harness h;
    h.sap(Packets::sap(Packets::sdp("Stage L-R", "10.0.0.2", "239.1.2.3")));
    QCOMPARE(h.ops(), QStringList{"addMcast"});
    QCOMPARE(h.notices.first().value("dstIp").toString(), QStringLiteral("239.1.2.3"));
    QCOMPARE(h.notices.first().value("sdp").toObject().value("chNum").toString(), QStringLiteral("2"));
    // Same group from another source: one flow, the later wins, no second notice.
    h.sap(Packets::sap(Packets::sdp("Other", "10.0.0.9", "239.1.2.3", 5006)));
    QCOMPARE(h.ops().size(), 1);
    QCOMPARE(h.registry.flowCount(), 1);
    const FlowRecord f = *h.registry.findFlow(ip("239.1.2.3"));
    QCOMPARE(f.srcIp, ip("10.0.0.9"));
    QCOMPARE(f.dstPort, quint16(5006));
    QCOMPARE(f.name, QStringLiteral("Other")); // the line end is not part of the name
    QCOMPARE(f.pFrameNum, 48u);
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

void TestDevManager::flowAgeingAndTableFull()
{
    Harness h;
    for (int i = 0; i < DevManager::kSlots; ++i)
        h.sap(Packets::sap(Packets::sdp("f", "10.0.0.2", QStringLiteral("239.1.%1.%2").arg(i / 250).arg(i % 250 + 1))));
    QCOMPARE(h.registry.flowCount(), DevManager::kSlots);
    h.sap(Packets::sap(Packets::sdp("late", "10.0.0.2", "239.9.9.9")));
    QVERIFY(!h.registry.findFlow(ip("239.9.9.9")));
    for (int t = 0; t < 6000; ++t)
        h.registry.clock(20);
    QCOMPARE(h.registry.flowCount(), 0);
    QCOMPARE(h.ops().count("delMcast"), DevManager::kSlots);
    QCOMPARE(h.notices.last().value("dstIp").toString(), QStringLiteral("239.1.4.24"));
    h.sap(Packets::sap(Packets::sdp("late", "10.0.0.2", "239.9.9.9")));
    QVERIFY(h.registry.findFlow(ip("239.9.9.9")));
}

QTEST_GUILESS_MAIN(TestDevManager)
#include "tst_devmanager.moc"
