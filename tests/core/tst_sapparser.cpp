#include "core/protocol/sapparser.h"

#include <QtTest>

#include <cstring>

namespace {

constexpr quint32 ip(quint32 a, quint32 b, quint32 c, quint32 d)
{
    return (a << 24) | (b << 16) | (c << 8) | d;
}

struct SapHeader {
    quint8 flags = 0x20; // version 1, IPv4 origin, announcement
    quint8 authLength = 0;
    quint16 msgIdHash = 0x1234;
    quint32 origin = ip(192, 168, 1, 10);
};

// The fixed part a sender writes in front of the SDP text, fields big-endian.
QByteArray sapPrefix(const SapHeader &h = SapHeader())
{
    QByteArray b;
    b.append(char(h.flags));
    b.append(char(h.authLength));
    b.append(char(h.msgIdHash >> 8));
    b.append(char(h.msgIdHash & 0xff));
    for (int shift = 24; shift >= 0; shift -= 8)
        b.append(char((h.origin >> shift) & 0xff));
    b.append("application/sdp", 16); // with its terminating zero
    return b;
}

QByteArray sapPacket(const QByteArray &sdp, const SapHeader &h = SapHeader())
{
    return sapPrefix(h) + sdp;
}

// What a typical AES67 transmitter announces. The source-filter line names the same group and host as the
// c= and o= lines here; the cases where they differ are tested on their own.
const QList<QByteArray> &aes67Lines()
{
    static const QList<QByteArray> lines = {
        "v=0",
        "o=- 1311738121 1311738121 IN IP4 192.168.1.10",
        "s=Stage Box 1 : 32",
        "c=IN IP4 239.69.1.2/32",
        "t=0 0",
        "m=audio 5004 RTP/AVP 98",
        "i=Channels 1-2",
        "a=rtpmap:98 L24/48000/2",
        "a=sync-time:0",
        "a=framecount:48",
        "a=ptime:1",
        "a=recvonly",
        "a=source-filter: incl IN IP4 239.69.1.2 192.168.1.10",
        "a=ts-refclk:ptp=IEEE1588-2008:00-1D-C1-FF-FE-12-34-56:0",
        "a=mediaclk:direct=12345",
    };
    return lines;
}

// The AES67 text with each line that starts with a change's prefix replaced (an empty replacement drops it).
QByteArray aes67Sdp(const QList<QPair<QByteArray, QByteArray>> &changes = {}, const QByteArray &eol = "\r\n")
{
    QByteArray text;
    for (const QByteArray &line : aes67Lines()) {
        QByteArray out = line;
        for (const auto &change : changes) {
            if (line.startsWith(change.first))
                out = change.second;
        }
        if (!out.isEmpty())
            text += out + eol;
    }
    return text;
}

QByteArray sdpWith(const QByteArray &prefix, const QByteArray &replacement)
{
    return aes67Sdp({{prefix, replacement}});
}

// Without the source-filter line the addresses come from the origin and c= lines.
QByteArray sdpWithoutFilter(const QList<QPair<QByteArray, QByteArray>> &changes = {})
{
    auto all = changes;
    all.append({"a=source-filter", QByteArray()});
    return aes67Sdp(all);
}

bool parse(const QByteArray &packet, FlowDescription *flow)
{
    return SapParser::parse(packet.constData(), packet.size(), flow);
}

} // namespace

class TestSapParser : public QObject
{
    Q_OBJECT
private slots:
    void aes67Announcement();
    void addresses_data();
    void addresses();
    void sampleFormat_data();
    void sampleFormat();
    void framesPerPacket_data();
    void framesPerPacket();
    void portAndOffset_data();
    void portAndOffset();
    void sessionName_data();
    void sessionName();
    void clockIdentity_data();
    void clockIdentity();
    void rejected_data();
    void rejected();
    void readsOnlyTheGivenLength();
    void failureLeavesOutputUntouched();
};

void TestSapParser::aes67Announcement()
{
    SapHeader h;
    h.flags = 0x24; // deletion bit set: kept for the caller to judge
    h.msgIdHash = 0xBEEF;
    h.origin = ip(10, 20, 30, 40);
    FlowDescription f;
    QVERIFY(parse(sapPacket(aes67Sdp(), h), &f));
    QCOMPARE(f.versionFlags, quint8(0x24));
    QCOMPARE(f.authLength, quint8(0));
    QCOMPARE(f.msgIdHash, quint16(0xBEEF));
    QCOMPARE(f.originSource, ip(10, 20, 30, 40));
    QCOMPARE(f.sessionName, QStringLiteral("Stage Box 1 : 32\r"));
    // The origin field of the header is not the flow's source: that comes from the SDP text.
    QCOMPARE(f.srcIp, ip(192, 168, 1, 10));
    QCOMPARE(f.dstIp, ip(239, 69, 1, 2));
    QCOMPARE(f.dstPort, quint16(5004));
    QCOMPARE(f.chNum, quint8(2));
    QCOMPARE(f.sampleByteNum, quint8(3));
    QCOMPARE(f.sampleRate, quint32(48000));
    QCOMPARE(f.framesPerPacket, quint32(48));
    QCOMPARE(QByteArray(f.gmClkId), QByteArray("00-1D-C1-FF-FE-12-34-56"));
    QCOMPARE(f.rtpTsOffset, quint32(12345));
}

void TestSapParser::addresses_data()
{
    QTest::addColumn<QByteArray>("sdp");
    QTest::addColumn<quint32>("src");
    QTest::addColumn<quint32>("dst");
    QTest::newRow("ttl") << sdpWithoutFilter() << ip(192, 168, 1, 10) << ip(239, 69, 1, 2);
    QTest::newRow("no ttl") << sdpWithoutFilter({{"o=", "o=- 1 1 IN IP4 10.0.0.7"}, {"c=", "c=IN IP4 239.255.0.1"}})
                            << ip(10, 0, 0, 7) << ip(239, 255, 0, 1);
    QTest::newRow("ttl and count")
        << sdpWithoutFilter({{"o=", "o=tx 7 9 IN IP4 172.16.5.200"}, {"c=", "c=IN IP4 224.2.36.42/127/3"}})
        << ip(172, 16, 5, 200) << ip(224, 2, 36, 42);
    QTest::newRow("source filter wins") << aes67Sdp({{"o=", "o=- 1 1 IN IP4 10.9.9.9"},
                                                     {"c=", "c=IN IP4 239.9.9.9/32"},
                                                     {"a=source-filter", "a=source-filter: incl IN IP4 239.1.2.3 192.168.1.10"}})
                                        << ip(192, 168, 1, 10) << ip(239, 1, 2, 3);
    // With the filter present, the origin and c= lines are not needed at all.
    QTest::newRow("filter alone") << aes67Sdp({{"o=", ""}, {"c=", ""}}) << ip(192, 168, 1, 10) << ip(239, 69, 1, 2);
}

void TestSapParser::addresses()
{
    QFETCH(QByteArray, sdp);
    FlowDescription f;
    QVERIFY(parse(sapPacket(sdp), &f));
    QTEST(f.srcIp, "src");
    QTEST(f.dstIp, "dst");
}

void TestSapParser::sampleFormat_data()
{
    // Refused formats are rows of rejected.
    QTest::addColumn<QByteArray>("rtpmap");
    QTest::addColumn<int>("bytes");
    QTest::addColumn<quint32>("rate");
    QTest::addColumn<int>("channels");
    QTest::newRow("L24 stereo") << QByteArray("a=rtpmap:98 L24/48000/2") << 3 << 48000u << 2;
    QTest::newRow("L16 8ch 44.1k") << QByteArray("a=rtpmap:96 L16/44100/8") << 2 << 44100u << 8;
    QTest::newRow("L8 mono") << QByteArray("a=rtpmap:97 L8/48000/1") << 1 << 48000u << 1;
    QTest::newRow("hex and octal") << QByteArray("a=rtpmap:98 L0x18/0xBB80/010") << 3 << 48000u << 8;
}

void TestSapParser::sampleFormat()
{
    QFETCH(QByteArray, rtpmap);
    FlowDescription f;
    QVERIFY(parse(sapPacket(sdpWith("a=rtpmap", rtpmap)), &f));
    QTEST(int(f.sampleByteNum), "bytes");
    QTEST(f.sampleRate, "rate");
    QTEST(int(f.chNum), "channels");
}

void TestSapParser::framesPerPacket_data()
{
    QTest::addColumn<QByteArray>("ptime");
    QTest::addColumn<quint32>("rate");
    QTest::addColumn<quint32>("frames");

    QTest::newRow("0.125 ms @ 48k") << QByteArray("0.125") << 48000u << 6u;
    QTest::newRow("1 ms @ 44.1k") << QByteArray("1") << 44100u << 44u;
    QTest::newRow("1.5 ms @ 48k") << QByteArray("1.5") << 48000u << 72u;
    // Whole kHz before the multiplication: 10 ms at 44.1 kHz is 440, not 441.
    QTest::newRow("10 ms @ 44.1k") << QByteArray("10") << 44100u << 440u;
    // Truncated, not rounded.
    QTest::newRow("0.333 ms @ 48k") << QByteArray("0.333") << 48000u << 15u;
    // 0.7 * 90 is 62.99999... in binary; the count is still 63.
    QTest::newRow("0.7 ms @ 90k") << QByteArray("0.7") << 90000u << 63u;
}

void TestSapParser::framesPerPacket()
{
    QFETCH(QByteArray, ptime);
    QFETCH(quint32, rate);
    const QByteArray sdp = aes67Sdp({{"a=rtpmap", "a=rtpmap:98 L24/" + QByteArray::number(rate) + "/2"},
                                     {"a=ptime", "a=ptime:" + ptime}});
    FlowDescription f;
    QVERIFY(parse(sapPacket(sdp), &f));
    QTEST(f.framesPerPacket, "frames");
}

void TestSapParser::portAndOffset_data()
{
    // Both read as C numbers, whose base follows the text; out-of-range values are rows of rejected.
    QTest::addColumn<QByteArray>("prefix");
    QTest::addColumn<QByteArray>("line");
    QTest::addColumn<quint32>("value");
    const QByteArray m = "m=audio", c = "a=mediaclk";
    QTest::newRow("port hex") << m << QByteArray("m=audio 0x138c RTP/AVP 98") << 5004u;
    QTest::newRow("port highest") << m << QByteArray("m=audio 65535 RTP/AVP 98") << 65535u;
    QTest::newRow("offset with rate") << c << QByteArray("a=mediaclk:direct=963214424 rate=48000") << 963214424u;
    QTest::newRow("offset highest") << c << QByteArray("a=mediaclk:direct=0xffffffff") << 4294967295u;
}

void TestSapParser::portAndOffset()
{
    QFETCH(QByteArray, prefix);
    QFETCH(QByteArray, line);
    FlowDescription f;
    QVERIFY(parse(sapPacket(sdpWith(prefix, line)), &f));
    QTEST(prefix == "m=audio" ? quint32(f.dstPort) : f.rtpTsOffset, "value");
}

void TestSapParser::sessionName_data()
{
    QTest::addColumn<QByteArray>("sdp");
    QTest::addColumn<QString>("name");

    QTest::newRow("LF") << aes67Sdp({}, "\n") << QStringLiteral("Stage Box 1 : 32");
    QTest::newRow("UTF-8") << sdpWith("s=", "s=B\xC3\xBChne links") << QStringLiteral("B\u00FChne links\r");
    // The first "s=" decides, even when a later line holds another.
    QTest::newRow("first wins") << sdpWith("i=", "s=Second") << QStringLiteral("Stage Box 1 : 32\r");
    // Last in the text without a line break: the name runs to the end.
    QTest::newRow("at the end") << QByteArray(sdpWith("s=", "") + "s=Tail") << QStringLiteral("Tail");
}

void TestSapParser::sessionName()
{
    QFETCH(QByteArray, sdp);
    FlowDescription f;
    QVERIFY(parse(sapPacket(sdp), &f));
    QTEST(f.sessionName, "name");
}

void TestSapParser::clockIdentity_data()
{
    QTest::addColumn<QByteArray>("sdp");
    QTest::addColumn<QByteArray>("clock"); // empty: rejected

    QTest::newRow("other domain") << sdpWith("a=ts-refclk", "a=ts-refclk:ptp=IEEE1588-2008:AC-44-F2-FF-FE-00-01-02:127")
                                  << QByteArray("AC-44-F2-FF-FE-00-01-02");
    // Exactly 23 characters left in the datagram.
    QTest::newRow("ends the text")
        << QByteArray(sdpWith("a=ts-refclk", "") + "a=ts-refclk:ptp=IEEE1588-2008:39-A7-94-FF-FE-07-CB-D0")
        << QByteArray("39-A7-94-FF-FE-07-CB-D0");
    QTest::newRow("one short at the end")
        << QByteArray(sdpWith("a=ts-refclk", "") + "a=ts-refclk:ptp=IEEE1588-2008:39-A7-94-FF-FE-07-CB-D") << QByteArray();
    QTest::newRow("other clock standard")
        << sdpWith("a=ts-refclk", "a=ts-refclk:ptp=IEEE1588-2019:00-1D-C1-FF-FE-12-34-56:0") << QByteArray();
    QTest::newRow("local clock") << sdpWith("a=ts-refclk", "a=ts-refclk:local") << QByteArray();
}

void TestSapParser::clockIdentity()
{
    QFETCH(QByteArray, sdp);
    QFETCH(QByteArray, clock);
    FlowDescription f;
    std::memset(f.gmClkId, 'x', sizeof(f.gmClkId));
    QCOMPARE(parse(sapPacket(sdp), &f), !clock.isEmpty());
    if (!clock.isEmpty()) {
        QCOMPARE(f.gmClkId[23], '\0');
        QCOMPARE(QByteArray(f.gmClkId), clock);
    }
}

void TestSapParser::rejected_data()
{
    QTest::addColumn<QByteArray>("packet");
    const QByteArray sdp = aes67Sdp();
    const QByteArray good = sapPacket(sdp);

    // The header: at least 24 bytes with "application/sdp" and its zero at offset 8.
    QTest::newRow("23 bytes") << good.left(23);
    QTest::newRow("header only") << good.left(24);
    SapHeader withAuth;
    withAuth.authLength = 1; // four bytes of authentication data push the payload type past offset 8
    QTest::newRow("authentication data") << sapPrefix(withAuth).insert(8, QByteArray("\xde\xad\xbe\xef", 4)) + sdp;
    SapHeader v6;
    v6.flags = 0x30; // an IPv6 origin is 16 bytes long
    QTest::newRow("IPv6 origin") << sapPrefix(v6).insert(8, QByteArray(12, '\x01')) + sdp;
    QTest::newRow("application/sdx") << QByteArray(good).replace(8 + 14, 1, "x");
    QTest::newRow("payload type not terminated") << QByteArray(good).replace(23, 1, "x");
    QTest::newRow("payload type omitted") << QByteArray(good.left(8) + sdp);

    // Addresses.
    QTest::newRow("octet 256") << sapPacket(sdpWithoutFilter({{"c=", "c=IN IP4 239.1.2.256/32"}}));
    QTest::newRow("three octets") << sapPacket(sdpWithoutFilter({{"c=", "c=IN IP4 239.1.2/32"}}));
    QTest::newRow("trailing letter") << sapPacket(sdpWithoutFilter({{"c=", "c=IN IP4 239.1.2.3x"}}));
    QTest::newRow("IPv6 group") << sapPacket(sdpWithoutFilter({{"c=", "c=IN IP6 ff0e::1:2"}}));
    QTest::newRow("zero group") << sapPacket(sdpWithoutFilter({{"c=", "c=IN IP4 0.0.0.0/32"}}));
    QTest::newRow("zero source") << sapPacket(sdpWithoutFilter({{"o=", "o=- 1 1 IN IP4 0.0.0.0"}}));
    QTest::newRow("filter zero source")
        << sapPacket(sdpWith("a=source-filter", "a=source-filter: incl IN IP4 239.1.2.3 0.0.0.0"));
    // Nothing after the group on the filter line (and no space further on in this text): no source.
    QTest::newRow("filter without source")
        << sapPacket(sdpWith("a=source-filter", "a=source-filter: incl IN IP4 239.1.2.3"));

    // Sample formats: widths, channel counts (258 would wrap to 2), rates and encodings not taken.
    for (const char *format : {"L40/48000/2", "L4/48000/2", "L24/48000/0", "L24/48000/9", "L24/48000/258", "L24/48000",
                               "L24/4294967296/2", "AM824/48000/2"})
        QTest::newRow(format) << sapPacket(sdpWith("a=rtpmap", QByteArray("a=rtpmap:98 ") + format));
    // Ports and offsets out of range, also where they would wrap to a good value.
    for (const char *port : {"0", "65536", "70540", "-5004"})
        QTest::newRow(port) << sapPacket(sdpWith("m=audio", QByteArray("m=audio ") + port + " RTP/AVP 98"));
    for (const char *offset : {"4294967296", "99999999999999999999999", "-1", ""})
        QTest::newRow(offset) << sapPacket(sdpWith("a=mediaclk", QByteArray("a=mediaclk:direct=") + offset));

    // Lines that must be there, in the form read.
    for (const char *prefix : {"s=", "m=audio", "a=rtpmap", "a=ptime", "a=ts-refclk", "a=mediaclk"})
        QTest::newRow(prefix) << sapPacket(sdpWith(prefix, ""));
    QTest::newRow("o= without filter") << sapPacket(sdpWithoutFilter({{"o=", ""}}));
    QTest::newRow("c= without filter") << sapPacket(sdpWithoutFilter({{"c=", ""}}));
    QTest::newRow("ptime not a number") << sapPacket(sdpWith("a=ptime", "a=ptime:abc"));
    QTest::newRow("media not audio") << sapPacket(sdpWith("m=audio", "m=video 5004 RTP/AVP 98"));
    QTest::newRow("mediaclk not direct") << sapPacket(sdpWith("a=mediaclk", "a=mediaclk:sender"));
    // The largest datagram the receive thread hands over is 1500 bytes.
    QByteArray largest = good + "a=x-pad:";
    largest += QByteArray(SapParser::MaxDatagram - largest.size(), 'p');
    QTest::newRow("1501 bytes") << largest + 'p';
}

void TestSapParser::rejected()
{
    QFETCH(QByteArray, packet);
    FlowDescription f;
    QVERIFY(!parse(packet, &f));
    if (packet.size() == SapParser::MaxDatagram + 1)
        QVERIFY(parse(packet.left(SapParser::MaxDatagram), &f));
}

void TestSapParser::readsOnlyTheGivenLength()
{
    // The buffer goes on past the length the caller gives; what lies there must not be read.
    const QByteArray full = sapPacket(aes67Sdp());
    const int cut = full.indexOf("a=mediaclk");
    FlowDescription f;
    QVERIFY(SapParser::parse(full.constData(), full.size(), &f));
    QVERIFY(!SapParser::parse(full.constData(), cut + 12, &f));
    // A zero byte inside the text ends it just the same.
    QVERIFY(!parse(QByteArray(full).replace(cut - 1, 1, QByteArray(1, '\0')), &f));
    QVERIFY(!SapParser::parse(nullptr, 100, &f));
    QVERIFY(!SapParser::parse(full.constData(), -1, &f));
    QVERIFY(!SapParser::parse(full.constData(), full.size(), nullptr));
}

void TestSapParser::failureLeavesOutputUntouched()
{
    FlowDescription f;
    QVERIFY(parse(sapPacket(aes67Sdp()), &f));
    // Everything but the channel count is fine, so a parser that fills as it goes would have overwritten fields.
    const QByteArray bad = aes67Sdp({{"s=", "s=Other"},
                                     {"m=audio", "m=audio 6000 RTP/AVP 98"},
                                     {"a=rtpmap", "a=rtpmap:98 L16/96000/9"},
                                     {"a=mediaclk", "a=mediaclk:direct=7"}});
    QVERIFY(!parse(sapPacket(bad), &f));
    QCOMPARE(f.sessionName, QStringLiteral("Stage Box 1 : 32\r"));
    QCOMPARE(f.dstPort, quint16(5004));
    QCOMPARE(f.sampleRate, quint32(48000));
    QCOMPARE(f.chNum, quint8(2));
    QCOMPARE(f.rtpTsOffset, quint32(12345));
}

QTEST_GUILESS_MAIN(TestSapParser)
#include "tst_sapparser.moc"
