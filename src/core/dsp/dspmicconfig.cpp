#include "core/dsp/dspmicconfig.h"

#include "core/dsp/dspjsonwriter.h"

#include <QJsonArray>

namespace {

bool succeeded(const QJsonObject &reply, const char *ops)
{
    return reply.value(QLatin1String("ops")).toString() == QLatin1String(ops) &&
           reply.value(QLatin1String("result")).toString() == QLatin1String("succ");
}

// One input as the device writes it: whole decibels within range and a flag, every scalar a string.
std::optional<DspMicConfig::Input> readInput(const QJsonObject &o)
{
    const QJsonValue gain = o.value(QLatin1String("gainDb"));
    const QJsonValue phantom = o.value(QLatin1String("phantom"));
    bool ok = false;
    const int g = gain.toString().toInt(&ok);
    if (!gain.isString() || !ok || g < DspMicConfig::kMinGainDb || g > DspMicConfig::kMaxGainDb || !phantom.isString())
        return std::nullopt;
    const QString p = phantom.toString();
    if (p != QLatin1String("0") && p != QLatin1String("1"))
        return std::nullopt;
    return DspMicConfig::Input{g, p == QLatin1String("1")};
}

} // namespace

QString DspMicConfig::getRequest()
{
    QByteArray out;
    DspJsonWriter w(&out);
    w.beginObject();
    w.key("ops");
    w.text("getMicConfig");
    w.key("uiTag");
    w.text("dspUiTag");
    w.endObject();
    return QString::fromUtf8(out);
}

QString DspMicConfig::setRequest(int portIndex, const Input &input)
{
    QByteArray out;
    DspJsonWriter w(&out);
    w.beginObject();
    w.key("gainDb");
    w.integer(qBound(kMinGainDb, input.gainDb, kMaxGainDb));
    w.key("ops");
    w.text("setMicConfig");
    w.key("phantom");
    w.flag(input.phantom);
    w.key("portIndex");
    w.integer(portIndex);
    w.key("uiTag");
    w.text("dspUiTag");
    w.endObject();
    return QString::fromUtf8(out);
}

QString DspMicConfig::setKey(int portIndex)
{
    return QStringLiteral("setMicConfig/%1").arg(portIndex);
}

std::optional<QVector<DspMicConfig::Input>> DspMicConfig::readInputs(const QJsonObject &reply)
{
    if (!succeeded(reply, "getMicConfig") || !reply.value(QLatin1String("arr")).isArray())
        return std::nullopt;
    QVector<Input> inputs;
    for (const QJsonValue &v : reply.value(QLatin1String("arr")).toArray()) {
        const std::optional<Input> input = readInput(v.toObject());
        if (!v.isObject() || !input)
            return std::nullopt;
        inputs.append(*input);
    }
    return inputs;
}

std::optional<DspMicConfig::Input> DspMicConfig::readSet(const QJsonObject &reply)
{
    if (!succeeded(reply, "setMicConfig"))
        return std::nullopt;
    return readInput(reply);
}
