#include "core/dsp/dsprules.h"

#include "core/dsp/cdevicedspdata.h"
#include "core/dsp/dspbudget.h"

namespace {

const QVector<DspBlock> *chainAt(const CDeviceDspData &doc, DspSide side, int channel)
{
    if (!doc.isLoaded())
        return nullptr;
    const DspChannel *c = doc.channel(side == DspSide::In ? 0 : doc.outputNodeId(), channel);
    return c ? &c->procArr : nullptr;
}

int countOf(const QVector<DspBlock> &chain, DspKind kind)
{
    int n = 0;
    for (const DspBlock &b : chain)
        n += DspKinds::of(b) == kind ? 1 : 0;
    return n;
}

int aecBlocksIn(const CDeviceDspData &doc, int skipNode = -1, int skipChannel = -1)
{
    int n = 0;
    for (int side = 0; side < 2; ++side) {
        const int nodeId = side == 0 ? 0 : doc.outputNodeId();
        const QVector<DspChannel> &chans = doc.nodeArr[nodeId].portArr;
        for (int c = 0; c < chans.size(); ++c)
            if (!(nodeId == skipNode && c == skipChannel))
                n += countOf(chans[c].procArr, DspKind::Aec);
    }
    return n;
}

bool budgetReached(const CDeviceDspData &doc, double familyFactor)
{
    return DspBudget::shown(DspBudget::usage(doc, familyFactor)) >= DspBudget::Record().displayLimit;
}

} // namespace

int DspRules::maxDelaySamples(int sampleRate)
{
    return kMaxDelaySeconds * qMax(1, sampleRate);
}

int DspRules::reservedDelay(const QVector<DspBlock> &chain)
{
    int n = 0;
    for (const DspBlock &b : chain)
        if (const DspDelay *d = b.as<DspDelay>())
            n += qMax(0, d->maxNum);
    return n;
}

QString DspRules::checkAdd(const CDeviceDspData &doc, DspSide side, int channel, const DspBlock &block,
                           double familyFactor, bool forceAdd)
{
    const QVector<DspBlock> *chain = chainAt(doc, side, channel);
    if (!chain)
        return tx(Tx::DspNoSuchSideChannel)
            .arg(tx(side == DspSide::In ? Tx::DspChannelIn : Tx::DspChannelOut).arg(channel + 1));
    const std::optional<DspKind> kind = DspKinds::of(block);
    if (kind == DspKind::Hpf && countOf(*chain, DspKind::Hpf) > 0)
        return tx(Tx::DspOnlyOneHpf);
    if (kind == DspKind::Lpf && countOf(*chain, DspKind::Lpf) > 0)
        return tx(Tx::DspOnlyOneLpf);
    if (kind == DspKind::Ducker && countOf(*chain, DspKind::Ducker) > 0)
        return tx(Tx::DspOnlyOneDucker);
    if (kind == DspKind::Aec && aecBlocksIn(doc) > 0)
        return tx(Tx::DspOnlyOneAec);
    if (kind == DspKind::Delay &&
        reservedDelay(*chain) + reservedDelay({block}) > maxDelaySamples(doc.sampleRate))
        return tx(Tx::DspDelayLimitAdd);
    if (chain->size() >= kMaxChainLength)
        return tx(Tx::DspChainFull).arg(kMaxChainLength);
    if (!forceAdd && budgetReached(doc, familyFactor))
        return tx(Tx::DspCpuShort);
    return QString();
}

QString DspRules::checkPasteBlock(const DspBlock &copied, const DspBlock &target)
{
    const std::optional<DspKind> a = DspKinds::of(copied), b = DspKinds::of(target);
    if (!a || a != b)
        return tx(Tx::DspPasteTypeDiffers);
    return QString();
}

QString DspRules::checkPasteChannel(const CDeviceDspData &doc, DspSide fromSide, int fromChannel,
                                    const QVector<DspBlock> &chain, DspSide toSide, int toChannel,
                                    double familyFactor, bool forceAdd)
{
    if (fromSide == DspSide::Out && toSide == DspSide::In)
        return tx(Tx::DspPasteOutToIn);
    if (fromSide == DspSide::In && toSide == DspSide::Out)
        return tx(Tx::DspPasteInToOut);
    if (fromChannel == toChannel)
        return tx(Tx::DspPasteSameChannel);
    if (!chainAt(doc, toSide, toChannel))
        return tx(Tx::DspNoSuchSideChannel)
            .arg(tx(toSide == DspSide::In ? Tx::DspChannelIn : Tx::DspChannelOut).arg(toChannel + 1));
    if (reservedDelay(chain) > maxDelaySamples(doc.sampleRate))
        return tx(Tx::DspDelayLimitPaste);
    // The target's own blocks go; an echo canceller elsewhere in the configuration stays.
    const int toNode = toSide == DspSide::In ? 0 : doc.outputNodeId();
    if (countOf(chain, DspKind::Aec) > 0 && aecBlocksIn(doc, toNode, toChannel) + countOf(chain, DspKind::Aec) > 1)
        return tx(Tx::DspOnlyOneAec);
    if (chain.size() > kMaxChainLength)
        return tx(Tx::DspChainFull).arg(kMaxChainLength);
    if (!forceAdd && budgetReached(doc, familyFactor))
        return tx(Tx::DspCpuShort);
    return QString();
}
