#pragma once

#include "simdeviceprofile.h"

#include <QHash>
#include <QHostAddress>
#include <QJsonObject>
#include <QObject>
#include <QVector>
#include <functional>
#include <memory>

class SimClock;
class SimDspDocument;
class SimDspLink;
class SimDspPrograms;
class SimEndpoint;
class SimFlows;
class SimLevels;
class SimLock;
class SimNetwork;
class SimPeripherals;
class SimRouting;
class SimSettings;

/// One virtual device: the operation table that sends each request to the
/// part owning its state (routing, flows, clock, levels, lock, settings,
/// peripherals, signal processor), its sockets, its address and what it
/// announces. The network it belongs to ticks it and lets it reach the
/// other devices. Lives on the network's thread.
class SimDevice : public QObject
{
    Q_OBJECT
public:
    static const QString zeroClockId;
    static const char *const announceGroup; ///< announcements and notices
    static const char *const eventGroup;    ///< clock events

    /// \a announcePhaseMs: where in the announcement period this device
    /// speaks, so that many devices do not all speak in the same tick.
    SimDevice(const SimDeviceProfile &profile, const QHostAddress &address, int announcePhaseMs, SimNetwork *network);
    ~SimDevice() override;

    /// Binds the device's sockets and powers it on.
    bool start(QString *error);

    const SimDeviceProfile &profile() const { return m_profile; }
    QString devId() const { return m_profile.devId; }
    QString name() const;
    QString model() const { return m_profile.model; }
    quint32 address() const { return m_address; }
    QString addressText() const;
    int sampleRate() const;

    /// Powered, running, not rebooting and not gone: takes part in the clock and carries audio.
    bool isUp() const;
    /// Up long enough to have heard the other clocks.
    bool hasListened() const;
    bool canLeadClock() const;
    QString clockId() const { return m_profile.clockId; }
    int ptpPriority() const;
    int ptpDomain() const;
    /// From the election; a new leader restarts the settling.
    void setGrandmaster(const QString &clockId);

    QJsonObject announcement() const;
    /// Runs the periodic work due at \a now (milliseconds of the network's clock).
    void tick(qint64 now);
    /// When the next announcement is due; it keeps the device's phase even
    /// when a tick comes late.
    qint64 nextAnnouncement() const { return m_nextAnnounce; }

    /// The device side of one request arriving on \a localPort; an empty
    /// object when the device does not answer (another device's devId).
    QJsonObject handleRequest(const QJsonObject &request, quint16 localPort);
    /// A datagram as it arrives, faults applied to the answer.
    void handleDatagram(const QByteArray &data, const QHostAddress &from, quint16 fromPort, quint16 localPort);
    /// As if the identify key on the front panel were pressed.
    void pressIdentifyKey();

    // What the parts share.
    SimNetwork *network() const { return m_network; }
    qint64 now() const;
    void log(const QString &text) const;
    /// On the multicast socket, if the device has one.
    void sendGroup(const char *group, quint16 port, const QByteArray &bytes);
    void sendGroup(const char *group, const QJsonObject &obj);
    /// "updateRoute": receivers and the program re-read the routing tables.
    void notifyRoute();
    /// The port of the request being handled, 0 between requests.
    quint16 requestPort() const { return m_localPort; }
    SimRouting &routing() { return *m_routing; }
    const SimRouting &routing() const { return *m_routing; }
    SimFlows &flows() { return *m_flows; }
    const SimFlows &flows() const { return *m_flows; }
    SimClock &clock() { return *m_clock; }
    const SimClock &clock() const { return *m_clock; }
    const SimLevels &levels() const { return *m_levels; }
    SimLevels &levels() { return *m_levels; }
    SimLock &lock() { return *m_lock; }
    SimSettings &settings() { return *m_settings; }
    const SimSettings &settings() const { return *m_settings; }
    SimPeripherals &peripherals() { return *m_peripherals; }
    const SimPeripherals &peripherals() const { return *m_peripherals; }
    /// The uptime "getDebugInfo" reports, in milliseconds.
    qint64 sinceBoot() const;

    /// Each operation's handler: fills the reply, returns "" on success or the reason.
    using Handler = QString (*)(SimDevice &device, const QJsonObject &request, QJsonObject &reply);
    template <class Part> Part &part();

private:
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
    /// The first moment after \a t at the device's announcement phase.
    qint64 announcementAfter(qint64 t) const;
    void announce();
    void sendRaw(quint16 localPort, QByteArray bytes, const QHostAddress &to, quint16 toPort, bool mayMangle);
    void moveTo(const QHostAddress &newAddress);
    bool pagedTable(const QString &ops, int *size, std::function<QJsonValue(int)> *item) const;

    QString opPaged(const QJsonObject &req, QJsonObject &r);
    QString opGetDebugInfo(const QJsonObject &req, QJsonObject &r);
    QString opGetIp(const QJsonObject &req, QJsonObject &r);
    QString opSetIp(const QJsonObject &req, QJsonObject &r);
    QString opReboot(const QJsonObject &req, QJsonObject &r);
    QString opDspChange(const QJsonObject &req, QJsonObject &r);
    QString opDspRead(const QJsonObject &req, QJsonObject &r);
    QString opDspMeters(const QJsonObject &req, QJsonObject &r);
    QString opDspStatus(const QJsonObject &req, QJsonObject &r);
    QString opDspPrograms(const QJsonObject &req, QJsonObject &r);

    SimDeviceProfile m_profile;
    SimNetwork *m_network;
    SimEndpoint *m_endpoint;
    std::unique_ptr<SimSettings> m_settings;
    std::unique_ptr<SimClock> m_clock;
    std::unique_ptr<SimLock> m_lock;
    std::unique_ptr<SimLevels> m_levels;
    std::unique_ptr<SimRouting> m_routing;
    std::unique_ptr<SimFlows> m_flows;
    std::unique_ptr<SimPeripherals> m_peripherals;
    std::unique_ptr<SimDspDocument> m_dsp; ///< only on DSP-capable devices
    std::unique_ptr<SimDspPrograms> m_programs; ///< with m_dsp
    SimDspLink *m_dspLink = nullptr;
    quint32 m_address = 0;
    quint16 m_localPort = 0; ///< set while a request is being handled

    bool m_fixedIp = true;
    int m_prefix = 24;
    QString m_gateway, m_dns;

    int m_announcePhase = 0;
    qint64 m_startedAt = 0;
    qint64 m_bootAt = 0;
    qint64 m_rebootUntil = -1; ///< >= 0 while rebooting
    bool m_gone = false;
    bool m_wentGone = false; ///< a device goes once; coming back is for good
    qint64 m_goneAt = 0;
    qint64 m_nextAnnounce = 0, m_nextSap = 0, m_nextBlink = 0;
};

// The parts that answer operations; defined in simdevice.cpp, declared here for every file that builds an
// operation table.
template <> SimDevice &SimDevice::part<SimDevice>();
template <> SimSettings &SimDevice::part<SimSettings>();
template <> SimClock &SimDevice::part<SimClock>();
template <> SimLock &SimDevice::part<SimLock>();
template <> SimLevels &SimDevice::part<SimLevels>();
template <> SimRouting &SimDevice::part<SimRouting>();
template <> SimFlows &SimDevice::part<SimFlows>();
template <> SimPeripherals &SimDevice::part<SimPeripherals>();

/// An operation's handler that hands the request to one method of the part of the device that answers it.
template <class Part, QString (Part::*method)(const QJsonObject &, QJsonObject &)>
QString partCall(SimDevice &device, const QJsonObject &req, QJsonObject &reply)
{
    return (device.part<Part>().*method)(req, reply);
}
