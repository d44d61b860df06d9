#include "gui/routing/routeheaderbutton.h"

#include <QEvent>
#include <QStyle>
#include <QStyleOptionButton>

namespace {

// The gap the push button label keeps between its icon and its text.
const int kIconGap = 4;

} // namespace

RouteHeaderButton::RouteHeaderButton(RouteGrid::Axis axis, QWidget *parent)
    : QPushButton(parent)
    , m_axis(axis)
{
    setFocusPolicy(Qt::NoFocus);
    setAutoDefault(false);
}

void RouteHeaderButton::setFullText(const QString &text)
{
    m_full = text;
    refreshText();
}

QString RouteHeaderButton::hover() const
{
    return property("hover").toString();
}

void RouteHeaderButton::setHover(const QString &hover)
{
    if (property("hover").toString() == hover)
        return;
    setProperty("hover", hover);
    repolish();
}

void RouteHeaderButton::repolish()
{
    style()->unpolish(this);
    style()->polish(this);
    // The style sheet's padding and font may have changed with the selectors.
    refreshText();
    update();
}

void RouteHeaderButton::refreshText()
{
    ensurePolished();
    QStyleOptionButton option;
    initStyleOption(&option);
    int room = style()->subElementRect(QStyle::SE_PushButtonContents, &option, this).width();
    if (!icon().isNull())
        room -= iconSize().width() + kIconGap;
    // A pixel spare: the label is drawn from a rectangle the style may round.
    const QString shown = fontMetrics().elidedText(m_full, Qt::ElideRight, qMax(0, room - 1));
    if (shown != text())
        setText(shown);
}

void RouteHeaderButton::resizeEvent(QResizeEvent *event)
{
    QPushButton::resizeEvent(event);
    refreshText();
}

void RouteHeaderButton::changeEvent(QEvent *event)
{
    QPushButton::changeEvent(event);
    if (event->type() == QEvent::FontChange || event->type() == QEvent::LanguageChange)
        refreshText();
}
