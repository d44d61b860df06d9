#include "gui/device/devicesettingsdialog.h"

#include "gui/device/lockoverlay.h"
#include "gui/device/managelock.h"
#include "gui/device/managepasswd.h"
#include "gui/device/passwordprompt.h"
#include "gui/device/settingsaddresspage.h"
#include "gui/device/settingsamplifierpage.h"
#include "gui/device/settingschannelspage.h"
#include "gui/device/settingsclockpage.h"
#include "gui/device/settingsgeneralpage.h"
#include "gui/device/settingsgpiopage.h"
#include "gui/device/settingsinfopage.h"
#include "gui/device/settingslockpage.h"
#include "gui/device/translucentlock.h"
#include "gui/device/transparentlock.h"
#include "core/app/scalefactors.h"
#include "core/app/texts.h"
#include "core/device/amplifierinfo.h"
#include "core/device/gpiopin.h"
#include "core/device/lockchoice.h"
#include "core/device/settingsplan.h"
#include "core/devices/devicemodels.h"
#include "core/devices/devmanager.h"
#include "core/devices/deviceuistore.h"
#include "core/protocol/replyrouter.h"
#include "gui/widgets/noticebox.h"
#include "gui/widgets/style.h"
#include "gui/widgets/planrunner.h"

#include <QEvent>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QJsonDocument>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QStackedWidget>
#include <QTimer>
#include <QVBoxLayout>

namespace {

const QString kTag = QStringLiteral("DeviceSettingsDialog");

// After "setIp" the device replies first and moves afterwards.
constexpr int kIpRecheckMs = 2000;

const Tx kPageNames[DeviceSettingsDialog::PageCount] = {Tx::DsPageGeneral, Tx::DsPageChannels, Tx::DsPageAddress,
                                                        Tx::DsPageLock,    Tx::DsPageInfo,     Tx::DsPageAmplifier,
                                                        Tx::DsPageGpio,    Tx::DsPageClock};

const char kListStyle[] =
    "QListWidget { background-color: rgb(28, 29, 34); border: none; border-right: 1px solid rgb(50, 52, 60);"
    " outline: none; padding-top: %1px; }"
    "QListWidget::item { color: rgb(169, 169, 183); padding: %2px %3px; border-left: 3px solid transparent; }"
    "QListWidget::item:hover { background-color: rgb(40, 42, 49); color: rgb(230, 232, 238); }"
    "QListWidget::item:selected { background-color: rgb(40, 42, 49); color: white;"
    " border-left: 3px solid rgb(72, 112, 206); }";

} // namespace

DeviceSettingsDialog::DeviceSettingsDialog(const QString &devId, const DevManager &registry, DeviceUiStore *store,
                                           QWidget *parent)
    : FramelessDialog(parent)
    , m_devId(devId)
    , m_registry(registry)
    , m_store(store)
    , m_ipRecheck(new QTimer(this))
{
    setObjectName(QStringLiteral("dlg_deviceSettings"));
    m_runner = new PlanRunner(this, kTag);
    connect(m_runner, &PlanRunner::signal_sendUdp, this, &DeviceSettingsDialog::signal_sendUdp);
    connect(m_runner, &PlanRunner::signal_sendUdpToPort, this, &DeviceSettingsDialog::signal_sendUdpToPort);
    setModal(false);
    setMinimumSize(scaled(860), scaled(600));
    resize(scaled(920), scaled(660));
    if (auto d = m_registry.findByDevId(devId))
        m_device = *d;

    contentLayout()->setContentsMargins(0, 0, 0, 0);
    m_body = new QWidget(this);
    m_body->setObjectName(QStringLiteral("wd_settingsBody"));
    auto *bodyLayout = new QHBoxLayout(m_body);
    bodyLayout->setContentsMargins(0, 0, 0, 0);
    bodyLayout->setSpacing(0);
    contentLayout()->addWidget(m_body, 1);

    m_list = new QListWidget(m_body);
    m_list->setObjectName(QStringLiteral("lw_pages"));
    m_list->setFixedWidth(scaled(180));
    m_list->setFont(Style::font(11));
    m_list->setStyleSheet(QString::fromLatin1(kListStyle).arg(scaled(8)).arg(scaled(10)).arg(scaled(18)));
    m_list->setFocusPolicy(Qt::NoFocus);
    for (int i = 0; i < PageCount; ++i)
        m_list->addItem(QString());
    bodyLayout->addWidget(m_list);

    m_pageArea = new QWidget(m_body);
    m_pageArea->setObjectName(QStringLiteral("wd_pageArea"));
    auto *areaLayout = new QVBoxLayout(m_pageArea);
    areaLayout->setContentsMargins(0, 0, 0, 0);
    areaLayout->setSpacing(0);
    m_stack = new QStackedWidget(m_pageArea);
    m_stack->setObjectName(QStringLiteral("stack_settings"));
    areaLayout->addWidget(m_stack, 1);
    bodyLayout->addWidget(m_pageArea, 1);

    auto *footer = new QWidget(m_pageArea);
    footer->setObjectName(QStringLiteral("wd_footer"));
    footer->setAttribute(Qt::WA_StyledBackground);
    footer->setStyleSheet(QStringLiteral("#wd_footer { border-top: 1px solid rgb(50, 52, 60); }"));
    auto *footerLayout = new QHBoxLayout(footer);
    footerLayout->setContentsMargins(scaled(24), scaled(10), scaled(16), scaled(12));
    m_status = new QLabel(footer);
    m_status->setObjectName(QStringLiteral("lb_status"));
    m_reboot = new QPushButton(footer);
    m_reboot->setObjectName(QStringLiteral("pb_reboot"));
    m_reboot->setMinimumWidth(scaled(100));
    footerLayout->addWidget(m_status, 1);
    footerLayout->addWidget(m_reboot);
    areaLayout->addWidget(footer);

    m_general = new SettingsGeneralPage(devId, m_stack);
    m_channels = new SettingsChannelsPage(devId, m_stack);
    m_address = new SettingsAddressPage(devId, m_stack);
    m_lock = new SettingsLockPage(m_stack);
    m_info = new SettingsInfoPage(m_stack);
    m_amplifier = new SettingsAmplifierPage(devId, m_stack);
    m_gpio = new SettingsGpioPage(devId, m_stack);
    m_clock = new SettingsClockPage(devId, m_stack);
    for (QWidget *page : {static_cast<QWidget *>(m_general), static_cast<QWidget *>(m_channels),
                          static_cast<QWidget *>(m_address), static_cast<QWidget *>(m_lock),
                          static_cast<QWidget *>(m_info), static_cast<QWidget *>(m_amplifier),
                          static_cast<QWidget *>(m_gpio), static_cast<QWidget *>(m_clock)})
        m_stack->addWidget(page);
    connect(m_list, &QListWidget::currentRowChanged, m_stack, &QStackedWidget::setCurrentIndex);

    connect(m_general, &SettingsGeneralPage::signal_run, this, [this](const CommandPlan &p) { run(p); });
    connect(m_channels, &SettingsChannelsPage::signal_run, this, [this](const CommandPlan &p) {
        if (!run(p))
            m_channels->resync();
    });
    connect(m_address, &SettingsAddressPage::signal_run, this, [this](const CommandPlan &p) { run(p); });
    connect(m_amplifier, &SettingsAmplifierPage::signal_run, this, [this](const CommandPlan &p) { run(p); });
    connect(m_gpio, &SettingsGpioPage::signal_run, this, [this](const CommandPlan &p) { run(p); });
    connect(m_lock, &SettingsLockPage::signal_manageLock, this, [this] { slot_manageLock(); });
    connect(m_lock, &SettingsLockPage::signal_changePassword, this, &DeviceSettingsDialog::slot_changePassword);
    connect(m_lock, &SettingsLockPage::signal_refresh, this, [this] { ask(QStringLiteral("getLock")); });
    connect(m_info, &SettingsInfoPage::signal_refresh, this, [this] {
        ask(QStringLiteral("getDebugInfo"));
    });
    connect(m_amplifier, &SettingsAmplifierPage::signal_refresh, this, [this] { ask(QStringLiteral("getInfo")); });
    connect(m_gpio, &SettingsGpioPage::signal_refresh, this, [this] { ask(QStringLiteral("getGpioInfo")); });
    connect(m_reboot, &QPushButton::clicked, this, [this] {
        const QString name = deviceName();
        if (run(SettingsPlan::reboot(m_devId, name)))
            emit signal_showTips(tx(Tx::RebootSent).arg(name), true);
    });

    m_ipRecheck->setSingleShot(true);
    m_ipRecheck->setInterval(kIpRecheckMs);
    connect(m_ipRecheck, &QTimer::timeout, this, [this] { ask(QStringLiteral("getIp")); });
    if (m_store)
        connect(m_store, &DeviceUiStore::signal_changed, this, [this](const QString &id) {
            if (id == m_devId)
                refresh();
        });

    m_list->setCurrentRow(General);
    retranslate();
    refresh();
}

bool DeviceSettingsDialog::hasPage(Page page) const
{
    const QString model = m_device.rec.model.str();
    if (page == Amplifier)
        return DeviceModels::isAmplifier(model);
    if (page == Gpio)
        return DeviceModels::hasGpio(model);
    return page >= 0 && page < PageCount;
}

void DeviceSettingsDialog::setClockHistory(const EventMonitor *monitor)
{
    m_clock->setMonitor(monitor);
}

LockOverlay *DeviceSettingsDialog::cover() const
{
    return m_cover;
}

void DeviceSettingsDialog::setPage(Page page)
{
    if (hasPage(page))
        m_list->setCurrentRow(page);
}

DeviceSettingsDialog::Page DeviceSettingsDialog::currentPage() const
{
    return Page(m_stack->currentIndex());
}

QString DeviceSettingsDialog::deviceName() const
{
    const QString name = m_device.rec.name.str();
    return name.isEmpty() ? m_devId : name;
}

void DeviceSettingsDialog::showEvent(QShowEvent *event)
{
    FramelessDialog::showEvent(event);
    if (m_asked)
        return;
    m_asked = true;
    for (const QJsonObject &request : SettingsPlan::openingRequests(m_devId, m_device.rec.model.str()))
        run(CommandPlan{{}, request, 0});
}

void DeviceSettingsDialog::ask(const QString &op)
{
    run(CommandPlan{{}, SettingsPlan::request(m_devId, op), 0});
}

bool DeviceSettingsDialog::run(const CommandPlan &plan)
{
    // The footer speaks of the latest change only: an older "Saved" must not
    // stand under a refusal or a change still on its way. The window's own
    // questions (read-backs) leave it alone.
    if (plan.refused() || SettingsPlan::isChange(plan.command.value(QLatin1String("ops")).toString()))
        clearResult();
    return m_runner->run(plan) && !plan.command.isEmpty();
}

void DeviceSettingsDialog::clearResult()
{
    m_result.reset();
    m_status->clear();
}

void DeviceSettingsDialog::slot_refreshDevice(const QString &devId)
{
    if (devId == m_devId)
        refresh();
}

void DeviceSettingsDialog::slot_refresh()
{
    refresh();
}

void DeviceSettingsDialog::refresh()
{
    if (auto d = m_registry.findByDevId(m_devId))
        m_device = *d;
    const DeviceUiData ui = m_store ? m_store->get(m_devId) : DeviceUiData();
    m_general->refresh(m_device, ui);
    m_channels->refresh(m_device);
    m_address->refresh(ui);
    m_lock->refresh(ui);
    m_info->refresh(m_device, ui);
    for (Page p : {Amplifier, Gpio})
        m_list->item(p)->setHidden(!hasPage(p));
    setTitle(tx(Tx::DsTitle).arg(deviceName()));
    updateCover();
}

void DeviceSettingsDialog::updateCover()
{
    const int kind = m_store ? LockChoice::settingsCover(m_store->get(m_devId)) : LockChoice::NoCover;
    if (kind == m_coverKind && (kind == LockChoice::NoCover || m_cover))
        return;
    m_coverKind = kind;
    delete m_cover;
    m_body->setEnabled(true);
    m_pageArea->setEnabled(true);
    if (kind == LockChoice::NoCover)
        return;
    // Read-only: the page list stays usable so every value can be looked
    // at; hidden: nothing of the device shows.
    if (kind == LockChoice::ReadOnlyCover) {
        m_cover = new TranslucentLock(this);
        m_cover->cover(m_pageArea);
        m_pageArea->setEnabled(false);
    } else {
        m_cover = new TransparentLock(this);
        m_cover->cover(m_body);
        m_body->setEnabled(false);
    }
    connect(m_cover, &LockOverlay::signal_enterPassword, this, &DeviceSettingsDialog::slot_enterPassword);
    connect(m_cover, &LockOverlay::signal_setPassword, this, &DeviceSettingsDialog::slot_changePassword);
    m_cover->setFocus();
}

void DeviceSettingsDialog::slot_message(const QString &json)
{
    const QJsonObject reply = QJsonDocument::fromJson(json.toUtf8()).object();
    if (reply.value(QLatin1String("devId")).toString() != m_devId)
        return;
    const QString op = reply.value(QLatin1String("ops")).toString();
    const QString result = reply.value(QLatin1String("result")).toString();
    const bool ok = result == QLatin1String("succ");

    if (const auto amp = AmplifierInfo::fromReply(reply))
        m_amplifier->showInfo(*amp);
    else if (const auto pins = GpioPin::listFromReply(reply))
        m_gpio->showPins(*pins);
    else if (const auto test = GpioPin::testResult(reply))
        m_gpio->showTestResult(*test);

    if (op == QLatin1String("setLock") && ok)
        ask(QStringLiteral("getLock"));
    // A test drives an output pin: its level shown on the page has changed.
    if (op == QLatin1String("testGpio") && ok)
        ask(QStringLiteral("getGpioInfo"));
    if (!SettingsPlan::isChange(op) || result.isEmpty())
        return;
    showResult(op, ok, reply.value(QLatin1String("reason")).toString());
    if (!ok) {
        // The device kept its values: show them again instead of what was typed.
        m_general->resync();
        m_channels->resync();
        if (op == QLatin1String("setIp"))
            m_address->resync();
        if (op == QLatin1String("setGain") || op == QLatin1String("setPower"))
            ask(QStringLiteral("getInfo"));
        if (op == QLatin1String("setGpioInfo"))
            ask(QStringLiteral("getGpioInfo"));
        return;
    }
    // Values that no announcement carries are read back.
    if (op == QLatin1String("setPtpDomain") || op == QLatin1String("setPtpDscp"))
        ask(QStringLiteral("getVersion"));
    else if (op == QLatin1String("setIp"))
        m_ipRecheck->start();
    else if (op == QLatin1String("setGain") || op == QLatin1String("setPower"))
        ask(QStringLiteral("getInfo"));
    else if (op == QLatin1String("setGpioInfo"))
        ask(QStringLiteral("getGpioInfo"));
}

void DeviceSettingsDialog::showResult(const QString &op, bool ok, const QString &reason)
{
    m_result = Result{op, reason, ok};
    m_status->setStyleSheet(QStringLiteral("color: %1;").arg(Style::rgb(ok ? Style::kSuccess : Style::kError)));
    m_status->setText(ok ? tx(Tx::DsSaved) : tx(Tx::DsNotSaved).arg(ReplyRouter::reasonText(op, reason)));
}

void DeviceSettingsDialog::slot_manageLock(const QString &password)
{
    const DeviceUiData ui = m_store ? m_store->get(m_devId) : DeviceUiData();
    ManageLock dialog(m_devId, LockChoice::fromDevice(ui.devLock, ui.routeLock, ui.dspLock), this);
    dialog.setPassword(password);
    connect(&dialog, &ManageLock::signal_sendUdpToPort, this, &DeviceSettingsDialog::signal_sendUdpToPort);
    dialog.exec();
}

void DeviceSettingsDialog::slot_changePassword()
{
    ManagePasswd dialog(m_devId, this);
    connect(&dialog, &ManagePasswd::signal_sendUdp, this, &DeviceSettingsDialog::signal_sendUdp);
    dialog.exec();
}

void DeviceSettingsDialog::slot_enterPassword()
{
    PasswordPrompt prompt(this);
    if (prompt.exec() == QDialog::Accepted)
        slot_manageLock(prompt.password());
}

void DeviceSettingsDialog::retranslate()
{
    setTitle(tx(Tx::DsTitle).arg(deviceName()));
    for (int i = 0; i < PageCount; ++i)
        m_list->item(i)->setText(tx(kPageNames[i]));
    m_reboot->setText(tx(Tx::DeviceReboot));
    if (m_result)
        showResult(m_result->op, m_result->ok, m_result->reason);
}

void DeviceSettingsDialog::keyPressEvent(QKeyEvent *event)
{
    // Enter commits a field; in a dialog it would also press the default
    // button, which here is the close button of the title strip.
    if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) {
        event->accept();
        return;
    }
    FramelessDialog::keyPressEvent(event);
}

void DeviceSettingsDialog::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::LanguageChange)
        retranslate();
    FramelessDialog::changeEvent(event);
}
