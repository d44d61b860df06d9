#pragma once

#include "core/routing/bulkroute.h"

#include <QVector>

/// One undoable routing action: a click or a whole batch.
struct RouteStep
{
    QString label;                 // what the menu says: "Bulk route Console → Stage Box"
    QVector<RouteChange> changes;  // in the order they were made, each before → after
};

/// A route change that will not be replayed, and why.
struct StaleChange
{
    RouteChange change;  // in the direction it would have gone
    QString reason;
};

/// The routing page's undo and redo. Steps hold device ids and channel
/// numbers only, so they survive every rebuild of the grid; what was there
/// is checked against the live network when a step is replayed, and a
/// channel someone else has changed since is reported, never overwritten.
class RouteHistory
{
public:
    enum Direction { Undo, Redo };

    /// Replaying the top step of one stack against the live network.
    struct Replay
    {
        Direction direction = Undo;
        QString label;
        /// The changes to send, planned through the click's checks.
        RouteBatch batch;
        /// Channels no longer as the step left them, or on a device that has gone.
        QVector<StaleChange> stale;
    };

    explicit RouteHistory(int limit = 100) : m_limit(limit) {}

    /// A new action: goes on the undo stack and forgets what could be redone.
    void record(RouteStep step);
    bool canUndo() const { return !m_undo.isEmpty(); }
    bool canRedo() const { return !m_redo.isEmpty(); }
    QString undoLabel() const { return canUndo() ? m_undo.last().label : QString(); }
    QString redoLabel() const { return canRedo() ? m_redo.last().label : QString(); }
    int undoCount() const { return m_undo.size(); }
    int redoCount() const { return m_redo.size(); }

    /// Plans the top step of the stack; the stacks are left as they are until finish().
    Replay plan(Direction direction, const RouteNetwork &live) const;
    /// What came of a replay: `done` are the changes seen on the network, in
    /// the replay's direction. They move to the other stack as one step; what
    /// failed for another reason (a refusal, a lost reply) stays on top for
    /// another try; stale changes are dropped.
    void finish(const Replay &replay, const QVector<RouteChange> &done);

private:
    QVector<RouteStep> m_undo;
    QVector<RouteStep> m_redo;
    int m_limit;
};
