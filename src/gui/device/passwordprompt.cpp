#include "gui/device/passwordprompt.h"

#include "gui/device/passwordedit.h"
#include "core/app/scalefactors.h"
#include "core/app/texts.h"

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

    const OkCancel buttons = addOkCancelRow();
    m_ok = buttons.ok;
    m_cancel = buttons.cancel;
    connect(m_ok, &QPushButton::clicked, this, &QDialog::accept);
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
