#include "core/protocol/mythread.h"

#include "core/protocol/deviceports.h"
#include "core/protocol/ipv4.h"
#include "core/protocol/mcastintake.h"
#include "core/protocol/replyrouter.h"
#include "core/app/log.h"
#include "core/devices/devmanager.h"

#include <QDebug>
#include <QElapsedTimer>
#include <QHostAddress>
#include <QNetworkInterface>
#include <QUdpSocket>
#include <cstring>

#ifdef Q_OS_WIN
#include <winsock2.h>
#else
#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#endif

namespace {

constexpr int kRefreshTicks = 50;
constexpr int kDevInfoTicks = 150;
constexpr int kCanWorkTicks = 250;
constexpr int kReceiveBufferBytes = 1 << 20;

bool bindShared(QUdpSocket *socket, quint16 port)
{
    return socket->bind(QHostAddress(QHostAddress::AnyIPv4), port,
                        QUdpSocket::ShareAddress | QUdpSocket::ReuseAddressHint);
}

// Asks for the receive queue; false when the system grants less than asked.
bool growReceiveQueue(qintptr fd, int wanted, int *granted)
{
    *granted = 0;
    if (fd < 0)
        return false;
#ifdef Q_OS_WIN
    ::setsockopt(SOCKET(fd), SOL_SOCKET, SO_RCVBUF, reinterpret_cast<const char *>(&wanted), sizeof wanted);
    int size = 0;
    int length = sizeof size;
    ::getsockopt(SOCKET(fd), SOL_SOCKET, SO_RCVBUF, reinterpret_cast<char *>(&size), &length);
    *granted = size;
#else
#ifdef SO_RCVBUFFORCE
    // Past net.core.rmem_max where the process may (CAP_NET_ADMIN, as in a private namespace); else the capped size.
    if (::setsockopt(int(fd), SOL_SOCKET, SO_RCVBUFFORCE, &wanted, sizeof wanted) != 0)
#endif
        ::setsockopt(int(fd), SOL_SOCKET, SO_RCVBUF, &wanted, sizeof wanted);
    int size = 0;
    socklen_t length = sizeof size;
    ::getsockopt(int(fd), SOL_SOCKET, SO_RCVBUF, &size, &length);
    // Linux reports twice what was set, the bookkeeping included.
#ifdef Q_OS_LINUX
    size /= 2;
#endif
    *granted = size;
#endif
    return *granted >= wanted;
}

void enableBroadcast(qintptr fd)
{
    if (fd < 0)
        return;
    const int yes = 1;
#ifdef Q_OS_WIN
    ::setsockopt(SOCKET(fd), SOL_SOCKET, SO_BROADCAST, reinterpret_cast<const char *>(&yes), sizeof yes);
#else
    ::setsockopt(int(fd), SOL_SOCKET, SO_BROADCAST, &yes, sizeof yes);
#endif
}

} // namespace

MyThread::MyThread(DevManager *registry, QObject *parent)
    : QThread(parent)
    , m_registry(registry)
{
}

MyThread::~MyThread()
{
    stopAndWait();
}

void MyThread::stopAndWait()
{
    if (isRunning()) {
        m_stop = true;
        quit();
        wait();
    }
}

void MyThread::restart()
{
    stopAndWait();
    m_stop = false;
    start();
}

int MyThread::sendDatagram(const QByteArray &data, quint32 ip, quint16 port)
{
    const qintptr fd = m_sendDescriptor.load();
    if (!isRunning() || m_stop || fd < 0)
        return -1;
    sockaddr_in to{};
    to.sin_family = AF_INET;
    to.sin_port = htons(port);
    to.sin_addr.s_addr = htonl(ip);
#ifdef Q_OS_WIN
    const int sent = ::sendto(SOCKET(fd), data.constData(), data.size(), 0, reinterpret_cast<sockaddr *>(&to), sizeof to);
#else
    const int sent = int(::sendto(int(fd), data.constData(), size_t(data.size()), 0,
                                  reinterpret_cast<sockaddr *>(&to), sizeof to));
#endif
    return sent < 0 ? -1 : sent;
}

int MyThread::sendBatch(const Datagram *batch, int count)
{
#ifdef Q_OS_LINUX
    const qintptr fd = m_sendDescriptor.load();
    if (!isRunning() || m_stop || fd < 0)
        return 0;
    constexpr int kMax = 64;
    sockaddr_in to[kMax];
    iovec parts[kMax];
    mmsghdr messages[kMax];
    int written = 0;
    for (int first = 0; first < count; first += kMax) {
        const int n = qMin(kMax, count - first);
        for (int i = 0; i < n; ++i) {
            const Datagram &d = batch[first + i];
            to[i] = sockaddr_in{};
            to[i].sin_family = AF_INET;
            to[i].sin_port = htons(d.port);
            to[i].sin_addr.s_addr = htonl(d.ip);
            parts[i] = {const_cast<char *>(d.data), size_t(d.size)};
            messages[i] = mmsghdr{};
            messages[i].msg_hdr.msg_name = &to[i];
            messages[i].msg_hdr.msg_namelen = sizeof to[i];
            messages[i].msg_hdr.msg_iov = &parts[i];
            messages[i].msg_hdr.msg_iovlen = 1;
        }
        // A partial batch stops at the first datagram the kernel refused; the rest go one by one.
        const int sent = ::sendmmsg(int(fd), messages, unsigned(n), 0);
        const int done = sent < 0 ? 0 : sent;
        written += done;
        for (int i = done; i < n; ++i)
            written += sendDatagram(QByteArray::fromRawData(batch[first + i].data, batch[first + i].size),
                                    batch[first + i].ip, batch[first + i].port) >= 0;
    }
    return written;
#else
    return CommandSink::sendBatch(batch, count);
#endif
}

void MyThread::run()
{
    const quint32 selected = m_selected;
    QNetworkInterface chosen;
    bool found = false;
    const auto interfaces = QNetworkInterface::allInterfaces();
    for (const QNetworkInterface &iface : interfaces) {
        for (const QNetworkAddressEntry &entry : iface.addressEntries()) {
            if (entry.ip().protocol() == QAbstractSocket::IPv4Protocol && entry.ip().toIPv4Address() == selected) {
                chosen = iface;
                found = true;
                break;
            }
        }
        if (found)
            break;
    }
    if (!found || selected == 0) {
        m_current = 0;
        m_stop = true;
        emit signal_noInterface();
        return;
    }
    m_current = selected;

    QUdpSocket announce;
    QUdpSocket sap;
    QUdpSocket unicast;
    if (!bindShared(&announce, DevicePorts::kAnnounce))
        Log::failure(__FILE__, "MyThread::run", __LINE__);
    if (!announce.joinMulticastGroup(QHostAddress(QStringLiteral("239.0.0.188")), chosen))
        Log::failure(__FILE__, "MyThread::run", __LINE__);
    if (!announce.joinMulticastGroup(QHostAddress(QStringLiteral("239.0.0.189")), chosen))
        Log::failure(__FILE__, "MyThread::run", __LINE__);
    if (!bindShared(&sap, DevicePorts::kSap))
        Log::failure(__FILE__, "MyThread::run", __LINE__);
    if (!sap.joinMulticastGroup(QHostAddress(QStringLiteral("239.255.255.255")), chosen))
        Log::failure(__FILE__, "MyThread::run", __LINE__);
    if (!unicast.bind(QHostAddress(selected), 0))
        Log::failure(__FILE__, "MyThread::run", __LINE__);
    // The loop sleeps 5 ms when idle and a full poll round takes several more; a default queue holds only a
    // few hundred small datagrams, so a burst of replies that arrives meanwhile would be dropped by the kernel.
    // The system may grant less (Linux caps it at net.core.rmem_max); said once, on standard output.
    static std::atomic<bool> shortQueueTold{false};
    for (QUdpSocket *s : {&announce, &sap, &unicast}) {
        int granted = 0;
        if (!growReceiveQueue(s->socketDescriptor(), kReceiveBufferBytes, &granted) && s == &unicast &&
            !shortQueueTold.exchange(true))
            Log::line(QStringLiteral("receive queue of the unicast socket: %1 KiB granted of %2 KiB asked")
                          .arg(granted / 1024)
                          .arg(kReceiveBufferBytes / 1024));
    }
    // The address command is broadcast; allow it on the send socket.
    enableBroadcast(unicast.socketDescriptor());
    m_unicastPort = unicast.localPort();
    m_sendDescriptor = unicast.state() == QAbstractSocket::BoundState ? unicast.socketDescriptor() : -1;

    QUdpSocket *const sockets[3] = {&announce, &sap, &unicast};
    char buffer[kBufferSize];
    QElapsedTimer sinceTick;
    sinceTick.start();
    while (!m_stop) {
        bool took = false;
        for (int i = 0; i < 3; ++i) {
            QUdpSocket *s = sockets[i];
            if (!s->hasPendingDatagrams())
                continue;
            QHostAddress from;
            quint16 fromPort = 0;
            const qint64 n = s->readDatagram(buffer, kBufferSize, &from, &fromPort);
            took = true;
            if (n < 0 || n > kBufferSize - 1)
                continue;
            buffer[n] = '\0';
            const quint32 ip = from.toIPv4Address();
            const int len = int(n);
            if (i == 0) {
                m_registry->intakeAnnouncement(buffer, len, ip, fromPort);
                handleUdpMcast(buffer, len, ip, fromPort);
            } else if (i == 1) {
                m_registry->intakeSap(buffer, len, ip, fromPort);
                handleUdpSap(buffer, len, ip, fromPort);
            } else {
                handleUdpUnicast(buffer, len, ip, fromPort);
            }
        }
        // The tick is due whether or not this round read anything: under steady traffic the loop may never
        // sleep, and ageing, polling and the page refreshes must not wait for a quiet moment.
        if (!took)
            msleep(5);
        if (sinceTick.elapsed() >= kTickMs) {
            sinceTick.restart();
            tick();
        }
    }

    m_sendDescriptor = -1;
    m_unicastPort = 0;
    announce.close();
    sap.close();
    unicast.close();
}

void MyThread::tick()
{
    if (++m_refreshTicks > kRefreshTicks) {
        m_refreshTicks = 0;
        if (m_uiDirty.exchange(false) | m_registry->takeDirty())
            emit signal_refreshUi();
    }
    if (++m_devInfoTicks > kDevInfoTicks) {
        m_devInfoTicks = 0;
        m_registry->pollNames();
        emit signal_refreshDevInfoUi();
    }
    if (++m_canWorkTicks > kCanWorkTicks) {
        m_canWorkTicks = 0;
        emit signal_syncCanWork();
    }
    const QStringList ended = m_blinks.age(kTickMs);
    for (const QString &devId : ended)
        emit signal_unBlinkingDev(devId);
    m_registry->clock(kTickMs * m_ageingScale);
}

void MyThread::handleUdpMcast(const char *data, int length, quint32 ip, quint16)
{
    const McastIntake::Result r = McastIntake::classify(data, length, ip);
    switch (r.kind) {
    case McastIntake::Event:
        emit signal_recv_message(r.text);
        break;
    case McastIntake::Blink:
        qDebug().noquote() << "handleUdpMcast => ops:" << r.op << r.text;
        emit signal_blinkingDev(r.devId);
        break;
    default:
        break;
    }
}

void MyThread::handleUdpSap(const char *data, int length, quint32, quint16)
{
    if (length < 24 || std::memcmp(data + 8, "application/sdp", 16) != 0)
        return;
    QByteArray shown(data, length);
    shown.replace('\0', '-');
    qDebug().noquote() << "handleUdpSap:" << QString::fromUtf8(shown);
}

void MyThread::handleUdpUnicast(const char *data, int length, quint32 ip, quint16 port)
{
    const ReplyRouter::Outcome out = ReplyRouter::route(data, length, ip, port, *m_registry);
    if (!out.message.isEmpty())
        emit signal_recv_message(out.message);
    if (!out.notice.isEmpty())
        emit signal_showTips(out.notice, out.noticeIsSuccess);
    if (out.registryChanged)
        m_uiDirty = true;
}
