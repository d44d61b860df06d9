#include "gui/dsp/blocks/dspresponsechart.h"

#include "core/app/scalefactors.h"
#include "core/dsp/filters/eqcurve.h"

#include <QGraphicsLayout>
#include <QtCharts/QCategoryAxis>
#include <QtCharts/QLineSeries>
#include <QtCharts/QSplineSeries>

#include <cmath>

using namespace QtCharts;

namespace {

const QColor kBackground(30, 31, 36);
const QColor kGrid(60, 63, 72);
const QColor kLabel(190, 194, 204);

void styleAxis(QCategoryAxis *axis)
{
    axis->setLabelsPosition(QCategoryAxis::AxisLabelsPositionOnValue);
    axis->setLabelsColor(kLabel);
    axis->setGridLineColor(kGrid);
    axis->setLinePenColor(kGrid);
    QFont f = axis->labelsFont();
    f.setPointSizeF(scaledFont(8));
    axis->setLabelsFont(f);
}

} // namespace

DspResponseChart::DspResponseChart(QWidget *parent)
    : QChartView(new QChart, parent)
    , m_freqAxis(new QCategoryAxis)
    , m_levelAxis(new QCategoryAxis)
{
    setObjectName(QStringLiteral("DspResponseChart"));
    applyStyle(this);
    QChart *c = chart();

    m_freqAxis->setRange(std::log10(EqCurve::kAxisLowHz), std::log10(EqCurve::kAxisHighHz));
    static const struct
    {
        double hz;
        const char *label;
    } kTicks[] = {{20, "20Hz"},    {50, "50Hz"},   {100, "100Hz"}, {200, "200Hz"},  {500, "500Hz"},
                  {1000, "1KHz"}, {2000, "2KHz"}, {5000, "5KHz"}, {10000, "10KHz"}, {20000, "20KHz"}};
    for (const auto &t : kTicks)
        m_freqAxis->append(QLatin1String(t.label), std::log10(t.hz));
    styleAxis(m_freqAxis);
    styleAxis(m_levelAxis);
    c->addAxis(m_freqAxis, Qt::AlignBottom);
    c->addAxis(m_levelAxis, Qt::AlignLeft);
}

void DspResponseChart::applyStyle(QChartView *view)
{
    view->setRenderHint(QPainter::Antialiasing);
    view->setBackgroundBrush(kBackground);
    view->setFrameShape(QFrame::NoFrame);
    QChart *c = view->chart();
    c->legend()->hide();
    c->setBackgroundBrush(kBackground);
    c->setBackgroundRoundness(0);
    c->setMargins(QMargins(0, 0, 0, 0));
    c->layout()->setContentsMargins(0, 0, 0, 0);
    c->setAnimationOptions(QChart::NoAnimation);
}

void DspResponseChart::setLevelAxis(double min, double max, const QVector<QPair<double, QString>> &labels)
{
    for (const QString &l : m_levelAxis->categoriesLabels())
        m_levelAxis->remove(l);
    m_levelAxis->setStartValue(min);
    for (const auto &l : labels)
        m_levelAxis->append(l.second, l.first);
    m_levelAxis->setRange(min, max);
}

QXYSeries *DspResponseChart::addCurve(const QColor &color, bool spline, qreal width)
{
    QXYSeries *s = spline ? static_cast<QXYSeries *>(new QSplineSeries) : new QLineSeries;
    QPen pen(color);
    pen.setWidthF(width);
    s->setPen(pen);
    chart()->addSeries(s);
    s->attachAxis(m_freqAxis);
    s->attachAxis(m_levelAxis);
    return s;
}

void DspResponseChart::setPoints(QXYSeries *series, const QVector<QPointF> &points)
{
    series->replace(points);
}
