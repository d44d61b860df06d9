#pragma once

#include <QString>
#include <QtGlobal>

/// Where the DSP window's requests go. The DSP link implements it for a window and for corvane-cli; tests
/// record what would be sent.
class DspSink
{
public:
    virtual ~DspSink() = default;
    /// One request over the device's DSP link. The controller never has two of them waiting for an answer:
    /// the device answers one at a time and the link cannot split two answers that arrive together.
    virtual void sendTcp(const QString &request) = 0;
    /// One datagram to the device (meters, processor load, status); port 0 is the device's DSP port.
    virtual void sendUdp(const QString &request, quint16 port) = 0;
};
