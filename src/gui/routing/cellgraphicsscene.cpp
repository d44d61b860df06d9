#include "gui/routing/cellgraphicsscene.h"

#include <QGraphicsSceneContextMenuEvent>
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
    if (event->button() != Qt::LeftButton)
        return;
    const int x = qFloor(event->scenePos().x());
    const int y = qFloor(event->scenePos().y());
    m_selecting = event->modifiers() & Qt::ShiftModifier;
    if (m_selecting)
        emit signal_blockPressed(x, y);
    else
        emit signal_cellPressed(x, y);
}

void CellGraphicsScene::mouseReleaseEvent(QGraphicsSceneMouseEvent *event)
{
    event->accept();
    if (event->button() != Qt::LeftButton || !m_selecting)
        return;
    m_selecting = false;
    emit signal_blockReleased(qFloor(event->scenePos().x()), qFloor(event->scenePos().y()), event->screenPos());
}

void CellGraphicsScene::contextMenuEvent(QGraphicsSceneContextMenuEvent *event)
{
    event->accept();
    emit signal_contextMenu(qFloor(event->scenePos().x()), qFloor(event->scenePos().y()), event->screenPos());
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
    if (m_selecting && (event->buttons() & Qt::LeftButton))
        emit signal_blockDragged(qFloor(event->scenePos().x()), qFloor(event->scenePos().y()));
}
