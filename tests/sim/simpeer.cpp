#include "simpeer.h"

#include <QElapsedTimer>
#include <QJsonDocument>
#include <QNetworkDatagram>
#include <QTest>

SimPeer::SimPeer()
{
    if (!m_socket.bind(QHostAddress(QStringLiteral("127.0.0.1")), 0))
        qFatal("SimPeer: cannot bind 127.0.0.1");
}

void SimPeer::send(const QString &address, quint16 port, const QByteArray &request)
{
    m_socket.writeDatagram(request, QHostAddress(address), port);
}

void SimPeer::drain()
{
    QCoreApplication::processEvents();
    while (m_socket.hasPendingDatagrams())
        m_socket.receiveDatagram();
}

bool SimPeer::next(Answer *answer, int timeoutMs)
{
    QElapsedTimer t;
    t.start();
    while (!m_socket.hasPendingDatagrams()) {
        if (t.elapsed() >= timeoutMs)
            return false;
        QTest::qWait(5);
    }
    const QNetworkDatagram dg = m_socket.receiveDatagram(65536);
    answer->bytes = dg.data();
    answer->json = QJsonDocument::fromJson(answer->bytes).object();
    answer->from = dg.senderAddress();
    answer->fromPort = quint16(dg.senderPort());
    return true;
}

bool SimPeer::ask(const QString &address, quint16 port, const QByteArray &request, Answer *answer, int timeoutMs)
{
    drain();
    send(address, port, request);
    return next(answer, timeoutMs);
}

QJsonObject SimPeer::request(const QString &address, quint16 port, const QByteArray &request, int timeoutMs)
{
    Answer a;
    return ask(address, port, request, &a, timeoutMs) ? a.json : QJsonObject();
}
