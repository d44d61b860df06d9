#pragma once

#include "core/monitor/netstaterow.h"
#include "gui/widgets/columnrow.h"

class QComboBox;
class QLabel;

/// The statistics page's header: the column captions and the sort order.
class FormNetTitle : public ColumnRow
{
    Q_OBJECT
public:
    enum Column { Name, Model, DevId, SampleRate, PacketTime, Delay, Temperature, Bandwidth, Uptime, ColumnCount };

    explicit FormNetTitle(QWidget *parent = nullptr);

    /// Shared with the rows so their cells line up with the captions.
    static const QVector<int> &stretches();
    static constexpr int kTipWidth = 30;

    NetStateRow::SortOrder sortOrder() const;
    /// Sets the order quietly (no signal_sortChanged): a restored choice.
    void setSortOrder(NetStateRow::SortOrder order);
    QComboBox *sortBox() const { return m_sort; }
    QLabel *sortLabel() const { return m_sortLabel; }

signals:
    void signal_sortChanged(NetStateRow::SortOrder order);

protected:
    void changeEvent(QEvent *event) override;

private:
    void retranslate();

    QComboBox *m_sort;
    QLabel *m_sortLabel;
};
