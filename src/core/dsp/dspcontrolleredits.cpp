#include "core/dsp/dspcontroller.h"

#include "core/dsp/dspcontrollerparts.h"

#include "core/app/texts.h"
#include "core/dsp/dspcodec.h"
#include "core/dsp/dspcommands.h"
#include "core/dsp/dsprules.h"

// The changes a user makes to blocks and chains. Channels and nodes are in dspcontrollernodes.cpp; reading,
// the link, saving and undo in dspcontroller.cpp.

using namespace DspControllerParts;

// ---------------------------------------------------------------- blocks

QVector<quint64> DspController::linkedBlocks(quint64 id) const
{
    const DspBlock *b = block(id);
    const std::optional<Place> p = place(id);
    if (!b || !p || b->groupId < 0)
        return {id};
    QVector<quint64> ids{id};
    const std::optional<DspKind> kind = DspKinds::of(*b);
    for (int ch = 0; ch < channelCount(p->side); ++ch)
        for (const DspBlock &other : chain(p->side, ch))
            if (other.uid != id && other.groupId == b->groupId && DspKinds::of(other) == kind)
                ids.append(other.uid);
    return ids;
}

QString DspController::setBlockParams(quint64 id, const DspBlock &changed)
{
    if (!block(id))
        return refuse(tx(Tx::DspBlockGone));
    changeLinked(id, blockLabel(id), -1, false, [&changed](DspBlock &b) {
        b.obj = changed.obj;
        b.objExtra = changed.objExtra;
        return true;
    });
    return QString();
}

QString DspController::setBlockMembers(quint64 id, const QJsonObject &members)
{
    if (!block(id))
        return refuse(tx(Tx::DspBlockGone));
    DspBlock b = current(id);
    QString error;
    if (!DspCodec::mergeBlockObj(&b, members, &error))
        return refuse(error);
    return setBlockParams(id, b);
}

QString DspController::setBypass(quint64 id, bool bypass)
{
    if (!block(id))
        return refuse(tx(Tx::DspBlockGone));
    if (!bypass && m_deviceLoad > kUnbypassLoadLimit && current(id).bypass)
        return refuse(tx(Tx::DspCpuUpLimit));
    changeLinked(id, blockLabel(id) + QLatin1Char(' ') + tx(Tx::DspMemberBypass), -1, false, [bypass](DspBlock &b) {
        b.bypass = bypass;
        return true;
    });
    return QString();
}

QString DspController::eqBandLabel(quint64 id, int band) const
{
    const std::optional<Place> p = place(id);
    const QString where = p ? channelLabel(p->side, p->channel) + QLatin1Char(' ') : QString();
    return where + tx(Tx::DspKindEqBand) + QLatin1Char(' ') + QString::number(band + 1);
}

QString DspController::checkEqBand(quint64 id, int band)
{
    const DspBlock *b = block(id);
    if (!b)
        return tx(Tx::DspBlockGone);
    const DspEq *eq = b->as<DspEq>();
    if (!eq || band < 0 || band >= eq->bands.size())
        return tx(Tx::DspNoSuchSideChannel).arg(eqBandLabel(id, band));
    return QString();
}

QString DspController::setEqBand(quint64 id, int band, const DspEqBand &values)
{
    const QString why = checkEqBand(id, band);
    if (!why.isEmpty())
        return refuse(why);
    changeLinked(id, eqBandLabel(id, band), band, false, [band, &values](DspBlock &b) {
        DspEq *eq = b.as<DspEq>();
        if (!eq || band >= eq->bands.size())
            return false;
        DspEqBand &t = eq->bands[band];
        t.dbGain = values.dbGain;
        t.freq0 = values.freq0;
        t.qBwS = values.qBwS;
        t.type = values.type;
        return true;
    });
    return QString();
}

QString DspController::setEqBandBypass(quint64 id, int band, bool bypass)
{
    const QString why = checkEqBand(id, band);
    if (!why.isEmpty())
        return refuse(why);
    changeLinked(id, eqBandLabel(id, band) + QLatin1Char(' ') + tx(Tx::DspMemberBypass), band, true,
                 [band, bypass](DspBlock &b) {
                     DspEq *eq = b.as<DspEq>();
                     if (!eq || band >= eq->bands.size())
                         return false;
                     eq->bands[band].bypass = bypass;
                     return true;
                 });
    return QString();
}

void DspController::changeLinked(quint64 id, const QString &text, int eqBand, bool eqBypass,
                                 const std::function<bool(DspBlock &)> &set)
{
    QVector<DspBlock> after;
    for (quint64 l : linkedBlocks(id)) {
        DspBlock b = current(l);
        if (set(b))
            after.append(b);
    }
    changeBlocks(after, text, false, eqBand, eqBypass);
}

void DspController::changeBlocks(const QVector<DspBlock> &after, const QString &text, bool fromUndo, int eqBand,
                                 bool eqBypass)
{
    DspUndoStep step;
    step.kind = DspUndoStep::Block;
    step.text = text;
    // A band's step names the band, so that a drag of one band is one step and undo sends the band alone.
    step.mergeKey = eqBand < 0 ? QStringLiteral("b")
                               : QLatin1String(eqBypass ? "eqBypass:" : "eq:") + QString::number(eqBand);
    for (const DspBlock &a : after) {
        if (!block(a.uid))
            continue;
        const DspBlock before = current(a.uid);
        if (sameBlock(before, a))
            continue;
        step.blocksBefore.append(before);
        step.blocksAfter.append(a);
        step.mergeKey += QLatin1Char(':') + QString::number(a.uid);
    }
    if (step.blocksAfter.isEmpty())
        return;
    if (!fromUndo) {
        m_undo.push(step);
        emit signal_undoChanged();
    }
    m_sendUndoKey = fromUndo ? QString() : step.mergeKey;
    for (int i = 0; i < step.blocksAfter.size(); ++i) {
        const DspBlock &a = step.blocksAfter[i];
        if (!m_linkLost && devicePlace(a.uid)) {
            m_askedBlocks.insert(a.uid, a);
            sendBlock(step.blocksBefore[i], a, eqBand);
            continue;
        }
        *mutableBlock(a.uid) = a;
        m_localEdits = m_localEdits || m_linkLost;
        emit signal_blockChanged(a.uid);
    }
    recomputeBudget();
    emit signal_unsavedChanged(hasUnsavedChanges());
}

void DspController::sendBlock(const DspBlock &before, const DspBlock &after, int eqBand)
{
    const Place dp = *devicePlace(after.uid);
    const DspBlockAddress at{deviceNodeId(dp.side), dp.channel, dp.procIndex};
    const QString flag = DspCommands::blockFlag(dp.side == DspSide::Out, dp.channel, dp.procIndex);
    const quint64 id = after.uid;
    const QString target = QStringLiteral("b:") + QString::number(id);
    const QString undoKey = m_sendUndoKey;

    if (before.bypass != after.bypass) {
        Pending p;
        p.key = QStringLiteral("bypass:") + QString::number(id);
        p.target = target;
        p.ops = QStringLiteral("setBorderProcBypass");
        p.blockFlag = flag;
        p.undoKey = undoKey;
        p.text = DspCommands::setBorderProcBypass(flag, at, after.bypass);
        const bool bypass = after.bypass;
        p.done = [this, id, bypass, target, undoKey](const Answer &a) {
            DspBlock *b = mutableBlock(id);
            if (a.ok && b)
                b->bypass = bypass;
            settle(target, a, undoKey, Tx::DspSetBypassFailed);
            if (b)
                emit signal_blockChanged(id);
        };
        enqueue(std::move(p));
    }
    if (eqBand >= 0 && sendEqBand(before, after, eqBand))
        return;
    if (before.objToJson() != after.objToJson()) {
        Pending p;
        p.key = QStringLiteral("proc:") + QString::number(id);
        p.target = target;
        p.ops = QStringLiteral("setBorderProc");
        p.blockFlag = flag;
        p.undoKey = undoKey;
        p.text = DspCommands::setBorderProc(flag, at, after);
        p.done = [this, id, after, target, undoKey](const Answer &a) {
            DspBlock *b = mutableBlock(id);
            if (a.ok && b) {
                b->obj = after.obj;
                b->objExtra = after.objExtra;
                recomputeBudget();
            }
            settle(target, a, undoKey, Tx::DspSetFailed);
            if (b)
                emit signal_blockChanged(id);
        };
        enqueue(std::move(p));
    }
}

bool DspController::sendEqBand(const DspBlock &before, const DspBlock &after, int eqBand)
{
    const DspEq *was = before.as<DspEq>();
    const DspEq *is = after.as<DspEq>();
    if (!was || !is || eqBand >= was->bands.size() || was->bands.size() != is->bands.size())
        return false;
    // Undo may find more changed than this band (a step in between refused); then the whole obj goes.
    DspBlock probe = before;
    probe.as<DspEq>()->bands[eqBand] = is->bands[eqBand];
    if (probe.objToJson() != after.objToJson())
        return false;

    const Place dp = *devicePlace(after.uid);
    const DspBlockAddress at{deviceNodeId(dp.side), dp.channel, dp.procIndex};
    const QString flag = DspCommands::blockFlag(dp.side == DspSide::Out, dp.channel, dp.procIndex);
    const quint64 id = after.uid;
    const QString target = QStringLiteral("b:") + QString::number(id);
    const QString undoKey = m_sendUndoKey;
    const QString band = QString::number(id) + QLatin1Char(':') + QString::number(eqBand);
    const DspEqBand &a = is->bands[eqBand];
    const DspEqBand &b = was->bands[eqBand];

    if (a.bypass != b.bypass) {
        Pending p;
        p.key = QStringLiteral("eqBypass:") + band;
        p.target = target;
        p.ops = QStringLiteral("setBorderEqBypass");
        p.blockFlag = flag;
        p.undoKey = undoKey;
        p.text = DspCommands::setBorderEqBypass(flag, at, eqBand, a.bypass);
        const bool bypass = a.bypass;
        p.done = [this, id, eqBand, bypass, target, undoKey](const Answer &ans) {
            DspBlock *blk = mutableBlock(id);
            DspEq *eq = blk ? blk->as<DspEq>() : nullptr;
            if (ans.ok && eq && eqBand < eq->bands.size())
                eq->bands[eqBand].bypass = bypass;
            settle(target, ans, undoKey, Tx::DspSetFailed);
            if (blk)
                emit signal_blockChanged(id);
        };
        enqueue(std::move(p));
    }
    if (a.dbGain != b.dbGain || a.freq0 != b.freq0 || a.qBwS != b.qBwS || a.type != b.type || a.extra != b.extra) {
        Pending p;
        p.key = QStringLiteral("eq:") + band;
        p.target = target;
        p.ops = QStringLiteral("setBorderEq");
        p.blockFlag = flag;
        p.undoKey = undoKey;
        p.text = DspCommands::setBorderEq(flag, at, eqBand, a);
        p.done = [this, id, eqBand, a, target, undoKey](const Answer &ans) {
            DspBlock *blk = mutableBlock(id);
            DspEq *eq = blk ? blk->as<DspEq>() : nullptr;
            if (ans.ok && eq && eqBand < eq->bands.size()) {
                const bool bypass = eq->bands[eqBand].bypass;
                eq->bands[eqBand] = a;
                eq->bands[eqBand].bypass = bypass;
            }
            settle(target, ans, undoKey, Tx::DspSetFailed);
            if (blk)
                emit signal_blockChanged(id);
        };
        enqueue(std::move(p));
    }
    return true;
}

// ---------------------------------------------------------------- chains

QString DspController::addBlock(DspSide side, int ch, DspKind kind)
{
    if (!isLoaded())
        return refuse(tx(Tx::DspNotLoaded));
    const DspBlock b = DspKinds::newBlock(kind);
    const QString why = DspRules::checkAdd(m_doc, side, ch, b, m_budget.familyFactor, m_forceAdd);
    if (!why.isEmpty())
        return refuse(why);
    QVector<DspBlock> c = chain(side, ch);
    c.append(b);
    changeChain(side, {ch}, {c}, channelLabel(side, ch) + QLatin1Char(' ') + tx(kindName(b)), false);
    return QString();
}

QString DspController::removeBlock(quint64 id)
{
    const std::optional<Place> p = place(id);
    if (!p)
        return refuse(tx(Tx::DspBlockGone));
    const QString text = blockLabel(id);
    QVector<DspBlock> c = chain(p->side, p->channel);
    c.remove(p->procIndex);
    changeChain(p->side, {p->channel}, {c}, text, false);
    return QString();
}

void DspController::copyBlock(quint64 id)
{
    if (const DspBlock *b = block(id))
        m_copiedBlock = *b;
}

QString DspController::pasteBlock(quint64 targetId)
{
    if (!m_copiedBlock)
        return refuse(tx(Tx::DspNothingCopied));
    const DspBlock *target = block(targetId);
    if (!target)
        return refuse(tx(Tx::DspBlockGone));
    const QString why = DspRules::checkPasteBlock(*m_copiedBlock, *target);
    if (!why.isEmpty())
        return refuse(why);
    setBlockParams(targetId, *m_copiedBlock);
    emit signal_notice(tx(Tx::DspPasted), true);
    return QString();
}

void DspController::copyChannel(DspSide side, int ch)
{
    if (channel(side, ch))
        m_copiedChannel = CopiedChannel{side, ch, chain(side, ch)};
}

QString DspController::pasteChannel(DspSide side, int ch)
{
    if (!m_copiedChannel)
        return refuse(tx(Tx::DspNothingCopied));
    return pasteChain(m_copiedChannel->side, m_copiedChannel->channel, m_copiedChannel->chain, side, ch);
}

QString DspController::pasteChain(DspSide fromSide, int fromChannel, const QVector<DspBlock> &chain, DspSide side,
                                  int ch)
{
    const QString why = DspRules::checkPasteChannel(m_doc, fromSide, fromChannel, chain, side, ch,
                                                    m_budget.familyFactor, m_forceAdd);
    if (!why.isEmpty())
        return refuse(why);
    QVector<DspBlock> c = chain;
    for (DspBlock &b : c) {
        b.uid = 0;      // new blocks, not the copied ones moved
        b.groupId = -1; // links stay with the channels that made them
    }
    changeChain(side, {ch}, {c}, channelLabel(side, ch) + QLatin1Char(' ') + tx(Tx::DspMemberChain), false);
    emit signal_notice(tx(Tx::DspPasted), true);
    return QString();
}

QString DspController::clearChannel(DspSide side, int ch)
{
    if (!channel(side, ch))
        return refuse(tx(Tx::DspNoSuchSideChannel).arg(channelLabel(side, ch)));
    changeChain(side, {ch}, {QVector<DspBlock>()}, channelLabel(side, ch) + QLatin1Char(' ') + tx(Tx::DspMemberChain),
                false);
    return QString();
}

void DspController::changeChain(DspSide side, const QVector<int> &channels, const QVector<QVector<DspBlock>> &chains,
                                const QString &text, bool fromUndo)
{
    DspUndoStep step;
    step.kind = DspUndoStep::Chain;
    step.text = text;
    step.side = side;
    step.channels = channels;
    step.mergeKey = QStringLiteral("chain");
    for (int i = 0; i < channels.size(); ++i) {
        DspChannel *c = m_doc.channel(nodeIdOf(side), channels[i]);
        if (!c)
            continue;
        step.chainsBefore.append(c->procArr);
        for (const DspBlock &b : c->procArr)
            m_places.remove(b.uid);
        QVector<DspBlock> next = chains[i];
        for (DspBlock &b : next)
            if (b.uid == 0)
                b.uid = m_nextId++;
        c->procArr = next;
        step.chainsAfter.append(next);
        placeChannel(side, channels[i]);
    }
    if (!fromUndo) {
        m_undo.push(step);
        emit signal_undoChanged();
    }
    recountUnsaved();
    for (int ch : channels)
        emit signal_chainChanged(side, ch);
    recomputeBudget();
    emit signal_unsavedChanged(hasUnsavedChanges());
}

void DspController::recountUnsaved()
{
    bool unsaved = m_deviceNodes.size() != m_doc.nodeArr.size();
    for (DspSide s : {DspSide::In, DspSide::Out})
        for (int ch = 0; ch < channelCount(s) && !unsaved; ++ch)
            unsaved = !isChainSynced(s, ch);
    for (int i = 0; i < m_doc.nodeArr.size() && !unsaved; ++i)
        unsaved = m_deviceNodes[i].type != m_doc.nodeArr[i].type || m_deviceNodes[i].ports != m_doc.nodeArr[i].portNum();
    m_unsaved = unsaved;
}
