#include "core/routing/routeplan.h"

#include "core/app/texts.h"
#include "core/devices/devicemodels.h"
#include "core/protocol/ipv4.h"

namespace {

QString num(qint64 v)
{
    return QString::number(v);
}

void confirm(RoutePlan &p, const QString &text)
{
    p.steps.append({PlanStep::Confirm, text});
}

RoutePlan refuse(const QString &text)
{
    RoutePlan p;
    p.steps.append({PlanStep::Notice, text});
    return p;
}

// The question asked before a routed receive channel is given a new source.
void askReplacement(RoutePlan &p, const RouteContext &ctx)
{
    const RtpChItem *current = ctx.rx->routeOf(ctx.rxChannel - 1);
    if (!current)
        return;
    if (current->isMulticast()) {
        confirm(p, tx(Tx::RouteReplaceMcast));
        return;
    }
    QString deviceName = current->name;
    QString channel = QString::number(current->srcChId + 1);
    if (ctx.findDevice) {
        if (const auto src = ctx.findDevice(current->srcDevId)) {
            deviceName = src->rec.name.str();
            const QString named = src->channelName(DeviceTables::NameTx, current->srcChId);
            if (!named.isEmpty())
                channel = named;
        }
    }
    confirm(p, tx(Tx::RouteReplaceUcast).arg(deviceName + QLatin1Char(':') + channel));
}

QJsonObject clearCommand(const RouteContext &ctx)
{
    return QJsonObject{{QStringLiteral("ops"), QStringLiteral("clrRxCh")},
                       {QStringLiteral("devId"), ctx.rxDevId},
                       {QStringLiteral("dstChId"), num(ctx.rxChannel - 1)}};
}

RoutePlan finish(RoutePlan p, const RouteContext &ctx, const QJsonObject &command)
{
    p.command = command;
    p.markChecking = true;
    p.rxDevId = ctx.rxDevId;
    return p;
}

RoutePlan planFlowRow(const RouteContext &ctx)
{
    if (!ctx.flow || !ctx.rx)
        return RoutePlan();
    const FlowRecord &flow = *ctx.flow;
    const DevRecord &rx = ctx.rx->rec;
    const bool routed = ctx.cellState == 2;
    if (qint64(flow.sampleRate) != rx.sampleRate && !routed)
        return refuse(tx(Tx::RouteRateDiffers));
    if (flow.srcIp == rx.ip && !routed)
        return refuse(tx(Tx::RouteOwnFlow));
    RoutePlan p;
    if (ctx.cellState == 0) {
        const qint64 buffer = qint64(rx.delayUs / 1000) * (rx.sampleRate / 1000);
        if (4 * qint64(flow.pFrameNum) > buffer)
            confirm(p, tx(Tx::RoutePacketTime));
    }
    // Plain text comparison, as the receivers' versions have always been compared.
    if (ctx.rxFirmware < QLatin1String("3.1.4.6") && flow.dstPort != 5004) {
        p.steps.append({PlanStep::Notice, tx(Tx::RouteOldFirmwarePort)});
        return p;
    }
    if (DeviceModels::isVirtualSoundCard(rx.model.str())) {
        p.steps.append({PlanStep::Notice, tx(Tx::RouteVirtualCard)});
        return p;
    }
    if (routed)
        return finish(p, ctx, clearCommand(ctx));
    if (ctx.cellState > 2)
        return finish(p, ctx, QJsonObject());
    askReplacement(p, ctx);
    const QJsonObject sdp{{QStringLiteral("srcIp"), Ipv4::toText(flow.srcIp)},
                          {QStringLiteral("dstIp"), Ipv4::toText(flow.dstIp)},
                          {QStringLiteral("dstPort"), num(flow.dstPort)},
                          {QStringLiteral("chNum"), num(flow.chNum)},
                          {QStringLiteral("sampleByteNum"), num(flow.sampleByteNum)},
                          {QStringLiteral("rtpTsOffset"), num(flow.rtpTsOffset)}};
    return finish(p, ctx,
                  QJsonObject{{QStringLiteral("ops"), QStringLiteral("setMcastRx")},
                              {QStringLiteral("devId"), ctx.rxDevId},
                              {QStringLiteral("sdp"), sdp},
                              {QStringLiteral("srcChId"), num(ctx.rowChannel - 1)},
                              {QStringLiteral("dstChId"), num(ctx.rxChannel - 1)}});
}

RoutePlan planDeviceRow(const RouteContext &ctx)
{
    if (!ctx.tx || !ctx.rx)
        return RoutePlan();
    const DevRecord &txr = ctx.tx->rec;
    const DevRecord &rx = ctx.rx->rec;
    const bool routed = ctx.cellState == 2;
    if (txr.sampleRate != rx.sampleRate && !routed)
        return refuse(tx(Tx::RouteRateDiffers));
    RoutePlan p;
    if (!sameNetwork(txr.ip, rx.ip))
        confirm(p, tx(Tx::RouteNotSameNetwork));
    if (!streamSlotAvailable(*ctx.tx, rx.ip, ctx.rowChannel - 1))
        confirm(p, tx(Tx::RouteStreamLimit));
    if (routed)
        return finish(p, ctx, clearCommand(ctx));
    if (ctx.cellState > 2)
        return finish(p, ctx, QJsonObject());
    askReplacement(p, ctx);
    return finish(p, ctx,
                  QJsonObject{{QStringLiteral("ops"), QStringLiteral("setUcastRx")},
                              {QStringLiteral("devId"), ctx.rxDevId},
                              {QStringLiteral("srcDevId"), ctx.rowOwnerId},
                              {QStringLiteral("srcChId"), num(ctx.rowChannel - 1)},
                              {QStringLiteral("dstChId"), num(ctx.rxChannel - 1)}});
}

} // namespace

bool sameNetwork(quint32 txIp, quint32 rxIp)
{
    const quint32 first = txIp >> 24;
    quint32 mask = 0;
    if (first >= 1 && first <= 126)
        mask = 0xFF000000u;
    else if (first >= 128 && first <= 223)
        mask = 0xFFFF0000u; // class C too is compared on /16, on purpose
    else
        return false;
    return (txIp & mask) == (rxIp & mask);
}

bool streamSlotAvailable(const Device &tx, quint32 rxIp, int srcChIndex)
{
    const int streams = tx.rec.ucastNumTx;
    bool carried = false;
    for (int i = 0; i < streams && i < tx.tables.ucastTx.size(); ++i) {
        const UcastTxItem &s = tx.tables.ucastTx.at(i);
        if (s.dstIp == 0)
            return true;
        if (s.dstIp != rxIp)
            continue;
        int used = 0;
        for (quint32 ch : s.srcChIds) {
            if (ch != UcastTxItem::kEmptyPlace)
                ++used;
            if (ch == quint32(srcChIndex)) {
                carried = true;
                break;
            }
        }
        // Compared with the number of streams, not a per-stream channel limit:
        // the devices have always been asked so.
        if (used < streams)
            return true;
    }
    return carried;
}

RoutePlan planRouteClick(const RouteContext &ctx)
{
    if (ctx.rowChannel == 0 || ctx.rxChannel == 0)
        return RoutePlan();
    return ctx.rowIsFlow ? planFlowRow(ctx) : planDeviceRow(ctx);
}
