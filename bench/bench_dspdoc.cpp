// The DSP configuration document of a large device: 64 inputs and 64 outputs with eight blocks each, an
// echo-cancellation node, an automixer and a 64x64 matrix. The window loads it whole when it opens and writes
// it whole when a configuration is stored, both on the user-interface thread, so each must stay well inside
// what a user notices.

#include "benchreport.h"

#include "../tests/support/dspdocgen.h"

#include "core/app/log.h"
#include "core/dsp/cdevicedspdata.h"


#include <cstdio>

namespace {

constexpr int kRuns = 21;
constexpr double kLoadTargetMs = 20.0;
constexpr double kWriteTargetMs = 20.0;

using BenchReport::Figures;

} // namespace

int main()
{
    DspDocGen::Options o;
    o.inputs = 64;
    o.outputs = 64;
    o.firTaps = 256;
    const QJsonObject config = DspDocGen::config(o);
    const QByteArray configText = DspDocGen::text(config);
    const QByteArray reply = DspDocGen::reply(config);

    CDeviceDspData doc;
    if (!doc.loadReply(reply).ok() || doc.toJson() != configText || doc.inChNum() != 64 || doc.outChNum() != 64) {
        std::printf("dsp document: the sample document does not survive loading and writing\n");
        return 2;
    }
    std::printf("dsp document: %.2f MB, %d nodes, 64 in x 64 out, 8 blocks per channel\n",
                double(reply.size()) / (1024.0 * 1024.0), int(doc.nodeArr.size()));

    int sink = 0;
    const Figures load = BenchReport::timed([&] {
        CDeviceDspData d;
        sink += d.loadReply(reply).ok() ? d.inChNum() : -1000;
    }, kRuns);
    const Figures write = BenchReport::timed([&] { sink += doc.toJson().size() > 0 ? 1 : -1000; }, kRuns);
    if (sink <= 0)
        return 2;

    bool ok = true;
    ok &= BenchReport::atMost("dsp document load, median", load.medianMs, "ms", kLoadTargetMs, 2);
    ok &= BenchReport::atMost("dsp document load, worst", load.worstMs, "ms", kLoadTargetMs, 2);
    ok &= BenchReport::atMost("dsp document write, median", write.medianMs, "ms", kWriteTargetMs, 2);
    ok &= BenchReport::atMost("dsp document write, worst", write.worstMs, "ms", kWriteTargetMs, 2);
    return ok ? 0 : 1;
}
