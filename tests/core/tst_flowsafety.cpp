// Third-party flows given as SDP text, and the groups a new flow must not take silently.
#include "core/app/language.h"
#include "core/devices/devmanager.h"
#include "core/mcast/flowaddress.h"
#include "core/mcast/flowplan.h"
#include "core/mcast/flowview.h"
#include "core/mcast/pastedflow.h"
#include "core/protocol/ipv4.h"

#include "../support/packets.h"

#include <QtTest>

namespace {

quint32 ip(const char *text)
{
    return Ipv4::fromText(QLatin1String(text));
}

Device device(const QString &devId, const char *address)
{
    DevManager reg;
    const QByteArray a = Packets::announcement(devId, QLatin1String(address));
    reg.intakeAnnouncement(a.constData(), a.size(), ip(address), 9996);
    return *reg.findByDevId(devId);
}

FlowPlan::CreateInput manual(const char *address)
{
    FlowPlan::CreateInput in;
    in.name = QStringLiteral("Mix");
    in.tickedChannels = QStringList{QStringLiteral("1:0")};
    in.offsetMs = QStringLiteral("0");
    in.mode = FlowPlan::Manual;
    const QStringList octets = QString::fromLatin1(address).split(QLatin1Char('.'));
    for (int i = 0; i < 4; ++i)
        in.octets[i] = octets.at(i);
    in.port = QStringLiteral("5004");
    return in;
}

// A third-party description with LF line ends and no final line break, as a text box gives it back.
QString thirdParty(const QList<QPair<QString, QString>> &changes = {})
{
    QStringList lines{"v=0", "o=- 77 1 IN IP4 10.0.0.50", "s=Foreign Mix", "c=IN IP4 239.77.1.2/32", "t=0 0",
                      "m=audio 5006 RTP/AVP 97", "a=rtpmap:97 L24/48000/4", "a=ptime:0.5",
                      "a=ts-refclk:ptp=IEEE1588-2008:00-1D-C1-FF-FE-AA-BB-CC:0", "a=mediaclk:direct=960"};
    for (QString &line : lines)
        for (const auto &change : changes)
            if (line.startsWith(change.first))
                line = change.second;
    lines.removeAll(QString());
    return lines.join(QLatin1Char('\n'));
}

void sap(DevManager &reg, const QByteArray &sdp, bool deletion = false)
{
    QByteArray p = Packets::sap(sdp);
    if (deletion)
        p[0] = char(p[0] | 0x04);
    reg.intakeSap(p.constData(), p.size(), 0, 9875);
}

} // namespace

class TestFlowSafety : public QObject
{
    Q_OBJECT
private slots:
    void init() { Language::setChinese(false); }
    void reservedGroups_data();
    void reservedGroups();
    void manualAddressConflictAsks();
    void pastedTextRefused_data();
    void pastedTextRefused();
    void pastedFlowStaysUntilRemoved();
    void detailsListSubscribers();
};

void TestFlowSafety::reservedGroups_data()
{
    QTest::addColumn<QString>("group");
    QTest::addColumn<QString>("why"); // a word of the reason, empty when free
    QTest::newRow("local last") << "224.0.0.255" << "local network";
    QTest::newRow("past local") << "224.0.1.0" << "";
    QTest::newRow("below ptp") << "224.0.1.128" << "";
    QTest::newRow("ptp first") << "224.0.1.129" << "PTP";
    QTest::newRow("ptp last") << "224.0.1.132" << "PTP";
    QTest::newRow("above ptp") << "224.0.1.133" << "";
    QTest::newRow("sap") << "239.255.255.255" << "SAP";
    QTest::newRow("announce 188") << "239.0.0.188" << "device announcement";
    QTest::newRow("announce 189") << "239.0.0.189" << "device announcement";
    QTest::newRow("beside announce") << "239.0.0.190" << "";
    QTest::newRow("ordinary") << "239.69.12.34" << "";
}

void TestFlowSafety::reservedGroups()
{
    QFETCH(QString, group);
    QFETCH(QString, why);
    const QString reason = FlowAddress::reserved(Ipv4::fromText(group));
    if (why.isEmpty()) {
        QVERIFY2(reason.isEmpty(), qPrintable(reason));
    } else {
        QVERIFY2(reason.contains(why) && reason.contains(group), qPrintable(reason));
    }
}

void TestFlowSafety::manualAddressConflictAsks()
{
    const Device dev = device("TX", "10.0.0.1");
    FlowRecord drums;
    drums.name = QStringLiteral("Drums");
    drums.dstIp = ip("239.69.1.2");
    const QVector<FlowRecord> flows{drums};

    // A free group goes straight to the command.
    CommandPlan p = FlowPlan::create(dev, manual("239.69.1.3"), flows, [] { return 0; });
    QVERIFY(p.steps.isEmpty());
    QCOMPARE(p.command.value("sdp").toObject().value("dstIp").toString(), QStringLiteral("239.69.1.3"));

    // Another flow's group: one question naming that flow; "yes" still sends to the group typed.
    p = FlowPlan::create(dev, manual("239.69.1.2"), flows, [] { return 0; });
    QCOMPARE(p.steps.size(), 1);
    QCOMPARE(p.steps[0].kind, PlanStep::Confirm);
    QVERIFY2(p.steps[0].text.contains("Drums") && p.steps[0].text.contains("239.69.1.2"), qPrintable(p.steps[0].text));
    QCOMPARE(p.command.value("sdp").toObject().value("dstIp").toString(), QStringLiteral("239.69.1.2"));

    // A reserved group asks too.
    p = FlowPlan::create(dev, manual("224.0.1.129"), flows, [] { return 0; });
    QCOMPARE(p.steps.size(), 1);
    QVERIFY2(p.steps[0].text.contains("PTP"), qPrintable(p.steps[0].text));

    // The range checks still come first: an address outside multicast is a notice, not a question.
    p = FlowPlan::create(dev, manual("223.0.0.1"), flows, [] { return 0; });
    QVERIFY(p.refused());
}

void TestFlowSafety::pastedTextRefused_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("why");
    QTest::newRow("empty") << "  \n " << "Paste an SDP text";
    QTest::newRow("no connection") << thirdParty({{"c=", ""}}) << "no connection address";
    QTest::newRow("unicast") << thirdParty({{"c=", "c=IN IP4 10.0.0.60"}}) << "not a multicast group";
    QTest::newRow("unicast by source filter")
        << thirdParty({{"a=mediaclk", "a=source-filter: incl IN IP4 10.0.0.60 10.0.0.50\na=mediaclk:direct=0"}})
        << "not a multicast group";
    QTest::newRow("non-pcm payload") << thirdParty({{"a=rtpmap", "a=rtpmap:97 AM824/48000/8"}}) << "payload is not supported";
    QString padded = thirdParty();
    while (padded.toUtf8().size() <= 1476)
        padded += QStringLiteral("\na=x-padding:0123456789012345678901234567890123456789");
    QTest::newRow("over-long") << padded << "too long: at most 1476 bytes";
    // A text that fits with exactly the room a datagram leaves is still taken (the final CRLF is counted).
    QString fits = thirdParty() + QStringLiteral("\na=x:");
    fits += QString(1476 - 2 - fits.toUtf8().size(), QLatin1Char('y'));
    QTest::newRow("longest accepted") << fits << "";
}

void TestFlowSafety::pastedTextRefused()
{
    QFETCH(QString, text);
    QFETCH(QString, why);
    const PastedFlow::Result r = PastedFlow::parse(text);
    if (why.isEmpty()) {
        QVERIFY2(r.ok, qPrintable(r.refusal));
        return;
    }
    QVERIFY(!r.ok);
    QVERIFY2(r.refusal.contains(why), qPrintable(r.refusal));
}

void TestFlowSafety::pastedFlowStaysUntilRemoved()
{
    DevManager reg;
    QVector<RegistryNotice> notices;
    reg.setNotifier([&](const RegistryNotice &n) { notices.append(n); });
    sap(reg, Packets::sdp("Announced", "10.0.0.1", "239.69.1.1"));
    const PastedFlow::Result pasted = PastedFlow::parse(thirdParty());
    QCOMPARE(reg.addPastedFlow(pasted.flow).outcome, DevManager::Added);
    QCOMPARE(notices.size(), 2);
    QCOMPARE(notices.last().kind, RegistryNotice::FlowAdded);
    QCOMPARE(notices.last().flowAddress, ip("239.77.1.2"));

    // Past the lifetime the announced flow is gone and the pasted one is still there.
    reg.clock(DevManager::kLifetimeMs + 1000);
    QCOMPARE(reg.flowCount(), 1);
    QVERIFY(reg.findFlow(ip("239.77.1.2"))->pasted);
    // An announcement of the same group refreshes it without making it age.
    sap(reg, Packets::sdp("Foreign Mix v2", "10.0.0.50", "239.77.1.2"));
    reg.clock(DevManager::kLifetimeMs + 1000);
    QCOMPARE(reg.findFlow(ip("239.77.1.2"))->name, QStringLiteral("Foreign Mix v2"));

    // Only pasted flows are removed by hand.
    sap(reg, Packets::sdp("Announced", "10.0.0.1", "239.69.1.1"));
    QVERIFY(!reg.removePastedFlow(ip("239.69.1.1")));
    notices.clear();
    QVERIFY(reg.removePastedFlow(ip("239.77.1.2")));
    QCOMPARE(notices.size(), 1);
    QCOMPARE(notices[0].kind, RegistryNotice::FlowRemoved);
    QVERIFY(!reg.removePastedFlow(ip("239.77.1.2")));

    // A SAP deletion of its group removes a pasted flow at once too.
    QCOMPARE(reg.addPastedFlow(pasted.flow).outcome, DevManager::Added);
    sap(reg, Packets::sdp("Foreign Mix", "10.0.0.50", "239.77.1.2"), true);
    QVERIFY(!reg.findFlow(ip("239.77.1.2")));
    QCOMPARE(notices.last().kind, RegistryNotice::FlowRemoved);
    QCOMPARE(reg.flowCount(), 1);
}

void TestFlowSafety::detailsListSubscribers()
{
    Device amp = device("AMP", "10.0.0.3");
    amp.rec.name.set("Amp");
    Device rx = device("RX", "10.0.0.2");
    rx.rec.name.set("Booth");
    Device other = device("OT", "10.0.0.4");
    const FlowRecord flow = PastedFlow::parse(thirdParty()).flow;
    RtpChItem route;
    route.name = flow.name;
    route.srcIp = flow.srcIp;
    route.dstIp = flow.dstIp;
    route.srcChId = 1;
    for (Device *d : {&amp, &rx}) {
        d->tables.rtpCh = {route};
        d->tables.rxCh = {-1, 0};
    }
    // The other device receives another flow.
    route.dstIp = ip("239.69.1.1");
    other.tables.rtpCh = {route};
    other.tables.rxCh = {0};
    const FlowView::Details d = FlowView::details(flow, {rx, other, amp});
    QCOMPARE(d.subscribers, QStringList({"Amp (10.0.0.3)", "Booth (10.0.0.2)"}));
    QVERIFY(d.devId.isEmpty()); // nobody known sends it
    QCOMPARE(d.channels.size(), 4);
}

QTEST_APPLESS_MAIN(TestFlowSafety)
#include "tst_flowsafety.moc"
