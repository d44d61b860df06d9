#include "core/monitor/netstatstracker.h"

#include "core/monitor/devicehealth.h"
#include "core/devices/devicemodels.h"
#include "core/devices/devicerecord.h"

#include <QSet>

QVector<QJsonObject> NetStatsTracker::pollRound(const QVector<Device> &devices)
{
    QVector<QJsonObject> out;
    QSet<QString> listed;
    for (const Device &d : devices) {
        const QString devId = d.devId();
        listed.insert(devId);
        Entry &e = m_entries[devId];
        if (e.pending)
            ++e.missed;
        e.pending = true;
        requestsFor(d, &out);
    }
    for (auto it = m_entries.begin(); it != m_entries.end();)
        it = listed.contains(it.key()) ? std::next(it) : m_entries.erase(it);
    return out;
}

QVector<QJsonObject> NetStatsTracker::pollNewcomers(const QVector<Device> &devices)
{
    QVector<QJsonObject> out;
    for (const Device &d : devices) {
        if (m_entries.contains(d.devId()))
            continue;
        m_entries[d.devId()].pending = true;
        requestsFor(d, &out);
    }
    return out;
}

void NetStatsTracker::requestsFor(const Device &d, QVector<QJsonObject> *out)
{
    out->append(
        QJsonObject{{QStringLiteral("ops"), QStringLiteral("getDebugInfo")}, {QStringLiteral("devId"), d.devId()}});
    if (DeviceModels::isAmplifier(d.rec.model.str()))
        out->append(QJsonObject{{QStringLiteral("ops"), QStringLiteral("getTarnAmpInfo")},
                                {QStringLiteral("devId"), d.devId()}});
}

bool NetStatsTracker::intake(const QJsonObject &message)
{
    const QString op = message.value(QLatin1String("ops")).toString();
    const QString devId = message.value(QLatin1String("devId")).toString();
    const auto it = m_entries.find(devId);
    if (devId.isEmpty() || it == m_entries.end())
        return false;
    if (op == QLatin1String("getDebugInfo")) {
        it->pending = false;
        it->missed = 0;
        if (auto info = DebugInfo::fromReply(message))
            it->debug = info;
        return true;
    }
    if (op == QLatin1String("getTarnAmpInfo")) {
        if (auto info = TarnAmpInfo::fromReply(message))
            it->amp = info;
        return true;
    }
    return false;
}

int NetStatsTracker::missedPolls(const QString &devId) const
{
    return m_entries.value(devId).missed;
}

bool NetStatsTracker::unreachable(const QString &devId) const
{
    return missedPolls(devId) >= DeviceHealth::kMissedPollLimit;
}

bool NetStatsTracker::answered(const QString &devId) const
{
    return m_entries.value(devId).debug.has_value();
}

NetStateRow NetStatsTracker::row(const Device &d) const
{
    const auto it = m_entries.constFind(d.devId());
    if (it == m_entries.constEnd())
        return NetStateRow::of(d, nullptr, nullptr, false);
    return NetStateRow::of(d, it->debug ? &*it->debug : nullptr, it->amp ? &*it->amp : nullptr,
                           it->missed >= DeviceHealth::kMissedPollLimit);
}

QVector<NetStateRow> NetStatsTracker::rows(const QVector<Device> &devices, NetStateRow::SortOrder order) const
{
    QVector<NetStateRow> out;
    out.reserve(devices.size());
    for (const Device &d : devices)
        out.append(row(d));
    NetStateRow::sort(out, order);
    return out;
}
