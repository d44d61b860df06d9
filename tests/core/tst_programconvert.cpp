// The converter of older documents: the reference file, and every way an old document can be out of shape.
#include "core/dsp/cdevicedspdata.h"
#include "core/dsp/programs/programconvert.h"
#include "core/dsp/programs/programfiles.h"

#include <QJsonArray>
#include <QtTest>

#include <functional>

namespace {

QJsonObject programIn(const char *file)
{
    const auto bytes = ProgramFiles::readFile(QStringLiteral(CORVANE_TEST_DATA "/programs/") + file);
    const ProgramFiles::ProgramRead read = ProgramFiles::readProgram(bytes.value_or(QByteArray()));
    return read.ok() ? read.programs.first().config : QJsonObject();
}

// The reference document with one change made to it; edit walks to the object to change.
using Edit = std::function<void(QJsonObject &doc)>;

QJsonObject nodeAt(const QJsonObject &doc, int i) { return doc["nodeArr"].toArray().at(i).toObject(); }
void setNode(QJsonObject &doc, int i, const QJsonObject &node)
{
    QJsonArray nodes = doc["nodeArr"].toArray();
    nodes[i] = node;
    doc["nodeArr"] = nodes;
}
// The first block of the first input channel.
void setFirstBlock(QJsonObject &doc, const QJsonObject &block)
{
    QJsonObject in = nodeAt(doc, 0);
    QJsonArray ports = in["portArr"].toArray();
    QJsonObject port = ports[0].toObject();
    QJsonArray chain = port["procArr"].toArray();
    chain[0] = block;
    port["procArr"] = chain;
    ports[0] = port;
    in["portArr"] = ports;
    setNode(doc, 0, in);
}

} // namespace

Q_DECLARE_METATYPE(Edit)
Q_DECLARE_METATYPE(Tx)

class TstProgramConvert : public QObject
{
    Q_OBJECT
private slots:
    void referenceFileConvertsToTheCommittedDocument()
    {
        const QJsonObject old = programIn("old.dt");
        const QJsonObject expected = programIn("old-current.dt");
        QVERIFY(!old.isEmpty() && !expected.isEmpty());
        QCOMPARE(ProgramFiles::versionOf(old), ProgramFiles::Version::NeedsConversion);
        const ProgramConvert::Result r = ProgramConvert::toCurrent(old);
        QVERIFY(r.ok());
        QCOMPARE(r.config, expected);
        // Today's reader takes it whole, and converting it again is refused as needless.
        CDeviceDspData doc;
        QVERIFY(doc.loadConfig(r.config).ok());
        QCOMPARE(doc.nodeArr.size(), 4);
        QCOMPARE(QJsonDocument::fromJson(doc.toJson()).object(), expected);
        QCOMPARE(ProgramConvert::toCurrent(r.config).error, Tx::ProgNoConversionNeeded);
    }

    void versionsRefusedBeforeAnyConversion_data()
    {
        QTest::addColumn<QJsonValue>("version");
        QTest::addColumn<Tx>("error");
        QTest::newRow("current") << QJsonValue("4") << Tx::ProgNoConversionNeeded;
        QTest::newRow("newer") << QJsonValue("5") << Tx::ProgWrongVersion;
        QTest::newRow("not a number") << QJsonValue("3a") << Tx::ProgWrongVersion;
        QTest::newRow("missing") << QJsonValue() << Tx::ProgWrongVersion;
        QTest::newRow("version 1") << QJsonValue("1") << Tx::ProgWrongVersion;
        QTest::newRow("version 0 as a number") << QJsonValue(0) << Tx::ProgWrongVersion;
    }
    void versionsRefusedBeforeAnyConversion()
    {
        QFETCH(QJsonValue, version);
        QFETCH(Tx, error);
        QJsonObject doc = programIn("old.dt");
        if (version.isNull())
            doc.remove("version");
        else
            doc["version"] = version;
        const ProgramConvert::Result r = ProgramConvert::toCurrent(doc);
        QCOMPARE(r.error, error);
        QVERIFY(r.config.isEmpty());
    }

    void versionTwoHasNoEchoCancellerButOtherwiseConverts()
    {
        QJsonObject doc = programIn("old.dt");
        doc["version"] = 2; // devices of that age wrote it as a number too
        QCOMPARE(ProgramConvert::toCurrent(doc).error, Tx::ProgConvertFailed);
        QJsonArray nodes = doc["nodeArr"].toArray();
        nodes.removeAt(1);
        doc["nodeArr"] = nodes;
        const ProgramConvert::Result r = ProgramConvert::toCurrent(doc);
        QVERIFY(r.ok());
        QCOMPARE(r.config["nodeArr"].toArray().size(), 3);
        QCOMPARE(r.config["version"].toString(), QString("4"));
    }

    void numbersComeOutAsTheDeviceWritesThem()
    {
        QJsonObject doc = programIn("old.dt");
        QJsonObject in = nodeAt(doc, 0);
        in["gainArr"] = QJsonArray{"-6.50", "1e1"};
        setNode(doc, 0, in);
        const ProgramConvert::Result r = ProgramConvert::toCurrent(doc);
        QVERIFY(r.ok());
        const QJsonArray ports = r.config["nodeArr"].toArray().at(0).toObject()["portArr"].toArray();
        QCOMPARE(ports.at(0).toObject()["gainDb"].toString(), QString("-6.5"));
        QCOMPARE(ports.at(1).toObject()["gainDb"].toString(), QString("10"));
    }

    void outOfShapeIsRefusedWhole_data()
    {
        QTest::addColumn<Edit>("edit");
        const auto dropFromNode = [](int node, const char *member) {
            return Edit([=](QJsonObject &d) {
                QJsonObject n = nodeAt(d, node);
                n.remove(member);
                setNode(d, node, n);
            });
        };
        QTest::newRow("no sampleRate") << Edit([](QJsonObject &d) { d.remove("sampleRate"); });
        QTest::newRow("no nodeArr") << Edit([](QJsonObject &d) { d.remove("nodeArr"); });
        QTest::newRow("two nodes") << Edit([](QJsonObject &d) {
            QJsonArray n = d["nodeArr"].toArray();
            n.removeAt(1);
            n.removeAt(1);
            d["nodeArr"] = n;
        });
        QTest::newRow("outputs not a channel node") << Edit([](QJsonObject &d) {
            QJsonObject n = nodeAt(d, 3);
            n["type"] = "3";
            setNode(d, 3, n);
        });
        QTest::newRow("no phaseArr") << dropFromNode(0, "phaseArr");
        QTest::newRow("no portNum") << dropFromNode(3, "portNum");
        QTest::newRow("gainArr short") << Edit([](QJsonObject &d) {
            QJsonObject n = nodeAt(d, 0);
            n["gainArr"] = QJsonArray{"0"};
            setNode(d, 0, n);
        });
        QTest::newRow("gain as a JSON number") << Edit([](QJsonObject &d) {
            QJsonObject n = nodeAt(d, 0);
            n["gainArr"] = QJsonArray{0, "0"};
            setNode(d, 0, n);
        });
        QTest::newRow("portNum huge") << Edit([](QJsonObject &d) {
            QJsonObject n = nodeAt(d, 0);
            n["portNum"] = "2000000000";
            setNode(d, 0, n);
        });
        QTest::newRow("aec member missing") << Edit([](QJsonObject &d) {
            QJsonObject n = nodeAt(d, 1);
            QJsonArray p = n["portArr"].toArray();
            QJsonObject port = p[0].toObject();
            port.remove("hasAgc");
            p[0] = port;
            n["portArr"] = p;
            setNode(d, 1, n);
        });
        QTest::newRow("matrix rows") << Edit([](QJsonObject &d) {
            QJsonObject n = nodeAt(d, 2);
            QJsonObject obj = n["obj"].toObject();
            QJsonArray rows = obj["mixArr"].toArray();
            rows.removeLast();
            obj["mixArr"] = rows;
            n["obj"] = obj;
            setNode(d, 2, n);
        });
        QTest::newRow("matrix cell without mute") << Edit([](QJsonObject &d) {
            QJsonObject n = nodeAt(d, 2);
            n["obj"] = QJsonObject{{"mixArr", QJsonArray{QJsonArray{QJsonObject{{"gain", "0"}}, QJsonObject{}},
                                                          QJsonArray{QJsonObject{}, QJsonObject{}}}}};
            setNode(d, 2, n);
        });
        QTest::newRow("block of a later kind") << Edit([](QJsonObject &d) {
            setFirstBlock(d, QJsonObject{{"bypass", "0"}, {"obj", QJsonObject{{"limitDb", "-3"}}}, {"type", "10"}});
        });
        QTest::newRow("block member missing") << Edit([](QJsonObject &d) {
            setFirstBlock(d, QJsonObject{{"bypass", "0"}, {"obj", QJsonObject{{"freq", "1"}, {"mode", "0"}}},
                                         {"type", "9"}});
        });
        QTest::newRow("block without bypass") << Edit([](QJsonObject &d) {
            setFirstBlock(d, QJsonObject{{"obj", QJsonObject{{"limitDb", "-3"}}}, {"type", "6"}});
        });
        QTest::newRow("six bands") << Edit([](QJsonObject &d) {
            QJsonArray bands;
            for (int i = 0; i < 6; ++i)
                bands.append(QJsonArray{"0", "100", "0", "1"});
            setFirstBlock(d, QJsonObject{{"bypass", "0"}, {"obj", QJsonObject{{"bandArr", bands}}}, {"type", "0"}});
        });
        QTest::newRow("band of three") << Edit([](QJsonObject &d) {
            QJsonArray bands;
            for (int i = 0; i < 7; ++i)
                bands.append(QJsonArray{"0", "100", "0"});
            setFirstBlock(d, QJsonObject{{"bypass", "0"}, {"obj", QJsonObject{{"bandArr", bands}}}, {"type", "0"}});
        });
        QTest::newRow("fir tap as a number") << Edit([](QJsonObject &d) {
            setFirstBlock(d, QJsonObject{{"bypass", "0"},
                                         {"obj", QJsonObject{{"arr", QJsonArray{0.5}}, {"firType", "0"},
                                                             {"freq0", "1"}, {"freq1", "2"}, {"taps", "1"},
                                                             {"winType", "0"}}},
                                         {"type", "5"}});
        });
    }
    void outOfShapeIsRefusedWhole()
    {
        QFETCH(Edit, edit);
        QJsonObject doc = programIn("old.dt");
        edit(doc);
        const ProgramConvert::Result r = ProgramConvert::toCurrent(doc);
        QCOMPARE(r.error, Tx::ProgConvertFailed);
        QVERIFY(r.config.isEmpty());
    }
};

QTEST_APPLESS_MAIN(TstProgramConvert)
#include "tst_programconvert.moc"
