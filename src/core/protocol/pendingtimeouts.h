#pragma once

#include <QHash>
#include <QMutex>
#include <QString>
#include <QStringList>

/// Keyed countdowns for short-lived interface states (a device's blink
/// request, for one). Set from the interface thread, aged by the receive
/// thread's tick.
class PendingTimeouts
{
public:
    void start(const QString &key, int ms);
    void cancel(const QString &key);
    bool contains(const QString &key) const;
    /// Subtracts elapsedMs from every entry and returns the keys that ran out.
    QStringList age(int elapsedMs);

private:
    mutable QMutex m_mutex;
    QHash<QString, int> m_left;
};
