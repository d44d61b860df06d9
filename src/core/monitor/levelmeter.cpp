#include "core/monitor/levelmeter.h"

#include "core/devices/devicerecord.h"

#include <cmath>
#include <limits>

namespace {

constexpr double kSilence = -std::numeric_limits<double>::infinity();

DeviceTables::NameTable nameTable(LevelsTracker::Group g)
{
    switch (g) {
    case LevelsTracker::AnalogIn: return DeviceTables::PhyNameRx;
    case LevelsTracker::AnalogOut: return DeviceTables::PhyNameTx;
    case LevelsTracker::NetIn: return DeviceTables::NameRx;
    default: return DeviceTables::NameTx;
    }
}

} // namespace

LevelMeter::Scale LevelMeter::scaleOf(LevelsTracker::Group group)
{
    const bool analog = group == LevelsTracker::AnalogIn || group == LevelsTracker::AnalogOut;
    return analog ? Scale{-70.0, 20.0, 20.0} : Scale{-70.0, 0.0, 0.0};
}

double LevelMeter::parseDb(const QString &level)
{
    bool ok = false;
    const double v = level.trimmed().toDouble(&ok);
    return ok && !std::isnan(v) ? v : kSilence;
}

double LevelMeter::fraction(double db, const Scale &scale)
{
    if (!(db > scale.floorDb))
        return 0.0;
    if (db >= scale.topDb)
        return 1.0;
    return (db - scale.floorDb) / (scale.topDb - scale.floorDb);
}

LevelMeter::LevelMeter(const Scale &scale)
    : m_scale(scale)
{
}

void LevelMeter::update(const QStringList &levels, int channels)
{
    m_channels.resize(qMax(0, channels));
    for (int i = 0; i < m_channels.size(); ++i) {
        Channel &c = m_channels[i];
        c.levelDb = i < levels.size() ? parseDb(levels.at(i)) : kSilence;
        if (c.levelDb >= c.peakDb) {
            c.peakDb = c.levelDb;
            c.heldPolls = 0;
        } else if (++c.heldPolls > kHoldPolls) {
            c.peakDb = qMax(c.levelDb, c.peakDb - kDecayDbPerPoll);
        }
        // The device sends one decimal: 0.0 dBFS is full scale reached.
        if (c.levelDb >= m_scale.clipDb)
            c.clipped = true;
    }
}

void LevelMeter::clearClips()
{
    for (Channel &c : m_channels)
        c.clipped = false;
}

void DeviceMeters::follow(const QString &devId)
{
    if (devId == m_devId)
        return;
    m_devId = devId;
    for (int g = 0; g < LevelsTracker::GroupCount; ++g)
        m_groups[size_t(g)] = LevelMeter(LevelMeter::scaleOf(LevelsTracker::Group(g)));
}

void DeviceMeters::update(const LevelsTracker &tracker, const Device &device)
{
    follow(device.devId());
    for (int g = 0; g < LevelsTracker::GroupCount; ++g) {
        const auto group = LevelsTracker::Group(g);
        m_groups[size_t(g)].update(tracker.levels(m_devId, group), LevelsTracker::channelCount(device, group));
    }
}

void DeviceMeters::clearClips()
{
    for (LevelMeter &m : m_groups)
        m.clearClips();
}

QString DeviceMeters::label(const Device &device, LevelsTracker::Group group, int channel)
{
    const QString name = device.channelName(nameTable(group), channel).trimmed();
    const QString number = QString::number(channel + 1);
    return name.isEmpty() ? number : number + QLatin1Char(' ') + name;
}
