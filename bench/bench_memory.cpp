// What a full registry keeps: 1024 devices whose every table has been fetched, and 1024 multicast flows. The
// registry lives as long as the program, so its size is the program's floor on a large network.

#include "benchpackets.h"
#include "benchreport.h"

#include "core/devices/devmanager.h"

#include <QJsonDocument>
#include <QJsonObject>

#include <cstdio>
#include <malloc.h>
#include <memory>

namespace {

constexpr double kTargetMiB = 64.0;
constexpr int kMaxReply = 1400;
constexpr int kFlows = DevManager::kSlots;

// Live heap: small blocks in the arenas plus the large ones malloc maps on their own.
size_t heapInUse()
{
    const struct mallinfo2 m = mallinfo2();
    return m.uordblks + m.hblkhd;
}

QByteArray q(const QByteArray &s)
{
    return '"' + s + '"';
}

QByteArray num(int n)
{
    return q(QByteArray::number(n));
}

QByteArray numbers(int first, int count)
{
    QByteArray out("[");
    for (int i = 0; i < count; ++i)
        out += (i ? "," : "") + num(first + i);
    return out + ']';
}

QByteArray flowGroup(int n)
{
    return BenchPackets::dotted(0xEF450000u + quint32(n)); // 239.69.x.y
}

QByteArray flowName(int n)
{
    return BenchPackets::deviceName(n) + " : 1-8";
}

QByteArray channelName(int ch)
{
    static const char *const kinds[] = {"Vocal ", "Guitar DI ", "Kick In ", "Ambience Left ", "Playback Stereo L "};
    return kinds[ch % 5] + QByteArray::number(ch + 1);
}

/// The items of one table of device n, as a device writes them.
QByteArray item(const char *op, int n, int id)
{
    const QByteArray self = BenchPackets::dotted(BenchPackets::deviceIp(n));
    const int peer = (n + 1 + id) % DevManager::kSlots;
    const QByteArray peerIp = BenchPackets::dotted(BenchPackets::deviceIp(peer));
    const QByteArray head = "{\"id\":" + num(id);
    const QByteArray o(op);
    if (o == "getAllRxCh")
        return head + ",\"rtpChId\":" + num(id) + '}';
    if (o == "getAllRtpCh")
        return head + ",\"active\":\"1\",\"srcDevId\":" + q(BenchPackets::devId(peer)) + ",\"name\":"
               + q(BenchPackets::deviceName(peer)) + ",\"srcChId\":" + num(id % 8) + ",\"srcIp\":" + q(peerIp)
               + ",\"dstIp\":" + q(self) + ",\"dstPort\":\"5004\"}";
    if (o == "getAllUcastRx")
        return head + ",\"srcDevId\":" + q(BenchPackets::devId(peer)) + ",\"srcIp\":" + q(peerIp)
               + ",\"chNum\":\"4\",\"rtpChIdArr\":" + numbers(id * 4, 4) + '}';
    if (o == "getAllUcastTx")
        return head + ",\"dstDevId\":" + q(BenchPackets::devId(peer)) + ",\"dstIp\":" + q(peerIp)
               + ",\"chNum\":\"4\",\"srcChIdArr\":[" + num(id) + ',' + num(id + 16) + ',' + num(id + 32) + ','
               + num(id + 48) + ",\"4294967295\",\"4294967295\",\"4294967295\",\"4294967295\"]}";
    if (o == "getAllMcastRx")
        return head + ",\"name\":" + q(flowName(peer)) + ",\"srcIp\":" + q(peerIp) + ",\"dstIp\":"
               + q(flowGroup(peer)) + ",\"dstPort\":\"5004\",\"chNum\":\"8\",\"rtpChIdArr\":" + numbers(id * 4, 8)
               + '}';
    if (o == "getAllMcastTx")
        return head + ",\"sdpId\":" + num(id) + ",\"name\":" + q(flowName(n)) + ",\"dstIp\":" + q(flowGroup(n))
               + ",\"dstPort\":\"5004\",\"chNum\":\"8\",\"srcChIdArr\":" + numbers(id % 8 * 8, 8) + '}';
    if (o == "getAllActiveUcastId" || o == "getAllActiveMcastId")
        return head + ",\"active\":\"1\"}";
    return head + ",\"name\":" + q(channelName(id)) + '}';
}

/// Feeds one whole table to the registry in pages that fit a datagram, the way the poller would receive it.
bool fetchTable(DevManager &registry, const char *op, int n, int count)
{
    int idStart = 0;
    do {
        const QByteArray head = "{\"ops\":" + q(op) + ",\"devId\":" + q(BenchPackets::devId(n))
                                + ",\"result\":\"succ\",\"idStart\":" + num(idStart) + ",\"idNext\":";
        QByteArray items;
        int next = idStart;
        while (next < count) {
            const QByteArray one = item(op, n, next);
            const int size = head.size() + QByteArray::number(next + 1).size() + 8 + items.size()
                             + (items.isEmpty() ? 0 : 1) + one.size() + 2;
            if (size > kMaxReply)
                break;
            items += (items.isEmpty() ? "" : ",") + one;
            ++next;
        }
        if (next == idStart)
            return false;
        const QByteArray datagram = head + QByteArray::number(next) + ",\"arr\":[" + items + "]}";
        const QJsonObject reply = QJsonDocument::fromJson(datagram).object();
        if (datagram.size() > kMaxReply || !registry.intakeReply(reply, BenchPackets::deviceIp(n)))
            return false;
        idStart = next;
    } while (idStart < count);
    return true;
}

QByteArray sapPacket(int n)
{
    const QByteArray src = BenchPackets::dotted(BenchPackets::deviceIp(n));
    const QByteArray group = flowGroup(n);
    QByteArray p("\x20\x00\x12\x34\x7f\x01\x00\x00", 8);
    p.append("application/sdp", 16);
    return p + "v=0\r\no=- 1 3 IN IP4 " + src + "\r\ns=" + flowName(n) + "\r\nc=IN IP4 " + group
           + "/32\r\nt=0 0\r\nm=audio 5004 RTP/AVP 98\r\ni=8 channels: In 1-8\r\na=rtpmap:98 L24/48000/8\r\n"
             "a=sync-time:0\r\na=framecount:48\r\na=ptime:1\r\n"
             "a=ts-refclk:ptp=IEEE1588-2008:00-1D-C1-FF-FE-00-00-01:0\r\na=mediaclk:direct=0\r\n"
             "a=source-filter: incl IN IP4 "
           + group + ' ' + src + "\r\na=recvonly\r\n";
}

} // namespace

int main()
{
    BenchPackets::Counts counts;
    counts.chNumRx = counts.chNumTx = counts.phyChNumRx = counts.phyChNumTx = 64;
    counts.ucastNumRx = counts.ucastNumTx = counts.mcastNumRx = counts.mcastNumTx = 16;

    // The sizes as the registry reads them from the announcement, to know how many items each table holds.
    DevRecord shape;
    shape.chNumRx = counts.chNumRx;
    shape.chNumTx = counts.chNumTx;
    shape.ucastNumRx = counts.ucastNumRx;
    shape.ucastNumTx = counts.ucastNumTx;
    shape.mcastNumRx = counts.mcastNumRx;
    shape.mcastNumTx = counts.mcastNumTx;
    shape.phyChNumRx = counts.phyChNumRx;
    shape.phyChNumTx = counts.phyChNumTx;

    const size_t before = heapInUse();
    auto registry = std::make_unique<DevManager>();
    for (int n = 0; n < DevManager::kSlots; ++n) {
        const QByteArray a = BenchPackets::announcement(n, counts);
        registry->intakeAnnouncement(a.constData(), a.size(), BenchPackets::deviceIp(n), 9996);
        for (int t = 0; t < DeviceTables::TableCount; ++t) {
            const auto table = DeviceTables::Table(t);
            const char *op = DeviceTables::operation(table);
            if (!fetchTable(*registry, op, n, DeviceTables::announcedCount(shape, table))) {
                std::printf("registry memory: table %s of device %d not stored\n", op, n);
                return 2;
            }
        }
        for (int t = 0; t < DeviceTables::NameTableCount; ++t) {
            const auto table = DeviceTables::NameTable(t);
            const char *op = DeviceTables::nameOperation(table);
            if (!fetchTable(*registry, op, n, DeviceTables::announcedNameCount(shape, table))) {
                std::printf("registry memory: names %s of device %d not stored\n", op, n);
                return 2;
            }
        }
    }
    for (int n = 0; n < kFlows; ++n) {
        const QByteArray p = sapPacket(n);
        registry->intakeSap(p.constData(), p.size(), BenchPackets::deviceIp(n), 9875);
    }
    const size_t after = heapInUse();

    // Every table must really be full, or the figure would flatter the registry.
    const QVector<Device> devices = registry->devices();
    int complete = 0;
    for (const Device &d : devices)
        complete += d.tablesComplete() && d.namesComplete() && d.tables.rtpCh.size() == counts.chNumRx
                    && !d.tables.rtpCh.last().srcDevId.isEmpty()
                    && d.channelName(DeviceTables::PhyNameTx, counts.phyChNumTx - 1).size() > 0;
    if (complete != DevManager::kSlots || registry->flowCount() != kFlows) {
        std::printf("registry memory: %d complete devices, %d flows\n", complete, registry->flowCount());
        return 2;
    }
    const double mib = double(after - before) / (1024.0 * 1024.0);
    return BenchReport::atMost("registry memory (1024 full devices, 1024 flows)", mib, "MiB", kTargetMiB, 1) ? 0 : 1;
}
