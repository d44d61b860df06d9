#include "gui/factory/signaltestdialog.h"

#include "core/app/scalefactors.h"
#include "core/app/texts.h"
#include "core/devices/devicemodels.h"
#include "core/devices/deviceorder.h"
#include "core/devices/devmanager.h"
#include "core/dsp/dspcontroller.h"
#include "core/dsp/dspkinds.h"
#include "core/dsp/dsplink.h"
#include "gui/dsp/devdspdialog.h"

#include <QCloseEvent>
#include <QComboBox>
#include <QDateTime>
#include <QDoubleSpinBox>
#include <QEvent>
#include <QFileDialog>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QSaveFile>
#include <QSpinBox>
#include <QTableWidget>
#include <QTimer>

#include <algorithm>
#include <cmath>

namespace {

bool sameBlock(const DspBlock &a, const DspBlock &b)
{
    return a.bypass == b.bypass && a.objToJson() == b.objToJson();
}

} // namespace

SignalTestDialog::SignalTestDialog(const DevManager &registry, DspLinkSink::SendUdp sendUdp, QWidget *parent)
    : FramelessDialog(parent)
    , m_registry(registry)
    , m_sendUdp(std::move(sendUdp))
    , m_poll(new QTimer(this))
    , m_retry(new QTimer(this))
{
    setObjectName(QStringLiteral("dlg_signalTest"));
    setModal(false);
    setMinimumSize(scaled(640), scaled(560));

    m_deviceLabel = new QLabel(this);
    m_device = new QComboBox(this);
    m_device->setObjectName(QStringLiteral("com_device"));
    auto *deviceRow = new QHBoxLayout;
    deviceRow->addWidget(m_deviceLabel);
    deviceRow->addWidget(m_device, 1);

    m_levelLabel = new QLabel(this);
    m_level = new QDoubleSpinBox(this);
    m_level->setObjectName(QStringLiteral("sb_level"));
    m_level->setRange(-60.0, 0.0);
    m_level->setDecimals(1);
    m_level->setValue(-20.0);
    m_freqLabel = new QLabel(this);
    m_freq = new QSpinBox(this);
    m_freq->setObjectName(QStringLiteral("sb_freq"));
    m_freq->setRange(20, 20000);
    m_freq->setValue(1000);
    m_toleranceLabel = new QLabel(this);
    m_tolerance = new QDoubleSpinBox(this);
    m_tolerance->setObjectName(QStringLiteral("sb_tolerance"));
    m_tolerance->setRange(0.5, 20.0);
    m_tolerance->setDecimals(1);
    m_tolerance->setValue(3.0);
    auto *settingsRow = new QHBoxLayout;
    for (auto [label, box] : {std::pair<QLabel *, QWidget *>{m_levelLabel, m_level},
                              {m_freqLabel, m_freq},
                              {m_toleranceLabel, m_tolerance}}) {
        settingsRow->addWidget(label);
        settingsRow->addWidget(box);
        settingsRow->addSpacing(scaled(12));
    }
    settingsRow->addStretch(1);

    m_hint = new QLabel(this);
    m_hint->setWordWrap(true);
    m_table = new QTableWidget(0, 3, this);
    m_table->setObjectName(QStringLiteral("tw_channels"));
    m_table->setEditTriggers(QAbstractItemView::NoEditTriggers);
    m_table->setSelectionMode(QAbstractItemView::NoSelection);
    m_table->verticalHeader()->hide();
    m_table->horizontalHeader()->setSectionResizeMode(0, QHeaderView::ResizeToContents);
    m_table->horizontalHeader()->setSectionResizeMode(1, QHeaderView::Stretch);
    m_table->horizontalHeader()->setSectionResizeMode(2, QHeaderView::ResizeToContents);
    m_progress = new QProgressBar(this);
    m_progress->setObjectName(QStringLiteral("pbar_progress"));
    m_progress->setValue(0);
    m_progress->setFormat(QStringLiteral("%v / %m"));
    m_status = new QLabel(this);
    m_status->setObjectName(QStringLiteral("lb_status"));
    m_status->setWordWrap(true);

    m_start = new QPushButton(this);
    m_start->setObjectName(QStringLiteral("pb_start"));
    m_stop = new QPushButton(this);
    m_stop->setObjectName(QStringLiteral("pb_stop"));
    m_save = new QPushButton(this);
    m_save->setObjectName(QStringLiteral("pb_save"));
    auto *buttons = new QHBoxLayout;
    buttons->addWidget(m_start);
    buttons->addWidget(m_stop);
    buttons->addStretch(1);
    buttons->addWidget(m_save);

    contentLayout()->addLayout(deviceRow);
    contentLayout()->addLayout(settingsRow);
    contentLayout()->addWidget(m_hint);
    contentLayout()->addWidget(m_table, 1);
    contentLayout()->addWidget(m_progress);
    contentLayout()->addWidget(m_status);
    contentLayout()->addLayout(buttons);

    connect(m_start, &QPushButton::clicked, this, &SignalTestDialog::on_pb_start_clicked);
    connect(m_stop, &QPushButton::clicked, this, &SignalTestDialog::on_pb_stop_clicked);
    connect(m_save, &QPushButton::clicked, this, [this] {
        const QString path =
            QFileDialog::getSaveFileName(this, tx(Tx::SigTestSave), QString(), QStringLiteral("*.txt"));
        if (path.isEmpty())
            return;
        const bool ok = saveReport(path);
        emit signal_showTips(tx(ok ? Tx::SigTestSaved : Tx::SigTestSaveFailed), ok);
    });
    m_poll->setInterval(kPollMs);
    connect(m_poll, &QTimer::timeout, this, [this] {
        m_controller->queryLevels();
        if (m_test && m_test->isRunning()) {
            m_test->tick(m_clock.elapsed());
            process();
        }
    });
    m_retry->setInterval(kRetryMs);
    connect(m_retry, &QTimer::timeout, this, [this] {
        if (m_owed.isEmpty() || !m_lost)
            m_retry->stop();
        else
            connectTo(m_devId);
    });
    m_clock.start();
    setRunning(false);
    retranslate();
}

SignalTestDialog::~SignalTestDialog()
{
    m_poll->stop();
    if (m_link)
        m_link->stop();
    delete m_controller;
}

bool SignalTestDialog::selectDevice(const QString &devId)
{
    slot_refreshDevices();
    const int at = m_device->findData(devId);
    if (at >= 0)
        m_device->setCurrentIndex(at);
    return at >= 0;
}

void SignalTestDialog::slot_refreshDevices()
{
    if (!m_device->isEnabled())
        return; // the device under test stays chosen
    const QString current = m_device->currentData().toString();
    QVector<Device> devices = m_registry.devices();
    devices.erase(std::remove_if(devices.begin(), devices.end(),
                                 [](const Device &d) { return !DeviceModels::isDspCapable(d.rec.model.str()); }),
                  devices.end());
    DeviceOrder::sort(devices);
    m_device->clear();
    for (const Device &d : devices)
        m_device->addItem(QStringLiteral("%1  (%2)").arg(d.rec.name.str(), d.devId()), d.devId());
    const int at = m_device->findData(current);
    if (at >= 0)
        m_device->setCurrentIndex(at);
}

void SignalTestDialog::slot_message(const QString &json)
{
    if (m_controller)
        m_controller->handleUdpReply(json);
}

void SignalTestDialog::on_pb_start_clicked()
{
    if (!m_start->isEnabled())
        return; // a run is starting or going
    const QString devId = m_device->currentData().toString();
    if (devId.isEmpty()) {
        m_status->setText(tx(Tx::SigTestNoDevice));
        return;
    }
    m_startWanted = true;
    setRunning(true);
    QTimer::singleShot(kConnectTimeoutMs, this, [this, devId] {
        if (!m_startWanted || m_devId != devId)
            return;
        m_startWanted = false;
        setRunning(false);
        m_status->setText(tx(Tx::DspWinConnectTimeout));
    });
    // A document older than this run may no longer be the device's: always read it afresh.
    connectTo(devId);
}

void SignalTestDialog::on_pb_stop_clicked()
{
    m_startWanted = false;
    if (m_test && m_test->isRunning()) {
        m_test->stop();
        process();
    }
    setRunning(false);
}

void SignalTestDialog::connectTo(const QString &devId)
{
    const auto d = m_registry.findByDevId(devId);
    if (!d)
        return;
    if (devId != m_devId)
        m_owed.clear(); // owed by another device's link, which is gone with it
    dropLink();
    m_devId = devId;
    m_devName = d->rec.name.str();
    m_ip = d->rec.ip;
    QStringList physical;
    for (int i = 0; i < d->rec.phyChNumRx; ++i)
        physical.append(d->channelName(DeviceTables::PhyNameRx, i));
    m_channelNames = physical;

    m_link = new DspLink(this);
    m_sink = std::make_unique<DspLinkSink>(m_link, m_sendUdp);
    m_controller = new DspController(m_sink.get(), this);
    m_controller->setDevice(devId, d->rec.model.str());
    connect(m_link, &DspLink::signal_connected, this, [this](const QString &msg, bool ok) {
        // Attempts that did not get through are reported on the way; the transport keeps trying.
        if (!ok) {
            m_status->setText(msg);
            return;
        }
        m_connected = true;
        m_controller->requestConfig();
    });
    connect(m_link, &DspLink::signal_recvMsg, m_controller, &DspController::handleTcpReply);
    connect(m_link, &DspLink::signal_disconnected, this, &SignalTestDialog::linkLost);
    connect(m_link, &DspLink::signal_stateChanged, this, [this](int state) {
        if (state == 0)
            linkLost();
    });
    connect(m_controller, &DspController::signal_documentLoaded, this, &SignalTestDialog::documentLoaded);
    connect(m_controller, &DspController::signal_configRefused, this, [this](const QString &why) {
        m_startWanted = false;
        setRunning(false);
        m_status->setText(tx(Tx::DspWinConfigRefused).arg(why));
    });
    connect(m_controller, &DspController::signal_blockChanged, this, &SignalTestDialog::checkBlock);
    connect(m_controller, &DspController::signal_notice, this, [this](const QString &text, bool ok) {
        if (!ok)
            emit signal_showTips(text, false);
    });
    connect(m_controller, &DspController::signal_levels, this, [this](DspSide side, const QVector<double> &dbfs) {
        if (side != DspSide::In || !m_test || !m_test->isRunning())
            return;
        m_test->levels(dbfs, m_clock.elapsed());
        process();
    });
    m_status->setText(tx(Tx::SigTestConnecting));
    m_lost = false;
    m_connected = false;
    m_link->start(m_ip);
}

void SignalTestDialog::dropLink()
{
    m_poll->stop();
    if (!m_link)
        return;
    m_link->stop();
    m_controller->disconnect(this);
    m_link->disconnect(this);
    // The sink goes with the controller that calls it.
    connect(m_controller, &QObject::destroyed, [sink = m_sink.release()] { delete sink; });
    m_controller->deleteLater();
    m_link->deleteLater();
    m_controller = nullptr;
    m_link = nullptr;
}

void SignalTestDialog::documentLoaded()
{
    m_status->clear();
    m_retry->stop();
    // Generators left on by a lost link or a closed dialog go back first; their positions are those of the
    // chain the device had, which nothing here changes.
    const QList<int> owed = m_owed.keys();
    for (int channel : owed)
        restore(channel);
    m_poll->start();
    if (m_startWanted) {
        m_startWanted = false;
        beginRun();
    }
}

void SignalTestDialog::linkLost()
{
    // The socket passes through its unconnected state while it connects.
    if (m_lost || !m_connected)
        return;
    m_lost = true;
    if (m_controller)
        m_controller->linkLost();
    if (m_test && m_test->isRunning()) {
        m_test->stop();
        // The restorations cannot go now: they wait in m_owed for the next link.
        m_test->takeActions();
        showResults();
        finishRun();
    }
    m_poll->stop();
    m_startWanted = false;
    setRunning(false);
    if (!m_owed.isEmpty()) {
        m_status->setText(tx(Tx::SigTestLinkLost));
        m_retry->start();
    }
}

void SignalTestDialog::beginRun()
{
    const int channels = m_controller->channelCount(DspSide::In);
    m_generatorAt = QVector<int>(channels, -1);
    QVector<bool> has(channels, false);
    for (int c = 0; c < channels; ++c) {
        const QVector<DspBlock> &chain = m_controller->chain(DspSide::In, c);
        for (int i = 0; i < chain.size() && m_generatorAt[c] < 0; ++i)
            if (DspKinds::of(chain[i]) == DspKind::SignalGen)
                m_generatorAt[c] = i;
        has[c] = m_generatorAt[c] >= 0;
    }
    SignalTest::Settings settings;
    settings.levelDb = m_level->value();
    settings.freqHz = m_freq->value();
    settings.toleranceDb = m_tolerance->value();
    m_test = std::make_unique<SignalTest>(has, settings);
    m_reportDevice = QStringLiteral("%1 (%2)").arg(m_devName, m_devId);
    m_reportDate = QDateTime::currentDateTime().toString(Qt::ISODate);
    m_table->setRowCount(channels);
    for (int c = 0; c < channels; ++c) {
        m_table->setItem(c, 0, new QTableWidgetItem(DevDspDialog::channelName(m_channelNames, DspSide::In, c)));
        m_table->setItem(c, 1, new QTableWidgetItem);
        m_table->setItem(c, 2, new QTableWidgetItem);
        m_table->item(c, 2)->setTextAlignment(Qt::AlignRight | Qt::AlignVCenter);
    }
    m_progress->setRange(0, qMax(1, channels));
    m_test->start(m_clock.elapsed());
    process();
}

void SignalTestDialog::process()
{
    if (!m_test)
        return;
    for (const SignalTest::Action &a : m_test->takeActions()) {
        if (a.kind == SignalTest::Action::SwitchOn)
            switchOn(a.channel);
        else
            restore(a.channel);
    }
    showResults();
    if (m_test->isDone() && m_start->isEnabled() == false)
        finishRun();
}

void SignalTestDialog::switchOn(int channel)
{
    const int proc = m_generatorAt.value(channel, -1);
    const quint64 uid = m_controller->blockId(DspSide::In, channel, proc);
    const DspBlock *now = m_controller->block(uid);
    if (!now)
        return;
    if (!m_owed.contains(channel))
        m_owed.insert(channel, Saved{proc, *now});
    DspBlock wanted = *now;
    wanted.obj = DspSignalGen{m_test->settings().freqHz, m_test->settings().levelDb, 0};
    m_controller->setBlockParams(uid, wanted);
    m_controller->setBypass(uid, false);
    checkBlock(uid); // already so on the device: nothing will be answered
}

void SignalTestDialog::restore(int channel)
{
    if (!m_owed.contains(channel) || !m_controller)
        return;
    const Saved saved = m_owed.value(channel);
    const quint64 uid = m_controller->blockId(DspSide::In, channel, saved.procIndex);
    if (!m_controller->block(uid))
        return;
    // Silent first, then the parameters it had.
    if (saved.block.bypass)
        m_controller->setBypass(uid, true);
    m_controller->setBlockParams(uid, saved.block);
    if (!saved.block.bypass)
        m_controller->setBypass(uid, false);
    checkBlock(uid);
}

void SignalTestDialog::checkBlock(quint64 uid)
{
    const auto place = m_controller->place(uid);
    const DspBlock *block = m_controller->block(uid);
    if (!place || !block || place->side != DspSide::In)
        return;
    const int channel = place->channel;
    // The document holds only what the device confirmed.
    if (m_test && m_test->current() == channel) {
        DspBlock wanted = *block;
        wanted.bypass = false;
        wanted.obj = DspSignalGen{m_test->settings().freqHz, m_test->settings().levelDb, 0};
        if (sameBlock(*block, wanted))
            m_test->generatorOn(channel);
        return;
    }
    if (m_owed.contains(channel) && sameBlock(*block, m_owed[channel].block))
        m_owed.remove(channel);
}

void SignalTestDialog::finishRun()
{
    setRunning(false);
    int passed = 0;
    for (const SignalTest::Result &r : m_test->results())
        passed += r.state == SignalTest::State::Passed;
    if (m_owed.isEmpty() || !m_lost)
        m_status->setText(tx(Tx::SigTestSummary).arg(passed).arg(m_test->channelCount()));
    emit signal_finished();
}

QString SignalTestDialog::levelText(double db) const
{
    if (std::isnan(db))
        return QString();
    if (std::isinf(db))
        return tx(Tx::SigTestSilence);
    return QStringLiteral("%1 %2").arg(db, 0, 'f', 1).arg(tx(Tx::DspUnitDbfs));
}

QString SignalTestDialog::resultText(const SignalTest::Result &r) const
{
    switch (r.state) {
    case SignalTest::State::Untested: return tx(Tx::SigTestUntested);
    case SignalTest::State::Running: return tx(Tx::SigTestRunning);
    case SignalTest::State::Passed: return tx(Tx::SigTestPassed);
    case SignalTest::State::Failed: break;
    }
    QString why;
    switch (r.reason) {
    case SignalTest::Reason::NoGenerator: why = tx(Tx::SigTestNoGenerator); break;
    case SignalTest::Reason::NotSwitched: why = tx(Tx::SigTestNotSwitched); break;
    case SignalTest::Reason::NeverSettled: why = tx(Tx::SigTestNeverSettled); break;
    case SignalTest::Reason::WrongLevel: why = tx(Tx::SigTestWrongLevel); break;
    case SignalTest::Reason::NotQuiet:
        why = tx(Tx::SigTestNotQuiet).arg(DevDspDialog::channelName(m_channelNames, DspSide::In, r.loudChannel));
        break;
    case SignalTest::Reason::Stopped:
    case SignalTest::Reason::None: why = tx(Tx::SigTestStopped); break;
    }
    return tx(Tx::SigTestFailed).arg(why);
}

void SignalTestDialog::showResults()
{
    if (!m_test)
        return;
    const QVector<SignalTest::Result> &results = m_test->results();
    for (int c = 0; c < results.size() && c < m_table->rowCount(); ++c) {
        const SignalTest::Result &r = results[c];
        m_table->item(c, 0)->setText(DevDspDialog::channelName(m_channelNames, DspSide::In, c));
        m_table->item(c, 1)->setText(resultText(r));
        m_table->item(c, 1)->setForeground(r.state == SignalTest::State::Passed   ? QColor(90, 200, 120)
                                           : r.state == SignalTest::State::Failed ? QColor(235, 90, 80)
                                                                                  : QColor(200, 202, 210));
        m_table->item(c, 2)->setText(levelText(r.levelDb));
    }
    m_progress->setValue(m_test->finishedCount());
}

QString SignalTestDialog::reportText() const
{
    if (!m_test)
        return QString();
    const SignalTest::Settings &s = m_test->settings();
    QStringList lines;
    lines << tx(Tx::SigTestReportTitle);
    lines << QStringLiteral("%1: %2").arg(tx(Tx::SigTestDevice), m_reportDevice);
    lines << QStringLiteral("%1: %2").arg(tx(Tx::SigTestReportDate), m_reportDate);
    lines << QStringLiteral("%1: %2 %3 %4, %5 %6 %7, %8 %9 %10")
                 .arg(tx(Tx::SigTestReportSettings), tx(Tx::SigTestLevel))
                 .arg(s.levelDb, 0, 'f', 1)
                 .arg(tx(Tx::DspUnitDbfs), tx(Tx::SigTestFrequency))
                 .arg(s.freqHz, 0, 'f', 0)
                 .arg(tx(Tx::DspUnitHz), tx(Tx::SigTestTolerance))
                 .arg(s.toleranceDb, 0, 'f', 1)
                 .arg(tx(Tx::DspUnitDb));
    for (int c = 0; c < m_test->channelCount(); ++c) {
        const SignalTest::Result &r = m_test->results()[c];
        lines << QStringLiteral("%1\t%2\t%3\t%4")
                     .arg(c + 1)
                     .arg(DevDspDialog::channelName(m_channelNames, DspSide::In, c), resultText(r),
                          levelText(r.levelDb));
    }
    return lines.join(QLatin1Char('\n')) + QLatin1Char('\n');
}

bool SignalTestDialog::saveReport(const QString &path)
{
    QSaveFile file(path);
    if (!m_test || !file.open(QIODevice::WriteOnly | QIODevice::Text))
        return false;
    file.write(reportText().toUtf8());
    return file.commit();
}

void SignalTestDialog::setRunning(bool running)
{
    m_start->setEnabled(!running);
    m_stop->setEnabled(running);
    m_device->setEnabled(!running);
    m_level->setEnabled(!running);
    m_freq->setEnabled(!running);
    m_tolerance->setEnabled(!running);
    m_save->setEnabled(!running && m_test && m_test->finishedCount() > 0);
}

void SignalTestDialog::showEvent(QShowEvent *event)
{
    if (m_start->isEnabled())
        slot_refreshDevices();
    FramelessDialog::showEvent(event);
}

void SignalTestDialog::closeEvent(QCloseEvent *event)
{
    // Hidden, not destroyed: the link stays to carry the restorations.
    on_pb_stop_clicked();
    FramelessDialog::closeEvent(event);
}

void SignalTestDialog::retranslate()
{
    setTitle(tx(Tx::ToolsSignalTest));
    m_deviceLabel->setText(tx(Tx::SigTestDevice));
    m_levelLabel->setText(tx(Tx::SigTestLevel));
    m_level->setSuffix(QLatin1Char(' ') + tx(Tx::DspUnitDbfs));
    m_freqLabel->setText(tx(Tx::SigTestFrequency));
    m_freq->setSuffix(QLatin1Char(' ') + tx(Tx::DspUnitHz));
    m_toleranceLabel->setText(tx(Tx::SigTestTolerance));
    m_tolerance->setPrefix(QStringLiteral("± "));
    m_tolerance->setSuffix(QLatin1Char(' ') + tx(Tx::DspUnitDb));
    m_hint->setText(tx(Tx::SigTestHint));
    m_table->setHorizontalHeaderLabels({tx(Tx::SigTestColChannel), tx(Tx::SigTestColResult), tx(Tx::SigTestColLevel)});
    m_start->setText(tx(Tx::SigTestStart));
    m_stop->setText(tx(Tx::SigTestStop));
    m_save->setText(tx(Tx::SigTestSave));
    showResults();
}

void SignalTestDialog::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::LanguageChange)
        retranslate();
    FramelessDialog::changeEvent(event);
}
