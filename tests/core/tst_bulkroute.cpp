#include "core/app/language.h"
#include "core/app/texts.h"
#include "core/devices/devmanager.h"
#include "core/protocol/ipv4.h"
#include "core/routing/netsnapshot.h"
#include "core/routing/routeblock.h"
#include "core/routing/routehistory.h"

#include "../support/packets.h"

#include <QTemporaryDir>
#include <QtTest>

using namespace NetSnapshot;

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

// A unicast route when group is null, else a route from the flow (subscribed to as well).
void route(Device &rx, int rxCh, const QString &src, int srcCh, const char *group = nullptr)
{
    RtpChItem item;
    item.srcDevId = group ? QString() : src;
    item.name = src;
    item.srcChId = srcCh - 1;
    item.srcIp = ip("192.168.1.10");
    if (group) {
        item.dstIp = ip(group);
        item.dstPort = 5004;
        rx.tables.mcastRx.append({src, item.srcIp, item.dstIp, 5004, 2, {}});
    }
    rx.tables.rxCh[rxCh - 1] = rx.tables.rtpCh.size();
    rx.tables.rtpCh.append(item);
}

FlowRecord stage(quint16 port = 5004)
{
    FlowRecord f;
    f.name = "Stage";
    f.srcIp = ip("192.168.1.10");
    f.dstIp = ip(port == 5004 ? "239.1.2.3" : "239.1.2.4");
    f.dstPort = port;
    f.chNum = 2;
    f.sampleByteNum = 3;
    f.sampleRate = 48000;
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

RouteChange toFlow(int rxCh, quint32 group, int flowCh)
{
    return {"B", rxCh, RouteSource(), RouteSource::multicast(group, flowCh)};
}

// B takes A's 1 and 2 and the flow's 1 on 5; C takes A's 3.
QVector<Device> network()
{
    Device b = device("B", "192.168.1.20");
    Device c = device("C", "192.168.1.30");
    route(b, 1, "A", 1);
    route(b, 2, "A", 2);
    route(b, 5, "Stage", 1, "239.1.2.3");
    route(c, 1, "A", 3);
    return {device("A", "192.168.1.10"), b, c};
}

} // namespace

class TestBulkRoute : public QObject
{
    Q_OBJECT
private slots:
    void init() { Language::setChinese(false); }
    void bulkRangeIsOneToOne_data();
    void bulkRangeIsOneToOne();
    void bulkGoesThroughTheClickPlan();
    void inverseRestoresWhatWasThere();
    void changesClearAndRouteFlows();
    void snapshotSavedAndReadBack();
    void snapshotDiffRoutesAndSubscriptions();
    void recallSendsOnlyTheDifferences();
    void badSnapshotFilesRefused_data();
    void badSnapshotFilesRefused();
    void shiftedAndFlowRanges();
    void gridBlocksStayInOnePair();
    void undoAndRedoReplayOnlyWhatIsStillTheirs();
};

void TestBulkRoute::bulkRangeIsOneToOne_data()
{
    QTest::addColumn<int>("from");
    QTest::addColumn<int>("count");
    QTest::addColumn<QString>("error");
    QTest::addColumn<QStringList>("routes");
    QTest::newRow("all") << 1 << 0 << QString() << QStringList{"1<-1", "2<-2", "3<-3", "4<-4"};
    QTest::newRow("from 3") << 3 << 0 << QString() << QStringList{"3<-3", "4<-4"};
    QTest::newRow("range") << 2 << 2 << QString() << QStringList{"2<-2", "3<-3"};
    QTest::newRow("past rx") << 3 << 3 << "Channels 3 to 5 are not on both devices (6 transmit, 4 receive)." << QStringList();
    QTest::newRow("from past both") << 7 << 0 << "Channels 7 to 7 are not on both devices (6 transmit, 4 receive)." << QStringList();
}

void TestBulkRoute::bulkRangeIsOneToOne()
{
    QFETCH(int, from);
    QFETCH(int, count);
    const RouteNetwork net({device("A", "192.168.1.10", 8, 6), device("B", "192.168.1.20", 4, 8)}, {});
    QString error;
    const RouteBatch b = BulkRoute::plan(net, {"A", "B", from, count}, &error);
    QTEST(error, "error");
    QTEST(channels(b.changes), "routes");
}

void TestBulkRoute::bulkGoesThroughTheClickPlan()
{
    // Different networks, two channels routed elsewhere, one already as asked.
    Device b = device("B", "10.0.0.20");
    route(b, 1, "C", 1);
    route(b, 2, "C", 2);
    route(b, 4, "A", 4);
    RouteNetwork net({device("A", "11.0.0.10"), b, device("C", "10.0.0.30")}, {});
    QString error;
    RouteBatch batch = BulkRoute::plan(net, {"A", "B", 1, 4}, &error);
    QCOMPARE(channels(batch.changes), (QStringList{"1<-1", "2<-2", "3<-3"}));
    QCOMPARE(batch.unchanged.size(), 1);
    QCOMPARE(batch.changes.at(2).plan.command,
             (QJsonObject{{"ops", "setUcastRx"}, {"devId", "B"}, {"srcDevId", "A"}, {"srcChId", "2"}, {"dstChId", "2"}}));
    QCOMPARE(batch.changes.at(1).change.before, RouteSource::unicast("C", 2));
    // One confirmation: each question once.
    QCOMPARE(batch.questions(), (QStringList{tx(Tx::RouteNotSameNetwork), tx(Tx::RouteReplaceUcast).arg("Dev C:1"),
                                             tx(Tx::RouteReplaceUcast).arg("Dev C:2")}));

    // A rate mismatch refuses every route of the pair, each listed with the reason.
    net = RouteNetwork({device("A", "192.168.1.10", 8, 8, {{"sampleRate", "96000"}}), device("B", "192.168.1.20")}, {});
    batch = BulkRoute::plan(net, {"A", "B", 1, 3}, &error);
    QVERIFY(batch.changes.isEmpty());
    QCOMPARE(batch.refused.size(), 3);
    QCOMPARE(batch.refused.at(2).change.rxCh, 3);
    QCOMPARE(batch.refused.at(2).reason, tx(Tx::RouteRateDiffers));

    BulkRoute::plan(net, {"A", "A", 1, 0}, &error);
    QCOMPARE(error, tx(Tx::BulkSameDevice));
    BulkRoute::plan(net, {"A", "Z", 1, 0}, &error);
    QCOMPARE(error, QStringLiteral("Z is not on the network."));
}

void TestBulkRoute::inverseRestoresWhatWasThere()
{
    const RouteChange replace{"B", 4, RouteSource::multicast(ip("239.1.2.3"), 1), RouteSource::unicast("A", 2)};
    for (const RouteChange &c : {replace, RouteChange{"B", 4, RouteSource(), replace.after},
                                 RouteChange{"B", 4, replace.after, RouteSource()}}) {
        const RouteChange back = inverse(c);
        QCOMPARE(back.rxDevId + QString::number(back.rxCh), QStringLiteral("B4"));
        QCOMPARE(back.after, c.before);
        QCOMPARE(back.before, c.after);
    }
    // A batch undoes last first.
    const RouteNetwork net({device("A", "192.168.1.10"), device("B", "192.168.1.20")}, {});
    QString error;
    const QVector<RouteChange> undo = BulkRoute::plan(net, {"A", "B", 1, 3}, &error).inverses();
    QCOMPARE(undo.size(), 3);
    QCOMPARE(undo.at(0).rxCh, 3);
    QVERIFY(undo.at(0).after.isNone());
    // The name is for listings: a renamed source is the same route.
    RouteSource named = RouteSource::unicast("A", 3);
    named.name = "Renamed";
    QCOMPARE(named, RouteSource::unicast("A", 3));
}

void TestBulkRoute::changesClearAndRouteFlows()
{
    Device b = device("B", "192.168.2.20");
    route(b, 1, "Stage", 2, "239.1.2.3");
    route(b, 2, "Gone", 1);
    RouteNetwork net({b}, {stage(), stage(5006)});
    net.firmware.insert("B", "3.1.4.5");
    // Clearing a flow's route, and one whose transmitter has left: clrRxCh either way.
    QCOMPARE(planRouteChange(net, {"B", 1, {}, {}}).command, (QJsonObject{{"ops", "clrRxCh"}, {"devId", "B"}, {"dstChId", "0"}}));
    QCOMPARE(planRouteChange(net, {"B", 2, {}, {}}).command, (QJsonObject{{"ops", "clrRxCh"}, {"devId", "B"}, {"dstChId", "1"}}));

    const RoutePlan set = planRouteChange(net, toFlow(3, ip("239.1.2.3"), 2));
    QCOMPARE(set.command.value("srcChId").toString() + set.command.value("dstChId").toString(), QStringLiteral("12"));
    QCOMPARE(set.command.value("sdp").toObject().value("dstIp").toString(), QStringLiteral("239.1.2.3"));
    // The receiver's firmware reaches the click's check.
    QCOMPARE(planRouteChange(net, toFlow(3, ip("239.1.2.4"), 1)).steps.last().text, tx(Tx::RouteOldFirmwarePort));
    QCOMPARE(planRouteChange(net, toFlow(3, ip("239.1.2.3"), 3)).steps.last().text, QStringLiteral("The flow Stage has no channel 3."));
    QCOMPARE(planRouteChange(net, toFlow(9, ip("239.1.2.3"), 1)).steps.last().text, QStringLiteral("Dev B has no receive channel 9."));

    // A click's undo step: a routed cell is cleared, any other routed from its row.
    RouteContext ctx;
    ctx.rxDevId = "B";
    ctx.rxChannel = 1;
    ctx.rx = b;
    ctx.rowIsFlow = true;
    ctx.rowChannel = 2;
    ctx.flow = stage();
    ctx.cellState = 2;
    RouteChange click = clickChange(ctx);
    QVERIFY(click.after.isNone());
    QCOMPARE(click.before, RouteSource::multicast(ip("239.1.2.3"), 2));
    ctx.cellState = 0;
    ctx.rxChannel = 3;
    click = clickChange(ctx);
    QVERIFY(click.before.isNone());
    QCOMPARE(click.after, RouteSource::multicast(ip("239.1.2.3"), 2));
}

void TestBulkRoute::snapshotSavedAndReadBack()
{
    const Snapshot s = capture(network());
    QTemporaryDir dir;
    QString why;
    QVERIFY2(save(dir.filePath("show.json"), s, &why), qPrintable(why));
    const std::optional<Snapshot> back = load(dir.filePath("show.json"), &why);
    QVERIFY2(back, qPrintable(why));
    QCOMPARE(back->devices.size(), 3);
    const DeviceState &b = back->devices.at(1);
    QCOMPARE(b.devId + b.name, QStringLiteral("BDev B"));
    QCOMPARE(b.routes.keys(), (QList<int>{1, 2, 5}));
    QCOMPARE(b.routes.value(2), RouteSource::unicast("A", 2));
    QCOMPARE(b.routes.value(5), RouteSource::multicast(ip("239.1.2.3"), 1));
    QCOMPARE(b.subscriptions.value(ip("239.1.2.3")), s.devices.at(1).subscriptions.value(ip("239.1.2.3")));
    QCOMPARE(back->saved.toSecsSinceEpoch(), s.saved.toSecsSinceEpoch());
    QVERIFY(diff(*back, RouteNetwork(network(), {})).isEmpty());
}

void TestBulkRoute::snapshotDiffRoutesAndSubscriptions()
{
    const Snapshot s = capture(network());
    QVector<Device> now = network();
    now[1].tables.rxCh[0] = -1;               // B:1 removed since
    route(now[1], 2, "C", 4);                 // B:2 changed
    route(now[1], 7, "A", 7);                 // B:7 added
    now[1].tables.mcastRx[0].chNum = 4;       // a subscription changed
    route(now[2], 2, "Bus", 1, "239.4.4.4");  // one added on C
    now.removeAt(0);                          // A missing: listed only
    const Diff d = diff(s, RouteNetwork(now, {}));
    QCOMPARE(d.missing.size(), 1);
    QCOMPARE(d.missing.at(0).devId, QStringLiteral("A"));
    QCOMPARE(d.devices.size(), 2);
    const QVector<RouteChange> &r = d.devices.at(0).routes;
    QCOMPARE(r.size(), 3);
    QCOMPARE(QString::number(r.at(0).rxCh) + r.at(0).before.text() + ">" + r.at(0).after.text(), QStringLiteral("1->A:1"));
    QCOMPARE(QString::number(r.at(1).rxCh) + r.at(1).before.text() + ">" + r.at(1).after.text(), QStringLiteral("2C:4>A:2"));
    QCOMPARE(QString::number(r.at(2).rxCh) + r.at(2).before.text() + ">" + r.at(2).after.text(), QStringLiteral("7A:7>-"));
    const SubscriptionChange changed = d.devices.at(0).subscriptions.value(0);
    QCOMPARE(changed.live.chNum * 10 + changed.snapshot.chNum, 42);
    const SubscriptionChange added = d.devices.at(1).subscriptions.value(0);
    QCOMPARE(added.live.flowIp, ip("239.4.4.4"));
    QCOMPARE(added.snapshot.flowIp, 0u);
    QCOMPARE(d.devices.at(1).routes.size(), 1);
}

void TestBulkRoute::recallSendsOnlyTheDifferences()
{
    const Snapshot s = capture(network());
    QVector<Device> now = network();
    now[1].tables.rxCh[0] = -1;
    now[1].tables.rxCh[4] = -1;  // the flow's route on B:5
    now[1].tables.mcastRx.clear();
    route(now[2], 6, "A", 6);
    RouteNetwork live(now, {stage()});
    live.firmware.insert("B", "3.2.0.0");
    const Diff d = diff(s, live);
    QCOMPARE(d.devices.at(0).subscriptions.value(0).snapshot.name, QStringLiteral("Stage"));
    const RouteBatch batch = recall(d, live);
    QVERIFY(batch.refused.isEmpty());
    QCOMPARE(batch.changes.size(), 3);
    // Clears first.
    QCOMPARE(batch.changes.at(0).plan.command, (QJsonObject{{"ops", "clrRxCh"}, {"devId", "C"}, {"dstChId", "5"}}));
    QCOMPARE(batch.changes.at(1).plan.command,
             (QJsonObject{{"ops", "setUcastRx"}, {"devId", "B"}, {"srcDevId", "A"}, {"srcChId", "0"}, {"dstChId", "0"}}));
    QCOMPARE(batch.changes.at(2).plan.command.value("dstChId").toString(), QStringLiteral("4"));

    // The flow is no longer announced: that route is refused, the rest still go.
    const RouteBatch partial = recall(d, RouteNetwork(now, {}));
    QCOMPARE(partial.changes.size(), 2);
    QCOMPARE(partial.refused.value(0).reason, QStringLiteral("The flow Stage is not announced."));
}

void TestBulkRoute::badSnapshotFilesRefused_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("why");
    const QByteArray good = toJson(capture(network()));
    const QByteArray head = R"({"format":"corvanelink-network-snapshot","version":)";
    const QByteArray dev = head + R"(1,"devices":[{"devId":"A","routes":[)";
    QTest::newRow("truncated") << good.left(good.size() / 2) << "Not a snapshot file, or cut short: ";
    QTest::newRow("not ours") << QByteArray(R"({"devices":[]})") << tx(Tx::SnapNotOurs);
    QTest::newRow("newer") << head + R"(2,"devices":[]})" << tx(Tx::SnapNewer).arg(2);
    QTest::newRow("no devices") << head + "1}" << tx(Tx::SnapBadMember).arg("devices");
    QTest::newRow("no devId") << head + R"(1,"devices":[{"routes":[]}]})" << tx(Tx::SnapBadMember).arg("devices[0].devId");
    QTest::newRow("channel 0") << dev + R"({"rxCh":0,"srcDevId":"B","srcCh":1}]}]})" << tx(Tx::SnapBadMember).arg("devices[0].routes[0].rxCh");
    QTest::newRow("channel twice") << dev + R"({"rxCh":1,"srcDevId":"B","srcCh":1},{"rxCh":1,"srcDevId":"B","srcCh":2}]}]})"
                                   << tx(Tx::SnapBadMember).arg("devices[0].routes[1].rxCh");
    QTest::newRow("bad group") << dev + R"({"rxCh":1,"flow":"239.1.2","flowCh":1}]}]})" << tx(Tx::SnapBadMember).arg("devices[0].routes[0].flow");
}

void TestBulkRoute::badSnapshotFilesRefused()
{
    QFETCH(QByteArray, bytes);
    QFETCH(QString, why);
    QString reason;
    QVERIFY(!parse(bytes, &reason));
    QVERIFY2(reason.startsWith(why), qPrintable(reason));
}

void TestBulkRoute::shiftedAndFlowRanges()
{
    const RouteNetwork net({device("A", "192.168.1.10", 8, 6), device("B", "192.168.1.20", 4, 8)}, {stage()});
    QString error;
    // Source 2..3 onto receive 3..4; by default as far as the receiver goes.
    RouteBatch b = BulkRoute::plan(net, {"A", "B", 2, 0, 3}, &error);
    QCOMPARE(channels(b.changes), (QStringList{"3<-2", "4<-3"}));
    BulkRoute::plan(net, {"A", "B", 5, 2, 4}, &error);
    QCOMPARE(error, tx(Tx::BulkBadShiftedRange).arg(5).arg(6).arg(4).arg(5).arg(6).arg(4));
    // A flow's channels as the source.
    error.clear();
    b = BulkRoute::plan(net, {"", "B", 1, 0, 2, ip("239.1.2.3")}, &error);
    QVERIFY2(error.isEmpty(), qPrintable(error));
    QCOMPARE(channels(b.changes), (QStringList{"2<-1", "3<-2"}));
    QCOMPARE(b.changes.at(0).change.after, RouteSource::multicast(ip("239.1.2.3"), 1));
    BulkRoute::plan(net, {"", "B", 1, 0, 0, ip("239.9.9.9")}, &error);
    QCOMPARE(error, tx(Tx::BulkFlowGone).arg("239.9.9.9"));
}

void TestBulkRoute::gridBlocksStayInOnePair()
{
    RouteGrid g;
    g.rebuild(network(), {stage()});
    g.setAllExpanded(RouteGrid::Rows, true);
    g.setAllExpanded(RouteGrid::Columns, true);
    const int a3 = g.findLine(RouteGrid::Rows, "A", 3);
    const int b2 = g.findLine(RouteGrid::Columns, "B", 2);
    // Dragged past the end of A's rows and into C's columns: kept to A x B.
    const QRect block = RouteBlock::between(g, a3, b2, g.rowCount() - 1, g.columnCount() - 1);
    QCOMPARE(block.top(), a3);
    QCOMPARE(block.bottom(), g.findLine(RouteGrid::Rows, "A", 8));
    QCOMPARE(block.right(), g.findLine(RouteGrid::Columns, "B", 8));
    QVERIFY(RouteBlock::between(g, g.findLine(RouteGrid::Rows, "A"), b2, a3, b2).isEmpty());
    BulkRoute::Request r = RouteBlock::routeRequest(g, block);
    QCOMPARE(QStringLiteral("%1>%2 %3>%4 x%5").arg(r.srcDevId, r.dstDevId).arg(r.from).arg(r.dstFrom).arg(r.count),
             QStringLiteral("A>B 3>2 x6"));
    // B takes A's 1 and 2: a block over A 1-2 x B 1-3 clears those two only.
    const QRect top = RouteBlock::between(g, g.findLine(RouteGrid::Rows, "A", 1), g.findLine(RouteGrid::Columns, "B", 1),
                                          g.findLine(RouteGrid::Rows, "A", 2), g.findLine(RouteGrid::Columns, "B", 3));
    QCOMPARE(RouteBlock::clears(g, top).size(), 2);
    // The flow's pair: its channels, and the clear of B's route from it.
    const int flowRow = g.findLine(RouteGrid::Rows, "Stage");
    QVERIFY(RouteBlock::pairRequest(g, flowRow, b2, &r));
    QCOMPARE(r.flowIp, ip("239.1.2.3"));
    QCOMPARE(r.count, 2);
    const QVector<RouteChange> c = RouteBlock::pairClears(g, RouteNetwork(network(), {stage()}), flowRow, b2);
    QCOMPARE(c.size(), 1);
    QCOMPARE(c.at(0).rxCh, 5);
    QVERIFY(!RouteBlock::pairRequest(g, g.findLine(RouteGrid::Rows, "B"), b2, &r));
}

void TestBulkRoute::undoAndRedoReplayOnlyWhatIsStillTheirs()
{
    RouteHistory history;
    QVector<Device> devices = network();
    RouteNetwork net(devices, {});
    QString error;
    RouteBatch bulk = BulkRoute::plan(net, {"A", "B", 3, 3}, &error);
    RouteStep step{"bulk", {}};
    for (const PlannedRoute &p : bulk.changes)
        step.changes.append(p.change);
    history.record(step);
    for (int ch = 3; ch <= 5; ++ch)
        route(devices[1], ch, "A", ch);

    // Someone else moved B:4 since; B:5 had the flow before the bulk.
    route(devices[1], 4, "C", 1);
    net = RouteNetwork(devices, {stage()});
    net.firmware.insert("B", "3.2.0.0");
    RouteHistory::Replay undo = history.plan(RouteHistory::Undo, net);
    QCOMPARE(undo.stale.size(), 1);
    QCOMPARE(undo.stale.at(0).change.rxCh, 4);
    QCOMPARE(undo.stale.at(0).reason, tx(Tx::RouteChangedSince).arg("C:1"));
    // Last first: 5 back to the flow, then 3 cleared.
    QCOMPARE(channels(undo.batch.changes), (QStringList{"5<-1", "3<-0"}));
    QCOMPARE(undo.batch.changes.at(0).change.after, RouteSource::multicast(ip("239.1.2.3"), 1));

    // B:3 went back; B:5 was refused by the device: it stays to be tried again, the stale one is dropped.
    history.finish(undo, {undo.batch.changes.at(1).change});
    QCOMPARE(history.undoCount(), 1);
    QCOMPARE(history.redoCount(), 1);
    devices[1].tables.rxCh[2] = -1;
    net = RouteNetwork(devices, {stage()});
    const RouteHistory::Replay retry = history.plan(RouteHistory::Undo, net);
    QCOMPARE(channels(retry.batch.changes), (QStringList{"5<-1"}));
    QCOMPARE(retry.batch.unchanged.size(), 0);

    // Redo puts B:3 back; a new action forgets the redo.
    const RouteHistory::Replay redo = history.plan(RouteHistory::Redo, net);
    QCOMPARE(channels(redo.batch.changes), (QStringList{"3<-3"}));
    history.finish(redo, {redo.batch.changes.at(0).change});
    QCOMPARE(history.redoCount(), 0);
    QCOMPARE(history.undoCount(), 2);
    route(devices[1], 3, "A", 3);
    net = RouteNetwork(devices, {stage()});
    const RouteHistory::Replay again = history.plan(RouteHistory::Undo, net);
    history.finish(again, {again.batch.changes.at(0).change});
    QVERIFY(history.canRedo());
    history.record({"click", {RouteChange{"C", 2, {}, RouteSource::unicast("A", 1)}}});
    QVERIFY(!history.canRedo());
    QCOMPARE(history.undoLabel(), QStringLiteral("click"));
    // A device that has gone: reported, nothing sent.
    devices.removeAt(2);
    const RouteHistory::Replay gone = history.plan(RouteHistory::Undo, RouteNetwork(devices, {}));
    QVERIFY(gone.batch.changes.isEmpty());
    QCOMPARE(gone.stale.at(0).reason, tx(Tx::BulkDeviceGone).arg("C"));
}

QTEST_GUILESS_MAIN(TestBulkRoute)
#include "tst_bulkroute.moc"
