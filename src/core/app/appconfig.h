#pragma once

#include <QString>
#include <optional>

/// "appConfig.txt" beside the executable: its first non-empty line is
/// key=value and the value is the window title.
class AppConfig
{
public:
    /// The title from the file's bytes, or nothing when there is none.
    static std::optional<QString> parseTitle(const QByteArray &content);
    /// Reads dir + "/appConfig.txt"; a missing file gives nothing.
    static std::optional<QString> readTitle(const QString &dir);
};
