// A flow no simulated device announces, given to corvane-cli as an SDP file and subscribed to by a simulated
// receiver, inside a private network namespace (tests/netns-run).
#include "../support/clirunner.h"

#include <QTemporaryDir>
#include <QtTest>

namespace {

CliRun cli(const QStringList &args)
{
    return CliRunner({"--interface", "127.0.0.1"}).run(args);
}

QByteArray thirdPartySdp(const char *group)
{
    return QStringLiteral("v=0\no=- 4242 1 IN IP4 127.0.0.77\ns=Foreign Console\nc=IN IP4 %1/32\nt=0 0\n"
                          "m=audio 5004 RTP/AVP 97\na=rtpmap:97 L24/48000/4\na=ptime:1\n"
                          "a=ts-refclk:ptp=IEEE1588-2008:00-1D-C1-FF-FE-00-00-02:0\na=mediaclk:direct=0\n")
        .arg(QLatin1String(group))
        .toUtf8();
}

QJsonObject findRoute(const QJsonArray &routes, const char *rxDevId, int rxCh)
{
    for (const QJsonValue &v : routes) {
        const QJsonObject o = v.toObject();
        if (o.value("rxDevId").toString() == QLatin1String(rxDevId) && o.value("rxCh").toInt() == rxCh)
            return o;
    }
    return QJsonObject();
}

} // namespace

class TestPastedFlowSim : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase();
    void pastedFlowSubscribedByADevice();

private:
    QString write(const char *name, const QByteArray &text);
    QTemporaryDir m_dir;
};

void TestPastedFlowSim::initTestCase()
{
    REQUIRE_PRIVATE_NETWORK();
    QVERIFY(m_dir.isValid());
}

QString TestPastedFlowSim::write(const char *name, const QByteArray &text)
{
    QFile f(m_dir.filePath(QLatin1String(name)));
    if (!f.open(QIODevice::WriteOnly) || f.write(text) != text.size())
        return QString();
    return f.fileName();
}

void TestPastedFlowSim::pastedFlowSubscribedByADevice()
{
    Simulator sim;
    QVERIFY2(sim.start(), sim.why());

    // A refused text: the reason, and nothing sent to the device.
    const QString unicast = write("unicast.sdp", thirdPartySdp("127.0.0.88"));
    CliRun r = cli({"--wait", "2", "--yes", "flow", "add-sdp", unicast, "--subscribe", "SIM-0008:3"});
    QCOMPARE(r.code, 2);
    QVERIFY2(r.err.contains("not a multicast group"), r.err.constData());
    QVERIFY(!r.out.contains("sent:"));

    // Receive channel 3 of the rack takes channel 2 of a flow only the file describes.
    const QString file = write("foreign.sdp", thirdPartySdp("239.77.1.2"));
    r = cli({"--wait", "4", "--yes", "flow", "add-sdp", file, "--subscribe", "SIM-0008:3", "--flow-channel", "2"});
    QVERIFY2(r.code == 0, r.err.constData());
    QVERIFY2(r.out.contains("flow: Foreign Console 239.77.1.2:5004 from 127.0.0.77"), r.out.constData());
    QVERIFY2(r.out.contains("\"ops\":\"setMcastRx\"") && r.out.contains("\"result\":\"succ\""), r.out.constData());

    // The subscription is the device's: a later run reads it back from its tables.
    r = cli({"--wait", "20", "--json", "routes"});
    QVERIFY2(r.code == 0, r.err.constData());
    const QJsonObject route = findRoute(r.json.array(), "SIM-0008", 3);
    QCOMPARE(route, (QJsonObject{{"rxDevId", "SIM-0008"}, {"rxCh", 3}, {"flowDstIp", "239.77.1.2"}, {"flowCh", 2}}));
    // It receives from the sender and group the text gave.
    r = cli({"--wait", "10", "send", "SIM-0008", R"({"ops":"getAllMcastRx","idStart":"0"})"});
    QVERIFY2(r.code == 0, r.err.constData());
    const QJsonArray rx = r.json.object().value("arr").toArray();
    QJsonObject subscription;
    for (const QJsonValue &v : rx)
        if (v.toObject().value("dstIp").toString() == QLatin1String("239.77.1.2"))
            subscription = v.toObject();
    QCOMPARE(subscription.value("srcIp").toString(), QStringLiteral("127.0.0.77"));
    QCOMPARE(subscription.value("dstPort").toString(), QStringLiteral("5004"));
    QCOMPARE(subscription.value("chNum").toString(), QStringLiteral("4"));
    QCOMPARE(subscription.value("rtpChIdArr").toArray(), QJsonArray{"2"});
}

QTEST_MAIN(TestPastedFlowSim)
#include "tst_pastedflowsim.moc"
