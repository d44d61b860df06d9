// corvane-cli's stored configurations and factory reset against corvane-sim, both child processes inside a private
// network namespace. The cases run in order on one device: what one stores, the next finds.
#include "../support/clirunner.h"

#include <QTemporaryDir>
#include <QtTest>

namespace {

const char kDevice[] = "SIM-0007";

CliRun cli(const QStringList &args)
{
    return CliRunner({"--interface", "127.0.0.1", "--wait", "3"}).run(args);
}

QString nameAt(int index)
{
    const CliRun r = cli({"--json", "dsp", "stored", "list", kDevice});
    return r.json.object().value("configs").toArray().at(index).toObject().value("name").toString();
}

QByteArray bytesOf(const QString &path)
{
    QFile f(path);
    return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
}

} // namespace

class TestCliStoredSim : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase()
    {
        REQUIRE_PRIVATE_NETWORK();
        QVERIFY2(m_sim.start(), m_sim.why());
    }

    void saveLoadExportImport()
    {
        QCOMPARE(cli({"dsp", "stored", "last", kDevice}).out, QByteArray("-\n"));
        QCOMPARE(cli({"dsp", "stored", "save", kDevice, "3", "show_1"}).out, QByteArray("Success\n"));
        QCOMPARE(cli({"dsp", "stored", "load", kDevice, "3"}).code, 0);
        QCOMPARE(cli({"dsp", "stored", "last", kDevice}).out, QByteArray("3 show_1\n"));

        const QString first = m_dir.filePath("first.dcd"), second = m_dir.filePath("second.dcd");
        QCOMPARE(cli({"dsp", "stored", "export", kDevice, "3", first}).code, 0);
        CliRun r = cli({"dsp", "stored", "import", kDevice, "6", first});
        QCOMPARE(r.code, 1);
        QVERIFY2(r.err.contains("The imported will overwrite the selected one. Continue?"), r.err.constData());
        QCOMPARE(nameAt(6), QString());
        QCOMPARE(cli({"--yes", "dsp", "stored", "import", kDevice, "6", first}).code, 0);
        QCOMPARE(cli({"dsp", "stored", "export", kDevice, "6", second}).code, 0);
        QVERIFY(bytesOf(first).contains("\"name\":\"show_1\""));
        QCOMPARE(bytesOf(second), bytesOf(first));
        QCOMPARE(cli({"dsp", "stored", "delete", kDevice, "6"}).code, 0);
        QCOMPARE(nameAt(6), QString());
    }

    void factoryResetAsksThenRebootsEmpty()
    {
        CliRun r = cli({"dsp", "factory-reset", kDevice});
        QCOMPARE(r.code, 1);
        QVERIFY2(r.err.contains("Will delete all configurations. Confirm?"), r.err.constData());
        QCOMPARE(nameAt(3), QStringLiteral("show_1"));

        r = cli({"--yes", "dsp", "factory-reset", kDevice});
        QCOMPARE(r.code, 0);
        QVERIFY2(r.err.contains("Restart now?") && r.out.contains("\"ops\":\"reboot\""), r.out.constData());
        QJsonObject list;
        QTRY_VERIFY_WITH_TIMEOUT(
            (list = cli({"--json", "dsp", "stored", "list", kDevice}).json.object()).contains("configs"), 20000);
        QCOMPARE(list.value("configs").toArray().at(3).toObject().value("name").toString(), QString());
        QCOMPARE(list.value("last").toInt(), -1);
    }

    void lockedDeviceRefusesChanges()
    {
        QCOMPARE(cli({"dsp", "stored", "save", kDevice, "1", "keep"}).code, 0);
        const CliRun locked = cli({"--wait", "10", "send", kDevice,
                                   R"({"ops":"setLock","password":"123456","uiTag":"dspUiTag","val":"0x1f"})"});
        QCOMPARE(locked.json.object().value("result").toString(), QStringLiteral("succ"));
        for (const QStringList &args : {QStringList{"dsp", "stored", "delete", kDevice, "1"},
                                        QStringList{"--yes", "dsp", "factory-reset", kDevice}}) {
            const CliRun r = cli(args);
            QCOMPARE(r.code, 1);
            QVERIFY2(r.err.contains("The device is locked, please unlock"), r.err.constData());
        }
        QCOMPARE(nameAt(1), QStringLiteral("keep")); // reading is never locked
    }

private:
    Simulator m_sim;
    QTemporaryDir m_dir;
};

QTEST_GUILESS_MAIN(TestCliStoredSim)
#include "tst_clistoredsim.moc"
