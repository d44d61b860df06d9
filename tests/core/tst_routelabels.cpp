#include "core/routing/routelabels.h"

#include "../support/routenetworks.h"

#include <QtTest>

using namespace RouteNetworks;

class TestRouteLabels : public QObject
{
    Q_OBJECT
private slots:
    void sourcesReadByNameWithFallbacks();
};

void TestRouteLabels::sourcesReadByNameWithFallbacks()
{
    Device console = device("SIM-0003", "Console 64", "10.0.0.3");
    console.tables.names[DeviceTables::NameTx] = {"Mic 1", "", "Mic 3"};
    McastTxItem sent;
    sent.dstIp = ip("239.69.7.7");
    sent.srcChIds = {2, 1};
    console.tables.mcastTx = {sent};
    FlowRecord flow;
    flow.name = "Test Flow";
    flow.srcIp = console.rec.ip;
    flow.dstIp = sent.dstIp;
    const RouteNetwork net({console, device("SIM-0006", "", "10.0.0.6")}, {flow});

    QCOMPARE(routeSourceLabel(net, RouteSource::unicast("SIM-0003", 3)), QStringLiteral("Console 64 · Mic 3"));
    QCOMPARE(routeSourceLabel(net, RouteSource::unicast("SIM-0003", 2)), QStringLiteral("Console 64 · 2"));
    // Nobody has named it: the id and the number.
    QCOMPARE(routeSourceLabel(net, RouteSource::unicast("SIM-0006", 4)), QStringLiteral("SIM-0006:4"));
    QCOMPARE(routeSourceLabel(net, RouteSource::unicast("SIM-0042", 1)), QStringLiteral("SIM-0042:1"));
    // A device that has left keeps the name its route carried.
    RouteSource gone = RouteSource::unicast("SIM-0042", 1);
    gone.name = "Stage Box";
    QCOMPARE(routeSourceLabel(net, gone), QStringLiteral("Stage Box · 1"));
    // A flow's channel is named after the creator's channel it carries.
    QCOMPARE(routeSourceLabel(net, RouteSource::multicast(ip("239.69.7.7"), 1)), QStringLiteral("Test Flow · Mic 3"));
    QCOMPARE(routeSourceLabel(net, RouteSource::multicast(ip("239.69.7.7"), 2)), QStringLiteral("Test Flow · 2"));
    QCOMPARE(routeSourceLabel(net, RouteSource::multicast(ip("239.69.9.9"), 2)), QStringLiteral("239.69.9.9 · 2"));
    QCOMPARE(routeSourceLabel(net, RouteSource()), QStringLiteral("—"));

    QCOMPARE(receiveChannelLabel(net, "SIM-0003", 5), QStringLiteral("Console 64 · In 5"));
    QCOMPARE(receiveChannelLabel(net, "SIM-0006", 5), QStringLiteral("SIM-0006:5"));
    QCOMPARE(receiveChannelLabel(net, "SIM-0042", 5), QStringLiteral("SIM-0042:5"));
}

QTEST_GUILESS_MAIN(TestRouteLabels)
#include "tst_routelabels.moc"
