#include "simdspdocument.h"

#include "simdspmembers.h"
#include "simdspshared.h"
#include "simrequest.h"

#include <QHash>
#include <QRegularExpression>
#include <cmath>
#include <limits>

using SimRequest::readInt;
using SimRequest::readReal;

using namespace SimDspShared;
using namespace SimDspMembers;

SimDspDocument::Layout SimDspDocument::layoutFor(const QString &model, int phyChNumRx, int phyChNumTx)
{
    Layout l;
    static const QRegularExpression code(QStringLiteral("^RK(\\d\\d)(\\d\\d)D$"));
    const QRegularExpressionMatch m = code.match(model);
    l.inputs = m.hasMatch() ? m.captured(1).toInt() : 0;
    l.outputs = m.hasMatch() ? m.captured(2).toInt() : 0;
    if (l.inputs <= 0 || l.outputs <= 0) {
        l.inputs = qBound(1, phyChNumRx, 64);
        l.outputs = qBound(1, phyChNumTx, 64);
    }
    l.aec = l.automixer = l.inputs >= 16;
    return l;
}

SimDspDocument::SimDspDocument(const Layout &layout, InputLevel input)
    : m_layout(layout)
    , m_input(std::move(input))
{
    Node in;
    for (int c = 0; c < layout.inputs; ++c) {
        Port p{channelMembers(), {}};
        for (int t : {Generator, Gate, Feedback, Delay, Eq, Crossover})
            p.procs << defaultBlock(t);
        p.procs << defaultBlock(Crossover, true) << defaultBlock(Expander);
        in.ports << p;
    }
    m_nodes << in;
    if (layout.aec) {
        Node aec;
        aec.type = 2;
        for (int c = 0; c < layout.inputs; ++c)
            aec.ports << Port{aecMembers(c), {}};
        m_nodes << aec;
    }
    if (layout.automixer) {
        Node mix;
        mix.type = 3;
        for (int c = 0; c < layout.inputs; ++c)
            mix.ports << Port{channelMembers(), {}};
        mix.obj = automixerObj(layout.inputs);
        m_nodes << mix;
    }
    Node matrix;
    matrix.type = 1;
    QJsonArray gains, mutes;
    for (int o = 0; o < layout.outputs; ++o) {
        QJsonArray g, m;
        for (int i = 0; i < layout.inputs; ++i) {
            g.append(i == o ? QStringLiteral("0") : QStringLiteral("-100"));
            m.append(i == o ? QStringLiteral("0") : QStringLiteral("1"));
        }
        gains.append(g);
        mutes.append(m);
    }
    matrix.obj = QJsonObject{{QStringLiteral("gainArr"), gains}, {QStringLiteral("muteArr"), mutes}};
    m_nodes << matrix;
    Node out;
    for (int c = 0; c < layout.outputs; ++c) {
        Port p{channelMembers(), {}};
        for (int t : {Delay, Eq, Crossover})
            p.procs << defaultBlock(t);
        p.procs << defaultBlock(Crossover, true) << defaultBlock(Compressor) << defaultBlock(Limiter)
                << defaultBlock(Fir);
        out.ports << p;
    }
    m_nodes << out;
    for (int g = 0; g < groupCount; ++g)
        m_groups.append(QJsonObject{{QStringLiteral("gainDb"), QStringLiteral("0")},
                                    {QStringLiteral("mute"), QStringLiteral("0")},
                                    {QStringLiteral("name"), QStringLiteral("Group %1").arg(g + 1)}});
}

QJsonObject SimDspDocument::config(int sampleRate) const
{
    QJsonArray nodes;
    for (int n = 0; n < m_nodes.size(); ++n) {
        const Node &node = m_nodes[n];
        QJsonArray ports;
        for (const Port &p : node.ports) {
            QJsonObject o = p.members;
            if (hasChains(n)) {
                QJsonArray procs;
                for (const QJsonObject &b : p.procs)
                    procs.append(b);
                o.insert(QStringLiteral("procArr"), procs);
            }
            ports.append(o);
        }
        nodes.append(QJsonObject{{QStringLiteral("obj"), node.obj},
                                 {QStringLiteral("portArr"), ports},
                                 {QStringLiteral("portNum"), text(node.ports.size())},
                                 {QStringLiteral("type"), text(node.type)}});
    }
    return QJsonObject{{QStringLiteral("customStr"), m_customStr},
                       {QStringLiteral("groupArr"), m_groups},
                       {QStringLiteral("nodeArr"), nodes},
                       {QStringLiteral("sampleRate"), text(sampleRate)},
                       {QStringLiteral("version"), QStringLiteral("4")}};
}

// ---------------------------------------------------------------- validation

bool SimDspDocument::locate(const QJsonObject &req, bool wantPort, bool wantBlock, Address *a) const
{
    bool ok = false;
    a->node = readInt(req, "nodeId", &ok);
    if (!ok || a->node < 0 || a->node >= m_nodes.size())
        return false;
    if (!wantPort)
        return true;
    const Node &n = m_nodes[a->node];
    a->port = readInt(req, "portIndex", &ok);
    if (!ok || a->port < 0 || a->port >= n.ports.size())
        return false;
    if (!wantBlock)
        return true;
    a->proc = readInt(req, "procIndex", &ok);
    return ok && a->proc >= 0 && a->proc < n.ports[a->port].procs.size();
}

// What no single member's range can say: limits the device fixes, and members
// that depend on each other or on the layout.
bool SimDspDocument::crossCheck(int blockType, const QJsonObject &obj) const
{
    const QJsonObject fixed = defaultObj(blockType);
    switch (blockType) {
    case Delay:
        return obj.value(QLatin1String("maxNum")) == fixed.value(QLatin1String("maxNum")) &&
               num(obj, "delayNum") <= num(obj, "maxNum");
    case Fir:
        return obj.value(QLatin1String("maxTaps")) == fixed.value(QLatin1String("maxTaps")) &&
               num(obj, "taps") <= num(obj, "maxTaps") &&
               obj.value(QLatin1String("arr")).toArray().size() <= num(obj, "maxTaps") &&
               num(obj, "freq0") < num(obj, "freq1");
    case ChAec: return num(obj, "farCh") < (on(obj, "farFromOut") ? m_layout.outputs : m_layout.inputs);
    case Ducker: return num(obj, "refCh") < m_layout.inputs;
    default: return true;
    }
}

bool SimDspDocument::validBlock(const QJsonValue &v, QJsonObject *out) const
{
    bool ok = false;
    const int type = readInt(v.toObject().value(QLatin1String("type")), &ok);
    if (!v.isObject() || !v.toObject().value(QLatin1String("type")).isString() || !ok || type < 0 || type >= blockTypes)
        return false;
    QJsonValue fitted;
    if (!conform(QString(), defaultBlock(type), v, &fitted, false))
        return false;
    *out = fitted.toObject();
    return crossCheck(type, out->value(QLatin1String("obj")).toObject());
}

// ---------------------------------------------------------------- changes

QString SimDspDocument::apply(const QString &ops, const QJsonObject &req, QJsonObject &reply)
{
    if (ops == QLatin1String("setConfig"))
        return setConfig(req);
    if (ops == QLatin1String("setBorderProc"))
        return setBlock(req);
    if (ops == QLatin1String("setBorderProcBypass"))
        return setBypass(req, reply);
    if (ops == QLatin1String("setBorderProcGroupIdBatch"))
        return setBlockGroups(req);
    if (ops == QLatin1String("setBorderEq"))
        return setEqBand(req);
    if (ops == QLatin1String("setBorderEqBypass"))
        return setEqBandBypass(req, reply);
    if (ops == QLatin1String("setNodeData"))
        return setNodeData(req);
    if (ops == QLatin1String("setMatrixCell"))
        return setMatrixCell(req);
    if (ops == QLatin1String("setGain") || ops == QLatin1String("setMute") || ops == QLatin1String("setInverse") ||
        ops == QLatin1String("setGroupId"))
        return setChannel(ops, req, reply);
    if (ops == QLatin1String("setAecChannel"))
        return setAecChannel(req);
    return QStringLiteral("unknown ops");
}

QString SimDspDocument::setConfig(const QJsonObject &req)
{
    bool ok = false;
    if (readInt(req, "index", &ok) != 0 || !ok)
        return badParam;
    // Everything is checked before anything changes.
    QVector<QVector<QJsonObject>> chains[2];
    const int counts[2] = {m_layout.inputs, m_layout.outputs};
    const char *keys[2] = {"inArr", "outArr"};
    for (int side = 0; side < 2; ++side) {
        const QJsonValue arr = req.value(QLatin1String(keys[side]));
        if (!arr.isArray() || arr.toArray().size() != counts[side])
            return badParam;
        for (const QJsonValue &ch : arr.toArray()) {
            const QJsonValue procs = ch.toObject().value(QLatin1String("procArr"));
            if (!procs.isArray() || procs.toArray().size() > maxChainLength)
                return badParam;
            QVector<QJsonObject> chain;
            for (const QJsonValue &b : procs.toArray()) {
                QJsonObject block;
                if (!validBlock(b, &block))
                    return badParam;
                chain << block;
            }
            chains[side] << chain;
        }
    }
    // The AEC and automixer channel counts ride along; none of them outnumbers the inputs.
    int nodeChannels[2] = {aecChannels(), automixerChannels()};
    const char *countKeys[2] = {"aecChNum", "autoMixerChNum"};
    for (int k = 0; k < 2; ++k) {
        if (!req.contains(QLatin1String(countKeys[k])))
            continue;
        nodeChannels[k] = readInt(req, countKeys[k], &ok);
        if (!ok || nodeChannels[k] < 0 || nodeChannels[k] > m_layout.inputs)
            return badParam;
    }
    for (int c = 0; c < m_layout.inputs; ++c)
        m_nodes.first().ports[c].procs = chains[0][c];
    for (int c = 0; c < m_layout.outputs; ++c)
        m_nodes.last().ports[c].procs = chains[1][c];
    resizeNode(2, nodeChannels[0]);
    resizeNode(3, nodeChannels[1]);
    return QString();
}

QString SimDspDocument::load(const QJsonObject &doc, int sampleRate)
{
    // The version is read first: an old document is told apart from a broken one.
    bool ok = false;
    const int version = readInt(doc, "version", &ok);
    if (!doc.value(QLatin1String("version")).isString() || !ok)
        return badParam;
    if (version < 4)
        return QStringLiteral("old version");
    if (version > 4)
        return badParam;
    const int rate = readInt(doc, "sampleRate", &ok);
    if (!doc.value(QLatin1String("sampleRate")).isString() || !ok)
        return badParam;
    if (rate != sampleRate)
        return QStringLiteral("sample rate mismatch");
    static const QStringList members{QStringLiteral("customStr"), QStringLiteral("groupArr"),
                                     QStringLiteral("nodeArr"), QStringLiteral("sampleRate"),
                                     QStringLiteral("version")};
    if (doc.keys() != members || !doc.value(QLatin1String("customStr")).isString() ||
        !doc.value(QLatin1String("groupArr")).isArray() || !doc.value(QLatin1String("nodeArr")).isArray())
        return badParam;

    const QJsonArray groupArr = doc.value(QLatin1String("groupArr")).toArray();
    if (groupArr.size() > linkGroups)
        return badParam;
    const QJsonObject groupTemplate{{QStringLiteral("gainDb"), QStringLiteral("0")},
                                    {QStringLiteral("mute"), QStringLiteral("0")},
                                    {QStringLiteral("name"), QString()}};
    QJsonArray groups;
    for (const QJsonValue &g : groupArr) {
        QJsonValue fitted;
        if (!conform(QString(), groupTemplate, g, &fitted, false))
            return badParam;
        groups.append(fitted);
    }

    // Inputs, then echo cancellation and the automixer (either, both in that order, or none),
    // the matrix, the outputs.
    const QJsonArray nodeArr = doc.value(QLatin1String("nodeArr")).toArray();
    const int middle = nodeArr.size() - 3;
    if (middle < 0 || middle > 2)
        return badParam;
    QVector<Node> nodes;
    for (int n = 0; n < nodeArr.size(); ++n) {
        int expected = 0;
        if (n == nodeArr.size() - 2)
            expected = 1;
        else if (n > 0 && n < nodeArr.size() - 1)
            expected = middle == 2 ? n + 1 : -1;
        Node node;
        if (!nodeArr.at(n).isObject() || !loadNode(nodeArr.at(n).toObject(), expected, groups.size(), &node))
            return badParam;
        if (n == 0 && node.ports.size() != m_layout.inputs)
            return badParam;
        if (n == nodeArr.size() - 1 && node.ports.size() != m_layout.outputs)
            return badParam;
        nodes << node;
    }
    m_nodes = nodes;
    m_groups = groups;
    m_customStr = doc.value(QLatin1String("customStr")).toString();
    return QString();
}

bool SimDspDocument::loadNode(const QJsonObject &node, int expectedType, int groups, Node *out) const
{
    bool ok = false;
    const int type = readInt(node, "type", &ok);
    if (!ok || !node.value(QLatin1String("type")).isString() || node.size() != 4 ||
        (expectedType >= 0 && type != expectedType) || (expectedType < 0 && type != 2 && type != 3))
        return false;
    const QJsonValue portArr = node.value(QLatin1String("portArr"));
    const int channels = portArr.toArray().size();
    if (!portArr.isArray() || node.value(QLatin1String("portNum")) != QJsonValue(text(channels)))
        return false;
    // The shape every member must keep: the matrix's inputs by outputs, the automixer's mask per channel.
    QJsonValue objTemplate = QJsonObject();
    if (type == 1) {
        if (channels != 0)
            return false;
        QJsonArray rows;
        for (int o = 0; o < m_layout.outputs; ++o)
            rows.append(repeat(QStringLiteral("0"), m_layout.inputs));
        objTemplate = QJsonObject{{QStringLiteral("gainArr"), rows}, {QStringLiteral("muteArr"), rows}};
    } else if (type == 2 || type == 3) {
        if (channels < 1 || channels > m_layout.inputs)
            return false;
        if (type == 3)
            objTemplate = automixerObj(channels);
    } else if (channels < 1) {
        return false;
    }
    QJsonValue obj;
    if (!conform(QString(), objTemplate, node.value(QLatin1String("obj")), &obj, false))
        return false;
    if (type == 3 && num(obj.toObject(), "chNumLimit") > channels)
        return false;
    out->type = type;
    out->obj = obj.toObject();

    QJsonObject portTemplate = type == 2 ? aecMembers(0) : channelMembers();
    if (type == 2)
        portTemplate.insert(QStringLiteral("nearArr"), QJsonArray());
    for (const QJsonValue &p : portArr.toArray()) {
        QJsonObject members = p.toObject();
        Port port;
        if (type == 0) {
            const QJsonValue procs = members.take(QStringLiteral("procArr"));
            if (!procs.isArray() || procs.toArray().size() > maxChainLength)
                return false;
            for (const QJsonValue &b : procs.toArray()) {
                QJsonObject block;
                if (!validBlock(b, &block))
                    return false;
                port.procs << block;
            }
        }
        QJsonValue fitted;
        if (!p.isObject() || !conform(QString(), portTemplate, members, &fitted, false))
            return false;
        port.members = fitted.toObject();
        if (num(port.members, "groupId") >= groups)
            return false;
        for (const char *list : {"nearArr", "farArr"})
            for (const QJsonValue &ch : port.members.value(QLatin1String(list)).toArray())
                if (ch.toString().toInt() >= m_layout.inputs)
                    return false;
        out->ports << port;
    }
    return true;
}

int SimDspDocument::nodeOfType(int type) const
{
    for (int n = 1; n < matrixNode(); ++n)
        if (m_nodes[n].type == type)
            return n;
    return -1;
}

int SimDspDocument::aecChannels() const
{
    const int n = nodeOfType(2);
    return n < 0 ? 0 : m_nodes[n].ports.size();
}

int SimDspDocument::automixerChannels() const
{
    const int n = nodeOfType(3);
    return n < 0 ? 0 : m_nodes[n].ports.size();
}

void SimDspDocument::resizeNode(int type, int channels)
{
    int at = nodeOfType(type);
    if (channels == 0) {
        if (at >= 0)
            m_nodes.remove(at);
        return;
    }
    if (at < 0) {
        // Echo cancellation comes straight after the inputs, the automixer after it.
        at = type == 3 && m_nodes[1].type == 2 ? 2 : 1;
        Node node;
        node.type = type;
        if (type == 3)
            node.obj = automixerObj(channels);
        m_nodes.insert(at, node);
    }
    Node &node = m_nodes[at];
    node.ports.resize(qMin(node.ports.size(), channels));
    while (node.ports.size() < channels)
        node.ports << Port{type == 2 ? aecMembers(node.ports.size()) : channelMembers(), {}};
    if (type == 3) {
        QJsonArray mask = node.obj.value(QLatin1String("maskArr")).toArray();
        while (mask.size() > channels)
            mask.removeLast();
        while (mask.size() < channels)
            mask.append(QStringLiteral("1"));
        node.obj.insert(QStringLiteral("maskArr"), mask);
        // The limit may not name more channels than there are.
        if (num(node.obj, "chNumLimit") > channels)
            node.obj.insert(QStringLiteral("chNumLimit"), text(channels));
    }
}

QString SimDspDocument::setBlock(const QJsonObject &req)
{
    Address a;
    if (!locate(req, true, true, &a) || !req.value(QLatin1String("obj")).isObject())
        return badParam;
    QJsonObject &block = m_nodes[a.node].ports[a.port].procs[a.proc];
    const int type = block.value(QLatin1String("type")).toString().toInt();
    QJsonValue changes;
    if (!conform(QString(), defaultObj(type), req.value(QLatin1String("obj")), &changes, true))
        return badParam;
    const QJsonObject obj = merged(block.value(QLatin1String("obj")).toObject(), changes.toObject());
    if (!crossCheck(type, obj))
        return badParam;
    block.insert(QStringLiteral("obj"), obj);
    return QString();
}

QString SimDspDocument::setBypass(const QJsonObject &req, QJsonObject &reply)
{
    Address a;
    bool ok = false;
    const int val = readInt(req, "val", &ok);
    if (!locate(req, true, true, &a) || !ok || (val != 0 && val != 1))
        return badParam;
    m_nodes[a.node].ports[a.port].procs[a.proc].insert(QStringLiteral("bypass"), flagText(val));
    reply.insert(QStringLiteral("val"), flagText(val));
    return QString();
}

bool SimDspDocument::locateBand(const QJsonObject &req, Address *a, int *band) const
{
    if (!locate(req, true, true, a))
        return false;
    const QJsonObject &block = m_nodes[a->node].ports[a->port].procs[a->proc];
    if (block.value(QLatin1String("type")).toString().toInt() != Eq)
        return false;
    bool ok = false;
    *band = readInt(req, "eqIndex", &ok);
    const int bands = block.value(QLatin1String("obj")).toObject().value(QLatin1String("eqArr")).toArray().size();
    return ok && *band >= 0 && *band < bands;
}

QString SimDspDocument::setEqBand(const QJsonObject &req)
{
    Address a;
    int band = -1;
    if (!locateBand(req, &a, &band) || !req.value(QLatin1String("obj")).isObject())
        return badParam;
    QJsonObject &block = m_nodes[a.node].ports[a.port].procs[a.proc];
    QJsonObject obj = block.value(QLatin1String("obj")).toObject();
    QJsonArray bands = obj.value(QLatin1String("eqArr")).toArray();
    const QJsonValue templ = defaultObj(Eq).value(QLatin1String("eqArr")).toArray().first();
    QJsonValue changes;
    if (!conform(QString(), templ, req.value(QLatin1String("obj")), &changes, true))
        return badParam;
    bands[band] = merged(bands[band].toObject(), changes.toObject());
    obj.insert(QStringLiteral("eqArr"), bands);
    block.insert(QStringLiteral("obj"), obj);
    return QString();
}

QString SimDspDocument::setEqBandBypass(const QJsonObject &req, QJsonObject &reply)
{
    Address a;
    int band = -1;
    bool ok = false;
    const int val = readInt(req, "val", &ok);
    if (!locateBand(req, &a, &band) || !ok || (val != 0 && val != 1))
        return badParam;
    QJsonObject &block = m_nodes[a.node].ports[a.port].procs[a.proc];
    QJsonObject obj = block.value(QLatin1String("obj")).toObject();
    QJsonArray flags = obj.value(QLatin1String("bypassArr")).toArray();
    if (band >= flags.size())
        return badParam;
    flags[band] = flagText(val);
    obj.insert(QStringLiteral("bypassArr"), flags);
    block.insert(QStringLiteral("obj"), obj);
    reply.insert(QStringLiteral("val"), flagText(val));
    return QString();
}

QString SimDspDocument::setBlockGroups(const QJsonObject &req)
{
    Address a;
    bool okProc = false, okGroup = false;
    const int proc = readInt(req, "procIndex", &okProc);
    const int group = readInt(req, "groupId", &okGroup);
    const QJsonArray ports = req.value(QLatin1String("portArr")).toArray();
    if (!locate(req, false, false, &a) || !hasChains(a.node) || !okProc || !okGroup || group < -1 ||
        group >= linkGroups || ports.isEmpty())
        return badParam;
    Node &node = m_nodes[a.node];
    QVector<int> channels;
    QString type;
    for (const QJsonValue &v : ports) {
        bool ok = false;
        const int ch = readInt(v, &ok);
        if (!ok || ch < 0 || ch >= node.ports.size() || proc < 0 || proc >= node.ports[ch].procs.size())
            return badParam;
        // Only blocks of one kind can move together.
        const QString t = node.ports[ch].procs[proc].value(QLatin1String("type")).toString();
        if (!type.isEmpty() && t != type)
            return badParam;
        type = t;
        channels << ch;
    }
    for (int ch : channels)
        node.ports[ch].procs[proc].insert(QStringLiteral("groupId"), text(group));
    return QString();
}

QString SimDspDocument::setNodeData(const QJsonObject &req)
{
    Address a;
    if (!locate(req, false, false, &a) || !req.value(QLatin1String("obj")).isObject())
        return badParam;
    // The node's own object is the shape a change must keep: the matrix's
    // dimensions, one mask flag per automixer channel.
    QJsonValue changes;
    if (!conform(QString(), m_nodes[a.node].obj, req.value(QLatin1String("obj")), &changes, true))
        return badParam;
    const QJsonObject obj = merged(m_nodes[a.node].obj, changes.toObject());
    if (obj.contains(QLatin1String("chNumLimit")) && num(obj, "chNumLimit") > m_nodes[a.node].ports.size())
        return badParam;
    m_nodes[a.node].obj = obj;
    return QString();
}

QString SimDspDocument::setChannel(const QString &ops, const QJsonObject &req, QJsonObject &reply)
{
    Address a;
    if (!locate(req, true, false, &a))
        return badParam;
    bool ok = false;
    QString key, value;
    if (ops == QLatin1String("setGain")) {
        const double v = readReal(req, "val", &ok);
        // The gain goes by the same rule as "gainDb" in a whole document.
        QJsonValue gain;
        if (!ok || !conform(QStringLiteral("gainDb"), QStringLiteral("0"), real(v), &gain, false))
            return badParam;
        key = QStringLiteral("gainDb");
        value = gain.toString();
    } else if (ops == QLatin1String("setGroupId")) {
        const int v = readInt(req, "val", &ok);
        if (!ok || v < -1 || v >= m_groups.size())
            return badParam;
        key = QStringLiteral("groupId");
        value = text(v);
    } else {
        const int v = readInt(req, "val", &ok);
        if (!ok || (v != 0 && v != 1))
            return badParam;
        key = ops == QLatin1String("setMute") ? QStringLiteral("mute") : QStringLiteral("inverse");
        value = flagText(v);
    }
    m_nodes[a.node].ports[a.port].members.insert(key, value);
    reply.insert(QStringLiteral("val"), value);
    return QString();
}

QString SimDspDocument::setMatrixCell(const QJsonObject &req)
{
    bool okNode = false, okOut = false, okIn = false, okGain = false, okMute = false;
    const int node = readInt(req, "nodeId", &okNode);
    const int out = readInt(req, "outIndex", &okOut);
    const int in = readInt(req, "inIndex", &okIn);
    const double gain = readReal(req, "gainDb", &okGain);
    const int mute = readInt(req, "mute", &okMute);
    if (!okNode || !okOut || !okIn || !okGain || !okMute || node != matrixNode() || out < 0 ||
        out >= m_layout.outputs || in < 0 || in >= m_layout.inputs || gain < -100 || gain > 12 ||
        (mute != 0 && mute != 1))
        return badParam;
    QJsonObject &obj = m_nodes[node].obj;
    const auto setCell = [&obj, out, in](const char *key, const QString &value) {
        QJsonArray rows = obj.value(QLatin1String(key)).toArray();
        QJsonArray row = rows.at(out).toArray();
        row.replace(in, value);
        rows.replace(out, row);
        obj.insert(QLatin1String(key), rows);
    };
    setCell("gainArr", real(gain));
    setCell("muteArr", flagText(mute));
    return QString();
}

QString SimDspDocument::setAecChannel(const QJsonObject &req)
{
    Address a;
    if (!locate(req, true, false, &a) || m_nodes[a.node].type != 2 || !req.value(QLatin1String("obj")).isObject())
        return badParam;
    // The members a change may carry, the channel lists free in length.
    QJsonObject templ = aecMembers(0);
    for (const char *fixed : {"commArr", "gainDb", "groupId", "inverse", "mute"})
        templ.remove(QLatin1String(fixed));
    templ.insert(QStringLiteral("nearArr"), QJsonArray());
    QJsonValue changes;
    if (!conform(QString(), templ, req.value(QLatin1String("obj")), &changes, true))
        return badParam;
    const QJsonObject obj = changes.toObject();
    for (const char *list : {"nearArr", "farArr"})
        for (const QJsonValue &ch : obj.value(QLatin1String(list)).toArray())
            if (ch.toString().toInt() >= m_layout.inputs)
                return badParam;
    Port &port = m_nodes[a.node].ports[a.port];
    port.members = merged(port.members, obj);
    return QString();
}
