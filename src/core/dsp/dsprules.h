#pragma once

#include "core/dsp/dspkinds.h"

#include <QString>
#include <QVector>

class CDeviceDspData;

/// The rules of the DSP diagram, checked before the document changes: what may be added to a channel and what
/// may be pasted where. Each returns the refusal as a catalogue text, empty when the change may go ahead.
namespace DspRules {

/// Delay a channel may reserve, in seconds at the device's sample rate: each delay block reserves its "maxNum"
/// samples of the channel's delay memory.
constexpr int kMaxDelaySeconds = 1;
/// Blocks one channel's chain can hold on a device.
constexpr int kMaxChainLength = 32;

/// Samples of delay memory a channel may reserve at this rate.
int maxDelaySamples(int sampleRate);
/// Samples the chain reserves.
int reservedDelay(const QVector<DspBlock> &chain);

/// Adding block to the end of a channel's chain: the kind's own rule first (one HPF, one LPF, one ducker per
/// channel; one AEC per configuration; the delay limit; the chain's length), then, unless forceAdd, the
/// budget as it stands before the addition.
QString checkAdd(const CDeviceDspData &doc, DspSide side, int channel, const DspBlock &block, double familyFactor,
                 bool forceAdd);

/// Pasting the parameters of copied onto target: only between blocks of the same kind.
QString checkPasteBlock(const DspBlock &copied, const DspBlock &target);

/// Pasting a channel's chain (taken from fromSide/fromChannel, chain) onto toSide/toChannel: sides must
/// agree, not onto itself, the delay limit, one AEC per configuration, then the budget unless forceAdd.
QString checkPasteChannel(const CDeviceDspData &doc, DspSide fromSide, int fromChannel, const QVector<DspBlock> &chain,
                          DspSide toSide, int toChannel, double familyFactor, bool forceAdd);

} // namespace DspRules
