#pragma once

#include "core/clock/clockrow.h"
#include "gui/widgets/columnrow.h"

class QLabel;
class QPushButton;
class RowTipButton;

/// One device's line on the clock page.
class ClockItemForm : public ColumnRow
{
    Q_OBJECT
public:
    explicit ClockItemForm(const QString &devId, QWidget *parent = nullptr);

    QString devId() const { return m_devId; }
    void setRow(const ClockRow &row);
    const ClockRow &row() const { return m_row; }
    RowTipButton *tipButton() const { return m_tip; }
    QPushButton *editButton() const { return m_edit; }
    /// Marks the row of a device that leads its domain's clock.
    void setLeaderMark(bool leader);
    bool hasLeaderMark() const { return m_leaderMark; }

signals:
    void signal_editPriority(const QString &devId);

protected:
    void changeEvent(QEvent *event) override;

private:
    QString m_devId;
    ClockRow m_row;
    RowTipButton *m_tip;
    int m_colorLevel = -1;
    QPushButton *m_edit;
    QLabel *m_leader;
    bool m_leaderMark = false;
};
