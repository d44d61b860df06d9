// Program files come from anywhere on the PC. Every input goes to the three readers: a refusal carries no
// parts; whatever is accepted must write back to text that reads again to the same parts and writes again to
// the same text, so an export of an import is the file the device's data came from.

#include "core/app/log.h"
#include "core/dsp/programs/programfiles.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>

namespace {

void check(bool ok)
{
    if (!ok)
        __builtin_trap();
}

bool same(const QVector<ProgramFiles::Program> &a, const QVector<ProgramFiles::Program> &b)
{
    if (a.size() != b.size())
        return false;
    for (int i = 0; i < a.size(); ++i) {
        if (a[i].name != b[i].name || a[i].config != b[i].config || a[i].version != b[i].version)
            return false;
    }
    return true;
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    Log::setOutput(std::fopen("/dev/null", "w"), true);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray input(reinterpret_cast<const char *>(data), int(size));

    const ProgramFiles::ProgramRead one = ProgramFiles::readProgram(input);
    check(one.ok() == (one.programs.size() == 1));
    if (one.ok()) {
        const QByteArray text = ProgramFiles::writeProgram(one.programs[0]);
        const ProgramFiles::ProgramRead again = ProgramFiles::readProgram(text);
        check(again.ok() && same(again.programs, one.programs));
        check(ProgramFiles::writeProgram(again.programs[0]) == text);
    }

    const ProgramFiles::ProgramRead list = ProgramFiles::readProgramList(input);
    check(list.ok() != list.programs.isEmpty());
    if (list.ok()) {
        const QByteArray text = ProgramFiles::writeProgramList(list.programs);
        const ProgramFiles::ProgramRead again = ProgramFiles::readProgramList(text);
        check(again.ok() && same(again.programs, list.programs));
        check(ProgramFiles::writeProgramList(again.programs) == text);
    }

    const ProgramFiles::StoredRead stored = ProgramFiles::readStoredConfig(input);
    check(stored.ok() || stored.config.isEmpty());
    if (stored.ok()) {
        const QByteArray text = ProgramFiles::writeStoredConfig(stored.config);
        const ProgramFiles::StoredRead again = ProgramFiles::readStoredConfig(text);
        check(again.ok() && again.config == stored.config && again.version == stored.version);
        check(ProgramFiles::writeStoredConfig(again.config) == text);
    }
    return 0;
}
