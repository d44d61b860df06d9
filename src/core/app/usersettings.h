#pragma once

#include <QString>

/// "UserConfig.ini" beside the executable; key "Langue" holds "chs" or "en".
class UserSettings
{
public:
    explicit UserSettings(const QString &dir);

    QString storedLanguage() const;
    void storeLanguage(bool chinese);

    /// The language the program starts in, given what the file holds. The
    /// stored value is read but the program always starts in English: the
    /// value is replaced by "en" before the comparison, on purpose, so an
    /// operator always meets the same screen after a restart.
    static bool startsInChinese(const QString &stored);

    /// The sort a page was last left in ("" when never chosen): kept across
    /// launches so a large list comes back the way the operator reads it.
    QString sortChoice(const QString &page) const;
    void storeSortChoice(const QString &page, const QString &choice);

    QString path() const { return m_path; }

private:
    QString m_path;
};
