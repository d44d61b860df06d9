#include "gui/device/managelock.h"

#include "gui/device/passwordedit.h"
#include "gui/device/settingsstyle.h"
#include "core/app/scalefactors.h"
#include "core/app/texts.h"
#include "core/device/lockplan.h"
#include "gui/widgets/style.h"
#include "gui/widgets/planrunner.h"

#include <QButtonGroup>
#include <QEvent>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QJsonDocument>
#include <QLabel>
#include <QPushButton>
#include <QRadioButton>
#include <QVariant>
#include <QVBoxLayout>

namespace {

QString groupStyle()
{
    return QStringLiteral("QGroupBox { border: 1px solid %1; border-radius: %2px; margin-top: %3px; padding: %4px; }"
                          "QGroupBox::title { subcontrol-origin: margin; left: %5px; padding: 0 %6px; color: %7; }")
        .arg(Style::rgb(Style::kBorder))
        .arg(scaled(4))
        .arg(scaled(12))
        .arg(scaled(10))
        .arg(scaled(10))
        .arg(scaled(4))
        .arg(Style::rgb(Style::kTextBright));
}

} // namespace

ManageLock::ManageLock(const QString &devId, const LockChoice &current, QWidget *parent)
    : FramelessDialog(parent)
    , m_devId(devId)
{
    setObjectName(QStringLiteral("dlg_manageLock"));
    m_runner = new PlanRunner(this, QStringLiteral("ManageLock"));
    connect(m_runner, &PlanRunner::signal_sendUdpToPort, this, &ManageLock::signal_sendUdpToPort);
    setMinimumWidth(scaled(520));

    m_detailsBox = new QGroupBox(this);
    m_detailsBox->setObjectName(QStringLiteral("gb_details"));
    m_routingBox = new QGroupBox(this);
    m_routingBox->setObjectName(QStringLiteral("gb_routing"));
    m_dspBox = new QGroupBox(this);
    m_dspBox->setObjectName(QStringLiteral("gb_dsp"));
    m_details = new QButtonGroup(this);
    m_routing = new QButtonGroup(this);
    m_dsp = new QButtonGroup(this);
    for (QGroupBox *box : {m_detailsBox, m_routingBox, m_dspBox}) {
        box->setStyleSheet(groupStyle() + SettingsStyle::indicators());
        box->setFont(Style::font(10.5));
        new QHBoxLayout(box);
        contentLayout()->addWidget(box);
    }
    addChoice(m_detailsBox, m_details, "rb_detailsNormal", LockChoice::DetailsNormal);
    addChoice(m_detailsBox, m_details, "rb_detailsReadOnly", LockChoice::DetailsReadOnly);
    addChoice(m_detailsBox, m_details, "rb_detailsHidden", LockChoice::DetailsHidden);
    addChoice(m_routingBox, m_routing, "rb_routingNormal", LockChoice::RoutingNormal);
    addChoice(m_routingBox, m_routing, "rb_routingReadOnly", LockChoice::RoutingReadOnly);
    addChoice(m_dspBox, m_dsp, "rb_dspNormal", LockChoice::DspNormal);
    addChoice(m_dspBox, m_dsp, "rb_dspReadOnly", LockChoice::DspReadOnly);
    addChoice(m_dspBox, m_dsp, "rb_dspDetailsReadOnly", LockChoice::DspDetailsReadOnly);
    addChoice(m_dspBox, m_dsp, "rb_dspHidden", LockChoice::DspHidden);
    for (QGroupBox *box : {m_detailsBox, m_routingBox, m_dspBox}) {
        box->layout()->setSpacing(scaled(28));
        static_cast<QHBoxLayout *>(box->layout())->addStretch(1);
    }
    m_details->button(current.details)->setChecked(true);
    m_routing->button(current.routing)->setChecked(true);
    m_dsp->button(current.dsp)->setChecked(true);
    connect(m_details, &QButtonGroup::idToggled, this, [this] { syncRouting(); });
    syncRouting();

    auto *passwordRow = new QHBoxLayout;
    m_passwordLabel = new QLabel(this);
    m_password = new PasswordEdit(this);
    m_password->setObjectName(QStringLiteral("le_password"));
    passwordRow->addWidget(m_passwordLabel);
    passwordRow->addWidget(m_password, 1);
    contentLayout()->addLayout(passwordRow);

    const OkCancel buttons = addOkCancelRow();
    m_ok = buttons.ok;
    m_cancel = buttons.cancel;
    connect(m_ok, &QPushButton::clicked, this, &ManageLock::onOk);
    retranslate();
}

QRadioButton *ManageLock::addChoice(QGroupBox *box, QButtonGroup *group, const char *name, int id)
{
    auto *b = new QRadioButton(box);
    b->setObjectName(QLatin1String(name));
    group->addButton(b, id);
    box->layout()->addWidget(b);
    return b;
}

void ManageLock::syncRouting()
{
    // A hidden device is out of routing: the routing choice has no say then.
    m_routingBox->setEnabled(m_details->checkedId() != LockChoice::DetailsHidden);
}

LockChoice ManageLock::choice() const
{
    LockChoice c;
    c.details = LockChoice::Details(m_details->checkedId());
    c.routing = LockChoice::Routing(m_routing->checkedId());
    c.dsp = LockChoice::Dsp(m_dsp->checkedId());
    return c;
}

void ManageLock::setPassword(const QString &password)
{
    m_password->setText(password);
}

void ManageLock::onOk()
{
    const LockChoice c = choice();
    const QVector<CommandPlan> plans =
        LockPlan::setLock(m_devId, m_password->text(), c.detailsLevel(), c.routingLevel(), c.dspLevel());
    for (const CommandPlan &p : plans)
        m_runner->run(p);
    accept();
}

void ManageLock::retranslate()
{
    setTitle(tx(Tx::ManageLockTitle));
    m_detailsBox->setTitle(tx(Tx::LockAreaDetails));
    m_routingBox->setTitle(tx(Tx::LockAreaRouting));
    m_dspBox->setTitle(tx(Tx::LockAreaDsp));
    const Tx normal = Tx::LockNormal, readOnly = Tx::LockReadOnly, hidden = Tx::LockHidden;
    m_details->button(LockChoice::DetailsNormal)->setText(tx(normal));
    m_details->button(LockChoice::DetailsReadOnly)->setText(tx(readOnly));
    m_details->button(LockChoice::DetailsHidden)->setText(tx(hidden));
    m_routing->button(LockChoice::RoutingNormal)->setText(tx(normal));
    m_routing->button(LockChoice::RoutingReadOnly)->setText(tx(readOnly));
    m_dsp->button(LockChoice::DspNormal)->setText(tx(normal));
    m_dsp->button(LockChoice::DspReadOnly)->setText(tx(readOnly));
    m_dsp->button(LockChoice::DspDetailsReadOnly)->setText(tx(Tx::LockDetailsReadOnly));
    m_dsp->button(LockChoice::DspHidden)->setText(tx(hidden));
    m_passwordLabel->setText(tx(Tx::LockPassword));
    m_ok->setText(tx(Tx::Ok));
    m_cancel->setText(tx(Tx::Cancel));
}

void ManageLock::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::LanguageChange)
        retranslate();
    FramelessDialog::changeEvent(event);
}
