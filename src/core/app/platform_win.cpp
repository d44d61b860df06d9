#include "core/app/platform.h"

#include "core/app/appinfo.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QDir>
#include <QProcess>

#include <windows.h>
#include <dbghelp.h>

namespace {

LONG WINAPI onUnhandledException(EXCEPTION_POINTERS *exception)
{
    const QString folder = Platform::crashFolder();
    if (QDir().mkpath(folder)) {
        const QString file = Platform::crashFilePath(folder, QDateTime::currentDateTime());
        HANDLE h = CreateFileW(reinterpret_cast<LPCWSTR>(file.utf16()), GENERIC_WRITE, 0, nullptr,
                               CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
        if (h != INVALID_HANDLE_VALUE) {
            MINIDUMP_EXCEPTION_INFORMATION info;
            info.ThreadId = GetCurrentThreadId();
            info.ExceptionPointers = exception;
            info.ClientPointers = TRUE;
            MiniDumpWriteDump(GetCurrentProcess(), GetCurrentProcessId(), h, MiniDumpNormal, &info,
                              nullptr, nullptr);
            CloseHandle(h);
        }
    }
    QCoreApplication::exit(int(0x8000FFFF));
    return EXCEPTION_EXECUTE_HANDLER;
}

} // namespace

namespace Platform {

bool nativeScreenMetrics(ScreenMetrics *out)
{
    HDC dc = GetDC(nullptr);
    if (!dc)
        return false;
    out->physicalWidth = GetDeviceCaps(dc, DESKTOPHORZRES);
    out->physicalHeight = GetDeviceCaps(dc, DESKTOPVERTRES);
    out->logicalDpi = GetDeviceCaps(dc, LOGPIXELSX);
    ReleaseDC(nullptr, dc);
    out->logicalWidth = GetSystemMetrics(SM_CXSCREEN);
    out->logicalHeight = GetSystemMetrics(SM_CYSCREEN);
    return true;
}

void installCrashHandler()
{
    SetUnhandledExceptionFilter(onUnhandledException);
}

void endLeftoverFirmwareTool()
{
    QProcess::execute(QStringLiteral("taskkill"),
                      {QStringLiteral("/im"), QStringLiteral("FwUpdater.exe"), QStringLiteral("/f")});
}

} // namespace Platform
