#include "core/dsp/dspcontroller.h"

#include "core/dsp/dspcontrollerparts.h"

#include "core/app/texts.h"
#include "core/dsp/dspcommands.h"
#include "core/dsp/dspdefaults.h"
#include "core/dsp/params/dspparams.h"

#include <QSet>

#include <climits>
#include <memory>

// The changes a user makes to channels (gain, mute, polarity, link groups) and to nodes (the matrix, the
// automixer, the echo-cancellation channels). Blocks and chains are in dspcontrolleredits.cpp.

using namespace DspControllerParts;

namespace {

bool sameAec(const DspChannel &a, const DspChannel &b)
{
    return a.nearArr == b.nearArr && a.farArr == b.farArr && a.hasAec == b.hasAec && a.aecLevel == b.aecLevel &&
           a.hasAgc == b.hasAgc && a.hasAns == b.hasAns && a.ansLevel == b.ansLevel;
}

void takeAec(DspChannel &into, const DspChannel &from)
{
    into.nearArr = from.nearArr;
    into.farArr = from.farArr;
    into.hasAec = from.hasAec;
    into.aecLevel = from.aecLevel;
    into.hasAgc = from.hasAgc;
    into.hasAns = from.hasAns;
    into.ansLevel = from.ansLevel;
}

// What a node's editors change on its channels; the rest (chain, link group, commArr) stays the document's.
void takePort(DspChannel &into, const DspChannel &from, int nodeType)
{
    into.gainDb = from.gainDb;
    into.mute = from.mute;
    if (nodeType == DspNode::EchoCancel)
        takeAec(into, from);
}

} // namespace

// ---------------------------------------------------------------- channels

QVector<int> DspController::groupOf(DspSide side, int ch) const
{
    const DspChannel *c = channel(side, ch);
    if (!c || c->groupId < 0)
        return {ch};
    QVector<int> members;
    for (int i = 0; i < channelCount(side); ++i)
        if (channel(side, i)->groupId == c->groupId)
            members.append(i);
    return members;
}

QString DspController::changeChannel(DspSide side, int ch, bool wholeGroup, Tx member,
                                     const std::function<void(DspChannel &)> &set)
{
    if (!channel(side, ch))
        return refuse(tx(Tx::DspNoSuchSideChannel).arg(channelLabel(side, ch)));
    const QVector<int> members = wholeGroup ? groupOf(side, ch) : QVector<int>{ch};
    QVector<DspChannel> after;
    for (int m : members) {
        after.append(currentChannel(side, m));
        set(after.last());
    }
    changeChannels(side, members, after, channelLabel(side, ch) + QLatin1Char(' ') + tx(member), false);
    return QString();
}

QString DspController::setChannelGain(DspSide side, int ch, double gainDb)
{
    return changeChannel(side, ch, true, Tx::DspMemberGain, [gainDb](DspChannel &c) { c.gainDb = gainDb; });
}

QString DspController::setChannelMute(DspSide side, int ch, bool mute)
{
    return changeChannel(side, ch, true, Tx::DspMemberMute, [mute](DspChannel &c) { c.mute = mute; });
}

QString DspController::setChannelInverse(DspSide side, int ch, bool inverse)
{
    return changeChannel(side, ch, false, Tx::DspMemberInverse, [inverse](DspChannel &c) { c.inverse = inverse; });
}

QString DspController::setChannelGroup(DspSide side, int ch, int group)
{
    if (channel(side, ch) && (group < -1 || group >= m_doc.groupArr.size()))
        return refuse(tx(Tx::DspNoSuchGroup).arg(group + 1));
    return changeChannel(side, ch, false, Tx::DspMemberGroup, [group](DspChannel &c) { c.groupId = group; });
}

void DspController::changeChannels(DspSide side, const QVector<int> &channels, const QVector<DspChannel> &after,
                                   const QString &text, bool fromUndo)
{
    DspUndoStep step;
    step.kind = DspUndoStep::Channel;
    step.text = text;
    step.side = side;
    step.mergeKey = QStringLiteral("c:") + QString::number(sideIndex(side));
    for (int i = 0; i < channels.size(); ++i) {
        if (!channel(side, channels[i]))
            continue;
        const DspChannel before = currentChannel(side, channels[i]);
        if (sameChannel(before, after[i]))
            continue;
        step.channels.append(channels[i]);
        step.channelsBefore.append(before);
        step.channelsAfter.append(after[i]);
        step.mergeKey += QLatin1Char(':') + QString::number(channels[i]);
    }
    if (step.channels.isEmpty())
        return;
    if (!fromUndo) {
        m_undo.push(step);
        emit signal_undoChanged();
    }
    m_sendUndoKey = fromUndo ? QString() : step.mergeKey;
    for (int i = 0; i < step.channels.size(); ++i) {
        const int ch = step.channels[i];
        if (m_linkLost) {
            DspChannel *c = m_doc.channel(nodeIdOf(side), ch);
            const QVector<DspBlock> chain = c->procArr;
            *c = step.channelsAfter[i];
            c->procArr = chain;
            m_localEdits = true;
            emit signal_channelChanged(side, ch);
            continue;
        }
        m_askedChannels.insert(channelKey(side, ch), step.channelsAfter[i]);
        sendChannel(side, ch, step.channelsBefore[i], step.channelsAfter[i]);
    }
    emit signal_unsavedChanged(hasUnsavedChanges());
}

void DspController::sendChannel(DspSide side, int ch, const DspChannel &before, const DspChannel &after)
{
    const int node = deviceNodeId(side);
    const QString target = QStringLiteral("c:") + channelKey(side, ch);
    const QString undoKey = m_sendUndoKey;
    auto send = [&](const char *ops, const QString &text, std::function<void(DspChannel *)> apply) {
        Pending p;
        p.key = QLatin1String(ops) + QLatin1Char(':') + channelKey(side, ch);
        p.target = target;
        p.ops = QLatin1String(ops);
        p.undoKey = undoKey;
        p.text = text;
        const Tx failure = DspCommands::failureTextOf(p.ops).value_or(Tx::DspSetFailedRetry);
        p.done = [this, side, ch, apply, target, undoKey, failure](const Answer &a) {
            DspChannel *c = m_doc.channel(nodeIdOf(side), ch);
            if (a.ok && c)
                apply(c);
            settle(target, a, undoKey, failure);
            emit signal_channelChanged(side, ch);
        };
        enqueue(std::move(p));
    };
    if (before.gainDb != after.gainDb) {
        const double v = after.gainDb;
        send("setGain", DspCommands::setGain(node, ch, v), [v](DspChannel *c) { c->gainDb = v; });
    }
    if (before.mute != after.mute) {
        const bool v = after.mute;
        send("setMute", DspCommands::setMute(node, ch, v), [v](DspChannel *c) { c->mute = v; });
    }
    if (before.inverse != after.inverse) {
        const bool v = after.inverse;
        send("setInverse", DspCommands::setInverse(node, ch, v), [v](DspChannel *c) { c->inverse = v; });
    }
    if (before.groupId != after.groupId) {
        const int v = after.groupId;
        send("setGroupId", DspCommands::setGroupId(node, ch, v), [this, side, ch, v](DspChannel *c) {
            c->groupId = v;
            linkBlocks(side, ch, v);
        });
    }
}

void DspController::linkBlocks(DspSide side, int ch, int group)
{
    // The blocks of a channel leaving its group go their own way; the blocks of a group's channels that stand
    // at one position and are of one kind are linked, so that a change of one reaches them all.
    struct Batch
    {
        int procIndex;
        QVector<int> ports;
        QVector<quint64> ids;
        int linkGroup;
    };
    QVector<Batch> batches;
    const QVector<DspBlock> &own = chain(side, ch);
    if (isChainSynced(side, ch))
        for (int p = 0; p < own.size(); ++p)
            if (own[p].groupId >= 0)
                batches.append(Batch{p, {ch}, {own[p].uid}, -1});

    QVector<int> members;
    if (group >= 0)
        for (int i = 0; i < channelCount(side); ++i)
            if (channel(side, i)->groupId == group && isChainSynced(side, i))
                members.append(i);
    if (members.size() >= 2) {
        QSet<int> used;
        for (int i = 0; i < channelCount(side); ++i)
            for (const DspBlock &b : chain(side, i))
                used.insert(b.groupId);
        int length = INT_MAX;
        for (int m : members)
            length = qMin(length, chain(side, m).size());
        for (int p = 0; p < length; ++p) {
            const std::optional<DspKind> kind = DspKinds::of(chain(side, members.first())[p]);
            Batch b{p, members, {}, -1};
            bool same = kind.has_value();
            for (int m : members) {
                const DspBlock &blk = chain(side, m)[p];
                same = same && DspKinds::of(blk) == kind;
                b.ids.append(blk.uid);
                if (m != ch && blk.groupId >= 0 && b.linkGroup < 0)
                    b.linkGroup = blk.groupId;
            }
            if (!same)
                continue;
            if (b.linkGroup < 0) {
                int free = 0;
                while (used.contains(free))
                    ++free;
                used.insert(free);
                b.linkGroup = free;
            }
            // Unlinking first and linking again at one position is one request.
            for (int i = 0; i < batches.size(); ++i)
                if (batches[i].procIndex == p && batches[i].linkGroup < 0)
                    batches.remove(i--);
            batches.append(b);
        }
    }
    if (batches.isEmpty()) {
        emit signal_notice(tx(group >= 0 ? Tx::DspLinked : Tx::DspUnlinked), true);
        return;
    }
    auto failed = std::make_shared<bool>(false);
    for (int i = 0; i < batches.size(); ++i) {
        const Batch b = batches[i];
        const bool last = i + 1 == batches.size();
        Pending pend;
        pend.ops = QStringLiteral("setBorderProcGroupIdBatch");
        pend.text = DspCommands::setBorderProcGroupIdBatch(deviceNodeId(side), b.procIndex, b.ports, b.linkGroup);
        pend.done = [this, b, last, failed, group](const Answer &a) {
            if (a.ok) {
                for (quint64 id : b.ids)
                    if (DspBlock *blk = mutableBlock(id)) {
                        blk->groupId = b.linkGroup;
                        emit signal_blockChanged(id);
                    }
            } else {
                *failed = true;
            }
            if (last)
                emit signal_notice(tx(*failed ? Tx::DspLinkFailed : group >= 0 ? Tx::DspLinked : Tx::DspUnlinked),
                                   !*failed);
        };
        enqueue(std::move(pend));
    }
}

// ---------------------------------------------------------------- nodes

QString DspController::setMatrixCell(int output, int input, double gainDb, bool mute)
{
    const int node = matrixNodeId();
    if (node < 0 || output < 0 || input < 0 || output >= m_doc.nodeArr[node].matrix.gainArr.size() ||
        input >= m_doc.nodeArr[node].matrix.gainArr[output].size())
        return refuse(tx(Tx::DspNoSuchChannel).arg(node).arg(output + 1));
    DspNode after = currentNode(node);
    after.matrix.gainArr[output][input] = gainDb;
    after.matrix.muteArr[output][input] = mute;
    changeNode(node, after, tx(Tx::DspMatrixWord), false);
    return QString();
}

QString DspController::setNodeObj(int nodeId, const DspNode &changed)
{
    if (nodeId < 0 || nodeId >= m_doc.nodeArr.size())
        return refuse(tx(Tx::DspNoSuchNode).arg(nodeId));
    DspNode after = currentNode(nodeId);
    after.matrix = changed.matrix;
    after.automixer = changed.automixer;
    after.objExtra = changed.objExtra;
    changeNode(nodeId, after, nodeTitle(nodeId), false);
    return QString();
}

QString DspController::nodeTitle(int nodeId) const
{
    switch (m_doc.nodeArr.value(nodeId).type) {
    case DspNode::Matrix: return tx(Tx::DspKindMatrix);
    case DspNode::Automixer: return tx(Tx::DspKindAutomixer);
    case DspNode::EchoCancel: return tx(Tx::DspKindAec);
    default: return QString();
    }
}

void DspController::changeNode(int nodeId, const DspNode &wanted, const QString &text, bool fromUndo)
{
    const DspNode before = currentNode(nodeId);
    // Channels are taken member by member: an undo step may be older than the node's present channel count.
    DspNode after = wanted;
    after.portArr = before.portArr;
    for (int p = 0; p < after.portArr.size() && p < wanted.portArr.size(); ++p)
        takePort(after.portArr[p], wanted.portArr[p], before.type);
    QVector<int> ports;
    for (int p = 0; p < after.portArr.size(); ++p) {
        const DspChannel &x = before.portArr[p], &y = after.portArr[p];
        if (x.gainDb != y.gainDb || x.mute != y.mute || (before.type == DspNode::EchoCancel && !sameAec(x, y)))
            ports.append(p);
    }
    m_sendUndoKey.clear();
    QVector<QPair<int, int>> cells;
    const DspMatrix &a = after.matrix, &b = before.matrix;
    for (int o = 0; o < a.gainArr.size() && o < b.gainArr.size(); ++o)
        for (int i = 0; i < a.gainArr[o].size() && i < b.gainArr[o].size(); ++i)
            if (a.gainArr[o][i] != b.gainArr[o][i] || a.muteArr[o][i] != b.muteArr[o][i])
                cells.append({o, i});
    DspNode probeBefore = before, probeAfter = after;
    probeBefore.matrix = probeAfter.matrix = DspMatrix();
    const bool objChanged = DspCommands::setNodeData(0, probeBefore) != DspCommands::setNodeData(0, probeAfter);
    if (cells.isEmpty() && !objChanged && ports.isEmpty())
        return;

    if (!fromUndo) {
        DspUndoStep step;
        step.kind = DspUndoStep::Node;
        step.text = text;
        step.nodeId = nodeId;
        step.nodeBefore = before;
        step.nodeAfter = after;
        step.mergeKey = QStringLiteral("n:") + QString::number(nodeId) +
                        (cells.size() == 1 ? QStringLiteral(":%1:%2").arg(cells[0].first).arg(cells[0].second)
                         : ports.size() == 1 && cells.isEmpty() && !objChanged ? QStringLiteral(":p%1").arg(ports[0])
                                                                               : QString());
        m_undo.push(step);
        m_sendUndoKey = step.mergeKey;
        emit signal_undoChanged();
    }
    const int deviceNode = deviceNodeIdOf(nodeId);
    if (m_linkLost || deviceNode < 0) {
        m_doc.nodeArr[nodeId].matrix = after.matrix;
        m_doc.nodeArr[nodeId].automixer = after.automixer;
        m_doc.nodeArr[nodeId].objExtra = after.objExtra;
        for (int p : ports)
            takePort(m_doc.nodeArr[nodeId].portArr[p], after.portArr[p], before.type);
        m_localEdits = m_localEdits || m_linkLost;
        emit signal_nodeChanged(nodeId);
        emit signal_unsavedChanged(hasUnsavedChanges());
        return;
    }
    m_askedNodes.insert(nodeId, after);
    const QString target = QStringLiteral("n:") + QString::number(nodeId);
    const QString undoKey = m_sendUndoKey;
    for (const auto &cell : cells) {
        const int o = cell.first, i = cell.second;
        const double gain = a.gainArr[o][i];
        const bool mute = a.muteArr[o][i];
        Pending p;
        p.key = QStringLiteral("cell:%1:%2").arg(o).arg(i);
        p.target = target;
        p.ops = QStringLiteral("setMatrixCell");
        p.undoKey = undoKey;
        p.text = DspCommands::setMatrixCell(deviceNode, o, i, gain, mute);
        p.done = [this, nodeId, o, i, gain, mute, target, undoKey](const Answer &ans) {
            if (ans.ok && nodeId < m_doc.nodeArr.size() && o < m_doc.nodeArr[nodeId].matrix.gainArr.size()) {
                m_doc.nodeArr[nodeId].matrix.gainArr[o][i] = gain;
                m_doc.nodeArr[nodeId].matrix.muteArr[o][i] = mute;
            }
            settle(target, ans, undoKey, Tx::DspSetFailed);
            emit signal_nodeChanged(nodeId);
        };
        enqueue(std::move(p));
    }
    if (objChanged) {
        Pending p;
        p.key = QStringLiteral("node:") + QString::number(nodeId);
        p.target = target;
        p.ops = QStringLiteral("setNodeData");
        p.undoKey = undoKey;
        p.text = DspCommands::setNodeData(deviceNode, after);
        p.done = [this, nodeId, after, target, undoKey](const Answer &ans) {
            if (ans.ok && nodeId < m_doc.nodeArr.size()) {
                m_doc.nodeArr[nodeId].automixer = after.automixer;
                m_doc.nodeArr[nodeId].objExtra = after.objExtra;
            }
            settle(target, ans, undoKey, Tx::DspSetFailed);
            emit signal_nodeChanged(nodeId);
        };
        enqueue(std::move(p));
    }
    for (int port : ports)
        sendNodePort(nodeId, deviceNode, port, before.portArr[port], after.portArr[port]);
}

void DspController::sendNodePort(int nodeId, int deviceNode, int port, const DspChannel &before,
                                 const DspChannel &after)
{
    const QString target = QStringLiteral("n:") + QString::number(nodeId);
    const QString undoKey = m_sendUndoKey;
    const int type = m_doc.nodeArr[nodeId].type;
    auto send = [&](const char *ops, const QString &text, std::function<void(DspChannel &)> apply) {
        Pending p;
        p.key = QStringLiteral("%1:n%2:%3").arg(QLatin1String(ops)).arg(nodeId).arg(port);
        p.target = target;
        p.ops = QLatin1String(ops);
        p.undoKey = undoKey;
        p.text = text;
        const Tx failure = DspCommands::failureTextOf(p.ops).value_or(Tx::DspSetFailed);
        p.done = [this, nodeId, port, type, apply, target, undoKey, failure](const Answer &a) {
            // The node may have been resized or removed while the request waited.
            if (a.ok && nodeId < m_doc.nodeArr.size() && m_doc.nodeArr[nodeId].type == type &&
                port < m_doc.nodeArr[nodeId].portArr.size())
                apply(m_doc.nodeArr[nodeId].portArr[port]);
            settle(target, a, undoKey, failure);
            emit signal_nodeChanged(nodeId);
        };
        enqueue(std::move(p));
    };
    if (before.gainDb != after.gainDb) {
        const double v = after.gainDb;
        send("setGain", DspCommands::setGain(deviceNode, port, v), [v](DspChannel &c) { c.gainDb = v; });
    }
    if (before.mute != after.mute) {
        const bool v = after.mute;
        send("setMute", DspCommands::setMute(deviceNode, port, v), [v](DspChannel &c) { c.mute = v; });
    }
    if (type == DspNode::EchoCancel && !sameAec(before, after)) {
        const DspChannel v = after;
        send("setAecChannel", DspCommands::setAecChannel(deviceNode, port, v), [v](DspChannel &c) { takeAec(c, v); });
    }
}

QString DspController::changeNodePort(int nodeId, int port, const std::function<void(DspChannel &)> &set)
{
    const DspNode *node = m_doc.node(nodeId);
    if (!node || (node->type != DspNode::EchoCancel && node->type != DspNode::Automixer) || port < 0 ||
        port >= node->portNum())
        return refuse(tx(Tx::DspNoSuchChannel).arg(nodeId).arg(port + 1));
    DspNode after = currentNode(nodeId);
    set(after.portArr[port]);
    changeNode(nodeId, after, nodeTitle(nodeId) + QLatin1Char(' ') + QString::number(port + 1), false);
    return QString();
}

QString DspController::setNodeChannelGain(int nodeId, int port, double gainDb)
{
    return changeNodePort(nodeId, port, [gainDb](DspChannel &c) { c.gainDb = gainDb; });
}

QString DspController::setNodeChannelMute(int nodeId, int port, bool mute)
{
    return changeNodePort(nodeId, port, [mute](DspChannel &c) { c.mute = mute; });
}

QString DspController::setAecChannel(int port, const DspChannel &changed)
{
    const int node = aecNodeId();
    if (node < 0)
        return refuse(tx(Tx::DspNoNode).arg(tx(Tx::DspKindAec)));
    for (const DspParam &p : DspParams::aecChannel()) {
        const double v = DspParams::value(changed, DspNode::EchoCancel, p.member).value_or(0.0);
        if (v < p.min || v > p.max)
            return refuse(tx(Tx::DspOutOfRange).arg(p.min).arg(p.max));
    }
    for (const QVector<int> *list : {&changed.nearArr, &changed.farArr})
        for (int ch : *list)
            if (ch < 0 || ch >= m_doc.inChNum())
                return refuse(tx(Tx::DspNoSuchSideChannel).arg(channelLabel(DspSide::In, ch)));
    return changeNodePort(node, port, [&changed](DspChannel &c) { takeAec(c, changed); });
}

QString DspController::setAecChannels(int count)
{
    return setNodeChannels(DspNode::EchoCancel, count);
}

QString DspController::setAutomixerChannels(int count)
{
    return setNodeChannels(DspNode::Automixer, count);
}

QString DspController::setNodeChannels(int type, int count)
{
    if (!isLoaded())
        return refuse(tx(Tx::DspNotLoaded));
    if (count < 0 || count > m_doc.inChNum())
        return refuse(tx(Tx::DspTooManyNodeChannels).arg(m_doc.inChNum()));
    const int existing = type == DspNode::EchoCancel ? aecNodeId() : automixerNodeId();
    if ((existing < 0 && count == 0) || (existing >= 0 && m_doc.nodeArr[existing].portNum() == count))
        return QString();
    QVector<DspNode> middle;
    for (int i = 1; i < m_doc.nodeArr.size() - 1; ++i)
        if (m_doc.nodeArr[i].type != type)
            middle.append(m_doc.nodeArr[i]);
    if (count > 0) {
        DspNode n;
        n.type = type;
        for (int c = 0; c < count; ++c)
            n.portArr.append(type == DspNode::EchoCancel ? DspDefaults::aecChannel(c) : DspDefaults::channel());
        if (type == DspNode::Automixer)
            n.automixer = DspDefaults::automixer(count);
        // Echo cancellation first, then the automixer, then the matrix.
        const bool afterAec = type == DspNode::Automixer && !middle.isEmpty() &&
                              middle.first().type == DspNode::EchoCancel;
        middle.insert(afterAec ? 1 : 0, n);
    }
    changeNodes(middle, tx(type == DspNode::EchoCancel ? Tx::DspKindAec : Tx::DspKindAutomixer), false);
    return QString();
}

void DspController::changeNodes(const QVector<DspNode> &middle, const QString &text, bool fromUndo)
{
    DspUndoStep step;
    step.kind = DspUndoStep::Nodes;
    step.text = text;
    step.mergeKey = QStringLiteral("nodes");
    for (int i = 1; i < m_doc.nodeArr.size() - 1; ++i)
        step.nodesBefore.append(m_doc.nodeArr[i]);
    step.nodesAfter = middle;
    const DspNode first = m_doc.nodeArr.first(), last = m_doc.nodeArr.last();
    m_doc.nodeArr = QVector<DspNode>{first} + middle + QVector<DspNode>{last};
    m_askedNodes.clear();
    if (!fromUndo) {
        m_undo.push(step);
        emit signal_undoChanged();
    }
    recountUnsaved();
    recomputeBudget();
    emit signal_unsavedChanged(hasUnsavedChanges());
    for (int i = 0; i < m_doc.nodeArr.size(); ++i)
        emit signal_nodeChanged(i);
}
