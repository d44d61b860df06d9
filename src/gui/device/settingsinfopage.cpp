#include "gui/device/settingsinfopage.h"

#include "core/app/scalefactors.h"
#include "core/app/texts.h"
#include "core/device/settingsdisplay.h"
#include "core/monitor/netstatsdisplay.h"
#include "core/protocol/ipv4.h"
#include "gui/widgets/style.h"

#include <QEvent>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QTimer>
#include <QVBoxLayout>

SettingsInfoPage::SettingsInfoPage(QWidget *parent)
    : QWidget(parent)
    , m_poll(new QTimer(this))
{
    setObjectName(QStringLiteral("page_info"));
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(scaled(24), scaled(20), scaled(24), scaled(20));
    layout->setSpacing(scaled(16));
    auto *grid = new QGridLayout;
    grid->setHorizontalSpacing(scaled(24));
    grid->setVerticalSpacing(scaled(12));
    const char *names[RowCount] = {"lb_firmware", "lb_model", "lb_devId", "lb_address",
                                   "lb_oemCode", "lb_temperature", "lb_runningTime"};
    for (int i = 0; i < RowCount; ++i) {
        m_names[i] = new QLabel(this);
        m_values[i] = new QLabel(this);
        m_values[i]->setObjectName(QLatin1String(names[i]));
        m_values[i]->setTextInteractionFlags(Qt::TextSelectableByMouse);
        m_values[i]->setStyleSheet(QStringLiteral("color: %1;").arg(Style::rgb(Style::kTextBright)));
        grid->addWidget(m_names[i], i, 0);
        grid->addWidget(m_values[i], i, 1);
    }
    grid->setColumnStretch(2, 1);
    layout->addLayout(grid);
    m_refresh = new QPushButton(this);
    m_refresh->setObjectName(QStringLiteral("pb_refreshInfo"));
    connect(m_refresh, &QPushButton::clicked, this, &SettingsInfoPage::signal_refresh);
    auto *row = new QHBoxLayout;
    row->addWidget(m_refresh);
    row->addStretch(1);
    layout->addLayout(row);
    layout->addStretch(1);

    m_poll->setInterval(kPollMs);
    connect(m_poll, &QTimer::timeout, this, &SettingsInfoPage::signal_refresh);
    retranslate();
}

void SettingsInfoPage::refresh(const Device &dev, const DeviceUiData &ui)
{
    m_dev = dev;
    m_ui = ui;
    retranslate();
}

void SettingsInfoPage::retranslate()
{
    const Tx names[RowCount] = {Tx::DsFirmware, Tx::DsModel,       Tx::DsDevId,      Tx::DsAddress,
                                Tx::DsOemCode,  Tx::DsTemperature, Tx::DsRunningTime};
    for (int i = 0; i < RowCount; ++i)
        m_names[i]->setText(tx(names[i]));
    const auto orUnknown = [](const QString &s) { return s.isEmpty() ? tx(Tx::Unknown) : s; };
    m_values[Firmware]->setText(orUnknown(m_ui.version));
    m_values[Model]->setText(orUnknown(m_dev.rec.model.str()));
    m_values[DevId]->setText(orUnknown(m_dev.devId()));
    m_values[Address]->setText(m_dev.rec.ip ? Ipv4::toText(m_dev.rec.ip) : tx(Tx::Unknown));
    m_values[Oem]->setText(orUnknown(m_ui.oemCode));
    m_values[Temperature]->setText(orUnknown(SettingsDisplay::temperature(m_ui.temp)));
    m_values[RunningTime]->setText(orUnknown(NetStatsDisplay::runningTime(m_ui.uptime)));
    m_refresh->setText(tx(Tx::DsRefresh));
}

void SettingsInfoPage::showEvent(QShowEvent *event)
{
    m_poll->start();
    QWidget::showEvent(event);
}

void SettingsInfoPage::hideEvent(QHideEvent *event)
{
    m_poll->stop();
    QWidget::hideEvent(event);
}

void SettingsInfoPage::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::LanguageChange)
        retranslate();
    QWidget::changeEvent(event);
}
