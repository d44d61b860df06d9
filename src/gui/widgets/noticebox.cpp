#include "gui/widgets/noticebox.h"

#include "gui/widgets/style.h"
#include "core/app/scalefactors.h"
#include "core/app/texts.h"

#include <QEvent>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVariant>
#include <QVBoxLayout>

NoticeBox::NoticeBox(Kind kind, const QString &text, QWidget *parent)
    : FramelessDialog(parent)
    , m_kind(kind)
{
    setObjectName(kind == Notice ? QStringLiteral("dlg_notice") : QStringLiteral("dlg_confirm"));
    setMinimumWidth(scaled(380));

    m_text = new QLabel(text, this);
    m_text->setObjectName(QStringLiteral("lb_text"));
    m_text->setWordWrap(true);
    m_text->setAlignment(Qt::AlignCenter);
    m_text->setMinimumHeight(scaled(60));
    m_text->setStyleSheet(QStringLiteral("color: rgb(230, 232, 238);"));
    m_text->setFont(Style::font(11));
    contentLayout()->addWidget(m_text, 1);

    auto *buttons = new QHBoxLayout;
    buttons->addStretch(1);
    m_yes = new QPushButton(this);
    m_yes->setObjectName(kind == Notice ? QStringLiteral("pb_ok") : QStringLiteral("pb_yes"));
    m_yes->setProperty("role", QStringLiteral("primary"));
    m_yes->setMinimumWidth(scaled(90));
    m_yes->setDefault(true);
    connect(m_yes, &QPushButton::clicked, this, &QDialog::accept);
    if (kind == Confirm) {
        m_no = new QPushButton(this);
        m_no->setObjectName(QStringLiteral("pb_no"));
        m_no->setMinimumWidth(scaled(90));
        connect(m_no, &QPushButton::clicked, this, &QDialog::reject);
        buttons->addWidget(m_no);
    }
    buttons->addWidget(m_yes);
    buttons->addStretch(1);
    contentLayout()->addLayout(buttons);
    retranslate();
}

void NoticeBox::retranslate()
{
    setTitle(tx(m_kind == Notice ? Tx::Notice : Tx::Confirm));
    m_yes->setText(tx(m_kind == Notice ? Tx::Ok : Tx::Yes));
    if (m_no)
        m_no->setText(tx(Tx::No));
}

void NoticeBox::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::LanguageChange)
        retranslate();
    FramelessDialog::changeEvent(event);
}

QString NoticeBox::text() const
{
    return m_text->text();
}

void NoticeBox::notice(QWidget *parent, const QString &text)
{
    NoticeBox box(Notice, text, parent);
    box.exec();
}

bool NoticeBox::confirm(QWidget *parent, const QString &text)
{
    NoticeBox box(Confirm, text, parent);
    return box.exec() == QDialog::Accepted;
}

bool NoticeBox::passSteps(QWidget *parent, const QVector<PlanStep> &steps)
{
    for (const PlanStep &step : steps) {
        if (step.kind == PlanStep::Notice) {
            notice(parent, step.text);
            return false;
        }
        if (!confirm(parent, step.text))
            return false;
    }
    return true;
}
