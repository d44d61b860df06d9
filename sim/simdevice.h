#pragma once

#include "simdeviceprofile.h"

#include <QHash>
#include <QHostAddress>
#include <QJsonArray>
#include <QJsonObject>
#include <QNetworkDatagram>
#include <QObject>
#include <QVector>
#include <functional>
#include <memory>

class SimDspDocument;
class SimDspLink;
class SimEndpoint;
class SimNetwork;

/// One virtual device: its state, the device side of every request it
/// understands, and what it announces. The network it belongs to ticks it
/// and lets it reach the other devices (a receiver opens streams on its
/// transmitter). Lives on the network's thread.
class SimDevice : public QObject
{
    Q_OBJECT
public:
    static const QString zeroClockId;

    SimDevice(const SimDeviceProfile &profile, const QHostAddress &address, SimNetwork *network);
    ~SimDevice() override;

    /// Binds the device's sockets and powers it on.
    bool start(QString *error);

    const SimDeviceProfile &profile() const { return m_profile; }
    QString devId() const { return m_profile.devId; }
    QString name() const { return m_name; }
    QString model() const { return m_profile.model; }
    quint32 address() const { return m_address; }
    QString addressText() const;
    int sampleRate() const { return m_sampleRate; }

    /// Powered, running, not rebooting and not gone: takes part in the clock and carries audio.
    bool isUp() const;
    /// Up long enough to have heard the other clocks.
    bool hasListened() const;
    bool canLeadClock() const;
    QString clockId() const { return m_profile.clockId; }
    QString grandmaster() const { return m_gm; }
    int ptpPriority() const { return m_ptpPriority; }
    int ptpDomain() const { return m_ptpDomain; }
    /// From the election; a new leader restarts the settling.
    void setGrandmaster(const QString &clockId);
    /// The state number "masterOffset" events carry: 0 leader, 1 settling, 2 locked.
    int ptpState() const;

    QJsonObject announcement() const;
    /// Runs the periodic work due at \a now (milliseconds of the network's clock).
    void tick(qint64 now);

    /// The device side of one request arriving on \a localPort; an empty
    /// object when the device does not answer (another device's devId).
    QJsonObject handleRequest(const QJsonObject &request, quint16 localPort);
    /// A datagram as it arrives, faults applied to the answer.
    void handleDatagram(const QByteArray &data, const QHostAddress &from, quint16 fromPort, quint16 localPort);
    /// As if the identify key on the front panel were pressed.
    void pressIdentifyKey();

    // The transmitting side of unicast streams and flows, used by receivers.
    int flowIndexByGroup(quint32 group) const;
    QString flowName(int index) const;
    int flowChannel(int index, int position) const;
    /// Finds or opens a stream to \a rxDevId carrying \a srcChId: its slot, or -1 when none is free.
    int attachUcastTx(const QString &rxDevId, quint32 rxIp, int srcChId);
    void releaseUcastTx(int stream, int srcChId);
    /// Network transmit level in dBFS, or a NaN for silence.
    double netTxLevel(int channel) const;

private:
    struct RouteEntry
    {
        enum Kind { None, Unicast, Multicast } kind = None;
        int stream = -1;
        int srcChId = -1;
    };
    struct UcastRx
    {
        QString srcDevId;
        QString srcName;
        quint32 srcIp = 0;
        int txStream = -1;
        QVector<int> rtp;
        qint64 statsSince = 0;
        qint64 delaySince = 0;
    };
    struct UcastTx
    {
        QString dstDevId;
        quint32 dstIp = 0;
        QVector<int> channels;
    };
    struct McastRx
    {
        QString name;
        quint32 srcIp = 0;
        quint32 dstIp = 0;
        int dstPort = 0;
        int chNum = 0;
        int sampleByteNum = 3;
        quint32 rtpTsOffset = 0;
        QVector<int> rtp;
        qint64 statsSince = 0;
        qint64 delaySince = 0;
    };
    struct McastTx
    {
        QString name;
        quint32 dstIp = 0;
        int dstPort = 5004;
        QVector<int> channels;
        int sampleByteNum = 3;
        quint32 rtpTsOffset = 0;
        quint32 sessionId = 0;
        quint32 sessionVersion = 1;
    };
    struct Gpio
    {
        bool output = false;
        bool high = false;
    };

    using Handler = QString (SimDevice::*)(const QJsonObject &request, QJsonObject &reply);
    struct Op
    {
        Handler handler;
        QVector<int> ports; ///< 0 stands for the announced control port, linkPort for the DSP link
        enum Guard { Free, Setting, Routing, Dsp } guard;
    };
    static const int linkPort = -1;
    static const QHash<QString, Op> &operations();
    /// Operations of the signal processor, looked up first on DSP-capable devices.
    static const QHash<QString, Op> &dspOperations();
    /// The reply to a request the device takes, on \a port (as in Op::ports).
    QJsonObject respond(const QJsonObject &req, int port, quint16 localPort);
    /// One request payload of the DSP link; the reply payload, or empty for none.
    QByteArray handleDspFrame(const QByteArray &payload);

    void boot();
    void announce();
    void sendSap();
    void sendSapFor(const McastTx &flow, bool deletion);
    void sendClockEvents();
    void sendGroup(const char *group, const QJsonObject &obj);
    void sendRaw(quint16 localPort, QByteArray bytes, const QHostAddress &to, quint16 toPort, bool mayMangle);
    void notifyRoute();
    void log(const QString &text) const;
    qint64 now() const;
    QString activeSignature() const;
    bool ucastRxActive(int k) const;
    bool mcastRxActive(int k) const;
    bool routeActive(int ch) const;
    void clearRoute(int ch, bool *txChanged);
    void moveTo(const QHostAddress &newAddress);
    double phyInLevel(int channel) const;
    double phyInDbv(int channel) const { return phyInLevel(channel) + 18.0; }
    double netRxLevel(int channel) const;
    double phyOutLevel(int channel) const;
    int temperature() const;
    bool pagedTable(const QString &ops, int *size, std::function<QJsonValue(int)> *item) const;

    // Handlers: each fills the reply and returns "" on success or the reason.
    QString opPaged(const QJsonObject &req, QJsonObject &r);
    QString opSetUcastRx(const QJsonObject &req, QJsonObject &r);
    QString opSetMcastRx(const QJsonObject &req, QJsonObject &r);
    QString opClrRxCh(const QJsonObject &req, QJsonObject &r);
    QString opSetMcastTx(const QJsonObject &req, QJsonObject &r);
    QString opClrMcastTx(const QJsonObject &req, QJsonObject &r);
    QString opSetDevName(const QJsonObject &req, QJsonObject &r);
    QString opSetChName(const QJsonObject &req, QJsonObject &r);
    QString opSetFormat(const QJsonObject &req, QJsonObject &r);
    QString opSetPtp(const QJsonObject &req, QJsonObject &r);
    QString opGetVersion(const QJsonObject &req, QJsonObject &r);
    QString opGetDebugInfo(const QJsonObject &req, QJsonObject &r);
    QString opGetIp(const QJsonObject &req, QJsonObject &r);
    QString opSetIp(const QJsonObject &req, QJsonObject &r);
    QString opOemAndCustom(const QJsonObject &req, QJsonObject &r);
    QString opIdentify(const QJsonObject &req, QJsonObject &r);
    QString opReboot(const QJsonObject &req, QJsonObject &r);
    QString opAmplifier(const QJsonObject &req, QJsonObject &r);
    QString opGpio(const QJsonObject &req, QJsonObject &r);
    QString opCfg(const QJsonObject &req, QJsonObject &r);
    QString opUart(const QJsonObject &req, QJsonObject &r);
    QString opPhyGainMute(const QJsonObject &req, QJsonObject &r);
    QString opStats(const QJsonObject &req, QJsonObject &r);
    QString opGetLock(const QJsonObject &req, QJsonObject &r);
    QString opSetLock(const QJsonObject &req, QJsonObject &r);
    QString opSetPassword(const QJsonObject &req, QJsonObject &r);
    QString opDspChange(const QJsonObject &req, QJsonObject &r);
    QString opDspRead(const QJsonObject &req, QJsonObject &r);
    QString opDspMeters(const QJsonObject &req, QJsonObject &r);
    QString opDspStatus(const QJsonObject &req, QJsonObject &r);

    SimDeviceProfile m_profile;
    SimNetwork *m_network;
    SimEndpoint *m_endpoint;
    std::unique_ptr<SimDspDocument> m_dsp; ///< only on DSP-capable devices
    SimDspLink *m_dspLink = nullptr;
    quint32 m_address = 0;
    quint16 m_localPort = 0; ///< set while a request is being handled

    QString m_name;
    int m_sampleRate, m_sampleByteNum, m_packetTimeDiv, m_delayUs, m_dscp;
    int m_ptpPriority, m_ptpDomain, m_ptpDscp;
    QString m_customOemType = QStringLiteral("0");
    QString m_customStr;
    bool m_fixedIp = true;
    int m_prefix = 24;
    QString m_gateway, m_dns;
    QStringList m_chNameRx, m_chNameTx, m_phyChNameRx, m_phyChNameTx;
    QVector<double> m_phyGainRx, m_phyGainTx;
    QVector<bool> m_phyMuteRx, m_phyMuteTx;
    quint32 m_lockVal = 0;
    quint32 m_dspLockVal = 0;
    QString m_password;
    bool m_power = true;
    QVector<double> m_ampGain;
    QVector<Gpio> m_gpio;
    QJsonObject m_cfg;

    QVector<int> m_rxRoute; ///< per receive channel: its route entry, or -1
    QVector<RouteEntry> m_rtp;
    QVector<UcastRx> m_ucastRx;
    QVector<UcastTx> m_ucastTx;
    QVector<McastRx> m_mcastRx;
    QVector<McastTx> m_mcastTx;

    QString m_gm;
    qint64 m_startedAt = 0;
    qint64 m_bootAt = 0;
    qint64 m_settleStart = 0;
    qint64 m_rebootUntil = -1; ///< >= 0 while rebooting
    bool m_gone = false;
    qint64 m_nextAnnounce = 0, m_nextSap = 0, m_nextClockEvent = 0, m_nextBlink = 0;
    QString m_lastActive;
    quint32 m_levelSeed = 0;
};
