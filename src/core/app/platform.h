#pragma once

#include "core/app/scalefactors.h"

#include <QDateTime>
#include <QString>

/// The few things that differ between Windows and the other systems. The
/// Windows half lives in platform_win.cpp, the rest in platform_posix.cpp.
namespace Platform {

/// The primary display as the system reports it before any window exists.
/// Windows only; elsewhere false, and the windowing system is asked instead.
bool nativeScreenMetrics(ScreenMetrics *out);

/// Installs the handler that writes one file per crash into crashFolder():
/// a minidump on Windows, a text report (signal, address, backtrace)
/// elsewhere. The process then ends with code 0x8000FFFF (255 where exit
/// codes have eight bits).
void installCrashHandler();

/// Ends a firmware-upgrade tool left over from an earlier run (Windows only).
void endLeftoverFirmwareTool();

/// The user's documents folder + "/CorvaneLink3/".
QString crashFolder();
/// crashFolder() + build + "_" + yyMMddhhmmss + ".dmp".
QString crashFilePath(const QString &folder, const QDateTime &when);

} // namespace Platform
