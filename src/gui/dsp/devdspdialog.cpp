#include "gui/dsp/devdspdialog.h"

#include "core/app/log.h"
#include "core/app/scalefactors.h"
#include "core/app/texts.h"
#include "core/dsp/dspcontroller.h"
#include "core/dsp/programs/programactions.h"
#include "core/dsp/dsplink.h"
#include "core/protocol/ipv4.h"
#include "core/protocol/requestrouter.h"
#include "gui/dsp/adminform.h"
#include "gui/dsp/dspchannelstripform.h"
#include "gui/dsp/dspcompareform.h"
#include "gui/dsp/dspdiagramform.h"
#include "gui/dsp/dspmatrixform.h"
#include "gui/dsp/dspmicconfigdialog.h"
#include "gui/dsp/programs/dspprogramform.h"
#include "gui/widgets/busyoverlay.h"
#include "gui/widgets/snackbar.h"

#include <QAction>
#include <QEvent>
#include <QHBoxLayout>
#include <QJsonDocument>
#include <QLabel>
#include <QMenu>
#include <QTabWidget>
#include <QTimer>
#include <QVBoxLayout>

namespace {

/// Replies longer than this are logged by their length only.
constexpr int kLoggedReplyChars = 20000;

const char kTabStyle[] =
    "QTabWidget::pane { background-color: rgb(33, 34, 39); border: 1px solid rgb(56, 58, 66); top: -1px; }"
    "QTabBar::tab { color: rgb(169, 169, 183); background: rgb(40, 42, 49); border: 1px solid rgb(56, 58, 66);"
    " padding: 6px 18px; margin-right: 2px; }"
    "QTabBar::tab:selected { color: white; background: rgb(33, 34, 39); border-bottom: 2px solid rgb(72, 112, 206); }"
    "QTabBar::tab:hover { color: white; }"
    "QLabel { color: rgb(200, 202, 210); }";

} // namespace

DevDspDialog::DevDspDialog(const Device &device, DspLinkSink::SendUdp sendUdp, QWidget *parent)
    : DevDspDialog(device, std::move(sendUdp), nullptr, parent)
{
}

DevDspDialog::DevDspDialog(const Device &device, DspSink *sink, QWidget *parent)
    : DevDspDialog(device, {}, sink, parent)
{
}

DevDspDialog::DevDspDialog(const Device &device, DspLinkSink::SendUdp sendUdp, DspSink *offlineSink, QWidget *parent)
    : FramelessDialog(parent)
    , m_device(device)
    , m_link(new DspLink(this))
    , m_sink(m_link, std::move(sendUdp))
    , m_offlineSink(offlineSink)
    , m_controller(new DspController(offlineSink ? offlineSink : static_cast<DspSink *>(&m_sink), this))
{
    setObjectName(QStringLiteral("DevDspDialog"));
    // Several devices' windows side by side, each beside the main window: not modal, a window of its own.
    setWindowFlags(Qt::Window | Qt::FramelessWindowHint);
    setModal(false);
    m_controller->setDevice(device.devId, device.model);

    m_diagram = new DspDiagramForm(m_controller, this);
    m_diagram->setChannelNames([this](DspSide side, int channel) {
        return channelName(side == DspSide::In ? m_device.inputNames : m_device.outputNames, side, channel);
    });
    m_tabs = new QTabWidget(this);
    m_tabs->setObjectName(QStringLiteral("tab_pages"));
    m_tabs->setStyleSheet(QLatin1String(kTabStyle));
    m_tabs->addTab(m_diagram, QString());
    m_programs = new DspProgramForm(m_controller, this);
    const QString address = Ipv4::toText(device.ip);
    m_admin = new AdminForm([address](const QString &request) { return DspExchange::run(address, request); },
                            [this] {
                                const QJsonObject reboot = StoredActions::rebootRequest(m_device.devId);
                                m_sink.sendUdp(QString::fromUtf8(QJsonDocument(reboot).toJson(QJsonDocument::Compact)),
                                               RequestRouter::portFor(QStringLiteral("reboot"), 0));
                            },
                            this);
    // A load or a factory reset replaced what the device runs; the window's copy is read again.
    connect(m_admin, &AdminForm::signal_runningConfigReplaced, m_controller, &DspController::revokeAll);
    if (!isOffline()) {
        m_tabs->addTab(m_programs, QString());
        m_tabs->addTab(m_admin, QString());
    } else {
        m_programs->hide();
        m_admin->hide();
    }

    m_body = new QHBoxLayout;
    m_body->setSpacing(scaled(8));
    m_body->addWidget(m_tabs, 1);
    m_status = new QLabel(this);
    m_status->setObjectName(QStringLiteral("lb_status"));
    m_status->setStyleSheet(QStringLiteral("color: rgb(226, 170, 60);"));
    contentLayout()->addLayout(m_body, 1);
    // What the device itself reports, beside the budget the diagram computes: the two can differ, and an
    // operator chasing a busy processor wants both.
    m_deviceLoad = new QLabel(this);
    m_deviceLoad->setObjectName(QStringLiteral("lb_deviceLoad"));
    auto *bottom = new QHBoxLayout;
    bottom->addWidget(m_status, 1);
    bottom->addWidget(m_deviceLoad);
    contentLayout()->addLayout(bottom);
    connect(m_controller, &DspController::signal_cpuUsage, this, [this](int percent) {
        m_loadPercent = percent;
        showDeviceLoad();
    });
    connect(m_controller, &DspController::signal_dspStatus, this, [this](const QString &ops, const QString &val) {
        if (ops == QLatin1String("getDspTemperature"))
            m_temperature = val;
        showDeviceLoad();
    });

    m_overlay = new BusyOverlay(m_tabs);
    m_snack = new SnackBar(this);
    m_watchdog = new QTimer(this);
    m_watchdog->setInterval(kTickMs);
    connect(m_watchdog, &QTimer::timeout, this, &DevDspDialog::tick);

    m_undo = new QAction(this);
    m_undo->setObjectName(QStringLiteral("act_undo"));
    m_undo->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_Z));
    m_redo = new QAction(this);
    m_redo->setObjectName(QStringLiteral("act_redo"));
    m_redo->setShortcut(QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_Z));
    for (QAction *a : {m_undo, m_redo}) {
        a->setShortcutContext(Qt::WindowShortcut);
        addAction(a);
    }
    QMenu *menu = m_diagram->pageMenu();
    QAction *first = menu->actions().value(0);
    menu->insertAction(first, m_undo);
    menu->insertAction(first, m_redo);
    menu->insertSeparator(first);
    QAction *compare = menu->addAction(QString());
    compare->setObjectName(QStringLiteral("act_compare"));
    connect(compare, &QAction::triggered, this, &DevDspDialog::openCompare);
    connect(m_programs, &DspProgramForm::signal_compareRequested, compare, &QAction::trigger);
    connect(m_undo, &QAction::triggered, m_controller, &DspController::undo);
    connect(m_redo, &QAction::triggered, m_controller, &DspController::redo);
    connect(m_controller, &DspController::signal_undoChanged, this, &DevDspDialog::updateUndo);

    connect(m_link, &DspLink::signal_connected, this, &DevDspDialog::tcpConnected);
    connect(m_link, &DspLink::signal_disconnected, this, &DevDspDialog::tcpDisconnected);
    connect(m_link, &DspLink::signal_recvMsg, this, &DevDspDialog::handle_recvTcpMsg);
    connect(m_link, &DspLink::signal_stateChanged, this, &DevDspDialog::tcpStateChanged);

    connect(m_controller, &DspController::signal_documentLoaded, this, [this] {
        m_overlay->stop();
        m_status->clear();
        if (!m_watchdog->isActive() && !isOffline())
            m_watchdog->start();
    });
    connect(m_controller, &DspController::signal_configRefused, this, [this](const QString &why) {
        m_overlay->stop();
        const QString text = tx(Tx::DspWinConfigRefused).arg(why);
        m_status->setText(text);
        emit signal_showTips(text, false);
    });
    connect(m_controller, &DspController::signal_linkLost, this, &DevDspDialog::showLinkLost);
    connect(m_overlay, &BusyOverlay::signal_timeout, this, [this] {
        m_status->setText(tx(Tx::DspWinConnectTimeout));
        emit signal_showTips(tx(Tx::DspWinConnectTimeout), false);
    });

    connect(this, &DevDspDialog::signal_showTips, m_snack, &SnackBar::slot_showTips);
    connect(m_diagram, &DspDiagramForm::signal_showTips, this, &DevDspDialog::signal_showTips);
    connect(m_diagram, &DspDiagramForm::signal_matrixRequested, this, &DevDspDialog::showMatrix);
    connect(m_diagram, &DspDiagramForm::signal_micConfigRequested, this, &DevDspDialog::signal_micConfigRequested);
    connect(m_programs, &DspProgramForm::signal_showTips, this, &DevDspDialog::signal_showTips);
    connect(m_diagram, &DspDiagramForm::signal_channelSelected, m_programs, &DspProgramForm::setSelectedChannel);
    connect(m_diagram, &DspDiagramForm::signal_channelProgramsRequested, m_programs,
            &DspProgramForm::openChannelPrograms);
    connect(m_diagram, &DspDiagramForm::signal_saveDiyRequested, m_programs, &DspProgramForm::saveDiy);

    m_matrix = new DspMatrixForm(m_controller, this);
    m_matrix->setObjectName(QStringLiteral("page_dspMatrix"));
    addPage(m_matrix, QString());
    m_strip = new DspChannelStripForm(m_controller, this);
    setChannelPanel(m_strip);
    connect(m_diagram, &DspDiagramForm::signal_channelSelected, m_strip, &DspChannelStripForm::showChannel);
    connect(m_controller, &DspController::signal_documentLoaded, this, &DevDspDialog::passNames);
    connect(m_controller, &DspController::signal_documentLoaded, this, [this] {
        // The first input is chosen, so the add buttons and the strip have a channel from the start.
        if (m_controller->channelCount(DspSide::In) > 0)
            m_diagram->selectChannel(DspSide::In, 0);
    });
    connect(this, &DevDspDialog::signal_micConfigRequested, this, [this] {
        auto *mic = new DspMicConfigDialog(m_controller, m_device.inputNames, this);
        mic->setAttribute(Qt::WA_DeleteOnClose);
        mic->show();
    });

    resize(scaled(1880), scaled(1000));
    retranslate();
    updateUndo();
}

DevDspDialog::~DevDspDialog()
{
    m_watchdog->stop();
    m_link->stop();
}

void DevDspDialog::start()
{
    m_overlay->start(tx(Tx::DspWinConnecting), kConnectTimeoutMs);
    m_link->start(m_device.ip);
}

void DevDspDialog::setPhysicalNames(const QStringList &inputs, const QStringList &outputs)
{
    if (inputs == m_device.inputNames && outputs == m_device.outputNames)
        return;
    m_device.inputNames = inputs;
    m_device.outputNames = outputs;
    m_diagram->setChannelNames([this](DspSide side, int channel) {
        return channelName(side == DspSide::In ? m_device.inputNames : m_device.outputNames, side, channel);
    });
    passNames();
}

void DevDspDialog::passNames()
{
    QStringList names[2];
    for (DspSide side : {DspSide::In, DspSide::Out})
        for (int ch = 0; ch < m_controller->channelCount(side); ++ch)
            names[side == DspSide::Out].append(
                channelName(side == DspSide::In ? m_device.inputNames : m_device.outputNames, side, ch));
    m_matrix->setChannelNames(names[0], names[1]);
    m_strip->setChannelNames(names[0], names[1]);
}

void DevDspDialog::showDeviceLoad()
{
    QString text;
    if (m_loadPercent >= 0)
        text = tx(Tx::DspDeviceLoad).arg(m_loadPercent);
    if (!m_temperature.isEmpty())
        text += (text.isEmpty() ? QString() : QStringLiteral("   ")) + tx(Tx::DspDeviceTemperature).arg(m_temperature);
    m_deviceLoad->setText(text);
}

QString DevDspDialog::statusText() const
{
    return m_status->text();
}

void DevDspDialog::addPage(QWidget *page, const QString &title)
{
    // Pages of the device's own processing stand together, before the later ones.
    m_tabs->insertTab(m_tabs->indexOf(m_programs), page, title);
}

void DevDspDialog::setChannelPanel(QWidget *panel)
{
    if (m_panel == panel)
        return;
    delete m_panel;
    m_panel = panel;
    if (panel)
        m_body->addWidget(panel);
}

void DevDspDialog::showPrograms()
{
    m_tabs->setCurrentWidget(m_programs);
}

DspCompareDialog *DevDspDialog::openCompare()
{
    // The program page's list when it has one; else the dialog asks the device.
    auto *dialog = new DspCompareDialog(m_controller, m_programs->actions()->names(), this);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->show();
    return dialog;
}

void DevDspDialog::showAdmin()
{
    m_tabs->setCurrentWidget(m_admin);
}

void DevDspDialog::showMatrix()
{
    for (int i = 0; i < m_tabs->count(); ++i) {
        const QString text = m_tabs->tabText(i);
        if (text == tx(Tx::DspTabMatrix, false) || text == tx(Tx::DspTabMatrix, true)
            || m_tabs->widget(i)->objectName().contains(QLatin1String("Matrix"))) {
            m_tabs->setCurrentIndex(i);
            return;
        }
    }
}

QString DevDspDialog::channelName(const QStringList &physicalNames, DspSide side, int channel)
{
    const bool input = side == DspSide::In;
    if (channel < physicalNames.size()) {
        const QString name = physicalNames[channel].trimmed();
        return name.isEmpty() ? tx(input ? Tx::DspChannelIn : Tx::DspChannelOut).arg(channel + 1) : name;
    }
    const int usb = channel - physicalNames.size();
    const QString base = tx(input ? Tx::DspUsbIn : Tx::DspUsbOut);
    return usb == 0 ? base : base + QString::number(usb + 1);
}

void DevDspDialog::slot_message(const QString &json)
{
    m_controller->handleUdpReply(json);
}

void DevDspDialog::handle_recvTcpMsg(const QString &msg)
{
    Log::line(msg.size() <= kLoggedReplyChars ? QStringLiteral("handle recv tcp msg: ") + msg
                                              : QStringLiteral("handle recv tcp msg: len=%1").arg(msg.size()));
    m_controller->handleTcpReply(msg);
}

void DevDspDialog::tcpConnected(const QString &msg, bool isSucc)
{
    if (!isSucc) {
        m_status->setText(msg);
        return;
    }
    m_status->clear();
    m_lost = false;
    if (!m_configAsked) {
        m_configAsked = true;
        m_controller->requestConfig();
    }
}

void DevDspDialog::tcpDisconnected()
{
    m_lost = true;
    m_controller->linkLost();
    showLinkLost();
}

void DevDspDialog::tcpStateChanged(int state)
{
    if (state == 0)
        tcpDisconnected();
}

void DevDspDialog::tick()
{
    ++m_ticks;
    const qint64 quiet = m_controller->msSinceLastMessage();
    if (m_lost || quiet >= kSilenceMs) {
        showLinkLost();
    } else if (m_showsLost) {
        // The device spoke again.
        m_showsLost = false;
        m_status->clear();
        retranslate();
    }
    m_controller->queryCpuUsage();
    // Levels of every channel are the largest answers: once a second is enough for a meter.
    if (m_ticks % 2 == 0)
        m_controller->queryLevels();
    if (m_ticks % 5 == 0)
        m_controller->queryStatus();
}

void DevDspDialog::showLinkLost()
{
    m_showsLost = true;
    const QString lost = tx(Tx::DspLinkLostText);
    const QString name = m_device.name.isEmpty() ? m_device.devId : m_device.name;
    setTitle(QStringLiteral("%1 | (%2) | %3").arg(name, tx(Tx::DspWinTitleTag), lost));
    setWindowTitle(title());
    m_status->setText(lost);
}

void DevDspDialog::updateUndo()
{
    m_undo->setText(m_controller->undoText());
    m_redo->setText(m_controller->redoText());
    m_undo->setEnabled(m_controller->canUndo());
    m_redo->setEnabled(m_controller->canRedo());
}

void DevDspDialog::retranslate()
{
    const QString name = m_device.name.isEmpty() ? m_device.devId : m_device.name;
    setTitle(QStringLiteral("%1 | (%2)").arg(name, tx(Tx::DspWinTitleTag)));
    setWindowTitle(title());
    m_tabs->setTabText(m_tabs->indexOf(m_diagram), tx(Tx::DspTabDiagram));
    showDeviceLoad();
    m_tabs->setTabText(m_tabs->indexOf(m_matrix), tx(Tx::DspTabMatrix));
    m_tabs->setTabText(m_tabs->indexOf(m_programs), tx(Tx::DspTabPrograms));
    m_tabs->setTabText(m_tabs->indexOf(m_admin), tx(Tx::DspTabAdmin));
    if (auto *compare = findChild<QAction *>(QStringLiteral("act_compare")))
        compare->setText(tx(Tx::DspCompareMenu));
    updateUndo();
}

void DevDspDialog::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::LanguageChange) {
        retranslate();
        if (m_showsLost)
            showLinkLost();
    }
    FramelessDialog::changeEvent(event);
}
