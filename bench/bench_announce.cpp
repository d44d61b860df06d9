// Announcement intake. Every device announces itself every second and the receive thread hands each datagram to
// the registry before anything else, so a large network's announcements must cost a small fraction of one core.

#include "benchpackets.h"
#include "benchreport.h"

#include "core/devices/devmanager.h"

#include <QElapsedTimer>
#include <QJsonObject>
#include <QVector>

#include <algorithm>
#include <cstdio>
#include <random>

namespace {

constexpr double kTargetPerSecond = 100000.0;
constexpr qint64 kRunNs = 1000000000;
constexpr int kKnown = 1000;
constexpr int kNewPerRound = 20;
// One device in a hundred flips canWork each round, so the "updateDev" notice path is part of the mix.
constexpr int kFlipEvery = 100;

struct Datagram
{
    QByteArray bytes;
    quint32 ip;
};

} // namespace

int main()
{
    const BenchPackets::Counts counts;
    QVector<Datagram> known[2];
    for (int variant = 0; variant < 2; ++variant)
        for (int n = 0; n < kKnown; ++n)
            known[variant].append({BenchPackets::announcement(n, counts, variant == 0 || n % kFlipEvery != 0),
                                   BenchPackets::deviceIp(n)});
    // A fixed shuffle: devices announce on their own timers, never in slot order.
    QVector<int> order(kKnown);
    for (int i = 0; i < kKnown; ++i)
        order[i] = i;
    std::shuffle(order.begin(), order.end(), std::mt19937(7));

    DevManager registry;
    int notices = 0;
    registry.setNotifier([&notices](const RegistryNotice &) { ++notices; });
    for (const Datagram &d : qAsConst(known[0]))
        registry.intakeAnnouncement(d.bytes.constData(), d.bytes.size(), d.ip, 9996);
    if (registry.deviceCount() != kKnown) {
        std::printf("announcement intake: sample announcements not stored (%d devices)\n", registry.deviceCount());
        return 2;
    }

    qint64 announcements = 0;
    qint64 stored = 0;
    qint64 elapsed = 0;
    int round = 0;
    int nextNew = 100000;
    QVector<Datagram> fresh(kNewPerRound);
    QElapsedTimer timer;
    do {
        // New devices get numbers never used before, so each one really is new to the registry.
        for (Datagram &d : fresh) {
            d.bytes = BenchPackets::announcement(nextNew, counts);
            d.ip = BenchPackets::deviceIp(nextNew);
            ++nextNew;
        }
        const QVector<Datagram> &refresh = known[round & 1];
        const int spacing = kKnown / kNewPerRound;
        timer.start();
        for (int i = 0; i < kKnown; ++i) {
            const Datagram &d = refresh.at(order.at(i));
            stored += registry.intakeAnnouncement(d.bytes.constData(), d.bytes.size(), d.ip, 9996);
            if (i % spacing == 0) {
                const Datagram &n = fresh.at(i / spacing);
                stored += registry.intakeAnnouncement(n.bytes.constData(), n.bytes.size(), n.ip, 9996);
            }
        }
        elapsed += timer.nsecsElapsed();
        announcements += kKnown + kNewPerRound;
        ++round;

        // Untimed: let this round's new devices age out while the known ones are refreshed, so the next round
        // finds free slots again instead of a full registry.
        registry.clock(DevManager::kLifetimeMs - 1);
        for (const Datagram &d : refresh)
            registry.intakeAnnouncement(d.bytes.constData(), d.bytes.size(), d.ip, 9996);
        registry.clock(1);
    } while (elapsed < kRunNs);

    if (stored != announcements || registry.deviceCount() != kKnown || notices == 0) {
        std::printf("announcement intake: %lld of %lld stored, %d devices left\n", stored, announcements,
                    registry.deviceCount());
        return 2;
    }
    const double perSecond = double(announcements) * 1e9 / double(elapsed);
    return BenchReport::atLeast("announcement intake", perSecond, "announcements/s", kTargetPerSecond) ? 0 : 1;
}
