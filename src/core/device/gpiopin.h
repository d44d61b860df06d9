#pragma once

#include <QJsonObject>
#include <QVector>
#include <optional>

/// One GPIO pin as "getGpioInfo" lists it, read once at the edge.
struct GpioPin
{
    int index = 0;
    bool output = false;
    bool high = false;

    /// Empty unless the reply is a successful "getGpioInfo"; pins without a
    /// readable index are left out.
    static std::optional<QVector<GpioPin>> listFromReply(const QJsonObject &reply);
    /// The level a successful "testGpio" read back; index -1 when the reply
    /// does not name the pin (the asker knows which one it tested).
    static std::optional<GpioPin> testResult(const QJsonObject &reply);
};
