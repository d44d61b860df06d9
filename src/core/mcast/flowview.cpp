#include "core/mcast/flowview.h"

#include "core/devices/deviceorder.h"
#include "core/protocol/ipv4.h"
#include "core/routing/hiddenchannels.h"

#include <algorithm>

namespace {

QString addressPort(quint32 ip, quint16 port)
{
    return Ipv4::toText(ip) + QLatin1Char(':') + QString::number(port);
}

// A channel without a name is shown by its number, as the routing grid does.
QString txChannelLabel(const Device &dev, int ch)
{
    const QString name = dev.channelName(DeviceTables::NameTx, ch);
    return name.isEmpty() ? QString::number(ch + 1) : name;
}

QStringList labels(const Device &dev, const QVector<qint32> &channels)
{
    QStringList out;
    for (qint32 ch : channels)
        out.append(txChannelLabel(dev, ch));
    return out;
}

} // namespace

namespace FlowView {

Details details(const FlowRecord &flow, const QVector<Device> &devices)
{
    Details d;
    d.name = flow.name;
    d.devIp = Ipv4::toText(flow.srcIp);
    d.addressPort = addressPort(flow.dstIp, flow.dstPort);
    for (const Device &dev : devices) {
        if (dev.rec.ip != flow.srcIp)
            continue;
        d.devId = dev.devId();
        d.devName = dev.rec.name.str();
        for (const McastTxItem &t : dev.tables.mcastTx)
            if (t.dstIp == flow.dstIp)
                d.channels = labels(dev, t.srcChIds);
        break;
    }
    // Without the creator's table the channels are still counted.
    for (int ch = d.channels.size(); ch < flow.chNum; ++ch)
        d.channels.append(QString::number(ch + 1));
    for (const Device &dev : devices) {
        bool subscribed = false;
        for (int ch = 0; ch < dev.tables.rxCh.size() && !subscribed; ++ch) {
            const RtpChItem *route = dev.routeOf(ch);
            subscribed = route && route->isMulticast() && route->dstIp == flow.dstIp;
        }
        if (subscribed)
            d.subscribers.append(QStringLiteral("%1 (%2)").arg(dev.rec.name.str(), Ipv4::toText(dev.rec.ip)));
    }
    std::sort(d.subscribers.begin(), d.subscribers.end(),
              [](const QString &a, const QString &b) { return QString::localeAwareCompare(a, b) < 0; });
    return d;
}

Details txDetails(const Device &dev, quint32 dstIp)
{
    for (const McastTxItem &t : dev.tables.mcastTx) {
        if (t.dstIp != dstIp || dstIp == 0)
            continue;
        FlowRecord flow;
        flow.name = t.name;
        flow.srcIp = dev.rec.ip;
        flow.dstIp = t.dstIp;
        flow.dstPort = t.dstPort;
        flow.chNum = quint8(qBound(0, t.chNum, 255));
        return details(flow, {dev});
    }
    return {};
}

QVector<TxRow> transmitFlows(const Device &dev)
{
    QVector<TxRow> rows;
    QVector<const McastTxItem *> flows;
    for (const McastTxItem &t : dev.tables.mcastTx)
        if (t.dstIp != 0)
            flows.append(&t);
    // By name, then group, as flows are listed everywhere.
    std::sort(flows.begin(), flows.end(), [](const McastTxItem *a, const McastTxItem *b) {
        const int c = DeviceOrder::compareNames(a->name, b->name);
        return c != 0 ? c < 0 : a->dstIp < b->dstIp;
    });
    for (const McastTxItem *f : qAsConst(flows)) {
        const McastTxItem &t = *f;
        rows.append(TxRow{t.name, Ipv4::toText(t.dstIp), addressPort(t.dstIp, t.dstPort), labels(dev, t.srcChIds)});
    }
    return rows;
}

QStringList channelItems(const Device &dev)
{
    QStringList items;
    const int shown = HiddenChannels::shownCount(dev.rec.model.str(), dev.rec.chNumTx);
    for (int ch = 0; ch < shown; ++ch)
        items.append(txChannelLabel(dev, ch) + QLatin1Char(':') + QString::number(ch));
    return items;
}

bool canTransmit(const Device &dev)
{
    return HiddenChannels::shownCount(dev.rec.model.str(), dev.rec.chNumTx) > 0;
}

} // namespace FlowView
