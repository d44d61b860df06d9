#pragma once

#include <QByteArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QString>

/// Hand-made datagrams as devices send them.
namespace Packets {

/// An "iAmCorvane" with every member a string; overrides replace or add members.
inline QByteArray announcement(const QString &devId, const QString &ip, const QJsonObject &overrides = {})
{
    QJsonObject o{{"ops", "iAmCorvane"},   {"devId", devId},        {"name", "Dev " + devId},
                  {"ip", ip},              {"port", "9990"},        {"chNumRx", "8"},
                  {"chNumTx", "8"},        {"ucastNumRx", "4"},     {"ucastNumTx", "4"},
                  {"mcastNumRx", "4"},     {"mcastNumTx", "2"},     {"sampleRate", "48000"},
                  {"sampleByteNum", "3"},  {"pFrameNum", "48"},     {"dscp", "34"},
                  {"delayUs", "2000"},     {"myClkId", "00-00-00-00-00-00-00-00"},
                  {"gmClkId", "00-00-00-00-00-00-00-00"},           {"model", "RK0808"},
                  {"phyChNumRx", "8"},     {"phyChNumTx", "8"},     {"canWork", "1"}};
    for (auto it = overrides.begin(); it != overrides.end(); ++it)
        o.insert(it.key(), it.value());
    return QJsonDocument(o).toJson(QJsonDocument::Compact);
}

/// A SAP announcement carrying sdp after the 24-byte header.
inline QByteArray sap(const QByteArray &sdp, quint32 origin = 0xC0A80114)
{
    QByteArray p;
    p.append(char(0x20));
    p.append(char(0));
    p.append(char(0x12));
    p.append(char(0x34));
    for (int s = 24; s >= 0; s -= 8)
        p.append(char((origin >> s) & 0xff));
    p.append("application/sdp", 15);
    p.append('\0');
    p.append(sdp);
    return p;
}

inline QByteArray sdp(const QString &name, const QString &source, const QString &group, int port = 5004,
                      int channels = 2)
{
    return QStringLiteral("v=0\r\no=- 1 1 IN IP4 %2\r\ns=%1\r\nc=IN IP4 %3/32\r\nt=0 0\r\nm=audio %4 RTP/AVP 98\r\n"
                          "a=rtpmap:98 L24/48000/%5\r\na=ptime:1\r\n"
                          "a=ts-refclk:ptp=IEEE1588-2008:00-1D-C1-FF-FE-00-00-01:0\r\na=mediaclk:direct=0\r\n")
        .arg(name, source, group)
        .arg(port)
        .arg(channels)
        .toUtf8();
}

} // namespace Packets
