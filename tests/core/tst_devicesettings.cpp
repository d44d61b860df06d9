#include "core/app/language.h"
#include "core/app/texts.h"
#include "core/device/addressplan.h"
#include "core/device/amplifierinfo.h"
#include "core/device/gpiopin.h"
#include "core/device/lockchoice.h"
#include "core/device/lockplan.h"
#include "core/device/settingsdisplay.h"
#include "core/device/settingsplan.h"
#include "core/devices/deviceuistore.h"

#include <QJsonDocument>
#include <QtTest>

namespace {

QString json(const QJsonObject &o)
{
    return QString::fromUtf8(QJsonDocument(o).toJson(QJsonDocument::Compact));
}

QString noticeOf(const CommandPlan &p)
{
    return p.refused() ? p.steps.last().text : QString();
}

QStringList ops(const QVector<QJsonObject> &requests)
{
    QStringList out;
    for (const QJsonObject &o : requests)
        out << o.value(QLatin1String("ops")).toString();
    return out;
}

} // namespace

class TestDeviceSettings : public QObject
{
    Q_OBJECT
private slots:
    void init() { Language::setChinese(false); }
    void openingRequestsFollowTheModel();
    void rename();
    void channelNames();
    void settings_data();
    void settings();
    void settingRanges();
    void amplifierAndGpio();
    void rebootAsksFirst();
    void formats();
    void packetTimeDivFromAnnouncement();
    void choices();
    void addressFieldsRoundTrip();
    void lockChoicesRoundTripThroughTheDevice();
    void settingsCover();
    void repliesReadAtTheEdge();
};

void TestDeviceSettings::openingRequestsFollowTheModel()
{
    const QStringList base{"getVersion", "getIp", "getLock", "getDebugInfo"};
    QCOMPARE(ops(SettingsPlan::openingRequests("D1", "RK0808")), base);
    QCOMPARE(ops(SettingsPlan::openingRequests("D1", "RK7731")), (base + QStringList{"getInfo", "getGpioInfo"}));
    QCOMPARE(ops(SettingsPlan::openingRequests("D1", "RK0404D")), base + QStringList{"getGpioInfo"});
}

void TestDeviceSettings::rename()
{
    // 22 three-byte characters: 66 bytes, though only 22 characters.
    QCOMPARE(noticeOf(SettingsPlan::rename("D1", QString(22, QChar(0x4E2D)), "Old")), tx(Tx::DsNameTooLong));
    QVERIFY(!SettingsPlan::rename("D1", QString(21, QChar(0x4E2D)), "Old").command.isEmpty());
    const CommandPlan same = SettingsPlan::rename("D1", "Old", "Old");
    QVERIFY(same.steps.isEmpty() && same.command.isEmpty());
}

void TestDeviceSettings::channelNames()
{
    QCOMPARE(json(SettingsPlan::channelName("D1", DeviceTables::NameTx, 3, "Vox").command),
             QStringLiteral(R"({"chId":"3","devId":"D1","name":"Vox","ops":"setChNameTx"})"));
    QCOMPARE(SettingsPlan::channelName("D1", DeviceTables::PhyNameRx, 0, "").command.value("ops").toString(),
             QStringLiteral("setPhyChNameRx"));
    QCOMPARE(noticeOf(SettingsPlan::channelName("D1", DeviceTables::NameRx, 0, QString(65, 'x'))),
             tx(Tx::DsNameTooLong));
    QVERIFY(SettingsPlan::channelName("D1", DeviceTables::NameRx, -1, "x").command.isEmpty());
}

void TestDeviceSettings::settings_data()
{
    QTest::addColumn<int>("setting");
    QTest::addColumn<int>("value");
    QTest::addColumn<QString>("expected");
    QTest::newRow("rate") << int(SettingsPlan::SampleRate) << 96000
                          << R"({"devId":"D1","ops":"setSampleRate","sampleRate":"96000"})";
    QTest::newRow("packet") << int(SettingsPlan::PacketTimeDiv) << 4
                            << R"({"devId":"D1","ops":"setPacketTimeDiv","packetTimeDiv":"4"})";
    QTest::newRow("bytes") << int(SettingsPlan::SampleByteNum) << 2
                           << R"({"devId":"D1","ops":"setSampleByteNum","sampleByteNum":"2"})";
    QTest::newRow("latency") << int(SettingsPlan::DelayUs) << 250
                             << R"({"delayUs":"250","devId":"D1","ops":"setDelayUs"})";
    QTest::newRow("dscp") << int(SettingsPlan::Dscp) << 34 << R"({"devId":"D1","dscp":"34","ops":"setDscp"})";
    QTest::newRow("domain") << int(SettingsPlan::PtpDomain) << 127
                            << R"({"devId":"D1","ops":"setPtpDomain","val":"127"})";
    QTest::newRow("ptp dscp") << int(SettingsPlan::PtpDscp) << 0 << R"({"devId":"D1","ops":"setPtpDscp","val":"0"})";
}

void TestDeviceSettings::settings()
{
    QFETCH(int, setting);
    QFETCH(int, value);
    QFETCH(QString, expected);
    const CommandPlan p = SettingsPlan::setting("D1", SettingsPlan::Setting(setting), value);
    QVERIFY(p.steps.isEmpty());
    QCOMPARE(p.port, quint16(0));
    QCOMPARE(json(p.command), expected);
}

void TestDeviceSettings::settingRanges()
{
    QCOMPARE(noticeOf(SettingsPlan::setting("D1", SettingsPlan::PtpDomain, 128)),
             QStringLiteral("Enter a value from 0 to 127."));
    QCOMPARE(noticeOf(SettingsPlan::setting("D1", SettingsPlan::Dscp, 64)),
             QStringLiteral("Enter a value from 0 to 63."));
    QVERIFY(SettingsPlan::setting("D1", SettingsPlan::PtpDscp, -1).refused());
    QVERIFY(SettingsPlan::setting("D1", SettingsPlan::SampleRate, 0).refused());
    int min = 0, max = 0;
    SettingsPlan::range(SettingsPlan::PtpDomain, &min, &max);
    QCOMPARE(min, 0);
    QCOMPARE(max, 127);
}

void TestDeviceSettings::amplifierAndGpio()
{
    QCOMPARE(SettingsPlan::setGain("A", 0, -0.04).command.value("gain").toString(), QStringLiteral("0.0"));
    QCOMPARE(SettingsPlan::setGain("A", 0, 2.25).command.value("gain").toString(), QStringLiteral("2.3"));
    QVERIFY(SettingsPlan::setGain("A", 0, 12.5).refused());
    QVERIFY(SettingsPlan::setGain("A", 0, -80.5).refused());
    QCOMPARE(json(SettingsPlan::setGpio("A", 1, true, true).command),
             QStringLiteral(R"({"devId":"A","gpioInfo":{"dir":"out","isHigh":"1"},"index":"1","ops":"setGpioInfo"})"));
    // An input cannot be driven high.
    const QJsonObject input = SettingsPlan::setGpio("A", 0, false, true).command.value("gpioInfo").toObject();
    QCOMPARE(input.value("isHigh").toString(), QStringLiteral("0"));
    QVERIFY(SettingsPlan::isChange("setChName"));
    QVERIFY(SettingsPlan::isChange("setGain"));
    QVERIFY(!SettingsPlan::isChange("getInfo"));
    QVERIFY(!SettingsPlan::isChange("setLock"));
}

void TestDeviceSettings::rebootAsksFirst()
{
    const CommandPlan p = SettingsPlan::reboot("D1", "Stage Box");
    QCOMPARE(p.steps.size(), 1);
    QCOMPARE(p.steps.first().kind, PlanStep::Confirm);
    QCOMPARE(p.steps.first().text, QStringLiteral("Reboot Stage Box? Its audio stops until it is back."));
    QVERIFY(!p.refused());
    QCOMPARE(json(p.command), QStringLiteral(R"({"devId":"D1","ops":"reboot"})"));
}

void TestDeviceSettings::formats()
{
    QCOMPARE(SettingsDisplay::temperature("-1200"), QStringLiteral("-1.2 °C"));
    QCOMPARE(SettingsDisplay::temperature(""), QString());
    QCOMPARE(SettingsDisplay::sampleBytes(2), QStringLiteral("16-bit (L16)"));
    QCOMPARE(SettingsDisplay::sampleRate(44100), QStringLiteral("44.1 kHz"));
    QCOMPARE(SettingsDisplay::packetTime(4), QStringLiteral("250 µs"));
    QCOMPARE(SettingsDisplay::packetTime(8), QStringLiteral("125 µs"));
    QCOMPARE(SettingsDisplay::packetTime(3), QStringLiteral("333.3 µs"));
    QCOMPARE(SettingsDisplay::latency(1500), QStringLiteral("1.5 ms"));
    QCOMPARE(SettingsDisplay::latency(250), QStringLiteral("250 µs"));
}

void TestDeviceSettings::packetTimeDivFromAnnouncement()
{
    QCOMPARE(SettingsDisplay::packetTimeDiv(48000, 48), 1);
    QCOMPARE(SettingsDisplay::packetTimeDiv(48000, 12), 4);
    QCOMPARE(SettingsDisplay::packetTimeDiv(44100, 44), 1);
    QCOMPARE(SettingsDisplay::packetTimeDiv(44100, 11), 4);
    QCOMPARE(SettingsDisplay::packetTimeDiv(96000, 12), 8);
    QCOMPARE(SettingsDisplay::packetTimeDiv(0, 48), 0);
    QCOMPARE(SettingsDisplay::packetTimeDiv(48000, 0), 0);
}

void TestDeviceSettings::choices()
{
    SettingsDisplay::Choices c = SettingsDisplay::choices({"96000", "48000", "44100"}, 48000);
    QCOMPARE(c.values, (QStringList{"44100", "48000", "96000"}));
    QCOMPARE(c.current, 1);
    c = SettingsDisplay::choices({"48000", "96000"}, 88200);
    QCOMPARE(c.values, (QStringList{"48000", "88200", "96000"}));
    QCOMPARE(c.current, 1);
    c = SettingsDisplay::choices({}, 2000);
    QCOMPARE(c.values, QStringList{"2000"});
    QCOMPARE(c.current, 0);
    c = SettingsDisplay::choices({"1", "x", "1", "4"}, 0);
    QCOMPARE(c.values, (QStringList{"1", "4"}));
    QCOMPARE(c.current, -1);
}

void TestDeviceSettings::addressFieldsRoundTrip()
{
    const AddressPlan::Current fixed{true, "192.168.1.20/24", "192.168.1.1", "8.8.8.8"};
    const AddressPlan::Input in = SettingsDisplay::addressFields(fixed);
    QVERIFY(!in.automatic);
    QCOMPARE(QStringList({in.mask[0], in.mask[1], in.mask[2], in.mask[3]}), (QStringList{"255", "255", "255", "0"}));

    const AddressPlan::Input sixteen = SettingsDisplay::addressFields({true, "10.1.2.3/16", "", ""});
    QCOMPARE(sixteen.mask[1], QStringLiteral("255"));
    QCOMPARE(sixteen.mask[2], QStringLiteral("0"));
    QVERIFY(sixteen.gateway[0].isEmpty());
    QVERIFY(SettingsDisplay::addressFields({false, "10.1.2.3/16", "", ""}).automatic);
    QCOMPARE(SettingsDisplay::maskOfPrefix(0), QStringLiteral("0.0.0.0"));
    QCOMPARE(SettingsDisplay::maskOfPrefix(25), QStringLiteral("255.255.255.128"));
    QCOMPARE(SettingsDisplay::maskOfPrefix(32), QStringLiteral("255.255.255.255"));
    QCOMPARE(SettingsDisplay::maskOfPrefix(33), QString());
}

void TestDeviceSettings::lockChoicesRoundTripThroughTheDevice()
{
    // What a device reports for the masks it was sent (the device side of the lock).
    const auto reported = [](quint32 mask, quint32 dspMask, int *dev, int *route, int *dsp) {
        *dev = mask & 0x1 ? 1 : 0;
        *route = (mask & 0x10002) == 0x10002 ? 3 : (mask & 0x2) ? 1 : 0;
        *dsp = dspMask == 0x1f ? 1 : dspMask == 0x1001f ? 2 : dspMask == 0x1 ? 3 : 0;
    };
    for (int d = LockChoice::DetailsNormal; d <= LockChoice::DetailsHidden; ++d) {
        for (int r = LockChoice::RoutingNormal; r <= LockChoice::RoutingReadOnly; ++r) {
            for (int p = LockChoice::DspNormal; p <= LockChoice::DspHidden; ++p) {
                LockChoice c;
                c.details = LockChoice::Details(d);
                c.routing = LockChoice::Routing(r);
                c.dsp = LockChoice::Dsp(p);
                int dev = 0, route = 0, dsp = 0;
                reported(LockPlan::settingsMask(c.detailsLevel(), c.routingLevel()), LockPlan::dspMask(c.dspLevel()),
                         &dev, &route, &dsp);
                const LockChoice back = LockChoice::fromDevice(dev, route, dsp);
                QCOMPARE(int(back.details), d);
                QCOMPARE(int(back.dsp), p);
                // A hidden device is out of routing, whatever the routing choice said.
                QCOMPARE(int(back.routing), d == LockChoice::DetailsHidden ? int(LockChoice::RoutingReadOnly) : r);
            }
        }
    }
}

void TestDeviceSettings::settingsCover()
{
    DeviceUiData ui;
    ui.devLock = 1;
    QCOMPARE(LockChoice::settingsCover(ui), LockChoice::NoCover);  // not read yet
    // The covers for what was read are shown by the settings dialog's test.
    ui.lockKnown = true;
    QCOMPARE(LockChoice::settingsCover(ui), LockChoice::ReadOnlyCover);
}

void TestDeviceSettings::repliesReadAtTheEdge()
{
    const auto obj = [](const char *text) { return QJsonDocument::fromJson(text).object(); };
    const auto amp = AmplifierInfo::fromReply(obj(R"({"ops":"getInfo","result":"succ","power":"1",)"
                                                  R"("gainArr":["-3.5","0.0"],"tempArr":["41000"],"voltage":"48.2"})"));
    QVERIFY(amp && amp->power && amp->temperatures.size() == 1); // the rest as the settings dialog shows it
    QVERIFY(!AmplifierInfo::fromReply(obj(R"({"ops":"getInfo","result":"fail","reason":"unknown ops"})")));

    const auto pins = GpioPin::listFromReply(obj(R"({"ops":"getGpioInfo","result":"succ","arr":[)"
                                                 R"({"index":"0","dir":"in","isHigh":"1"},{"dir":"out"},)"
                                                 R"({"index":"2","dir":"out","isHigh":"0"}]})"));
    QVERIFY(pins);
    QCOMPARE(pins->size(), 2);  // the entry without an index is left out
    QVERIFY(!pins->at(0).output && pins->at(0).high);
    QCOMPARE(pins->at(1).index, 2);
    QVERIFY(pins->at(1).output);
    // A device that does not echo the pin in its test answer.
    const auto test = GpioPin::testResult(obj(R"({"ops":"testGpio","result":"succ","isHigh":"1"})"));
    QVERIFY(test);
    QCOMPARE(test->index, -1);
    QVERIFY(test->high);
    QVERIFY(!GpioPin::testResult(obj(R"({"ops":"getGpioInfo","result":"succ"})")));
}

QTEST_GUILESS_MAIN(TestDeviceSettings)
#include "tst_devicesettings.moc"
