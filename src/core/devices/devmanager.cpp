#include "core/devices/devmanager.h"

#include "core/app/log.h"
#include "core/protocol/commandsink.h"
#include "core/protocol/ipv4.h"
#include "core/protocol/jsonintake.h"
#include "core/protocol/sapparser.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QMutexLocker>
#include <cstdlib>
#include <cstring>
#include <limits>

namespace {

// Announcement numbers are decimal text; anything else (a JSON number
// included) reads as 0, as the devices have always been understood.
qint32 decimal(const QJsonValue &v)
{
    if (!v.isString())
        return 0;
    const QByteArray text = v.toString().toLatin1();
    return qint32(std::strtol(text.constData(), nullptr, 10));
}

QByteArray utf8(const QJsonValue &v)
{
    return v.isString() ? v.toString().toUtf8() : QByteArray();
}

qint32 jsonInt(const QJsonValue &v, qint32 fallback)
{
    if (v.isDouble())
        return v.toInt(fallback);
    if (v.isString()) {
        bool ok = false;
        const int n = v.toString().toInt(&ok, 10);
        return ok ? n : fallback;
    }
    return fallback;
}

quint32 address(const QJsonValue &v)
{
    return Ipv4::fromText(v.toString());
}

template<typename T>
void ensureSize(QVector<T> &table, int size)
{
    if (table.size() < size)
        table.resize(size);
}

QVector<qint32> intArray(const QJsonValue &v)
{
    QVector<qint32> out;
    const QJsonArray arr = v.toArray();
    out.reserve(arr.size());
    for (const QJsonValue &x : arr)
        out.append(jsonInt(x, -1));
    return out;
}

QVector<quint32> placeArray(const QJsonValue &v)
{
    QVector<quint32> out;
    const QJsonArray arr = v.toArray();
    out.reserve(arr.size());
    for (const QJsonValue &x : arr)
        out.append(quint32(x.toString().toULongLong()));
    return out;
}

// An item without its own "id" sits at idStart plus its place in "arr"; a page may claim any idStart up to
// INT_MAX, so the sum is taken in 64 bits and anything past the table reads as no place at all.
qint32 placeInPage(qint32 idStart, int place, qint32 count)
{
    const qint64 id = qint64(idStart) + place;
    return id < count ? qint32(id) : -1;
}

constexpr quint8 kSapDeletionFlag = 0x04;

bool isRouteTable(DeviceTables::Table t)
{
    return t != DeviceTables::ActiveUcastId && t != DeviceTables::ActiveMcastId;
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

bool DevManager::parseAnnouncement(const QJsonObject &obj, DevRecord *out)
{
    DevRecord &r = *out;
    r.devId.set(utf8(obj.value(QLatin1String("devId"))));
    r.name.set(utf8(obj.value(QLatin1String("name"))));
    const QString ipText = obj.value(QLatin1String("ip")).toString();
    r.ip = Ipv4::fromText(ipText);
    r.port = decimal(obj.value(QLatin1String("port")));
    r.chNumRx = decimal(obj.value(QLatin1String("chNumRx")));
    r.chNumTx = decimal(obj.value(QLatin1String("chNumTx")));
    r.ucastNumRx = decimal(obj.value(QLatin1String("ucastNumRx")));
    r.ucastNumTx = decimal(obj.value(QLatin1String("ucastNumTx")));
    r.mcastNumRx = decimal(obj.value(QLatin1String("mcastNumRx")));
    r.mcastNumTx = decimal(obj.value(QLatin1String("mcastNumTx")));
    r.sampleRate = decimal(obj.value(QLatin1String("sampleRate")));
    r.sampleByteNum = decimal(obj.value(QLatin1String("sampleByteNum")));
    r.pFrameNum = decimal(obj.value(QLatin1String("pFrameNum")));
    r.dscp = decimal(obj.value(QLatin1String("dscp")));
    r.delayUs = decimal(obj.value(QLatin1String("delayUs")));
    r.myClkId.set(utf8(obj.value(QLatin1String("myClkId"))));
    r.gmClkId.set(utf8(obj.value(QLatin1String("gmClkId"))));
    r.model.set(utf8(obj.value(QLatin1String("model"))));
    r.phyChNumRx = decimal(obj.value(QLatin1String("phyChNumRx")));
    r.phyChNumTx = decimal(obj.value(QLatin1String("phyChNumTx")));
    r.canWork = decimal(obj.value(QLatin1String("canWork")));
    // A device without an address cannot be asked anything; one without an
    // identifier cannot be told apart from a free slot.
    return r.ip != 0 && !r.devId.isEmpty();
}

bool DevManager::intakeAnnouncement(const char *data, int length, quint32 senderIp, quint16)
{
    QJsonObject obj;
    if (!JsonIntake::parseObject(data, length, &obj)) {
        Log::failure(__FILE__, "mcast", __LINE__);
        return false;
    }
    const QString op = obj.value(QLatin1String("ops")).toString();

    if (op == QLatin1String("updateRoute") || op == QLatin1String("updateActive")) {
        const bool route = op == QLatin1String("updateRoute");
        QMutexLocker lock(&m_mutex);
        const int slot = findDeviceSlotByIpLocked(senderIp);
        if (slot < 0)
            return false;
        DeviceTables &t = m_devices[size_t(slot)].tables;
        if (route) {
            // The route tables are fetched again from the start.
            for (auto table : {DeviceTables::RxCh, DeviceTables::RtpCh, DeviceTables::UcastRx,
                               DeviceTables::UcastTx, DeviceTables::McastRx, DeviceTables::McastTx})
                t.fetched[table] = 0;
        } else {
            t.fetched[DeviceTables::ActiveUcastId] = 0;
            t.fetched[DeviceTables::ActiveMcastId] = 0;
        }
        return false;
    }
    if (op != QLatin1String("iAmCorvane"))
        return false;

    DevRecord rec;
    if (!parseAnnouncement(obj, &rec))
        return false;
    rec.countdown = kLifetimeMs;

    QVector<QJsonObject> notices;
    {
        QMutexLocker lock(&m_mutex);
        const QByteArray key(rec.devId.data);
        const auto found = m_deviceIndex.constFind(key);
        if (found != m_deviceIndex.constEnd()) {
            DevRecord &slot = m_devices[size_t(*found)].rec;
            const bool changed = slot.canWork != rec.canWork || slot.hasClockIdentity() != rec.hasClockIdentity();
            const bool visible = changed || slot.ip != rec.ip || std::strcmp(slot.name.data, rec.name.data) != 0;
            slot = rec;
            if (changed)
                notices.append(deviceNotice("updateDev", rec));
            if (visible)
                m_dirty = true;
        } else {
            int free = -1;
            for (int i = 0; i < kSlots; ++i) {
                const DevRecord &r = m_devices[size_t(i)].rec;
                if (r.devId.isEmpty() || r.countdown < 1) {
                    free = i;
                    break;
                }
            }
            if (free < 0)
                return false;
            Device &dev = m_devices[size_t(free)];
            dev = Device();
            dev.rec = rec;
            m_activeDevices.append(free);
            m_deviceIndex.insert(key, free);
            notices.append(deviceNotice("addDev", rec));
            m_dirty = true;
        }
    }
    notifyAll(notices);
    return true;
}

void DevManager::intakeSap(const char *data, int length, quint32, quint16)
{
    FlowDescription d;
    if (!SapParser::parse(data, length, &d))
        return;
    // A sender that stops says so with a deletion packet: the flow goes at
    // once instead of lingering for two minutes.
    if (d.versionFlags & kSapDeletionFlag) {
        QVector<QJsonObject> notices;
        {
            QMutexLocker lock(&m_mutex);
            const auto found = m_flowIndex.constFind(d.dstIp);
            if (found == m_flowIndex.constEnd())
                return;
            FlowRecord &f = m_flows[size_t(*found)];
            f.countdown = 0;
            notices.append(flowNotice("delMcast", f));
            m_activeFlows.removeOne(*found);
            m_flowIndex.erase(found);
            m_dirty = true;
        }
        notifyAll(notices);
        return;
    }
    FlowRecord flow;
    flow.name = d.sessionName;
    // SDP lines end in CRLF and the session name keeps the CR; a name shown
    // to the operator does not.
    if (flow.name.endsWith(QLatin1Char('\r')))
        flow.name.chop(1);
    flow.srcIp = d.srcIp;
    flow.dstIp = d.dstIp;
    flow.dstPort = d.dstPort;
    flow.chNum = d.chNum;
    flow.sampleByteNum = d.sampleByteNum;
    flow.sampleRate = d.sampleRate;
    flow.pFrameNum = d.framesPerPacket;
    std::memcpy(flow.gmClkId, d.gmClkId, sizeof flow.gmClkId);
    flow.rtpTsOffset = d.rtpTsOffset;
    flow.countdown = kLifetimeMs;

    QVector<QJsonObject> notices;
    {
        QMutexLocker lock(&m_mutex);
        const auto found = m_flowIndex.constFind(flow.dstIp);
        if (found != m_flowIndex.constEnd()) {
            m_flows[size_t(*found)] = flow;
            return;
        }
        int free = -1;
        for (int i = 0; i < kSlots; ++i) {
            if (m_flows[size_t(i)].countdown < 1) {
                free = i;
                break;
            }
        }
        if (free < 0)
            return;
        m_flows[size_t(free)] = flow;
        m_activeFlows.append(free);
        m_flowIndex.insert(flow.dstIp, free);
        notices.append(flowNotice("addMcast", flow));
        m_dirty = true;
    }
    notifyAll(notices);
}

bool DevManager::intakeReply(const QJsonObject &reply, quint32 senderIp)
{
    const QByteArray op = reply.value(QLatin1String("ops")).toString().toLatin1();
    int table = -1;
    int nameTable = -1;
    for (int t = 0; t < DeviceTables::TableCount && table < 0; ++t)
        if (op == DeviceTables::operation(DeviceTables::Table(t)))
            table = t;
    for (int t = 0; t < DeviceTables::NameTableCount && table < 0 && nameTable < 0; ++t)
        if (op == DeviceTables::nameOperation(DeviceTables::NameTable(t)))
            nameTable = t;
    if (table < 0 && nameTable < 0)
        return false;
    if (reply.value(QLatin1String("result")).toString() != QLatin1String("succ"))
        return true;

    QVector<QJsonObject> notices;
    bool askNextNames = false;
    bool askNextTable = false;
    quint32 ip = 0;
    quint16 port = 0;
    qint32 next = 0;
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
        if (table >= 0) {
            if (storeTablePage(dev, DeviceTables::Table(table), reply)) {
                // The next page is asked for at once; the round only repeats
                // what got lost.
                next = dev.tables.fetched[table];
                if (next < DeviceTables::announcedCount(dev.rec, DeviceTables::Table(table))) {
                    askNextTable = true;
                    ip = dev.rec.ip;
                    port = quint16(dev.rec.port);
                }
                notices.append(deviceNotice(isRouteTable(DeviceTables::Table(table)) ? "updateRoute" : "updateActive",
                                            dev.rec));
                m_dirty = true;
            }
        } else if (storeNamePage(dev, DeviceTables::NameTable(nameTable), reply)) {
            m_dirty = true;
            next = dev.tables.namesFetched[nameTable];
            if (next < DeviceTables::announcedNameCount(dev.rec, DeviceTables::NameTable(nameTable))) {
                askNextNames = true;
                ip = dev.rec.ip;
                port = quint16(dev.rec.port);
            }
        }
    }
    if (askNextNames)
        sendRequest(DeviceTables::nameOperation(DeviceTables::NameTable(nameTable)), next, ip, port);
    if (askNextTable)
        sendRequest(DeviceTables::operation(DeviceTables::Table(table)), next, ip, port);
    notifyAll(notices);
    return true;
}

bool DevManager::storeTablePage(Device &dev, DeviceTables::Table t, const QJsonObject &reply)
{
    DeviceTables &tables = dev.tables;
    const qint32 idStart = jsonInt(reply.value(QLatin1String("idStart")), tables.fetched[t]);
    const qint32 idNext = jsonInt(reply.value(QLatin1String("idNext")), -1);
    // A repeat of a page already stored, or one past what was asked for,
    // moves nothing: the poller asks for the right page again.
    if (idStart > tables.fetched[t] || idNext <= tables.fetched[t])
        return false;
    const qint32 count = DeviceTables::announcedCount(dev.rec, t);
    const QJsonArray arr = reply.value(QLatin1String("arr")).toArray();
    for (int i = 0; i < arr.size(); ++i) {
        const QJsonObject item = arr.at(i).toObject();
        const qint32 id = jsonInt(item.value(QLatin1String("id")), placeInPage(idStart, i, count));
        if (id < 0 || id >= count)
            continue;
        switch (t) {
        case DeviceTables::RxCh:
            ensureSize(tables.rxCh, count);
            tables.rxCh[id] = jsonInt(item.value(QLatin1String("rtpChId")), -1);
            break;
        case DeviceTables::RtpCh: {
            ensureSize(tables.rtpCh, count);
            RtpChItem &e = tables.rtpCh[id];
            e.active = item.value(QLatin1String("active")).toString() == QLatin1String("1");
            e.srcDevId = item.value(QLatin1String("srcDevId")).toString().left(64);
            e.name = item.value(QLatin1String("name")).toString().left(64);
            e.srcChId = jsonInt(item.value(QLatin1String("srcChId")), -1);
            e.srcIp = address(item.value(QLatin1String("srcIp")));
            e.dstIp = address(item.value(QLatin1String("dstIp")));
            e.dstPort = quint16(jsonInt(item.value(QLatin1String("dstPort")), 0));
            break;
        }
        case DeviceTables::UcastRx: {
            ensureSize(tables.ucastRx, count);
            UcastRxItem &e = tables.ucastRx[id];
            e.srcDevId = item.value(QLatin1String("srcDevId")).toString().left(64);
            e.srcIp = address(item.value(QLatin1String("srcIp")));
            e.chNum = jsonInt(item.value(QLatin1String("chNum")), 0);
            e.rtpChIds = intArray(item.value(QLatin1String("rtpChIdArr")));
            break;
        }
        case DeviceTables::UcastTx: {
            ensureSize(tables.ucastTx, count);
            UcastTxItem &e = tables.ucastTx[id];
            e.dstDevId = item.value(QLatin1String("dstDevId")).toString().left(64);
            e.dstIp = address(item.value(QLatin1String("dstIp")));
            e.chNum = jsonInt(item.value(QLatin1String("chNum")), 0);
            e.srcChIds = placeArray(item.value(QLatin1String("srcChIdArr")));
            break;
        }
        case DeviceTables::McastRx: {
            ensureSize(tables.mcastRx, count);
            McastRxItem &e = tables.mcastRx[id];
            e.name = item.value(QLatin1String("name")).toString().left(64);
            e.srcIp = address(item.value(QLatin1String("srcIp")));
            e.dstIp = address(item.value(QLatin1String("dstIp")));
            e.dstPort = quint16(jsonInt(item.value(QLatin1String("dstPort")), 0));
            e.chNum = jsonInt(item.value(QLatin1String("chNum")), 0);
            e.rtpChIds = intArray(item.value(QLatin1String("rtpChIdArr")));
            break;
        }
        case DeviceTables::McastTx: {
            ensureSize(tables.mcastTx, count);
            McastTxItem &e = tables.mcastTx[id];
            e.sdpId = item.value(QLatin1String("sdpId")).toString().left(16);
            e.name = item.value(QLatin1String("name")).toString().left(64);
            e.dstIp = address(item.value(QLatin1String("dstIp")));
            e.dstPort = quint16(jsonInt(item.value(QLatin1String("dstPort")), 0));
            e.chNum = jsonInt(item.value(QLatin1String("chNum")), 0);
            e.srcChIds = intArray(item.value(QLatin1String("srcChIdArr")));
            break;
        }
        case DeviceTables::ActiveUcastId:
            ensureSize(tables.activeUcast, count);
            tables.activeUcast[id] = item.value(QLatin1String("active")).toString() == QLatin1String("1");
            break;
        case DeviceTables::ActiveMcastId:
            ensureSize(tables.activeMcast, count);
            tables.activeMcast[id] = item.value(QLatin1String("active")).toString() == QLatin1String("1");
            break;
        default:
            break;
        }
    }
    tables.fetched[t] = idNext;
    return true;
}

bool DevManager::storeNamePage(Device &dev, DeviceTables::NameTable t, const QJsonObject &reply)
{
    DeviceTables &tables = dev.tables;
    const qint32 idStart = jsonInt(reply.value(QLatin1String("idStart")), tables.namesFetched[t]);
    const qint32 idNext = jsonInt(reply.value(QLatin1String("idNext")), -1);
    if (idStart > tables.namesFetched[t] || idNext <= tables.namesFetched[t])
        return false;
    const qint32 count = DeviceTables::announcedNameCount(dev.rec, t);
    QVector<QString> &names = tables.names[t];
    ensureSize(names, count);
    const QJsonArray arr = reply.value(QLatin1String("arr")).toArray();
    for (int i = 0; i < arr.size(); ++i) {
        const QJsonObject item = arr.at(i).toObject();
        const qint32 id = jsonInt(item.value(QLatin1String("id")), placeInPage(idStart, i, count));
        if (id >= 0 && id < count)
            names[id] = item.value(QLatin1String("name")).toString().left(64);
    }
    tables.namesFetched[t] = idNext;
    return true;
}

void DevManager::clock(int elapsedMs)
{
    m_elapsed += elapsedMs;
    QVector<QJsonObject> notices;
    {
        QMutexLocker lock(&m_mutex);
        for (int i = 0; i < m_activeDevices.size();) {
            DevRecord &r = m_devices[size_t(m_activeDevices.at(i))].rec;
            r.countdown -= elapsedMs;
            if (r.countdown < 1) {
                notices.append(deviceNotice("delDev", r));
                m_deviceIndex.remove(QByteArray(r.devId.data));
                m_activeDevices.removeAt(i);
                m_dirty = true;
            } else {
                ++i;
            }
        }
        for (int i = 0; i < m_activeFlows.size();) {
            FlowRecord &f = m_flows[size_t(m_activeFlows.at(i))];
            f.countdown -= elapsedMs;
            if (f.countdown < 1) {
                notices.append(flowNotice("delMcast", f));
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
    static thread_local char text[kBatch][64];
    CommandSink::Datagram batch[kBatch];
    int queued = 0;
    for (int i = 0; i < n; ++i) {
        const Ask &a = asks[size_t(i)];
        for (int t = 0; t < DeviceTables::TableCount; ++t) {
            if (a.fetched[t] >= a.counts[t])
                continue;
            const int len = std::snprintf(text[queued], sizeof text[queued], "{\"ops\":\"%s\",\"idStart\":\"%d\"}",
                                          DeviceTables::operation(DeviceTables::Table(t)), a.fetched[t]);
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
        sendRequest(a.op, a.idStart, a.ip, a.port);
}

void DevManager::sendRequest(const char *op, qint32 idStart, quint32 ip, quint16 port)
{
    if (!m_sink)
        return;
    char buf[96];
    const int len = std::snprintf(buf, sizeof buf, "{\"ops\":\"%s\",\"idStart\":\"%d\"}", op, idStart);
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

QJsonObject DevManager::deviceNotice(const char *op, const DevRecord &rec)
{
    return QJsonObject{{QStringLiteral("ops"), QLatin1String(op)},
                       {QStringLiteral("name"), rec.name.str()},
                       {QStringLiteral("devId"), rec.devId.str()}};
}

QJsonObject DevManager::flowNotice(const char *op, const FlowRecord &flow)
{
    QJsonObject notice{{QStringLiteral("ops"), QLatin1String(op)},
                       {QStringLiteral("name"), flow.name},
                       {QStringLiteral("dstIp"), Ipv4::toText(flow.dstIp)}};
    if (std::strcmp(op, "addMcast") == 0) {
        notice.insert(QStringLiteral("sdp"),
                      QJsonObject{{QStringLiteral("srcIp"), Ipv4::toText(flow.srcIp)},
                                  {QStringLiteral("dstIp"), Ipv4::toText(flow.dstIp)},
                                  {QStringLiteral("dstPort"), QString::number(flow.dstPort)},
                                  {QStringLiteral("chNum"), QString::number(flow.chNum)},
                                  {QStringLiteral("sampleByteNum"), QString::number(flow.sampleByteNum)},
                                  {QStringLiteral("rtpTsOffset"), QString::number(flow.rtpTsOffset)}});
    }
    return notice;
}

void DevManager::notifyAll(const QVector<QJsonObject> &notices)
{
    if (!m_notifier)
        return;
    for (const QJsonObject &n : notices)
        m_notifier(n);
}
