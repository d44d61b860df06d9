#include "core/app/atomicfile.h"

#include "core/app/log.h"

#include <QSaveFile>

bool AtomicFile::write(const QString &path, const QByteArray &bytes, QString *why)
{
    QSaveFile file(path);
    // No direct-write fallback: a folder that refuses the temporary file must refuse the write, not get a
    // file truncated in place.
    file.setDirectWriteFallback(false);
    bool ok = file.open(QIODevice::WriteOnly);
    if (ok)
        ok = file.write(bytes) == bytes.size();
    if (ok)
        ok = file.commit();
    else
        file.cancelWriting();
    if (!ok) {
        LOG_FAIL();
        if (why)
            *why = file.errorString();
    }
    return ok;
}
