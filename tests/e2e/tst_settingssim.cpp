// The device settings window against corvane-sim's default network, inside a
// private network namespace (tests/netns-run): every request goes through the
// program's real send path and every answer comes from the virtual devices.
#include "gui/device/devicelistform.h"
#include "gui/device/devicesettingsdialog.h"
#include "gui/device/managelock.h"
#include "gui/device/translucentlock.h"
#include "gui/widgets/styledslider.h"

#include "../support/noticeanswers.h"
#include "gui/widgets/style.h"

#include "../support/programwindow.h"
#include "../support/simulator.h"

#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTableWidget>
#include <QDir>
#include <QtTest>

namespace {

constexpr int kWaitMs = 10000;

} // namespace

using NoticeAnswers::click;
using NoticeAnswers::onNextModal;

class TestSettingsSim : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase();
    void opensWithTheDevicesAnswers();
    void sampleRateChangeReachesTheDevice();
    void lockCovers();
    void amplifierAnswers();
    void pictures();

private:
    DeviceSettingsDialog *open(const QString &devId);

    Simulator m_sim;
    ProgramWindow m_window;
};

void TestSettingsSim::initTestCase()
{
    REQUIRE_PRIVATE_NETWORK();
    QVERIFY2(m_sim.start(), m_sim.why());
    QVERIFY(m_window.open(MainWindow::Devices));
    QTRY_VERIFY_WITH_TIMEOUT(m_window.registry().findByDevId("SIM-0002") && m_window.registry().findByDevId("SIM-0004"),
                             kWaitMs);
}

DeviceSettingsDialog *TestSettingsSim::open(const QString &devId)
{
    m_window->slot_openDeviceSettings(devId);
    for (DeviceSettingsDialog *d : m_window->findChildren<DeviceSettingsDialog *>())
        if (d->devId() == devId)
            return d;
    return nullptr;
}

void TestSettingsSim::opensWithTheDevicesAnswers()
{
    // The way a user gets there: the device's row on the Devices page, then Settings.
    auto *page = qobject_cast<DeviceListForm *>(m_window->pageWidget(MainWindow::Devices));
    QVERIFY(page);
    QTRY_VERIFY_WITH_TIMEOUT((page->selectDevice("SIM-0002"), page->selectedDevId() == "SIM-0002"), kWaitMs);
    QTest::mouseClick(page->findChild<QPushButton *>(QStringLiteral("pb_settings")), Qt::LeftButton);
    QCOMPARE(m_window->findChildren<DeviceSettingsDialog *>().size(), 1);
    DeviceSettingsDialog *d = m_window->findChildren<DeviceSettingsDialog *>().first();
    QCOMPARE(d->devId(), QStringLiteral("SIM-0002"));
    QVERIFY(d->isVisible());
    auto *rate = d->findChild<QComboBox *>(QStringLiteral("com_sampleRate"));
    QTRY_VERIFY_WITH_TIMEOUT(rate->isEnabled(), kWaitMs);
    QCOMPARE(rate->count(), 3);
    QCOMPARE(rate->currentText(), QStringLiteral("48 kHz"));
    QCOMPARE(d->findChild<StyledSpinBox *>(QStringLiteral("sp_ptpDscp"))->value(), 46.0);
    QTRY_COMPARE_WITH_TIMEOUT(d->findChild<QLineEdit *>(QStringLiteral("ip_le_1"))->text(), QStringLiteral("127"),
                              kWaitMs);
    QTRY_VERIFY_WITH_TIMEOUT(d->findChild<QLabel *>(QStringLiteral("lb_temperature"))->text().endsWith("°C"), kWaitMs);
    QVERIFY(d->findChild<QLabel *>(QStringLiteral("lb_firmware"))->text().startsWith("3.1."));
    QTRY_COMPARE_WITH_TIMEOUT(d->findChild<QLabel *>(QStringLiteral("lb_lockDetails"))->text(),
                              QStringLiteral("Normal"), kWaitMs);
    QVERIFY(!d->cover());
    // Names reach the registry by its poller, and the open window follows.
    d->setPage(DeviceSettingsDialog::Channels);
    auto *table = d->findChild<QTableWidget *>(QStringLiteral("tw_channels"));
    QCOMPARE(table->rowCount(), 8);
    QTRY_COMPARE_WITH_TIMEOUT(table->item(0, 2)->text(), QStringLiteral("Vox 1"), kWaitMs);
}

void TestSettingsSim::sampleRateChangeReachesTheDevice()
{
    DeviceSettingsDialog *d = open("SIM-0002");
    d->setPage(DeviceSettingsDialog::General);
    auto *rate = d->findChild<QComboBox *>(QStringLiteral("com_sampleRate"));
    QTRY_VERIFY_WITH_TIMEOUT(rate->isEnabled(), kWaitMs);
    rate->setFocus();
    QTest::keyClick(rate, Qt::Key_Down);  // 48 kHz -> 96 kHz, as a user would
    const DevManager &registry = m_window.registry();
    QTRY_COMPARE_WITH_TIMEOUT(registry.findByDevId("SIM-0002")->rec.sampleRate, 96000, kWaitMs);
    QTRY_COMPARE_WITH_TIMEOUT(d->findChild<QLabel *>(QStringLiteral("lb_status"))->text(), QStringLiteral("Saved"),
                              kWaitMs);
    QTest::keyClick(rate, Qt::Key_Up);
    QTRY_COMPARE_WITH_TIMEOUT(registry.findByDevId("SIM-0002")->rec.sampleRate, 48000, kWaitMs);
}

void TestSettingsSim::lockCovers()
{
    DeviceSettingsDialog *d = open("SIM-0002");
    d->setPage(DeviceSettingsDialog::Lock);
    QTRY_COMPARE_WITH_TIMEOUT(d->findChild<QLabel *>(QStringLiteral("lb_lockDetails"))->text(),
                              QStringLiteral("Normal"), kWaitMs);
    onNextModal([](QWidget *modal) {
        auto *lock = qobject_cast<ManageLock *>(modal);
        QVERIFY(lock);
        click(lock, "rb_detailsReadOnly");
        QTest::keyClicks(lock->findChild<QLineEdit *>(QStringLiteral("le_password")), "123456");
        click(lock, "pb_ok");
    });
    click(d, "pb_manageLock");
    // The device takes the lock, the window reads it back and covers its pages.
    QTRY_VERIFY_WITH_TIMEOUT(qobject_cast<TranslucentLock *>(d->cover()), kWaitMs);
    QCOMPARE(d->findChild<QLabel *>(QStringLiteral("lb_lockDetails"))->text(), QStringLiteral("Read-only"));
}

void TestSettingsSim::amplifierAnswers()
{
    DeviceSettingsDialog *d = open("SIM-0004");
    QVERIFY(d->hasPage(DeviceSettingsDialog::Amplifier));
    d->setPage(DeviceSettingsDialog::Amplifier);
    StyledSpinBox *gain = nullptr;
    QTRY_VERIFY_WITH_TIMEOUT((gain = d->findChild<StyledSpinBox *>(QStringLiteral("sp_gain_1"))), kWaitMs);
    gain->setFocus();
    gain->selectAll();
    QTest::keyClicks(gain, "-4.5");
    QTest::keyClick(gain, Qt::Key_Return);
    gain->clearFocus();
    // Read back from the amplifier after the change.
    QTRY_COMPARE_WITH_TIMEOUT(d->findChild<QLabel *>(QStringLiteral("lb_status"))->text(), QStringLiteral("Saved"),
                              kWaitMs);
    QTRY_COMPARE_WITH_TIMEOUT(gain->value(), -4.5, kWaitMs);
    d->setPage(DeviceSettingsDialog::Gpio);
    QTRY_VERIFY_WITH_TIMEOUT(d->findChild<QPushButton *>(QStringLiteral("pb_testGpio_4")), kWaitMs);
    click(d, "pb_testGpio_2");
    // An output follows the test, and the page reads its level back.
    QTRY_COMPARE_WITH_TIMEOUT(d->findChild<QLabel *>(QStringLiteral("lb_gpioRead_2"))->text(),
                              QStringLiteral("Reads High"), kWaitMs);
    QTRY_VERIFY_WITH_TIMEOUT(d->findChild<QPushButton *>(QStringLiteral("pb_gpioLevel_2"))->isChecked(), kWaitMs);
}

void TestSettingsSim::pictures()
{
    if (qEnvironmentVariableIsEmpty("CORVANE_SHOT_DIR"))
        QSKIP("set CORVANE_SHOT_DIR to keep pictures of the General tab and the Devices page");
    const QDir dir(qEnvironmentVariable("CORVANE_SHOT_DIR"));
    DeviceSettingsDialog *d = open("SIM-0001"); // SIM-0002 is left locked above
    qApp->setStyleSheet(Style::applicationStyleSheet()); // as the program looks
    d->setPage(DeviceSettingsDialog::General);
    QTRY_VERIFY_WITH_TIMEOUT(d->findChild<QComboBox *>(QStringLiteral("com_sampleRate"))->isEnabled(), kWaitMs);
    for (const bool chinese : {false, true}) {
        const QString lang = chinese ? QStringLiteral("zh") : QStringLiteral("en");
        m_window->slot_switchLanguage(chinese);
        QTest::qWait(300); // let the window system draw it before the grab
        QVERIFY(d->grab().save(dir.filePath(QStringLiteral("settings-general-%1.png").arg(lang))));
        d->setPage(DeviceSettingsDialog::Info);
        QTRY_VERIFY_WITH_TIMEOUT(!d->findChild<QLabel *>(QStringLiteral("lb_runningTime"))->text().isEmpty(), kWaitMs);
        QTest::qWait(300);
        QVERIFY(d->grab().save(dir.filePath(QStringLiteral("settings-info-%1.png").arg(lang))));
        d->setPage(DeviceSettingsDialog::General);
    }
    d->close();
    // The Devices page with nothing chosen: its Settings button disabled.
    auto *page = qobject_cast<DeviceListForm *>(m_window->pageWidget(MainWindow::Devices));
    m_window->setPage(MainWindow::Devices);
    m_window->slot_switchLanguage(false);
    page->findChild<QPushButton *>(QStringLiteral("pb_settings"))->setEnabled(false);
    QTest::qWait(300);
    QVERIFY(m_window->grab().save(dir.filePath(QStringLiteral("devices-disabled-settings-en.png"))));
    qApp->setStyleSheet(QString());
}

QTEST_MAIN(TestSettingsSim)
#include "tst_settingssim.moc"
