#pragma once

#include "core/routing/bulkroute.h"
#include "core/routing/routegrid.h"

#include <QRect>

/// A block of channel cells of the routing grid, all between one source (a
/// device or a flow) and one receiving device: what a bulk route or a bulk
/// clear works on. Rows are y, columns x.
namespace RouteBlock {

/// The block from the anchor cell to the current one, kept inside the
/// anchor's pair of owners; empty when the anchor is not a channel cell.
QRect between(const RouteGrid &grid, int anchorRow, int anchorColumn, int row, int column);

/// Source channel k of the block's rows to receive channel k of its columns,
/// for as many as the smaller side has.
BulkRoute::Request routeRequest(const RouteGrid &grid, const QRect &block);

/// The owner pair of any cell, as a whole: both owners' first channels on,
/// as far as both go. False for a cell that is not between a source and a device.
bool pairRequest(const RouteGrid &grid, int row, int column, BulkRoute::Request *request);

/// Clears of the block's receive channels that are routed from its rows.
QVector<RouteChange> clears(const RouteGrid &grid, const QRect &block);
/// Clears of every receive channel of the cell's device routed from the cell's source, folded or not.
QVector<RouteChange> pairClears(const RouteGrid &grid, const RouteNetwork &network, int row, int column);

} // namespace RouteBlock
