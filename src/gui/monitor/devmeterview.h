#pragma once

#include "core/monitor/levelmeter.h"

#include <QWidget>

#include <array>

class ElidedLabel;
class QComboBox;
class QGridLayout;
class QLabel;
class QPushButton;
class QScrollArea;
struct Device;

/// One channel's bar: the level from the left, the peak hold as a line and
/// the clip mark at the right end. Drawn from core's figures only.
class MeterBar : public QWidget
{
    Q_OBJECT
public:
    explicit MeterBar(QWidget *parent = nullptr);

    void setChannel(const LevelMeter::Channel &channel, const LevelMeter::Scale &scale);
    double levelFraction() const { return m_level; }
    double peakFraction() const { return m_peak; }
    bool clipped() const { return m_clipped; }

    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    double m_level = 0.0;
    double m_peak = 0.0;
    double m_warnFrom = 1.0;
    bool m_clipped = false;
};

/// The meters of one device at a time, beside the levels page's cells: every
/// channel of its four groups as a labelled bar in a scrollable grid.
class DevMeterView : public QWidget
{
    Q_OBJECT
public:
    explicit DevMeterView(QWidget *parent = nullptr);

    /// The devices to choose from, in the page's order: (devId, name).
    void setDevices(const QVector<QPair<QString, QString>> &devices);
    /// Follows a device (chosen in the list or by a click on its row).
    void choose(const QString &devId);
    QString chosen() const;

    /// Rebuilds the bars when the device's channels changed, then shows the
    /// meters' latest figures.
    void showDevice(const Device &device, const DeviceMeters &meters);
    /// No device to show.
    void showNone();

    /// Modest, so the cells beside keep most of the page; the grid scrolls.
    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

    QVector<MeterBar *> bars(LevelsTracker::Group group) const { return m_bars[size_t(group)]; }
    QVector<ElidedLabel *> labels(LevelsTracker::Group group) const { return m_labels[size_t(group)]; }

signals:
    void signal_chosen(const QString &devId);
    void signal_clearClips();

protected:
    void changeEvent(QEvent *event) override;

private:
    void rebuild(const Device &device);
    void retranslate();

    QComboBox *m_device;
    QPushButton *m_clear;
    QLabel *m_empty;
    QScrollArea *m_scroll;
    QWidget *m_grid = nullptr;
    QString m_builtFor;          // the device and channel layout the bars stand for
    std::array<QLabel *, LevelsTracker::GroupCount> m_captions{};
    std::array<QVector<MeterBar *>, LevelsTracker::GroupCount> m_bars;
    std::array<QVector<ElidedLabel *>, LevelsTracker::GroupCount> m_labels;
};
