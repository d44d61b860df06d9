// The FIR editor redesigns the block and redraws its curve on every change of a control, on the user-interface
// thread, so the longest design the editor offers must stay well inside a frame's worth of waiting. Printed
// beside it, without a target, the same curve by the plain sum over every tap, which is what the symmetry of
// the designs saves.

#include "benchreport.h"

#include "core/dsp/filters/firdesign.h"
#include "core/dsp/filters/firresponse.h"


#include <cstdio>

namespace {

constexpr int kRuns = 21;
constexpr double kTargetMs = 5.0;

using BenchReport::Figures;

} // namespace

int main()
{
    DspFir fir;
    fir.firType = FirDesign::BandPass;
    fir.winType = FirDesign::Kaiser; // the dearest window: two sixteen-term sums per tap
    fir.attDb = 100.0;
    fir.taps = FirDesign::tapChoices().last();
    fir.freq0 = 200.0;
    fir.freq1 = 4000.0;

    double sink = 0.0; // keeps the work from being optimised away
    const Figures fast = BenchReport::timed([&] {
        const FirDesign::Design d = FirDesign::design(fir);
        const QVector<QPointF> c = FirResponse::curve(d.arr);
        sink += c.last().y();
    }, kRuns);
    const QVector<double> arr = FirDesign::design(fir).arr;
    const Figures direct = BenchReport::timed([&] { sink += FirResponse::directCurve(arr).last().y(); }, 5);

    bool ok = true;
    ok &= BenchReport::atMost("fir 4095 taps designed and curve drawn, median", fast.medianMs, "ms", kTargetMs, 2);
    ok &= BenchReport::atMost("fir 4095 taps designed and curve drawn, worst", fast.worstMs, "ms", kTargetMs, 2);
    std::printf("fir 4095-tap curve by the direct sum over every tap, median (no target): %.2f ms\n",
                direct.medianMs);
    std::printf("(checksum %g)\n", sink);
    return ok ? 0 : 1;
}
