#pragma once

#include "simconfig.h"
#include "simnetwork.h"
#include "simscenario.h"

#include <QByteArray>
#include <QHostAddress>
#include <QJsonObject>
#include <QTcpSocket>
#include <QUdpSocket>
#include <QVector>
#include <functional>
#include <memory>

/// A simulated network for one test: the given devices on 127.0.0.2 and up,
/// quiet, seeded, with every interval cut down so tests wait milliseconds
/// where real devices take seconds.
SimConfig fastConfig();
std::unique_ptr<SimNetwork> startNetwork(const SimScenario &scenario, const SimConfig &config = fastConfig());
/// A scenario from hand-written JSON; an empty one (and a warning) when it is refused.
SimScenario scenarioOf(const QByteArray &json);

/// The program's side of the wire, reduced to what the tests need and sharing
/// no code with the simulator: a socket on 127.0.0.1 that sends hand-written
/// requests and collects the answers, and, when asked for, what is heard on
/// the announcement groups (239.0.0.188/189:9996) and the SAP group
/// (239.255.255.255:9875) on loopback. Only inside a private network namespace.
class SimPeer
{
public:
    struct Heard
    {
        QByteArray bytes;
        QJsonObject json; ///< empty for SAP and for anything that is not a JSON object
        QHostAddress from;
        quint16 fromPort = 0;
        bool sap = false;
    };
    using Answer = Heard;
    using Match = std::function<bool(const Heard &)>;

    explicit SimPeer(bool joinGroups = false);
    bool isReady() const { return m_ready; }

    void send(const QString &address, quint16 port, const QByteArray &request);
    /// Sends and waits for its answer; false after \a timeoutMs.
    bool ask(const QString &address, quint16 port, const QByteArray &request, Answer *answer, int timeoutMs = 2000);
    /// ask() for the JSON answer alone; an empty object when none came.
    QJsonObject request(const QString &address, quint16 port, const QByteArray &request, int timeoutMs = 2000);
    /// The answer's "result", or its "reason" when it failed; "none" when nothing came.
    QString outcome(const QString &address, quint16 port, const QByteArray &request);
    /// Waits for one more answer.
    bool next(Answer *answer, int timeoutMs);

    /// Forgets everything heard on the groups so far.
    void clearHeard();
    /// The first thing heard (already or newly) that matches; an empty Heard after \a timeoutMs.
    Heard waitFor(const Match &match, int timeoutMs);
    QVector<Heard> heard(const Match &match);

    /// Announcements and events whose \a key is \a value, from \a devId when given.
    static Match is(const char *key, const QString &value, const QString &devId = QString());
    static Match announcement(const QString &devId) { return is("ops", QStringLiteral("iAmCorvane"), devId); }
    /// SAP packets whose SDP names \a group in its connection line.
    static Match sapFor(const QString &group);

private:
    void collect();

    QUdpSocket m_socket;
    QUdpSocket m_announce;
    QUdpSocket m_sap;
    QVector<Heard> m_heard;
    bool m_ready = false;
};

/// One frame of the DSP link: the 4-byte little-endian length, then the payload.
QByteArray dspFrame(const QByteArray &payload);

/// The program's end of the DSP link, reduced to frames. Waits by spinning the
/// event loop, since the devices answer on this same thread.
class DspClient
{
public:
    explicit DspClient(const char *address);
    bool isConnected() const { return m_socket.state() == QAbstractSocket::ConnectedState; }
    void write(const QByteArray &bytes);
    /// The next whole frame's payload; false after \a timeoutMs.
    bool next(QByteArray *payload, int timeoutMs = 3000);
    /// Sends one request and waits for its reply; an empty object when none came.
    QJsonObject ask(const QByteArray &json, int timeoutMs = 3000);
    QJsonObject ask(const QJsonObject &request, int timeoutMs = 3000);
    bool closedWithin(int timeoutMs);
    QVector<int> reads() const { return m_reads; }
    QByteArray unread() const { return m_in; }

private:
    QTcpSocket m_socket;
    QByteArray m_in;
    QVector<int> m_reads;
};
