#include "core/app/log.h"

#include <QByteArray>
#include <QtGlobal>
#include <cstdio>
#include <cstring>

namespace {

std::FILE *g_out = nullptr;
bool g_quiet = false;

void writeOut(const QByteArray &bytes)
{
    std::FILE *out = g_out ? g_out : stdout;
    std::fwrite(bytes.constData(), 1, size_t(bytes.size()), out);
    std::fflush(out);
}

void messageHandler(QtMsgType type, const QMessageLogContext &, const QString &msg)
{
    if (g_quiet && type == QtDebugMsg)
        return;
    writeOut(msg.toUtf8() + '\n');
}

} // namespace

void Log::setUp()
{
    std::setvbuf(stdout, nullptr, _IONBF, 0);
    qInstallMessageHandler(messageHandler);
}

void Log::setOutput(std::FILE *out, bool quiet)
{
    g_out = out;
    g_quiet = quiet;
    qInstallMessageHandler(messageHandler);
}

QByteArray Log::functionName(const char *prettyFunction)
{
    QByteArray s(prettyFunction ? prettyFunction : "");
    // Cut the parameter list at the parenthesis that closes the name, keeping
    // operator() and friends intact.
    int paren = s.indexOf('(');
    if (s.contains("operator()"))
        paren = s.indexOf('(', s.indexOf("operator()") + 10);
    if (paren >= 0)
        s.truncate(paren);
    // Drop the return type: the name is the last space-separated word not
    // inside template brackets.
    int depth = 0;
    int cut = -1;
    for (int i = 0; i < s.size(); ++i) {
        const char c = s.at(i);
        if (c == '<')
            ++depth;
        else if (c == '>')
            --depth;
        else if (c == ' ' && depth == 0)
            cut = i;
    }
    s = s.mid(cut + 1);
    while (s.startsWith('*') || s.startsWith('&'))
        s.remove(0, 1);
    return s;
}

QByteArray Log::failureLine(const char *file, const char *prettyFunction, int line)
{
    const char *base = file ? file : "";
    for (const char *p = base; *p; ++p)
        if (*p == '/' || *p == '\\')
            base = p + 1;
    return QByteArray("file=") + base + " func=" + functionName(prettyFunction)
           + " line=" + QByteArray::number(line) + " \n";
}

void Log::failure(const char *file, const char *prettyFunction, int line)
{
    writeOut(failureLine(file, prettyFunction, line));
}

void Log::line(const QString &text)
{
    if (g_quiet)
        return;
    writeOut(text.toUtf8() + '\n');
}
