// corvane-cli's refusals: bad arguments, no such interface or device. What it
// does against devices is tst_clisim's, against the virtual device network.
#include "../support/clirunner.h"
#include "../support/simulator.h"

#include <QtTest>

namespace {

CliRun cli(const QStringList &args)
{
    return CliRunner().run(args, 15000);
}

} // namespace

class TestCli : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase();
    void errors_data();
    void errors();
};

void TestCli::initTestCase()
{
    REQUIRE_PRIVATE_NETWORK();
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
