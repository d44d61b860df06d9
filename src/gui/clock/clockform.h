#pragma once

#include <QHash>
#include <QWidget>

struct Device;
class ClockItemForm;
class DevManager;
class DeviceUiStore;
class FormClockTitle;
class PlanRunner;
class RowList;
class QLabel;
class QTimer;

/// The clock page: every device of the registry with its PTP role, state,
/// frequency adjustment and priority, which the edit button of a row changes.
class ClockForm : public QWidget
{
    Q_OBJECT
public:
    ClockForm(const DevManager &registry, DeviceUiStore *uiStore, QWidget *parent = nullptr);

    ClockItemForm *item(const QString &devId) const { return m_items.value(devId); }
    /// The rows in the order shown.
    QVector<ClockItemForm *> items() const;
    /// One line per domain (ClockDomainSummary::text) and the sample-rate warning.
    QLabel *summaryLabel() const { return m_summary; }
    QLabel *rateWarningLabel() const { return m_rateWarning; }

signals:
    void signal_sendUdp(const QString &json, const QString &tag);

public slots:
    /// Re-reads the registry: devices added, removed or changed (a new clock
    /// leader is only seen this way).
    void slot_refresh();
    /// One device's clock events or answers arrived.
    void slot_deviceChanged(const QString &devId);
    /// Replies: a changed priority is read back from the device.
    void slot_message(const QString &json);
    /// Opens the priority dialog of a device.
    void slot_editPriority(const QString &devId);

protected:
    void changeEvent(QEvent *event) override;

private:
    void showSummary(const QVector<Device> &devices);

    const DevManager &m_registry;
    PlanRunner *m_runner = nullptr;
    DeviceUiStore *m_uiStore;
    RowList *m_list;
    QLabel *m_count;
    QLabel *m_summary;
    QLabel *m_rateWarning;
    QTimer *m_summaryTimer;
    QHash<QString, ClockItemForm *> m_items;
};
