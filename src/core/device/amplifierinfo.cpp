#include "core/device/amplifierinfo.h"

#include <QJsonArray>

std::optional<AmplifierInfo> AmplifierInfo::fromReply(const QJsonObject &reply)
{
    if (reply.value(QLatin1String("ops")).toString() != QLatin1String("getInfo")
        || reply.value(QLatin1String("result")).toString() != QLatin1String("succ"))
        return std::nullopt;
    AmplifierInfo info;
    info.power = reply.value(QLatin1String("power")).toString() == QLatin1String("1");
    for (const QJsonValue &v : reply.value(QLatin1String("gainArr")).toArray())
        info.gainsDb.append(v.toString().toDouble());
    for (const QJsonValue &v : reply.value(QLatin1String("tempArr")).toArray())
        info.temperatures.append(v.toString());
    info.voltage = reply.value(QLatin1String("voltage")).toString();
    return info;
}
