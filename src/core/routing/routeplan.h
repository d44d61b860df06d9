#pragma once

#include "core/app/commandplan.h"
#include "core/devices/devicerecord.h"

#include <functional>
#include <optional>

/// What a click on one cell of the routing grid should do.
struct RoutePlan : CommandPlan
{
    /// The cell shows the "checking" picture until the next rebuild.
    bool markChecking = false;
    /// The receiving device the command goes to.
    QString rxDevId;
};

/// Everything a click decision needs, as plain values.
struct RouteContext
{
    bool rowIsFlow = false;
    QString rowOwnerId;  // the transmitting device's id, or the flow's name
    int rowChannel = 0;  // from 1; 0 is the owner's own line
    QString rxDevId;
    int rxChannel = 0;   // from 1; 0 is the owner's own line
    int cellState = 0;   // 0 = no route, 2 = routed; above 2 = leave alone

    std::optional<Device> rx;
    std::optional<Device> tx;          // device rows
    std::optional<FlowRecord> flow;    // flow rows
    QString rxFirmware;                // the receiver's version, "" when unknown
    /// Finds any device of the registry (for the name in the replacement question).
    std::function<std::optional<Device>(const QString &devId)> findDevice;
};

/// Decides a click: checks, questions and the one command, in order.
RoutePlan planRouteClick(const RouteContext &ctx);

/// Classful test on the transmitter's first octet: 1-126 /8, 128-223 /16,
/// never for 0, 127 and 224-255.
bool sameNetwork(quint32 txIp, quint32 rxIp);

/// Whether the transmitter can carry one more unicast channel to the
/// receiver, by its stream table.
bool streamSlotAvailable(const Device &tx, quint32 rxIp, int srcChIndex);
