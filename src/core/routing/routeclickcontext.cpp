#include "core/routing/routeclickcontext.h"

#include "core/devices/devmanager.h"
#include "core/devices/deviceuistore.h"
#include "core/routing/routegrid.h"

namespace {

// Only what clearing the route needs: the receiver's entry says where the
// flow came from; the rest is taken from the receiver so no check refuses.
FlowRecord flowFromRoute(const Device &rx, int rxChannel, const QString &name)
{
    FlowRecord f;
    f.name = name;
    f.sampleRate = quint32(rx.rec.sampleRate);
    f.sampleByteNum = quint8(rx.rec.sampleByteNum);
    if (const RtpChItem *route = rx.routeOf(rxChannel - 1)) {
        f.srcIp = route->srcIp;
        f.dstIp = route->dstIp;
        f.dstPort = route->dstPort;
        for (const McastRxItem &sub : rx.tables.mcastRx)
            if (sub.dstIp == route->dstIp)
                f.chNum = quint8(sub.chNum);
    }
    return f;
}

} // namespace

RouteContext routeClickContext(const RouteGrid &grid, int row, int column, const DevManager &registry,
                               const DeviceUiStore *uiStore)
{
    RouteContext ctx;
    if (row < 0 || row >= grid.rowCount() || column < 0 || column >= grid.columnCount())
        return ctx;
    const AxisItem &r = grid.rows().at(row);
    const AxisItem &c = grid.columns().at(column);
    ctx.rowIsFlow = r.isMcastFlow;
    ctx.rowOwnerId = r.ownerId;
    ctx.rowChannel = r.channel;
    ctx.rxDevId = c.ownerId;
    ctx.rxChannel = c.channel;
    ctx.cellState = grid.cellState(row, column);
    ctx.rx = registry.findByDevId(c.ownerId);
    if (r.isMcastFlow) {
        ctx.flow = registry.findFlow(r.flowIp);
        if (!ctx.flow && ctx.cellState == 2 && ctx.rx)
            ctx.flow = flowFromRoute(*ctx.rx, c.channel, r.ownerId);
    } else {
        ctx.tx = registry.findByDevId(r.ownerId);
    }
    if (uiStore)
        ctx.rxFirmware = uiStore->get(c.ownerId).version;
    const DevManager *reg = &registry;
    ctx.findDevice = [reg](const QString &devId) { return reg->findByDevId(devId); };
    return ctx;
}
