#include "core/routing/routelist.h"

QVector<RouteEntry> routesOf(const QVector<Device> &devices)
{
    QVector<RouteEntry> out;
    for (const Device &d : devices) {
        const int channels = qMin(d.rec.chNumRx, int(d.tables.rxCh.size()));
        for (int ch = 0; ch < channels; ++ch) {
            const RtpChItem *route = d.routeOf(ch);
            if (!route)
                continue;
            RouteEntry e;
            e.rxDevId = d.devId();
            e.rxCh = ch + 1;
            e.sourceName = route->name;
            if (route->isMulticast()) {
                e.multicast = true;
                e.flowDstIp = route->dstIp;
                e.flowCh = route->srcChId + 1;
            } else {
                e.srcDevId = route->srcDevId;
                e.srcCh = route->srcChId + 1;
            }
            out.append(e);
        }
    }
    return out;
}
