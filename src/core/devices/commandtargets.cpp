#include "core/devices/commandtargets.h"

#include <algorithm>

QString CommandTargets::resolveDevice(const QVector<Device> &devices, const QString &idOrName)
{
    for (const Device &d : devices)
        if (d.devId() == idOrName)
            return idOrName;
    for (const Device &d : devices)
        if (d.rec.name.str() == idOrName)
            return d.devId();
    return QString();
}

bool CommandTargets::settled(const QVector<Device> &devices, qint64 quietMs)
{
    return !devices.isEmpty() && quietMs >= kQuietMs
           && std::all_of(devices.begin(), devices.end(), [](const Device &d) { return d.tablesComplete(); });
}

bool CommandTargets::known(const QVector<Device> &devs, const QVector<FlowRecord> &flowList) const
{
    for (const QString &d : devices)
        if (resolveDevice(devs, d).isEmpty())
            return false;
    for (const QString &name : flows)
        if (std::none_of(flowList.begin(), flowList.end(), [&](const FlowRecord &f) { return f.name == name; }))
            return false;
    for (const auto &sent : sentFlows) {
        const QString devId = resolveDevice(devs, sent.first);
        const auto dev = std::find_if(devs.begin(), devs.end(), [&](const Device &d) { return d.devId() == devId; });
        if (dev == devs.end()
            || std::none_of(dev->tables.mcastTx.begin(), dev->tables.mcastTx.end(),
                            [&](const McastTxItem &f) { return f.name == sent.second && f.dstIp != 0; }))
            return false;
    }
    return true;
}
