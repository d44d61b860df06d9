#include "core/clock/clocksummary.h"

#include "core/app/texts.h"
#include "core/clock/clockstatus.h"
#include "core/devices/deviceorder.h"

#include <QHash>
#include <QMap>
#include <algorithm>

namespace {

bool followsNone(const QString &clockId)
{
    for (const QChar c : clockId)
        if (c != QLatin1Char('0') && c != QLatin1Char('-'))
            return false;
    return true;
}

} // namespace

namespace ClockSummary {

QVector<ClockDomainSummary> domains(const QVector<ClockMember> &members)
{
    QVector<ClockDomainSummary> out;
    QHash<QString, int> byLeader;
    QVector<QMap<int, int>> domainVotes;
    for (const ClockMember &m : members) {
        const QString followed = followsNone(m.rec.gmClkId.str()) ? QString() : m.rec.gmClkId.str();
        int at = byLeader.value(followed, -1);
        if (at < 0) {
            at = out.size();
            byLeader.insert(followed, at);
            ClockDomainSummary s;
            s.leaderClockId = followed;
            out.append(s);
            domainVotes.append(QMap<int, int>());
        }
        ClockDomainSummary &s = out[at];
        ++s.total;
        if (ClockStatus::of(m.rec, m.ptpState).locked)
            ++s.locked;
        if (m.ptpDomain >= 0)
            ++domainVotes[at][m.ptpDomain];
    }
    for (int i = 0; i < out.size(); ++i) {
        ClockDomainSummary &s = out[i];
        if (s.leaderClockId.isEmpty())
            continue;
        const ClockMember *leader = nullptr;
        for (const ClockMember &m : members)
            if (m.rec.myClkId.str() == s.leaderClockId &&
                (!leader || DeviceOrder::less(m.rec, leader->rec)))
                leader = &m;
        if (leader) {
            s.leaderDevId = leader->rec.devId.str();
            s.leaderName = leader->rec.name.str();
        }
        if (leader && leader->ptpDomain >= 0) {
            s.domain = leader->ptpDomain;
        } else {
            int best = 0;
            for (auto it = domainVotes.at(i).cbegin(); it != domainVotes.at(i).cend(); ++it)
                if (it.value() > best) {
                    best = it.value();
                    s.domain = it.key();
                }
        }
    }
    std::sort(out.begin(), out.end(), [](const ClockDomainSummary &a, const ClockDomainSummary &b) {
        if (a.leaderClockId.isEmpty() != b.leaderClockId.isEmpty())
            return b.leaderClockId.isEmpty();
        if ((a.domain < 0) != (b.domain < 0))
            return b.domain < 0;
        if (a.domain != b.domain)
            return a.domain < b.domain;
        const int c = DeviceOrder::compare(a.leaderName, a.leaderDevId, b.leaderName, b.leaderDevId);
        return c != 0 ? c < 0 : a.leaderClockId < b.leaderClockId;
    });
    return out;
}

SampleRateCheck sampleRates(const QVector<ClockMember> &members)
{
    SampleRateCheck check;
    QMap<int, int> counts;
    for (const ClockMember &m : members)
        if (m.rec.sampleRate > 0)
            ++counts[m.rec.sampleRate];
    int best = 0;
    // Increasing rates: a tie keeps the lower one.
    for (auto it = counts.cbegin(); it != counts.cend(); ++it)
        if (it.value() > best) {
            best = it.value();
            check.prevailingRate = it.key();
        }
    QVector<const DevRecord *> odd;
    for (const ClockMember &m : members)
        if (m.rec.sampleRate > 0 && m.rec.sampleRate != check.prevailingRate)
            odd.append(&m.rec);
    std::sort(odd.begin(), odd.end(), [](const DevRecord *a, const DevRecord *b) { return DeviceOrder::less(*a, *b); });
    for (const DevRecord *r : qAsConst(odd))
        check.odd.append({r->devId.str(), r->name.str(), r->sampleRate});
    return check;
}

QString rateText(int hz)
{
    return QString::number(hz / 1000.0, 'g', 6) + QStringLiteral(" kHz");
}

} // namespace ClockSummary

QString ClockDomainSummary::text() const
{
    const QString count = tx(Tx::ClkSumLocked).arg(locked).arg(total);
    if (leaderClockId.isEmpty())
        return tx(Tx::ClkSumNoLeader).arg(count);
    const QString domainText = domain >= 0 ? QString::number(domain) : QStringLiteral("—");
    const QString leader = leaderDevId.isEmpty() ? tx(Tx::ClkSumUnlisted).arg(leaderClockId)
                                                 : QStringLiteral("%1 (%2)").arg(leaderName, leaderDevId);
    return tx(Tx::ClkSumDomain).arg(domainText, leader, count);
}

QString SampleRateCheck::text() const
{
    if (odd.isEmpty())
        return QString();
    QStringList named;
    for (int i = 0; i < odd.size() && i < ClockSummary::kNamedOdd; ++i)
        named.append(tx(Tx::ClkSumOddDevice).arg(odd.at(i).name.isEmpty() ? odd.at(i).devId : odd.at(i).name,
                                                 ClockSummary::rateText(odd.at(i).rate)));
    QString list = named.join(tx(Tx::ClkSumListSep));
    if (odd.size() > ClockSummary::kNamedOdd)
        list += tx(Tx::ClkSumMore).arg(odd.size() - ClockSummary::kNamedOdd);
    return tx(Tx::ClkSumRates).arg(ClockSummary::rateText(prevailingRate), list);
}
