#pragma once

#include "core/monitor/rowproblem.h"

#include <QString>

struct DevRecord;
struct DeviceUiData;

/// Every cell of one device's row on the clock page, in the order of the
/// header, and the row's problem. The CLI prints the same cells.
struct ClockRow
{
    QString devId;
    QString name;
    QString model;
    QString ip;
    QString role;       // ClockStatus::roleText
    QString state;      // ClockStatus::stateText
    QString adjustFreq; // ppm as the device wrote it; "" until an event arrives
    QString priority;   // ClockPriority::cellText
    QString version;    // "" until "getVersion" is answered
    bool leader = false;
    bool locked = false;
    /// Error: the device has no clock leader yet (its leader identity is all
    /// zeros); warning: a follower not locked to its leader.
    RowProblem problem;

    static ClockRow of(const DevRecord &rec, const DeviceUiData &ui);
};
