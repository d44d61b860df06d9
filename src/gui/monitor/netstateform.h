#pragma once

#include "core/monitor/netstatstracker.h"

#include <QHash>
#include <QWidget>

class PlanRunner;
class DevManager;
class FormNetTitle;
class NetStateItemForm;
class QLabel;
class QTimer;
class RowList;

/// The network statistics page: every device of the registry with its audio
/// format, timing, bandwidth, temperature and running time, polled with
/// "getDebugInfo" while the page exists.
class NetStateForm : public QWidget
{
    Q_OBJECT
public:
    explicit NetStateForm(const DevManager &registry, QWidget *parent = nullptr);

    /// The poll interval (NetStatsTracker::kPollMs); tests shorten it.
    void setPollInterval(int ms);
    int pollInterval() const;

    NetStateItemForm *item(const QString &devId) const { return m_items.value(devId); }
    /// The rows in the order shown.
    QVector<NetStateItemForm *> items() const;
    FormNetTitle *title() const { return m_title; }
    const NetStatsTracker &tracker() const { return m_tracker; }

    /// The sort order as it is stored: "Default", "Ascending" or
    /// "Descending". An unknown text leaves the order as it is.
    QString sortChoice() const;
    void setSortChoice(const QString &choice);

signals:
    void signal_sendUdp(const QString &json, const QString &tag);
    /// The user picked another order.
    void signal_sortChoiceChanged(const QString &choice);

public slots:
    /// Re-reads the registry: devices added, removed or changed. Devices new
    /// to the page are asked at once rather than at the next tick.
    void slot_refresh();
    /// Replies of the main window; the page keeps "getDebugInfo" and
    /// "getTarnAmpInfo" answers.
    void slot_message(const QString &json);
    /// One poll round.
    void slot_poll();

protected:
    void changeEvent(QEvent *event) override;

private:
    void send(const QVector<QJsonObject> &commands);
    void showRows(const QVector<Device> &devices);

    const DevManager &m_registry;
    NetStatsTracker m_tracker;
    FormNetTitle *m_title;
    RowList *m_list;
    QLabel *m_count;
    QTimer *m_timer;
    QHash<QString, NetStateItemForm *> m_items;
    PlanRunner *m_runner = nullptr;
};
