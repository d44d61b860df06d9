#pragma once

#include <QString>
#include <cstdio>

/// Diagnostics of the whole program: unbuffered lines on standard output.
/// Callable from any thread.
class Log
{
public:
    /// Standard output without buffering, and Qt's debug stream routed to it,
    /// so a crash never swallows the last lines.
    static void setUp();
    /// Where diagnostics go (standard output unless a tool needs that for
    /// its own output); quiet drops the debug stream and the free-form lines,
    /// keeping only failure lines.
    static void setOutput(std::FILE *out, bool quiet = false);

    /// The one line a failing code path prints: "file=%s func=%s line=%d \n".
    static void failure(const char *file, const char *prettyFunction, int line);
    static QByteArray failureLine(const char *file, const char *prettyFunction, int line);

    /// "void MyThread::run(int)" -> "MyThread::run"; "int main()" -> "main".
    static QByteArray functionName(const char *prettyFunction);

    /// One free-form diagnostic line.
    static void line(const QString &text);
};

#define LOG_FAIL() Log::failure(__FILE__, Q_FUNC_INFO, __LINE__)
