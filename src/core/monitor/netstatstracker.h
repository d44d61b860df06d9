#pragma once

#include "core/monitor/debuginfo.h"
#include "core/monitor/netstaterow.h"
#include "core/monitor/tarnampinfo.h"

#include <QHash>
#include <QJsonObject>
#include <QVector>
#include <optional>

struct Device;

/// What the statistics page knows between polls: each device's latest
/// answers and how many polls in a row it has left unanswered. No timer and
/// no socket: the page (or the CLI) calls pollRound on its tick, sends what
/// it returns, and hands every reply to intake.
class NetStatsTracker
{
public:
    static constexpr int kPollMs = 5000;

    /// One poll round: "getDebugInfo" to every device given, and
    /// "getTarnAmpInfo" to the RK7731 ones. A "getDebugInfo" still
    /// unanswered from the previous round counts as missed. Devices not
    /// given are forgotten.
    QVector<QJsonObject> pollRound(const QVector<Device> &devices);
    /// The same for the devices given that the tracker has not polled yet,
    /// so a device is asked as soon as it appears.
    QVector<QJsonObject> pollNewcomers(const QVector<Device> &devices);

    /// A message of the main window; true when it was an answer the tracker
    /// keeps. Any "getDebugInfo" answer, even a refusal, shows the device is
    /// reachable and clears its missed polls.
    bool intake(const QJsonObject &message);

    int missedPolls(const QString &devId) const;
    bool unreachable(const QString &devId) const;
    bool answered(const QString &devId) const;

    NetStateRow row(const Device &d) const;
    /// One row per device, in the order asked for.
    QVector<NetStateRow> rows(const QVector<Device> &devices, NetStateRow::SortOrder order) const;

private:
    static void requestsFor(const Device &d, QVector<QJsonObject> *out);

    struct Entry
    {
        bool pending = false;
        int missed = 0;
        std::optional<DebugInfo> debug;
        std::optional<TarnAmpInfo> amp;
    };
    QHash<QString, Entry> m_entries;
};
