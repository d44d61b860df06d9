#pragma once

#include <QGraphicsView>
#include <QVector>
#include <functional>

class QGraphicsProxyWidget;
class QPushButton;

/// One header strip of the routing grid: a button per line of the tile band,
/// named "<prefix><line index>", kept in step with the grid's scrolling.
/// Columns are drawn as rows turned a quarter left, so their fold arrows sit
/// next to the grid and their text reads upwards.
class RouteHeaderView : public QGraphicsView
{
    Q_OBJECT
public:
    /// Qt::Vertical: row headers stacked downwards; Qt::Horizontal: column headers.
    RouteHeaderView(Qt::Orientation orientation, const QString &prefix, QWidget *parent = nullptr);

    /// Lines of the whole axis and the square cell size.
    void setAxis(int lines, int cellSize, int headerLength);
    /// Shows buttons for lines first..last; decorate fills each one in.
    void populate(int first, int last, const std::function<void(QPushButton *, int line)> &decorate);
    /// The button of a line, or nullptr when the line is outside the band.
    QPushButton *button(int line) const;
    int firstLine() const { return m_first; }
    int lastLine() const { return m_first + m_shown - 1; }
    /// Follows the grid's scroll position along the axis, in pixels.
    void setOffset(int pixels);
    /// Sets the header style sheet (property selectors pick each button's look).
    void setButtonStyleSheet(const QString &styleSheet);
    /// Every button gets this event filter (the page handles their mouse events).
    void setButtonFilter(QObject *filter) { m_filter = filter; }

private:
    Qt::Orientation m_orientation;
    QString m_prefix;
    QWidget *m_band;
    QGraphicsProxyWidget *m_proxy;
    QObject *m_filter = nullptr;
    QVector<QPushButton *> m_buttons;
    int m_first = 0;
    int m_shown = 0;
    int m_cellSize = 16;
    int m_length = 150;
};
