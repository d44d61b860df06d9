#include "gui/dsp/blocks/dspeqhlpblockform.h"

#include "core/app/scalefactors.h"
#include "core/app/texts.h"
#include "core/dsp/dspcontroller.h"
#include "core/dsp/dspkinds.h"
#include "core/dsp/filters/channelcurve.h"
#include "core/dsp/filters/crossoverchoice.h"
#include "core/dsp/filters/curvecsv.h"
#include "core/dsp/filters/eqcurve.h"
#include "core/dsp/filters/eqmapping.h"
#include "core/dsp/filters/firdesign.h"
#include "core/dsp/filters/parametriceqtext.h"
#include "gui/dsp/blocks/dspeqchart.h"
#include "gui/dsp/blocks/dspeqsingleform.h"
#include "gui/widgets/noticebox.h"
#include "gui/widgets/styledslider.h"

#include <QComboBox>
#include <QFile>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QtCharts/QXYSeries>

#include <algorithm>
#include <cmath>

namespace {

const QColor kEditorCurve(255, 196, 0);
const QColor kChannelCurve(90, 200, 255);
const QColor kChannelCurveBand(90, 200, 255, 110);
const QColor kPhaseCurve(200, 120, 255);

// The crossover slider runs over the chart's designed width, so a slider step is a chart pixel.
constexpr int kXoverSliderMax = 996;

int xoverSliderFromFreq(double hz)
{
    return int(EqMapping::chartXFromFreq(std::clamp(hz, EqCurve::kAxisLowHz, EqCurve::kAxisHighHz), 1.0)) - 20;
}

double xoverFreqFromSlider(int position)
{
    return EqMapping::freqFromChartX(position + 20, 1.0);
}

QVector<QPointF> chartPoints(const QVector<ChannelCurve::Point> &curve)
{
    QVector<QPointF> points;
    points.reserve(curve.size());
    for (const ChannelCurve::Point &p : curve)
        points.append(QPointF(std::log10(p.freqHz), p.db * 10.0));
    return points;
}

void setQuietlyChecked(QPushButton *b, bool on)
{
    const QSignalBlocker blocker(b);
    b->setChecked(on);
}

} // namespace

DspEqHlpBlockForm::DspEqHlpBlockForm(DspController *controller, quint64 uid, const QString &title, QWidget *parent)
    : DspBlockBaseForm(controller, uid, title, parent)
{
    setObjectName(QStringLiteral("DspEqHlpBlockForm"));
    QVBoxLayout *layout = contentLayout();

    m_chart = new DspEqChart(this);
    // The whole channel is a wide translucent band under the editor's curve: where the two agree the curve
    // glows, where other blocks of the channel change the sound the band parts from it.
    m_channelCurve = m_chart->addCurve(kChannelCurveBand, true, 7.0);
    m_curve = m_chart->addCurve(kEditorCurve, true, 2.5);
    m_phaseCurve = m_chart->addCurve(kPhaseCurve, false, 2.0);
    layout->addWidget(m_chart, 0, Qt::AlignHCenter);
    m_legend = new QLabel(this);
    m_legend->setObjectName(QStringLiteral("lab_legend"));
    layout->addWidget(m_legend);

    auto *buttons = new QHBoxLayout;
    auto button = [&](const char *name, const QString &text, bool checkable) {
        auto *b = new QPushButton(text, this);
        b->setObjectName(QLatin1String(name));
        b->setCheckable(checkable);
        buttons->addWidget(b);
        return b;
    };
    m_allBypass = button("pb_eqBypass", tx(Tx::EqAllBypass), true);
    m_allZero = button("pb_allZero", tx(Tx::EqAllZero), false);
    m_phase = button("pb_phase", tx(Tx::EqPhaseGraph), true);
    buttons->addStretch(1);
    m_import = button("pb_import", tx(Tx::EqImport), false);
    m_export = button("pb_export", tx(Tx::EqExport), false);
    QPushButton *csv = button("pb_exportCsv", tx(Tx::DspExportCurve), false);
    layout->addLayout(buttons);

    m_stripBox = new QWidget(this);
    auto *strips = new QHBoxLayout(m_stripBox);
    strips->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_stripBox);
    m_noEq = new QLabel(tx(Tx::EqNoEqualiser), this);
    m_noEq->setObjectName(QStringLiteral("lab_noEq"));
    layout->addWidget(m_noEq);
    layout->addWidget(buildXoverRow(true));
    layout->addWidget(buildXoverRow(false));

    connect(m_allBypass, &QPushButton::toggled, this, [this](bool on) {
        if (!this->controller()->setBypass(m_eq, on).isEmpty())
            refresh();
        else
            redraw();
    });
    connect(m_allZero, &QPushButton::clicked, this, &DspEqHlpBlockForm::allGainsToZero);
    connect(m_phase, &QPushButton::toggled, this, [this] { redraw(); });
    connect(m_import, &QPushButton::clicked, this, &DspEqHlpBlockForm::importText);
    connect(m_export, &QPushButton::clicked, this, &DspEqHlpBlockForm::exportText);
    connect(csv, &QPushButton::clicked, this, &DspEqHlpBlockForm::exportCsv);

    connect(m_chart, &DspEqChart::signal_dragStarted, controller, &DspController::beginGesture);
    connect(m_chart, &DspEqChart::signal_dragFinished, controller, &DspController::endGesture);
    connect(m_chart, &DspEqChart::signal_dragged, this, [this](int band, double hz, double db) {
        const DspBlock eq = shownOf(m_eq);
        const DspEq *bands = eq.as<DspEq>();
        if (!bands || band >= bands->bands.size())
            return;
        DspEqBand b = bands->bands[band];
        if (!EqMapping::isChange(b.freq0, hz) && !EqMapping::isChange(b.dbGain, db))
            return;
        b.freq0 = hz;
        b.dbGain = float(db);
        if (!this->controller()->setEqBand(m_eq, band, b).isEmpty()) {
            refresh();
            return;
        }
        m_strips[band]->setBand(shownOf(m_eq).as<DspEq>()->bands[band]);
        redraw();
    });

    refresh();
}

QWidget *DspEqHlpBlockForm::buildXoverRow(bool highPass)
{
    XoverRow &x = m_xover[highPass ? 0 : 1];
    const QString side = highPass ? QStringLiteral("hpf") : QStringLiteral("lpf");
    x.row = new QWidget(this);
    x.row->setObjectName(QStringLiteral("row_") + side);
    auto *row = new QHBoxLayout(x.row);
    row->setContentsMargins(0, 0, 0, 0);
    auto *name = new QLabel(highPass ? tx(Tx::EqHighPass) : tx(Tx::EqLowPass), x.row);
    name->setMinimumWidth(scaled(90));
    row->addWidget(name);
    x.type = new QComboBox(x.row);
    x.type->setObjectName(QStringLiteral("com_%1Type").arg(side));
    x.type->addItems(CrossoverChoice::itemTexts());
    row->addWidget(x.type);
    x.slider = new StyledSlider(Qt::Horizontal, x.row);
    x.slider->setObjectName(QStringLiteral("sl_%1Freq").arg(side));
    x.slider->setRange(0, kXoverSliderMax);
    row->addWidget(x.slider, 1);
    x.freq = new StyledSpinBox(x.row);
    x.freq->setObjectName(QStringLiteral("sp_%1Freq").arg(side));
    x.freq->setRange(EqCurve::kAxisLowHz, EqCurve::kAxisHighHz);
    x.freq->setDecimals(1);
    x.freq->setSingleStep(0.1);
    x.freq->setSuffix(QStringLiteral(" Hz"));
    x.freq->setMinimumWidth(scaled(110));
    row->addWidget(x.freq);
    x.bypass = new QPushButton(tx(Tx::DspBypassMark), x.row);
    x.bypass->setObjectName(QStringLiteral("pb_%1Bypass").arg(side));
    x.bypass->setCheckable(true);
    row->addWidget(x.bypass);

    groupWhileHeld(x.slider);
    connect(x.type, QOverload<int>::of(&QComboBox::activated), this,
            [this, highPass](int index) { setXoverType(highPass, index); });
    connect(x.slider, &QSlider::valueChanged, this,
            [this, highPass](int position) { setXoverFreq(highPass, xoverFreqFromSlider(position)); });
    connect(x.freq, QOverload<double>::of(&QDoubleSpinBox::valueChanged), this,
            [this, highPass](double hz) { setXoverFreq(highPass, hz); });
    connect(x.bypass, &QPushButton::toggled, this, [this, highPass](bool on) {
        if (!this->controller()->setBypass(m_xover[highPass ? 0 : 1].uid, on).isEmpty())
            refresh();
        else
            redraw();
    });
    return x.row;
}

void DspEqHlpBlockForm::buildStrips(int count)
{
    qDeleteAll(m_strips);
    m_strips.clear();
    auto *layout = static_cast<QHBoxLayout *>(m_stripBox->layout());
    for (int i = 0; i < count; ++i) {
        auto *strip = new DspEqSingleForm(i, m_stripBox);
        layout->addWidget(strip);
        groupWhileHeld(strip->gainSlider());
        connect(strip, &DspEqSingleForm::signal_updateProc, this, &DspEqHlpBlockForm::slot_updateEqProc);
        connect(strip, &DspEqSingleForm::signal_updateBypass, this, &DspEqHlpBlockForm::slot_updateEqBypass);
        m_strips.append(strip);
    }
}

void DspEqHlpBlockForm::findBlocks()
{
    DspController *ctl = controller();
    const DspBlock *clicked = ctl->block(uid());
    const std::optional<DspController::Place> where = ctl->place(uid());
    m_eq = 0;
    m_xover[0].uid = m_xover[1].uid = 0;
    if (!clicked || !where)
        return;
    const std::optional<DspKind> clickedKind = DspKinds::of(*clicked);
    auto firstOf = [&](DspKind kind) -> quint64 {
        if (clickedKind == kind)
            return uid();
        for (const DspBlock &b : ctl->chain(where->side, where->channel))
            if (DspKinds::of(b) == kind)
                return b.uid;
        return 0;
    };
    m_eq = firstOf(DspKind::Eq);
    m_xover[0].uid = firstOf(DspKind::Hpf);
    m_xover[1].uid = firstOf(DspKind::Lpf);
    watch(m_eq);
    watch(m_xover[0].uid);
    watch(m_xover[1].uid);
}

DspBlock DspEqHlpBlockForm::shownOf(quint64 id) const
{
    return controller()->shownBlock(id);
}

void DspEqHlpBlockForm::closeEvent(QCloseEvent *event)
{
    if (m_chart->isDragging())
        controller()->endGesture();
    DspBlockBaseForm::closeEvent(event);
}

void DspEqHlpBlockForm::refresh()
{
    findBlocks();
    const DspBlock eq = shownOf(m_eq);
    const DspEq *bands = m_eq ? eq.as<DspEq>() : nullptr;
    const int count = bands ? bands->bands.size() : 0;
    if (count != m_strips.size())
        buildStrips(count);
    for (int i = 0; i < count; ++i)
        m_strips[i]->setBand(bands->bands[i]);
    m_stripBox->setVisible(count > 0);
    m_noEq->setVisible(!bands);
    for (QPushButton *b : {m_allBypass, m_allZero, m_phase, m_import, m_export})
        b->setEnabled(bands);
    if (!bands)
        setQuietlyChecked(m_phase, false);
    setQuietlyChecked(m_allBypass, bands && eq.bypass);

    for (XoverRow &x : m_xover) {
        const DspBlock block = shownOf(x.uid);
        const DspCrossover *c = x.uid ? block.as<DspCrossover>() : nullptr;
        x.row->setEnabled(c);
        x.row->setToolTip(c ? QString() : tx(Tx::EqXoverAbsent));
        const QSignalBlocker a(x.type), b(x.slider), d(x.freq), e(x.bypass);
        x.type->setCurrentIndex(c ? CrossoverChoice::indexOf(c->type, c->order) : -1);
        x.slider->setValue(c ? xoverSliderFromFreq(c->freq0) : 0);
        x.freq->setValue(c ? c->freq0 : EqCurve::kAxisLowHz);
        x.bypass->setChecked(c && block.bypass);
    }
    redraw();
}

void DspEqHlpBlockForm::redraw()
{
    const DspBlock eq = shownOf(m_eq);
    const DspBlock hp = shownOf(m_xover[0].uid);
    const DspBlock lp = shownOf(m_xover[1].uid);
    const DspBlock *eqp = m_eq && eq.as<DspEq>() ? &eq : nullptr;
    const DspBlock *hpp = m_xover[0].uid && hp.as<DspCrossover>() ? &hp : nullptr;
    const DspBlock *lpp = m_xover[1].uid && lp.as<DspCrossover>() ? &lp : nullptr;

    const bool phase = m_phase->isChecked();
    if (phase != m_chart->isPhaseAxis())
        m_chart->setPhaseAxis(phase);
    m_curve->setVisible(!phase);
    m_channelCurve->setVisible(!phase);
    m_phaseCurve->setVisible(phase);
    // The magnitude is kept current in the phase view too: the CSV export writes it.
    DspResponseChart::setPoints(m_curve, EqCurve::magnitudeSeries(eqp, hpp, lpp));
    if (phase) {
        DspResponseChart::setPoints(m_phaseCurve, EqCurve::allPassPhaseSeries(eqp));
        m_legend->setText(QStringLiteral("<span style='color:%1'>━ %2</span>")
                              .arg(kPhaseCurve.name(), tx(Tx::EqCurvePhase).toHtmlEscaped()));
    } else {
        // The whole channel as the operator would hear it, with every change asked for so far.
        QVector<DspBlock> chain;
        if (const std::optional<DspController::Place> where = controller()->place(uid()))
            for (const DspBlock &b : controller()->chain(where->side, where->channel))
                chain.append(controller()->shownBlock(b.uid));
        const double firRate = FirDesign::designRate(controller()->document().sampleRate);
        DspResponseChart::setPoints(m_channelCurve, chartPoints(ChannelCurve::wholeCurve(chain, firRate)));
        m_legend->setText(QStringLiteral("<span style='color:%1'>━ %2</span>&nbsp;&nbsp;&nbsp;"
                                         "<span style='color:%3'>█ %4</span>")
                              .arg(kEditorCurve.name(), tx(Tx::EqCurveEditor).toHtmlEscaped(), kChannelCurve.name(),
                                   tx(Tx::EqCurveChannel).toHtmlEscaped()));
    }

    QVector<DspEqChart::Marker> markers;
    if (eqp)
        for (const DspEqBand &b : eq.as<DspEq>()->bands)
            markers.append({b.freq0, b.dbGain, b.qBwS, !b.bypass && !eq.bypass});
    m_chart->setMarkers(markers);
    m_chart->setCrossover(true, hpp ? hpp->as<DspCrossover>()->freq0 : 0.0, hpp && !hp.bypass);
    m_chart->setCrossover(false, lpp ? lpp->as<DspCrossover>()->freq0 : 0.0, lpp && !lp.bypass);
}

void DspEqHlpBlockForm::slot_updateEqProc(int index)
{
    if (!controller()->setEqBand(m_eq, index, m_strips.at(index)->band()).isEmpty())
        refresh();
    else
        redraw();
}

void DspEqHlpBlockForm::slot_updateEqBypass(int index)
{
    if (!controller()->setEqBandBypass(m_eq, index, m_strips.at(index)->band().bypass).isEmpty())
        refresh();
    else
        redraw();
}

void DspEqHlpBlockForm::setXoverFreq(bool highPass, double hz)
{
    XoverRow &x = m_xover[highPass ? 0 : 1];
    DspBlock b = shownOf(x.uid);
    DspCrossover *c = b.as<DspCrossover>();
    if (!c || !EqMapping::isChange(c->freq0, hz))
        return;
    c->freq0 = hz;
    if (!controller()->setBlockParams(x.uid, b).isEmpty()) {
        refresh();
        return;
    }
    setQuietly(x.freq, hz);
    setQuietly(x.slider, xoverSliderFromFreq(hz));
    redraw();
}

void DspEqHlpBlockForm::setXoverType(bool highPass, int index)
{
    XoverRow &x = m_xover[highPass ? 0 : 1];
    DspBlock b = shownOf(x.uid);
    DspCrossover *c = b.as<DspCrossover>();
    if (!c || !CrossoverChoice::apply(*c, index))
        return;
    if (!controller()->setBlockParams(x.uid, b).isEmpty())
        refresh();
    else
        redraw();
}

void DspEqHlpBlockForm::allGainsToZero()
{
    if (!m_eq)
        return;
    DspBlock b = shownOf(m_eq);
    DspEq *eq = b.as<DspEq>();
    if (!eq)
        return;
    bool changed = false;
    for (DspEqBand &band : eq->bands) {
        if (EqMapping::isChange(band.dbGain, 0.0)) {
            band.dbGain = 0.0f;
            changed = true;
        }
    }
    // One change of the whole block, so one undo step brings every gain back.
    if (changed)
        controller()->setBlockParams(m_eq, b);
    refresh();
}

void DspEqHlpBlockForm::importText()
{
    if (!m_eq)
        return;
    DspBlock b = shownOf(m_eq);
    DspEq *eq = b.as<DspEq>();
    if (!eq)
        return;
    const QString path = chooseFile(false, tx(Tx::EqImport), tx(Tx::EqTextFiles));
    if (path.isEmpty())
        return;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        NoticeBox::notice(this, tx(Tx::FirOpenFailed));
        return;
    }
    const ParametricEqText::Result r = ParametricEqText::parse(file.readAll(), eq->bands.size());
    QStringList skipped;
    for (const ParametricEqText::Skipped &s : r.skipped)
        skipped.append(s.message());
    if (!r.ok()) {
        NoticeBox::notice(this,
                          skipped.isEmpty() ? r.message() : r.message() + QStringLiteral("\n\n") + skipped.join('\n'));
        return;
    }
    if (!skipped.isEmpty() &&
        !NoticeBox::confirm(this, tx(Tx::EqImportSkipped).arg(skipped.join('\n')).arg(r.bands.size())))
        return;
    *eq = ParametricEqText::applied(*eq, r.bands);
    controller()->setBlockParams(m_eq, b);
    refresh();
}

void DspEqHlpBlockForm::exportText()
{
    if (!m_eq)
        return;
    const DspBlock b = shownOf(m_eq);
    const DspEq *eq = b.as<DspEq>();
    if (!eq)
        return;
    const QString path = chooseFile(true, tx(Tx::EqExport), tx(Tx::EqTextFiles));
    if (path.isEmpty())
        return;
    writeFile(path, ParametricEqText::write(*eq));
}

void DspEqHlpBlockForm::exportCsv()
{
    exportCurve(EqCurve::frequencies(), m_curve->pointsVector());
}
