#pragma once

#include <QVector>
#include <QWidget>

class ColumnRow;
class QLabel;
class QScrollArea;
class QVBoxLayout;

/// The body of a list page: a header that stays in place, the rows below it
/// in a scroll area, and a line of text while there are no rows. The header
/// keeps the width of the rows when the scroll bar comes and goes.
class RowList : public QWidget
{
    Q_OBJECT
public:
    explicit RowList(ColumnRow *header, QWidget *parent = nullptr);

    ColumnRow *header() const { return m_header; }
    /// The parent for new rows.
    QWidget *rowParent() const;
    /// Shows exactly these rows in this order; rows left out are hidden, not
    /// deleted (their owner decides).
    void setRows(const QVector<QWidget *> &rows);
    QVector<QWidget *> rows() const { return m_rows; }
    void setEmptyText(const QString &text);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void followScrollBar();

    ColumnRow *m_header;
    QScrollArea *m_scroll;
    QWidget *m_content;
    QVBoxLayout *m_rowLayout;
    QLabel *m_empty;
    QVector<QWidget *> m_rows;
};
