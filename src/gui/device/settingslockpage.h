#pragma once

#include "core/devices/deviceuistore.h"

#include <QWidget>

class QLabel;
class QPushButton;

/// The levels of the three lock areas as the device reports them, and the
/// doors to the lock and password dialogs.
class SettingsLockPage : public QWidget
{
    Q_OBJECT
public:
    explicit SettingsLockPage(QWidget *parent = nullptr);

    void refresh(const DeviceUiData &ui);

signals:
    void signal_manageLock();
    void signal_changePassword();
    void signal_refresh();

protected:
    void changeEvent(QEvent *event) override;

private:
    void retranslate();

    DeviceUiData m_ui;
    QLabel *m_areas[3];
    QLabel *m_levels[3];
    QPushButton *m_manageLock;
    QPushButton *m_changePassword;
    QPushButton *m_refresh;
};
