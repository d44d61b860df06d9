// Anyone on the announcement group can send anything, and the registry stores what an announcement says into
// fixed slots. The same bytes are then offered as a reply, so that records and tables built from hostile values
// meet every later page and tick.
//
// An input holds up to 16 datagrams separated by zero bytes (a zero byte never survives the JSON parser, so
// nothing is lost by splitting there); each input starts from an empty registry, so a finding replays from its
// file alone.

#include "core/app/log.h"
#include "core/devices/devmanager.h"
#include "core/protocol/commandsink.h"
#include "core/protocol/jsonintake.h"

#include <QJsonDocument>
#include <QJsonObject>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>

namespace {

constexpr int kMaxDatagrams = 16;
constexpr int kTicksEvery = 4;
// Plain numbers as senders; nothing is ever sent to them.
constexpr quint32 kSenders[2] = {0x7F010001u, 0x7F010002u};

/// The poller's requests: each must be a short JSON object to a real address. Nothing leaves the process.
class CheckingSink : public CommandSink
{
public:
    int sendDatagram(const QByteArray &data, quint32 ip, quint16) override
    {
        // The shape of every request the registry writes; a full parse here would cost more than the target.
        if (ip == 0 || data.size() >= 96 || !data.startsWith("{\"ops\":\"getAll") || !data.endsWith("\"}"))
            __builtin_trap();
        return data.size();
    }
};

void checkRecords(const DevManager &registry)
{
    const QVector<Device> devices = registry.devices();
    if (devices.size() > DevManager::kSlots)
        __builtin_trap();
    for (const Device &d : devices) {
        const DevRecord &r = d.rec;
        if (r.devId.isEmpty() || r.ip == 0 || std::strlen(r.devId.data) > 64 || std::strlen(r.name.data) > 64
            || std::strlen(r.model.data) > 64 || std::strlen(r.myClkId.data) > 32 || std::strlen(r.gmClkId.data) > 32)
            __builtin_trap();
        // Every table lookup the pages make must stay inside what was stored.
        for (int ch = -1; ch <= d.tables.rxCh.size(); ++ch)
            d.routeOf(ch);
    }
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    // Every malformed datagram logs a line; the fuzzer would spend its time printing them.
    Log::setOutput(std::fopen("/dev/null", "w"), true);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static CheckingSink sink;
    static DevManager registry(&sink);
    registry.clock(DevManager::kLifetimeMs);

    const char *p = reinterpret_cast<const char *>(data);
    const char *const end = p + size;
    for (int i = 0; i < kMaxDatagrams && p <= end; ++i) {
        const char *zero = static_cast<const char *>(std::memchr(p, 0, size_t(end - p)));
        const char *stop = zero ? zero : end;
        const int length = int(stop - p);
        const quint32 sender = kSenders[i & 1];
        // The receive thread drops datagrams of 1500 bytes or more before anyone parses them.
        if (length < 1500) {
            registry.intakeAnnouncement(p, length, sender, 9996);
            QJsonObject obj;
            if (JsonIntake::parseObject(p, length, &obj))
                registry.intakeReply(obj, sender);
        }
        if (i % kTicksEvery == kTicksEvery - 1)
            registry.clock(20);
        if (!zero)
            break;
        p = zero + 1;
    }
    registry.clock(20);
    registry.pollNames();
    checkRecords(registry);
    return 0;
}
