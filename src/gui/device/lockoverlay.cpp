#include "gui/device/lockoverlay.h"

#include "core/app/scalefactors.h"
#include "core/app/texts.h"
#include "gui/widgets/style.h"

#include <QEvent>
#include <QKeyEvent>
#include <QMenu>
#include <QPainter>
#include <QShortcut>

LockOverlay::LockOverlay(const QString &background, const QString &textColour, QWidget *parent)
    : QLabel(parent)
{
    setAttribute(Qt::WA_StyledBackground);
    setAlignment(Qt::AlignCenter);
    setFocusPolicy(Qt::StrongFocus);
    setFont(Style::font(11));
    setStyleSheet(QStringLiteral("background-color:%1;color:%2;").arg(background, textColour));
    m_lock = QPixmap(QStringLiteral(":/new/prefix1/pic/lock.png"))
                 .scaled(scaled(48), scaled(48), Qt::KeepAspectRatio, Qt::SmoothTransformation);
    // Anywhere in the window, as long as the cover is up: focus may sit
    // outside the covered area.
    auto *unlock = new QShortcut(QKeySequence(Qt::CTRL + Qt::Key_0), this);
    unlock->setContext(Qt::WindowShortcut);
    connect(unlock, &QShortcut::activated, this, &LockOverlay::slot_showChoices);
    retranslate();
}

void LockOverlay::retranslate()
{
    setText(QString(8, QLatin1Char('\n')) + tx(Tx::UnlockHint));
}

void LockOverlay::cover(QWidget *target)
{
    if (m_target)
        m_target->removeEventFilter(this);
    m_target = target;
    setParent(target->parentWidget());
    setGeometry(target->geometry());
    target->installEventFilter(this);
    show();
    raise();
}

bool LockOverlay::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == m_target && (event->type() == QEvent::Resize || event->type() == QEvent::Move)) {
        setGeometry(m_target->geometry());
        raise();
    }
    return QLabel::eventFilter(watched, event);
}

QMenu *LockOverlay::choices() const
{
    return m_menu;
}

void LockOverlay::slot_showChoices()
{
    if (m_menu)
        return;
    m_menu = new QMenu(this);
    m_menu->setObjectName(QStringLiteral("menu_unlock"));
    m_menu->setAttribute(Qt::WA_DeleteOnClose);
    QAction *enter = m_menu->addAction(tx(Tx::EnterPassword));
    enter->setObjectName(QStringLiteral("act_enterPassword"));
    QAction *set = m_menu->addAction(tx(Tx::SetPassword));
    set->setObjectName(QStringLiteral("act_setPassword"));
    // Queued: the dialogs open after the menu has closed, not inside its event handling.
    connect(enter, &QAction::triggered, this, &LockOverlay::signal_enterPassword, Qt::QueuedConnection);
    connect(set, &QAction::triggered, this, &LockOverlay::signal_setPassword, Qt::QueuedConnection);
    const QPoint centre = mapToGlobal(rect().center());
    m_menu->popup(centre - QPoint(m_menu->sizeHint().width() / 2, 0));
}

void LockOverlay::keyPressEvent(QKeyEvent *event)
{
    if (event->key() == Qt::Key_0 && (event->modifiers() & Qt::ControlModifier)) {
        slot_showChoices();
        return;
    }
    QLabel::keyPressEvent(event);
}

void LockOverlay::paintEvent(QPaintEvent *event)
{
    QLabel::paintEvent(event);
    QPainter p(this);
    p.drawPixmap(QRect(QPoint(0, 0), m_lock.size()).translated(rect().center() - m_lock.rect().center()), m_lock);
}

void LockOverlay::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::LanguageChange)
        retranslate();
    QLabel::changeEvent(event);
}
