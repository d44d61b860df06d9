#pragma once

#include "gui/dsp/blocks/dspparamsform.h"

class QDoubleSpinBox;
class QSpinBox;

/// The delay: one sample count shown in four linked units at the device's sample rate (samples, ms, metres and
/// feet at 340 m/s). An entry in any unit is rounded to whole samples, which is what is stored and sent; the
/// four are then rewritten from that count.
class DspDelayBlockForm : public DspParamsForm
{
    Q_OBJECT
public:
    DspDelayBlockForm(DspController *controller, quint64 uid, const QString &title, QWidget *parent = nullptr);

public slots:
    void refresh() override;

protected:
    void channelLevel(double dbfs) override;

private:
    double rate() const;
    void setSamples(int samples);

    QSpinBox *m_dots;
    QSlider *m_slider;
    QDoubleSpinBox *m_ms;
    QDoubleSpinBox *m_metres;
    QDoubleSpinBox *m_feet;
    QSlider *m_meter;
};
