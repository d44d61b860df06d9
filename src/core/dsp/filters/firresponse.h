#pragma once

#include <QPointF>
#include <QVector>

#include <cmath>

/// The magnitude curve the FIR editor draws. Pure functions; docs/dsp.md, "FIR design".
namespace FirResponse {

/// The chart's axes: x is log10 of the frequency, shared with the equaliser's chart; y is ten times the dB
/// value, -90 dB to +6 dB.
inline const double kMinX = std::log10(19.7);
inline const double kMaxX = std::log10(20200.0);
constexpr double kMinY = -900.0;
constexpr double kMaxY = 60.0;
/// The value of a frequency the filter blocks completely (log10 of 0 has none): -300 dB.
constexpr double kSilentDb = -300.0;

/// The frequencies of the curve, 20 Hz up: steps of 1, 2, 10, 20 and 100 Hz as the index f - 20 passes 200,
/// 500, 1000 and 10000, up to the last index below 19980 (950 points, 20 Hz to 19920 Hz).
const QVector<double> &grid();

/// |H| in dB at f, with f quantised to 0.1 Hz as the other response curves are. Uses the array's symmetry
/// when it has one (after leading and trailing zeros, which only delay), so the cost is half the taps and
/// no trigonometry per tap; otherwise sums every tap directly.
double magnitudeDb(const QVector<double> &h, double f, double rate = 48000.0);
/// The same by the direct sum of h[k] e^{-jk omega} whatever the array: the reference for the fast one.
double directMagnitudeDb(const QVector<double> &h, double f, double rate = 48000.0);

/// The series drawn: (log10 f, 10 x dB) at every grid point.
QVector<QPointF> curve(const QVector<double> &h, double rate = 48000.0);
QVector<QPointF> directCurve(const QVector<double> &h, double rate = 48000.0);

} // namespace FirResponse
