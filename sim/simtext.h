#pragma once

#include <QJsonArray>
#include <QString>
#include <QVector>
#include <cmath>

/// How the devices write values on the wire: numbers as text, addresses
/// dotted, levels with one decimal or "-inf"; and the reasons they give.
namespace SimText {

inline const QString badParam = QStringLiteral("bad param");
inline const QString noFreeSdpId = QStringLiteral("no free sdpId");
inline const QString lockReason = QStringLiteral("LOCK_UCAST_MCAST");
inline const QString unknownOps = QStringLiteral("unknown ops");

inline QString num(qint64 v)
{
    return QString::number(v);
}

inline QString dotted(quint32 a)
{
    return QStringLiteral("%1.%2.%3.%4").arg(a >> 24).arg((a >> 16) & 0xff).arg((a >> 8) & 0xff).arg(a & 0xff);
}

inline quint32 parseDotted(const QString &text, bool *ok)
{
    const QStringList parts = text.split(QLatin1Char('.'));
    *ok = parts.size() == 4;
    quint32 a = 0;
    for (const QString &p : parts) {
        bool pok = false;
        const uint v = p.toUInt(&pok);
        if (!pok || v > 255 || p.isEmpty())
            *ok = false;
        a = (a << 8) | (v & 0xff);
    }
    return *ok ? a : 0;
}

inline bool isMulticast(quint32 a)
{
    return a >= 0xE0000000u && a <= 0xEFFFFFFFu;
}

inline QJsonArray textArray(const QVector<int> &values)
{
    QJsonArray a;
    for (int v : values)
        a.append(num(v));
    return a;
}

inline QString levelText(double dB)
{
    return std::isnan(dB) ? QStringLiteral("-inf") : QString::number(dB, 'f', 1);
}

/// The same for the same text on every run, unlike qHash.
inline quint32 stableHash(const QString &s)
{
    quint32 h = 2166136261u;
    for (const QChar c : s)
        h = (h ^ c.unicode()) * 16777619u;
    return h;
}

} // namespace SimText
