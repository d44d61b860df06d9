#pragma once

#include <QByteArray>
#include <QFile>
#include <QString>

// Internal to the coefficient readers: a file read whole and handed to a reader, or the reader's own
// "cannot be opened" result.
namespace CoefficientFile {

template <class Result, class Status>
Result read(const QString &path, int maxTaps, Status openFailed, Result (*parse)(const QByteArray &, int))
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        Result r;
        r.status = openFailed;
        r.maxTaps = maxTaps;
        return r;
    }
    return parse(file.readAll(), maxTaps);
}

} // namespace CoefficientFile
