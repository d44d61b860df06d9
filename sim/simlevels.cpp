#include "simlevels.h"

#include "simdevice.h"
#include "simflows.h"
#include "simnetwork.h"
#include "simperipherals.h"
#include "simrequest.h"
#include "simrouting.h"
#include "simtext.h"

#include <QJsonArray>

#include <cmath>
#include <limits>

using SimRequest::readInt;
using SimRequest::readReal;
using SimRequest::readText;

namespace {

const double silence = std::numeric_limits<double>::quiet_NaN();

} // namespace

SimLevels::SimLevels(SimDevice &device, const SimDeviceProfile &profile)
    : m_device(device)
    , m_seed(SimText::stableHash(profile.devId))
    , m_phyGainRx(profile.phyChNumRx, 0.0)
    , m_phyGainTx(profile.phyChNumTx, 0.0)
    , m_phyMuteRx(profile.phyChNumRx, false)
    , m_phyMuteTx(profile.phyChNumTx, false)
    , m_micGainDb(profile.phyChNumRx, 0)
    , m_phantom(profile.phyChNumRx, false)
{}

double SimLevels::phyIn(int ch) const
{
    const SimDeviceProfile &p = m_device.profile();
    if (ch < 0 || ch >= p.phyChNumRx || p.silentInputs.contains(ch) || m_phyMuteRx.value(ch))
        return silence;
    // Programme material: each channel at its own level, swelling slowly, with some flicker.
    const quint32 h = m_seed ^ (quint32(ch) * 2654435761u);
    const double t = m_device.now() / 1000.0;
    const double base = -14.0 - double(h % 24);
    const double swell = 6.0 * std::sin(t / (2.0 + (h >> 8) % 5) + (h >> 16) % 7);
    const double flicker = 1.5 * std::sin(t * 7.3 + (h >> 4) % 11);
    return qMin(-0.5, base + swell + flicker + m_micGainDb.value(ch) + m_phyGainRx.value(ch));
}

double SimLevels::netTx(int ch) const
{
    const SimDeviceProfile &p = m_device.profile();
    if (ch < 0 || ch >= p.chNumTx)
        return silence;
    if (p.phyChNumRx == 0 && ch < 2) {
        // A virtual sound card sends what the computer plays on its first two channels.
        const double t = m_device.now() / 1000.0;
        return -16.0 + 5.0 * std::sin(t / 3.0 + ch);
    }
    return phyIn(ch);
}

double SimLevels::netRx(int ch) const
{
    const SimDevice *tx = nullptr;
    int txChannel = -1;
    if (!m_device.routing().source(ch, &tx, &txChannel) || !tx)
        return silence;
    return tx->levels().netTx(txChannel);
}

double SimLevels::phyOut(int ch) const
{
    const SimDeviceProfile &p = m_device.profile();
    const SimPeripherals &amp = m_device.peripherals();
    if (ch < 0 || ch >= p.phyChNumTx || m_phyMuteTx.value(ch) || (p.amplifier && !amp.powered()))
        return silence;
    // Physical levels are in dBV: full scale sits at +18 dBV.
    return qMin(18.0, netRx(ch) + 18.0 + m_phyGainTx.value(ch) + amp.ampGain(ch));
}

int SimLevels::temperature() const
{
    const double t = m_device.now() / 1000.0;
    const double wave = std::sin(t / 20.0 + (m_seed % 628) / 100.0);
    const QString &hot = m_device.profile().faults.hot;
    if (hot == QLatin1String("warn"))
        return 82750 + int(2000 * wave); // 80.75 to 84.75 °C: above 80, not above 85
    if (hot == QLatin1String("error"))
        return 86500 + int(400 * wave);
    return 41000 + int(m_seed % 6000) + int(1500 * wave);
}

bool SimLevels::page(const QString &ops, int *size, std::function<QJsonValue(int)> *item) const
{
    const SimDeviceProfile &s = m_device.profile();
    auto levels = [&](int count, double (SimLevels::*level)(int) const) {
        *size = count;
        *item = [this, level](int i) { return QJsonValue(SimText::levelText((this->*level)(i))); };
    };
    if (ops == QLatin1String("getAllPhyVolumeDbRx")) {
        levels(s.phyChNumRx, &SimLevels::phyInDbv);
    } else if (ops == QLatin1String("getAllPhyVolumeDbTx")) {
        levels(s.phyChNumTx, &SimLevels::phyOut);
    } else if (ops == QLatin1String("getAllVolumeDbRx")) {
        levels(s.chNumRx, &SimLevels::netRx);
    } else if (ops == QLatin1String("getAllVolumeDbTx")) {
        levels(s.chNumTx, &SimLevels::netTx);
    } else if (ops == QLatin1String("getAllPhyGainDbRx") || ops == QLatin1String("getAllPhyGainDbTx")) {
        const QVector<double> gains = ops.endsWith(QLatin1String("Rx")) ? m_phyGainRx : m_phyGainTx;
        *size = gains.size();
        *item = [gains](int i) { return QJsonValue(QString::number(gains[i], 'f', 1)); };
    } else if (ops == QLatin1String("getAllPhyMuteRx") || ops == QLatin1String("getAllPhyMuteTx")) {
        const QVector<bool> mutes = ops.endsWith(QLatin1String("Rx")) ? m_phyMuteRx : m_phyMuteTx;
        *size = mutes.size();
        *item = [mutes](int i) { return QJsonValue(mutes[i] ? QStringLiteral("1") : QStringLiteral("0")); };
    } else {
        return false;
    }
    return true;
}

QString SimLevels::opPhyGainMute(const QJsonObject &req, QJsonObject &r)
{
    const QString ops = r.value(QLatin1String("ops")).toString();
    const bool rx = ops.endsWith(QLatin1String("Rx"));
    bool okCh = false;
    const int ch = readInt(req, "chId", &okCh);
    if (ops.startsWith(QLatin1String("setPhyGain"))) {
        QVector<double> &gains = rx ? m_phyGainRx : m_phyGainTx;
        bool ok = false;
        const double v = readReal(req, "val", &ok);
        if (!okCh || !ok || ch < 0 || ch >= gains.size() || v < -80.0 || v > 24.0)
            return SimText::badParam;
        gains[ch] = std::round(v * 10.0) / 10.0;
    } else {
        QVector<bool> &mutes = rx ? m_phyMuteRx : m_phyMuteTx;
        QString v;
        if (!okCh || ch < 0 || ch >= mutes.size() || !readText(req, "val", &v) ||
            (v != QLatin1String("0") && v != QLatin1String("1")))
            return SimText::badParam;
        mutes[ch] = v == QLatin1String("1");
    }
    return QString();
}

QString SimLevels::opMicConfig(const QJsonObject &req, QJsonObject &r)
{
    const auto flag = [](bool on) { return on ? QStringLiteral("1") : QStringLiteral("0"); };
    if (r.value(QLatin1String("ops")).toString() == QLatin1String("getMicConfig")) {
        QJsonArray arr;
        for (int ch = 0; ch < m_micGainDb.size(); ++ch)
            arr.append(QJsonObject{{QStringLiteral("gainDb"), QString::number(m_micGainDb[ch])},
                                   {QStringLiteral("phantom"), flag(m_phantom[ch])}});
        r.insert(QStringLiteral("arr"), arr);
        return QString();
    }
    // Either member may be left out and keeps its value; the preamplifier steps in whole dB.
    bool ok = false;
    const int ch = readInt(req, "portIndex", &ok);
    if (!ok || ch < 0 || ch >= m_micGainDb.size())
        return SimText::badParam;
    const bool hasGain = req.contains(QLatin1String("gainDb"));
    const bool hasPhantom = req.contains(QLatin1String("phantom"));
    int gain = m_micGainDb[ch];
    int phantom = m_phantom[ch];
    if (!hasGain && !hasPhantom)
        return SimText::badParam;
    if (hasGain) {
        const double v = readReal(req, "gainDb", &ok);
        if (!ok || v < 0 || v > kMicGainMaxDb || v != std::floor(v))
            return SimText::badParam;
        gain = int(v);
    }
    if (hasPhantom) {
        phantom = readInt(req, "phantom", &ok);
        if (!ok || (phantom != 0 && phantom != 1))
            return SimText::badParam;
    }
    m_micGainDb[ch] = gain;
    m_phantom[ch] = phantom == 1;
    r.insert(QStringLiteral("gainDb"), QString::number(gain));
    r.insert(QStringLiteral("phantom"), flag(m_phantom[ch]));
    return QString();
}
