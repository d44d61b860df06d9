#pragma once

#include "core/dsp/dspblock.h"

#include <QString>

class CDeviceDspData;

/// The processor budget of a DSP device: what the diagram shows as "CPU:" and checks before a block is added
/// or pasted. Pure functions; the kind codes, the echo canceller's count, the devices with the smaller factor
/// and the delay unit are this program's choices (docs/dsp.md, "The processor budget").
namespace DspBudget {

/// The budget record the diagram and the block editors share: one per open DSP window, as several devices'
/// windows may be open at once.
struct Record
{
    int displayLimit = 99;
    double familyFactor = 1.0;
    int cores = 2;
    double load = 0.0;
    int reservedPercent = 10;
};

/// Kind code of a block for the cost table; -1 for a block that costs nothing (unknown type).
int kindCode(const DspBlock &block);
/// Delay length of a delay block: its delay in started steps of 100 ms at the sample rate, at least 1.
int delayLength(const DspBlock &block, int sampleRate);
/// Count N of the channel echo canceller: its adaptive filter's partitions.
int aecCount(const DspBlock &block);
/// The cost of one block, in the units of the load.
double blockCost(const DspBlock &block, int sampleRate);

/// Family factor of a device model at a sample rate.
double familyFactor(const QString &model, int sampleRate);

/// The load L of a configuration: matrix term, every block of every input and output chain, automixer and
/// echo-cancelling terms.
double load(const CDeviceDspData &doc);
/// Usage in whole percent, not limited: L / ((cores × 100 − reserved) × f) × 100 with cores 2, reserved 30.
int usage(double load, double familyFactor);
int usage(const CDeviceDspData &doc, double familyFactor);
/// What the page shows: min(usage, 99).
int shown(int usage);
/// "CPU:37%".
QString cpuText(int usage);

} // namespace DspBudget
