#pragma once

#include "core/app/commandplan.h"
#include "core/devices/devicerecord.h"

#include <QWidget>

class QLabel;
class QTableWidget;
class QTableWidgetItem;

/// Network and physical channel names, receive and transmit, one column
/// each, editable in place. A cell follows the registry only when the
/// registry's name changes: names are fetched once, so a name just sent
/// would otherwise be overwritten by the old one.
class SettingsChannelsPage : public QWidget
{
    Q_OBJECT
public:
    explicit SettingsChannelsPage(const QString &devId, QWidget *parent = nullptr);

    void refresh(const Device &dev);
    void resync();
    QTableWidget *table() const { return m_table; }

signals:
    void signal_run(const CommandPlan &plan);

protected:
    void changeEvent(QEvent *event) override;

private:
    void onItemChanged(QTableWidgetItem *item);
    void apply(bool force);
    void retranslate();

    QString m_devId;
    Device m_dev;
    QVector<QString> m_seen[DeviceTables::NameTableCount];
    qint32 m_seenCount[DeviceTables::NameTableCount] = {-1, -1, -1, -1};
    bool m_filling = false;
    QLabel *m_hint;
    QTableWidget *m_table;
};
