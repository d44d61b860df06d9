// The equaliser editor redraws its curve on every change of a control, slider drags included, on the
// user-interface thread; the fullest curve it draws (seven bands and two order-8 crossovers) must cost a small
// part of a frame. Printed beside it, without a target, the same curve by the direct evaluation of every
// section's complex response at every point.

#include "benchreport.h"

#include "core/dsp/dspblock.h"
#include "core/dsp/filters/channelcurve.h"
#include "core/dsp/filters/eqcurve.h"


#include <cstdio>

namespace {

constexpr int kRuns = 201;
constexpr double kTargetMs = 0.3;

using BenchReport::Figures;

DspBlock active(DspBlockParams params)
{
    DspBlock b;
    b.obj = std::move(params);
    b.bypass = false;
    return b;
}

} // namespace

int main()
{
    DspEq eq;
    const double freqs[] = {40, 101, 254, 640, 1600, 4000, 10200};
    const int types[] = {1, 0, 0, 0, 0, 0, 2};
    for (int i = 0; i < 7; ++i) {
        DspEqBand band;
        band.freq0 = freqs[i];
        band.type = types[i];
        band.dbGain = float(i % 2 ? -4.5 : 3.0);
        band.qBwS = 0.7 + 0.2 * i;
        eq.bands.append(band);
    }
    DspCrossover hp;
    hp.order = 8;
    hp.type = 2; // Linkwitz-Riley: four second-order sections
    hp.freq0 = 60.0;
    DspCrossover lp = hp;
    lp.isHpf = false;
    lp.type = 0;
    lp.freq0 = 15000.0;
    const QVector<DspBlock> chain{active(eq), active(hp), active(lp)};

    double sink = 0.0; // keeps the work from being optimised away
    const Figures curve = BenchReport::timed([&] { sink += ChannelCurve::editorCurve(chain).last().db; }, kRuns);
    const Figures direct = BenchReport::timed([&] {
        const QVector<Biquad> sections = EqCurve::magnitudeSections(&chain[0], &chain[1], &chain[2]);
        for (double f : EqCurve::frequencies())
            for (const Biquad &s : sections)
                sink += s.response(f).db;
    }, kRuns);

    bool ok = true;
    ok &= BenchReport::atMost("eq curve, 7 bands and two order-8 crossovers, median", curve.medianMs, "ms", kTargetMs, 3);
    ok &= BenchReport::atMost("eq curve, 7 bands and two order-8 crossovers, worst", curve.worstMs, "ms", kTargetMs, 3);
    std::printf("eq curve by each section's complex response at every point, median (no target): %.3f ms\n",
                direct.medianMs);
    std::printf("(checksum %g)\n", sink);
    return ok ? 0 : 1;
}
