#include "core/dsp/filters/curvecsv.h"

#include <QString>

QByteArray CurveCsv::write(const Points &points)
{
    QByteArray out("freq_hz,db\n");
    for (const auto &p : points)
        out += QString::number(p.first, 'g', 10).toLatin1() + ',' + QByteArray::number(p.second, 'f', 4) + '\n';
    return out;
}

CurveCsv::Points CurveCsv::fromSeries(const QVector<double> &freqsHz, const QVector<QPointF> &series)
{
    Points out;
    const int n = qMin(freqsHz.size(), series.size());
    out.reserve(n);
    for (int i = 0; i < n; ++i)
        out.append({freqsHz[i], series[i].y() / 10.0});
    return out;
}
