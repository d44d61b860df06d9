#include "core/protocol/ipv4.h"

namespace Ipv4 {

QString toText(quint32 ip)
{
    return QStringLiteral("%1.%2.%3.%4").arg(ip >> 24).arg((ip >> 16) & 0xff).arg((ip >> 8) & 0xff).arg(ip & 0xff);
}

quint32 fromText(const char *text, const char **end)
{
    quint32 ip = 0;
    const char *p = text;
    for (int octet = 0; octet < 4; ++octet) {
        if (octet > 0) {
            if (*p != '.')
                return 0;
            ++p;
        }
        if (*p < '0' || *p > '9')
            return 0;
        unsigned v = 0;
        int digits = 0;
        while (*p >= '0' && *p <= '9' && digits < 4) {
            v = v * 10 + unsigned(*p - '0');
            ++p;
            ++digits;
        }
        if (v > 255 || digits > 3)
            return 0;
        ip = (ip << 8) | v;
    }
    if (end)
        *end = p;
    return ip;
}

quint32 fromText(const QString &text)
{
    const QByteArray latin = text.trimmed().toLatin1();
    const char *end = nullptr;
    const quint32 ip = fromText(latin.constData(), &end);
    return (end && *end == '\0') ? ip : 0;
}

} // namespace Ipv4
