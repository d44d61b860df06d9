#pragma once

#include "core/dsp/dspnode.h"

#include <QByteArray>
#include <QVector>

/// What the program starts a block, channel or node from when the device gives nothing: the defaults of
/// docs/dsp.md. The two default chains are kept as the JSON texts the default-configuration dialog starts from.
namespace DspDefaults {

/// {"procArr":[...]}: signal generator, noise gate, feedback eliminator, delay, equaliser, high-pass, low-pass,
/// expander; every block bypassed, unplaced and unlinked.
extern const char kInputChain[];
/// {"procArr":[...]}: delay, equaliser, high-pass, low-pass, compressor, limiter, FIR.
extern const char kOutputChain[];

QVector<DspBlock> inputChain();
QVector<DspBlock> outputChain();

/// A new block of a known type: bypassed, core -1, group -1, default parameters. For type 4 highPass picks
/// the high-pass or the low-pass form. An unknown type gives a block with an empty obj.
DspBlock block(int type, bool highPass = true);
/// The seven default bands.
DspEq eq();

/// A channel of a channel node or of the automixer; chain empty.
DspChannel channel();
/// A channel of the echo-cancellation node: near end its own channel, no far end.
DspChannel aecChannel(int channel);
DspAutomixer automixer(int channels);
/// Each output takes its own input at 0 dB; everything else muted at -100 dB.
DspMatrix matrix(int outputs, int inputs);

} // namespace DspDefaults
