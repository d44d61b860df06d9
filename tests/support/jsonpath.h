#pragma once

#include <QJsonArray>
#include <QJsonObject>
#include <QVariantList>

/// Reaching into a JSON document by a path of member names and indices ({"nodeArr", 0, "portArr", 1, "mute"}),
/// for tests that change one member of a document.
namespace JsonPath {

inline QJsonValue at(QJsonValue v, const QVariantList &path)
{
    for (const QVariant &step : path)
        v = step.type() == QVariant::Int ? v.toArray().at(step.toInt()) : v.toObject().value(step.toString());
    return v;
}

/// The value with the member at the path set; an undefined value removes it. An index one past the end appends.
inline QJsonValue with(const QJsonValue &v, QVariantList path, const QJsonValue &value)
{
    if (path.isEmpty())
        return value;
    const QVariant step = path.takeFirst();
    if (step.type() == QVariant::Int) {
        QJsonArray arr = v.toArray();
        const int i = step.toInt();
        const QJsonValue inner = with(arr.at(i), path, value);
        if (inner.isUndefined())
            arr.removeAt(i);
        else if (i == arr.size())
            arr.append(inner);
        else
            arr[i] = inner;
        return arr;
    }
    QJsonObject obj = v.toObject();
    const QJsonValue inner = with(obj.value(step.toString()), path, value);
    if (inner.isUndefined())
        obj.remove(step.toString());
    else
        obj[step.toString()] = inner;
    return obj;
}

inline void set(QJsonObject &doc, const QVariantList &path, const QJsonValue &value = QJsonValue::Undefined)
{
    doc = with(doc, path, value).toObject();
}

} // namespace JsonPath
