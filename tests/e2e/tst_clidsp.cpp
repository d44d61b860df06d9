// corvane-cli's DSP commands against corvane-sim's virtual DSP, both child processes inside a private network
// namespace: each change is looked for afterwards in a fresh "dsp get-config", and a change the rules refuse
// leaves the device exactly as it was.
#include "../support/clirunner.h"

#include <QtTest>

namespace {

const char kDevice[] = "SIM-0006"; // 16x16: inputs, echo cancelling, automixer, matrix, outputs

CliRun cli(const QStringList &args)
{
    return CliRunner({"--interface", "127.0.0.1", "--wait", "3"}).run(args);
}

QJsonObject document()
{
    const CliRun r = cli({"--json", "dsp", "get-config", kDevice});
    if (r.code != 0)
        qWarning("dsp get-config: exit %d: %s", r.code, r.err.constData());
    return r.json.object();
}

QJsonObject node(const QJsonObject &doc, int index)
{
    const QJsonArray nodes = doc.value("nodeArr").toArray();
    return nodes.at(index < 0 ? nodes.size() + index : index).toObject();
}

QJsonObject channelOf(const QJsonObject &doc, int nodeIndex, int channel)
{
    return node(doc, nodeIndex).value("portArr").toArray().at(channel).toObject();
}

QStringList types(const QJsonObject &doc, int nodeIndex, int channel)
{
    QStringList out;
    for (const QJsonValue &b : channelOf(doc, nodeIndex, channel).value("procArr").toArray())
        out << b.toObject().value("type").toString();
    return out;
}

QJsonObject budget()
{
    const CliRun r = cli({"--json", "dsp", "budget", kDevice});
    if (r.code != 0)
        qWarning("dsp budget: exit %d: %s", r.code, r.err.constData());
    return r.json.object();
}

} // namespace

class TestCliDsp : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase();
    void badArguments_data();
    void badArguments();
    void chainChangesAreSaved();
    void refusedAddChangesNothing();
    void channelMembers();
    void matrixCells();
    void responseCurves();
    void firDesign();
    void eqTextInAndOut();
    void liveStatusFollowsTheThreshold();

private:
    Simulator m_sim;
};

void TestCliDsp::initTestCase()
{
    REQUIRE_PRIVATE_NETWORK();
    qRegisterMetaType<QProcess::ExitStatus>();
    QVERIFY2(m_sim.start(), m_sim.why());
}

void TestCliDsp::badArguments_data()
{
    QTest::addColumn<QStringList>("args");
    QTest::addColumn<QString>("message");
    const QString d = kDevice;
    QTest::newRow("side") << QStringList{"add-block", d, "left", "1", "eq"} << "the side is in or out, not \"left\"";
    QTest::newRow("channel from 1") << QStringList{"add-block", d, "in", "0", "eq"} << "CH counts from 1, not \"0\"";
    QTest::newRow("kind") << QStringList{"add-block", d, "in", "1", "reverb"} << "KIND is one of eq|";
    QTest::newRow("block") << QStringList{"remove-block", d, "out", "1", "x"} << "BLOCK counts from 1, not \"x\"";
    QTest::newRow("paste target") << QStringList{"paste-channel", d, "in", "1", "-2"} << "TO counts from 1";
    QTest::newRow("gain") << QStringList{"channel", d, "in", "1", "gain", "loud"} << "the gain is a number of dB";
    QTest::newRow("member") << QStringList{"channel", d, "in", "1", "pan", "0"} << "the channel member is gain, mute";
    QTest::newRow("cell") << QStringList{"matrix", d, "1", "1", "nan"} << "the cell takes a gain in dB, mute or unmute";
    QTest::newRow("force elsewhere") << QStringList{"--force", "channel", d, "in", "1", "mute", "on"}
                                     << "--force goes only with dsp add-block and dsp paste-channel";
    QTest::newRow("arity") << QStringList{"remove-block", d, "in", "1"} << "dsp takes remove-block DEVICE in|out CH BLOCK";
    // Known only once the document is read: still nothing is sent.
    QTest::newRow("channel range") << QStringList{"channel", d, "out", "17", "gain", "0"}
                                   << "CH: the out side has 16 channels, not 17";
    QTest::newRow("block range") << QStringList{"remove-block", d, "out", "1", "8"} << "BLOCK: out 1 has 7 blocks, not 8";
    QTest::newRow("matrix range") << QStringList{"matrix", d, "1", "17", "mute"} << "IN: the matrix has 16 inputs, not 17";
    QTest::newRow("whole elsewhere") << QStringList{"--whole", "budget", d} << "--whole and --csv go only with dsp response";
    QTest::newRow("response channel") << QStringList{"response", d, "out", "17"} << "CH: the out side has 16 channels, not 17";
    // Bad JSON given to the commands that need no device.
    QTest::newRow("chain not JSON") << QStringList{"response", "[{"} << "CHAIN is not JSON";
    QTest::newRow("chain member") << QStringList{"response", "[{\"type\":\"4\"}]"} << "CHAIN: ";
    QTest::newRow("eq file") << QStringList{"eq-import", d, "in", "2", "/nonexistent/room.txt"}
                             << "cannot read /nonexistent/room.txt";
    QTest::newRow("status of a delay") << QStringList{"status", d, "out", "1", "1"}
                                       << "BLOCK: block 1 of out 1 is delay, which has no live state";
    QTest::newRow("fir custom") << QStringList{"fir-design", "{\"firType\":\"3\",\"maxTaps\":\"2\",\"arr\":[1,2,3]}"}
                                << "OBJ: Fir taps must less then 2";
}

void TestCliDsp::badArguments()
{
    QFETCH(QStringList, args);
    QFETCH(QString, message);
    if (!args.contains("--force"))
        args.prepend("dsp");
    else
        args.insert(1, "dsp");
    const CliRun r = cli(args);
    QCOMPARE(r.code, 2);
    QVERIFY2(r.err.startsWith("corvane-cli: " + message.toUtf8()), r.err.constData());
    QVERIFY(r.out.isEmpty());
}

void TestCliDsp::chainChangesAreSaved()
{
    const QJsonObject before = budget();
    QVERIFY(before.value("cpu").isDouble() && before.value("load").isDouble());
    // The matrix term alone: 16 x 16 x 0.015625 x 6.
    QVERIFY2(before.value("load").toDouble() > 24.0, qPrintable(QString::number(before.value("load").toDouble())));
    const QStringList outDefault = types(document(), -1, 1);

    CliRun r = cli({"--force", "dsp", "add-block", kDevice, "in", "3", "compress"});
    QVERIFY2(r.code == 0, r.err.constData());
    QVERIFY2(r.out.contains("in 3: compress added as block 9; saved"), r.out.constData());
    r = cli({"--json", "dsp", "remove-block", kDevice, "out", "2", "1"});
    QVERIFY2(r.code == 0, r.err.constData());
    QCOMPARE(r.json.object().value("removed").toString(), QStringLiteral("delay"));
    r = cli({"--force", "dsp", "paste-channel", kDevice, "in", "3", "5"});
    QVERIFY2(r.code == 0, r.err.constData());

    const QJsonObject doc = document();
    const QStringList in3 = types(doc, 0, 2);
    QCOMPARE(in3.size(), 9);
    QCOMPARE(in3.last(), QStringLiteral("2"));
    QCOMPARE(types(doc, 0, 4), in3);
    QCOMPARE(types(doc, 0, 3).size(), 8);
    QCOMPARE(types(doc, -1, 1), outDefault.mid(1));
    QCOMPARE(types(doc, -1, 2), outDefault);

    const QJsonObject after = budget();
    QVERIFY2(after.value("load").toDouble() > before.value("load").toDouble(),
             QJsonDocument(after).toJson(QJsonDocument::Compact).constData());
    QVERIFY(after.value("cpu").toInt() >= before.value("cpu").toInt());
    QVERIFY(after.value("cpu").toInt() <= 99);
}

void TestCliDsp::refusedAddChangesNothing()
{
    const QJsonObject before = document();
    QVERIFY(!before.isEmpty());
    // Every input chain starts with a high-pass filter; a second one is refused, with or without --force.
    for (const QStringList &args : {QStringList{"dsp", "add-block", kDevice, "in", "2", "hpf"},
                                    QStringList{"--force", "dsp", "add-block", kDevice, "in", "2", "hpf"}}) {
        const CliRun r = cli(args);
        QCOMPARE(r.code, 1);
        QVERIFY2(r.err.contains("HPF"), r.err.constData());
        QVERIFY(r.out.isEmpty());
    }
    const CliRun self = cli({"dsp", "paste-channel", kDevice, "out", "4", "4"});
    QCOMPARE(self.code, 1);
    QCOMPARE(document(), before);
}

void TestCliDsp::channelMembers()
{
    CliRun r = cli({"--json", "dsp", "channel", kDevice, "out", "4", "gain", "-6.5"});
    QVERIFY2(r.code == 0, r.err.constData());
    QCOMPARE(r.json.object().value("gainDb").toDouble(), -6.5);
    r = cli({"dsp", "channel", kDevice, "in", "7", "mute", "on"});
    QVERIFY2(r.code == 0, r.err.constData());
    QVERIFY2(r.out.contains("in 7: gain 0 dB, mute on"), r.out.constData());
    r = cli({"dsp", "channel", kDevice, "in", "8", "group", "2"});
    QVERIFY2(r.code == 0, r.err.constData());
    // Outside the device's range: the device refuses, the window's failure text says so.
    r = cli({"dsp", "channel", kDevice, "in", "8", "gain", "40"});
    QCOMPARE(r.code, 1);
    QVERIFY2(r.err.contains("设置增益失败 (set gain failed)"), r.err.constData());

    const QJsonObject doc = document();
    QCOMPARE(channelOf(doc, -1, 3).value("gainDb").toString(), QStringLiteral("-6.5"));
    QCOMPARE(channelOf(doc, 0, 6).value("mute").toString(), QStringLiteral("1"));
    QCOMPARE(channelOf(doc, 0, 7).value("groupId").toString(), QStringLiteral("1"));
    QCOMPARE(channelOf(doc, 0, 7).value("gainDb").toString(), QStringLiteral("0"));
}

void TestCliDsp::matrixCells()
{
    CliRun r = cli({"dsp", "matrix", kDevice, "2", "5", "-3"});
    QVERIFY2(r.code == 0, r.err.constData());
    r = cli({"dsp", "matrix", kDevice, "1", "1", "mute"});
    QVERIFY2(r.code == 0, r.err.constData());

    const QJsonObject doc = document();
    const QJsonObject matrix = node(doc, 3).value("obj").toObject();
    QCOMPARE(matrix.value("gainArr")[1][4].toString(), QStringLiteral("-3"));
    QCOMPARE(matrix.value("muteArr")[1][4].toString(), QStringLiteral("0"));
    QCOMPARE(matrix.value("muteArr")[0][0].toString(), QStringLiteral("1"));

    // The printed matrix: rows outputs, columns inputs.
    r = cli({"dsp", "matrix", kDevice});
    QVERIFY2(r.code == 0, r.err.constData());
    const QList<QByteArray> lines = r.out.split('\n');
    QVERIFY(lines.size() >= 17);
    QVERIFY2(lines[1].simplified().startsWith("1 off off off"), lines[1].constData());
    QVERIFY2(lines[2].simplified().startsWith("2 off 0 off off -3 off"), lines[2].constData());
    r = cli({"--json", "dsp", "matrix", kDevice});
    QCOMPARE(r.json.object().value("gainDb")[1][4].toDouble(), -3.0);
    QCOMPARE(r.json.object().value("mute")[0][0].toBool(), true);
}

// A chain given on the command line: a +6 dB peaking band at 1 kHz and a 100 Hz Butterworth high-pass of order 2.
void TestCliDsp::responseCurves()
{
    const QString chain = R"([{"bypass":"0","core":"-1","groupId":"-1","type":"0","obj":{"bypassArr":["0"],)"
                          R"("eqArr":[{"dbGain":"6","freq0":"1000","qBwS":"1","type":"0"}]}},)"
                          R"({"bypass":"0","core":"-1","groupId":"-1","type":"4","obj":{"freq0":"100","isHpf":"1",)"
                          R"("order":"2","type":"0"}}])";
    CliRun r = cli({"--json", "dsp", "response", chain});
    QVERIFY2(r.code == 0, r.err.constData());
    const QJsonArray points = r.json.object().value("points").toArray();
    QCOMPARE(points.size(), 300);
    QCOMPARE(points.last()[0].toDouble(), 19520.0);
    QCOMPARE(points[80][0].toInt(), 100);
    QCOMPARE(points[188][0].toInt(), 1000);
    QVERIFY(std::fabs(points[188][1].toDouble() - 6.0) < 0.01);
    // The corner's -3.01 dB, with a few hundredths from the band's skirt.
    QVERIFY2(std::fabs(points[80][1].toDouble() + 3.01) < 0.05, qPrintable(QString::number(points[80][1].toDouble())));

    // The same from a file, as CSV: every line the JSON's point to four decimals.
    QTemporaryFile file;
    QVERIFY(file.open() && file.write(chain.toUtf8()) > 0);
    file.close();
    r = cli({"--csv", "dsp", "response", "@" + file.fileName()});
    QVERIFY2(r.code == 0, r.err.constData());
    const QList<QByteArray> lines = r.out.trimmed().split('\n');
    QCOMPARE(lines.size(), 301);
    QCOMPARE(lines.first(), QByteArray("freq_hz,db"));
    for (int i = 0; i < points.size(); ++i)
        QCOMPARE(lines[i + 1], QByteArray::number(points[i][0].toInt()) + ','
                                   + QByteArray::number(points[i][1].toDouble(), 'f', 4));

    r = cli({"--json", "--whole", "dsp", "response", kDevice, "out", "1"});
    QVERIFY2(r.code == 0, r.err.constData());
    QCOMPARE(r.json.object().value("points").toArray().size(), 300);
}

void TestCliDsp::firDesign()
{
    // Blackman stores its own 74 dB; a low-pass has no upper edge.
    CliRun r = cli({"--json", "dsp", "fir-design", R"({"winType":"3","attDb":"30","taps":"255","freq0":"2000"})"});
    QVERIFY2(r.code == 0, r.err.constData());
    const QJsonObject obj = r.json.object().value("obj").toObject();
    QCOMPARE(obj.value("attDb").toString(), QStringLiteral("74"));
    QCOMPARE(obj.value("freq1").toString(), QStringLiteral("20001"));
    const QJsonArray arr = obj.value("arr").toArray();
    QCOMPARE(arr.size(), 255);
    for (int i = 0; i < 127; ++i)
        QCOMPARE(arr[i].toString(), arr[254 - i].toString());
    const QJsonArray points = r.json.object().value("points").toArray();
    QCOMPARE(points.size(), 950);
    QVERIFY(std::fabs(points[100][1].toDouble()) < 0.01); // 120 Hz
    const double stop = points.last()[1].toDouble(); // in dB, not the chart's tenths
    QVERIFY2(stop < -70.0 && stop > -200.0, qPrintable(QString::number(stop)));

    // Plain: the obj alone. A band whose edges meet gets its upper edge moved up by 0.1 Hz.
    r = cli({"dsp", "fir-design", R"({"firType":"2","taps":"127","freq0":"1000","freq1":"1000"})"});
    QVERIFY2(r.code == 0, r.err.constData());
    QCOMPARE(QJsonDocument::fromJson(r.out).object().value("freq1").toString(), QStringLiteral("1000.1"));
}

void TestCliDsp::eqTextInAndOut()
{
    QTemporaryFile file;
    QVERIFY(file.open());
    file.write("Preamp: -4 dB\nFilter 1: ON PK Fc 120 Hz Gain -3,5 dB Q 1.41421356\nFilter 2: ON HP Fc 30 Hz\n"
               "Filter 3: ON HS Fc 8 kHz Gain 2 dB\n");
    file.close();
    CliRun r = cli({"dsp", "eq-import", kDevice, "in", "2", file.fileName()});
    QVERIFY2(r.code == 0, r.err.constData());
    QVERIFY2(r.out.startsWith("skipped: Line 3: filter type HP is not supported\nin 2: 2 bands imported"), r.out.constData());

    // Read back from the device: the file's bands first, the rest bypassed.
    r = cli({"dsp", "eq-export", kDevice, "in", "2"});
    QVERIFY2(r.code == 0, r.err.constData());
    const QList<QByteArray> lines = r.out.trimmed().split('\n');
    QVERIFY(lines.size() >= 3);
    QVERIFY2(lines[0].startsWith("Filter 1: ON PK Fc 120.0 Hz Gain -3.5 dB Q 1.41"), lines[0].constData());
    QCOMPARE(lines[1].trimmed(), QByteArray("Filter 2: ON HS Fc 8000.0 Hz Gain 2.0 dB")); // written with CRLF
    for (int i = 2; i < lines.size(); ++i)
        QVERIFY2(lines[i].contains(": OFF "), lines[i].constData());
}

void TestCliDsp::liveStatusFollowsTheThreshold()
{
    // The compressor of output 3 (node 4, block 5), taken out of bypass: a lower threshold reduces more.
    QCOMPARE(cli({"dsp", "bypass", kDevice, "4", "2", "4", "0"}).code, 0);
    auto reductionAt = [](const char *threshold) {
        const CliRun set = cli({"dsp", "set-block", kDevice, "4", "2", "4", QStringLiteral("{\"trigDb\":\"%1\"}").arg(threshold)});
        [&] { QVERIFY2(set.code == 0, set.err.constData()); }();
        const CliRun r = cli({"--json", "dsp", "status", kDevice, "out", "3", "5"});
        [&] { QVERIFY2(r.code == 0, r.err.constData()); }();
        return r.json.object().value("reductionDb").toDouble(1.0);
    };
    const double light = reductionAt("-10");
    const double heavy = reductionAt("-60");
    QVERIFY2(light <= 0.0 && heavy < light - 10.0, qPrintable(QStringLiteral("%1 %2").arg(light).arg(heavy)));
}

QTEST_GUILESS_MAIN(TestCliDsp)
#include "tst_clidsp.moc"
