#include "gui/device/settingsamplifierpage.h"

#include "core/app/scalefactors.h"
#include "core/app/texts.h"
#include "core/device/settingsdisplay.h"
#include "core/device/settingsplan.h"
#include "gui/widgets/style.h"
#include "gui/widgets/styledslider.h"

#include <QEvent>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QSignalBlocker>
#include <QVBoxLayout>

namespace {

constexpr int kFirstOutputRow = 3;

} // namespace

SettingsAmplifierPage::SettingsAmplifierPage(const QString &devId, QWidget *parent)
    : QWidget(parent)
    , m_devId(devId)
{
    setObjectName(QStringLiteral("page_amplifier"));
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(scaled(24), scaled(20), scaled(24), scaled(20));
    layout->setSpacing(scaled(14));

    // One grid, so that the power and voltage values line up with the gains.
    m_outputs = new QGridLayout;
    m_outputs->setHorizontalSpacing(scaled(24));
    m_outputs->setVerticalSpacing(scaled(10));
    m_powerLabel = new QLabel(this);
    m_power = new QPushButton(this);
    m_power->setObjectName(QStringLiteral("pb_power"));
    m_power->setCheckable(true);
    m_power->setEnabled(false);
    m_power->setMinimumWidth(scaled(90));
    connect(m_power, &QPushButton::clicked, this,
            [this](bool on) { emit signal_run(SettingsPlan::setPower(m_devId, on)); });
    m_voltageLabel = new QLabel(this);
    m_voltage = new QLabel(this);
    m_voltage->setObjectName(QStringLiteral("lb_voltage"));
    m_voltage->setStyleSheet(QStringLiteral("color: %1;").arg(Style::rgb(Style::kTextBright)));
    m_outputs->addWidget(m_powerLabel, 0, 0);
    m_outputs->addWidget(m_power, 0, 1, Qt::AlignLeft);
    m_outputs->addWidget(m_voltageLabel, 1, 0);
    m_outputs->addWidget(m_voltage, 1, 1);
    m_gainHeading = new QLabel(this);
    m_tempHeading = new QLabel(this);
    m_outputs->addWidget(m_gainHeading, 2, 1, Qt::AlignBottom);
    m_outputs->addWidget(m_tempHeading, 2, 2, Qt::AlignBottom);
    m_outputs->setRowMinimumHeight(2, scaled(40));
    m_outputs->setColumnStretch(3, 1);
    layout->addLayout(m_outputs);

    m_refresh = new QPushButton(this);
    m_refresh->setObjectName(QStringLiteral("pb_refreshAmp"));
    connect(m_refresh, &QPushButton::clicked, this, &SettingsAmplifierPage::signal_refresh);
    auto *row = new QHBoxLayout;
    row->addWidget(m_refresh);
    row->addStretch(1);
    layout->addLayout(row);
    layout->addStretch(1);
    retranslate();
}

void SettingsAmplifierPage::rebuildOutputs(int count)
{
    while (m_gains.size() > count) {
        delete m_outputNames.takeLast();
        delete m_gains.takeLast();
        delete m_temps.takeLast();
    }
    while (m_gains.size() < count) {
        const int i = m_gains.size();
        auto *name = new QLabel(this);
        auto *gain = new StyledSpinBox(this);
        gain->setObjectName(QStringLiteral("sp_gain_%1").arg(i + 1));
        gain->setRange(SettingsPlan::kMinGainDb, SettingsPlan::kMaxGainDb);
        gain->setDecimals(1);
        gain->setSingleStep(0.5);
        gain->setSuffix(QStringLiteral(" dB"));
        gain->setMinimumWidth(scaled(120));
        connect(gain, QOverload<double>::of(&QDoubleSpinBox::valueChanged), this,
                [this, i](double v) { emit signal_run(SettingsPlan::setGain(m_devId, i, v)); });
        auto *temp = new QLabel(this);
        temp->setObjectName(QStringLiteral("lb_ampTemp_%1").arg(i + 1));
        m_outputs->addWidget(name, kFirstOutputRow + i, 0);
        m_outputs->addWidget(gain, kFirstOutputRow + i, 1);
        m_outputs->addWidget(temp, kFirstOutputRow + i, 2);
        m_outputNames.append(name);
        m_gains.append(gain);
        m_temps.append(temp);
    }
}

void SettingsAmplifierPage::showInfo(const AmplifierInfo &info)
{
    m_info = info;
    {
        const QSignalBlocker block(m_power);
        m_power->setChecked(info.power);
    }
    m_power->setEnabled(true);
    rebuildOutputs(qMax(info.gainsDb.size(), info.temperatures.size()));
    for (int i = 0; i < m_gains.size(); ++i) {
        // Leave a gain being typed alone.
        if (m_gains[i]->hasFocus())
            continue;
        const QSignalBlocker block(m_gains[i]);
        m_gains[i]->setEnabled(i < info.gainsDb.size());
        m_gains[i]->setValue(info.gainsDb.value(i));
    }
    retranslate();
}

void SettingsAmplifierPage::retranslate()
{
    m_powerLabel->setText(tx(Tx::AmpPower));
    m_power->setText(tx(m_power->isChecked() ? Tx::AmpOn : Tx::AmpOff));
    m_voltageLabel->setText(tx(Tx::AmpVoltage));
    m_voltage->setText(m_info && !m_info->voltage.isEmpty() ? m_info->voltage + QStringLiteral(" V") : tx(Tx::Unknown));
    m_gainHeading->setText(tx(Tx::AmpGain));
    m_tempHeading->setText(tx(Tx::DsTemperature));
    for (int i = 0; i < m_gains.size(); ++i) {
        m_outputNames[i]->setText(tx(Tx::AmpOutput).arg(i + 1));
        const QString t = m_info ? SettingsDisplay::temperature(m_info->temperatures.value(i)) : QString();
        m_temps[i]->setText(t.isEmpty() ? tx(Tx::Unknown) : t);
    }
    m_refresh->setText(tx(Tx::DsRefresh));
}

void SettingsAmplifierPage::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::LanguageChange)
        retranslate();
    QWidget::changeEvent(event);
}
