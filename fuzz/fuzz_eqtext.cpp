// Filter lists come from whatever tool the user exported from, hand-edited or not; the reader must survive any
// bytes and hand back only bands the editor can hold.
#include "core/dsp/filters/parametriceqtext.h"

#include <cmath>
#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (size > 64 * 1024) // a filter list is a few hundred bytes; the file dialog reads nothing larger in practice
        return 0;
    const ParametricEqText::Result r =
        ParametricEqText::parse(QByteArray(reinterpret_cast<const char *>(data), int(size)), 7);
    if (r.bands.size() > 7)
        __builtin_trap();
    for (const DspEqBand &b : r.bands) {
        if (!(b.freq0 >= 19.7 && b.freq0 <= 20200.0) || !(b.dbGain >= -24.0f && b.dbGain <= 12.0f)
            || !(b.qBwS >= 0.017 && b.qBwS <= 4.75) || b.bypass)
            __builtin_trap();
    }
    // What was read must write and read back unchanged.
    DspEq eq;
    eq.bands = r.bands;
    const ParametricEqText::Result back = ParametricEqText::parse(ParametricEqText::write(eq), 7);
    if (back.bands.size() != r.bands.size() || !back.skipped.isEmpty())
        __builtin_trap();
    for (int i = 0; i < r.bands.size(); ++i) {
        const DspEqBand &a = r.bands[i], &b = back.bands[i];
        if (a.type != b.type || a.freq0 != b.freq0 || a.dbGain != b.dbGain || a.qBwS != b.qBwS)
            __builtin_trap();
    }
    return 0;
}
