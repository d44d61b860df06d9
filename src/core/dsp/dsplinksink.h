#pragma once

#include "core/dsp/dspsink.h"

#include <QString>

#include <functional>

class DspLink;

/// The DSP link as the controller's sink: requests over the link, datagrams through the function the owner
/// gives (the main window's device link, corvane-cli's), which sends to the device's DSP port when port is 0.
class DspLinkSink : public DspSink
{
public:
    using SendUdp = std::function<void(const QString &request, quint16 port)>;
    DspLinkSink(DspLink *link, SendUdp sendUdp);

    void sendTcp(const QString &request) override;
    void sendUdp(const QString &request, quint16 port) override;

private:
    DspLink *m_link;
    SendUdp m_sendUdp;
};
