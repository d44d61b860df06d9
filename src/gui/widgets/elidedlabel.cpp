#include "gui/widgets/elidedlabel.h"

#include <QEvent>
#include <QStringList>

ElidedLabel::ElidedLabel(QWidget *parent)
    : QLabel(parent)
{
    setTextFormat(Qt::PlainText);
}

void ElidedLabel::setFullText(const QString &text)
{
    m_full = text;
    refresh();
}

QString ElidedLabel::elide(const QString &text, const QFontMetrics &metrics, int width)
{
    if (!text.contains(QLatin1Char('\n')))
        return metrics.elidedText(text, Qt::ElideRight, qMax(0, width));
    QStringList lines = text.split(QLatin1Char('\n'));
    for (QString &line : lines)
        line = metrics.elidedText(line, Qt::ElideRight, qMax(0, width));
    return lines.join(QLatin1Char('\n'));
}

void ElidedLabel::refresh()
{
    // Before the first layout the width is a guess; the resize that follows
    // cuts again.
    const int room = contentsRect().width() - 2 * margin() - (indent() > 0 ? indent() : 0);
    const QString shown = elide(m_full, fontMetrics(), room);
    if (shown != text())
        QLabel::setText(shown);
}

void ElidedLabel::resizeEvent(QResizeEvent *event)
{
    QLabel::resizeEvent(event);
    refresh();
}

void ElidedLabel::changeEvent(QEvent *event)
{
    QLabel::changeEvent(event);
    if (event->type() == QEvent::FontChange || event->type() == QEvent::StyleChange
        || event->type() == QEvent::LanguageChange)
        refresh();
}
