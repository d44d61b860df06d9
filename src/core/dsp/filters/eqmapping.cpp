#include "core/dsp/filters/eqmapping.h"

#include "core/dsp/filters/eqcurve.h"

#include <cmath>

namespace EqMapping {

namespace {

constexpr double kPlotLeft = 20.0;
constexpr double kPlotWidth = 996.0;
constexpr double kPlotTop = 62.0;
constexpr double kPlotHeight = 238.0;
constexpr double kTopDb = 12.0;
constexpr double kSpanDb = 36.0;

double decades()
{
    return std::log10(EqCurve::kAxisHighHz) - std::log10(EqCurve::kAxisLowHz);
}

double oneDecimal(double v)
{
    return std::round(v * 10.0) / 10.0;
}

} // namespace

double gainFromSlider(int position)
{
    return position / 10.0 - 24.0;
}

int sliderFromGain(double db)
{
    return int(std::lround(db * 10.0 + kSliderZeroDb));
}

bool isChange(double stored, double entered)
{
    return std::fabs(stored - entered) >= 1e-6;
}

double freqFromChartX(double x, double scale)
{
    const double designed = x / scale;
    return oneDecimal(
        std::pow(10.0, (designed - kPlotLeft) / kPlotWidth * decades() + std::log10(EqCurve::kAxisLowHz)));
}

double gainFromChartY(double y, double scale)
{
    const double designed = y / scale;
    return oneDecimal(kTopDb - (designed - kPlotTop) / kPlotHeight * kSpanDb);
}

double chartXFromFreq(double freqHz, double scale)
{
    const double designed =
        std::round((std::log10(freqHz) - std::log10(EqCurve::kAxisLowHz)) / decades() * kPlotWidth + kPlotLeft);
    return designed * scale;
}

QString markerLabel(double freqHz, double db, double width)
{
    return QStringLiteral("%1Hz\n%2dB\nwd:%3")
        .arg(QString::number(freqHz, 'f', 1), QString::number(db, 'f', 1), QString::number(width, 'g', 6));
}

} // namespace EqMapping
