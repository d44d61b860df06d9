#pragma once

#include <QGraphicsScene>

/// The scene of the routing grid. It decides nothing: it reports left-button
/// presses as integer scene coordinates and every mouse move, and the page
/// works out the cell by arithmetic (only the tile band holds items).
class CellGraphicsScene : public QGraphicsScene
{
    Q_OBJECT
public:
    explicit CellGraphicsScene(QObject *parent = nullptr);

signals:
    void signal_cellPressed(int x, int y);
    void signal_mouseMoved(const QPointF &scenePos);

protected:
    void mousePressEvent(QGraphicsSceneMouseEvent *event) override;
    void mouseDoubleClickEvent(QGraphicsSceneMouseEvent *event) override;
    void mouseMoveEvent(QGraphicsSceneMouseEvent *event) override;
};
