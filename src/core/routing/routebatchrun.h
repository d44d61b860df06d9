#pragma once

#include "core/routing/bulkroute.h"

#include <QHash>
#include <QJsonObject>
#include <QObject>
#include <QTimer>

#include <functional>

class DevManager;

/// Sends a confirmed batch of route commands one after another and follows
/// them until the receivers' own tables show every route, a device refuses,
/// or time runs out. A route counts as made only when the registry has it.
///
/// Also follows commands sent elsewhere (a click): give no sender.
/// Lives on the thread of the registry's reader (the interface thread).
class RouteBatchRun : public QObject
{
    Q_OBJECT
public:
    using Sender = std::function<void(const QJsonObject &command)>;

    struct Result
    {
        QVector<RouteChange> done;        // seen on the network, in the batch's order
        QVector<RouteRefusal> refused;    // refused by a device, or not seen in time
    };

    /// With no sender, the commands are taken as already sent.
    RouteBatchRun(const DevManager &registry, QVector<PlannedRoute> routes, Sender send, QObject *parent = nullptr);

    /// How long to wait for the last route after the last command (default 5 s).
    void setPatience(int ms) { m_patienceMs = ms; }
    void start();
    bool isFinished() const { return m_finished; }
    int total() const { return m_routes.size(); }
    static bool isSeen(const DevManager &registry, const RouteChange &change);

public slots:
    /// Every reply the program receives; a route reply from a receiver of the batch paces and judges it.
    void slot_message(const QString &json);

signals:
    void signal_progress(int seen, int total);
    void signal_finished(const RouteBatchRun::Result &result);

private:
    void sendNext();
    void check();
    void finish();

    const DevManager &m_registry;
    QVector<PlannedRoute> m_routes;
    Sender m_send;
    QVector<bool> m_seen;
    int m_next = 0;
    QHash<QString, int> m_commands;  // by receiver: commands sent
    QHash<QString, int> m_replies;   // by receiver: route replies received
    QHash<QString, int> m_failures;
    QHash<QString, QString> m_reason;  // by receiver: the last refusal, in the user's words
    QTimer m_poll;
    QTimer m_pace;
    QTimer m_patience;
    int m_patienceMs = 5000;
    int m_lastSeen = -1;
    bool m_finished = false;
};
