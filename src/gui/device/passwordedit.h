#pragma once

#include <QLineEdit>

class QAction;

/// A password field whose eye button shows or hides what was typed.
class PasswordEdit : public QLineEdit
{
    Q_OBJECT
public:
    explicit PasswordEdit(QWidget *parent = nullptr);

    QAction *eyeAction() const { return m_eye; }
    bool isShown() const { return echoMode() == QLineEdit::Normal; }

protected:
    void changeEvent(QEvent *event) override;

private:
    void retranslate();

    QAction *m_eye;
};
