// The FIR editor redesigns the block and redraws its curve on every change of a control, on the user-interface
// thread, so the longest design the editor offers must stay well inside a frame's worth of waiting. Printed
// beside it, without a target, the same curve by the plain sum over every tap, which is what the symmetry of
// the designs saves.

#include "benchreport.h"

#include "core/dsp/filters/firdesign.h"
#include "core/dsp/filters/firresponse.h"

#include <QElapsedTimer>

#include <algorithm>
#include <cstdio>
#include <vector>

namespace {

constexpr int kRuns = 21;
constexpr double kTargetMs = 5.0;

struct Figures
{
    double medianMs;
    double worstMs;
};

template <class F> Figures timed(F &&run, int runs = kRuns)
{
    std::vector<double> ms;
    run();
    for (int i = 0; i < runs; ++i) {
        QElapsedTimer t;
        t.start();
        run();
        ms.push_back(double(t.nsecsElapsed()) / 1e6);
    }
    std::sort(ms.begin(), ms.end());
    return {ms[ms.size() / 2], ms.back()};
}

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
    const Figures fast = timed([&] {
        const FirDesign::Design d = FirDesign::design(fir);
        const QVector<QPointF> c = FirResponse::curve(d.arr);
        sink += c.last().y();
    });
    const QVector<double> arr = FirDesign::design(fir).arr;
    const Figures direct = timed([&] { sink += FirResponse::directCurve(arr).last().y(); }, 5);

    bool ok = true;
    ok &= BenchReport::atMost("fir 4095 taps designed and curve drawn, median", fast.medianMs, "ms", kTargetMs, 2);
    ok &= BenchReport::atMost("fir 4095 taps designed and curve drawn, worst", fast.worstMs, "ms", kTargetMs, 2);
    std::printf("fir 4095-tap curve by the direct sum over every tap, median (no target): %.2f ms\n",
                direct.medianMs);
    std::printf("(checksum %g)\n", sink);
    return ok ? 0 : 1;
}
