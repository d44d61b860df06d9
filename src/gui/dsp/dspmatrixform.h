#pragma once

#include <QModelIndex>
#include <QPoint>
#include <QWidget>

class DspController;
class DspMatrixModel;
class QTableView;
class QMouseEvent;
class QTimer;
class QWheelEvent;

/// The matrix mixer page: one cell per input (column) and output (row), each showing its gain in dB or "off"
/// when muted. A cell is edited in place (double-click or F2, then type), dragged up or down, or turned with the
/// wheel once it is the current cell; Space or the context menu mutes and unmutes the selected cells. Every
/// change goes to the device at once; a drag, a run of wheel turns or one Space press is one undo step.
/// The headers stay in view while the cells scroll, so a 64 x 64 matrix stays readable.
class DspMatrixForm : public QWidget
{
    Q_OBJECT
public:
    /// Wheel turns closer together than this belong to one undo step.
    static constexpr int kWheelGestureMs = 500;
    /// dB per wheel notch, and per pixel dragged.
    static constexpr double kWheelStepDb = 0.5;
    static constexpr double kDragDbPerPixel = 0.25;

    explicit DspMatrixForm(DspController *controller, QWidget *parent = nullptr);
    ~DspMatrixForm() override;

    /// Channel names for the headers (inputs across, outputs down).
    void setChannelNames(const QStringList &inputs, const QStringList &outputs);

    /// Wheel turns are still being gathered into one undo step.
    bool isWheelGestureOpen() const;
    QTableView *view() const { return m_view; }
    DspMatrixModel *model() const { return m_model; }

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;
    void changeEvent(QEvent *event) override;

private:
    bool wheelOnCell(QWheelEvent *event);
    bool mouseOnCell(QMouseEvent *event);
    void toggleMuteOfSelection();
    void showContextMenu(const QPoint &pos);
    void endWheelGesture();
    void retranslate();

    DspController *m_controller;
    DspMatrixModel *m_model;
    QTableView *m_view;
    QTimer *m_wheelGesture;

    QPersistentModelIndex m_dragCell;
    QPoint m_dragFrom;
    double m_dragFromDb = 0.0;
    bool m_dragging = false;
};
