#pragma once

#include <QByteArray>
#include <QHostAddress>
#include <QJsonObject>
#include <QUdpSocket>

/// The program's side of the wire, reduced to what the tests need: a plain
/// socket on 127.0.0.1 that sends hand-written requests and collects the
/// answers with their source. Shares no code with the simulator.
class SimPeer
{
public:
    struct Answer
    {
        QByteArray bytes;
        QJsonObject json; ///< empty when the bytes are not a JSON object
        QHostAddress from;
        quint16 fromPort = 0;
    };

    SimPeer();
    quint16 port() const { return m_socket.localPort(); }

    void send(const QString &address, quint16 port, const QByteArray &request);
    /// Sends and waits for the first answer; false after \a timeoutMs.
    bool ask(const QString &address, quint16 port, const QByteArray &request, Answer *answer, int timeoutMs = 2000);
    /// ask() for the JSON answer alone; an empty object when none came.
    QJsonObject request(const QString &address, quint16 port, const QByteArray &request, int timeoutMs = 2000);
    /// Waits for one more answer.
    bool next(Answer *answer, int timeoutMs);
    /// Drops whatever is waiting, e.g. late answers to earlier requests.
    void drain();

private:
    QUdpSocket m_socket;
};
