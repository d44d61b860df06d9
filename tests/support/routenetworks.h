#pragma once

#include "core/devices/devmanager.h"
#include "core/protocol/ipv4.h"
#include "core/routing/bulkroute.h"

#include "packets.h"

/// Hand-made networks for the route listings: devices as the registry holds
/// them once their tables are fetched, with named receive channels.
namespace RouteNetworks {

inline quint32 ip(const char *t)
{
    return Ipv4::fromText(QLatin1String(t));
}

inline Device device(const QString &devId, const QString &name, const char *address, QJsonObject overrides = {})
{
    overrides.insert("name", name);
    DevManager reg;
    const QByteArray a = Packets::announcement(devId, QLatin1String(address), overrides);
    reg.intakeAnnouncement(a.constData(), a.size(), ip(address), 9996);
    Device d = *reg.findByDevId(devId);
    d.tables.rxCh = QVector<qint32>(d.rec.chNumRx, -1);
    d.tables.ucastTx = QVector<UcastTxItem>(d.rec.ucastNumTx);
    for (int ch = 1; ch <= d.rec.chNumRx; ++ch)
        d.tables.names[DeviceTables::NameRx].append(QStringLiteral("In %1").arg(ch));
    return d;
}

/// A unicast route of rx's channel from src's transmit channel.
inline void route(Device &rx, int rxCh, const Device &src, int srcCh)
{
    RtpChItem item;
    item.srcDevId = src.devId();
    item.name = src.rec.name.str();
    item.srcChId = srcCh - 1;
    item.srcIp = src.rec.ip;
    rx.tables.rxCh[rxCh - 1] = rx.tables.rtpCh.size();
    rx.tables.rtpCh.append(item);
}

} // namespace RouteNetworks
