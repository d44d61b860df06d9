#pragma once

#include <QQueue>
#include <QWidget>

class QLabel;
class QTimer;

/// Short notices at the bottom of a page: results of commands, refusals,
/// switches. One at a time; later ones wait their turn. Never takes focus.
class SnackBar : public QWidget
{
    Q_OBJECT
public:
    enum Kind { Info, Success, Failure };
    explicit SnackBar(QWidget *host);

    void showMessage(const QString &text, Kind kind = Info);
    QString currentText() const;
    Kind currentKind() const { return m_current.kind; }
    int pending() const { return m_queue.size(); }

    /// How long a text stays: longer texts stay longer.
    static int durationMs(const QString &text);

public slots:
    /// The page signal form: a text and whether it reports success.
    void slot_showTips(const QString &text, bool isSucc);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;
    void paintEvent(QPaintEvent *event) override;

private:
    struct Item
    {
        QString text;
        Kind kind = Info;
    };
    void showNext();
    void place();

    QQueue<Item> m_queue;
    Item m_current;
    QLabel *m_icon;
    QLabel *m_label;
    QTimer *m_timer;
};
