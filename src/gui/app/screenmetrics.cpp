#include "gui/app/screenmetrics.h"

#include <QGuiApplication>
#include <QScreen>

ScreenMetrics screenMetricsFromPrimaryScreen()
{
    ScreenMetrics m;
    const QScreen *screen = QGuiApplication::primaryScreen();
    if (!screen)
        return m;
    const QSize logical = screen->geometry().size();
    const qreal ratio = screen->devicePixelRatio();
    m.logicalWidth = logical.width();
    m.logicalHeight = logical.height();
    m.physicalWidth = qRound(logical.width() * ratio);
    m.physicalHeight = qRound(logical.height() * ratio);
    m.logicalDpi = qRound(screen->logicalDotsPerInchX());
    return m;
}
