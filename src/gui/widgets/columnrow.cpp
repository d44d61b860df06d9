#include "gui/widgets/columnrow.h"

#include "gui/widgets/elidedlabel.h"
#include "gui/widgets/style.h"
#include "core/app/scalefactors.h"

#include <QHBoxLayout>
#include <QLabel>

ColumnRow::ColumnRow(const QVector<int> &stretches, int leadingWidth, QWidget *parent)
    : QWidget(parent)
{
    setAttribute(Qt::WA_StyledBackground);
    auto *layout = new QHBoxLayout(this);
    layout->setContentsMargins(scaled(8), 0, scaled(8), 0);
    layout->setSpacing(scaled(8));
    if (leadingWidth > 0) {
        auto *slot = new QWidget(this);
        slot->setFixedWidth(scaled(leadingWidth));
        m_leading = new QHBoxLayout(slot);
        m_leading->setContentsMargins(0, 0, 0, 0);
        m_leading->setAlignment(Qt::AlignCenter);
        layout->addWidget(slot);
    }
    for (int i = 0; i < stretches.size(); ++i) {
        auto *cell = new QWidget(this);
        // Ignored: the cell takes its share of the width and no more, so
        // long texts never push the columns out of line.
        cell->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
        auto *cellLayout = new QHBoxLayout(cell);
        cellLayout->setContentsMargins(0, 0, 0, 0);
        cellLayout->setSpacing(scaled(4));
        auto *label = new ElidedLabel(cell);
        label->setObjectName(QStringLiteral("lb_col%1").arg(i));
        label->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
        label->setFont(Style::font(10.5));
        cellLayout->addWidget(label, 1);
        layout->addWidget(cell, stretches.at(i));
        m_labels.append(label);
        m_cellLayouts.append(cellLayout);
    }
}

QString ColumnRow::text(int column) const
{
    const auto *l = static_cast<const ElidedLabel *>(label(column));
    return l ? l->fullText() : QString();
}

void ColumnRow::setText(int column, const QString &text)
{
    auto *l = static_cast<ElidedLabel *>(label(column));
    if (!l || l->fullText() == text)
        return;
    l->setFullText(text);
    l->setToolTip(text);
}

void ColumnRow::setColors(const QColor &text, const QColor &background, bool rule)
{
    const QString line = rule ? QStringLiteral("border: none; border-bottom: 1px solid rgb(50, 52, 60);")
                              : QStringLiteral("border: none;");
    setStyleSheet(QStringLiteral("ColumnRow { background-color: %2; %3 } QLabel { color: %1; }")
                      .arg(Style::rgb(text), Style::rgb(background), line));
}
