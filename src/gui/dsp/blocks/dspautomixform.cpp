#include "gui/dsp/blocks/dspautomixform.h"

#include "core/app/scalefactors.h"
#include "core/app/texts.h"
#include "core/dsp/dspcontroller.h"
#include "gui/dsp/blocks/dspparamrows.h"
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
    , m_strips(new QHBoxLayout)
{
    setObjectName(QStringLiteral("DspAutomixForm"));
    setTitle(tx(Tx::DspAutomixerConfig));
    auto *rows = new QGridLayout;
    contentLayout()->addLayout(rows);
    m_table = new DspParamRows(DspParams::automixer(), rows, this, controller);
    connect(m_table, &DspParamRows::signal_edited, this, &DspAutomixForm::edited);
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
    // At most as many open channels as the node has.
    m_table->setMaximum("chNumLimit", qMax(1, n->portNum()));
    m_table->show([n](const char *member) { return DspParams::value(n->automixer, member); });
    if (m_channels.size() != n->portNum())
        rebuildStrips(n->portNum());
    for (int p = 0; p < m_channels.size(); ++p)
        m_channels[p]->showValues(n->automixer.maskArr.value(p, true), n->portArr[p].gainDb, n->portArr[p].mute);
}

void DspAutomixForm::edited(const char *member, double value)
{
    const DspNode *n = shown();
    if (n && DspParam::isChange(DspParams::value(n->automixer, member).value_or(0.0), value))
        changeObj([member, value](DspAutomixer &a) { DspParams::setValue(a, member, value); });
    else
        refresh(); // the slider's twin follows even when nothing is sent
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
