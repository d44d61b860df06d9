// The virtual devices' signal processor: the configuration document, its
// changes over the TCP link and UDP, the lock, the meters, and the link's
// framing and faults, all seen from a plain socket as the program would.
// The delayed link and the editor's own use of it run end to end in tst_clisim.
#include "simpeer.h"

#include <QElapsedTimer>
#include <QJsonArray>
#include <QJsonDocument>
#include <QTcpSocket>
#include <QtEndian>
#include <QtTest>
#include <algorithm>

namespace {

const char *const m16 = "127.0.0.2"; // RK1616D: inputs, AEC, automixer, matrix, outputs
const char *const p4 = "127.0.0.3";  // RK0404D at 96 kHz
const char *const b8 = "127.0.0.4";  // RK0808D, DSP by its model code alone
const char *const n8 = "127.0.0.5";  // RK0808: no signal processor
const char *const fSplit = "127.0.0.6";
const char *const fAccept = "127.0.0.7";
const char *const fDrop = "127.0.0.8";

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


// Every scalar of the document is text.
bool allText(const QJsonValue &v)
{
    if (v.isObject()) {
        const QJsonObject o = v.toObject();
        return std::all_of(o.begin(), o.end(), [](const QJsonValue &m) { return allText(m); });
    }
    if (v.isArray()) {
        const QJsonArray a = v.toArray();
        return std::all_of(a.begin(), a.end(), [](const QJsonValue &m) { return allText(m); });
    }
    return v.isString();
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
    void lockRefusesChangesNotReads();
    void metersAndStatusOverUdp();
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
    QCOMPARE(m_net->devices().size(), 7);
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
    QCOMPARE(reply.value("result").toString(), QStringLiteral("succ"));
    QCOMPARE(reply.value("uiTag").toString(), QStringLiteral("dspUiTag"));
    QVERIFY(!reply.contains("devId"));
    // Compact, members sorted: exactly what Qt writes for the same object.
    QCOMPARE(bytes, QJsonDocument(reply).toJson(QJsonDocument::Compact));
    const QJsonObject cfg = reply.value("config").toObject();
    QVERIFY(allText(cfg));
    QCOMPARE(cfg.value("version").toString(), QStringLiteral("4"));
    QTEST(cfg.value("sampleRate").toString(), "sampleRate");
    const QJsonArray nodes = cfg.value("nodeArr").toArray();
    QCOMPARE(types(nodes), nodeTypes);
    for (const QJsonValue &n : nodes)
        QCOMPARE(n.toObject().value("portNum").toString(), QString::number(n.toObject().value("portArr").toArray().size()));
    // docs/dsp.md's default chains, every block bypassed.
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
    QTest::newRow("compressor parameters, others kept")
        << false
        << QByteArray(R"({"ops":"setBorderProc","uiTag":"dspUiTag","blockFlag":"bf_out_ch_2_4","nodeId":"4",)"
                      R"("portIndex":"2","procIndex":"4","obj":{"ratio":"4.0","trigDb":"-30.5"}})")
        << QByteArray(
               R"({"nodeArr/4/portArr/2/procArr/4/obj/ratio":"4","nodeArr/4/portArr/2/procArr/4/obj/trigDb":"-30.5"})");
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
    QTest::newRow("block out of range: nothing") << false
        << QByteArray(R"({"ops":"setBorderProcBypass","nodeId":"0","portIndex":"0","procIndex":"8","val":"0"})")
        << QByteArray("{}");
    QTest::newRow("setConfig with too few inputs: nothing") << false
        << QByteArray(R"({"ops":"setConfig","index":"0","inArr":[],"outArr":[]})") << QByteArray("{}");
}

void TestSimDsp::changesTouchExactlyTheirTarget()
{
    QFETCH(bool, udp);
    QFETCH(QByteArray, request);
    QFETCH(QByteArray, changes);
    const QJsonObject before = config(m16);
    const QJsonObject reply = udp ? m_peer->request(m16, 8999, request) : DspClient(m16).ask(request);
    const bool expectChange = changes != "{}";
    QCOMPARE(reply.value("result").toString(), expectChange ? QStringLiteral("succ") : QStringLiteral("fail"));
    if (!expectChange)
        QCOMPARE(reply.value("reason").toString(), QStringLiteral("bad param"));
    QCOMPARE(reply.value("blockFlag"), parse(request).value("blockFlag"));
    QJsonObject changed;
    diff(before, config(m16), QString(), &changed);
    QCOMPARE(changed, parse(changes));
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
    const QJsonObject cpu = m_peer->request(b8, 8999, R"({"ops":"getCpuUsage","uiTag":"dspUiTag"})");
    QCOMPARE(cpu.value("uiTag"), QJsonValue("dspUiTag"));
    const int idle = cpu.value("val").toString().toInt();
    QVERIFY2(idle >= 10 && idle <= 40, qPrintable(QString::number(idle)));
    const QRegularExpression level(QStringLiteral("^(-inf|-?[0-9]+\\.[0-9])$"));
    for (const char *ops : {"getVolumeDbBatchIn", "getVolumeDbBatchOut"}) {
        const QJsonArray arr =
            m_peer->request(b8, 8999, QByteArray(R"({"ops":")") + ops + R"("})").value("arr").toArray();
        QCOMPARE(arr.size(), 8);
        for (const QJsonValue &v : arr)
            QVERIFY2(level.match(v.toString()).hasMatch(), qPrintable(v.toString()));
    }
    QCOMPARE(m_peer->request(b8, 12001, R"({"ops":"getDspStatus","uiTag":"dspUiTag"})").value("val"), QJsonValue("0"));
    const int temp = m_peer->request(b8, 12001, R"({"ops":"getDspTemperature"})").value("val").toString().toInt();
    QVERIFY2(temp > 20 && temp < 80, qPrintable(QString::number(temp)));
    // Only the link carries the document; only DSP models have a processor.
    QCOMPARE(m_peer->request(b8, 8999, R"({"ops":"getConfig"})").value("reason"), QJsonValue("unknown ops"));
    QCOMPARE(DspClient(b8).ask(R"({"ops":"getCpuUsage"})").value("reason"), QJsonValue("unknown ops"));
    QCOMPARE(m_peer->request(n8, 8999, R"({"ops":"getCpuUsage"})").value("reason"), QJsonValue("unknown ops"));
    QCOMPARE(m_peer->request(n8, 12001, R"({"ops":"getDspStatus"})").value("reason"), QJsonValue("unknown ops"));
    QVERIFY(!DspClient(n8).isConnected());
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
