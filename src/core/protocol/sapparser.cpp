#include "core/protocol/sapparser.h"

#include "core/protocol/ipv4.h"

#include <climits>
#include <cstring>

namespace {

constexpr int kHeaderBytes = 24;
constexpr int kPayloadTypeOffset = 8;
// Compared with its terminating zero: "application/sdpx" must not pass.
constexpr char kPayloadType[] = "application/sdp";
static_assert(sizeof(kPayloadType) == kHeaderBytes - kPayloadTypeOffset, "payload type fills bytes 8..23");
constexpr int kClockIdChars = 23;

constexpr char kSourceFilter[] = "a=source-filter: incl IN IP4 ";
constexpr char kOriginAddress[] = " IN IP4 ";
constexpr char kConnection[] = "c=IN IP4 ";
constexpr char kSessionName[] = "s=";
constexpr char kMedia[] = "m=audio ";
constexpr char kRtpMap[] = "a=rtpmap:";
constexpr char kPtime[] = "a=ptime:";
constexpr char kRefClock[] = "a=ts-refclk:ptp=IEEE1588-2008:";
constexpr char kMediaClock[] = "a=mediaclk:direct=";

constexpr quint64 kMaxU32 = 0xffffffffu;

// Pointer just past the first occurrence of key in text, or nullptr.
const char *after(const char *text, const char *key, size_t keyLength)
{
    const char *hit = std::strstr(text, key);
    return hit ? hit + keyLength : nullptr;
}

template <size_t N>
const char *after(const char *text, const char (&key)[N])
{
    return after(text, key, N - 1);
}

bool isSpace(char c)
{
    return c == ' ' || c == '\t' || c == '\n' || c == '\v' || c == '\f' || c == '\r';
}

int digitValue(char c)
{
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    return -1;
}

// The strtoul(base 0) grammar without locale or errno, and 64 bits wide on every platform so that range checks
// behave the same where unsigned long has 32 bits. Returns nullptr when no digit follows.
const char *scanCNumber(const char *text, quint64 *magnitude, bool *negative)
{
    const char *p = text;
    while (isSpace(*p))
        ++p;
    *negative = false;
    if (*p == '+' || *p == '-') {
        *negative = *p == '-';
        ++p;
    }
    unsigned base = 10;
    if (p[0] == '0' && (p[1] == 'x' || p[1] == 'X') && digitValue(p[2]) >= 0) {
        base = 16;
        p += 2;
    } else if (p[0] == '0') {
        base = 8;
    }
    const char *digits = p;
    quint64 value = 0;
    bool overflow = false;
    for (int d = digitValue(*p); d >= 0 && unsigned(d) < base; d = digitValue(*++p)) {
        if (value > (~quint64(0) - unsigned(d)) / base)
            overflow = true;
        else
            value = value * base + unsigned(d);
    }
    if (p == digits)
        return nullptr;
    *magnitude = overflow ? ~quint64(0) : value;
    return p;
}

// A C-style number that must lie in [0, max]; a minus sign only passes in front of zero.
const char *readNumber(const char *text, quint64 max, quint64 *value)
{
    if (!text)
        return nullptr;
    bool negative = false;
    const char *end = scanCNumber(text, value, &negative);
    if (!end || (negative && *value != 0) || *value > max)
        return nullptr;
    return end;
}

// Packet time in milliseconds: plain decimal with an optional fraction ("1", "0.125", "0.333"). Digits are
// gathered as one integer and scaled once so that exact values such as 0.125 stay exact.
bool readDecimal(const char *text, double *value)
{
    static const double scale[] = {1.0, 1e1, 1e2, 1e3, 1e4, 1e5, 1e6, 1e7, 1e8, 1e9};
    constexpr quint64 kMantissaLimit = 100000000000000000ull; // keeps mantissa * 10 + 9 inside 64 bits
    const char *p = text;
    while (isSpace(*p))
        ++p;
    quint64 mantissa = 0;
    int fractionDigits = 0;
    bool anyDigit = false;
    for (; *p >= '0' && *p <= '9'; ++p) {
        if (mantissa >= kMantissaLimit)
            return false; // far beyond any packet time; the frame count would not fit anyway
        mantissa = mantissa * 10 + unsigned(*p - '0');
        anyDigit = true;
    }
    if (*p == '.') {
        for (++p; *p >= '0' && *p <= '9'; ++p) {
            anyDigit = true;
            if (fractionDigits < 9 && mantissa < kMantissaLimit) {
                mantissa = mantissa * 10 + unsigned(*p - '0');
                ++fractionDigits;
            }
        }
    }
    if (!anyDigit)
        return false;
    *value = double(mantissa) / scale[fractionDigits];
    return true;
}

// A dotted quad must end where the address ends: "/ttl" on the c= line, a space before the next source, or the
// line break. "1.2.3.4.5" or "1.2.3.4x" is not an address.
const char *readAddress(const char *text, quint32 *ip)
{
    if (!text)
        return nullptr;
    const char *end = nullptr;
    *ip = Ipv4::fromText(text, &end);
    if (!end)
        return nullptr;
    const char c = *end;
    if (c != '\0' && c != '/' && !isSpace(c))
        return nullptr;
    return end;
}

} // namespace

unsigned long SapParser::cNumber(const char *text, const char **end)
{
    quint64 magnitude = 0;
    bool negative = false;
    const char *stop = scanCNumber(text, &magnitude, &negative);
    if (end)
        *end = stop ? stop : text;
    if (!stop)
        return 0;
    if (magnitude > ULONG_MAX)
        return ULONG_MAX;
    const unsigned long value = static_cast<unsigned long>(magnitude);
    return negative ? 0ul - value : value;
}

bool SapParser::parse(const char *data, int length, FlowDescription *out)
{
    return check(data, length, out) == Accepted;
}

SapParser::Refusal SapParser::parseSdpText(const QByteArray &sdp, FlowDescription *out)
{
    if (sdp.size() > MaxDatagram - kHeaderBytes)
        return TooLong;
    // A pasted description comes without the SAP header; a blank one in front lets it take the very path the
    // announcements take.
    QByteArray datagram(kPayloadTypeOffset, '\0');
    datagram.append(kPayloadType, int(sizeof(kPayloadType)));
    datagram.append(sdp);
    FlowDescription d;
    const Refusal r = check(datagram.constData(), datagram.size(), &d);
    if (r != Accepted)
        return r;
    // An announcement names whatever group its sender uses; a flow to subscribe to must be a multicast one.
    if ((d.dstIp >> 28) != 0xe)
        return UnicastAddress;
    *out = d;
    return Accepted;
}

SapParser::Refusal SapParser::check(const char *data, int length, FlowDescription *out)
{
    if (!data || !out || length < kHeaderBytes)
        return NotSdp;
    if (length > MaxDatagram)
        return TooLong;
    if (std::memcmp(data + kPayloadTypeOffset, kPayloadType, sizeof(kPayloadType)) != 0)
        return NotSdp;

    // The searches below are C string searches; a private zero-terminated copy keeps them inside the datagram.
    char buffer[MaxDatagram + 1];
    std::memcpy(buffer, data, size_t(length));
    buffer[length] = '\0';
    const char *sdp = buffer + kHeaderBytes;
    const auto *header = reinterpret_cast<const uchar *>(buffer);

    const char *name = after(sdp, kSessionName);
    if (!name)
        return NoSessionName;
    // A session name running to the end of the text has no line break to stop at; the name is all there is.
    const char *nameEnd = std::strchr(name, '\n');
    const int nameLength = nameEnd ? int(nameEnd - name) : int(std::strlen(name));

    quint32 srcIp = 0;
    quint32 dstIp = 0;
    // A source-specific flow names both ends on one line, and that line wins over the origin and c= lines, which
    // may name another host or group.
    if (const char *filter = after(sdp, kSourceFilter)) {
        const char *p = readAddress(filter, &dstIp);
        if (!p || !(p = std::strchr(p, ' ')) || !readAddress(p + 1, &srcIp))
            return NoConnection;
    } else {
        if (!readAddress(after(sdp, kOriginAddress), &srcIp))
            return NoOrigin;
        if (!readAddress(after(sdp, kConnection), &dstIp))
            return NoConnection;
    }

    quint64 port = 0;
    if (!readNumber(after(sdp, kMedia), 0xffff, &port))
        return NoMedia;

    const char *rtpMap = after(sdp, kRtpMap);
    const char *bitsText = rtpMap ? after(rtpMap, " L") : nullptr;
    quint64 bits = 0;
    quint64 rate = 0;
    quint64 channels = 0;
    const char *p = readNumber(bitsText, kMaxU32, &bits);
    if (!p || !(p = std::strchr(p, '/')) || !(p = readNumber(p + 1, kMaxU32, &rate)) || !(p = std::strchr(p, '/'))
        || !readNumber(p + 1, kMaxU32, &channels)) {
        return UnsupportedPayload;
    }

    const char *ptimeText = after(sdp, kPtime);
    double ptimeMs = 0.0;
    if (!ptimeText || !readDecimal(ptimeText, &ptimeMs))
        return NoPacketTime;
    // Integer kHz first, as the devices count it: 44.1 kHz at 1 ms is 44 frames, not 44.1. The 0.01 keeps a
    // decimal packet time that has no exact binary form from landing a hair below a whole frame count.
    const double frames = ptimeMs * double(rate / 1000) + 0.01;
    if (!(frames < double(kMaxU32) + 1.0))
        return NoPacketTime;

    const char *clock = after(sdp, kRefClock);
    if (!clock || std::strlen(clock) < size_t(kClockIdChars))
        return NoReferenceClock;

    quint64 rtpOffset = 0;
    if (!readNumber(after(sdp, kMediaClock), kMaxU32, &rtpOffset))
        return NoMediaClock;

    const quint64 bytesPerSample = bits / 8;
    if (channels < 1 || channels > 8 || bytesPerSample < 1 || bytesPerSample > 4)
        return UnsupportedPayload;
    if (srcIp == 0)
        return NoOrigin;
    if (dstIp == 0)
        return NoConnection;
    if (port == 0)
        return NoMedia;

    out->versionFlags = header[0];
    out->authLength = header[1];
    out->msgIdHash = quint16((header[2] << 8) | header[3]);
    out->originSource =
        (quint32(header[4]) << 24) | (quint32(header[5]) << 16) | (quint32(header[6]) << 8) | quint32(header[7]);
    out->sessionName = QString::fromUtf8(name, nameLength);
    out->srcIp = srcIp;
    out->dstIp = dstIp;
    out->dstPort = quint16(port);
    out->chNum = quint8(channels);
    out->sampleByteNum = quint8(bytesPerSample);
    out->sampleRate = quint32(rate);
    out->framesPerPacket = quint32(frames);
    std::memcpy(out->gmClkId, clock, kClockIdChars);
    out->gmClkId[kClockIdChars] = '\0';
    out->rtpTsOffset = quint32(rtpOffset);
    return Accepted;
}
