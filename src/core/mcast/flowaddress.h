#pragma once

#include "core/devices/devicerecord.h"

#include <QString>
#include <QVector>

/// Which multicast groups a new flow should not take: the groups the network
/// itself uses and the groups other flows already send to.
namespace FlowAddress {

/// The reason a group is reserved, or empty when it is free for a flow.
/// Local network control (224.0.0.0/24), PTP (224.0.1.129 to .132), SAP
/// (239.255.255.255) and the device announcement groups (239.0.0.188, .189).
QString reserved(quint32 group);
/// The reserved reason, else the flow already on the group, else empty.
QString conflict(quint32 group, const QVector<FlowRecord> &knownFlows);

} // namespace FlowAddress
