#pragma once

#include <QString>

/// What a page row's tip button shows: nothing, a warning or an error, with
/// the text of its tool tip.
struct RowProblem
{
    enum Level { None, Warning, Error };
    Level level = None;
    QString text;

    bool operator==(const RowProblem &o) const { return level == o.level && text == o.text; }
};
