#include "core/monitor/netstaterow.h"

#include "core/monitor/debuginfo.h"
#include "core/monitor/devicehealth.h"
#include "core/monitor/netstatsdisplay.h"
#include "core/monitor/tarnampinfo.h"
#include "core/devices/devicerecord.h"
#include "core/devices/deviceorder.h"

#include <algorithm>

NetStateRow NetStateRow::of(const Device &d, const DebugInfo *debug, const TarnAmpInfo *amp, bool unreachable)
{
    NetStateRow row;
    row.devId = d.rec.devId.str();
    row.name = d.rec.name.str();
    row.model = d.rec.model.str();
    row.sampleRate = NetStatsDisplay::sampleRate(d.rec);
    row.packetTime = NetStatsDisplay::duration(NetStatsDisplay::packetTimeUs(d.rec));
    row.delay = NetStatsDisplay::delay(d.rec);
    row.receiveMbps = NetStatsDisplay::receiveMbps(d);
    row.sendMbps = NetStatsDisplay::sendMbps(d);
    row.bandwidth = NetStatsDisplay::bandwidthText(row.receiveMbps, row.sendMbps);
    row.tenths = DeviceHealth::kNoTemperature;
    if (debug) {
        int tenths = 0;
        if (NetStatsDisplay::temperatureTenths(debug->temp, &tenths)) {
            row.tenths = tenths;
            row.temperature = NetStatsDisplay::temperatureText(tenths);
        }
        row.uptime = NetStatsDisplay::runningTime(debug->uptime);
    }
    if (amp)
        row.amplifier = amp->summary();
    const QString who = row.name.isEmpty() ? row.devId : row.name;
    row.problem = DeviceHealth::problem(who, unreachable, amp ? amp->protect : QString(), row.tenths);
    return row;
}

void NetStateRow::sort(QVector<NetStateRow> &rows, SortOrder order)
{
    std::sort(rows.begin(), rows.end(), [order](const NetStateRow &a, const NetStateRow &b) {
        if (order != Default) {
            const bool aKnown = a.tenths != DeviceHealth::kNoTemperature;
            const bool bKnown = b.tenths != DeviceHealth::kNoTemperature;
            if (aKnown != bKnown)
                return aKnown;
            if (a.tenths != b.tenths)
                return order == Ascending ? a.tenths < b.tenths : a.tenths > b.tenths;
        }
        return DeviceOrder::compare(a.name, a.devId, b.name, b.devId) < 0;
    });
}
