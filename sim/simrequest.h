#pragma once

#include <QJsonObject>
#include <QJsonValue>
#include <QString>
#include <cmath>

/// How device firmware reads the members of a request: every member as
/// text. A member sent as a JSON number, or anything else but a string, is
/// read as 0; only a missing member, or text that is not a number, is a bad
/// parameter.
namespace SimRequest {

inline int readInt(const QJsonValue &v, bool *ok)
{
    if (v.isUndefined()) {
        *ok = false;
        return 0;
    }
    if (!v.isString()) {
        *ok = true;
        return 0;
    }
    return v.toString().trimmed().toInt(ok);
}

inline int readInt(const QJsonObject &req, const char *key, bool *ok)
{
    return readInt(req.value(QLatin1String(key)), ok);
}

inline double readReal(const QJsonObject &req, const char *key, bool *ok)
{
    const QJsonValue v = req.value(QLatin1String(key));
    if (v.isUndefined()) {
        *ok = false;
        return 0;
    }
    if (!v.isString()) {
        *ok = true;
        return 0;
    }
    const double d = v.toString().trimmed().toDouble(ok);
    *ok = *ok && std::isfinite(d);
    return d;
}

inline bool readText(const QJsonObject &req, const char *key, QString *out)
{
    const QJsonValue v = req.value(QLatin1String(key));
    if (v.isUndefined())
        return false;
    *out = v.toString();
    return true;
}

} // namespace SimRequest
