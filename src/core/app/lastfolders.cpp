#include "core/app/lastfolders.h"

#include <QDir>
#include <QFileInfo>
#include <QSettings>

namespace {

QString &overridePath()
{
    static QString path;
    return path;
}

QString keyOf(LastFolders::Kind kind)
{
    return kind == LastFolders::Kind::StoredConfigs ? QStringLiteral("lastCfgDirPath")
                                                    : QStringLiteral("lastDirPath");
}

} // namespace

namespace LastFolders {

QString iniPath()
{
    return overridePath().isEmpty() ? QStringLiteral("./Config.ini") : overridePath();
}

void setIniPath(const QString &path)
{
    overridePath() = path;
}

QString folder(Kind kind)
{
    const QString dir = QSettings(iniPath(), QSettings::IniFormat).value(keyOf(kind)).toString();
    return !dir.isEmpty() && QFileInfo(dir).isDir() ? dir : QString();
}

void remember(Kind kind, const QString &chosenFile)
{
    if (chosenFile.isEmpty())
        return;
    QSettings ini(iniPath(), QSettings::IniFormat);
    ini.setValue(keyOf(kind), QFileInfo(chosenFile).absolutePath());
    ini.sync();
}

} // namespace LastFolders
