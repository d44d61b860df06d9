#pragma once

#include <QJsonObject>
#include <QWidget>

class PlanRunner;
class DevManager;
class DeviceTableModel;
class DeviceUiStore;
class QLabel;
class QLineEdit;
class QPushButton;
class QSortFilterProxyModel;
class QTableView;

/// The Devices page: every device of the registry, live, with its actions.
class DeviceListForm : public QWidget
{
    Q_OBJECT
public:
    DeviceListForm(const DevManager &registry, DeviceUiStore *uiStore, QWidget *parent = nullptr);

    DeviceTableModel *model() const { return m_model; }
    QTableView *view() const { return m_view; }
    /// The devId of the selected row, or empty.
    QString selectedDevId() const;
    void selectDevice(const QString &devId);
    /// The column sorted by and its direction as stored: "<column>:asc" or
    /// "<column>:desc". An unreadable text leaves the sort as it is.
    QString sortChoice() const;
    void setSortChoice(const QString &choice);

signals:
    void signal_sendUdp(const QString &json, const QString &tag);
    void signal_openSettings(const QString &devId);
    void signal_openDsp(const QString &devId);
    void signal_showTips(const QString &text, bool isSucc);
    /// The user sorted by another column or direction.
    void signal_sortChoiceChanged(const QString &choice);

public slots:
    /// Re-reads the registry (devices added, removed or changed).
    void slot_refresh();
    /// Asks devices for what the table still lacks (version, lock).
    void slot_refreshDevInfo();
    void slot_blinking(const QString &devId);
    void slot_unBlinking(const QString &devId);
    void on_pb_identify_clicked();
    void on_pb_reboot_clicked();

protected:
    void changeEvent(QEvent *event) override;

private:
    void send(const QString &op, const QString &devId, const QJsonObject &extra = {});
    void updateButtons();
    void retranslate();
    QString nameOf(const QString &devId) const;

    const DevManager &m_registry;
    DeviceUiStore *m_uiStore;
    DeviceTableModel *m_model;
    QSortFilterProxyModel *m_proxy;
    QTableView *m_view;
    QLineEdit *m_filter;
    QLabel *m_count;
    QPushButton *m_settings;
    QPushButton *m_dsp;
    QPushButton *m_identify;
    QPushButton *m_reboot;
    PlanRunner *m_runner = nullptr;
    bool m_restoringSort = false;
};
