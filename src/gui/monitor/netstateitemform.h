#pragma once

#include "core/monitor/netstaterow.h"
#include "gui/widgets/columnrow.h"

class RowTipButton;

/// One device's line on the statistics page.
class NetStateItemForm : public ColumnRow
{
    Q_OBJECT
public:
    explicit NetStateItemForm(const QString &devId, QWidget *parent = nullptr);

    QString devId() const { return m_devId; }
    void setRow(const NetStateRow &row);
    const NetStateRow &row() const { return m_row; }
    RowTipButton *tipButton() const { return m_tip; }

private:
    QString m_devId;
    NetStateRow m_row;
    RowTipButton *m_tip;
    int m_colorLevel = -1;
};
