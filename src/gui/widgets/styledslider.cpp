#include "gui/widgets/styledslider.h"

#include "core/app/scalefactors.h"

#include <QWheelEvent>

StyledSlider::StyledSlider(Qt::Orientation orientation, QWidget *parent)
    : QSlider(orientation, parent)
{
    setFocusPolicy(Qt::StrongFocus);
    if (orientation == Qt::Horizontal)
        setMinimumHeight(scaled(22));
    else
        setMinimumWidth(scaled(22));
}

void StyledSlider::wheelEvent(QWheelEvent *event)
{
    if (hasFocus())
        QSlider::wheelEvent(event);
    else
        event->ignore();
}

StyledSpinBox::StyledSpinBox(QWidget *parent)
    : QDoubleSpinBox(parent)
{
    setFocusPolicy(Qt::StrongFocus);
    setKeyboardTracking(false);
    setAccelerated(true);
}

void StyledSpinBox::wheelEvent(QWheelEvent *event)
{
    if (hasFocus())
        QDoubleSpinBox::wheelEvent(event);
    else
        event->ignore();
}
