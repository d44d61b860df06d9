#include "gui/dsp/blocks/dspfirform.h"

#include "core/app/log.h"
#include "core/app/scalefactors.h"
#include "core/app/texts.h"
#include "core/dsp/dspcontroller.h"
#include "core/dsp/filters/curvecsv.h"
#include "core/dsp/filters/firdesign.h"
#include "core/dsp/filters/firimport.h"
#include "core/dsp/filters/firresponse.h"
#include "core/dsp/filters/wavimpulse.h"
#include "gui/dsp/blocks/dspresponsechart.h"
#include "gui/widgets/noticebox.h"
#include "gui/widgets/styledslider.h"

#include <QComboBox>
#include <QElapsedTimer>
#include <QEvent>
#include <QFile>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QStandardItemModel>
#include <QTextBrowser>
#include <QVBoxLayout>
#include <QGraphicsLayout>
#include <QtCharts/QXYSeries>

#include <cmath>

namespace {

/// cb_attdb: item i is i + 21 dB; up to 120 dB, past what a 24-bit path can show.
constexpr int kAttItems = 100;
constexpr double kSame = 1e-6;

const Tx kTypeTexts[] = {Tx::FirTypeLowPass, Tx::FirTypeHighPass, Tx::FirTypeBand, Tx::FirTypeCustom};
const Tx kWindowTexts[] = {Tx::FirWinRectangle, Tx::FirWinHanning, Tx::FirWinHamming, Tx::FirWinBlackman,
                           Tx::FirWinKaiser};

void setIndexQuietly(QComboBox *box, int index)
{
    const QSignalBlocker blocker(box);
    box->setCurrentIndex(index);
}

int sliderPosition(double hz)
{
    return int(std::lround(hz * 10.0));
}

/// The same block for the device: nothing to send.
bool sameDesign(const DspFir &a, const DspFir &b)
{
    return a.firType == b.firType && a.winType == b.winType && a.taps == b.taps &&
           std::abs(a.attDb - b.attDb) < kSame && std::abs(a.freq0 - b.freq0) < kSame &&
           std::abs(a.freq1 - b.freq1) < kSame && a.arr == b.arr;
}

/// The tap choice a designed type starts from when the block held another count (an import): the longest the
/// device takes that is not longer than what it had, else the shortest.
int usableTaps(int taps, int maxTaps)
{
    const QVector<int> &choices = FirDesign::tapChoices();
    if (choices.contains(taps) && taps <= maxTaps)
        return taps;
    int best = choices.first();
    for (int c : choices)
        if (c <= taps && c <= maxTaps)
            best = c;
    return best;
}

} // namespace

DspFirForm::DspFirForm(DspController *controller, quint64 uid, const QString &title, QWidget *parent)
    : DspBlockBaseForm(controller, uid, title, parent)
{
    setObjectName(QStringLiteral("DspFirForm"));
    build();
    retranslate();
}

double DspFirForm::designRate() const
{
    return FirDesign::designRate(controller()->document().sampleRate);
}

void DspFirForm::build()
{
    auto *top = new QHBoxLayout;
    top->setSpacing(scaled(8));
    auto combo = [this, top](QLabel *&label, QComboBox *&box, const char *name, int width) {
        label = new QLabel(this);
        box = new QComboBox(this);
        box->setObjectName(QLatin1String(name));
        box->setMinimumWidth(scaled(width));
        top->addWidget(label);
        top->addWidget(box);
        top->addSpacing(scaled(10));
    };
    combo(m_typeLabel, m_type, "cb_type", 110);
    combo(m_windowLabel, m_window, "cb_window", 120);
    combo(m_tapsLabel, m_taps, "cb_taps", 80);
    combo(m_attLabel, m_attDb, "cb_attdb", 90);
    for (int i = 0; i < 4; ++i)
        m_type->addItem(QString());
    for (int i = 0; i < 5; ++i)
        m_window->addItem(QString());
    for (int taps : FirDesign::tapChoices())
        m_taps->addItem(QString::number(taps));
    for (int i = 0; i < kAttItems; ++i)
        m_attDb->addItem(QStringLiteral("%1 dB").arg(i + int(FirDesign::kMinAttDb)));
    top->addStretch(1);
    // Enter in a spin box commits its value; a dialog's default button would take the key too and switch the
    // block's bypass (or import) with it, so no button here is a default.
    addBypassButton(top);
    contentLayout()->addLayout(top);

    auto *edges = new QGridLayout;
    edges->setHorizontalSpacing(scaled(8));
    auto edge = [this, edges](int row, QLabel *&label, QDoubleSpinBox *&spin, QSlider *&slider, const char *spinName,
                              const char *sliderName, bool upper) {
        label = new QLabel(this);
        spin = new StyledSpinBox(this);
        spin->setObjectName(QLatin1String(spinName));
        spin->setRange(FirDesign::kMinEdge, FirDesign::kMaxEdge);
        spin->setDecimals(1);
        spin->setSingleStep(0.1);
        spin->setSuffix(QStringLiteral(" Hz"));
        spin->setMinimumWidth(scaled(110));
        slider = new StyledSlider(Qt::Horizontal, this);
        slider->setObjectName(QLatin1String(sliderName));
        slider->setRange(sliderPosition(FirDesign::kMinEdge), sliderPosition(FirDesign::kMaxEdge));
        slider->setPageStep(1000);
        // Until the block says otherwise the edge not in use starts where a first band would be useful.
        const double start = upper ? 10000.0 : 1000.0;
        setQuietly(spin, start);
        setQuietly(slider, sliderPosition(start));
        edges->addWidget(label, row, 0);
        edges->addWidget(spin, row, 1);
        edges->addWidget(slider, row, 2);
        connect(spin, QOverload<double>::of(&QDoubleSpinBox::valueChanged), this, [this, slider](double hz) {
            setQuietly(slider, sliderPosition(hz));
            edgeEdited();
        });
        connect(slider, &QSlider::valueChanged, this, [this, spin](int position) {
            setQuietly(spin, position / 10.0);
            edgeEdited();
        });
        groupWhileHeld(slider);
    };
    edge(0, m_lowerLabel, m_lower, m_lowerSlider, "ds_hpf", "slider_hpf", false);
    edge(1, m_upperLabel, m_upper, m_upperSlider, "ds_lpf", "slider_lpf", true);
    edges->setColumnStretch(2, 1);
    contentLayout()->addLayout(edges);

    auto *chartRow = new QHBoxLayout;
    m_rateNote = new QLabel(this);
    m_rateNote->setObjectName(QStringLiteral("lab_designrate"));
    m_rateNote->setStyleSheet(QStringLiteral("color: rgb(240, 200, 90);"));
    m_export = new QPushButton(this);
    m_export->setObjectName(QStringLiteral("pb_export_csv"));
    m_emptyNote = new QLabel(this);
    m_emptyNote->setObjectName(QStringLiteral("lab_nocoefficients"));
    chartRow->addWidget(m_rateNote);
    chartRow->addSpacing(scaled(16));
    chartRow->addWidget(m_emptyNote);
    chartRow->addStretch(1);
    chartRow->addWidget(m_export);
    contentLayout()->addLayout(chartRow);

    m_chart = new DspResponseChart(this);
    m_chart->setMinimumSize(scaled(760), scaled(300));
    // Room for the "+6dB" label at the top edge and "20KHz" at the right one.
    m_chart->chart()->setMargins(QMargins(scaled(4), scaled(10), scaled(18), 0));
    // No light frame of the view around the dark chart.
    m_chart->chart()->layout()->setContentsMargins(0, 0, 0, 0);
    m_chart->setBackgroundBrush(m_chart->chart()->backgroundBrush());
    QVector<QPair<double, QString>> levels;
    for (int db = -90; db <= 0; db += 10)
        levels.append({db * 10.0, QStringLiteral("%1dB").arg(db)});
    levels.append({FirResponse::kMaxY, QStringLiteral("+6dB")});
    m_chart->setLevelAxis(FirResponse::kMinY, FirResponse::kMaxY, levels);
    // Straight segments: a spline overshoots at the steep edges of a long filter.
    m_curve = m_chart->addCurve(QColor(90, 200, 250), false);
    contentLayout()->addWidget(m_chart, 1);

    auto *customRow = new QHBoxLayout;
    m_import = new QPushButton(this);
    m_import->setObjectName(QStringLiteral("pb_import"));
    m_importNote = new QLabel(this);
    m_importNote->setObjectName(QStringLiteral("lab_import"));
    customRow->addWidget(m_import);
    customRow->addWidget(m_importNote, 1);
    contentLayout()->addLayout(customRow);
    m_custom = new QTextBrowser(this);
    m_custom->setObjectName(QStringLiteral("textbrowser_customfir"));
    m_custom->setFixedHeight(scaled(80));
    contentLayout()->addWidget(m_custom);

    connect(m_type, QOverload<int>::of(&QComboBox::currentIndexChanged), this, [this](int index) {
        DspFir fir = shownFir();
        if (fir.firType == FirDesign::Custom && index != FirDesign::Custom)
            fir.taps = usableTaps(fir.taps, fir.maxTaps);
        // Custom starts from the design the block stands for (a new block has no coefficients yet), so the
        // device never gets an empty array.
        if (fir.firType != FirDesign::Custom && index == FirDesign::Custom)
            FirDesign::apply(fir, designRate());
        fir.firType = index;
        rebuild(fir);
    });
    connect(m_window, QOverload<int>::of(&QComboBox::currentIndexChanged), this, [this](int index) {
        DspFir fir = shownFir();
        fir.winType = index;
        rebuild(fir);
    });
    connect(m_taps, QOverload<int>::of(&QComboBox::currentIndexChanged), this, [this](int index) {
        if (index < 0)
            return;
        DspFir fir = shownFir();
        fir.taps = FirDesign::tapChoices().value(index);
        rebuild(fir);
    });
    connect(m_attDb, QOverload<int>::of(&QComboBox::currentIndexChanged), this, [this](int index) {
        DspFir fir = shownFir();
        fir.attDb = index + FirDesign::kMinAttDb;
        rebuild(fir);
    });
    connect(m_import, &QPushButton::clicked, this, &DspFirForm::importCoefficients);
    connect(m_export, &QPushButton::clicked, this, [this] { exportCurve(FirResponse::grid(), m_points); });

    // The shared style has no disabled look for these; a control that does not apply must look it.
    setStyleSheet(
        QStringLiteral("QLabel:disabled, QDoubleSpinBox:disabled, QComboBox:disabled { color: rgb(96, 98, 106); }"
                       "QDoubleSpinBox:disabled, QComboBox:disabled { background-color: rgb(38, 39, 45); border-color: "
                       "rgb(44, 46, 52); }"
                       "QSlider::sub-page:horizontal:disabled { background: rgb(70, 73, 84); }"
                       "QSlider::handle:horizontal:disabled { background: rgb(96, 98, 106); }"
                       "QTextBrowser { color: rgb(230, 232, 238); background-color: rgb(26, 27, 31); border: 1px solid "
                       "rgb(60, 63, 72); }"
                       "QTextBrowser:disabled { color: rgb(96, 98, 106); background-color: rgb(38, 39, 45); }"
                       "QChartView { border: none; }"));
    resize(scaled(900), scaled(640));
}

void DspFirForm::retranslate()
{
    m_typeLabel->setText(tx(Tx::FirType));
    m_windowLabel->setText(tx(Tx::FirWindow));
    m_tapsLabel->setText(tx(Tx::FirTaps));
    m_attLabel->setText(tx(Tx::FirAttenuation));
    m_lowerLabel->setText(tx(Tx::FirLowerEdge));
    m_upperLabel->setText(tx(Tx::FirUpperEdge));
    for (int i = 0; i < m_type->count(); ++i)
        m_type->setItemText(i, tx(kTypeTexts[i]));
    for (int i = 0; i < m_window->count(); ++i)
        m_window->setItemText(i, tx(kWindowTexts[i]));
    m_import->setText(tx(Tx::FirImportButton));
    m_export->setText(tx(Tx::DspExportCurve));
    m_attDb->setToolTip(tx(Tx::FirAttenuationKaiserOnly));
    m_importWarning.clear();
    refresh();
}

void DspFirForm::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::LanguageChange)
        retranslate();
    DspBlockBaseForm::changeEvent(event);
}

DspFir DspFirForm::shownFir() const
{
    DspBlock b = shown();
    if (const DspFir *fir = b.as<DspFir>())
        return *fir;
    return DspFir();
}

void DspFirForm::refresh()
{
    if (!m_custom)
        return; // still being built
    const DspFir fir = shownFir();
    setIndexQuietly(m_type, qBound(0, fir.firType, 3));
    setIndexQuietly(m_window, qBound(0, fir.winType, 4));
    setIndexQuietly(m_attDb, qBound(0, int(std::lround(fir.attDb - FirDesign::kMinAttDb)), kAttItems - 1));

    // A tap count that is not a choice (an import) is shown as it stands in the empty combo box.
    const QVector<int> &choices = FirDesign::tapChoices();
    m_taps->setPlaceholderText(QString::number(fir.taps));
    setIndexQuietly(m_taps, choices.indexOf(fir.taps));
    // The device refuses an array longer than its limit, so longer choices cannot be taken.
    if (auto *model = qobject_cast<QStandardItemModel *>(m_taps->model())) {
        for (int i = 0; i < choices.size(); ++i) {
            QStandardItem *item = model->item(i);
            const bool fits = choices[i] <= fir.maxTaps;
            item->setEnabled(fits);
            item->setToolTip(fits ? QString() : tx(Tx::FirTapsOverLimit).arg(fir.maxTaps));
        }
    }

    auto showEdge = [](QDoubleSpinBox *spin, QSlider *slider, double hz) {
        setQuietly(spin, hz);
        setQuietly(slider, sliderPosition(spin->value()));
    };
    switch (fir.firType) {
    case FirDesign::LowPass: showEdge(m_upper, m_upperSlider, fir.freq0); break;
    case FirDesign::HighPass: showEdge(m_lower, m_lowerSlider, fir.freq0); break;
    case FirDesign::BandPass:
        showEdge(m_lower, m_lowerSlider, fir.freq0);
        showEdge(m_upper, m_upperSlider, fir.freq1);
        break;
    default: break;
    }
    updateEnabled(fir);

    // Only imported coefficients are listed, and only when they changed: thousands of lines written again on
    // every answer would stall a drag.
    if (fir.firType != FirDesign::Custom) {
        if (m_listed)
            m_custom->clear();
        m_listed = false;
    } else if (!m_listed || m_listedArr != fir.arr) {
        QStringList lines;
        lines.reserve(fir.arr.size());
        for (double v : fir.arr)
            lines.append(QString::number(v, 'g', 6));
        m_custom->setPlainText(lines.join(QLatin1Char('\n')));
        m_listedArr = fir.arr;
        m_listed = true;
    }

    const double rate = designRate();
    m_rateNote->setText(rate != FirDesign::kDefaultRate ? tx(Tx::FirDesignRate).arg(rate) : QString());
    m_rateNote->setVisible(rate != FirDesign::kDefaultRate);
    // A block nobody designed yet has an empty array and no curve; say why the chart is empty.
    m_emptyNote->setText(tx(Tx::FirNoCoefficients));
    m_emptyNote->setVisible(fir.arr.isEmpty());
    redraw(fir);
    refreshBypassButton();
}

void DspFirForm::updateEnabled(const DspFir &fir)
{
    const bool custom = fir.firType == FirDesign::Custom;
    m_window->setEnabled(!custom);
    m_taps->setEnabled(!custom);
    m_attDb->setEnabled(!custom && fir.winType == FirDesign::Kaiser);
    const bool lower = fir.firType == FirDesign::HighPass || fir.firType == FirDesign::BandPass;
    const bool upper = fir.firType == FirDesign::LowPass || fir.firType == FirDesign::BandPass;
    for (QWidget *w :
         {static_cast<QWidget *>(m_lower), static_cast<QWidget *>(m_lowerSlider), static_cast<QWidget *>(m_lowerLabel)})
        w->setEnabled(lower);
    for (QWidget *w :
         {static_cast<QWidget *>(m_upper), static_cast<QWidget *>(m_upperSlider), static_cast<QWidget *>(m_upperLabel)})
        w->setEnabled(upper);
    m_import->setEnabled(custom);
    m_custom->setEnabled(custom);
    if (!custom)
        m_importWarning.clear();
    QString note = tx(Tx::FirImportedCount).arg(fir.arr.size());
    if (!m_importWarning.isEmpty())
        note += QStringLiteral("  —  ") + m_importWarning;
    m_importNote->setText(note);
    m_importNote->setVisible(custom);
}

void DspFirForm::redraw(const DspFir &fir)
{
    const double rate = designRate();
    if (m_drawn && m_drawnArr == fir.arr && m_drawnRate == rate)
        return;
    QElapsedTimer clock;
    clock.start();
    m_points = FirResponse::curve(fir.arr, rate);
    DspResponseChart::setPoints(m_curve, m_points);
    m_drawnArr = fir.arr;
    m_drawnRate = rate;
    m_drawn = true;
    Log::line(QStringLiteral("refresh graph use time : %1 ms").arg(clock.nsecsElapsed() / 1e6, 0, 'f', 2));
}

void DspFirForm::rebuild(DspFir fir)
{
    const DspFir before = shownFir();
    if (fir.firType != FirDesign::Custom) {
        double lower = m_lower->value();
        // A band needs room above its lower edge for the upper one.
        if (fir.firType == FirDesign::BandPass && lower > FirDesign::kMaxEdge - 0.1) {
            lower = FirDesign::kMaxEdge - 0.1;
            setQuietly(m_lower, lower);
            setQuietly(m_lowerSlider, sliderPosition(lower));
        }
        const FirDesign::Edges e = FirDesign::edges(fir.firType, lower, m_upper->value(), fir);
        fir.freq0 = e.freq0;
        fir.freq1 = e.freq1;
        if (std::abs(e.upper - m_upper->value()) >= kSame) {
            setQuietly(m_upper, e.upper);
            setQuietly(m_upperSlider, sliderPosition(e.upper));
        }
    }
    FirDesign::apply(fir, designRate());
    if (sameDesign(fir, before)) {
        refresh(); // a combo box that showed another attenuation shows the stored one again
        return;
    }
    DspBlock changed = shown();
    if (DspFir *target = changed.as<DspFir>())
        *target = fir;
    else
        return;
    change(changed);
    refresh();
}

void DspFirForm::edgeEdited()
{
    // rebuild() reads both edges from their spin boxes, where the edited one already stands.
    rebuild(shownFir());
}

void DspFirForm::importCoefficients()
{
    const QString path = chooseFile(false, tx(Tx::FirSelectFile), tx(Tx::FirFileFilter));
    if (path.isEmpty())
        return;
    DspFir fir = shownFir();
    QVector<double> values;
    int fileRate = 0;
    if (path.endsWith(QLatin1String(".wav"), Qt::CaseInsensitive)) {
        const WavImpulse::Result r = WavImpulse::readFile(path, fir.maxTaps);
        if (!r.ok())
            return showTips(r.message());
        values = r.values;
        fileRate = r.sampleRate;
    } else {
        const FirImport::Result r = FirImport::readFile(path, fir.maxTaps);
        if (!r.ok())
            return showTips(r.message());
        values = r.values;
    }
    // An impulse recorded at another rate plays at other frequencies; the operator may still want it.
    const int rate = int(designRate());
    m_importWarning = fileRate > 0 && fileRate != rate ? tx(Tx::FirWavRate).arg(fileRate).arg(rate) : QString();
    fir.firType = FirDesign::Custom;
    fir.arr = values;
    rebuild(fir);
    refresh();
}

void DspFirForm::showTips(const QString &text)
{
    // Not modal to the whole program: the editor stays usable behind it, and tests read it without a loop.
    auto *box = new NoticeBox(NoticeBox::Notice, text, this);
    box->setTitle(tx(Tx::FirTips));
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->open();
}
