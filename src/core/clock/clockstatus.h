#pragma once

#include <QString>

struct DevRecord;

/// A device's PTP role and synchronisation state as the pages show them.
struct ClockStatus
{
    bool leader = true;
    bool locked = false;

    /// ptpState: the state number of the device's latest "masterOffset"
    /// event (-1 when none has arrived).
    static ClockStatus of(const DevRecord &rec, int ptpState);

    /// "Master" / "Slave" (主时钟 / 从时钟).
    QString roleText() const;
    /// "locked" / "unlock" (已同步 / 未同步).
    QString stateText() const;
};
