#pragma once

#include "core/monitor/levelstracker.h"

#include <QString>
#include <QStringList>
#include <QVector>

#include <limits>

struct Device;

/// The bars of one level group: what each bar shows, where its peak hold
/// stands and whether it has clipped. Advanced once per poll with the
/// group's latest levels, so the hold and decay follow the page's polling
/// and need no clock of their own.
class LevelMeter
{
public:
    /// The dB span a bar covers and the level that counts as clipping.
    struct Scale
    {
        double floorDb;
        double topDb;
        double clipDb;
    };
    /// Network levels are dBFS (full scale is the top and the clip); analog
    /// levels are dBV, whose converters clip at +20 dBV.
    static Scale scaleOf(LevelsTracker::Group group);

    /// Polls a peak stays put before it starts to fall.
    static constexpr int kHoldPolls = 3;
    /// How far a released peak falls per poll, never below the level.
    static constexpr double kDecayDbPerPoll = 6.0;

    /// A level as the device sends it; "-inf" and text that is not a number
    /// are silence (-infinity).
    static double parseDb(const QString &level);
    /// Where on the bar a level stands: 0 at or below the floor, 1 at or
    /// above the top, linear in dB between.
    static double fraction(double db, const Scale &scale);

    struct Channel
    {
        double levelDb = -std::numeric_limits<double>::infinity();
        double peakDb = -std::numeric_limits<double>::infinity();
        int heldPolls = 0;
        bool clipped = false;
    };

    explicit LevelMeter(const Scale &scale = scaleOf(LevelsTracker::NetIn));

    /// One poll: the group has `channels` bars; levels beyond those given
    /// are silence (not yet answered). A level at or above the clip level
    /// latches the channel's clip mark until clearClips.
    void update(const QStringList &levels, int channels);
    void clearClips();

    const Scale &scale() const { return m_scale; }
    const QVector<Channel> &channels() const { return m_channels; }

private:
    Scale m_scale;
    QVector<Channel> m_channels;
};

/// The meters of one device: its four groups, each channel labelled with
/// its number and the name the device gave it.
class DeviceMeters
{
public:
    QString devId() const { return m_devId; }
    /// Starts over (no peaks, no clips) when the device is another one.
    void follow(const QString &devId);
    /// One poll of the followed device from the tracker's levels.
    void update(const LevelsTracker &tracker, const Device &device);
    void clearClips();

    const LevelMeter &group(LevelsTracker::Group g) const { return m_groups[size_t(g)]; }
    /// "12 Vocal L": the channel's number (from 1) and its name, or the
    /// number alone when the device has not told a name.
    static QString label(const Device &device, LevelsTracker::Group group, int channel);

private:
    QString m_devId;
    std::array<LevelMeter, LevelsTracker::GroupCount> m_groups{
        LevelMeter(LevelMeter::scaleOf(LevelsTracker::AnalogIn)), LevelMeter(LevelMeter::scaleOf(LevelsTracker::AnalogOut)),
        LevelMeter(LevelMeter::scaleOf(LevelsTracker::NetIn)), LevelMeter(LevelMeter::scaleOf(LevelsTracker::NetOut))};
};
