#pragma once

#include <QJsonObject>
#include <QString>
#include <QtGlobal>

/// One thing an operator must know, as the events panel, the saved log and
/// `corvane-cli events` show it. The words are made when the line is shown,
/// so a language switch reaches lines already written.
struct EventLine
{
    enum Severity { Info, Warning, Error };
    enum Kind {
        Found,         // a device announced itself for the first time
        Lost,          // the registry aged it out
        Back,          // found again after it was lost
        Leader,        // the first leader seen in a PTP domain
        LeaderChanged, // another device leads the domain now
        Unlocked,      // a locked follower fell out of lock
        Relocked,      // ... and locked again
        TempHigh,      // warning level of the statistics page
        TempAbnormal,  // error level of the statistics page
        TempNormal,    // back at or below the warning limit
        RouteRefused,  // a receive channel's route change was refused
        FlowRefused,   // a multicast flow's creation or removal was refused
        LockRefused,   // a lock or password change refused, or a command refused by the device's lock
    };

    qint64 atMs = 0; // milliseconds since the epoch
    Severity severity = Info;
    Kind kind = Found;
    QString devId;
    QString name;
    /// Kind-dependent: the domain and the two leaders; the temperature; the
    /// refused operation and the device's reason.
    QString a, b, c;

    QString text() const;
    /// "2024-05-01 14:03:07.250  Warning  Stage Box 2 (SIM-0004) lost ..."
    QString logLine() const;
    /// {"time", "ms", "severity", "kind", "devId", "name", "text"} for --json.
    QJsonObject toJson() const;

    bool isAlert() const { return severity != Info; }
    static QString severityText(Severity s);
    static const char *severityName(Severity s);
    static const char *kindName(Kind k);
    /// "Name (devId)", or the one of them that is known.
    static QString deviceLabel(const QString &name, const QString &devId);
    static QString timeText(qint64 atMs, bool withDate);
};
