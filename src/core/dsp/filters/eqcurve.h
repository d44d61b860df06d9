#pragma once

#include "core/dsp/filters/biquad.h"

#include <QPointF>
#include <QVector>

struct DspBlock;

// The equaliser chart's curves. Blocks are passed as the document holds them; a null block is one the channel's
// chain does not have. Every x is log10 of the frequency.
namespace EqCurve {

constexpr double kAxisLowHz = 19.7;
constexpr double kAxisHighHz = 20200.0;

/// The frequencies a curve is drawn at: 20 Hz up in steps of 1, 10, 100 and 500 Hz (300 points, 20 to 19520).
QVector<double> frequencies();

/// The sections the magnitude curve sums: the equaliser's bands (none when the block is bypassed; a bypassed or
/// all-pass band adds none), then the high-pass cascade, then the low-pass cascade, each unless bypassed.
QVector<Biquad> magnitudeSections(const DspBlock *eq, const DspBlock *highPass, const DspBlock *lowPass);

/// The sum of the sections' dB values at freqHz.
double sumDb(const QVector<Biquad> &sections, double freqHz);

/// The magnitude series: y is ten times the summed dB value, which is what the chart's vertical axis counts in.
QVector<QPointF> magnitudeSeries(const DspBlock *eq, const DspBlock *highPass, const DspBlock *lowPass);

/// The sections of the all-pass bands, with the same skipping rules as the magnitude curve.
QVector<Biquad> allPassSections(const DspBlock *eq);

/// The summed phase of the all-pass bands in degrees, wrapped into (-180, 180] so that the curve stays on the
/// phase axis however many bands are summed.
QVector<QPointF> allPassPhaseSeries(const DspBlock *eq);

} // namespace EqCurve
