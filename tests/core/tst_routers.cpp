#include "core/app/language.h"
#include "core/devices/devmanager.h"
#include "core/protocol/ipv4.h"
#include "core/protocol/mcastintake.h"
#include "core/protocol/replyrouter.h"
#include "core/protocol/requestrouter.h"

#include "../support/packets.h"

#include <QJsonDocument>
#include <QtTest>

namespace {

quint32 ip(const char *text)
{
    return Ipv4::fromText(QString::fromLatin1(text));
}

QJsonObject parse(const QByteArray &data)
{
    return QJsonDocument::fromJson(data).object();
}

struct Net
{
    DevManager registry;
    Net()
    {
        const QByteArray a = Packets::announcement("A", "10.0.0.2");
        registry.intakeAnnouncement(a.constData(), a.size(), ip("10.0.0.2"), 9996);
    }
    ReplyRouter::Outcome reply(const QByteArray &text, const char *from = "10.0.0.2")
    {
        return ReplyRouter::route(text.constData(), text.size(), ip(from), 9990, registry);
    }
};

} // namespace

class TestRouters : public QObject
{
    Q_OBJECT
private slots:
    void init() { Language::setChinese(false); }
    void requestPorts_data();
    void requestPorts();
    void unknownDeviceIsDroppedButSetIpIsBroadcast();
    void pageOperationsAreTranslated_data();
    void pageOperationsAreTranslated();
    void statisticsGoInPairs();
    void malformedTextIsDropped();
    void taggedRepliesPassThroughUnchanged_data();
    void taggedRepliesPassThroughUnchanged();
    void replyGetsDevIdFromSender();
    void routeFailuresAndOutcomes_data();
    void routeFailuresAndOutcomes();
    void pagedRepliesFeedTheRegistry();
    void levelRepliesGoBackUnderThePageName();
    void eventsAndBlinks();
};

void TestRouters::requestPorts_data()
{
    QTest::addColumn<QString>("op");
    QTest::addColumn<int>("port");
    QTest::newRow("announced") << "setDevName" << 9990;
    QTest::newRow("9994 version") << "getVersion" << 9994;
    QTest::newRow("9994 priority") << "setPtpPriority" << 9994;
    QTest::newRow("9992 gpio") << "testGpio" << 9992;
    QTest::newRow("9993") << "getCfg" << 9993;
    QTest::newRow("7999") << "sendUdpToUart" << 7999;
    QTest::newRow("routing on announced") << "setUcastRx" << 9990;
}

void TestRouters::requestPorts()
{
    QFETCH(QString, op);
    QFETCH(int, port);
    Net n;
    const auto out = RequestRouter::route(QStringLiteral("{\"ops\":\"%1\",\"devId\":\"A\",\"TAG\":\"page\"}").arg(op),
                                          n.registry);
    QCOMPARE(out.size(), 1);
    QCOMPARE(int(out.first().port), port);
    QCOMPARE(out.first().ip, ip("10.0.0.2"));
    QVERIFY(!out.first().data.contains("TAG"));
    QVERIFY(!out.first().data.contains(' '));
    QCOMPARE(parse(out.first().data).value("ops").toString(), op);
}

void TestRouters::unknownDeviceIsDroppedButSetIpIsBroadcast()
{
    Net n;
    QVERIFY(RequestRouter::route("{\"ops\":\"getVersion\",\"devId\":\"nobody\"}", n.registry).isEmpty());
    const auto out = RequestRouter::route("{\"ops\":\"setIp\",\"devId\":\"nobody\",\"isFixedIp\":\"0\"}", n.registry);
    QCOMPARE(out.size(), 1);
    QCOMPARE(out.first().ip, 0xFFFFFFFFu);
    QCOMPARE(out.first().port, quint16(9994));
    QCOMPARE(parse(out.first().data), (QJsonObject{{"ops", "setIp"}, {"devId", "nobody"}, {"isFixedIp", "0"}}));
    // A known device's address command is broadcast too.
    QCOMPARE(RequestRouter::route("{\"ops\":\"setIp\",\"devId\":\"A\"}", n.registry).first().ip, 0xFFFFFFFFu);
    // A fixed port chosen by the page wins over the table.
    QCOMPARE(RequestRouter::routeToPort("{\"ops\":\"setLock\",\"devId\":\"A\"}", 9995, n.registry).first().port,
             quint16(9995));
}

void TestRouters::pageOperationsAreTranslated_data()
{
    QTest::addColumn<QString>("request");
    QTest::addColumn<QString>("deviceOp");
    QTest::addColumn<bool>("paged");
    QTest::newRow("phy level rx") << "{\"ops\":\"getAllPhyLevel\",\"inOrOut\":\"0\"}" << "getAllPhyVolumeDbRx" << true;
    QTest::newRow("phy level tx number") << "{\"ops\":\"getAllPhyLevel\",\"inOrOut\":1}" << "getAllPhyVolumeDbTx" << true;
    QTest::newRow("net level tx") << "{\"ops\":\"getAllNetLevel\",\"inOrOut\":\"1\"}" << "getAllVolumeDbTx" << true;
    QTest::newRow("gain") << "{\"ops\":\"getAllPhyGain\",\"inOrOut\":\"0\"}" << "getAllPhyGainDbRx" << true;
    QTest::newRow("set gain") << "{\"ops\":\"setPhyGain\",\"inOrOut\":\"1\",\"val\":\"-6\"}" << "setPhyGainDbTx" << false;
    QTest::newRow("mute") << "{\"ops\":\"getAllPhyMute\",\"inOrOut\":\"1\"}" << "getAllPhyMuteTx" << true;
    QTest::newRow("set mute") << "{\"ops\":\"setPhyMute\",\"inOrOut\":\"0\"}" << "setPhyMuteRx" << false;
    QTest::newRow("channel name") << "{\"ops\":\"setChName\",\"inOrOut\":\"0\",\"name\":\"Vox\"}" << "setChNameRx" << false;
}

void TestRouters::pageOperationsAreTranslated()
{
    QFETCH(QString, request);
    QFETCH(QString, deviceOp);
    QFETCH(bool, paged);
    Net n;
    QJsonObject r = QJsonDocument::fromJson(request.toUtf8()).object();
    r.insert("devId", "A");
    const auto out = RequestRouter::route(QJsonDocument(r).toJson(QJsonDocument::Compact), n.registry);
    QCOMPARE(out.size(), 1);
    const QJsonObject sent = parse(out.first().data);
    QCOMPARE(sent.value("ops").toString(), deviceOp);
    QVERIFY(!sent.contains("inOrOut"));
    QCOMPARE(sent.value("idStart").toString(), paged ? QStringLiteral("0") : QString());
    QCOMPARE(sent.value("idStart").isString(), paged);
    if (r.contains("name"))
        QCOMPARE(sent.value("name").toString(), QStringLiteral("Vox"));
}

void TestRouters::statisticsGoInPairs()
{
    Net n;
    const auto out = RequestRouter::route("{\"ops\":\"getUcastStats\",\"devId\":\"A\",\"sdpId\":\"3\"}", n.registry);
    QCOMPARE(out.size(), 2);
    QCOMPARE(parse(out.at(0).data).value("ops").toString(), QStringLiteral("getUcastStats"));
    QCOMPARE(parse(out.at(1).data).value("ops").toString(), QStringLiteral("getDelayStatUcast"));
    QCOMPARE(parse(out.at(1).data).value("sdpId").toString(), QStringLiteral("3"));
    QCOMPARE(RequestRouter::statisticsPartner("clrDelayStatMcast"), QStringLiteral("clrMcastStats"));
}

void TestRouters::malformedTextIsDropped()
{
    Net n;
    QVERIFY(RequestRouter::route("{\"ops\":", n.registry).isEmpty());
    QVERIFY(RequestRouter::route("[\"ops\"]", n.registry).isEmpty());
    QVERIFY(RequestRouter::route("{\"ops\":\"getVersion\"}", n.registry).isEmpty());
    for (const QByteArray &reply : {QByteArray("iAmCorvaneLink!"), QByteArray("[1]"), QByteArray()})
        QVERIFY(n.reply(reply).message.isEmpty());
}

void TestRouters::taggedRepliesPassThroughUnchanged_data()
{
    QTest::addColumn<QByteArray>("reply");
    QTest::newRow("dsp") << QByteArray("{\"ops\":\"setLock\",\"uiTag\":\"dspUiTag\",\"result\":\"fail\",\"reason\":\"mismatch\",\"devId\":\"A\"}");
    QTest::newRow("matrix") << QByteArray("{\"ops\":\"getMatrix\",\"uiTag\":\"superMatrixUiTag\",\"devId\":\"A\"}");
    // Even an operation the dispatcher knows goes straight back.
    QTest::newRow("cookie") << QByteArray("{\"ops\":\"getAllRxCh\",\"cookie\":\"0\",\"devId\":\"A\",\"idStart\":\"0\",\"idNext\":8}");
}

void TestRouters::taggedRepliesPassThroughUnchanged()
{
    QFETCH(QByteArray, reply);
    Net n;
    const ReplyRouter::Outcome out = n.reply(reply);
    QVERIFY(out.passedThrough);
    QVERIFY(out.notice.isEmpty());
    QCOMPARE(parse(out.message.toUtf8()), parse(reply));
    QVERIFY(!out.message.contains(' '));
    QCOMPARE(n.registry.findByDevId("A")->tables.fetched[DeviceTables::RxCh], 0);
}

void TestRouters::replyGetsDevIdFromSender()
{
    Net n;
    QCOMPARE(parse(n.reply("{\"ops\":\"getVersion\",\"result\":\"succ\"}").message.toUtf8()).value("devId").toString(),
             QStringLiteral("A"));
    // A devId the reply carries is kept; a stranger gets none.
    QCOMPARE(parse(n.reply("{\"ops\":\"getVersion\",\"devId\":\"Z\"}").message.toUtf8()).value("devId").toString(),
             QStringLiteral("Z"));
    QVERIFY(!parse(n.reply("{\"ops\":\"getVersion\"}", "10.9.9.9").message.toUtf8()).contains("devId"));
    QVERIFY(!parse(n.reply("{\"ops\":\"setIp\",\"result\":\"succ\"}").message.toUtf8()).contains("devId"));
}

void TestRouters::routeFailuresAndOutcomes_data()
{
    QTest::addColumn<QByteArray>("reply");
    QTest::addColumn<bool>("chinese");
    QTest::addColumn<QString>("notice");
    QTest::addColumn<bool>("success");
    auto row = [](const char *name, const char *reply, bool chinese, const char *notice, bool success) {
        QTest::newRow(name) << QByteArray(reply) << chinese << QString::fromUtf8(notice) << success;
    };
    row("locked route", R"({"ops":"setUcastRx","result":"fail","reason":"LOCK_UCAST_MCAST"})", false, "设备已加锁 (the device is locked)", false);
    row("other route failure", R"({"ops":"setMcastRx","result":"fail","reason":"bad param"})", false, "setRx fail", false);
    row("route ok", R"({"ops":"setUcastRx","result":"succ"})", false, "", true);
    row("flow created", R"({"ops":"setMcastTx","result":"succ"})", false, "创建成功 (created)", true);
    row("flow limit zh", R"({"ops":"setMcastTx","result":"fail","reason":"no free sdpId"})", true, "达到流上限", false);
    row("lock set", R"({"ops":"setLock","result":"succ"})", false, "Set successfully", true);
    row("wrong password", R"({"ops":"setPassword","result":"fail","reason":"mismatch"})", true, "密码错误", false);
    row("locked settings", R"({"ops":"setLock","result":"fail","reason":"LOCK_UCAST_MCAST"})", false, "设置失败,设备已上锁 (setting failed: the device is locked)", false);
    row("priority", R"({"ops":"setPtpPriority","result":"fail"})", false, "修改失败 (the change failed)", false);
}

void TestRouters::routeFailuresAndOutcomes()
{
    QFETCH(QByteArray, reply);
    QFETCH(bool, chinese);
    Language::setChinese(chinese);
    Net n;
    const ReplyRouter::Outcome out = n.reply(reply);
    QTEST(out.notice, "notice");
    if (!out.notice.isEmpty())
        QTEST(out.noticeIsSuccess, "success");
    // Pages still see the reply.
    QCOMPARE(parse(out.message.toUtf8()).value("ops"), parse(reply).value("ops"));
}

void TestRouters::pagedRepliesFeedTheRegistry()
{
    Net n;
    const ReplyRouter::Outcome out =
        n.reply("{\"ops\":\"getAllRxCh\",\"result\":\"succ\",\"idStart\":\"0\",\"idNext\":8,\"arr\":[{\"id\":\"0\",\"rtpChId\":\"-1\"}]}");
    QVERIFY(out.registryChanged);
    QVERIFY(out.message.isEmpty());
    QCOMPARE(n.registry.findByDevId("A")->tables.fetched[DeviceTables::RxCh], 8);
}

void TestRouters::levelRepliesGoBackUnderThePageName()
{
    Net n;
    const QJsonObject m =
        parse(n.reply("{\"ops\":\"getAllVolumeDbTx\",\"result\":\"succ\",\"idStart\":\"0\",\"idNext\":2,\"arr\":[\"-3.0\",\"-inf\"]}")
                  .message.toUtf8());
    QCOMPARE(m.value("ops").toString(), QStringLiteral("getAllNetLevel"));
    QCOMPARE(m.value("inOrOut").toString(), QStringLiteral("1"));
    QCOMPARE(m.value("devId").toString(), QStringLiteral("A"));
    QCOMPARE(m.value("arr").toArray().size(), 2);
    QCOMPARE(parse(n.reply("{\"ops\":\"getAllPhyVolumeDbRx\"}").message.toUtf8()).value("ops").toString(),
             QStringLiteral("getAllPhyLevel"));
}

void TestRouters::eventsAndBlinks()
{
    const QByteArray event("{\"ops\":\"iAmCorvane\",\"devId\":\"A\",\"event\":\"masterOffset\",\"state\":\"2\"}");
    McastIntake::Result r = McastIntake::classify(event.constData(), event.size(), ip("10.0.0.2"));
    QCOMPARE(r.kind, McastIntake::Event);
    const QJsonObject o = parse(r.text.toUtf8());
    QCOMPARE(o.value("ops").toString(), QStringLiteral("clockEvent"));
    QCOMPARE(o.value("remoteIp").toString(), QStringLiteral("10.0.0.2"));
    QCOMPARE(o.value("state").toString(), QStringLiteral("2"));

    const QByteArray blink("{\"ops\":\"devReqGuiBlink\",\"devId\":\"A\"}");
    r = McastIntake::classify(blink.constData(), blink.size(), ip("10.0.0.2"));
    QCOMPARE(r.kind, McastIntake::Blink);
    QCOMPARE(r.devId, QStringLiteral("A"));

    const QByteArray plain = Packets::announcement("A", "10.0.0.2");
    QCOMPARE(McastIntake::classify(plain.constData(), plain.size(), 1).kind, McastIntake::Nothing);
    QCOMPARE(McastIntake::classify("{", 1, 1).kind, McastIntake::Nothing);
    const QByteArray empty("{\"ops\":\"x\",\"event\":\"\"}");
    QCOMPARE(McastIntake::classify(empty.constData(), empty.size(), 1).kind, McastIntake::Nothing);
}

QTEST_GUILESS_MAIN(TestRouters)
#include "tst_routers.moc"
