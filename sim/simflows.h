#pragma once

#include <QJsonObject>
#include <QJsonValue>
#include <QString>
#include <QVector>
#include <functional>

class SimDevice;

/// A device's multicast transmit flows: creating and removing them, the
/// group each one takes, and the SAP announcements that make them known.
class SimFlows
{
public:
    SimFlows(SimDevice &device, int count);

    /// The slot of the flow sent to \a group, or -1.
    int indexByGroup(quint32 group) const;
    QString name(int slot) const;
    int port(int slot) const;
    /// The transmit channel at \a position of the flow in \a slot, or -1.
    int channel(int slot, int position) const;
    /// Every flow follows the device's sample width.
    void setSampleByteNum(int bytes);
    /// The SAP announcement of every flow.
    void sendSap();

    /// The "getAllMcastTx" table.
    bool page(const QString &ops, int *size, std::function<QJsonValue(int)> *item) const;
    QString opSetMcastTx(const QJsonObject &req, QJsonObject &r);
    QString opClrMcastTx(const QJsonObject &req, QJsonObject &r);

private:
    struct Flow
    {
        QString name;
        quint32 dstIp = 0;
        int dstPort = 5004;
        QVector<int> channels;
        int sampleByteNum = 3;
        quint32 rtpTsOffset = 0;
        quint32 sessionId = 0;
        quint32 sessionVersion = 1;
    };

    void sendSapFor(const Flow &flow, bool deletion);

    SimDevice &m_device;
    QVector<Flow> m_flows;
};
