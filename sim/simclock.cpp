#include "simclock.h"

#include "simdevice.h"
#include "simnetwork.h"
#include "simrequest.h"
#include "simtext.h"

#include <cmath>

using SimText::num;

SimClock::SimClock(SimDevice &device, const SimDeviceProfile &profile)
    : m_device(device)
    , m_priority(profile.ptpPriority)
    , m_domain(profile.ptpDomain)
    , m_dscp(profile.ptpDscp)
    , m_gm(SimDevice::zeroClockId)
{}

void SimClock::setGrandmaster(const QString &clockId)
{
    if (clockId == m_gm)
        return;
    m_gm = clockId;
    m_settleStart = m_device.now();
    m_nextEvent = m_settleStart;
}

int SimClock::state() const
{
    if (m_gm == m_device.clockId())
        return 0;
    if (m_gm == SimDevice::zeroClockId)
        return 1;
    return m_device.now() - m_settleStart >= m_device.network()->config().settleMs ? 2 : 1;
}

void SimClock::reset()
{
    m_gm = SimDevice::zeroClockId;
    m_settleStart = m_device.now();
    m_nextEvent = m_settleStart;
}

void SimClock::tick(qint64 now)
{
    if (m_gm == SimDevice::zeroClockId || now < m_nextEvent)
        return;
    sendEvents();
    const SimConfig &cfg = m_device.network()->config();
    m_nextEvent = now + (state() == 1 ? cfg.settlingEventMs : cfg.lockedEventMs);
}

void SimClock::sendEvents()
{
    const int st = state();
    QRandomGenerator &rnd = m_device.network()->random();
    qint64 offset = 0;
    double freq = 0.0;
    if (st == 1) {
        // Settling: a large offset shrinking towards lock, the servo pulling hard.
        const double progress = double(m_device.now() - m_settleStart) / qMax(1, m_device.network()->config().settleMs);
        const double scale = std::exp(-3.0 * qMin(progress, 1.0));
        offset = qint64((8000 + rnd.bounded(4000)) * scale) * (rnd.bounded(2) ? 1 : -1);
        freq = (rnd.bounded(2000) - 1000) / 100.0 * scale;
    } else if (st == 2) {
        offset = rnd.bounded(161) - 80;
        freq = (rnd.bounded(1001) - 500) / 1000.0;
    }
    const QString devId = m_device.devId();
    m_device.sendGroup(SimDevice::eventGroup, QJsonObject{{QStringLiteral("devId"), devId},
                                                          {QStringLiteral("event"), QStringLiteral("masterOffset")},
                                                          {QStringLiteral("state"), num(st)},
                                                          {QStringLiteral("masterOffset"), num(offset)}});
    m_device.sendGroup(SimDevice::eventGroup,
                       QJsonObject{{QStringLiteral("devId"), devId},
                                   {QStringLiteral("event"), QStringLiteral("adjustFreq")},
                                   {QStringLiteral("adjustFreq"), QString::number(freq, 'f', 3)}});
}

QString SimClock::opSetPtp(const QJsonObject &req, QJsonObject &r)
{
    const QString ops = r.value(QLatin1String("ops")).toString();
    bool ok = false;
    const int v = SimRequest::readInt(req, "val", &ok);
    if (ops == QLatin1String("setPtpPriority")) {
        if (!ok || v < 0 || v > 255)
            return SimText::badParam;
        m_priority = v;
        m_device.log(QStringLiteral("PTP priority %1").arg(v));
    } else if (ops == QLatin1String("setPtpDomain")) {
        if (!ok || v < 0 || v > 127)
            return SimText::badParam;
        m_domain = v;
        m_device.log(QStringLiteral("PTP domain %1").arg(v));
    } else {
        if (!ok || v < 0 || v > 63)
            return SimText::badParam;
        m_dscp = v;
    }
    return QString();
}
