#pragma once

#include "core/dsp/params/dspparams.h"
#include "gui/dsp/blocks/dspnodeform.h"

class QAbstractButton;
class QComboBox;
class QDoubleSpinBox;
class QGridLayout;
class QSpinBox;
class QPushButton;
class QScrollArea;

/// The editor of the echo-cancellation node: one row per channel of the node with its near end (one input,
/// a combo of the input names), its far end (any inputs, a checkable menu), the switches and levels of
/// echo cancelling, noise suppression and automatic gain (DspParams::aecChannel()), and the channel's gain
/// and mute. Each change is one "setAecChannel" (or "setGain"/"setMute") through the controller.
class DspAecForm : public DspNodeForm
{
    Q_OBJECT
public:
    DspAecForm(DspController *controller, ChannelNames names, QWidget *parent = nullptr);

public slots:
    void refresh() override;

private:
    struct Row
    {
        QComboBox *nearEnd = nullptr;
        QPushButton *farEnd = nullptr;
        QVector<QAbstractButton *> toggles; ///< by table row; null for numbers
        QVector<QSpinBox *> levels;         ///< by table row; null for toggles
        QDoubleSpinBox *gain = nullptr;
        QAbstractButton *mute = nullptr;
    };
    void rebuild(int channels);
    void writeRow(int port, const DspChannel &c);
    /// The user changed the channel's echo-cancellation members: sent unless nothing differs.
    void edited(int port, const std::function<void(DspChannel &)> &set);
    DspChannel shownPort(int port) const;

    QGridLayout *m_grid;
    QScrollArea *m_scroll = nullptr;
    QVector<Row> m_rows;
};
