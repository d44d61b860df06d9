#pragma once

#include "core/device/lockchoice.h"
#include "gui/widgets/framelessdialog.h"

class PlanRunner;
class PasswordEdit;
class QButtonGroup;
class QGroupBox;
class QLabel;
class QRadioButton;

/// "管理设备锁": the levels of the three lock areas and the password; OK
/// sends the two "setLock" commands, each to its own port.
class ManageLock : public FramelessDialog
{
    Q_OBJECT
public:
    /// current: what the device reports, shown as the starting choice.
    ManageLock(const QString &devId, const LockChoice &current, QWidget *parent = nullptr);

    LockChoice choice() const;
    void setPassword(const QString &password);

signals:
    void signal_sendUdpToPort(const QString &json, quint16 port);

protected:
    void changeEvent(QEvent *event) override;

private:
    void onOk();
    void syncRouting();
    void retranslate();
    QRadioButton *addChoice(QGroupBox *box, QButtonGroup *group, const char *name, int id);

    QString m_devId;
    QGroupBox *m_detailsBox;
    QGroupBox *m_routingBox;
    QGroupBox *m_dspBox;
    QButtonGroup *m_details;
    QButtonGroup *m_routing;
    QButtonGroup *m_dsp;
    QLabel *m_passwordLabel;
    PasswordEdit *m_password;
    QPushButton *m_ok;
    QPushButton *m_cancel;
    PlanRunner *m_runner = nullptr;
};
