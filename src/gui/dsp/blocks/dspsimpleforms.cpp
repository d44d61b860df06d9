#include "gui/dsp/blocks/dspsimpleforms.h"

#include <QGridLayout>
#include <QHBoxLayout>

DspSignalGenForm::DspSignalGenForm(DspController *c, quint64 uid, const QString &title, ChannelNames names,
                                   QWidget *parent)
    : DspParamsForm(c, uid, title, DspParams::of(DspKind::SignalGen), std::move(names), parent)
{
    setObjectName(QStringLiteral("DspSignalGenForm"));
    auto *meters = new QGridLayout;
    m_meter = addMeter(meters, 0, "slider_volume_read", "lab_dBFS_volume", Tx::DspUnitDbfs);
    body()->addLayout(meters);
    refresh();
}

void DspSignalGenForm::channelLevel(double dbfs)
{
    showLevel(m_meter, dbfs);
}
