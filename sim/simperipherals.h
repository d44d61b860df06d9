#pragma once

#include <QJsonObject>
#include <QVector>

class SimDevice;
struct SimDeviceProfile;

/// What hangs off a device besides audio over the network: the amplifier
/// stage, the GPIO pins, the configuration store and the serial port.
class SimPeripherals
{
public:
    SimPeripherals(SimDevice &device, const SimDeviceProfile &profile);

    /// The amplifier's gain on output \a ch in dB, 0 without an amplifier.
    double ampGain(int ch) const { return m_ampGain.value(ch); }
    /// False only for an amplifier switched off.
    bool powered() const { return m_power; }

    /// "getTarnAmpInfo", "getInfo", "setGain", "setPower".
    QString opAmplifier(const QJsonObject &req, QJsonObject &r);
    /// "getGpioInfo", "setGpioInfo", "testGpio".
    QString opGpio(const QJsonObject &req, QJsonObject &r);
    QString opCfg(const QJsonObject &req, QJsonObject &r);
    QString opUart(const QJsonObject &req, QJsonObject &r);

private:
    struct Gpio
    {
        bool output = false;
        bool high = false;
    };

    SimDevice &m_device;
    bool m_power = true;
    QVector<double> m_ampGain;
    QVector<Gpio> m_gpio;
    QJsonObject m_cfg;
};
