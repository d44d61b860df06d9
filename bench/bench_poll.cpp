// One poll round over a full registry whose tables are all still to be fetched: the worst round the receive
// thread's 20 ms tick can meet, right after 1024 devices have appeared. The sends are real sendto() calls, since
// they are most of the round's cost.

#include "benchpackets.h"
#include "benchreport.h"

#include "core/devices/devmanager.h"
#include "core/protocol/commandsink.h"

#include <QElapsedTimer>
#include <QVector>

#include <algorithm>
#include <cstdio>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

constexpr double kTargetMs = 20.0;
constexpr int kTickMs = 20;
constexpr int kWarmupRounds = 3;
constexpr int kRounds = 50;

/// Sends every request to a socket of our own on 127.0.0.1, whatever device it names, so the round pays for
/// real system calls while nothing can leave this machine.
class LoopbackSink : public CommandSink
{
public:
    LoopbackSink()
    {
        m_discard = ::socket(AF_INET, SOCK_DGRAM, 0);
        m_send = ::socket(AF_INET, SOCK_DGRAM, 0);
        sockaddr_in here{};
        here.sin_family = AF_INET;
        here.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t len = sizeof here;
        if (m_discard < 0 || m_send < 0 || ::bind(m_discard, reinterpret_cast<sockaddr *>(&here), len) != 0
            || ::getsockname(m_discard, reinterpret_cast<sockaddr *>(&m_to), &len) != 0)
            m_to.sin_port = 0;
    }
    ~LoopbackSink() override
    {
        ::close(m_discard);
        ::close(m_send);
    }
    bool ready() const { return m_to.sin_port != 0; }

    int sendDatagram(const QByteArray &data, quint32, quint16) override
    {
        const ssize_t n = ::sendto(m_send, data.constData(), size_t(data.size()), 0,
                                   reinterpret_cast<const sockaddr *>(&m_to), sizeof m_to);
        if (n < 0) {
            ++failed;
            return -1;
        }
        ++sent;
        return int(n);
    }

    int sendBatch(const Datagram *batch, int count) override
    {
        mmsghdr m[64];
        iovec v[64];
        int written = 0;
        for (int first = 0; first < count; first += 64) {
            const int n = qMin(64, count - first);
            for (int i = 0; i < n; ++i) {
                v[i] = {const_cast<char *>(batch[first + i].data), size_t(batch[first + i].size)};
                m[i] = mmsghdr{};
                m[i].msg_hdr.msg_name = &m_to;
                m[i].msg_hdr.msg_namelen = sizeof m_to;
                m[i].msg_hdr.msg_iov = &v[i];
                m[i].msg_hdr.msg_iovlen = 1;
            }
            const int s = ::sendmmsg(m_send, m, unsigned(n), 0);
            written += s < 0 ? 0 : s;
            failed += n - (s < 0 ? 0 : s);
        }
        sent += written;
        return written;
    }

    /// Empties the discard socket between rounds so each round meets the same receive queue.
    void drain()
    {
        char buf[256];
        for (int i = 0; i < 100000 && ::recv(m_discard, buf, sizeof buf, MSG_DONTWAIT) >= 0; ++i) {
        }
    }

    qint64 sent = 0;
    qint64 failed = 0;

private:
    int m_discard = -1;
    int m_send = -1;
    sockaddr_in m_to{};
};

} // namespace

int main()
{
    LoopbackSink sink;
    if (!sink.ready()) {
        std::printf("poll round: no loopback socket\n");
        return 2;
    }
    DevManager registry(&sink);
    BenchPackets::Counts counts;
    counts.chNumRx = counts.chNumTx = 64;
    counts.ucastNumRx = counts.ucastNumTx = counts.mcastNumRx = counts.mcastNumTx = 16;
    for (int n = 0; n < DevManager::kSlots; ++n) {
        const QByteArray a = BenchPackets::announcement(n, counts);
        registry.intakeAnnouncement(a.constData(), a.size(), BenchPackets::deviceIp(n), 9996);
    }
    // A round asks at most the registry's per-round budget, rounded up to
    // whole devices; the rounds after it take the next devices in turn.
    const qint64 perDevice = DeviceTables::TableCount;
    const qint64 perRound = qMin(qint64(DevManager::kSlots) * perDevice,
                                 (DevManager::kMaxRequestsPerRound + perDevice - 1) / perDevice * perDevice);
    if (registry.deviceCount() != DevManager::kSlots) {
        std::printf("poll round: %d devices stored\n", registry.deviceCount());
        return 2;
    }

    QVector<double> ms;
    QElapsedTimer timer;
    for (int round = 0; round < kWarmupRounds + kRounds; ++round) {
        sink.drain();
        const qint64 before = sink.sent + sink.failed;
        timer.start();
        registry.clock(kTickMs);
        const qint64 ns = timer.nsecsElapsed();
        if (sink.sent + sink.failed - before != perRound) {
            std::printf("poll round: %lld requests instead of %lld\n", sink.sent + sink.failed - before, perRound);
            return 2;
        }
        if (round >= kWarmupRounds)
            ms.append(double(ns) / 1e6);
    }
    if (sink.failed > 0) {
        std::printf("poll round: %lld sends failed\n", sink.failed);
        return 2;
    }
    std::sort(ms.begin(), ms.end());
    const double median = ms.at(ms.size() / 2);
    const double worst = ms.last();
    char name[64];
    std::snprintf(name, sizeof name, "poll round median (%lld requests)", perRound);
    bool ok = BenchReport::atMost(name, median, "ms", kTargetMs, 2);
    std::snprintf(name, sizeof name, "poll round worst of %d (%lld requests)", kRounds, perRound);
    ok &= BenchReport::atMost(name, worst, "ms", kTargetMs, 2);
    return ok ? 0 : 1;
}
