// Old programs come from devices and files nobody here wrote. Every input that is a JSON object goes to the
// converter: a refusal carries no document; a conversion is a current document that today's reader takes
// whole and that needs no second conversion. Both sides of the compare go through it too: a document compared
// with itself has no differences, and any two compare without crashing.

#include "core/app/log.h"
#include "core/dsp/cdevicedspdata.h"
#include "core/dsp/dspcodec.h"
#include "core/dsp/programs/configdiff.h"
#include "core/dsp/programs/programconvert.h"
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

} // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    Log::setOutput(std::fopen("/dev/null", "w"), true);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    QJsonObject config;
    if (!DspCodec::parseObject(QByteArray(reinterpret_cast<const char *>(data), int(size)), &config))
        return 0;

    const ProgramConvert::Result r = ProgramConvert::toCurrent(config);
    check(r.ok() != r.config.isEmpty());
    if (r.ok()) {
        check(ProgramFiles::versionOf(config) == ProgramFiles::Version::NeedsConversion);
        check(ProgramFiles::versionOf(r.config) == ProgramFiles::Version::Current);
        CDeviceDspData doc;
        check(doc.loadConfig(r.config).ok());
        check(ProgramConvert::toCurrent(r.config).error == Tx::ProgNoConversionNeeded);
        check(ConfigDiff::compare(r.config, r.config).isEmpty());
        ConfigDiff::compare(config, r.config);
    }
    check(ConfigDiff::compare(config, config).isEmpty());
    return 0;
}
