#pragma once

#include "gui/dsp/blocks/dspparamsform.h"

/// The editors that are their kind's table and nothing more: feedback suppressor, ducker, and the echo
/// canceller of a channel.
class DspFbeForm : public DspParamsForm
{
    Q_OBJECT
public:
    DspFbeForm(DspController *c, quint64 uid, const QString &title, ChannelNames names, QWidget *parent = nullptr)
        : DspParamsForm(c, uid, title, DspParams::of(DspKind::Fbe), std::move(names), parent)
    {
        setObjectName(QStringLiteral("DspFbeForm"));
        refresh();
    }
};

class DspDuckerForm : public DspParamsForm
{
    Q_OBJECT
public:
    DspDuckerForm(DspController *c, quint64 uid, const QString &title, ChannelNames names, QWidget *parent = nullptr)
        : DspParamsForm(c, uid, title, DspParams::of(DspKind::Ducker), std::move(names), parent)
    {
        setObjectName(QStringLiteral("DspDuckerForm"));
        refresh();
    }
};

class DspChAecForm : public DspParamsForm
{
    Q_OBJECT
public:
    DspChAecForm(DspController *c, quint64 uid, const QString &title, ChannelNames names, QWidget *parent = nullptr)
        : DspParamsForm(c, uid, title, DspParams::of(DspKind::Aec), std::move(names), parent)
    {
        setObjectName(QStringLiteral("DspChAecForm"));
        refresh();
    }
};

/// The signal generator: its table and a read-only meter of the channel's level.
class DspSignalGenForm : public DspParamsForm
{
    Q_OBJECT
public:
    DspSignalGenForm(DspController *c, quint64 uid, const QString &title, ChannelNames names,
                     QWidget *parent = nullptr);

protected:
    void channelLevel(double dbfs) override;

private:
    QSlider *m_meter;
};
