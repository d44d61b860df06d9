#pragma once

#include "core/app/lastfolders.h"

#include <QString>

#include <functional>

class QWidget;

/// The one way the program asks the operator for a file: the dialog opens in the folder last used for that
/// kind of file and remembers the new one. Tests replace the dialog with a hook.
namespace FileChoice {

/// A chosen path, or empty when the operator cancelled.
QString open(QWidget *parent, const QString &caption, const QString &filter,
             LastFolders::Kind kind = LastFolders::Kind::Files);
QString save(QWidget *parent, const QString &caption, const QString &filter,
             LastFolders::Kind kind = LastFolders::Kind::Files);

using Hook = std::function<QString(bool save, const QString &caption, const QString &filter)>;
/// Replaces the dialogs (tests); an empty hook brings them back.
void setHook(Hook hook);

} // namespace FileChoice
