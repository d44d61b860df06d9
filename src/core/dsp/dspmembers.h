#pragma once

// The member lists of the DSP document's records, shared by the reader, the merger and the writer of
// DspCodec. Internal to core/dsp: pages use DspCodec and the records themselves.

#include "core/dsp/dspnode.h"

#include <cfloat>
#include <cmath>

namespace DspMembers {

// The members of every record, in ascending order of their names: the order they are written in. Each list is
// walked by the reader, the merger and the writer, so a name is spelt once.

template <class V> void members(V &v, DspEqBand &s)
{
    v.real("dbGain", s.dbGain);
    v.real("freq0", s.freq0);
    v.real("qBwS", s.qBwS);
    v.integer("type", s.type);
}

template <class V> void members(V &v, DspEq &s)
{
    v.bandBypass("bypassArr", s.bands);
    v.bands("eqArr", s.bands);
}

template <class V> void members(V &v, DspDelay &s)
{
    v.integer("delayNum", s.delayNum);
    v.integer("maxNum", s.maxNum);
}

template <class V> void members(V &v, DspDynamics &s)
{
    v.real("attackMs", s.attackMs);
    v.real("kneeDb", s.kneeDb);
    v.real("ratio", s.ratio);
    v.real("releaseMs", s.releaseMs);
    v.real("trigDb", s.trigDb);
}

template <class V> void members(V &v, DspFeedback &s)
{
    v.real("freqShift", s.freqShift);
}

template <class V> void members(V &v, DspCrossover &s)
{
    v.real("freq0", s.freq0);
    v.flag("isHpf", s.isHpf);
    v.integer("order", s.order);
    v.integer("type", s.type);
}

template <class V> void members(V &v, DspFir &s)
{
    v.reals("arr", s.arr);
    v.real("attDb", s.attDb);
    v.integer("firType", s.firType);
    v.real("freq0", s.freq0);
    v.real("freq1", s.freq1);
    v.integer("maxTaps", s.maxTaps);
    v.integer("taps", s.taps);
    v.integer("winType", s.winType);
}

template <class V> void members(V &v, DspLimiter &s)
{
    v.real("limitDb", s.limitDb);
}

template <class V> void members(V &v, DspGate &s)
{
    v.real("closeMs", s.closeMs);
    v.real("openMs", s.openMs);
    v.real("trigDb", s.trigDb);
}

template <class V> void members(V &v, DspSignalGen &s)
{
    v.real("freq", s.freq);
    v.real("gainDb", s.gainDb);
    v.integer("mode", s.mode);
}

template <class V> void members(V &v, DspAec &s)
{
    v.integer("aecLevel", s.aecLevel);
    v.integer("ansLevel", s.ansLevel);
    v.integer("banMask", s.banMask);
    v.integer("farCh", s.farCh);
    v.flag("farFromOut", s.farFromOut);
    v.flag("hasAec", s.hasAec);
    v.flag("hasAgc", s.hasAgc);
    v.flag("hasAns", s.hasAns);
}

template <class V> void members(V &v, DspDucker &s)
{
    v.real("attackMs", s.attackMs);
    v.real("duckDb", s.duckDb);
    v.real("holdMs", s.holdMs);
    v.integer("refCh", s.refCh);
    v.real("releaseMs", s.releaseMs);
    v.real("trigDb", s.trigDb);
}

template <class V> void members(V &, DspUnknownBlock &) {}

template <class V> void members(V &v, DspGroup &s)
{
    v.real("gainDb", s.gainDb);
    v.flag("mute", s.mute);
    v.text("name", s.name);
}

template <class V> void members(V &v, DspMatrix &s)
{
    v.realRows("gainArr", s.gainArr);
    v.flagRows("muteArr", s.muteArr);
}

template <class V> void members(V &v, DspAutomixer &s)
{
    v.real("attackMs", s.attackMs);
    v.integer("chNumLimit", s.chNumLimit);
    v.real("decayDb", s.decayDb);
    v.real("duckAttackMs", s.duckAttackMs);
    v.real("duckDb", s.duckDb);
    v.real("duckReleaseMs", s.duckReleaseMs);
    v.real("holdMs", s.holdMs);
    v.flag("leaveLastOn", s.leaveLastOn);
    v.flags("maskArr", s.maskArr);
    v.integer("mode", s.mode);
    v.flag("nomAttenuate", s.nomAttenuate);
    v.real("releaseMs", s.releaseMs);
    v.real("slope", s.slope);
    v.real("trigDb", s.trigDb);
}

// The node type decides which members a channel has on the wire.
template <class V> void members(V &v, DspChannel &s, int nodeType)
{
    const bool aec = nodeType == DspNode::EchoCancel;
    if (aec) {
        v.integer("aecLevel", s.aecLevel);
        v.integer("ansLevel", s.ansLevel);
    }
    v.json("commArr", s.commArr);
    if (aec)
        v.integers("farArr", s.farArr);
    v.real("gainDb", s.gainDb);
    v.integer("groupId", s.groupId);
    if (aec) {
        v.flag("hasAec", s.hasAec);
        v.flag("hasAgc", s.hasAgc);
        v.flag("hasAns", s.hasAns);
    }
    v.flag("inverse", s.inverse);
    v.flag("mute", s.mute);
    if (aec)
        v.integers("nearArr", s.nearArr);
    if (nodeType == DspNode::Channels)
        v.blocks("procArr", s.procArr);
}

template <class V> void visitParams(V &v, DspBlockParams &p)
{
    std::visit([&v](auto &params) { members(v, params); }, p);
}

inline void setType(DspBlockParams &p, int type)
{
    switch (type) {
    case 0: p.emplace<0>(); break;
    case 1: p.emplace<1>(); break;
    case 2: p.emplace<2>(); break;
    case 3: p.emplace<3>(); break;
    case 4: p.emplace<4>(); break;
    case 5: p.emplace<5>(); break;
    case 6: p.emplace<6>(); break;
    case 7: p.emplace<7>(); break;
    case 8: p.emplace<8>(); break;
    case 9: p.emplace<9>(); break;
    case 10: p.emplace<10>(); break;
    case 11: p.emplace<11>(); break;
    default: p = DspUnknownBlock{type};
    }
}

inline double checkedFloat(double d)
{
    return std::fabs(d) <= double(FLT_MAX) ? d : 0.0;
}

} // namespace DspMembers
