#include "core/dsp/devdsptcpsocketthread.h"

#include "core/app/log.h"
#include "core/app/texts.h"
#include "core/protocol/ipv4.h"

#include <QCoreApplication>
#include <QMutexLocker>
#include <QTcpSocket>
#include <QThread>
#include <QTime>

namespace {

QString now()
{
    return QTime::currentTime().toString(QStringLiteral("hh:mm:ss.zzz"));
}

// Gives a device time to take back-to-back frames as separate requests.
constexpr unsigned long kSendPauseMs = 20;

} // namespace

DevDspTcpSocketThread::DevDspTcpSocketThread(QObject *parent)
    : QObject(parent)
{}

DevDspTcpSocketThread::~DevDspTcpSocketThread()
{
    Log::line(QStringLiteral("~DevDspTcpSocketThread"));
    QMutexLocker lock(&mutex);
    if (!socket)
        return;
    socket->disconnect();
    disconnect(socket);
    if (socket->state() != QAbstractSocket::UnconnectedState)
        socket->abort();
    // Requests still queued for this object would run against a half-destroyed
    // link; they are dropped like any send on a closed link.
    QCoreApplication::removePostedEvents(this);
    QCoreApplication::processEvents();
    socket->deleteLater();
    // The socket is our child, so QObject's destructor frees it at once even
    // when this runs as the thread ends and no event loop would pick up the
    // deferred delete.
    socket = nullptr;
    Log::line(QStringLiteral("~~~delete tcpSocket"));
}

uint32_t DevDspTcpSocketThread::hostIp() const
{
    QMutexLocker lock(&mutex);
    return ip;
}

uint32_t DevDspTcpSocketThread::hostPort() const
{
    QMutexLocker lock(&mutex);
    return port;
}

void DevDspTcpSocketThread::setHost(uint32_t newIp, uint32_t newPort)
{
    QMutexLocker lock(&mutex);
    ip = newIp;
    port = newPort;
}

void DevDspTcpSocketThread::slot_runThread()
{
    QMutexLocker lock(&mutex);
    if (socket)
        return;
    socket = new QTcpSocket(this);
    connectingText = tx(Tx::DspConnecting);
    emit signal_connected(connectingText, false);
    // Wired before connecting: a loopback connect may complete inside
    // connectToHost() and its connected() must not be missed.
    connect(socket, &QTcpSocket::connected, this, &DevDspTcpSocketThread::onSocketConnected);
    connect(socket, &QTcpSocket::disconnected, this, &DevDspTcpSocketThread::onSocketDisconnected);
    connect(socket, &QAbstractSocket::stateChanged, this, &DevDspTcpSocketThread::slot_stateChanged);
    connect(socket, &QIODevice::readyRead, this, &DevDspTcpSocketThread::slot_readyData);
    socket->connectToHost(Ipv4::toText(ip), quint16(port), QIODevice::ReadWrite, QAbstractSocket::AnyIPProtocol);
}

void DevDspTcpSocketThread::slot_sendMsg(QString msg)
{
    QMutexLocker lock(&mutex);
    if (!socket || socket->state() != QAbstractSocket::ConnectedState) {
        Log::line(QStringLiteral("tcpThread: tcp not ready"));
        return;
    }
    const QByteArray frame = DspFrameAssembler::frame(msg);
    if (socket->write(frame) != frame.size())
        LOG_FAIL();
    socket->flush();
    QThread::msleep(kSendPauseMs);
    Log::line(now() + QStringLiteral(" tcp send: ") + QString::number(frame.size() - DspFrameAssembler::kHeaderSize) +
              QLatin1Char(' ') + msg);
}

void DevDspTcpSocketThread::slot_readyData()
{
    QMutexLocker lock(&mutex);
    if (!socket)
        return;
    QString message;
    switch (assembler.feed(socket->readAll(), &message)) {
    case DspFrameAssembler::Status::Complete:
        emit signal_recvMsg(message);
        Log::line(QStringLiteral("tcp ready all len ") + now());
        break;
    case DspFrameAssembler::Status::Broken:
        // Nothing after a bad prefix can be trusted; closing reports the drop
        // to the window exactly as a peer close does.
        socket->abort();
        break;
    case DspFrameAssembler::Status::Pending:
    case DspFrameAssembler::Status::ShortHeader: break;
    }
}

void DevDspTcpSocketThread::slot_stateChanged(QAbstractSocket::SocketState state)
{
    QMutexLocker lock(&mutex);
    Log::line(QStringLiteral("slot_stateChanged ") + QString::number(int(state)));
    if (state == QAbstractSocket::UnconnectedState)
        emit signal_stateChanged(0);
}

void DevDspTcpSocketThread::reconnection(uint32_t newIp)
{
    QMutexLocker lock(&mutex);
    Log::line(QStringLiteral("reconnection"));
    if (!socket)
        return;
    blockSignals(true);
    socket->disconnectFromHost();
    // disconnectFromHost() leaves a socket that is still connecting, or still
    // writing, in its state, and connectToHost() would then do nothing.
    if (socket->state() != QAbstractSocket::UnconnectedState)
        socket->abort();
    blockSignals(false);
    assembler.reset();
    socket->connectToHost(Ipv4::toText(newIp), quint16(port), QIODevice::ReadWrite, QAbstractSocket::AnyIPProtocol);
}

void DevDspTcpSocketThread::slot_quitSocket()
{
    QMutexLocker lock(&mutex);
    deleteLater();
}

void DevDspTcpSocketThread::onSocketConnected()
{
    QMutexLocker lock(&mutex);
    // A new stream starts with a length prefix, whatever the last one left.
    assembler.reset();
    emit signal_connected(connectingText, true);
}

void DevDspTcpSocketThread::onSocketDisconnected()
{
    QMutexLocker lock(&mutex);
    emit signal_disconnected();
}
