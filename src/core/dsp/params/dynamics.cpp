#include "core/dsp/params/dynamics.h"

#include <cmath>

const QVector<double> &Dynamics::ratios()
{
    static const QVector<double> table{1.2, 1.5, 2, 3, 4, 6, 10, 20, 40, 128};
    return table;
}

QString Dynamics::ratioLabel(double ratio)
{
    return QString::number(ratio, 'g', 6) + QStringLiteral(":1");
}

QVector<QPointF> Dynamics::compressorCurve(double trigDb, double ratio)
{
    return {{-100.0, -100.0}, {trigDb, trigDb}, {0.0, trigDb + (0.0 - trigDb) / ratio}};
}

QVector<QPointF> Dynamics::expanderCurve(double trigDb, double ratio)
{
    return {{-100.0, trigDb - (trigDb + 100.0) * ratio}, {trigDb, trigDb}, {0.0, 0.0}};
}

QVector<QPointF> Dynamics::identityCurve()
{
    return {{-100.0, -100.0}, {-50.0, -50.0}, {0.0, 0.0}};
}

QPointF Dynamics::operatingPoint(const QVector<QPointF> &curve, double inputDb, std::optional<double> reductionDb)
{
    const double x = std::isfinite(inputDb) ? qBound(-100.0, inputDb, 0.0) : -100.0;
    if (reductionDb && std::isfinite(*reductionDb))
        return {x, qBound(-100.0, x + *reductionDb, 0.0)};
    double y = curve.isEmpty() ? x : curve.first().y();
    for (int i = 1; i < curve.size(); ++i) {
        const QPointF a = curve[i - 1];
        const QPointF b = curve[i];
        if (x >= a.x() && x <= b.x()) {
            y = b.x() == a.x() ? b.y() : a.y() + (b.y() - a.y()) * (x - a.x()) / (b.x() - a.x());
            break;
        }
    }
    return {x, qBound(-100.0, y, 0.0)};
}

double Dynamics::reductionDb(double linearGain)
{
    if (!(linearGain > 0.0))
        return -60.0;
    const double d = 20.0 * std::log10(linearGain);
    const double c = std::ceil(d);
    if (c - d > 0.8)
        return c - 1.0;
    if (c - d > 0.4)
        return c - 0.5;
    return c;
}

int Dynamics::meterDb(const QString &text)
{
    bool ok = false;
    const double v = text.trimmed().toDouble(&ok);
    return ok && std::isfinite(v) ? int(std::lround(v)) : -90;
}
