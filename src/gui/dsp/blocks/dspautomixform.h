#pragma once

#include "core/dsp/params/dspparams.h"
#include "gui/dsp/blocks/dspnodeform.h"

#include <QWidget>

class DspParamRows;
class QAbstractButton;
class QComboBox;
class QDoubleSpinBox;
class QGridLayout;
class QHBoxLayout;
class QLabel;
class QSlider;

/// One channel of the automixer as a narrow strip: its input's name, whether it is in the mix (its flag of
/// the node's "maskArr"), and the channel's own gain and mute on the automixer node.
class DspAutomixChForm : public QWidget
{
    Q_OBJECT
public:
    DspAutomixChForm(int port, const QString &name, QWidget *parent = nullptr);

    void showValues(bool inMix, double gainDb, bool mute);

signals:
    void signal_inMix(int port, bool on);
    void signal_gain(int port, double gainDb);
    void signal_mute(int port, bool mute);

private:
    QAbstractButton *m_inMix;
    QDoubleSpinBox *m_gain;
    QAbstractButton *m_mute;
};

/// The editor of the automixer node: every member of its obj (DspParams::automixer(), the open-channel
/// limit up to the node's channel count) sent whole with "setNodeData", and one DspAutomixChForm per channel.
class DspAutomixForm : public DspNodeForm
{
    Q_OBJECT
public:
    DspAutomixForm(DspController *controller, ChannelNames names, QWidget *parent = nullptr);

public slots:
    void refresh() override;

private:
    void edited(const char *member, double value);
    void changeObj(const std::function<void(DspAutomixer &)> &set);
    void rebuildStrips(int channels);

    DspParamRows *m_table;
    QHBoxLayout *m_strips;
    QVector<DspAutomixChForm *> m_channels;
};
