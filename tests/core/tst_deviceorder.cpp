// The one order of every list of devices and flows, and the clock summary built on it: the leader of each
// domain, the locked count and the sample-rate mismatch rule.
#include "core/app/language.h"
#include "core/clock/clocksummary.h"
#include "core/devices/deviceorder.h"

#include <QtTest>

namespace {

Device device(const char *id, const char *name)
{
    Device d;
    d.rec.devId.set(id);
    d.rec.name.set(name);
    return d;
}

QStringList ids(const QVector<Device> &devices)
{
    QStringList out;
    for (const Device &d : devices)
        out << d.devId();
    return out;
}

const char kZero[] = "00-00-00-00-00-00-00-00";

QString clk(int n)
{
    return QStringLiteral("00-1D-C1-FF-FE-00-00-%1").arg(n, 2, 10, QLatin1Char('0'));
}

// A device with clock identity n following leader's identity (0: none), at a rate, in a domain.
ClockMember member(const char *id, const char *name, int n, int leader, int ptpState = 2, int domain = 0,
                   int rate = 48000)
{
    ClockMember m;
    m.rec.devId.set(id);
    m.rec.name.set(name);
    m.rec.model.set("RK0808");
    m.rec.myClkId.set(clk(n).toUtf8());
    m.rec.gmClkId.set(leader ? clk(leader).toUtf8() : QByteArray(kZero));
    m.rec.sampleRate = rate;
    m.ptpState = ptpState;
    m.ptpDomain = domain;
    return m;
}

} // namespace

class TestDeviceOrder : public QObject
{
    Q_OBJECT
private slots:
    void init() { Language::setChinese(false); }
    void names_data();
    void names();
    void devicesAndFlows();
    void leaderPerDomain();
    void sampleRateMismatch();
};

void TestDeviceOrder::names_data()
{
    QTest::addColumn<QString>("first");
    QTest::addColumn<QString>("second");
    QTest::newRow("numbers by value") << "Stage Box 2" << "Stage Box 10";
    QTest::newRow("longer than any integer") << "Box 99999999999999999999" << "Box 100000000000000000000";
    QTest::newRow("case ignored first") << "amp" << "Bass";
    QTest::newRow("case decides a tie") << "Stage" << "stage";
    QTest::newRow("leading zeros decide a tie") << "Box 02" << "Box 2";
    QTest::newRow("prefix first") << "Box" << "Box 1";
    QTest::newRow("digits before letters") << "Box 1" << "Box A";
    QTest::newRow("Chinese by code point") << "一号" << "二号";
}

void TestDeviceOrder::names()
{
    QFETCH(QString, first);
    QFETCH(QString, second);
    QVERIFY(DeviceOrder::compareNames(first, second) < 0);
    QVERIFY(DeviceOrder::compareNames(second, first) > 0);
    QCOMPARE(DeviceOrder::compareNames(first, first), 0);
}

void TestDeviceOrder::devicesAndFlows()
{
    // Equal names go by id, compared the same way.
    const QVector<Device> arrived{device("SIM-0010", "Twin"), device("B", "stage box 10"), device("SIM-0002", "Twin"),
                                  device("A", "Stage Box 2"), device("C", "")};
    const QStringList expected{"C", "A", "B", "SIM-0002", "SIM-0010"};
    QCOMPARE(ids(DeviceOrder::sorted(arrived)), expected);
    QCOMPARE(DeviceOrder::indexOrder(arrived), (QVector<int>{4, 3, 1, 2, 0}));

    FlowRecord a, b, c;
    a.name = "Mix";
    a.dstIp = 0xEF450009;
    b.name = "Mix";
    b.dstIp = 0xEF450003;
    c.name = "Bus 10";
    c.dstIp = 0xEF450001;
    QVector<FlowRecord> flows{a, b, c};
    DeviceOrder::sort(flows);
    QCOMPARE(flows.at(0).name, QStringLiteral("Bus 10"));
    QCOMPARE(flows.at(1).dstIp, 0xEF450003u);
    QCOMPARE(DeviceOrder::indexOrder(QVector<FlowRecord>{a, b, c}), (QVector<int>{2, 1, 0}));
}

void TestDeviceOrder::leaderPerDomain()
{
    // Domain 0 led by Stage Box 8 (one follower still settling, one virtual sound card); domain 1 led by a clock
    // no listed device has; one device that found no leader yet.
    ClockMember card = member("PC", "PC Audio", 5, 2, -1);
    card.rec.model.set("RK0000");
    const QVector<ClockMember> members{member("D3", "Console", 3, 2),           member("D2", "Stage Box 8", 2, 2),
                                       member("D1", "Stage Box 2", 1, 2, 1),   card,
                                       member("X1", "Far Rack", 9, 40, 2, 1),  member("N1", "Lonely", 7, 0, 0, -1)};
    const QVector<ClockDomainSummary> s = ClockSummary::domains(members);
    QCOMPARE(s.size(), 3);
    QCOMPARE(s.at(0).domain, 0);
    QCOMPARE(s.at(0).leaderDevId, QStringLiteral("D2"));
    QCOMPARE(s.at(0).locked, 3);
    QCOMPARE(s.at(0).total, 4);
    QCOMPARE(s.at(0).text(), QStringLiteral("Domain 0 · leader Stage Box 8 (D2) · 3 of 4 locked"));
    QCOMPARE(s.at(1).domain, 1);
    QVERIFY(s.at(1).leaderDevId.isEmpty());
    QCOMPARE(s.at(1).text(), "Domain 1 · leader " + clk(40) + " (not in the list) · 1 of 1 locked");
    QCOMPARE(s.at(2).text(), QStringLiteral("No clock leader · 0 of 1 locked"));

    // Before "getVersion" is answered the domain is not known; the leader's own report wins over its followers'.
    QVector<ClockMember> early = members.mid(0, 3);
    for (ClockMember &m : early)
        m.ptpDomain = -1;
    QCOMPARE(ClockSummary::domains(early).at(0).text(), QStringLiteral("Domain — · leader Stage Box 8 (D2) · 2 of 3 locked"));
    early[0].ptpDomain = 3;
    early[2].ptpDomain = 3;
    QCOMPARE(ClockSummary::domains(early).at(0).domain, 3);
    early[1].ptpDomain = 4;
    QCOMPARE(ClockSummary::domains(early).at(0).domain, 4);
}

void TestDeviceOrder::sampleRateMismatch()
{
    // The simulator's network: one 96 kHz device among 48 kHz ones.
    QVector<ClockMember> net{member("D1", "Stage Box 2", 1, 2), member("D7", "Wall Panel 4", 7, 2, 2, 0, 96000),
                             member("D2", "Stage Box 8", 2, 2), member("D0", "Unknown", 8, 2, 2, 0, 0)};
    SampleRateCheck c = ClockSummary::sampleRates(net);
    QCOMPARE(c.prevailingRate, 48000);
    QCOMPARE(c.odd.size(), 1);
    QCOMPARE(c.odd.at(0).devId, QStringLiteral("D7"));
    QCOMPARE(c.text(), QStringLiteral("Sample rates differ: most devices run at 48 kHz; Wall Panel 4 runs at 96 kHz"));

    // One rate (devices that tell none aside): nothing to say.
    net.remove(1);
    QVERIFY(!ClockSummary::sampleRates(net).mismatch());
    QVERIFY(ClockSummary::sampleRates(net).text().isEmpty());

    // A tie goes to the lower rate; many odd devices are named up to a limit, in the standard order.
    QVector<ClockMember> split;
    for (int i = 9; i >= 1; --i) {
        const QByteArray name = "Box " + QByteArray::number(i);
        split.append(member(name.constData(), name.constData(), i, 1, 2, 0, 44100));
        split.append(member(("Hi" + name).constData(), ("Hi " + name).constData(), 20 + i, 1, 2, 0, 96000));
    }
    c = ClockSummary::sampleRates(split);
    QCOMPARE(c.prevailingRate, 44100);
    QCOMPARE(c.odd.size(), 9);
    QVERIFY(c.text().startsWith("Sample rates differ: most devices run at 44.1 kHz; Hi Box 1 runs at 96 kHz, "));
    QVERIFY(c.text().endsWith(", Hi Box 6 runs at 96 kHz and 3 more"));
}

QTEST_GUILESS_MAIN(TestDeviceOrder)
#include "tst_deviceorder.moc"
