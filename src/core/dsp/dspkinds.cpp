#include "core/dsp/dspkinds.h"

#include "core/dsp/dspdefaults.h"

namespace {

struct KindInfo
{
    DspKind kind;
    const char *cli;
    int type;
    const char *button;
    Tx text;
};

// In the order the add buttons show them: the ones a channel most often gets first.
const KindInfo kKinds[DspKinds::kCount] = {
    {DspKind::Eq, "eq", 0, "eq_bt", Tx::DspBtnEq},
    {DspKind::Hpf, "hpf", 4, "hpf_bt", Tx::DspBtnHpf},
    {DspKind::Lpf, "lpf", 4, "lpf_bt", Tx::DspBtnLpf},
    {DspKind::Delay, "delay", 1, "delay_bt", Tx::DspBtnDelay},
    {DspKind::Compress, "compress", 2, "compress_bt", Tx::DspBtnCompress},
    {DspKind::Limit, "limit", 6, "limit_bt", Tx::DspBtnLimit},
    {DspKind::Expand, "expand", 8, "expand_bt", Tx::DspBtnExpand},
    {DspKind::NoiseGate, "noisegate", 7, "noisegate_bt", Tx::DspBtnNoiseGate},
    {DspKind::Fbe, "fbe", 3, "fbe_bt", Tx::DspBtnFbe},
    {DspKind::Fir, "fir", 5, "fir_bt", Tx::DspBtnFir},
    {DspKind::SignalGen, "signalgen", 9, "signalgen_bt", Tx::DspBtnSignalGen},
    {DspKind::Ducker, "ducker", 11, "ducker_bt", Tx::DspBtnDucker},
    {DspKind::Aec, "aec", 10, "aec_bt", Tx::DspBtnAec},
};

const KindInfo &info(DspKind kind)
{
    for (const KindInfo &k : kKinds)
        if (k.kind == kind)
            return k;
    return kKinds[0];
}

} // namespace

const DspKind *DspKinds::all()
{
    static const DspKind kinds[kCount] = {kKinds[0].kind,  kKinds[1].kind,  kKinds[2].kind, kKinds[3].kind,
                                          kKinds[4].kind,  kKinds[5].kind,  kKinds[6].kind, kKinds[7].kind,
                                          kKinds[8].kind,  kKinds[9].kind,  kKinds[10].kind, kKinds[11].kind,
                                          kKinds[12].kind};
    return kinds;
}

QString DspKinds::cliName(DspKind kind)
{
    return QLatin1String(info(kind).cli);
}

std::optional<DspKind> DspKinds::fromCliName(const QString &name)
{
    for (const KindInfo &k : kKinds)
        if (name == QLatin1String(k.cli))
            return k.kind;
    return std::nullopt;
}

std::optional<DspKind> DspKinds::of(const DspBlock &block)
{
    if (const auto *c = block.as<DspCrossover>())
        return c->isHpf ? DspKind::Hpf : DspKind::Lpf;
    for (const KindInfo &k : kKinds)
        if (k.type == block.type() && block.isKnownType())
            return k.kind;
    return std::nullopt;
}

DspBlock DspKinds::newBlock(DspKind kind)
{
    return DspDefaults::block(info(kind).type, kind != DspKind::Lpf);
}

QString DspKinds::titleSuffix(const DspBlock &block)
{
    const std::optional<DspKind> kind = of(block);
    if (!kind)
        return QString();
    switch (*kind) {
    case DspKind::Eq:
    case DspKind::Hpf:
    case DspKind::Lpf: return QStringLiteral("-EQ & Xover");
    case DspKind::Delay: return QStringLiteral("-Delay");
    case DspKind::Compress: return QStringLiteral("-Compress");
    case DspKind::Fbe: return QStringLiteral("-Fbe");
    case DspKind::Fir: return QStringLiteral("-Fir");
    case DspKind::Limit: return QStringLiteral("-Limit");
    case DspKind::NoiseGate: return QStringLiteral("-NoiseGate");
    case DspKind::Expand: return QStringLiteral("-Expand");
    case DspKind::SignalGen: return QStringLiteral("-SignalGen");
    case DspKind::Aec: return QStringLiteral("-AEC");
    case DspKind::Ducker: return QStringLiteral("-Ducker");
    }
    return QString();
}

QString DspKinds::buttonName(DspKind kind)
{
    return QLatin1String(info(kind).button);
}

QString DspKinds::buttonText(DspKind kind)
{
    return tx(info(kind).text);
}

QString DspKinds::sideName(DspSide side)
{
    return side == DspSide::Out ? QStringLiteral("out") : QStringLiteral("in");
}

std::optional<DspSide> DspKinds::sideFromName(const QString &name)
{
    if (name == QLatin1String("in"))
        return DspSide::In;
    if (name == QLatin1String("out"))
        return DspSide::Out;
    return std::nullopt;
}
