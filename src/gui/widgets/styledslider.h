#pragma once

#include <QDoubleSpinBox>
#include <QSlider>

/// A slider in the shared style that only takes the mouse wheel once it has
/// focus, so scrolling a page never changes a device value by accident.
class StyledSlider : public QSlider
{
    Q_OBJECT
public:
    explicit StyledSlider(Qt::Orientation orientation, QWidget *parent = nullptr);

protected:
    void wheelEvent(QWheelEvent *event) override;
};

/// A spin box in the shared style that reports a value once it is committed
/// (Enter, focus out or a step), and takes the wheel only with focus.
class StyledSpinBox : public QDoubleSpinBox
{
    Q_OBJECT
public:
    explicit StyledSpinBox(QWidget *parent = nullptr);

protected:
    void wheelEvent(QWheelEvent *event) override;
};
