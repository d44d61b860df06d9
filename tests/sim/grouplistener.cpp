#include "grouplistener.h"

#include <QElapsedTimer>
#include <QJsonDocument>
#include <QNetworkDatagram>
#include <QNetworkInterface>
#include <QTest>

namespace {

QNetworkInterface loopback()
{
    for (const QNetworkInterface &i : QNetworkInterface::allInterfaces())
        for (const QNetworkAddressEntry &e : i.addressEntries())
            if (e.ip() == QHostAddress(QStringLiteral("127.0.0.1")))
                return i;
    return QNetworkInterface();
}

} // namespace

GroupListener::GroupListener()
{
    const QNetworkInterface lo = loopback();
    const auto mode = QAbstractSocket::ShareAddress | QAbstractSocket::ReuseAddressHint;
    m_ready = lo.isValid() && m_announce.bind(QHostAddress::AnyIPv4, 9996, mode) &&
              m_sap.bind(QHostAddress::AnyIPv4, 9875, mode) &&
              m_announce.joinMulticastGroup(QHostAddress(QStringLiteral("239.0.0.188")), lo) &&
              m_announce.joinMulticastGroup(QHostAddress(QStringLiteral("239.0.0.189")), lo) &&
              m_sap.joinMulticastGroup(QHostAddress(QStringLiteral("239.255.255.255")), lo);
}

void GroupListener::collect()
{
    for (QUdpSocket *s : {&m_announce, &m_sap}) {
        while (s->hasPendingDatagrams()) {
            const QNetworkDatagram dg = s->receiveDatagram(65536);
            Heard h;
            h.bytes = dg.data();
            h.from = dg.senderAddress();
            h.sap = s == &m_sap;
            if (!h.sap)
                h.json = QJsonDocument::fromJson(h.bytes).object();
            m_heard << h;
        }
    }
}

void GroupListener::clear()
{
    QCoreApplication::processEvents();
    collect();
    m_heard.clear();
}

GroupListener::Heard GroupListener::waitFor(const std::function<bool(const Heard &)> &pred, int timeoutMs)
{
    QElapsedTimer t;
    t.start();
    int checked = 0;
    for (;;) {
        collect();
        for (; checked < m_heard.size(); ++checked)
            if (pred(m_heard[checked]))
                return m_heard[checked];
        if (t.elapsed() >= timeoutMs)
            return Heard();
        QTest::qWait(5);
    }
}

QVector<GroupListener::Heard> GroupListener::all(const std::function<bool(const Heard &)> &pred)
{
    collect();
    QVector<Heard> out;
    for (const Heard &h : qAsConst(m_heard))
        if (pred(h))
            out << h;
    return out;
}

void GroupListener::listen(int ms)
{
    QElapsedTimer t;
    t.start();
    while (t.elapsed() < ms) {
        QTest::qWait(5);
        collect();
    }
}

std::function<bool(const GroupListener::Heard &)> GroupListener::ops(const QString &ops, const QString &devId)
{
    return [ops, devId](const Heard &h) {
        return h.json.value(QLatin1String("ops")).toString() == ops &&
               (devId.isEmpty() || h.json.value(QLatin1String("devId")).toString() == devId);
    };
}

std::function<bool(const GroupListener::Heard &)> GroupListener::event(const QString &event, const QString &devId)
{
    return [event, devId](const Heard &h) {
        return h.json.value(QLatin1String("event")).toString() == event &&
               (devId.isEmpty() || h.json.value(QLatin1String("devId")).toString() == devId);
    };
}

std::function<bool(const GroupListener::Heard &)> GroupListener::sapFor(const QString &group)
{
    const QByteArray line = "c=IN IP4 " + group.toLatin1() + "/";
    return [line](const Heard &h) { return h.sap && h.bytes.contains(line); };
}
