#pragma once

#include <QByteArray>
#include <QString>
#include <QVector>

class DevManager;
class QJsonObject;

/// Turns a page's request into the datagrams for the device: finds the
/// device, translates page-level operations, picks the port.
class RequestRouter
{
public:
    struct Datagram
    {
        QByteArray data;
        quint32 ip = 0;
        quint16 port = 0;
    };

    static constexpr quint32 kBroadcast = 0xFFFFFFFFu;

    /// The datagrams for one request (none when it is dropped; two for the
    /// statistics operations, which go in pairs).
    static QVector<Datagram> route(const QString &json, const DevManager &registry);
    /// The same, to a fixed port chosen by the page instead of the port table.
    static QVector<Datagram> routeToPort(const QString &json, quint16 port, const DevManager &registry);

    /// The device port for an operation; announcedPort for the rest.
    static quint16 portFor(const QString &op, quint16 announcedPort);

    /// The device operation for a page-level one and its side; empty when op
    /// is not page-level. paged: whether it carries "idStart".
    static QString deviceOperation(const QString &op, bool transmitSide, bool *paged = nullptr);
    /// The reverse: the page-level operation and side of a device operation.
    static QString pageOperation(const QString &deviceOp, bool *transmitSide);
    /// "inOrOut": "1", 1, "out" or "tx" mean the transmit side.
    static bool isTransmitSide(const QJsonObject &request);
    /// The other member of a statistics pair, or empty.
    static QString statisticsPartner(const QString &op);

private:
    static QVector<Datagram> build(const QString &json, int fixedPort, const DevManager &registry);
};
