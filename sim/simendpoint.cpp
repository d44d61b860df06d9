#include "simendpoint.h"
#include "simports.h"

#include "core/app/log.h"

#include <QNetworkInterface>
#include <QUdpSocket>

const QVector<quint16> &SimEndpoint::fixedPorts()
{
    using namespace SimPorts;
    static const QVector<quint16> ports{device, peripheral, config, uart, lock, dsp, dspStatus};
    return ports;
}

SimEndpoint::SimEndpoint(QObject *parent)
    : QObject(parent)
{}

SimEndpoint::~SimEndpoint()
{
    close();
}

bool SimEndpoint::open(const QHostAddress &address, quint16 controlPort, const QHostAddress &interfaceAddress,
                       QString *error)
{
    close();
    QVector<quint16> ports{controlPort};
    for (quint16 p : fixedPorts())
        if (p != controlPort)
            ports << p;
    for (quint16 port : ports) {
        auto *s = new QUdpSocket(this);
        // The device port is also bound on 0.0.0.0 for the broadcast "setIp"; both binds
        // need the shared mode to coexist on Linux.
        const QAbstractSocket::BindMode mode = port == SimPorts::device
                                                   ? QAbstractSocket::ShareAddress | QAbstractSocket::ReuseAddressHint
                                                   : QAbstractSocket::DefaultForPlatform;
        if (!s->bind(address, port, mode)) {
            if (error)
                *error = QStringLiteral("%1:%2: %3").arg(address.toString()).arg(port).arg(s->errorString());
            LOG_FAIL();
            delete s;
            close();
            return false;
        }
        connect(s, &QUdpSocket::readyRead, this, [this, s, port] { readPending(s, port); });
        m_sockets.insert(port, s);
    }

    auto *sender = new QUdpSocket(this);
    if (!sender->bind(address, 0)) {
        if (error)
            *error = QStringLiteral("%1: %2").arg(address.toString(), sender->errorString());
        LOG_FAIL();
        delete sender;
        close();
        return false;
    }
    QNetworkInterface iface;
    for (const QNetworkInterface &candidate : QNetworkInterface::allInterfaces()) {
        for (const QNetworkAddressEntry &e : candidate.addressEntries())
            if (e.ip() == interfaceAddress)
                iface = candidate;
    }
    if (iface.isValid())
        sender->setMulticastInterface(iface);
    if (!iface.isValid() || !sender->multicastInterface().isValid()) {
        // Without the interface the kernel would pick a route, perhaps a real
        // network: send no multicast at all rather than that.
        if (error)
            *error = QStringLiteral("no interface holds %1").arg(interfaceAddress.toString());
        LOG_FAIL();
        delete sender;
        close();
        return false;
    }
    sender->setSocketOption(QAbstractSocket::MulticastTtlOption, 1);
    sender->setSocketOption(QAbstractSocket::MulticastLoopbackOption, 1);
    m_sender = sender;
    m_address = address;
    return true;
}

void SimEndpoint::close()
{
    // Closed at once so the ports are free for a new bind, deleted later in
    // case a datagram of theirs is being handled right now.
    for (QUdpSocket *s : qAsConst(m_sockets)) {
        s->disconnect(this);
        s->close();
        s->deleteLater();
    }
    m_sockets.clear();
    if (m_sender) {
        m_sender->close();
        m_sender->deleteLater();
        m_sender = nullptr;
    }
}

void SimEndpoint::send(quint16 localPort, const QByteArray &data, const QHostAddress &to, quint16 toPort)
{
    QUdpSocket *s = m_sockets.value(localPort);
    if (!s)
        return;
    if (s->writeDatagram(data, to, toPort) < 0)
        LOG_FAIL();
}

void SimEndpoint::sendGroup(const QHostAddress &group, quint16 port, const QByteArray &data)
{
    if (!m_sender)
        return;
    if (m_sender->writeDatagram(data, group, port) < 0)
        LOG_FAIL();
}

void SimEndpoint::readPending(QUdpSocket *socket, quint16 localPort)
{
    // A few at a time: what is left raises the notifier again on the next turn
    // of the event loop, after the tick and the other sockets had theirs, so a
    // peer flooding one port cannot hold up the announcements.
    for (int n = 0; n < maxPerTurn && socket->hasPendingDatagrams(); ++n) {
        const QNetworkDatagram dg = socket->receiveDatagram(2048);
        if (dg.isValid())
            emit datagramReceived(dg, localPort);
    }
}
