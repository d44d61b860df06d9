#include "gui/dsp/blocks/dspautomixform.h"

#include "core/app/scalefactors.h"
#include "core/app/texts.h"
#include "core/dsp/dspcontroller.h"
#include "gui/widgets/styledslider.h"

#include <QComboBox>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QScrollArea>
#include <QVBoxLayout>

#include <cmath>

namespace {

constexpr double kGainMin = -72.0;
constexpr double kGainMax = 12.0;

QString indexed(const char *name, int port)
{
    return QLatin1String(name) + QLatin1Char('_') + QString::number(port);
}

void showToggle(QAbstractButton *b, bool on, Tx onText, Tx offText)
{
    const QSignalBlocker blocker(b);
    b->setChecked(on);
    b->setText(tx(on ? onText : offText));
}

} // namespace

DspAutomixChForm::DspAutomixChForm(int port, const QString &name, QWidget *parent)
    : QWidget(parent)
{
    setObjectName(indexed("DspAutomixChForm", port));
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(scaled(4), scaled(4), scaled(4), scaled(4));
    auto *label = new QLabel(name, this);
    label->setObjectName(QStringLiteral("lb_name"));
    label->setAlignment(Qt::AlignCenter);
    label->setToolTip(name);
    layout->addWidget(label);
    auto *inMix = new QPushButton(this);
    inMix->setObjectName(QStringLiteral("pb_inmix"));
    inMix->setCheckable(true);
    m_inMix = inMix;
    m_gain = new StyledSpinBox(this);
    m_gain->setObjectName(QStringLiteral("ds_gain"));
    m_gain->setRange(kGainMin, kGainMax);
    m_gain->setDecimals(1);
    m_gain->setSingleStep(0.5);
    auto *mute = new QPushButton(tx(Tx::NodeFormMute), this);
    mute->setObjectName(QStringLiteral("pb_mute"));
    mute->setCheckable(true);
    m_mute = mute;
    layout->addWidget(new QLabel(tx(Tx::NodeFormInMix), this), 0, Qt::AlignHCenter);
    layout->addWidget(m_inMix);
    layout->addWidget(new QLabel(tx(Tx::NodeFormGainDb), this), 0, Qt::AlignHCenter);
    layout->addWidget(m_gain);
    layout->addWidget(m_mute);
    setFixedWidth(scaled(100));
    connect(inMix, &QPushButton::toggled, this, [this, port](bool on) { emit signal_inMix(port, on); });
    connect(m_gain, QOverload<double>::of(&QDoubleSpinBox::valueChanged), this,
            [this, port](double v) { emit signal_gain(port, v); });
    connect(mute, &QPushButton::toggled, this, [this, port](bool on) { emit signal_mute(port, on); });
}

void DspAutomixChForm::showValues(bool inMix, double gainDb, bool mute)
{
    showToggle(m_inMix, inMix, Tx::DspParamOn, Tx::DspParamOff);
    DspNodeForm::setQuietly(m_gain, gainDb);
    const QSignalBlocker blocker(m_mute);
    m_mute->setChecked(mute);
}

DspAutomixForm::DspAutomixForm(DspController *controller, ChannelNames names, QWidget *parent)
    : DspNodeForm(controller, DspNode::Automixer, std::move(names), parent)
    , m_rows(new QGridLayout)
    , m_strips(new QHBoxLayout)
{
    setObjectName(QStringLiteral("DspAutomixForm"));
    setTitle(tx(Tx::DspAutomixerConfig));
    m_rows->setColumnStretch(1, 1);
    m_rows->setHorizontalSpacing(scaled(10));
    contentLayout()->addLayout(m_rows);
    for (const DspParam &p : DspParams::automixer())
        addRow(p);
    contentLayout()->addWidget(new QLabel(tx(Tx::NodeFormChannels), this));
    auto *inner = new QWidget;
    inner->setLayout(m_strips);
    m_strips->setSpacing(scaled(2));
    m_strips->addStretch();
    auto *scroll = new QScrollArea(this);
    scroll->setObjectName(QStringLiteral("sa_channels"));
    scroll->setWidgetResizable(true);
    scroll->setFrameShape(QFrame::NoFrame);
    scroll->setWidget(inner);
    scroll->setMinimumHeight(scaled(230));
    scroll->viewport()->setAutoFillBackground(false);
    inner->setAutoFillBackground(false);
    contentLayout()->addWidget(scroll);
    setMinimumWidth(scaled(640));
    refresh();
}

void DspAutomixForm::addRow(const DspParam &p)
{
    using K = DspParam::Kind;
    const int r = m_table.size();
    Row row;
    row.param = p;
    m_rows->addWidget(new QLabel(tx(p.label), this), r, 0);
    if (p.hasSlider()) {
        row.slider = new StyledSlider(Qt::Horizontal, this);
        row.slider->setObjectName(QLatin1String(p.sliderName));
        row.slider->setRange(p.sliderMin(), p.sliderMax());
        row.slider->setMinimumWidth(scaled(220));
        m_rows->addWidget(row.slider, r, 1);
        connect(row.slider, &QAbstractSlider::sliderPressed, controller(), &DspController::beginGesture);
        connect(row.slider, &QAbstractSlider::sliderReleased, controller(), &DspController::endGesture);
        connect(row.slider, &QSlider::valueChanged, this,
                [this, r](int position) { edited(r, m_table[r].param.fromSlider(position)); });
    }
    if (p.kind == K::Number) {
        row.spin = new StyledSpinBox(this);
        row.spin->setObjectName(QLatin1String(p.controlName));
        row.spin->setRange(p.min, p.max);
        row.spin->setDecimals(p.decimals);
        row.spin->setSingleStep(p.step);
        m_rows->addWidget(row.spin, r, 2);
        connect(row.spin, QOverload<double>::of(&QDoubleSpinBox::valueChanged), this,
                [this, r](double v) { edited(r, v); });
    } else if (p.kind == K::Choice) {
        row.choice = new QComboBox(this);
        row.choice->setObjectName(QLatin1String(p.controlName));
        for (Tx t : p.choices)
            row.choice->addItem(tx(t));
        m_rows->addWidget(row.choice, r, 1, 1, 2);
        connect(row.choice, QOverload<int>::of(&QComboBox::activated), this, [this, r](int i) { edited(r, i); });
    } else if (p.kind == K::Toggle) {
        auto *b = new QPushButton(this);
        b->setObjectName(QLatin1String(p.controlName));
        b->setCheckable(true);
        row.toggle = b;
        m_rows->addWidget(b, r, 1, 1, 2, Qt::AlignLeft);
        connect(b, &QPushButton::toggled, this, [this, r](bool on) { edited(r, on ? 1.0 : 0.0); });
    }
    if (p.unit)
        m_rows->addWidget(new QLabel(tx(*p.unit), this), r, 3);
    m_table.append(row);
}

void DspAutomixForm::writeRow(Row &row, double value)
{
    DspParam &p = row.param;
    const DspNode *n = shown();
    // At most as many open channels as the node has.
    if (QLatin1String(p.member) == QLatin1String("chNumLimit") && n) {
        p.max = qMax(1, n->portNum());
        if (row.spin->maximum() != p.max) {
            const QSignalBlocker blocker(row.spin);
            row.spin->setMaximum(p.max);
        }
    }
    const double v = p.shown(value);
    if (row.slider)
        setQuietly(row.slider, p.sliderPosition(v));
    if (row.spin)
        setQuietly(row.spin, v);
    if (row.choice) {
        const QSignalBlocker blocker(row.choice);
        row.choice->setCurrentIndex(int(std::lround(v)));
    }
    if (row.toggle)
        showToggle(row.toggle, v != 0.0, Tx::DspParamOn, Tx::DspParamOff);
}

void DspAutomixForm::rebuildStrips(int channels)
{
    qDeleteAll(m_channels);
    m_channels.clear();
    QWidget *inner = m_strips->parentWidget();
    for (int port = 0; port < channels; ++port) {
        auto *strip = new DspAutomixChForm(port, inputName(port), inner);
        m_strips->insertWidget(port, strip);
        connect(strip, &DspAutomixChForm::signal_inMix, this, [this](int p, bool on) {
            changeObj([p, on](DspAutomixer &a) {
                if (p < a.maskArr.size())
                    a.maskArr[p] = on;
            });
        });
        connect(strip, &DspAutomixChForm::signal_gain, this, [this](int p, double v) {
            const DspNode *n = shown();
            if (!n || std::abs(n->portArr.value(p).gainDb - v) < 1e-6 ||
                !controller()->setNodeChannelGain(nodeId(), p, v).isEmpty())
                refresh();
        });
        connect(strip, &DspAutomixChForm::signal_mute, this, [this](int p, bool on) {
            if (!controller()->setNodeChannelMute(nodeId(), p, on).isEmpty())
                refresh();
        });
        m_channels << strip;
    }
}

void DspAutomixForm::refresh()
{
    const DspNode *n = shown();
    if (!n)
        return;
    for (Row &row : m_table)
        writeRow(row, DspParams::value(n->automixer, row.param.member).value_or(0.0));
    if (m_channels.size() != n->portNum())
        rebuildStrips(n->portNum());
    for (int p = 0; p < m_channels.size(); ++p)
        m_channels[p]->showValues(n->automixer.maskArr.value(p, true), n->portArr[p].gainDb, n->portArr[p].mute);
}

void DspAutomixForm::edited(int r, double value)
{
    Row &row = m_table[r];
    const DspNode *n = shown();
    if (!n)
        return;
    const double stored = DspParams::value(n->automixer, row.param.member).value_or(0.0);
    if (!DspParam::isChange(stored, value)) {
        writeRow(row, stored); // the slider's twin follows even when nothing is sent
        return;
    }
    const char *member = row.param.member;
    changeObj([member, value](DspAutomixer &a) { DspParams::setValue(a, member, value); });
}

void DspAutomixForm::changeObj(const std::function<void(DspAutomixer &)> &set)
{
    const DspNode *n = shown();
    if (!n)
        return;
    DspNode changed = *n;
    set(changed.automixer);
    controller()->setNodeObj(nodeId(), changed);
    refresh();
}
