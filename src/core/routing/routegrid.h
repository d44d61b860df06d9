#pragma once

#include "core/routing/axisitem.h"
#include "core/devices/devicerecord.h"

#include <QHash>
#include <QSet>
#include <QVector>

/// The routing grid as plain values: sources (device transmit channels, then
/// multicast flows) as rows, device receive channels as columns, which cells
/// are routed, and which owners are unfolded.
///
/// No cell is stored: a receive channel has at most one route, so a column
/// knows its one routed row and every other cell of it is unrouted. That keeps
/// a grid of thousands of lines by thousands small and quick to rebuild.
class RouteGrid
{
public:
    enum Axis { Rows, Columns };

    /// One line a search field can find, whether its owner is unfolded or not.
    struct SearchEntry
    {
        QString text;
        QString ownerId;
        int channel = 0;
    };

    /// Takes the registry's devices and flows in any order, then builds both
    /// axes (owners in DeviceOrder's order, flows after devices) and the cell
    /// states.
    void rebuild(const QVector<Device> &devices, const QVector<FlowRecord> &flows);
    /// After a fold change of one axis.
    void buildRows();
    void buildColumns();
    void computeStates();

    const QVector<AxisItem> &rows() const { return m_rows; }
    const QVector<AxisItem> &columns() const { return m_columns; }
    const QVector<AxisItem> &axis(Axis a) const { return a == Rows ? m_rows : m_columns; }
    int rowCount() const { return m_rows.size(); }
    int columnCount() const { return m_columns.size(); }

    /// 2 when the column's receive channel takes its audio from the row's
    /// source channel, else 0.
    int cellState(int row, int column) const;
    /// The row a column is routed from, or -1 (none, or its source not shown).
    int routedRowOf(int column) const
    {
        return column >= 0 && column < m_routedRow.size() ? m_routedRow.at(column) : -1;
    }
    bool isOwnerPair(int row, int column) const;
    /// Owner x owner cells: at least one route runs between the two owners.
    bool pairRouted(int row, int column) const;
    bool pairRouted(const QString &txOwnerId, const QString &rxDevId) const;
    /// Owner x owner cells: both owners are unfolded, so the routes between them show.
    bool pairExpanded(int row, int column) const;
    /// "rowOwner:rowChannel -> colDevice:colChannel".
    QString toolTip(int row, int column) const;

    /// The cell under a scene point of a grid of square cells; false outside it.
    bool cellAt(int x, int y, int cellSize, int *row, int *column) const;

    // Folding: the sets hold the owners shown unfolded.
    const QSet<QString> &expanded(Axis a) const { return a == Rows ? m_expandedRows : m_expandedColumns; }
    bool isExpanded(Axis a, const QString &ownerId) const { return expanded(a).contains(ownerId); }
    void setExpanded(Axis a, const QString &ownerId, bool expanded);
    /// Unfolds (or folds) every owner of an axis and rebuilds it and the states.
    void setAllExpanded(Axis a, bool expanded);
    /// Folds or unfolds one owner and rebuilds its axis and the states.
    void toggleOwner(Axis a, const QString &ownerId);
    /// An owner x owner cell: unfolds both when neither is unfolded, else
    /// folds both; then rebuilds. False when the cell is not owner x owner.
    bool togglePair(int row, int column);

    /// The line of an owner (channel 0) or of one of its channels, or -1.
    int findLine(Axis a, const QString &ownerId, int channel = 0) const;
    /// Every owner and channel of an axis, folded or not, for the search fields.
    QVector<SearchEntry> searchEntries(Axis a) const;
    /// The entries a search text finds, as indices into entries, best first:
    /// the one equal to the text (case and surrounding blanks aside), then
    /// every other entry that contains it, in axis order. A blank text finds none.
    static QVector<int> matchingEntries(const QVector<SearchEntry> &entries, const QString &text);

    /// The devices and flows of the last rebuild.
    const Device *device(const QString &devId) const;
    const FlowRecord *flow(quint32 dstIp) const;
    const QVector<Device> &devices() const { return m_devices; }

private:
    struct Owner
    {
        bool flow = false;
        int index = -1;       // into m_devices or m_flows; -1 for a flow known by its address only
        QString id;
        QString name;
        quint32 flowIp = 0;
        int channels = 0;     // shown
        qint32 online = 0;
    };

    void collectOwners();
    void collectRoutes();
    QString channelNameOf(const Owner &o, Axis a, int channel) const;
    void buildAxis(Axis a);
    /// The row owner a route comes from and the source channel from 0, or -1.
    int sourceOwnerOf(const RtpChItem &route) const;
    static quint64 pairKey(int rowOwner, int columnOwner)
    {
        return (quint64(quint32(rowOwner)) << 32) | quint32(columnOwner);
    }

    QVector<Device> m_devices;
    QVector<FlowRecord> m_flows;
    QHash<QString, int> m_deviceIndex;
    QHash<quint32, int> m_deviceByIp;
    QHash<quint32, int> m_flowIndex;

    QVector<Owner> m_rowOwners;
    QVector<Owner> m_columnOwners;
    QHash<QString, int> m_rowOwnerOfDevice;  // devId -> row owner
    QHash<quint32, int> m_rowOwnerOfFlow;    // group address -> row owner
    QHash<QString, int> m_rowOwnerById;
    QHash<QString, int> m_columnOwnerById;
    QSet<quint64> m_routedPairs;

    QVector<AxisItem> m_rows;
    QVector<AxisItem> m_columns;
    QVector<int> m_rowOwnerLine;     // row owner -> its line, -1 when not built
    QVector<int> m_columnOwnerLine;
    QVector<int> m_routedRow;

    QSet<QString> m_expandedRows;
    QSet<QString> m_expandedColumns;
};
