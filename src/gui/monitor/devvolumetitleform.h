#pragma once

#include "gui/widgets/columnrow.h"

/// The levels page's header: the device name and the four level groups.
class DevVolumeTitleForm : public ColumnRow
{
    Q_OBJECT
public:
    enum Column { Name, AnalogIn, AnalogOut, NetIn, NetOut, ColumnCount };

    explicit DevVolumeTitleForm(QWidget *parent = nullptr);

    /// Shared with the rows so their cells line up with the captions.
    static const QVector<int> &stretches();

protected:
    void changeEvent(QEvent *event) override;

private:
    void retranslate();
};
