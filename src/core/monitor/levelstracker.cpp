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

QJsonObject LevelsTracker::request(const QString &devId, Group group, int idStart)
{
    const bool analog = group == AnalogIn || group == AnalogOut;
    return QJsonObject{
        {QStringLiteral("ops"), analog ? QStringLiteral("getAllPhyLevel") : QStringLiteral("getAllNetLevel")},
        {QStringLiteral("devId"), devId},
        {QStringLiteral("inOrOut"), isTransmit(group) ? QStringLiteral("1") : QStringLiteral("0")},
        {QStringLiteral("idStart"), QString::number(idStart)}};
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
            s.channels = channelCount(d, Group(g));
            if (s.channels <= 0) {
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

bool LevelsTracker::intake(const QJsonObject &message, QVector<QJsonObject> *more)
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
    const QJsonValue startValue = message.value(QLatin1String("idStart"));
    bool numeric = true;
    const int start = startValue.isUndefined() ? 0
                      : startValue.isDouble()  ? startValue.toInt(-1)
                                               : startValue.toString().toInt(&numeric);
    if (!numeric)
        return false;
    const bool full = it.key() == m_fullDevId;
    if (start != 0 && !(full && start > 0 && start < DeviceTables::kMaxItems))
        return false;
    const Group g = analog ? (transmit ? AnalogOut : AnalogIn) : (transmit ? NetOut : NetIn);
    GroupState &s = (*it)[size_t(g)];
    const QJsonArray arr = message.value(QLatin1String("arr")).toArray();
    if (!full) {
        s.values.clear();
    } else if (s.values.size() < start) {
        // A later page before the first: the channels between are not known yet.
        while (s.values.size() < start)
            s.values.append(QStringLiteral("-inf"));
    }
    // The followed device's pages overwrite in place, so the channels past
    // this page keep their last levels until their own page comes.
    for (int i = 0; i < arr.size(); ++i) {
        const QJsonValue v = arr.at(i);
        const QString level = v.isDouble() ? QString::number(v.toDouble()) : v.toString();
        if (start + i < s.values.size())
            s.values[start + i] = level;
        else
            s.values.append(level);
    }
    if (start == 0) {
        s.unanswered = 0;
        s.known = true;
    }
    const int next = start + arr.size();
    if (full && more && !arr.isEmpty() && next < s.channels)
        more->append(request(it.key(), g, next));
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
