#include "simfaults.h"

#include <QJsonValue>

namespace {

int readInt(const QJsonValue &v, bool *ok)
{
    if (v.isDouble()) {
        *ok = true;
        return v.toInt();
    }
    return v.toString().toInt(ok);
}

} // namespace

SimFaults SimFaults::fromJson(const QJsonObject &obj, const SimFaults &base, QString *error)
{
    SimFaults f = base;
    for (auto it = obj.begin(); it != obj.end(); ++it) {
        const QString key = it.key();
        bool ok = true;
        if (key == QLatin1String("lossPercent"))
            f.lossPercent = readInt(it.value(), &ok);
        else if (key == QLatin1String("delayMs"))
            f.delayMs = readInt(it.value(), &ok);
        else if (key == QLatin1String("malformedPercent"))
            f.malformedPercent = readInt(it.value(), &ok);
        else if (key == QLatin1String("oversizePercent"))
            f.oversizePercent = readInt(it.value(), &ok);
        else if (key == QLatin1String("goneAfterS"))
            f.goneAfterS = readInt(it.value(), &ok);
        else if (key == QLatin1String("backAfterS"))
            f.backAfterS = readInt(it.value(), &ok);
        else if (key == QLatin1String("dspSplit"))
            f.dspSplit = readInt(it.value(), &ok);
        else if (key == QLatin1String("dspDelayMs"))
            f.dspDelayMs = readInt(it.value(), &ok);
        else if (key == QLatin1String("dspDropPercent"))
            f.dspDropPercent = readInt(it.value(), &ok);
        else if (key == QLatin1String("dspDropOnAccept"))
            f.dspDropOnAccept = it.value().toBool();
        else if (key == QLatin1String("silent"))
            f.silent = it.value().toBool();
        else if (key == QLatin1String("hot")) {
            f.hot = it.value().toString();
            ok = f.hot.isEmpty() || f.hot == QLatin1String("warn") || f.hot == QLatin1String("error");
        } else if (key == QLatin1String("refuse")) {
            const QJsonObject r = it.value().toObject();
            for (auto rit = r.begin(); rit != r.end(); ++rit)
                f.refuse.insert(rit.key(), rit.value().toString());
        } else {
            ok = false;
        }
        if (!ok && error && error->isEmpty())
            *error = QStringLiteral("fault \"%1\" is unknown or has a bad value").arg(key);
    }
    for (int *p : {&f.lossPercent, &f.malformedPercent, &f.oversizePercent, &f.dspDropPercent})
        *p = qBound(0, *p, 100);
    f.delayMs = qMax(0, f.delayMs);
    f.dspDelayMs = qMax(0, f.dspDelayMs);
    f.dspSplit = qBound(0, f.dspSplit, 1000);
    return f;
}

QJsonObject SimFaults::toJson(const SimFaults &base) const
{
    QJsonObject o;
    if (lossPercent != base.lossPercent)
        o.insert(QStringLiteral("lossPercent"), lossPercent);
    if (delayMs != base.delayMs)
        o.insert(QStringLiteral("delayMs"), delayMs);
    if (malformedPercent != base.malformedPercent)
        o.insert(QStringLiteral("malformedPercent"), malformedPercent);
    if (oversizePercent != base.oversizePercent)
        o.insert(QStringLiteral("oversizePercent"), oversizePercent);
    if (refuse != base.refuse) {
        QJsonObject r;
        for (auto it = refuse.begin(); it != refuse.end(); ++it)
            r.insert(it.key(), it.value());
        o.insert(QStringLiteral("refuse"), r);
    }
    if (hot != base.hot)
        o.insert(QStringLiteral("hot"), hot);
    if (silent != base.silent)
        o.insert(QStringLiteral("silent"), silent);
    if (goneAfterS != base.goneAfterS)
        o.insert(QStringLiteral("goneAfterS"), goneAfterS);
    if (backAfterS != base.backAfterS)
        o.insert(QStringLiteral("backAfterS"), backAfterS);
    if (dspSplit != base.dspSplit)
        o.insert(QStringLiteral("dspSplit"), dspSplit);
    if (dspDelayMs != base.dspDelayMs)
        o.insert(QStringLiteral("dspDelayMs"), dspDelayMs);
    if (dspDropOnAccept != base.dspDropOnAccept)
        o.insert(QStringLiteral("dspDropOnAccept"), dspDropOnAccept);
    if (dspDropPercent != base.dspDropPercent)
        o.insert(QStringLiteral("dspDropPercent"), dspDropPercent);
    return o;
}

QJsonObject SimFaults::toJson() const
{
    return toJson(SimFaults());
}

bool SimFaults::operator==(const SimFaults &o) const
{
    return lossPercent == o.lossPercent && delayMs == o.delayMs && malformedPercent == o.malformedPercent &&
           oversizePercent == o.oversizePercent && refuse == o.refuse && hot == o.hot && silent == o.silent &&
           goneAfterS == o.goneAfterS && backAfterS == o.backAfterS && dspSplit == o.dspSplit && dspDelayMs == o.dspDelayMs &&
           dspDropOnAccept == o.dspDropOnAccept && dspDropPercent == o.dspDropPercent;
}
