#pragma once

#include "gui/widgets/framelessdialog.h"

class QLabel;

/// The program's name, purpose, version and build.
class AboutDialog : public FramelessDialog
{
    Q_OBJECT
public:
    explicit AboutDialog(QWidget *parent = nullptr);

    /// "Version 3.1.4.45  Build 1222220025" in the current language.
    static QString versionLine();

protected:
    void changeEvent(QEvent *event) override;

private:
    void retranslate();

    QLabel *m_text;
    QLabel *m_version;
    QPushButton *m_ok;
};
