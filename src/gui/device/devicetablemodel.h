#pragma once

#include "core/devices/devicerecord.h"
#include "core/devices/deviceuistore.h"

#include <QAbstractTableModel>
#include <QSet>

/// The Devices page's table: one row per device of the registry, kept in
/// step by devId so selection and sorting survive refreshes.
class DeviceTableModel : public QAbstractTableModel
{
    Q_OBJECT
public:
    enum Column { Name, Model, DevId, Address, SampleRate, NetChannels, PhyChannels, Clock, Lock, Firmware, State,
                  ColumnCount };
    /// Sorting by this role orders numbers as numbers and addresses numerically.
    static constexpr int SortRole = Qt::UserRole + 1;
    static constexpr int DevIdRole = Qt::UserRole + 2;
    static constexpr int BlinkRole = Qt::UserRole + 3;

    explicit DeviceTableModel(QObject *parent = nullptr);

    /// Rows for exactly these devices, in the standard order (DeviceOrder).
    void setDevices(const QVector<Device> &devices);
    void setUiData(const QString &devId, const DeviceUiData &data);
    /// One row's record and page data at once; nothing when it is not listed.
    void updateRow(const Device &device, const DeviceUiData &data);
    void setBlinking(const QString &devId, bool blinking);
    bool isBlinking(const QString &devId) const { return m_blinking.contains(devId); }

    int rowOf(const QString &devId) const;
    QString devIdAt(int row) const;
    Device deviceAt(int row) const { return m_rows.at(row).device; }

    /// Re-reads every header and cell text (language switch).
    void retranslate();

    int rowCount(const QModelIndex &parent = QModelIndex()) const override;
    int columnCount(const QModelIndex &parent = QModelIndex()) const override;
    QVariant data(const QModelIndex &index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

    /// The text of one cell.
    static QString cellText(const Device &d, const DeviceUiData &ui, Column column);

private:
    struct Row
    {
        Device device;
        DeviceUiData ui;
    };
    QVector<Row> m_rows;
    QSet<QString> m_blinking;
};
