#include "passwordprompt.h"

#include "passwordedit.h"
#include "app/scalefactors.h"
#include "app/texts.h"

#include <QEvent>
#include <QHBoxLayout>
#include <QPushButton>
#include <QVariant>
#include <QVBoxLayout>

PasswordPrompt::PasswordPrompt(QWidget *parent)
    : FramelessDialog(parent)
{
    setObjectName(QStringLiteral("dlg_enterPassword"));
    setMinimumWidth(scaled(360));
    m_password = new PasswordEdit(this);
    m_password->setObjectName(QStringLiteral("le_password"));
    contentLayout()->addWidget(m_password);

    m_cancel = new QPushButton(this);
    m_cancel->setObjectName(QStringLiteral("pb_cancel"));
    m_ok = new QPushButton(this);
    m_ok->setObjectName(QStringLiteral("pb_ok"));
    m_ok->setProperty("role", QStringLiteral("primary"));
    m_ok->setDefault(true);
    for (QPushButton *b : {m_cancel, m_ok})
        b->setMinimumWidth(scaled(90));
    connect(m_ok, &QPushButton::clicked, this, &QDialog::accept);
    connect(m_cancel, &QPushButton::clicked, this, &QDialog::reject);
    auto *row = new QHBoxLayout;
    row->addStretch(1);
    row->addWidget(m_cancel);
    row->addWidget(m_ok);
    contentLayout()->addLayout(row);
    retranslate();
    m_password->setFocus();
}

QString PasswordPrompt::password() const
{
    return m_password->text();
}

void PasswordPrompt::retranslate()
{
    setTitle(tx(Tx::EnterPassword));
    m_ok->setText(tx(Tx::Ok));
    m_cancel->setText(tx(Tx::Cancel));
}

void PasswordPrompt::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::LanguageChange)
        retranslate();
    FramelessDialog::changeEvent(event);
}
