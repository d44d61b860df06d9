// A child process for the crash-handler test: installs the handler the
// program installs, then crashes the way it is told to.
#include "core/app/platform.h"

#include <QCoreApplication>
#include <csignal>
#include <cstdio>
#include <cstring>

namespace {
volatile int *g_null = nullptr;
int recurse(int n)
{
    volatile char pad[4096];
    pad[0] = char(n);
    return n > 0 ? recurse(n + 1) + pad[0] : 0;
}
} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    Platform::installCrashHandler();
    const char *how = argc > 1 ? argv[1] : "segv";
    std::printf("crashing: %s\n", how);
    std::fflush(stdout);
    if (std::strcmp(how, "abort") == 0)
        std::abort();
    if (std::strcmp(how, "overflow") == 0)
        return recurse(1);
    return *g_null;
}
