#include "gui/dsp/dspchannelstripform.h"

#include "core/app/scalefactors.h"
#include "core/app/texts.h"
#include "core/dsp/dspcontroller.h"
#include "gui/widgets/style.h"
#include "gui/widgets/styledslider.h"

#include <QComboBox>
#include <QEvent>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QSignalBlocker>
#include <QVBoxLayout>
#include <cmath>

DspChannelStripForm::DspChannelStripForm(DspController *controller, QWidget *parent)
    : QWidget(parent)
    , m_controller(controller)
    , m_name(new QLabel(this))
    , m_gainLabel(new QLabel(this))
    , m_slider(new StyledSlider(Qt::Vertical, this))
    , m_spin(new StyledSpinBox(this))
    , m_mute(new QPushButton(this))
    , m_inverse(new QPushButton(this))
    , m_groupLabel(new QLabel(this))
    , m_group(new QComboBox(this))
{
    setObjectName(QStringLiteral("DspChannelStripForm"));
    m_name->setObjectName(QStringLiteral("lb_name"));
    m_name->setFont(Style::font(11, true));
    m_name->setAlignment(Qt::AlignCenter);
    m_slider->setObjectName(QStringLiteral("sl_gain"));
    m_slider->setRange(int(kMinGainDb * kSliderSteps), int(kMaxGainDb * kSliderSteps));
    m_slider->setPageStep(3 * kSliderSteps);
    m_slider->setMinimumHeight(scaled(220));
    m_spin->setObjectName(QStringLiteral("sb_gain"));
    m_spin->setRange(kMinGainDb, kMaxGainDb);
    m_spin->setDecimals(1);
    m_spin->setSingleStep(0.5);
    m_mute->setObjectName(QStringLiteral("pb_mute"));
    m_mute->setCheckable(true);
    m_inverse->setObjectName(QStringLiteral("pb_inverse"));
    m_inverse->setCheckable(true);
    m_group->setObjectName(QStringLiteral("com_group"));
    m_mute->setStyleSheet(
        QStringLiteral("QPushButton:checked { background: %1; color: white; }").arg(Style::rgb(Style::kError)));
    m_inverse->setStyleSheet(
        QStringLiteral("QPushButton:checked { background: %1; color: white; }").arg(Style::rgb(Style::kWarning)));

    auto *sliderRow = new QHBoxLayout;
    sliderRow->addStretch();
    sliderRow->addWidget(m_slider);
    sliderRow->addStretch();
    auto *layout = new QVBoxLayout(this);
    layout->addWidget(m_name);
    layout->addWidget(m_gainLabel);
    layout->addLayout(sliderRow, 1);
    layout->addWidget(m_spin);
    layout->addWidget(m_mute);
    layout->addWidget(m_inverse);
    layout->addWidget(m_groupLabel);
    layout->addWidget(m_group);

    connect(m_slider, &QSlider::sliderPressed, this, &DspChannelStripForm::sliderPressed);
    connect(m_slider, &QSlider::sliderReleased, this, &DspChannelStripForm::sliderReleased);
    connect(m_slider, &QSlider::valueChanged, this, &DspChannelStripForm::sliderMoved);
    connect(m_spin, QOverload<double>::of(&QDoubleSpinBox::valueChanged), this, &DspChannelStripForm::spinCommitted);
    connect(m_mute, &QPushButton::clicked, this, &DspChannelStripForm::muteClicked);
    connect(m_inverse, &QPushButton::clicked, this, &DspChannelStripForm::inverseClicked);
    connect(m_group, QOverload<int>::of(&QComboBox::activated), this, &DspChannelStripForm::groupChosen);

    connect(controller, &DspController::signal_channelChanged, this, &DspChannelStripForm::channelChanged);
    connect(controller, &DspController::signal_documentLoaded, this, [this] {
        fillGroups();
        refresh();
    });
    // Once every answer is in, the document holds what the device took; a refused change springs back.
    connect(controller, &DspController::signal_idle, this, &DspChannelStripForm::refresh);
    connect(controller, &DspController::signal_linkLost, this, &DspChannelStripForm::refresh);
    retranslate();
    fillGroups();
    refresh();
}

DspChannelStripForm::~DspChannelStripForm()
{
    if (m_dragging)
        m_controller->endGesture();
}

void DspChannelStripForm::setChannelNames(const QStringList &inputs, const QStringList &outputs)
{
    m_inputNames = inputs;
    m_outputNames = outputs;
    refresh();
}

void DspChannelStripForm::showChannel(DspSide side, int channel)
{
    if (m_dragging) {
        m_dragging = false;
        m_controller->endGesture();
    }
    m_side = side;
    m_channel = channel;
    refresh();
}

bool DspChannelStripForm::hasChannel() const
{
    return m_controller->channel(m_side, m_channel) != nullptr;
}

void DspChannelStripForm::fillGroups()
{
    const QSignalBlocker block(m_group);
    m_group->clear();
    m_group->addItem(tx(Tx::DspStripGroupNone), -1);
    const QVector<DspGroup> &groups = m_controller->document().groupArr;
    for (int g = 0; g < groups.size(); ++g)
        m_group->addItem(groups[g].name, g);
}

void DspChannelStripForm::refresh()
{
    const DspChannel *ch = m_controller->channel(m_side, m_channel);
    for (QWidget *w : std::initializer_list<QWidget *>{m_slider, m_spin, m_mute, m_inverse, m_group})
        w->setEnabled(ch != nullptr);
    const bool output = m_side == DspSide::Out;
    const QString name = (output ? m_outputNames : m_inputNames).value(m_channel).trimmed();
    m_name->setText(m_channel < 0    ? QString()
                    : name.isEmpty() ? tx(output ? Tx::DspOutputName : Tx::DspInputName).arg(m_channel + 1)
                                     : name);
    if (!ch)
        return;
    m_refreshing = true;
    {
        const QSignalBlocker spinBlock(m_spin);
        m_spin->setValue(ch->gainDb);
    }
    // A drag in progress keeps the handle where the hand is.
    if (!m_dragging) {
        const QSignalBlocker sliderBlock(m_slider);
        m_slider->setValue(int(std::lround(ch->gainDb * kSliderSteps)));
    }
    m_mute->setChecked(ch->mute);
    m_inverse->setChecked(ch->inverse);
    const int at = m_group->findData(ch->groupId);
    m_group->setCurrentIndex(at < 0 ? 0 : at);
    m_refreshing = false;
}

void DspChannelStripForm::channelChanged(DspSide side, int channel)
{
    if (side == m_side && channel == m_channel)
        refresh();
}

void DspChannelStripForm::sliderPressed()
{
    if (!hasChannel())
        return;
    m_dragging = true;
    m_controller->beginGesture();
}

void DspChannelStripForm::sliderReleased()
{
    if (!m_dragging)
        return;
    m_dragging = false;
    m_controller->endGesture();
    refresh();
}

void DspChannelStripForm::sliderMoved(int tenths)
{
    if (m_refreshing || !hasChannel())
        return;
    const double dB = double(tenths) / kSliderSteps;
    {
        const QSignalBlocker block(m_spin);
        m_spin->setValue(dB);
    }
    m_controller->setChannelGain(m_side, m_channel, dB);
}

void DspChannelStripForm::spinCommitted(double dB)
{
    if (m_refreshing || !hasChannel())
        return;
    {
        const QSignalBlocker block(m_slider);
        m_slider->setValue(int(std::lround(dB * kSliderSteps)));
    }
    m_controller->setChannelGain(m_side, m_channel, dB);
}

void DspChannelStripForm::muteClicked(bool on)
{
    if (hasChannel())
        m_controller->setChannelMute(m_side, m_channel, on);
}

void DspChannelStripForm::inverseClicked(bool on)
{
    if (hasChannel())
        m_controller->setChannelInverse(m_side, m_channel, on);
}

void DspChannelStripForm::groupChosen(int comboIndex)
{
    if (!hasChannel())
        return;
    if (!m_controller->setChannelGroup(m_side, m_channel, m_group->itemData(comboIndex).toInt()).isEmpty())
        refresh(); // refused at once: show the group the channel is in
}

void DspChannelStripForm::retranslate()
{
    m_gainLabel->setText(tx(Tx::DspStripGain));
    m_mute->setText(tx(Tx::DspStripMute));
    m_inverse->setText(tx(Tx::DspStripInvert));
    m_groupLabel->setText(tx(Tx::DspStripGroup));
    if (m_group->count() > 0)
        m_group->setItemText(0, tx(Tx::DspStripGroupNone));
    refresh();
}

void DspChannelStripForm::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::LanguageChange)
        retranslate();
    QWidget::changeEvent(event);
}
