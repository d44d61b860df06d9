#include "core/dsp/dspcontroller.h"

#include "core/app/log.h"
#include "core/app/texts.h"
#include "core/dsp/dspcodec.h"
#include "core/dsp/dspcommands.h"
#include "core/dsp/dspdefaults.h"
#include "core/dsp/dsprules.h"
#include "core/dsp/dspsink.h"
#include "core/protocol/deviceports.h"

#include <QJsonArray>
#include <QRegularExpression>
#include <QSet>
#include <QTimer>

#include <climits>
#include <cmath>
#include <limits>
#include <memory>

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

namespace {

int sideIndex(DspSide side)
{
    return side == DspSide::In ? 0 : 1;
}

QString channelKey(DspSide side, int channel)
{
    return QString::number(sideIndex(side)) + QLatin1Char(':') + QString::number(channel);
}

bool sameBlock(const DspBlock &a, const DspBlock &b)
{
    return a.bypass == b.bypass && a.groupId == b.groupId && a.objToJson() == b.objToJson();
}

bool sameChannel(const DspChannel &a, const DspChannel &b)
{
    return a.gainDb == b.gainDb && a.mute == b.mute && a.inverse == b.inverse && a.groupId == b.groupId;
}

Tx kindName(const DspBlock &b)
{
    static const Tx names[DspBlock::kKnownTypes] = {
        Tx::DspKindEq,      Tx::DspKindDelay,   Tx::DspKindCompressor, Tx::DspKindFeedback,
        Tx::DspKindFilter,  Tx::DspKindFir,     Tx::DspKindLimiter,    Tx::DspKindGate,
        Tx::DspKindExpander, Tx::DspKindSignalGen, Tx::DspKindAec,     Tx::DspKindDucker};
    return b.isKnownType() ? names[b.type()] : Tx::DspKindEq;
}

} // namespace

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
        if (r.val)
            emit signal_cpuUsage(int(*r.val));
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
    QVector<DspBlock> after;
    for (quint64 l : linkedBlocks(id)) {
        DspBlock b = current(l);
        b.obj = changed.obj;
        b.objExtra = changed.objExtra;
        after.append(b);
    }
    changeBlocks(after, blockLabel(id), false);
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
    QVector<DspBlock> after;
    for (quint64 l : linkedBlocks(id)) {
        DspBlock b = current(l);
        b.bypass = bypass;
        after.append(b);
    }
    changeBlocks(after, blockLabel(id) + QLatin1Char(' ') + tx(Tx::DspMemberBypass), false);
    return QString();
}

void DspController::changeBlocks(const QVector<DspBlock> &after, const QString &text, bool fromUndo)
{
    DspUndoStep step;
    step.kind = DspUndoStep::Block;
    step.text = text;
    step.mergeKey = QStringLiteral("b");
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
            sendBlock(step.blocksBefore[i], a);
            continue;
        }
        *mutableBlock(a.uid) = a;
        m_localEdits = m_localEdits || m_linkLost;
        emit signal_blockChanged(a.uid);
    }
    recomputeBudget();
    emit signal_unsavedChanged(hasUnsavedChanges());
}

void DspController::sendBlock(const DspBlock &before, const DspBlock &after)
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
    const QString why = DspRules::checkPasteChannel(m_doc, m_copiedChannel->side, m_copiedChannel->channel,
                                                    m_copiedChannel->chain, side, ch, m_budget.familyFactor,
                                                    m_forceAdd);
    if (!why.isEmpty())
        return refuse(why);
    QVector<DspBlock> c = m_copiedChannel->chain;
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

QString DspController::setChannelGain(DspSide side, int ch, double gainDb)
{
    if (!channel(side, ch))
        return refuse(tx(Tx::DspNoSuchSideChannel).arg(channelLabel(side, ch)));
    const QVector<int> members = groupOf(side, ch);
    QVector<DspChannel> after;
    for (int m : members) {
        after.append(currentChannel(side, m));
        after.last().gainDb = gainDb;
    }
    changeChannels(side, members, after, channelLabel(side, ch) + QLatin1Char(' ') + tx(Tx::DspMemberGain), false);
    return QString();
}

QString DspController::setChannelMute(DspSide side, int ch, bool mute)
{
    if (!channel(side, ch))
        return refuse(tx(Tx::DspNoSuchSideChannel).arg(channelLabel(side, ch)));
    const QVector<int> members = groupOf(side, ch);
    QVector<DspChannel> after;
    for (int m : members) {
        after.append(currentChannel(side, m));
        after.last().mute = mute;
    }
    changeChannels(side, members, after, channelLabel(side, ch) + QLatin1Char(' ') + tx(Tx::DspMemberMute), false);
    return QString();
}

QString DspController::setChannelInverse(DspSide side, int ch, bool inverse)
{
    if (!channel(side, ch))
        return refuse(tx(Tx::DspNoSuchSideChannel).arg(channelLabel(side, ch)));
    DspChannel after = currentChannel(side, ch);
    after.inverse = inverse;
    changeChannels(side, {ch}, {after}, channelLabel(side, ch) + QLatin1Char(' ') + tx(Tx::DspMemberInverse),
                   false);
    return QString();
}

QString DspController::setChannelGroup(DspSide side, int ch, int group)
{
    if (!channel(side, ch))
        return refuse(tx(Tx::DspNoSuchSideChannel).arg(channelLabel(side, ch)));
    if (group < -1 || group >= m_doc.groupArr.size())
        return refuse(tx(Tx::DspNoSuchGroup).arg(group + 1));
    DspChannel after = currentChannel(side, ch);
    after.groupId = group;
    changeChannels(side, {ch}, {after}, channelLabel(side, ch) + QLatin1Char(' ') + tx(Tx::DspMemberGroup), false);
    return QString();
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

void DspController::changeNode(int nodeId, const DspNode &after, const QString &text, bool fromUndo)
{
    const DspNode before = currentNode(nodeId);
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
    if (cells.isEmpty() && !objChanged)
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
    p.text = DspCommands::setConfig(m_doc, aecAsk, mixAsk);
    p.done = [=](const Answer &a) {
        if (a.ok) {
            m_unsaved = false;
            m_localEdits = false;
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
        changeBlocks(present, step.text, true);
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
