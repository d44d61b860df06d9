#pragma once

#include "gui/dsp/blocks/dspparamsform.h"

namespace QtCharts {
class QChartView;
class QLineSeries;
class QScatterSeries;
} // namespace QtCharts

/// The editors of the compressor, expander, limiter and noise gate: their table, the channel's level meter,
/// and the block's gain reduction (the gate: open or closed) from the device's live replies, asked for while
/// the editor is open. The compressor and expander draw their transfer curve with the live input level as a
/// dot on it.
class DspDynamicsForm : public DspParamsForm
{
    Q_OBJECT
public:
    DspDynamicsForm(DspController *controller, quint64 uid, const QString &title, DspKind kind,
                    ChannelNames names, QWidget *parent = nullptr);

    /// How often the block's live state is asked for.
    static constexpr int kStatusPollMs = 500;

protected:
    void valuesChanged() override;
    void channelLevel(double dbfs) override;

private:
    void onStatus(quint64 id, double gain, int isOpen);
    QVector<QPointF> curve() const;

    DspKind m_kind;
    double m_inputDb = -qInf();
    std::optional<double> m_reductionDb; ///< as the device last reported it
    QSlider *m_volume = nullptr;
    QSlider *m_reduce = nullptr;
    QLabel *m_status = nullptr;
    QtCharts::QChartView *m_chart = nullptr;
    QtCharts::QLineSeries *m_curve = nullptr;
    QtCharts::QScatterSeries *m_dot = nullptr;
};

class DspCompressForm : public DspDynamicsForm
{
    Q_OBJECT
public:
    DspCompressForm(DspController *c, quint64 uid, const QString &title, ChannelNames names, QWidget *parent = nullptr)
        : DspDynamicsForm(c, uid, title, DspKind::Compress, std::move(names), parent)
    {
        setObjectName(QStringLiteral("DspCompressForm"));
    }
};

class DspExpandForm : public DspDynamicsForm
{
    Q_OBJECT
public:
    DspExpandForm(DspController *c, quint64 uid, const QString &title, ChannelNames names, QWidget *parent = nullptr)
        : DspDynamicsForm(c, uid, title, DspKind::Expand, std::move(names), parent)
    {
        setObjectName(QStringLiteral("DspExpandForm"));
    }
};

class DspLimitForm : public DspDynamicsForm
{
    Q_OBJECT
public:
    DspLimitForm(DspController *c, quint64 uid, const QString &title, ChannelNames names, QWidget *parent = nullptr)
        : DspDynamicsForm(c, uid, title, DspKind::Limit, std::move(names), parent)
    {
        setObjectName(QStringLiteral("DspLimitForm"));
    }
};

class DspNoisegateForm : public DspDynamicsForm
{
    Q_OBJECT
public:
    DspNoisegateForm(DspController *c, quint64 uid, const QString &title, ChannelNames names, QWidget *parent = nullptr)
        : DspDynamicsForm(c, uid, title, DspKind::NoiseGate, std::move(names), parent)
    {
        setObjectName(QStringLiteral("DspNoisegateForm"));
    }
};
