#include "core/routing/routehistory.h"

#include "core/app/texts.h"

#include <algorithm>

namespace {

bool sameChannel(const RouteChange &a, const RouteChange &b)
{
    return a.rxDevId == b.rxDevId && a.rxCh == b.rxCh;
}

bool contains(const QVector<RouteChange> &list, const RouteChange &c)
{
    return std::any_of(list.cbegin(), list.cend(), [&c](const RouteChange &x) { return sameChannel(x, c); });
}

} // namespace

void RouteHistory::record(RouteStep step)
{
    if (step.changes.isEmpty())
        return;
    m_redo.clear();
    m_undo.append(std::move(step));
    if (m_undo.size() > m_limit)
        m_undo.removeFirst();
}

RouteHistory::Replay RouteHistory::plan(Direction direction, const RouteNetwork &live) const
{
    Replay r;
    r.direction = direction;
    const QVector<RouteStep> &stack = direction == Undo ? m_undo : m_redo;
    if (stack.isEmpty())
        return r;
    const RouteStep &step = stack.last();
    r.label = step.label;
    // Undo takes the step back last change first, so a channel changed twice ends where it began.
    QVector<RouteChange> wanted;
    wanted.reserve(step.changes.size());
    if (direction == Undo) {
        for (auto it = step.changes.crbegin(); it != step.changes.crend(); ++it)
            wanted.append(inverse(*it));
    } else {
        wanted = step.changes;
    }
    for (const RouteChange &c : wanted) {
        if (!live.device(c.rxDevId)) {
            r.stale.append({c, tx(Tx::BulkDeviceGone).arg(c.rxDevId)});
            continue;
        }
        const RouteSource now = live.routeOf(c.rxDevId, c.rxCh);
        if (now != c.before) {
            r.stale.append({c, tx(Tx::RouteChangedSince).arg(now.text())});
            continue;
        }
        r.batch.add(live, c);
    }
    return r;
}

void RouteHistory::finish(const Replay &replay, const QVector<RouteChange> &done)
{
    QVector<RouteStep> &from = replay.direction == Undo ? m_undo : m_redo;
    QVector<RouteStep> &to = replay.direction == Undo ? m_redo : m_undo;
    if (from.isEmpty())
        return;
    RouteStep step = from.takeLast();

    // A channel already as the replay wanted counts as done: the step is behind it either way.
    QVector<RouteChange> reached = done;
    for (const RouteChange &c : replay.batch.unchanged)
        reached.append(c);

    RouteStep left{step.label, {}};
    for (const RouteChange &c : step.changes) {
        const RouteChange wanted = replay.direction == Undo ? inverse(c) : c;
        const bool wasStale = std::any_of(replay.stale.cbegin(), replay.stale.cend(),
                                          [&wanted](const StaleChange &s) { return sameChannel(s.change, wanted); });
        if (!wasStale && !contains(reached, wanted))
            left.changes.append(c);
    }
    RouteStep moved{step.label, {}};
    for (const RouteChange &c : step.changes)
        if (contains(reached, c))
            moved.changes.append(c);
    if (!moved.changes.isEmpty())
        to.append(moved);
    if (!left.changes.isEmpty())
        from.append(left);
}
