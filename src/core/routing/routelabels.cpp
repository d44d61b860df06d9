#include "core/routing/routelabels.h"

#include "core/protocol/ipv4.h"

namespace {

const QString kSeparator = QStringLiteral(" · ");

QString nameAndChannel(const QString &name, const QString &channelName, int channel)
{
    return name + kSeparator + (channelName.isEmpty() ? QString::number(channel) : channelName);
}

QString idAndChannel(const QString &id, int channel)
{
    return id + QLatin1Char(':') + QString::number(channel);
}

const Device *creatorOf(const RouteNetwork &network, const FlowRecord &flow)
{
    for (const Device &d : network.devices())
        if (d.rec.ip == flow.srcIp)
            return &d;
    return nullptr;
}

} // namespace

QString flowChannelName(const Device &creator, const FlowRecord &flow, int channel)
{
    QString name;
    for (const McastTxItem &t : creator.tables.mcastTx)
        if (t.dstIp == flow.dstIp && channel >= 1 && channel - 1 < t.srcChIds.size())
            name = creator.channelName(DeviceTables::NameTx, t.srcChIds.at(channel - 1));
    return name;
}

QString routeSourceLabel(const RouteNetwork &network, const RouteSource &s)
{
    switch (s.kind) {
    case RouteSource::Unicast: {
        const Device *d = network.device(s.srcDevId);
        QString name = d ? d->rec.name.str() : QString();
        if (name.isEmpty())
            name = s.name;  // a device that has left keeps the name its route carried
        if (name.isEmpty())
            return idAndChannel(s.srcDevId, s.channel);
        return nameAndChannel(name, d ? d->channelName(DeviceTables::NameTx, s.channel - 1) : QString(), s.channel);
    }
    case RouteSource::Multicast: {
        const FlowRecord *f = network.flow(s.flowIp);
        if (!f || f->name.isEmpty())
            return nameAndChannel(Ipv4::toText(s.flowIp), QString(), s.channel);
        const Device *creator = creatorOf(network, *f);
        return nameAndChannel(f->name, creator ? flowChannelName(*creator, *f, s.channel) : QString(), s.channel);
    }
    case RouteSource::None:
        break;
    }
    return QStringLiteral("—");
}

QString receiveChannelLabel(const RouteNetwork &network, const QString &devId, int rxCh)
{
    const Device *d = network.device(devId);
    const QString name = d ? d->rec.name.str() : QString();
    if (name.isEmpty())
        return idAndChannel(devId, rxCh);
    return nameAndChannel(name, d->channelName(DeviceTables::NameRx, rxCh - 1), rxCh);
}

QString deviceLabel(const QString &name, const QString &devId)
{
    return name.isEmpty() || name == devId ? devId : QStringLiteral("%1 (%2)").arg(name, devId);
}
