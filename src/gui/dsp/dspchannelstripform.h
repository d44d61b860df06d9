#pragma once

#include "core/dsp/dspkinds.h"

#include <QStringList>
#include <QWidget>

class DspController;
class QCheckBox;
class QComboBox;
class QLabel;
class QPushButton;
class StyledSlider;
class StyledSpinBox;

/// The channel strip of one input or output channel at a time: gain (slider and spin box, -72 to +12 dB),
/// mute, polarity inversion and link group. Shows the controller's document and asks the controller for every
/// change; a slider drag is one undo step. Failures are the controller's notices; once nothing waits for an
/// answer the strip shows the document again, so a refused change springs back.
class DspChannelStripForm : public QWidget
{
    Q_OBJECT
public:
    static constexpr double kMinGainDb = -72.0;
    static constexpr double kMaxGainDb = 12.0;
    /// The slider counts tenths of a dB.
    static constexpr int kSliderSteps = 10;

    explicit DspChannelStripForm(DspController *controller, QWidget *parent = nullptr);
    ~DspChannelStripForm() override;

    void setChannelNames(const QStringList &inputs, const QStringList &outputs);
    void showChannel(DspSide side, int channel);
    DspSide side() const { return m_side; }
    int channel() const { return m_channel; }

protected:
    void changeEvent(QEvent *event) override;

private:
    void refresh();
    void fillGroups();
    void sliderMoved(int tenths);
    void sliderPressed();
    void sliderReleased();
    void spinCommitted(double dB);
    void muteClicked(bool on);
    void inverseClicked(bool on);
    void groupChosen(int comboIndex);
    void channelChanged(DspSide side, int channel);
    void retranslate();
    bool hasChannel() const;

    DspController *m_controller;
    DspSide m_side = DspSide::In;
    int m_channel = -1;
    QStringList m_inputNames;
    QStringList m_outputNames;
    bool m_dragging = false;
    bool m_refreshing = false;

    QLabel *m_name;
    QLabel *m_gainLabel;
    StyledSlider *m_slider;
    StyledSpinBox *m_spin;
    QPushButton *m_mute;
    QPushButton *m_inverse;
    QLabel *m_groupLabel;
    QComboBox *m_group;
};
