#pragma once

#include <QJsonObject>
#include <QStringList>
#include <optional>

/// An RK7731 amplifier's answer to "getTarnAmpInfo", read once at the edge.
struct TarnAmpInfo
{
    bool power = false;
    QString voltage;          // volts, as the device wrote it
    QString protect;          // "0" normal, else a fault code ("2": over-temperature)
    QStringList temperatures; // thousandths of a degree, per output

    /// Empty unless the message is a "getTarnAmpInfo" reply with "result" "succ".
    static std::optional<TarnAmpInfo> fromReply(const QJsonObject &reply);

    /// "Amplifier power: on · supply: 48.2 V · Output 1: 79.8 °C · Output 2: 80.2 °C" in the current language.
    QString summary() const;
};
