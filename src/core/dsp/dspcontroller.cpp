#include "core/dsp/dspcontroller.h"

#include "core/dsp/dspcontrollerparts.h"

#include "core/app/log.h"
#include "core/app/texts.h"
#include "core/dsp/dspcodec.h"
#include "core/dsp/dspcommands.h"
#include "core/dsp/dspsink.h"
#include "core/protocol/deviceports.h"

#include <QJsonArray>
#include <QRegularExpression>
#include <QTimer>

#include <cmath>
#include <limits>

using namespace DspControllerParts;

DspController::DspController(DspSink *sink, QObject *parent)
    : QObject(parent)
    , m_sink(sink)
    , m_timeout(new QTimer(this))
{
    // Views may take the notices queued.
    qRegisterMetaType<DspSide>("DspSide");
    qRegisterMetaType<QVector<double>>("QVector<double>");
    m_timeout->setSingleShot(true);
    connect(m_timeout, &QTimer::timeout, this, &DspController::onTimeout);
    m_budget.cores = 2;
    m_budget.reservedPercent = 30;
}

DspController::~DspController()
{
    delete m_inFlight;
    qDeleteAll(m_queue);
}

void DspController::setDevice(const QString &devId, const QString &model)
{
    m_devId = devId;
    m_model = model;
    recomputeBudget();
}

// ---------------------------------------------------------------- the link

void DspController::requestConfig()
{
    Pending p;
    p.key = QStringLiteral("getConfig");
    p.ops = QStringLiteral("getConfig");
    p.text = DspCommands::getConfig();
    p.timeoutMs = kConfigTimeoutMs;
    p.done = [this](const Answer &a) {
        if (!a.arrived) {
            emit signal_configRefused(tx(Tx::DspCommFailed));
            return;
        }
        CDeviceDspData fresh;
        const CDeviceDspData::LoadResult r = fresh.loadReply(a.text.toUtf8());
        if (!r.ok()) {
            emit signal_configRefused(r.why);
            return;
        }
        takeDocument(fresh);
    };
    enqueue(std::move(p));
}

void DspController::handleTcpReply(const QString &text)
{
    touch();
    if (!m_inFlight) {
        Log::line(QStringLiteral("dsp: a reply nothing waits for: ") + text.left(200));
        return;
    }
    Answer a;
    a.text = text;
    a.arrived = true;
    if (!DspCodec::parseObject(text.toUtf8(), &a.reply)) {
        // Only the configuration is checked as a whole by its reader, which says why it cannot use it.
        if (m_inFlight->ops == QLatin1String("getConfig"))
            finishInFlight(a);
        return;
    }
    const QString ops = a.reply.value(QLatin1String("ops")).toString();
    const QString flag = a.reply.value(QLatin1String("blockFlag")).toString();
    if (ops != m_inFlight->ops || (!flag.isEmpty() && !m_inFlight->blockFlag.isEmpty() && flag != m_inFlight->blockFlag)) {
        Log::line(QStringLiteral("dsp: a late reply ignored: ") + ops + QLatin1Char(' ') + flag);
        return;
    }
    a.ok = a.reply.value(QLatin1String("result")).toString() == QLatin1String("succ");
    finishInFlight(a);
}

void DspController::handleUdpReply(const QString &text)
{
    QJsonObject o;
    if (!DspCodec::parseObject(text.toUtf8(), &o) || o.value(QLatin1String("uiTag")).toString() != QLatin1String("dspUiTag"))
        return;
    if (!m_devId.isEmpty() && o.value(QLatin1String("devId")).toString() != m_devId)
        return;
    touch();
    const DspCommands::Reply r = DspCommands::readReply(o);
    if (!r.succeeded)
        return;
    if (r.ops == QLatin1String("getCpuUsage")) {
        if (r.val) {
            m_deviceLoad = int(*r.val);
            emit signal_cpuUsage(m_deviceLoad);
        }
    } else if (r.ops == QLatin1String("getVolumeDbBatchIn") || r.ops == QLatin1String("getVolumeDbBatchOut")) {
        QVector<double> levels;
        for (const QJsonValue &v : o.value(QLatin1String("arr")).toArray()) {
            bool ok = false;
            const double d = v.toString().toDouble(&ok);
            levels.append(ok ? d : -std::numeric_limits<double>::infinity());
        }
        emit signal_levels(r.ops.endsWith(QLatin1String("Out")) ? DspSide::Out : DspSide::In, levels);
    } else if (r.ops == QLatin1String("getDspStatus") || r.ops == QLatin1String("getDspTemperature")) {
        emit signal_dspStatus(r.ops, o.value(QLatin1String("val")).toString());
    } else if (r.ops == QLatin1String("getBorderProcStatus")) {
        static const QRegularExpression flag(QStringLiteral("^bf_(in|out)_ch_(\\d+)_(\\d+)$"));
        const QRegularExpressionMatch m = flag.match(r.blockFlag);
        if (!m.hasMatch())
            return;
        const int side = m.captured(1) == QLatin1String("out") ? 1 : 0;
        const int ch = m.captured(2).toInt(), proc = m.captured(3).toInt();
        if (ch >= m_deviceChains[side].size() || proc >= m_deviceChains[side][ch].size())
            return;
        emit signal_blockStatus(m_deviceChains[side][ch][proc], r.gain.value_or(std::nan("")),
                                r.isOpen ? int(*r.isOpen) : -1);
    }
}

void DspController::linkLost()
{
    if (m_linkLost)
        return;
    m_linkLost = true;
    m_timeout->stop();
    delete m_inFlight;
    m_inFlight = nullptr;
    qDeleteAll(m_queue);
    m_queue.clear();
    m_outstanding.clear();
    // What the user asked for stays in front of them, as unsaved edits.
    for (auto it = m_askedBlocks.constBegin(); it != m_askedBlocks.constEnd(); ++it)
        if (DspBlock *b = mutableBlock(it.key())) {
            *b = it.value();
            emit signal_blockChanged(it.key());
        }
    for (auto it = m_askedChannels.constBegin(); it != m_askedChannels.constEnd(); ++it) {
        const DspSide side = it.key().startsWith(QLatin1Char('1')) ? DspSide::Out : DspSide::In;
        const int ch = it.key().section(QLatin1Char(':'), 1).toInt();
        if (DspChannel *c = m_doc.channel(nodeIdOf(side), ch)) {
            const QVector<DspBlock> chain = c->procArr;
            *c = it.value();
            c->procArr = chain;
            emit signal_channelChanged(side, ch);
        }
    }
    for (auto it = m_askedNodes.constBegin(); it != m_askedNodes.constEnd(); ++it)
        if (it.key() < m_doc.nodeArr.size()) {
            m_doc.nodeArr[it.key()] = it.value();
            emit signal_nodeChanged(it.key());
        }
    m_localEdits = m_localEdits || !m_askedBlocks.isEmpty() || !m_askedChannels.isEmpty() || !m_askedNodes.isEmpty();
    m_askedBlocks.clear();
    m_askedChannels.clear();
    m_askedNodes.clear();
    emit signal_unsavedChanged(hasUnsavedChanges());
    emit signal_notice(tx(Tx::DspLinkLostText), false);
    emit signal_linkLost();
}

qint64 DspController::msSinceLastMessage() const
{
    return m_lastMessage.isValid() ? m_lastMessage.elapsed() : -1;
}

bool DspController::isIdle() const
{
    return !m_inFlight && m_queue.isEmpty();
}

void DspController::touch()
{
    m_lastMessage.start();
}

void DspController::enqueue(Pending p)
{
    if (m_linkLost) {
        if (p.done)
            p.done(Answer());
        return;
    }
    if (!p.key.isEmpty())
        for (Pending *q : qAsConst(m_queue))
            if (q->key == p.key) {
                *q = std::move(p);
                return;
            }
    if (!p.target.isEmpty())
        ++m_outstanding[p.target];
    m_queue.append(new Pending(std::move(p)));
    if (!m_inFlight)
        sendNext();
}

void DspController::sendNext()
{
    if (m_inFlight)
        return;
    if (m_queue.isEmpty()) {
        emit signal_idle();
        return;
    }
    m_inFlight = m_queue.takeFirst();
    m_timeout->start(m_inFlight->timeoutMs);
    m_sink->sendTcp(m_inFlight->text);
}

void DspController::finishInFlight(const Answer &answer)
{
    m_timeout->stop();
    Pending *p = m_inFlight;
    m_inFlight = nullptr;
    if (!p->target.isEmpty() && --m_outstanding[p->target] <= 0)
        m_outstanding.remove(p->target);
    if (p->done)
        p->done(answer);
    delete p;
    sendNext();
}

void DspController::onTimeout()
{
    if (!m_inFlight)
        return;
    Log::line(QStringLiteral("dsp: no answer to ") + m_inFlight->ops);
    finishInFlight(Answer());
}

void DspController::settle(const QString &target, const Answer &answer, const QString &undoKey, Tx failure)
{
    if (!m_outstanding.contains(target)) {
        if (target.startsWith(QLatin1String("b:")))
            m_askedBlocks.remove(target.mid(2).toULongLong());
        else if (target.startsWith(QLatin1String("c:")))
            m_askedChannels.remove(target.mid(2));
        else if (target.startsWith(QLatin1String("n:")))
            m_askedNodes.remove(target.mid(2).toInt());
    }
    if (answer.ok)
        return;
    const QString reason = answer.reply.value(QLatin1String("reason")).toString();
    Log::line(QStringLiteral("dsp: refused ") + answer.reply.value(QLatin1String("ops")).toString() +
              QLatin1Char(' ') + reason);
    m_undo.dropTopIf(undoKey);
    emit signal_undoChanged();
    emit signal_notice(tx(failure), false);
}

// ---------------------------------------------------------------- the document

void DspController::takeDocument(const CDeviceDspData &doc)
{
    m_doc = doc;
    assignIds();
    rememberDeviceChains();
    m_askedBlocks.clear();
    m_askedChannels.clear();
    m_askedNodes.clear();
    m_localEdits = false;
    m_unsaved = false;
    m_undo.clear();
    recomputeBudget();
    emit signal_documentLoaded();
    emit signal_unsavedChanged(false);
    emit signal_undoChanged();
}

void DspController::assignIds()
{
    m_places.clear();
    for (DspSide side : {DspSide::In, DspSide::Out})
        for (int ch = 0; ch < channelCount(side); ++ch) {
            for (DspBlock &b : m_doc.nodeArr[nodeIdOf(side)].portArr[ch].procArr)
                b.uid = m_nextId++;
            placeChannel(side, ch);
        }
}

void DspController::placeChannel(DspSide side, int channel)
{
    const QVector<DspBlock> &c = chain(side, channel);
    for (int i = 0; i < c.size(); ++i)
        m_places.insert(c[i].uid, Place{side, channel, i});
}

void DspController::rememberDeviceChains()
{
    m_devicePlaces.clear();
    for (DspSide side : {DspSide::In, DspSide::Out}) {
        QVector<QVector<quint64>> &chains = m_deviceChains[sideIndex(side)];
        chains.clear();
        for (int ch = 0; ch < channelCount(side); ++ch) {
            QVector<quint64> ids;
            for (const DspBlock &b : chain(side, ch)) {
                m_devicePlaces.insert(b.uid, Place{side, ch, ids.size()});
                ids.append(b.uid);
            }
            chains.append(ids);
        }
    }
    m_deviceNodes.clear();
    for (const DspNode &n : m_doc.nodeArr)
        m_deviceNodes.append(NodeShape{n.type, n.portNum()});
}

void DspController::recomputeBudget()
{
    m_budget.familyFactor = DspBudget::familyFactor(m_model, m_doc.sampleRate);
    m_budget.cores = 2;
    m_budget.reservedPercent = 30;
    m_budget.load = DspBudget::load(m_doc);
    emit signal_budgetChanged(shownUsage());
}

int DspController::usage() const
{
    return DspBudget::usage(m_budget.load, m_budget.familyFactor);
}

int DspController::shownUsage() const
{
    return DspBudget::shown(usage());
}

int DspController::channelCount(DspSide side) const
{
    if (!m_doc.isLoaded())
        return 0;
    return side == DspSide::In ? m_doc.inChNum() : m_doc.outChNum();
}

int DspController::nodeIdOf(DspSide side) const
{
    return side == DspSide::In ? 0 : m_doc.outputNodeId();
}

namespace {

int nodeOfType(const CDeviceDspData &doc, int type)
{
    for (int i = 1; i + 1 < doc.nodeArr.size(); ++i)
        if (doc.nodeArr[i].type == type)
            return i;
    return -1;
}

} // namespace

int DspController::matrixNodeId() const
{
    return nodeOfType(m_doc, DspNode::Matrix);
}

int DspController::aecNodeId() const
{
    return nodeOfType(m_doc, DspNode::EchoCancel);
}

int DspController::automixerNodeId() const
{
    return nodeOfType(m_doc, DspNode::Automixer);
}

const QVector<DspBlock> &DspController::chain(DspSide side, int ch) const
{
    static const QVector<DspBlock> none;
    const DspChannel *c = channel(side, ch);
    return c ? c->procArr : none;
}

const DspChannel *DspController::channel(DspSide side, int ch) const
{
    return m_doc.isLoaded() ? m_doc.channel(nodeIdOf(side), ch) : nullptr;
}

quint64 DspController::blockId(DspSide side, int ch, int procIndex) const
{
    const QVector<DspBlock> &c = chain(side, ch);
    return procIndex >= 0 && procIndex < c.size() ? c[procIndex].uid : 0;
}

const DspBlock *DspController::block(quint64 id) const
{
    return const_cast<DspController *>(this)->mutableBlock(id);
}

DspBlock *DspController::mutableBlock(quint64 id)
{
    const auto it = m_places.constFind(id);
    if (it == m_places.constEnd())
        return nullptr;
    DspChannel *c = m_doc.channel(nodeIdOf(it->side), it->channel);
    return c && it->procIndex < c->procArr.size() ? &c->procArr[it->procIndex] : nullptr;
}

std::optional<DspController::Place> DspController::place(quint64 id) const
{
    const auto it = m_places.constFind(id);
    return it == m_places.constEnd() ? std::nullopt : std::optional<Place>(*it);
}

std::optional<DspController::Place> DspController::devicePlace(quint64 id) const
{
    const auto it = m_devicePlaces.constFind(id);
    return it == m_devicePlaces.constEnd() ? std::nullopt : std::optional<Place>(*it);
}

QString DspController::blockFlag(quint64 id) const
{
    const std::optional<Place> p = place(id);
    return p ? DspCommands::blockFlag(p->side == DspSide::Out, p->channel, p->procIndex) : QString();
}

bool DspController::isChainSynced(DspSide side, int ch) const
{
    const QVector<QVector<quint64>> &dev = m_deviceChains[sideIndex(side)];
    if (ch < 0 || ch >= dev.size())
        return false;
    const QVector<DspBlock> &c = chain(side, ch);
    if (c.size() != dev[ch].size())
        return false;
    for (int i = 0; i < c.size(); ++i)
        if (c[i].uid != dev[ch][i])
            return false;
    return true;
}

bool DspController::hasUnsavedChanges() const
{
    return m_unsaved || m_localEdits;
}

int DspController::deviceNodeId(DspSide side) const
{
    return side == DspSide::In ? 0 : m_deviceNodes.size() - 1;
}

int DspController::deviceMatrixNodeId() const
{
    for (int i = 0; i < m_deviceNodes.size(); ++i)
        if (m_deviceNodes[i].type == DspNode::Matrix)
            return i;
    return -1;
}

int DspController::deviceNodeIdOf(int nodeId) const
{
    if (nodeId < 0 || nodeId >= m_doc.nodeArr.size())
        return -1;
    const DspNode &n = m_doc.nodeArr[nodeId];
    for (int i = 0; i < m_deviceNodes.size(); ++i)
        if (m_deviceNodes[i].type == n.type && m_deviceNodes[i].ports == n.portNum() && i > 0 &&
            i + 1 < m_deviceNodes.size())
            return i;
    return -1;
}

DspBlock DspController::current(quint64 id) const
{
    const auto it = m_askedBlocks.constFind(id);
    if (it != m_askedBlocks.constEnd())
        return *it;
    const DspBlock *b = block(id);
    return b ? *b : DspBlock();
}

DspChannel DspController::currentChannel(DspSide side, int ch) const
{
    const auto it = m_askedChannels.constFind(channelKey(side, ch));
    if (it != m_askedChannels.constEnd())
        return *it;
    const DspChannel *c = channel(side, ch);
    return c ? *c : DspChannel();
}

const DspNode *DspController::shownNode(int nodeId) const
{
    const auto it = m_askedNodes.constFind(nodeId);
    if (it != m_askedNodes.constEnd())
        return &*it;
    return m_doc.node(nodeId);
}

DspNode DspController::currentNode(int nodeId) const
{
    const auto it = m_askedNodes.constFind(nodeId);
    if (it != m_askedNodes.constEnd())
        return *it;
    return nodeId >= 0 && nodeId < m_doc.nodeArr.size() ? m_doc.nodeArr[nodeId] : DspNode();
}

QString DspController::channelLabel(DspSide side, int ch) const
{
    return tx(side == DspSide::In ? Tx::DspChannelIn : Tx::DspChannelOut).arg(ch + 1);
}

QString DspController::blockLabel(quint64 id) const
{
    const std::optional<Place> p = place(id);
    const DspBlock *b = block(id);
    if (!p || !b)
        return QString();
    return channelLabel(p->side, p->channel) + QLatin1Char(' ') + tx(kindName(*b));
}

QString DspController::refuse(const QString &text)
{
    emit signal_notice(text, false);
    return text;
}

// ---------------------------------------------------------------- saving

void DspController::save()
{
    if (!isLoaded() || m_linkLost) {
        emit signal_notice(tx(m_linkLost ? Tx::DspLinkLostText : Tx::DspNotLoaded), false);
        emit signal_saved(false);
        return;
    }
    auto countOf = [](const QVector<NodeShape> &nodes, int type) {
        for (const NodeShape &n : nodes)
            if (n.type == type)
                return n.ports;
        return 0;
    };
    const int aecNode = aecNodeId(), mixNode = automixerNodeId();
    const int aec = aecNode < 0 ? 0 : m_doc.nodeArr[aecNode].portNum();
    const int mix = mixNode < 0 ? 0 : m_doc.nodeArr[mixNode].portNum();
    const int aecAsk = aec != countOf(m_deviceNodes, DspNode::EchoCancel) ? aec : -1;
    const int mixAsk = mix != countOf(m_deviceNodes, DspNode::Automixer) ? mix : -1;

    // Changes made after this point address the blocks as saved, so they travel behind the save.
    const QVector<QVector<quint64>> previousChains[2] = {m_deviceChains[0], m_deviceChains[1]};
    const QVector<NodeShape> previousNodes = m_deviceNodes;
    const QHash<quint64, Place> previousPlaces = m_devicePlaces;
    const bool previousLocal = m_localEdits;
    rememberDeviceChains();

    Pending p;
    p.key = QStringLiteral("setConfig");
    p.ops = QStringLiteral("setConfig");
    p.timeoutMs = kConfigTimeoutMs;
    // Changes still on their way travel ahead of the save; it must carry them too, or it would take them back.
    CDeviceDspData toSave = m_doc;
    for (auto it = m_askedBlocks.constBegin(); it != m_askedBlocks.constEnd(); ++it)
        if (const std::optional<Place> at = place(it.key()))
            toSave.nodeArr[nodeIdOf(at->side)].portArr[at->channel].procArr[at->procIndex] = it.value();
    p.text = DspCommands::setConfig(toSave, aecAsk, mixAsk);
    p.done = [=](const Answer &a) {
        if (a.ok) {
            m_unsaved = false;
            m_localEdits = false;
            resendReshapedNodes(aecAsk >= 0, mixAsk >= 0);
        } else {
            m_deviceChains[0] = previousChains[0];
            m_deviceChains[1] = previousChains[1];
            m_deviceNodes = previousNodes;
            m_devicePlaces = previousPlaces;
            m_localEdits = previousLocal;
        }
        emit signal_unsavedChanged(hasUnsavedChanges());
        emit signal_notice(tx(a.ok ? Tx::DspSaved : Tx::DspSaveFailed), a.ok);
        emit signal_saved(a.ok);
    };
    enqueue(std::move(p));
}

void DspController::resendReshapedNodes(bool aec, bool mixer)
{
    // A node the save gave a new number of channels starts from the device's defaults: what was set here while
    // it was not saved goes after the save, so the device ends as the window shows it.
    auto send = [this](const QString &ops, const QString &text) {
        Pending p;
        p.key = text; // each one goes; none replaces another
        p.ops = ops;
        p.text = text;
        p.done = [this](const Answer &a) {
            if (!a.ok)
                emit signal_notice(tx(Tx::DspSetFailedRetry), false);
        };
        enqueue(std::move(p));
    };
    for (const int id : {aec ? aecNodeId() : -1, mixer ? automixerNodeId() : -1}) {
        if (id < 0)
            continue;
        const DspNode node = currentNode(id);
        if (node.type == DspNode::Automixer)
            send(QStringLiteral("setNodeData"), DspCommands::setNodeData(id, node));
        for (int port = 0; port < node.portArr.size(); ++port) {
            const DspChannel &ch = node.portArr[port];
            if (node.type == DspNode::EchoCancel)
                send(QStringLiteral("setAecChannel"), DspCommands::setAecChannel(id, port, ch));
            if (ch.gainDb != 0.0)
                send(QStringLiteral("setGain"), DspCommands::setGain(id, port, ch.gainDb));
            if (ch.mute)
                send(QStringLiteral("setMute"), DspCommands::setMute(id, port, true));
        }
    }
}

void DspController::revokeAll()
{
    qDeleteAll(m_queue);
    m_queue.clear();
    m_outstanding.clear();
    if (m_inFlight && !m_inFlight->target.isEmpty())
        m_outstanding.insert(m_inFlight->target, 1);
    requestConfig();
}

void DspController::request(const QString &text, const QString &key, std::function<void(const QJsonObject &)> done)
{
    Pending p;
    p.key = key;
    QJsonObject o;
    DspCodec::parseObject(text.toUtf8(), &o);
    p.ops = o.value(QLatin1String("ops")).toString();
    p.text = text;
    p.done = [done](const Answer &a) {
        if (done)
            done(a.reply);
    };
    enqueue(std::move(p));
}

// ---------------------------------------------------------------- undo

void DspController::beginGesture()
{
    m_undo.beginGesture();
}

void DspController::endGesture()
{
    m_undo.endGesture();
}

QString DspController::undoText() const
{
    return m_undo.canUndo() ? tx(Tx::DspUndoWhat).arg(m_undo.undoStep().text) : tx(Tx::DspUndoPlain);
}

QString DspController::redoText() const
{
    return m_undo.canRedo() ? tx(Tx::DspRedoWhat).arg(m_undo.redoStep().text) : tx(Tx::DspRedoPlain);
}

void DspController::undo()
{
    if (!m_undo.canUndo())
        return;
    replay(m_undo.takeUndo(), false);
    emit signal_undoChanged();
}

void DspController::redo()
{
    if (!m_undo.canRedo())
        return;
    replay(m_undo.takeRedo(), true);
    emit signal_undoChanged();
}

void DspController::replay(const DspUndoStep &step, bool forward)
{
    switch (step.kind) {
    case DspUndoStep::Block: {
        const QVector<DspBlock> &target = forward ? step.blocksAfter : step.blocksBefore;
        QVector<DspBlock> present;
        for (const DspBlock &b : target)
            if (block(b.uid))
                present.append(b);
        if (present.size() != target.size())
            emit signal_notice(tx(Tx::DspNoUndoDevice), false);
        // A band's step goes back as that band's requests, not as the whole block.
        const bool bypass = step.mergeKey.startsWith(QLatin1String("eqBypass:"));
        const int band = bypass || step.mergeKey.startsWith(QLatin1String("eq:"))
                             ? step.mergeKey.section(QLatin1Char(':'), 1, 1).toInt()
                             : -1;
        changeBlocks(present, step.text, true, band, bypass);
        break;
    }
    case DspUndoStep::Chain:
        changeChain(step.side, step.channels, forward ? step.chainsAfter : step.chainsBefore, step.text, true);
        break;
    case DspUndoStep::Channel:
        changeChannels(step.side, step.channels, forward ? step.channelsAfter : step.channelsBefore, step.text,
                       true);
        break;
    case DspUndoStep::Node:
        if (step.nodeId < m_doc.nodeArr.size() && m_doc.nodeArr[step.nodeId].type == step.nodeBefore.type)
            changeNode(step.nodeId, forward ? step.nodeAfter : step.nodeBefore, step.text, true);
        else
            emit signal_notice(tx(Tx::DspNoUndoDevice), false);
        break;
    case DspUndoStep::Nodes:
        changeNodes(forward ? step.nodesAfter : step.nodesBefore, step.text, true);
        break;
    }
}

// ---------------------------------------------------------------- live figures

void DspController::queryCpuUsage()
{
    if (!m_devId.isEmpty())
        m_sink->sendUdp(DspCommands::addressedTo(DspCommands::getCpuUsage(), m_devId), DevicePorts::kDsp);
}

void DspController::queryLevels()
{
    if (m_devId.isEmpty())
        return;
    m_sink->sendUdp(DspCommands::addressedTo(DspCommands::getVolumeDbBatch(false), m_devId), DevicePorts::kDsp);
    m_sink->sendUdp(DspCommands::addressedTo(DspCommands::getVolumeDbBatch(true), m_devId), DevicePorts::kDsp);
}

void DspController::queryStatus()
{
    if (m_devId.isEmpty())
        return;
    m_sink->sendUdp(DspCommands::addressedTo(DspCommands::getDspStatus(), m_devId), DevicePorts::kDspStatus);
    m_sink->sendUdp(DspCommands::addressedTo(DspCommands::getDspTemperature(), m_devId), DevicePorts::kDspStatus);
}

void DspController::queryBlockStatus(quint64 id)
{
    const std::optional<Place> p = devicePlace(id);
    if (!p || m_devId.isEmpty())
        return;
    const DspBlockAddress at{deviceNodeId(p->side), p->channel, p->procIndex};
    const QString flag = DspCommands::blockFlag(p->side == DspSide::Out, p->channel, p->procIndex);
    m_sink->sendUdp(DspCommands::addressedTo(DspCommands::getBorderProcStatus(flag, at), m_devId), DevicePorts::kDsp);
}
