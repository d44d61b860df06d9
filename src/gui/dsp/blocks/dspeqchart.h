#pragma once

#include "gui/dsp/blocks/dspresponsechart.h"

#include <QVector>

class QGraphicsEllipseItem;
class QGraphicsLineItem;
class QGraphicsSimpleTextItem;

/// The equaliser editor's chart: the response chart with its plot area fixed where the band mapping
/// (EqMapping) puts its values, band markers the operator drags, and the crossovers' corner markers.
///
/// The mapping counts designed pixels from the chart's origin, which sits kOrigin designed pixels right of the
/// view's left edge so that the level labels have room beside the plot.
class DspEqChart : public DspResponseChart
{
    Q_OBJECT
public:
    static constexpr int kOriginX = 44;
    static constexpr int kOriginY = 4;

    explicit DspEqChart(QWidget *parent = nullptr);

    /// Magnitude (dB × 10, -30..+18 dB) or all-pass phase (degrees) on the vertical axis.
    void setPhaseAxis(bool phase);
    bool isDragging() const { return m_dragBand >= 0; }
    bool isPhaseAxis() const { return m_phase; }

    struct Marker
    {
        double freqHz = 1000.0;
        double db = 0.0;
        double width = 1.0;
        bool active = true;
    };
    void setMarkers(const QVector<Marker> &markers);
    /// A crossover's corner; hidden when absent (freqHz <= 0).
    void setCrossover(bool highPass, double freqHz, bool active);

    /// Where a band's marker stands, in scene coordinates.
    QPointF markerPos(int band) const;
    /// The mapping's point (designed pixels times the scale factor) of a scene position.
    QPointF chartPoint(const QPointF &scenePos) const;

signals:
    void signal_dragStarted(int band);
    void signal_dragged(int band, double freqHz, double db);
    void signal_dragFinished(int band);

protected:
    void resizeEvent(QResizeEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;

private:
    void placePlotArea();
    void placeItems();
    double yForDb(double db) const;

    QVector<Marker> m_markers;
    QVector<QGraphicsEllipseItem *> m_dots;
    QVector<QGraphicsSimpleTextItem *> m_numbers;
    QGraphicsLineItem *m_xover[2];
    QGraphicsSimpleTextItem *m_xoverText[2];
    double m_xoverHz[2] = {0.0, 0.0};
    QGraphicsSimpleTextItem *m_dragLabel;
    bool m_phase = false;
    int m_dragBand = -1;
};
