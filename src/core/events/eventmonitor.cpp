#include "core/events/eventmonitor.h"

#include "core/app/texts.h"
#include "core/clock/clockstatus.h"
#include "core/monitor/debuginfo.h"
#include "core/monitor/devicehealth.h"
#include "core/monitor/netstatsdisplay.h"

#include <QDateTime>

namespace {

bool isZeroIdentity(const QString &id)
{
    for (QChar c : id)
        if (c != QLatin1Char('0') && c != QLatin1Char('-'))
            return false;
    return true;
}

int number(const QJsonValue &v, int fallback)
{
    bool ok = false;
    const int n = v.isDouble() ? v.toInt() : v.toString().toInt(&ok);
    return v.isDouble() || ok ? n : fallback;
}

bool isRouteOp(const QString &op)
{
    return op == QLatin1String("setUcastRx") || op == QLatin1String("setMcastRx") || op == QLatin1String("clrRxCh");
}

bool isFlowOp(const QString &op)
{
    return op == QLatin1String("setMcastTx") || op == QLatin1String("clrMcastTx");
}

bool isLockOp(const QString &op)
{
    return op == QLatin1String("setLock") || op == QLatin1String("setPassword");
}

} // namespace

QString EventMonitor::ClockChange::stateText() const
{
    switch (state) {
    case NoLeader: return tx(Tx::EvClockNoLeader);
    case Leader: return tx(Tx::EvClockLeader);
    case Settling: return tx(Tx::EvClockSettling);
    case Locked: return tx(Tx::EvClockLocked);
    case Gone: return tx(Tx::EvClockGone);
    }
    return QString();
}

QString EventMonitor::ClockChange::leaderText() const
{
    return leaderDevId.isEmpty() ? leaderId : EventLine::deviceLabel(leaderName, leaderDevId);
}

EventMonitor::EventMonitor(Clock clock, QObject *parent)
    : QObject(parent)
    , m_clock(clock ? std::move(clock) : Clock([] { return QDateTime::currentMSecsSinceEpoch(); }))
{
    qRegisterMetaType<EventLine>();
}

void EventMonitor::add(EventLine::Severity severity, EventLine::Kind kind, const QString &devId, const QString &name,
                       const QString &a, const QString &b, const QString &c)
{
    EventLine line;
    line.atMs = m_clock();
    line.severity = severity;
    line.kind = kind;
    line.devId = devId;
    line.name = name;
    line.a = a;
    line.b = b;
    line.c = c;
    m_lines.push_back(line);
    if (int(m_lines.size()) > kMaxLines)
        m_lines.pop_front();
    emit signal_added(line);
    if (line.isAlert())
        emit signal_unseenChanged(++m_unseen);
}

void EventMonitor::markSeen()
{
    if (m_unseen == 0)
        return;
    m_unseen = 0;
    emit signal_unseenChanged(0);
}

void EventMonitor::onNotice(const RegistryNotice &notice)
{
    if (notice.isFlow() || (notice.kind != RegistryNotice::DevAdded && notice.kind != RegistryNotice::DevRemoved))
        return;
    Known &k = m_devices[notice.devId];
    if (!notice.name.isEmpty())
        k.rec.name.set(notice.name.toUtf8());
    if (notice.kind == RegistryNotice::DevAdded) {
        if (k.present)
            return;
        add(EventLine::Info, k.lost ? EventLine::Back : EventLine::Found, notice.devId, notice.name);
        k.present = true;
        k.lost = false;
        // Whatever the device knew of its clock before it went is stale: it settles anew.
        k.ptpState = -1;
        k.recKnown = false;
        k.tempLevel = RowProblem::None;
        return;
    }
    if (!k.present)
        return;
    k.present = false;
    k.lost = true;
    k.unlockReported = false;
    add(EventLine::Warning, EventLine::Lost, notice.devId, notice.name);
    updateClock(notice.devId, k);
}

void EventMonitor::onDevices(const QVector<DevRecord> &records)
{
    for (const DevRecord &rec : records) {
        const QString devId = rec.devId.str();
        auto it = m_devices.find(devId);
        // Only devices whose arrival was heard of: the list may run ahead of the notices.
        if (it == m_devices.end() || !it->present)
            continue;
        it->rec = rec;
        it->recKnown = true;
        updateClock(devId, *it);
    }
    updateLeaders();
}

void EventMonitor::onMessage(const QJsonObject &message)
{
    const QString devId = message.value(QLatin1String("devId")).toString();
    auto it = m_devices.find(devId);
    if (devId.isEmpty() || it == m_devices.end())
        return;
    Known &k = *it;
    const QString op = message.value(QLatin1String("ops")).toString();
    const QString result = message.value(QLatin1String("result")).toString();
    const QString name = k.rec.name.str();

    if (op == QLatin1String("clockEvent")) {
        if (message.value(QLatin1String("event")).toString() == QLatin1String("masterOffset")) {
            k.ptpState = number(message.value(QLatin1String("state")), -1);
            updateClock(devId, k);
        }
        return;
    }
    if (op == QLatin1String("getVersion") && result == QLatin1String("succ")) {
        const int domain = number(message.value(QLatin1String("ptpDomain")), -1);
        if (domain != k.domain) {
            k.domain = domain;
            updateLeaders();
        }
        return;
    }
    if (const auto debug = DebugInfo::fromReply(message)) {
        int tenths = 0;
        if (!NetStatsDisplay::temperatureTenths(debug->temp, &tenths))
            return;
        const int level = DeviceHealth::temperatureLevel(tenths);
        const QString temp = NetStatsDisplay::temperatureText(tenths);
        if (level == RowProblem::Error && k.tempLevel != RowProblem::Error)
            add(EventLine::Error, EventLine::TempAbnormal, devId, name, temp);
        else if (level == RowProblem::Warning && k.tempLevel != RowProblem::Warning)
            add(EventLine::Warning, EventLine::TempHigh, devId, name, temp);
        else if (level == RowProblem::None && k.tempLevel != RowProblem::None)
            add(EventLine::Info, EventLine::TempNormal, devId, name, temp);
        k.tempLevel = level;
        return;
    }
    if (result.isEmpty() || result == QLatin1String("succ"))
        return;
    const QString reason = message.value(QLatin1String("reason")).toString();
    if (isRouteOp(op))
        add(EventLine::Error, EventLine::RouteRefused, devId, name, op, reason);
    else if (isFlowOp(op))
        add(EventLine::Error, EventLine::FlowRefused, devId, name, op, reason);
    else if (isLockOp(op) || reason == QLatin1String("LOCK_UCAST_MCAST"))
        add(EventLine::Error, EventLine::LockRefused, devId, name, op, reason);
}

void EventMonitor::updateClock(const QString &devId, Known &k)
{
    ClockChange now;
    now.atMs = m_clock();
    if (!k.present) {
        now.state = ClockChange::Gone;
    } else if (!k.recKnown) {
        return;
    } else if (isZeroIdentity(k.rec.gmClkId.str())) {
        now.state = ClockChange::NoLeader;
    } else {
        const ClockStatus s = ClockStatus::of(k.rec, k.ptpState);
        now.state = s.leader ? ClockChange::Leader : s.locked ? ClockChange::Locked : ClockChange::Settling;
        now.leaderId = k.rec.gmClkId.str();
    }
    const ClockChange *last = k.history.empty() ? nullptr : &k.history.back();
    if (last && last->state == now.state && last->leaderId == now.leaderId)
        return;
    // Named only on a change: clock events come every second from every device.
    now.leaderDevId = deviceOfClock(now.leaderId);
    if (!now.leaderDevId.isEmpty())
        now.leaderName = m_devices.constFind(now.leaderDevId)->rec.name.str();
    const bool wasLocked = last && (last->state == ClockChange::Locked || last->state == ClockChange::Leader);
    const bool isLocked = now.state == ClockChange::Locked || now.state == ClockChange::Leader;
    const QString name = k.rec.name.str();
    // A follower's first lock after it appeared is the normal start, not news;
    // losing a lock it had is, and so is finding it again after that.
    if (last && last->state == ClockChange::Locked &&
        (now.state == ClockChange::Settling || now.state == ClockChange::NoLeader)) {
        add(EventLine::Warning, EventLine::Unlocked, devId, name);
        k.unlockReported = true;
    } else if (!wasLocked && isLocked && k.unlockReported) {
        add(EventLine::Info, EventLine::Relocked, devId, name);
        k.unlockReported = false;
    }
    k.history.push_back(now);
    if (int(k.history.size()) > kMaxClockChanges)
        k.history.pop_front();
    emit signal_clockChanged(devId);
}

QString EventMonitor::deviceOfClock(const QString &clockId) const
{
    if (clockId.isEmpty())
        return QString();
    for (auto it = m_devices.cbegin(); it != m_devices.cend(); ++it)
        if (it->recKnown && it->rec.myClkId.str() == clockId)
            return it.key();
    return QString();
}

QString EventMonitor::leaderLabel(const QString &clockId) const
{
    const QString devId = deviceOfClock(clockId);
    return devId.isEmpty() ? clockId : EventLine::deviceLabel(m_devices.constFind(devId)->rec.name.str(), devId);
}

void EventMonitor::updateLeaders()
{
    // The leader of a domain is the identity most of its devices follow (the
    // leader follows itself); a device that has not said its domain counts in
    // domain 0, where devices start.
    QMap<int, QHash<QString, int>> votes;
    for (const Known &k : qAsConst(m_devices)) {
        if (!k.present || !k.recKnown)
            continue;
        const QString gm = k.rec.gmClkId.str();
        if (!isZeroIdentity(gm))
            ++votes[qMax(0, k.domain)][gm];
    }
    for (auto d = votes.cbegin(); d != votes.cend(); ++d) {
        QString best;
        int bestVotes = 0;
        for (auto v = d->cbegin(); v != d->cend(); ++v)
            if (v.value() > bestVotes || (v.value() == bestVotes && v.key() < best)) {
                best = v.key();
                bestVotes = v.value();
            }
        const QString before = m_leaders.value(d.key());
        if (best == before)
            continue;
        const QString leaderDevId = deviceOfClock(best);
        if (leaderDevId.isEmpty()) {
            QPair<QString, qint64> &unnamed = m_unnamedLeaders[d.key()];
            if (unnamed.first != best)
                unnamed = qMakePair(best, m_clock());
            if (m_clock() - unnamed.second < kUnnamedLeaderMs)
                continue;
        }
        m_leaders.insert(d.key(), best);
        const QString domain = QString::number(d.key());
        if (before.isEmpty())
            add(EventLine::Info, EventLine::Leader, leaderDevId, {}, domain, {}, leaderLabel(best));
        else
            add(EventLine::Warning, EventLine::LeaderChanged, leaderDevId, {}, domain, leaderLabel(before),
                leaderLabel(best));
    }
}

QVector<EventMonitor::ClockChange> EventMonitor::clockHistory(const QString &devId) const
{
    QVector<ClockChange> out;
    const auto it = m_devices.constFind(devId);
    if (it != m_devices.cend())
        for (const ClockChange &c : it->history)
            out.append(c);
    return out;
}

QString EventMonitor::logText() const
{
    QString out;
    for (const EventLine &line : m_lines)
        out += line.logLine() + QLatin1Char('\n');
    return out;
}
