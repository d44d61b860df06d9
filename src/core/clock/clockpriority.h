#pragma once

#include "core/app/commandplan.h"

#include <QString>
#include <QVector>

/// The PTP priority as the clock page shows it and the priority dialog takes it.
class ClockPriority
{
public:
    /// The values the priority cell shows as numbers: round tens (how plans
    /// are written: leader 10, backup 20, ...) and the defaults devices ship
    /// with (128, 246, 248, 255 never leads).
    static const QVector<int> &knownValues();

    /// The number when known; "NA" for other values of 0-255; "—" outside
    /// 0-255 (including -1, a priority not reported yet).
    static QString cellText(int priority);

    /// A whole number from 0 to 255 (surrounding spaces ignored); -1 otherwise.
    static int parse(const QString &text);

    /// What ok in the priority dialog does: a refusal with the range message,
    /// or {"ops":"setPtpPriority","val":...,"devId":...}.
    static CommandPlan plan(const QString &devId, const QString &text);
};
