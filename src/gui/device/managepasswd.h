#pragma once

#include "gui/widgets/framelessdialog.h"

class PlanRunner;
class PasswordEdit;
class QLabel;

/// "修改密码": the old password and the new one twice. A failed check keeps
/// the dialog open with its notice; nothing is sent then.
class ManagePasswd : public FramelessDialog
{
    Q_OBJECT
public:
    explicit ManagePasswd(const QString &devId, QWidget *parent = nullptr);

signals:
    void signal_sendUdp(const QString &json, const QString &tag);

protected:
    void changeEvent(QEvent *event) override;

private:
    void onOk();
    void retranslate();

    QString m_devId;
    QLabel *m_oldLabel;
    QLabel *m_newLabel;
    QLabel *m_confirmLabel;
    PasswordEdit *m_old;
    PasswordEdit *m_new;
    PasswordEdit *m_confirm;
    QLabel *m_tips;
    QPushButton *m_ok;
    QPushButton *m_cancel;
    PlanRunner *m_runner = nullptr;
};
