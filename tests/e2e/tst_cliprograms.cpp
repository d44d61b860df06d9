// corvane-cli's dsp program against corvane-sim's program store, both child processes inside a private network
// namespace: each step is checked in what the device lists, holds and runs afterwards.
#include "../support/clirunner.h"

#include <QTemporaryDir>
#include <QtTest>

namespace {

// A two-by-two DSP device, the shape of the old program in the test data, so that it loads once converted.
const char kDevice[] = "SIM-0202";
const char kScenario[] =
    R"({"devices":[{"chNumRx":2,"chNumTx":2,"clockId":"00-1D-C1-FF-FE-00-02-02","delayUs":2000,"devId":"SIM-0202",)"
    R"("dscp":34,"gpioNum":2,"mcastNumRx":2,"mcastNumTx":2,"model":"RK0202D","name":"DSP 2x2","packetTimeDiv":1,)"
    R"("password":"123456","phyChNumRx":2,"phyChNumTx":2,"port":9990,"ptpDomain":0,"ptpDscp":46,"ptpPriority":128,)"
    R"("sampleByteNum":3,"sampleRate":48000,"ucastNumRx":2,"ucastNumTx":2,"version":"3.1.4.45"}]})";

CliRun cli(const QStringList &args)
{
    return CliRunner({"--interface", "127.0.0.1", "--wait", "3"}).run(args);
}

QString why(const CliRun &r)
{
    return QStringLiteral("exit %1: %2 %3").arg(r.code).arg(QString::fromUtf8(r.err), QString::fromUtf8(r.out));
}

QJsonObject list()
{
    const CliRun r = cli({"--json", "dsp", "program", "list", kDevice});
    if (r.code != 0)
        qWarning("%s", qPrintable(why(r)));
    return r.json.object();
}

QStringList names()
{
    QStringList out;
    for (const QJsonValue &v : list().value("names").toArray())
        out << v.toString();
    return out;
}

QJsonObject running()
{
    return cli({"--json", "dsp", "get-config", kDevice}).json.object();
}

QJsonObject fileConfig(const QString &path)
{
    QFile f(path);
    if (!f.open(QIODevice::ReadOnly))
        return {};
    return QJsonDocument::fromJson(f.readAll()).object().value("config").toObject();
}

} // namespace

class TestCliPrograms : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase()
    {
        REQUIRE_PRIVATE_NETWORK();
        qRegisterMetaType<QProcess::ExitStatus>();
        QFile scenario(m_dir.filePath("scenario.json"));
        QVERIFY(scenario.open(QIODevice::WriteOnly) && scenario.write(kScenario) > 0);
        scenario.close();
        QVERIFY2(m_sim.start({"--scenario", scenario.fileName(), "--program",
                              QStringLiteral("%1:old_v3:%2/programs/old.dt").arg(kDevice, CORVANE_TEST_DATA)}),
                 m_sim.why());
    }

    void oldProgramConvertedThenLoaded()
    {
        QCOMPARE(names().mid(0, 3), (QStringList{"default", "old_v3", ""}));
        QCOMPARE(list().value("inUse").toString(), QString("default"));

        CliRun r = cli({"dsp", "program", "load", kDevice, "old_v3"});
        QCOMPARE(r.code, 1);
        QVERIFY2(r.err.contains("该配置为旧版本"), r.err.constData());

        r = cli({"dsp", "program", "convert", kDevice, "old_v3"});
        QVERIFY2(r.code == 0, qPrintable(why(r)));
        r = cli({"dsp", "program", "convert", kDevice, "old_v3"});
        QCOMPARE(r.code, 1);
        QVERIFY2(r.err.contains("该配置不需要转换"), r.err.constData());

        QTemporaryDir dir;
        r = cli({"dsp", "program", "export", kDevice, "old_v3", dir.filePath("old.dt")});
        QVERIFY2(r.code == 0, qPrintable(why(r)));
        const QJsonObject converted = fileConfig(dir.filePath("old.dt"));
        QCOMPARE(converted.value("version").toString(), QString("4"));

        r = cli({"dsp", "program", "load", kDevice, "old_v3"});
        QVERIFY2(r.code == 0, qPrintable(why(r)));
        QCOMPARE(list().value("inUse").toString(), QString("old_v3"));
        QCOMPARE(running(), converted);
    }

    void saveExportDeleteImport()
    {
        QTemporaryDir dir;
        CliRun r = cli({"dsp", "program", "load", kDevice, "default"});
        QVERIFY2(r.code == 0, qPrintable(why(r)));
        const QJsonObject factory = running();
        r = cli({"dsp", "program", "save", kDevice, "mine"});
        QVERIFY2(r.code == 0, qPrintable(why(r)));
        QVERIFY(names().contains("mine"));
        QCOMPARE(list().value("inUse").toString(), QString("mine"));

        r = cli({"dsp", "program", "export", kDevice, "mine", dir.filePath("mine.dt")});
        QVERIFY2(r.code == 0, qPrintable(why(r)));
        QCOMPARE(fileConfig(dir.filePath("mine.dt")), factory);

        QVERIFY(cli({"dsp", "program", "load", kDevice, "old_v3"}).code == 0);
        r = cli({"dsp", "program", "delete", kDevice, "mine"});
        QVERIFY2(r.code == 0, qPrintable(why(r)));
        QVERIFY(!names().contains("mine"));

        // Without --yes the question is printed and nothing is stored.
        r = cli({"dsp", "program", "import", kDevice, "back", dir.filePath("mine.dt")});
        QCOMPARE(r.code, 1);
        QVERIFY2(r.err.contains("--yes"), r.err.constData());
        QVERIFY(!names().contains("back"));
        r = cli({"--yes", "dsp", "program", "import", kDevice, "back", dir.filePath("mine.dt")});
        QVERIFY2(r.code == 0, qPrintable(why(r)));
        QVERIFY(names().contains("back"));
        QVERIFY(cli({"dsp", "program", "load", kDevice, "back"}).code == 0);
        QCOMPARE(running(), factory);
    }

    void everyProgramOutAndBack()
    {
        QTemporaryDir dir;
        CliRun r = cli({"--json", "dsp", "program", "export-all", kDevice, dir.filePath("all.dtl")});
        QVERIFY2(r.code == 0, qPrintable(why(r)));
        QFile f(dir.filePath("all.dtl"));
        QVERIFY(f.open(QIODevice::ReadOnly));
        const QJsonArray all = QJsonDocument::fromJson(f.readAll()).array();
        QVERIFY(all.size() >= 2);

        QVERIFY(cli({"dsp", "program", "load", kDevice, "default"}).code == 0);
        QVERIFY(cli({"dsp", "program", "delete", kDevice, "back"}).code == 0);
        r = cli({"--yes", "dsp", "program", "import-all", kDevice, dir.filePath("all.dtl")});
        QVERIFY2(r.code == 0, qPrintable(why(r)));
        QStringList expected;
        for (const QJsonValue &v : all)
            expected << v.toObject().value("name").toString();
        for (const QString &name : expected)
            QVERIFY2(names().contains(name), qPrintable(name));
    }

private:
    QTemporaryDir m_dir;
    Simulator m_sim;
};

QTEST_GUILESS_MAIN(TestCliPrograms)
#include "tst_cliprograms.moc"
