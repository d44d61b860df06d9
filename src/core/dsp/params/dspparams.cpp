#include "core/dsp/params/dspparams.h"

#include "core/dsp/dspmembers.h"
#include "core/dsp/params/dynamics.h"

#include <cmath>
#include <cstring>

int DspParam::sliderMin() const
{
    return kind == Kind::Steps ? 0 : int(std::lround(min * sliderScale + sliderOffset));
}

int DspParam::sliderMax() const
{
    return kind == Kind::Steps ? steps.size() - 1 : int(std::lround(max * sliderScale + sliderOffset));
}

int DspParam::sliderPosition(double value) const
{
    if (kind == Kind::Steps) {
        for (int i = 0; i < steps.size(); ++i)
            if (std::fabs(steps[i] - value) < 1e-6)
                return i;
        return 0;
    }
    return int(std::lround(qBound(min, value, max) * sliderScale + sliderOffset));
}

double DspParam::fromSlider(int position) const
{
    if (kind == Kind::Steps)
        return steps.value(qBound(0, position, steps.size() - 1));
    return (position - sliderOffset) / sliderScale;
}

double DspParam::shown(double value) const
{
    if (kind == Kind::Steps)
        return steps.value(sliderPosition(value));
    return std::isfinite(value) ? qBound(min, value, max) : min;
}

bool DspParam::isChange(double stored, double entered)
{
    return std::fabs(stored - entered) >= 1e-6;
}

namespace {

using K = DspParam::Kind;

DspParam number(const char *member, const char *control, const char *slider, Tx label, std::optional<Tx> unit,
                double min, double max, double step, int decimals, double scale = 1.0, double offset = 0.0)
{
    DspParam p;
    p.member = member;
    p.controlName = control;
    p.sliderName = slider;
    p.label = label;
    p.unit = unit;
    p.min = min;
    p.max = max;
    p.step = step;
    p.decimals = decimals;
    p.sliderScale = scale;
    p.sliderOffset = offset;
    return p;
}

DspParam other(K kind, const char *member, const char *control, Tx label)
{
    DspParam p;
    p.kind = kind;
    p.member = member;
    p.controlName = control;
    p.label = label;
    p.max = 1.0;
    return p;
}

// A threshold or level from -100 dBFS to a top, its slider in tenths with 0 dB at position 1000.
DspParam level(const char *member, const char *control, const char *slider, Tx label, double top = 0.0)
{
    return number(member, control, slider, label, Tx::DspUnitDbfs, -100.0, top, 0.1, 1, 10.0, 1000.0);
}

QVector<DspParam> dynamics()
{
    DspParam ratio = other(K::Steps, "ratio", "lab_ratio", Tx::DspParamRatio);
    ratio.sliderName = "slider_ratio";
    ratio.steps = Dynamics::ratios();
    ratio.min = ratio.steps.first();
    ratio.max = ratio.steps.last();
    // The attack spin box stops where its slider does, so the two always show the same value.
    return {level("trigDb", "ds_threshold", "slider_threshold", Tx::DspParamThreshold), ratio,
            number("attackMs", "ds_attack", "slider_attack", Tx::DspParamAttack, Tx::DspUnitMs, 1, 100, 1, 0),
            number("releaseMs", "ds_release", "slider_release", Tx::DspParamRelease, Tx::DspUnitMs, 100, 6000, 10, 0)};
}

} // namespace

const QVector<DspParam> &DspParams::of(DspKind kind)
{
    static const QVector<DspParam> none;
    static const QVector<DspParam> compressor = dynamics();
    static const QVector<DspParam> limiter{level("limitDb", "ds_limitdb", "slider_limit", Tx::DspParamLimitDb)};
    static const QVector<DspParam> gate{
        level("trigDb", "ds_threshold", "slider_threshold", Tx::DspParamThreshold, -42.0),
        number("openMs", "ds_opentime", "slider_opentime", Tx::DspParamOpenTime, Tx::DspUnitMs, 0, 1000, 1, 0),
        number("closeMs", "ds_closetime", "slider_closetime", Tx::DspParamCloseTime, Tx::DspUnitMs, 0, 1000, 1, 0)};
    static const QVector<DspParam> generator = [] {
        DspParam mode = other(K::Choice, "mode", "combox_type", Tx::DspParamSignalType);
        mode.choices = {Tx::DspSignalSine, Tx::DspSignalWhite, Tx::DspSignalPink};
        mode.max = 2;
        return QVector<DspParam>{
            mode, number("freq", "ds_freq", "slider_freq", Tx::DspParamFrequency, Tx::DspUnitHz, 20, 20000, 1, 0),
            number("gainDb", "ds_volume", "slider_volume", Tx::DspParamGenVolume, Tx::DspUnitDbfs, -60, 0, 0.1, 1, 10, 600)};
    }();
    // A shift of a few hertz breaks up feedback loops; beyond ten the pitch change is heard on music.
    static const QVector<DspParam> feedback{number("freqShift", "ds_freqshift", "slider_freqshift",
                                                   Tx::DspParamFreqShift, Tx::DspUnitHz, 0, 10, 0.1, 1, 10)};
    static const QVector<DspParam> ducker{
        other(K::Channel, "refCh", "cb_trigger", Tx::DspParamTrigger),
        level("trigDb", "ds_threshold", "slider_threshold", Tx::DspParamThreshold),
        number("duckDb", "ds_depth", "slider_depth", Tx::DspParamDepth, Tx::DspUnitDb, -60, 0, 0.1, 1, 10, 600),
        number("attackMs", "ds_attack", "slider_attack", Tx::DspParamAttack, Tx::DspUnitMs, 1, 1000, 1, 0),
        number("holdMs", "ds_hold", "slider_hold", Tx::DspParamHold, Tx::DspUnitMs, 0, 5000, 10, 0),
        number("releaseMs", "ds_release", "slider_release", Tx::DspParamRelease, Tx::DspUnitMs, 10, 6000, 10, 0)};
    static const QVector<DspParam> channelAec{
        other(K::Toggle, "hasAec", "pb_aec", Tx::DspParamAec),
        number("aecLevel", "sb_aeclevel", "slider_aeclevel", Tx::DspParamAecLevel, std::nullopt, 0, 10, 1, 0),
        other(K::Toggle, "hasAns", "pb_ans", Tx::DspParamAns),
        number("ansLevel", "sb_anslevel", "slider_anslevel", Tx::DspParamAnsLevel, std::nullopt, 0, 10, 1, 0),
        other(K::Toggle, "hasAgc", "pb_agc", Tx::DspParamAgc),
        other(K::Toggle, "farFromOut", "pb_farfromout", Tx::DspParamFarFromOut),
        other(K::Channel, "farCh", "cb_far", Tx::DspParamFarChannel)};
    switch (kind) {
    case DspKind::Compress:
    case DspKind::Expand: return compressor;
    case DspKind::Limit: return limiter;
    case DspKind::NoiseGate: return gate;
    case DspKind::SignalGen: return generator;
    case DspKind::Fbe: return feedback;
    case DspKind::Ducker: return ducker;
    case DspKind::Aec: return channelAec;
    default: return none;
    }
}

const QVector<DspParam> &DspParams::automixer()
{
    static const QVector<DspParam> table = [] {
        DspParam mode = other(K::Choice, "mode", "cb_mode", Tx::DspParamMixMode);
        mode.choices = {Tx::DspMixGainSharing, Tx::DspMixGating};
        mode.max = 1;
        return QVector<DspParam>{
            mode,
            level("trigDb", "ds_threshold", "slider_threshold", Tx::DspParamThreshold),
            number("attackMs", "ds_attack", "slider_attack", Tx::DspParamAttack, Tx::DspUnitMs, 1, 1000, 1, 0),
            number("holdMs", "ds_hold", "slider_hold", Tx::DspParamHold, Tx::DspUnitMs, 0, 5000, 10, 0),
            number("releaseMs", "ds_release", "slider_release", Tx::DspParamRelease, Tx::DspUnitMs, 10, 6000, 10, 0),
            number("decayDb", "ds_decay", "slider_decay", Tx::DspParamOffAttenuation, Tx::DspUnitDb, -60, 0, 0.1, 1, 10, 600),
            number("duckDb", "ds_duck", "slider_duck", Tx::DspParamDepth, Tx::DspUnitDb, -60, 0, 0.1, 1, 10, 600),
            number("duckAttackMs", "ds_duckattack", "slider_duckattack", Tx::DspParamDuckAttack, Tx::DspUnitMs, 1, 1000, 1, 0),
            number("duckReleaseMs", "ds_duckrelease", "slider_duckrelease", Tx::DspParamDuckRelease, Tx::DspUnitMs, 10, 6000, 10, 0),
            number("slope", "ds_slope", "slider_slope", Tx::DspParamSlope, std::nullopt, 1, 10, 0.1, 1, 10),
            number("chNumLimit", "sb_chnumlimit", "", Tx::DspParamOpenLimit, std::nullopt, 1, 1024, 1, 0),
            other(K::Toggle, "leaveLastOn", "pb_leavelaston", Tx::DspParamLastMicOn),
            other(K::Toggle, "nomAttenuate", "pb_nomattenuate", Tx::DspParamNomAttenuate)};
    }();
    return table;
}

const QVector<DspParam> &DspParams::aecChannel()
{
    static const QVector<DspParam> table{
        other(K::Toggle, "hasAec", "pb_aec", Tx::DspParamAec),
        number("aecLevel", "sb_aeclevel", "slider_aeclevel", Tx::DspParamAecLevel, std::nullopt, 0, 10, 1, 0),
        other(K::Toggle, "hasAns", "pb_ans", Tx::DspParamAns),
        number("ansLevel", "sb_anslevel", "slider_anslevel", Tx::DspParamAnsLevel, std::nullopt, 0, 10, 1, 0),
        other(K::Toggle, "hasAgc", "pb_agc", Tx::DspParamAgc)};
    return table;
}

namespace {

// Walks a record's member list (the one the codec reads and writes) and reads or writes the scalar member of
// one name; the list members that are not scalars are passed over.
struct Access
{
    const char *name;
    std::optional<double> read;
    std::optional<double> write;

    bool is(const char *n) const { return std::strcmp(n, name) == 0; }
    template <class T> void number(const char *n, T &v)
    {
        if (!is(n))
            return;
        read = double(v);
        if (write)
            v = std::is_integral<T>::value ? T(std::lround(*write)) : T(*write);
    }
    void real(const char *n, double &v) { number(n, v); }
    void real(const char *n, float &v) { number(n, v); }
    void integer(const char *n, int &v) { number(n, v); }
    void flag(const char *n, bool &v)
    {
        if (!is(n))
            return;
        read = v ? 1.0 : 0.0;
        if (write)
            v = *write != 0.0;
    }
    template <class... A> void bandBypass(A &&...) {}
    template <class... A> void bands(A &&...) {}
    template <class... A> void reals(A &&...) {}
    template <class... A> void flags(A &&...) {}
    template <class... A> void integers(A &&...) {}
    template <class... A> void json(A &&...) {}
    template <class... A> void blocks(A &&...) {}
    template <class... A> void text(A &&...) {}
    template <class... A> void realRows(A &&...) {}
    template <class... A> void flagRows(A &&...) {}
};

template <class R, class... Extra> std::optional<double> get(const R &record, const char *member, Extra... extra)
{
    Access a{member, std::nullopt, std::nullopt};
    R copy = record;
    DspMembers::members(a, copy, extra...);
    return a.read;
}

template <class R, class... Extra> bool put(R &record, const char *member, double v, Extra... extra)
{
    Access a{member, std::nullopt, v};
    DspMembers::members(a, record, extra...);
    return a.read.has_value();
}

} // namespace

std::optional<double> DspParams::value(const DspBlock &block, const char *member)
{
    Access a{member, std::nullopt, std::nullopt};
    DspBlockParams copy = block.obj;
    DspMembers::visitParams(a, copy);
    return a.read;
}

bool DspParams::setValue(DspBlock &block, const char *member, double v)
{
    Access a{member, std::nullopt, v};
    DspMembers::visitParams(a, block.obj);
    return a.read.has_value();
}

std::optional<double> DspParams::value(const DspAutomixer &mixer, const char *member)
{
    return get(mixer, member);
}

bool DspParams::setValue(DspAutomixer &mixer, const char *member, double v)
{
    return put(mixer, member, v);
}

std::optional<double> DspParams::value(const DspChannel &channel, int nodeType, const char *member)
{
    return get(channel, member, nodeType);
}

bool DspParams::setValue(DspChannel &channel, int nodeType, const char *member, double v)
{
    return put(channel, member, v, nodeType);
}
