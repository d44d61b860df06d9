#pragma once

#include "core/monitor/rowproblem.h"

#include <QPushButton>

/// The small button at the start of a list row that shows the row's problem:
/// the warning or error picture, with the problem's text as its tool tip.
/// Invisible (but keeping its place) while there is no problem.
class RowTipButton : public QPushButton
{
    Q_OBJECT
public:
    explicit RowTipButton(QWidget *parent = nullptr);

    void setProblem(const RowProblem &problem);
    RowProblem problem() const { return m_problem; }

    static QString iconPath(RowProblem::Level level);

private:
    RowProblem m_problem;
};
