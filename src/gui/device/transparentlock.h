#pragma once

#include "gui/device/lockoverlay.h"

/// The cover of a hidden area: nothing below shows through.
class TransparentLock : public LockOverlay
{
    Q_OBJECT
public:
    explicit TransparentLock(QWidget *parent = nullptr);
};
