#include "simrouting.h"

#include "simdevice.h"
#include "simflows.h"
#include "simlevels.h"
#include "simnetwork.h"
#include "simports.h"
#include "simrequest.h"
#include "simsettings.h"
#include "simtext.h"

using SimRequest::readInt;
using SimRequest::readText;
using SimText::badParam;
using SimText::dotted;
using SimText::noFreeSdpId;
using SimText::num;
using SimText::textArray;

namespace {

const char *const emptyPlace = "4294967295";

} // namespace

SimRouting::SimRouting(SimDevice &device, const SimDeviceProfile &profile)
    : m_device(device)
    , m_active(size_t(profile.ucastNumRx + profile.mcastNumRx), false)
    , m_rxRoute(profile.chNumRx, -1)
    , m_rtp(profile.chNumRx)
    , m_ucastRx(profile.ucastNumRx)
    , m_ucastTx(profile.ucastNumTx)
    , m_mcastRx(profile.mcastNumRx)
{}

// ---------------------------------------------------------------- activity

bool SimRouting::ucastRxActive(int k) const
{
    if (k < 0 || k >= m_ucastRx.size())
        return false;
    const UcastRx &u = m_ucastRx.at(k);
    if (u.rtp.isEmpty() || !m_device.isUp())
        return false;
    const SimDevice *tx = m_device.network()->deviceById(u.srcDevId);
    return tx && tx->isUp() && tx->sampleRate() == m_device.sampleRate();
}

bool SimRouting::mcastRxActive(int k) const
{
    if (k < 0 || k >= m_mcastRx.size())
        return false;
    const McastRx &m = m_mcastRx.at(k);
    if (!m.dstIp || !m_device.isUp())
        return false;
    int slot = -1;
    const SimDevice *tx = m_device.network()->flowOwner(m.dstIp, &slot);
    return tx && tx->isUp() && tx->sampleRate() == m_device.sampleRate() && tx->flows().port(slot) == m.dstPort;
}

bool SimRouting::routeActive(int ch) const
{
    const RouteEntry &e = m_rtp.value(ch);
    if (e.kind == RouteEntry::Unicast)
        return ucastRxActive(e.stream);
    if (e.kind == RouteEntry::Multicast)
        return mcastRxActive(e.stream);
    return false;
}

bool SimRouting::activityChanged()
{
    bool changed = false;
    const int ucast = m_ucastRx.size();
    for (int k = 0; k < int(m_active.size()); ++k) {
        const bool now = k < ucast ? ucastRxActive(k) : mcastRxActive(k - ucast);
        changed = changed || now != m_active[size_t(k)];
        m_active[size_t(k)] = now;
    }
    return changed;
}

bool SimRouting::source(int ch, const SimDevice **tx, int *txChannel) const
{
    if (!routeActive(ch))
        return false;
    const RouteEntry &e = m_rtp[ch];
    if (e.kind == RouteEntry::Unicast) {
        *tx = m_device.network()->deviceById(m_ucastRx[e.stream].srcDevId);
        *txChannel = e.srcChId;
        return true;
    }
    int slot = -1;
    *tx = m_device.network()->flowOwner(m_mcastRx[e.stream].dstIp, &slot);
    *txChannel = *tx ? (*tx)->flows().channel(slot, e.srcChId) : -1;
    return true;
}

// ---------------------------------------------------------------- tables

bool SimRouting::page(const QString &ops, int *size, std::function<QJsonValue(int)> *item) const
{
    const SimNetwork *net = m_device.network();
    if (ops == QLatin1String("getAllRxCh")) {
        *size = m_rxRoute.size();
        *item = [this](int i) {
            return QJsonObject{{QStringLiteral("id"), num(i)}, {QStringLiteral("rtpChId"), num(m_rxRoute[i])}};
        };
    } else if (ops == QLatin1String("getAllRtpCh")) {
        *size = m_rtp.size();
        *item = [this, net](int i) {
            const RouteEntry &e = m_rtp[i];
            QJsonObject o{{QStringLiteral("id"), num(i)},
                          {QStringLiteral("active"), routeActive(i) ? QStringLiteral("1") : QStringLiteral("0")},
                          {QStringLiteral("srcDevId"), QString()},
                          {QStringLiteral("name"), QString()},
                          {QStringLiteral("srcChId"), num(e.srcChId)},
                          {QStringLiteral("srcIp"), QStringLiteral("0.0.0.0")},
                          {QStringLiteral("dstIp"), QStringLiteral("0.0.0.0")},
                          {QStringLiteral("dstPort"), QStringLiteral("0")}};
            if (e.kind == RouteEntry::Unicast) {
                const UcastRx &u = m_ucastRx[e.stream];
                const SimDevice *tx = net->deviceById(u.srcDevId);
                o.insert(QStringLiteral("srcDevId"), u.srcDevId);
                o.insert(QStringLiteral("name"), tx ? tx->name() : u.srcName);
                o.insert(QStringLiteral("srcIp"), dotted(tx ? tx->address() : u.srcIp));
                o.insert(QStringLiteral("dstIp"), m_device.addressText());
                o.insert(QStringLiteral("dstPort"), num(SimPorts::rtp));
            } else if (e.kind == RouteEntry::Multicast) {
                const McastRx &m = m_mcastRx[e.stream];
                o.insert(QStringLiteral("name"), m.name);
                o.insert(QStringLiteral("srcIp"), dotted(m.srcIp));
                o.insert(QStringLiteral("dstIp"), dotted(m.dstIp));
                o.insert(QStringLiteral("dstPort"), num(m.dstPort));
            }
            return o;
        };
    } else if (ops == QLatin1String("getAllUcastRx")) {
        *size = m_ucastRx.size();
        *item = [this, net](int i) {
            const UcastRx &u = m_ucastRx[i];
            const SimDevice *tx = u.srcDevId.isEmpty() ? nullptr : net->deviceById(u.srcDevId);
            const int chNum = tx && u.txStream >= 0 ? tx->routing().ucastTxChannelCount(u.txStream) : 0;
            return QJsonObject{{QStringLiteral("id"), num(i)},
                               {QStringLiteral("srcDevId"), u.srcDevId},
                               {QStringLiteral("srcIp"), dotted(tx ? tx->address() : u.srcIp)},
                               {QStringLiteral("chNum"), num(u.rtp.isEmpty() ? 0 : qMax(chNum, 1))},
                               {QStringLiteral("rtpChIdArr"), textArray(u.rtp)}};
        };
    } else if (ops == QLatin1String("getAllUcastTx")) {
        *size = m_ucastTx.size();
        *item = [this, net](int i) {
            const UcastTx &u = m_ucastTx[i];
            const SimDevice *rx = u.dstDevId.isEmpty() ? nullptr : net->deviceById(u.dstDevId);
            QJsonArray places;
            for (int p = 0; p < 8; ++p)
                places.append(p < u.channels.size() ? num(u.channels[p]) : QLatin1String(emptyPlace));
            return QJsonObject{{QStringLiteral("id"), num(i)},
                               {QStringLiteral("dstDevId"), u.dstDevId},
                               {QStringLiteral("dstIp"), dotted(rx ? rx->address() : u.dstIp)},
                               {QStringLiteral("chNum"), num(u.channels.size())},
                               {QStringLiteral("srcChIdArr"), places}};
        };
    } else if (ops == QLatin1String("getAllMcastRx")) {
        *size = m_mcastRx.size();
        *item = [this](int i) {
            const McastRx &m = m_mcastRx[i];
            return QJsonObject{{QStringLiteral("id"), num(i)},
                               {QStringLiteral("name"), m.name},
                               {QStringLiteral("srcIp"), dotted(m.srcIp)},
                               {QStringLiteral("dstIp"), dotted(m.dstIp)},
                               {QStringLiteral("dstPort"), num(m.dstPort)},
                               {QStringLiteral("chNum"), num(m.chNum)},
                               {QStringLiteral("rtpChIdArr"), textArray(m.rtp)}};
        };
    } else if (ops == QLatin1String("getAllActiveUcastId") || ops == QLatin1String("getAllActiveMcastId")) {
        const bool ucast = ops == QLatin1String("getAllActiveUcastId");
        *size = ucast ? m_ucastRx.size() : m_mcastRx.size();
        *item = [this, ucast](int i) {
            const bool active = ucast ? ucastRxActive(i) : mcastRxActive(i);
            return QJsonObject{{QStringLiteral("id"), num(i)},
                               {QStringLiteral("active"), active ? QStringLiteral("1") : QStringLiteral("0")}};
        };
    } else {
        return false;
    }
    return true;
}

// ---------------------------------------------------------------- streams

int SimRouting::attachUcastTx(const QString &rxDevId, quint32 rxIp, int srcChId)
{
    int withRoom = -1;
    int free = -1;
    for (int j = 0; j < m_ucastTx.size(); ++j) {
        UcastTx &t = m_ucastTx[j];
        if (t.dstDevId == rxDevId) {
            if (t.channels.contains(srcChId))
                return j;
            if (t.channels.size() < 8 && withRoom < 0)
                withRoom = j;
        } else if (t.dstDevId.isEmpty() && free < 0) {
            free = j;
        }
    }
    const int j = withRoom >= 0 ? withRoom : free;
    if (j < 0)
        return -1;
    m_ucastTx[j].dstDevId = rxDevId;
    m_ucastTx[j].dstIp = rxIp;
    m_ucastTx[j].channels.append(srcChId);
    m_device.notifyRoute();
    return j;
}

void SimRouting::releaseUcastTx(int stream, int srcChId)
{
    if (stream < 0 || stream >= m_ucastTx.size())
        return;
    UcastTx &t = m_ucastTx[stream];
    // The stream closes up: its remaining channels keep their order.
    if (!t.channels.removeOne(srcChId))
        return;
    if (t.channels.isEmpty())
        t = UcastTx();
    m_device.notifyRoute();
}

void SimRouting::clearRoute(int ch, bool *changed)
{
    RouteEntry &e = m_rtp[ch];
    if (e.kind == RouteEntry::Unicast) {
        UcastRx &u = m_ucastRx[e.stream];
        u.rtp.removeOne(ch);
        bool stillCarried = false;
        for (int other : qAsConst(u.rtp))
            stillCarried = stillCarried || m_rtp[other].srcChId == e.srcChId;
        if (!stillCarried) {
            if (SimDevice *tx = m_device.network()->deviceById(u.srcDevId))
                tx->routing().releaseUcastTx(u.txStream, e.srcChId);
        }
        if (u.rtp.isEmpty())
            u = UcastRx();
    } else if (e.kind == RouteEntry::Multicast) {
        McastRx &m = m_mcastRx[e.stream];
        m.rtp.removeOne(ch);
        if (m.rtp.isEmpty())
            m = McastRx();
    } else {
        return;
    }
    e = RouteEntry();
    m_rxRoute[ch] = -1;
    *changed = true;
}

QString SimRouting::opSetUcastRx(const QJsonObject &req, QJsonObject &)
{
    bool okSrc = false, okDst = false;
    const int srcCh = readInt(req, "srcChId", &okSrc);
    const int dstCh = readInt(req, "dstChId", &okDst);
    QString srcDevId;
    if (!okSrc || !okDst || !readText(req, "srcDevId", &srcDevId) || dstCh < 0 || dstCh >= m_rxRoute.size())
        return badParam;
    SimDevice *tx = m_device.network()->deviceById(srcDevId);
    if (!tx || tx == &m_device || srcCh < 0 || srcCh >= tx->profile().chNumTx)
        return badParam;
    const RouteEntry &cur = m_rtp[dstCh];
    if (cur.kind == RouteEntry::Unicast && m_ucastRx[cur.stream].srcDevId == srcDevId && cur.srcChId == srcCh)
        return QString();

    bool changed = false;
    clearRoute(dstCh, &changed);
    const int j = tx->routing().attachUcastTx(m_device.devId(), m_device.address(), srcCh);
    if (j < 0) {
        if (changed)
            m_device.notifyRoute();
        return noFreeSdpId;
    }
    int k = -1;
    for (int i = 0; i < m_ucastRx.size() && k < 0; ++i)
        if (!m_ucastRx[i].rtp.isEmpty() && m_ucastRx[i].srcDevId == srcDevId && m_ucastRx[i].txStream == j)
            k = i;
    for (int i = 0; i < m_ucastRx.size() && k < 0; ++i) {
        if (m_ucastRx[i].rtp.isEmpty()) {
            k = i;
            UcastRx &u = m_ucastRx[i];
            u.srcDevId = srcDevId;
            u.srcName = tx->name();
            u.srcIp = tx->address();
            u.txStream = j;
            u.statsSince = u.delaySince = m_device.now();
        }
    }
    if (k < 0) {
        tx->routing().releaseUcastTx(j, srcCh);
        if (changed)
            m_device.notifyRoute();
        return noFreeSdpId;
    }
    m_ucastRx[k].rtp.append(dstCh);
    m_rtp[dstCh] = RouteEntry{RouteEntry::Unicast, k, srcCh};
    m_rxRoute[dstCh] = dstCh;
    m_device.notifyRoute();
    m_device.log(QStringLiteral("route Rx %1 <- %2 Tx %3").arg(dstCh).arg(srcDevId).arg(srcCh));
    return QString();
}

QString SimRouting::opSetMcastRx(const QJsonObject &req, QJsonObject &)
{
    bool okSrc = false, okDst = false;
    const int srcCh = readInt(req, "srcChId", &okSrc);
    const int dstCh = readInt(req, "dstChId", &okDst);
    const QJsonObject sdp = req.value(QLatin1String("sdp")).toObject();
    bool okIp = false, okSrcIp = false, okPort = false, okCh = false;
    const quint32 group = SimText::parseDotted(sdp.value(QLatin1String("dstIp")).toString(), &okIp);
    const quint32 source = SimText::parseDotted(sdp.value(QLatin1String("srcIp")).toString(), &okSrcIp);
    const int port = readInt(sdp, "dstPort", &okPort);
    const int chNum = readInt(sdp, "chNum", &okCh);
    bool okBytes = false, okOffset = false;
    const int bytes = readInt(sdp, "sampleByteNum", &okBytes);
    const quint32 offset = quint32(readInt(sdp, "rtpTsOffset", &okOffset));
    if (!okSrc || !okDst || !okIp || !okSrcIp || !okPort || !okCh || dstCh < 0 || dstCh >= m_rxRoute.size() ||
        !SimText::isMulticast(group) || port < 1 || port > 65535 || chNum < 1 || chNum > 8 || srcCh < 0 ||
        srcCh >= chNum)
        return badParam;
    const RouteEntry &cur = m_rtp[dstCh];
    if (cur.kind == RouteEntry::Multicast && m_mcastRx[cur.stream].dstIp == group && cur.srcChId == srcCh)
        return QString();
    int k = -1;
    for (int i = 0; i < m_mcastRx.size() && k < 0; ++i)
        if (m_mcastRx[i].dstIp == group)
            k = i;
    bool changed = false;
    if (k < 0) {
        // The channel's old route may hold the last place of a subscription: free it first.
        int free = -1;
        for (int i = 0; i < m_mcastRx.size() && free < 0; ++i)
            if (!m_mcastRx[i].dstIp || (m_mcastRx[i].rtp.size() == 1 && m_mcastRx[i].rtp[0] == dstCh))
                free = i;
        if (free < 0)
            return noFreeSdpId;
        clearRoute(dstCh, &changed);
        k = free;
        McastRx &m = m_mcastRx[k];
        int slot = -1;
        const SimDevice *owner = m_device.network()->flowOwner(group, &slot);
        m.name = owner ? owner->flows().name(slot) : dotted(group);
        m.srcIp = source;
        m.dstIp = group;
        m.dstPort = port;
        m.chNum = chNum;
        m.sampleByteNum = okBytes ? bytes : m_device.settings().sampleByteNum();
        m.rtpTsOffset = okOffset ? offset : 0;
        m.statsSince = m.delaySince = m_device.now();
    } else if (cur.kind == RouteEntry::Multicast && cur.stream == k) {
        // Another channel of the same flow: the subscription stays as it is.
        m_rtp[dstCh].srcChId = srcCh;
        m_device.notifyRoute();
        return QString();
    } else {
        clearRoute(dstCh, &changed);
    }
    m_mcastRx[k].rtp.append(dstCh);
    m_rtp[dstCh] = RouteEntry{RouteEntry::Multicast, k, srcCh};
    m_rxRoute[dstCh] = dstCh;
    m_device.notifyRoute();
    m_device.log(QStringLiteral("route Rx %1 <- flow %2 channel %3").arg(dstCh).arg(dotted(group)).arg(srcCh));
    return QString();
}

QString SimRouting::opClrRxCh(const QJsonObject &req, QJsonObject &)
{
    bool ok = false;
    const int dstCh = readInt(req, "dstChId", &ok);
    if (!ok || dstCh < 0 || dstCh >= m_rxRoute.size())
        return badParam;
    bool changed = false;
    clearRoute(dstCh, &changed);
    // Clearing an unrouted channel is no error, and no change either.
    if (changed) {
        m_device.notifyRoute();
        m_device.log(QStringLiteral("route Rx %1 cleared").arg(dstCh));
    }
    return QString();
}

QString SimRouting::opStats(const QJsonObject &req, QJsonObject &r)
{
    const QString ops = r.value(QLatin1String("ops")).toString();
    const bool ucast = ops.contains(QLatin1String("Ucast"));
    bool ok = false;
    const int id = readInt(req, "sdpId", &ok);
    const int count = ucast ? m_ucastRx.size() : m_mcastRx.size();
    if (!ok || id < 0 || id >= count)
        return badParam;
    qint64 &statsSince = ucast ? m_ucastRx[id].statsSince : m_mcastRx[id].statsSince;
    qint64 &delaySince = ucast ? m_ucastRx[id].delaySince : m_mcastRx[id].delaySince;
    const bool active = ucast ? ucastRxActive(id) : mcastRxActive(id);
    r.insert(QStringLiteral("sdpId"), num(id));
    if (ops.startsWith(QLatin1String("clr"))) {
        if (ops.contains(QLatin1String("Delay")))
            delaySince = m_device.now();
        else
            statsSince = m_device.now();
        return QString();
    }
    if (ops.contains(QLatin1String("Delay"))) {
        const bool any = active && m_device.now() > delaySince;
        const quint32 seed = m_device.levels().seed();
        const int maxUs = qMin(m_device.settings().delayUs() - 50, 400 + int(seed % 300));
        r.insert(QStringLiteral("minUs"), num(any ? 90 + seed % 40 : 0));
        r.insert(QStringLiteral("maxUs"), num(any ? maxUs : 0));
        r.insert(QStringLiteral("avgUs"), num(any ? 180 + seed % 60 : 0));
        return QString();
    }
    const qint64 packets = active ? (m_device.now() - statsSince) * m_device.settings().packetTimeDiv() : 0;
    // Loss the device is told to show on its replies shows on its streams too.
    const qint64 lost = packets * m_device.profile().faults.lossPercent / 1000;
    r.insert(QStringLiteral("pktCnt"), num(packets));
    r.insert(QStringLiteral("lostCnt"), num(lost));
    r.insert(QStringLiteral("lateCnt"), num(lost / 4));
    return QString();
}
