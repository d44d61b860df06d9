#pragma once

#include "core/monitor/rowproblem.h"

#include <QString>
#include <QVector>

struct DebugInfo;
struct Device;
struct TarnAmpInfo;

/// Every cell of one device's row on the statistics page, in the order of
/// the header, and the row's problem. The CLI prints the same cells.
struct NetStateRow
{
    enum SortOrder { Default, Ascending, Descending };

    QString devId;
    QString name;
    QString model;
    QString sampleRate;  // "48 kHz"
    QString packetTime;  // "1 ms"
    QString delay;       // "2 ms"
    QString temperature; // "45.5 °C"; "" until the device answers
    QString bandwidth;   // "2.77 Mbps / 0.00 Mbps"
    QString uptime;      // "1:2:5"; "" until the device answers
    QString amplifier;   // RK7731 only: TarnAmpInfo::summary
    int tenths = 0;      // the temperature; DeviceHealth::kNoTemperature when unknown
    double receiveMbps = 0.0;
    double sendMbps = 0.0;
    RowProblem problem;

    /// debug, amp: the latest answers, or nullptr; unreachable: the device
    /// missed DeviceHealth::kMissedPollLimit polls in a row.
    static NetStateRow of(const Device &d, const DebugInfo *debug, const TarnAmpInfo *amp, bool unreachable);

    /// Default: the order of every list of devices (DeviceOrder: by name,
    /// then devId). Ascending and Descending: by temperature, coolest or
    /// hottest first, devices that have not told theirs last; equal
    /// temperatures in the default order.
    static void sort(QVector<NetStateRow> &rows, SortOrder order);
};
