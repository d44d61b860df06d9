#include "core/monitor/debuginfo.h"

std::optional<DebugInfo> DebugInfo::fromReply(const QJsonObject &reply)
{
    if (reply.value(QLatin1String("ops")).toString() != QLatin1String("getDebugInfo") ||
        reply.value(QLatin1String("result")).toString() != QLatin1String("succ"))
        return std::nullopt;
    DebugInfo d;
    d.devId = reply.value(QLatin1String("devId")).toString();
    d.devName = reply.value(QLatin1String("devName")).toString();
    d.temp = reply.value(QLatin1String("temp")).toString();
    d.uptime = reply.value(QLatin1String("uptime")).toString();
    return d;
}
