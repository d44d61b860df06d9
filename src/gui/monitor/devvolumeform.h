#pragma once

#include "core/monitor/levelmeter.h"
#include "core/monitor/levelstracker.h"

#include <QHash>
#include <QWidget>

class PlanRunner;
class DevManager;
class DevMeterView;
class DevVolumeItemForm;
class QLabel;
class QSplitter;
class QTimer;
class RowList;

/// The levels page: the current level of every channel of every device in
/// four groups, polled while the page exists. It sets nothing.
class DevVolumeForm : public QWidget
{
    Q_OBJECT
public:
    explicit DevVolumeForm(const DevManager &registry, QWidget *parent = nullptr);

    /// The poll interval (LevelsTracker::kPollMs); tests shorten it.
    void setPollInterval(int ms);
    int pollInterval() const;

    DevVolumeItemForm *item(const QString &devId) const { return m_items.value(devId); }
    const LevelsTracker &tracker() const { return m_tracker; }
    DevMeterView *meterView() const { return m_meterView; }
    /// Shows the device's meters beside the cells; "" shows none.
    void showMeters(const QString &devId);

signals:
    void signal_sendUdp(const QString &json, const QString &tag);

public slots:
    /// Re-reads the registry: devices added, removed or renamed.
    void slot_refresh();
    /// Level replies ("getAllPhyLevel", "getAllNetLevel").
    void slot_message(const QString &json);
    void slot_poll();

protected:
    void changeEvent(QEvent *event) override;
    bool eventFilter(QObject *watched, QEvent *event) override;
    void showEvent(QShowEvent *event) override;

private:
    const DevManager &m_registry;
    LevelsTracker m_tracker;
    RowList *m_list;
    QLabel *m_count;
    QTimer *m_timer;
    QHash<QString, DevVolumeItemForm *> m_items;
    PlanRunner *m_runner = nullptr;
    DevMeterView *m_meterView;
    QSplitter *m_split;
    bool m_splitPlaced = false;
    DeviceMeters m_meters;

    /// Advances the followed device's meters by one poll and draws them.
    void refreshMeters();
};
