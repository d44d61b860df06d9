#pragma once

#include <QString>

/// The folders the file dialogs last used, kept in "./Config.ini" (beside wherever the program was started,
/// as the devices' older tools did), so the next dialog opens where the operator last was.
namespace LastFolders {

enum class Kind {
    Files,         ///< "lastDirPath": programs, program lists, filter lists, curves
    StoredConfigs, ///< "lastCfgDirPath": the administration page's stored configurations
};

/// The folder last used for this kind; empty when none was kept or it is no longer there.
QString folder(Kind kind);
/// Keeps the folder of a file the operator chose; an empty path (a dialog cancelled) keeps nothing.
void remember(Kind kind, const QString &chosenFile);

/// The settings file; tests point it elsewhere. Empty goes back to "./Config.ini".
void setIniPath(const QString &path);
QString iniPath();

} // namespace LastFolders
