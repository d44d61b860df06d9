#pragma once

#include <QGraphicsScene>

/// The scene of the routing grid. It decides nothing: it reports left-button
/// presses as integer scene coordinates and every mouse move, and the page
/// works out the cell by arithmetic (only the tile band holds items).
/// A press with Shift held starts a block selection instead of a click.
class CellGraphicsScene : public QGraphicsScene
{
    Q_OBJECT
public:
    explicit CellGraphicsScene(QObject *parent = nullptr);

signals:
    void signal_cellPressed(int x, int y);
    void signal_mouseMoved(const QPointF &scenePos);
    /// Shift and the left button: a block from here, dragged, then let go.
    void signal_blockPressed(int x, int y);
    void signal_blockDragged(int x, int y);
    void signal_blockReleased(int x, int y, const QPoint &screenPos);
    void signal_contextMenu(int x, int y, const QPoint &screenPos);

protected:
    void mousePressEvent(QGraphicsSceneMouseEvent *event) override;
    void mouseDoubleClickEvent(QGraphicsSceneMouseEvent *event) override;
    void mouseMoveEvent(QGraphicsSceneMouseEvent *event) override;
    void mouseReleaseEvent(QGraphicsSceneMouseEvent *event) override;
    void contextMenuEvent(QGraphicsSceneContextMenuEvent *event) override;

private:
    bool m_selecting = false;
};
