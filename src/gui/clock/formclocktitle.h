#pragma once

#include "gui/widgets/columnrow.h"

/// The clock page's header: the column captions.
class FormClockTitle : public ColumnRow
{
    Q_OBJECT
public:
    enum Column { Name, Model, DevId, Address, Role, State, Freq, Priority, Version, ColumnCount };

    explicit FormClockTitle(QWidget *parent = nullptr);

    /// Shared with the rows so their cells line up with the captions.
    static const QVector<int> &stretches();
    static constexpr int kTipWidth = 30;

protected:
    void changeEvent(QEvent *event) override;

private:
    void retranslate();
};
