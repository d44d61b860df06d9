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

    struct Datagram
    {
        const char *data;
        int size;
        quint32 ip;
        quint16 port;
    };
    /// Several datagrams; how many were written. A full poll round is thousands of requests and one system call
    /// each costs more than the round's own work, so a transport that can hand the kernel a batch overrides this.
    virtual int sendBatch(const Datagram *batch, int count)
    {
        int written = 0;
        for (int i = 0; i < count; ++i)
            written += sendDatagram(QByteArray::fromRawData(batch[i].data, batch[i].size), batch[i].ip,
                                    batch[i].port) >= 0;
        return written;
    }
};
