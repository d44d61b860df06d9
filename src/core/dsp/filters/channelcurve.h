#pragma once

#include "core/dsp/dspblock.h"
#include "core/dsp/filters/firdesign.h"

#include <QVector>

/// Magnitude curves of a channel's chain as a whole, on the equaliser's 300 frequencies. Pure functions;
/// docs/dsp.md, "Filter maths".
namespace ChannelCurve {

struct Point
{
    double freqHz = 0.0;
    double db = 0.0;
};

/// The blocks the equaliser editor opens with: the chain's first equaliser and its high-pass and low-pass
/// blocks (the first of each); null where the chain has none.
struct EditorBlocks
{
    const DspBlock *eq = nullptr;
    const DspBlock *highPass = nullptr;
    const DspBlock *lowPass = nullptr;
};
EditorBlocks editorBlocks(const QVector<DspBlock> &chain);

/// The curve the equaliser editor draws for the chain, in dB: its first equaliser with the high-pass and the
/// low-pass block, each left out when bypassed.
QVector<Point> editorCurve(const QVector<DspBlock> &chain);

/// The whole channel: the summed magnitude of every equaliser, crossover and FIR block that is not bypassed.
/// Equalisers and crossovers are drawn at 48 kHz as their editor draws them; an FIR's "arr" is evaluated at
/// firRate, the rate it was designed for, at the same frequencies quantised to 0.1 Hz.
QVector<Point> wholeCurve(const QVector<DspBlock> &chain, double firRate = FirDesign::kDefaultRate);

} // namespace ChannelCurve
