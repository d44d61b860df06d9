#include "simdsplink.h"

#include "simfaults.h"
#include "simnetwork.h"
#include "simports.h"

#include "core/app/log.h"

#include <QList>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTimer>
#include <QtEndian>

/// One accepted connection: what has arrived of the next request, and the
/// replies waiting for their time to leave.
class SimDspLink::Connection : public QObject
{
public:
    struct Piece
    {
        qint64 due = 0;
        QByteArray bytes;
        bool drop = false; ///< close the connection here instead of writing
    };

    Connection(QTcpSocket *s, QObject *parent)
        : QObject(parent)
        , socket(s)
        , peer(QStringLiteral("%1:%2").arg(s->peerAddress().toString()).arg(s->peerPort()))
    {
        s->setParent(this);
        timer.setSingleShot(true);
        timer.setTimerType(Qt::PreciseTimer);
    }

    QTcpSocket *socket;
    QString peer;
    QByteArray in;
    QList<Piece> out;
    QTimer timer;
    qint64 busyUntil = 0; ///< a reply (or its last piece) is due until then
    bool dropping = false;
};

SimDspLink::SimDspLink(SimNetwork *network, const SimFaults &faults, Handler handler, Logger logger, QObject *parent)
    : QObject(parent)
    , m_network(network)
    , m_faults(faults)
    , m_handler(std::move(handler))
    , m_log(std::move(logger))
{}

SimDspLink::~SimDspLink()
{
    close();
}

bool SimDspLink::listen(const QHostAddress &address, QString *error)
{
    close();
    m_server = new QTcpServer(this);
    if (!m_server->listen(address, SimPorts::dsp)) {
        if (error)
            *error = QStringLiteral("%1:%2 (TCP): %3")
                         .arg(address.toString())
                         .arg(SimPorts::dsp)
                         .arg(m_server->errorString());
        LOG_FAIL();
        delete m_server;
        m_server = nullptr;
        return false;
    }
    connect(m_server, &QTcpServer::newConnection, this, &SimDspLink::accept);
    return true;
}

void SimDspLink::close()
{
    if (m_server) {
        m_server->close();
        m_server->deleteLater();
        m_server = nullptr;
    }
    const QVector<Connection *> open = m_connections;
    m_connections.clear();
    for (Connection *c : open) {
        // Quietly: the device is going away, it has nothing more to say.
        c->socket->disconnect(this);
        c->timer.disconnect(this);
        c->socket->abort();
        c->deleteLater();
    }
}

bool SimDspLink::isListening() const
{
    return m_server && m_server->isListening();
}

void SimDspLink::accept()
{
    while (m_server && m_server->hasPendingConnections()) {
        QTcpSocket *s = m_server->nextPendingConnection();
        if (m_faults.dspDropOnAccept) {
            m_log(QStringLiteral("DSP link from %1:%2 dropped at once")
                      .arg(s->peerAddress().toString())
                      .arg(s->peerPort()));
            s->abort();
            s->deleteLater();
            continue;
        }
        auto *c = new Connection(s, this);
        m_connections << c;
        connect(s, &QTcpSocket::readyRead, this, [this, c] { read(c); });
        connect(s, &QTcpSocket::disconnected, this, [this, c] { forget(c); });
        connect(&c->timer, &QTimer::timeout, this, [this, c] { pump(c); });
        m_log(QStringLiteral("DSP link from %1").arg(c->peer));
        if (s->bytesAvailable() > 0)
            read(c);
    }
}

void SimDspLink::forget(Connection *c)
{
    if (!m_connections.removeOne(c))
        return;
    m_log(QStringLiteral("DSP link from %1 closed").arg(c->peer));
    c->timer.stop();
    c->deleteLater();
}

void SimDspLink::read(Connection *c)
{
    const QByteArray chunk = c->socket->readAll();
    // After a drop is on its way nothing more is answered.
    if (c->dropping)
        return;
    c->in += chunk;
    while (c->in.size() >= 4) {
        const quint32 length = qFromLittleEndian<quint32>(reinterpret_cast<const uchar *>(c->in.constData()));
        if (length == 0 || length > maxFrame) {
            m_log(QStringLiteral("DSP link from %1: frame length %2, connection dropped").arg(c->peer).arg(length));
            c->dropping = true;
            c->socket->abort();
            return;
        }
        if (quint32(c->in.size()) - 4 < length)
            return;
        const QByteArray payload = c->in.mid(4, int(length));
        c->in.remove(0, 4 + int(length));
        if (m_faults.dspDropPercent > 0 && m_network->chance(m_faults.dspDropPercent)) {
            queue(c, QByteArray(), true);
            return;
        }
        const QByteArray reply = m_handler(payload);
        if (!reply.isEmpty())
            queue(c, reply, false);
    }
}

void SimDspLink::queue(Connection *c, const QByteArray &payload, bool drop)
{
    // Like a device that works through one request at a time: a late reply
    // holds back the ones after it.
    const qint64 now = m_network->nowMs();
    qint64 due = qMax(now, c->busyUntil) + m_faults.delayMs + m_faults.dspDelayMs;
    if (drop) {
        c->dropping = true;
        c->out << Connection::Piece{due, QByteArray(), true};
        pump(c);
        return;
    }
    QByteArray frame(4, '\0');
    qToLittleEndian<quint32>(quint32(payload.size()), reinterpret_cast<uchar *>(frame.data()));
    frame += payload;
    QVector<QByteArray> pieces;
    const int parts = qMin(m_faults.dspSplit, frame.size());
    if (parts < 2) {
        pieces << frame;
    } else {
        // The first piece ends inside the length, the rest shares the remainder.
        pieces << frame.left(2);
        const int rest = frame.size() - 2;
        const int step = (rest + parts - 2) / (parts - 1);
        for (int at = 2; at < frame.size(); at += step)
            pieces << frame.mid(at, step);
    }
    for (int i = 0; i < pieces.size(); ++i) {
        if (i > 0)
            due += piecePauseMs;
        c->out << Connection::Piece{due, pieces[i], false};
    }
    c->busyUntil = due;
    pump(c);
}

void SimDspLink::pump(Connection *c)
{
    const qint64 now = m_network->nowMs();
    while (!c->out.isEmpty() && c->out.first().due <= now) {
        const Connection::Piece p = c->out.takeFirst();
        if (p.drop) {
            m_log(QStringLiteral("DSP link from %1 dropped instead of an answer").arg(c->peer));
            c->out.clear();
            c->socket->disconnectFromHost();
            return;
        }
        c->socket->write(p.bytes);
        c->socket->flush();
    }
    if (!c->out.isEmpty())
        c->timer.start(int(c->out.first().due - now));
}
