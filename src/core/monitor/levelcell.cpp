#include "core/monitor/levelcell.h"

#include <cmath>

QString LevelCell::value(const QString &level)
{
    const QString t = level.trimmed();
    bool ok = false;
    const double v = t == QLatin1String("-inf") ? -90.0 : t.toDouble(&ok);
    if (t != QLatin1String("-inf") && (!ok || !std::isfinite(v)))
        return QStringLiteral("-");
    const double whole = std::trunc(v);
    if (whole < kFloorDb)
        return QStringLiteral("-");
    return QString::number(qint64(whole));
}

int LevelCell::lineCount(int channels)
{
    const int shown = qBound(0, channels, kMaxValues);
    return qMax(1, (shown + kPerLine - 1) / kPerLine);
}

QString LevelCell::format(const QStringList &values)
{
    QString out;
    const int n = qMin(values.size(), kMaxValues);
    for (int i = 0; i < n; ++i) {
        if (i > 0)
            out += i % kPerLine == 0 ? QLatin1Char('\n') : QLatin1Char('/');
        out += value(values.at(i));
    }
    return out;
}
