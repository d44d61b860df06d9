#pragma once

#include "core/protocol/commandsink.h"

#include <QByteArray>
#include <QVector>

/// Stands in for the transport: keeps every datagram that would be sent.
class RecordingSink : public CommandSink
{
public:
    struct Sent
    {
        QByteArray data;
        quint32 ip;
        quint16 port;
    };
    int sendDatagram(const QByteArray &data, quint32 ip, quint16 port) override
    {
        sent.append({QByteArray(data.constData(), data.size()), ip, port});
        return data.size();
    }
    QVector<QByteArray> payloads() const
    {
        QVector<QByteArray> out;
        for (const Sent &s : sent)
            out.append(s.data);
        return out;
    }
    QVector<Sent> sent;
};
