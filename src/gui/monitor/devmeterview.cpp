#include "gui/monitor/devmeterview.h"

#include "core/app/scalefactors.h"
#include "core/app/texts.h"
#include "core/devices/devicerecord.h"
#include "gui/widgets/elidedlabel.h"
#include "gui/widgets/style.h"

#include <QComboBox>
#include <cmath>
#include <QEvent>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>
#include <QPushButton>
#include <QScrollArea>
#include <QVBoxLayout>

namespace {

constexpr int kColumns = 4;
// Above this much below the top a bar turns amber: the last stretch before clipping.
constexpr double kWarnBelowTopDb = 12.0;

const Tx kCaptions[LevelsTracker::GroupCount] = {Tx::LvlColAnalogIn, Tx::LvlColAnalogOut, Tx::LvlColNetIn,
                                                  Tx::LvlColNetOut};

QString levelText(double db)
{
    return std::isfinite(db) ? QString::number(db, 'f', 1) : QStringLiteral("-inf");
}

} // namespace

MeterBar::MeterBar(QWidget *parent)
    : QWidget(parent)
{
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    setFixedHeight(scaled(10));
}

QSize MeterBar::sizeHint() const
{
    return QSize(scaled(90), scaled(10));
}

void MeterBar::setChannel(const LevelMeter::Channel &channel, const LevelMeter::Scale &scale)
{
    const double level = LevelMeter::fraction(channel.levelDb, scale);
    const double peak = LevelMeter::fraction(channel.peakDb, scale);
    const double warn = LevelMeter::fraction(scale.topDb - kWarnBelowTopDb, scale);
    if (level == m_level && peak == m_peak && channel.clipped == m_clipped && warn == m_warnFrom)
        return;
    m_level = level;
    m_peak = peak;
    m_warnFrom = warn;
    m_clipped = channel.clipped;
    update();
}

void MeterBar::paintEvent(QPaintEvent *)
{
    QPainter p(this);
    const int clipWidth = scaled(8);
    const QRect track(0, 0, width() - clipWidth - scaled(2), height());
    const QRect clip(width() - clipWidth, 0, clipWidth, height());
    p.fillRect(track, QColor(26, 27, 31));
    const int filled = int(track.width() * m_level + 0.5);
    const int warnAt = int(track.width() * m_warnFrom + 0.5);
    p.fillRect(QRect(0, 0, qMin(filled, warnAt), height()), QColor(70, 170, 100));
    if (filled > warnAt)
        p.fillRect(QRect(warnAt, 0, filled - warnAt, height()), Style::kWarning);
    if (m_peak > 0.0) {
        const int x = qMin(track.width() - 1, int(track.width() * m_peak));
        p.fillRect(QRect(x - 1, 0, 2, height()), m_peak >= m_warnFrom ? Style::kWarning : QColor(200, 202, 210));
    }
    p.fillRect(clip, m_clipped ? Style::kError : QColor(55, 57, 64));
}

DevMeterView::DevMeterView(QWidget *parent)
    : QWidget(parent)
{
    setObjectName(QStringLiteral("wd_meterView"));
    m_device = new QComboBox(this);
    m_device->setObjectName(QStringLiteral("cb_meterDevice"));
    m_device->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    m_device->setMinimumContentsLength(12);
    connect(m_device, QOverload<int>::of(&QComboBox::activated), this,
            [this](int) { emit signal_chosen(chosen()); });
    m_clear = new QPushButton(this);
    m_clear->setObjectName(QStringLiteral("pb_clearClips"));
    connect(m_clear, &QPushButton::clicked, this, &DevMeterView::signal_clearClips);
    m_empty = new QLabel(this);
    m_empty->setObjectName(QStringLiteral("lb_meterEmpty"));
    m_empty->setAlignment(Qt::AlignCenter);
    m_empty->setWordWrap(true);
    m_scroll = new QScrollArea(this);
    m_scroll->setObjectName(QStringLiteral("sa_meters"));
    m_scroll->setWidgetResizable(true);
    m_scroll->setFrameShape(QFrame::NoFrame);
    m_scroll->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    // The page's dark ground shows through, as under the cells beside.
    m_scroll->setStyleSheet(QStringLiteral("QScrollArea { background: transparent; }"
                                           " #wd_meterGrid { background: transparent; }"));
    m_scroll->viewport()->setAutoFillBackground(false);

    auto *top = new QHBoxLayout;
    top->addWidget(m_device, 1);
    top->addWidget(m_clear);
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(scaled(8));
    layout->addLayout(top);
    layout->addWidget(m_empty, 1);
    layout->addWidget(m_scroll, 1);
    retranslate();
    showNone();
}

QSize DevMeterView::sizeHint() const
{
    return QSize(scaled(460), scaled(400));
}

QSize DevMeterView::minimumSizeHint() const
{
    return QSize(scaled(240), scaled(160));
}

void DevMeterView::setDevices(const QVector<QPair<QString, QString>> &devices)
{
    const QString current = chosen();
    const QSignalBlocker block(m_device);
    m_device->clear();
    for (const auto &d : devices)
        m_device->addItem(d.second.isEmpty() ? d.first : d.second, d.first);
    m_device->setCurrentIndex(m_device->findData(current));
}

void DevMeterView::choose(const QString &devId)
{
    const QSignalBlocker block(m_device);
    m_device->setCurrentIndex(m_device->findData(devId));
}

QString DevMeterView::chosen() const
{
    return m_device->currentData().toString();
}

void DevMeterView::showNone()
{
    m_empty->show();
    m_scroll->hide();
    m_clear->setEnabled(false);
}

void DevMeterView::rebuild(const Device &device)
{
    // One grid widget for the whole device: replacing it drops every old bar at once.
    m_grid = new QWidget;
    m_grid->setObjectName(QStringLiteral("wd_meterGrid"));
    auto *layout = new QVBoxLayout(m_grid);
    layout->setContentsMargins(scaled(2), 0, scaled(8), scaled(8));
    layout->setSpacing(scaled(6));
    QFont small = Style::font(9);
    for (int g = 0; g < LevelsTracker::GroupCount; ++g) {
        const auto group = LevelsTracker::Group(g);
        m_bars[size_t(g)].clear();
        m_labels[size_t(g)].clear();
        m_captions[size_t(g)] = nullptr;
        const int channels = LevelsTracker::channelCount(device, group);
        if (channels <= 0)
            continue;
        auto *caption = new QLabel(tx(kCaptions[g]), m_grid);
        caption->setFont(Style::font(10, true));
        caption->setStyleSheet(QStringLiteral("color: white;"));
        m_captions[size_t(g)] = caption;
        layout->addWidget(caption);
        auto *grid = new QGridLayout;
        grid->setHorizontalSpacing(scaled(10));
        grid->setVerticalSpacing(scaled(2));
        for (int ch = 0; ch < channels; ++ch) {
            auto *label = new ElidedLabel(m_grid);
            label->setObjectName(QStringLiteral("lb_meter_%1_%2").arg(g).arg(ch));
            label->setFont(small);
            const QString text = DeviceMeters::label(device, group, ch);
            label->setFullText(text);
            label->setToolTip(tx(kCaptions[g]) + QStringLiteral(" · ") + text);
            label->setMinimumWidth(scaled(40));
            auto *bar = new MeterBar(m_grid);
            bar->setObjectName(QStringLiteral("mb_meter_%1_%2").arg(g).arg(ch));
            const int row = (ch / kColumns) * 2;
            const int column = ch % kColumns;
            grid->addWidget(label, row, column);
            grid->addWidget(bar, row + 1, column);
            m_labels[size_t(g)].append(label);
            m_bars[size_t(g)].append(bar);
        }
        for (int c = 0; c < kColumns; ++c)
            grid->setColumnStretch(c, 1);
        layout->addLayout(grid);
    }
    layout->addStretch(1);
    m_scroll->setWidget(m_grid); // deletes the previous grid
    m_grid->setAutoFillBackground(false);
}

void DevMeterView::showDevice(const Device &device, const DeviceMeters &meters)
{
    QString layoutKey = device.devId();
    for (int g = 0; g < LevelsTracker::GroupCount; ++g) {
        const auto group = LevelsTracker::Group(g);
        layoutKey += QLatin1Char('/') + QString::number(LevelsTracker::channelCount(device, group));
        for (int ch = 0; ch < LevelsTracker::channelCount(device, group); ++ch)
            layoutKey += QLatin1Char(',') + DeviceMeters::label(device, group, ch);
    }
    if (layoutKey != m_builtFor) {
        m_builtFor = layoutKey;
        rebuild(device);
    }
    for (int g = 0; g < LevelsTracker::GroupCount; ++g) {
        const LevelMeter &meter = meters.group(LevelsTracker::Group(g));
        const QVector<MeterBar *> &bars = m_bars[size_t(g)];
        for (int ch = 0; ch < bars.size() && ch < meter.channels().size(); ++ch) {
            const LevelMeter::Channel &c = meter.channels().at(ch);
            bars[ch]->setChannel(c, meter.scale());
            bars[ch]->setToolTip(m_labels[size_t(g)][ch]->fullText() + QStringLiteral(": ") + levelText(c.levelDb)
                                 + QStringLiteral(" / ") + levelText(c.peakDb));
        }
    }
    m_empty->hide();
    m_scroll->show();
    m_clear->setEnabled(true);
}

void DevMeterView::retranslate()
{
    m_clear->setText(tx(Tx::MeterClearClips));
    m_clear->setToolTip(tx(Tx::MeterClearClipsTip));
    m_device->setToolTip(tx(Tx::MeterDeviceTip));
    m_empty->setText(tx(Tx::MeterChoose));
    for (int g = 0; g < LevelsTracker::GroupCount; ++g) {
        if (QLabel *caption = m_captions[size_t(g)])
            caption->setText(tx(kCaptions[g]));
        for (ElidedLabel *label : m_labels[size_t(g)])
            label->setToolTip(tx(kCaptions[g]) + QStringLiteral(" · ") + label->fullText());
    }
}

void DevMeterView::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::LanguageChange)
        retranslate();
    QWidget::changeEvent(event);
}
