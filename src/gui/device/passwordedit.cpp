#include "gui/device/passwordedit.h"

#include "core/app/scalefactors.h"
#include "core/app/texts.h"

#include <QAction>
#include <QEvent>
#include <QIcon>
#include <QPalette>

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
    // The style sheet gives the hint the text's colour whenever it polishes;
    // a hint that looks like a typed password is misleading.
    const QColor hint(110, 113, 124);
    if (event->type() == QEvent::PaletteChange && palette().color(QPalette::PlaceholderText) != hint) {
        QPalette p = palette();
        p.setColor(QPalette::PlaceholderText, hint);
        setPalette(p);
    }
    QLineEdit::changeEvent(event);
}
