// corvane-cli events against corvane-sim, both as child processes inside a private network namespace
// (tests/netns-run): a device that goes away is reported lost when the registry ages it out, and back when it
// returns.
#include "../support/simulator.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QtTest>

class TestCliEvents : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase();
    void goneDeviceIsLostThenBack();
};

void TestCliEvents::initTestCase()
{
    REQUIRE_PRIVATE_NETWORK();
}

void TestCliEvents::goneDeviceIsLostThenBack()
{
    Simulator sim;
    // Silent from 2 s to 8 s after start; the client ages devices out after 120 s / 40 = 3 s.
    QVERIFY2(sim.start({"--gone", "SIM-0004=2:6", "--settle-ms", "500"}), sim.why());
    QProcess cli;
    cli.start(Simulator::binary("corvane-cli"),
              {"--interface", "127.0.0.1", "--age-scale", "40", "--wait", "30", "--json", "events"});
    QVERIFY(cli.waitForStarted(5000));
    QVector<QJsonObject> lines;
    auto find = [&](const QString &kind, const QString &devId) {
        while (cli.canReadLine())
            lines.append(QJsonDocument::fromJson(cli.readLine()).object());
        for (int i = 0; i < lines.size(); ++i)
            if (lines[i].value("kind") == kind && (devId.isEmpty() || lines[i].value("devId") == devId))
                return i;
        return -1;
    };
    QTRY_VERIFY_WITH_TIMEOUT(find("found", "SIM-0001") >= 0, 5000);
    QTRY_VERIFY_WITH_TIMEOUT(find("lost", "SIM-0004") >= 0, 10000);
    QTRY_VERIFY_WITH_TIMEOUT(find("back", "SIM-0004") >= 0, 15000);
    const QJsonObject lost = lines[find("lost", "SIM-0004")], back = lines[find("back", "SIM-0004")];
    QCOMPARE(lost.value("severity").toString() + back.value("severity").toString(), QStringLiteral("warninginfo"));
    // Away for its silence less the time the registry waited for it: about 6 - 3 s.
    const double away = back.value("ms").toDouble() - lost.value("ms").toDouble();
    QVERIFY2(away > 1000 && away < 9000, qPrintable(QString::number(away)));
    QTRY_VERIFY_WITH_TIMEOUT(find("leader", {}) >= 0, 5000); // the clock of the network too
    for (const QJsonObject &o : lines)                       // nobody else went
        QVERIFY(o.value("kind") != "lost" || o.value("devId") == "SIM-0004");
    cli.kill();
    cli.waitForFinished(2000);
}

QTEST_GUILESS_MAIN(TestCliEvents)
#include "tst_clievents.moc"
