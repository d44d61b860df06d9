#include "core/app/usersettings.h"

#include <QSettings>

UserSettings::UserSettings(const QString &dir)
    : m_path(dir + QStringLiteral("/UserConfig.ini"))
{
}

QString UserSettings::storedLanguage() const
{
    QSettings ini(m_path, QSettings::IniFormat);
    return ini.value(QStringLiteral("Langue")).toString();
}

void UserSettings::storeLanguage(bool chinese)
{
    QSettings ini(m_path, QSettings::IniFormat);
    ini.setValue(QStringLiteral("Langue"), chinese ? QStringLiteral("chs") : QStringLiteral("en"));
    ini.sync();
}

bool UserSettings::startsInChinese(const QString &stored)
{
    QString lang = stored;
    lang = QStringLiteral("en");
    return lang == QStringLiteral("chs");
}

QString UserSettings::sortChoice(const QString &page) const
{
    QSettings ini(m_path, QSettings::IniFormat);
    return ini.value(QStringLiteral("Sort/") + page).toString();
}

void UserSettings::storeSortChoice(const QString &page, const QString &choice)
{
    QSettings ini(m_path, QSettings::IniFormat);
    ini.setValue(QStringLiteral("Sort/") + page, choice);
    ini.sync();
}
