#include "core/routing/routegrid.h"

#include "core/devices/deviceorder.h"
#include "core/routing/hiddenchannels.h"
#include "core/routing/routelabels.h"
#include "core/protocol/ipv4.h"

namespace {

const QLatin1String kArrow(" -> ");

} // namespace

void RouteGrid::rebuild(const QVector<Device> &devices, const QVector<FlowRecord> &flows)
{
    m_devices = devices;
    m_flows = flows;
    collectOwners();
    collectRoutes();
    buildAxis(Rows);
    buildAxis(Columns);
    computeStates();
}

void RouteGrid::buildRows()
{
    buildAxis(Rows);
}

void RouteGrid::buildColumns()
{
    buildAxis(Columns);
}

void RouteGrid::collectOwners()
{
    m_deviceIndex.clear();
    m_deviceByIp.clear();
    m_flowIndex.clear();
    m_rowOwners.clear();
    m_columnOwners.clear();
    m_rowOwnerOfDevice.clear();
    m_rowOwnerOfFlow.clear();
    m_rowOwnerById.clear();
    m_columnOwnerById.clear();
    m_deviceIndex.reserve(m_devices.size());

    // Owners in the order of every list of devices, whatever order the registry learnt them in; the
    // indexes still point into the lists as given.
    for (const int i : DeviceOrder::indexOrder(m_devices)) {
        const DevRecord &rec = m_devices.at(i).rec;
        const QString id = rec.devId.str();
        m_deviceIndex.insert(id, i);
        m_deviceByIp.insert(rec.ip, i);
        Owner o;
        o.index = i;
        o.id = id;
        o.name = rec.name.str();
        o.online = rec.canWork;
        const QString model = rec.model.str();
        o.channels = HiddenChannels::shownCount(model, rec.chNumRx);
        if (o.channels > 0) {
            m_columnOwnerById.insert(id, m_columnOwners.size());
            m_columnOwners.append(o);
        }
        o.channels = HiddenChannels::shownCount(model, rec.chNumTx);
        if (o.channels > 0) {
            m_rowOwnerOfDevice.insert(id, m_rowOwners.size());
            m_rowOwnerById.insert(id, m_rowOwners.size());
            m_rowOwners.append(o);
        }
    }

    for (const int i : DeviceOrder::indexOrder(m_flows)) {
        const FlowRecord &f = m_flows.at(i);
        m_flowIndex.insert(f.dstIp, i);
        if (f.chNum == 0 || m_rowOwnerOfFlow.contains(f.dstIp))
            continue;
        Owner o;
        o.flow = true;
        o.index = i;
        o.id = f.name;
        o.name = f.name;
        o.flowIp = f.dstIp;
        o.channels = f.chNum;
        o.online = 1;
        m_rowOwnerOfFlow.insert(f.dstIp, m_rowOwners.size());
        m_rowOwnerById.insert(o.id, m_rowOwners.size());
        m_rowOwners.append(o);
    }

    // Receivers may hold subscriptions to flows that are no longer (or not
    // yet) announced: they get a row of their own, labelled by the group.
    for (const Owner &rx : qAsConst(m_columnOwners)) {
        const Device &d = m_devices.at(rx.index);
        for (int ch = 0; ch < rx.channels; ++ch) {
            const RtpChItem *route = d.routeOf(ch);
            if (!route || !route->isMulticast() || m_flowIndex.contains(route->dstIp))
                continue;
            int owner = m_rowOwnerOfFlow.value(route->dstIp, -1);
            if (owner < 0) {
                Owner o;
                o.flow = true;
                o.id = Ipv4::toText(route->dstIp);
                o.name = o.id;
                o.flowIp = route->dstIp;
                o.online = 1;
                owner = m_rowOwners.size();
                m_rowOwnerOfFlow.insert(route->dstIp, owner);
                m_rowOwnerById.insert(o.id, owner);
                m_rowOwners.append(o);
            }
            Owner &o = m_rowOwners[owner];
            o.channels = qMax(o.channels, route->srcChId + 1);
            for (const McastRxItem &sub : d.tables.mcastRx)
                if (sub.dstIp == route->dstIp)
                    o.channels = qMax(o.channels, int(sub.chNum));
        }
    }
}

int RouteGrid::sourceOwnerOf(const RtpChItem &route) const
{
    if (route.isMulticast())
        return m_rowOwnerOfFlow.value(route.dstIp, -1);
    return m_rowOwnerOfDevice.value(route.srcDevId, -1);
}

void RouteGrid::collectRoutes()
{
    m_routedPairs.clear();
    for (int c = 0; c < m_columnOwners.size(); ++c) {
        const Owner &rx = m_columnOwners.at(c);
        const Device &d = m_devices.at(rx.index);
        for (int ch = 0; ch < rx.channels; ++ch) {
            const RtpChItem *route = d.routeOf(ch);
            if (!route)
                continue;
            const int owner = sourceOwnerOf(*route);
            if (owner >= 0 && route->srcChId >= 0 && route->srcChId < m_rowOwners.at(owner).channels)
                m_routedPairs.insert(pairKey(owner, c));
        }
    }
}

QString RouteGrid::channelNameOf(const Owner &o, Axis a, int channel) const
{
    QString name;
    if (!o.flow) {
        name = m_devices.at(o.index).channelName(a == Rows ? DeviceTables::NameTx : DeviceTables::NameRx, channel - 1);
    } else if (o.index >= 0) {
        // A flow's channel is named after the creator's transmit channel it carries.
        const FlowRecord &f = m_flows.at(o.index);
        const int creator = m_deviceByIp.value(f.srcIp, -1);
        if (creator >= 0)
            name = flowChannelName(m_devices.at(creator), f, channel);
    }
    return name.isEmpty() ? QString::number(channel) : name;
}

void RouteGrid::buildAxis(Axis a)
{
    const QVector<Owner> &owners = a == Rows ? m_rowOwners : m_columnOwners;
    const QSet<QString> &open = expanded(a);
    QVector<AxisItem> &items = a == Rows ? m_rows : m_columns;
    QVector<int> &ownerLine = a == Rows ? m_rowOwnerLine : m_columnOwnerLine;
    items.clear();
    ownerLine.resize(owners.size());

    int lines = owners.size();
    for (const Owner &o : owners)
        if (open.contains(o.id))
            lines += o.channels;
    items.reserve(lines);

    for (int i = 0; i < owners.size(); ++i) {
        const Owner &o = owners.at(i);
        AxisItem item;
        item.expanded = open.contains(o.id);
        item.isMcastFlow = o.flow;
        item.ownerId = o.id;
        item.ownerName = o.name;
        item.channelName = o.name;
        item.online = o.online;
        item.flowIp = o.flowIp;
        item.flowAnnounced = !o.flow || o.index >= 0;
        item.ownerLine = items.size();
        item.ownerOrdinal = i;
        ownerLine[i] = items.size();
        items.append(item);
        if (!item.expanded)
            continue;
        for (int ch = 1; ch <= o.channels; ++ch) {
            item.channel = ch;
            item.channelName = channelNameOf(o, a, ch);
            items.append(item);
        }
    }
}

void RouteGrid::computeStates()
{
    m_routedRow.fill(-1, m_columns.size());
    for (int c = 0; c < m_columns.size(); ++c) {
        const AxisItem &col = m_columns.at(c);
        if (col.isOwner())
            continue;
        const Owner &rx = m_columnOwners.at(col.ownerOrdinal);
        const RtpChItem *route = m_devices.at(rx.index).routeOf(col.channel - 1);
        if (!route)
            continue;
        const int owner = sourceOwnerOf(*route);
        if (owner < 0 || route->srcChId < 0 || route->srcChId >= m_rowOwners.at(owner).channels)
            continue;
        const int line = m_rowOwnerLine.value(owner, -1);
        if (line >= 0 && m_rows.at(line).expanded)
            m_routedRow[c] = line + 1 + route->srcChId;
    }
}

int RouteGrid::cellState(int row, int column) const
{
    return row >= 0 && routedRowOf(column) == row ? 2 : 0;
}

bool RouteGrid::isOwnerPair(int row, int column) const
{
    return row >= 0 && row < m_rows.size() && column >= 0 && column < m_columns.size()
        && m_rows.at(row).isOwner() && m_columns.at(column).isOwner();
}

bool RouteGrid::pairRouted(int row, int column) const
{
    return isOwnerPair(row, column)
        && m_routedPairs.contains(pairKey(m_rows.at(row).ownerOrdinal, m_columns.at(column).ownerOrdinal));
}

bool RouteGrid::pairRouted(const QString &txOwnerId, const QString &rxDevId) const
{
    const int row = m_rowOwnerById.value(txOwnerId, -1);
    const int column = m_columnOwnerById.value(rxDevId, -1);
    return row >= 0 && column >= 0 && m_routedPairs.contains(pairKey(row, column));
}

bool RouteGrid::pairExpanded(int row, int column) const
{
    return isOwnerPair(row, column) && m_rows.at(row).expanded && m_columns.at(column).expanded;
}

QString RouteGrid::toolTip(int row, int column) const
{
    if (row < 0 || row >= m_rows.size() || column < 0 || column >= m_columns.size())
        return QString();
    const AxisItem &r = m_rows.at(row);
    const AxisItem &c = m_columns.at(column);
    return r.ownerName + QLatin1Char(':') + r.channelName + kArrow + c.ownerName + QLatin1Char(':') + c.channelName;
}

bool RouteGrid::cellAt(int x, int y, int cellSize, int *row, int *column) const
{
    if (x < 0 || y < 0 || cellSize <= 0)
        return false;
    const int r = y / cellSize;
    const int c = x / cellSize;
    if (r >= m_rows.size() || c >= m_columns.size())
        return false;
    *row = r;
    *column = c;
    return true;
}

void RouteGrid::setExpanded(Axis a, const QString &ownerId, bool on)
{
    QSet<QString> &set = a == Rows ? m_expandedRows : m_expandedColumns;
    if (on)
        set.insert(ownerId);
    else
        set.remove(ownerId);
}

void RouteGrid::setAllExpanded(Axis a, bool on)
{
    QSet<QString> &set = a == Rows ? m_expandedRows : m_expandedColumns;
    set.clear();
    if (on)
        for (const Owner &o : (a == Rows ? m_rowOwners : m_columnOwners))
            set.insert(o.id);
    buildAxis(a);
    computeStates();
}

void RouteGrid::toggleOwner(Axis a, const QString &ownerId)
{
    setExpanded(a, ownerId, !isExpanded(a, ownerId));
    buildAxis(a);
    computeStates();
}

bool RouteGrid::togglePair(int row, int column)
{
    if (!isOwnerPair(row, column))
        return false;
    const QString rowOwner = m_rows.at(row).ownerId;
    const QString columnOwner = m_columns.at(column).ownerId;
    const bool unfold = !isExpanded(Rows, rowOwner) && !isExpanded(Columns, columnOwner);
    setExpanded(Rows, rowOwner, unfold);
    setExpanded(Columns, columnOwner, unfold);
    buildAxis(Rows);
    buildAxis(Columns);
    computeStates();
    return true;
}

int RouteGrid::findLine(Axis a, const QString &ownerId, int channel) const
{
    const int owner = (a == Rows ? m_rowOwnerById : m_columnOwnerById).value(ownerId, -1);
    const QVector<int> &ownerLine = a == Rows ? m_rowOwnerLine : m_columnOwnerLine;
    if (owner < 0 || owner >= ownerLine.size())
        return -1;
    const int line = ownerLine.at(owner);
    if (channel == 0)
        return line;
    const AxisItem &item = axis(a).at(line);
    const int channels = (a == Rows ? m_rowOwners : m_columnOwners).at(owner).channels;
    return item.expanded && channel > 0 && channel <= channels ? line + channel : -1;
}

QVector<RouteGrid::SearchEntry> RouteGrid::searchEntries(Axis a) const
{
    QVector<SearchEntry> out;
    const QVector<Owner> &owners = a == Rows ? m_rowOwners : m_columnOwners;
    for (const Owner &o : owners) {
        out.append({o.name, o.id, 0});
        for (int ch = 1; ch <= o.channels; ++ch)
            out.append({o.name + QLatin1Char(':') + channelNameOf(o, a, ch), o.id, ch});
    }
    return out;
}

QVector<int> RouteGrid::matchingEntries(const QVector<SearchEntry> &entries, const QString &text)
{
    QVector<int> out;
    const QString wanted = text.trimmed();
    if (wanted.isEmpty())
        return out;
    int exact = -1;
    for (int i = 0; i < entries.size(); ++i) {
        const QString &t = entries.at(i).text;
        if (exact < 0 && t.compare(wanted, Qt::CaseInsensitive) == 0)
            exact = i;
        else if (t.contains(wanted, Qt::CaseInsensitive))
            out.append(i);
    }
    if (exact >= 0)
        out.prepend(exact);
    return out;
}

const Device *RouteGrid::device(const QString &devId) const
{
    const int i = m_deviceIndex.value(devId, -1);
    return i >= 0 ? &m_devices.at(i) : nullptr;
}

const FlowRecord *RouteGrid::flow(quint32 dstIp) const
{
    const int i = m_flowIndex.value(dstIp, -1);
    return i >= 0 ? &m_flows.at(i) : nullptr;
}
