#include "core/factory/factoryprobe.h"

#include "core/protocol/deviceports.h"
#include "core/app/log.h"

#include <QHostAddress>
#include <QUdpSocket>

FactoryProbe::FactoryProbe(QObject *parent)
    : QObject(parent)
    , m_socket(new QUdpSocket(this))
{
    connect(m_socket, &QUdpSocket::readyRead, this, &FactoryProbe::read);
}

bool FactoryProbe::open(const QString &localAddress)
{
    m_socket->close();
    m_answered.clear();
    if (!m_socket->bind(QHostAddress(localAddress), 0)) {
        LOG_FAIL();
        return false;
    }
    m_socket->setSocketOption(QAbstractSocket::MulticastLoopbackOption, 1);
    return true;
}

int FactoryProbe::ask(const QStringList &targets)
{
    int sent = 0;
    for (const QString &t : targets)
        if (m_socket->writeDatagram(QByteArrayLiteral("AreYouCorvaneLink?"), QHostAddress(t), DevicePorts::kSettings) > 0)
            ++sent;
    return sent;
}

bool FactoryProbe::isAnswer(const QByteArray &datagram)
{
    return datagram.trimmed() == "iAmCorvaneLink!";
}

void FactoryProbe::read()
{
    while (m_socket->hasPendingDatagrams()) {
        QByteArray data(int(m_socket->pendingDatagramSize()), '\0');
        QHostAddress from;
        m_socket->readDatagram(data.data(), data.size(), &from);
        if (!isAnswer(data))
            continue;
        const QString address = QHostAddress(from.toIPv4Address()).toString();
        if (m_answered.contains(address))
            continue;
        m_answered.append(address);
        emit signal_answer(address);
    }
}
