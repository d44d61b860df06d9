#pragma once

#include <QByteArray>
#include <QPair>
#include <QPointF>
#include <QVector>

/// A response curve as a spreadsheet or a plotting tool reads it: a "freq_hz,db" header, then one line per
/// point, the frequency as it is and the dB value to four decimals. The editors' export and corvane-cli's
/// --csv write the same text.
namespace CurveCsv {

using Points = QVector<QPair<double, double>>; ///< (frequency in Hz, dB)

QByteArray write(const Points &points);

/// The points of a chart series, whose y is ten times the dB value, at the frequencies it was computed for.
Points fromSeries(const QVector<double> &freqsHz, const QVector<QPointF> &series);

} // namespace CurveCsv
