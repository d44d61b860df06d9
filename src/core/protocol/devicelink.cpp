#include "core/protocol/devicelink.h"

#include "core/protocol/ipv4.h"
#include "core/protocol/requestrouter.h"

#include <QJsonDocument>
#include <QJsonObject>

namespace {

int sendDatagrams(MyThread &thread, const QVector<RequestRouter::Datagram> &datagrams)
{
    if (datagrams.isEmpty())
        return -1;
    int sent = 0;
    for (const RequestRouter::Datagram &d : datagrams)
        if (thread.sendDatagram(d.data, d.ip, d.port) >= 0)
            ++sent;
    return sent > 0 ? sent : -1;
}

} // namespace

DeviceLink::DeviceLink(QObject *parent)
    : QObject(parent)
    , m_thread(&m_registry)
{
    // "delMcast" crosses threads as a uint32_t; tools and tests that build a
    // link without the program's start-up need the name registered too.
    qRegisterMetaType<uint32_t>("uint32_t");
    m_registry.setSink(&m_thread);
    m_registry.setNotifier([this](const RegistryNotice &notice) { onNotice(notice); });

    connect(&m_thread, &MyThread::signal_recv_message, this, &DeviceLink::signal_recv_message);
    connect(&m_thread, &MyThread::signal_unBlinkingDev, this, &DeviceLink::signal_unBlinkingDev);
    connect(&m_thread, &MyThread::signal_refreshUi, this, &DeviceLink::signal_refreshUi);
    connect(&m_thread, &MyThread::signal_refreshDevInfoUi, this, &DeviceLink::signal_refreshDevInfoUi);
    connect(&m_thread, &MyThread::signal_syncCanWork, this, &DeviceLink::signal_syncCanWork);
    connect(&m_thread, &MyThread::signal_showTips, this, &DeviceLink::signal_showTips);
    // The highlight ends by itself on the thread's tick unless the device asks again.
    connect(&m_thread, &MyThread::signal_blinkingDev, this, [this](const QString &devId) {
        m_thread.blinkTimeouts().start(devId, kBlinkMs);
        emit signal_blinkingDev(devId);
    });
}

DeviceLink::~DeviceLink()
{
    m_thread.stopAndWait();
}

bool DeviceLink::startOn(const QString &address)
{
    const quint32 ip = Ipv4::fromText(address);
    if (ip == 0)
        return false;
    m_thread.setSelectedAddress(ip);
    m_thread.restart();
    return true;
}

void DeviceLink::stop()
{
    m_thread.stopAndWait();
}

QString DeviceLink::currentAddress() const
{
    const quint32 ip = m_thread.currentAddress();
    return ip ? Ipv4::toText(ip) : QString();
}

int DeviceLink::send(const QString &json)
{
    return sendDatagrams(m_thread, RequestRouter::route(json, m_registry));
}

int DeviceLink::sendToPort(const QString &json, quint16 port)
{
    return sendDatagrams(m_thread, RequestRouter::routeToPort(json, port, m_registry));
}

void DeviceLink::slot_sendUdp(const QString &json, const QString &)
{
    send(json);
}

void DeviceLink::onNotice(const RegistryNotice &notice)
{
    // Called on the receive thread, right after the registry changed and on
    // the thread that changes it, so a new flow is still there to describe;
    // every signal below reaches the pages queued.
    std::optional<FlowRecord> flow;
    if (notice.kind == RegistryNotice::FlowAdded)
        flow = m_registry.findFlow(notice.flowAddress);
    const QString json =
        QString::fromUtf8(QJsonDocument(notice.toJson(flow ? &*flow : nullptr)).toJson(QJsonDocument::Compact));
    emit signal_notification(json);
    switch (notice.kind) {
    case RegistryNotice::DevAdded:
        emit signal_send_addDev(notice.devId);
        break;
    case RegistryNotice::DevUpdated:
        emit signal_send_updateDev(notice.devId);
        break;
    case RegistryNotice::DevRemoved:
        m_thread.blinkTimeouts().cancel(notice.devId);
        emit signal_send_delDev(notice.devId);
        break;
    case RegistryNotice::FlowAdded:
        emit signal_send_addMcast(json);
        break;
    case RegistryNotice::FlowRemoved:
        emit signal_send_delMcast(notice.flowAddress);
        break;
    case RegistryNotice::RoutesChanged:
    case RegistryNotice::ActiveChanged:
        // An active flag shows in the routing grid as much as a route does.
        emit signal_refresh_route();
        break;
    }
    m_thread.setUiDirty();
}
