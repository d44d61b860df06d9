#include "core/routing/bulkroute.h"

#include "core/app/texts.h"
#include "core/devices/devmanager.h"
#include "core/protocol/ipv4.h"

RouteSource RouteSource::of(const RtpChItem *route)
{
    RouteSource s;
    if (!route)
        return s;
    s.name = route->name;
    s.channel = route->srcChId + 1;
    if (route->isMulticast()) {
        s.kind = Multicast;
        s.flowIp = route->dstIp;
    } else {
        s.kind = Unicast;
        s.srcDevId = route->srcDevId;
    }
    return s;
}

RouteSource RouteSource::unicast(const QString &devId, int channel)
{
    RouteSource s;
    s.kind = Unicast;
    s.srcDevId = devId;
    s.channel = channel;
    return s;
}

RouteSource RouteSource::multicast(quint32 group, int channel)
{
    RouteSource s;
    s.kind = Multicast;
    s.flowIp = group;
    s.channel = channel;
    return s;
}

bool RouteSource::operator==(const RouteSource &o) const
{
    if (kind != o.kind)
        return false;
    switch (kind) {
    case None:
        return true;
    case Unicast:
        return srcDevId == o.srcDevId && channel == o.channel;
    case Multicast:
        return flowIp == o.flowIp && channel == o.channel;
    }
    return false;
}

QString RouteSource::text() const
{
    switch (kind) {
    case Unicast:
        return srcDevId + QLatin1Char(':') + QString::number(channel);
    case Multicast:
        return QStringLiteral("flow ") + Ipv4::toText(flowIp) + QLatin1Char(':') + QString::number(channel);
    case None:
        break;
    }
    return QStringLiteral("-");
}

RouteChange inverse(const RouteChange &change)
{
    RouteChange back = change;
    back.before = change.after;
    back.after = change.before;
    return back;
}

RouteNetwork::RouteNetwork(const QVector<Device> &devices, const QVector<FlowRecord> &flows)
    : m_devices(devices)
{
    m_byId.reserve(devices.size());
    for (int i = 0; i < m_devices.size(); ++i)
        m_byId.insert(m_devices.at(i).devId(), i);
    for (const FlowRecord &f : flows)
        m_flows.insert(f.dstIp, f);
}

RouteNetwork RouteNetwork::of(const DevManager &registry)
{
    return RouteNetwork(registry.devices(), registry.flows());
}

const Device *RouteNetwork::device(const QString &devId) const
{
    const auto it = m_byId.constFind(devId);
    return it == m_byId.constEnd() ? nullptr : &m_devices.at(*it);
}

const FlowRecord *RouteNetwork::flow(quint32 group) const
{
    const auto it = m_flows.constFind(group);
    return it == m_flows.constEnd() ? nullptr : &*it;
}

QString RouteNetwork::deviceName(const QString &devId) const
{
    const Device *d = device(devId);
    return d && !d->rec.name.isEmpty() ? d->rec.name.str() : devId;
}

QString RouteNetwork::flowName(quint32 group) const
{
    const FlowRecord *f = flow(group);
    return f && !f->name.isEmpty() ? f->name : Ipv4::toText(group);
}

RouteSource RouteNetwork::routeOf(const QString &rxDevId, int rxCh) const
{
    const Device *rx = device(rxDevId);
    return rx ? RouteSource::of(rx->routeOf(rxCh - 1)) : RouteSource();
}

namespace {

// Enough of a flow that is no longer announced to clear a route to it: the
// rest is the receiver's, so no check of the clear refuses it.
FlowRecord flowFromRoute(const Device &rx, const RtpChItem &route)
{
    FlowRecord f;
    f.name = route.name;
    f.srcIp = route.srcIp;
    f.dstIp = route.dstIp;
    f.dstPort = route.dstPort;
    f.sampleRate = quint32(rx.rec.sampleRate);
    f.sampleByteNum = quint8(rx.rec.sampleByteNum);
    return f;
}

RoutePlan refusal(const QString &text)
{
    RoutePlan p;
    p.steps.append({PlanStep::Notice, text});
    return p;
}

} // namespace

RouteChange clickChange(const RouteContext &ctx)
{
    RouteChange change;
    change.rxDevId = ctx.rxDevId;
    change.rxCh = ctx.rxChannel;
    if (ctx.rx)
        change.before = RouteSource::of(ctx.rx->routeOf(ctx.rxChannel - 1));
    if (ctx.cellState == 2)
        return change;
    if (!ctx.rowIsFlow)
        change.after = RouteSource::unicast(ctx.rowOwnerId, ctx.rowChannel);
    else if (ctx.flow)
        change.after = RouteSource::multicast(ctx.flow->dstIp, ctx.rowChannel);
    return change;
}

RoutePlan planRouteChange(const RouteNetwork &network, const RouteChange &change)
{
    const Device *rx = network.device(change.rxDevId);
    if (!rx)
        return refusal(tx(Tx::BulkDeviceGone).arg(change.rxDevId));
    if (change.rxCh < 1 || change.rxCh > rx->rec.chNumRx)
        return refusal(tx(Tx::BulkNoRxChannel).arg(network.deviceName(change.rxDevId)).arg(change.rxCh));

    RouteContext ctx;
    ctx.rxDevId = change.rxDevId;
    ctx.rxChannel = change.rxCh;
    ctx.rx = *rx;
    ctx.rxFirmware = network.firmware.value(change.rxDevId);
    ctx.findDevice = [&network](const QString &devId) -> std::optional<Device> {
        if (const Device *d = network.device(devId))
            return *d;
        return std::nullopt;
    };

    const RouteSource &to = change.after;
    if (to.isNone()) {
        const RtpChItem *current = rx->routeOf(change.rxCh - 1);
        if (!current)
            return RoutePlan();
        ctx.cellState = 2;
        ctx.rowChannel = current->srcChId + 1;
        if (current->isMulticast()) {
            ctx.rowIsFlow = true;
            const FlowRecord *f = network.flow(current->dstIp);
            ctx.flow = f ? *f : flowFromRoute(*rx, *current);
            ctx.rowOwnerId = ctx.flow->name;
        } else {
            ctx.rowOwnerId = current->srcDevId;
            const Device *txd = network.device(current->srcDevId);
            if (!txd) {
                // A transmitter that has left: clearing needs nothing from it.
                RoutePlan p;
                p.command = QJsonObject{{QStringLiteral("ops"), QStringLiteral("clrRxCh")},
                                        {QStringLiteral("devId"), change.rxDevId},
                                        {QStringLiteral("dstChId"), QString::number(change.rxCh - 1)}};
                p.markChecking = true;
                p.rxDevId = change.rxDevId;
                return p;
            }
            ctx.tx = *txd;
        }
        return planRouteClick(ctx);
    }

    ctx.cellState = 0;
    ctx.rowChannel = to.channel;
    if (to.kind == RouteSource::Unicast) {
        const Device *txd = network.device(to.srcDevId);
        if (!txd)
            return refusal(tx(Tx::BulkDeviceGone).arg(to.srcDevId));
        if (to.channel < 1 || to.channel > txd->rec.chNumTx)
            return refusal(tx(Tx::BulkNoTxChannel).arg(network.deviceName(to.srcDevId)).arg(to.channel));
        ctx.rowOwnerId = to.srcDevId;
        ctx.tx = *txd;
    } else {
        const FlowRecord *f = network.flow(to.flowIp);
        if (!f)
            return refusal(tx(Tx::BulkFlowGone).arg(to.name.isEmpty() ? Ipv4::toText(to.flowIp) : to.name));
        if (to.channel < 1 || to.channel > f->chNum)
            return refusal(tx(Tx::BulkNoFlowChannel).arg(f->name).arg(to.channel));
        ctx.rowIsFlow = true;
        ctx.rowOwnerId = f->name;
        ctx.flow = *f;
    }
    return planRouteClick(ctx);
}

void RouteBatch::add(const RouteNetwork &network, RouteChange change)
{
    change.before = network.routeOf(change.rxDevId, change.rxCh);
    if (change.before == change.after) {
        unchanged.append(change);
        return;
    }
    RoutePlan plan = planRouteChange(network, change);
    if (plan.refused()) {
        refused.append({change, plan.steps.last().text});
        return;
    }
    if (plan.command.isEmpty()) {
        unchanged.append(change);
        return;
    }
    changes.append({change, plan});
}

QStringList RouteBatch::questions() const
{
    QStringList out;
    for (const PlannedRoute &r : changes)
        for (const PlanStep &s : r.plan.steps)
            if (s.kind == PlanStep::Confirm && !out.contains(s.text))
                out.append(s.text);
    return out;
}

QVector<RouteChange> RouteBatch::inverses() const
{
    QVector<RouteChange> out;
    out.reserve(changes.size());
    for (auto it = changes.crbegin(); it != changes.crend(); ++it)
        out.append(inverse(it->change));
    return out;
}

RouteBatch BulkRoute::plan(const RouteNetwork &network, const Request &request, QString *error)
{
    RouteBatch batch;
    const bool fromFlow = request.flowIp != 0;
    const FlowRecord *flow = fromFlow ? network.flow(request.flowIp) : nullptr;
    const Device *src = fromFlow ? nullptr : network.device(request.srcDevId);
    const Device *dst = network.device(request.dstDevId);
    if (fromFlow && !flow) {
        *error = tx(Tx::BulkFlowGone).arg(Ipv4::toText(request.flowIp));
        return batch;
    }
    if ((!fromFlow && !src) || !dst) {
        *error = tx(Tx::BulkDeviceGone).arg(dst ? request.srcDevId : request.dstDevId);
        return batch;
    }
    if (!fromFlow && request.srcDevId == request.dstDevId) {
        *error = tx(Tx::BulkSameDevice);
        return batch;
    }
    const int txCount = fromFlow ? int(flow->chNum) : src->rec.chNumTx;
    const int rxCount = dst->rec.chNumRx;
    const int first = request.from;
    const int dstFirst = request.dstFrom > 0 ? request.dstFrom : first;
    const int count = request.count > 0 ? request.count : qMin(txCount - first, rxCount - dstFirst) + 1;
    const int last = first + count - 1;
    const int dstLast = dstFirst + count - 1;
    if (first < 1 || dstFirst < 1 || count < 1 || last > txCount || dstLast > rxCount) {
        if (dstFirst == first)
            *error = tx(Tx::BulkBadRange).arg(first).arg(qMax(last, first)).arg(txCount).arg(rxCount);
        else
            *error = tx(Tx::BulkBadShiftedRange).arg(first).arg(qMax(last, first)).arg(dstFirst)
                         .arg(qMax(dstLast, dstFirst)).arg(txCount).arg(rxCount);
        return batch;
    }
    for (int k = 0; k < count; ++k) {
        RouteChange c;
        c.rxDevId = request.dstDevId;
        c.rxCh = dstFirst + k;
        c.after = fromFlow ? RouteSource::multicast(request.flowIp, first + k)
                           : RouteSource::unicast(request.srcDevId, first + k);
        c.after.name = fromFlow ? flow->name : src->rec.name.str();
        batch.add(network, c);
    }
    return batch;
}
