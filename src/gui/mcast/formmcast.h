#pragma once

#include "core/mcast/flowview.h"

#include <QWidget>

class QLabel;

/// One flow as a list row: its name, group address and port, and the
/// channels it carries. The owner of the list tells it whether it is selected.
class FormMcast : public QWidget
{
    Q_OBJECT
public:
    explicit FormMcast(QWidget *parent = nullptr);

    void setFlow(const FlowView::TxRow &row);
    const FlowView::TxRow &flow() const { return m_row; }
    void setSelected(bool selected);
    bool isSelected() const { return m_selected; }

    static QString styleFor(bool selected);

protected:
    void changeEvent(QEvent *event) override;

private:
    void retranslate();

    FlowView::TxRow m_row;
    bool m_selected = false;
    QLabel *m_name;
    QLabel *m_ipPortCaption;
    QLabel *m_ipPort;
    QLabel *m_channels;
};
