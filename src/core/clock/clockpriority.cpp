#include "core/clock/clockpriority.h"

#include "core/app/texts.h"

#include <algorithm>

const QVector<int> &ClockPriority::knownValues()
{
    static const QVector<int> values = [] {
        QVector<int> v;
        for (int p = 0; p <= 250; p += 10)
            v.append(p);
        for (int p : {128, 246, 248, 255})
            v.append(p);
        std::sort(v.begin(), v.end());
        return v;
    }();
    return values;
}

QString ClockPriority::cellText(int priority)
{
    if (priority < 0 || priority > 255)
        return QStringLiteral("\u2014");
    if (!knownValues().contains(priority))
        return QStringLiteral("NA");
    return QString::number(priority);
}

int ClockPriority::parse(const QString &text)
{
    const QString t = text.trimmed();
    if (t.isEmpty() || t.size() > 3)
        return -1;
    for (const QChar c : t)
        if (c < QLatin1Char('0') || c > QLatin1Char('9'))
            return -1;
    const int v = t.toInt();
    return v <= 255 ? v : -1;
}

CommandPlan ClockPriority::plan(const QString &devId, const QString &text)
{
    const int value = parse(text);
    if (value < 0)
        return CommandPlan::notice(tx(Tx::PriorityRange));
    CommandPlan p;
    // Normalised, so "007" never reaches a device that might read it as octal.
    p.command = QJsonObject{{QStringLiteral("ops"), QStringLiteral("setPtpPriority")},
                            {QStringLiteral("val"), QString::number(value)},
                            {QStringLiteral("devId"), devId}};
    return p;
}
