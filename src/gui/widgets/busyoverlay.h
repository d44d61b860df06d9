#pragma once

#include <QWidget>

class QTimer;

/// Covers a page while it waits for a device: a spinner, a text, and a
/// time-out after which it closes itself and says so.
class BusyOverlay : public QWidget
{
    Q_OBJECT
public:
    explicit BusyOverlay(QWidget *host);

    /// Shows the overlay; 0 ms means no time-out.
    void start(const QString &text, int timeoutMs);
    void stop();
    bool isBusy() const { return isVisible(); }
    QString text() const { return m_text; }

signals:
    void signal_timeout();

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;
    void paintEvent(QPaintEvent *event) override;

private:
    QString m_text;
    QTimer *m_spin;
    QTimer *m_timeout;
    int m_angle = 0;
};
