#pragma once

#include "core/dsp/dspblock.h"

#include <QWidget>

class QAbstractButton;
class QButtonGroup;
class QDoubleSpinBox;
class QLabel;
class QPushButton;
class QSlider;

/// One band strip of the equaliser editor: gain slider, frequency, gain and width boxes, the band type, 0 dB
/// and bypass. It holds the band as shown, stores each edit the operator makes in it and says so by signal; the
/// equaliser form sends it. Values written by the program (setBand) never signal.
class DspEqSingleForm : public QWidget
{
    Q_OBJECT
public:
    explicit DspEqSingleForm(int index, QWidget *parent = nullptr);

    int index() const { return m_index; }
    /// The band with the operator's last edit.
    const DspEqBand &band() const { return m_band; }
    /// Writes every control from the band; values beyond the controls' ranges are shown at their limit and kept
    /// in the band as they are, so an edit of another member never sends them back changed.
    void setBand(const DspEqBand &band);

    QSlider *gainSlider() const { return m_slider; }

signals:
    void signal_updateProc(int index);
    void signal_updateBypass(int index);

private:
    void storeGain(double db);
    void storeType(int type);
    QPushButton *typeButton(const char *name, const QString &text, int type);

    int m_index;
    DspEqBand m_band;
    QSlider *m_slider;
    QDoubleSpinBox *m_freq;
    QDoubleSpinBox *m_gain;
    QDoubleSpinBox *m_width;
    QButtonGroup *m_types;
    QPushButton *m_bypass;
    QLabel *m_label;
};
