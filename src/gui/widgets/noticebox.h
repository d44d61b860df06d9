#pragma once

#include "gui/widgets/framelessdialog.h"
#include "core/app/commandplan.h"

class QLabel;

/// The two message forms of the program: a notice with one button and a
/// confirm with yes and no ("no" abandons the action).
class NoticeBox : public FramelessDialog
{
    Q_OBJECT
public:
    enum Kind { Notice, Confirm };
    NoticeBox(Kind kind, const QString &text, QWidget *parent = nullptr);

    /// Shows a notice and waits for it to be closed.
    static void notice(QWidget *parent, const QString &text);
    /// Shows a confirm; true only for "yes".
    static bool confirm(QWidget *parent, const QString &text);
    /// Shows a plan's steps in order; true when every one passed (no notice,
    /// every confirm answered "yes").
    static bool passSteps(QWidget *parent, const QVector<PlanStep> &steps);

    QString text() const;
    Kind kind() const { return m_kind; }

protected:
    void changeEvent(QEvent *event) override;

private:
    void retranslate();

    Kind m_kind;
    QLabel *m_text;
    QPushButton *m_yes;
    QPushButton *m_no = nullptr;
};
