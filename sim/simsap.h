#pragma once

#include "simports.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

/// SAP announcements of multicast flows, written the way AES67 senders
/// write them (protocol.md, section 3).
class SimSap
{
public:
    struct Flow
    {
        QString name;       ///< session name
        quint32 source = 0; ///< the sending device
        quint32 group = 0;
        int port = SimPorts::rtp;
        int sampleByteNum = 3;
        int sampleRate = 48000;
        int packetTimeDiv = 1; ///< packet time = 1 ms / div
        QString gmClkId;
        int ptpDomain = 0;
        quint32 rtpTsOffset = 0;
        quint32 sessionId = 1;
        quint32 sessionVersion = 1;
        QStringList channelNames; ///< one per channel of the flow
    };

    static QByteArray sdp(const Flow &flow);
    /// deletion: the SAP deletion form, which tells listeners the flow is gone.
    static QByteArray packet(quint32 origin, quint16 messageHash, const QByteArray &sdp, bool deletion = false);
    /// "1", "0.5", "0.333", "0.25", "0.125": milliseconds as SDP writes them.
    static QString ptimeText(int packetTimeDiv);
    static QString dotted(quint32 address);
};
