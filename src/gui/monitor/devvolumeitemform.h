#pragma once

#include "core/monitor/levelstracker.h"
#include "gui/widgets/columnrow.h"

/// One device's line on the levels page: its name and four level cells of
/// up to four lines each.
class DevVolumeItemForm : public ColumnRow
{
    Q_OBJECT
public:
    explicit DevVolumeItemForm(const QString &devId, QWidget *parent = nullptr);

    QString devId() const { return m_devId; }
    void setRow(const LevelsTracker::Row &row);
    /// The row's height: room for so many lines of levels.
    void setLineCount(int lines);

private:
    QString m_devId;
    int m_lines = 0;
};
