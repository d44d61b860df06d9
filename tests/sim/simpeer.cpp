#include "simpeer.h"

#include <QJsonDocument>
#include <QNetworkDatagram>
#include <QNetworkInterface>
#include <QTest>
#include <QtEndian>

SimConfig fastConfig()
{
    SimConfig c;
    c.tickMs = 10;
    c.announceMs = 100;
    c.sapMs = 150;
    c.listenMs = 100;
    c.settleMs = 400;
    c.settlingEventMs = 50;
    c.lockedEventMs = 200;
    c.rebootMs = 400;
    c.moveDelayMs = 50;
    c.seed = 4711;
    c.quiet = true;
    return c;
}

std::unique_ptr<SimNetwork> startNetwork(const SimScenario &scenario, const SimConfig &config)
{
    auto net = std::make_unique<SimNetwork>(config);
    QString error;
    if (!net->start(scenario, &error))
        qWarning("network did not start: %s", qPrintable(error));
    return net;
}

SimScenario scenarioOf(const QByteArray &json)
{
    SimScenario s;
    QString error;
    if (!SimScenario::fromJson(json, &s, &error))
        qWarning("bad scenario: %s", qPrintable(error));
    return s;
}

SimPeer::SimPeer(bool joinGroups)
{
    m_ready = m_socket.bind(QHostAddress(QStringLiteral("127.0.0.1")), 0);
    if (!joinGroups)
        return;
    QNetworkInterface lo;
    for (const QNetworkInterface &i : QNetworkInterface::allInterfaces())
        if (i.flags() & QNetworkInterface::IsLoopBack)
            lo = i;
    const auto mode = QAbstractSocket::ShareAddress | QAbstractSocket::ReuseAddressHint;
    m_ready = m_ready && lo.isValid() && m_announce.bind(QHostAddress::AnyIPv4, 9996, mode) &&
              m_sap.bind(QHostAddress::AnyIPv4, 9875, mode) &&
              m_announce.joinMulticastGroup(QHostAddress(QStringLiteral("239.0.0.188")), lo) &&
              m_announce.joinMulticastGroup(QHostAddress(QStringLiteral("239.0.0.189")), lo) &&
              m_sap.joinMulticastGroup(QHostAddress(QStringLiteral("239.255.255.255")), lo);
}

void SimPeer::send(const QString &address, quint16 port, const QByteArray &request)
{
    m_socket.writeDatagram(request, QHostAddress(address), port);
}

bool SimPeer::next(Answer *answer, int timeoutMs)
{
    if (!QTest::qWaitFor([this] { return m_socket.hasPendingDatagrams(); }, timeoutMs))
        return false;
    const QNetworkDatagram dg = m_socket.receiveDatagram(65536);
    answer->bytes = dg.data();
    answer->json = QJsonDocument::fromJson(answer->bytes).object();
    answer->from = dg.senderAddress();
    answer->fromPort = quint16(dg.senderPort());
    return true;
}

bool SimPeer::ask(const QString &address, quint16 port, const QByteArray &request, Answer *answer, int timeoutMs)
{
    // Late answers to earlier requests are dropped first.
    QCoreApplication::processEvents();
    while (m_socket.hasPendingDatagrams())
        m_socket.receiveDatagram();
    send(address, port, request);
    return next(answer, timeoutMs);
}

QJsonObject SimPeer::request(const QString &address, quint16 port, const QByteArray &request, int timeoutMs)
{
    Answer a;
    return ask(address, port, request, &a, timeoutMs) ? a.json : QJsonObject();
}

QString SimPeer::outcome(const QString &address, quint16 port, const QByteArray &request)
{
    const QJsonObject r = this->request(address, port, request);
    if (r.isEmpty())
        return QStringLiteral("none");
    const QString result = r.value(QLatin1String("result")).toString();
    return result == QLatin1String("succ") ? result : r.value(QLatin1String("reason")).toString();
}

void SimPeer::collect()
{
    for (QUdpSocket *s : {&m_announce, &m_sap}) {
        while (s->hasPendingDatagrams()) {
            const QNetworkDatagram dg = s->receiveDatagram(65536);
            Heard h;
            h.bytes = dg.data();
            h.from = dg.senderAddress();
            h.fromPort = quint16(dg.senderPort());
            h.sap = s == &m_sap;
            if (!h.sap)
                h.json = QJsonDocument::fromJson(h.bytes).object();
            m_heard << h;
        }
    }
}

void SimPeer::clearHeard()
{
    QCoreApplication::processEvents();
    collect();
    m_heard.clear();
}

SimPeer::Heard SimPeer::waitFor(const Match &match, int timeoutMs)
{
    int checked = 0;
    const bool found = QTest::qWaitFor(
        [&] {
            collect();
            for (; checked < m_heard.size(); ++checked)
                if (match(m_heard[checked]))
                    return true;
            return false;
        },
        timeoutMs);
    return found ? m_heard[checked] : Heard();
}

QVector<SimPeer::Heard> SimPeer::heard(const Match &match)
{
    collect();
    QVector<Heard> out;
    for (const Heard &h : qAsConst(m_heard))
        if (match(h))
            out << h;
    return out;
}

SimPeer::Match SimPeer::is(const char *key, const QString &value, const QString &devId)
{
    const QString k = QLatin1String(key);
    return [k, value, devId](const Heard &h) {
        return h.json.value(k).toString() == value &&
               (devId.isEmpty() || h.json.value(QLatin1String("devId")).toString() == devId);
    };
}

SimPeer::Match SimPeer::sapFor(const QString &group)
{
    const QByteArray line = "c=IN IP4 " + group.toLatin1() + "/";
    return [line](const Heard &h) { return h.sap && h.bytes.contains(line); };
}

QByteArray dspFrame(const QByteArray &payload)
{
    QByteArray f(4, '\0');
    qToLittleEndian<quint32>(quint32(payload.size()), reinterpret_cast<uchar *>(f.data()));
    return f + payload;
}

DspClient::DspClient(const char *address)
{
    QObject::connect(&m_socket, &QTcpSocket::readyRead, [this] {
        const QByteArray chunk = m_socket.readAll();
        m_reads << chunk.size();
        m_in += chunk;
    });
    m_socket.connectToHost(QHostAddress(QLatin1String(address)), 8999);
    const auto settled = [this] { return isConnected() || m_socket.state() == QAbstractSocket::UnconnectedState; };
    (void)QTest::qWaitFor(settled, 2000);
}

void DspClient::write(const QByteArray &bytes)
{
    m_socket.write(bytes);
    m_socket.flush();
}

bool DspClient::next(QByteArray *payload, int timeoutMs)
{
    auto length = [this] { return int(qFromLittleEndian<quint32>(m_in.constData())); };
    if (!QTest::qWaitFor([&] { return m_in.size() >= 4 && m_in.size() - 4 >= length(); }, timeoutMs))
        return false;
    *payload = m_in.mid(4, length());
    m_in.remove(0, 4 + payload->size());
    return true;
}

QJsonObject DspClient::ask(const QByteArray &json, int timeoutMs)
{
    write(dspFrame(json));
    QByteArray payload;
    return next(&payload, timeoutMs) ? QJsonDocument::fromJson(payload).object() : QJsonObject();
}

QJsonObject DspClient::ask(const QJsonObject &request, int timeoutMs)
{
    return ask(QJsonDocument(request).toJson(QJsonDocument::Compact), timeoutMs);
}

bool DspClient::closedWithin(int timeoutMs)
{
    return QTest::qWaitFor([this] { return m_socket.state() == QAbstractSocket::UnconnectedState; }, timeoutMs);
}
