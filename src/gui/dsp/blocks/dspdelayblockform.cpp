#include "gui/dsp/blocks/dspdelayblockform.h"

#include "core/app/scalefactors.h"
#include "core/dsp/dspcontroller.h"
#include "core/dsp/params/delayunits.h"
#include "gui/widgets/styledslider.h"

#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QSpinBox>

DspDelayBlockForm::DspDelayBlockForm(DspController *controller, quint64 uid, const QString &title, QWidget *parent)
    : DspParamsForm(controller, uid, title, {}, {}, parent)
    , m_dots(new QSpinBox(this))
    , m_slider(new StyledSlider(Qt::Horizontal, this))
    , m_ms(new StyledSpinBox(this))
    , m_metres(new StyledSpinBox(this))
    , m_feet(new StyledSpinBox(this))
{
    setObjectName(QStringLiteral("DspDelayBlockForm"));
    m_dots->setObjectName(QStringLiteral("dsDots"));
    m_dots->setKeyboardTracking(false);
    m_slider->setObjectName(QStringLiteral("slider"));
    m_slider->setMinimumWidth(scaled(260));
    groupWhileHeld(m_slider);
    const struct
    {
        QDoubleSpinBox *spin;
        const char *name;
        Tx label;
    } units[] = {{m_ms, "dsMilliSeconds", Tx::DspDelayMs},
                 {m_metres, "dsMeter", Tx::DspDelayMetres},
                 {m_feet, "dsFeet", Tx::DspDelayFeet}};
    rows()->addWidget(new QLabel(tx(Tx::DspDelaySamples), this), 0, 0);
    rows()->addWidget(m_slider, 0, 1);
    rows()->addWidget(m_dots, 0, 2);
    int r = 1;
    for (const auto &u : units) {
        u.spin->setObjectName(QLatin1String(u.name));
        u.spin->setDecimals(2);
        u.spin->setSingleStep(0.01);
        rows()->addWidget(new QLabel(tx(u.label), this), r++, 0);
        rows()->addWidget(u.spin, r - 1, 2);
    }
    auto *meters = new QGridLayout;
    m_meter = addMeter(meters, 0, "slider_volume", "lab_volume", Tx::DspParamVolume);
    body()->addLayout(meters);

    connect(m_dots, QOverload<int>::of(&QSpinBox::valueChanged), this, &DspDelayBlockForm::setSamples);
    connect(m_slider, &QSlider::valueChanged, this, &DspDelayBlockForm::setSamples);
    connect(m_ms, QOverload<double>::of(&QDoubleSpinBox::valueChanged), this,
            [this](double ms) { setSamples(DelayUnits::fromMilliseconds(ms, rate())); });
    connect(m_metres, QOverload<double>::of(&QDoubleSpinBox::valueChanged), this,
            [this](double m) { setSamples(DelayUnits::fromMetres(m, rate())); });
    connect(m_feet, QOverload<double>::of(&QDoubleSpinBox::valueChanged), this,
            [this](double ft) { setSamples(DelayUnits::fromFeet(ft, rate())); });
    refresh();
}

double DspDelayBlockForm::rate() const
{
    const int r = controller()->document().sampleRate;
    return r > 0 ? r : 48000.0;
}

void DspDelayBlockForm::refresh()
{
    const DspBlock b = shown();
    const DspDelay *d = b.as<DspDelay>();
    if (!d)
        return;
    const int maxNum = qMax(0, d->maxNum);
    const int samples = qBound(0, d->delayNum, maxNum);
    for (QWidget *w : {static_cast<QWidget *>(m_dots), static_cast<QWidget *>(m_slider)}) {
        const QSignalBlocker blocker(w);
        if (auto *s = qobject_cast<QSpinBox *>(w))
            s->setRange(0, maxNum);
        else
            static_cast<QSlider *>(w)->setRange(0, maxNum);
    }
    setQuietly(m_dots, samples);
    setQuietly(m_slider, samples);
    const double r = rate();
    const struct
    {
        QDoubleSpinBox *spin;
        double (*of)(int, double);
    } units[] = {{m_ms, DelayUnits::milliseconds}, {m_metres, DelayUnits::metres}, {m_feet, DelayUnits::feet}};
    for (const auto &u : units) {
        const QSignalBlocker blocker(u.spin);
        u.spin->setRange(0.0, u.of(maxNum, r));
        u.spin->setValue(u.of(samples, r));
    }
    refreshBypassButton();
}

void DspDelayBlockForm::setSamples(int samples)
{
    DspBlock b = shown();
    DspDelay *d = b.as<DspDelay>();
    if (!d)
        return;
    samples = qBound(0, samples, d->maxNum);
    if (samples != d->delayNum) {
        d->delayNum = samples;
        change(b);
    }
    refresh(); // every unit shows the whole samples now stored, also when the entry rounded to the same count
}

void DspDelayBlockForm::channelLevel(double dbfs)
{
    showLevel(m_meter, dbfs);
}
