#include "gui/app/mainwindow.h"

#include "gui/app/aboutdialog.h"
#include "gui/app/eventpanel.h"
#include "core/events/eventfeed.h"
#include "core/events/eventmonitor.h"
#include "gui/clock/clockform.h"
#include "gui/monitor/devvolumeform.h"
#include "gui/monitor/netstateform.h"
#include "gui/app/interfacechooser.h"
#include "gui/device/devicelistform.h"
#include "gui/device/devicesettingsdialog.h"
#include "gui/dsp/devdspdialog.h"
#include "gui/dsp/dspofflinedialog.h"
#include "gui/widgets/filechoice.h"
#include "core/devices/devicemodels.h"
#include "gui/factory/devicetestdialog.h"
#include "gui/factory/signaltestdialog.h"
#include "gui/app/placeholderpage.h"
#include "core/mcast/flowview.h"
#include "gui/mcast/mcastwidget.h"
#include "gui/mcast/streamform.h"
#include "gui/routing/cellrouteform.h"
#include "gui/app/titlebar.h"
#include "core/app/language.h"
#include "core/app/platform.h"
#include "core/app/scalefactors.h"
#include "core/app/texts.h"
#include "core/app/usersettings.h"
#include "core/devices/deviceuistore.h"
#include "core/protocol/devicelink.h"
#include "core/protocol/ipv4.h"
#include "gui/widgets/noticebox.h"
#include "gui/widgets/snackbar.h"
#include "gui/widgets/style.h"

#include <QApplication>
#include <QButtonGroup>
#include <QCloseEvent>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QStackedWidget>
#include <QStyle>
#include <QVBoxLayout>

namespace {

struct PageInfo
{
    const char *button;
    Tx name;
    Tx description;
    const char *icon;
};

const PageInfo kPages[MainWindow::PageCount] = {
    {"pb_devices", Tx::PageDevices, Tx::PlaceholderDevices, ":/pic/ui/page_devices.png"},
    {"pb_routing", Tx::PageRouting, Tx::PlaceholderRouting, ":/pic/ui/page_routing.png"},
    {"pb_flows", Tx::PageFlows, Tx::PlaceholderFlows, ":/pic/ui/page_flows.png"},
    {"pb_clock", Tx::PageClock, Tx::PlaceholderClock, ":/pic/ui/page_clock.png"},
    {"pb_netStats", Tx::PageNetStats, Tx::PlaceholderNetStats, ":/pic/ui/page_stats.png"},
    {"pb_levels", Tx::PageLevels, Tx::PlaceholderLevels, ":/pic/ui/page_levels.png"},
};

const char kMenuButtonStyle[] =
    "QPushButton { color: rgb(169, 169, 183); background: transparent; border: none; border-bottom: 3px solid transparent;"
    " border-radius: 0; padding: 0 %1px; min-height: 0; text-align: center; }"
    "QPushButton:hover { color: rgb(230, 232, 238); background-color: rgb(40, 42, 49); }"
    "QPushButton:checked { color: white; background-color: rgb(40, 42, 49); border-bottom: 3px solid rgb(72, 112, 206); }";

const char kLanguageButtonStyle[] =
    "QPushButton { color: rgb(169, 169, 183); background: rgb(42, 44, 51); border: 1px solid rgb(62, 65, 75);"
    " border-radius: 0; padding: 0 %1px; min-height: 0; }"
    "QPushButton:hover { color: white; }"
    "QPushButton:checked { color: white; background-color: rgb(50, 89, 182); border-color: rgb(50, 89, 182); }";

} // namespace

MainWindow::MainWindow(const QString &settingsDir, QWidget *parent)
    : QWidget(parent)
    , m_settings(new UserSettings(settingsDir))
    , m_link(new DeviceLink(this))
    , m_uiStore(new DeviceUiStore(this))
    , m_events(new EventMonitor({}, this))
{
    setObjectName(QStringLiteral("MainWindow"));
    setAttribute(Qt::WA_StyledBackground);
    setStyleSheet(QStringLiteral("#MainWindow { background-color: rgb(33, 34, 39); border: 1px solid rgb(56, 58, 66); }"));
    setMinimumSize(scaled(1024), scaled(640));
    resize(scaled(1500), scaled(900));

    m_titleBar = new TitleBar(this);
    connect(m_titleBar, &TitleBar::signal_closeRequested, this, &QWidget::close);

    auto *menu = new QWidget(this);
    menu->setObjectName(QStringLiteral("wd_menu"));
    menu->setAttribute(Qt::WA_StyledBackground);
    menu->setStyleSheet(QStringLiteral("#wd_menu { background-color: rgb(28, 29, 34); border-bottom: 1px solid rgb(50, 52, 60); }"));
    menu->setFixedHeight(scaled(48));
    buildMenu(menu);

    m_stack = new QStackedWidget(this);
    m_stack->setObjectName(QStringLiteral("stack_pages"));
    for (const PageInfo &p : kPages)
        m_stack->addWidget(new PlaceholderPage(p.name, p.description, QLatin1String(p.icon), m_stack));

    auto *status = new QWidget(this);
    status->setObjectName(QStringLiteral("wd_status"));
    status->setAttribute(Qt::WA_StyledBackground);
    status->setStyleSheet(QStringLiteral("#wd_status { background-color: rgb(28, 29, 34); border-top: 1px solid rgb(50, 52, 60); }"));
    status->setFixedHeight(scaled(28));
    m_statusInterface = new QLabel(status);
    m_statusInterface->setObjectName(QStringLiteral("lb_interface"));
    m_statusDevices = new QLabel(status);
    m_statusDevices->setObjectName(QStringLiteral("lb_devices"));
    auto *statusLayout = new QHBoxLayout(status);
    statusLayout->setContentsMargins(scaled(14), 0, scaled(14), 0);
    statusLayout->addWidget(m_statusInterface);
    statusLayout->addStretch(1);
    statusLayout->addWidget(m_statusDevices);
    statusLayout->addSpacing(scaled(12));
    m_eventsButton = new QPushButton(status);
    m_eventsButton->setObjectName(QStringLiteral("pb_events"));
    m_eventsButton->setCheckable(true);
    m_eventsButton->setFocusPolicy(Qt::NoFocus);
    m_eventsButton->setFixedHeight(scaled(22));
    // In the status line, where the network's state is read. Unseen warnings
    // and errors turn the button red until the panel is looked at.
    m_eventsButton->setStyleSheet(QString::fromLatin1(kLanguageButtonStyle).arg(scaled(12))
                                  + QStringLiteral("QPushButton[alert=\"true\"] { color: white; background-color: rgb(214, 72, 72);"
                                                   " border-color: rgb(214, 72, 72); font-weight: bold; }"));
    connect(m_eventsButton, &QPushButton::toggled, this, &MainWindow::setEventsShown);
    statusLayout->addWidget(m_eventsButton);

    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(1, 1, 1, 1);
    layout->setSpacing(0);
    layout->addWidget(m_titleBar);
    layout->addWidget(menu);
    // The events panel opens at the right of the pages, beside them rather
    // than over them, so a page and the log can be watched together.
    m_eventPanel = new EventPanel(m_events, this);
    m_eventPanel->setFixedWidth(scaled(460));
    m_eventPanel->hide();
    connect(m_eventPanel, &EventPanel::signal_closeRequested, this, [this] { setEventsShown(false); });
    connect(m_eventPanel, &EventPanel::signal_showTips, this, &MainWindow::slot_showTips);
    connect(m_events, &EventMonitor::signal_unseenChanged, this, &MainWindow::updateEventsButton);
    EventFeed::attach(m_link, m_events);
    auto *middle = new QHBoxLayout;
    middle->setContentsMargins(0, 0, 0, 0);
    middle->setSpacing(0);
    middle->addWidget(m_stack, 1);
    middle->addWidget(m_eventPanel);
    layout->addLayout(middle, 1);
    layout->addWidget(status);

    m_snack = new SnackBar(this);
    connectLink();
    buildPages();

    // The stored language is read, but every start is in English (see
    // UserSettings::startsInChinese); the switch also rewrites "Langue".
    const bool chinese = UserSettings::startsInChinese(m_settings->storedLanguage());
    Language::setChinese(chinese);
    m_settings->storeLanguage(chinese);
    m_english->setChecked(!chinese);
    m_chinese->setChecked(chinese);
    setPage(Devices);
    retranslate();

    Platform::endLeftoverFirmwareTool();
}

MainWindow::~MainWindow()
{
    // The receive thread must be gone before the pages it signals.
    m_link->stop();
    delete m_settings;
}

void MainWindow::connectLink()
{
    connect(m_link, &DeviceLink::signal_send_addDev, this, &MainWindow::signal_send_addDev);
    connect(m_link, &DeviceLink::signal_send_updateDev, this, &MainWindow::signal_send_updateDev);
    connect(m_link, &DeviceLink::signal_send_delDev, this, &MainWindow::signal_send_delDev);
    connect(m_link, &DeviceLink::signal_send_addMcast, this, &MainWindow::signal_send_addMcast);
    connect(m_link, &DeviceLink::signal_send_delMcast, this, &MainWindow::signal_send_delMcast);
    connect(m_link, &DeviceLink::signal_refresh_route, this, &MainWindow::signal_refresh_route);
    connect(m_link, &DeviceLink::signal_recv_message, this, &MainWindow::signal_recv_message);
    connect(m_link, &DeviceLink::signal_blinkingDev, this, &MainWindow::signal_blinkingDev);
    connect(m_link, &DeviceLink::signal_unBlinkingDev, this, &MainWindow::signal_unBlinkingDev);
    connect(m_link, &DeviceLink::signal_refreshUi, this, &MainWindow::signal_refreshUi);
    connect(m_link, &DeviceLink::signal_refreshDevInfoUi, this, &MainWindow::signal_refreshDevInfoUi);
    connect(m_link, &DeviceLink::signal_syncCanWork, this, &MainWindow::signal_syncCanWork);
    connect(m_link, &DeviceLink::signal_showTips, this, &MainWindow::slot_showTips);
    connect(m_link, &DeviceLink::signal_recv_message, m_uiStore, &DeviceUiStore::slot_message);
    connect(m_link, &DeviceLink::signal_send_delDev, m_uiStore, &DeviceUiStore::remove);
    connect(m_link, &DeviceLink::signal_send_addDev, this, &MainWindow::updateStatus);
    connect(m_link, &DeviceLink::signal_send_delDev, this, &MainWindow::updateStatus);
    connect(m_link, &DeviceLink::signal_refreshUi, this, &MainWindow::updateStatus);
}

void MainWindow::buildPages()
{
    auto *devices = new DeviceListForm(m_link->registry(), m_uiStore, this);
    setPageWidget(Devices, devices);
    connect(devices, &DeviceListForm::signal_sendUdp, this, &MainWindow::slot_sendUdp);
    connect(devices, &DeviceListForm::signal_showTips, this, &MainWindow::slot_showTips);
    connect(devices, &DeviceListForm::signal_openSettings, this, &MainWindow::slot_openDeviceSettings);
    connect(devices, &DeviceListForm::signal_openDsp, this, &MainWindow::slot_openDsp);
    for (auto signal : {&MainWindow::signal_send_addDev, &MainWindow::signal_send_delDev,
                        &MainWindow::signal_send_updateDev})
        connect(this, signal, devices, &DeviceListForm::slot_refresh);
    connect(this, &MainWindow::signal_refreshUi, devices, &DeviceListForm::slot_refresh);
    connect(this, &MainWindow::signal_refreshDevInfoUi, devices, &DeviceListForm::slot_refreshDevInfo);
    connect(this, &MainWindow::signal_send_addDev, devices, &DeviceListForm::slot_refreshDevInfo);
    connect(this, &MainWindow::signal_blinkingDev, devices, &DeviceListForm::slot_blinking);
    connect(this, &MainWindow::signal_unBlinkingDev, devices, &DeviceListForm::slot_unBlinking);
    devices->setSortChoice(m_settings->sortChoice(QStringLiteral("Devices")));
    connect(devices, &DeviceListForm::signal_sortChoiceChanged, this,
            [this](const QString &choice) { m_settings->storeSortChoice(QStringLiteral("Devices"), choice); });

    auto *routing = new CellRouteForm(m_link->registry(), m_uiStore, this);
    setPageWidget(Routing, routing);
    connect(routing, &CellRouteForm::signal_sendUdp, this, &MainWindow::slot_sendUdp);
    connect(routing, &CellRouteForm::signal_showDevice, this, &MainWindow::slot_openDeviceSettings);
    connect(routing, &CellRouteForm::signal_showTips, this, &MainWindow::slot_showTips);
    connect(this, &MainWindow::signal_recv_message, routing, &CellRouteForm::slot_message);
    for (auto signal : {&MainWindow::signal_send_addDev, &MainWindow::signal_send_delDev,
                        &MainWindow::signal_send_updateDev})
        connect(this, signal, routing, &CellRouteForm::slot_refresh);
    for (auto signal : {&MainWindow::signal_refresh_route, &MainWindow::signal_refreshUi})
        connect(this, signal, routing, &CellRouteForm::slot_refresh);
    connect(this, &MainWindow::signal_send_addMcast, routing, &CellRouteForm::slot_refresh);
    connect(this, &MainWindow::signal_send_delMcast, routing, &CellRouteForm::slot_refresh);

    connect(routing, &CellRouteForm::signal_showFlow, this, &MainWindow::slot_showFlowDetails);

    auto *flows = new StreamForm(m_link->registry(), this);
    setPageWidget(Flows, flows);
    connect(flows, &StreamForm::signal_sendUdp, this, &MainWindow::slot_sendUdp);
    for (auto signal : {&MainWindow::signal_send_addDev, &MainWindow::signal_send_delDev,
                        &MainWindow::signal_send_updateDev})
        connect(this, signal, flows, &StreamForm::slot_refresh);
    for (auto signal : {&MainWindow::signal_refresh_route, &MainWindow::signal_refreshUi})
        connect(this, signal, flows, &StreamForm::slot_refresh);
    connect(this, &MainWindow::signal_send_addMcast, flows, &StreamForm::slot_refresh);
    connect(this, &MainWindow::signal_send_delMcast, flows, &StreamForm::slot_refresh);

    // The clock and monitoring pages: requests out, replies and registry changes in.
    auto wire = [this](auto *page) {
        using Page = std::remove_pointer_t<decltype(page)>;
        connect(page, &Page::signal_sendUdp, this, &MainWindow::slot_sendUdp);
        connect(this, &MainWindow::signal_recv_message, page, &Page::slot_message);
        for (auto signal : {&MainWindow::signal_send_addDev, &MainWindow::signal_send_delDev,
                            &MainWindow::signal_send_updateDev})
            connect(this, signal, page, &Page::slot_refresh);
        for (auto signal : {&MainWindow::signal_refreshUi, &MainWindow::signal_refreshDevInfoUi})
            connect(this, signal, page, &Page::slot_refresh);
        return page;
    };
    setPageWidget(Clock, wire(new ClockForm(m_link->registry(), m_uiStore, this)));
    auto *stats = wire(new NetStateForm(m_link->registry(), this));
    setPageWidget(NetStats, stats);
    stats->setSortChoice(m_settings->sortChoice(QStringLiteral("NetStats")));
    connect(stats, &NetStateForm::signal_sortChoiceChanged, this,
            [this](const QString &choice) { m_settings->storeSortChoice(QStringLiteral("NetStats"), choice); });
    setPageWidget(Levels, wire(new DevVolumeForm(m_link->registry(), this)));
}

bool MainWindow::startNetwork(const QString &address)
{
    const bool ok = m_link->startOn(address);
    updateStatus();
    return ok;
}

void MainWindow::startInterfaceSelection(InterfaceChooser *chooser)
{
    m_chooser = chooser ? chooser : new InterfaceChooser(this);
    connect(m_chooser, &InterfaceChooser::updateNetInterafceSignal, this, &MainWindow::on_selectIp_confirm);
    m_chooser->start();
}

void MainWindow::on_selectIp_confirm()
{
    if (m_chooser && !m_chooser->currentIp().isEmpty())
        startNetwork(m_chooser->currentIp());
}

void MainWindow::slot_sendUdp(const QString &json, const QString &tag)
{
    m_link->slot_sendUdp(json, tag);
}

McastWidget *MainWindow::flowDetails() const
{
    return m_flowDetails;
}

void MainWindow::slot_showFlowDetails(const QString &flowName)
{
    const auto flow = m_link->registry().findFlowByName(flowName);
    if (!flow)
        return;
    if (!m_flowDetails) {
        m_flowDetails = new McastWidget(this);
        m_flowDetails->setAttribute(Qt::WA_DeleteOnClose);
    }
    m_flowDetails->setDetails(FlowView::details(*flow, m_link->registry().devices()));
    m_flowDetails->show();
    m_flowDetails->raise();
}

void MainWindow::updateStatus()
{
    const quint32 selected = m_link->thread().selectedAddress();
    m_statusInterface->setText(selected ? tx(Tx::InterfaceLabel).arg(Ipv4::toText(selected)) : tx(Tx::NoInterface));
    const int devices = m_link->registry().deviceCount();
    m_statusDevices->setText(devices ? tx(Tx::DevicesOnline).arg(devices) : tx(Tx::NoDevices));
}

void MainWindow::buildMenu(QWidget *menu)
{
    auto *layout = new QHBoxLayout(menu);
    layout->setContentsMargins(scaled(8), 0, scaled(14), 0);
    layout->setSpacing(0);
    m_pageButtons = new QButtonGroup(this);
    m_pageButtons->setExclusive(true);
    const QString menuStyle = QString::fromLatin1(kMenuButtonStyle).arg(scaled(18));
    for (int i = 0; i < PageCount; ++i) {
        auto *b = new QPushButton(menu);
        b->setObjectName(QLatin1String(kPages[i].button));
        b->setCheckable(true);
        b->setFocusPolicy(Qt::NoFocus);
        b->setIcon(QIcon(QLatin1String(kPages[i].icon)));
        b->setIconSize(QSize(scaled(22), scaled(22)));
        b->setFont(Style::font(11));
        b->setStyleSheet(menuStyle);
        b->setSizePolicy(QSizePolicy::Minimum, QSizePolicy::Expanding);
        m_pageButtons->addButton(b, i);
        m_pageButtonList.append(b);
        layout->addWidget(b);
    }
    connect(m_pageButtons, &QButtonGroup::idClicked, this,
            [this](int id) { setPage(Page(id)); });
    layout->addStretch(1);

    const QString langStyle = QString::fromLatin1(kLanguageButtonStyle).arg(scaled(12));
    auto *languageIcon = new QLabel(menu);
    languageIcon->setPixmap(QPixmap(QStringLiteral(":/pic/ui/language.png")).scaled(scaled(20), scaled(20), Qt::KeepAspectRatio, Qt::SmoothTransformation));
    layout->addWidget(languageIcon);
    layout->addSpacing(scaled(8));
    m_english = new QPushButton(menu);
    m_english->setObjectName(QStringLiteral("pb_english"));
    m_chinese = new QPushButton(menu);
    m_chinese->setObjectName(QStringLiteral("pb_chinese"));
    auto *languages = new QButtonGroup(this);
    for (QPushButton *b : {m_english, m_chinese}) {
        b->setCheckable(true);
        b->setFocusPolicy(Qt::NoFocus);
        b->setFixedHeight(scaled(28));
        b->setStyleSheet(langStyle);
        languages->addButton(b);
        layout->addWidget(b);
    }
    connect(m_english, &QPushButton::clicked, this, [this] { slot_switchLanguage(false); });
    connect(m_chinese, &QPushButton::clicked, this, [this] { slot_switchLanguage(true); });
    layout->addSpacing(scaled(16));

    m_about = new QPushButton(menu);
    m_about->setObjectName(QStringLiteral("pb_about"));
    m_about->setIcon(QIcon(QStringLiteral(":/pic/ui/about.png")));
    m_about->setIconSize(QSize(scaled(18), scaled(18)));
    m_about->setFocusPolicy(Qt::NoFocus);
    m_about->setFixedHeight(scaled(28));
    m_about->setStyleSheet(QString::fromLatin1(kLanguageButtonStyle).arg(scaled(12)));
    connect(m_about, &QPushButton::clicked, this, &MainWindow::slot_showAbout);

    m_tools = new QPushButton(menu);
    m_tools->setObjectName(QStringLiteral("pb_tools"));
    m_tools->setFocusPolicy(Qt::NoFocus);
    m_tools->setFixedHeight(scaled(28));
    m_tools->setStyleSheet(QString::fromLatin1(kLanguageButtonStyle).arg(scaled(12)));
    connect(m_tools, &QPushButton::clicked, this, &MainWindow::slot_showDeviceTest);
    layout->addWidget(m_tools);
    m_signalTools = new QPushButton(menu);
    m_signalTools->setObjectName(QStringLiteral("pb_signalTest"));
    m_signalTools->setFocusPolicy(Qt::NoFocus);
    m_signalTools->setFixedHeight(scaled(28));
    m_signalTools->setStyleSheet(QString::fromLatin1(kLanguageButtonStyle).arg(scaled(12)));
    connect(m_signalTools, &QPushButton::clicked, this, &MainWindow::slot_showSignalTest);
    layout->addWidget(m_signalTools);
    m_openProgram = new QPushButton(menu);
    m_openProgram->setObjectName(QStringLiteral("pb_openProgram"));
    m_openProgram->setFocusPolicy(Qt::NoFocus);
    m_openProgram->setFixedHeight(scaled(28));
    m_openProgram->setStyleSheet(QString::fromLatin1(kLanguageButtonStyle).arg(scaled(12)));
    connect(m_openProgram, &QPushButton::clicked, this, [this] { slot_openProgramFile(); });
    layout->addWidget(m_openProgram);
    layout->addSpacing(scaled(6));
    layout->addWidget(m_about);
}

void MainWindow::setEventsShown(bool shown)
{
    m_eventsButton->setChecked(shown);
    m_eventPanel->setVisible(shown);
    updateEventsButton();
}

void MainWindow::updateEventsButton()
{
    if (!m_eventsButton)
        return;
    const int unseen = m_events->unseenAlerts();
    m_eventsButton->setText(unseen ? tx(Tx::EvButtonUnseen).arg(unseen) : tx(Tx::EvButton));
    m_eventsButton->setToolTip(tx(Tx::EvButtonTip));
    if (m_eventsButton->property("alert").toBool() != (unseen > 0)) {
        m_eventsButton->setProperty("alert", unseen > 0);
        m_eventsButton->style()->unpolish(m_eventsButton);
        m_eventsButton->style()->polish(m_eventsButton);
    }
}

void MainWindow::slot_showDeviceTest()
{
    if (!m_deviceTest) {
        m_deviceTest = new DeviceTestDialog(m_link->registry(), [this] { return m_link->currentAddress(); }, this);
        connect(m_deviceTest, &DeviceTestDialog::signal_sendUdp, this, &MainWindow::slot_sendUdp);
        connect(m_deviceTest, &DeviceTestDialog::signal_showTips, this, &MainWindow::slot_showTips);
        connect(this, &MainWindow::signal_recv_message, m_deviceTest, &DeviceTestDialog::slot_message);
    }
    m_deviceTest->show();
    m_deviceTest->raise();
}

SignalTestDialog *MainWindow::slot_showSignalTest()
{
    if (!m_signalTest) {
        DeviceLink *link = m_link;
        m_signalTest = new SignalTestDialog(
            link->registry(), [link](const QString &request, quint16 port) { link->sendToPort(request, port); }, this);
        connect(m_signalTest, &SignalTestDialog::signal_showTips, this, &MainWindow::slot_showTips);
        connect(this, &MainWindow::signal_recv_message, m_signalTest, &SignalTestDialog::slot_message);
        connect(this, &MainWindow::signal_send_addDev, m_signalTest, &SignalTestDialog::slot_refreshDevices);
    }
    m_signalTest->show();
    m_signalTest->raise();
    return m_signalTest;
}

void MainWindow::setPage(Page page)
{
    if (page < 0 || page >= PageCount)
        return;
    m_stack->setCurrentIndex(page);
    m_pageButtonList[page]->setChecked(true);
}

MainWindow::Page MainWindow::currentPage() const
{
    return Page(m_stack->currentIndex());
}

QWidget *MainWindow::pageWidget(Page page) const
{
    return m_stack->widget(page);
}

void MainWindow::setPageWidget(Page page, QWidget *widget)
{
    QWidget *old = m_stack->widget(page);
    const bool current = m_stack->currentIndex() == page;
    m_stack->insertWidget(page, widget);
    m_stack->removeWidget(old);
    old->deleteLater();
    if (current)
        m_stack->setCurrentIndex(page);
}

void MainWindow::slot_switchLanguage(bool chinese)
{
    m_english->setChecked(!chinese);
    m_chinese->setChecked(chinese);
    m_settings->storeLanguage(chinese);
    if (chinese == Language::isChinese())
        return;
    Language::setChinese(chinese);
    // Every open window follows at once, dialogs included; a widget passes
    // the event on to its children itself.
    QEvent change(QEvent::LanguageChange);
    const QWidgetList windows = QApplication::topLevelWidgets();
    for (QWidget *w : windows)
        QCoreApplication::sendEvent(w, &change);
    m_snack->showMessage(tx(Tx::LanguageSwitched), SnackBar::Info);
}

void MainWindow::slot_showTips(const QString &text, bool isSucc)
{
    m_snack->slot_showTips(text, isSucc);
}

void MainWindow::slot_openDeviceSettings(const QString &devId)
{
    for (DeviceSettingsDialog *open : findChildren<DeviceSettingsDialog *>()) {
        if (open->devId() == devId) {
            open->show();
            open->raise();
            open->activateWindow();
            return;
        }
    }
    auto *dialog = new DeviceSettingsDialog(devId, m_link->registry(), m_uiStore, this);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setClockHistory(m_events);
    connect(dialog, &DeviceSettingsDialog::signal_sendUdp, this, &MainWindow::slot_sendUdp);
    connect(dialog, &DeviceSettingsDialog::signal_sendUdpToPort, m_link, &DeviceLink::sendToPort);
    connect(dialog, &DeviceSettingsDialog::signal_showTips, this, &MainWindow::slot_showTips);
    connect(this, &MainWindow::signal_recv_message, dialog, &DeviceSettingsDialog::slot_message);
    connect(this, &MainWindow::signal_send_updateDev, dialog, &DeviceSettingsDialog::slot_refreshDevice);
    connect(this, &MainWindow::signal_refreshUi, dialog, &DeviceSettingsDialog::slot_refresh);
    dialog->show();
}

DevDspDialog *MainWindow::dspWindow(const QString &devId) const
{
    for (DevDspDialog *open : findChildren<DevDspDialog *>())
        if (open->devId() == devId)
            return open;
    return nullptr;
}

DevDspDialog *MainWindow::slot_openDsp(const QString &devId)
{
    if (DevDspDialog *open = dspWindow(devId)) {
        open->show();
        open->raise();
        open->activateWindow();
        return open;
    }
    const auto d = m_link->registry().findByDevId(devId);
    if (!d)
        return nullptr;
    // The processor's inputs are the physical inputs, its outputs the physical outputs.
    auto names = [](const Device &dev, DeviceTables::NameTable table, int count) {
        QStringList out;
        for (int i = 0; i < count; ++i)
            out.append(dev.channelName(table, i));
        return out;
    };
    DevDspDialog::Device device;
    device.devId = devId;
    device.name = d->rec.name.str();
    device.model = d->rec.model.str();
    device.ip = d->rec.ip;
    device.inputNames = names(*d, DeviceTables::PhyNameRx, d->rec.phyChNumRx);
    device.outputNames = names(*d, DeviceTables::PhyNameTx, d->rec.phyChNumTx);
    DeviceLink *link = m_link;
    auto *dialog = new DevDspDialog(device, [link](const QString &request, quint16 port) { link->sendToPort(request, port); },
                                    this);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    connect(this, &MainWindow::signal_recv_message, dialog, &DevDspDialog::slot_message);
    connect(dialog, &DevDspDialog::signal_showTips, this, &MainWindow::slot_showTips);
    // Channel names arrive with the device's tables, often after the window opened.
    connect(this, &MainWindow::signal_refreshDevInfoUi, dialog, [this, dialog, names] {
        if (const auto d = m_link->registry().findByDevId(dialog->devId()))
            dialog->setPhysicalNames(names(*d, DeviceTables::PhyNameRx, d->rec.phyChNumRx),
                                     names(*d, DeviceTables::PhyNameTx, d->rec.phyChNumTx));
    });
    dialog->show();
    dialog->start();
    return dialog;
}

DspOfflineDialog *MainWindow::slot_openProgramFile(const QString &path, const QString &model, int sampleRate)
{
    const QString file = path.isEmpty() ? FileChoice::open(this, tx(Tx::OfflineOpenProgram), tx(Tx::OfflineFileFilter))
                                        : path;
    if (file.isEmpty())
        return nullptr;
    DspOfflineDialog *window = DspOfflineDialog::openFile(file, this, model, sampleRate);
    if (!window)
        return nullptr;
    DeviceLink *link = m_link;
    window->setTargets([link] {
        QVector<DspOfflineDialog::Target> out;
        for (const Device &d : link->registry().devices())
            if (DeviceModels::isDspCapable(d.rec.model.str()))
                out.append({d.rec.devId.str(), d.rec.name.str(), Ipv4::toText(d.rec.ip), d.rec.model.str(),
                            d.rec.sampleRate});
        return out;
    });
    connect(window, &DevDspDialog::signal_showTips, this, &MainWindow::slot_showTips);
    return window;
}

void MainWindow::slot_showAbout()
{
    AboutDialog about(this);
    about.exec();
}

void MainWindow::retranslate()
{
    for (int i = 0; i < PageCount; ++i)
        m_pageButtonList[i]->setText(tx(kPages[i].name));
    m_english->setText(tx(Tx::LanguageEnglish));
    m_chinese->setText(tx(Tx::LanguageChinese));
    m_about->setText(tx(Tx::About));
    m_tools->setText(tx(Tx::ToolsDeviceTest));
    m_signalTools->setText(tx(Tx::ToolsSignalTest));
    m_openProgram->setText(tx(Tx::OfflineOpenProgram));
    updateEventsButton();
    m_titleBar->retranslate();
    updateStatus();
}

void MainWindow::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::LanguageChange)
        retranslate();
    else if (event->type() == QEvent::WindowStateChange)
        m_titleBar->syncMaximised();
    else if (event->type() == QEvent::WindowTitleChange)
        m_titleBar->retranslate();
    QWidget::changeEvent(event);
}

void MainWindow::closeEvent(QCloseEvent *event)
{
    if (!m_quitConfirmed && !NoticeBox::confirm(this, tx(Tx::QuitPrompt))) {
        event->ignore();
        return;
    }
    m_quitConfirmed = true;
    event->accept();
}
