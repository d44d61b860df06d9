#pragma once

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

    /// Parses one SAP datagram. Returns false, leaving *out untouched, when any required item is missing or out
    /// of range; the caller then ignores the packet. Never allocates except for the session name.
    static bool parse(const char *data, int length, FlowDescription *out);

    /// C-style integer whose base follows the text ("0x" hex, leading "0" octal, else decimal), like strtoul
    /// with base 0 in the C locale; sets *end past the digits (to text when there are none).
    static unsigned long cNumber(const char *text, const char **end = nullptr);
};
