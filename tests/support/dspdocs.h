#pragma once

#include "core/dsp/cdevicedspdata.h"
#include "core/dsp/dspdefaults.h"
#include "core/dsp/dspsink.h"

#include <QByteArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QStringList>

/// Configurations built from the program's own records, for tests of what the DSP window decides.
namespace DspDocs {

/// Inputs, the matrix and outputs; every channel's chain given, eight link groups.
inline CDeviceDspData make(int inputs, int outputs, const QVector<DspBlock> &inChain = {},
                           const QVector<DspBlock> &outChain = {}, int sampleRate = 48000)
{
    CDeviceDspData d;
    d.version = QStringLiteral("4");
    d.sampleRate = sampleRate;
    for (int g = 0; g < 8; ++g) {
        DspGroup group;
        group.name = QStringLiteral("Group %1").arg(g + 1);
        d.groupArr.append(group);
    }
    DspNode in, matrix, out;
    for (int i = 0; i < inputs; ++i) {
        in.portArr.append(DspDefaults::channel());
        in.portArr.last().procArr = inChain;
    }
    matrix.type = DspNode::Matrix;
    matrix.matrix = DspDefaults::matrix(outputs, inputs);
    for (int i = 0; i < outputs; ++i) {
        out.portArr.append(DspDefaults::channel());
        out.portArr.last().procArr = outChain;
    }
    d.nodeArr = {in, matrix, out};
    return d;
}

/// The same with an echo-cancellation node (id 1) and an automixer node (id 2) of this many channels.
inline CDeviceDspData withNodes(CDeviceDspData d, int channels)
{
    DspNode aec, mix;
    aec.type = DspNode::EchoCancel;
    mix.type = DspNode::Automixer;
    mix.automixer = DspDefaults::automixer(channels);
    mix.portArr.fill(DspDefaults::channel(), channels);
    for (int c = 0; c < channels; ++c)
        aec.portArr.append(DspDefaults::aecChannel(c));
    d.nodeArr.insert(1, mix);
    d.nodeArr.insert(1, aec);
    return d;
}

/// The device's answer to "getConfig" carrying the document.
inline QString reply(const CDeviceDspData &doc)
{
    return QString::fromUtf8("{\"config\":" + doc.toJson() +
                             ",\"ops\":\"getConfig\",\"result\":\"succ\",\"uiTag\":\"dspUiTag\"}");
}

/// The device's answer to a request: the request itself with its result, as the device echoes it.
inline QString answer(const QString &request, bool ok = true)
{
    QJsonObject o = QJsonDocument::fromJson(request.toUtf8()).object();
    o.insert(QStringLiteral("result"), ok ? QStringLiteral("succ") : QStringLiteral("fail"));
    return QString::fromUtf8(QJsonDocument(o).toJson(QJsonDocument::Compact));
}

/// Keeps what the controller would send.
struct RecordingSink : DspSink
{
    QStringList tcp;
    QStringList udp;
    QVector<quint16> udpPorts;
    void sendTcp(const QString &request) override { tcp.append(request); }
    void sendUdp(const QString &request, quint16 port) override
    {
        udp.append(request);
        udpPorts.append(port);
    }
};

} // namespace DspDocs
