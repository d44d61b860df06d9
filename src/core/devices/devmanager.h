#pragma once

#include "core/devices/devicerecord.h"
#include "core/devices/registrynotice.h"

#include <QHash>
#include <QJsonObject>
#include <QMutex>
#include <QVector>
#include <atomic>
#include <functional>
#include <optional>
#include <vector>

class CommandSink;

/// The program's memory of the network: devices from their announcements,
/// multicast flows from SAP, and each device's tables fetched page by page.
///
/// Thread affinity: the intake functions and clock() run on the receive
/// thread; the queries run anywhere. One mutex guards both tables; queries
/// return copies, never pointers into the tables. Notices are made after the
/// mutex is released, on the calling thread. Reading the datagrams is
/// AnnouncementParser's and merging table pages TableMerge's; the registry
/// keeps the tables, ages them and polls.
class DevManager
{
public:
    static constexpr int kSlots = 1024;
    static constexpr int kLifetimeMs = 120000;
    /// Pages one poll round asks for at most.
    static constexpr int kMaxRequestsPerRound = 128;
    /// A device asked by a round is left out of the rounds for this long: its
    /// answers are under way, and asking again meanwhile only doubles the work
    /// of a device that is slow to answer.
    static constexpr int kRetryMs = 250;

    using Notifier = std::function<void(const RegistryNotice &)>;

    explicit DevManager(CommandSink *sink = nullptr);

    void setSink(CommandSink *sink) { m_sink = sink; }
    void setNotifier(Notifier notifier) { m_notifier = std::move(notifier); }

    /// One datagram of the announcement socket. True when it was an
    /// announcement that was stored.
    bool intakeAnnouncement(const char *data, int length, quint32 senderIp, quint16 senderPort);
    /// One datagram of the SAP socket.
    void intakeSap(const char *data, int length, quint32 senderIp, quint16 senderPort);
    enum PasteOutcome { Added, AddressInUse, TableFull };
    struct PasteResult
    {
        PasteOutcome outcome = Added;
        QString flowName; // AddressInUse: the flow already on the address
    };
    /// A flow the operator gave as an SDP text: kept, without ageing, until
    /// removePastedFlow or a SAP deletion of its group. Nothing is added when
    /// another flow has its group.
    PasteResult addPastedFlow(FlowRecord flow);
    /// False when no pasted flow has this group (announced flows age instead).
    bool removePastedFlow(quint32 dstIp);

    /// A reply to one of the poller's table requests or a channel-name page.
    /// False when the operation is not one of them.
    bool intakeReply(const QJsonObject &reply, quint32 senderIp);

    /// Ages devices and flows by elapsedMs, then runs one poll round.
    void clock(int elapsedMs);
    /// Asks every device for the first missing page of each incomplete table.
    void pollRound();
    /// Asks every device for the first missing page of its channel names.
    void pollNames();

    std::optional<Device> findByDevId(const QString &devId) const;
    std::optional<Device> findByIp(quint32 ip) const;
    QString devIdOfIp(quint32 ip) const;
    QVector<Device> devices() const;
    int deviceCount() const;

    std::optional<FlowRecord> findFlow(quint32 dstIp) const;
    std::optional<FlowRecord> findFlowByName(const QString &name) const;
    QVector<FlowRecord> flows() const;
    int flowCount() const;

    qint64 elapsedMs() const { return m_elapsed; }
    /// True once since the last call if anything the pages show has changed:
    /// any member of a description, a device or flow come or gone, a page of
    /// a table stored. The periodic page refresh waits on it.
    bool takeDirty() { return m_dirty.exchange(false); }

private:
    using Notices = QVector<RegistryNotice>;
    void notifyAll(const Notices &notices);
    void sendNameRequest(const char *op, qint32 idStart, quint32 ip, quint16 port);
    int findDeviceSlotByIpLocked(quint32 ip) const;
    bool storeDevice(const DevRecord &rec, Notices *notices);
    static RegistryNotice deviceNotice(RegistryNotice::Kind kind, const DevRecord &rec);
    bool insertFlowLocked(const FlowRecord &flow);
    RegistryNotice eraseFlowLocked(int slot);
    static RegistryNotice flowNotice(RegistryNotice::Kind kind, const FlowRecord &flow);

    mutable QMutex m_mutex;
    std::vector<Device> m_devices;
    QVector<int> m_activeDevices;
    QHash<QByteArray, int> m_deviceIndex;
    std::vector<FlowRecord> m_flows;
    QVector<int> m_activeFlows;
    QHash<quint32, int> m_flowIndex;

    CommandSink *m_sink;
    Notifier m_notifier;
    qint64 m_elapsed = 0;
    int m_pollCursor = 0;
    std::vector<qint64> m_askedAt; ///< per slot, on the m_elapsed clock
    std::atomic<bool> m_dirty{false};
};
