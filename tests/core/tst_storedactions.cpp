// The administration page's actions over a scripted device: what goes out, in which order, and what the operator
// is told, without widgets or a network.
#include "core/dsp/programs/storedactions.h"

#include "../support/dspdocs.h"
#include "../support/scriptedexchange.h"

#include <QJsonArray>
#include <QTemporaryDir>
#include <QtTest>

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
        QCOMPARE(l.names, (QStringList{"live", "", "show", "", "", "", "", ""}));
        QCOMPARE(StoredActions::lastText(l), QStringLiteral("2 show"));
        QCOMPARE(StoredActions::label(1, ""), QStringLiteral("1"));
        // An index whose record has since been deleted reads as none, like "-1".
        d.succeed("getLastConfig", {{"lastConfig", "1"}});
        QCOMPARE(StoredActions::lastText(StoredActions::list(d.exchange())), QStringLiteral("-"));
        // A failed exchange keeps its own words.
        l = StoredActions::list([](const QString &) { return DspExchange::Result{false, {}, "T", "gone"}; });
        QVERIFY(!l.ok);
        QCOMPARE(l.failure.message, QStringLiteral("gone"));
    }

    void saveSendsTheRunningDocumentWithDefaultAmplifierSettings()
    {
        ScriptedExchange d;
        QVERIFY(!StoredActions::save(d.exchange(), 1, "a b").ok);
        QCOMPARE(StoredActions::save(d.exchange(), 1, "a b").title, tx(Tx::ProgAdminNameFormatTitle));
        QVERIFY(d.sent.isEmpty());
        // The running document refused: nothing is stored.
        QVERIFY(!StoredActions::save(d.exchange(), 1, "ok").ok);
        QCOMPARE(d.opsSent(), QStringList{"getConfig"});

        QJsonObject running = QJsonDocument::fromJson(DspDocs::reply(DspDocs::make(2, 3)).toUtf8()).object();
        QJsonObject config = running.value("config").toObject();
        config.insert("futureMember", "x"); // what this program does not know still reaches the record
        running.insert("config", config);
        d.answers.insert("getConfig", running);
        d.succeed("saveConfig");
        QCOMPARE(StoredActions::save(d.exchange(), 6, "a-b_1").message, tx(Tx::AdminSuccess));
        const QJsonObject s = d.sentObject(d.sent.size() - 1);
        QCOMPARE(s.value("index").toString(), QStringLiteral("6"));
        QCOMPARE(s.value("inChNum").toString(), QStringLiteral("2"));
        QCOMPARE(s.value("outChNum").toString(), QStringLiteral("3"));
        QCOMPARE(s.value("defaultAmpType").toString(), QStringLiteral("0"));
        QCOMPARE(s.value("analogGainArr").toArray(), (QJsonArray{"0.0", "0.0", "0.0"}));
        QCOMPARE(s.value("aes67PhaseArr").toArray(), (QJsonArray{"0", "0", "0"}));
        QCOMPARE(s.value("config").toObject(), config);
    }

    void onlyTheLockHasWordsOfItsOwn()
    {
        ScriptedExchange d;
        d.answers.insert("loadConfig", {{"result", "fail"}, {"reason", "LOCK_UCAST_MCAST"}});
        QCOMPARE(StoredActions::load(d.exchange(), 3).message, tx(Tx::ProgDeviceLocked));
        d.answers.insert("deleteConfig", {{"result", "fail"}, {"reason", "sample rate mismatch"}});
        QCOMPARE(StoredActions::remove(d.exchange(), 4).message, tx(Tx::AdminFail));
    }

    void badFilesAndEmptyRecordsTouchNothing()
    {
        QTemporaryDir dir;
        QFile garbage(dir.filePath("bad.dcd"));
        QVERIFY(garbage.open(QIODevice::WriteOnly) && garbage.write("[1,2]") == 5);
        garbage.close();
        ScriptedExchange d;
        for (const QString &path : {garbage.fileName(), dir.filePath("missing.dcd")}) {
            const StoredActions::Outcome o = StoredActions::importFrom(d.exchange(), 0, path);
            QCOMPARE(o.message, tx(Tx::ProgStoredOpenWrong));
            QCOMPARE(o.title, tx(Tx::AdminTips));
        }
        QVERIFY(d.sent.isEmpty());
        QVERIFY(!StoredActions::exportTo(d.exchange(), 1, dir.filePath("none.dcd")).ok);
        QVERIFY(!QFile::exists(dir.filePath("none.dcd")));
    }

    void factoryResetSendsBothSpellingsAndTakesEither()
    {
        ScriptedExchange d;
        d.succeed("resetFacotry");
        QVERIFY(StoredActions::factoryReset(d.exchange()).ok);
        QCOMPARE(d.sent, (QStringList{R"({"ops":"resetFactory"})", R"({"ops":"resetFacotry"})"}));
        // Locked, knowing either spelling: the lock is said, not the unknown spelling's refusal.
        const QJsonObject locked{{"result", "fail"}, {"reason", "LOCK_UCAST_MCAST"}};
        for (const char *known : {"resetFactory", "resetFacotry"}) {
            d.answers.clear();
            d.answers.insert(known, locked);
            QCOMPARE(StoredActions::factoryReset(d.exchange()).message, tx(Tx::ProgDeviceLocked));
        }
    }
};

QTEST_GUILESS_MAIN(TstStoredActions)
#include "tst_storedactions.moc"
