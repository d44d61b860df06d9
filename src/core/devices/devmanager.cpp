#include "core/devices/devmanager.h"

#include "core/app/log.h"
#include "core/devices/announcementparser.h"
#include "core/devices/tablemerge.h"
#include "core/protocol/commandsink.h"

#include <QMutexLocker>
#include <limits>
#include <cstdio>

namespace {

// Names are fetched once and never reset, so their requests need no generation.
int nameRequest(char *out, const char *op, qint32 idStart)
{
    return std::snprintf(out, TableMerge::kRequestSize, "{\"ops\":\"%s\",\"idStart\":\"%d\"}", op, idStart);
}

} // namespace

DevManager::DevManager(CommandSink *sink)
    : m_devices(kSlots)
    , m_flows(kSlots)
    , m_sink(sink)
    , m_askedAt(kSlots, std::numeric_limits<qint64>::min() / 2)
{
    m_activeDevices.reserve(kSlots);
    m_activeFlows.reserve(kSlots);
    m_deviceIndex.reserve(kSlots);
    m_flowIndex.reserve(kSlots);
}

bool DevManager::intakeAnnouncement(const char *data, int length, quint32 senderIp, quint16)
{
    Announcement a = AnnouncementParser::parse(data, length);
    switch (a.kind) {
    case Announcement::Malformed:
        Log::failure(__FILE__, "mcast", __LINE__);
        return false;
    case Announcement::RoutesChanged:
    case Announcement::ActiveChanged: {
        QMutexLocker lock(&m_mutex);
        const int slot = findDeviceSlotByIpLocked(senderIp);
        if (slot < 0)
            return false;
        DeviceTables &t = m_devices[size_t(slot)].tables;
        if (a.kind == Announcement::RoutesChanged)
            TableMerge::refetchRoutes(t);
        else
            TableMerge::refetchActive(t);
        // The answers under way belong to the old generation and will be dropped: the next round asks at once.
        m_askedAt[size_t(slot)] = std::numeric_limits<qint64>::min() / 2;
        return false;
    }
    case Announcement::Device:
        break;
    default:
        return false;
    }
    a.device.countdown = kLifetimeMs;
    Notices notices;
    const bool stored = storeDevice(a.device, &notices);
    notifyAll(notices);
    return stored;
}

bool DevManager::storeDevice(const DevRecord &rec, Notices *notices)
{
    QMutexLocker lock(&m_mutex);
    const QByteArray key(rec.devId.data);
    const auto found = m_deviceIndex.constFind(key);
    if (found != m_deviceIndex.constEnd()) {
        DevRecord &slot = m_devices[size_t(*found)].rec;
        // Only a change of canWork or of the clock-identity state is a notice; every other change (a new
        // leader, a name, a count) shows on the next refresh, which only comes when something changed.
        if (slot.canWork != rec.canWork || slot.hasClockIdentity() != rec.hasClockIdentity())
            notices->append(deviceNotice(RegistryNotice::DevUpdated, rec));
        if (!slot.sameDescription(rec))
            m_dirty = true;
        slot = rec;
        return true;
    }
    int free = -1;
    for (int i = 0; i < kSlots && free < 0; ++i) {
        const DevRecord &r = m_devices[size_t(i)].rec;
        if (r.devId.isEmpty() || r.countdown < 1)
            free = i;
    }
    if (free < 0)
        return false;
    Device &dev = m_devices[size_t(free)];
    dev = Device();
    dev.rec = rec;
    m_activeDevices.append(free);
    m_deviceIndex.insert(key, free);
    notices->append(deviceNotice(RegistryNotice::DevAdded, rec));
    m_dirty = true;
    return true;
}

void DevManager::intakeSap(const char *data, int length, quint32, quint16)
{
    FlowAnnouncement a = AnnouncementParser::parseSap(data, length);
    if (!a.valid)
        return;
    Notices notices;
    {
        QMutexLocker lock(&m_mutex);
        const auto found = m_flowIndex.constFind(a.flow.dstIp);
        if (a.deletion) {
            // A sender that stops says so: the flow goes at once instead of lingering for two minutes, pasted or not.
            if (found == m_flowIndex.constEnd())
                return;
            notices.append(eraseFlowLocked(*found));
        } else {
            a.flow.countdown = kLifetimeMs;
            if (found != m_flowIndex.constEnd()) {
                // A pasted flow that turns out to be announced stays the operator's: it still does not age.
                a.flow.pasted = m_flows[size_t(*found)].pasted;
                m_flows[size_t(*found)] = a.flow;
                return;
            }
            if (!insertFlowLocked(a.flow))
                return;
            notices.append(flowNotice(RegistryNotice::FlowAdded, a.flow));
        }
        m_dirty = true;
    }
    notifyAll(notices);
}

DevManager::PasteResult DevManager::addPastedFlow(FlowRecord flow)
{
    Notices notices;
    {
        QMutexLocker lock(&m_mutex);
        const auto found = m_flowIndex.constFind(flow.dstIp);
        if (found != m_flowIndex.constEnd())
            return PasteResult{AddressInUse, m_flows[size_t(*found)].name};
        flow.pasted = true;
        flow.countdown = kLifetimeMs;
        if (!insertFlowLocked(flow))
            return PasteResult{TableFull, QString()};
        notices.append(flowNotice(RegistryNotice::FlowAdded, flow));
        m_dirty = true;
    }
    notifyAll(notices);
    return PasteResult{Added, flow.name};
}

bool DevManager::removePastedFlow(quint32 dstIp)
{
    Notices notices;
    {
        QMutexLocker lock(&m_mutex);
        const auto found = m_flowIndex.constFind(dstIp);
        if (found == m_flowIndex.constEnd() || !m_flows[size_t(*found)].pasted)
            return false;
        notices.append(eraseFlowLocked(*found));
        m_dirty = true;
    }
    notifyAll(notices);
    return true;
}

bool DevManager::insertFlowLocked(const FlowRecord &flow)
{
    int free = -1;
    for (int i = 0; i < kSlots && free < 0; ++i)
        if (m_flows[size_t(i)].countdown < 1)
            free = i;
    if (free < 0)
        return false;
    m_flows[size_t(free)] = flow;
    m_activeFlows.append(free);
    m_flowIndex.insert(flow.dstIp, free);
    return true;
}

RegistryNotice DevManager::eraseFlowLocked(int slot)
{
    FlowRecord &f = m_flows[size_t(slot)];
    f.countdown = 0;
    m_activeFlows.removeOne(slot);
    m_flowIndex.remove(f.dstIp);
    return flowNotice(RegistryNotice::FlowRemoved, f);
}

bool DevManager::intakeReply(const QJsonObject &reply, quint32 senderIp)
{
    const TableMerge::Target target = TableMerge::targetOf(reply.value(QLatin1String("ops")).toString());
    if (!target.isValid())
        return false;
    if (reply.value(QLatin1String("result")).toString() != QLatin1String("succ"))
        return true;

    Notices notices;
    char ask[TableMerge::kRequestSize];
    int askLength = 0;
    quint32 ip = 0;
    quint16 port = 0;
    {
        QMutexLocker lock(&m_mutex);
        int slot = findDeviceSlotByIpLocked(senderIp);
        if (slot < 0) {
            const auto found = m_deviceIndex.constFind(reply.value(QLatin1String("devId")).toString().toUtf8());
            slot = found == m_deviceIndex.constEnd() ? -1 : *found;
        }
        if (slot < 0)
            return true;
        Device &dev = m_devices[size_t(slot)];
        // The next page is asked for at once; the poll round only repeats what got lost.
        if (target.table >= 0) {
            const auto t = DeviceTables::Table(target.table);
            const qint32 count = DeviceTables::announcedCount(dev.rec, t);
            if (!TableMerge::mergePage(dev.tables, t, count, reply))
                return true;
            const qint32 next = dev.tables.fetched[t];
            if (next < count)
                askLength = TableMerge::writeRequest(ask, t, next, dev.tables.generation[t]);
            notices.append(deviceNotice(
                TableMerge::isRouteTable(t) ? RegistryNotice::RoutesChanged : RegistryNotice::ActiveChanged, dev.rec));
        } else {
            const auto t = DeviceTables::NameTable(target.nameTable);
            const qint32 count = DeviceTables::announcedNameCount(dev.rec, t);
            if (!TableMerge::mergeNamePage(dev.tables, t, count, reply))
                return true;
            const qint32 next = dev.tables.namesFetched[t];
            if (next < count)
                askLength = nameRequest(ask, DeviceTables::nameOperation(t), next);
        }
        m_dirty = true;
        ip = dev.rec.ip;
        port = quint16(dev.rec.port);
    }
    if (askLength > 0 && m_sink)
        m_sink->sendDatagram(QByteArray::fromRawData(ask, askLength), ip, port);
    notifyAll(notices);
    return true;
}

void DevManager::clock(int elapsedMs)
{
    m_elapsed += elapsedMs;
    Notices notices;
    {
        QMutexLocker lock(&m_mutex);
        for (int i = 0; i < m_activeDevices.size();) {
            DevRecord &r = m_devices[size_t(m_activeDevices.at(i))].rec;
            r.countdown -= elapsedMs;
            if (r.countdown < 1) {
                notices.append(deviceNotice(RegistryNotice::DevRemoved, r));
                m_deviceIndex.remove(QByteArray(r.devId.data));
                m_activeDevices.removeAt(i);
                m_dirty = true;
            } else {
                ++i;
            }
        }
        for (int i = 0; i < m_activeFlows.size();) {
            FlowRecord &f = m_flows[size_t(m_activeFlows.at(i))];
            // A pasted flow is nobody's announcement: it stays until removed.
            if (!f.pasted)
                f.countdown -= elapsedMs;
            if (f.countdown < 1) {
                notices.append(flowNotice(RegistryNotice::FlowRemoved, f));
                m_flowIndex.remove(f.dstIp);
                m_activeFlows.removeAt(i);
                m_dirty = true;
            } else {
                ++i;
            }
        }
    }
    notifyAll(notices);
    pollRound();
}

void DevManager::pollRound()
{
    struct Ask
    {
        quint32 ip;
        quint16 port;
        qint32 fetched[DeviceTables::TableCount];
        qint32 counts[DeviceTables::TableCount];
        quint32 generation[DeviceTables::TableCount];
    };
    // Fixed-size scratch so a round allocates nothing; the sends happen
    // outside the mutex.
    static thread_local std::vector<Ask> asks(kSlots);
    int n = 0;
    {
        QMutexLocker lock(&m_mutex);
        // A round asks at most kMaxRequestsPerRound pages, taking the devices
        // in turn from where the last round stopped: a thousand new devices
        // would otherwise be asked eight thousand pages every 20 ms, far more
        // than they or the receive socket can take, and most would be lost.
        const int active = m_activeDevices.size();
        int requests = 0;
        int k = 0;
        for (; k < active && requests < kMaxRequestsPerRound; ++k) {
            const int slot = m_activeDevices.at((m_pollCursor + k) % active);
            if (m_elapsed - m_askedAt[size_t(slot)] < kRetryMs)
                continue;
            const Device &d = m_devices[size_t(slot)];
            Ask &a = asks[size_t(n)];
            int missing = 0;
            for (int t = 0; t < DeviceTables::TableCount; ++t) {
                a.fetched[t] = d.tables.fetched[t];
                a.generation[t] = d.tables.generation[t];
                a.counts[t] = DeviceTables::announcedCount(d.rec, DeviceTables::Table(t));
                missing += a.fetched[t] < a.counts[t];
            }
            if (!missing)
                continue;
            a.ip = d.rec.ip;
            a.port = quint16(d.rec.port);
            m_askedAt[size_t(slot)] = m_elapsed;
            requests += missing;
            ++n;
        }
        m_pollCursor = active ? (m_pollCursor + k) % active : 0;
    }
    if (!m_sink)
        return;
    constexpr int kBatch = 64;
    static thread_local char text[kBatch][TableMerge::kRequestSize];
    CommandSink::Datagram batch[kBatch];
    int queued = 0;
    for (int i = 0; i < n; ++i) {
        const Ask &a = asks[size_t(i)];
        for (int t = 0; t < DeviceTables::TableCount; ++t) {
            if (a.fetched[t] >= a.counts[t])
                continue;
            const auto table = DeviceTables::Table(t);
            const int len = TableMerge::writeRequest(text[queued], table, a.fetched[t], a.generation[t]);
            batch[queued] = {text[queued], len, a.ip, a.port};
            if (++queued == kBatch) {
                m_sink->sendBatch(batch, queued);
                queued = 0;
            }
        }
    }
    if (queued > 0)
        m_sink->sendBatch(batch, queued);
}

void DevManager::pollNames()
{
    struct Ask
    {
        const char *op;
        qint32 idStart;
        quint32 ip;
        quint16 port;
    };
    QVector<Ask> asks;
    {
        QMutexLocker lock(&m_mutex);
        for (int slot : qAsConst(m_activeDevices)) {
            const Device &d = m_devices[size_t(slot)];
            for (int t = 0; t < DeviceTables::NameTableCount; ++t) {
                const auto table = DeviceTables::NameTable(t);
                if (d.tables.namesFetched[t] < DeviceTables::announcedNameCount(d.rec, table))
                    asks.append({DeviceTables::nameOperation(table), d.tables.namesFetched[t], d.rec.ip,
                                 quint16(d.rec.port)});
            }
        }
    }
    for (const Ask &a : qAsConst(asks))
        sendNameRequest(a.op, a.idStart, a.ip, a.port);
}

void DevManager::sendNameRequest(const char *op, qint32 idStart, quint32 ip, quint16 port)
{
    if (!m_sink)
        return;
    char buf[TableMerge::kRequestSize];
    const int len = nameRequest(buf, op, idStart);
    m_sink->sendDatagram(QByteArray::fromRawData(buf, len), ip, port);
}

int DevManager::findDeviceSlotByIpLocked(quint32 ip) const
{
    if (ip == 0)
        return -1;
    for (int slot : m_activeDevices)
        if (m_devices[size_t(slot)].rec.ip == ip)
            return slot;
    return -1;
}

std::optional<Device> DevManager::findByDevId(const QString &devId) const
{
    QMutexLocker lock(&m_mutex);
    const auto found = m_deviceIndex.constFind(devId.toUtf8());
    if (found == m_deviceIndex.constEnd())
        return std::nullopt;
    return m_devices[size_t(*found)];
}

std::optional<Device> DevManager::findByIp(quint32 ip) const
{
    QMutexLocker lock(&m_mutex);
    const int slot = findDeviceSlotByIpLocked(ip);
    if (slot < 0)
        return std::nullopt;
    return m_devices[size_t(slot)];
}

QString DevManager::devIdOfIp(quint32 ip) const
{
    QMutexLocker lock(&m_mutex);
    const int slot = findDeviceSlotByIpLocked(ip);
    return slot < 0 ? QString() : m_devices[size_t(slot)].rec.devId.str();
}

QVector<Device> DevManager::devices() const
{
    QMutexLocker lock(&m_mutex);
    QVector<Device> out;
    out.reserve(m_activeDevices.size());
    for (int slot : m_activeDevices)
        out.append(m_devices[size_t(slot)]);
    return out;
}

int DevManager::deviceCount() const
{
    QMutexLocker lock(&m_mutex);
    return m_activeDevices.size();
}

std::optional<FlowRecord> DevManager::findFlow(quint32 dstIp) const
{
    QMutexLocker lock(&m_mutex);
    const auto found = m_flowIndex.constFind(dstIp);
    if (found == m_flowIndex.constEnd())
        return std::nullopt;
    return m_flows[size_t(*found)];
}

std::optional<FlowRecord> DevManager::findFlowByName(const QString &name) const
{
    QMutexLocker lock(&m_mutex);
    for (int slot : m_activeFlows)
        if (m_flows[size_t(slot)].name == name)
            return m_flows[size_t(slot)];
    return std::nullopt;
}

QVector<FlowRecord> DevManager::flows() const
{
    QMutexLocker lock(&m_mutex);
    QVector<FlowRecord> out;
    out.reserve(m_activeFlows.size());
    for (int slot : m_activeFlows)
        out.append(m_flows[size_t(slot)]);
    return out;
}

int DevManager::flowCount() const
{
    QMutexLocker lock(&m_mutex);
    return m_activeFlows.size();
}

RegistryNotice DevManager::deviceNotice(RegistryNotice::Kind kind, const DevRecord &rec)
{
    RegistryNotice n;
    n.kind = kind;
    n.devId = rec.devId.str();
    n.name = rec.name.str();
    return n;
}

RegistryNotice DevManager::flowNotice(RegistryNotice::Kind kind, const FlowRecord &flow)
{
    RegistryNotice n;
    n.kind = kind;
    n.name = flow.name;
    n.flowAddress = flow.dstIp;
    return n;
}

void DevManager::notifyAll(const Notices &notices)
{
    if (!m_notifier)
        return;
    for (const RegistryNotice &n : notices)
        m_notifier(n);
}
