#include "core/events/eventline.h"

#include "core/app/texts.h"
#include "core/protocol/replyrouter.h"

#include <QDateTime>

QString EventLine::deviceLabel(const QString &name, const QString &devId)
{
    if (name.isEmpty() || name == devId)
        return devId;
    if (devId.isEmpty())
        return name;
    return tx(Tx::EvDeviceLabel).arg(name, devId);
}

QString EventLine::timeText(qint64 atMs, bool withDate)
{
    return QDateTime::fromMSecsSinceEpoch(atMs).toString(withDate ? QStringLiteral("yyyy-MM-dd hh:mm:ss.zzz")
                                                                  : QStringLiteral("hh:mm:ss"));
}

QString EventLine::text() const
{
    const QString who = deviceLabel(name, devId);
    switch (kind) {
    case Found: return tx(Tx::EvFound).arg(who);
    case Lost: return tx(Tx::EvLost).arg(who);
    case Back: return tx(Tx::EvBack).arg(who);
    case Leader: return tx(Tx::EvLeader).arg(a, c);
    case LeaderChanged: return tx(Tx::EvLeaderChanged).arg(a, b, c);
    case Unlocked: return tx(Tx::EvUnlocked).arg(who);
    case Relocked: return tx(Tx::EvRelocked).arg(who);
    // The statistics page's own words, so the row's tip and the log agree.
    case TempHigh: return tx(Tx::EvTemperature).arg(name + tx(Tx::TempHighTip), a);
    case TempAbnormal: return tx(Tx::EvTemperature).arg(name + tx(Tx::TempAbnormalTip), a);
    case TempNormal: return tx(Tx::EvTempNormal).arg(who, a);
    // The snack bar's words for the same reply.
    case RouteRefused: return tx(Tx::EvRouteRefused).arg(who, a, ReplyRouter::reasonText(a, b));
    case FlowRefused: return tx(Tx::EvFlowRefused).arg(who, a, ReplyRouter::reasonText(a, b));
    case LockRefused: return tx(Tx::EvLockRefused).arg(who, a, ReplyRouter::reasonText(a, b));
    }
    return QString();
}

QString EventLine::severityText(Severity s)
{
    return tx(s == Error ? Tx::EvError : s == Warning ? Tx::EvWarning : Tx::EvInfo);
}

const char *EventLine::severityName(Severity s)
{
    return s == Error ? "error" : s == Warning ? "warning" : "info";
}

const char *EventLine::kindName(Kind k)
{
    static const char *const names[] = {"found",        "lost",        "back",       "leader",       "leaderChanged",
                                        "unlocked",     "relocked",    "tempHigh",   "tempAbnormal", "tempNormal",
                                        "routeRefused", "flowRefused", "lockRefused"};
    return names[k];
}

QString EventLine::logLine() const
{
    return timeText(atMs, true) + QStringLiteral("  ") + severityText(severity).leftJustified(7) +
           QStringLiteral("  ") + text();
}

QJsonObject EventLine::toJson() const
{
    return QJsonObject{{QStringLiteral("time"), QDateTime::fromMSecsSinceEpoch(atMs).toString(Qt::ISODateWithMs)},
                       {QStringLiteral("ms"), double(atMs)},
                       {QStringLiteral("severity"), QLatin1String(severityName(severity))},
                       {QStringLiteral("kind"), QLatin1String(kindName(kind))},
                       {QStringLiteral("devId"), devId},
                       {QStringLiteral("name"), name},
                       {QStringLiteral("text"), text()}};
}
