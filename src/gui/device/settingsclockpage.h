#pragma once

#include <QWidget>

class EventMonitor;
class QLabel;
class QTableWidget;

/// One device's clock history: each change of its clock state or leader
/// since the program started, newest first, from the event monitor.
class SettingsClockPage : public QWidget
{
    Q_OBJECT
public:
    SettingsClockPage(const QString &devId, QWidget *parent = nullptr);

    /// The monitor whose history is shown; none shows the empty note.
    void setMonitor(const EventMonitor *monitor);
    QTableWidget *table() const { return m_table; }

protected:
    void changeEvent(QEvent *event) override;

private:
    void refresh();
    void retranslate();

    QString m_devId;
    const EventMonitor *m_monitor = nullptr;
    QLabel *m_empty;
    QTableWidget *m_table;
};
