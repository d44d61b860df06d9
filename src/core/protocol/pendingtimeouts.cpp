#include "core/protocol/pendingtimeouts.h"

#include <QMutexLocker>

void PendingTimeouts::start(const QString &key, int ms)
{
    QMutexLocker lock(&m_mutex);
    m_left.insert(key, ms);
}

void PendingTimeouts::cancel(const QString &key)
{
    QMutexLocker lock(&m_mutex);
    m_left.remove(key);
}

bool PendingTimeouts::contains(const QString &key) const
{
    QMutexLocker lock(&m_mutex);
    return m_left.contains(key);
}

QStringList PendingTimeouts::age(int elapsedMs)
{
    QStringList expired;
    QMutexLocker lock(&m_mutex);
    for (auto it = m_left.begin(); it != m_left.end();) {
        it.value() -= elapsedMs;
        if (it.value() <= 0) {
            expired.append(it.key());
            it = m_left.erase(it);
        } else {
            ++it;
        }
    }
    return expired;
}
