#include "gui/routing/cellgraphicsscene.h"

#include <QGraphicsSceneMouseEvent>
#include <QtMath>

CellGraphicsScene::CellGraphicsScene(QObject *parent)
    : QGraphicsScene(parent)
{
    // Items come and go by the thousand as the band moves; painting the few
    // thousand of the band beats keeping an index of them.
    setItemIndexMethod(QGraphicsScene::NoIndex);
}

void CellGraphicsScene::mousePressEvent(QGraphicsSceneMouseEvent *event)
{
    event->accept();
    if (event->button() == Qt::LeftButton)
        emit signal_cellPressed(qFloor(event->scenePos().x()), qFloor(event->scenePos().y()));
}

void CellGraphicsScene::mouseDoubleClickEvent(QGraphicsSceneMouseEvent *event)
{
    // The second press of a quick pair of clicks is a click of its own.
    mousePressEvent(event);
}

void CellGraphicsScene::mouseMoveEvent(QGraphicsSceneMouseEvent *event)
{
    event->accept();
    emit signal_mouseMoved(event->scenePos());
}
