#pragma once

#include <QPointF>
#include <QString>
#include <QVector>

#include <optional>

/// The compressor's, expander's, limiter's and gate's conversions and curves. Pure functions.
namespace Dynamics {

/// The ratios the ratio slider steps through, 1.2:1 to 128:1.
const QVector<double> &ratios();
/// "4:1", "1.2:1", "128:1": up to six significant digits.
QString ratioLabel(double ratio);

/// Static transfer curves, input dB against output dB on -100..0 both ways; the knee is not drawn.
QVector<QPointF> compressorCurve(double trigDb, double ratio);
QVector<QPointF> expanderCurve(double trigDb, double ratio);
/// What a curve shows before its first edit.
QVector<QPointF> identityCurve();
/// Where the block works now: the input level (dBFS) against the output level, which is the input less the gain
/// reduction the device reports, or where the curve puts it before any report came; held to the axes.
QPointF operatingPoint(const QVector<QPointF> &curve, double inputDb, std::optional<double> reductionDb = {});

/// The reduction meter's value for a block's reported linear gain: d = 20 log10(gain) rounded up to a whole
/// dB, then down by one when more than 0.8 above d, by a half when more than 0.4. -60 (the meter's floor)
/// for a gain of 0 or less.
double reductionDb(double linearGain);
/// A level reply's text as the meter takes it: "-inf" is -90; rounded to whole dB. Unreadable text is -90.
int meterDb(const QString &text);

} // namespace Dynamics
