#pragma once

#include <QJsonObject>
#include <QStringList>
#include <QVector>

class SimDevice;
struct SimDeviceProfile;

/// A device's own settings: its name and channel names, the audio format
/// it runs at, its version, and the OEM and custom texts.
class SimSettings
{
public:
    static const QVector<int> sampleRates;
    static const QVector<int> packetTimeDivs;
    static const QVector<int> sampleByteNums;
    static const QVector<int> delays;

    SimSettings(SimDevice &device, const SimDeviceProfile &profile);

    QString name() const { return m_name; }
    int sampleRate() const { return m_sampleRate; }
    int sampleByteNum() const { return m_sampleByteNum; }
    int packetTimeDiv() const { return m_packetTimeDiv; }
    int delayUs() const { return m_delayUs; }
    int dscp() const { return m_dscp; }
    const QStringList &chNamesRx() const { return m_chNameRx; }
    const QStringList &chNamesTx() const { return m_chNameTx; }
    const QStringList &phyChNamesRx() const { return m_phyChNameRx; }
    const QStringList &phyChNamesTx() const { return m_phyChNameTx; }

    QString opSetDevName(const QJsonObject &req, QJsonObject &r);
    /// "setChNameRx", "setChNameTx", "setPhyChNameRx", "setPhyChNameTx".
    QString opSetChName(const QJsonObject &req, QJsonObject &r);
    /// Sample rate, packet time, sample width, delay and DSCP.
    QString opSetFormat(const QJsonObject &req, QJsonObject &r);
    QString opGetVersion(const QJsonObject &req, QJsonObject &r);
    /// "getOemData", "setOemData", "getCustomStr", "setCustomStr".
    QString opOemAndCustom(const QJsonObject &req, QJsonObject &r);
    QString opIdentify(const QJsonObject &req, QJsonObject &r);

private:
    SimDevice &m_device;
    QString m_name;
    int m_sampleRate, m_sampleByteNum, m_packetTimeDiv, m_delayUs, m_dscp;
    QString m_customOemType = QStringLiteral("0");
    QString m_customStr;
    QStringList m_chNameRx, m_chNameTx, m_phyChNameRx, m_phyChNameTx;
};
