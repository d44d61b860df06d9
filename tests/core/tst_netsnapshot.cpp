#include "core/app/language.h"
#include "core/app/texts.h"
#include "core/devices/devmanager.h"
#include "core/protocol/ipv4.h"
#include "core/routing/netsnapshot.h"

#include "../support/packets.h"

#include <QJsonArray>
#include <QTemporaryDir>
#include <QtTest>

using namespace NetSnapshot;

namespace {

quint32 ip(const char *t)
{
    return Ipv4::fromText(QLatin1String(t));
}

Device device(const QString &devId, const char *address)
{
    DevManager reg;
    const QByteArray a = Packets::announcement(devId, QLatin1String(address));
    reg.intakeAnnouncement(a.constData(), a.size(), ip(address), 9996);
    Device d = *reg.findByDevId(devId);
    d.tables.rxCh = QVector<qint32>(d.rec.chNumRx, -1);
    d.tables.ucastTx = QVector<UcastTxItem>(d.rec.ucastNumTx);
    return d;
}

void route(Device &rx, int rxCh, const QString &srcDevId, int srcCh)
{
    RtpChItem item;
    item.srcDevId = srcDevId;
    item.name = "Dev " + srcDevId;
    item.srcChId = srcCh - 1;
    item.srcIp = ip("192.168.1.99");
    rx.tables.rxCh[rxCh - 1] = rx.tables.rtpCh.size();
    rx.tables.rtpCh.append(item);
}

void subscribe(Device &rx, const char *group, int chNum, int rxCh = 0, int flowCh = 1)
{
    McastRxItem m;
    m.name = "Stage";
    m.srcIp = ip("192.168.1.10");
    m.dstIp = ip(group);
    m.dstPort = 5004;
    m.chNum = chNum;
    rx.tables.mcastRx.append(m);
    if (rxCh > 0) {
        RtpChItem item;
        item.name = "Stage";
        item.srcChId = flowCh - 1;
        item.srcIp = m.srcIp;
        item.dstIp = m.dstIp;
        item.dstPort = 5004;
        rx.tables.rxCh[rxCh - 1] = rx.tables.rtpCh.size();
        rx.tables.rtpCh.append(item);
    }
}

// A network of three: B takes A's 1 and 2 and a flow on 5, C takes A's 3.
QVector<Device> network()
{
    Device a = device("A", "192.168.1.10");
    Device b = device("B", "192.168.1.20");
    Device c = device("C", "192.168.1.30");
    route(b, 1, "A", 1);
    route(b, 2, "A", 2);
    subscribe(b, "239.1.2.3", 2, 5, 1);
    route(c, 1, "A", 3);
    return {a, b, c};
}

FlowRecord stage()
{
    FlowRecord f;
    f.name = "Stage";
    f.srcIp = ip("192.168.1.10");
    f.dstIp = ip("239.1.2.3");
    f.dstPort = 5004;
    f.chNum = 2;
    f.sampleByteNum = 3;
    f.sampleRate = 48000;
    f.pFrameNum = 48;
    return f;
}

Snapshot roundTrip(const Snapshot &s)
{
    QString why;
    const std::optional<Snapshot> back = parse(toJson(s), &why);
    if (!back)
        qWarning("%s", qPrintable(why));
    return back.value_or(Snapshot());
}

} // namespace

class TestNetSnapshot : public QObject
{
    Q_OBJECT
private slots:
    void init() { Language::setChinese(false); }
    void savedAndReadBackUnchanged();
    void diffListsAddedRemovedChangedRoutes();
    void diffListsSubscriptions();
    void missingDevicesAreListedAndSkipped();
    void recallSendsOnlyTheDifferencesClearsFirst();
    void badFilesAreRefusedWithTheReason_data();
    void badFilesAreRefusedWithTheReason();
};

void TestNetSnapshot::savedAndReadBackUnchanged()
{
    const Snapshot s = capture(network());
    QTemporaryDir dir;
    const QString path = dir.filePath("show.json");
    QString why;
    QVERIFY2(save(path, s, &why), qPrintable(why));
    const std::optional<Snapshot> back = load(path, &why);
    QVERIFY2(back, qPrintable(why));
    QCOMPARE(back->devices.size(), 3);
    const DeviceState &b = back->devices.at(1);
    QCOMPARE(b.devId, QStringLiteral("B"));
    QCOMPARE(b.name, QStringLiteral("Dev B"));
    QCOMPARE(b.routes.keys(), (QList<int>{1, 2, 5}));
    QCOMPARE(b.routes.value(2), RouteSource::unicast("A", 2));
    QCOMPARE(b.routes.value(5), RouteSource::multicast(ip("239.1.2.3"), 1));
    QCOMPARE(b.routes.value(5).name, QStringLiteral("Stage"));
    QCOMPARE(b.subscriptions.value(ip("239.1.2.3")), s.devices.at(1).subscriptions.value(ip("239.1.2.3")));
    QCOMPARE(back->saved.toSecsSinceEpoch(), s.saved.toSecsSinceEpoch());
    // Nothing differs from the network it was taken of.
    QVERIFY(diff(*back, RouteNetwork(network(), {stage()})).isEmpty());
}

void TestNetSnapshot::diffListsAddedRemovedChangedRoutes()
{
    const Snapshot s = roundTrip(capture(network()));
    QVector<Device> now = network();
    Device &b = now[1];
    b.tables.rxCh[0] = -1;      // B:1 removed since
    route(b, 2, "C", 4);        // B:2 changed
    route(b, 7, "A", 7);        // B:7 added
    const Diff d = diff(s, RouteNetwork(now, {stage()}));
    QCOMPARE(d.devices.size(), 1);
    QCOMPARE(d.devices.at(0).devId, QStringLiteral("B"));
    const QVector<RouteChange> &r = d.devices.at(0).routes;
    QCOMPARE(r.size(), 3);
    QCOMPARE(r.at(0).rxCh, 1);
    QVERIFY(r.at(0).before.isNone());
    QCOMPARE(r.at(0).after, RouteSource::unicast("A", 1));
    QCOMPARE(r.at(1).rxCh, 2);
    QCOMPARE(r.at(1).before, RouteSource::unicast("C", 4));
    QCOMPARE(r.at(1).after, RouteSource::unicast("A", 2));
    QCOMPARE(r.at(2).rxCh, 7);
    QCOMPARE(r.at(2).before, RouteSource::unicast("A", 7));
    QVERIFY(r.at(2).after.isNone());
    QVERIFY(d.devices.at(0).subscriptions.isEmpty());
}

void TestNetSnapshot::diffListsSubscriptions()
{
    const Snapshot s = roundTrip(capture(network()));
    QVector<Device> now = network();
    now[1].tables.mcastRx[0].chNum = 4;   // changed
    subscribe(now[2], "239.4.4.4", 2);    // added on C
    const Diff d = diff(s, RouteNetwork(now, {}));
    QCOMPARE(d.devices.size(), 2);
    QCOMPARE(d.devices.at(0).subscriptions.size(), 1);
    QCOMPARE(d.devices.at(0).subscriptions.at(0).live.chNum, 4);
    QCOMPARE(d.devices.at(0).subscriptions.at(0).snapshot.chNum, 2);
    QCOMPARE(d.devices.at(1).subscriptions.size(), 1);
    QCOMPARE(d.devices.at(1).subscriptions.at(0).live.flowIp, ip("239.4.4.4"));
    QCOMPARE(d.devices.at(1).subscriptions.at(0).snapshot.flowIp, 0u);

    // One gone since the snapshot (its route with it).
    now = network();
    now[1].tables.mcastRx.clear();
    now[1].tables.rxCh[4] = -1;
    const Diff gone = diff(s, RouteNetwork(now, {}));
    QCOMPARE(gone.devices.at(0).subscriptions.size(), 1);
    QCOMPARE(gone.devices.at(0).subscriptions.at(0).live.flowIp, 0u);
    QCOMPARE(gone.devices.at(0).subscriptions.at(0).snapshot.name, QStringLiteral("Stage"));
    QCOMPARE(gone.devices.at(0).routes.size(), 1);
}

void TestNetSnapshot::missingDevicesAreListedAndSkipped()
{
    const Snapshot s = roundTrip(capture(network()));
    QVector<Device> now = network();
    now.removeAt(2);
    const RouteNetwork live(now, {stage()});
    const Diff d = diff(s, live);
    QVERIFY(d.devices.isEmpty());
    QCOMPARE(d.missing.size(), 1);
    QCOMPARE(d.missing.at(0).devId, QStringLiteral("C"));
    QVERIFY(recall(d, live).changes.isEmpty());
}

void TestNetSnapshot::recallSendsOnlyTheDifferencesClearsFirst()
{
    const Snapshot s = roundTrip(capture(network()));
    QVector<Device> now = network();
    now[1].tables.rxCh[0] = -1;
    now[1].tables.rxCh[4] = -1;   // the flow route on B:5
    route(now[2], 6, "A", 6);
    RouteNetwork live(now, {stage()});
    live.firmware.insert("B", "3.2.0.0");
    const RouteBatch batch = recall(diff(s, live), live);
    QVERIFY(batch.refused.isEmpty());
    QCOMPARE(batch.changes.size(), 3);
    QCOMPARE(batch.changes.at(0).plan.command,
             (QJsonObject{{"ops", "clrRxCh"}, {"devId", "C"}, {"dstChId", "5"}}));
    QCOMPARE(batch.changes.at(1).plan.command,
             (QJsonObject{{"ops", "setUcastRx"}, {"devId", "B"}, {"srcDevId", "A"}, {"srcChId", "0"}, {"dstChId", "0"}}));
    QCOMPARE(batch.changes.at(2).plan.command.value("ops").toString(), QStringLiteral("setMcastRx"));
    QCOMPARE(batch.changes.at(2).plan.command.value("dstChId").toString(), QStringLiteral("4"));

    // The flow is no longer announced: that route is refused, the rest still go.
    RouteNetwork noFlow(now, {});
    const RouteBatch partial = recall(diff(s, noFlow), noFlow);
    QCOMPARE(partial.changes.size(), 2);
    QCOMPARE(partial.refused.size(), 1);
    QCOMPARE(partial.refused.at(0).reason, QStringLiteral("The flow Stage is not announced."));
}

void TestNetSnapshot::badFilesAreRefusedWithTheReason_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("why");
    const QByteArray good = toJson(capture(network()));
    QTest::newRow("truncated") << good.left(good.size() / 2) << "Not a snapshot file, or cut short: ";
    QTest::newRow("not json") << QByteArray("PK\x03\x04") << "Not a snapshot file, or cut short: ";
    QTest::newRow("another program's json") << QByteArray(R"({"devices":[]})") << tx(Tx::SnapNotOurs);
    QTest::newRow("an array") << QByteArray("[1,2]") << tx(Tx::SnapNotOurs);
    const QByteArray head = R"({"format":"corvanelink-network-snapshot","version":)";
    QTest::newRow("newer") << head + R"(2,"devices":[]})" << tx(Tx::SnapNewer).arg(2);
    QTest::newRow("version text") << head + R"("1","devices":[]})" << tx(Tx::SnapBadMember).arg("version");
    QTest::newRow("no devices") << head + "1}" << tx(Tx::SnapBadMember).arg("devices");
    QTest::newRow("no devId") << head + R"(1,"devices":[{"routes":[]}]})" << tx(Tx::SnapBadMember).arg("devices[0].devId");
    QTest::newRow("channel 0") << head + R"(1,"devices":[{"devId":"A","routes":[{"rxCh":0,"srcDevId":"B","srcCh":1}]}]})"
                               << tx(Tx::SnapBadMember).arg("devices[0].routes[0].rxCh");
    QTest::newRow("channel twice")
        << head + R"(1,"devices":[{"devId":"A","routes":[{"rxCh":1,"srcDevId":"B","srcCh":1},{"rxCh":1,"srcDevId":"B","srcCh":2}]}]})"
        << tx(Tx::SnapBadMember).arg("devices[0].routes[1].rxCh");
    QTest::newRow("bad group") << head + R"(1,"devices":[{"devId":"A","routes":[{"rxCh":1,"flow":"239.1.2","flowCh":1}]}]})"
                               << tx(Tx::SnapBadMember).arg("devices[0].routes[0].flow");
    QTest::newRow("fraction") << head + R"(1,"devices":[{"devId":"A","routes":[{"rxCh":1.5,"srcDevId":"B","srcCh":1}]}]})"
                              << tx(Tx::SnapBadMember).arg("devices[0].routes[0].rxCh");
    QTest::newRow("bad port") << head + R"(1,"devices":[{"devId":"A","routes":[],"subscriptions":[{"flow":"239.1.1.1","srcIp":"10.0.0.1","port":70000,"chNum":2}]}]})"
                              << tx(Tx::SnapBadMember).arg("devices[0].subscriptions[0].port");
}

void TestNetSnapshot::badFilesAreRefusedWithTheReason()
{
    QFETCH(QByteArray, bytes);
    QFETCH(QString, why);
    QString reason;
    QVERIFY(!parse(bytes, &reason));
    QVERIFY2(reason.startsWith(why), qPrintable(reason));
}

QTEST_GUILESS_MAIN(TestNetSnapshot)
#include "tst_netsnapshot.moc"
