#pragma once

// What the controller's two source files share: a request waiting for its answer, the answer, and the small
// comparisons both halves make. Included by dspcontroller.cpp and dspcontrolleredits.cpp only.

#include "core/app/texts.h"
#include "core/dsp/dspcontroller.h"

#include <QJsonObject>
#include <QString>

#include <functional>

struct DspController::Answer
{
    bool arrived = false; ///< a reply came (it may still say "fail")
    bool ok = false;      ///< it said "succ"
    QJsonObject reply;
    QString text;
};

struct DspController::Pending
{
    QString key;    ///< a waiting request with the same key is replaced by the newer one
    QString target; ///< what it changes: "b:<uid>", "c:<side>:<channel>", "n:<node>", or empty
    QString ops;
    QString blockFlag;
    QString text;
    QString undoKey;
    int timeoutMs = kReplyTimeoutMs;
    std::function<void(const Answer &)> done;
};

namespace DspControllerParts {

inline int sideIndex(DspSide side)
{
    return side == DspSide::In ? 0 : 1;
}

inline QString channelKey(DspSide side, int channel)
{
    return QString::number(sideIndex(side)) + QLatin1Char(':') + QString::number(channel);
}

inline bool sameBlock(const DspBlock &a, const DspBlock &b)
{
    return a.bypass == b.bypass && a.groupId == b.groupId && a.objToJson() == b.objToJson();
}

inline bool sameChannel(const DspChannel &a, const DspChannel &b)
{
    return a.gainDb == b.gainDb && a.mute == b.mute && a.inverse == b.inverse && a.groupId == b.groupId;
}

inline Tx kindName(const DspBlock &b)
{
    static const Tx names[DspBlock::kKnownTypes] = {
        Tx::DspKindEq,      Tx::DspKindDelay,   Tx::DspKindCompressor, Tx::DspKindFeedback,
        Tx::DspKindFilter,  Tx::DspKindFir,     Tx::DspKindLimiter,    Tx::DspKindGate,
        Tx::DspKindExpander, Tx::DspKindSignalGen, Tx::DspKindAec,     Tx::DspKindDucker};
    return b.isKnownType() ? names[b.type()] : Tx::DspKindEq;
}

} // namespace DspControllerParts
