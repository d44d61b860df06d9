// Comparing a network snapshot with the live registry: 256 devices with 64
// routes each, a few of them changed since, the way an operator checks a
// show's routing before recalling it. Also the file's write and read, for scale.
#include "benchreport.h"

#include "core/protocol/ipv4.h"
#include "core/routing/netsnapshot.h"

#include <cstdio>

namespace {

constexpr int kDevices = 256;
constexpr int kRoutes = 64;

QVector<Device> network()
{
    QVector<Device> out;
    out.reserve(kDevices);
    for (int i = 0; i < kDevices; ++i) {
        Device d;
        const QString id = QStringLiteral("BENCH-%1").arg(i, 4, 10, QLatin1Char('0'));
        d.rec.devId.set(id.toUtf8());
        d.rec.name.set(("Rack " + QString::number(i)).toUtf8());
        d.rec.ip = Ipv4::fromText(QStringLiteral("127.0.%1.%2").arg(i / 200 + 1).arg(i % 200 + 1));
        d.rec.chNumRx = d.rec.chNumTx = kRoutes;
        d.rec.sampleRate = 48000;
        d.tables.rxCh = QVector<qint32>(kRoutes, -1);
        const QString src = QStringLiteral("BENCH-%1").arg((i + 1) % kDevices, 4, 10, QLatin1Char('0'));
        for (int ch = 0; ch < kRoutes; ++ch) {
            RtpChItem r;
            r.srcDevId = src;
            r.name = QStringLiteral("Rack");
            r.srcChId = ch;
            r.srcIp = d.rec.ip;
            d.tables.rxCh[ch] = ch;
            d.tables.rtpCh.append(r);
        }
        McastRxItem m;
        m.name = QStringLiteral("Bus");
        m.srcIp = d.rec.ip;
        m.dstIp = Ipv4::fromText(QStringLiteral("239.69.0.%1").arg(i % 250 + 1));
        m.dstPort = 5004;
        m.chNum = 8;
        d.tables.mcastRx.append(m);
        out.append(d);
    }
    return out;
}

} // namespace

int main()
{
    const QVector<Device> devices = network();
    QString why;
    const std::optional<NetSnapshot::Snapshot> snapshot = NetSnapshot::parse(NetSnapshot::toJson(NetSnapshot::capture(devices)), &why);
    if (!snapshot) {
        std::printf("snapshot: %s\n", qPrintable(why));
        return 1;
    }
    // Three routes on every eighth device changed since.
    QVector<Device> live = devices;
    for (int i = 0; i < kDevices; i += 8)
        for (int ch : {1, 20, 40})
            live[i].tables.rtpCh[ch].srcChId = 63 - ch;

    int differing = 0;
    const BenchReport::Figures diff = BenchReport::timed(
        [&] {
            const RouteNetwork net(live, {});
            differing = NetSnapshot::diff(*snapshot, net).devices.size();
        },
        20);
    bool ok = differing == kDevices / 8;
    if (!ok)
        std::printf("snapshot diff: %d devices differ, expected %d\n", differing, kDevices / 8);
    ok = BenchReport::atMost("snapshot diff, 256 devices x 64 routes (median)", diff.medianMs, "ms", 20, 2) && ok;
    std::printf("snapshot diff, worst of 20: %.2f ms\n", diff.worstMs);

    QByteArray bytes;
    const BenchReport::Figures write = BenchReport::timed([&] { bytes = NetSnapshot::toJson(NetSnapshot::capture(devices)); }, 10);
    const BenchReport::Figures read = BenchReport::timed([&] { NetSnapshot::parse(bytes, &why); }, 10);
    std::printf("snapshot capture and JSON: %.2f ms, read back: %.2f ms, %d KiB (no targets)\n", write.medianMs,
                read.medianMs, int(bytes.size() / 1024));
    return ok ? 0 : 1;
}
