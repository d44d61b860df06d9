#pragma once

#include "core/routing/routeplan.h"

class DevManager;
class DeviceUiStore;
class RouteGrid;

/// The decision inputs of a click on one cell of the grid, read fresh from
/// the registry: the receiver and transmitter (or the flow), the receiver's
/// firmware, and a lookup for the replacement question's names.
///
/// A routed cell of a flow row that is no longer announced gets a flow made
/// from the receiver's own route entry, so that it can still be cleared.
/// The registry must outlive the returned context (findDevice refers to it).
RouteContext routeClickContext(const RouteGrid &grid, int row, int column, const DevManager &registry,
                               const DeviceUiStore *uiStore);
