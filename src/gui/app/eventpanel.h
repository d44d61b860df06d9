#pragma once

#include <QWidget>

class EventMonitor;
class QLabel;
class QListWidget;
class QPushButton;
struct EventLine;

/// The events and alarms panel at the right of the main window: every line
/// of the event log, newest at the bottom like the saved log, warnings in
/// amber and errors in red. While it is on screen the monitor's alerts count
/// as seen. "Save log…" writes the whole log as text.
class EventPanel : public QWidget
{
    Q_OBJECT
public:
    explicit EventPanel(EventMonitor *monitor, QWidget *parent = nullptr);

    QListWidget *list() const { return m_list; }

signals:
    void signal_closeRequested();
    void signal_showTips(const QString &text, bool isSucc);

protected:
    void showEvent(QShowEvent *event) override;
    void changeEvent(QEvent *event) override;

private:
    void append(const EventLine &line);
    void rebuild();
    void save();
    void retranslate();

    EventMonitor *m_monitor;
    QLabel *m_title;
    QLabel *m_empty;
    QListWidget *m_list;
    QPushButton *m_save;
    QPushButton *m_close;
};
