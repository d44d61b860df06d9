#include "core/app/language.h"
#include "core/app/log.h"
#include "core/dsp/cdevicedspdata.h"
#include "core/dsp/dspcommands.h"
#include "core/dsp/dspdefaults.h"
#include "core/dsp/dspjsonwriter.h"

#include "../support/dspdocgen.h"

#include <QRandomGenerator>
#include <QTemporaryFile>
#include <QtTest>

#include <cmath>

Q_DECLARE_METATYPE(DspBlockAddress)

namespace {

using DspDocGen::reply;
using DspDocGen::text;

// The smallest usable document: one input, the matrix, one output; chains as given.
QJsonObject small(const QJsonArray &inChain = QJsonArray(), const QJsonArray &outChain = QJsonArray())
{
    using namespace DspDocGen;
    QJsonObject in = channel(0, QJsonArray());
    in.insert("procArr", inChain);
    QJsonObject out = channel(0, QJsonArray());
    out.insert("procArr", outChain);
    return QJsonObject{
        {"customStr", ""},
        {"groupArr", QJsonArray()},
        {"nodeArr",
         QJsonArray{node(0, {in}),
                    node(1, {}, {{"gainArr", QJsonArray{QJsonArray{"0"}}}, {"muteArr", QJsonArray{QJsonArray{"0"}}}}),
                    node(0, {out})}},
        {"sampleRate", "48000"},
        {"version", "4"}};
}

CDeviceDspData loaded(const QJsonObject &config)
{
    CDeviceDspData d;
    const CDeviceDspData::LoadResult r = d.loadReply(DspDocGen::reply(config));
    if (!r.ok())
        qWarning() << r.why;
    return d;
}

// Sets a member somewhere inside a document: path of object keys and array indices.
QJsonValue edited(const QJsonValue &v, const QStringList &path, const QJsonValue &value, int at = 0)
{
    if (at == path.size())
        return value;
    bool isIndex = false;
    const int i = path[at].toInt(&isIndex);
    if (isIndex) {
        QJsonArray a = v.toArray();
        a[i] = edited(a[i], path, value, at + 1);
        return a;
    }
    QJsonObject o = v.toObject();
    if (value.isUndefined() && at + 1 == path.size())
        o.remove(path[at]);
    else
        o.insert(path[at], edited(o.value(path[at]), path, value, at + 1));
    return o;
}

} // namespace

class TestDspDocument : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase();
    void roundTrip_data();
    void roundTrip();
    void unknownPartsSurvive();
    void numbers_data();
    void numbers();
    void numbersAgreeWithQt();
    void integersAndFlags_data();
    void integersAndFlags();
    void defaultChainsAndNodes();
    void badDocumentsKeepPrevious_data();
    void badDocumentsKeepPrevious();
    void commandTexts();
    void replies();
    void userBlockEdits_data();
    void userBlockEdits();
    void bypassEdits();
    void applyKeepsDocumentInStep();
};

void TestDspDocument::initTestCase()
{
    Language::setChinese(false);
}

void TestDspDocument::roundTrip_data()
{
    QTest::addColumn<QByteArray>("config");
    using namespace DspDocGen;
    QTest::newRow("smallest") << text(small());
    QTest::newRow("16x16 with echo cancelling and automixer") << text(config());
    Options bare;
    bare.echoCancel = false;
    bare.automixer = false;
    bare.inputs = 2;
    bare.outputs = 5;
    QTest::newRow("2 in, 5 out, matrix only") << text(config(bare));
}

void TestDspDocument::roundTrip()
{
    QFETCH(QByteArray, config);
    CDeviceDspData d;
    QVERIFY(d.loadReply(reply(config)).ok());
    QCOMPARE(d.toJson(), config);
    // And again from what was written.
    CDeviceDspData again;
    QVERIFY(again.loadReply(reply(d.toJson())).ok());
    QCOMPARE(again.toJson(), config);
    if (QByteArray(QTest::currentDataTag()) != "16x16 with echo cancelling and automixer")
        return;
    // Values reach the records that stand for them (a member read into the wrong field would still round-trip).
    QVERIFY(d.inChNum() == 16 && d.outChNum() == 16 && d.sampleRate == 48000);
    QCOMPARE(d.groupArr.size(), 3);
    QVERIFY(d.groupArr[1].name == "舞台 \"B\"" && d.groupArr[1].gainDb == 1.5 && d.groupArr[1].mute);
    const DspChannel &aec = d.nodeArr[1].portArr[3];
    QVERIFY(d.nodeArr[1].type == DspNode::EchoCancel && aec.hasAgc && aec.aecLevel == 1);
    QVERIFY(aec.farArr == QVector<int>{12} && aec.nearArr == QVector<int>{3});
    const DspAutomixer &mix = d.nodeArr[2].automixer;
    QVERIFY(mix.slope == 2.5 && mix.chNumLimit == 16 && mix.maskArr.count(false) == 2);
    QVERIFY(d.nodeArr[3].matrix.gainArr[0][9] == -8.75 && !d.nodeArr[3].matrix.muteArr[5][5]);
    QCOMPARE(d.block({0, 3, 2})->as<DspAec>()->banMask, 9);
    QCOMPARE(d.block({4, 1, 1})->as<DspEq>()->bands[0].type, 1);
    QCOMPARE(d.block({4, 2, 6})->as<DspFir>()->arr.size(), 127);
    QCOMPARE(d.block({4, 2, 7})->as<DspDucker>()->refCh, 2);
    QVERIFY(!d.block({4, 2, 8}) && !d.block({3, 0, 0}));
    QVERIFY(d.blockFlag({4, 16, 0}).isEmpty() && d.blockFlag({1, 0, 0}).isEmpty());
}

void TestDspDocument::unknownPartsSurvive()
{
    using namespace DspDocGen;
    // Members and types a later firmware might add, at every level, plus a commArr with content.
    QJsonObject b = block(2, dynamics(1));
    b.insert("aLater", "x");
    b.insert("zLater", QJsonArray{1, 2.5, true, QJsonValue()});
    QJsonObject obj = dynamics(1);
    obj.insert("lookAheadMs", "5");
    obj.insert("Upper", QJsonObject{{"b", "1"}, {"a", "2"}});
    b.insert("obj", obj);
    QJsonObject e = eq(1);
    QJsonArray bands = e.value("eqArr").toArray();
    QJsonObject band = bands[2].toObject();
    band.insert("slope", "12");
    bands[2] = band;
    e.insert("eqArr", bands);
    const QJsonArray chain{b, block(12, {{"anything", QJsonArray{"1", "2"}}, {"level", "3"}}), block(0, e),
                           block(-1, QJsonObject())};
    QJsonObject config = small(chain);
    QJsonArray nodes = config.value("nodeArr").toArray();
    QJsonObject in = nodes[0].toObject();
    QJsonArray ports = in.value("portArr").toArray();
    QJsonObject ch = ports[0].toObject();
    ch.insert("commArr", QJsonArray{QJsonObject{{"k", 1}}, "s", 3});
    ch.insert("label", "Mic 1");
    ports[0] = ch;
    in.insert("portArr", ports);
    in.insert("obj", QJsonObject{{"spare", "1"}});
    in.insert("éLast", "1");
    nodes[0] = in;
    nodes.insert(1, node(7, QJsonArray{QJsonObject{{"x", "1"}}, "raw"}, {{"y", QJsonArray()}}));
    config.insert("nodeArr", nodes);
    config.insert("checksum", "abc");
    QJsonValue deep("leaf"); // deeper than the writer's first stack of levels
    for (int i = 0; i < 40; ++i)
        deep = i % 2 ? QJsonValue(QJsonArray{deep, "x"}) : QJsonValue(QJsonObject{{"b", deep}, {"a", i}});
    config.insert("deep", deep);

    const QByteArray written = text(config);
    CDeviceDspData d;
    QVERIFY(d.loadReply(reply(written)).ok());
    QCOMPARE(d.toJson(), written);
    const DspBlock &unknown = d.nodeArr[0].portArr[0].procArr[1];
    QVERIFY(!unknown.isKnownType());
    QCOMPARE(d.nodeArr[0].portArr[0].procArr[0].objExtra.keys(), (QStringList{"Upper", "lookAheadMs"}));
}

void TestDspDocument::numbers_data()
{
    // Edge cases; ordinary values are compared with Qt in numbersAgreeWithQt.
    QTest::addColumn<double>("value");
    QTest::addColumn<QByteArray>("text");
    QTest::newRow("negative zero") << -0.0 << QByteArray("0");
    QTest::newRow("rounds into a million") << 999999.5 << QByteArray("1e+06");
    QTest::newRow("above a million") << 1234567.0 << QByteArray("1.23457e+06");
    QTest::newRow("not a number") << std::nan("") << QByteArray("0");
}

void TestDspDocument::numbers()
{
    QFETCH(double, value);
    QFETCH(QByteArray, text);
    QCOMPARE(DspJsonWriter::formatReal(value), text);
    QCOMPARE(DspCommands::setGain(0, 0, value),
             QString("{\"nodeId\":\"0\",\"ops\":\"setGain\",\"portIndex\":\"0\",\"uiTag\":\"dspUiTag\",\"val\":\"%1\"}")
                 .arg(QString::fromLatin1(text)));
}

void TestDspDocument::numbersAgreeWithQt()
{
    // Qt's own "%.6g" (locale-independent too) as the reference, over magnitudes a document holds and beyond.
    QRandomGenerator rng(7);
    for (int i = 0; i < 20000; ++i) {
        const double mantissa = rng.generateDouble() * 2 - 1;
        const double v = mantissa * std::pow(10.0, rng.bounded(-9, 12));
        if (v == 0)
            continue;
        QCOMPARE(DspJsonWriter::formatReal(v), QString::number(v, 'g', 6).toLatin1());
        // And what is written reads back to the same text.
        QCOMPARE(DspJsonWriter::formatReal(QByteArray(DspJsonWriter::formatReal(v)).toDouble()),
                 DspJsonWriter::formatReal(v));
    }
}

void TestDspDocument::integersAndFlags_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("flag");
    QTest::addColumn<int>("integer");
    QTest::newRow("1") << "1" << true << 1;
    QTest::newRow("0") << "0" << false << 0;
    QTest::newRow("true") << "true" << false << 0;
    QTest::newRow("empty") << "" << false << 0;
    QTest::newRow("2") << "2" << false << 2;
    QTest::newRow("-1") << "-1" << false << -1;
    QTest::newRow("real") << "1.0" << false << 0;
    QTest::newRow("largest int") << "2147483647" << false << 2147483647;
    QTest::newRow("beyond int") << "2147483648" << false << 0;
}

void TestDspDocument::integersAndFlags()
{
    QFETCH(QString, text);
    QFETCH(bool, flag);
    QFETCH(int, integer);
    using namespace DspDocGen;
    QJsonObject config = small(QJsonArray{block(1, {{"delayNum", text}, {"maxNum", "24000"}})});
    config = edited(config, {"nodeArr", "0", "portArr", "0", "mute"}, text).toObject();
    config = edited(config, {"nodeArr", "0", "portArr", "0", "procArr", "0", "bypass"}, text).toObject();
    const CDeviceDspData d = loaded(config);
    QVERIFY(d.isLoaded());
    const DspChannel &ch = d.nodeArr[0].portArr[0];
    QCOMPARE(ch.mute, flag);
    QCOMPARE(ch.procArr[0].bypass, flag);
    QCOMPARE(ch.procArr[0].as<DspDelay>()->delayNum, integer);
    // Written back in the one form of each.
    const QByteArray out = d.toJson();
    QVERIFY(out.contains(QByteArray("\"bypass\":\"") + (flag ? "1" : "0") + '"'));
    QVERIFY(out.contains("\"delayNum\":\"" + QByteArray::number(integer) + '"'));
}

void TestDspDocument::defaultChainsAndNodes()
{
    const QVector<DspBlock> chains[] = {DspDefaults::inputChain(), DspDefaults::outputChain()};
    const QByteArray texts[] = {DspDefaults::kInputChain, DspDefaults::kOutputChain};
    const QVector<int> types[] = {{9, 7, 3, 1, 0, 4, 4, 8}, {1, 0, 4, 4, 2, 6, 5}};
    for (int c = 0; c < 2; ++c) {
        QVector<int> seen;
        QByteArrayList blocks;
        for (const DspBlock &b : chains[c]) {
            seen << b.type();
            // Each block of the stored text is the block the program builds for its type.
            QCOMPARE(b.toJson(), DspDefaults::block(b.type(), seen.count(4) < 2).toJson());
            blocks << b.toJson();
            // The member names offered to users are the ones written.
            QCOMPARE(QJsonDocument::fromJson(b.objToJson()).object().keys(), DspBlock::memberNames(b.type()));
        }
        QCOMPARE(seen, types[c]);
        QCOMPARE("{\"procArr\":[" + blocks.join(',') + "]}", texts[c]);
    }
    DspNode matrix;
    matrix.type = DspNode::Matrix;
    matrix.matrix = DspDefaults::matrix(2, 3);
    QCOMPARE(DspCommands::setNodeData(3, matrix),
             QString("{\"nodeId\":\"3\",\"obj\":{\"gainArr\":[[\"0\",\"-100\",\"-100\"],[\"-100\",\"0\",\"-100\"]],"
                     "\"muteArr\":[[\"0\",\"1\",\"1\"],[\"1\",\"0\",\"1\"]]},\"ops\":\"setNodeData\","
                     "\"uiTag\":\"dspUiTag\"}"));
}

void TestDspDocument::badDocumentsKeepPrevious_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<int>("status");
    QTest::addColumn<QString>("why");
    using Load = CDeviceDspData::Load;
    const QJsonObject good = small(QJsonArray{DspDocGen::block(2, DspDocGen::dynamics(1))});
    const auto with = [&](const QStringList &path, const QJsonValue &v) {
        return reply(text(edited(good, path, v).toObject()));
    };
    QTest::newRow("not JSON") << QByteArray("{\"ops\":\"getConfig\",") << int(Load::NotJson) << QString();
    QTest::newRow("repeated member") << QByteArray("{\"ops\":\"getConfig\",\"ops\":\"getConfig\"}")
                                     << int(Load::NotJson) << QString();
    // Qt takes "a\0b" and "a\0c" for the same name (and leaks the first value), which the repeat check misses.
    QTest::newRow("NUL byte") << QByteArray("{\"ops\":\"getConfig\",\"a\0b\":\"1\",\"a\0c\":\"2\"}", 39)
                              << int(Load::NotJson) << QString();
    QTest::newRow("other reply") << QByteArray("{\"ops\":\"setGain\",\"result\":\"succ\"}") << int(Load::OtherReply)
                                 << QString();
    QTest::newRow("refused") << QByteArray("{\"ops\":\"getConfig\",\"result\":\"fail\",\"reason\":\"bad param\"}")
                             << int(Load::Refused) << QString("the device answered \"fail\" (bad param)");
    QTest::newRow("no config") << QByteArray("{\"ops\":\"getConfig\",\"result\":\"succ\"}") << int(Load::BadDocument)
                               << QString("\"config\" missing or not an object");
    QTest::newRow("nodeArr not an array")
        << with({"nodeArr"}, "3") << int(Load::BadDocument) << QString("\"nodeArr\" not an array");
    QTest::newRow("block member missing")
        << with({"nodeArr", "0", "portArr", "0", "procArr", "0", "obj", "kneeDb"}, QJsonValue::Undefined)
        << int(Load::BadDocument) << QString("nodeArr[0].portArr[0].procArr[0].obj: \"kneeDb\" missing");
    QTest::newRow("number not a string") << with({"nodeArr", "2", "portArr", "0", "gainDb"}, 0)
                                         << int(Load::BadDocument)
                                         << QString("nodeArr[2].portArr[0]: \"gainDb\" not a string");
    QTest::newRow("chain missing") << with({"nodeArr", "2", "portArr", "0", "procArr"}, QJsonValue::Undefined)
                                   << int(Load::BadDocument) << QString("nodeArr[2].portArr[0]: \"procArr\" missing");
    QTest::newRow("block not an object") << with({"nodeArr", "0", "portArr", "0", "procArr", "0"}, "x")
                                         << int(Load::BadDocument)
                                         << QString("nodeArr[0].portArr[0].procArr[0]: a block must be an object");
    QTest::newRow("portNum disagrees") << with({"nodeArr", "0", "portNum"}, "2") << int(Load::BadDocument)
                                       << QString("nodeArr[0]: \"portNum\" is 2 but \"portArr\" holds 1");
    QTest::newRow("matrix row not an array")
        << with({"nodeArr", "1", "obj", "gainArr", "0"}, "0") << int(Load::BadDocument)
        << QString("nodeArr[1].obj.gainArr[0]: not an array");
    QTest::newRow("outputs not last") << with({"nodeArr", "2", "type"}, "5") << int(Load::BadDocument)
                                      << QString("the first and the last node must be channel nodes (type 0)");
    QJsonObject e = DspDocGen::eq(1);
    e.insert("bypassArr", QJsonArray{"0"});
    QTest::newRow("equaliser arrays differ")
        << reply(text(small(QJsonArray{DspDocGen::block(0, e)}))) << int(Load::BadDocument)
        << QString("nodeArr[0].portArr[0].procArr[0].obj.eqArr: 7 bands but 1 bypass flags");
    QJsonObject two = good;
    QJsonArray nodes = two.value("nodeArr").toArray();
    nodes.removeAt(1);
    two.insert("nodeArr", nodes);
    QTest::newRow("two nodes") << reply(text(two)) << int(Load::TooFewNodes)
                               << QString("2 nodes; inputs, matrix and outputs are needed");
    QTest::newRow("group not an object") << with({"groupArr"}, QJsonArray{"x"}) << int(Load::BadDocument)
                                         << QString("groupArr[0]: a group must be an object");
}

void TestDspDocument::badDocumentsKeepPrevious()
{
    QFETCH(QByteArray, text);
    QFETCH(int, status);
    QFETCH(QString, why);
    CDeviceDspData d = loaded(DspDocGen::config());
    const QByteArray before = d.toJson();

    QTemporaryFile logFile;
    QVERIFY(logFile.open());
    FILE *log = std::fopen(qPrintable(logFile.fileName()), "w");
    Log::setOutput(log);
    const CDeviceDspData::LoadResult r = d.loadReply(text);
    Log::setOutput(stdout);
    std::fclose(log);

    QCOMPARE(int(r.status), status);
    if (!why.isEmpty())
        QCOMPARE(r.why, why);
    QCOMPARE(d.toJson(), before);
    QCOMPARE(QString::fromUtf8(logFile.readAll()), "DSP configuration not taken: " + r.why + "\n");
}

void TestDspDocument::commandTexts()
{
    using namespace DspCommands;
    DspBlock comp = DspDefaults::block(2);
    comp.as<DspCompressor>()->trigDb = -30.5;
    const DspBlockAddress at{0, 3, 2};
    QCOMPARE(blockFlag(false, 3, 2), QString("bf_in_ch_3_2"));
    QCOMPARE(blockFlag(true, 0, 6), QString("bf_out_ch_0_6"));
    QCOMPARE(getConfig(), QString("{\"ops\":\"getConfig\",\"uiTag\":\"dspUiTag\"}"));
    QCOMPARE(setBorderProc("bf_in_ch_3_2", at, comp),
             QString("{\"blockFlag\":\"bf_in_ch_3_2\",\"nodeId\":\"0\",\"obj\":{\"attackMs\":\"50\",\"kneeDb\":\"0\","
                     "\"ratio\":\"2\",\"releaseMs\":\"100\",\"trigDb\":\"-30.5\"},\"ops\":\"setBorderProc\","
                     "\"portIndex\":\"3\",\"procIndex\":\"2\",\"uiTag\":\"dspUiTag\"}"));
    QCOMPARE(setBorderProcBypass("bf_out_ch_1_4", {4, 1, 4}, true),
             QString("{\"blockFlag\":\"bf_out_ch_1_4\",\"nodeId\":\"4\",\"ops\":\"setBorderProcBypass\","
                     "\"portIndex\":\"1\",\"procIndex\":\"4\",\"uiTag\":\"dspUiTag\",\"val\":\"1\"}"));
    QCOMPARE(setBorderProcGroupIdBatch(0, 4, {0, 1, 5}, -1),
             QString("{\"groupId\":\"-1\",\"nodeId\":\"0\",\"ops\":\"setBorderProcGroupIdBatch\","
                     "\"portArr\":[\"0\",\"1\",\"5\"],\"procIndex\":\"4\",\"uiTag\":\"dspUiTag\"}"));
    const auto channelOp = [](const char *ops, int node, int port, const char *val) {
        return QString("{\"nodeId\":\"%1\",\"ops\":\"%2\",\"portIndex\":\"%3\",\"uiTag\":\"dspUiTag\",\"val\":\"%4\"}")
            .arg(node).arg(ops).arg(port).arg(val);
    };
    QCOMPARE(setInverse(0, 0, false), channelOp("setInverse", 0, 0, "0"));
    QCOMPARE(setGroupId(0, 7, 2), channelOp("setGroupId", 0, 7, "2"));
    QCOMPARE(getBorderProcStatus("bf_in_ch_3_2", at),
             QString("{\"blockFlag\":\"bf_in_ch_3_2\",\"nodeId\":\"0\",\"ops\":\"getBorderProcStatus\","
                     "\"portIndex\":\"3\",\"procIndex\":\"2\",\"uiTag\":\"dspUiTag\"}"));
    QCOMPARE(addressedTo(setMute(4, 2, true), "C0A80114-0001"),
             QString("{\"devId\":\"C0A80114-0001\",\"nodeId\":\"4\",\"ops\":\"setMute\",\"portIndex\":\"2\","
                     "\"uiTag\":\"dspUiTag\",\"val\":\"1\"}"));

    const QByteArray limiter = DspDefaults::block(6).toJson();
    QCOMPARE(setConfig({{DspDefaults::block(6)}, {}}, {{}}, 0),
             QString("{\"inArr\":[{\"procArr\":[" + limiter +
                     "]},{\"procArr\":[]}],\"index\":\"0\","
                     "\"ops\":\"setConfig\",\"outArr\":[{\"procArr\":[]}],\"uiTag\":\"dspUiTag\"}"));
    // From a document: one element per input and per output, in channel order.
    const CDeviceDspData d = loaded(DspDocGen::config());
    const QJsonObject sent = QJsonDocument::fromJson(setConfig(d).toUtf8()).object();
    QCOMPARE(sent.value("inArr").toArray().size(), 16);
    QCOMPARE(sent.value("outArr").toArray().size(), 16);
    QCOMPARE(text(sent.value("outArr").toArray()[15].toObject()),
             "{\"procArr\":" + text(QJsonObject{{"a", DspDocGen::outputChain(15, 127)}}).mid(5));
}

void TestDspDocument::replies()
{
    using namespace DspCommands;
    const auto failed = [](const char *ops) {
        return readReply(QString("{\"ops\":\"%1\",\"result\":\"fail\",\"reason\":\"bad param\"}").arg(ops));
    };
    // Which catalogue text answers which refusal; the texts themselves are the catalogue's.
    const QList<QPair<const char *, Tx>> texts{{"setBorderProc", Tx::DspSetFailed}, {"setBorderProcBypass", Tx::DspSetBypassFailed},
        {"setGain", Tx::DspSetGainFailed}, {"setMute", Tx::DspSetMuteFailed}, {"setInverse", Tx::DspSetInverseFailed},
        {"setGroupId", Tx::DspSetFailedRetry}, {"setBorderProcGroupIdBatch", Tx::DspLinkFailed}};
    for (const auto &t : texts)
        QVERIFY2(failed(t.first).failureText == t.second, t.first);
    QVERIFY(!failed("getBorderProcStatus").failureText);
    QCOMPARE(failed("setGain").reason, QString("bad param"));
    QCOMPARE(groupLinkText(true, true), Tx::DspLinked);
    QCOMPARE(groupLinkText(true, false), Tx::DspUnlinked);
    QCOMPARE(groupLinkText(false, true), Tx::DspLinkFailed);

    const Reply ok = readReply(QString("{\"blockFlag\":\"bf_in_ch_0_1\",\"ops\":\"setBorderProcBypass\","
                                       "\"result\":\"succ\",\"uiTag\":\"dspUiTag\",\"val\":\"1\"}"));
    QVERIFY(ok.valid && ok.succeeded && !ok.failureText);
    QCOMPARE(ok.blockFlag, QString("bf_in_ch_0_1"));
    QCOMPARE(*ok.val, 1.0);
    const Reply gain =
        readReply(QString("{\"obj\":{\"gain\":\"0.5\"},\"ops\":\"getBorderProcStatus\",\"result\":\"succ\"}"));
    QCOMPARE(*gain.gain, 0.5);
    QVERIFY(!gain.isOpen);
    const Reply gate =
        readReply(QString("{\"obj\":{\"isOpen\":\"1\"},\"ops\":\"getBorderProcStatus\",\"result\":\"succ\"}"));
    QVERIFY(*gate.isOpen && !gate.gain);
    QVERIFY(!readReply(QString("not json")).valid);
    QVERIFY(!readReply(QString("{\"result\":\"succ\"}")).valid);
}

void TestDspDocument::userBlockEdits_data()
{
    QTest::addColumn<DspBlockAddress>("at");
    QTest::addColumn<QString>("params");
    QTest::addColumn<QString>("error");
    QTest::addColumn<QString>("obj"); // of the request, when accepted
    // Generated document: input 0 chain 9,7,3,1,0,4,4,8; input 1 has the echo canceller at 2.
    const DspBlockAddress gate{0, 0, 1};
    const DspBlockAddress eq{0, 0, 4};
    QTest::newRow("one member, string") << gate << "{\"trigDb\":\"-60.5\"}" << QString()
                                        << "{\"closeMs\":\"0\",\"openMs\":\"10\",\"trigDb\":\"-60.5\"}";
    QTest::newRow("JSON numbers") << gate << "{\"openMs\":25,\"closeMs\":1e2}" << QString()
                                  << "{\"closeMs\":\"100\",\"openMs\":\"25\",\"trigDb\":\"-90\"}";
    QTest::newRow("nothing") << gate << "{}" << QString() << "{\"closeMs\":\"0\",\"openMs\":\"10\",\"trigDb\":\"-90\"}";
    QTest::newRow("unknown member") << gate << "{\"trigDb\":\"-60\",\"ratio\":\"2\"}"
                                    << "\"ratio\" is not a parameter of the noise gate. Its parameters: closeMs, "
                                       "openMs, trigDb."
                                    << QString();
    QTest::newRow("not a number") << gate << "{\"trigDb\":\"loud\"}"
                                  << "\"trigDb\" must be a number." << QString();
    QTest::newRow("infinite") << gate << "{\"trigDb\":\"inf\"}"
                              << "\"trigDb\" must be a number." << QString();
    QTest::newRow("not whole") << DspBlockAddress{0, 0, 3} << "{\"delayNum\":\"4.5\"}"
                               << "\"delayNum\" must be a whole number." << QString();
    QTest::newRow("flag out of range") << DspBlockAddress{0, 1, 2} << "{\"hasAgc\":\"2\"}"
                                       << "\"hasAgc\" must be 0 or 1." << QString();
    QTest::newRow("flag as JSON true") << DspBlockAddress{0, 1, 2} << "{\"hasAgc\":true,\"farCh\":\"3\"}" << QString()
                                       << "{\"aecLevel\":\"1\",\"ansLevel\":\"2\",\"banMask\":\"3\",\"farCh\":\"3\","
                                          "\"farFromOut\":\"1\",\"hasAec\":\"1\",\"hasAgc\":\"1\",\"hasAns\":\"1\"}";
    QTest::newRow("not an object") << gate << "[1]" << QString(tx(Tx::DspParamsNotObject)) << QString();
    QTest::newRow("repeated name") << gate << "{\"trigDb\":\"-1\",\"trigDb\":\"-2\"}"
                                   << QString(tx(Tx::DspParamsNotObject)) << QString();
    QTest::newRow("no such block") << DspBlockAddress{0, 0, 8} << "{}"
                                   << "There is no block at node 0, channel 0, position 8." << QString();
    QTest::newRow("matrix holds no blocks") << DspBlockAddress{3, 0, 0} << "{}"
                                            << "There is no block at node 3, channel 0, position 0." << QString();
    QTest::newRow("band arrays keep their length") << eq << "{\"bypassArr\":[\"1\"]}"
                                                   << "\"bypassArr\" must hold 7 elements." << QString();
    QTest::newRow("unknown band member") << eq << "{\"eqArr\":[{},{},{\"gain\":\"1\"},{},{},{},{}]}"
                                         << "\"eqArr[2].gain\" is not a parameter of the equaliser band. Its "
                                            "parameters: dbGain, freq0, qBwS, type."
                                         << QString();
    QTest::newRow("band value checked") << eq << "{\"eqArr\":[{},{},{},{},{},{\"freq0\":\"x\"},{}]}"
                                        << "\"eqArr[5].freq0\" must be a number." << QString();
    QTest::newRow("FIR coefficients") << DspBlockAddress{4, 0, 6} << "{\"arr\":[\"0.5\",-0.25,\"x\"]}"
                                      << "\"arr[2]\" must be a number." << QString();
}

void TestDspDocument::userBlockEdits()
{
    QFETCH(DspBlockAddress, at);
    QFETCH(QString, params);
    QFETCH(QString, error);
    QFETCH(QString, obj);
    static const CDeviceDspData d = loaded(DspDocGen::config());
    const DspCommands::Edit e = DspCommands::planSetBlock(d, at, params);
    QCOMPARE(e.error, error);
    if (!e.ok()) {
        QVERIFY(e.command.isEmpty());
        return;
    }
    QCOMPARE(QString::fromUtf8(e.block.objToJson()), obj);
    QCOMPARE(e.command, DspCommands::setBorderProc(d.blockFlag(at), at, e.block));
}

void TestDspDocument::bypassEdits()
{
    const CDeviceDspData d = loaded(DspDocGen::config());
    const DspCommands::Edit on = DspCommands::planBypass(d, {4, 2, 5}, " 1");
    QVERIFY(on.ok());
    QVERIFY(on.block.bypass);
    QCOMPARE(on.command, DspCommands::setBorderProcBypass("bf_out_ch_2_5", {4, 2, 5}, true));
    QCOMPARE(DspCommands::planBypass(d, {4, 2, 5}, "yes").error, tx(Tx::DspBypassValue));
    QCOMPARE(DspCommands::planBypass(d, {2, 0, 0}, "1").error, tx(Tx::DspNoSuchBlock).arg(2).arg(0).arg(0));
    // Parameters of a type this program does not know are refused, not guessed.
    CDeviceDspData u = loaded(small(QJsonArray{DspDocGen::block(12, {{"x", "1"}})}));
    QCOMPARE(DspCommands::planSetBlock(u, {0, 0, 0}, "{\"x\":\"2\"}").error, tx(Tx::DspUnknownBlockType).arg(12));
    QVERIFY(DspCommands::planBypass(u, {0, 0, 0}, "0").ok());
}

void TestDspDocument::applyKeepsDocumentInStep()
{
    CDeviceDspData d = loaded(DspDocGen::config());
    using namespace DspCommands;
    QString why;
    QVERIFY(d.apply(planSetBlock(d, {0, 0, 1}, "{\"trigDb\":\"-50\"}").command, &why));
    QCOMPARE(d.block({0, 0, 1})->as<DspGate>()->trigDb, -50.0);
    // A partial obj changes only what it names, as on the device.
    QVERIFY(d.apply(QString("{\"blockFlag\":\"bf_in_ch_0_4\",\"nodeId\":\"0\",\"obj\":{\"eqArr\":[{},{},{},"
                            "{\"dbGain\":\"-3.5\"},{},{},{}]},\"ops\":\"setBorderProc\",\"portIndex\":\"0\","
                            "\"procIndex\":\"4\",\"uiTag\":\"dspUiTag\"}"),
                    &why));
    const DspEq *eq = d.block({0, 0, 4})->as<DspEq>();
    QCOMPARE(eq->bands[3].dbGain, -3.5f);
    QCOMPARE(eq->bands[3].freq0, 672.0);
    // One band as the editor sends it, and its bypass.
    DspEqBand band = eq->bands[5];
    band.freq0 = 5000.0;
    band.bypass = !band.bypass; // not a member of the band's request
    QVERIFY(d.apply(setBorderEq("bf_in_ch_0_4", {0, 0, 4}, 5, band), &why));
    QVERIFY(d.apply(setBorderEqBypass("bf_in_ch_0_4", {0, 0, 4}, 6, true), &why));
    QCOMPARE(eq->bands[5].freq0, 5000.0);
    QCOMPARE(eq->bands[3].dbGain, -3.5f);
    QVERIFY(eq->bands[6].bypass);
    QCOMPARE(eq->bands[5].bypass, !band.bypass);
    QVERIFY(!d.apply(setBorderEqBypass("bf_in_ch_0_4", {0, 0, 4}, 7, true), &why));
    QVERIFY(d.apply(setBorderProcBypass("bf_out_ch_3_0", {4, 3, 0}, false), &why));
    QVERIFY(!d.block({4, 3, 0})->bypass);
    QVERIFY(d.apply(setBorderProcGroupIdBatch(0, 5, {1, 2}, 2), &why));
    QCOMPARE(d.block({0, 1, 5})->groupId, 2);
    QCOMPARE(d.block({0, 2, 5})->groupId, 2);
    QVERIFY(d.apply(setGain(4, 0, -7.25), &why));
    QCOMPARE(d.channel(4, 0)->gainDb, -7.25);
    QVERIFY(d.apply(setMute(2, 1, true), &why));
    QVERIFY(d.channel(2, 1)->mute);
    QVERIFY(d.apply(setInverse(0, 3, false), &why));
    QVERIFY(!d.channel(0, 3)->inverse);
    QVERIFY(d.apply(setGroupId(0, 3, 1), &why));
    QCOMPARE(d.channel(0, 3)->groupId, 1);
    QVERIFY(d.apply(QString("{\"nodeId\":\"3\",\"obj\":{\"gainArr\":[[\"-1\"]]},\"ops\":\"setNodeData\"}"), &why));
    QCOMPARE(d.nodeArr[3].matrix.gainArr, (QVector<QVector<double>>{{-1.0}}));
    QCOMPARE(d.nodeArr[3].matrix.muteArr.size(), 16);
    QVERIFY(d.apply(QString("{\"nodeId\":\"2\",\"obj\":{\"slope\":\"3\"},\"ops\":\"setNodeData\"}"), &why));
    QCOMPARE(d.nodeArr[2].automixer.slope, 3.0);
    // What the device took stays in the document even where this program does not know the member.
    QVERIFY(d.apply(QString("{\"nodeId\":\"4\",\"obj\":{\"limitDb\":\"-6\",\"lookAheadMs\":\"2\"},"
                            "\"ops\":\"setBorderProc\",\"portIndex\":\"0\",\"procIndex\":\"5\"}"),
                    &why));
    QCOMPARE(d.block({4, 0, 5})->objToJson(), QByteArray("{\"limitDb\":\"-6\",\"lookAheadMs\":\"2\"}"));

    // Requests that do not fit change nothing.
    const QByteArray before = d.toJson();
    QVERIFY(!d.apply(setGroupId(0, 16, 1), &why));
    QCOMPARE(why, QString("Node 0 has no channel 16."));
    QVERIFY(!d.apply(setBorderProcGroupIdBatch(0, 5, {1, 99}, 0), &why));
    QCOMPARE(why, QString("There is no block at node 0, channel 99, position 5."));
    QVERIFY(!d.apply(QString("{\"nodeId\":\"0\",\"ops\":\"setMute\",\"portIndex\":\"0\",\"val\":\"true\"}"), &why));
    QCOMPARE(why, QString("\"val\" must be 0 or 1."));
    QVERIFY(!d.apply(QString("{\"nodeId\":\"3\",\"obj\":\"x\",\"ops\":\"setNodeData\"}"), &why));
    QVERIFY(!d.apply(QString("{\"nodeId\":\"9\",\"ops\":\"setGain\",\"portIndex\":\"0\",\"val\":\"1\"}"), &why));
    QVERIFY(!d.apply(getConfig(), &why));
    QCOMPARE(d.toJson(), before);
}

QTEST_GUILESS_MAIN(TestDspDocument)
#include "tst_dspdocument.moc"
