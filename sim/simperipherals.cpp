#include "simperipherals.h"

#include "simdevice.h"
#include "simlevels.h"
#include "simrequest.h"
#include "simtext.h"

#include <QJsonArray>
#include <cmath>

using SimRequest::readInt;
using SimRequest::readReal;
using SimRequest::readText;
using SimText::badParam;
using SimText::num;

SimPeripherals::SimPeripherals(SimDevice &device, const SimDeviceProfile &profile)
    : m_device(device)
    , m_ampGain(profile.amplifier ? profile.phyChNumTx : 0, 0.0)
    , m_gpio(profile.gpioNum)
{
    for (int i = 0; i < m_gpio.size(); ++i)
        m_gpio[i].output = i % 2 == 1;
    m_cfg = QJsonObject{{QStringLiteral("panelBrightness"), QStringLiteral("80")},
                        {QStringLiteral("fanMode"), QStringLiteral("auto")},
                        {QStringLiteral("location"), QString()}};
}

QString SimPeripherals::opAmplifier(const QJsonObject &req, QJsonObject &r)
{
    const QString ops = r.value(QLatin1String("ops")).toString();
    const SimDeviceProfile &profile = m_device.profile();
    if (!profile.amplifier || (ops == QLatin1String("getTarnAmpInfo") && m_device.model() != QLatin1String("RK7731")))
        return SimText::unknownOps;
    const SimLevels &levels = m_device.levels();
    QJsonArray temps;
    for (int i = 0; i < m_ampGain.size(); ++i)
        temps.append(num(levels.temperature() - 3000 + i * 400));
    const QString volts = m_power ? QString::number(48.0 + (levels.seed() % 5) / 10.0, 'f', 1) : QStringLiteral("0.0");
    if (ops == QLatin1String("getInfo")) {
        QJsonArray gains;
        for (double g : qAsConst(m_ampGain))
            gains.append(QString::number(g, 'f', 1));
        r.insert(QStringLiteral("power"), m_power ? QStringLiteral("1") : QStringLiteral("0"));
        r.insert(QStringLiteral("gainArr"), gains);
        r.insert(QStringLiteral("tempArr"), temps);
        r.insert(QStringLiteral("voltage"), volts);
    } else if (ops == QLatin1String("getTarnAmpInfo")) {
        r.insert(QStringLiteral("power"), m_power ? QStringLiteral("1") : QStringLiteral("0"));
        r.insert(QStringLiteral("voltage"), volts);
        // An overheating amplifier protects itself: fault code 2.
        r.insert(QStringLiteral("protect"),
                 profile.faults.hot == QLatin1String("error") ? QStringLiteral("2") : QStringLiteral("0"));
        r.insert(QStringLiteral("tempArr"), temps);
    } else if (ops == QLatin1String("setGain")) {
        bool okCh = false, okGain = false;
        const int ch = readInt(req, "chId", &okCh);
        const double gain = readReal(req, "gain", &okGain);
        if (!okCh || !okGain || ch < 0 || ch >= m_ampGain.size() || gain < -80.0 || gain > 12.0)
            return badParam;
        m_ampGain[ch] = std::round(gain * 10.0) / 10.0;
    } else {
        QString v;
        if (!readText(req, "val", &v) || (v != QLatin1String("0") && v != QLatin1String("1")))
            return badParam;
        m_power = v == QLatin1String("1");
        m_device.log(m_power ? QStringLiteral("amplifier on") : QStringLiteral("amplifier off"));
    }
    return QString();
}

QString SimPeripherals::opGpio(const QJsonObject &req, QJsonObject &r)
{
    const QString ops = r.value(QLatin1String("ops")).toString();
    if (ops == QLatin1String("getGpioInfo")) {
        QJsonArray arr;
        for (int i = 0; i < m_gpio.size(); ++i)
            arr.append(
                QJsonObject{{QStringLiteral("index"), num(i)},
                            {QStringLiteral("dir"), m_gpio[i].output ? QStringLiteral("out") : QStringLiteral("in")},
                            {QStringLiteral("isHigh"), m_gpio[i].high ? QStringLiteral("1") : QStringLiteral("0")}});
        r.insert(QStringLiteral("arr"), arr);
        return QString();
    }
    bool ok = false;
    const int index = readInt(req, "index", &ok);
    if (!ok || index < 0 || index >= m_gpio.size())
        return badParam;
    Gpio &g = m_gpio[index];
    if (ops == QLatin1String("setGpioInfo")) {
        const QJsonObject info = req.value(QLatin1String("gpioInfo")).toObject();
        const QString dir = info.value(QLatin1String("dir")).toString();
        const QString high = info.value(QLatin1String("isHigh")).toString();
        if ((dir != QLatin1String("in") && dir != QLatin1String("out")) ||
            (high != QLatin1String("0") && high != QLatin1String("1")))
            return badParam;
        g.output = dir == QLatin1String("out");
        g.high = g.output && high == QLatin1String("1");
        return QString();
    }
    QString high;
    if (!readText(req, "isHigh", &high) || (high != QLatin1String("0") && high != QLatin1String("1")))
        return badParam;
    // Only an output follows the test; an input reads what is wired to it.
    if (g.output)
        g.high = high == QLatin1String("1");
    r.insert(QStringLiteral("index"), num(index));
    r.insert(QStringLiteral("isHigh"), g.high ? QStringLiteral("1") : QStringLiteral("0"));
    return QString();
}

QString SimPeripherals::opCfg(const QJsonObject &req, QJsonObject &r)
{
    if (r.value(QLatin1String("ops")).toString() == QLatin1String("getCfg")) {
        r.insert(QStringLiteral("cfg"), m_cfg);
        return QString();
    }
    const QJsonValue v = req.value(QLatin1String("cfg"));
    if (!v.isObject())
        return badParam;
    const QJsonObject cfg = v.toObject();
    for (auto it = cfg.begin(); it != cfg.end(); ++it)
        if (!it.value().isString())
            return badParam;
    for (auto it = cfg.begin(); it != cfg.end(); ++it)
        m_cfg.insert(it.key(), it.value());
    return QString();
}

QString SimPeripherals::opUart(const QJsonObject &req, QJsonObject &r)
{
    QString data;
    if (!readText(req, "data", &data))
        return badParam;
    // A loop-back plug on the serial port: what goes out comes back.
    r.insert(QStringLiteral("back"), data);
    return QString();
}
