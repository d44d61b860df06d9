#pragma once

#include "core/app/texts.h"

#include <QString>
#include <QStringList>

#include <optional>

/// What the program page and the administration page allow, decided without widgets. Each check gives the
/// message that refuses the action, or nothing when it may go ahead. Programs are listed by slot: nameArr[slot]
/// is the program's name, empty for an empty slot; slot 0 is the system default.
namespace ProgramRules {

enum class Page {
    Program, ///< the DSP window's program page
    Admin,   ///< the administration page
};

/// The name rule of both pages, "^[0-9a-zA-Z_-]{1,40}$", with each page's own messages. The hyphen is allowed
/// although the messages name only underscores: devices already hold such names. On the administration page
/// a wrong character is ProgAdminNameFormat, shown under the title ProgAdminNameFormatTitle.
std::optional<Tx> nameError(const QString &name, Page page);

/// "0 Default" for slot 0, "<slot> <name>" for the others.
QString slotLabel(int slot, const QString &name);

/// Saving over a slot (the running configuration or an import).
std::optional<Tx> refuseChange(int slot);
/// inUse: the name the device reports as running ("getDefaultFile").
std::optional<Tx> refuseDelete(int slot, const QStringList &nameArr, const QString &inUse);
/// slot < 0: none chosen.
std::optional<Tx> refuseExport(int slot, const QStringList &nameArr);

/// The programs export-all fetches: every named slot but the default, in slot order, each name once.
QStringList exportableNames(const QStringList &nameArr);
/// ProgExportAllNone when there is nothing beyond the default, so that no file is asked for.
std::optional<Tx> refuseExportAll(const QStringList &nameArr);

} // namespace ProgramRules
