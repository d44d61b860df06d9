#pragma once

#include <QByteArray>
#include <QString>
#include <QtGlobal>

#include <cstdio>

/// Datagrams as devices send them, built for the benchmarks. Every address is on 127.0.0.0/8: the registry's
/// poller may send to what a device announces, and nothing must ever leave this machine.
namespace BenchPackets {

/// Table sizes a device announces.
struct Counts
{
    int chNumRx = 8;
    int chNumTx = 8;
    int ucastNumRx = 8;
    int ucastNumTx = 8;
    int mcastNumRx = 8;
    int mcastNumTx = 4;
    int phyChNumRx = 8;
    int phyChNumTx = 8;
};

/// Device number n lives at 127.1.0.0 + n.
inline quint32 deviceIp(int n)
{
    return 0x7F010000u + quint32(n);
}

inline QByteArray dotted(quint32 ip)
{
    char buf[16];
    const int len = std::snprintf(buf, sizeof buf, "%u.%u.%u.%u", ip >> 24, (ip >> 16) & 0xff, (ip >> 8) & 0xff,
                                  ip & 0xff);
    return QByteArray(buf, len);
}

/// Devices name themselves after their address, as the factory default does.
inline QByteArray devId(int n)
{
    char buf[24];
    const int len = std::snprintf(buf, sizeof buf, "%08X-0001", deviceIp(n));
    return QByteArray(buf, len);
}

inline QByteArray deviceName(int n)
{
    // Mixed lengths and a non-Latin name, as a real rack list has.
    static const char *const stems[] = {"Stage Box ", "Amp Rack ", "FOH Desk ", "\xe8\x88\x9e\xe5\x8f\xb0\xe5\xb7\xa6 ",
                                        "Monitor Wedge Left "};
    return QByteArray(stems[n % 5]) + QByteArray::number(n);
}

/// An "iAmCorvane" in the order devices write its members.
inline QByteArray announcement(int n, const Counts &c = Counts(), bool canWork = true)
{
    static const char *const models[] = {"RK0808", "RK1616", "RK7731", "RK0000", "RK0128-A"};
    const QByteArray ip = dotted(deviceIp(n));
    char clock[24];
    std::snprintf(clock, sizeof clock, "00-1D-C1-FF-FE-%02X-%02X-%02X", (n >> 16) & 0xff, (n >> 8) & 0xff, n & 0xff);
    char buf[1400];
    const int len = std::snprintf(
        buf, sizeof buf,
        "{\"ops\":\"iAmCorvane\",\"devId\":\"%s\",\"name\":\"%s\",\"ip\":\"%s\",\"port\":\"9990\","
        "\"chNumRx\":\"%d\",\"chNumTx\":\"%d\",\"ucastNumRx\":\"%d\",\"ucastNumTx\":\"%d\",\"mcastNumRx\":\"%d\","
        "\"mcastNumTx\":\"%d\",\"sampleRate\":\"48000\",\"sampleByteNum\":\"3\",\"pFrameNum\":\"48\",\"dscp\":\"34\","
        "\"delayUs\":\"2000\",\"myClkId\":\"%s\",\"gmClkId\":\"00-1D-C1-FF-FE-00-00-01\",\"model\":\"%s\","
        "\"phyChNumRx\":\"%d\",\"phyChNumTx\":\"%d\",\"canWork\":\"%d\"}",
        devId(n).constData(), deviceName(n).constData(), ip.constData(), c.chNumRx, c.chNumTx, c.ucastNumRx,
        c.ucastNumTx, c.mcastNumRx, c.mcastNumTx, clock, models[n % 5], c.phyChNumRx, c.phyChNumTx, canWork ? 1 : 0);
    return QByteArray(buf, len);
}

} // namespace BenchPackets
