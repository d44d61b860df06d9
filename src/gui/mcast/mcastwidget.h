#pragma once

#include "core/mcast/flowview.h"
#include "gui/widgets/framelessdialog.h"

class QLabel;
class QPlainTextEdit;

/// The details of one flow: who sends it, where to, and its channels.
/// Read-only; the values are those of the moment it was opened or last set.
class McastWidget : public FramelessDialog
{
    Q_OBJECT
public:
    explicit McastWidget(QWidget *parent = nullptr);

    void setDetails(const FlowView::Details &details);
    const FlowView::Details &details() const { return m_details; }

protected:
    void changeEvent(QEvent *event) override;

private:
    void retranslate();

    FlowView::Details m_details;
    QLabel *m_captions[6];
    QLabel *m_devId;
    QLabel *m_devName;
    QLabel *m_devIp;
    QLabel *m_name;
    QLabel *m_addressPort;
    QPlainTextEdit *m_channels;
    QLabel *m_subscribersCaption;
    QLabel *m_subscribers;
};
