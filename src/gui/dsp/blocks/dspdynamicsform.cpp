#include "gui/dsp/blocks/dspdynamicsform.h"

#include "core/app/scalefactors.h"
#include "core/dsp/dspcontroller.h"
#include "core/dsp/params/dynamics.h"
#include "gui/dsp/blocks/dspresponsechart.h"
#include "gui/widgets/style.h"

#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QSlider>
#include <QTimer>
#include <QVBoxLayout>
#include <QtCharts/QChartView>
#include <QtCharts/QLineSeries>
#include <QtCharts/QScatterSeries>
#include <QtCharts/QValueAxis>

#include <cmath>

using namespace QtCharts;

namespace {

QValueAxis *dbAxis(QChart *chart, Qt::Alignment where)
{
    auto *a = new QValueAxis;
    a->setRange(-100, 0);
    a->setTickCount(6);
    a->setLabelFormat(QStringLiteral("%d"));
    a->setLabelsColor(Style::kText);
    a->setGridLineColor(Style::kBorder);
    chart->addAxis(a, where);
    return a;
}

} // namespace

DspDynamicsForm::DspDynamicsForm(DspController *controller, quint64 uid, const QString &title, DspKind kind,
                                 ChannelNames names, QWidget *parent)
    : DspParamsForm(controller, uid, title, DspParams::of(kind), std::move(names), parent)
    , m_kind(kind)
{
    auto *meters = new QGridLayout;
    m_volume = addMeter(meters, 0, "slider_volume", "lab_volume", Tx::DspParamVolume);
    if (kind == DspKind::NoiseGate) {
        m_status = new QLabel(this);
        m_status->setObjectName(QStringLiteral("lab_status"));
        // Room for either state, so the dialog does not have to grow when the gate opens.
        QFont bold = m_status->font();
        bold.setBold(true); // the style sheet may show labels bold
        const QFontMetrics fm(bold);
        m_status->setMinimumWidth(qMax(fm.horizontalAdvance(tx(Tx::DspGateOpened)),
                                       fm.horizontalAdvance(tx(Tx::DspGateClosed))) + scaled(8));
        meters->addWidget(m_status, 1, 1, Qt::AlignCenter);
    } else {
        m_reduce = addMeter(meters, 1, "slider_reduce", "lab_reduce", Tx::DspParamReduce);
        m_reduce->setValue(0);
    }
    body()->addLayout(meters);

    if (kind == DspKind::Compress || kind == DspKind::Expand) {
        auto *chart = new QChart;
        m_curve = new QLineSeries;
        m_curve->setPen(QPen(Style::kAccentHover, 2));
        m_dot = new QScatterSeries;
        m_dot->setMarkerSize(scaled(10));
        m_dot->setColor(Style::kWarning);
        m_dot->setBorderColor(Style::kWarning);
        chart->addSeries(m_curve);
        chart->addSeries(m_dot);
        QValueAxis *x = dbAxis(chart, Qt::AlignBottom);
        QValueAxis *y = dbAxis(chart, Qt::AlignLeft);
        for (QXYSeries *s : {static_cast<QXYSeries *>(m_curve), static_cast<QXYSeries *>(m_dot)}) {
            s->attachAxis(x);
            s->attachAxis(y);
        }
        m_chart = new QChartView(chart, this);
        m_chart->setObjectName(QStringLiteral("chart_transfer"));
        DspResponseChart::applyStyle(m_chart);
        m_chart->setMinimumSize(scaled(260), scaled(240));
        contentLayout()->insertWidget(0, m_chart, 1);
    }

    connect(controller, &DspController::signal_blockStatus, this, &DspDynamicsForm::onStatus);
    auto *poll = new QTimer(this);
    connect(poll, &QTimer::timeout, this, [this] { this->controller()->queryBlockStatus(this->uid()); });
    poll->start(kStatusPollMs);
    refresh();
}

QVector<QPointF> DspDynamicsForm::curve() const
{
    const DspBlock b = shown();
    const DspDynamics *d = m_kind == DspKind::Compress ? static_cast<const DspDynamics *>(b.as<DspCompressor>())
                                                       : static_cast<const DspDynamics *>(b.as<DspExpander>());
    // Until the first edit the curve is the identity, as on the device's own screen.
    if (!d || !userEdited())
        return Dynamics::identityCurve();
    return m_kind == DspKind::Compress ? Dynamics::compressorCurve(d->trigDb, d->ratio)
                                       : Dynamics::expanderCurve(d->trigDb, d->ratio);
}

void DspDynamicsForm::valuesChanged()
{
    if (!m_curve)
        return;
    // The dot stands where the live input level meets the curve, so the operator sees how far in it works.
    const QVector<QPointF> points = curve();
    m_curve->replace(points);
    m_dot->replace(QVector<QPointF>{Dynamics::operatingPoint(points, m_inputDb, m_reductionDb)});
}

void DspDynamicsForm::channelLevel(double dbfs)
{
    m_inputDb = dbfs;
    showLevel(m_volume, dbfs);
    valuesChanged();
}

void DspDynamicsForm::onStatus(quint64 id, double gain, int isOpen)
{
    // A reply without the member this editor shows says nothing about the block.
    if (id != uid() || (m_status ? isOpen < 0 : !std::isfinite(gain)))
        return;
    if (m_status) {
        m_status->setText(tx(isOpen == 1 ? Tx::DspGateOpened : Tx::DspGateClosed));
        return;
    }
    m_reductionDb = Dynamics::reductionDb(gain);
    m_reduce->setValue(int(std::lround(*m_reductionDb)));
    valuesChanged();
}
