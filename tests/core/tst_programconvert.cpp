// The converter of older documents: the reference file, and every way an old document can be out of shape.
#include "../support/jsonpath.h"

#include "core/dsp/cdevicedspdata.h"
#include "core/dsp/programs/programconvert.h"
#include "core/dsp/programs/programfiles.h"

#include <QtTest>

Q_DECLARE_METATYPE(Tx)

namespace {

QJsonObject programIn(const char *file)
{
    const auto bytes = ProgramFiles::readFile(QStringLiteral(CORVANE_TEST_DATA "/programs/") + file);
    const ProgramFiles::ProgramRead read = ProgramFiles::readProgram(bytes.value_or(QByteArray()));
    return read.ok() ? read.programs.first().config : QJsonObject();
}

QJsonObject changed(const QVariantList &path, const QJsonValue &value = QJsonValue::Undefined)
{
    QJsonObject doc = programIn("old.dt");
    JsonPath::set(doc, path, value);
    return doc;
}

// The first input's first block, and its obj.
const QVariantList kBlock{"nodeArr", 0, "portArr", 0, "procArr", 0};
QVariantList block(const QVariantList &rest) { return kBlock + rest; }

} // namespace

class TstProgramConvert : public QObject
{
    Q_OBJECT
private slots:
    void referenceFileConvertsToTheCommittedDocument()
    {
        const QJsonObject expected = programIn("old-current.dt");
        const ProgramConvert::Result r = ProgramConvert::toCurrent(programIn("old.dt"));
        QVERIFY(r.ok() && !expected.isEmpty());
        QCOMPARE(r.config, expected);
        // Today's reader takes it whole, and converting it again is refused as needless.
        CDeviceDspData doc;
        QVERIFY(doc.loadConfig(r.config).ok());
        QCOMPARE(doc.nodeArr.size(), 4);
        QCOMPARE(ProgramConvert::toCurrent(r.config).error, Tx::ProgNoConversionNeeded);
    }

    void versionTwoHasNoEchoCancellerAndNumbersComeOutAsTheDeviceWritesThem()
    {
        QJsonObject doc = changed({"version"}, 2); // devices of that age wrote it as a number too
        QCOMPARE(ProgramConvert::toCurrent(doc).error, Tx::ProgConvertFailed);
        JsonPath::set(doc, {"nodeArr", 1});
        JsonPath::set(doc, {"nodeArr", 0, "gainArr"}, QJsonArray{"-6.50", "1e1"});
        const ProgramConvert::Result r = ProgramConvert::toCurrent(doc);
        QVERIFY(r.ok());
        QCOMPARE(r.config["nodeArr"].toArray().size(), 3);
        QCOMPARE(JsonPath::at(r.config, {"nodeArr", 0, "portArr", 0, "gainDb"}), QJsonValue("-6.5"));
        QCOMPARE(JsonPath::at(r.config, {"nodeArr", 0, "portArr", 1, "gainDb"}), QJsonValue("10"));
    }

    void refusedWhole_data()
    {
        QTest::addColumn<QJsonObject>("doc");
        QTest::addColumn<Tx>("error");
        const Tx failed = Tx::ProgConvertFailed;
        QTest::newRow("current") << changed({"version"}, "4") << Tx::ProgNoConversionNeeded;
        QTest::newRow("no version") << changed({"version"}) << Tx::ProgWrongVersion;
        QTest::newRow("version 1") << changed({"version"}, "1") << Tx::ProgWrongVersion;
        QTest::newRow("no sampleRate") << changed({"sampleRate"}) << failed;
        QTest::newRow("two nodes") << changed({"nodeArr"}, QJsonArray{0, 0}) << failed;
        QTest::newRow("outputs not channels") << changed({"nodeArr", 3, "type"}, "3") << failed;
        QTest::newRow("no phaseArr") << changed({"nodeArr", 0, "phaseArr"}) << failed;
        QTest::newRow("gainArr short") << changed({"nodeArr", 0, "gainArr", 1}) << failed;
        QTest::newRow("gain a number") << changed({"nodeArr", 0, "gainArr", 0}, 0) << failed;
        QTest::newRow("portNum huge") << changed({"nodeArr", 0, "portNum"}, "2000000000") << failed;
        QTest::newRow("aec member") << changed({"nodeArr", 1, "portArr", 0, "hasAgc"}) << failed;
        QTest::newRow("matrix rows") << changed({"nodeArr", 2, "obj", "mixArr", 1}) << failed;
        QTest::newRow("matrix cell") << changed({"nodeArr", 2, "obj", "mixArr", 1, 0, "mute"}) << failed;
        QTest::newRow("later kind") << changed(block({"type"}), "10") << failed;
        QTest::newRow("block member") << changed(block({"obj", "gainDb"})) << failed;
        const QVariantList eq{"nodeArr", 0, "portArr", 0, "procArr", 3, "obj", "bandArr"};
        QTest::newRow("six bands") << changed(eq + QVariantList{6}) << failed;
        QTest::newRow("band of three") << changed(eq + QVariantList{2, 3}) << failed;
        QTest::newRow("fir tap a number")
            << changed({"nodeArr", 3, "portArr", 0, "procArr", 3, "obj", "arr", 0}, 0.25) << failed;
    }
    void refusedWhole()
    {
        QFETCH(QJsonObject, doc);
        QFETCH(Tx, error);
        const ProgramConvert::Result r = ProgramConvert::toCurrent(doc);
        QCOMPARE(r.error, error);
        QVERIFY(r.config.isEmpty());
    }
};

QTEST_APPLESS_MAIN(TstProgramConvert)
#include "tst_programconvert.moc"
