#include "gui/device/settingsgeneralpage.h"

#include "core/app/scalefactors.h"
#include "core/app/texts.h"
#include "core/device/settingsdisplay.h"
#include "core/device/settingsplan.h"
#include "gui/widgets/style.h"
#include "gui/widgets/styledslider.h"

#include <QComboBox>
#include <QEvent>
#include <QGridLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSignalBlocker>

namespace {

QLabel *heading(QWidget *parent)
{
    auto *l = new QLabel(parent);
    l->setFont(Style::font(11, true));
    l->setStyleSheet(QStringLiteral("color: %1;").arg(Style::rgb(Style::kTextBright)));
    return l;
}

QString rateLabel(int v) { return SettingsDisplay::sampleRate(v); }
QString packetLabel(int v) { return SettingsDisplay::packetTime(v); }
QString bytesLabel(int v) { return SettingsDisplay::sampleBytes(v); }
QString latencyLabel(int v) { return SettingsDisplay::latency(v); }

} // namespace

SettingsGeneralPage::SettingsGeneralPage(const QString &devId, QWidget *parent)
    : QWidget(parent)
    , m_devId(devId)
{
    setObjectName(QStringLiteral("page_general"));
    auto *grid = new QGridLayout(this);
    grid->setContentsMargins(scaled(24), scaled(20), scaled(24), scaled(20));
    grid->setHorizontalSpacing(scaled(16));
    grid->setVerticalSpacing(scaled(10));
    grid->setColumnMinimumWidth(1, scaled(260));

    m_nameLabel = new QLabel(this);
    m_name = new QLineEdit(this);
    m_name->setObjectName(QStringLiteral("le_devName"));
    // Like every field of the page, the name applies when committed: Enter
    // or leaving the field.
    connect(m_name, &QLineEdit::editingFinished, this, &SettingsGeneralPage::saveName);
    grid->addWidget(m_nameLabel, 0, 0);
    grid->addWidget(m_name, 0, 1);

    m_audioHeading = heading(this);
    grid->addWidget(m_audioHeading, 1, 0, 1, 3);
    grid->setRowMinimumHeight(1, scaled(40));
    const auto combo = [this](const char *name, SettingsPlan::Setting setting) {
        auto *c = new QComboBox(this);
        c->setObjectName(QLatin1String(name));
        // activated: only the user's choices, never a refresh.
        connect(c, QOverload<int>::of(&QComboBox::activated), this, [this, c, setting](int i) {
            emit signal_run(SettingsPlan::setting(m_devId, setting, c->itemData(i).toInt()));
        });
        return c;
    };
    m_rate = combo("com_sampleRate", SettingsPlan::SampleRate);
    m_packet = combo("com_packetTime", SettingsPlan::PacketTimeDiv);
    m_bytes = combo("com_sampleByte", SettingsPlan::SampleByteNum);
    m_latency = combo("com_latency", SettingsPlan::DelayUs);

    m_clockHeading = heading(this);
    const auto spin = [this](const char *name, SettingsPlan::Setting setting) {
        auto *s = new StyledSpinBox(this);
        s->setObjectName(QLatin1String(name));
        s->setDecimals(0);
        // Arrows apply at once; a typed number applies on Enter or leaving
        // the box, not digit by digit.
        s->setKeyboardTracking(false);
        int min = 0, max = 0;
        SettingsPlan::range(setting, &min, &max);
        s->setRange(min, max);
        connect(s, QOverload<double>::of(&QDoubleSpinBox::valueChanged), this,
                [this, setting](double v) { emit signal_run(SettingsPlan::setting(m_devId, setting, qRound(v))); });
        return s;
    };
    m_ptpDomain = spin("sp_ptpDomain", SettingsPlan::PtpDomain);
    m_ptpDscp = spin("sp_ptpDscp", SettingsPlan::PtpDscp);
    m_dscp = spin("sp_dscp", SettingsPlan::Dscp);

    QWidget *controls[7] = {m_rate, m_packet, m_bytes, m_latency, m_ptpDomain, m_ptpDscp, m_dscp};
    int row = 2;
    for (int i = 0; i < 7; ++i) {
        if (i == 4) {
            grid->addWidget(m_clockHeading, row, 0, 1, 3);
            grid->setRowMinimumHeight(row++, scaled(40));
        }
        m_labels[i] = new QLabel(this);
        grid->addWidget(m_labels[i], row, 0);
        grid->addWidget(controls[i], row++, 1);
        controls[i]->setEnabled(false);
    }
    grid->setColumnStretch(3, 1);
    grid->setRowStretch(row, 1);
    retranslate();
}

void SettingsGeneralPage::refresh(const Device &dev, const DeviceUiData &ui)
{
    m_dev = dev;
    m_ui = ui;
    apply(false);
}

void SettingsGeneralPage::resync()
{
    m_seen = Seen();
    m_name->setModified(false);
    apply(true);
}

void SettingsGeneralPage::apply(bool force)
{
    const DevRecord &r = m_dev.rec;
    const QString name = r.name.str();
    if ((force || name != m_seen.name) && !m_name->isModified()) {
        m_name->setText(name);
        m_seen.name = name;
    }

    const int div = SettingsDisplay::packetTimeDiv(r.sampleRate, r.pFrameNum);
    const bool lists = force || m_ui.versionKnown != m_seen.versionKnown || m_ui.sampleRates != m_seen.rates
                       || m_ui.packetTimeDivs != m_seen.divs || m_ui.sampleByteNums != m_seen.bytes
                       || m_ui.delayUsList != m_seen.delays;
    if (lists || r.sampleRate != m_seen.sampleRate)
        fillCombo(m_rate, m_ui.sampleRates, r.sampleRate, rateLabel);
    if (lists || div != m_seen.packetDiv)
        fillCombo(m_packet, m_ui.packetTimeDivs, div, packetLabel);
    if (lists || r.sampleByteNum != m_seen.sampleBytes)
        fillCombo(m_bytes, m_ui.sampleByteNums, r.sampleByteNum, bytesLabel);
    if (lists || r.delayUs != m_seen.delayUs)
        fillCombo(m_latency, m_ui.delayUsList, r.delayUs, latencyLabel);
    m_seen.versionKnown = m_ui.versionKnown;
    m_seen.rates = m_ui.sampleRates;
    m_seen.divs = m_ui.packetTimeDivs;
    m_seen.bytes = m_ui.sampleByteNums;
    m_seen.delays = m_ui.delayUsList;
    m_seen.sampleRate = r.sampleRate;
    m_seen.packetDiv = div;
    m_seen.sampleBytes = r.sampleByteNum;
    m_seen.delayUs = r.delayUs;

    if (force || m_ui.ptpDomain != m_seen.ptpDomain)
        setSpin(m_ptpDomain, m_ui.ptpDomain);
    if (force || m_ui.ptpDscp != m_seen.ptpDscp)
        setSpin(m_ptpDscp, m_ui.ptpDscp);
    if (force || r.dscp != m_seen.dscp)
        setSpin(m_dscp, m_dev.devId().isEmpty() ? -1 : r.dscp);
    m_seen.ptpDomain = m_ui.ptpDomain;
    m_seen.ptpDscp = m_ui.ptpDscp;
    m_seen.dscp = r.dscp;
}

void SettingsGeneralPage::fillCombo(QComboBox *combo, const QStringList &offered, int current, QString (*label)(int))
{
    const SettingsDisplay::Choices c = SettingsDisplay::choices(offered, current);
    combo->clear();
    for (const QString &v : c.values)
        combo->addItem(label(v.toInt()), v.toInt());
    combo->setCurrentIndex(c.current);
    // Until the device has said what it offers, the one value known is shown but not offered.
    combo->setEnabled(m_ui.versionKnown && combo->count() > 0);
}

void SettingsGeneralPage::setSpin(StyledSpinBox *spin, int value)
{
    const QSignalBlocker block(spin);
    spin->setEnabled(value >= 0);
    spin->setSpecialValueText(value >= 0 ? QString() : tx(Tx::Unknown));
    spin->setValue(value >= 0 ? value : spin->minimum());
}

void SettingsGeneralPage::saveName()
{
    // Enter and the focus leaving both commit: only an edit not yet
    // committed is sent, so a refusal's notice taking the focus does not
    // commit it again.
    if (!m_name->isModified())
        return;
    m_name->setModified(false);
    emit signal_run(SettingsPlan::rename(m_devId, m_name->text(), m_dev.rec.name.str()));
}

void SettingsGeneralPage::retranslate()
{
    m_nameLabel->setText(tx(Tx::DsDeviceName));
    m_audioHeading->setText(tx(Tx::DsAudio));
    m_clockHeading->setText(tx(Tx::DsClock));
    const Tx labels[7] = {Tx::DsSampleRate, Tx::DsPacketTime, Tx::DsSampleBytes, Tx::DsLatency,
                          Tx::DsPtpDomain,  Tx::DsPtpDscp,    Tx::DsAudioDscp};
    for (int i = 0; i < 7; ++i)
        m_labels[i]->setText(tx(labels[i]));
    // The bit-depth entries carry words of the language.
    const int bytes = m_bytes->currentData().isValid() ? m_bytes->currentData().toInt() : m_dev.rec.sampleByteNum;
    fillCombo(m_bytes, m_ui.sampleByteNums, bytes, bytesLabel);
}

void SettingsGeneralPage::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::LanguageChange)
        retranslate();
    QWidget::changeEvent(event);
}
