#include "core/dsp/dspofflinesink.h"

#include "core/dsp/dspdefaults.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QMetaObject>

#include <algorithm>
#include <cmath>
#include <optional>

namespace {

const char kBadParam[] = "bad param";

/// A member the way requests carry numbers: a decimal string (or, leniently, a JSON number).
std::optional<double> number(const QJsonObject &o, const char *key)
{
    const QJsonValue v = o.value(QLatin1String(key));
    if (v.isDouble())
        return v.toDouble();
    bool ok = false;
    const double d = v.toString().toDouble(&ok);
    if (!ok || !std::isfinite(d))
        return std::nullopt;
    return d;
}

std::optional<int> index(const QJsonObject &o, const char *key, int below)
{
    const auto d = number(o, key);
    if (!d || *d != std::floor(*d) || *d < 0 || *d >= below)
        return std::nullopt;
    return int(*d);
}

std::optional<bool> flag(const QJsonObject &o, const char *key)
{
    const QString s = o.value(QLatin1String(key)).toString();
    if (s == QLatin1String("1"))
        return true;
    if (s == QLatin1String("0"))
        return false;
    return std::nullopt;
}

int nodeOfType(const CDeviceDspData &doc, int type)
{
    for (int i = 1; i + 1 < doc.nodeArr.size(); ++i)
        if (doc.nodeArr[i].type == type)
            return i;
    return -1;
}

/// Gives the echo-cancellation or automixer node that many channels: channels that stay keep their settings,
/// new ones take the defaults, 0 removes the node. Echo cancellation sits first after the inputs.
void resizeNode(CDeviceDspData &doc, int type, int count)
{
    int at = nodeOfType(doc, type);
    if (count == 0) {
        if (at >= 0)
            doc.nodeArr.remove(at);
        return;
    }
    if (at < 0) {
        DspNode n;
        n.type = type;
        at = type == DspNode::Automixer && nodeOfType(doc, DspNode::EchoCancel) == 1 ? 2 : 1;
        doc.nodeArr.insert(at, n);
    }
    DspNode &n = doc.nodeArr[at];
    while (n.portArr.size() > count)
        n.portArr.removeLast();
    while (n.portArr.size() < count)
        n.portArr.append(type == DspNode::EchoCancel ? DspDefaults::aecChannel(n.portArr.size())
                                                     : DspDefaults::channel());
    if (type == DspNode::Automixer) {
        if (n.automixer.maskArr.isEmpty() && n.automixer.chNumLimit == 0)
            n.automixer = DspDefaults::automixer(count);
        const int had = n.automixer.maskArr.size();
        n.automixer.maskArr.resize(count);
        for (int c = had; c < count; ++c)
            n.automixer.maskArr[c] = true;
        n.automixer.chNumLimit = std::min(n.automixer.chNumLimit, count);
    }
}

bool setConfig(CDeviceDspData &doc, const QJsonObject &req)
{
    const QJsonArray inArr = req.value(QLatin1String("inArr")).toArray();
    const QJsonArray outArr = req.value(QLatin1String("outArr")).toArray();
    if (!doc.isLoaded() || inArr.size() != doc.inChNum() || outArr.size() != doc.outChNum())
        return false;
    CDeviceDspData next = doc;
    for (const auto &[key, type] :
         {std::pair{"aecChNum", int(DspNode::EchoCancel)}, std::pair{"autoMixerChNum", int(DspNode::Automixer)}}) {
        if (!req.contains(QLatin1String(key)))
            continue;
        const auto count = index(req, key, doc.inChNum() + 1);
        if (!count)
            return false;
        resizeNode(next, type, *count);
    }
    // The chains go through the document's own reader, which checks every block as a loaded document's.
    QJsonObject config = QJsonDocument::fromJson(next.toJson()).object();
    QJsonArray nodes = config.value(QLatin1String("nodeArr")).toArray();
    const int last = nodes.size() - 1;
    for (const auto &[nodeId, chains] : {std::pair{0, inArr}, std::pair{last, outArr}}) {
        QJsonObject node = nodes[nodeId].toObject();
        QJsonArray ports = node.value(QLatin1String("portArr")).toArray();
        for (int c = 0; c < ports.size(); ++c) {
            const QJsonValue procArr = chains[c].toObject().value(QLatin1String("procArr"));
            if (!procArr.isArray())
                return false;
            QJsonObject port = ports[c].toObject();
            port.insert(QLatin1String("procArr"), procArr);
            ports[c] = port;
        }
        node.insert(QLatin1String("portArr"), ports);
        nodes[nodeId] = node;
    }
    config.insert(QLatin1String("nodeArr"), nodes);
    if (!next.loadConfig(config).ok())
        return false;
    doc = next;
    return true;
}

bool setMatrixCell(CDeviceDspData &doc, const QJsonObject &req)
{
    const auto nodeId = index(req, "nodeId", doc.nodeArr.size());
    if (!nodeId || doc.nodeArr[*nodeId].type != DspNode::Matrix)
        return false;
    DspMatrix &m = doc.nodeArr[*nodeId].matrix;
    // Plain ints, -1 for none: GCC's optimiser takes an optional read through a ternary for uninitialised.
    const int out = index(req, "outIndex", m.gainArr.size()).value_or(-1);
    const int in = out < 0 ? -1 : index(req, "inIndex", m.gainArr[out].size()).value_or(-1);
    const auto gain = number(req, "gainDb");
    const auto mute = flag(req, "mute");
    if (in < 0 || !gain || *gain < -100 || *gain > 12 || !mute || out >= m.muteArr.size() ||
        in >= m.muteArr[out].size())
        return false;
    m.gainArr[out][in] = *gain;
    m.muteArr[out][in] = *mute;
    return true;
}

bool setAecChannel(CDeviceDspData &doc, const QJsonObject &req)
{
    const auto nodeId = index(req, "nodeId", doc.nodeArr.size());
    if (!nodeId || doc.nodeArr[*nodeId].type != DspNode::EchoCancel)
        return false;
    const auto port = index(req, "portIndex", doc.nodeArr[*nodeId].portArr.size());
    if (!port)
        return false;
    DspChannel c = doc.nodeArr[*nodeId].portArr[*port];
    const QJsonObject obj = req.value(QLatin1String("obj")).toObject();
    for (auto it = obj.begin(); it != obj.end(); ++it) {
        const QByteArray key = it.key().toLatin1();
        if (key == "aecLevel" || key == "ansLevel") {
            const auto level = index(obj, key.constData(), 11);
            if (!level)
                return false;
            (key == "aecLevel" ? c.aecLevel : c.ansLevel) = *level;
        } else if (key == "farArr" || key == "nearArr") {
            QVector<int> list;
            for (const QJsonValue &v : it.value().toArray()) {
                const auto input = index(QJsonObject{{QStringLiteral("v"), v}}, "v", doc.inChNum());
                if (!input)
                    return false;
                list.append(*input);
            }
            (key == "farArr" ? c.farArr : c.nearArr) = list;
        } else if (key == "hasAec" || key == "hasAgc" || key == "hasAns") {
            const auto on = flag(obj, key.constData());
            if (!on)
                return false;
            (key == "hasAec" ? c.hasAec : key == "hasAgc" ? c.hasAgc : c.hasAns) = *on;
        } else {
            return false;
        }
    }
    doc.nodeArr[*nodeId].portArr[*port] = c;
    return true;
}

QString compact(const QJsonObject &o)
{
    return QString::fromUtf8(QJsonDocument(o).toJson(QJsonDocument::Compact));
}

} // namespace

DspOfflineSink::DspOfflineSink(const CDeviceDspData &doc, QObject *parent)
    : QObject(parent)
    , m_doc(doc)
{}

void DspOfflineSink::sendTcp(const QString &request)
{
    const QString reply = answer(m_doc, request);
    QMetaObject::invokeMethod(
        this, [this, reply] { emit signal_reply(reply); }, Qt::QueuedConnection);
}

void DspOfflineSink::sendUdp(const QString &, quint16) {}

QString DspOfflineSink::answer(CDeviceDspData &doc, const QString &request)
{
    const QJsonObject req = QJsonDocument::fromJson(request.toUtf8()).object();
    const QString ops = req.value(QLatin1String("ops")).toString();
    if (ops == QLatin1String("getConfig"))
        return QString::fromUtf8("{\"config\":" + doc.toJson() +
                                 ",\"ops\":\"getConfig\",\"result\":\"succ\",\"uiTag\":\"dspUiTag\"}");

    QJsonObject reply{{QStringLiteral("ops"), ops}, {QStringLiteral("uiTag"), req.value(QLatin1String("uiTag"))}};
    if (req.contains(QLatin1String("blockFlag")))
        reply.insert(QStringLiteral("blockFlag"), req.value(QLatin1String("blockFlag")));
    bool known = true;
    bool ok = false;
    if (ops == QLatin1String("setConfig")) {
        ok = setConfig(doc, req);
    } else if (ops == QLatin1String("setMatrixCell")) {
        ok = setMatrixCell(doc, req);
    } else if (ops == QLatin1String("setAecChannel")) {
        ok = setAecChannel(doc, req);
    } else if (ops.startsWith(QLatin1String("setBorder")) || ops == QLatin1String("setNodeData") ||
               ops == QLatin1String("setGain") || ops == QLatin1String("setMute") ||
               ops == QLatin1String("setInverse") || ops == QLatin1String("setGroupId")) {
        ok = doc.apply(req);
        if (ok && req.contains(QLatin1String("val")))
            reply.insert(QStringLiteral("val"), req.value(QLatin1String("val")));
    } else {
        known = false;
    }
    reply.insert(QStringLiteral("result"), ok ? QStringLiteral("succ") : QStringLiteral("fail"));
    if (!ok)
        reply.insert(QStringLiteral("reason"), known ? QLatin1String(kBadParam) : QLatin1String("unknown ops"));
    return compact(reply);
}
