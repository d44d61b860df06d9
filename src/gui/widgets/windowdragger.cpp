#include "gui/widgets/windowdragger.h"

#include <QMouseEvent>
#include <QWidget>

WindowDragger::WindowDragger(QWidget *handle, bool doubleClickMaximises)
    : QObject(handle)
    , m_handle(handle)
    , m_doubleClickMaximises(doubleClickMaximises)
{
    handle->installEventFilter(this);
}

bool WindowDragger::eventFilter(QObject *watched, QEvent *event)
{
    if (watched != m_handle)
        return false;
    QWidget *win = m_handle->window();
    switch (event->type()) {
    case QEvent::MouseButtonPress: {
        auto *e = static_cast<QMouseEvent *>(event);
        if (e->button() != Qt::LeftButton || win->isMaximized())
            return false;
        m_dragging = true;
        m_offset = e->globalPos() - win->frameGeometry().topLeft();
        return true;
    }
    case QEvent::MouseMove: {
        auto *e = static_cast<QMouseEvent *>(event);
        if (!m_dragging || !(e->buttons() & Qt::LeftButton))
            return false;
        win->move(e->globalPos() - m_offset);
        return true;
    }
    case QEvent::MouseButtonRelease:
        m_dragging = false;
        return false;
    case QEvent::MouseButtonDblClick:
        if (!m_doubleClickMaximises)
            return false;
        emit signal_doubleClicked();
        return true;
    default:
        return false;
    }
}
