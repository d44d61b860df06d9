#pragma once

#include <QByteArray>
#include <QString>
#include <QtGlobal>

/// One multicast flow as announced by SAP.
struct FlowDescription {
    quint8 versionFlags = 0;      // SAP byte 0, kept
    quint8 authLength = 0;        // SAP byte 1, kept
    quint16 msgIdHash = 0;        // host order
    quint32 originSource = 0;     // host order
    QString sessionName;          // "s=" line, up to (not including) '\n'; a '\r' before it stays
    quint32 srcIp = 0;            // host order
    quint32 dstIp = 0;            // host order: the flow's key
    quint16 dstPort = 0;
    quint8 chNum = 0;
    quint8 sampleByteNum = 0;
    quint32 sampleRate = 0;
    quint32 framesPerPacket = 0;
    char gmClkId[24] = {};        // 23 characters + terminating zero
    quint32 rtpTsOffset = 0;
};

/// Turns one SAP datagram with an SDP body into a FlowDescription.
/// Stateless and reentrant: the receive thread calls it for every packet on the SAP group.
class SapParser
{
public:
    /// Largest datagram accepted; the receive thread never hands over more.
    static constexpr int MaxDatagram = 1500;

    /// Why a description cannot be used, in the order the parser finds out.
    enum Refusal {
        Accepted,
        TooLong,            // more than a datagram holds
        NotSdp,             // no "application/sdp" payload
        NoSessionName,      // no "s=" line
        NoOrigin,           // no sender address on the "o=" line (or a zero one)
        NoConnection,       // no "c=" group (nor a source filter) or a zero one
        UnicastAddress,     // a pasted description sends to a single host
        NoMedia,            // no "m=audio" port, or port 0
        UnsupportedPayload, // not linear PCM of 1 to 4 bytes and 1 to 8 channels
        NoPacketTime,       // no usable "a=ptime"
        NoReferenceClock,   // no PTP "a=ts-refclk"
        NoMediaClock,       // no "a=mediaclk:direct="
    };

    /// Parses one SAP datagram. Returns false, leaving *out untouched, when any required item is missing or out
    /// of range; the caller then ignores the packet. Never allocates except for the session name.
    static bool parse(const char *data, int length, FlowDescription *out);
    /// parse() with the reason of a refusal.
    static Refusal check(const char *data, int length, FlowDescription *out);
    /// An SDP text without the SAP header, as pasted by the operator: the same
    /// checks, and its group must be a multicast one. *out is only set when
    /// Accepted.
    static Refusal parseSdpText(const QByteArray &sdp, FlowDescription *out);

    /// C-style integer whose base follows the text ("0x" hex, leading "0" octal, else decimal), like strtoul
    /// with base 0 in the C locale; sets *end past the digits (to text when there are none).
    static unsigned long cNumber(const char *text, const char **end = nullptr);
};
