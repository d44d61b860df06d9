#include "core/devices/announcementparser.h"
#include "core/protocol/ipv4.h"

#include "../support/packets.h"

#include <QtTest>

namespace {

Announcement parse(const QByteArray &datagram)
{
    return AnnouncementParser::parse(datagram.constData(), datagram.size());
}

QByteArray announcement(const QJsonObject &overrides, const QString &devId = "A")
{
    return Packets::announcement(devId, "10.0.0.2", overrides);
}

} // namespace

class TestAnnouncementParser : public QObject
{
    Q_OBJECT
private slots:
    void kinds_data();
    void kinds();
    void descriptionFields();
    void longTextsAreCutToTheirFields();
    void sapBecomesAFlowRecord();
};

void TestAnnouncementParser::kinds_data()
{
    QTest::addColumn<QByteArray>("datagram");
    QTest::addColumn<int>("kind");
    QTest::newRow("description") << announcement({}) << int(Announcement::Device);
    QTest::newRow("route notice") << QByteArray(R"({"ops":"updateRoute","devId":"A"})") << int(Announcement::RoutesChanged);
    QTest::newRow("active notice") << QByteArray(R"({"ops":"updateActive"})") << int(Announcement::ActiveChanged);
    QTest::newRow("blink") << QByteArray(R"({"ops":"devReqGuiBlink","devId":"A"})") << int(Announcement::Ignored);
    // Without a usable address or identifier a description is nothing to store.
    QTest::newRow("zero address") << announcement({{"ip", "0.0.0.0"}}) << int(Announcement::Ignored);
    QTest::newRow("short address") << announcement({{"ip", "10.0.0"}}) << int(Announcement::Ignored);
    QTest::newRow("no address") << announcement({{"ip", QJsonValue()}}) << int(Announcement::Ignored);
    QTest::newRow("no devId") << announcement({}, "") << int(Announcement::Ignored);
    QTest::newRow("cut off") << QByteArray(R"({"ops":"iAmCorvane",)") << int(Announcement::Malformed);
    QTest::newRow("array") << QByteArray("[1,2]") << int(Announcement::Malformed);
    // Keys that differ only after a NUL byte are one key to the parser: refused as a repeat.
    QTest::newRow("NUL in a key") << announcement({}).replace("\"name\"", QByteArray("\"n\0a\":\"x\",\"name\"", 14))
                                  << int(Announcement::Malformed);
}

void TestAnnouncementParser::kinds()
{
    QFETCH(QByteArray, datagram);
    QTEST(int(parse(datagram).kind), "kind");
}

void TestAnnouncementParser::descriptionFields()
{
    const Announcement a = parse(announcement({{"port", 9990}, {"chNumRx", "12abc"}, {"chNumTx", "-3"},
                                               {"myClkId", "00-1D-C1-FF-FE-00-00-02"}, {"model", "RK1616D"}}));
    QCOMPARE(a.kind, Announcement::Device);
    const DevRecord &r = a.device;
    QCOMPARE(r.devId.str(), QStringLiteral("A"));
    QCOMPARE(r.name.str(), QStringLiteral("Dev A"));
    QCOMPARE(r.ip, Ipv4::fromText("10.0.0.2"));
    // Numbers must be decimal text: a JSON number reads as 0, trailing junk is cut off.
    QCOMPARE(r.port, 0);
    QCOMPARE(r.chNumRx, 12);
    QCOMPARE(r.chNumTx, -3);
    QCOMPARE(r.myClkId.str(), QStringLiteral("00-1D-C1-FF-FE-00-00-02"));
    QCOMPARE(r.model.str(), QStringLiteral("RK1616D"));
}

void TestAnnouncementParser::longTextsAreCutToTheirFields()
{
    // 21 three-byte characters = 63 bytes; a 22nd would cross 64 and is not cut in half.
    const Announcement a = parse(announcement(
        {{"name", QString(70, QLatin1Char('n'))}, {"model", QString(30, QChar(0x8BBE))}, {"myClkId", QString(40, '1')}}));
    QCOMPARE(a.device.name.str(), QString(64, QLatin1Char('n')));
    QCOMPARE(a.device.model.str(), QString(21, QChar(0x8BBE)));
    QCOMPARE(a.device.myClkId.str().size(), 32);
}

void TestAnnouncementParser::sapBecomesAFlowRecord()
{
    const QByteArray packet = Packets::sap(Packets::sdp("Stage L-R", "10.0.0.2", "239.1.2.3", 5006));
    FlowAnnouncement a = AnnouncementParser::parseSap(packet.constData(), packet.size());
    QVERIFY(a.valid);
    QVERIFY(!a.deletion);
    QCOMPARE(a.flow.name, QStringLiteral("Stage L-R")); // the line end is not part of the name
    QCOMPARE(a.flow.srcIp, Ipv4::fromText("10.0.0.2"));
    QCOMPARE(a.flow.dstIp, Ipv4::fromText("239.1.2.3"));
    QCOMPARE(a.flow.dstPort, quint16(5006));
    QCOMPARE(a.flow.chNum, quint8(2));
    QCOMPARE(a.flow.sampleByteNum, quint8(3));
    QCOMPARE(a.flow.pFrameNum, 48u);
    QCOMPARE(QByteArray(a.flow.gmClkId), QByteArray("00-1D-C1-FF-FE-00-00-01"));

    QByteArray deletion = packet;
    deletion[0] = char(0x24);
    a = AnnouncementParser::parseSap(deletion.constData(), deletion.size());
    QVERIFY(a.valid && a.deletion);
    const QByteArray broken = Packets::sap("v=0\r\n");
    QVERIFY(!AnnouncementParser::parseSap(broken.constData(), broken.size()).valid);
}

QTEST_GUILESS_MAIN(TestAnnouncementParser)
#include "tst_announcementparser.moc"
