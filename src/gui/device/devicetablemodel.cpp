#include "gui/device/devicetablemodel.h"

#include "core/app/texts.h"
#include "core/clock/clockstatus.h"
#include "core/devices/deviceorder.h"
#include "core/protocol/ipv4.h"

#include <QColor>
#include <QHash>

DeviceTableModel::DeviceTableModel(QObject *parent)
    : QAbstractTableModel(parent)
{
}

QString DeviceTableModel::cellText(const Device &d, const DeviceUiData &ui, Column column)
{
    const DevRecord &r = d.rec;
    switch (column) {
    case Name: return r.name.str();
    case Model: return r.model.str();
    case DevId: return r.devId.str();
    case Address: return Ipv4::toText(r.ip);
    case SampleRate: return QString::number(r.sampleRate);
    case NetChannels: return QStringLiteral("%1 / %2").arg(r.chNumRx).arg(r.chNumTx);
    case PhyChannels: return QStringLiteral("%1 / %2").arg(r.phyChNumRx).arg(r.phyChNumTx);
    case Clock: {
        const ClockStatus s = ClockStatus::of(r, ui.ptpState);
        return s.roleText() + QStringLiteral(" · ") + s.stateText();
    }
    case Lock: return !ui.lockKnown ? tx(Tx::Unknown) : tx(ui.locked() ? Tx::LockLocked : Tx::LockOpen);
    case Firmware: return ui.version.isEmpty() ? tx(Tx::Unknown) : ui.version;
    case State: return tx(r.canWork ? Tx::StateReady : Tx::StateNotReady);
    default: return QString();
    }
}

void DeviceTableModel::setDevices(const QVector<Device> &given)
{
    const QVector<Device> devices = DeviceOrder::sorted(given);
    QSet<QString> wanted;
    for (const Device &d : devices)
        wanted.insert(d.devId());
    // Gone devices leave; the rest stay the same rows (moved only when a new
    // name moves them), and newcomers are inserted at their place: views keep
    // their selection and scroll position.
    for (int row = m_rows.size() - 1; row >= 0; --row) {
        if (!wanted.contains(m_rows.at(row).device.devId())) {
            beginRemoveRows(QModelIndex(), row, row);
            m_blinking.remove(m_rows.at(row).device.devId());
            m_rows.removeAt(row);
            endRemoveRows();
        }
    }
    for (int at = 0; at < devices.size(); ++at) {
        const QString devId = devices.at(at).devId();
        if (at < m_rows.size() && m_rows.at(at).device.devId() == devId) {
            m_rows[at].device = devices.at(at);
            continue;
        }
        const int from = rowOf(devId);
        if (from > at) {
            beginMoveRows(QModelIndex(), from, from, QModelIndex(), at);
            m_rows.move(from, at);
            endMoveRows();
            m_rows[at].device = devices.at(at);
        } else {
            beginInsertRows(QModelIndex(), at, at);
            m_rows.insert(at, {devices.at(at), DeviceUiData()});
            endInsertRows();
        }
    }
    if (!m_rows.isEmpty())
        emit dataChanged(index(0, 0), index(m_rows.size() - 1, ColumnCount - 1));
}

void DeviceTableModel::setUiData(const QString &devId, const DeviceUiData &data)
{
    const int row = rowOf(devId);
    if (row < 0)
        return;
    m_rows[row].ui = data;
    emit dataChanged(index(row, 0), index(row, ColumnCount - 1));
}

void DeviceTableModel::updateRow(const Device &device, const DeviceUiData &data)
{
    const int row = rowOf(device.devId());
    if (row < 0)
        return;
    m_rows[row] = {device, data};
    emit dataChanged(index(row, 0), index(row, ColumnCount - 1));
}

void DeviceTableModel::setBlinking(const QString &devId, bool blinking)
{
    if (blinking)
        m_blinking.insert(devId);
    else
        m_blinking.remove(devId);
    const int row = rowOf(devId);
    if (row >= 0)
        emit dataChanged(index(row, 0), index(row, ColumnCount - 1));
}

int DeviceTableModel::rowOf(const QString &devId) const
{
    for (int i = 0; i < m_rows.size(); ++i)
        if (m_rows.at(i).device.devId() == devId)
            return i;
    return -1;
}

QString DeviceTableModel::devIdAt(int row) const
{
    return row >= 0 && row < m_rows.size() ? m_rows.at(row).device.devId() : QString();
}

void DeviceTableModel::retranslate()
{
    emit headerDataChanged(Qt::Horizontal, 0, ColumnCount - 1);
    if (!m_rows.isEmpty())
        emit dataChanged(index(0, 0), index(m_rows.size() - 1, ColumnCount - 1));
}

int DeviceTableModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : m_rows.size();
}

int DeviceTableModel::columnCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : ColumnCount;
}

QVariant DeviceTableModel::data(const QModelIndex &index, int role) const
{
    if (!index.isValid() || index.row() >= m_rows.size())
        return {};
    const Row &row = m_rows.at(index.row());
    const auto column = Column(index.column());
    switch (role) {
    case Qt::DisplayRole:
        return cellText(row.device, row.ui, column);
    case SortRole:
        switch (column) {
        case Address: return row.device.rec.ip;
        case SampleRate: return row.device.rec.sampleRate;
        case NetChannels: return row.device.rec.chNumRx * 100000 + row.device.rec.chNumTx;
        case PhyChannels: return row.device.rec.phyChNumRx * 100000 + row.device.rec.phyChNumTx;
        // The rows are kept in the standard order: a row's place is its rank by name, then devId.
        case Name: return index.row();
        default: return cellText(row.device, row.ui, column).toLower();
        }
    case DevIdRole:
        return row.device.devId();
    case BlinkRole:
        return m_blinking.contains(row.device.devId());
    case Qt::BackgroundRole:
        if (m_blinking.contains(row.device.devId()))
            return QColor(50, 89, 182, 170);
        return {};
    case Qt::ForegroundRole:
        if (column == State && !row.device.rec.canWork)
            return QColor(230, 160, 40);
        if (column == Lock && row.ui.locked())
            return QColor(230, 160, 40);
        return {};
    case Qt::TextAlignmentRole:
        return column == Name || column == DevId || column == Model ? QVariant(Qt::AlignLeft | Qt::AlignVCenter)
                                                                    : QVariant(Qt::AlignCenter);
    default:
        return {};
    }
}

QVariant DeviceTableModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole)
        return QAbstractTableModel::headerData(section, orientation, role);
    static const Tx headers[ColumnCount] = {Tx::ColName, Tx::ColModel, Tx::ColDevId, Tx::ColAddress,
                                            Tx::ColSampleRate, Tx::ColNetChannels, Tx::ColPhyChannels,
                                            Tx::ColClock, Tx::ColLock, Tx::ColFirmware, Tx::ColState};
    return section >= 0 && section < ColumnCount ? tx(headers[section]) : QVariant();
}
