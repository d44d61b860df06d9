#pragma once

#include "core/monitor/rowproblem.h"

#include <QString>

/// The problems the statistics page reports for a device, and their tips.
class DeviceHealth
{
public:
    /// Polls in a row without an answer after which a device counts as
    /// unreachable; its next answer clears it.
    static constexpr int kMissedPollLimit = 3;

    /// From a temperature in tenths of a degree: warning above 80.0 up to and
    /// including 85.0, error above 85.0.
    static RowProblem::Level temperatureLevel(int tenths);

    /// The row's one problem, the most serious first: the device not
    /// answering, then an amplifier in protection (protectCode other than "0"
    /// or empty), then the temperature. tenths: the temperature, or
    /// kNoTemperature when none has been reported.
    static RowProblem problem(const QString &name, bool unreachable, const QString &protectCode, int tenths);

    static constexpr int kNoTemperature = -100000;
};
