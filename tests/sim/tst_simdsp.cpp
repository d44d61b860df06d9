// The virtual devices' signal processor: the configuration document, its
// changes over the TCP link and UDP, the lock, the meters, and the link's
// framing and faults, all seen from a plain socket as the program would.
#include "simpeer.h"
#include "simtestnet.h"

#include <QElapsedTimer>
#include <QJsonArray>
#include <QJsonDocument>
#include <QTcpSocket>
#include <QtEndian>
#include <QtTest>

namespace {

const char *const m16 = "127.0.0.2"; // RK1616D: inputs, AEC, automixer, matrix, outputs
const char *const p4 = "127.0.0.3";  // RK0404D at 96 kHz
const char *const b8 = "127.0.0.4";  // RK0808D, DSP by its model code alone
const char *const n8 = "127.0.0.5";  // RK0808: no signal processor
const char *const fSplit = "127.0.0.6";
const char *const fDelay = "127.0.0.7";
const char *const fAccept = "127.0.0.8";
const char *const fDrop = "127.0.0.9";

SimScenario scenario()
{
    SimScenario s;
    QString error;
    const QByteArray json = R"({"devices":[
        {"devId":"M16","model":"RK1616D","phyChNumRx":16,"phyChNumTx":16},
        {"devId":"P4","model":"RK0404D","phyChNumRx":4,"phyChNumTx":4,"sampleRate":96000},
        {"devId":"B8","model":"RK0808D"},
        {"devId":"N8","model":"RK0808"},
        {"devId":"FS","model":"RK0404D","faults":{"dspSplit":3}},
        {"devId":"FD","model":"RK0404D","faults":{"dspDelayMs":300}},
        {"devId":"FA","model":"RK0404D","faults":{"dspDropOnAccept":true}},
        {"devId":"FX","model":"RK0404D","faults":{"dspDropPercent":100}}]})";
    if (!SimScenario::fromJson(json, &s, &error))
        qWarning("bad scenario: %s", qPrintable(error));
    return s;
}

QJsonObject parse(const QByteArray &json)
{
    return QJsonDocument::fromJson(json).object();
}

QByteArray frame(const QByteArray &payload)
{
    QByteArray f(4, '\0');
    qToLittleEndian<quint32>(quint32(payload.size()), reinterpret_cast<uchar *>(f.data()));
    return f + payload;
}

// The program's end of the link, reduced to frames. Waits by spinning the
// event loop, since the devices answer on this same thread.
class DspClient
{
public:
    explicit DspClient(const char *address)
    {
        QObject::connect(&m_socket, &QTcpSocket::readyRead, [this] {
            const QByteArray chunk = m_socket.readAll();
            m_reads << chunk.size();
            m_in += chunk;
        });
        m_socket.connectToHost(QHostAddress(QLatin1String(address)), 8999);
        QElapsedTimer t;
        t.start();
        while (m_socket.state() != QAbstractSocket::ConnectedState &&
               m_socket.state() != QAbstractSocket::UnconnectedState && t.elapsed() < 2000)
            QTest::qWait(5);
    }
    bool isConnected() const { return m_socket.state() == QAbstractSocket::ConnectedState; }
    void write(const QByteArray &bytes)
    {
        m_socket.write(bytes);
        m_socket.flush();
    }
    /// The next whole frame's payload; false after \a timeoutMs.
    bool next(QByteArray *payload, int timeoutMs = 3000)
    {
        QElapsedTimer t;
        t.start();
        for (;;) {
            if (m_in.size() >= 4) {
                const quint32 n = qFromLittleEndian<quint32>(reinterpret_cast<const uchar *>(m_in.constData()));
                if (quint32(m_in.size()) - 4 >= n) {
                    *payload = m_in.mid(4, int(n));
                    m_in.remove(0, 4 + int(n));
                    return true;
                }
            }
            if (t.elapsed() >= timeoutMs)
                return false;
            QTest::qWait(5);
        }
    }
    QJsonObject ask(const QByteArray &json, int timeoutMs = 3000)
    {
        write(frame(json));
        QByteArray payload;
        return next(&payload, timeoutMs) ? parse(payload) : QJsonObject();
    }
    bool closedWithin(int timeoutMs)
    {
        QElapsedTimer t;
        t.start();
        while (m_socket.state() != QAbstractSocket::UnconnectedState && t.elapsed() < timeoutMs)
            QTest::qWait(5);
        return m_socket.state() == QAbstractSocket::UnconnectedState;
    }
    QVector<int> reads() const { return m_reads; }
    QByteArray unread() const { return m_in; }

private:
    QTcpSocket m_socket;
    QByteArray m_in;
    QVector<int> m_reads;
};

QByteArray configBytes(const char *address)
{
    DspClient c(address);
    c.write(frame(R"({"ops":"getConfig","uiTag":"dspUiTag"})"));
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

// Scalars all strings; numbers in their shortest form of at most six significant digits.
bool wellFormed(const QJsonValue &v, QString *where, const QString &path = QString())
{
    if (v.isObject()) {
        const QJsonObject o = v.toObject();
        for (auto it = o.begin(); it != o.end(); ++it)
            if (!wellFormed(it.value(), where, path + '/' + it.key()))
                return false;
        return true;
    }
    if (v.isArray()) {
        for (int i = 0; i < v.toArray().size(); ++i)
            if (!wellFormed(v.toArray().at(i), where, path + '/' + QString::number(i)))
                return false;
        return true;
    }
    bool isNumber = false;
    const double d = v.toString().toDouble(&isNumber);
    if (v.isString() && (!isNumber || QString::number(d, 'g', 6) == v.toString()))
        return true;
    *where = path + QStringLiteral(" = ") + v.toVariant().toString();
    return false;
}

// docs/dsp.md's default chains.
QStringList chainTypes(bool input)
{
    return input ? QStringList{"9", "7", "3", "1", "0", "4", "4", "8"} : QStringList{"1", "0", "4", "4", "2", "6", "5"};
}

QStringList types(const QJsonArray &procs)
{
    QStringList t;
    for (const QJsonValue &b : procs)
        t << b.toObject().value("type").toString();
    return t;
}

// docs/dsp.md's block defaults, written down here independently.
QJsonObject defaultObj(const QString &type, bool lowPass)
{
    static const QJsonObject byType = parse(R"({
        "0":{"bypassArr":["0","0","0","0","0","0","0"],"eqArr":[
            {"dbGain":"0","freq0":"40","qBwS":"1","type":"0"},{"dbGain":"0","freq0":"101","qBwS":"1","type":"0"},
            {"dbGain":"0","freq0":"254","qBwS":"1","type":"0"},{"dbGain":"0","freq0":"640","qBwS":"1","type":"0"},
            {"dbGain":"0","freq0":"1600","qBwS":"1","type":"0"},{"dbGain":"0","freq0":"4000","qBwS":"1","type":"0"},
            {"dbGain":"0","freq0":"10200","qBwS":"1","type":"0"}]},
        "1":{"delayNum":"0","maxNum":"24000"},
        "2":{"attackMs":"50","kneeDb":"0","ratio":"2","releaseMs":"100","trigDb":"-20"},
        "3":{"freqShift":"1"},
        "4":{"freq0":"20","isHpf":"1","order":"1","type":"0"},
        "5":{"arr":[],"attDb":"21","firType":"0","freq0":"10000","freq1":"20001","maxTaps":"256","taps":"127","winType":"0"},
        "6":{"limitDb":"-20"},
        "7":{"closeMs":"10","openMs":"10","trigDb":"-90"},
        "8":{"attackMs":"50","kneeDb":"0","ratio":"2","releaseMs":"100","trigDb":"-20"},
        "9":{"freq":"1000","gainDb":"-20","mode":"0"}})");
    if (type == "4" && lowPass)
        return parse(R"({"freq0":"20000","isHpf":"0","order":"1","type":"0"})");
    return byType.value(type).toObject();
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
    void setConfigReplacesChainsAndKeepsChannels();
    void badRequestsLeaveTheDocument_data();
    void badRequestsLeaveTheDocument();
    void lockRefusesChangesNotReads();
    void metersAndStatusOverUdp();
    void blockStatusFollowsTheSignal();
    void framingOnTheLink();
    void linkFaults();
    void rebootDropsTheLinkKeepsTheDocument();
    void linkFollowsANewAddress();

private:
    std::unique_ptr<SimNetwork> m_net;
    std::unique_ptr<SimPeer> m_peer;
};

void TestSimDsp::initTestCase()
{
    m_net = startNetwork(scenario());
    QCOMPARE(m_net->devices().size(), 8);
    m_peer = std::make_unique<SimPeer>();
}

void TestSimDsp::cleanupTestCase()
{
    m_net.reset();
}

void TestSimDsp::documentFollowsTheModel_data()
{
    QTest::addColumn<QString>("address");
    QTest::addColumn<QStringList>("nodeTypes");
    QTest::addColumn<int>("inputs");
    QTest::addColumn<int>("outputs");
    QTest::addColumn<QString>("sampleRate");
    QTest::newRow("RK1616D") << m16 << QStringList{"0", "2", "3", "1", "0"} << 16 << 16 << "48000";
    QTest::newRow("RK0404D") << p4 << QStringList{"0", "1", "0"} << 4 << 4 << "96000";
    QTest::newRow("RK0808D") << b8 << QStringList{"0", "1", "0"} << 8 << 8 << "48000";
}

void TestSimDsp::documentFollowsTheModel()
{
    QFETCH(QString, address);
    QFETCH(QStringList, nodeTypes);
    QFETCH(int, inputs);
    QFETCH(int, outputs);
    const QByteArray bytes = configBytes(qPrintable(address));
    const QJsonObject reply = parse(bytes);
    QCOMPARE(reply.value("result").toString(), QStringLiteral("succ"));
    QCOMPARE(reply.value("uiTag").toString(), QStringLiteral("dspUiTag"));
    QVERIFY(!reply.contains("devId"));
    // Compact, members sorted: exactly what Qt writes for the same object.
    QCOMPARE(bytes, QJsonDocument(reply).toJson(QJsonDocument::Compact));
    const QJsonObject cfg = reply.value("config").toObject();
    QString where;
    QVERIFY2(wellFormed(cfg, &where), qPrintable(where));
    QCOMPARE(cfg.value("version").toString(), QStringLiteral("4"));
    QTEST(cfg.value("sampleRate").toString(), "sampleRate");
    QVERIFY(cfg.value("groupArr").toArray().size() > 0);

    const QJsonArray nodes = cfg.value("nodeArr").toArray();
    QStringList actualTypes;
    for (const QJsonValue &n : nodes) {
        actualTypes << n.toObject().value("type").toString();
        QCOMPARE(n.toObject().value("portNum").toString(),
                 QString::number(n.toObject().value("portArr").toArray().size()));
    }
    QCOMPARE(actualTypes, nodeTypes);
    const QJsonArray in = nodes.first().toObject().value("portArr").toArray();
    const QJsonArray out = nodes.last().toObject().value("portArr").toArray();
    QCOMPARE(in.size(), inputs);
    QCOMPARE(out.size(), outputs);
    const QJsonObject channel = parse(R"({"commArr":[],"gainDb":"0","groupId":"-1","inverse":"0","mute":"0"})");
    for (int side = 0; side < 2; ++side) {
        for (const QJsonValue &p : side == 0 ? in : out) {
            const QJsonArray procs = p.toObject().value("procArr").toArray();
            QCOMPARE(types(procs), chainTypes(side == 0));
            bool sawHighPass = false;
            for (const QJsonValue &b : procs) {
                const QJsonObject block = b.toObject();
                QCOMPARE(block.value("bypass").toString(), QStringLiteral("1"));
                QCOMPARE(block.value("core").toString(), QStringLiteral("-1"));
                QCOMPARE(block.value("groupId").toString(), QStringLiteral("-1"));
                const QString t = block.value("type").toString();
                QCOMPARE(block.value("obj").toObject(), defaultObj(t, t == "4" && sawHighPass));
                sawHighPass = sawHighPass || t == "4";
            }
            QJsonObject members = p.toObject();
            members.remove("procArr");
            QCOMPARE(members, channel);
        }
    }
    const QJsonObject matrix = nodes.at(nodes.size() - 2).toObject();
    QCOMPARE(matrix.value("portNum").toString(), QStringLiteral("0"));
    const QJsonArray gains = matrix.value("obj").toObject().value("gainArr").toArray();
    const QJsonArray mutes = matrix.value("obj").toObject().value("muteArr").toArray();
    QCOMPARE(gains.size(), outputs);
    QCOMPARE(mutes.size(), outputs);
    for (int o = 0; o < outputs; ++o) {
        QCOMPARE(gains.at(o).toArray().size(), inputs);
        for (int i = 0; i < inputs; ++i) {
            QCOMPARE(gains.at(o).toArray().at(i).toString(), i == o ? QStringLiteral("0") : QStringLiteral("-100"));
            QCOMPARE(mutes.at(o).toArray().at(i).toString(), i == o ? QStringLiteral("0") : QStringLiteral("1"));
        }
    }
    if (nodeTypes.contains("2")) {
        const QJsonObject aec = nodes.at(1).toObject().value("portArr").toArray().at(5).toObject();
        QCOMPARE(aec, parse(R"({"aecLevel":"2","ansLevel":"2","commArr":[],"farArr":[],"gainDb":"0","groupId":"-1",
                               "hasAec":"1","hasAgc":"0","hasAns":"1","inverse":"0","mute":"0","nearArr":["5"]})"));
        const QJsonObject mix = nodes.at(2).toObject().value("obj").toObject();
        QCOMPARE(mix.value("chNumLimit").toString(), QString::number(inputs));
        QCOMPARE(mix.value("maskArr").toArray().size(), inputs);
        QCOMPARE(mix.value("trigDb").toString(), QStringLiteral("-40"));
        QCOMPARE(nodes.at(2).toObject().value("portArr").toArray().at(0).toObject(), channel);
    }
}

void TestSimDsp::changesTouchExactlyTheirTarget_data()
{
    QTest::addColumn<bool>("udp");
    QTest::addColumn<QByteArray>("request");
    QTest::addColumn<QByteArray>("changes");
    QTest::addColumn<QString>("val");
    QJsonArray bands = defaultObj("0", false).value("eqArr").toArray();
    QJsonObject band = bands.at(3).toObject();
    band.insert("dbGain", "-3.50");
    bands.replace(3, band);
    const QByteArray eq = QJsonDocument(bands).toJson(QJsonDocument::Compact);
    QJsonArray mutes;
    for (int o = 0; o < 16; ++o) {
        QJsonArray row;
        for (int i = 0; i < 16; ++i)
            row.append(i == o || (o == 0 && i == 1) ? "0" : "1");
        mutes.append(row);
    }
    const QByteArray muteArr = QJsonDocument(mutes).toJson(QJsonDocument::Compact);
    QJsonArray mask;
    for (int i = 0; i < 16; ++i)
        mask.append(i == 15 ? "0" : "1");
    const QByteArray maskArr = QJsonDocument(mask).toJson(QJsonDocument::Compact);

    QTest::newRow("compressor parameters, others kept")
        << false
        << QByteArray(R"({"ops":"setBorderProc","uiTag":"dspUiTag","blockFlag":"bf_out_ch_2_4","nodeId":"4",)"
                      R"("portIndex":"2","procIndex":"4","obj":{"ratio":"4.0","trigDb":"-30.5"}})")
        << QByteArray(
               R"({"nodeArr/4/portArr/2/procArr/4/obj/ratio":"4","nodeArr/4/portArr/2/procArr/4/obj/trigDb":"-30.5"})")
        << QString();
    QTest::newRow("one equaliser band")
        << false
        << QByteArray(R"({"ops":"setBorderProc","uiTag":"dspUiTag","blockFlag":"bf_in_ch_0_4","nodeId":"0",)"
                      R"("portIndex":"0","procIndex":"4","obj":{"eqArr":)" +
                      eq + "}}")
        << QByteArray(R"({"nodeArr/0/portArr/0/procArr/4/obj/eqArr/3/dbGain":"-3.5"})") << QString();
    QTest::newRow("bypass over TCP")
        << false
        << QByteArray(R"({"ops":"setBorderProcBypass","uiTag":"dspUiTag","blockFlag":"bf_in_ch_5_2","nodeId":"0",)"
                      R"("portIndex":"5","procIndex":"2","val":"0"})")
        << QByteArray(R"({"nodeArr/0/portArr/5/procArr/2/bypass":"0"})") << "0";
    QTest::newRow("bypass over UDP")
        << true
        << QByteArray(R"({"ops":"setBorderProcBypass","uiTag":"dspUiTag","blockFlag":"bf_out_ch_15_6","nodeId":"4",)"
                      R"("portIndex":"15","procIndex":"6","val":"0"})")
        << QByteArray(R"({"nodeArr/4/portArr/15/procArr/6/bypass":"0"})") << "0";
    QTest::newRow("link three equalisers")
        << false
        << QByteArray(R"({"ops":"setBorderProcGroupIdBatch","uiTag":"dspUiTag","nodeId":"0","procIndex":"4",)"
                      R"("portArr":["1","2","3"],"groupId":"5"})")
        << QByteArray(R"({"nodeArr/0/portArr/1/procArr/4/groupId":"5","nodeArr/0/portArr/2/procArr/4/groupId":"5",)"
                      R"("nodeArr/0/portArr/3/procArr/4/groupId":"5"})")
        << QString();
    QTest::newRow("one matrix cross-point, gains kept")
        << false
        << QByteArray(R"({"ops":"setNodeData","uiTag":"dspUiTag","nodeId":"3","obj":{"muteArr":)" + muteArr + "}}")
        << QByteArray(R"({"nodeArr/3/obj/muteArr/0/1":"0"})") << QString();
    QTest::newRow("automixer threshold and mask")
        << false
        << QByteArray(R"({"ops":"setNodeData","uiTag":"dspUiTag","nodeId":"2","obj":{"trigDb":"-35","maskArr":)" +
                      maskArr + "}}")
        << QByteArray(R"({"nodeArr/2/obj/trigDb":"-35","nodeArr/2/obj/maskArr/15":"0"})") << QString();
    QTest::newRow("input gain")
        << false << QByteArray(R"({"ops":"setGain","uiTag":"dspUiTag","nodeId":"0","portIndex":"3","val":"-12.250"})")
        << QByteArray(R"({"nodeArr/0/portArr/3/gainDb":"-12.25"})") << "-12.25";
    QTest::newRow("output gain over UDP")
        << true << QByteArray(R"({"ops":"setGain","uiTag":"dspUiTag","nodeId":"4","portIndex":"15","val":"6"})")
        << QByteArray(R"({"nodeArr/4/portArr/15/gainDb":"6"})") << "6";
    QTest::newRow("AEC channel gain")
        << false << QByteArray(R"({"ops":"setGain","uiTag":"dspUiTag","nodeId":"1","portIndex":"0","val":"-3"})")
        << QByteArray(R"({"nodeArr/1/portArr/0/gainDb":"-3"})") << "-3";
    QTest::newRow("mute") << false
                          << QByteArray(
                                 R"({"ops":"setMute","uiTag":"dspUiTag","nodeId":"4","portIndex":"0","val":"1"})")
                          << QByteArray(R"({"nodeArr/4/portArr/0/mute":"1"})") << "1";
    QTest::newRow("inverse")
        << true << QByteArray(R"({"ops":"setInverse","uiTag":"dspUiTag","nodeId":"0","portIndex":"15","val":"1"})")
        << QByteArray(R"({"nodeArr/0/portArr/15/inverse":"1"})") << "1";
    QTest::newRow("group") << false
                           << QByteArray(
                                  R"({"ops":"setGroupId","uiTag":"dspUiTag","nodeId":"2","portIndex":"7","val":"2"})")
                           << QByteArray(R"({"nodeArr/2/portArr/7/groupId":"2"})") << "2";
}

void TestSimDsp::changesTouchExactlyTheirTarget()
{
    QFETCH(bool, udp);
    QFETCH(QByteArray, request);
    QFETCH(QByteArray, changes);
    QFETCH(QString, val);
    const QJsonObject before = config(m16);
    const QJsonObject reply = udp ? m_peer->request(m16, 8999, request) : DspClient(m16).ask(request);
    QCOMPARE(reply.value("result").toString(), QStringLiteral("succ"));
    const QJsonObject req = parse(request);
    QCOMPARE(reply.value("ops"), req.value("ops"));
    QCOMPARE(reply.value("uiTag"), req.value("uiTag"));
    QCOMPARE(reply.value("blockFlag"), req.value("blockFlag"));
    QCOMPARE(reply.contains("devId"), udp);
    QCOMPARE(reply.value("val").toString(), val);
    QJsonObject changed;
    diff(before, config(m16), QString(), &changed);
    QCOMPARE(changed, parse(changes));
}

void TestSimDsp::setConfigReplacesChainsAndKeepsChannels()
{
    DspClient c(p4);
    QCOMPARE(c.ask(R"({"ops":"setGain","uiTag":"dspUiTag","nodeId":"0","portIndex":"1","val":"-4"})")
                 .value("result")
                 .toString(),
             QStringLiteral("succ"));
    const QJsonObject before = config(p4);
    QJsonObject gate = parse(R"({"bypass":"0","core":"0","groupId":"-1","type":"7",
                                 "obj":{"closeMs":"20","openMs":"5","trigDb":"-70"}})");
    QJsonObject lim = parse(R"({"bypass":"0","core":"1","groupId":"-1","type":"6","obj":{"limitDb":"-6"}})");
    QJsonArray inArr, outArr;
    for (int i = 0; i < 4; ++i) {
        inArr.append(QJsonObject{{"procArr", i == 2 ? QJsonArray() : QJsonArray{gate}}});
        outArr.append(QJsonObject{{"procArr", QJsonArray{lim, gate}}});
    }
    const QJsonObject req{
        {"ops", "setConfig"}, {"uiTag", "dspUiTag"}, {"index", "0"}, {"inArr", inArr}, {"outArr", outArr}};
    const QJsonObject reply = c.ask(QJsonDocument(req).toJson(QJsonDocument::Compact));
    QCOMPARE(reply, parse(R"({"ops":"setConfig","uiTag":"dspUiTag","result":"succ"})"));
    const QJsonObject after = config(p4);
    const QJsonArray nodes = after.value("nodeArr").toArray();
    for (int i = 0; i < 4; ++i) {
        QJsonObject port = nodes.at(0).toObject().value("portArr").toArray().at(i).toObject();
        QCOMPARE(port.value("procArr").toArray(), inArr.at(i).toObject().value("procArr").toArray());
        QCOMPARE(port.value("gainDb").toString(), i == 1 ? QStringLiteral("-4") : QStringLiteral("0"));
        port = nodes.at(2).toObject().value("portArr").toArray().at(i).toObject();
        QCOMPARE(port.value("procArr").toArray(), outArr.at(i).toObject().value("procArr").toArray());
    }
    // Nothing but the chains moved.
    QJsonObject changed;
    diff(before, after, QString(), &changed);
    for (const QString &path : changed.keys())
        QVERIFY2(path.contains("/procArr"), qPrintable(path));
}

void TestSimDsp::badRequestsLeaveTheDocument_data()
{
    QTest::addColumn<QByteArray>("request");
    const QByteArray block = R"("nodeId":"4","portIndex":"1","procIndex":"4")";
    auto row = [](const char *name, const QByteArray &json) { QTest::newRow(name) << json; };
    row("node beyond the document", R"({"ops":"setGain","nodeId":"5","portIndex":"0","val":"1"})");
    row("channel beyond the node", R"({"ops":"setMute","nodeId":"0","portIndex":"16","val":"1"})");
    row("the matrix has no channels", R"({"ops":"setGain","nodeId":"3","portIndex":"0","val":"1"})");
    row("no nodeId", R"({"ops":"setGain","portIndex":"0","val":"1"})");
    row("nodeId not a number", R"({"ops":"setGain","nodeId":"x","portIndex":"0","val":"1"})");
    row("block beyond the chain",
        R"({"ops":"setBorderProcBypass","nodeId":"0","portIndex":"0","procIndex":"8","val":"0"})");
    row("AEC channels have no chain",
        R"({"ops":"setBorderProcBypass","nodeId":"1","portIndex":"0","procIndex":"0","val":"0"})");
    row("gain not a number", R"({"ops":"setGain","nodeId":"0","portIndex":"0","val":"loud"})");
    row("gain out of range", R"({"ops":"setGain","nodeId":"0","portIndex":"0","val":"100"})");
    row("mute neither 0 nor 1", R"({"ops":"setMute","nodeId":"0","portIndex":"0","val":"2"})");
    row("bypass neither 0 nor 1",
        R"({"ops":"setBorderProcBypass","nodeId":"0","portIndex":"0","procIndex":"0","val":"yes"})");
    row("group beyond groupArr", R"({"ops":"setGroupId","nodeId":"0","portIndex":"0","val":"8"})");
    row("unknown block member", "{\"ops\":\"setBorderProc\"," + block + R"(,"obj":{"ratio":"3","colour":"red"}})");
    row("block member as a JSON number", "{\"ops\":\"setBorderProc\"," + block + R"(,"obj":{"ratio":3}})");
    row("threshold out of range", "{\"ops\":\"setBorderProc\"," + block + R"(,"obj":{"trigDb":"-200"}})");
    row("obj not an object", "{\"ops\":\"setBorderProc\"," + block + R"(,"obj":"ratio=3"})");
    row("equaliser with six bands",
        R"({"ops":"setBorderProc","nodeId":"0","portIndex":"0","procIndex":"4","obj":{"eqArr":[{},{},{},{},{},{}]}})");
    row("delay beyond its maximum",
        R"({"ops":"setBorderProc","nodeId":"0","portIndex":"0","procIndex":"3","obj":{"delayNum":"24001"}})");
    row("the device's delay maximum",
        R"({"ops":"setBorderProc","nodeId":"0","portIndex":"0","procIndex":"3","obj":{"maxNum":"48000"}})");
    row("FIR with more taps than it holds",
        R"({"ops":"setBorderProc","nodeId":"4","portIndex":"0","procIndex":"6","obj":{"taps":"511"}})");
    row("matrix of the wrong shape", R"({"ops":"setNodeData","nodeId":"3","obj":{"gainArr":[["0"]]}})");
    row("input node has no data", R"({"ops":"setNodeData","nodeId":"0","obj":{"gainDb":"0"}})");
    row("automixer limit above its channels", R"({"ops":"setNodeData","nodeId":"2","obj":{"chNumLimit":"17"}})");
    row("link a channel beyond the node",
        R"({"ops":"setBorderProcGroupIdBatch","nodeId":"0","procIndex":"4","portArr":["0","16"],"groupId":"1"})");
    row("link nobody",
        R"({"ops":"setBorderProcGroupIdBatch","nodeId":"0","procIndex":"4","portArr":[],"groupId":"1"})");
    row("link group out of range",
        R"({"ops":"setBorderProcGroupIdBatch","nodeId":"0","procIndex":"4","portArr":["0"],"groupId":"64"})");
    row("setConfig with too few inputs", R"({"ops":"setConfig","index":"0","inArr":[],"outArr":[]})");
    row("setConfig of another index", R"({"ops":"setConfig","index":"1","inArr":[],"outArr":[]})");
    row("status of a block without one",
        R"({"ops":"getBorderProcStatus","nodeId":"0","portIndex":"0","procIndex":"4"})");
}

void TestSimDsp::badRequestsLeaveTheDocument()
{
    QFETCH(QByteArray, request);
    const QByteArray before = configBytes(m16);
    QJsonObject req = parse(request);
    req.insert("uiTag", "dspUiTag");
    req.insert("blockFlag", "bf_in_ch_0_0");
    const QJsonObject reply = DspClient(m16).ask(QJsonDocument(req).toJson(QJsonDocument::Compact));
    QCOMPARE(reply, QJsonObject({{"ops", req.value("ops")},
                                 {"uiTag", "dspUiTag"},
                                 {"blockFlag", "bf_in_ch_0_0"},
                                 {"result", "fail"},
                                 {"reason", "bad param"}}));
    QCOMPARE(configBytes(m16), before);

    // A setConfig that is right but for one block changes no chain either.
    QJsonArray chains;
    for (int i = 0; i < 16; ++i)
        chains.append(QJsonObject{{"procArr", QJsonArray()}});
    QJsonArray broken = chains;
    broken.replace(9, parse(R"({"procArr":[{"bypass":"1","core":"-1","groupId":"-1","type":"12","obj":{}}]})"));
    const QJsonObject set{{"ops", "setConfig"}, {"index", "0"}, {"inArr", chains}, {"outArr", broken}};
    QCOMPARE(DspClient(m16).ask(QJsonDocument(set).toJson(QJsonDocument::Compact)).value("reason").toString(),
             QStringLiteral("bad param"));
    QCOMPARE(configBytes(m16), before);
}

void TestSimDsp::lockRefusesChangesNotReads()
{
    const QByteArray gain = R"({"ops":"setGain","uiTag":"dspUiTag","nodeId":"0","portIndex":"9","val":"-9"})";
    const QByteArray before = configBytes(m16);
    for (const char *mask : {"0x1f", "0x1001f", "0x1"}) {
        const QByteArray lock =
            QByteArray(R"({"ops":"setLock","uiTag":"dspUiTag","password":"123456","val":")") + mask + "\"}";
        QCOMPARE(m_peer->request(m16, 8999, lock).value("result").toString(), QStringLiteral("succ"));
        DspClient c(m16);
        QCOMPARE(c.ask(gain).value("reason").toString(), QStringLiteral("LOCK_UCAST_MCAST"));
        QCOMPARE(m_peer->request(m16, 8999, gain).value("reason").toString(), QStringLiteral("LOCK_UCAST_MCAST"));
        QCOMPARE(c.ask(R"({"ops":"setConfig","index":"0","inArr":[],"outArr":[]})").value("reason").toString(),
                 QStringLiteral("LOCK_UCAST_MCAST"));
        QCOMPARE(c.ask(R"({"ops":"getBorderProcStatus","nodeId":"4","portIndex":"0","procIndex":"4"})")
                     .value("result")
                     .toString(),
                 QStringLiteral("succ"));
        QCOMPARE(m_peer->request(m16, 8999, R"({"ops":"getCpuUsage"})").value("result").toString(),
                 QStringLiteral("succ"));
        QCOMPARE(configBytes(m16), before);
    }
    QCOMPARE(m_peer->request(m16, 8999, R"({"ops":"setLock","password":"123456","val":"0x0"})").value("result"),
             QJsonValue("succ"));
    QCOMPARE(DspClient(m16).ask(gain).value("result").toString(), QStringLiteral("succ"));
}

void TestSimDsp::metersAndStatusOverUdp()
{
    auto load = [this](const char *address) {
        const QJsonObject r = m_peer->request(address, 8999, R"({"ops":"getCpuUsage","uiTag":"dspUiTag"})");
        bool ok = false;
        const int v = r.value("val").toString().toInt(&ok);
        return ok && r.value("uiTag") == QJsonValue("dspUiTag") ? v : -1;
    };
    const int idle = load(b8);
    QVERIFY2(idle >= 10 && idle <= 40, qPrintable(QString::number(idle)));
    // The AEC and automixer cost even with every block bypassed.
    QVERIFY(load(m16) > idle);
    // Every block of the default chains at work, at twice the sample rate.
    QJsonArray in, out;
    for (const bool input : {true, false}) {
        QJsonArray procs;
        bool sawHighPass = false;
        for (const QString &t : chainTypes(input)) {
            procs.append(QJsonObject{{"bypass", "0"},
                                     {"core", "-1"},
                                     {"groupId", "-1"},
                                     {"type", t},
                                     {"obj", defaultObj(t, t == "4" && sawHighPass)}});
            sawHighPass = sawHighPass || t == "4";
        }
        for (int c = 0; c < 4; ++c)
            (input ? in : out).append(QJsonObject{{"procArr", procs}});
    }
    const int p4Before = load(p4);
    const QJsonObject set{{"ops", "setConfig"}, {"index", "0"}, {"inArr", in}, {"outArr", out}};
    QCOMPARE(DspClient(p4).ask(QJsonDocument(set).toJson(QJsonDocument::Compact)).value("result").toString(),
             QStringLiteral("succ"));
    const int busy = load(p4);
    QVERIFY2(busy >= p4Before + 30 && busy <= 95, qPrintable(QStringLiteral("%1 -> %2").arg(p4Before).arg(busy)));

    const QRegularExpression level(QStringLiteral("^(-inf|-?[0-9]+\\.[0-9])$"));
    for (const char *ops : {"getVolumeDbBatchIn", "getVolumeDbBatchOut"}) {
        const QJsonArray arr = m_peer->request(b8, 8999, QByteArray(R"({"ops":")") + ops + R"(","uiTag":"dspUiTag"})")
                                   .value("arr")
                                   .toArray();
        QCOMPARE(arr.size(), 8);
        for (const QJsonValue &v : arr)
            QVERIFY2(level.match(v.toString()).hasMatch() && v.toString() != "-inf", qPrintable(v.toString()));
    }
    // A muted input is silent, and so is the output the matrix feeds from it alone.
    DspClient c(b8);
    QCOMPARE(c.ask(R"({"ops":"setMute","nodeId":"0","portIndex":"2","val":"1"})").value("result"), QJsonValue("succ"));
    QCOMPARE(m_peer->request(b8, 8999, R"({"ops":"getVolumeDbBatchIn"})").value("arr").toArray().at(2),
             QJsonValue("-inf"));
    QCOMPARE(m_peer->request(b8, 8999, R"({"ops":"getVolumeDbBatchOut"})").value("arr").toArray().at(2),
             QJsonValue("-inf"));
    QVERIFY(m_peer->request(b8, 8999, R"({"ops":"getVolumeDbBatchOut"})").value("arr").toArray().at(3) != "-inf");
    QCOMPARE(c.ask(R"({"ops":"setMute","nodeId":"0","portIndex":"2","val":"0"})").value("result"), QJsonValue("succ"));

    QCOMPARE(m_peer->request(b8, 12001, R"({"ops":"getDspStatus","uiTag":"dspUiTag"})").value("val"), QJsonValue("0"));
    const int temp = m_peer->request(b8, 12001, R"({"ops":"getDspTemperature"})").value("val").toString().toInt();
    QVERIFY2(temp > 20 && temp < 80, qPrintable(QString::number(temp)));

    // Only the link carries the document; only DSP models have a processor.
    QCOMPARE(m_peer->request(b8, 8999, R"({"ops":"getConfig"})").value("reason"), QJsonValue("unknown ops"));
    QCOMPARE(c.ask(R"({"ops":"getCpuUsage"})").value("reason"), QJsonValue("unknown ops"));
    for (const auto &ask :
         {std::make_pair(8999, QByteArray(R"({"ops":"getCpuUsage"})")),
          std::make_pair(8999, QByteArray(R"({"ops":"setMute","nodeId":"0","portIndex":"0","val":"1"})")),
          std::make_pair(12001, QByteArray(R"({"ops":"getDspStatus"})"))})
        QCOMPARE(m_peer->request(n8, quint16(ask.first), ask.second).value("reason"), QJsonValue("unknown ops"));
    QVERIFY(!DspClient(n8).isConnected());
}

void TestSimDsp::blockStatusFollowsTheSignal()
{
    DspClient c(b8);
    auto status = [&c](int node, int proc) {
        return c
            .ask(QStringLiteral(R"({"ops":"getBorderProcStatus","uiTag":"dspUiTag","blockFlag":"bf","nodeId":"%1",)"
                                R"("portIndex":"0","procIndex":"%2"})")
                     .arg(node)
                     .arg(proc)
                     .toUtf8())
            .value("obj")
            .toObject();
    };
    // Bypassed: no reduction, the gate open.
    QCOMPARE(status(2, 4), QJsonObject({{"gain", "1"}}));
    QCOMPARE(status(2, 5), QJsonObject({{"gain", "1"}}));
    QCOMPARE(status(0, 1), QJsonObject({{"isOpen", "1"}}));
    for (
        const char *set :
        {R"({"ops":"setBorderProc","nodeId":"2","portIndex":"0","procIndex":"4","obj":{"trigDb":"-100","ratio":"128"}})",
         R"({"ops":"setBorderProcBypass","nodeId":"2","portIndex":"0","procIndex":"4","val":"0"})"})
        QCOMPARE(c.ask(set).value("result"), QJsonValue("succ"));
    // Programme material well above -100 dBFS is squashed.
    const double first = status(2, 4).value("gain").toString().toDouble();
    QVERIFY2(first > 0 && first < 0.1, qPrintable(QString::number(first)));
    // Nothing reaches 0 dBFS, so a gate there shuts.
    for (const char *set :
         {R"({"ops":"setBorderProc","nodeId":"0","portIndex":"0","procIndex":"1","obj":{"trigDb":"0"}})",
          R"({"ops":"setBorderProcBypass","nodeId":"0","portIndex":"0","procIndex":"1","val":"0"})"})
        QCOMPARE(c.ask(set).value("result"), QJsonValue("succ"));
    QCOMPARE(status(0, 1), QJsonObject({{"isOpen", "0"}}));
    // With the gate shut the compressor behind it sees silence.
    QCOMPARE(status(2, 4), QJsonObject({{"gain", "1"}}));
    QCOMPARE(c.ask(R"({"ops":"setBorderProcBypass","nodeId":"0","portIndex":"0","procIndex":"1","val":"1"})")
                 .value("result"),
             QJsonValue("succ"));
    QTest::qWait(100);
    const double later = status(2, 4).value("gain").toString().toDouble();
    QVERIFY2(std::abs(20 * std::log10(later / first)) < 3.0, qPrintable(QStringLiteral("%1 %2").arg(first).arg(later)));
    const QJsonObject udp = m_peer->request(
        b8, 8999,
        R"({"ops":"getBorderProcStatus","blockFlag":"bf_out_ch_0_4","nodeId":"2","portIndex":"0","procIndex":"4"})");
    QCOMPARE(udp.value("blockFlag"), QJsonValue("bf_out_ch_0_4"));
    QVERIFY(udp.value("obj").toObject().value("gain").toString().toDouble() < 0.1);
}

void TestSimDsp::framingOnTheLink()
{
    DspClient c(p4);
    // Two requests in one write: two replies, in order.
    c.write(frame(R"({"ops":"getConfig","uiTag":"dspUiTag"})") +
            frame(R"({"ops":"setInverse","uiTag":"dspUiTag","nodeId":"2","portIndex":"3","val":"1"})"));
    QByteArray first, second;
    QVERIFY(c.next(&first));
    QVERIFY(c.next(&second));
    QCOMPARE(parse(first).value("ops"), QJsonValue("getConfig"));
    QCOMPARE(parse(second).value("ops"), QJsonValue("setInverse"));
    // A request trickling in byte by byte is answered once, when whole.
    const QByteArray slow = frame(R"({"ops":"setInverse","uiTag":"dspUiTag","nodeId":"2","portIndex":"3","val":"0"})");
    for (char byte : slow) {
        c.write(QByteArray(1, byte));
        QTest::qWait(1);
    }
    QByteArray reply;
    QVERIFY(c.next(&reply));
    QCOMPARE(parse(reply).value("val"), QJsonValue("0"));
    QVERIFY(!c.next(&reply, 100));
    // A whole frame that is not JSON, or an unknown operation, costs only that request.
    c.write(frame("not json"));
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
    {
        DspClient split(fSplit);
        split.write(frame(get));
        QByteArray payload;
        QVERIFY(split.next(&payload));
        QCOMPARE(parse(payload).value("result"), QJsonValue("succ"));
        QVERIFY2(split.reads().size() >= 3, qPrintable(QString::number(split.reads().size())));
        QCOMPARE(split.reads().first(), 2); // inside the length
    }
    {
        DspClient late(fDelay);
        QElapsedTimer t;
        t.start();
        late.write(frame(get) + frame(get));
        QByteArray payload;
        QVERIFY(late.next(&payload));
        QVERIFY2(t.elapsed() >= 280, qPrintable(QString::number(t.elapsed())));
        // One request at a time: the second waits for the first.
        QVERIFY(late.next(&payload));
        QVERIFY2(t.elapsed() >= 580, qPrintable(QString::number(t.elapsed())));
    }
    {
        DspClient refused(fAccept);
        QVERIFY(refused.closedWithin(2000));
        QVERIFY(refused.unread().isEmpty());
    }
    {
        DspClient dropped(fDrop);
        QVERIFY(dropped.isConnected());
        dropped.write(frame(get));
        QVERIFY(dropped.closedWithin(2000));
        QVERIFY(dropped.unread().isEmpty());
    }
    // The faults are the link's own: UDP on the same devices answers at once.
    for (const char *address : {fSplit, fAccept, fDrop})
        QCOMPARE(m_peer->request(address, 8999, R"({"ops":"getCpuUsage"})", 200).value("result"), QJsonValue("succ"));
}

void TestSimDsp::rebootDropsTheLinkKeepsTheDocument()
{
    DspClient c(b8);
    QCOMPARE(c.ask(R"({"ops":"setGain","nodeId":"2","portIndex":"7","val":"-7.5"})").value("result"),
             QJsonValue("succ"));
    QCOMPARE(m_peer->request(b8, 9994, R"({"ops":"reboot"})").value("result"), QJsonValue("succ"));
    QVERIFY(c.closedWithin(1000));
    QTRY_VERIFY_WITH_TIMEOUT(DspClient(b8).isConnected(), 3000);
    const QJsonObject port =
        config(b8).value("nodeArr").toArray().at(2).toObject().value("portArr").toArray().at(7).toObject();
    QCOMPARE(port.value("gainDb"), QJsonValue("-7.5"));
}

void TestSimDsp::linkFollowsANewAddress()
{
    QCOMPARE(m_peer
                 ->request("255.255.255.255", 9994,
                           R"({"ops":"setIp","devId":"P4","isFixedIp":"1","ip":"127.0.0.40/24",)"
                           R"("gateway":"127.0.0.1","dns":"127.0.0.1"})")
                 .value("result"),
             QJsonValue("succ"));
    QTRY_VERIFY_WITH_TIMEOUT(DspClient("127.0.0.40").isConnected(), 2000);
    QVERIFY(!DspClient(p4).isConnected());
    QCOMPARE(DspClient("127.0.0.40").ask(R"({"ops":"getConfig"})").value("config").toObject().value("sampleRate"),
             QJsonValue("96000"));
}

QTEST_GUILESS_MAIN(TestSimDsp)
#include "tst_simdsp.moc"
