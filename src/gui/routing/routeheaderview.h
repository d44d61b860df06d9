#pragma once

#include "core/routing/routegrid.h"

#include <QGraphicsView>
#include <QVector>
#include <functional>

class QGraphicsProxyWidget;
class RouteHeaderButton;

/// One header strip of the routing grid: a button per line of the tile band,
/// named "tx_<line>" (rows) or "rx_<line>" (columns) and carrying its line,
/// kept in step with the grid's scrolling.
/// Columns are drawn as rows turned a quarter left, so their fold arrows sit
/// next to the grid and their text reads upwards.
class RouteHeaderView : public QGraphicsView
{
    Q_OBJECT
public:
    /// Rows: headers stacked downwards; Columns: headers side by side.
    explicit RouteHeaderView(RouteGrid::Axis axis, QWidget *parent = nullptr);

    RouteGrid::Axis axis() const { return m_axis; }
    /// Lines of the whole axis and the square cell size.
    void setAxis(int lines, int cellSize, int headerLength);
    /// Shows buttons for lines first..last; decorate fills each one in.
    void populate(int first, int last, const std::function<void(RouteHeaderButton *, int line)> &decorate);
    /// The button of a line, or nullptr when the line is outside the band.
    RouteHeaderButton *button(int line) const;
    int firstLine() const { return m_first; }
    int lastLine() const { return m_first + m_shown - 1; }
    /// Follows the grid's scroll position along the axis, in pixels.
    void setOffset(int pixels);
    /// Sets the header style sheet (property selectors pick each button's look).
    void setButtonStyleSheet(const QString &styleSheet);
    /// Every button gets this event filter (the page handles their mouse events).
    void setButtonFilter(QObject *filter) { m_filter = filter; }

private:
    RouteGrid::Axis m_axis;
    Qt::Orientation m_orientation;
    QWidget *m_band;
    QGraphicsProxyWidget *m_proxy;
    QObject *m_filter = nullptr;
    QVector<RouteHeaderButton *> m_buttons;
    int m_first = 0;
    int m_shown = 0;
    int m_cellSize = 16;
    int m_length = 150;
};
