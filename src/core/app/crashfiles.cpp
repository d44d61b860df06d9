#include "core/app/platform.h"

#include "core/app/appinfo.h"

#include <QStandardPaths>

namespace Platform {

QString crashFolder()
{
    return QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation) + QLatin1Char('/')
           + QLatin1String(AppInfo::kCrashFolder) + QLatin1Char('/');
}

QString crashFilePath(const QString &folder, const QDateTime &when)
{
    return folder + QLatin1String(AppInfo::kBuild) + QLatin1Char('_')
           + when.toString(QStringLiteral("yyMMddhhmmss")) + QStringLiteral(".dmp");
}

} // namespace Platform
