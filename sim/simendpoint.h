#pragma once

#include <QHash>
#include <QHostAddress>
#include <QNetworkDatagram>
#include <QObject>
#include <QVector>

class QUdpSocket;

/// The sockets of one virtual device: its control port and the fixed ports
/// bound on its own address, and one socket that sends its multicast
/// through the chosen interface. Lives on the thread that created it.
class SimEndpoint : public QObject
{
    Q_OBJECT
public:
    static const QVector<quint16> &fixedPorts();
    /// Datagrams one socket reads in one turn of the event loop.
    static const int maxPerTurn = 8;

    explicit SimEndpoint(QObject *parent = nullptr);
    ~SimEndpoint() override;

    /// Binds everything on \a address; on the first failure closes what was
    /// opened and returns false with the reason.
    bool open(const QHostAddress &address, quint16 controlPort, const QHostAddress &interfaceAddress, QString *error);
    void close();
    bool isOpen() const { return m_sender != nullptr; }
    QHostAddress address() const { return m_address; }

    /// Answers from the socket bound to \a localPort (the one the request arrived on).
    void send(quint16 localPort, const QByteArray &data, const QHostAddress &to, quint16 toPort);
    /// Sends through the multicast socket: announcements, events, SAP.
    void sendGroup(const QHostAddress &group, quint16 port, const QByteArray &data);

signals:
    void datagramReceived(const QNetworkDatagram &datagram, quint16 localPort);

private:
    void readPending(QUdpSocket *socket, quint16 localPort);

    QHostAddress m_address;
    QHash<quint16, QUdpSocket *> m_sockets;
    QUdpSocket *m_sender = nullptr;
};
