#pragma once

#include <QJsonObject>
#include <QJsonValue>
#include <QVector>
#include <functional>

class SimDevice;
struct SimDeviceProfile;

/// The signal a device carries and the heat it gives off: programme
/// material on its inputs, the gains and mutes of its physical channels,
/// the levels on the network and at its outputs, its temperature. All
/// derived from the device's identity and the time, so the same on every run.
class SimLevels
{
public:
    SimLevels(SimDevice &device, const SimDeviceProfile &profile);

    quint32 seed() const { return m_seed; }
    /// Physical input level in dBFS, or a NaN for silence.
    double phyIn(int ch) const;
    double phyInDbv(int ch) const { return phyIn(ch) + 18.0; }
    /// Network transmit level in dBFS, or a NaN for silence.
    double netTx(int ch) const;
    /// What arrives on receive channel \a ch, or a NaN when its route carries nothing.
    double netRx(int ch) const;
    /// Physical output level in dBV, or a NaN for silence.
    double phyOut(int ch) const;
    /// In thousandths of a degree Celsius.
    int temperature() const;

    /// The level, gain and mute tables "getAll..." pages through.
    bool page(const QString &ops, int *size, std::function<QJsonValue(int)> *item) const;
    /// "setPhyGainDbRx", "setPhyGainDbTx", "setPhyMuteRx", "setPhyMuteTx".
    QString opPhyGainMute(const QJsonObject &req, QJsonObject &r);
    /// "getMicConfig" and "setMicConfig": input gain and phantom power of the analog inputs, which sit before
    /// everything else, so every level of an input follows its input gain.
    QString opMicConfig(const QJsonObject &req, QJsonObject &r);

    static const int kMicGainMaxDb = 60;

private:
    const SimDevice &m_device;
    quint32 m_seed;
    QVector<double> m_phyGainRx, m_phyGainTx;
    QVector<bool> m_phyMuteRx, m_phyMuteTx;
    QVector<int> m_micGainDb;
    QVector<bool> m_phantom;
};
