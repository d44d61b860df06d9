#pragma once

#include <QString>

/// What the primary display reports, in the units of the platform's own
/// metrics: physical pixels, logical pixels and logical dots per inch.
struct ScreenMetrics
{
    int physicalWidth = 1280;
    int physicalHeight = 720;
    int logicalWidth = 1280;  // cx
    int logicalHeight = 720;  // cy
    int logicalDpi = 96;
};

struct ScaleFactors
{
    double winScal = 1.0;
    double adjScale = 1.0;
    double adjFontScale = 1.0;
    double newAdjScale = 1.0 / 1.5;
    double newAdjFontScale = 1.0 / 1.5;
    QString diagnostic;
};

/// The layout scale: the designs were drawn for a 1920-pixel-wide 16:9 screen
/// at 1.5 times a 1280 base, so newAdjScale is 1.0 there.
ScaleFactors computeScaleFactors(ScreenMetrics m);

/// Process-wide, set once at start-up before the main window exists.
extern double adjScale;
extern double adjFontScale;
extern double newAdjScale;
extern double newAdjFontScale;

void applyScaleFactors(const ScaleFactors &f);

/// A designed pixel size on this screen.
int scaled(int designPixels);
/// A designed font point size on this screen.
double scaledFont(double designPoints);
