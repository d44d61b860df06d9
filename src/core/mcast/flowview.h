#pragma once

#include "core/devices/devicerecord.h"

#include <QStringList>
#include <QVector>

/// What the flow pages show, read once from the registry's records so that
/// the widgets only lay out text.
namespace FlowView {

/// One flow as the detail dialog shows it.
struct Details
{
    QString devId;       // the creator; empty when no known device sends from srcIp
    QString devName;
    QString devIp;
    QString name;
    QString addressPort; // "239.69.12.34:5004"
    QStringList channels;
    /// "name (address)" of each device with a channel subscribed to the flow,
    /// by name.
    QStringList subscribers;
};

/// One transmit flow of a device, as a row of the stream page.
struct TxRow
{
    QString name;
    QString address;     // dotted group address: what the delete action looks up
    QString addressPort;
    QStringList channels;

    bool operator==(const TxRow &o) const
    {
        return name == o.name && address == o.address && addressPort == o.addressPort && channels == o.channels;
    }
};

/// The creator is found by the flow's source address among the devices; the
/// subscribers by their route tables.
Details details(const FlowRecord &flow, const QVector<Device> &devices);
/// A flow of the device's own transmit table, for when it is not (or not
/// yet) announced; empty name when the device sends nothing to dstIp.
Details txDetails(const Device &dev, quint32 dstIp);
/// The device's flows in table order; empty slots (group 0) are left out.
QVector<TxRow> transmitFlows(const Device &dev);
/// The tickable channel items of the create action, "name:index" with the
/// index counted from 0, for the channels the model shows.
QStringList channelItems(const Device &dev);
/// Devices that can send a flow: at least one shown transmit channel.
bool canTransmit(const Device &dev);

} // namespace FlowView
