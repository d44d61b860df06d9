// The corvane-sim program itself, run as the demo and the end-to-end tests run it.
#include "grouplistener.h"
#include "simpeer.h"
#include "simscenario.h"

#include <QJsonDocument>
#include <QProcess>
#include <QSet>
#include <QTemporaryFile>
#include <QtTest>

class TestSimBinary : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase();
    void printsTheDefaultScenario();
    void runsTheDefaultScenarioAndStopsOnSignal();
    void scenarioFileBaseAndFaultFlags();
    void generatedDevicesAllAnnounce();
    void badArgumentsAreRefused_data();
    void badArgumentsAreRefused();

private:
    QString m_sim;
};

void TestSimBinary::initTestCase()
{
    m_sim = qEnvironmentVariable("CORVANE_BIN_DIR") + QStringLiteral("/corvane-sim");
    QVERIFY2(QFileInfo::exists(m_sim), qPrintable(m_sim));
}

void TestSimBinary::printsTheDefaultScenario()
{
    QProcess p;
    p.start(m_sim, {"--print-scenario"});
    QVERIFY(p.waitForFinished(10000));
    QCOMPARE(p.exitCode(), 0);
    SimScenario s;
    QString error;
    QVERIFY2(SimScenario::fromJson(p.readAllStandardOutput(), &s, &error), qPrintable(error));
    QCOMPARE(s.toJson(), SimScenario::defaultScenario().toJson());
}

void TestSimBinary::runsTheDefaultScenarioAndStopsOnSignal()
{
    GroupListener groups;
    QVERIFY(groups.isReady());
    QProcess p;
    p.start(m_sim, {"--seed", "7"});
    QVERIFY(p.waitForStarted(5000));
    QSet<QString> devIds;
    groups.waitFor(
        [&devIds](const GroupListener::Heard &h) {
            if (h.json.value("ops") == "iAmCorvane")
                devIds.insert(h.json.value("devId").toString());
            return devIds.size() == 8;
        },
        5000);
    QCOMPARE(devIds.size(), 8);
    QVERIFY(!groups.waitFor(GroupListener::sapFor("239.69.1.2"), 5000).bytes.isEmpty());
    SimPeer peer;
    QCOMPARE(peer.request("127.0.0.3", 9994, R"({"ops":"getVersion"})").value("result").toString(),
             QStringLiteral("succ"));
    p.terminate();
    QVERIFY(p.waitForFinished(5000));
    QCOMPARE(p.exitStatus(), QProcess::NormalExit);
    QCOMPARE(p.exitCode(), 0);
    const QByteArray out = p.readAllStandardOutput();
    QVERIFY2(out.contains("sim: 8 devices on 127.0.0.2..127.0.0.9 via 127.0.0.1\n"), out.constData());
    QVERIFY2(out.contains("sim: SIM-0002: \"Stage Box 8\" RK0808 8x8 at 127.0.0.3:9990\n"), out.constData());
}

void TestSimBinary::scenarioFileBaseAndFaultFlags()
{
    QTemporaryFile file;
    QVERIFY(file.open());
    file.write(R"({"devices":[{"devId":"A","name":"A","model":"RK0808"},{"devId":"B","name":"B","model":"RK0202",)"
               R"("chNumRx":2,"chNumTx":2}]})");
    file.close();
    GroupListener groups;
    QVERIFY(groups.isReady());
    QProcess p;
    p.setProcessChannelMode(QProcess::MergedChannels);
    p.start(m_sim,
            {"--scenario", file.fileName(), "--base", "127.0.0.20", "--silent", "B", "--refuse", "getVersion=busy"});
    QVERIFY(p.waitForStarted(5000));
    QVERIFY(!groups.waitFor(GroupListener::ops("iAmCorvane", "B"), 5000).json.isEmpty());
    QCOMPARE(groups.waitFor(GroupListener::ops("iAmCorvane", "A"), 5000).from, QHostAddress("127.0.0.20"));
    SimPeer peer;
    QCOMPARE(peer.request("127.0.0.20", 9994, R"({"ops":"getVersion"})").value("reason").toString(),
             QStringLiteral("busy"));
    QCOMPARE(peer.request("127.0.0.20", 9994, R"({"ops":"getIp"})").value("result").toString(), QStringLiteral("succ"));
    SimPeer::Answer a;
    QVERIFY(!peer.ask("127.0.0.21", 9994, R"({"ops":"getIp"})", &a, 300));
    p.terminate();
    QVERIFY(p.waitForFinished(5000));
    const QByteArray out = p.readAll();
    QVERIFY2(out.contains("sim: 2 devices on 127.0.0.20..127.0.0.21 via 127.0.0.1\n"), out.constData());
    QVERIFY2(out.contains("sim: stopped\n"), out.constData());
}

void TestSimBinary::generatedDevicesAllAnnounce()
{
    GroupListener groups;
    QVERIFY(groups.isReady());
    QProcess p;
    p.start(m_sim, {"--devices", "100", "--quiet"});
    QVERIFY(p.waitForStarted(5000));
    QSet<QString> devIds;
    groups.waitFor(
        [&devIds](const GroupListener::Heard &h) {
            if (h.json.value("ops") == "iAmCorvane")
                devIds.insert(h.json.value("devId").toString());
            return devIds.size() == 100;
        },
        10000);
    QCOMPARE(devIds.size(), 100);
    p.terminate();
    QVERIFY(p.waitForFinished(5000));
    QCOMPARE(p.exitCode(), 0);
}

void TestSimBinary::badArgumentsAreRefused_data()
{
    QTest::addColumn<QStringList>("args");
    QTest::newRow("no devices") << QStringList{"--devices", "0"};
    QTest::newRow("missing scenario file") << QStringList{"--scenario", "/nonexistent/scenario.json"};
    QTest::newRow("both scenario and devices") << QStringList{"--scenario", "x.json", "--devices", "4"};
    QTest::newRow("loss over 100") << QStringList{"--loss", "101"};
    QTest::newRow("silent device unknown") << QStringList{"--silent", "NOBODY"};
    QTest::newRow("interface not IPv4") << QStringList{"--interface", "localhost"};
    QTest::newRow("interface nobody holds") << QStringList{"--interface", "10.255.255.1"};
}

void TestSimBinary::badArgumentsAreRefused()
{
    QFETCH(QStringList, args);
    QProcess p;
    p.start(m_sim, args);
    QVERIFY(p.waitForFinished(10000));
    QCOMPARE(p.exitCode(), 2);
    QVERIFY(!p.readAllStandardError().isEmpty());
}

QTEST_GUILESS_MAIN(TestSimBinary)
#include "tst_simbinary.moc"
