#pragma once

#include "core/devices/devicerecord.h"

#include <QString>
#include <QVector>

/// One device as the clock summary sees it: its announcement, the state
/// number of its latest "masterOffset" event and the domain it reported
/// (-1 for either when not known yet).
struct ClockMember
{
    DevRecord rec;
    int ptpState = -1;
    int ptpDomain = -1;
};

/// The devices that follow one clock leader. Devices announce the leader
/// they follow from the first announcement on, while their domain comes only
/// with "getVersion": grouping by the leader followed gives the summary at
/// once, and in a settled network one leader is one domain.
struct ClockDomainSummary
{
    /// As the leader reported it, else as most members did; -1 not reported yet.
    int domain = -1;
    /// The identity the members follow; "" for devices that follow none.
    QString leaderClockId;
    /// The listed device with that identity; both "" when it is not listed.
    QString leaderDevId;
    QString leaderName;
    int locked = 0;
    int total = 0;

    /// "Domain 0 · leader Stage Box 8 (SIM-0002) · 7 of 8 locked".
    QString text() const;
};

/// Devices on the network that do not run at the rate most of them run at.
struct SampleRateCheck
{
    struct Odd
    {
        QString devId;
        QString name;
        int rate = 0;
    };
    /// The rate most devices run at (0 when no device told its rate).
    int prevailingRate = 0;
    /// In the standard device order.
    QVector<Odd> odd;

    bool mismatch() const { return !odd.isEmpty(); }
    /// "Sample rates differ: most devices run at 48 kHz; Wall Panel 4 runs at
    /// 96 kHz"; "" when there is no mismatch.
    QString text() const;
};

namespace ClockSummary {

/// One summary per leader followed: domains in increasing order (not reported
/// yet last), then by leader in the standard order; devices that follow no
/// leader come last.
QVector<ClockDomainSummary> domains(const QVector<ClockMember> &members);

/// Devices that announce no rate (0) are left out. On a tie the lower rate
/// prevails, so the same network always gives the same answer.
SampleRateCheck sampleRates(const QVector<ClockMember> &members);

/// "48 kHz", "44.1 kHz".
QString rateText(int hz);

/// How many odd devices the warning names before "and N more".
constexpr int kNamedOdd = 6;

} // namespace ClockSummary
