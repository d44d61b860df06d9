#include "simsap.h"

#include <QtEndian>

QString SimSap::dotted(quint32 a)
{
    return QStringLiteral("%1.%2.%3.%4").arg(a >> 24).arg((a >> 16) & 0xff).arg((a >> 8) & 0xff).arg(a & 0xff);
}

QString SimSap::ptimeText(int div)
{
    if (div <= 1)
        return QStringLiteral("1");
    // Three decimals at most, trailing zeros dropped: 0.5, 0.25, 0.333, 0.125.
    QString t = QString::number(1.0 / div, 'f', 3);
    while (t.endsWith(QLatin1Char('0')))
        t.chop(1);
    return t;
}

QByteArray SimSap::sdp(const Flow &f)
{
    const QString src = dotted(f.source);
    const QString grp = dotted(f.group);
    const int channels = f.channelNames.size();
    QStringList lines;
    lines << QStringLiteral("v=0")
          << QStringLiteral("o=- %1 %2 IN IP4 %3").arg(f.sessionId).arg(f.sessionVersion).arg(src)
          << QStringLiteral("s=") + f.name
          // TTL 32 as AES67 senders write it; the devices send with that TTL.
          << QStringLiteral("c=IN IP4 %1/32").arg(grp) << QStringLiteral("t=0 0")
          << QStringLiteral("m=audio %1 RTP/AVP 98").arg(f.port)
          << QStringLiteral("i=%1 channels: %2").arg(channels).arg(f.channelNames.join(QStringLiteral(", ")))
          << QStringLiteral("a=rtpmap:98 L%1/%2/%3").arg(f.sampleByteNum * 8).arg(f.sampleRate).arg(channels)
          << QStringLiteral("a=sync-time:0")
          << QStringLiteral("a=framecount:%1").arg(f.sampleRate / 1000 / qMax(1, f.packetTimeDiv))
          << QStringLiteral("a=ptime:") + ptimeText(f.packetTimeDiv)
          << QStringLiteral("a=ts-refclk:ptp=IEEE1588-2008:%1:%2").arg(f.gmClkId).arg(f.ptpDomain)
          << QStringLiteral("a=mediaclk:direct=%1").arg(f.rtpTsOffset)
          << QStringLiteral("a=source-filter: incl IN IP4 %1 %2").arg(grp, src) << QStringLiteral("a=recvonly");
    return (lines.join(QStringLiteral("\r\n")) + QStringLiteral("\r\n")).toUtf8();
}

QByteArray SimSap::packet(quint32 origin, quint16 messageHash, const QByteArray &sdp, bool deletion)
{
    QByteArray p(8, '\0');
    // Version 1, IPv4, announcement or deletion, not encrypted or compressed.
    p[0] = char(deletion ? 0x24 : 0x20);
    p[1] = 0; // no authentication data
    qToBigEndian<quint16>(messageHash, p.data() + 2);
    qToBigEndian<quint32>(origin, p.data() + 4);
    p.append("application/sdp", 15);
    p.append('\0');
    p.append(sdp);
    return p;
}
