#include "core/monitor/levelstracker.h"

#include "core/monitor/levelcell.h"
#include "core/devices/devicerecord.h"
#include "core/protocol/requestrouter.h"

#include <QJsonArray>
#include <QSet>

namespace {

bool isTransmit(LevelsTracker::Group g)
{
    return g == LevelsTracker::AnalogOut || g == LevelsTracker::NetOut;
}

} // namespace

QJsonObject LevelsTracker::request(const QString &devId, Group group)
{
    const bool analog = group == AnalogIn || group == AnalogOut;
    return QJsonObject{
        {QStringLiteral("ops"), analog ? QStringLiteral("getAllPhyLevel") : QStringLiteral("getAllNetLevel")},
        {QStringLiteral("devId"), devId},
        {QStringLiteral("inOrOut"), isTransmit(group) ? QStringLiteral("1") : QStringLiteral("0")},
        {QStringLiteral("idStart"), QStringLiteral("0")}};
}

int LevelsTracker::channelCount(const Device &d, Group group)
{
    switch (group) {
    case AnalogIn: return d.rec.phyChNumRx;
    case AnalogOut: return d.rec.phyChNumTx;
    case NetIn: return d.rec.chNumRx;
    case NetOut: return d.rec.chNumTx;
    default: return 0;
    }
}

int LevelsTracker::lineCount(const Device &d)
{
    int lines = 1;
    for (int g = 0; g < GroupCount; ++g)
        lines = qMax(lines, LevelCell::lineCount(channelCount(d, Group(g))));
    return lines;
}

QVector<QJsonObject> LevelsTracker::pollRound(const QVector<Device> &devices)
{
    QVector<QJsonObject> out;
    QSet<QString> listed;
    for (const Device &d : devices) {
        const QString devId = d.devId();
        listed.insert(devId);
        auto &groups = m_groups[devId];
        for (int g = 0; g < GroupCount; ++g) {
            GroupState &s = groups[size_t(g)];
            if (channelCount(d, Group(g)) <= 0) {
                s = GroupState();
                continue;
            }
            if (++s.unanswered > kStalePolls)
                s.known = false;
            out.append(request(devId, Group(g)));
        }
    }
    for (auto it = m_groups.begin(); it != m_groups.end();)
        it = listed.contains(it.key()) ? std::next(it) : m_groups.erase(it);
    return out;
}

bool LevelsTracker::intake(const QJsonObject &message)
{
    QString op = message.value(QLatin1String("ops")).toString();
    bool transmit = RequestRouter::isTransmitSide(message);
    if (op != QLatin1String("getAllPhyLevel") && op != QLatin1String("getAllNetLevel"))
        op = RequestRouter::pageOperation(op, &transmit);
    const bool analog = op == QLatin1String("getAllPhyLevel");
    if (!analog && op != QLatin1String("getAllNetLevel"))
        return false;
    const auto it = m_groups.find(message.value(QLatin1String("devId")).toString());
    if (it == m_groups.end() || message.value(QLatin1String("result")).toString() != QLatin1String("succ"))
        return false;
    const QJsonValue start = message.value(QLatin1String("idStart"));
    if (!start.isUndefined() && start.toString() != QLatin1String("0") && start.toInt(-1) != 0)
        return false;
    const Group g = analog ? (transmit ? AnalogOut : AnalogIn) : (transmit ? NetOut : NetIn);
    GroupState &s = (*it)[size_t(g)];
    s.values.clear();
    for (const QJsonValue &v : message.value(QLatin1String("arr")).toArray())
        s.values.append(v.isDouble() ? QString::number(v.toDouble()) : v.toString());
    s.unanswered = 0;
    s.known = true;
    return true;
}

QStringList LevelsTracker::levels(const QString &devId, Group group) const
{
    const auto it = m_groups.constFind(devId);
    if (it == m_groups.constEnd() || !(*it)[size_t(group)].known)
        return {};
    return (*it)[size_t(group)].values;
}

bool LevelsTracker::complete(const Device &d) const
{
    const auto it = m_groups.constFind(d.devId());
    if (it == m_groups.constEnd())
        return false;
    for (int g = 0; g < GroupCount; ++g)
        if (channelCount(d, Group(g)) > 0 && !(*it)[size_t(g)].known)
            return false;
    return true;
}

LevelsTracker::Row LevelsTracker::row(const Device &d) const
{
    Row r;
    r.devId = d.devId();
    r.name = d.rec.name.str();
    for (int g = 0; g < GroupCount; ++g)
        r.cells[size_t(g)] = LevelCell::format(levels(r.devId, Group(g)));
    return r;
}

QVector<LevelsTracker::Row> LevelsTracker::rows(const QVector<Device> &devices) const
{
    QVector<Row> out;
    out.reserve(devices.size());
    for (const Device &d : devices)
        out.append(row(d));
    return out;
}
