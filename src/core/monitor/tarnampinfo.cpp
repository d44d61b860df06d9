#include "core/monitor/tarnampinfo.h"

#include "core/monitor/netstatsdisplay.h"
#include "core/app/texts.h"

#include <QJsonArray>

std::optional<TarnAmpInfo> TarnAmpInfo::fromReply(const QJsonObject &reply)
{
    if (reply.value(QLatin1String("ops")).toString() != QLatin1String("getTarnAmpInfo") ||
        reply.value(QLatin1String("result")).toString() != QLatin1String("succ"))
        return std::nullopt;
    TarnAmpInfo info;
    info.power = reply.value(QLatin1String("power")).toString() == QLatin1String("1");
    info.voltage = reply.value(QLatin1String("voltage")).toString();
    info.protect = reply.value(QLatin1String("protect")).toString();
    for (const QJsonValue &v : reply.value(QLatin1String("tempArr")).toArray())
        info.temperatures.append(v.toString());
    return info;
}

QString TarnAmpInfo::summary() const
{
    // Every figure carries its label: a bare second temperature was read as the device's own.
    QStringList parts{tx(Tx::NetTempTipAmp)
                          .arg(tx(power ? Tx::AmpPowerOn : Tx::AmpPowerOff),
                               voltage.isEmpty() ? QStringLiteral("?") : voltage)};
    for (int i = 0; i < temperatures.size(); ++i) {
        int tenths = 0;
        const QString t = NetStatsDisplay::temperatureTenths(temperatures.at(i), &tenths)
                              ? QString::number(tenths / 10.0, 'f', 1)
                              : QStringLiteral("?");
        parts.append(tx(Tx::NetTempTipOutput).arg(i + 1).arg(t));
    }
    return parts.join(QStringLiteral(" · "));
}
