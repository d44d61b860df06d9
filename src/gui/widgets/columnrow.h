#pragma once

#include <QVector>
#include <QWidget>

class QHBoxLayout;
class QLabel;

/// One line of a list page: a fixed leading slot (for a tip button) and text
/// cells sized by stretch factors alone, so a header and every row built
/// with the same factors line up whatever their texts.
class ColumnRow : public QWidget
{
    Q_OBJECT
public:
    /// stretches: one per column; leadingWidth: the slot before the first
    /// column in design pixels (0: none).
    ColumnRow(const QVector<int> &stretches, int leadingWidth, QWidget *parent = nullptr);

    int columnCount() const { return m_labels.size(); }
    /// The cell's label: it shows the text cut with "…" when it does not fit.
    QLabel *label(int column) const { return m_labels.value(column); }
    /// The cell's whole text, cut or not.
    QString text(int column) const;
    /// Sets a cell's text; the full text is the tool tip, since a narrow
    /// window cuts it.
    void setText(int column, const QString &text);
    /// The cell's layout, to put a widget beside its label.
    QHBoxLayout *cellLayout(int column) const { return m_cellLayouts.value(column); }
    /// The leading slot's layout.
    QHBoxLayout *leadingLayout() const { return m_leading; }
    /// Text colour and background of the row; rule: a thin line below it.
    void setColors(const QColor &text, const QColor &background, bool rule = false);

private:
    QVector<QLabel *> m_labels;
    QVector<QHBoxLayout *> m_cellLayouts;
    QHBoxLayout *m_leading = nullptr;
};
