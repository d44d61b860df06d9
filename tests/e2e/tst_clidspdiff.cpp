// corvane-cli dsp diff against corvane-sim in a private network namespace: a device's running configuration, a
// program stored on it (an older one, compared converted) and files, with diff(1)'s exit codes.
#include "../support/clirunner.h"

#include <QTemporaryDir>
#include <QtTest>

namespace {

const char kDevice[] = "SIM-0007";
const QString kData = QStringLiteral(CORVANE_TEST_DATA "/programs/");

CliRun cli(const QStringList &args)
{
    return CliRunner({"--interface", "127.0.0.1", "--wait", "3"}).run(args);
}

} // namespace

class TestCliDspDiff : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase()
    {
        REQUIRE_PRIVATE_NETWORK();
        qRegisterMetaType<QProcess::ExitStatus>();
        QVERIFY(m_dir.isValid());
        QVERIFY2(m_sim.start({"--program", QString(kDevice) + ":old_v3:" + kData + "old.dt", "--program",
                              QString(kDevice) + ":now:" + kData + "old-current.dt"}),
                 m_sim.why());
    }

    void runningConfigurationAgainstItsOwnFile()
    {
        const CliRun get = cli({"--json", "dsp", "get-config", kDevice});
        QCOMPARE(get.code, 0);
        const QString saved = m_dir.filePath("running.json");
        QFile f(saved);
        QVERIFY(f.open(QIODevice::WriteOnly));
        f.write(get.out);
        f.close();

        CliRun r = cli({"dsp", "diff", kDevice, saved});
        QCOMPARE(r.code, 0);
        QCOMPARE(r.out, QByteArray("identical\n"));

        QCOMPARE(cli({"dsp", "channel", kDevice, "in", "2", "gain", "-6.5"}).code, 0);
        r = cli({"dsp", "diff", saved, kDevice});
        QCOMPARE(r.code, 1);
        QCOMPARE(r.out, QByteArray("in 2: gainDb 0 -> -6.5\n1 difference\n"));
        r = cli({"--json", "dsp", "diff", kDevice, saved});
        QCOMPARE(r.json.array().at(0)["a"], QJsonValue("-6.5"));
    }

    void storedProgramsOldAndNew()
    {
        // The device keeps the old program as it was stored; it is compared in its converted form.
        CliRun r = cli({"dsp", "diff", QString(kDevice) + ":old_v3", kData + "old-current.dt"});
        QCOMPARE(r.code, 0);
        QVERIFY2(r.err.contains("older document"), r.err.constData());
    }

    void troubleIsExitTwo()
    {
        CliRun r = cli({"dsp", "diff", QString(kDevice) + ":missing", kDevice});
        QCOMPARE(r.code, 2);
        QVERIFY2(r.err.contains("has no program missing"), r.err.constData());
        const QString bad = m_dir.filePath("bad.dt");
        QFile f(bad);
        QVERIFY(f.open(QIODevice::WriteOnly));
        f.write("[1");
        f.close();
        // Two files: no network is needed, and the file's message is the program page's.
        r = CliRunner().run({"dsp", "diff", bad, kData + "old.dt"});
        QCOMPARE(r.code, 2);
        QVERIFY2(r.err.contains("the file cannot be read"), r.err.constData());
    }

private:
    Simulator m_sim;
    QTemporaryDir m_dir;
};

QTEST_GUILESS_MAIN(TestCliDspDiff)
#include "tst_clidspdiff.moc"
