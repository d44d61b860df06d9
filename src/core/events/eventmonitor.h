#pragma once

#include "core/devices/devicerecord.h"
#include "core/devices/registrynotice.h"
#include "core/events/eventline.h"

#include <QHash>
#include <QJsonObject>
#include <QMap>
#include <QObject>
#include <QVector>
#include <deque>
#include <functional>

/// Turns the registry's notices, the device list and the replies and events
/// the pages see into the event log, and keeps each device's clock history.
/// Time comes from the clock it is given, so tests drive it.
///
/// Lives on the interface thread; fed by EventFeed (or by hand in tests).
class EventMonitor : public QObject
{
    Q_OBJECT
public:
    /// Milliseconds since the epoch.
    using Clock = std::function<qint64()>;
    static constexpr int kMaxLines = 10000;
    static constexpr int kMaxClockChanges = 200;
    /// A leader that is none of the known devices is reported after this
    /// long: the device it is may announce itself a moment later.
    static constexpr int kUnnamedLeaderMs = 5000;

    /// One step of a device's clock history.
    struct ClockChange
    {
        enum State { NoLeader, Leader, Settling, Locked, Gone };
        qint64 atMs = 0;
        State state = NoLeader;
        QString leaderId;                // the leader's clock identity as the device announced it
        QString leaderName, leaderDevId; // when the leader is a known device
        QString stateText() const;
        /// "Name (devId)" of a known leader, else its clock identity.
        QString leaderText() const;
    };

    explicit EventMonitor(Clock clock = {}, QObject *parent = nullptr);

    /// A registry notice; device kinds only count.
    void onNotice(const RegistryNotice &notice);
    /// The registry's devices now: clock states and each domain's leader.
    void onDevices(const QVector<DevRecord> &records);
    /// A message as the pages get it (a reply or a clock event).
    void onMessage(const QJsonObject &message);

    /// Oldest first, at most kMaxLines.
    const std::deque<EventLine> &lines() const { return m_lines; }
    /// Warnings and errors added since markSeen().
    int unseenAlerts() const { return m_unseen; }
    void markSeen();
    QVector<ClockChange> clockHistory(const QString &devId) const;
    /// The whole log as text, a line per event, oldest first.
    QString logText() const;

signals:
    void signal_added(const EventLine &line);
    void signal_unseenChanged(int count);
    void signal_clockChanged(const QString &devId);

private:
    struct Known
    {
        DevRecord rec;
        bool recKnown = false;
        bool present = false;
        bool lost = false;
        int ptpState = -1;
        int domain = -1;
        bool unlockReported = false;
        int tempLevel = 0; // RowProblem::Level
        std::deque<ClockChange> history;
    };

    void add(EventLine::Severity severity, EventLine::Kind kind, const QString &devId, const QString &name,
             const QString &a = {}, const QString &b = {}, const QString &c = {});
    void updateClock(const QString &devId, Known &k);
    void updateLeaders();
    QString leaderLabel(const QString &clockId) const;
    /// The known device with this clock identity, or none.
    QString deviceOfClock(const QString &clockId) const;

    Clock m_clock;
    std::deque<EventLine> m_lines;
    int m_unseen = 0;
    QHash<QString, Known> m_devices;
    QMap<int, QString> m_leaders;                       // domain -> the leader's clock identity
    QMap<int, QPair<QString, qint64>> m_unnamedLeaders; // domain -> an unknown leader and since when
};

Q_DECLARE_METATYPE(EventLine)
