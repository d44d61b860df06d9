#include "gui/dsp/blocks/dspparamsform.h"

#include "core/app/scalefactors.h"
#include "core/dsp/dspcontroller.h"
#include "core/dsp/params/dynamics.h"
#include "gui/widgets/styledslider.h"

#include <QComboBox>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>

#include <cmath>

namespace {
constexpr int kMeterFloorDb = -60;
} // namespace

DspParamsForm::DspParamsForm(DspController *controller, quint64 uid, const QString &title,
                             const QVector<DspParam> &table, ChannelNames names, QWidget *parent)
    : DspBlockBaseForm(controller, uid, title, parent)
    , m_names(std::move(names))
    , m_rows(new QGridLayout)
    , m_body(new QHBoxLayout)
{
    m_rows->setColumnStretch(1, 1);
    m_rows->setHorizontalSpacing(scaled(10));
    m_body->addLayout(m_rows, 1);
    contentLayout()->addLayout(m_body);
    for (const DspParam &p : table)
        addRow(p);
    auto *bottom = new QHBoxLayout;
    bottom->addStretch();
    addBypassButton(bottom);
    contentLayout()->addLayout(bottom);
    setMinimumWidth(scaled(520));
    connect(controller, &DspController::signal_levels, this, [this](DspSide side, const QVector<double> &dbfs) {
        const auto place = this->controller()->place(this->uid());
        if (place && place->side == side && place->channel < dbfs.size())
            channelLevel(dbfs[place->channel]);
    });
}

QSlider *DspParamsForm::addMeter(QGridLayout *grid, int column, const char *name, const char *labelName, Tx caption)
{
    auto *meter = new QSlider(Qt::Vertical, this);
    meter->setObjectName(QLatin1String(name));
    meter->setRange(kMeterFloorDb, 0);
    meter->setValue(kMeterFloorDb);
    meter->setAttribute(Qt::WA_TransparentForMouseEvents);
    meter->setFocusPolicy(Qt::NoFocus);
    meter->setMinimumHeight(scaled(160));
    auto *value = new QLabel(QString::number(kMeterFloorDb), this);
    value->setObjectName(QLatin1String(labelName));
    value->setAlignment(Qt::AlignCenter);
    connect(meter, &QSlider::valueChanged, value, [value](int v) { value->setText(QString::number(v)); });
    grid->addWidget(new QLabel(tx(caption), this), 0, column, Qt::AlignHCenter);
    grid->addWidget(meter, 1, column, Qt::AlignHCenter);
    grid->addWidget(value, 2, column, Qt::AlignHCenter);
    return meter;
}

void DspParamsForm::showLevel(QSlider *meter, double db)
{
    meter->setValue(std::isfinite(db) ? int(std::lround(db)) : -90);
}

void DspParamsForm::addRow(const DspParam &p)
{
    using K = DspParam::Kind;
    const int r = m_table.size();
    Row row;
    row.param = p;
    auto *label = new QLabel(tx(p.label), this);
    m_rows->addWidget(label, r, 0);
    if (p.hasSlider()) {
        row.slider = new StyledSlider(Qt::Horizontal, this);
        row.slider->setObjectName(QLatin1String(p.sliderName));
        row.slider->setRange(p.sliderMin(), p.sliderMax());
        row.slider->setMinimumWidth(scaled(220));
        m_rows->addWidget(row.slider, r, 1);
        groupWhileHeld(row.slider);
        connect(row.slider, &QSlider::valueChanged, this, [this, r](int position) {
            edited(r, m_table[r].param.fromSlider(position));
        });
    }
    switch (p.kind) {
    case K::Number: {
        row.spin = new StyledSpinBox(this);
        row.spin->setObjectName(QLatin1String(p.controlName));
        row.spin->setRange(p.min, p.max);
        row.spin->setDecimals(p.decimals);
        row.spin->setSingleStep(p.step);
        m_rows->addWidget(row.spin, r, 2);
        connect(row.spin, QOverload<double>::of(&QDoubleSpinBox::valueChanged), this,
                [this, r](double v) { edited(r, v); });
        break;
    }
    case K::Steps:
        row.stepLabel = new QLabel(this);
        row.stepLabel->setObjectName(QLatin1String(p.controlName));
        row.stepLabel->setMinimumWidth(scaled(60));
        m_rows->addWidget(row.stepLabel, r, 2);
        break;
    case K::Choice:
    case K::Channel:
        row.choice = new QComboBox(this);
        row.choice->setObjectName(QLatin1String(p.controlName));
        for (Tx t : p.choices)
            row.choice->addItem(tx(t));
        m_rows->addWidget(row.choice, r, 1, 1, 2);
        connect(row.choice, QOverload<int>::of(&QComboBox::activated), this, [this, r](int i) { edited(r, i); });
        break;
    case K::Toggle: {
        auto *button = new QPushButton(this);
        button->setObjectName(QLatin1String(p.controlName));
        button->setCheckable(true);
        row.toggle = button;
        m_rows->addWidget(button, r, 1, 1, 2, Qt::AlignLeft);
        connect(button, &QPushButton::toggled, this, [this, r, button](bool on) {
            button->setText(tx(on ? Tx::DspParamOn : Tx::DspParamOff));
            edited(r, on ? 1.0 : 0.0);
        });
        break;
    }
    }
    if (p.unit)
        m_rows->addWidget(new QLabel(tx(*p.unit), this), r, 3);
    m_table.append(row);
}

void DspParamsForm::fillChannels(Row &row, const DspBlock &b)
{
    // The far end of an echo canceller may be an output; every other channel member names an input.
    const std::optional<double> fromOut = DspParams::value(b, "farFromOut");
    const DspSide side = fromOut && *fromOut != 0.0 && QLatin1String(row.param.member) == QLatin1String("farCh")
                             ? DspSide::Out
                             : DspSide::In;
    const int count = controller()->channelCount(side);
    const QSignalBlocker blocker(row.choice);
    if (row.choice->count() == count && row.choice->property("side").toInt() == int(side))
        return;
    row.choice->clear();
    for (int i = 0; i < count; ++i)
        row.choice->addItem(m_names ? m_names(side, i) : QString::number(i + 1));
    row.choice->setProperty("side", int(side));
}

void DspParamsForm::writeRow(Row &row, double value, const DspBlock &b)
{
    const DspParam &p = row.param;
    const double shown = p.kind == DspParam::Kind::Channel ? value : p.shown(value);
    if (row.slider)
        setQuietly(row.slider, p.sliderPosition(shown));
    if (row.spin)
        setQuietly(row.spin, shown);
    if (row.stepLabel)
        row.stepLabel->setText(Dynamics::ratioLabel(shown));
    if (row.choice) {
        if (p.kind == DspParam::Kind::Channel)
            fillChannels(row, b);
        const QSignalBlocker blocker(row.choice);
        row.choice->setCurrentIndex(int(std::lround(shown)));
    }
    if (row.toggle) {
        const QSignalBlocker blocker(row.toggle);
        row.toggle->setChecked(shown != 0.0);
        row.toggle->setText(tx(shown != 0.0 ? Tx::DspParamOn : Tx::DspParamOff));
    }
}

void DspParamsForm::refresh()
{
    const DspBlock b = shown();
    for (Row &row : m_table)
        writeRow(row, DspParams::value(b, row.param.member).value_or(0.0), b);
    refreshBypassButton();
    valuesChanged();
}

void DspParamsForm::edited(int r, double value)
{
    Row &row = m_table[r];
    DspBlock b = shown();
    const double stored = DspParams::value(b, row.param.member).value_or(0.0);
    if (!DspParam::isChange(stored, value)) {
        writeRow(row, stored, b); // the slider's twin follows even when nothing is sent
        return;
    }
    DspParams::setValue(b, row.param.member, value);
    m_userEdited = true;
    change(b);
    refresh(); // a change may move other rows too (the far end's side names its channels)
}
