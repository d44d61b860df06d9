// The virtual devices' signal processor (the configuration document, its
// changes over the TCP link and UDP, the lock, the link's framing) and the
// fault flags of devices and links that no end-to-end suite uses, all seen
// from plain sockets as the program would see them. The delayed link, the
// link dropped on accept, silent, gone and hot devices run end to end.
#include "simpeer.h"

#include <QElapsedTimer>
#include <QJsonArray>
#include <QJsonDocument>
#include <QTcpSocket>
#include <QtEndian>
#include <QtTest>
#include <QRegularExpression>

namespace {

const QString succ = QStringLiteral("succ");
const char *const m16 = "127.0.0.2"; // RK1616D: inputs, AEC, automixer, matrix, outputs
const char *const p4 = "127.0.0.3";  // RK0404D at 96 kHz
const char *const b8 = "127.0.0.4";  // RK0808D, DSP by its model code alone
const char *const n8 = "127.0.0.5";  // RK0808: no signal processor
const char *const fSplit = "127.0.0.6";
const char *const fDrop = "127.0.0.7";
const char *const fLoss = "127.0.0.8";
const char *const fSlow = "127.0.0.9";
const char *const fRefuse = "127.0.0.10";
const char *const fGarbage = "127.0.0.11";
const char *const fBig = "127.0.0.12";
const char *const a8 = "127.0.0.13"; // RK0808D whose AEC and automixer nodes come and go

const QByteArray kScenario = R"({"devices":[
    {"devId":"M16","model":"RK1616D","phyChNumRx":16,"phyChNumTx":16},
    {"devId":"P4","model":"RK0404D","phyChNumRx":4,"phyChNumTx":4,"sampleRate":96000},
    {"devId":"B8","model":"RK0808D"},
    {"devId":"N8","model":"RK0808"},
    {"devId":"FS","model":"RK0404D","faults":{"dspSplit":3}},
    {"devId":"FX","model":"RK0404D","faults":{"dspDropPercent":100}},
    {"devId":"LOSS","model":"RK0808","faults":{"lossPercent":100}},
    {"devId":"SLOW","model":"RK0808","faults":{"delayMs":300}},
    {"devId":"REF","model":"RK0808","faults":{"refuse":{"setDevName":"busy","setUcastRx":"no free sdpId"}}},
    {"devId":"MAL","model":"RK0808","faults":{"malformedPercent":100}},
    {"devId":"BIG","model":"RK0808","faults":{"oversizePercent":100}},
    {"devId":"A8","model":"RK0808D"}]})";

QJsonObject parse(const QByteArray &json)
{
    return QJsonDocument::fromJson(json).object();
}

QByteArray configBytes(const char *address)
{
    DspClient c(address);
    c.write(dspFrame(R"({"ops":"getConfig","uiTag":"dspUiTag"})"));
    QByteArray payload;
    return c.next(&payload) ? payload : QByteArray();
}

QJsonObject config(const char *address)
{
    return parse(configBytes(address)).value("config").toObject();
}

// Every changed leaf of \a b against \a a, by its path ("nodeArr/0/portArr/3/gainDb").
void diff(const QJsonValue &a, const QJsonValue &b, const QString &path, QJsonObject *out)
{
    if (a.isObject() && b.isObject()) {
        QStringList keys = a.toObject().keys() + b.toObject().keys();
        keys.removeDuplicates();
        for (const QString &k : keys)
            diff(a.toObject().value(k), b.toObject().value(k), path.isEmpty() ? k : path + '/' + k, out);
    } else if (a.isArray() && b.isArray() && a.toArray().size() == b.toArray().size()) {
        for (int i = 0; i < a.toArray().size(); ++i)
            diff(a.toArray().at(i), b.toArray().at(i), path + '/' + QString::number(i), out);
    } else if (a != b) {
        // A member gone reads as null: an undefined value would not be kept.
        out->insert(path, b.isUndefined() ? QJsonValue(QJsonValue::Null) : b);
    }
}

QStringList types(const QJsonArray &items)
{
    QStringList t;
    for (const QJsonValue &b : items)
        t << b.toObject().value("type").toString();
    return t;
}

} // namespace

class TestSimDsp : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase();
    void cleanupTestCase();
    void documentFollowsTheModel_data();
    void documentFollowsTheModel();
    void changesTouchExactlyTheirTarget_data();
    void changesTouchExactlyTheirTarget();
    void matrixCell_data();
    void matrixCell();
    void equaliserBands_data();
    void equaliserBands();
    void echoAndAutomixerChannelCounts();
    void microphoneInputs();
    void lockRefusesChangesNotReads_data();
    void lockRefusesChangesNotReads();
    void onlyProcessorsAnswer();
    void framingOnTheLink();
    void linkFaults();
    void rebootDropsTheLinkKeepsTheDocument();
    void linkFollowsANewAddress();
    void repliesLostDelayedRefusedBrokenOrOversized();

private:
    std::unique_ptr<SimNetwork> m_net;
    std::unique_ptr<SimPeer> m_peer;
};

void TestSimDsp::initTestCase()
{
    m_net = startNetwork(scenarioOf(kScenario));
    QCOMPARE(m_net->devices().size(), 12);
    m_peer = std::make_unique<SimPeer>(true);
    QVERIFY(m_peer->isReady());
}

void TestSimDsp::cleanupTestCase()
{
    m_peer.reset();
    m_net.reset();
}

void TestSimDsp::documentFollowsTheModel_data()
{
    QTest::addColumn<QString>("address");
    QTest::addColumn<QStringList>("nodeTypes");
    QTest::addColumn<int>("channels");
    QTest::addColumn<QString>("sampleRate");
    QTest::newRow("RK1616D") << m16 << QStringList{"0", "2", "3", "1", "0"} << 16 << "48000";
    QTest::newRow("RK0404D") << p4 << QStringList{"0", "1", "0"} << 4 << "96000";
    QTest::newRow("RK0808D") << b8 << QStringList{"0", "1", "0"} << 8 << "48000";
}

void TestSimDsp::documentFollowsTheModel()
{
    QFETCH(QString, address);
    QFETCH(QStringList, nodeTypes);
    QFETCH(int, channels);
    const QByteArray bytes = configBytes(qPrintable(address));
    const QJsonObject reply = parse(bytes);
    QCOMPARE(reply.value("result").toString(), succ);
    QCOMPARE(reply.value("uiTag").toString(), QStringLiteral("dspUiTag"));
    QVERIFY(!reply.contains("devId"));
    // Compact, members sorted: exactly what Qt writes for the same object.
    QCOMPARE(bytes, QJsonDocument(reply).toJson(QJsonDocument::Compact));
    // Every scalar is text: no number, flag or null follows a colon, a bracket or a comma.
    QVERIFY(!QRegularExpression(R"([:\[,](-?\d|true|false|null))").match(bytes).hasMatch());
    const QJsonObject cfg = reply.value("config").toObject();
    QCOMPARE(cfg.value("version").toString(), QStringLiteral("4"));
    QTEST(cfg.value("sampleRate").toString(), "sampleRate");
    const QJsonArray nodes = cfg.value("nodeArr").toArray();
    QCOMPARE(types(nodes), nodeTypes);
    for (const QJsonValue &n : nodes)
        QCOMPARE(n.toObject().value("portNum").toString(),
                 QString::number(n.toObject().value("portArr").toArray().size()));
    // The default chains, every block bypassed.
    const QStringList inChain{"9", "7", "3", "1", "0", "4", "4", "8"};
    const QStringList outChain{"1", "0", "4", "4", "2", "6", "5"};
    for (const bool input : {true, false}) {
        const QJsonArray ports = (input ? nodes.first() : nodes.last()).toObject().value("portArr").toArray();
        QCOMPARE(ports.size(), channels);
        for (const QJsonValue &p : ports) {
            const QJsonArray procs = p.toObject().value("procArr").toArray();
            QCOMPARE(types(procs), input ? inChain : outChain);
            for (const QJsonValue &b : procs)
                QCOMPARE(b.toObject().value("bypass").toString(), QStringLiteral("1"));
        }
    }
    // The matrix starts as the identity.
    const QJsonObject matrix = nodes.at(nodes.size() - 2).toObject().value("obj").toObject();
    QCOMPARE(matrix.value("gainArr").toArray().size(), channels);
    QCOMPARE(matrix.value("muteArr").toArray().at(1).toArray().at(1).toString(), QStringLiteral("0"));
    QCOMPARE(matrix.value("muteArr").toArray().at(1).toArray().at(0).toString(), QStringLiteral("1"));
}

void TestSimDsp::changesTouchExactlyTheirTarget_data()
{
    QTest::addColumn<bool>("udp");
    QTest::addColumn<QByteArray>("request");
    QTest::addColumn<QByteArray>("changes");
    QTest::newRow("bypass over UDP")
        << true
        << QByteArray(R"({"ops":"setBorderProcBypass","uiTag":"dspUiTag","blockFlag":"bf_out_ch_15_6","nodeId":"4",)"
                      R"("portIndex":"15","procIndex":"6","val":"0"})")
        << QByteArray(R"({"nodeArr/4/portArr/15/procArr/6/bypass":"0"})");
    QTest::newRow("link three equalisers")
        << false
        << QByteArray(R"({"ops":"setBorderProcGroupIdBatch","uiTag":"dspUiTag","nodeId":"0","procIndex":"4",)"
                      R"("portArr":["1","2","3"],"groupId":"5"})")
        << QByteArray(R"({"nodeArr/0/portArr/1/procArr/4/groupId":"5","nodeArr/0/portArr/2/procArr/4/groupId":"5",)"
                      R"("nodeArr/0/portArr/3/procArr/4/groupId":"5"})");
    QTest::newRow("input gain, shortest form")
        << false << QByteArray(R"({"ops":"setGain","uiTag":"dspUiTag","nodeId":"0","portIndex":"3","val":"-12.250"})")
        << QByteArray(R"({"nodeArr/0/portArr/3/gainDb":"-12.25"})");
    QTest::newRow("echo-cancellation near end not an input: nothing")
        << false << QByteArray(R"({"ops":"setAecChannel","nodeId":"1","portIndex":"2","obj":{"nearArr":["16"]}})")
        << QByteArray("{}");
    QTest::newRow("block out of range: nothing")
        << false
        << QByteArray(R"({"ops":"setBorderProcBypass","nodeId":"0","portIndex":"0","procIndex":"8","val":"0"})")
        << QByteArray("{}");
}

void TestSimDsp::changesTouchExactlyTheirTarget()
{
    QFETCH(bool, udp);
    QFETCH(QByteArray, request);
    QFETCH(QByteArray, changes);
    const QJsonObject before = config(m16);
    const QJsonObject reply = udp ? m_peer->request(m16, 8999, request) : DspClient(m16).ask(request);
    const bool expectChange = changes != "{}";
    QCOMPARE(reply.value("result").toString(), expectChange ? succ : QStringLiteral("fail"));
    if (!expectChange)
        QCOMPARE(reply.value("reason").toString(), QStringLiteral("bad param"));
    QCOMPARE(reply.value("blockFlag"), parse(request).value("blockFlag"));
    QJsonObject changed;
    diff(before, config(m16), QString(), &changed);
    QCOMPARE(changed, parse(changes));
}

void TestSimDsp::matrixCell_data()
{
    QTest::addColumn<bool>("udp");
    QTest::addColumn<QByteArray>("cell");
    QTest::addColumn<QByteArray>("changes");
    const QByteArray none = "{}";
    QTest::newRow("over the link, shortest form")
        << false << QByteArray(R"("nodeId":"3","outIndex":"2","inIndex":"5","gainDb":"-6.50","mute":"0")")
        << QByteArray(R"({"nodeArr/3/obj/gainArr/2/5":"-6.5","nodeArr/3/obj/muteArr/2/5":"0"})");
    QTest::newRow("by datagram, muted")
        << true << QByteArray(R"("nodeId":"3","outIndex":"15","inIndex":"15","gainDb":"12","mute":"1")")
        << QByteArray(R"({"nodeArr/3/obj/gainArr/15/15":"12","nodeArr/3/obj/muteArr/15/15":"1"})");
    QTest::newRow("not the matrix") << false
                                    << QByteArray(
                                           R"("nodeId":"2","outIndex":"0","inIndex":"0","gainDb":"0","mute":"0")")
                                    << none;
    QTest::newRow("no such output") << false
                                    << QByteArray(
                                           R"("nodeId":"3","outIndex":"16","inIndex":"0","gainDb":"0","mute":"0")")
                                    << none;
    QTest::newRow("no such input") << true
                                   << QByteArray(
                                          R"("nodeId":"3","outIndex":"0","inIndex":"-1","gainDb":"0","mute":"0")")
                                   << none;
    QTest::newRow("gain above 12") << false
                                   << QByteArray(
                                          R"("nodeId":"3","outIndex":"0","inIndex":"0","gainDb":"12.1","mute":"0")")
                                   << none;
    QTest::newRow("mute not a flag") << false
                                     << QByteArray(
                                            R"("nodeId":"3","outIndex":"0","inIndex":"0","gainDb":"0","mute":"2")")
                                     << none;
}

void TestSimDsp::matrixCell()
{
    QFETCH(bool, udp);
    QFETCH(QByteArray, cell);
    QFETCH(QByteArray, changes);
    const QByteArray request = R"({"ops":"setMatrixCell","uiTag":"dspUiTag",)" + cell + "}";
    const QJsonObject before = config(m16);
    const QString outcome = udp ? m_peer->outcome(m16, 8999, request)
                                : DspClient(m16).ask(request).value(changes == "{}" ? "reason" : "result").toString();
    QCOMPARE(outcome, changes == "{}" ? QStringLiteral("bad param") : succ);
    QJsonObject changed;
    diff(before, config(m16), QString(), &changed);
    QCOMPARE(changed, parse(changes));
}

void TestSimDsp::equaliserBands_data()
{
    QTest::addColumn<bool>("udp");
    QTest::addColumn<QByteArray>("request");
    QTest::addColumn<QByteArray>("changes");
    const QByteArray none = "{}";
    const QByteArray inEq = R"("blockFlag":"bf_in_ch_2_4","nodeId":"0","portIndex":"2","procIndex":"4",)";
    const QByteArray outEq = R"("blockFlag":"bf_out_ch_15_1","nodeId":"4","portIndex":"15","procIndex":"1",)";
    QTest::newRow("values over the link, members not sent kept")
        << false
        << QByteArray(R"("ops":"setBorderEq",)" + inEq + R"("eqIndex":"2","obj":{"dbGain":"-3.50","freq0":"250"})")
        << QByteArray(R"({"nodeArr/0/portArr/2/procArr/4/obj/eqArr/2/dbGain":"-3.5",)"
                      R"("nodeArr/0/portArr/2/procArr/4/obj/eqArr/2/freq0":"250"})");
    QTest::newRow("bypass by datagram")
        << true << QByteArray(R"("ops":"setBorderEqBypass",)" + outEq + R"("eqIndex":"6","val":"1")")
        << QByteArray(R"({"nodeArr/4/portArr/15/procArr/1/obj/bypassArr/6":"1"})");
    QTest::newRow("not an equaliser")
        << false
        << QByteArray(R"("ops":"setBorderEq","nodeId":"0","portIndex":"2","procIndex":"5","eqIndex":"0",)"
                      R"("obj":{"dbGain":"1"})")
        << none;
    QTest::newRow("band out of range")
        << true << QByteArray(R"("ops":"setBorderEqBypass",)" + outEq + R"("eqIndex":"7","val":"1")") << none;
    QTest::newRow("no such block")
        << false
        << QByteArray(R"("ops":"setBorderEq","nodeId":"0","portIndex":"2","procIndex":"8","eqIndex":"0",)"
                      R"("obj":{"dbGain":"1"})")
        << none;
    QTest::newRow("gain not a number")
        << false << QByteArray(R"("ops":"setBorderEq",)" + inEq + R"("eqIndex":"0","obj":{"dbGain":"loud"})") << none;
    QTest::newRow("member of no band")
        << true << QByteArray(R"("ops":"setBorderEq",)" + inEq + R"("eqIndex":"0","obj":{"slope":"1"})") << none;
    QTest::newRow("bypass not a flag")
        << false << QByteArray(R"("ops":"setBorderEqBypass",)" + inEq + R"("eqIndex":"0","val":"2")") << none;
}

void TestSimDsp::equaliserBands()
{
    QFETCH(bool, udp);
    QFETCH(QByteArray, request);
    QFETCH(QByteArray, changes);
    const QByteArray json = R"({"uiTag":"dspUiTag",)" + request + "}";
    const QJsonObject before = config(m16);
    const QString outcome = udp ? m_peer->outcome(m16, 8999, json)
                                : DspClient(m16).ask(json).value(changes == "{}" ? "reason" : "result").toString();
    QCOMPARE(outcome, changes == "{}" ? QStringLiteral("bad param") : succ);
    QJsonObject changed;
    diff(before, config(m16), QString(), &changed);
    QCOMPARE(changed, parse(changes));
}

void TestSimDsp::echoAndAutomixerChannelCounts()
{
    DspClient c(a8);
    const auto nodes = [] { return config(a8).value("nodeArr").toArray(); };
    // The chains as they are, with the counts riding along.
    const auto setConfig = [&](const char *aec, const char *mix) {
        QJsonObject req{{"ops", "setConfig"}, {"uiTag", "dspUiTag"}, {"index", "0"}};
        for (const char *side : {"inArr", "outArr"}) {
            const QJsonObject node = (qstrcmp(side, "inArr") ? nodes().last() : nodes().first()).toObject();
            QJsonArray chains;
            for (const QJsonValue &p : node.value("portArr").toArray())
                chains.append(QJsonObject{{"procArr", p.toObject().value("procArr")}});
            req.insert(side, chains);
        }
        if (aec)
            req.insert("aecChNum", aec);
        if (mix)
            req.insert("autoMixerChNum", mix);
        const QJsonObject r = c.ask(QJsonDocument(req).toJson(QJsonDocument::Compact));
        return r.value("result") == QJsonValue("succ") ? QString("succ") : r.value("reason").toString();
    };
    QCOMPARE(types(nodes()), (QStringList{"0", "1", "0"}));
    QCOMPARE(setConfig("3", "2"), succ);
    QJsonArray n = nodes();
    QCOMPARE(types(n), (QStringList{"0", "2", "3", "1", "0"}));
    const QJsonArray aecPorts = n.at(1).toObject().value("portArr").toArray();
    QCOMPARE(aecPorts.size(), 3);
    QCOMPARE(aecPorts.at(2).toObject().value("nearArr"), QJsonValue(QJsonArray{"2"}));
    QJsonObject mix = n.at(2).toObject().value("obj").toObject();
    QCOMPARE(mix.value("chNumLimit"), QJsonValue("2"));
    QCOMPARE(mix.value("maskArr"), QJsonValue(QJsonArray{"1", "1"}));
    // Channels that stay keep their settings; the matrix and outputs moved up by two.
    QCOMPARE(c.ask(R"({"ops":"setGain","nodeId":"2","portIndex":"1","val":"-3"})").value("result"), QJsonValue(succ));
    QCOMPARE(c.ask(R"({"ops":"setMatrixCell","nodeId":"3","outIndex":"0","inIndex":"1","gainDb":"-3","mute":"0"})")
                 .value("result"),
             QJsonValue(succ));
    QCOMPARE(setConfig(nullptr, "5"), succ);
    n = nodes();
    QCOMPARE(types(n), (QStringList{"0", "2", "3", "1", "0"}));
    QCOMPARE(n.at(2).toObject().value("portArr").toArray().at(1).toObject().value("gainDb"), QJsonValue("-3"));
    QCOMPARE(n.at(2).toObject().value("portNum"), QJsonValue("5"));
    QCOMPARE(n.at(2).toObject().value("obj").toObject().value("maskArr").toArray().size(), 5);
    // Refused whole: more channels than inputs, or not a count.
    for (const char *bad : {"9", "-1", "two"}) {
        QCOMPARE(setConfig(bad, "1"), QStringLiteral("bad param"));
        QCOMPARE(nodes(), n);
    }
    QCOMPARE(setConfig("0", "1"), succ);
    n = nodes();
    QCOMPARE(types(n), (QStringList{"0", "3", "1", "0"}));
    mix = n.at(1).toObject().value("obj").toObject();
    QCOMPARE(mix.value("chNumLimit"), QJsonValue("1"));
    QCOMPARE(mix.value("maskArr"), QJsonValue(QJsonArray{"1"}));
}

void TestSimDsp::microphoneInputs()
{
    const QByteArray get = R"({"ops":"getMicConfig","uiTag":"dspUiTag"})";
    const QJsonArray defaults = DspClient(b8).ask(get).value("arr").toArray();
    QCOMPARE(defaults.size(), 8);
    for (const QJsonValue &input : defaults)
        QCOMPARE(input.toObject(), parse(R"({"gainDb":"0","phantom":"0"})"));
    const auto set = [this](const QByteArray &members) {
        return m_peer->request(b8, 8999, R"({"ops":"setMicConfig","uiTag":"dspUiTag",)" + members + "}");
    };
    const QJsonObject r = set(R"("portIndex":"1","gainDb":"60","phantom":"1")");
    QCOMPARE(r.value("result"), QJsonValue(succ));
    QCOMPARE(r.value("gainDb"), QJsonValue("60"));
    // Left out, a member keeps its value.
    QCOMPARE(set(R"("portIndex":"1","gainDb":"60")").value("phantom"), QJsonValue("1"));
    QCOMPARE(DspClient(b8).ask(get).value("arr").toArray().at(1).toObject(), parse(R"({"gainDb":"60","phantom":"1"})"));
    // Sixty dB more drives even the quietest programme to the top.
    const QJsonArray levels = m_peer->request(b8, 8999, R"({"ops":"getVolumeDbBatchIn"})").value("arr").toArray();
    QCOMPARE(levels.at(1), QJsonValue("-0.5"));
    QVERIFY(levels.at(0).toString().toDouble() < -6);
    for (const char *bad :
         {R"("portIndex":"8","gainDb":"0")", R"("portIndex":"0","gainDb":"61")", R"("portIndex":"0","gainDb":"-1")",
          R"("portIndex":"0","gainDb":"10.5")", R"("portIndex":"0","phantom":"2")", R"("portIndex":"0")"})
        QCOMPARE(set(bad).value("reason"), QJsonValue("bad param"));
    QCOMPARE(DspClient(b8).ask(get).value("arr").toArray().at(0).toObject(), defaults.at(0).toObject());
}

void TestSimDsp::lockRefusesChangesNotReads_data()
{
    QTest::addColumn<QByteArray>("mask");
    QTest::addColumn<QString>("level");
    QTest::newRow("locked") << QByteArray("0x1f") << "1";
    QTest::newRow("locked and hidden") << QByteArray("0x1001f") << "2";
    QTest::newRow("read-only") << QByteArray("0x1") << "3";
}

void TestSimDsp::lockRefusesChangesNotReads()
{
    QFETCH(QByteArray, mask);
    QFETCH(QString, level);
    const QByteArray gain = R"({"ops":"setGain","uiTag":"dspUiTag","nodeId":"0","portIndex":"9","val":"-9"})";
    const QByteArray before = configBytes(m16);
    auto lock = [](const QByteArray &val) {
        return R"({"ops":"setLock","uiTag":"dspUiTag","password":"123456","val":")" + val + "\"}";
    };
    QCOMPARE(m_peer->outcome(m16, 8999, lock(mask)), succ);
    const QJsonObject state = m_peer->request(m16, 9990, R"({"ops":"getLock"})");
    QCOMPARE(state.value("dspLock").toString(), level);
    QCOMPARE(state.value("dspVal").toString(), QString::fromLatin1(mask));
    QCOMPARE(state.value("val").toString(), QStringLiteral("0x0"));
    DspClient c(m16);
    QCOMPARE(c.ask(gain).value("reason").toString(), QStringLiteral("LOCK_UCAST_MCAST"));
    QCOMPARE(m_peer->outcome(m16, 8999, gain), QStringLiteral("LOCK_UCAST_MCAST"));
    QCOMPARE(c.ask(R"({"ops":"setConfig","index":"0","inArr":[],"outArr":[]})").value("reason").toString(),
             QStringLiteral("LOCK_UCAST_MCAST"));
    QCOMPARE(c.ask(R"({"ops":"getBorderProcStatus","nodeId":"4","portIndex":"0","procIndex":"4"})").value("result"),
             QJsonValue("succ"));
    QCOMPARE(configBytes(m16), before);
    QCOMPARE(m_peer->outcome(m16, 8999, lock("0x0")), succ);
    QCOMPARE(c.ask(gain).value("result"), QJsonValue("succ"));
}

void TestSimDsp::onlyProcessorsAnswer()
{
    // Only the link carries the document; only models with a processor have one.
    QCOMPARE(m_peer->outcome(b8, 8999, R"({"ops":"getConfig"})"), QStringLiteral("unknown ops"));
    QCOMPARE(DspClient(b8).ask(R"({"ops":"getCpuUsage"})").value("reason"), QJsonValue("unknown ops"));
    QCOMPARE(m_peer->outcome(n8, 8999, R"({"ops":"getCpuUsage"})"), QStringLiteral("unknown ops"));
    QCOMPARE(m_peer->outcome(n8, 12001, R"({"ops":"getDspStatus"})"), QStringLiteral("unknown ops"));
    QVERIFY(!DspClient(n8).isConnected());
}

void TestSimDsp::framingOnTheLink()
{
    DspClient c(p4);
    // Two requests in one write: two replies, in order.
    c.write(dspFrame(R"({"ops":"getConfig","uiTag":"dspUiTag"})") +
            dspFrame(R"({"ops":"setInverse","uiTag":"dspUiTag","nodeId":"2","portIndex":"3","val":"1"})"));
    QByteArray first, second;
    QVERIFY(c.next(&first));
    QVERIFY(c.next(&second));
    QCOMPARE(parse(first).value("ops"), QJsonValue("getConfig"));
    QCOMPARE(parse(second).value("ops"), QJsonValue("setInverse"));
    // A request trickling in byte by byte is answered once, when whole.
    const QByteArray slow = dspFrame(R"({"ops":"setInverse","uiTag":"dspUiTag","nodeId":"2","portIndex":"3","val":"0"})");
    for (char byte : slow) {
        c.write(QByteArray(1, byte));
        QTest::qWait(1);
    }
    QByteArray reply;
    QVERIFY(c.next(&reply));
    QCOMPARE(parse(reply).value("val"), QJsonValue("0"));
    QVERIFY(!c.next(&reply, 100));
    // A whole frame that is not JSON, or an unknown operation, costs only that request.
    c.write(dspFrame("not json"));
    QVERIFY(c.next(&reply));
    QCOMPARE(parse(reply).value("reason"), QJsonValue("bad param"));
    QCOMPARE(c.ask(R"({"ops":"fooBar","uiTag":"dspUiTag"})").value("reason"), QJsonValue("unknown ops"));
    // Non-ASCII text is counted in bytes.
    QCOMPARE(c.ask(R"({"ops":"fooBar","uiTag":"dspUiTag","cookie":"Größe"})").value("cookie"), QJsonValue("Größe"));
    QVERIFY(c.isConnected());
    // Lengths of 0 and above 64 MiB are broken streams.
    for (quint32 length : {0u, 64u * 1024 * 1024 + 1}) {
        DspClient broken(p4);
        QByteArray header(4, '\0');
        qToLittleEndian<quint32>(length, reinterpret_cast<uchar *>(header.data()));
        broken.write(header + "{}");
        QVERIFY2(broken.closedWithin(2000), qPrintable(QString::number(length)));
        QVERIFY(broken.unread().isEmpty());
    }
}

void TestSimDsp::linkFaults()
{
    const QByteArray get = R"({"ops":"getConfig","uiTag":"dspUiTag"})";
    DspClient split(fSplit);
    split.write(dspFrame(get));
    QByteArray payload;
    QVERIFY(split.next(&payload));
    QCOMPARE(parse(payload).value("result"), QJsonValue("succ"));
    QVERIFY2(split.reads().size() >= 3, qPrintable(QString::number(split.reads().size())));
    QCOMPARE(split.reads().first(), 2); // inside the length
    DspClient dropped(fDrop);
    dropped.write(dspFrame(get));
    QVERIFY(dropped.closedWithin(2000));
    QVERIFY(dropped.unread().isEmpty());
    // The faults are the link's own: UDP on the same devices answers at once.
    for (const char *address : {fSplit, fDrop})
        QCOMPARE(m_peer->request(address, 8999, R"({"ops":"getCpuUsage"})", 200).value("result"), QJsonValue("succ"));
}

void TestSimDsp::rebootDropsTheLinkKeepsTheDocument()
{
    DspClient c(b8);
    QCOMPARE(c.ask(R"({"ops":"setGain","nodeId":"2","portIndex":"7","val":"-7.5"})").value("result"),
             QJsonValue("succ"));
    const QByteArray debug = R"({"ops":"getDebugInfo"})";
    QTRY_VERIFY(m_peer->request(b8, 9994, debug).value("uptime").toString().toDouble() > 0.2);
    QCOMPARE(m_peer->outcome(b8, 9994, R"({"ops":"reboot"})"), succ);
    // Silent on both links for a while (the test network reboots in 400 ms), then back afresh.
    QVERIFY(c.closedWithin(1000));
    SimPeer::Answer a;
    QVERIFY(!m_peer->ask(b8, 9994, debug, &a, 100));
    QTRY_VERIFY_WITH_TIMEOUT(DspClient(b8).isConnected(), 3000);
    QVERIFY(m_peer->request(b8, 9994, debug).value("uptime").toString().toDouble() < 0.5);
    const QJsonObject port =
        config(b8).value("nodeArr").toArray().at(2).toObject().value("portArr").toArray().at(7).toObject();
    QCOMPARE(port.value("gainDb"), QJsonValue("-7.5"));
}

void TestSimDsp::linkFollowsANewAddress()
{
    QCOMPARE(m_peer->outcome("255.255.255.255", 9994,
                             R"({"ops":"setIp","devId":"P4","isFixedIp":"1","ip":"127.0.0.40/24",)"
                             R"("gateway":"127.0.0.1","dns":"127.0.0.1"})"),
             succ);
    QTRY_VERIFY_WITH_TIMEOUT(DspClient("127.0.0.40").isConnected(), 2000);
    QVERIFY(!DspClient(p4).isConnected());
    QCOMPARE(DspClient("127.0.0.40").ask(R"({"ops":"getConfig"})").value("config").toObject().value("sampleRate"),
             QJsonValue("96000"));
}

void TestSimDsp::repliesLostDelayedRefusedBrokenOrOversized()
{
    const QByteArray version = R"({"ops":"getVersion"})";
    SimPeer::Answer a;
    // Lost replies, but announcements still come.
    for (int i = 0; i < 3; ++i)
        QVERIFY(!m_peer->ask(fLoss, 9994, version, &a, 100));
    QVERIFY(!m_peer->waitFor(SimPeer::announcement("LOSS"), 2000).json.isEmpty());
    // Held back.
    QElapsedTimer t;
    t.start();
    QVERIFY(m_peer->ask(fSlow, 9994, version, &a, 3000));
    QVERIFY2(t.elapsed() >= 250, qPrintable(QString::number(t.elapsed())));
    QCOMPARE(a.json.value("result"), QJsonValue("succ"));
    // Refused with the given reason, and only what was named.
    QCOMPARE(m_peer->request(fRefuse, 9990, R"({"ops":"setDevName","name":"X"})"),
             parse(R"({"ops":"setDevName","devId":"REF","result":"fail","reason":"busy"})"));
    QCOMPARE(m_peer->outcome(fRefuse, 9990, R"({"ops":"setUcastRx","srcDevId":"N8","srcChId":"0","dstChId":"0"})"),
             QStringLiteral("no free sdpId"));
    QCOMPARE(m_peer->outcome(fRefuse, 9990, R"({"ops":"setChNameRx","chId":"0","name":"X"})"), succ);
    // Broken replies, garbage on the announcement group, and real announcements as well.
    QVERIFY(m_peer->ask(fGarbage, 9994, version, &a));
    QVERIFY2(!a.bytes.isEmpty() && QJsonDocument::fromJson(a.bytes).isNull(), a.bytes.constData());
    const QHostAddress garbage{QString::fromLatin1(fGarbage)};
    const auto junk = m_peer->waitFor(
        [garbage](const SimPeer::Heard &h) { return !h.sap && h.from == garbage && h.json.isEmpty(); }, 2000);
    QVERIFY2(!junk.bytes.isEmpty(), "no garbage on the announcement group");
    QVERIFY(!m_peer->waitFor(SimPeer::announcement("MAL"), 2000).json.isEmpty());
    // Oversized, yet whole.
    QVERIFY(m_peer->ask(fBig, 9994, version, &a));
    QVERIFY(a.bytes.size() >= 1500);
    QCOMPARE(a.json.value("ops"), QJsonValue("getVersion"));
}

QTEST_GUILESS_MAIN(TestSimDsp)
#include "tst_simdsp.moc"
