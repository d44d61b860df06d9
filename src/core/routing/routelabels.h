#pragma once

#include "core/routing/bulkroute.h"

/// How a route reads for a person: device and channel names where the network
/// knows them, ids and numbers where it does not. Listings only; nothing
/// compares or parses these.

/// The name of a flow's channel: the creator's transmit channel it carries, or
/// "" when the creator has not told its names or does not list the flow.
QString flowChannelName(const Device &creator, const FlowRecord &flow, int channel);

/// "Console 64 · Mic 3", "Test Flow · 2", "239.69.7.7 · 2" for a flow that is
/// not announced, "SIM-0003:3" for a device nobody has named, "—" for none.
QString routeSourceLabel(const RouteNetwork &network, const RouteSource &s);

/// "DSP Matrix 16 · In 5", or "SIM-0006:5" for a device not on the network.
QString receiveChannelLabel(const RouteNetwork &network, const QString &devId, int rxCh);

/// "DSP Matrix 16 (SIM-0006)", or the bare id when the device has no name.
QString deviceLabel(const QString &name, const QString &devId);
