#pragma once

#include <QHostAddress>
#include <QObject>
#include <QVector>
#include <functional>

class QTcpServer;
class SimNetwork;
struct SimFaults;

/// The TCP side of a DSP-capable device: port 8999 of its own address,
/// frames of a 4-byte little-endian length and a JSON payload in both
/// directions, one reply per request in the order asked. Shows the link's
/// faults: replies in pieces, replies late, connections dropped.
class SimDspLink : public QObject
{
    Q_OBJECT
public:
    static const quint32 maxFrame = 64u * 1024 * 1024;
    static const int piecePauseMs = 20; ///< between the pieces of a split reply

    /// The reply payload to one request payload; empty for no reply.
    using Handler = std::function<QByteArray(const QByteArray &request)>;
    using Logger = std::function<void(const QString &text)>;

    SimDspLink(SimNetwork *network, const SimFaults &faults, Handler handler, Logger logger, QObject *parent);
    ~SimDspLink() override;

    /// Listens on \a address alone, after closing what was open.
    bool listen(const QHostAddress &address, QString *error);
    /// Stops listening and drops every connection.
    void close();
    bool isListening() const;

private:
    class Connection;

    void accept();
    void read(Connection *c);
    void queue(Connection *c, const QByteArray &payload, bool drop);
    void pump(Connection *c);
    void forget(Connection *c);

    SimNetwork *m_network;
    const SimFaults &m_faults;
    Handler m_handler;
    Logger m_log;
    QTcpServer *m_server = nullptr;
    QVector<Connection *> m_connections;
};
