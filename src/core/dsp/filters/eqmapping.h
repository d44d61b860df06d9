#pragma once

#include <QString>

// The band strip's and the chart's conversions between controls and band values. Chart coordinates are in
// designed pixels times the screen scale factor; the plot area runs from x = 20 over 996 pixels (19.7 Hz to
// 20200 Hz, logarithmic) and from y = 62 (+12 dB) over 238 pixels (36 dB down).
namespace EqMapping {

constexpr int kSliderMax = 360;
constexpr int kSliderZeroDb = 240;

/// Gain slider 0..360 to dB: a tenth of a dB a step, 240 is 0 dB.
double gainFromSlider(int position);
int sliderFromGain(double db);

/// Whether a spin box value is a change to the stored one; closer than 1e-6 it is not, and nothing is stored
/// or sent.
bool isChange(double stored, double entered);

/// Chart drag, to one decimal.
double freqFromChartX(double x, double scale);
double gainFromChartY(double y, double scale);
/// Where a band's marker sits: whole designed pixels, then scaled.
double chartXFromFreq(double freqHz, double scale);

/// The label beside a dragged marker: "189.3Hz\n6.0dB\nwd:1.5".
QString markerLabel(double freqHz, double db, double width);

} // namespace EqMapping
