#include "gui/routing/routecellitem.h"

#include <QPainter>

namespace {

const QColor kGridLine(255, 255, 255, 13);
// Owner lines are edged a little brighter, so that each device's block of
// channels reads as one.
const QColor kOwnerLine(255, 255, 255, 34);

} // namespace

const QColor RouteCellItem::kPlain(0xFF212227);
const QColor RouteCellItem::kHighlight(0xFF34343E);

RouteCellItem::RouteCellItem(int size, QGraphicsItem *parent)
    : QGraphicsItem(parent)
    , m_size(size)
{
    setData(0, QStringLiteral("route"));
}

QRectF RouteCellItem::boundingRect() const
{
    return QRectF(0, 0, m_size, m_size);
}

void RouteCellItem::paint(QPainter *painter, const QStyleOptionGraphicsItem *, QWidget *)
{
    const int s = m_size;
    painter->fillRect(QRect(0, 0, s, s), brushColor());
    painter->fillRect(QRect(s - 1, 0, 1, s), kGridLine);
    painter->fillRect(QRect(0, s - 1, s, 1), kGridLine);
    if (m_ownerRow)
        painter->fillRect(QRect(0, 0, s, 1), kOwnerLine);
    if (m_ownerColumn)
        painter->fillRect(QRect(0, 0, 1, s), kOwnerLine);
    if (!m_picture.isNull()) {
        const QSize p = m_picture.size() / m_picture.devicePixelRatio();
        painter->drawPixmap((s - p.width()) / 2, (s - p.height()) / 2, m_picture);
    }
}

void RouteCellItem::setCell(int row, int column, bool ownerRow, bool ownerColumn)
{
    m_row = row;
    m_column = column;
    m_ownerRow = ownerRow;
    m_ownerColumn = ownerColumn;
    update();
}

void RouteCellItem::setPicture(const QPixmap &picture)
{
    m_picture = picture;
    update();
}

void RouteCellItem::setHighlighted(bool on)
{
    if (m_highlighted == on)
        return;
    m_highlighted = on;
    update();
}

bool RouteCellItem::isChecked() const
{
    return data(2).toString() == QLatin1String("checked");
}

bool RouteCellItem::isChecking() const
{
    return data(1).toString() == QLatin1String("checking");
}
