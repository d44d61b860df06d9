// The corvane-sim program itself: its flags reach the scenario it runs, and
// bad ones are refused. Starting the default network and finding it runs in
// every end-to-end suite.
#include "simpeer.h"

#include <QJsonDocument>
#include <QProcess>
#include <QTemporaryFile>
#include <QtTest>

class TestSimBinary : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase();
    void printsTheScenarioItWouldRun_data();
    void printsTheScenarioItWouldRun();
    void scenarioFileBaseAndFaultFlags();
    void programSeededFromAFile();
    void badArgumentsAreRefused_data();
    void badArgumentsAreRefused();

private:
    QString m_sim;
    QTemporaryFile m_file;
    QTemporaryFile m_program; ///< a "*.dt" file holding an old-version document
};

void TestSimBinary::initTestCase()
{
    m_sim = qEnvironmentVariable("CORVANE_BIN_DIR") + QStringLiteral("/corvane-sim");
    QVERIFY2(QFileInfo::exists(m_sim), qPrintable(m_sim));
    QVERIFY(m_file.open());
    m_file.write(R"({"devices":[{"devId":"A","model":"RK0808"},)"
                 R"({"devId":"B","model":"RK0202","chNumRx":2,"chNumTx":2}]})");
    m_file.close();
    QVERIFY(m_program.open());
    m_program.write(R"({"config":{"sampleRate":"96000","version":"3","x":["old"]},"name":"ignored"})");
    m_program.close();
}

void TestSimBinary::printsTheScenarioItWouldRun_data()
{
    QTest::addColumn<QStringList>("args");
    QTest::addColumn<QByteArray>("expected");
    QTest::newRow("default") << QStringList{} << SimScenario::defaultScenario().toJson();
    QTest::newRow("generated") << QStringList{"--devices", "100"} << SimScenario::generated(100).toJson();
}

void TestSimBinary::printsTheScenarioItWouldRun()
{
    QFETCH(QStringList, args);
    QFETCH(QByteArray, expected);
    QProcess p;
    p.start(m_sim, args << "--print-scenario");
    QVERIFY(p.waitForFinished(10000));
    QCOMPARE(p.exitCode(), 0);
    QCOMPARE(scenarioOf(p.readAllStandardOutput()).toJson(), expected);
}

void TestSimBinary::scenarioFileBaseAndFaultFlags()
{
    SimPeer peer(true);
    QVERIFY(peer.isReady());
    QProcess p;
    p.setProcessChannelMode(QProcess::MergedChannels);
    p.start(m_sim,
            {"--scenario", m_file.fileName(), "--base", "127.0.0.20", "--silent", "B", "--refuse", "getVersion=busy"});
    QVERIFY(p.waitForStarted(5000));
    QVERIFY(!peer.waitFor(SimPeer::announcement("B"), 5000).json.isEmpty());
    QCOMPARE(peer.waitFor(SimPeer::announcement("A"), 5000).from, QHostAddress("127.0.0.20"));
    QCOMPARE(peer.outcome("127.0.0.20", 9994, R"({"ops":"getVersion"})"), QStringLiteral("busy"));
    QCOMPARE(peer.outcome("127.0.0.20", 9994, R"({"ops":"getIp"})"), QStringLiteral("succ"));
    QCOMPARE(peer.outcome("127.0.0.21", 9994, R"({"ops":"getIp"})"), QStringLiteral("none"));
    // A signal ends it cleanly.
    p.terminate();
    QVERIFY(p.waitForFinished(5000));
    QCOMPARE(p.exitStatus(), QProcess::NormalExit);
    QCOMPARE(p.exitCode(), 0);
    const QByteArray out = p.readAll();
    QVERIFY2(out.contains("sim: 2 devices on 127.0.0.20..127.0.0.21 via 127.0.0.1\n"), out.constData());
    QVERIFY2(out.contains("sim: stopped\n"), out.constData());
}

void TestSimBinary::programSeededFromAFile()
{
    QProcess p;
    p.start(m_sim, {"--quiet", "--program", "SIM-0007:old_1:" + m_program.fileName()});
    QVERIFY(p.waitForStarted(5000));
    // SIM-0007, the seventh device of the default scenario; its link listens once the network is up.
    QJsonObject reply;
    QTRY_VERIFY_WITH_TIMEOUT(
        !(reply = DspClient("127.0.0.8").ask(R"({"ops":"getConfigByName","uiTag":"dspUiTag","name":"old_1"})"))
             .isEmpty(),
        5000);
    QCOMPARE(reply.value("config").toObject(),
             QJsonDocument::fromJson(R"({"sampleRate":"96000","version":"3","x":["old"]})").object());
    p.terminate();
    QVERIFY(p.waitForFinished(5000));
}

void TestSimBinary::badArgumentsAreRefused_data()
{
    QTest::addColumn<QStringList>("args");
    QTest::newRow("no devices") << QStringList{"--devices", "0"};
    QTest::newRow("missing scenario file") << QStringList{"--scenario", "/nonexistent/scenario.json"};
    QTest::newRow("loss over 100") << QStringList{"--loss", "101"};
    QTest::newRow("silent device unknown") << QStringList{"--silent", "NOBODY"};
    QTest::newRow("interface nobody holds") << QStringList{"--interface", "10.255.255.1"};
    const QString dt = m_program.fileName();
    QTest::newRow("program on a device without DSP") << QStringList{"--program", "SIM-0001:a:" + dt};
    QTest::newRow("program named default") << QStringList{"--program", "SIM-0007:default:" + dt};
    QTest::newRow("program without a name") << QStringList{"--program", "SIM-0007:" + dt};
    QTest::newRow("program file missing") << QStringList{"--program", "SIM-0007:a:/nonexistent/a.dt"};
    QTest::newRow("program file not a program") << QStringList{"--program", "SIM-0007:a:" + m_file.fileName()};
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
