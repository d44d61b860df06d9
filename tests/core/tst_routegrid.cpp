#include "core/devices/devmanager.h"
#include "core/devices/deviceuistore.h"
#include "core/protocol/ipv4.h"
#include "core/routing/hiddenchannels.h"
#include "core/routing/routeclickcontext.h"
#include "core/routing/routegrid.h"
#include "core/routing/tileband.h"

#include "../support/packets.h"

#include <QJsonArray>
#include <QtTest>

namespace {

quint32 ip(const char *t)
{
    return Ipv4::fromText(QLatin1String(t));
}

Device device(const char *id, const char *name, const char *address, int rx, int tx, const char *model = "RK0808")
{
    Device d;
    d.rec.devId.set(id);
    d.rec.name.set(name);
    d.rec.model.set(model);
    d.rec.ip = ip(address);
    d.rec.chNumRx = rx;
    d.rec.chNumTx = tx;
    d.rec.sampleRate = 48000;
    d.rec.canWork = 1;
    d.tables.rxCh = QVector<qint32>(rx, -1);
    d.tables.rtpCh = QVector<RtpChItem>(rx);
    return d;
}

// Receive channel rxCh (from 1) of rx takes transmit channel txCh (from 1) of tx.
void routeUcast(Device &rx, int rxCh, const Device &tx, int txCh)
{
    rx.tables.rxCh[rxCh - 1] = rxCh - 1;
    RtpChItem &e = rx.tables.rtpCh[rxCh - 1];
    e.srcDevId = tx.devId();
    e.name = tx.rec.name.str();
    e.srcChId = txCh - 1;
    e.srcIp = tx.rec.ip;
    e.dstIp = rx.rec.ip;
    e.dstPort = 5004;
}

void routeMcast(Device &rx, int rxCh, const char *source, const char *group, int flowCh)
{
    rx.tables.rxCh[rxCh - 1] = rxCh - 1;
    RtpChItem &e = rx.tables.rtpCh[rxCh - 1];
    e.name = QStringLiteral("whatever");
    e.srcChId = flowCh - 1;
    e.srcIp = ip(source);
    e.dstIp = ip(group);
    e.dstPort = 5004;
}

FlowRecord flow(const char *name, const char *source, const char *group, int channels)
{
    FlowRecord f;
    f.name = QLatin1String(name);
    f.srcIp = ip(source);
    f.dstIp = ip(group);
    f.dstPort = 5004;
    f.chNum = quint8(channels);
    f.sampleByteNum = 3;
    f.sampleRate = 48000;
    f.pFrameNum = 48;
    return f;
}

QStringList lines(const QVector<AxisItem> &axis)
{
    QStringList out;
    for (const AxisItem &a : axis)
        out.append(a.ownerId + QLatin1Char('/') + QString::number(a.channel));
    return out;
}

} // namespace

class TestRouteGrid : public QObject
{
    Q_OBJECT
private slots:
    void cleanup() { HiddenChannels::setDisplayFlag(0); }
    void foldingAndUnfolding();
    void ownersInTheStandardOrder();
    void noColumnWithoutReceiveNoRowWithoutTransmit();
    void modelsHideChannels_data();
    void modelsHideChannels();
    void channelNames();
    void unicastAndMulticastStates();
    void foldedPairsShowTheirRoutes();
    void unannouncedFlowGetsAnAddressRow();
    void tileBands_data();
    void tileBands();
    void cellsAndToolTips();
    void searchRule_data();
    void searchRule();
    void clickContextFromTheRegistry();
};

void TestRouteGrid::foldingAndUnfolding()
{
    RouteGrid g;
    g.rebuild({device("A", "Alpha", "10.0.0.1", 2, 3), device("B", "Beta", "10.0.0.2", 4, 4)},
              {flow("Stage", "10.0.0.1", "239.69.0.1", 2)});
    QCOMPARE(lines(g.rows()), QStringList({"A/0", "B/0", "Stage/0"}));
    QCOMPARE(lines(g.columns()), QStringList({"A/0", "B/0"}));
    QVERIFY(!g.rows().at(0).isMcastFlow);
    QVERIFY(g.rows().at(2).isMcastFlow);
    QCOMPARE(g.rows().at(1).channelName, QStringLiteral("Beta")); // owner lines repeat the owner's name
    QCOMPARE(g.rows().at(1).headerText().trimmed(), QStringLiteral("Beta"));

    g.toggleOwner(RouteGrid::Rows, "A");
    g.toggleOwner(RouteGrid::Rows, "Stage");
    QCOMPARE(lines(g.rows()), QStringList({"A/0", "A/1", "A/2", "A/3", "B/0", "Stage/0", "Stage/1", "Stage/2"}));
    QVERIFY(g.rows().at(0).expanded);
    QCOMPARE(g.rows().at(2).ownerLine, 0);
    QCOMPARE(g.columnCount(), 2); // the other axis is untouched
    g.toggleOwner(RouteGrid::Rows, "A");
    QCOMPARE(g.findLine(RouteGrid::Rows, "Stage", 2), 4);
    QCOMPARE(g.findLine(RouteGrid::Rows, "A", 1), -1); // folded
    QCOMPARE(g.findLine(RouteGrid::Rows, "nobody"), -1);

    // An owner x owner cell unfolds both when neither is unfolded, else folds both.
    QVERIFY(g.togglePair(0, 1));
    QCOMPARE(lines(g.rows()).mid(0, 4), QStringList({"A/0", "A/1", "A/2", "A/3"}));
    QCOMPARE(lines(g.columns()), QStringList({"A/0", "B/0", "B/1", "B/2", "B/3", "B/4"}));
    QVERIFY(g.togglePair(0, 1));
    QVERIFY(!g.isExpanded(RouteGrid::Rows, "A") && !g.isExpanded(RouteGrid::Columns, "B"));
    g.toggleOwner(RouteGrid::Columns, "B");
    QVERIFY(g.togglePair(0, 1));
    QVERIFY(!g.isExpanded(RouteGrid::Rows, "A") && !g.isExpanded(RouteGrid::Columns, "B"));
    g.toggleOwner(RouteGrid::Columns, "B");
    QVERIFY(!g.togglePair(0, 2)); // a channel cell is no pair
}

void TestRouteGrid::ownersInTheStandardOrder()
{
    // Given in the order they announced themselves; shown by name, then id; flows after devices, by name then
    // group. A route still lands on its cell, whatever place its owners took.
    Device box10 = device("S10", "Stage Box 10", "10.0.0.1", 2, 2);
    const Device box2 = device("S2", "Stage Box 2", "10.0.0.2", 2, 2);
    const Device twinB = device("T-B", "Twin", "10.0.0.3", 2, 2);
    const Device twinA = device("T-A", "Twin", "10.0.0.4", 2, 2);
    routeUcast(box10, 1, twinA, 2);
    RouteGrid g;
    g.rebuild({box10, twinB, box2, twinA},
              {flow("Mix", "10.0.0.1", "239.69.0.9", 2), flow("Mix", "10.0.0.2", "239.69.0.3", 2),
               flow("Bus", "10.0.0.1", "239.69.0.5", 2)});
    QCOMPARE(lines(g.columns()), QStringList({"S2/0", "S10/0", "T-A/0", "T-B/0"}));
    QCOMPARE(lines(g.rows()), QStringList({"S2/0", "S10/0", "T-A/0", "T-B/0", "Bus/0", "Mix/0", "Mix/0"}));
    QCOMPARE(g.rows().at(5).flowIp, ip("239.69.0.3"));
    g.toggleOwner(RouteGrid::Rows, "T-A");
    g.toggleOwner(RouteGrid::Columns, "S10");
    QCOMPARE(g.cellState(lines(g.rows()).indexOf("T-A/2"), lines(g.columns()).indexOf("S10/1")), 2);
}

void TestRouteGrid::noColumnWithoutReceiveNoRowWithoutTransmit()
{
    RouteGrid g;
    g.rebuild({device("AMP", "Amp", "10.0.0.1", 4, 0), device("MIC", "Mic", "10.0.0.2", 0, 2)}, {});
    QCOMPARE(lines(g.rows()), QStringList({"MIC/0"}));
    QCOMPARE(lines(g.columns()), QStringList({"AMP/0"}));
}

void TestRouteGrid::modelsHideChannels_data()
{
    QTest::addColumn<QString>("model");
    QTest::addColumn<int>("hidden");
    QTest::newRow("RK1536-") << "RK1536-3232" << 768;
    QTest::newRow("RK1024-") << "RK1024-1616" << 512;
    QTest::newRow("RK0256-") << "RK0256-0808" << 128;
    QTest::newRow("RK0128-") << "RK0128-1616" << 64;
    QTest::newRow("the family needs its dash") << "RK0128" << 0;
    QTest::newRow("other models") << "RK0808" << 0;
}

void TestRouteGrid::modelsHideChannels()
{
    QFETCH(QString, model);
    QFETCH(int, hidden);
    QCOMPARE(HiddenChannels::hiddenBy(model), hidden);
    const int count = 2 * hidden + 8;
    RouteGrid g;
    g.setExpanded(RouteGrid::Rows, "R", true);
    g.setExpanded(RouteGrid::Columns, "R", true);
    g.rebuild({device("R", "Rack", "10.0.0.1", count, count, qPrintable(model))}, {});
    QCOMPARE(g.rowCount(), 1 + count - hidden);
    QCOMPARE(g.columnCount(), 1 + count - hidden);
    HiddenChannels::setDisplayFlag(1);
    g.rebuild({device("R", "Rack", "10.0.0.1", count, count, qPrintable(model))}, {});
    QCOMPARE(g.rowCount(), 1 + count);
    QCOMPARE(g.columnCount(), 1 + count);
}

void TestRouteGrid::channelNames()
{
    Device a = device("A", "Alpha", "10.0.0.1", 3, 3);
    a.tables.names[DeviceTables::NameTx] = {"Vox", "", "Bass"};
    a.tables.names[DeviceTables::NameRx] = {"Mon L"};
    McastTxItem sent;
    sent.dstIp = ip("239.69.0.1");
    sent.srcChIds = {2, 0};
    a.tables.mcastTx = {sent};
    RouteGrid g;
    for (const char *owner : {"A", "Stage"})
        g.setExpanded(RouteGrid::Rows, owner, true);
    g.setExpanded(RouteGrid::Columns, "A", true);
    g.rebuild({a}, {flow("Stage", "10.0.0.1", "239.69.0.1", 2)});
    QCOMPARE(g.rows().at(1).channelName, QStringLiteral("Vox"));
    QCOMPARE(g.rows().at(2).channelName, QStringLiteral("2")); // not told: the number
    QCOMPARE(g.rows().at(3).channelName, QStringLiteral("Bass"));
    QCOMPARE(g.rows().at(1).headerText(), QStringLiteral("1  Vox"));
    QCOMPARE(g.rows().at(2).headerText(), QStringLiteral("2"));
    // A flow's channels are named after the creator's channels they carry.
    QCOMPARE(g.rows().at(5).channelName, QStringLiteral("Bass"));
    QCOMPARE(g.rows().at(6).channelName, QStringLiteral("Vox"));
    QCOMPARE(g.columns().at(1).channelName, QStringLiteral("Mon L"));
    QCOMPARE(g.columns().at(2).channelName, QStringLiteral("2"));
}

void TestRouteGrid::unicastAndMulticastStates()
{
    Device tx = device("TX", "Stage Box", "10.0.0.1", 0, 4);
    Device rx = device("RX", "Console", "10.0.0.2", 4, 0);
    routeUcast(rx, 2, tx, 3);
    routeMcast(rx, 4, "10.0.0.1", "239.69.0.1", 2);
    RouteGrid g;
    for (const char *owner : {"TX", "Stage"})
        g.setExpanded(RouteGrid::Rows, owner, true);
    g.setExpanded(RouteGrid::Columns, "RX", true);
    g.rebuild({tx, rx}, {flow("Stage", "10.0.0.1", "239.69.0.1", 2)});
    // rows: TX/0 TX/1..4 Stage/0 Stage/1 Stage/2; columns: RX/0 RX/1..4
    QCOMPARE(g.cellState(3, 2), 2);
    QCOMPARE(g.cellState(7, 4), 2);
    QCOMPARE(g.routedRowOf(1), -1);
    int routed = 0;
    for (int r = 0; r < g.rowCount(); ++r)
        for (int c = 0; c < g.columnCount(); ++c)
            routed += g.cellState(r, c) == 2;
    QCOMPARE(routed, 2);
    QVERIFY(g.pairRouted(0, 0));
    QVERIFY(g.pairRouted(5, 0));
    QVERIFY(g.pairRouted("Stage", "RX"));
}

void TestRouteGrid::foldedPairsShowTheirRoutes()
{
    // The page test shows the picture of a folded routed pair; here its edges.
    Device tx = device("TX", "Stage Box", "10.0.0.1", 2, 2);
    Device rx = device("RX", "Console", "10.0.0.2", 2, 2);
    routeUcast(rx, 1, tx, 1);
    RouteGrid g;
    g.rebuild({tx, rx}, {});
    // By name: Console's row and column come first.
    QVERIFY(g.pairRouted(1, 0) && !g.pairRouted(1, 1) && !g.pairRouted(0, 0));
    g.toggleOwner(RouteGrid::Rows, "TX");
    QVERIFY(!g.pairExpanded(1, 0)); // the receiver is still folded: the route stays hidden
}

void TestRouteGrid::unannouncedFlowGetsAnAddressRow()
{
    Device rx = device("RX", "Console", "10.0.0.2", 4, 0);
    routeMcast(rx, 3, "10.0.0.9", "239.69.7.7", 3);
    McastRxItem sub;
    sub.dstIp = ip("239.69.7.7");
    sub.chNum = 4;
    rx.tables.mcastRx = {sub};
    RouteGrid g;
    g.setExpanded(RouteGrid::Rows, "239.69.7.7", true);
    g.setExpanded(RouteGrid::Columns, "RX", true);
    g.rebuild({rx, device("TX", "Box", "10.0.0.1", 0, 2)}, {flow("Stage", "10.0.0.1", "239.69.0.1", 2)});
    QCOMPARE(lines(g.rows()), QStringList({"TX/0", "Stage/0", "239.69.7.7/0", "239.69.7.7/1", "239.69.7.7/2",
                                           "239.69.7.7/3", "239.69.7.7/4"}));
    const AxisItem &owner = g.rows().at(2);
    QVERIFY(owner.isMcastFlow);
    QVERIFY(!owner.flowAnnounced);
    QCOMPARE(owner.ownerName, QStringLiteral("239.69.7.7"));
    QCOMPARE(g.cellState(5, 3), 2);
    QVERIFY(g.pairRouted(2, 0));
}

void TestRouteGrid::tileBands_data()
{
    QTest::addColumn<int>("rows");
    QTest::addColumn<int>("columns");
    QTest::addColumn<int>("rowTile");
    QTest::addColumn<int>("colTile");
    QTest::addColumn<QVector<int>>("band"); // first row, last row, first column, last column
    QTest::newRow("59 x 99: whole") << 59 << 99 << 3 << 3 << QVector<int>{0, 58, 0, 98};
    QTest::newRow("60 x 100: one band") << 60 << 100 << 0 << 0 << QVector<int>{0, 59, 0, 99};
    QTest::newRow("200 x 300 at 2, 5") << 200 << 300 << 2 << 5 << QVector<int>{20, 79, 50, 149};
    QTest::newRow("the end cuts the band") << 65 << 100 << 1 << 0 << QVector<int>{10, 64, 0, 99};
    QTest::newRow("empty") << 0 << 0 << 0 << 0 << QVector<int>{0, -1, 0, -1};
}

void TestRouteGrid::tileBands()
{
    QFETCH(int, rows);
    QFETCH(int, columns);
    QFETCH(int, rowTile);
    QFETCH(int, colTile);
    QFETCH(QVector<int>, band);
    const TileBand b = TileBand::compute(rows, columns, rowTile, colTile);
    QCOMPARE((QVector<int>{b.firstRow, b.lastRow, b.firstColumn, b.lastColumn}), band);
    // A view taller than the band widens it from the same origin.
    const TileBand tall = TileBand::compute(rows, columns, rowTile, colTile, 75, 0);
    QCOMPARE(tall.firstRow, b.firstRow);
    QVERIFY(tall.lastRow >= qMin(rows - 1, tall.firstRow + 9 + 75));
    QCOMPARE(TileBand::tileOf(rowTile * 10 + 7), rowTile);
}

void TestRouteGrid::cellsAndToolTips()
{
    Device a = device("A", "Alpha", "10.0.0.1", 2, 2);
    a.tables.names[DeviceTables::NameTx] = {"Vox", "Gtr"};
    RouteGrid g;
    g.setExpanded(RouteGrid::Rows, "A", true);
    g.rebuild({a}, {});
    int r = -1;
    int c = -1;
    QVERIFY(g.cellAt(15, 47, 16, &r, &c));
    QCOMPARE(r, 2);
    QCOMPARE(c, 0);
    QVERIFY(!g.cellAt(5, 48, 16, &r, &c));  // below the last row
    QVERIFY(!g.cellAt(16, 5, 16, &r, &c));  // right of the last column
    QVERIFY(!g.cellAt(-1, 5, 16, &r, &c));
    QCOMPARE(g.toolTip(2, 0), QStringLiteral("Alpha:Gtr -> Alpha:Alpha"));
    QCOMPARE(g.toolTip(9, 0), QString());
}

void TestRouteGrid::searchRule_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QStringList>("found"); // owner/channel, best first
    QTest::newRow("exact name, case aside") << " alpha:right " << QStringList{"A/2"};
    QTest::newRow("exact before contained") << "Beta" << QStringList{"B/0", "B/1", "B/2"};
    QTest::newRow("contained, in axis order") << "Left" << QStringList{"A/1", "B/1"};
    QTest::newRow("channel number") << "beta:2" << QStringList{"B/2"};
    QTest::newRow("no match") << "Gamma" << QStringList{};
    QTest::newRow("blank") << "  " << QStringList{};
}

void TestRouteGrid::searchRule()
{
    QFETCH(QString, text);
    Device a = device("A", "Alpha", "10.0.0.1", 2, 2);
    a.tables.names[DeviceTables::NameRx] = {"Left", "Right"};
    Device b = device("B", "Beta", "10.0.0.2", 2, 0);
    b.tables.names[DeviceTables::NameRx] = {"Left"};
    RouteGrid g;
    g.rebuild({a, b}, {});
    // Folded owners are searched too.
    const QVector<RouteGrid::SearchEntry> entries = g.searchEntries(RouteGrid::Columns);
    QStringList found;
    for (int i : RouteGrid::matchingEntries(entries, text))
        found.append(entries.at(i).ownerId + QLatin1Char('/') + QString::number(entries.at(i).channel));
    QTEST(found, "found");
}

void TestRouteGrid::clickContextFromTheRegistry()
{
    // The page test clicks device rows; here a flow nobody announces, known
    // only from a receiver's route, and the firmware from the interface store.
    DevManager reg;
    const QByteArray a = Packets::announcement("RX", "10.0.0.2", {{"chNumRx", "2"}, {"chNumTx", "0"}});
    reg.intakeAnnouncement(a.constData(), a.size(), ip("10.0.0.2"), 9996);
    auto page = [](const char *op, const QJsonArray &arr) {
        return QJsonObject{{"ops", op}, {"devId", "RX"}, {"result", "succ"}, {"idStart", "0"}, {"idNext", 1},
                           {"arr", arr}};
    };
    reg.intakeReply(page("getAllRxCh", {QJsonObject{{"id", "0"}, {"rtpChId", "0"}}}), ip("10.0.0.2"));
    reg.intakeReply(page("getAllRtpCh", {QJsonObject{{"id", "0"}, {"srcDevId", ""}, {"name", "239.69.9.9"},
                                                     {"srcChId", "0"}, {"srcIp", "10.0.0.7"},
                                                     {"dstIp", "239.69.9.9"}, {"dstPort", "5004"}}}),
                    ip("10.0.0.2"));
    RouteGrid g;
    g.setExpanded(RouteGrid::Rows, "239.69.9.9", true);
    g.setExpanded(RouteGrid::Columns, "RX", true);
    g.rebuild(reg.devices(), reg.flows());
    const int flowRow = g.findLine(RouteGrid::Rows, "239.69.9.9", 1);
    const int rxCol = g.findLine(RouteGrid::Columns, "RX", 1);
    QCOMPARE(g.cellState(flowRow, rxCol), 2);
    RouteContext ctx = routeClickContext(g, flowRow, rxCol, reg, nullptr);
    QVERIFY(ctx.rowIsFlow && ctx.flow);
    QCOMPARE(ctx.flow->dstIp, ip("239.69.9.9"));
    ctx.rxFirmware = QStringLiteral("3.1.4.6");
    QCOMPARE(planRouteClick(ctx).command, (QJsonObject{{"ops", "clrRxCh"}, {"devId", "RX"}, {"dstChId", "0"}}));

    DeviceUiStore ui;
    ui.slot_message(R"({"ops":"getVersion","devId":"RX","result":"succ","version":"3.2.0"})");
    QCOMPARE(routeClickContext(g, flowRow, rxCol, reg, &ui).rxFirmware, QStringLiteral("3.2.0"));
}

QTEST_GUILESS_MAIN(TestRouteGrid)
#include "tst_routegrid.moc"
