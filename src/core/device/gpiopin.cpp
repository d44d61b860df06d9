#include "core/device/gpiopin.h"

#include <QJsonArray>

namespace {

bool succeeded(const QJsonObject &reply, const char *op)
{
    return reply.value(QLatin1String("ops")).toString() == QLatin1String(op)
           && reply.value(QLatin1String("result")).toString() == QLatin1String("succ");
}

bool readIndex(const QJsonObject &o, int *index)
{
    bool ok = false;
    *index = o.value(QLatin1String("index")).toString().toInt(&ok);
    return ok && *index >= 0;
}

} // namespace

std::optional<QVector<GpioPin>> GpioPin::listFromReply(const QJsonObject &reply)
{
    if (!succeeded(reply, "getGpioInfo"))
        return std::nullopt;
    QVector<GpioPin> pins;
    for (const QJsonValue &v : reply.value(QLatin1String("arr")).toArray()) {
        const QJsonObject o = v.toObject();
        GpioPin pin;
        if (!readIndex(o, &pin.index))
            continue;
        pin.output = o.value(QLatin1String("dir")).toString() == QLatin1String("out");
        pin.high = o.value(QLatin1String("isHigh")).toString() == QLatin1String("1");
        pins.append(pin);
    }
    return pins;
}

std::optional<GpioPin> GpioPin::testResult(const QJsonObject &reply)
{
    GpioPin pin;
    if (!succeeded(reply, "testGpio"))
        return std::nullopt;
    if (!readIndex(reply, &pin.index))
        pin.index = -1;
    pin.high = reply.value(QLatin1String("isHigh")).toString() == QLatin1String("1");
    return pin;
}
