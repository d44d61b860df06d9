#pragma once

#include <QByteArray>
#include <QtGlobal>

/// Where requests go: one datagram to ip:port. The transport implements it;
/// tests replace it to see exactly what would be sent.
class CommandSink
{
public:
    virtual ~CommandSink() = default;
    /// Bytes written, or -1 when nothing could be sent.
    virtual int sendDatagram(const QByteArray &data, quint32 ip, quint16 port) = 0;
};
