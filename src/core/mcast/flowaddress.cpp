#include "core/mcast/flowaddress.h"

#include "core/app/texts.h"
#include "core/protocol/ipv4.h"

namespace FlowAddress {

QString reserved(quint32 group)
{
    const QString text = Ipv4::toText(group);
    if ((group & 0xffffff00u) == 0xe0000000u)
        return tx(Tx::FlowReservedLocal).arg(text);
    if (group >= 0xe0000181u && group <= 0xe0000184u)
        return tx(Tx::FlowReservedPtp).arg(text);
    if (group == 0xefffffffu)
        return tx(Tx::FlowReservedSap).arg(text);
    if (group == 0xef0000bcu || group == 0xef0000bdu)
        return tx(Tx::FlowReservedDevices).arg(text);
    return QString();
}

QString conflict(quint32 group, const QVector<FlowRecord> &knownFlows)
{
    const QString why = reserved(group);
    if (!why.isEmpty())
        return why;
    for (const FlowRecord &f : knownFlows)
        if (f.dstIp == group)
            return tx(Tx::FlowAddressInUse).arg(Ipv4::toText(group), f.name);
    return QString();
}

} // namespace FlowAddress
