#include "gui/dsp/blocks/dspeqsingleform.h"

#include "core/app/scalefactors.h"
#include "core/app/texts.h"
#include "core/dsp/filters/eqmapping.h"
#include "gui/widgets/styledslider.h"

#include <QButtonGroup>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QSignalBlocker>
#include <QVBoxLayout>

namespace {

QDoubleSpinBox *spinBox(QWidget *parent, const char *name, double min, double max, double step, int decimals)
{
    auto *box = new StyledSpinBox(parent);
    box->setObjectName(QLatin1String(name));
    box->setRange(min, max);
    box->setSingleStep(step);
    box->setDecimals(decimals);
    box->setAlignment(Qt::AlignCenter);
    box->setButtonSymbols(QAbstractSpinBox::NoButtons);
    box->setFixedWidth(scaled(84)); // room for "20200.0"
    return box;
}

QLabel *caption(QWidget *parent, const QString &text)
{
    auto *l = new QLabel(text, parent);
    l->setAlignment(Qt::AlignCenter);
    return l;
}

} // namespace

DspEqSingleForm::DspEqSingleForm(int index, QWidget *parent)
    : QWidget(parent)
    , m_index(index)
{
    setObjectName(QStringLiteral("DspEqSingleForm_%1").arg(index));
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(scaled(4), scaled(4), scaled(4), scaled(4));
    layout->setSpacing(scaled(4));

    m_label = caption(this, QString::number(index + 1));
    m_label->setObjectName(QStringLiteral("lab_band"));
    layout->addWidget(m_label);

    m_slider = new StyledSlider(Qt::Vertical, this);
    m_slider->setObjectName(QStringLiteral("eq_slider"));
    m_slider->setRange(0, EqMapping::kSliderMax);
    m_slider->setPageStep(10);
    m_slider->setMinimumHeight(scaled(110));
    layout->addWidget(m_slider, 1, Qt::AlignHCenter);

    m_freq = spinBox(this, "sp_freq", 19.7, 20200.0, 0.1, 1);
    m_gain = spinBox(this, "sp_gain", -24.0, 12.0, 0.1, 1);
    m_width = spinBox(this, "sp_width", 0.017, 4.75, 0.001, 3);
    // The shared style draws a disabled box like an enabled one; a shelf's unused width must look unused.
    setStyleSheet(QStringLiteral("QDoubleSpinBox:disabled { color: #5c606b; }"));
    auto *values = new QGridLayout;
    values->setSpacing(scaled(3));
    values->addWidget(caption(this, tx(Tx::EqFreqHz)), 0, 0);
    values->addWidget(m_freq, 0, 1);
    values->addWidget(caption(this, tx(Tx::EqGainDb)), 1, 0);
    values->addWidget(m_gain, 1, 1);
    values->addWidget(caption(this, tx(Tx::EqWidth)), 2, 0);
    values->addWidget(m_width, 2, 1);
    layout->addLayout(values);

    m_types = new QButtonGroup(this);
    auto *types = new QHBoxLayout;
    types->setSpacing(scaled(2));
    types->addWidget(typeButton("pb_peq", tx(Tx::EqTypePeq), 0));
    types->addWidget(typeButton("pb_ls", tx(Tx::EqTypeLs), 1));
    types->addWidget(typeButton("pb_hs", tx(Tx::EqTypeHs), 2));
    types->addWidget(typeButton("pb_apf", tx(Tx::EqTypeApf), 7));
    m_types->button(1)->setToolTip(tx(Tx::EqTipLowShelf));
    m_types->button(2)->setToolTip(tx(Tx::EqTipHighShelf));
    m_types->button(7)->setToolTip(tx(Tx::EqTipAllPass));
    layout->addLayout(types);

    auto *last = new QHBoxLayout;
    last->setSpacing(scaled(2));
    auto *zero = new QPushButton(tx(Tx::EqZeroDb), this);
    zero->setObjectName(QStringLiteral("pb_0dB"));
    last->addWidget(zero);
    m_bypass = new QPushButton(tx(Tx::DspBypassMark), this);
    m_bypass->setObjectName(QStringLiteral("pb_bypass"));
    m_bypass->setCheckable(true);
    last->addWidget(m_bypass);
    layout->addLayout(last);

    connect(m_slider, &QSlider::valueChanged, this, [this](int position) {
        const double db = EqMapping::gainFromSlider(position);
        if (!EqMapping::isChange(m_band.dbGain, db))
            return;
        {
            const QSignalBlocker blocker(m_gain);
            m_gain->setValue(db);
        }
        storeGain(db);
    });
    connect(m_gain, QOverload<double>::of(&QDoubleSpinBox::valueChanged), this, [this](double db) {
        if (!EqMapping::isChange(m_band.dbGain, db))
            return;
        {
            const QSignalBlocker blocker(m_slider);
            m_slider->setValue(EqMapping::sliderFromGain(db));
        }
        storeGain(db);
    });
    connect(zero, &QPushButton::clicked, this, [this] {
        {
            const QSignalBlocker a(m_slider), b(m_gain);
            m_slider->setValue(EqMapping::kSliderZeroDb);
            m_gain->setValue(0.0);
        }
        if (EqMapping::isChange(m_band.dbGain, 0.0))
            storeGain(0.0);
    });
    connect(m_freq, QOverload<double>::of(&QDoubleSpinBox::valueChanged), this, [this](double hz) {
        if (!EqMapping::isChange(m_band.freq0, hz))
            return;
        m_band.freq0 = hz;
        emit signal_updateProc(m_index);
    });
    connect(m_width, QOverload<double>::of(&QDoubleSpinBox::valueChanged), this, [this](double width) {
        if (!EqMapping::isChange(m_band.qBwS, width))
            return;
        m_band.qBwS = width;
        emit signal_updateProc(m_index);
    });
    connect(m_types, &QButtonGroup::idClicked, this, &DspEqSingleForm::storeType);
    connect(m_bypass, &QPushButton::toggled, this, [this](bool on) {
        if (on == m_band.bypass)
            return;
        m_band.bypass = on;
        emit signal_updateBypass(m_index);
    });
}

QPushButton *DspEqSingleForm::typeButton(const char *name, const QString &text, int type)
{
    auto *b = new QPushButton(text, this);
    b->setObjectName(QLatin1String(name));
    b->setCheckable(true);
    b->setMinimumWidth(scaled(30));
    // Four to a row: the shared padding would leave no room for the text.
    b->setStyleSheet(QStringLiteral("padding: %1px 0px;").arg(scaled(4)));
    m_types->addButton(b, type);
    return b;
}

void DspEqSingleForm::storeGain(double db)
{
    m_band.dbGain = float(db);
    emit signal_updateProc(m_index);
}

void DspEqSingleForm::storeType(int type)
{
    if (type == m_band.type)
        return;
    m_band.type = type;
    // A shelf's slope is fixed, so its width means nothing; the box says so rather than inviting edits.
    m_width->setEnabled(type == 0 || type == 7);
    emit signal_updateProc(m_index);
}

void DspEqSingleForm::setBand(const DspEqBand &band)
{
    m_band = band;
    const QSignalBlocker a(m_slider), b(m_gain), c(m_freq), d(m_width), e(m_types), f(m_bypass);
    m_slider->setValue(EqMapping::sliderFromGain(band.dbGain));
    m_gain->setValue(band.dbGain);
    m_freq->setValue(band.freq0);
    m_width->setValue(band.qBwS);
    m_width->setEnabled(band.type == 0 || band.type == 7);
    if (QAbstractButton *t = m_types->button(band.type)) {
        t->setChecked(true);
    } else {
        // A type this editor has no button for: none is checked, and a click on any of them is a change.
        m_types->setExclusive(false);
        for (QAbstractButton *x : m_types->buttons())
            x->setChecked(false);
        m_types->setExclusive(true);
    }
    m_bypass->setChecked(band.bypass);
}
