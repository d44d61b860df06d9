#include "passwordedit.h"

#include "app/scalefactors.h"
#include "app/texts.h"

#include <QAction>
#include <QEvent>
#include <QIcon>

PasswordEdit::PasswordEdit(QWidget *parent)
    : QLineEdit(parent)
{
    setEchoMode(QLineEdit::Password);
    setMinimumWidth(scaled(240));
    m_eye = addAction(QIcon(QStringLiteral(":/new/prefix1/pic/view.png")), QLineEdit::TrailingPosition);
    m_eye->setObjectName(QStringLiteral("act_eye"));
    m_eye->setCheckable(true);
    connect(m_eye, &QAction::toggled, this,
            [this](bool shown) { setEchoMode(shown ? QLineEdit::Normal : QLineEdit::Password); });
    retranslate();
}

void PasswordEdit::retranslate()
{
    m_eye->setToolTip(tx(Tx::ShowPassword));
    setPlaceholderText(tx(Tx::PasswordPlaceholder));
}

void PasswordEdit::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::LanguageChange)
        retranslate();
    QLineEdit::changeEvent(event);
}
