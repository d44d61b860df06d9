#include "core/device/addressplan.h"
#include "core/device/lockplan.h"

#include <QtTest>

namespace {

AddressPlan::Input fixedInput(const char *ip, const char *mask, const char *gateway, const char *dns)
{
    AddressPlan::Input in;
    const auto split = [](const char *text, QString (&out)[4]) {
        const QStringList parts = QString::fromLatin1(text).split(QLatin1Char('.'));
        for (int i = 0; i < 4; ++i)
            out[i] = i < parts.size() ? parts.at(i) : QString();
    };
    split(ip, in.ip);
    split(mask, in.mask);
    split(gateway, in.gateway);
    split(dns, in.dns);
    return in;
}

QString noticeOf(const CommandPlan &p)
{
    return p.refused() ? p.steps.last().text : QString();
}

} // namespace

class TestDevicePlans : public QObject
{
    Q_OBJECT
private slots:
    void automaticIgnoresTheFields();
    void fixedAddress_data();
    void fixedAddress();
    void checksRunPositionByPosition();
    void unchangedSettingsAreNotSent();
    void gatewayOutsideTheSubnetAsksFirst();
    void lockMasks_data();
    void lockMasks();
    void setLockCommands();
    void deviceLevelsToDialog();
    void passwordRules_data();
    void passwordRules();
};

void TestDevicePlans::automaticIgnoresTheFields()
{
    AddressPlan::Input in = fixedInput("999.x..", "", "", "");
    in.automatic = true;
    const CommandPlan p = AddressPlan::plan("D1", in, std::nullopt);
    QVERIFY(p.steps.isEmpty());
    QCOMPARE(p.command, (QJsonObject{{"ops", "setIp"}, {"devId", "D1"}, {"isFixedIp", "0"}}));
}

void TestDevicePlans::fixedAddress_data()
{
    QTest::addColumn<QString>("ip");
    QTest::addColumn<QString>("mask");
    QTest::addColumn<QString>("gateway");
    QTest::addColumn<QString>("dns");
    QTest::addColumn<QString>("notice");
    QTest::addColumn<QString>("sentIp");
    QTest::newRow("/16 for 255.255.0.0") << "10.1.2.3" << "255.255.0.0" << "10.1.0.1" << "10.1.0.1" << "" << "10.1.2.3/16";
    QTest::newRow("/16 for .252") << "10.1.2.3" << "255.255.255.252" << "10.1.2.1" << "10.1.2.1" << "" << "10.1.2.3/16";
    QTest::newRow("mask all ones") << "10.1.2.3" << "255.255.255.255" << "10.0.0.1" << "10.0.0.1" << "请输入正确的子网掩码 (enter a correct subnet mask)" << "";
    QTest::newRow("mask zero") << "10.1.2.3" << "0.0.0.0" << "10.0.0.1" << "10.0.0.1" << "请输入正确的子网掩码 (enter a correct subnet mask)" << "";
    QTest::newRow("mask holes") << "10.1.2.3" << "255.0.255.0" << "10.0.0.1" << "10.0.0.1" << "请输入正确的子网掩码 (enter a correct subnet mask)" << "";
    QTest::newRow("gateway 256") << "10.1.2.3" << "255.255.255.0" << "10.1.2.256" << "10.0.0.1" << "请输入正确的网关 (enter a correct gateway)" << "";
    QTest::newRow("dns 300") << "10.1.2.3" << "255.255.255.0" << "10.1.2.1" << "300.0.0.1" << "请输入正确的DNS (enter a correct DNS server)" << "";
    QTest::newRow("ip 256") << "10.1.2.256" << "255.255.255.0" << "10.1.2.1" << "1.0.0.1" << "ip地址的范围在0-255 (address octets range from 0 to 255)" << "";
    QTest::newRow("ip empty") << "10.1..3" << "255.255.255.0" << "10.1.2.1" << "1.0.0.1" << "ip不能为空 (the address must not be empty)" << "";
    QTest::newRow("mask empty") << "10.1.2.3" << "255..255.0" << "10.1.2.1" << "1.0.0.1" << "子网掩码不能为空 (the subnet mask must not be empty)" << "";
    QTest::newRow("gateway empty") << "10.1.2.3" << "255.255.255.0" << "10.1.2." << "1.0.0.1" << "网关不能为空 (the gateway must not be empty)" << "";
}

void TestDevicePlans::fixedAddress()
{
    QFETCH(QString, ip);
    QFETCH(QString, mask);
    QFETCH(QString, gateway);
    QFETCH(QString, dns);
    QFETCH(QString, notice);
    QFETCH(QString, sentIp);
    const CommandPlan p = AddressPlan::plan("D1", fixedInput(qPrintable(ip), qPrintable(mask), qPrintable(gateway), qPrintable(dns)),
                                            std::nullopt);
    QCOMPARE(noticeOf(p), notice);
    if (notice.isEmpty()) {
        QCOMPARE(p.command, (QJsonObject{{"ops", "setIp"}, {"devId", "D1"}, {"isFixedIp", "1"}, {"ip", sentIp},
                                         {"gateway", gateway}, {"dns", dns}}));
    } else {
        QVERIFY(p.command.isEmpty());
    }
}

void TestDevicePlans::checksRunPositionByPosition()
{
    // An empty DNS octet at position 1 is reported before a bad address octet at position 2.
    AddressPlan::Input in = fixedInput("10.999.2.3", "255.255.255.0", "10.1.2.1", ".0.0.1");
    QCOMPARE(noticeOf(AddressPlan::plan("D1", in, std::nullopt)), QStringLiteral("DNS不能为空 (the DNS server must not be empty)"));
    // Within one position: address emptiness before mask emptiness before range.
    in = fixedInput(".1.2.3", "..255.0", "10.1.2.1", "1.0.0.1");
    QCOMPARE(noticeOf(AddressPlan::plan("D1", in, std::nullopt)), QStringLiteral("ip不能为空 (the address must not be empty)"));
}

void TestDevicePlans::unchangedSettingsAreNotSent()
{
    const AddressPlan::Input in = fixedInput("192.168.1.30", "255.255.255.0", "192.168.1.1", "8.8.8.8");
    AddressPlan::Current cur{true, "192.168.1.30/24", "192.168.1.1", "8.8.8.8"};
    QCOMPARE(noticeOf(AddressPlan::plan("D1", in, cur)), QStringLiteral("IP地址未修改 (the address was not changed)"));
    cur.fixed = false; // automatic now: the same numbers make it fixed, so it is a change
    QVERIFY(!AddressPlan::plan("D1", in, cur).refused());
    cur = {true, "192.168.1.30/16", "192.168.1.1", "8.8.8.8"};
    QVERIFY(!AddressPlan::plan("D1", in, cur).refused());
}

void TestDevicePlans::gatewayOutsideTheSubnetAsksFirst()
{
    // In the subnet, or no gateway at all: sent without a question.
    QVERIFY(AddressPlan::plan("D1", fixedInput("192.168.1.30", "255.255.255.0", "192.168.1.1", "8.8.8.8"), std::nullopt)
                .steps.isEmpty());
    QVERIFY(AddressPlan::plan("D1", fixedInput("192.168.1.30", "255.255.255.0", "0.0.0.0", "8.8.8.8"), std::nullopt)
                .steps.isEmpty());
    // The typed mask decides, not the /16 sent for it: .129 is outside 192.168.1.0/25.
    const CommandPlan p =
        AddressPlan::plan("D1", fixedInput("192.168.1.30", "255.255.255.128", "192.168.1.129", "8.8.8.8"), std::nullopt);
    QCOMPARE(p.steps.size(), 1);
    QCOMPARE(p.steps.first().kind, PlanStep::Confirm);
    QVERIFY(p.steps.first().text.contains("192.168.1.129"));
    QCOMPARE(p.command.value("gateway").toString(), QStringLiteral("192.168.1.129"));
    QVERIFY(AddressPlan::gatewayInSubnet("10.1.200.3", "255.255.0.0", "10.1.0.1"));
    QVERIFY(!AddressPlan::gatewayInSubnet("10.1.200.3", "255.255.255.0", "10.1.0.1"));
    // An unchanged setting is still refused before any question.
    const AddressPlan::Current cur{true, "192.168.1.30/16", "192.168.1.129", "8.8.8.8"};
    QVERIFY(AddressPlan::plan("D1", fixedInput("192.168.1.30", "255.255.255.128", "192.168.1.129", "8.8.8.8"), cur)
                .refused());
}

void TestDevicePlans::lockMasks_data()
{
    QTest::addColumn<int>("details");
    QTest::addColumn<int>("routing");
    QTest::addColumn<int>("dsp");
    QTest::addColumn<QString>("settingsVal");
    QTest::addColumn<QString>("dspVal");
    QTest::newRow("all open") << 0 << 0 << 0 << "0x0" << "0x0";
    QTest::newRow("routing hidden, details ro") << 1 << 2 << 3 << "0x10003" << "0x1001f";
    QTest::newRow("routing ro") << 0 << 1 << 1 << "0x2" << "0x1f";
    QTest::newRow("details only") << 1 << 0 << 2 << "0x1" << "0x1";
    QTest::newRow("details hidden sets no bit") << 2 << 0 << 0 << "0x0" << "0x0";
}

void TestDevicePlans::lockMasks()
{
    QFETCH(int, details);
    QFETCH(int, routing);
    QFETCH(int, dsp);
    QTEST(LockPlan::maskText(LockPlan::settingsMask(details, routing)), "settingsVal");
    QTEST(LockPlan::maskText(LockPlan::dspMask(dsp)), "dspVal");
}

void TestDevicePlans::setLockCommands()
{
    const QVector<CommandPlan> plans = LockPlan::setLock("D1", "123456", 1, 2, 3);
    QCOMPARE(plans.size(), 2);
    // The first, to the settings port, is shown by the settings dialog's test.
    QCOMPARE(plans[1].port, quint16(8999));
    QCOMPARE(plans[1].command, (QJsonObject{{"ops", "setLock"}, {"devId", "D1"}, {"uiTag", "dspUiTag"},
                                            {"password", "123456"}, {"val", "0x1001f"}}));
}

void TestDevicePlans::deviceLevelsToDialog()
{
    const QVector<int> dialog{LockPlan::dialogLevel(0), LockPlan::dialogLevel(1), LockPlan::dialogLevel(2), LockPlan::dialogLevel(3)};
    QCOMPARE(dialog, (QVector<int>{0, 1, 3, 2}));
}

void TestDevicePlans::passwordRules_data()
{
    QTest::addColumn<QString>("oldPw");
    QTest::addColumn<QString>("newPw");
    QTest::addColumn<QString>("confirm");
    QTest::addColumn<QString>("notice");
    QTest::newRow("old empty") << "" << "a" << "a" << "密码不能为空 (the password must not be empty)";
    QTest::newRow("confirm empty") << "x" << "a" << "" << "密码不能为空 (the password must not be empty)";
    QTest::newRow("differ") << "x" << "a" << "b" << "两次密码输入不一致 (the two entries differ)";
    QTest::newRow("differ before space") << "x" << "a b" << "a c" << "两次密码输入不一致 (the two entries differ)";
}

void TestDevicePlans::passwordRules()
{
    QFETCH(QString, oldPw);
    QFETCH(QString, newPw);
    QFETCH(QString, confirm);
    QFETCH(QString, notice);
    const CommandPlan p = LockPlan::changePassword("D1", oldPw, newPw, confirm);
    // The accepted change and the refused space are shown by the settings dialog's test.
    QCOMPARE(noticeOf(p), notice);
    QVERIFY(p.command.isEmpty());
}

QTEST_GUILESS_MAIN(TestDevicePlans)
#include "tst_deviceplans.moc"
