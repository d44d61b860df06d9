#include "../support/noticeanswers.h"
#include "../support/packets.h"
#include "core/app/language.h"
#include "gui/app/mainwindow.h"
#include "core/app/scalefactors.h"
#include "gui/device/devicesettingsdialog.h"
#include "gui/device/lockoverlay.h"
#include "gui/device/managelock.h"
#include "gui/device/managepasswd.h"
#include "gui/device/passwordedit.h"
#include "gui/device/passwordprompt.h"
#include "gui/device/translucentlock.h"
#include "gui/device/transparentlock.h"
#include "core/devices/devmanager.h"
#include "core/devices/deviceuistore.h"
#include "gui/widgets/styledslider.h"

#include <QAbstractItemView>
#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QLineEdit>
#include <QListWidget>
#include <QMenu>
#include <QPushButton>
#include <QRadioButton>
#include <QTableWidget>
#include <QTemporaryDir>
#include <QToolButton>
#include <QtTest>

namespace {

const char kVersionReply[] =
    R"({"ops":"getVersion","devId":"D1","result":"succ","version":"3.1.4.45","oemCode":"0","ptpPriority":"100",)"
    R"("ptpDomain":"0","ptpDscp":"46","sampleRateArr":["44100","48000","96000"],"packetTimeDivArr":["1","2","4","8"],)"
    R"("sampleByteNumArr":["2","3"],"delayUsArr":["250","500","1000","2000","5000"]})";
const char kIpReply[] =
    R"({"ops":"getIp","devId":"D1","result":"succ","fixedIp":"1","ip":"192.168.1.20/24","gateway":"192.168.1.1",)"
    R"("dns":"192.168.1.1"})";
const char kDebugReply[] =
    R"({"ops":"getDebugInfo","devId":"D1","result":"succ","devName":"Dev D1","model":"RK0808","temp":"45500",)"
    R"("uptime":"3725.40","version":"3.1.4.45"})";

QString lockReply(int dev, int route, int dsp)
{
    return QStringLiteral(R"({"ops":"getLock","devId":"D1","result":"succ","devLock":"%1","routeLock":"%2",)"
                          R"("dspLock":"%3"})")
        .arg(dev)
        .arg(route)
        .arg(dsp);
}

/// A registry with one announced device and a store fed by hand-made replies.
struct Fixture
{
    DevManager registry;
    DeviceUiStore store;

    explicit Fixture(const QString &model = QStringLiteral("RK0808"), const QString &devId = QStringLiteral("D1"))
    {
        const QByteArray a = Packets::announcement(devId, "192.168.1.20", {{"model", model}, {"name", "Stage Box"}});
        registry.intakeAnnouncement(a.constData(), a.size(), 0xC0A80114, 9996);
    }
    /// The device's settings window, shown.
    DeviceSettingsDialog &open()
    {
        dialog = std::make_unique<DeviceSettingsDialog>(QStringLiteral("D1"), registry, &store);
        dialog->show();
        [this] { QVERIFY(QTest::qWaitForWindowExposed(dialog.get())); }();
        return *dialog;
    }
    std::unique_ptr<DeviceSettingsDialog> dialog;
    void names(const char *op, const QStringList &names, const QString &devId = QStringLiteral("D1"))
    {
        QJsonArray arr;
        for (int i = 0; i < names.size(); ++i)
            arr.append(QJsonObject{{"id", QString::number(i)}, {"name", names.at(i)}});
        registry.intakeReply(QJsonObject{{"ops", op}, {"devId", devId}, {"result", "succ"}, {"idStart", "0"},
                                         {"idNext", names.size()}, {"arr", arr}},
                             0xC0A80114);
    }
};

/// What a dialog emitted.
struct Sent
{
    QStringList udp;
    QList<QPair<QString, quint16>> toPort;

    explicit Sent(DeviceSettingsDialog *d)
    {
        QObject::connect(d, &DeviceSettingsDialog::signal_sendUdp,
                         [this](const QString &j, const QString &) { udp << j; });
        QObject::connect(d, &DeviceSettingsDialog::signal_sendUdpToPort,
                         [this](const QString &j, quint16 port) { toPort.append({j, port}); });
    }
};

void typeInto(QWidget *parent, const QString &name, const QString &text)
{
    auto *e = parent->findChild<QLineEdit *>(name);
    QVERIFY2(e, qPrintable(name));
    e->selectAll();
    QTest::keyClick(e, Qt::Key_Delete);
    QTest::keyClicks(e, text);
}

void typeAddress(QWidget *page, const char *prefix, const QString &dotted)
{
    const QStringList parts = dotted.split('.');
    for (int i = 0; i < 4; ++i)
        typeInto(page, QLatin1String(prefix) + QString::number(i + 1), parts.value(i));
}

void choosePage(DeviceSettingsDialog &d, DeviceSettingsDialog::Page page)
{
    auto *list = d.findChild<QListWidget *>(QStringLiteral("lw_pages"));
    const QRect r = list->visualItemRect(list->item(page));
    QVERIFY(!r.isEmpty());
    QTest::mouseClick(list->viewport(), Qt::LeftButton, {}, r.center());
    QCOMPARE(d.currentPage(), page);
}

void pickComboItem(QComboBox *combo, int index)
{
    combo->showPopup();
    QAbstractItemView *view = combo->view();
    QTRY_VERIFY(view->isVisible());
    // Chosen with the keyboard: a click right after the popup opens may be
    // taken as the end of the click that opened it.
    view->setCurrentIndex(view->model()->index(index, 0));
    QTest::keyClick(view, Qt::Key_Return);
    QTRY_VERIFY(!view->isVisible());
}

} // namespace

using NoticeAnswers::answerNextBox;
using NoticeAnswers::click;
using NoticeAnswers::onNextModal;

class TestDeviceSettingsDialog : public QObject
{
    Q_OBJECT
private slots:
    void init();
    void asksOnOpeningByModel();
    void sampleRateComboSends();
    void renameAndRefuseEmpty();
    void channelNameEditSends();
    void addressPage();
    void failedReplyShowsAndReadsBack();
    void aNewChangeClearsTheOldResult();
    void manageLockMasksAndPorts();
    void manageLockFromThePageStartsAtTheDeviceLevels();
    void managePasswdRefusesSpaces();
    void lockCoversThePages();
    void ctrl0LeadsToTheLockDialog();
    void amplifierPage();
    void gpioPage();
    void languageChangeRetranslates();
    void mainWindowOpensOneWindowPerDevice();
};

void TestDeviceSettingsDialog::init()
{
    Language::setChinese(false);
}

void TestDeviceSettingsDialog::asksOnOpeningByModel()
{
    Fixture f;
    DeviceSettingsDialog d("D1", f.registry, &f.store);
    Sent sent(&d);
    d.show();
    QCOMPARE(sent.udp, (QStringList{R"({"devId":"D1","ops":"getVersion"})", R"({"devId":"D1","ops":"getIp"})",
                                    R"({"devId":"D1","ops":"getLock"})", R"({"devId":"D1","ops":"getDebugInfo"})"}));
    auto *list = d.findChild<QListWidget *>(QStringLiteral("lw_pages"));
    QVERIFY(list->item(DeviceSettingsDialog::Amplifier)->isHidden());
    QVERIFY(list->item(DeviceSettingsDialog::Gpio)->isHidden());
    QCOMPARE(d.title(), QStringLiteral("Device settings: Stage Box"));
    d.hide();
    d.show();
    QCOMPARE(sent.udp.size(), 4);  // asked once, not at every show
}

void TestDeviceSettingsDialog::sampleRateComboSends()
{
    Fixture f;
    DeviceSettingsDialog &d = f.open();
    auto *rate = d.findChild<QComboBox *>(QStringLiteral("com_sampleRate"));
    // Before the device lists its rates the announced one shows, but nothing is offered.
    QCOMPARE(rate->currentText(), QStringLiteral("48 kHz"));
    QVERIFY(!rate->isEnabled());
    f.store.slot_message(kVersionReply);
    QVERIFY(rate->isEnabled());
    QCOMPARE(rate->count(), 3);
    QCOMPARE(rate->currentText(), QStringLiteral("48 kHz"));
    QCOMPARE(d.findChild<QComboBox *>(QStringLiteral("com_latency"))->currentText(), QStringLiteral("2 ms"));

    Sent sent(&d);
    pickComboItem(rate, 2);
    QCOMPARE(sent.udp, QStringList{R"({"devId":"D1","ops":"setSampleRate","sampleRate":"96000"})"});
    pickComboItem(d.findChild<QComboBox *>(QStringLiteral("com_packetTime")), 2);
    QCOMPARE(sent.udp.last(), QStringLiteral(R"({"devId":"D1","ops":"setPacketTimeDiv","packetTimeDiv":"4"})"));

    // A refresh that does not change the device's rate leaves the user's choice alone.
    f.store.slot_message(kIpReply);
    QCOMPARE(rate->currentText(), QStringLiteral("96 kHz"));
}

void TestDeviceSettingsDialog::renameAndRefuseEmpty()
{
    Fixture f;
    DeviceSettingsDialog &d = f.open();
    Sent sent(&d);
    auto *name = d.findChild<QLineEdit *>(QStringLiteral("le_devName"));
    QCOMPARE(name->text(), QStringLiteral("Stage Box"));
    typeInto(&d, "le_devName", "Stage Left");
    QTest::keyClick(name, Qt::Key_Return);
    QCOMPARE(sent.udp, QStringList{R"({"devId":"D1","name":"Stage Left","ops":"setDevName"})"});
    // Committed once: leaving the field does not send it again.
    d.findChild<QLineEdit *>(QStringLiteral("le_devName"))->clearFocus();
    QCOMPARE(sent.udp.size(), 1);

    QString notice;
    typeInto(&d, "le_devName", "  ");
    answerNextBox("pb_ok", &notice);
    QTest::keyClick(name, Qt::Key_Return);
    QCOMPARE(notice, QStringLiteral("The name must not be empty."));
    QCOMPARE(sent.udp.size(), 1);
    // Enter commits the field; it does not close the window.
    QVERIFY(d.isVisible());
}

void TestDeviceSettingsDialog::channelNameEditSends()
{
    Fixture f;
    f.names("getAllChNameTx", {"Tx A", "Tx B", "Tx C", "Tx D", "Tx E", "Tx F", "Tx G", "Tx H"});
    DeviceSettingsDialog &d = f.open();
    choosePage(d, DeviceSettingsDialog::Channels);
    auto *table = d.findChild<QTableWidget *>(QStringLiteral("tw_channels"));
    QCOMPARE(table->item(1, 1)->text(), QStringLiteral("Tx B"));

    Sent sent(&d);
    const QRect cell = table->visualItemRect(table->item(1, 1));
    QTest::mouseClick(table->viewport(), Qt::LeftButton, {}, cell.center());
    QTest::mouseDClick(table->viewport(), Qt::LeftButton, {}, cell.center());
    QLineEdit *editor = nullptr;
    QTRY_VERIFY((editor = table->viewport()->findChild<QLineEdit *>()) && editor->isVisible());
    editor->selectAll();
    QTest::keyClicks(editor, "Vox 2");
    QTest::keyClick(editor, Qt::Key_Return);
    // The editor commits once control is back in the event loop.
    QTRY_COMPARE(sent.udp, QStringList{R"({"chId":"1","devId":"D1","name":"Vox 2","ops":"setChNameTx"})"});
    // Names are fetched once: a refresh with the old registry name keeps the new one shown.
    d.slot_refreshDevice("D1");
    QCOMPARE(table->item(1, 1)->text(), QStringLiteral("Vox 2"));
}

void TestDeviceSettingsDialog::addressPage()
{
    Fixture f;
    f.store.slot_message(kIpReply);
    DeviceSettingsDialog &d = f.open();
    choosePage(d, DeviceSettingsDialog::Address);
    QWidget *page = d.findChild<QWidget *>(QStringLiteral("page_address"));
    // Filled from the device's answer: applied as it stands, nothing is sent.
    QCOMPARE(d.findChild<QLineEdit *>(QStringLiteral("ip_le_4"))->text(), QStringLiteral("20"));
    Sent sent(&d);
    QString notice;
    answerNextBox("pb_ok", &notice);
    click(&d, "pb_applyIp");
    QCOMPARE(notice, QStringLiteral("IP地址未修改 (the address was not changed)"));
    QVERIFY(sent.udp.isEmpty());

    typeAddress(page, "ip_le_", "192.168.1.30");
    typeAddress(page, "dns_le_", "8.8.8.8");
    // The validator keeps letters out.
    QTest::keyClicks(d.findChild<QLineEdit *>(QStringLiteral("dns_le_4")), "x");
    click(&d, "pb_applyIp");
    QCOMPARE(sent.udp, QStringList{R"({"devId":"D1","dns":"8.8.8.8","gateway":"192.168.1.1","ip":"192.168.1.30/24",)"
                                   R"("isFixedIp":"1","ops":"setIp"})"});

    auto *autoIp = d.findChild<QCheckBox *>(QStringLiteral("cb_autoIp"));
    QTest::mouseClick(autoIp, Qt::LeftButton, {}, QPoint(scaled(8), autoIp->height() / 2));
    QVERIFY(autoIp->isChecked());
    QVERIFY(!d.findChild<QLineEdit *>(QStringLiteral("ip_le_1"))->isEnabled());
    click(&d, "pb_applyIp");
    QCOMPARE(sent.udp.last(), QStringLiteral(R"({"devId":"D1","isFixedIp":"0","ops":"setIp"})"));
}

void TestDeviceSettingsDialog::failedReplyShowsAndReadsBack()
{
    Fixture f;
    f.store.slot_message(kVersionReply);
    DeviceSettingsDialog &d = f.open();
    Sent sent(&d);
    auto *rate = d.findChild<QComboBox *>(QStringLiteral("com_sampleRate"));
    pickComboItem(rate, 2);
    d.slot_message(R"({"ops":"setSampleRate","devId":"D1","result":"fail","reason":"LOCK_UCAST_MCAST"})");
    auto *status = d.findChild<QLabel *>(QStringLiteral("lb_status"));
    QCOMPARE(status->text(), QStringLiteral("Not saved: 设置失败,设备已上锁 (setting failed: the device is locked)"));
    // The device kept its rate, and so does the combo.
    QCOMPARE(rate->currentText(), QStringLiteral("48 kHz"));
    // Another device's reply is not ours.
    d.slot_message(R"({"ops":"setPtpDomain","devId":"D2","result":"succ"})");
    QCOMPARE(status->text(), QStringLiteral("Not saved: 设置失败,设备已上锁 (setting failed: the device is locked)"));
    d.slot_message(R"({"ops":"setPtpDomain","devId":"D1","result":"succ"})");
    QCOMPARE(sent.udp.last(), QStringLiteral(R"({"devId":"D1","ops":"getVersion"})"));
    d.slot_message(R"({"ops":"setLock","devId":"D1","result":"succ"})");
    QCOMPARE(sent.udp.last(), QStringLiteral(R"({"devId":"D1","ops":"getLock"})"));
}

void TestDeviceSettingsDialog::aNewChangeClearsTheOldResult()
{
    Fixture f;
    f.store.slot_message(kVersionReply);
    DeviceSettingsDialog &d = f.open();
    Sent sent(&d);
    auto *status = d.findChild<QLabel *>(QStringLiteral("lb_status"));
    pickComboItem(d.findChild<QComboBox *>(QStringLiteral("com_sampleRate")), 2);
    d.slot_message(R"({"ops":"setSampleRate","devId":"D1","result":"succ"})");
    QCOMPARE(status->text(), QStringLiteral("Saved"));
    // A refused name: the old "Saved" does not stay under the refusal.
    auto *name = d.findChild<QLineEdit *>(QStringLiteral("le_devName"));
    typeInto(&d, "le_devName", " ");
    answerNextBox("pb_ok");
    QTest::keyClick(name, Qt::Key_Return);
    QVERIFY(status->text().isEmpty());
    d.slot_message(R"({"ops":"setDevName","devId":"D1","result":"fail","reason":"LOCK_UCAST_MCAST"})");
    QVERIFY(status->text().startsWith("Not saved"));
    // A change on its way clears the failure before its own answer comes.
    typeInto(&d, "le_devName", "Foyer");
    QTest::keyClick(name, Qt::Key_Return);
    QCOMPARE(sent.udp.last(), QStringLiteral(R"({"devId":"D1","name":"Foyer","ops":"setDevName"})"));
    QVERIFY(status->text().isEmpty());
}

void TestDeviceSettingsDialog::manageLockMasksAndPorts()
{
    ManageLock dialog("D1", LockChoice());
    QList<QPair<QString, quint16>> sent;
    connect(&dialog, &ManageLock::signal_sendUdpToPort, [&](const QString &j, quint16 p) { sent.append({j, p}); });
    dialog.show();
    QVERIFY(QTest::qWaitForWindowExposed(&dialog));
    click(&dialog, "rb_detailsHidden");
    QVERIFY(!dialog.findChild<QRadioButton *>(QStringLiteral("rb_routingReadOnly"))->isEnabled());
    QTest::keyClicks(dialog.findChild<QLineEdit *>(QStringLiteral("le_password")), "123456");
    click(&dialog, "pb_ok");
    QCOMPARE(sent.size(), 2);
    QCOMPARE(sent.at(0).first, QStringLiteral(R"({"devId":"D1","ops":"setLock","password":"123456","val":"0x10003"})"));
    QVERIFY(!dialog.isVisible());
}

void TestDeviceSettingsDialog::manageLockFromThePageStartsAtTheDeviceLevels()
{
    Fixture f;
    // Audio processing details read-only (device level 3).
    f.store.slot_message(lockReply(0, 0, 3));
    DeviceSettingsDialog &d = f.open();
    choosePage(d, DeviceSettingsDialog::Lock);
    QCOMPARE(d.findChild<QLabel *>(QStringLiteral("lb_lockDsp"))->text(), QStringLiteral("详情只读 (details read-only)"));
    Sent sent(&d);
    onNextModal([](QWidget *modal) {
        auto *lock = qobject_cast<ManageLock *>(modal);
        QVERIFY(lock);
        QVERIFY(lock->findChild<QRadioButton *>(QStringLiteral("rb_dspDetailsReadOnly"))->isChecked());
        QVERIFY(lock->findChild<QRadioButton *>(QStringLiteral("rb_detailsNormal"))->isChecked());
        click(lock, "rb_dspNormal");
        QTest::keyClicks(lock->findChild<QLineEdit *>(QStringLiteral("le_password")), "pw");
        click(lock, "pb_ok");
    });
    click(&d, "pb_manageLock");
    QCOMPARE(sent.toPort.size(), 2);
    QCOMPARE(sent.toPort.at(0), qMakePair(QStringLiteral(R"({"devId":"D1","ops":"setLock","password":"pw","val":"0x0"})"), quint16(9995)));
}

void TestDeviceSettingsDialog::managePasswdRefusesSpaces()
{
    ManagePasswd dialog("D1");
    QStringList sent;
    connect(&dialog, &ManagePasswd::signal_sendUdp, [&](const QString &j, const QString &) { sent << j; });
    dialog.show();
    QVERIFY(QTest::qWaitForWindowExposed(&dialog));
    auto *newPassword = dialog.findChild<PasswordEdit *>(QStringLiteral("le_newPasswd"));
    QCOMPARE(newPassword->echoMode(), QLineEdit::Password);
    // The eye shows what was typed, and hides it again.
    auto *eye = newPassword->findChild<QToolButton *>();
    QTest::mouseClick(eye, Qt::LeftButton);
    QCOMPARE(newPassword->echoMode(), QLineEdit::Normal);
    QTest::mouseClick(eye, Qt::LeftButton);
    QCOMPARE(newPassword->echoMode(), QLineEdit::Password);

    QTest::keyClicks(dialog.findChild<QLineEdit *>(QStringLiteral("le_oldPasswd")), "123456");
    QTest::keyClicks(newPassword, "new pw");
    QTest::keyClicks(dialog.findChild<QLineEdit *>(QStringLiteral("le_confirmPasswd")), "new pw");
    QString notice;
    answerNextBox("pb_ok", &notice);
    click(&dialog, "pb_ok");
    QCOMPARE(notice, QStringLiteral("密码中不能有空格 (no spaces allowed)"));
    QVERIFY(sent.isEmpty() && dialog.isVisible());

    typeInto(&dialog, "le_newPasswd", "newpw");
    typeInto(&dialog, "le_confirmPasswd", "newpw");
    click(&dialog, "pb_ok");
    QCOMPARE(sent, QStringList{R"({"devId":"D1","new":"newpw","old":"123456","ops":"setPassword"})"});
    QVERIFY(!dialog.isVisible() && dialog.result() == QDialog::Accepted);
}

void TestDeviceSettingsDialog::lockCoversThePages()
{
    Fixture f;
    DeviceSettingsDialog &d = f.open();
    QVERIFY(!d.cover());
    auto *pageArea = d.findChild<QWidget *>(QStringLiteral("wd_pageArea"));
    auto *body = d.findChild<QWidget *>(QStringLiteral("wd_settingsBody"));
    auto *list = d.findChild<QListWidget *>(QStringLiteral("lw_pages"));

    f.store.slot_message(lockReply(1, 0, 0));
    auto *readOnly = qobject_cast<TranslucentLock *>(d.cover());
    QVERIFY(readOnly);
    QCOMPARE(readOnly->geometry(), pageArea->geometry());
    QVERIFY(!pageArea->isEnabled());
    // Values can still be looked at page by page.
    QVERIFY(list->isEnabled());
    choosePage(d, DeviceSettingsDialog::Info);
    // A click on a covered control does nothing.
    choosePage(d, DeviceSettingsDialog::General);
    Sent sent(&d);
    auto *save = d.findChild<QComboBox *>(QStringLiteral("com_sampleRate"));
    QTest::mouseClick(readOnly, Qt::LeftButton, {}, readOnly->mapFromGlobal(save->mapToGlobal(save->rect().center())));
    QVERIFY(sent.udp.isEmpty());

    // Routing hidden hides the device: an opaque cover over everything.
    f.store.slot_message(lockReply(1, 3, 0));
    auto *hidden = qobject_cast<TransparentLock *>(d.cover());
    QVERIFY(hidden);
    QCOMPARE(hidden->geometry(), body->geometry());
    QVERIFY(!body->isEnabled());
    d.resize(d.width() + 40, d.height() + 30);
    QTRY_COMPARE(hidden->geometry(), body->geometry());

    f.store.slot_message(lockReply(0, 1, 2));  // only routing and DSP locked: the settings are open
    QVERIFY(!d.cover());
    QVERIFY(body->isEnabled());
    QVERIFY(pageArea->isEnabled());
}

void TestDeviceSettingsDialog::ctrl0LeadsToTheLockDialog()
{
    Fixture f;
    f.store.slot_message(lockReply(3, 0, 0));
    DeviceSettingsDialog d("D1", f.registry, &f.store);
    Sent sent(&d);
    d.show();
    d.activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(&d));
    LockOverlay *cover = d.cover();
    QVERIFY(qobject_cast<TransparentLock *>(cover));

    QTest::keyClick(cover, Qt::Key_0, Qt::ControlModifier);
    QTRY_VERIFY(cover->choices() && cover->choices()->isVisible());
    QMenu *menu = cover->choices();

    bool sawLockDialog = false;
    onNextModal([&sawLockDialog](QWidget *modal) {
        auto *prompt = qobject_cast<PasswordPrompt *>(modal);
        QVERIFY(prompt);
        QTest::keyClicks(prompt->findChild<QLineEdit *>(QStringLiteral("le_password")), "123456");
        // The password opens the lock dialog, with the password in it.
        onNextModal([&sawLockDialog](QWidget *next) {
            auto *lock = qobject_cast<ManageLock *>(next);
            QVERIFY(lock);
            QCOMPARE(lock->findChild<QLineEdit *>(QStringLiteral("le_password"))->text(), QStringLiteral("123456"));
            sawLockDialog = true;
            click(lock, "rb_detailsNormal");
            click(lock, "pb_ok");
        });
        click(prompt, "pb_ok");
    });
    QTest::mouseClick(menu, Qt::LeftButton, {}, menu->actionGeometry(menu->actions().at(0)).center());
    QTRY_VERIFY(sawLockDialog);
    QCOMPARE(sent.toPort.size(), 2);
    QCOMPARE(sent.toPort.at(0).first,
             QStringLiteral(R"({"devId":"D1","ops":"setLock","password":"123456","val":"0x0"})"));

    // "设置密码" opens the password dialog.
    bool sawPasswd = false;
    QTest::keyClick(cover, Qt::Key_0, Qt::ControlModifier);
    QTRY_VERIFY(cover->choices() && cover->choices()->isVisible());
    menu = cover->choices();
    onNextModal([&sawPasswd](QWidget *modal) {
        sawPasswd = qobject_cast<ManagePasswd *>(modal) != nullptr;
        click(modal, "pb_cancel");
    });
    QTest::mouseClick(menu, Qt::LeftButton, {}, menu->actionGeometry(menu->actions().at(1)).center());
    QTRY_VERIFY(sawPasswd);
}

void TestDeviceSettingsDialog::amplifierPage()
{
    Fixture f(QStringLiteral("RK7731"));
    DeviceSettingsDialog &d = f.open();
    choosePage(d, DeviceSettingsDialog::Amplifier);
    d.slot_message(R"({"ops":"getInfo","devId":"D1","result":"succ","power":"1","gainArr":["0.0","-3.5"],)"
                   R"("tempArr":["41000","41400"],"voltage":"48.2"})");
    auto *gain2 = d.findChild<StyledSpinBox *>(QStringLiteral("sp_gain_2"));
    QCOMPARE(gain2->value(), -3.5);
    auto *power = d.findChild<QPushButton *>(QStringLiteral("pb_power"));
    QVERIFY(power->isChecked());

    Sent sent(&d);
    gain2->setFocus();
    gain2->selectAll();
    QTest::keyClicks(gain2, "-6");
    QTest::keyClick(gain2, Qt::Key_Return);
    QCOMPARE(sent.udp, QStringList{R"({"chId":"1","devId":"D1","gain":"-6.0","ops":"setGain"})"});
    QVERIFY(d.isVisible());
    QTest::mouseClick(power, Qt::LeftButton);
    QCOMPARE(sent.udp.last(), QStringLiteral(R"({"devId":"D1","ops":"setPower","val":"0"})"));
}

void TestDeviceSettingsDialog::gpioPage()
{
    Fixture f(QStringLiteral("RK0404D"));
    DeviceSettingsDialog &d = f.open();
    QVERIFY(!d.hasPage(DeviceSettingsDialog::Amplifier));
    choosePage(d, DeviceSettingsDialog::Gpio);
    d.slot_message(R"({"ops":"getGpioInfo","devId":"D1","result":"succ","arr":[{"index":"0","dir":"in","isHigh":"0"},)"
                   R"({"index":"1","dir":"out","isHigh":"1"}]})");
    auto *level2 = d.findChild<QPushButton *>(QStringLiteral("pb_gpioLevel_2"));
    QVERIFY(level2 && level2->isChecked() && level2->isEnabled());
    QVERIFY(!d.findChild<QPushButton *>(QStringLiteral("pb_gpioLevel_1"))->isEnabled());

    Sent sent(&d);
    QTest::mouseClick(level2, Qt::LeftButton);
    QCOMPARE(sent.udp,
             QStringList{R"({"devId":"D1","gpioInfo":{"dir":"out","isHigh":"0"},"index":"1","ops":"setGpioInfo"})"});
    pickComboItem(d.findChild<QComboBox *>(QStringLiteral("com_gpioDir_1")), 1);
    QCOMPARE(sent.udp.last(),
             QStringLiteral(R"({"devId":"D1","gpioInfo":{"dir":"out","isHigh":"0"},"index":"0","ops":"setGpioInfo"})"));
    click(&d, "pb_testGpio_1");
    QCOMPARE(sent.udp.last(), QStringLiteral(R"({"devId":"D1","index":"0","isHigh":"1","ops":"testGpio"})"));
    d.slot_message(R"({"ops":"testGpio","devId":"D1","result":"succ","index":"0","isHigh":"1"})");
    click(&d, "pb_testGpio_1");
    QCOMPARE(sent.udp.last(), QStringLiteral(R"({"devId":"D1","index":"0","isHigh":"0","ops":"testGpio"})"));
}

void TestDeviceSettingsDialog::languageChangeRetranslates()
{
    Fixture f;
    f.store.slot_message(kVersionReply);
    f.store.slot_message(kDebugReply);
    DeviceSettingsDialog &d = f.open();
    auto *list = d.findChild<QListWidget *>(QStringLiteral("lw_pages"));
    QCOMPARE(list->item(0)->text(), QStringLiteral("General"));
    QCOMPARE(d.findChild<QLabel *>(QStringLiteral("lb_temperature"))->text(), QStringLiteral("45.5 °C"));

    Language::setChinese(true);
    QEvent change(QEvent::LanguageChange);
    QCoreApplication::sendEvent(&d, &change);
    QCOMPARE(list->item(0)->text(), QStringLiteral("常规"));
    QCOMPARE(d.title(), QStringLiteral("设备设置：Stage Box"));
    QCOMPARE(d.findChild<QComboBox *>(QStringLiteral("com_sampleByte"))->currentText(), QStringLiteral("24位 (L24)"));
    Language::setChinese(false);
}

void TestDeviceSettingsDialog::mainWindowOpensOneWindowPerDevice()
{
    QTemporaryDir dir;
    MainWindow w(dir.path());
    w.slot_openDeviceSettings("D1");
    w.slot_openDeviceSettings("D2");
    w.slot_openDeviceSettings("D1");
    const QList<DeviceSettingsDialog *> open = w.findChildren<DeviceSettingsDialog *>();
    QCOMPARE(open.size(), 2);
    for (DeviceSettingsDialog *d : open)
        QVERIFY(d->isVisible() && !d->isModal());
    // Closed windows are gone, and the next open makes a fresh one.
    QPointer<DeviceSettingsDialog> first = open.first();
    QTest::mouseClick(first->closeButton(), Qt::LeftButton);
    QTRY_VERIFY(!first);
    w.slot_openDeviceSettings("D1");
    QCOMPARE(w.findChildren<DeviceSettingsDialog *>().size(), 2);
    w.setQuitConfirmed(true);
}

QTEST_MAIN(TestDeviceSettingsDialog)
#include "tst_devicesettingsdialog.moc"
