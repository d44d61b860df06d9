#pragma once

#include <QColor>
#include <QGraphicsItem>
#include <QPixmap>

/// One square cell of the routing grid. The page reuses cells as the tile
/// band moves, so a cell knows its grid position only until the next repopulation.
///
/// Data slots read back by the page and tests: 0 "route"; 1 "checking" while
/// a command for it is outstanding; 2 "checked" when routed; owner x owner
/// cells 111 "decrease" (pair unfolded) or 222 "increase" (folded).
class RouteCellItem : public QGraphicsItem
{
public:
    enum { Type = QGraphicsItem::UserType + 1 };

    static const QColor kPlain;
    static const QColor kHighlight;

    explicit RouteCellItem(int size, QGraphicsItem *parent = nullptr);

    int type() const override { return Type; }
    QRectF boundingRect() const override;
    void paint(QPainter *painter, const QStyleOptionGraphicsItem *option, QWidget *widget) override;

    void setCell(int row, int column, bool ownerRow, bool ownerColumn);
    int row() const { return m_row; }
    int column() const { return m_column; }

    void setPicture(const QPixmap &picture);
    bool hasPicture() const { return !m_picture.isNull(); }
    void setHighlighted(bool on);
    bool isHighlighted() const { return m_highlighted; }
    QColor brushColor() const { return m_highlighted ? kHighlight : kPlain; }

    bool isChecked() const;
    bool isChecking() const;

private:
    int m_size;
    int m_row = -1;
    int m_column = -1;
    bool m_ownerRow = false;
    bool m_ownerColumn = false;
    bool m_highlighted = false;
    QPixmap m_picture;
};
