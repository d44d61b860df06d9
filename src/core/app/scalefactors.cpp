#include "core/app/scalefactors.h"

#include <QtMath>

double adjScale = 1.0;
double adjFontScale = 1.0;
double newAdjScale = 1.0;
double newAdjFontScale = 1.0;

namespace {
QString num(double v)
{
    return QString::number(v, 'g', 6);
}
} // namespace

ScaleFactors computeScaleFactors(ScreenMetrics m)
{
    ScaleFactors f;
    if (m.logicalWidth <= 0 || m.logicalHeight <= 0 || m.physicalWidth <= 0 || m.physicalHeight <= 0)
        m = ScreenMetrics();
    f.winScal = double(m.physicalWidth) / m.logicalWidth;
    int cx = m.logicalWidth;
    int xPix = m.physicalWidth;
    // Wider than 16:9: lay out for the 16:9 part so forms do not sprawl.
    if (qint64(cx) * 9 > qint64(m.logicalHeight) * 16) {
        cx = m.logicalHeight * 16 / 9;
        xPix = m.physicalHeight * 16 / 9;
    }
    f.adjScale = xPix / 1280.0;
    f.adjFontScale = f.adjScale / f.winScal;
    f.newAdjScale = f.adjScale / 1.5;
    f.newAdjFontScale = f.adjFontScale / 1.5;
    f.diagnostic = QStringLiteral("cx:") + num(cx) + QStringLiteral("-xPix:") + num(xPix)
                   + QStringLiteral("-winScal:") + num(f.winScal) + QStringLiteral("-xDots:")
                   + num(m.logicalDpi) + QStringLiteral("-adjScale:") + num(f.adjScale)
                   + QStringLiteral("-adjFontScale:") + num(f.adjFontScale)
                   + QStringLiteral("-newAdjScale=") + num(f.newAdjScale)
                   + QStringLiteral("-newAdjFontScale=") + num(f.newAdjFontScale);
    return f;
}

void applyScaleFactors(const ScaleFactors &f)
{
    adjScale = f.adjScale;
    adjFontScale = f.adjFontScale;
    newAdjScale = f.newAdjScale;
    newAdjFontScale = f.newAdjFontScale;
}

int scaled(int designPixels)
{
    return qMax(designPixels == 0 ? 0 : 1, qRound(designPixels * newAdjScale));
}

double scaledFont(double designPoints)
{
    return qMax(1.0, designPoints * newAdjFontScale);
}
