#include "gui/dsp/blocks/dspeqchart.h"

#include "core/app/scalefactors.h"
#include "core/app/texts.h"
#include "core/dsp/filters/eqcurve.h"
#include "core/dsp/filters/eqmapping.h"

#include <QGraphicsEllipseItem>
#include <QGraphicsLineItem>
#include <QGraphicsSimpleTextItem>
#include <QMouseEvent>
#include <QtCharts/QChart>

#include <algorithm>
#include <cmath>

namespace {

// The mapping's designed plot: +12 dB at y 62 and -24 dB at y 300; the axis runs on to +18 and -30 dB.
constexpr double kPlotLeft = 20.0;
constexpr double kPlotWidth = 996.0;
constexpr double kPxPerDb = 238.0 / 36.0;
constexpr double kTopDb = 18.0;
constexpr double kBottomDb = -30.0;
constexpr double kYAt12Db = 62.0;

const QColor kMarker(255, 196, 0);
const QColor kMarkerOff(120, 120, 128);
const QColor kXover(90, 200, 255);

double designedY(double db)
{
    return kYAt12Db + (12.0 - db) * kPxPerDb;
}

} // namespace

DspEqChart::DspEqChart(QWidget *parent)
    : DspResponseChart(parent)
{
    setObjectName(QStringLiteral("eq_chart"));
    // The fixed plot area leaves the chart's own background unsized; the view paints it instead.
    setBackgroundBrush(chart()->backgroundBrush());
    setFrameShape(QFrame::NoFrame);
    const double s = newAdjScale;
    setFixedSize(int(std::ceil((kOriginX + kPlotLeft + kPlotWidth + 16) * s)),
                 int(std::ceil((kOriginY + designedY(kBottomDb) + 30) * s)));
    for (int i = 0; i < 2; ++i) {
        QPen pen(kXover);
        pen.setStyle(Qt::DashLine);
        pen.setWidthF(1.5);
        m_xover[i] = scene()->addLine(QLineF(), pen);
        m_xover[i]->setZValue(10);
        m_xoverText[i] = scene()->addSimpleText(i == 0 ? tx(Tx::EqHpfMark) : tx(Tx::EqLpfMark));
        m_xoverText[i]->setBrush(kXover);
        m_xoverText[i]->setZValue(10);
    }
    m_dragLabel = scene()->addSimpleText(QString());
    m_dragLabel->setBrush(Qt::white);
    m_dragLabel->setZValue(30);
    m_dragLabel->hide();
    setPhaseAxis(false);
}

void DspEqChart::setPhaseAxis(bool phase)
{
    m_phase = phase;
    QVector<QPair<double, QString>> labels;
    if (phase) {
        for (int deg = -180; deg <= 180; deg += 45)
            labels.append({double(deg), deg > 0 ? QStringLiteral("+%1").arg(deg) : QString::number(deg)});
        setLevelAxis(-180.0, 180.0, labels);
    } else {
        for (int db = int(kBottomDb); db <= int(kTopDb); db += 6)
            labels.append({db * 10.0, (db > 0 ? QStringLiteral("+%1dB") : QStringLiteral("%1dB")).arg(db)});
        setLevelAxis(kBottomDb * 10.0, kTopDb * 10.0, labels);
    }
    placePlotArea();
    placeItems();
}

void DspEqChart::setMarkers(const QVector<Marker> &markers)
{
    m_markers = markers;
    const double s = newAdjScale;
    while (m_dots.size() < markers.size()) {
        const qreal r = 8 * s;
        auto *dot = scene()->addEllipse(QRectF(-r, -r, 2 * r, 2 * r), QPen(Qt::black), QBrush(kMarker));
        dot->setZValue(20);
        auto *number = new QGraphicsSimpleTextItem(QString::number(m_dots.size() + 1), dot);
        QFont f = number->font();
        f.setPointSizeF(scaledFont(7));
        number->setFont(f);
        const QRectF b = number->boundingRect();
        number->setPos(-b.width() / 2, -b.height() / 2);
        m_dots.append(dot);
        m_numbers.append(number);
    }
    while (m_dots.size() > markers.size()) {
        delete m_dots.takeLast();
        m_numbers.removeLast();
    }
    placeItems();
}

void DspEqChart::setCrossover(bool highPass, double freqHz, bool active)
{
    const int i = highPass ? 0 : 1;
    m_xoverHz[i] = freqHz;
    QPen pen = m_xover[i]->pen();
    pen.setColor(active ? kXover : kMarkerOff);
    m_xover[i]->setPen(pen);
    m_xoverText[i]->setBrush(active ? kXover : kMarkerOff);
    placeItems();
}

QPointF DspEqChart::markerPos(int band) const
{
    const double s = newAdjScale;
    const Marker &m = m_markers.at(band);
    const double hz = std::clamp(m.freqHz, EqCurve::kAxisLowHz, EqCurve::kAxisHighHz);
    const double db = std::clamp(m.db, kBottomDb, kTopDb);
    return QPointF(kOriginX * s + EqMapping::chartXFromFreq(hz, s), (kOriginY + designedY(db)) * s);
}

QPointF DspEqChart::chartPoint(const QPointF &scenePos) const
{
    const double s = newAdjScale;
    return QPointF(scenePos.x() - kOriginX * s, scenePos.y() - kOriginY * s);
}

void DspEqChart::resizeEvent(QResizeEvent *event)
{
    DspResponseChart::resizeEvent(event);
    placePlotArea();
    placeItems();
}

void DspEqChart::placePlotArea()
{
    const double s = newAdjScale;
    const double top = designedY(kTopDb);
    // The chart lays its axes out again only when the fixed area itself changes, so new axis labels would
    // leave the grid where an automatic layout put it while the curves follow the fixed area.
    chart()->setPlotArea(QRectF());
    chart()->setPlotArea(
        QRectF((kOriginX + kPlotLeft) * s, (kOriginY + top) * s, kPlotWidth * s, (designedY(kBottomDb) - top) * s));
}

void DspEqChart::placeItems()
{
    const double s = newAdjScale;

    for (int i = 0; i < m_dots.size(); ++i) {
        m_dots[i]->setPos(markerPos(i));
        m_dots[i]->setBrush(m_markers[i].active ? kMarker : kMarkerOff);
        m_dots[i]->setVisible(!m_phase);
    }
    const double top = (kOriginY + designedY(kTopDb)) * s;
    const double bottom = (kOriginY + designedY(kBottomDb)) * s;
    for (int i = 0; i < 2; ++i) {
        const bool shown = m_xoverHz[i] > 0 && !m_phase;
        m_xover[i]->setVisible(shown);
        m_xoverText[i]->setVisible(shown);
        if (!shown)
            continue;
        const double hz = std::clamp(m_xoverHz[i], EqCurve::kAxisLowHz, EqCurve::kAxisHighHz);
        const double x = kOriginX * s + EqMapping::chartXFromFreq(hz, s);
        m_xover[i]->setLine(QLineF(x, top, x, bottom));
        // High-pass label left of its line, low-pass right, so two close corners stay readable.
        const double w = m_xoverText[i]->boundingRect().width();
        const bool left = i == 0 ? x - w - 3 * s > (kOriginX + kPlotLeft) * s
                                 : x + w + 3 * s > (kOriginX + kPlotLeft + kPlotWidth) * s;
        m_xoverText[i]->setPos(left ? x - w - 3 * s : x + 3 * s, top + 2 * s);
    }
    if (m_dragBand >= 0 && m_dragBand < m_markers.size()) {
        const Marker &m = m_markers[m_dragBand];
        m_dragLabel->setText(EqMapping::markerLabel(m.freqHz, m.db, m.width));
        const QPointF at = markerPos(m_dragBand);
        const QRectF b = m_dragLabel->boundingRect();
        // Beside the marker, on the side with room.
        const double x = at.x() + 12 * s + b.width() < width() ? at.x() + 12 * s : at.x() - 12 * s - b.width();
        m_dragLabel->setPos(x, std::clamp(at.y() - b.height() / 2, 0.0, height() - b.height()));
    }
    m_dragLabel->setVisible(m_dragBand >= 0 && !m_phase);
}

void DspEqChart::mousePressEvent(QMouseEvent *event)
{
    const double reach = 10 * newAdjScale;
    int best = -1;
    double bestDist = reach * reach;
    if (!m_phase && event->button() == Qt::LeftButton) {
        for (int i = 0; i < m_markers.size(); ++i) {
            const QPointF d = markerPos(i) - mapToScene(event->pos());
            const double dist = d.x() * d.x() + d.y() * d.y();
            if (dist <= bestDist) {
                best = i;
                bestDist = dist;
            }
        }
    }
    if (best < 0) {
        DspResponseChart::mousePressEvent(event);
        return;
    }
    m_dragBand = best;
    emit signal_dragStarted(best);
    placeItems();
}

void DspEqChart::mouseMoveEvent(QMouseEvent *event)
{
    if (m_dragBand < 0) {
        DspResponseChart::mouseMoveEvent(event);
        return;
    }
    const double s = newAdjScale;
    const QPointF p = chartPoint(mapToScene(event->pos()));
    const double hz = std::clamp(EqMapping::freqFromChartX(p.x(), s), EqCurve::kAxisLowHz, EqCurve::kAxisHighHz);
    const double db = std::clamp(EqMapping::gainFromChartY(p.y(), s), -24.0, 12.0);
    emit signal_dragged(m_dragBand, hz, db);
}

void DspEqChart::mouseReleaseEvent(QMouseEvent *event)
{
    if (m_dragBand < 0) {
        DspResponseChart::mouseReleaseEvent(event);
        return;
    }
    const int band = m_dragBand;
    m_dragBand = -1;
    placeItems();
    emit signal_dragFinished(band);
}
