#pragma once

#include "core/dsp/cdevicedspdata.h"
#include "core/dsp/dspsink.h"

#include <QObject>
#include <QString>

/// Stands in for a device when a program file is edited with no device at hand: it holds the document and
/// answers the DSP window's requests as a device would, changing its own copy by what it accepts, so the
/// controller, the diagram, the editors and undo work exactly as on a device.
///
/// Answers come queued, never inside sendTcp, so the controller's one-request-at-a-time flow (send, return,
/// then the answer) is the one it has with a device. Datagrams (levels, processor load, status) are not
/// answered: there is no signal to measure, and the budget the diagram computes is the figure that counts.
///
/// Thread affinity: the thread that creates it, the controller's.
class DspOfflineSink : public QObject, public DspSink
{
    Q_OBJECT
public:
    explicit DspOfflineSink(const CDeviceDspData &doc, QObject *parent = nullptr);

    void sendTcp(const QString &request) override;
    void sendUdp(const QString &request, quint16 port) override;

    /// The document as the stand-in device holds it now.
    const CDeviceDspData &document() const { return m_doc; }

    /// The answer a device holding doc gives to request, doc changed as that device would change it. A request
    /// that does not fit the document fails with "bad param" and leaves it as it was; an operation of the device
    /// outside the document (microphone settings, programs) fails with "unknown ops".
    static QString answer(CDeviceDspData &doc, const QString &request);

signals:
    /// One answer, as the DSP link would deliver it.
    void signal_reply(const QString &reply);

private:
    CDeviceDspData m_doc;
};
