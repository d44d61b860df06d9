#include "gui/device/translucentlock.h"

TranslucentLock::TranslucentLock(QWidget *parent)
    : LockOverlay(QStringLiteral("rgba(0,0,0,0.6)"), QStringLiteral("rgba(255,255,255,0.4)"), parent)
{
    setObjectName(QStringLiteral("lb_translucentLock"));
}
