#include "core/dsp/dspbudget.h"

#include "core/app/texts.h"
#include "core/dsp/cdevicedspdata.h"

#include <cmath>

namespace {

// The cost of each kind code, in the units of the load.
const double kCodeCost[12] = {0.17, 0.23, 0.85, 0.22, 2.27, 0.22, 0.56, 0.001953125 * 16, 0.34, 0.75, 0.3, 0.25};

// Block type → kind code, ordered by what each block really costs the processor: the FIR's long
// convolution above all, the seven-band equaliser, the frequency shifter's Hilbert pair, then the
// dynamics, the filters, and the signal generator at the bottom. The delay (1) and the channel echo
// canceller (7) have codes of their own.
const int kCodeOfType[12] = {
    2,  // equaliser: seven biquads
    1,  // delay
    6,  // compressor: detector, gain computer, smoothing
    9,  // feedback eliminator: a Hilbert pair and an oscillator
    10, // high-pass / low-pass: up to four biquads
    4,  // FIR
    3,  // limiter: detector and a fixed curve
    5,  // noise gate: a detector and a switch
    8,  // expander
    0,  // signal generator
    7,  // echo canceller in a channel
    11, // ducker: a detector on another channel and a gain
};

constexpr double kMatrixCost = 0.015625 * 6;
constexpr double kAutomixerTerm = 10.0;
constexpr double kEchoCancelTerm = 30.0;
constexpr int kDiagramCores = 2;
constexpr int kDiagramReserved = 30;

// Models whose processor is the smaller one of the family: two-channel boxes with a single DSP core.
const char *const kSmallModels[] = {"RK0202D", "RK0402D", "RK0204D"};

double chainLoad(const QVector<DspChannel> &channels, int sampleRate)
{
    double l = 0;
    for (const DspChannel &c : channels)
        for (const DspBlock &b : c.procArr)
            l += DspBudget::blockCost(b, sampleRate);
    return l;
}

} // namespace

int DspBudget::kindCode(const DspBlock &block)
{
    if (!block.isKnownType())
        return -1;
    return kCodeOfType[block.type()];
}

int DspBudget::delayLength(const DspBlock &block, int sampleRate)
{
    const DspDelay *d = block.as<DspDelay>();
    if (!d)
        return 0;
    const double step = qMax(1, sampleRate) / 10.0; // 100 ms
    return qMax(1, int(std::ceil(qMax(0, d->delayNum) / step)));
}

int DspBudget::aecCount(const DspBlock &block)
{
    const DspAec *a = block.as<DspAec>();
    if (!a)
        return 0;
    // The adaptive filter runs only with echo cancelling on; noise suppression and gain control alone are a
    // quarter of its work.
    return a->hasAec ? 128 : 32;
}

double DspBudget::blockCost(const DspBlock &block, int sampleRate)
{
    const int code = kindCode(block);
    switch (code) {
    case -1: return 0.0;
    case 1: return kCodeCost[1] * delayLength(block, sampleRate);
    case 7: return kCodeCost[7] * aecCount(block);
    default: return kCodeCost[code];
    }
}

double DspBudget::familyFactor(const QString &model, int sampleRate)
{
    double f = 1.0;
    for (const char *m : kSmallModels)
        if (model == QLatin1String(m))
            f = 0.4;
    if (sampleRate > 144000)
        f *= 0.125;
    else if (sampleRate > 96000)
        f *= 0.25;
    else if (sampleRate > 48000)
        f *= 0.5;
    return f;
}

double DspBudget::load(const CDeviceDspData &doc)
{
    if (!doc.isLoaded())
        return 0.0;
    double l = doc.inChNum() * doc.outChNum() * kMatrixCost;
    l += chainLoad(doc.nodeArr.first().portArr, doc.sampleRate);
    l += chainLoad(doc.nodeArr.last().portArr, doc.sampleRate);
    bool automixer = false, echoCancel = false;
    for (const DspNode &n : doc.nodeArr) {
        automixer = automixer || (n.type == DspNode::Automixer && n.portNum() > 0);
        echoCancel = echoCancel || (n.type == DspNode::EchoCancel && n.portNum() > 0);
    }
    if (automixer)
        l += kAutomixerTerm;
    if (echoCancel)
        l += kEchoCancelTerm;
    return l;
}

int DspBudget::usage(double load, double familyFactor)
{
    const double capacity = (kDiagramCores * 100 - kDiagramReserved) * familyFactor;
    if (capacity <= 0)
        return 0;
    return int(load / capacity * 100.0);
}

int DspBudget::usage(const CDeviceDspData &doc, double familyFactor)
{
    return usage(load(doc), familyFactor);
}

int DspBudget::shown(int usage)
{
    return qMin(usage, Record().displayLimit);
}

QString DspBudget::cpuText(int usage)
{
    return tx(Tx::DspCpuText).arg(shown(usage));
}
