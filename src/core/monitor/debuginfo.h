#pragma once

#include <QJsonObject>
#include <QString>
#include <optional>

/// A device's answer to "getDebugInfo", read once at the edge.
struct DebugInfo
{
    QString devId;
    QString devName;
    QString temp;   // thousandths of a degree, as the device wrote it
    QString uptime; // seconds, may hold a fraction

    /// Empty unless the message is a "getDebugInfo" reply with "result" "succ".
    static std::optional<DebugInfo> fromReply(const QJsonObject &reply);
};
