// WAV files are read chunk by chunk with sizes the file itself claims; no claim may lead a read outside it.
#include "core/dsp/filters/wavimpulse.h"

#include <cmath>
#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (size > 1024 * 1024)
        return 0;
    const int maxTaps = 4096;
    const WavImpulse::Result r =
        WavImpulse::parse(QByteArray(reinterpret_cast<const char *>(data), int(size)), maxTaps);
    if (r.ok() != !r.values.isEmpty() || r.values.size() > maxTaps)
        __builtin_trap();
    for (double v : r.values) {
        if (!std::isfinite(v))
            __builtin_trap();
    }
    (void)r.message();
    return 0;
}
