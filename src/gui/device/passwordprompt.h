#pragma once

#include "gui/widgets/framelessdialog.h"

class PasswordEdit;

/// "输入密码": asks for the device's password before the lock dialog opens.
class PasswordPrompt : public FramelessDialog
{
    Q_OBJECT
public:
    explicit PasswordPrompt(QWidget *parent = nullptr);

    QString password() const;

protected:
    void changeEvent(QEvent *event) override;

private:
    void retranslate();

    PasswordEdit *m_password;
    QPushButton *m_ok;
    QPushButton *m_cancel;
};
