#include "simsap.h"
#include "simscenario.h"

#include <QJsonDocument>
#include <QRegularExpression>
#include <QSet>
#include <QtTest>

class TestSimScenario : public QObject
{
    Q_OBJECT
private slots:
    void handWrittenFileFillsDefaultsAndRoundTrips();
    void badScenariosAreRefused_data();
    void badScenariosAreRefused();
    void generatedScenarioScales();
    void sdpAsAes67SendersWriteIt();
};

void TestSimScenario::handWrittenFileFillsDefaultsAndRoundTrips()
{
    const QByteArray json = R"({
        "faults": {"lossPercent": 10},
        "devices": [
            {"name": "A", "model": "RK0808", "chNumRx": "4", "port": 9000, "faults": {"delayMs": 50}},
            {"devId": "B-1", "name": "B", "model": "RK0202", "chNumRx": 2, "chNumTx": 2, "address": "127.0.0.50",
             "flows": [{"name": "F", "channels": [0, 1]}], "faults": {"refuse": {"setDevName": "busy"}}}
        ]})";
    SimScenario s;
    QString error;
    QVERIFY2(SimScenario::fromJson(json, &s, &error), qPrintable(error));
    QCOMPARE(s.devices.size(), 2);
    const SimDeviceProfile &a = s.devices[0];
    QCOMPARE(a.devId, QStringLiteral("SIM-0001"));
    QCOMPARE(a.chNumRx, 4);
    QCOMPARE(a.port, 9000);
    // Devices hold their resolved faults: one that says nothing takes the scenario's.
    QCOMPARE(a.faults.lossPercent, 10);
    QCOMPARE(a.faults.delayMs, 50);
    QCOMPARE(s.devices[1].faults.lossPercent, 10);
    QCOMPARE(s.devices[1].flows.value(0).channels, (QVector<int>{0, 1}));
    // Written out and read back, nothing is lost.
    SimScenario back;
    QVERIFY2(SimScenario::fromJson(s.toJson(), &back, &error), qPrintable(error));
    QCOMPARE(back.toJson(), s.toJson());
    QCOMPARE(back.devices[1].faults.refuse.value("setDevName"), QStringLiteral("busy"));
    QCOMPARE(back.devices[1].address, QStringLiteral("127.0.0.50"));
    QCOMPARE(back.devices[1].flows.size(), 1);
}

void TestSimScenario::badScenariosAreRefused_data()
{
    QTest::addColumn<QByteArray>("json");
    QTest::newRow("no devices") << QByteArray(R"({"devices":[]})");
    QTest::newRow("same devId") << QByteArray(
        R"({"devices":[{"devId":"X","model":"RK0808"},{"devId":"X","model":"RK0808"}]})");
    QTest::newRow("control port on a fixed port") << QByteArray(R"({"devices":[{"model":"RK0808","port":9994}]})");
    QTest::newRow("flow channel beyond chNumTx")
        << QByteArray(R"({"devices":[{"model":"RK0202","chNumTx":2,"flows":[{"channels":[2]}]}]})");
    QTest::newRow("flow of nine channels")
        << QByteArray(R"({"devices":[{"model":"RK0808","chNumTx":16,"flows":[{"channels":[0,1,2,3,4,5,6,7,8]}]}]})");
    QTest::newRow("clock identity in lower case")
        << QByteArray(R"({"devices":[{"model":"RK0808","clockId":"00-1d-c1-ff-fe-00-00-01"}]})");
    QTest::newRow("unknown fault") << QByteArray(R"({"devices":[{"model":"RK0808","faults":{"explode":true}}]})");
    QTest::newRow("count as text that is no number")
        << QByteArray(R"({"devices":[{"model":"RK0808","chNumRx":"eight"}]})");
}

void TestSimScenario::badScenariosAreRefused()
{
    QFETCH(QByteArray, json);
    SimScenario s;
    QString error;
    QVERIFY(!SimScenario::fromJson(json, &s, &error));
    QVERIFY(!error.isEmpty());
}

void TestSimScenario::generatedScenarioScales()
{
    const SimScenario s = SimScenario::generated(1024);
    QCOMPARE(s.devices.size(), 1024);
    QCOMPARE(s.check(), QString());
    QCOMPARE(s.devices[1023].clockId, QStringLiteral("00-1D-C1-FF-FE-00-04-00"));
    // Identities must be unique, or the program would merge devices and the election would tie.
    for (const SimScenario &scenario : {s, SimScenario::defaultScenario()}) {
        QSet<QString> ids, clocks;
        for (const SimDeviceProfile &d : scenario.devices) {
            ids.insert(d.devId);
            clocks.insert(d.clockId);
        }
        QCOMPARE(ids.size(), scenario.devices.size());
        QCOMPARE(clocks.size(), scenario.devices.size());
    }
}

void TestSimScenario::sdpAsAes67SendersWriteIt()
{
    SimSap::Flow f;
    f.name = "Stage Box 8 : 1-2";
    f.source = 0xC0A80114u;
    f.group = 0xEF450114u;
    f.port = 5004;
    f.sampleByteNum = 3;
    f.sampleRate = 48000;
    f.packetTimeDiv = 1;
    f.gmClkId = "00-1D-C1-FF-FE-00-00-01";
    f.ptpDomain = 0;
    f.rtpTsOffset = 0;
    f.sessionId = 1;
    f.sessionVersion = 3;
    f.channelNames = QStringList{"In 1", "In 2"};
    // The example of docs/protocol.md, section 3, line for line.
    const QByteArray expected = "v=0\r\n"
                                "o=- 1 3 IN IP4 192.168.1.20\r\n"
                                "s=Stage Box 8 : 1-2\r\n"
                                "c=IN IP4 239.69.1.20/32\r\n"
                                "t=0 0\r\n"
                                "m=audio 5004 RTP/AVP 98\r\n"
                                "i=2 channels: In 1, In 2\r\n"
                                "a=rtpmap:98 L24/48000/2\r\n"
                                "a=sync-time:0\r\n"
                                "a=framecount:48\r\n"
                                "a=ptime:1\r\n"
                                "a=ts-refclk:ptp=IEEE1588-2008:00-1D-C1-FF-FE-00-00-01:0\r\n"
                                "a=mediaclk:direct=0\r\n"
                                "a=source-filter: incl IN IP4 239.69.1.20 192.168.1.20\r\n"
                                "a=recvonly\r\n";
    QCOMPARE(SimSap::sdp(f), expected);

    f.sampleByteNum = 2;
    f.sampleRate = 96000;
    f.packetTimeDiv = 8;
    f.rtpTsOffset = 4800;
    const QByteArray sdp = SimSap::sdp(f);
    QVERIFY(sdp.contains("a=rtpmap:98 L16/96000/2\r\n"));
    QVERIFY(sdp.contains("a=ptime:0.125\r\n"));
    QVERIFY(sdp.contains("a=framecount:12\r\n"));
    QVERIFY(sdp.contains("a=mediaclk:direct=4800\r\n"));
}

QTEST_GUILESS_MAIN(TestSimScenario)
#include "tst_simscenario.moc"
