#include "core/routing/routeblock.h"

#include "core/routing/hiddenchannels.h"

namespace {

// The last line of the owner whose line is ownerLine: its channels follow it
// until the next owner line.
int lastLineOf(const QVector<AxisItem> &axis, int ownerLine)
{
    int last = ownerLine;
    while (last + 1 < axis.size() && axis.at(last + 1).ownerLine == ownerLine)
        ++last;
    return last;
}

int shownTx(const Device &d)
{
    return HiddenChannels::shownCount(d.rec.model.str(), d.rec.chNumTx);
}

int shownRx(const Device &d)
{
    return HiddenChannels::shownCount(d.rec.model.str(), d.rec.chNumRx);
}

bool sourceMatches(const AxisItem &row, const RouteSource &s)
{
    return row.isMcastFlow ? s.kind == RouteSource::Multicast && s.flowIp == row.flowIp
                           : s.kind == RouteSource::Unicast && s.srcDevId == row.ownerId;
}

RouteChange clearOf(const QString &rxDevId, int rxCh)
{
    RouteChange c;
    c.rxDevId = rxDevId;
    c.rxCh = rxCh;
    return c;
}

} // namespace

QRect RouteBlock::between(const RouteGrid &grid, int anchorRow, int anchorColumn, int row, int column)
{
    const QVector<AxisItem> &rows = grid.rows();
    const QVector<AxisItem> &columns = grid.columns();
    if (anchorRow < 0 || anchorRow >= rows.size() || anchorColumn < 0 || anchorColumn >= columns.size())
        return QRect();
    const AxisItem &r = rows.at(anchorRow);
    const AxisItem &c = columns.at(anchorColumn);
    if (r.isOwner() || c.isOwner())
        return QRect();
    // Channel lines only: the owner's own line stays outside the block.
    const int top = r.ownerLine + 1;
    const int bottom = lastLineOf(rows, r.ownerLine);
    const int left = c.ownerLine + 1;
    const int right = lastLineOf(columns, c.ownerLine);
    const int y = qBound(top, row, bottom);
    const int x = qBound(left, column, right);
    return QRect(QPoint(qMin(anchorColumn, x), qMin(anchorRow, y)), QPoint(qMax(anchorColumn, x), qMax(anchorRow, y)));
}

BulkRoute::Request RouteBlock::routeRequest(const RouteGrid &grid, const QRect &block)
{
    BulkRoute::Request request;
    if (block.isEmpty())
        return request;
    const AxisItem &first = grid.rows().at(block.top());
    const AxisItem &firstColumn = grid.columns().at(block.left());
    if (first.isMcastFlow)
        request.flowIp = first.flowIp;
    else
        request.srcDevId = first.ownerId;
    request.dstDevId = firstColumn.ownerId;
    request.from = first.channel;
    request.dstFrom = firstColumn.channel;
    request.count = qMin(block.height(), block.width());
    return request;
}

bool RouteBlock::pairRequest(const RouteGrid &grid, int row, int column, BulkRoute::Request *request)
{
    if (row < 0 || row >= grid.rowCount() || column < 0 || column >= grid.columnCount())
        return false;
    const AxisItem &r = grid.rows().at(row);
    const AxisItem &c = grid.columns().at(column);
    const Device *rx = grid.device(c.ownerId);
    if (!rx || (!r.isMcastFlow && r.ownerId == c.ownerId))
        return false;
    int sourceCount = 0;
    if (r.isMcastFlow) {
        const FlowRecord *f = grid.flow(r.flowIp);
        if (!f)
            return false;
        sourceCount = f->chNum;
        request->flowIp = r.flowIp;
        request->srcDevId.clear();
    } else {
        const Device *src = grid.device(r.ownerId);
        if (!src)
            return false;
        sourceCount = shownTx(*src);
        request->srcDevId = r.ownerId;
        request->flowIp = 0;
    }
    request->dstDevId = c.ownerId;
    request->from = 1;
    request->dstFrom = 1;
    request->count = qMin(sourceCount, shownRx(*rx));
    return request->count > 0;
}

QVector<RouteChange> RouteBlock::clears(const RouteGrid &grid, const QRect &block)
{
    QVector<RouteChange> out;
    if (block.isEmpty())
        return out;
    for (int column = block.left(); column <= block.right(); ++column) {
        const int routed = grid.routedRowOf(column);
        if (routed >= block.top() && routed <= block.bottom()) {
            const AxisItem &c = grid.columns().at(column);
            out.append(clearOf(c.ownerId, c.channel));
        }
    }
    return out;
}

QVector<RouteChange> RouteBlock::pairClears(const RouteGrid &grid, const RouteNetwork &network, int row, int column)
{
    QVector<RouteChange> out;
    if (row < 0 || row >= grid.rowCount() || column < 0 || column >= grid.columnCount())
        return out;
    const AxisItem &r = grid.rows().at(row);
    const QString rxDevId = grid.columns().at(column).ownerId;
    const Device *rx = network.device(rxDevId);
    if (!rx)
        return out;
    for (int ch = 1; ch <= shownRx(*rx); ++ch)
        if (sourceMatches(r, network.routeOf(rxDevId, ch)))
            out.append(clearOf(rxDevId, ch));
    return out;
}
