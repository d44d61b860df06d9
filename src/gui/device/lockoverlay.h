#pragma once

#include <QLabel>
#include <QPointer>

class QMenu;

/// What covers a locked area: the lock picture and "Press ctrl + 0 to
/// unlock". It takes the clicks meant for the area below; Ctrl+0 offers to
/// enter the password (which opens the lock dialog) or to set a password.
/// TranslucentLock and TransparentLock give it its colours.
class LockOverlay : public QLabel
{
    Q_OBJECT
public:
    /// Covers target: placed over it in its parent and kept on its geometry.
    void cover(QWidget *target);
    QWidget *target() const { return m_target; }

    /// The Ctrl+0 menu, while it is open.
    QMenu *choices() const;

public slots:
    void slot_showChoices();

signals:
    void signal_enterPassword();
    void signal_setPassword();

protected:
    LockOverlay(const QString &background, const QString &textColour, QWidget *parent);

    bool eventFilter(QObject *watched, QEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void paintEvent(QPaintEvent *event) override;
    void changeEvent(QEvent *event) override;

private:
    void retranslate();

    QPointer<QWidget> m_target;
    QPointer<QMenu> m_menu;
    QPixmap m_lock;
};
