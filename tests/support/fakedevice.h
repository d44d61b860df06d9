#pragma once

#include "packets.h"

#include <QHostAddress>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkInterface>
#include <QTimer>
#include <QUdpSocket>
#include <functional>
#include <memory>

/// A device written by hand from the protocol document, for end-to-end tests
/// of the program's side: it announces itself, answers table pages from
/// fixed contents, and records every request it gets.
class FakeDevice
{
public:
    struct Request
    {
        QJsonObject body;
        quint16 port;  // the device port it arrived at
    };

    FakeDevice(const QString &devId, const QString &address, const QJsonObject &overrides = {})
        : m_devId(devId)
        , m_address(address)
        , m_overrides(overrides)
    {
        for (quint16 port : {quint16(9990), quint16(9994)}) {
            auto s = std::make_shared<QUdpSocket>();
            s->bind(QHostAddress(address), port);
            QUdpSocket *raw = s.get();
            QObject::connect(raw, &QUdpSocket::readyRead, raw, [this, raw, port] { read(raw, port); });
            m_sockets.push_back(s);
        }
        m_group.bind(QHostAddress(address), 0);
        for (const QNetworkInterface &i : QNetworkInterface::allInterfaces())
            if (i.flags() & QNetworkInterface::IsLoopBack)
                m_group.setMulticastInterface(i);
        m_timer.setInterval(200);
        QObject::connect(&m_timer, &QTimer::timeout, [this] { announce(); });
    }

    void start()
    {
        announce();
        m_timer.start();
    }
    void announce()
    {
        m_group.writeDatagram(Packets::announcement(m_devId, m_address, m_overrides), QHostAddress("239.0.0.188"), 9996);
    }
    void sendSap(const QByteArray &packet) { m_group.writeDatagram(packet, QHostAddress("239.255.255.255"), 9875); }

    /// The items of one table, all returned in one page.
    void setTable(const QString &op, const QJsonArray &items) { m_tables.insert(op, items); }
    /// Answers a request other than a table page.
    std::function<QJsonObject(const QJsonObject &)> answer;

    QVector<Request> requests;

private:
    void read(QUdpSocket *s, quint16 port)
    {
        while (s->hasPendingDatagrams()) {
            QByteArray data(int(s->pendingDatagramSize()), '\0');
            QHostAddress from;
            quint16 fromPort = 0;
            s->readDatagram(data.data(), data.size(), &from, &fromPort);
            const QJsonObject req = QJsonDocument::fromJson(data).object();
            requests.append({req, port});
            QJsonObject reply;
            const QString op = req.value("ops").toString();
            if (op.startsWith("getAll")) {
                const QJsonArray items = m_tables.value(op);
                const int count = m_overrides.value(tableSizeMember(op)).toString(QStringLiteral("8")).toInt();
                reply = QJsonObject{{"ops", op},        {"devId", m_devId}, {"result", "succ"},
                                    {"idStart", req.value("idStart")}, {"idNext", count}, {"arr", items}};
            } else if (answer) {
                reply = answer(req);
            }
            if (reply.isEmpty())
                continue;
            for (const char *copied : {"cookie", "uiTag"})
                if (req.contains(copied))
                    reply.insert(copied, req.value(copied));
            s->writeDatagram(QJsonDocument(reply).toJson(QJsonDocument::Compact), from, fromPort);
        }
    }
    static QString tableSizeMember(const QString &op)
    {
        if (op.contains("Ucast"))
            return op.contains("Tx") ? "ucastNumTx" : "ucastNumRx";
        if (op.contains("Mcast"))
            return op.contains("Tx") ? "mcastNumTx" : "mcastNumRx";
        return op.endsWith("Tx") ? "chNumTx" : "chNumRx";
    }

    QString m_devId;
    QString m_address;
    QJsonObject m_overrides;
    std::vector<std::shared_ptr<QUdpSocket>> m_sockets;
    QUdpSocket m_group;
    QTimer m_timer;
    QHash<QString, QJsonArray> m_tables;
};
