#pragma once

#include "gui/widgets/framelessdialog.h"

class DevManager;
class QLabel;
class QPlainTextEdit;

/// "Add flow from SDP": the operator pastes the description of a flow that
/// another system sends, and it joins the registry's flows until removed.
/// A text that cannot be used keeps the dialog open with the reason below
/// the box; nothing is added then.
class SdpPasteDialog : public FramelessDialog
{
    Q_OBJECT
public:
    explicit SdpPasteDialog(DevManager &registry, QWidget *parent = nullptr);

    /// The reason the text was refused, empty when none was or it was edited since.
    QString refusal() const;
    /// The group of the flow added, once accepted.
    quint32 addedGroup() const { return m_added; }

public slots:
    void on_pb_ok_clicked();

protected:
    void changeEvent(QEvent *event) override;

private:
    void retranslate();

    DevManager &m_registry;
    quint32 m_added = 0;
    QLabel *m_hint;
    QPlainTextEdit *m_text;
    QLabel *m_refusal;
    QPushButton *m_ok;
    QPushButton *m_cancel;
};
