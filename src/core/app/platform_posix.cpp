#include "core/app/platform.h"

#include "core/app/appinfo.h"

#include <QDateTime>
#include <QFile>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <ctime>
#include <execinfo.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

// Everything the signal handler needs is prepared here beforehand, so that
// the handler itself only calls async-signal-safe functions: no allocation,
// no locks, no stdio.
namespace {

constexpr int kMaxPath = 4096;
char g_folder[kMaxPath];
long g_utcOffsetSeconds = 0;
constexpr int kSignals[] = {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT, SIGTRAP, SIGSYS};
alignas(16) char g_altStack[64 * 1024];

struct Buf
{
    char data[512];
    int len = 0;
    void put(const char *s)
    {
        while (*s && len < int(sizeof data) - 1)
            data[len++] = *s++;
    }
    void putUnsigned(unsigned long long v, int base = 10, int minDigits = 1)
    {
        char tmp[32];
        int n = 0;
        do {
            tmp[n++] = "0123456789abcdef"[v % unsigned(base)];
            v /= unsigned(base);
        } while (v && n < 32);
        while (n < minDigits && n < 32)
            tmp[n++] = '0';
        while (n > 0 && len < int(sizeof data) - 1)
            data[len++] = tmp[--n];
    }
    void flush(int fd)
    {
        ssize_t off = 0;
        while (off < len) {
            const ssize_t w = ::write(fd, data + off, size_t(len - off));
            if (w <= 0)
                break;
            off += w;
        }
        len = 0;
    }
};

const char *signalName(int sig)
{
    switch (sig) {
    case SIGSEGV: return "SIGSEGV";
    case SIGBUS: return "SIGBUS";
    case SIGFPE: return "SIGFPE";
    case SIGILL: return "SIGILL";
    case SIGABRT: return "SIGABRT";
    case SIGTRAP: return "SIGTRAP";
    case SIGSYS: return "SIGSYS";
    default: return "signal";
    }
}

// Days since 1970-01-01 to a civil date (proleptic Gregorian).
void civilFromDays(long long z, int &y, unsigned &m, unsigned &d)
{
    z += 719468;
    const long long era = (z >= 0 ? z : z - 146096) / 146097;
    const unsigned doe = unsigned(z - era * 146097);
    const unsigned yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;
    const long long yy = (long long)yoe + era * 400;
    const unsigned doy = doe - (365 * yoe + yoe / 4 - yoe / 100);
    const unsigned mp = (5 * doy + 2) / 153;
    d = doy - (153 * mp + 2) / 5 + 1;
    m = mp < 10 ? mp + 3 : mp - 9;
    y = int(yy + (m <= 2));
}

void makeFolders(char *path)
{
    for (char *p = path + 1; *p; ++p) {
        if (*p == '/') {
            *p = '\0';
            ::mkdir(path, 0755);
            *p = '/';
        }
    }
    ::mkdir(path, 0755);
}

void onCrash(int sig, siginfo_t *info, void *)
{
    static char path[kMaxPath + 64];
    Buf name;
    // Local time by the offset taken at start-up; localtime() is not safe here.
    const long long t = (long long)::time(nullptr) + g_utcOffsetSeconds;
    long long days = t / 86400;
    long long secs = t % 86400;
    if (secs < 0) {
        secs += 86400;
        --days;
    }
    int y;
    unsigned mo, d;
    civilFromDays(days, y, mo, d);

    std::size_t n = 0;
    while (g_folder[n] && n < kMaxPath) {
        path[n] = g_folder[n];
        ++n;
    }
    path[n] = '\0';
    if (n > 1) {
        path[n - 1] = '\0'; // without the trailing slash
        makeFolders(path);
        path[n - 1] = '/';
    }
    name.put(AppInfo::kBuild);
    name.put("_");
    name.putUnsigned(unsigned(y % 100), 10, 2);
    name.putUnsigned(mo, 10, 2);
    name.putUnsigned(d, 10, 2);
    name.putUnsigned((unsigned long long)(secs / 3600), 10, 2);
    name.putUnsigned((unsigned long long)(secs / 60 % 60), 10, 2);
    name.putUnsigned((unsigned long long)(secs % 60), 10, 2);
    name.put(".dmp");
    for (int i = 0; i < name.len && n < sizeof path - 1; ++i)
        path[n++] = name.data[i];
    path[n] = '\0';

    const int fd = ::open(path, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    if (fd >= 0) {
        Buf b;
        b.put(AppInfo::kName);
        b.put(" crash report\nversion ");
        b.put(AppInfo::kVersion);
        b.put(" build ");
        b.put(AppInfo::kBuild);
        b.put("\npid ");
        b.putUnsigned((unsigned long long)::getpid());
        b.put("\nsignal ");
        b.putUnsigned((unsigned long long)sig);
        b.put(" (");
        b.put(signalName(sig));
        b.put(") code ");
        b.putUnsigned(info ? (unsigned long long)(unsigned)info->si_code : 0);
        b.put("\naddress 0x");
        b.putUnsigned(info ? (unsigned long long)(uintptr_t)info->si_addr : 0, 16);
        b.put("\nbacktrace:\n");
        b.flush(fd);
        void *frames[64];
        const int count = ::backtrace(frames, 64);
        ::backtrace_symbols_fd(frames, count, fd);
        ::close(fd);
    }
    _exit(int(0x8000FFFFu & 0xFFu));
}

} // namespace

namespace Platform {

bool nativeScreenMetrics(ScreenMetrics *)
{
    return false;
}

void installCrashHandler()
{
    const QByteArray folder = QFile::encodeName(crashFolder());
    std::memset(g_folder, 0, sizeof g_folder);
    std::memcpy(g_folder, folder.constData(), size_t(qMin(folder.size(), kMaxPath - 1)));
    g_utcOffsetSeconds = QDateTime::currentDateTime().offsetFromUtc();

    // backtrace() loads its unwinder on first use, which allocates: do it now.
    void *warm[2];
    ::backtrace(warm, 2);

    stack_t ss{};
    ss.ss_sp = g_altStack;
    ss.ss_size = sizeof g_altStack;
    ::sigaltstack(&ss, nullptr);

    struct sigaction sa{};
    sa.sa_sigaction = onCrash;
    sa.sa_flags = SA_SIGINFO | SA_ONSTACK | SA_RESETHAND;
    sigemptyset(&sa.sa_mask);
    for (int sig : kSignals)
        ::sigaction(sig, &sa, nullptr);
}

void endLeftoverFirmwareTool()
{
}

} // namespace Platform
