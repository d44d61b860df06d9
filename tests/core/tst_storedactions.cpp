// The administration page's actions over a scripted device: what goes out, in which order, and what the operator
// is told, without widgets or a network.
#include "core/dsp/programs/programfiles.h"
#include "core/dsp/programs/storedactions.h"

#include "../support/dspdocs.h"
#include "../support/scriptedexchange.h"

#include <QJsonArray>
#include <QTemporaryDir>
#include <QtTest>

namespace {

const QJsonObject kLocked{{"result", "fail"}, {"reason", "LOCK_UCAST_MCAST"}};

QJsonObject record(const QString &name)
{
    QJsonObject doc = QJsonDocument::fromJson(DspDocs::make(2, 3).toJson()).object();
    return QJsonObject{{"aes67GainArr", QJsonArray{"-3.5"}}, {"config", doc}, {"defaultAmpType", "2"},
                       {"name", name}, {"outChNum", "3"}, {"vendorExtra", "kept"}};
}

} // namespace

class TstStoredActions : public QObject
{
    Q_OBJECT
private slots:
    void listPadsNamesAndNamesTheLastLoaded()
    {
        ScriptedExchange d;
        d.succeed("getConfigNameArr", {{"configNameArr", QJsonArray{"live", "", "show"}}});
        d.succeed("getLastConfig", {{"lastConfig", "2"}});
        StoredActions::Listing l = StoredActions::list(d.exchange());
        QVERIFY(l.ok);
        QCOMPARE(l.names.size(), StoredActions::kSlots);
        QCOMPARE(l.names.at(7), QString());
        QCOMPARE(StoredActions::lastText(l), QStringLiteral("2 show"));
        QCOMPARE(StoredActions::label(0, "live"), QStringLiteral("0 live"));
        QCOMPARE(StoredActions::label(1, ""), QStringLiteral("1"));

        // None since the factory state, and an index whose record has since been deleted, both read as none.
        for (const char *last : {"-1", "1", "9", "x"}) {
            d.succeed("getLastConfig", {{"lastConfig", last}});
            l = StoredActions::list(d.exchange());
            QVERIFY(l.ok);
            QCOMPARE(StoredActions::lastText(l), QStringLiteral("-"));
        }
    }

    void listFailuresSayWhy()
    {
        ScriptedExchange d;
        d.down = true;
        StoredActions::Listing l = StoredActions::list(d.exchange());
        QVERIFY(!l.ok);
        QCOMPARE(l.failure.message, tx(Tx::DspCommFailed));
        QCOMPARE(l.failure.title, tx(Tx::Notice));
        d.down = false;
        l = StoredActions::list(d.exchange());
        QVERIFY(!l.ok);
        QCOMPARE(l.failure.message, tx(Tx::AdminFail));
    }

    void saveSendsTheRunningDocumentWithDefaultAmplifierSettings()
    {
        ScriptedExchange d;
        QJsonObject running = QJsonDocument::fromJson(DspDocs::reply(DspDocs::make(2, 3)).toUtf8()).object();
        QJsonObject config = running.value("config").toObject();
        config.insert("futureMember", "x"); // what this program does not know still reaches the record
        running.insert("config", config);
        d.answers.insert("getConfig", running);
        d.succeed("saveConfig");

        const StoredActions::Outcome o = StoredActions::save(d.exchange(), 6, "a-b_1");
        QVERIFY(o.ok);
        QCOMPARE(o.message, tx(Tx::AdminSuccess));
        QCOMPARE(d.opsSent(), (QStringList{"getConfig", "saveConfig"}));
        const QJsonObject s = d.sentObject(1);
        QCOMPARE(s.value("index").toString(), QStringLiteral("6"));
        QCOMPARE(s.value("name").toString(), QStringLiteral("a-b_1"));
        QCOMPARE(s.value("inChNum").toString(), QStringLiteral("2"));
        QCOMPARE(s.value("outChNum").toString(), QStringLiteral("3"));
        QCOMPARE(s.value("defaultAmpType").toString(), QStringLiteral("0"));
        QCOMPARE(s.value("analogGainArr").toArray(), (QJsonArray{"0.0", "0.0", "0.0"}));
        QCOMPARE(s.value("aes67PhaseArr").toArray(), (QJsonArray{"0", "0", "0"}));
        QCOMPARE(s.value("config").toObject(), config);
        QCOMPARE(s.value("uiTag").toString(), QStringLiteral("dspUiTag"));
    }

    void saveRefusalsSendNothingOrStopEarly()
    {
        ScriptedExchange d;
        StoredActions::Outcome o = StoredActions::save(d.exchange(), 1, QString(41, 'x'));
        QCOMPARE(o.message, tx(Tx::ProgAdminNameTooLong));
        o = StoredActions::save(d.exchange(), 1, "");
        QCOMPARE(o.message, tx(Tx::ProgAdminNameEmpty));
        o = StoredActions::save(d.exchange(), 1, "a b");
        QCOMPARE(o.message, tx(Tx::ProgAdminNameFormat));
        QCOMPARE(o.title, tx(Tx::ProgAdminNameFormatTitle));
        QVERIFY(d.sent.isEmpty());

        // The running document refused or unreadable: nothing is stored.
        o = StoredActions::save(d.exchange(), 1, "ok");
        QVERIFY(!o.ok);
        d.succeed("getConfig", {{"config", QJsonObject{{"nodeArr", QJsonArray{}}}}});
        o = StoredActions::save(d.exchange(), 1, "ok");
        QVERIFY(!o.ok);
        QCOMPARE(o.message, tx(Tx::AdminFail));
        QVERIFY(!d.opsSent().contains("saveConfig"));
    }

    void outcomesOfLoadDeleteAndTheLock()
    {
        ScriptedExchange d;
        d.succeed("loadConfig");
        QVERIFY(StoredActions::load(d.exchange(), 3).ok);
        QCOMPARE(d.sentObject(0).value("index").toString(), QStringLiteral("3"));
        d.answers.insert("loadConfig", kLocked);
        StoredActions::Outcome o = StoredActions::load(d.exchange(), 3);
        QVERIFY(!o.ok);
        QCOMPARE(o.message, tx(Tx::ProgDeviceLocked));
        // Only the lock has words of its own; any other reason is plain "Fail".
        d.answers.insert("deleteConfig", {{"result", "fail"}, {"reason", "sample rate mismatch"}});
        o = StoredActions::remove(d.exchange(), 4);
        QCOMPARE(o.message, tx(Tx::AdminFail));
        QCOMPARE(d.sentObject(2).value("ops").toString(), QStringLiteral("deleteConfig"));
        d.down = true;
        o = StoredActions::remove(d.exchange(), 4);
        QCOMPARE(o.message, tx(Tx::DspCommFailed));
    }

    void exportThenImportSendsTheRecordAsItStood()
    {
        QTemporaryDir dir;
        const QString path = dir.filePath("rec.dcd");
        ScriptedExchange d;
        d.succeed("getConfigByIndex", {{"index", "5"}, {"config", record("show")}});
        d.succeed("saveConfig");
        QVERIFY(StoredActions::exportTo(d.exchange(), 5, path).ok);
        QCOMPARE(*ProgramFiles::readFile(path), ProgramFiles::writeStoredConfig(record("show")));

        QVERIFY(StoredActions::importFrom(d.exchange(), 2, path).ok);
        const QJsonObject sent = d.sentObject(1);
        // The file's object is the record itself: nothing of the running device is added around it.
        QCOMPARE(sent, (QJsonObject{{"config", record("show")}, {"index", "2"}, {"ops", "saveConfig"},
                                    {"uiTag", "dspUiTag"}}));

        // An empty record has nothing to write, and no file is left behind.
        d.answers.remove("getConfigByIndex");
        QVERIFY(!StoredActions::exportTo(d.exchange(), 1, dir.filePath("none.dcd")).ok);
        QVERIFY(!QFile::exists(dir.filePath("none.dcd")));
        // A folder that cannot be written to.
        d.succeed("getConfigByIndex", {{"config", record("show")}});
        QVERIFY(!StoredActions::exportTo(d.exchange(), 5, dir.filePath("no/such/dir/x.dcd")).ok);
    }

    void importOfABadFileSendsNothing()
    {
        QTemporaryDir dir;
        QFile garbage(dir.filePath("bad.dcd"));
        QVERIFY(garbage.open(QIODevice::WriteOnly));
        garbage.write("[1,2]");
        garbage.close();
        ScriptedExchange d;
        for (const QString &path : {garbage.fileName(), dir.filePath("missing.dcd")}) {
            const StoredActions::Outcome o = StoredActions::importFrom(d.exchange(), 0, path);
            QVERIFY(!o.ok);
            QCOMPARE(o.message, tx(Tx::ProgStoredOpenWrong));
            QCOMPARE(o.title, tx(Tx::AdminTips));
        }
        QVERIFY(d.sent.isEmpty());
    }

    void factoryResetSendsBothSpellingsAndTakesEither()
    {
        ScriptedExchange d;
        d.succeed("resetFacotry");
        QVERIFY(StoredActions::factoryReset(d.exchange()).ok);
        QCOMPARE(d.sent, (QStringList{R"({"ops":"resetFactory"})", R"({"ops":"resetFacotry"})"}));

        d.answers.insert("resetFacotry", kLocked);
        d.answers.insert("resetFactory", kLocked);
        StoredActions::Outcome o = StoredActions::factoryReset(d.exchange());
        QVERIFY(!o.ok);
        QCOMPARE(o.message, tx(Tx::ProgDeviceLocked));
        // A device that knows one spelling and is locked: the lock, not the unknown one's refusal, is said.
        d.answers.remove("resetFacotry");
        QCOMPARE(StoredActions::factoryReset(d.exchange()).message, tx(Tx::ProgDeviceLocked));
        d.answers.remove("resetFactory");
        d.answers.insert("resetFacotry", kLocked);
        QCOMPARE(StoredActions::factoryReset(d.exchange()).message, tx(Tx::ProgDeviceLocked));

        QCOMPARE(StoredActions::rebootRequest("SIM-1"), (QJsonObject{{"devId", "SIM-1"}, {"ops", "reboot"}}));
    }
};

QTEST_GUILESS_MAIN(TstStoredActions)
#include "tst_storedactions.moc"
