// corvane-cli's stored configurations and factory reset against corvane-sim, both child processes inside a private
// network namespace. The cases run in order on one device: what one stores, the next finds.
#include "../support/clirunner.h"

#include <QFile>
#include <QTemporaryDir>
#include <QtTest>

namespace {

const char kDevice[] = "SIM-0007";

CliRun cli(const QStringList &args)
{
    return CliRunner({"--interface", "127.0.0.1", "--wait", "3"}).run(args);
}

CliRun stored(const QStringList &args)
{
    return cli(QStringList{"dsp", "stored"} + args);
}

QJsonObject listing()
{
    const CliRun r = stored({"--json", "list", kDevice});
    if (r.code != 0)
        qWarning("dsp stored list: exit %d: %s", r.code, r.err.constData());
    return r.json.object();
}

QString nameAt(const QJsonObject &list, int index)
{
    return list.value("configs").toArray().at(index).toObject().value("name").toString();
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
        QVERIFY(m_dir.isValid());
    }

    void saveLoadLastAndDelete()
    {
        QJsonObject list = listing();
        QCOMPARE(list.value("configs").toArray().size(), 8);
        QCOMPARE(list.value("last").toInt(), -1);
        QCOMPARE(stored({"last", kDevice}).out.trimmed(), QByteArray("-"));

        CliRun r = stored({"save", kDevice, "3", "a b"});
        QCOMPARE(r.code, 1);
        QVERIFY2(r.err.contains("Only numbers, letters, or underscores."), r.err.constData());

        r = stored({"save", kDevice, "3", "show_1"});
        QCOMPARE(r.code, 0);
        QCOMPARE(r.out.trimmed(), QByteArray("Success"));
        QCOMPARE(nameAt(listing(), 3), QStringLiteral("show_1"));
        QCOMPARE(stored({"load", kDevice, "3"}).code, 0);
        QCOMPARE(stored({"last", kDevice}).out.trimmed(), QByteArray("3 show_1"));

        QCOMPARE(stored({"save", kDevice, "4", "spare"}).code, 0);
        QCOMPARE(stored({"delete", kDevice, "4"}).code, 0);
        QCOMPARE(nameAt(listing(), 4), QString());
        // Deleting an empty record is the device's refusal, said as the page says it.
        r = stored({"delete", kDevice, "4"});
        QCOMPARE(r.code, 1);
        QVERIFY2(r.err.contains("Fail"), r.err.constData());
    }

    void exportedAndImportedBackEqual()
    {
        const QString first = m_dir.filePath("first.dcd");
        const QString second = m_dir.filePath("second.dcd");
        QCOMPARE(stored({"export", kDevice, "3", first}).code, 0);
        const QJsonObject record = QJsonDocument::fromJson(bytesOf(first)).object();
        QCOMPARE(record.value("name").toString(), QStringLiteral("show_1"));
        QVERIFY(record.value("config").toObject().contains("nodeArr"));

        // Without --yes the overwrite question is printed and nothing is stored.
        CliRun r = stored({"import", kDevice, "6", first});
        QCOMPARE(r.code, 1);
        QVERIFY2(r.err.contains("The imported will overwrite the selected one. Continue?"), r.err.constData());
        QCOMPARE(nameAt(listing(), 6), QString());

        r = stored({"--yes", "import", kDevice, "6", first});
        QCOMPARE(r.code, 0);
        QCOMPARE(nameAt(listing(), 6), QStringLiteral("show_1"));
        QCOMPARE(stored({"export", kDevice, "6", second}).code, 0);
        QCOMPARE(bytesOf(second), bytesOf(first));

        QFile bad(m_dir.filePath("bad.dcd"));
        QVERIFY(bad.open(QIODevice::WriteOnly));
        bad.write("not json");
        bad.close();
        r = stored({"--yes", "import", kDevice, "7", bad.fileName()});
        QCOMPARE(r.code, 1);
        QVERIFY2(r.err.contains("Open File Wrong."), r.err.constData());
    }

    void factoryResetAsksThenRebootsEmpty()
    {
        CliRun r = cli({"dsp", "factory-reset", kDevice});
        QCOMPARE(r.code, 1);
        QVERIFY2(r.err.contains("Will delete all configurations. Confirm?"), r.err.constData());
        QCOMPARE(nameAt(listing(), 3), QStringLiteral("show_1"));

        r = cli({"--yes", "dsp", "factory-reset", kDevice});
        QCOMPARE(r.code, 0);
        QVERIFY2(r.err.contains("Restore successful. Restart is required. Restart now?"), r.err.constData());
        QVERIFY2(r.out.contains("reboot:") && r.out.contains("\"ops\":\"reboot\""), r.out.constData());
        // Back from the reboot with nothing stored and nothing last loaded.
        QJsonObject list;
        QTRY_VERIFY_WITH_TIMEOUT((list = listing()).contains("configs"), 20000);
        for (int i = 0; i < 8; ++i)
            QCOMPARE(nameAt(list, i), QString());
        QCOMPARE(list.value("last").toInt(), -1);
    }

    void lockedDeviceRefusesChanges()
    {
        QCOMPARE(stored({"save", kDevice, "1", "keep"}).code, 0);
        const QJsonObject lock{{"ops", "setLock"}, {"uiTag", "dspUiTag"}, {"password", "123456"}, {"val", "0x1f"}};
        const CliRun locked =
            cli({"--wait", "10", "send", kDevice, QString::fromUtf8(QJsonDocument(lock).toJson(QJsonDocument::Compact))});
        QCOMPARE(locked.json.object().value("result").toString(), QStringLiteral("succ"));
        for (const QStringList &args : {QStringList{"dsp", "stored", "delete", kDevice, "1"},
                                        QStringList{"dsp", "stored", "save", kDevice, "2", "x"},
                                        QStringList{"--yes", "dsp", "factory-reset", kDevice}}) {
            const CliRun r = cli(args);
            QCOMPARE(r.code, 1);
            QVERIFY2(r.err.contains("The device is locked, please unlock"), r.err.constData());
        }
        // Reading is never locked.
        QCOMPARE(nameAt(listing(), 1), QStringLiteral("keep"));
    }

private:
    Simulator m_sim;
    QTemporaryDir m_dir;
};

QTEST_GUILESS_MAIN(TestCliStoredSim)
#include "tst_clistoredsim.moc"
