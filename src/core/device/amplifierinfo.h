#pragma once

#include <QJsonObject>
#include <QStringList>
#include <QVector>
#include <optional>

/// An amplifier's answer to "getInfo", read once at the edge.
struct AmplifierInfo
{
    bool power = false;
    QVector<double> gainsDb;        // per output
    QStringList temperatures;       // thousandths of a degree, per channel
    QString voltage;                // volts, as the device wrote it

    /// Empty unless the reply is a successful "getInfo".
    static std::optional<AmplifierInfo> fromReply(const QJsonObject &reply);
};
