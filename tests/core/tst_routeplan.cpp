#include "core/app/language.h"
#include "core/devices/devmanager.h"
#include "core/mcast/flowplan.h"
#include "core/mcast/flowview.h"
#include "core/protocol/ipv4.h"
#include "core/routing/routeplan.h"

#include "../support/packets.h"

#include <QJsonArray>
#include <QtTest>

namespace {

quint32 ip(const char *t)
{
    return Ipv4::fromText(QLatin1String(t));
}

Device device(const QString &devId, const char *address, const QJsonObject &overrides = {})
{
    DevManager reg;
    const QByteArray a = Packets::announcement(devId, QLatin1String(address), overrides);
    reg.intakeAnnouncement(a.constData(), a.size(), ip(address), 9996);
    return *reg.findByDevId(devId);
}

FlowRecord flow(const char *src, const char *group, quint16 port = 5004)
{
    FlowRecord f;
    f.name = QStringLiteral("Stage");
    f.srcIp = ip(src);
    f.dstIp = ip(group);
    f.dstPort = port;
    f.chNum = 2;
    f.sampleByteNum = 3;
    f.sampleRate = 48000;
    f.pFrameNum = 48;
    f.rtpTsOffset = 96;
    return f;
}

RouteContext deviceClick(int state = 0)
{
    RouteContext c;
    c.rowOwnerId = QStringLiteral("TX");
    c.rowChannel = 2;
    c.rxDevId = QStringLiteral("RX");
    c.rxChannel = 4;
    c.cellState = state;
    c.tx = device("TX", "192.168.1.10", {{"ucastNumTx", "2"}, {"name", "Stage Box"}});
    c.tx->tables.ucastTx = QVector<UcastTxItem>(2);
    c.rx = device("RX", "192.168.2.20");
    return c;
}

RouteContext flowClick(int state = 0)
{
    RouteContext c;
    c.rowIsFlow = true;
    c.rowOwnerId = QStringLiteral("Stage");
    c.rowChannel = 2;
    c.rxDevId = QStringLiteral("RX");
    c.rxChannel = 1;
    c.cellState = state;
    c.flow = flow("192.168.1.10", "239.1.2.3");
    c.rx = device("RX", "192.168.2.20", {{"delayUs", "4000"}});
    c.rxFirmware = QStringLiteral("3.1.4.6");
    return c;
}

QJsonObject json(const char *text)
{
    return QJsonDocument::fromJson(text).object();
}

QStringList texts(const RoutePlan &p)
{
    QStringList out;
    for (const PlanStep &s : p.steps)
        out.append((s.kind == PlanStep::Notice ? "notice: " : "confirm: ") + s.text);
    return out;
}

void routeRx(Device &rx, int rxCh, const RtpChItem &entry)
{
    rx.tables.rxCh = QVector<qint32>(8, -1);
    rx.tables.rtpCh = QVector<RtpChItem>(8);
    rx.tables.rxCh[rxCh] = 5;
    rx.tables.rtpCh[5] = entry;
}

} // namespace

class TestRoutePlan : public QObject
{
    Q_OBJECT
private slots:
    void init() { Language::setChinese(false); }
    void vanishedReceiverSendsNothing();
    void routedCellOnlyClears();
    void stateAboveTwoMarksWithoutSending();
    void sampleRatesMustMatch();
    void sameNetwork_data();
    void sameNetwork();
    void streamSlotWalk();
    void replacementQuestion();
    void multicastCommandAndChecks();
    void firmwarePortGate_data();
    void firmwarePortGate();
    void flowCreation_data();
    void flowCreation();
    void flowWithoutAddress();
    void flowViewReadsTheCreatorsTable();
};

void TestRoutePlan::vanishedReceiverSendsNothing()
{
    RouteContext c = deviceClick();
    c.rx.reset();
    QVERIFY(planRouteClick(c).command.isEmpty());
    // An unrouted cell on a flow row no longer announced offers nothing to subscribe to.
    RouteContext f = flowClick();
    f.flow.reset();
    const RoutePlan p = planRouteClick(f);
    QVERIFY(p.command.isEmpty() && p.steps.isEmpty() && !p.markChecking);
}

void TestRoutePlan::routedCellOnlyClears()
{
    RouteContext c = deviceClick(2);
    RtpChItem e;
    e.srcDevId = "OTHER";
    e.srcIp = ip("192.168.1.99");
    routeRx(*c.rx, 3, e);
    const RoutePlan p = planRouteClick(c);
    QVERIFY(p.steps.isEmpty()); // no replacement question, though another source is routed
    QCOMPARE(p.command, (QJsonObject{{"ops", "clrRxCh"}, {"devId", "RX"}, {"dstChId", "3"}}));
    QCOMPARE(planRouteClick(flowClick(2)).command.value("ops").toString(), QStringLiteral("clrRxCh"));
}

void TestRoutePlan::stateAboveTwoMarksWithoutSending()
{
    const RoutePlan p = planRouteClick(deviceClick(3));
    QVERIFY(p.command.isEmpty());
    QVERIFY(p.markChecking);
}

void TestRoutePlan::sampleRatesMustMatch()
{
    RouteContext c = deviceClick();
    c.rx = device("RX", "192.168.2.20", {{"sampleRate", "96000"}});
    QCOMPARE(texts(planRouteClick(c)), QStringList{"notice: 采样率不同不能创建路由 (sample rates differ: no route can be made)"});
    QVERIFY(planRouteClick(c).command.isEmpty());
    c.cellState = 2; // clearing is still allowed
    QCOMPARE(planRouteClick(c).command.value("ops").toString(), QStringLiteral("clrRxCh"));
    RouteContext f = flowClick();
    f.flow->sampleRate = 44100;
    QCOMPARE(texts(planRouteClick(f)), QStringList{"notice: 采样率不同不能创建路由 (sample rates differ: no route can be made)"});
}

void TestRoutePlan::sameNetwork_data()
{
    QTest::addColumn<QString>("txIp");
    QTest::addColumn<QString>("rxIp");
    QTest::addColumn<bool>("same");
    QTest::newRow("class C on /16") << "192.168.1.10" << "192.168.2.20" << true;
    QTest::newRow("class C other /16") << "192.168.1.10" << "192.169.1.10" << false;
    QTest::newRow("class A") << "10.0.0.1" << "10.200.3.4" << true;
    QTest::newRow("class A differs") << "10.0.0.1" << "11.0.0.1" << false;
    QTest::newRow("class B") << "172.16.1.1" << "172.16.200.1" << true;
    QTest::newRow("loopback never") << "127.0.0.2" << "127.0.0.3" << false;
    QTest::newRow("zero never") << "0.0.0.1" << "0.0.0.1" << false;
    QTest::newRow("multicast never") << "224.0.0.1" << "224.0.0.1" << false;
    QTest::newRow("126 is class A") << "126.1.1.1" << "126.9.9.9" << true;
}

void TestRoutePlan::sameNetwork()
{
    QFETCH(QString, txIp);
    QFETCH(QString, rxIp);
    QTEST(::sameNetwork(Ipv4::fromText(txIp), Ipv4::fromText(rxIp)), "same");
}

void TestRoutePlan::streamSlotWalk()
{
    RouteContext c = deviceClick();
    const quint32 rx = c.rx->rec.ip;
    const quint32 E = UcastTxItem::kEmptyPlace;
    Device &tx = *c.tx; // two streams
    tx.tables.ucastTx[0] = {"X", ip("192.168.9.9"), 1, {7, E}};
    tx.tables.ucastTx[1] = UcastTxItem();
    QVERIFY(streamSlotAvailable(tx, rx, 1)); // a free stream
    tx.tables.ucastTx[1] = {"Y", ip("192.168.9.8"), 1, {7, E}};
    QVERIFY(!streamSlotAvailable(tx, rx, 1)); // every stream goes elsewhere
    QCOMPARE(texts(planRouteClick(c)).last(),
             QStringLiteral("confirm: The device streams have reached the limit, it maybe failed to create stream. Create route?"));
    tx.tables.ucastTx[1] = {"RX", rx, 1, {4, E}};
    QVERIFY(streamSlotAvailable(tx, rx, 1)); // one used place, fewer than two streams
    tx.tables.ucastTx[1] = {"RX", rx, 3, {4, 5, 6}};
    QVERIFY(!streamSlotAvailable(tx, rx, 1));
    QVERIFY(streamSlotAvailable(tx, rx, 4)); // already carried
    tx.tables.ucastTx.clear(); // not fetched yet: cannot tell, so ask
    QVERIFY(!streamSlotAvailable(tx, rx, 1));
}

void TestRoutePlan::replacementQuestion()
{
    RouteContext c = deviceClick();
    RtpChItem e;
    e.srcDevId = "OTHER";
    e.name = "Other box";
    e.srcChId = 6;
    e.srcIp = ip("192.168.1.99");
    routeRx(*c.rx, 3, e);
    QCOMPARE(texts(planRouteClick(c)), QStringList{"confirm: Current receiving channel already has a route:Other box:7,Whether to replace?"});
    // With the registry at hand the device's own channel name is used.
    Device other = device("OTHER", "192.168.1.99", {{"name", "Drum Box"}});
    other.tables.names[DeviceTables::NameTx] = QVector<QString>(8);
    other.tables.names[DeviceTables::NameTx][6] = "Kick";
    c.findDevice = [&](const QString &id) { return id == "OTHER" ? std::optional<Device>(other) : std::nullopt; };
    Language::setChinese(true);
    QCOMPARE(texts(planRouteClick(c)), QStringList{"confirm: 当前接收通道已有路由:Drum Box:Kick,是否替换?"});
    Language::setChinese(false);
    e = RtpChItem();
    e.name = "Flow";
    e.srcIp = ip("192.168.1.99");
    e.dstIp = ip("239.1.1.1");
    routeRx(*c.rx, 3, e);
    QCOMPARE(texts(planRouteClick(c)), QStringList{"confirm: Current receiving channel already has a mcast route, Whether to replace?"});
    QCOMPARE(planRouteClick(c).command.value("ops").toString(), QStringLiteral("setUcastRx"));
}

void TestRoutePlan::multicastCommandAndChecks()
{
    RoutePlan p = planRouteClick(flowClick());
    QVERIFY(p.steps.isEmpty());
    QCOMPARE(p.command, json(R"({"ops":"setMcastRx","devId":"RX","srcChId":"1","dstChId":"0","sdp":{"srcIp":)"
                             R"("192.168.1.10","dstIp":"239.1.2.3","dstPort":"5004","chNum":"2","sampleByteNum":"3",)"
                             R"("rtpTsOffset":"96"}})"));
    // The flow's own creator cannot receive it.
    RouteContext c = flowClick();
    c.flow->srcIp = c.rx->rec.ip;
    QCOMPARE(texts(planRouteClick(c)), QStringList{"notice: 组播由本设备创建，不能创建路由 (the flow was created by this device: no route can be made)"});
    // A buffer of 1 ms at 48 kHz is too small for four 48-frame packets.
    c = flowClick();
    c.rx = device("RX", "192.168.2.20", {{"delayUs", "1999"}});
    QCOMPARE(texts(planRouteClick(c)).first().left(30), QStringLiteral("confirm: Packet time dismatch,"));
    c.rx = device("RX", "192.168.2.20", {{"delayUs", "4000"}});
    QVERIFY(texts(planRouteClick(c)).isEmpty());
    // The virtual sound card cannot receive.
    c.rx = device("RX", "192.168.2.20", {{"delayUs", "4000"}, {"model", "RK0000"}});
    QCOMPARE(texts(planRouteClick(c)), QStringList{"notice: 虚拟声卡不能作为接收设备 (a virtual sound card cannot receive)"});
}

void TestRoutePlan::firmwarePortGate_data()
{
    QTest::addColumn<QString>("firmware");
    QTest::addColumn<int>("port");
    QTest::addColumn<bool>("allowed");
    QTest::newRow("old, 5006") << "3.1.4.5" << 5006 << false;
    QTest::newRow("old, 5004") << "3.1.4.5" << 5004 << true;
    QTest::newRow("3.1.4.6, 5006") << "3.1.4.6" << 5006 << true;
    QTest::newRow("3.2.0.0, 5006") << "3.2.0.0" << 5006 << true;
    QTest::newRow("unknown, 5006") << "" << 5006 << false;
}

void TestRoutePlan::firmwarePortGate()
{
    QFETCH(QString, firmware);
    QFETCH(int, port);
    QFETCH(bool, allowed);
    RouteContext c = flowClick();
    c.rxFirmware = firmware;
    c.flow->dstPort = quint16(port);
    const RoutePlan p = planRouteClick(c);
    QCOMPARE(!p.command.isEmpty(), allowed);
    if (!allowed)
        QCOMPARE(texts(p), QStringList{"notice: Receiving multicast on non-5004 port, please upgrade firmware"});
}

void TestRoutePlan::flowCreation_data()
{
    QTest::addColumn<int>("channels");
    QTest::addColumn<QStringList>("octets");
    QTest::addColumn<QString>("port");
    QTest::addColumn<QString>("notice");
    QTest::newRow("8 channels") << 8 << QStringList{"239", "1", "2", "3"} << "5004" << "";
    QTest::newRow("9 channels") << 9 << QStringList{"239", "1", "2", "3"} << "5004" << "A single multicast stream supports up to 8 channels maximum";
    QTest::newRow("none") << 0 << QStringList{"239", "1", "2", "3"} << "5004" << "至少选中一个通道加入组播流 (tick at least one channel)";
    QTest::newRow("223 refused") << 1 << QStringList{"223", "1", "1", "1"} << "5004" << "Wrong IP, range: 224.0.0.0~239.255.255.255";
    QTest::newRow("240 refused") << 1 << QStringList{"240", "0", "0", "1"} << "5004" << "Wrong IP, range: 224.0.0.0~239.255.255.255";
    QTest::newRow("top of range") << 1 << QStringList{"239", "255", "255", "255"} << "5004" << "";
    QTest::newRow("port 1023") << 1 << QStringList{"239", "1", "1", "1"} << "1023" << "Wrong Port, range: 1024~65534";
    QTest::newRow("port 65535") << 1 << QStringList{"239", "1", "1", "1"} << "65535" << "Wrong Port, range: 1024~65534";
    QTest::newRow("empty octet") << 1 << QStringList{"239", "1", "", "1"} << "5004" << "请输入正确的ip (enter a correct address)";
}

void TestRoutePlan::flowCreation()
{
    QFETCH(int, channels);
    QFETCH(QStringList, octets);
    QFETCH(QString, port);
    QFETCH(QString, notice);
    const Device dev = device("TX", "192.168.1.10");
    FlowPlan::CreateInput in;
    in.name = "Stage";
    for (int i = 0; i < channels; ++i)
        in.tickedChannels.append(QStringLiteral("In %1:%2").arg(i + 1).arg(i));
    in.offsetMs = " 2 ";
    in.mode = FlowPlan::Manual;
    for (int i = 0; i < 4; ++i)
        in.octets[i] = octets.at(i);
    in.port = port;
    const CommandPlan p = FlowPlan::create(dev, in, {}, [] { return 0; });
    QCOMPARE(p.refused() ? p.steps.last().text : QString(), notice);
    if (!notice.isEmpty())
        return;
    QCOMPARE(p.command.value("ops").toString(), QStringLiteral("setMcastTx"));
    QCOMPARE(p.command.value("srcChIdArr").toArray().size(), channels);
    QCOMPARE(p.command.value("srcChIdArr").toArray().last().toString(), QString::number(channels - 1));
    const QJsonObject sdp = p.command.value("sdp").toObject();
    QCOMPARE(sdp, (QJsonObject{{"rtpTsOffset", "96"}, {"sampleByteNum", "3"}, {"chNum", QString::number(channels)},
                               {"srcIp", "192.168.1.10"}, {"ssrc", "0"}, {"dstIp", octets.join('.')}, {"dstPort", port}}));
}

void TestRoutePlan::flowWithoutAddress()
{
    // The page test covers the automatic draw; with no address the device picks both.
    FlowPlan::CreateInput in;
    in.name = "Auto";
    in.tickedChannels = QStringList{QStringLiteral("In 1:0")};
    in.mode = FlowPlan::NoAddress;
    in.port = "99999"; // not checked in this mode
    const CommandPlan p = FlowPlan::create(device("TX", "192.168.1.10"), in, {}, [] { return 0; });
    QVERIFY(!p.refused());
    const QJsonObject sdp = p.command.value("sdp").toObject();
    QVERIFY(!sdp.contains("dstIp") && !sdp.contains("dstPort"));
    // An empty name is refused in the flows page test.
}

void TestRoutePlan::flowViewReadsTheCreatorsTable()
{
    Device dev = device("TX", "192.168.1.10", {{"name", "Stage Box"}, {"chNumTx", "4"}});
    dev.tables.names[DeviceTables::NameTx] = {"Kick", "", "Snare", "Hat"};
    dev.tables.mcastTx = QVector<McastTxItem>(3);
    dev.tables.mcastTx[1].name = "Drums";
    dev.tables.mcastTx[1].dstIp = ip("239.69.1.2");
    dev.tables.mcastTx[1].dstPort = 5006;
    dev.tables.mcastTx[1].chNum = 3;
    dev.tables.mcastTx[1].srcChIds = {2, 1, 0};

    // Free slots are not flows; channels in the flow's order, an unnamed one by its number.
    const QVector<FlowView::TxRow> rows = FlowView::transmitFlows(dev);
    QCOMPARE(rows.size(), 1);
    QCOMPARE(rows[0].addressPort, QStringLiteral("239.69.1.2:5006"));
    QCOMPARE(rows[0].channels, (QStringList{"Snare", "2", "Kick"}));
    FlowRecord announced = flow("192.168.1.10", "239.69.1.2", 5006);
    announced.chNum = 3;
    QCOMPARE(FlowView::details(announced, {device("RX", "192.168.1.11"), dev}).channels, rows[0].channels);
    // A flow whose sender is not in the list still shows its channel count.
    const FlowView::Details d = FlowView::details(announced, {});
    QVERIFY(d.devId.isEmpty());
    QCOMPARE(d.channels, (QStringList{"1", "2", "3"}));
}

QTEST_GUILESS_MAIN(TestRoutePlan)
#include "tst_routeplan.moc"
