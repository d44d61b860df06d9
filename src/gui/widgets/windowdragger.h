#pragma once

#include <QObject>
#include <QPoint>

class QWidget;

/// Lets the user move a frameless window by dragging one of its widgets
/// (a title strip). Double click toggles maximised when allowed.
class WindowDragger : public QObject
{
    Q_OBJECT
public:
    WindowDragger(QWidget *handle, bool doubleClickMaximises);

signals:
    void signal_doubleClicked();

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    QWidget *m_handle;
    bool m_doubleClickMaximises;
    bool m_dragging = false;
    QPoint m_offset;
};
