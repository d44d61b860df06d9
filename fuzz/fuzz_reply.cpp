// Replies reach the unicast socket from any sender. The reply router parses them, attaches the sender's device,
// and hands table pages to the registry, which sizes its tables from what the device announced.
//
// An input holds up to 16 replies separated by zero bytes, sent in turn from the two known devices and from an
// unknown address. Each input starts from the same two devices, so a finding replays from its file alone.

#include "core/app/log.h"
#include "core/devices/devmanager.h"
#include "core/protocol/commandsink.h"
#include "core/protocol/replyrouter.h"

#include <QJsonDocument>
#include <QJsonObject>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>

namespace {

constexpr int kMaxDatagrams = 16;
// Plain numbers as senders; nothing is ever sent to them.
constexpr quint32 kSenders[3] = {0x7F010001u, 0x7F010002u, 0x7F0100FEu};

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

const QByteArray kSmall = "{\"ops\":\"iAmCorvane\",\"devId\":\"7F010001-0001\",\"name\":\"Stage Box 1\","
                          "\"ip\":\"127.1.0.1\",\"port\":\"9990\",\"chNumRx\":\"8\",\"chNumTx\":\"8\","
                          "\"ucastNumRx\":\"4\",\"ucastNumTx\":\"4\",\"mcastNumRx\":\"4\",\"mcastNumTx\":\"2\","
                          "\"phyChNumRx\":\"8\",\"phyChNumTx\":\"8\",\"canWork\":\"1\"}";
const QByteArray kLarge = "{\"ops\":\"iAmCorvane\",\"devId\":\"7F010002-0001\",\"name\":\"Matrix 64\","
                          "\"ip\":\"127.1.0.2\",\"port\":\"9990\",\"chNumRx\":\"64\",\"chNumTx\":\"64\","
                          "\"ucastNumRx\":\"16\",\"ucastNumTx\":\"16\",\"mcastNumRx\":\"16\",\"mcastNumTx\":\"16\","
                          "\"phyChNumRx\":\"64\",\"phyChNumTx\":\"64\",\"canWork\":\"1\",\"model\":\"RK1536-A\"}";

} // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    Log::setOutput(std::fopen("/dev/null", "w"), true);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static CheckingSink sink;
    static DevManager registry(&sink);
    registry.clock(DevManager::kLifetimeMs);
    registry.intakeAnnouncement(kSmall.constData(), kSmall.size(), kSenders[0], 9996);
    registry.intakeAnnouncement(kLarge.constData(), kLarge.size(), kSenders[1], 9996);
    if (registry.deviceCount() != 2)
        __builtin_trap();

    const char *p = reinterpret_cast<const char *>(data);
    const char *const end = p + size;
    for (int i = 0; i < kMaxDatagrams && p <= end; ++i) {
        const char *zero = static_cast<const char *>(std::memchr(p, 0, size_t(end - p)));
        const char *stop = zero ? zero : end;
        const int length = int(stop - p);
        if (length < 1500) {
            const ReplyRouter::Outcome out = ReplyRouter::route(p, length, kSenders[i % 3], 9990, registry);
            // Whatever goes to the pages is one JSON object again, whatever came in.
            if (!out.message.isEmpty() && !QJsonDocument::fromJson(out.message.toUtf8()).isObject())
                __builtin_trap();
            if (out.passedThrough && out.message.isEmpty())
                __builtin_trap();
        }
        if (!zero)
            break;
        p = zero + 1;
    }
    registry.clock(20);
    registry.pollNames();
    for (const Device &d : registry.devices())
        for (int ch = -1; ch <= d.tables.rxCh.size(); ++ch)
            d.routeOf(ch);
    return 0;
}
