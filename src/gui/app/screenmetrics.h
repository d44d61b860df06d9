#pragma once

#include "core/app/scalefactors.h"

/// The primary screen as the windowing system reports it: physical pixels
/// are the logical size times the device pixel ratio. Needs the application
/// object.
ScreenMetrics screenMetricsFromPrimaryScreen();
