#pragma once

#include "core/app/texts.h"
#include "core/dsp/dspblock.h"

#include <QMetaType>
#include <QString>

#include <optional>

/// The two channel nodes of a configuration: the first node holds the inputs, the last the outputs.
enum class DspSide { In, Out };

/// What a user adds to a channel. The high-pass and the low-pass filter are one block type on the wire
/// (type "4", told apart by "isHpf") but two kinds here, as each has its own add rule and button.
enum class DspKind { Eq, Delay, Compress, Fbe, Hpf, Lpf, Fir, Limit, NoiseGate, Expand, SignalGen, Aec, Ducker };

Q_DECLARE_METATYPE(DspSide)

namespace DspKinds {

constexpr int kCount = 13;
/// Every kind, in the order the add buttons show them.
const DspKind *all();

/// The command-line name: eq, delay, compress, fbe, hpf, lpf, fir, limit, noisegate, expand, signalgen, aec,
/// ducker.
QString cliName(DspKind kind);
std::optional<DspKind> fromCliName(const QString &name);

/// The kind of a block; none for a block type this program does not know.
std::optional<DspKind> of(const DspBlock &block);
/// A new block of the kind: bypassed, unplaced, unlinked, default parameters.
DspBlock newBlock(DspKind kind);

/// The suffix of the block's title after the channel name ("-Delay", "-EQ & Xover"); empty when unknown.
QString titleSuffix(const DspBlock &block);
/// Object name of the kind's add button ("compress_bt").
QString buttonName(DspKind kind);
/// Text of the kind's add button ("Compress").
QString buttonText(DspKind kind);

QString sideName(DspSide side); ///< "in" or "out", as the command line and the block tag write it
std::optional<DspSide> sideFromName(const QString &name);

} // namespace DspKinds
