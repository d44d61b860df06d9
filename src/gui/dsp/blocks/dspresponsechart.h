#pragma once

#include <QPair>
#include <QPointF>
#include <QString>
#include <QVector>
#include <QtCharts/QChartView>

namespace QtCharts {
class QCategoryAxis;
class QXYSeries;
} // namespace QtCharts

/// The response chart the block editors share: a logarithmic frequency axis from 19.7 Hz to 20200 Hz labelled
/// "20Hz" to "10KHz" (x is log10 of the frequency), a vertical axis each editor sets, and curves whose points
/// come from the core's filter maths. It only draws; nothing is computed here.
class DspResponseChart : public QtCharts::QChartView
{
    Q_OBJECT
public:
    explicit DspResponseChart(QWidget *parent = nullptr);

    /// The vertical axis: its range and labelled categories (value, label), in the unit the curves use.
    void setLevelAxis(double min, double max, const QVector<QPair<double, QString>> &labels);
    /// A spline curve (or a straight-segment line where splines would overshoot, as at steep FIR edges),
    /// drawn in the order added.
    QtCharts::QXYSeries *addCurve(const QColor &color, bool spline = true, qreal width = 2.0);
    static void setPoints(QtCharts::QXYSeries *series, const QVector<QPointF> &points);

    /// The dark face every chart of the editors has, edge to edge (no light frame around the plot).
    static void applyStyle(QtCharts::QChartView *view);

    QtCharts::QCategoryAxis *frequencyAxis() const { return m_freqAxis; }
    QtCharts::QCategoryAxis *levelAxis() const { return m_levelAxis; }

private:
    QtCharts::QCategoryAxis *m_freqAxis;
    QtCharts::QCategoryAxis *m_levelAxis;
};
