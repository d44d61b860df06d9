#pragma once

#include <QString>
#include <QStringList>

/// The text of one level group's cell on the levels page.
class LevelCell
{
public:
    static constexpr int kMaxValues = 32;
    static constexpr int kPerLine = 8;
    static constexpr int kFloorDb = -70;

    /// At most the first 32 values; each truncated towards zero to a whole
    /// dB, "-" below -70 ("-inf" and text that is not a number count as
    /// silence); "/" between values of a line, a new line after every 8th.
    static QString format(const QStringList &values);
    /// The lines a cell of so many channels takes (at least one).
    static int lineCount(int channels);
    /// One value as the cell writes it.
    static QString value(const QString &level);
};
