#include "core/dsp/dsplink.h"

#include "core/dsp/devdsptcpsocketthread.h"

#include <QMetaType>
#include <QThread>

DspLink::DspLink(QObject *parent)
    : QObject(parent)
{
    // The reconnect signal crosses threads by that name.
    qRegisterMetaType<uint32_t>("uint32_t");
}

DspLink::~DspLink()
{
    stop();
}

void DspLink::start(uint32_t ip, uint32_t port)
{
    stop();
    m_thread = new QThread(this);
    m_thread->setObjectName(QStringLiteral("DspLink"));
    auto *transport = new DevDspTcpSocketThread;
    m_transport = transport;
    transport->setHost(ip, port);

    connect(transport, &DevDspTcpSocketThread::signal_connected, this, &DspLink::signal_connected);
    connect(transport, &DevDspTcpSocketThread::signal_disconnected, this, &DspLink::signal_disconnected);
    connect(transport, &DevDspTcpSocketThread::signal_recvMsg, this, &DspLink::signal_recvMsg);
    connect(transport, &DevDspTcpSocketThread::signal_stateChanged, this, &DspLink::signal_stateChanged);
    connect(this, &DspLink::signal_sendTcpMsg, transport, &DevDspTcpSocketThread::slot_sendMsg);
    connect(this, &DspLink::signal_reconnect, transport, &DevDspTcpSocketThread::reconnection);
    connect(m_thread, &QThread::started, transport, &DevDspTcpSocketThread::slot_runThread);
    connect(m_thread, &QThread::finished, transport, &DevDspTcpSocketThread::slot_quitSocket);

    transport->moveToThread(m_thread);
    m_thread->start();
}

void DspLink::stop()
{
    if (!m_thread)
        return;
    m_thread->quit();
    m_thread->wait();
    // Never started (or never reached its event loop): finished() did not
    // delete the transport, so it goes here.
    delete m_transport.data();
    delete m_thread;
    m_thread = nullptr;
}

bool DspLink::isRunning() const
{
    return m_thread && m_thread->isRunning();
}

DevDspTcpSocketThread *DspLink::transport() const
{
    return m_transport.data();
}

void DspLink::sendTcpRequest(const QString &msg)
{
    emit signal_sendTcpMsg(msg);
}

void DspLink::reconnect(uint32_t ip)
{
    emit signal_reconnect(ip);
}
