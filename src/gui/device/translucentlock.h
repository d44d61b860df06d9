#pragma once

#include "gui/device/lockoverlay.h"

/// The cover of a read-only area: the values below stay visible.
class TranslucentLock : public LockOverlay
{
    Q_OBJECT
public:
    explicit TranslucentLock(QWidget *parent = nullptr);
};
