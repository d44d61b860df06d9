// Programs and stored configurations: the pages' rules, the files on the PC, the export-all collector and the
// requests, without widgets or a device.
#include "core/app/atomicfile.h"
#include "core/dsp/programs/channelprograms.h"
#include "core/dsp/programs/programactions.h"
#include "core/dsp/programs/programcommands.h"
#include "core/dsp/programs/programexport.h"
#include "core/dsp/programs/programfiles.h"
#include "core/dsp/programs/programrules.h"

#include "../support/programstore.h"

#include <QJsonDocument>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QtTest>

using namespace ProgramRules;
using ProgramFiles::Version;

namespace {

QJsonObject doc(const QString &version) { return QJsonObject{{"nodeArr", QJsonArray{}}, {"version", version}}; }

QJsonObject reply(const QString &name, const QString &subTag = "exportAll", const QString &result = "succ")
{
    return QJsonObject{{"ops", "getConfigByName"}, {"name", name}, {"subTag", subTag}, {"result", result},
                       {"config", doc(name == "b" ? "3" : "4")}};
}

struct Bench
{
    DspDocs::RecordingSink sink;
    DspController controller{&sink};
    ProgramActions actions{&controller};
    ProgramStore store;
    ProgramActions::Outcome last;
    int calls = 0;

    /// Runs one operation to its end; the outcome is in last.
    void run(const std::function<void(ProgramActions::Done)> &start)
    {
        store.ops.clear();
        calls = 0;
        start([this](const ProgramActions::Outcome &o) {
            last = o;
            ++calls;
        });
        store.pump(sink, controller);
    }
    QString result() const { return calls == 1 ? last.text : QStringLiteral("done called %1 times").arg(calls); }
};

} // namespace

class TstPrograms : public QObject
{
    Q_OBJECT
private slots:
    void nameRuleWithEachPagesMessages()
    {
        const QString forty(40, QLatin1Char('x'));
        QCOMPARE(nameError(forty, Page::Program), std::nullopt);
        QCOMPARE(nameError("a-b_1", Page::Program), std::nullopt);
        QCOMPARE(nameError(forty + "x", Page::Program), Tx::ProgNameTooLong);
        QCOMPARE(nameError("", Page::Program), Tx::ProgNameEmpty);
        QCOMPARE(nameError("a b", Page::Program), Tx::ProgNameBadChars);
        // Letters outside ASCII are not letters here, whatever a \w would say.
        QCOMPARE(nameError(QString::fromUtf8("caf\xc3\xa9"), Page::Program), Tx::ProgNameBadChars);
        QCOMPARE(nameError("a\nb", Page::Program), Tx::ProgNameBadChars);
        QCOMPARE(nameError(forty + "x", Page::Admin), Tx::ProgAdminNameTooLong);
        QCOMPARE(nameError("", Page::Admin), Tx::ProgAdminNameEmpty);
        QCOMPARE(nameError("a.b", Page::Admin), Tx::ProgAdminNameFormat);
    }

    void slotZeroInUseAndExportChoices()
    {
        const QStringList names{"Default", "live", "", "show"};
        QCOMPARE(slotLabel(0, "Default"), tx(Tx::ProgSlotDefault));
        QCOMPARE(slotLabel(3, "show"), QStringLiteral("3 show"));
        QCOMPARE(refuseChange(0), Tx::ProgDefaultNoChange);
        QCOMPARE(refuseChange(1), std::nullopt);
        QCOMPARE(refuseDelete(0, names, "show"), Tx::ProgDefaultNoDelete);
        QCOMPARE(refuseDelete(3, names, "show"), Tx::ProgInUseNoDelete);
        QCOMPARE(refuseDelete(1, names, "show"), std::nullopt);
        QCOMPARE(refuseExport(-1, names), Tx::ProgExportNoSlot);
        QCOMPARE(refuseExport(0, names), Tx::ProgDefaultNoExport);
        QCOMPARE(refuseExport(2, names), Tx::ProgExportEmptySlot);
        QCOMPARE(refuseExport(9, names), Tx::ProgExportEmptySlot);
        QCOMPARE(refuseExport(3, names), std::nullopt);

        QCOMPARE(refuseExportAll({"Default", "", ""}), Tx::ProgExportAllNone);
        QCOMPARE(refuseExportAll({"Default"}), Tx::ProgExportAllNone);
        QCOMPARE(exportableNames(names + QStringList{"live"}), (QStringList{"live", "show"}));
    }

    void programFileReadsBackAndRefuses()
    {
        const ProgramFiles::Program p{"live", doc("4"), Version::Current};
        const QByteArray text = ProgramFiles::writeProgram(p);
        QVERIFY(!text.contains('\n'));
        const ProgramFiles::ProgramRead r = ProgramFiles::readProgram(text);
        QVERIFY(r.ok());
        QCOMPARE(r.programs.size(), 1);
        QCOMPARE(r.programs[0].name, p.name);
        QCOMPARE(r.programs[0].config, p.config);
        QCOMPARE(r.programs[0].version, Version::Current);
        QVERIFY(ProgramFiles::readProgram("\xEF\xBB\xBF" + text).ok());

        QCOMPARE(ProgramFiles::readProgram("{\"name\":").error, Tx::ProgFileParseError);
        QCOMPARE(ProgramFiles::readProgram("[" + text + "]").error, Tx::ProgFileParseError);
        QCOMPARE(ProgramFiles::readProgram("{\"name\":\"a\",\"name\":\"b\",\"config\":{}}").error,
                 Tx::ProgFileParseError);
        // Qt compares member names only up to a NUL byte: these two names would be one.
        QCOMPARE(ProgramFiles::readProgram(QByteArray("{\"name\":\"a\",\"config\":{\"a\0b\":\"1\",\"a\0c\":\"2\"}}", 43)).error,
                 Tx::ProgFileParseError);
        QCOMPARE(ProgramFiles::readProgram("{\"name\":\"a\"}").error, Tx::ProgFileNotProgram);
        QCOMPARE(ProgramFiles::readProgram("{\"name\":1,\"config\":{}}").error, Tx::ProgFileNotProgram);
        QCOMPARE(ProgramFiles::readProgram("{\"name\":\"a\",\"config\":[]}").error, Tx::ProgFileNotProgram);
    }

    void programListAndStoredConfig()
    {
        const QVector<ProgramFiles::Program> two{{"a", doc("4"), Version::Current}, {"b", doc("2"), {}}};
        const ProgramFiles::ProgramRead r = ProgramFiles::readProgramList(ProgramFiles::writeProgramList(two));
        QVERIFY(r.ok());
        QCOMPARE(r.programs.size(), 2);
        QCOMPARE(r.programs[1].name, QStringLiteral("b"));
        QCOMPARE(r.programs[1].version, Version::NeedsConversion);
        QCOMPARE(ProgramFiles::readProgramList("[]").error, Tx::ProgListEmpty);
        QCOMPARE(ProgramFiles::readProgramList("{}").error, Tx::ProgFileParseError);
        const ProgramFiles::ProgramRead bad = ProgramFiles::readProgramList("[{\"name\":\"a\",\"config\":{}},3]");
        QCOMPARE(bad.error, Tx::ProgListElementBad);
        QVERIFY(bad.programs.isEmpty());

        // A stored configuration goes back to the device as it stood, members the program does not know too.
        const QByteArray stored = "{\"amp\":[\"1\"],\"nodeArr\":[],\"version\":\"4\"}";
        const ProgramFiles::StoredRead s = ProgramFiles::readStoredConfig(stored);
        QVERIFY(s.ok());
        QCOMPARE(s.version, Version::Current);
        QCOMPARE(ProgramFiles::writeStoredConfig(s.config), stored);
        QCOMPARE(ProgramFiles::readStoredConfig("[]").error, Tx::ProgStoredOpenWrong);
        QCOMPARE(ProgramFiles::readStoredConfig("").error, Tx::ProgStoredOpenWrong);
        // Qt writes this member name back as "": it would not export as it came in.
        QCOMPARE(ProgramFiles::readStoredConfig("{\"\xEF\xBB\xBF\":\"0\"}").error, Tx::ProgStoredOpenWrong);
    }

    void versionRule()
    {
        QCOMPARE(ProgramFiles::versionOf(doc("4")), Version::Current);
        QCOMPARE(ProgramFiles::versionOf(QJsonObject{{"version", 4}}), Version::Current);
        QCOMPARE(ProgramFiles::versionOf(doc("3")), Version::NeedsConversion);
        // "10" sorts before "4" as text: the version is compared as a number.
        QCOMPARE(ProgramFiles::versionOf(doc("10")), Version::Unknown);
        QCOMPARE(ProgramFiles::versionOf(doc("5")), Version::Unknown);
        QCOMPARE(ProgramFiles::versionOf(doc("4.5")), Version::Unknown);
        QCOMPARE(ProgramFiles::versionOf(QJsonObject{}), Version::Unknown);
        QCOMPARE(ProgramFiles::conversionRefusal(Version::Current), Tx::ProgNoConversionNeeded);
        QCOMPARE(ProgramFiles::conversionRefusal(Version::Unknown), Tx::ProgWrongVersion);
        QCOMPARE(ProgramFiles::conversionRefusal(Version::NeedsConversion), std::nullopt);
    }

    void exportAllCollectsEachProgramOnce()
    {
        ProgramExport e({"a", "b"});
        QCOMPARE(e.requests().value(1),
                 QStringLiteral("{\"name\":\"b\",\"ops\":\"getConfigByName\",\"subTag\":\"exportAll\","
                                "\"uiTag\":\"dspUiTag\"}"));
        QCOMPARE(e.take(reply("b")), ProgramExport::Take::Taken);
        QCOMPARE(e.take(reply("b")), ProgramExport::Take::Ignored);
        QCOMPARE(e.take(reply("c")), ProgramExport::Take::Ignored);
        QCOMPARE(e.take(reply("a", "convert")), ProgramExport::Take::Ignored);
        QVERIFY(!e.complete());
        QVERIFY(e.dtlText().isEmpty());
        QCOMPARE(e.take(QString::fromUtf8(QJsonDocument(reply("a")).toJson())), ProgramExport::Take::Taken);
        QVERIFY(e.complete());
        const ProgramFiles::ProgramRead back = ProgramFiles::readProgramList(e.dtlText());
        QCOMPARE(back.programs.size(), 2);
        QCOMPARE(back.programs[0].name, QStringLiteral("a"));
        QCOMPARE(back.programs[1].config, doc("3"));

        ProgramExport refused({"a"});
        QCOMPARE(refused.take(reply("a", "exportAll", "fail")), ProgramExport::Take::Failed);
        QVERIFY(!refused.complete());
    }

    void requests()
    {
        QCOMPARE(ProgramCommands::resetFactory(),
                 (QStringList{"{\"ops\":\"resetFactory\"}", "{\"ops\":\"resetFacotry\"}"}));
        QCOMPARE(ProgramCommands::deleteFile("a", true),
                 QStringLiteral("{\"isUser\":\"1\",\"name\":\"a\",\"ops\":\"deleteFile\",\"uiTag\":\"dspUiTag\"}"));
        ProgramCommands::StoredConfig s;
        s.index = 2;
        s.inChNum = 8;
        const QJsonObject save = QJsonDocument::fromJson(ProgramCommands::saveConfig(s).toUtf8()).object();
        QCOMPARE(save.value("index"), QJsonValue("2"));
        QCOMPARE(save.value("inChNum"), QJsonValue("8"));
        QCOMPARE(save.value("ops"), QJsonValue("saveConfig"));
        QVERIFY(!ProgramCommands::saveConfigToFile("a", {}).contains("subTag"));
    }

    void atomicWriteReplacesWholeOrNothing()
    {
        QTemporaryDir dir;
        const QString path = dir.filePath("p.dt");
        QVERIFY(ProgramFiles::saveFile(path, "a much longer first version"));
        QVERIFY(ProgramFiles::saveFile(path, "short"));
        QCOMPARE(ProgramFiles::readFile(path).value_or("?"), QByteArray("short"));

        // A folder where the file should go: refused with a reason, and the folder keeps what it held.
        QVERIFY(QDir(dir.path()).mkpath("in-the-way"));
        QVERIFY(ProgramFiles::saveFile(dir.filePath("in-the-way/kept"), "kept"));
        QString why;
        QVERIFY(!AtomicFile::write(dir.filePath("in-the-way"), "new", &why));
        QVERIFY(!why.isEmpty());
        QCOMPARE(ProgramFiles::readFile(dir.filePath("in-the-way/kept")).value_or("?"), QByteArray("kept"));
        QVERIFY(!ProgramFiles::readFile(dir.filePath("in-the-way")));
        QVERIFY(!ProgramFiles::saveFile(dir.filePath("missing/p.dt"), "x"));
        QVERIFY(QStringList(QDir(dir.path()).entryList(QDir::Files)) == QStringList{"p.dt"});
    }

    // ---------------------------------------------------------------- the page's sequencing against a store

    void saveLoadDeleteInTheDevicesOrder()
    {
        Bench b;
        b.store.seed("old", ProgramStore::doc("3"));
        b.store.seed("rate96", ProgramStore::doc("4", "96000"));
        b.run([&](auto d) { b.actions.refresh(d); });
        QVERIFY(b.last.ok);
        QCOMPARE(b.actions.names().mid(0, 4), (QStringList{"default", "old", "rate96", ""}));

        // Refusals go before anything is sent.
        b.run([&](auto d) { b.actions.save(0, "x", d); });
        QCOMPARE(b.result(), tx(Tx::ProgDefaultNoChange));
        b.run([&](auto d) { b.actions.save(3, "a b", d); });
        QCOMPARE(b.result(), tx(Tx::ProgNameBadChars));
        b.run([&](auto d) { b.actions.save(-1, "default", d); });
        QCOMPARE(b.result(), tx(Tx::ProgDefaultNoChange));
        QVERIFY(b.store.ops.isEmpty());

        // A new program takes the first empty slot and is in use; saved over, the slot takes the new name.
        b.run([&](auto d) { b.actions.save(-1, "a-b_1", d); });
        QCOMPARE(b.result(), tx(Tx::ProgSaveOk));
        QCOMPARE(b.store.ops, (QStringList{"saveToFile", "getConfigNameArr", "getDefaultFile"}));
        QCOMPARE(b.actions.names().at(3), QStringLiteral("a-b_1"));
        QCOMPARE(b.actions.inUse(), QStringLiteral("a-b_1"));
        b.run([&](auto d) { b.actions.save(3, "live", d); });
        QCOMPARE(b.actions.names().at(3), QStringLiteral("live"));
        QCOMPARE(b.actions.slotOf("a-b_1"), -1);

        // Load: the program is read first; an old one is refused without asking the device to load it.
        b.run([&](auto d) { b.actions.load(1, d); });
        QCOMPARE(b.result(), tx(Tx::ProgLoadOldVersion));
        QVERIFY(b.last.tips);
        QCOMPARE(b.store.ops, QStringList{"getConfigByName:load"});
        b.run([&](auto d) { b.actions.load(2, d); });
        QCOMPARE(b.last.text + " / " + b.last.detail, tx(Tx::ProgLoadFail) + " / " + tx(Tx::ProgLoadCheckRate));
        QCOMPARE(b.actions.inUse(), QStringLiteral("live"));
        b.run([&](auto d) { b.actions.load(0, d); });
        QCOMPARE(b.result(), tx(Tx::ProgLoadOk));
        // The running configuration changed: the document is read again.
        QCOMPARE(b.store.ops, (QStringList{"loadFromFactory", "getConfig", "getConfigNameArr", "getDefaultFile"}));
        QCOMPARE(b.actions.inUse(), QStringLiteral("default"));
        b.run([&](auto d) { b.actions.load(4, d); });
        QCOMPARE(b.result(), tx(Tx::ProgEmptySlotLoad));

        // Delete: never slot 0 or the program in use.
        b.run([&](auto d) { b.actions.load(3, d); });
        QCOMPARE(b.actions.inUse(), QStringLiteral("live"));
        b.run([&](auto d) { b.actions.remove(3, d); });
        QCOMPARE(b.result(), tx(Tx::ProgInUseNoDelete));
        b.run([&](auto d) { b.actions.remove(0, d); });
        QCOMPARE(b.result(), tx(Tx::ProgDefaultNoDelete));
        b.run([&](auto d) { b.actions.remove(2, d); });
        QCOMPARE(b.result(), tx(Tx::ProgDeleteOk));
        QCOMPARE(b.actions.names().at(2), QString());

        // The lock is the one refusal told apart from the others.
        b.store.locked = true;
        b.run([&](auto d) { b.actions.remove(1, d); });
        QCOMPARE(b.result(), tx(Tx::ProgDeviceLocked));
        b.run([&](auto d) { b.actions.save(-1, "x", d); });
        QCOMPARE(b.result(), tx(Tx::ProgDeviceLocked));
    }

    void fullDeviceAndFailedListing()
    {
        Bench b;
        for (int i = 1; i < 16; ++i)
            b.store.seed(QStringLiteral("p%1").arg(i), ProgramStore::doc("4"));
        b.run([&](auto d) { b.actions.refresh(d); });
        b.run([&](auto d) { b.actions.save(-1, "new", d); });
        QCOMPARE(b.result(), tx(Tx::ProgNoFreeSlot));
        QVERIFY(b.store.ops.isEmpty());
        b.run([&](auto d) { b.actions.save(-1, "p7", d); }); // a name already there is saved over
        QCOMPARE(b.result(), tx(Tx::ProgSaveOk));

        b.store.inUseFails = true;
        b.run([&](auto d) { b.actions.refresh(d); });
        QCOMPARE(b.result(), tx(Tx::ProgInUseFailed));
        b.store.listFails = true;
        b.run([&](auto d) { b.actions.refresh(d); });
        QCOMPARE(b.result(), tx(Tx::ProgListFailed));
    }

    void exportAndImportThroughFiles()
    {
        QTemporaryDir dir;
        Bench b;
        b.run([&](auto d) { b.actions.refresh(d); });
        b.run([&](auto d) { b.actions.exportAll(dir.filePath("all.dtl"), d); });
        QCOMPARE(b.result(), tx(Tx::ProgExportAllNone));
        QVERIFY(b.store.ops.isEmpty() && !QFile::exists(dir.filePath("all.dtl")));

        b.store.seed("a", ProgramStore::doc("4"));
        b.store.seed("b", ProgramStore::doc("3"));
        b.run([&](auto d) { b.actions.refresh(d); });
        b.run([&](auto d) { b.actions.exportOne(0, dir.filePath("x.dt"), d); });
        QCOMPARE(b.result(), tx(Tx::ProgDefaultNoExport));
        b.run([&](auto d) { b.actions.exportOne(2, dir.filePath("b.dt"), d); });
        QCOMPARE(b.result(), tx(Tx::ProgExportOk));
        const ProgramFiles::ProgramRead one = ProgramFiles::readProgram(*ProgramFiles::readFile(dir.filePath("b.dt")));
        QCOMPARE(one.programs.value(0).name, QStringLiteral("b"));
        QCOMPARE(one.programs.value(0).config, ProgramStore::doc("3"));

        QSignalSpy progress(&b.actions, &ProgramActions::signal_exportProgress);
        b.run([&](auto d) { b.actions.exportAll(dir.filePath("all.dtl"), d); });
        QCOMPARE(b.result(), tx(Tx::ProgExportOk));
        QCOMPARE(b.store.ops, (QStringList{"getConfigByName:exportAll", "getConfigByName:exportAll"}));
        QCOMPARE(progress.size(), 3);
        QCOMPARE(progress.last(), (QVariantList{2, 2}));
        const ProgramFiles::ProgramRead all = ProgramFiles::readProgramList(*ProgramFiles::readFile(dir.filePath("all.dtl")));
        QCOMPARE(all.programs.size(), 2);

        // A refusal halfway writes nothing.
        b.store.docs.remove("b");
        b.run([&](auto d) { b.actions.exportAll(dir.filePath("half.dtl"), d); });
        QVERIFY(!b.last.ok);
        QVERIFY(!QFile::exists(dir.filePath("half.dtl")));

        // Import one: the slot's refusal and the question come before the file.
        QCOMPARE(b.actions.beforeImport(0, false).value(0).text, tx(Tx::ProgDefaultNoChange));
        QCOMPARE(b.actions.beforeImport(-1, false).value(0).text, tx(Tx::ProgChooseSlot));
        QCOMPARE(b.actions.beforeImport(1, false).value(0).kind, PlanStep::Confirm);
        QCOMPARE(b.actions.beforeImport(1, false).value(0).text, tx(Tx::ProgImportOverwrite));
        QCOMPARE(b.actions.planImport(1, std::nullopt).steps.value(0).text, tx(Tx::ProgFileOpenError));

        // The file's program takes the selected slot's name.
        const QByteArray file = ProgramFiles::writeProgram({"elsewhere", ProgramStore::doc("4", "44100"), Version::Current});
        ProgramActions::ImportPlan plan = b.actions.planImport(1, file);
        QVERIFY(plan.steps.isEmpty());
        b.run([&](auto d) { b.actions.import(plan, d); });
        QCOMPARE(b.result(), tx(Tx::ProgImportOk));
        QCOMPARE(b.store.ops.value(0), QStringLiteral("saveConfigToFile"));
        QCOMPARE(b.store.docs.value("a"), ProgramStore::doc("4", "44100"));
        // An empty slot takes the name given, else the file's.
        QCOMPARE(b.actions.planImport(5, file, "given").programs.value(0).name, QStringLiteral("given"));
        QCOMPARE(b.actions.planImport(5, file).programs.value(0).name, QStringLiteral("elsewhere"));

        // An old one is converted only after a "yes".
        const QByteArray old = ProgramFiles::writeProgram({"o", ProgramStore::doc("3"), Version::NeedsConversion});
        plan = b.actions.planImport(5, old);
        QCOMPARE(plan.steps.value(0).kind, PlanStep::Confirm);
        QCOMPARE(plan.steps.value(0).text, tx(Tx::ProgAskConvert));
        QVERIFY(plan.refused() ? plan.steps.last().text == tx(Tx::ProgConvertError)
                               : ProgramFiles::versionOf(plan.programs.value(0).config) == Version::Current);

        // Import all: each under its own name, tagged; a locked device is said so.
        plan = b.actions.planImportAll(ProgramFiles::writeProgramList(
            {{"x1", ProgramStore::doc("4"), Version::Current}, {"x2", ProgramStore::doc("4"), Version::Current}}));
        QVERIFY(plan.steps.isEmpty());
        b.run([&](auto d) { b.actions.import(plan, d); });
        QCOMPARE(b.result(), tx(Tx::ProgImportOk));
        QCOMPARE(b.store.ops.mid(0, 2), (QStringList{"saveConfigToFile:importAll", "saveConfigToFile:importAll"}));
        QVERIFY(b.actions.slotOf("x1") > 0 && b.actions.slotOf("x2") > 0);
        QCOMPARE(b.actions.planImportAll(ProgramFiles::writeProgramList({{"default", ProgramStore::doc("4"), Version::Current}}))
                     .steps.value(0)
                     .text,
                 tx(Tx::ProgListElementBad));
        b.store.locked = true;
        b.run([&](auto d) { b.actions.import(plan, d); });
        QCOMPARE(b.result(), tx(Tx::ProgDeviceLocked));
    }

    void convertAStoredProgram()
    {
        Bench b;
        b.store.seed("new", ProgramStore::doc("4"));
        b.store.seed("future", ProgramStore::doc("7"));
        b.store.seed("old", ProgramStore::doc("3"));
        b.run([&](auto d) { b.actions.refresh(d); });
        b.run([&](auto d) { b.actions.convert(1, d); });
        QCOMPARE(b.result(), tx(Tx::ProgNoConversionNeeded));
        QCOMPARE(b.store.ops, QStringList{"getConfigByName:convert"});
        b.run([&](auto d) { b.actions.convert(2, d); });
        QCOMPARE(b.result(), tx(Tx::ProgWrongVersion));
        QVERIFY(b.last.tips);
        b.run([&](auto d) { b.actions.convert(3, d); });
        // Written back under its own name only when the converter took it.
        QCOMPARE(b.store.ops.contains("saveConfigToFile"), b.last.ok);
        QCOMPARE(ProgramFiles::versionOf(b.store.docs.value("old")) == Version::Current, b.last.ok);
    }

    void channelProgramsKeepTheChainAndPasteLikeACopy()
    {
        QTemporaryDir dir;
        QVector<DspBlock> chain = DspDefaults::inputChain();
        chain.first().bypass = false;
        QVERIFY(ChannelPrograms::save(dir.filePath("sub"), {"vocal", DspSide::In, chain}, nullptr));
        QVERIFY(ProgramFiles::saveFile(dir.filePath("sub/junk.json"), "{\"name\":1}"));
        const QVector<ChannelPrograms::Program> found = ChannelPrograms::list(dir.filePath("sub"));
        QCOMPARE(found.size(), 1);
        QCOMPARE(found.first().name, QStringLiteral("vocal"));
        QCOMPARE(found.first().chain.size(), chain.size());
        QCOMPARE(found.first().chain.first().toJson(), chain.first().toJson());
        QVERIFY(!ChannelPrograms::read("{\"name\":\"x\",\"procArr\":[],\"side\":\"up\"}"));

        DspDocs::RecordingSink sink;
        DspController c(&sink);
        c.setDevice("DEV-1", "RK1616D");
        c.requestConfig();
        c.handleTcpReply(DspDocs::reply(DspDocs::make(2, 2)));
        QVERIFY(!c.pasteChain(DspSide::In, -1, found.first().chain, DspSide::Out, 0).isEmpty());
        QVERIFY(c.pasteChain(DspSide::In, -1, found.first().chain, DspSide::In, 1).isEmpty());
        QCOMPARE(c.chain(DspSide::In, 1).size(), chain.size());
        c.undo();
        QVERIFY(c.chain(DspSide::In, 1).isEmpty());
    }
};

QTEST_GUILESS_MAIN(TstPrograms)
#include "tst_programs.moc"
