#pragma once

#include "core/routing/routegrid.h"

#include <QObject>
#include <QPoint>
#include <QVector>
#include <functional>

class QGraphicsView;
class RouteCellItem;
class RouteHeaderButton;
class RouteHeaderView;

/// What lights up while the pointer rests on the routing grid: the cell's
/// tool tip, the free cells of its row and column within the tile band, and
/// the headers of its lines (of the owners' lines when the cell is on one;
/// such cells light no other cell).
///
/// Lives on the interface thread, a child of the page; it watches the grid
/// view's viewport to know when the pointer leaves.
class RouteHoverHighlighter : public QObject
{
    Q_OBJECT
public:
    /// The cell item of a line pair, or nullptr outside the tile band.
    using CellLookup = std::function<RouteCellItem *(int row, int column)>;

    RouteHoverHighlighter(const RouteGrid &grid, QGraphicsView *view, int cellSize, RouteHeaderView *rows,
                          RouteHeaderView *columns, CellLookup cells, QObject *parent = nullptr);

    /// The pointer moved to a scene point; the same cell as last time changes nothing.
    void pointerMoved(const QPointF &scenePos);
    /// Puts every light out (before the band's items are redrawn).
    void clear();
    /// Lights the cell under the resting pointer again after a redraw.
    void restore();
    /// Lights one header alone, as for the line a search found.
    void lightHeader(RouteGrid::Axis axis, int line);

    int row() const { return m_row; }
    int column() const { return m_column; }

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void hover(int row, int column);
    void light(RouteHeaderButton *button, const char *look);

    const RouteGrid &m_grid;
    QGraphicsView *m_view;
    QWidget *m_viewport;
    int m_cellSize;
    RouteHeaderView *m_rows;
    RouteHeaderView *m_columns;
    CellLookup m_cells;

    int m_row = -1;
    int m_column = -1;
    QVector<RouteCellItem *> m_lit;
    QVector<RouteHeaderButton *> m_litHeaders;
    QPoint m_pointer;  // in the viewport, while the pointer is over it
    bool m_pointerInside = false;
};
