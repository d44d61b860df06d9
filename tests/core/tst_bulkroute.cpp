#include "core/app/language.h"
#include "core/app/texts.h"
#include "core/devices/devmanager.h"
#include "core/protocol/ipv4.h"
#include "core/routing/bulkroute.h"

#include "../support/packets.h"

#include <QtTest>

namespace {

quint32 ip(const char *t)
{
    return Ipv4::fromText(QLatin1String(t));
}

// A device as the registry holds it once its tables are fetched: no routes, free stream tables.
Device device(const QString &devId, const char *address, int rx = 8, int txChannels = 8, QJsonObject overrides = {})
{
    overrides.insert("chNumRx", QString::number(rx));
    overrides.insert("chNumTx", QString::number(txChannels));
    DevManager reg;
    const QByteArray a = Packets::announcement(devId, QLatin1String(address), overrides);
    reg.intakeAnnouncement(a.constData(), a.size(), ip(address), 9996);
    Device d = *reg.findByDevId(devId);
    d.tables.rxCh = QVector<qint32>(rx, -1);
    d.tables.ucastTx = QVector<UcastTxItem>(d.rec.ucastNumTx);
    return d;
}

void routeUnicast(Device &rx, int rxCh, const QString &srcDevId, int srcCh)
{
    RtpChItem item;
    item.srcDevId = srcDevId;
    item.name = "Dev " + srcDevId;
    item.srcChId = srcCh - 1;
    item.srcIp = ip("192.168.1.99");
    rx.tables.rxCh[rxCh - 1] = rx.tables.rtpCh.size();
    rx.tables.rtpCh.append(item);
}

void routeMulticast(Device &rx, int rxCh, const char *group, int flowCh)
{
    RtpChItem item;
    item.name = "Stage";
    item.srcChId = flowCh - 1;
    item.srcIp = ip("192.168.1.10");
    item.dstIp = ip(group);
    item.dstPort = 5004;
    rx.tables.rxCh[rxCh - 1] = rx.tables.rtpCh.size();
    rx.tables.rtpCh.append(item);
}

FlowRecord flow(const char *group, quint32 rate = 48000)
{
    FlowRecord f;
    f.name = "Stage";
    f.srcIp = ip("192.168.1.10");
    f.dstIp = ip(group);
    f.dstPort = 5004;
    f.chNum = 2;
    f.sampleByteNum = 3;
    f.sampleRate = rate;
    f.pFrameNum = 48;
    return f;
}

QStringList channels(const QVector<PlannedRoute> &routes)
{
    QStringList out;
    for (const PlannedRoute &r : routes)
        out << QStringLiteral("%1<-%2").arg(r.change.rxCh).arg(r.change.after.channel);
    return out;
}

} // namespace

class TestBulkRoute : public QObject
{
    Q_OBJECT
private slots:
    void init() { Language::setChinese(false); }
    void rangeIsOneToOneUpToTheSmallerCount_data();
    void rangeIsOneToOneUpToTheSmallerCount();
    void commandsAreTheClicksCommands();
    void refusalsAreListedWithTheirReasonAndTheRestGoes();
    void alreadyRoutedIsLeftAlone();
    void questionsAreAskedOnceForTheBatch();
    void inverseRestoresWhatWasThere();
    void planRouteChangeClearsAndReroutesFlows();
};

void TestBulkRoute::rangeIsOneToOneUpToTheSmallerCount_data()
{
    QTest::addColumn<int>("from");
    QTest::addColumn<int>("count");
    QTest::addColumn<QString>("error");
    QTest::addColumn<QStringList>("routes");
    QTest::newRow("all") << 1 << 0 << QString() << QStringList{"1<-1", "2<-2", "3<-3", "4<-4"};
    QTest::newRow("from 3") << 3 << 0 << QString() << QStringList{"3<-3", "4<-4"};
    QTest::newRow("range") << 2 << 2 << QString() << QStringList{"2<-2", "3<-3"};
    QTest::newRow("past rx") << 3 << 3 << "Channels 3 to 5 are not on both devices (6 transmit, 4 receive)."
                             << QStringList();
    QTest::newRow("from past both") << 7 << 0 << "Channels 7 to 7 are not on both devices (6 transmit, 4 receive)."
                                    << QStringList();
}

void TestBulkRoute::rangeIsOneToOneUpToTheSmallerCount()
{
    QFETCH(int, from);
    QFETCH(int, count);
    const RouteNetwork net({device("A", "192.168.1.10", 8, 6), device("B", "192.168.1.20", 4, 8)}, {});
    QString error;
    const RouteBatch b = BulkRoute::plan(net, {"A", "B", from, count}, &error);
    QTEST(error, "error");
    QTEST(channels(b.changes), "routes");
}

void TestBulkRoute::commandsAreTheClicksCommands()
{
    const RouteNetwork net({device("A", "192.168.1.10"), device("B", "192.168.1.20")}, {});
    QString error;
    const RouteBatch b = BulkRoute::plan(net, {"A", "B", 5, 1}, &error);
    QCOMPARE(b.changes.size(), 1);
    QCOMPARE(b.changes.at(0).plan.command,
             (QJsonObject{{"ops", "setUcastRx"}, {"devId", "B"}, {"srcDevId", "A"}, {"srcChId", "4"}, {"dstChId", "4"}}));
    QCOMPARE(b.changes.at(0).plan.rxDevId, QStringLiteral("B"));

    BulkRoute::plan(net, {"A", "A", 1, 0}, &error);
    QCOMPARE(error, tx(Tx::BulkSameDevice));
    BulkRoute::plan(net, {"A", "Z", 1, 0}, &error);
    QCOMPARE(error, QStringLiteral("Z is not on the network."));
}

void TestBulkRoute::refusalsAreListedWithTheirReasonAndTheRestGoes()
{
    // A rate mismatch refuses every route of the pair, each listed.
    RouteNetwork net({device("A", "192.168.1.10", 8, 8, {{"sampleRate", "96000"}}), device("B", "192.168.1.20")}, {});
    QString error;
    RouteBatch b = BulkRoute::plan(net, {"A", "B", 1, 3}, &error);
    QVERIFY(error.isEmpty());
    QVERIFY(b.changes.isEmpty());
    QCOMPARE(b.refused.size(), 3);
    QCOMPARE(b.refused.at(2).change.rxCh, 3);
    QCOMPARE(b.refused.at(2).reason, tx(Tx::RouteRateDiffers));

    // A virtual card cannot receive a flow; the channels the flow lacks are refused by name.
    Device card = device("B", "192.168.1.20", 8, 8, {{"model", "RK0000"}});
    net = RouteNetwork({card}, {flow("239.1.2.3")});
    net.firmware.insert("B", "3.2.0.0");
    b = RouteBatch();
    for (int ch : {1, 3}) {
        RouteChange c;
        c.rxDevId = "B";
        c.rxCh = ch;
        c.after = RouteSource::multicast(ip("239.1.2.3"), ch);
        b.add(net, c);
    }
    QCOMPARE(b.refused.size(), 2);
    QCOMPARE(b.refused.at(0).reason, tx(Tx::RouteVirtualCard));
    QCOMPARE(b.refused.at(1).reason, QStringLiteral("The flow Stage has no channel 3."));

    // A receive channel the device lacks, and a flow nobody announces.
    RouteChange c;
    c.rxDevId = "B";
    c.rxCh = 9;
    c.after = RouteSource::unicast("B", 1);
    QCOMPARE(planRouteChange(net, c).steps.last().text, QStringLiteral("Dev B has no receive channel 9."));
    c.rxCh = 1;
    c.after = RouteSource::multicast(ip("239.9.9.9"), 1);
    QCOMPARE(planRouteChange(net, c).steps.last().text, QStringLiteral("The flow 239.9.9.9 is not announced."));
}

void TestBulkRoute::alreadyRoutedIsLeftAlone()
{
    Device b = device("B", "192.168.1.20");
    routeUnicast(b, 2, "A", 2);
    routeUnicast(b, 3, "A", 1);
    const RouteNetwork net({device("A", "192.168.1.10"), b}, {});
    QString error;
    const RouteBatch batch = BulkRoute::plan(net, {"A", "B", 1, 3}, &error);
    QCOMPARE(channels(batch.changes), (QStringList{"1<-1", "3<-3"}));
    QCOMPARE(batch.unchanged.size(), 1);
    QCOMPARE(batch.unchanged.at(0).rxCh, 2);
    // The replaced route is kept as it was, for undo.
    QCOMPARE(batch.changes.at(1).change.before, RouteSource::unicast("A", 1));
    QVERIFY(batch.changes.at(0).change.before.isNone());
}

void TestBulkRoute::questionsAreAskedOnceForTheBatch()
{
    // Different networks and two channels already routed elsewhere: the
    // network question once, each replacement question with its own source.
    Device b = device("B", "10.0.0.20");
    routeUnicast(b, 1, "C", 1);
    routeUnicast(b, 2, "C", 2);
    const RouteNetwork net({device("A", "11.0.0.10"), b, device("C", "10.0.0.30")}, {});
    QString error;
    const RouteBatch batch = BulkRoute::plan(net, {"A", "B", 1, 3}, &error);
    QCOMPARE(batch.changes.size(), 3);
    QCOMPARE(batch.questions(), (QStringList{tx(Tx::RouteNotSameNetwork), tx(Tx::RouteReplaceUcast).arg("Dev C:1"),
                                             tx(Tx::RouteReplaceUcast).arg("Dev C:2")}));
}

void TestBulkRoute::inverseRestoresWhatWasThere()
{
    RouteChange set{"B", 4, RouteSource(), RouteSource::unicast("A", 2)};
    RouteChange replace{"B", 4, RouteSource::multicast(ip("239.1.2.3"), 1), RouteSource::unicast("A", 2)};
    RouteChange clear{"B", 4, RouteSource::unicast("A", 2), RouteSource()};
    for (const RouteChange &c : {set, replace, clear}) {
        const RouteChange back = inverse(c);
        QCOMPARE(back.rxDevId, c.rxDevId);
        QCOMPARE(back.rxCh, c.rxCh);
        QCOMPARE(back.after, c.before);
        QCOMPARE(back.before, c.after);
        QCOMPARE(inverse(back).after, c.after);
    }
    // A batch undoes last first, each step the inverse of its change.
    const RouteNetwork net({device("A", "192.168.1.10"), device("B", "192.168.1.20")}, {});
    QString error;
    const QVector<RouteChange> undo = BulkRoute::plan(net, {"A", "B", 1, 3}, &error).inverses();
    QCOMPARE(undo.size(), 3);
    QCOMPARE(undo.at(0).rxCh, 3);
    QVERIFY(undo.at(0).after.isNone());
    QCOMPARE(undo.at(0).before, RouteSource::unicast("A", 3));
    // The name is for listings: a renamed source is the same route.
    RouteSource named = RouteSource::unicast("A", 3);
    named.name = "Renamed";
    QCOMPARE(named, RouteSource::unicast("A", 3));
    QVERIFY(RouteSource::unicast("A", 3) != RouteSource::multicast(ip("239.1.2.3"), 3));
}

void TestBulkRoute::planRouteChangeClearsAndReroutesFlows()
{
    Device b = device("B", "192.168.2.20");
    routeMulticast(b, 1, "239.1.2.3", 2);
    routeUnicast(b, 2, "Gone", 1);
    RouteNetwork net({device("A", "192.168.1.10"), b}, {flow("239.1.2.3")});
    net.firmware.insert("B", "3.2.0.0");

    // Clearing a flow's route, and one whose transmitter has left: clrRxCh either way.
    const QJsonObject clear1{{"ops", "clrRxCh"}, {"devId", "B"}, {"dstChId", "0"}};
    QCOMPARE(planRouteChange(net, {"B", 1, RouteSource(), RouteSource()}).command, clear1);
    const QJsonObject clear2{{"ops", "clrRxCh"}, {"devId", "B"}, {"dstChId", "1"}};
    QCOMPARE(planRouteChange(net, {"B", 2, RouteSource(), RouteSource()}).command, clear2);

    // Back to a flow: the flow's description goes along, from the announced flow.
    const RoutePlan set = planRouteChange(net, {"B", 3, RouteSource(), RouteSource::multicast(ip("239.1.2.3"), 2)});
    QCOMPARE(set.command.value("ops").toString(), QStringLiteral("setMcastRx"));
    QCOMPARE(set.command.value("srcChId").toString(), QStringLiteral("1"));
    QCOMPARE(set.command.value("dstChId").toString(), QStringLiteral("2"));
    QCOMPARE(set.command.value("sdp").toObject().value("dstIp").toString(), QStringLiteral("239.1.2.3"));

    // An old receiver cannot take a flow off port 5004: the click's own check refuses.
    FlowRecord odd = flow("239.1.2.4");
    odd.dstPort = 5006;
    net = RouteNetwork({b}, {odd});
    net.firmware.insert("B", "3.1.4.5");
    const RoutePlan old = planRouteChange(net, {"B", 3, RouteSource(), RouteSource::multicast(odd.dstIp, 1)});
    QVERIFY(old.refused());
    QCOMPARE(old.steps.last().text, tx(Tx::RouteOldFirmwarePort));
}

QTEST_GUILESS_MAIN(TestBulkRoute)
#include "tst_bulkroute.moc"
