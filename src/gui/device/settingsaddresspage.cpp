#include "gui/device/settingsaddresspage.h"

#include "gui/device/settingsstyle.h"
#include "core/app/scalefactors.h"
#include "core/app/texts.h"
#include "core/device/settingsdisplay.h"
#include "gui/widgets/style.h"

#include <QCheckBox>
#include <QEvent>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRegularExpressionValidator>
#include <QVariant>
#include <QVBoxLayout>

namespace {

const char *const kPrefixes[] = {"ip_le_", "netmask_le_", "gateway_le_", "dns_le_"};

} // namespace

SettingsAddressPage::SettingsAddressPage(const QString &devId, QWidget *parent)
    : QWidget(parent)
    , m_devId(devId)
{
    setObjectName(QStringLiteral("page_address"));
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(scaled(24), scaled(20), scaled(24), scaled(20));
    layout->setSpacing(scaled(14));

    m_auto = new QCheckBox(this);
    m_auto->setObjectName(QStringLiteral("cb_autoIp"));
    m_auto->setStyleSheet(SettingsStyle::indicators());
    connect(m_auto, &QCheckBox::toggled, this, [this] {
        m_edited = true;
        syncEnabled();
    });
    layout->addWidget(m_auto);

    // Three digits, so that an octet above 255 reaches the range check and its notice.
    auto *digits = new QRegularExpressionValidator(QRegularExpression(QStringLiteral("\\d{0,3}")), this);
    auto *grid = new QGridLayout;
    grid->setHorizontalSpacing(scaled(6));
    grid->setVerticalSpacing(scaled(10));
    for (int f = 0; f < FieldCount; ++f) {
        m_fieldLabels[f] = new QLabel(this);
        grid->addWidget(m_fieldLabels[f], f, 0);
        grid->addItem(new QSpacerItem(scaled(10), 0), f, 1);
        for (int n = 0; n < 4; ++n) {
            auto *e = new QLineEdit(this);
            e->setObjectName(QLatin1String(kPrefixes[f]) + QString::number(n + 1));
            e->setValidator(digits);
            e->setAlignment(Qt::AlignCenter);
            e->setFixedWidth(scaled(64));
            connect(e, &QLineEdit::textEdited, this, [this] { m_edited = true; });
            m_octets[f][n] = e;
            grid->addWidget(e, f, 2 + 2 * n);
            if (n < 3) {
                auto *dot = new QLabel(QStringLiteral("."), this);
                dot->setStyleSheet(QStringLiteral("color: %1;").arg(Style::rgb(Style::kTextBright)));
                grid->addWidget(dot, f, 3 + 2 * n);
            }
        }
    }
    grid->setColumnStretch(10, 1);
    layout->addLayout(grid);

    m_current = new QLabel(this);
    m_current->setObjectName(QStringLiteral("lb_currentIp"));
    m_hint = new QLabel(this);
    m_hint->setWordWrap(true);
    layout->addWidget(m_current);
    layout->addWidget(m_hint);

    m_apply = new QPushButton(this);
    m_apply->setObjectName(QStringLiteral("pb_applyIp"));
    m_apply->setProperty("role", QStringLiteral("primary"));
    m_apply->setMinimumWidth(scaled(110));
    connect(m_apply, &QPushButton::clicked, this, &SettingsAddressPage::apply);
    auto *row = new QHBoxLayout;
    row->addWidget(m_apply);
    row->addStretch(1);
    layout->addLayout(row);
    layout->addStretch(1);
    retranslate();
    syncEnabled();
}

void SettingsAddressPage::refresh(const DeviceUiData &ui)
{
    const bool changed = !m_filled || ui.fixedIp != m_ui.fixedIp || ui.ipWithPrefix != m_ui.ipWithPrefix
                         || ui.gateway != m_ui.gateway || ui.dns != m_ui.dns;
    m_ui = ui;
    retranslate();
    if (!ui.ipKnown || m_edited || !changed)
        return;
    fill(SettingsDisplay::addressFields({ui.fixedIp, ui.ipWithPrefix, ui.gateway, ui.dns}));
    m_filled = true;
}

void SettingsAddressPage::resync()
{
    m_edited = false;
    m_filled = false;
    refresh(m_ui);
}

void SettingsAddressPage::fill(const AddressPlan::Input &in)
{
    const QString (*fields[FieldCount])[4] = {&in.ip, &in.mask, &in.gateway, &in.dns};
    for (int f = 0; f < FieldCount; ++f)
        for (int n = 0; n < 4; ++n)
            m_octets[f][n]->setText((*fields[f])[n]);
    {
        const QSignalBlocker block(m_auto);
        m_auto->setChecked(in.automatic);
    }
    syncEnabled();
}

AddressPlan::Input SettingsAddressPage::input() const
{
    AddressPlan::Input in;
    in.automatic = m_auto->isChecked();
    QString (*fields[FieldCount])[4] = {&in.ip, &in.mask, &in.gateway, &in.dns};
    for (int f = 0; f < FieldCount; ++f)
        for (int n = 0; n < 4; ++n)
            (*fields[f])[n] = m_octets[f][n]->text();
    return in;
}

void SettingsAddressPage::apply()
{
    std::optional<AddressPlan::Current> current;
    if (m_ui.ipKnown)
        current = AddressPlan::Current{m_ui.fixedIp, m_ui.ipWithPrefix, m_ui.gateway, m_ui.dns};
    emit signal_run(AddressPlan::plan(m_devId, input(), current));
}

void SettingsAddressPage::syncEnabled()
{
    for (auto &field : m_octets)
        for (QLineEdit *e : field)
            e->setEnabled(!m_auto->isChecked());
}

void SettingsAddressPage::retranslate()
{
    m_auto->setText(tx(Tx::DsAutoIp));
    const Tx labels[FieldCount] = {Tx::DsIpAddress, Tx::DsNetmask, Tx::DsGateway, Tx::DsDns};
    for (int f = 0; f < FieldCount; ++f)
        m_fieldLabels[f]->setText(tx(labels[f]));
    if (!m_ui.ipKnown)
        m_current->setText(QString());
    else if (m_ui.fixedIp)
        m_current->setText(tx(Tx::DsCurrentFixed).arg(m_ui.ipWithPrefix));
    else
        m_current->setText(tx(Tx::DsCurrentAuto));
    m_hint->setText(tx(Tx::DsAddressHint));
    m_apply->setText(tx(Tx::DsApply));
}

void SettingsAddressPage::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::LanguageChange)
        retranslate();
    QWidget::changeEvent(event);
}
