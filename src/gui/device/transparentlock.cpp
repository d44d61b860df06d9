#include "gui/device/transparentlock.h"

TransparentLock::TransparentLock(QWidget *parent)
    : LockOverlay(QStringLiteral("rgb(0,0,0)"), QStringLiteral("rgba(255,255,255,0.6)"), parent)
{
    setObjectName(QStringLiteral("lb_transparentLock"));
}
