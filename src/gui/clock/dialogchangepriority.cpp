#include "gui/clock/dialogchangepriority.h"

#include "core/app/scalefactors.h"
#include "core/app/texts.h"
#include "core/clock/clockpriority.h"
#include "gui/widgets/style.h"

#include <QEvent>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

DialogChangePriority::DialogChangePriority(const QString &devId, const QString &deviceName, int currentPriority,
                                           QWidget *parent)
    : FramelessDialog(parent)
    , m_devId(devId)
    , m_deviceName(deviceName)
{
    setObjectName(QStringLiteral("dlg_changePriority"));
    setMinimumWidth(scaled(380));

    m_device = new QLabel(this);
    m_device->setObjectName(QStringLiteral("lb_device"));
    m_device->setFont(Style::font(11, true));
    m_device->setWordWrap(true);
    m_device->setTextFormat(Qt::PlainText);
    m_hint = new QLabel(this);
    m_hint->setObjectName(QStringLiteral("lb_hint"));
    m_hint->setFont(Style::font(11));
    m_value = new QLineEdit(this);
    m_value->setObjectName(QStringLiteral("le_priority"));
    m_value->setMaxLength(8);
    if (currentPriority >= 0 && currentPriority <= 255)
        m_value->setText(QString::number(currentPriority));
    m_value->selectAll();
    m_refusal = new QLabel(this);
    m_refusal->setObjectName(QStringLiteral("lb_refusal"));
    m_refusal->setWordWrap(true);
    m_refusal->setStyleSheet(QStringLiteral("color: %1;").arg(Style::rgb(Style::kError)));
    m_refusal->hide();

    auto *field = new QHBoxLayout;
    field->addWidget(m_hint);
    field->addWidget(m_value, 1);
    contentLayout()->addWidget(m_device);
    contentLayout()->addLayout(field);
    contentLayout()->addWidget(m_refusal);

    const OkCancel buttons = addOkCancelRow();
    m_ok = buttons.ok;
    m_cancel = buttons.cancel;
    connect(m_ok, &QPushButton::clicked, this, &DialogChangePriority::on_pb_ok_clicked);
    retranslate();
}

QString DialogChangePriority::refusalText() const
{
    return m_refusal->isVisibleTo(this) ? m_refusal->text() : QString();
}

void DialogChangePriority::on_pb_ok_clicked()
{
    // Enter reaches ok as the default button; accepting once is enough.
    if (!m_command.isEmpty())
        return;
    const CommandPlan plan = ClockPriority::plan(m_devId, m_value->text());
    if (plan.refused()) {
        m_refusal->setText(plan.steps.last().text);
        m_refusal->show();
        adjustSize();
        m_value->setFocus();
        m_value->selectAll();
        return;
    }
    m_command = plan.command;
    emit signal_confirmed(m_command);
    accept();
}

void DialogChangePriority::retranslate()
{
    setTitle(tx(Tx::PriorityTitle));
    m_hint->setText(tx(Tx::PriorityHint));
    m_device->setText(m_deviceName.isEmpty() ? m_devId : tx(Tx::PriorityDevice).arg(m_deviceName, m_devId));
    m_ok->setText(tx(Tx::Ok));
    m_cancel->setText(tx(Tx::Cancel));
    if (m_refusal->isVisibleTo(this))
        m_refusal->setText(tx(Tx::PriorityRange));
}

void DialogChangePriority::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::LanguageChange)
        retranslate();
    FramelessDialog::changeEvent(event);
}
