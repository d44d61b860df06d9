#include "core/dsp/dsplinksink.h"

#include "core/dsp/dsplink.h"
#include "core/protocol/deviceports.h"

DspLinkSink::DspLinkSink(DspLink *link, SendUdp sendUdp)
    : m_link(link)
    , m_sendUdp(std::move(sendUdp))
{
}

void DspLinkSink::sendTcp(const QString &request)
{
    m_link->sendTcpRequest(request);
}

void DspLinkSink::sendUdp(const QString &request, quint16 port)
{
    if (m_sendUdp)
        m_sendUdp(request, port ? port : quint16(DevicePorts::kDsp));
}
