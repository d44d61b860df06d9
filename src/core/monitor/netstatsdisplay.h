#pragma once

#include <QString>

struct Device;
struct DevRecord;

/// How the statistics page writes its figures. Every function is pure.
class NetStatsDisplay
{
public:
    /// Bytes of Ethernet, IPv4, UDP and RTP headers around each audio packet.
    static constexpr int kPacketOverheadBytes = 58;

    /// "temp" (thousandths of a degree, decimal text) in tenths of a degree,
    /// rounded to the nearest tenth; false when it is not a number.
    static bool temperatureTenths(const QString &temp, int *tenths);
    /// "80.5 °C" from tenths.
    static QString temperatureText(int tenths);
    /// "uptime" (seconds, may hold a fraction) as hours:minutes:seconds
    /// without zero padding ("1:2:5" for 3725); "" when not a number.
    static QString runningTime(const QString &uptime);

    /// "1 ms", "250 µs", "333.3 µs": microseconds, in ms from 1000 µs on.
    static QString duration(double microseconds);
    /// Frames per packet over the frames in one millisecond (whole kHz, as
    /// devices count them: 44 frames at 44.1 kHz are 1 ms).
    static double packetTimeUs(const DevRecord &rec);
    /// The device's receive latency, "delayUs".
    static QString delay(const DevRecord &rec);
    static QString sampleRate(const DevRecord &rec);

    /// Bits per second of one stream of the device's format:
    /// (channels × bytes per sample × frames per packet + overhead) × 8 ×
    /// packets per second, packets per second = sample rate / frames per packet.
    static double streamBitsPerSecond(const DevRecord &rec, int channels);
    /// Receive: the device's active unicast and multicast receive streams;
    /// send: its unicast transmit streams and multicast flows. In Mbps.
    static double receiveMbps(const Device &d);
    static double sendMbps(const Device &d);
    /// "2.77 Mbps / 5.54 Mbps".
    static QString bandwidthText(double receiveMbps, double sendMbps);
};
