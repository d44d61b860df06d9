// Programs and stored configurations: the pages' rules, the files on the PC, the export-all collector and the
// requests, without widgets or a device.
#include "core/app/atomicfile.h"
#include "core/dsp/programs/programcommands.h"
#include "core/dsp/programs/programexport.h"
#include "core/dsp/programs/programfiles.h"
#include "core/dsp/programs/programrules.h"

#include <QJsonDocument>
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
};

QTEST_GUILESS_MAIN(TstPrograms)
#include "tst_programs.moc"
