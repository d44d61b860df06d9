// Requests to single devices as protocol.md describes them: ports, members,
// settings, paged tables, levels and the side ports. The requests and the
// expected answers are written out by hand.
#include "grouplistener.h"
#include "simdevice.h"
#include "simpeer.h"
#include "simtestnet.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QRegularExpression>
#include <QThread>
#include <QtTest>
#include <algorithm>

namespace {

// Addresses of the default scenario: device k at 127.0.0.(2 + k).
const QString box2 = QStringLiteral("127.0.0.2");    // SIM-0001 RK0202, firmware 3.1.4.5
const QString box8 = QStringLiteral("127.0.0.3");    // SIM-0002 RK0808, inputs 7 and 8 silent
const QString console = QStringLiteral("127.0.0.4"); // SIM-0003 RK6464
const QString amp = QStringLiteral("127.0.0.5");     // SIM-0004 RK7731 on port 9991, runs hot
const QString panel = QStringLiteral("127.0.0.8");   // SIM-0007 RK0404D at 96 kHz
const QString rack = QStringLiteral("127.0.0.9");    // SIM-0008 RK0128-1616, 128x128

QJsonObject parse(const char *json)
{
    return QJsonDocument::fromJson(QByteArray(json)).object();
}

bool allStrings(const QJsonObject &o)
{
    for (auto it = o.begin(); it != o.end(); ++it)
        if (!it.value().isString())
            return false;
    return true;
}

} // namespace

class TestSimRequests : public QObject
{
    Q_OBJECT
private slots:
    void init();
    void cleanup();
    void announcementCarriesEveryMemberAsText();
    void answersComeFromThePortAsked_data();
    void answersComeFromThePortAsked();
    void operationOnTheWrongPortIsUnknown_data();
    void operationOnTheWrongPortIsUnknown();
    void anotherDevicesRequestIsIgnored();
    void cookieAndUiTagComeBack();
    void unknownAndUnreadableRequests();
    void settingsShowInTheNextAnnouncement();
    void numberInsteadOfTextReadsAsZero();
    void versionAndDebugInfo();
    void freshTablesAsWritten();
    void pagedTablesWalkToTheEnd_data();
    void pagedTablesWalkToTheEnd();
    void levelsMoveAndSilenceIsMinusInf();
    void gainAndMute();
    void amplifierAndGpio();
    void configurationAndSerialEcho();
    void oemCustomTextAndIdentify();
    void statisticsOfFreeSlots();
    void factoryQuery();
    void identifyKeyAsksForABlink();
    void announcementPhasesSpreadAndSurviveALateTick();
    void announcementKeepsItsTurnUnderAFlood();

private:
    std::unique_ptr<SimNetwork> m_net;
    SimPeer *m_peer = nullptr;
};

void TestSimRequests::init()
{
    m_net = startNetwork(SimScenario::defaultScenario());
    QCOMPARE(m_net->devices().size(), 8);
    m_peer = new SimPeer;
}

void TestSimRequests::cleanup()
{
    delete m_peer;
    m_peer = nullptr;
    m_net.reset();
}

void TestSimRequests::announcementCarriesEveryMemberAsText()
{
    GroupListener l;
    QVERIFY(l.isReady());
    const GroupListener::Heard h = l.waitFor(GroupListener::ops("iAmCorvane", "SIM-0002"), 3000);
    QVERIFY2(!h.json.isEmpty(), "no announcement of SIM-0002 on 239.0.0.188:9996");
    QCOMPARE(h.from, QHostAddress(box8));
    QStringList keys = h.json.keys();
    QStringList expected{"ops",           "devId",      "name",       "ip",         "port",       "chNumRx",
                         "chNumTx",       "ucastNumRx", "ucastNumTx", "mcastNumRx", "mcastNumTx", "sampleRate",
                         "sampleByteNum", "pFrameNum",  "dscp",       "delayUs",    "myClkId",    "gmClkId",
                         "model",         "phyChNumRx", "phyChNumTx", "canWork"};
    keys.sort();
    expected.sort();
    QCOMPARE(keys, expected);
    QVERIFY2(allStrings(h.json), h.bytes.constData());
    QCOMPARE(h.json.value("ip").toString(), box8);
    QCOMPARE(h.json.value("port").toString(), QStringLiteral("9990"));
    QCOMPARE(h.json.value("chNumRx").toString(), QStringLiteral("8"));
    QCOMPARE(h.json.value("pFrameNum").toString(), QStringLiteral("48"));
    QCOMPARE(h.json.value("model").toString(), QStringLiteral("RK0808"));
    QCOMPARE(h.json.value("myClkId").toString(), QStringLiteral("00-1D-C1-FF-FE-00-00-02"));
    QCOMPARE(h.json.value("canWork").toString(), QStringLiteral("1"));
    QVERIFY(!h.bytes.contains(' ') || h.bytes.contains("Stage Box 8")); // compact JSON

    const GroupListener::Heard p = l.waitFor(GroupListener::ops("iAmCorvane", "SIM-0007"), 3000);
    QCOMPARE(p.json.value("sampleRate").toString(), QStringLiteral("96000"));
    QCOMPARE(p.json.value("pFrameNum").toString(), QStringLiteral("96"));
    const GroupListener::Heard a = l.waitFor(GroupListener::ops("iAmCorvane", "SIM-0004"), 3000);
    QCOMPARE(a.json.value("port").toString(), QStringLiteral("9991"));
    QCOMPARE(a.json.value("chNumTx").toString(), QStringLiteral("0"));
}

void TestSimRequests::answersComeFromThePortAsked_data()
{
    QTest::addColumn<QString>("address");
    QTest::addColumn<int>("port");
    QTest::addColumn<QByteArray>("request");
    QTest::newRow("table on the control port") << box8 << 9990 << QByteArray(R"({"ops":"getAllRxCh","idStart":"0"})");
    QTest::newRow("getVersion on 9994") << box8 << 9994 << QByteArray(R"({"ops":"getVersion","devId":"SIM-0002"})");
    QTest::newRow("getDebugInfo on 9994") << box8 << 9994 << QByteArray(R"({"ops":"getDebugInfo"})");
    QTest::newRow("getIp on 9994") << box8 << 9994 << QByteArray(R"({"ops":"getIp"})");
    QTest::newRow("getInfo on 9992") << amp << 9992 << QByteArray(R"({"ops":"getInfo","devId":"SIM-0004"})");
    QTest::newRow("getGpioInfo on 9992") << amp << 9992 << QByteArray(R"({"ops":"getGpioInfo"})");
    QTest::newRow("getCfg on 9993") << box8 << 9993 << QByteArray(R"({"ops":"getCfg"})");
    QTest::newRow("uart on 7999") << box8 << 7999 << QByteArray(R"({"ops":"sendUdpToUart","data":"x"})");
    QTest::newRow("lock on 9995") << box8 << 9995 << QByteArray(R"({"ops":"setLock","password":"123456","val":"0x0"})");
    QTest::newRow("dsp lock on 8999") << box8 << 8999
                                      << QByteArray(
                                             R"({"ops":"setLock","uiTag":"dspUiTag","password":"123456","val":"0x0"})");
    QTest::newRow("getLock on the amplifier's port 9991") << amp << 9991 << QByteArray(R"({"ops":"getLock"})");
    QTest::newRow("amplifier status on 9991") << amp << 9991 << QByteArray(R"({"ops":"getTarnAmpInfo"})");
}

void TestSimRequests::answersComeFromThePortAsked()
{
    QFETCH(QString, address);
    QFETCH(int, port);
    QFETCH(QByteArray, request);
    SimPeer::Answer a;
    QVERIFY2(m_peer->ask(address, quint16(port), request, &a), "no answer");
    QCOMPARE(a.from, QHostAddress(address));
    QCOMPARE(int(a.fromPort), port);
    QVERIFY2(a.json.value("result").toString() == "succ", a.bytes.constData());
    QCOMPARE(a.json.value("ops").toString(), QJsonDocument::fromJson(request).object().value("ops").toString());
    QVERIFY(!a.json.value("devId").toString().isEmpty());
    QVERIFY(a.bytes.size() < 1400);
}

void TestSimRequests::operationOnTheWrongPortIsUnknown_data()
{
    QTest::addColumn<int>("port");
    QTest::addColumn<QByteArray>("request");
    QTest::newRow("getVersion on the control port") << 9990 << QByteArray(R"({"ops":"getVersion"})");
    QTest::newRow("setSampleRate on the control port")
        << 9990 << QByteArray(R"({"ops":"setSampleRate","sampleRate":"96000"})");
    QTest::newRow("table on 9994") << 9994 << QByteArray(R"({"ops":"getAllRxCh","idStart":"0"})");
    QTest::newRow("setLock on the control port")
        << 9990 << QByteArray(R"({"ops":"setLock","password":"123456","val":"0x2"})");
    QTest::newRow("getCfg on 9992") << 9992 << QByteArray(R"({"ops":"getCfg"})");
    QTest::newRow("uart on 9993") << 9993 << QByteArray(R"({"ops":"sendUdpToUart","data":"x"})");
    QTest::newRow("setDevName on 9994") << 9994 << QByteArray(R"({"ops":"setDevName","name":"X"})");
}

void TestSimRequests::operationOnTheWrongPortIsUnknown()
{
    QFETCH(int, port);
    QFETCH(QByteArray, request);
    const QJsonObject r = m_peer->request(box8, quint16(port), request);
    QCOMPARE(r.value("result").toString(), QStringLiteral("fail"));
    QCOMPARE(r.value("reason").toString(), QStringLiteral("unknown ops"));
    // And nothing happened: the name is still the scenario's.
    const QJsonObject v = m_peer->request(box8, 9994, R"({"ops":"getDebugInfo"})");
    QCOMPARE(v.value("devName").toString(), QStringLiteral("Stage Box 8"));
}

void TestSimRequests::anotherDevicesRequestIsIgnored()
{
    SimPeer::Answer a;
    QVERIFY(!m_peer->ask(box8, 9990, R"({"ops":"getAllRxCh","devId":"SIM-0001","idStart":"0"})", &a, 300));
    QVERIFY(m_peer->ask(box8, 9990, R"({"ops":"getAllRxCh","devId":"SIM-0002","idStart":"0"})", &a));
    QVERIFY(m_peer->ask(box8, 9990, R"({"ops":"getAllRxCh","idStart":"0"})", &a));
    QCOMPARE(a.json.value("devId").toString(), QStringLiteral("SIM-0002"));
}

void TestSimRequests::cookieAndUiTagComeBack()
{
    QJsonObject r = m_peer->request(box8, 9990, R"({"ops":"getLock","cookie":"0","uiTag":"superMatrixUiTag"})");
    QCOMPARE(r.value("cookie").toString(), QStringLiteral("0"));
    QCOMPARE(r.value("uiTag").toString(), QStringLiteral("superMatrixUiTag"));
    // A failed request carries them back too.
    r = m_peer->request(box8, 9990, R"({"ops":"noSuchThing","cookie":"17"})");
    QCOMPARE(r.value("cookie").toString(), QStringLiteral("17"));
    QCOMPARE(r.value("result").toString(), QStringLiteral("fail"));
    r = m_peer->request(box8, 9990, R"({"ops":"getLock"})");
    QVERIFY(!r.contains("cookie"));
    QVERIFY(!r.contains("uiTag"));
}

void TestSimRequests::unknownAndUnreadableRequests()
{
    QCOMPARE(m_peer->request(box8, 9990, R"({"ops":"fooBar"})"),
             parse(R"({"ops":"fooBar","devId":"SIM-0002","result":"fail","reason":"unknown ops"})"));
    SimPeer::Answer a;
    QVERIFY(!m_peer->ask(box8, 9990, "{\"ops\":\"getLock\"", &a, 300));
    QVERIFY(!m_peer->ask(box8, 9990, QByteArray(1500, ' '), &a, 300));
    // Still alive after both.
    QCOMPARE(m_peer->request(box8, 9990, R"({"ops":"getLock"})").value("result").toString(), QStringLiteral("succ"));
}

void TestSimRequests::settingsShowInTheNextAnnouncement()
{
    GroupListener l;
    QVERIFY(l.isReady());
    QCOMPARE(m_peer->request(box8, 9990, R"({"ops":"setDevName","devId":"SIM-0002","name":"FOH Left"})"),
             parse(R"({"ops":"setDevName","devId":"SIM-0002","result":"succ"})"));
    QCOMPARE(m_peer->request(box8, 9994, R"({"ops":"setSampleRate","devId":"SIM-0002","sampleRate":"96000"})")
                 .value("result")
                 .toString(),
             QStringLiteral("succ"));
    QCOMPARE(m_peer->request(box8, 9994, R"({"ops":"setPacketTimeDiv","devId":"SIM-0002","packetTimeDiv":"4"})")
                 .value("result")
                 .toString(),
             QStringLiteral("succ"));
    QCOMPARE(m_peer->request(box8, 9990, R"({"ops":"setDelayUs","devId":"SIM-0002","delayUs":"1000"})")
                 .value("result")
                 .toString(),
             QStringLiteral("succ"));
    QCOMPARE(
        m_peer->request(box8, 9990, R"({"ops":"setDscp","devId":"SIM-0002","dscp":"46"})").value("result").toString(),
        QStringLiteral("succ"));
    QCOMPARE(m_peer->request(box8, 9990, R"({"ops":"setSampleByteNum","devId":"SIM-0002","sampleByteNum":"2"})")
                 .value("result")
                 .toString(),
             QStringLiteral("succ"));
    l.clear();
    const GroupListener::Heard h = l.waitFor(GroupListener::ops("iAmCorvane", "SIM-0002"), 3000);
    QCOMPARE(h.json.value("name").toString(), QStringLiteral("FOH Left"));
    QCOMPARE(h.json.value("sampleRate").toString(), QStringLiteral("96000"));
    QCOMPARE(h.json.value("pFrameNum").toString(), QStringLiteral("24"));
    QCOMPARE(h.json.value("delayUs").toString(), QStringLiteral("1000"));
    QCOMPARE(h.json.value("dscp").toString(), QStringLiteral("46"));
    QCOMPARE(h.json.value("sampleByteNum").toString(), QStringLiteral("2"));

    // Values outside what getVersion offers are refused and change nothing.
    const QJsonObject bad = m_peer->request(box8, 9994, R"({"ops":"setSampleRate","sampleRate":"12345"})");
    QCOMPARE(bad.value("reason").toString(), QStringLiteral("bad param"));
    QCOMPARE(m_peer->request(box8, 9990, R"({"ops":"setDscp","dscp":"64"})").value("reason").toString(),
             QStringLiteral("bad param"));
    QCOMPARE(m_peer->request(box8, 9990, R"({"ops":"setDevName"})").value("reason").toString(),
             QStringLiteral("bad param"));

    // Channel names land in their tables.
    QCOMPARE(
        m_peer->request(box8, 9990, R"({"ops":"setChNameRx","chId":"1","name":"Vox 2 in"})").value("result").toString(),
        QStringLiteral("succ"));
    QCOMPARE(
        m_peer->request(box8, 9990, R"({"ops":"setPhyChNameTx","chId":"7","name":"Wedge"})").value("result").toString(),
        QStringLiteral("succ"));
    QCOMPARE(
        m_peer->request(box8, 9990, R"({"ops":"setChNameTx","chId":"8","name":"Nope"})").value("reason").toString(),
        QStringLiteral("bad param"));
    QJsonObject names = m_peer->request(box8, 9990, R"({"ops":"getAllChNameRx","idStart":"1"})");
    QCOMPARE(names.value("arr").toArray().first().toObject(), parse(R"({"id":"1","name":"Vox 2 in"})"));
    names = m_peer->request(box8, 9990, R"({"ops":"getAllPhyChNameTx","idStart":"7"})");
    QCOMPARE(names.value("arr").toArray(), QJsonArray{parse(R"({"id":"7","name":"Wedge"})")});
}

void TestSimRequests::numberInsteadOfTextReadsAsZero()
{
    // setPtpPriority with a JSON number: the device reads 0, and would lead the clock.
    QCOMPARE(m_peer->request(box8, 9994, R"({"ops":"setPtpPriority","val":100})").value("result").toString(),
             QStringLiteral("succ"));
    QCOMPARE(m_peer->request(box8, 9994, R"({"ops":"getVersion"})").value("ptpPriority").toString(),
             QStringLiteral("0"));
    // "idStart" as a number starts from 0 as well.
    const QJsonObject page = m_peer->request(box8, 9990, R"({"ops":"getAllRxCh","idStart":5})");
    QCOMPARE(page.value("idStart").toString(), QStringLiteral("0"));
    QCOMPARE(page.value("arr").toArray().first().toObject().value("id").toString(), QStringLiteral("0"));
    // Missing is another matter.
    QCOMPARE(m_peer->request(box8, 9990, R"({"ops":"getAllRxCh"})").value("reason").toString(),
             QStringLiteral("bad param"));
}

void TestSimRequests::versionAndDebugInfo()
{
    const QJsonObject v = m_peer->request(box2, 9994, R"({"ops":"getVersion","devId":"SIM-0001"})");
    QCOMPARE(v.value("version").toString(), QStringLiteral("3.1.4.5"));
    for (const char *k : {"oemCode", "ptpPriority", "ptpDomain", "ptpDscp"})
        QVERIFY2(v.value(k).isString(), k);
    QCOMPARE(v.value("ptpPriority").toString(), QStringLiteral("128"));
    for (const char *k : {"sampleRateArr", "packetTimeDivArr", "sampleByteNumArr", "delayUsArr"}) {
        const QJsonArray arr = v.value(k).toArray();
        QVERIFY2(!arr.isEmpty(), k);
        for (const QJsonValue &e : arr)
            QVERIFY2(e.isString(), k);
    }
    QVERIFY(v.value("sampleRateArr").toArray().contains("48000"));
    QVERIFY(v.value("sampleRateArr").toArray().contains("96000"));

    const QRegularExpression digits("^\\d+$");
    const QRegularExpression seconds("^\\d+\\.\\d+$");
    const QJsonObject d = m_peer->request(box2, 9994, R"({"ops":"getDebugInfo"})");
    QCOMPARE(d.value("devName").toString(), QStringLiteral("Stage Box 2"));
    QCOMPARE(d.value("model").toString(), QStringLiteral("RK0202"));
    QCOMPARE(d.value("version").toString(), QStringLiteral("3.1.4.5"));
    QVERIFY(digits.match(d.value("temp").toString()).hasMatch());
    QVERIFY(d.value("temp").toString().toInt() < 80000);
    QVERIFY2(seconds.match(d.value("uptime").toString()).hasMatch(), qPrintable(d.value("uptime").toString()));

    // The default scenario's hot amplifier: a warning, never an error.
    const int hot = m_peer->request(amp, 9994, R"({"ops":"getDebugInfo"})").value("temp").toString().toInt();
    QVERIFY2(hot > 80000 && hot <= 85000, qPrintable(QString::number(hot)));

}

void TestSimRequests::freshTablesAsWritten()
{
    QCOMPARE(m_peer->request(box2, 9990, R"({"ops":"getAllRxCh","idStart":"0"})"),
             parse(R"({"ops":"getAllRxCh","devId":"SIM-0001","result":"succ","idStart":"0","idNext":2,)"
                   R"("arr":[{"id":"0","rtpChId":"-1"},{"id":"1","rtpChId":"-1"}]})"));
    QCOMPARE(
        m_peer->request(box2, 9990, R"({"ops":"getAllUcastTx","idStart":"1"})"),
        parse(R"({"ops":"getAllUcastTx","devId":"SIM-0001","result":"succ","idStart":"1","idNext":2,)"
              R"("arr":[{"id":"1","dstDevId":"","dstIp":"0.0.0.0","chNum":"0","srcChIdArr":["4294967295",)"
              R"("4294967295","4294967295","4294967295","4294967295","4294967295","4294967295","4294967295"]}]})"));
    QCOMPARE(m_peer->request(box2, 9990, R"({"ops":"getAllUcastRx","idStart":"0"})").value("arr").toArray().first(),
             QJsonValue(parse(R"({"id":"0","srcDevId":"","srcIp":"0.0.0.0","chNum":"0","rtpChIdArr":[]})")));
    QCOMPARE(m_peer->request(box2, 9990, R"({"ops":"getAllActiveMcastId","idStart":"0"})"),
             parse(R"({"ops":"getAllActiveMcastId","devId":"SIM-0001","result":"succ","idStart":"0","idNext":2,)"
                   R"("arr":[{"id":"0","active":"0"},{"id":"1","active":"0"}]})"));
    QCOMPARE(m_peer->request(box2, 9990, R"({"ops":"getAllPhyChNameRx","idStart":"0"})").value("arr").toArray(),
             (QJsonArray{parse(R"({"id":"0","name":"Talkback"})"), parse(R"({"id":"1","name":"Spare"})")}));
    // The 8x8's flow from the scenario.
    QCOMPARE(m_peer->request(box8, 9990, R"({"ops":"getAllMcastTx","idStart":"0"})").value("arr").toArray().first(),
             QJsonValue(parse(R"({"id":"0","sdpId":"0","name":"Stage L-R","dstIp":"239.69.1.2","dstPort":"5004",)"
                              R"("chNum":"2","srcChIdArr":["0","1"]})")));
    // Asked beyond the table: empty, and idNext is the size.
    QCOMPARE(m_peer->request(box2, 9990, R"({"ops":"getAllRtpCh","idStart":"7"})"),
             parse(R"({"ops":"getAllRtpCh","devId":"SIM-0001","result":"succ","idStart":"7","idNext":2,"arr":[]})"));
}

void TestSimRequests::pagedTablesWalkToTheEnd_data()
{
    QTest::addColumn<QString>("address");
    QTest::addColumn<QString>("ops");
    QTest::addColumn<int>("size");
    QTest::newRow("64x64 getAllRtpCh") << console << "getAllRtpCh" << 64;
    QTest::newRow("128x128 getAllRxCh") << rack << "getAllRxCh" << 128;
    QTest::newRow("128x128 getAllChNameTx") << rack << "getAllChNameTx" << 128;
    QTest::newRow("128x128 getAllVolumeDbTx") << rack << "getAllVolumeDbTx" << 128;
    QTest::newRow("64x64 getAllUcastTx") << console << "getAllUcastTx" << 16;
    QTest::newRow("64x64 getAllMcastRx") << console << "getAllMcastRx" << 8;
    QTest::newRow("64x64 getAllPhyMuteTx") << console << "getAllPhyMuteTx" << 32;
    QTest::newRow("amplifier getAllChNameTx, empty") << amp << "getAllChNameTx" << 0;
}

void TestSimRequests::pagedTablesWalkToTheEnd()
{
    QFETCH(QString, address);
    QFETCH(QString, ops);
    QFETCH(int, size);
    const quint16 port = address == amp ? 9991 : 9990;
    int next = 0;
    int pages = 0;
    while (next < size) {
        const QByteArray req = QStringLiteral(R"({"ops":"%1","idStart":"%2"})").arg(ops).arg(next).toUtf8();
        SimPeer::Answer a;
        QVERIFY2(m_peer->ask(address, port, req, &a), req.constData());
        QVERIFY2(a.bytes.size() <= 1400, qPrintable(QString::number(a.bytes.size())));
        QCOMPARE(a.json.value("idStart").toString(), QString::number(next));
        QVERIFY2(a.json.value("idNext").isDouble(), "idNext must be a JSON number");
        const QJsonArray arr = a.json.value("arr").toArray();
        QVERIFY(!arr.isEmpty());
        QCOMPARE(a.json.value("idNext").toInt(), next + arr.size());
        for (int i = 0; i < arr.size(); ++i) {
            if (arr[i].isObject()) {
                QCOMPARE(arr[i].toObject().value("id").toString(), QString::number(next + i));
            } else {
                QVERIFY(arr[i].isString());
            }
        }
        // A repeated request (the poller resends every 20 ms) is answered the same way.
        SimPeer::Answer again;
        QVERIFY(m_peer->ask(address, port, req, &again));
        QCOMPARE(again.json.value("idNext").toInt(), a.json.value("idNext").toInt());
        next = a.json.value("idNext").toInt();
        QVERIFY(++pages <= size);
    }
    QCOMPARE(next, size);
    if (size > 40 && !ops.contains("Volume"))
        QVERIFY2(pages > 1, "a table this long must not fit one page");
    const QByteArray beyond = QStringLiteral(R"({"ops":"%1","idStart":"%2"})").arg(ops).arg(size).toUtf8();
    const QJsonObject end = m_peer->request(address, port, beyond);
    QCOMPARE(end.value("arr").toArray().size(), 0);
    QCOMPARE(end.value("idNext").toInt(), size);
}

void TestSimRequests::levelsMoveAndSilenceIsMinusInf()
{
    const QRegularExpression level("^-?\\d+\\.\\d$");
    const QJsonArray in =
        m_peer->request(box8, 9990, R"({"ops":"getAllPhyVolumeDbRx","idStart":"0"})").value("arr").toArray();
    QCOMPARE(in.size(), 8);
    for (int i = 0; i < 6; ++i) {
        const QString v = in[i].toString();
        QVERIFY2(level.match(v).hasMatch(), qPrintable(v));
        QVERIFY(v.toDouble() > -90.0 && v.toDouble() <= 18.0);
    }
    QCOMPARE(in[6].toString(), QStringLiteral("-inf"));
    QCOMPARE(in[7].toString(), QStringLiteral("-inf"));
    // Nothing is routed to the 8x8: its network inputs are silent.
    const QJsonArray net =
        m_peer->request(box8, 9990, R"({"ops":"getAllVolumeDbRx","idStart":"0"})").value("arr").toArray();
    QCOMPARE(net, QJsonArray({"-inf", "-inf", "-inf", "-inf", "-inf", "-inf", "-inf", "-inf"}));
}

void TestSimRequests::gainAndMute()
{
    QCOMPARE(
        m_peer->request(box8, 9990, R"({"ops":"setPhyGainDbRx","chId":"0","val":"-6.0"})").value("result").toString(),
        QStringLiteral("succ"));
    QCOMPARE(m_peer->request(box8, 9990, R"({"ops":"setPhyMuteRx","chId":"1","val":"1"})").value("result").toString(),
             QStringLiteral("succ"));
    QCOMPARE(
        m_peer->request(box8, 9990, R"({"ops":"setPhyGainDbTx","chId":"8","val":"0.0"})").value("reason").toString(),
        QStringLiteral("bad param"));
    const QJsonArray gains =
        m_peer->request(box8, 9990, R"({"ops":"getAllPhyGainDbRx","idStart":"0"})").value("arr").toArray();
    QCOMPARE(gains.first().toString(), QStringLiteral("-6.0"));
    QCOMPARE(gains.at(1).toString(), QStringLiteral("0.0"));
    const QJsonArray mutes =
        m_peer->request(box8, 9990, R"({"ops":"getAllPhyMuteRx","idStart":"0"})").value("arr").toArray();
    QCOMPARE(mutes, QJsonArray({"0", "1", "0", "0", "0", "0", "0", "0"}));
    const QJsonArray levels =
        m_peer->request(box8, 9990, R"({"ops":"getAllPhyVolumeDbRx","idStart":"0"})").value("arr").toArray();
    QCOMPARE(levels.at(1).toString(), QStringLiteral("-inf"));
}

void TestSimRequests::amplifierAndGpio()
{
    QJsonObject info = m_peer->request(amp, 9992, R"({"ops":"getInfo","devId":"SIM-0004"})");
    QCOMPARE(info.value("power").toString(), QStringLiteral("1"));
    QCOMPARE(info.value("gainArr").toArray(), QJsonArray({"0.0", "0.0", "0.0", "0.0"}));
    QCOMPARE(info.value("tempArr").toArray().size(), 4);
    QVERIFY(info.value("voltage").toString().toDouble() > 40.0);
    QCOMPARE(m_peer->request(amp, 9992, R"({"ops":"setGain","chId":"1","gain":"-3.5"})").value("result").toString(),
             QStringLiteral("succ"));
    QCOMPARE(m_peer->request(amp, 9992, R"({"ops":"setPower","val":"0"})").value("result").toString(),
             QStringLiteral("succ"));
    info = m_peer->request(amp, 9992, R"({"ops":"getInfo"})");
    QCOMPARE(info.value("gainArr").toArray().at(1).toString(), QStringLiteral("-3.5"));
    QCOMPARE(info.value("power").toString(), QStringLiteral("0"));

    const QJsonObject tarn = m_peer->request(amp, 9991, R"({"ops":"getTarnAmpInfo"})");
    QCOMPARE(tarn.value("power").toString(), QStringLiteral("0"));
    QCOMPARE(tarn.value("protect").toString(), QStringLiteral("0"));
    QVERIFY(tarn.value("voltage").isString());
    QCOMPARE(tarn.value("tempArr").toArray().size(), 4);
    // Only amplifiers answer these.
    QCOMPARE(m_peer->request(box8, 9992, R"({"ops":"getInfo"})").value("reason").toString(),
             QStringLiteral("unknown ops"));
    QCOMPARE(m_peer->request(box8, 9990, R"({"ops":"getTarnAmpInfo"})").value("reason").toString(),
             QStringLiteral("unknown ops"));

    QCOMPARE(m_peer->request(amp, 9992, R"({"ops":"getGpioInfo"})").value("arr").toArray(),
             QJsonArray({parse(R"({"index":"0","dir":"in","isHigh":"0"})"),
                         parse(R"({"index":"1","dir":"out","isHigh":"0"})"),
                         parse(R"({"index":"2","dir":"in","isHigh":"0"})"),
                         parse(R"({"index":"3","dir":"out","isHigh":"0"})")}));
    QCOMPARE(m_peer->request(amp, 9992, R"({"ops":"setGpioInfo","index":"2","gpioInfo":{"dir":"out","isHigh":"1"}})")
                 .value("result")
                 .toString(),
             QStringLiteral("succ"));
    QCOMPARE(m_peer->request(amp, 9992, R"({"ops":"getGpioInfo"})").value("arr").toArray().at(2).toObject(),
             parse(R"({"index":"2","dir":"out","isHigh":"1"})"));
    QCOMPARE(m_peer->request(amp, 9992, R"({"ops":"testGpio","index":"3","isHigh":"1"})").value("isHigh").toString(),
             QStringLiteral("1"));
    // An input reads what is wired to it, not what the test asks.
    QCOMPARE(m_peer->request(amp, 9992, R"({"ops":"testGpio","index":"0","isHigh":"1"})").value("isHigh").toString(),
             QStringLiteral("0"));
    QCOMPARE(m_peer->request(amp, 9992, R"({"ops":"testGpio","index":"4","isHigh":"1"})").value("reason").toString(),
             QStringLiteral("bad param"));
}

void TestSimRequests::configurationAndSerialEcho()
{
    const QJsonObject before = m_peer->request(box8, 9993, R"({"ops":"getCfg"})").value("cfg").toObject();
    QVERIFY(!before.isEmpty());
    QVERIFY(allStrings(before));
    QCOMPARE(m_peer->request(box8, 9993, R"({"ops":"setCfg","cfg":{"location":"Rack 3"}})").value("result").toString(),
             QStringLiteral("succ"));
    QJsonObject expected = before;
    expected.insert("location", "Rack 3");
    QCOMPARE(m_peer->request(box8, 9993, R"({"ops":"getCfg"})").value("cfg").toObject(), expected);
    QCOMPARE(m_peer->request(box8, 9993, R"({"ops":"setCfg","cfg":{"fanMode":2}})").value("reason").toString(),
             QStringLiteral("bad param"));

    QCOMPARE(m_peer->request(box8, 7999, R"({"ops":"sendUdpToUart","devId":"SIM-0002","data":"hello"})"),
             parse(R"({"ops":"sendUdpToUart","devId":"SIM-0002","result":"succ","back":"hello"})"));
}

void TestSimRequests::oemCustomTextAndIdentify()
{
    QCOMPARE(m_peer->request(box8, 9990, R"({"ops":"getOemData"})").value("customOemType").toString(),
             QStringLiteral("0"));
    QCOMPARE(m_peer->request(box8, 9990, R"({"ops":"setOemData","customOemType":"3"})").value("result").toString(),
             QStringLiteral("succ"));
    QCOMPARE(m_peer->request(box8, 9990, R"({"ops":"getOemData"})").value("customOemType").toString(),
             QStringLiteral("3"));
    QCOMPARE(m_peer->request(box8, 9990, R"({"ops":"setCustomStr","str":"Rack 3"})").value("result").toString(),
             QStringLiteral("succ"));
    QCOMPARE(m_peer->request(box8, 9990, R"({"ops":"getCustomStr"})").value("str").toString(),
             QStringLiteral("Rack 3"));
    QCOMPARE(m_peer->request(box8, 9990, R"({"ops":"identify","devId":"SIM-0002","seconds":"5"})"),
             parse(R"({"ops":"identify","devId":"SIM-0002","result":"succ"})"));
}

void TestSimRequests::statisticsOfFreeSlots()
{
    QCOMPARE(m_peer->request(box8, 9990, R"({"ops":"getUcastStats","sdpId":"0"})"),
             parse(R"({"ops":"getUcastStats","devId":"SIM-0002","result":"succ","sdpId":"0","pktCnt":"0",)"
                   R"("lostCnt":"0","lateCnt":"0"})"));
    QCOMPARE(m_peer->request(box8, 9990, R"({"ops":"getDelayStatMcast","sdpId":"1"})"),
             parse(R"({"ops":"getDelayStatMcast","devId":"SIM-0002","result":"succ","sdpId":"1","minUs":"0",)"
                   R"("maxUs":"0","avgUs":"0"})"));
    QCOMPARE(m_peer->request(box8, 9990, R"({"ops":"clrMcastStats","sdpId":"1"})"),
             parse(R"({"ops":"clrMcastStats","devId":"SIM-0002","result":"succ","sdpId":"1"})"));
    QCOMPARE(m_peer->request(box8, 9990, R"({"ops":"getUcastStats","sdpId":"8"})").value("reason").toString(),
             QStringLiteral("bad param"));
}

void TestSimRequests::factoryQuery()
{
    SimPeer::Answer a;
    QVERIFY(m_peer->ask(box8, 9994, "AreYouCorvaneLink?", &a));
    QCOMPARE(a.bytes, QByteArray("iAmCorvaneLink!"));
    QCOMPARE(a.from, QHostAddress(box8));
    QCOMPARE(a.fromPort, quint16(9994));
    QVERIFY(!m_peer->ask(box8, 9990, "AreYouCorvaneLink?", &a, 300));
}

void TestSimRequests::identifyKeyAsksForABlink()
{
    m_net.reset();
    SimScenario s;
    QString error;
    QVERIFY(SimScenario::fromJson(R"({"devices":[{"devId":"B","name":"B","model":"RK0808","blinkEveryS":1}]})", &s,
                                  &error));
    m_net = startNetwork(s);
    GroupListener l;
    QVERIFY(l.isReady());
    const GroupListener::Heard h = l.waitFor(GroupListener::ops("devReqGuiBlink"), 3000);
    QCOMPARE(h.json, QJsonDocument::fromJson(R"({"ops":"devReqGuiBlink","devId":"B"})").object());
    QCOMPARE(h.from, QHostAddress("127.0.0.2"));
}

void TestSimRequests::announcementPhasesSpreadAndSurviveALateTick()
{
    m_net.reset();
    SimConfig c = fastConfig();
    c.announceMs = 1000;
    m_net = startNetwork(SimScenario::generated(16), c);
    auto phases = [this] {
        QVector<qint64> p;
        for (const SimDevice *d : m_net->devices())
            p << d->nextAnnouncement() % 1000;
        return p;
    };
    const QVector<qint64> before = phases();
    QVector<qint64> sorted = before;
    std::sort(sorted.begin(), sorted.end());
    sorted << sorted.first() + 1000;
    // Sixteen devices: no two within the same tick, no gap much above a sixteenth of the period.
    for (int i = 1; i < sorted.size(); ++i)
        QVERIFY2(sorted[i] - sorted[i - 1] > 10 && sorted[i] - sorted[i - 1] <= 2 * 1000 / 16,
                 qPrintable(QStringLiteral("%1 -> %2").arg(sorted[i - 1]).arg(sorted[i])));
    // The event loop held up past a whole period: every device overdue at once. Each keeps its own phase.
    QThread::msleep(1100);
    QTRY_VERIFY(std::all_of(m_net->devices().begin(), m_net->devices().end(),
                            [this](const SimDevice *d) { return d->nextAnnouncement() > m_net->nowMs(); }));
    QCOMPARE(phases(), before);
}

void TestSimRequests::announcementKeepsItsTurnUnderAFlood()
{
    GroupListener l;
    QVERIFY(l.isReady());
    QVERIFY(!l.waitFor(GroupListener::ops("iAmCorvane", "SIM-0001"), 3000).json.isEmpty());
    l.clear();
    // Each request moves the channel to the flow's other channel: an "updateRoute" on the same group socket
    // as the announcements, so the listener hears them in the order they were sent.
    const int flood = 120;
    for (int i = 0; i < flood; ++i)
        m_peer->send(box2, 9990,
                     QStringLiteral(R"({"ops":"setMcastRx","dstChId":"0","srcChId":"%1","sdp":{"dstIp":"239.69.1.2",)"
                                    R"("srcIp":"127.0.0.3","dstPort":"5004","chNum":"2"}})")
                         .arg(i % 2)
                         .toUtf8());
    // The requests wait in the queue while the announcement falls due.
    QThread::msleep(fastConfig().announceMs + 2 * fastConfig().tickMs);
    SimPeer::Answer a;
    for (int i = 0; i < flood; ++i)
        QVERIFY2(m_peer->next(&a, 3000), qPrintable(QString::number(i)));
    l.listen(50);
    int routesBefore = 0;
    for (const GroupListener::Heard &h : l.all([](const GroupListener::Heard &h) { return h.json.value("devId") == QJsonValue("SIM-0001"); })) {
        if (h.json.value("ops") == QJsonValue("iAmCorvane"))
            break;
        routesBefore += h.json.value("ops") == QJsonValue("updateRoute");
    }
    // Answering the whole queue first would put all of them before it.
    QVERIFY2(routesBefore < flood / 2, qPrintable(QString::number(routesBefore)));
}

QTEST_GUILESS_MAIN(TestSimRequests)
#include "tst_simrequests.moc"
