// corvane-cli against a hand-written device, inside a private network
// namespace (tests/netns-run): the real program path from socket to output.
#include "../support/clirunner.h"
#include "../support/fakedevice.h"

#include <QtTest>

namespace {

CliRun cli(const QStringList &args)
{
    return CliRunner().run(args, 15000);
}

const QJsonObject kSmall{{"chNumRx", "2"},    {"chNumTx", "2"},    {"ucastNumRx", "1"},
                         {"ucastNumTx", "1"}, {"mcastNumRx", "1"}, {"mcastNumTx", "1"}};

} // namespace

class TestCli : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase();
    void devicesAreDiscoveredAndPolled();
    void flowsFromSap();
    void sendPassesThroughTheRouter();
    void errors_data();
    void errors();
};

void TestCli::initTestCase()
{
    REQUIRE_PRIVATE_NETWORK();
}

void TestCli::devicesAreDiscoveredAndPolled()
{
    FakeDevice dev("E1", "127.0.0.20", kSmall);
    dev.start();
    const CliRun r = cli({"--interface", "127.0.0.1", "--wait", "6", "--json", "devices"});
    QCOMPARE(r.code, 0);
    const QJsonArray arr = r.json.array();
    QCOMPARE(arr.size(), 1);
    const QJsonObject d = arr.first().toObject();
    QCOMPARE(d.value("devId").toString(), QStringLiteral("E1"));
    QCOMPARE(d.value("tablesComplete").toBool(), true);

    // The poller asked at the announced port, "idStart" as text.
    bool asked = false;
    for (const auto &req : dev.requests)
        if (req.body.value("ops") == "getAllRxCh" && req.port == 9990 && req.body.value("idStart") == "0")
            asked = true;
    QVERIFY(asked);
}

void TestCli::flowsFromSap()
{
    FakeDevice dev("E2", "127.0.0.21", kSmall);
    dev.start();
    QTimer sap;
    QObject::connect(&sap, &QTimer::timeout, [&] { dev.sendSap(Packets::sap(Packets::sdp("Stage L-R", "127.0.0.21", "239.69.0.21", 5004, 2))); });
    sap.start(300);
    const CliRun r = cli({"--interface", "127.0.0.1", "--wait", "2", "--json", "flows"});
    QCOMPARE(r.code, 0);
    const QJsonArray arr = r.json.array();
    QCOMPARE(arr.size(), 1);
    const QJsonObject f = arr.first().toObject();
    // The other members are checked against the simulator's flows (tst_clisim).
    QCOMPARE(f.value("name").toString(), QStringLiteral("Stage L-R"));
    QCOMPARE(f.value("pFrameNum").toInt(), 48);
    QCOMPARE(f.value("gmClkId").toString(), QStringLiteral("00-1D-C1-FF-FE-00-00-01"));
    QCOMPARE(f.value("rtpTsOffset").toInt(), 0);

    const CliRun text = cli({"--interface", "127.0.0.1", "--wait", "1", "flows"});
    QVERIFY(text.out.contains("239.69.0.21:5004"));
}

void TestCli::sendPassesThroughTheRouter()
{
    FakeDevice dev("E4", "127.0.0.23", kSmall);
    dev.answer = [](const QJsonObject &req) {
        return QJsonObject{{"ops", req.value("ops")}, {"devId", "E4"}, {"result", "succ"}, {"version", "3.1.4.45"}};
    };
    dev.start();
    const CliRun r = cli({"--interface", "127.0.0.1", "--wait", "5", "send", "E4", "{\"ops\":\"getVersion\"}"});
    QCOMPARE(r.code, 0);
    const QJsonObject reply = r.json.object();
    QCOMPARE(reply.value("version").toString(), QStringLiteral("3.1.4.45"));
    // The router chose the settings port and added the device's id.
    bool seen = false;
    for (const auto &req : dev.requests)
        if (req.body.value("ops") == "getVersion") {
            QCOMPARE(req.port, quint16(9994));
            QCOMPARE(req.body.value("devId").toString(), QStringLiteral("E4"));
            seen = true;
        }
    QVERIFY(seen);
    // A device name works as well as its id.
    QCOMPARE(cli({"--interface", "127.0.0.1", "--wait", "5", "send", "Dev E4", "{\"ops\":\"getVersion\"}"}).code, 0);
}

void TestCli::errors_data()
{
    QTest::addColumn<QStringList>("args");
    QTest::addColumn<int>("code");
    QTest::addColumn<QString>("message");
    QTest::newRow("no such interface") << QStringList{"--interface", "10.99.99.99", "devices"} << 2 << "no interface has the address 10.99.99.99";
    QTest::newRow("malformed json") << QStringList{"--interface", "127.0.0.1", "send", "X", "{\"ops\":"} << 2 << "malformed JSON argument";
    QTest::newRow("json not an object") << QStringList{"--interface", "127.0.0.1", "send", "X", "[1]"} << 2 << "malformed JSON argument";
    QTest::newRow("no such device") << QStringList{"--interface", "127.0.0.1", "--wait", "1", "send", "nobody", "{\"ops\":\"reboot\"}"} << 3 << "no such device: nobody";
    QTest::newRow("unknown command") << QStringList{"frobnicate"} << 2 << "unknown command frobnicate";
    QTest::newRow("bad wait") << QStringList{"--wait", "soon", "devices"} << 2 << "--wait takes a number";
}

void TestCli::errors()
{
    QFETCH(QStringList, args);
    QFETCH(QString, message);
    const CliRun r = cli(args);
    QTEST(r.code, "code");
    QVERIFY2(r.err.startsWith("corvane-cli: " + message.toUtf8()), r.err.constData());
    QVERIFY(r.out.isEmpty());
}

QTEST_GUILESS_MAIN(TestCli)
#include "tst_cli.moc"
