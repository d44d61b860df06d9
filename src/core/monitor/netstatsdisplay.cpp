#include "core/monitor/netstatsdisplay.h"

#include "core/devices/devicerecord.h"

#include <cmath>

namespace {

QString trimmed(double v, int decimals)
{
    QString s = QString::number(v, 'f', decimals);
    if (s.contains(QLatin1Char('.'))) {
        while (s.endsWith(QLatin1Char('0')))
            s.chop(1);
        if (s.endsWith(QLatin1Char('.')))
            s.chop(1);
    }
    return s;
}

} // namespace

bool NetStatsDisplay::temperatureTenths(const QString &temp, int *tenths)
{
    bool ok = false;
    const double v = temp.trimmed().toDouble(&ok);
    if (!ok || !std::isfinite(v) || std::fabs(v) > 1e9)
        return false;
    *tenths = int(std::round(v / 1000.0 * 10.0));
    return true;
}

QString NetStatsDisplay::temperatureText(int tenths)
{
    return QString::number(tenths / 10.0, 'f', 1) + QStringLiteral(" °C");
}

QString NetStatsDisplay::runningTime(const QString &uptime)
{
    bool ok = false;
    const double v = uptime.trimmed().toDouble(&ok);
    if (!ok || !std::isfinite(v) || v < 0 || v > 1e15)
        return QString();
    const qint64 s = qint64(v);
    return QStringLiteral("%1:%2:%3").arg(s / 3600).arg((s % 3600) / 60).arg(s % 60);
}

QString NetStatsDisplay::duration(double microseconds)
{
    if (microseconds >= 1000.0)
        return trimmed(microseconds / 1000.0, 3) + QStringLiteral(" ms");
    return trimmed(microseconds, 1) + QStringLiteral(" µs");
}

double NetStatsDisplay::packetTimeUs(const DevRecord &rec)
{
    const int framesPerMs = rec.sampleRate / 1000;
    return framesPerMs > 0 ? rec.pFrameNum * 1000.0 / framesPerMs : 0.0;
}

QString NetStatsDisplay::delay(const DevRecord &rec)
{
    return duration(rec.delayUs);
}

QString NetStatsDisplay::sampleRate(const DevRecord &rec)
{
    return trimmed(rec.sampleRate / 1000.0, 3) + QStringLiteral(" kHz");
}

double NetStatsDisplay::streamBitsPerSecond(const DevRecord &rec, int channels)
{
    if (rec.pFrameNum <= 0 || rec.sampleRate <= 0 || channels <= 0)
        return 0.0;
    const double packetBytes = double(channels) * rec.sampleByteNum * rec.pFrameNum + kPacketOverheadBytes;
    return packetBytes * 8.0 * rec.sampleRate / rec.pFrameNum;
}

double NetStatsDisplay::receiveMbps(const Device &d)
{
    const DeviceTables &t = d.tables;
    double bits = 0.0;
    for (int i = 0; i < t.ucastRx.size(); ++i)
        if (t.ucastRx.at(i).srcIp != 0 && t.activeUcast.value(i))
            bits += streamBitsPerSecond(d.rec, t.ucastRx.at(i).chNum);
    for (int i = 0; i < t.mcastRx.size(); ++i)
        if (t.mcastRx.at(i).dstIp != 0 && t.activeMcast.value(i))
            bits += streamBitsPerSecond(d.rec, t.mcastRx.at(i).chNum);
    return bits / 1e6;
}

double NetStatsDisplay::sendMbps(const Device &d)
{
    const DeviceTables &t = d.tables;
    double bits = 0.0;
    for (const UcastTxItem &s : t.ucastTx)
        if (s.dstIp != 0)
            bits += streamBitsPerSecond(d.rec, s.chNum);
    for (const McastTxItem &f : t.mcastTx)
        if (f.dstIp != 0)
            bits += streamBitsPerSecond(d.rec, f.chNum);
    return bits / 1e6;
}

QString NetStatsDisplay::bandwidthText(double receiveMbps, double sendMbps)
{
    return QStringLiteral("%1 Mbps / %2 Mbps").arg(receiveMbps, 0, 'f', 2).arg(sendMbps, 0, 'f', 2);
}
