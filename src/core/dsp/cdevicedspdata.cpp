#include "core/dsp/cdevicedspdata.h"

#include "core/app/log.h"
#include "core/app/texts.h"
#include "core/dsp/dspcodec.h"
#include "core/dsp/dspjsonwriter.h"

#include <QJsonArray>
#include <QJsonDocument>

#include <cmath>

namespace {

// Members of a request are checked strictly: a request the program built itself never fails these, and one
// that does must not move the document to the wrong place.
bool intMember(const QJsonObject &o, const char *name, int *out, QString *why)
{
    bool ok = false;
    const QJsonValue v = o.value(QLatin1String(name));
    const int i = v.isString() ? v.toString().toInt(&ok) : 0;
    if (ok)
        *out = i;
    else
        *why = tx(Tx::DspValueNotInteger).arg(QLatin1String(name));
    return ok;
}

bool realMember(const QJsonObject &o, const char *name, double *out, QString *why)
{
    bool ok = false;
    const QJsonValue v = o.value(QLatin1String(name));
    const double d = v.isString() ? v.toString().toDouble(&ok) : 0.0;
    ok = ok && std::isfinite(d);
    if (ok)
        *out = d;
    else
        *why = tx(Tx::DspValueNotNumber).arg(QLatin1String(name));
    return ok;
}

bool flagMember(const QJsonObject &o, const char *name, bool *out, QString *why)
{
    const QString v = o.value(QLatin1String(name)).toString();
    if (v != QLatin1String("0") && v != QLatin1String("1")) {
        *why = tx(Tx::DspValueNotFlag).arg(QLatin1String(name));
        return false;
    }
    *out = v == QLatin1String("1");
    return true;
}

} // namespace

CDeviceDspData::LoadResult CDeviceDspData::logged(const LoadResult &r)
{
    if (!r.ok())
        Log::line(QStringLiteral("DSP configuration not taken: ") + r.why);
    return r;
}

CDeviceDspData::LoadResult CDeviceDspData::loadReply(const QByteArray &text)
{
    QJsonObject reply;
    if (!DspCodec::parseObject(text, &reply))
        return logged({Load::NotJson,
                       QStringLiteral("the reply is not a JSON object, repeats a member name or holds a NUL byte")});
    return loadReply(reply);
}

CDeviceDspData::LoadResult CDeviceDspData::loadReply(const QJsonObject &reply)
{
    const QJsonValue ops = reply.value(QLatin1String("ops"));
    if (ops.toString() != QLatin1String("getConfig"))
        return logged({Load::OtherReply, QStringLiteral("not a getConfig reply")});
    const QJsonValue result = reply.value(QLatin1String("result"));
    if (result.toString() != QLatin1String("succ")) {
        return logged({Load::Refused, QStringLiteral("the device answered \"%1\" (%2)")
                                          .arg(result.toString(), reply.value(QLatin1String("reason")).toString())});
    }
    const QJsonValue config = reply.value(QLatin1String("config"));
    if (!config.isObject())
        return logged({Load::BadDocument, QStringLiteral("\"config\" missing or not an object")});
    return logged(take(config.toObject()));
}

CDeviceDspData::LoadResult CDeviceDspData::loadConfig(const QJsonObject &config)
{
    return logged(take(config));
}

CDeviceDspData::LoadResult CDeviceDspData::take(const QJsonObject &config)
{
    const QJsonValue nodes = config.value(QLatin1String("nodeArr"));
    if (nodes.isArray() && nodes.toArray().size() < 3) {
        return {Load::TooFewNodes,
                QStringLiteral("%1 nodes; inputs, matrix and outputs are needed").arg(nodes.toArray().size())};
    }
    CDeviceDspData fresh;
    QString why;
    if (!DspCodec::readConfig(config, &fresh, &why))
        return {Load::BadDocument, why};
    // Chains, block tags and channel counts all hang on the first and the last node holding channels.
    if (fresh.nodeArr.first().type != DspNode::Channels || fresh.nodeArr.last().type != DspNode::Channels)
        return {Load::BadDocument, QStringLiteral("the first and the last node must be channel nodes (type 0)")};
    *this = std::move(fresh);
    return {};
}

QByteArray CDeviceDspData::toJson() const
{
    QByteArray out;
    // About what a document of this size takes, so the text is rarely copied while it grows.
    int blocks = 0;
    for (const DspNode &n : nodeArr)
        for (const DspChannel &c : n.portArr)
            blocks += c.procArr.size();
    out.reserve(4096 + blocks * 512);
    DspJsonWriter w(&out);
    DspCodec::writeConfig(w, *this);
    return out;
}

DspNode *CDeviceDspData::node(int nodeId)
{
    return nodeId >= 0 && nodeId < nodeArr.size() ? &nodeArr[nodeId] : nullptr;
}

const DspNode *CDeviceDspData::node(int nodeId) const
{
    return nodeId >= 0 && nodeId < nodeArr.size() ? &nodeArr[nodeId] : nullptr;
}

DspChannel *CDeviceDspData::channel(int nodeId, int portIndex)
{
    DspNode *n = node(nodeId);
    return n && portIndex >= 0 && portIndex < n->portArr.size() ? &n->portArr[portIndex] : nullptr;
}

const DspChannel *CDeviceDspData::channel(int nodeId, int portIndex) const
{
    const DspNode *n = node(nodeId);
    return n && portIndex >= 0 && portIndex < n->portArr.size() ? &n->portArr[portIndex] : nullptr;
}

DspBlock *CDeviceDspData::block(const DspBlockAddress &at)
{
    DspChannel *c = channel(at.nodeId, at.portIndex);
    return c && at.procIndex >= 0 && at.procIndex < c->procArr.size() ? &c->procArr[at.procIndex] : nullptr;
}

const DspBlock *CDeviceDspData::block(const DspBlockAddress &at) const
{
    const DspChannel *c = channel(at.nodeId, at.portIndex);
    return c && at.procIndex >= 0 && at.procIndex < c->procArr.size() ? &c->procArr[at.procIndex] : nullptr;
}

QString CDeviceDspData::blockFlag(const DspBlockAddress &at) const
{
    if (!block(at))
        return QString();
    const char *side = at.nodeId == 0 ? "bf_in_ch_" : at.nodeId == outputNodeId() ? "bf_out_ch_" : nullptr;
    if (!side)
        return QString();
    return QLatin1String(side) + QString::number(at.portIndex) + QLatin1Char('_') + QString::number(at.procIndex);
}

bool CDeviceDspData::applyEqBand(DspBlock *b, const QJsonObject &request, QString *why)
{
    int band = -1;
    if (!intMember(request, "eqIndex", &band, why))
        return false;
    DspEq *eq = b->as<DspEq>();
    if (!eq || band < 0 || band >= eq->bands.size()) {
        *why = tx(Tx::DspNoSuchSideChannel).arg(tx(Tx::DspKindEqBand) + QLatin1Char(' ') + QString::number(band + 1));
        return false;
    }
    if (request.value(QLatin1String("ops")).toString() == QLatin1String("setBorderEqBypass"))
        return flagMember(request, "val", &eq->bands[band].bypass, why);
    const QJsonValue obj = request.value(QLatin1String("obj"));
    if (!obj.isObject()) {
        *why = tx(Tx::DspParamsNotObject);
        return false;
    }
    // The band goes through the block's own reader, so its checks and rounding are the same as for a whole block.
    QJsonArray bands;
    for (int i = 0; i < eq->bands.size(); ++i)
        bands.append(i == band ? obj : QJsonValue(QJsonObject()));
    return DspCodec::mergeBlockObj(b, QJsonObject{{QStringLiteral("eqArr"), bands}}, why, true);
}

bool CDeviceDspData::apply(const QString &request, QString *why)
{
    const QByteArray text = request.toUtf8();
    QJsonObject o;
    if (!DspCodec::parseObject(text, &o)) {
        if (why)
            *why = tx(Tx::DspParamsNotObject);
        return false;
    }
    return apply(o, why);
}

bool CDeviceDspData::apply(const QJsonObject &request, QString *why)
{
    QString error;
    QString *e = why ? why : &error;
    e->clear();
    const QString ops = request.value(QLatin1String("ops")).toString();
    DspBlockAddress at;
    if (!intMember(request, "nodeId", &at.nodeId, e))
        return false;
    DspNode *n = node(at.nodeId);
    if (!n) {
        *e = tx(Tx::DspNoSuchNode).arg(at.nodeId);
        return false;
    }

    if (ops == QLatin1String("setNodeData")) {
        const QJsonValue obj = request.value(QLatin1String("obj"));
        if (!obj.isObject()) {
            *e = tx(Tx::DspParamsNotObject);
            return false;
        }
        return DspCodec::mergeNodeObj(n, obj.toObject(), e, true);
    }

    if (ops == QLatin1String("setBorderProcGroupIdBatch")) {
        int groupId = -1;
        if (!intMember(request, "procIndex", &at.procIndex, e) || !intMember(request, "groupId", &groupId, e))
            return false;
        const QJsonValue ports = request.value(QLatin1String("portArr"));
        if (!ports.isArray()) {
            *e = tx(Tx::DspValueNotArray).arg(QStringLiteral("portArr"));
            return false;
        }
        // Every listed block is checked before any changes, so a bad list leaves the document as it was.
        QVector<DspBlock *> blocks;
        for (const QJsonValue &p : ports.toArray()) {
            bool ok = false;
            at.portIndex = p.toString().toInt(&ok);
            DspBlock *b = ok ? block(at) : nullptr;
            if (!b) {
                *e = tx(Tx::DspNoSuchBlock).arg(at.nodeId).arg(p.toString()).arg(at.procIndex);
                return false;
            }
            blocks.append(b);
        }
        for (DspBlock *b : blocks)
            b->groupId = groupId;
        return true;
    }

    if (!intMember(request, "portIndex", &at.portIndex, e))
        return false;

    if (ops == QLatin1String("setBorderProc") || ops == QLatin1String("setBorderProcBypass")
        || ops == QLatin1String("setBorderEq") || ops == QLatin1String("setBorderEqBypass")) {
        if (!intMember(request, "procIndex", &at.procIndex, e))
            return false;
        DspBlock *b = block(at);
        if (!b) {
            *e = tx(Tx::DspNoSuchBlock).arg(at.nodeId).arg(at.portIndex).arg(at.procIndex);
            return false;
        }
        if (ops == QLatin1String("setBorderProcBypass"))
            return flagMember(request, "val", &b->bypass, e);
        if (ops.startsWith(QLatin1String("setBorderEq")))
            return applyEqBand(b, request, e);
        const QJsonValue obj = request.value(QLatin1String("obj"));
        if (!obj.isObject()) {
            *e = tx(Tx::DspParamsNotObject);
            return false;
        }
        return DspCodec::mergeBlockObj(b, obj.toObject(), e, true);
    }

    DspChannel *c = channel(at.nodeId, at.portIndex);
    if (!c) {
        *e = tx(Tx::DspNoSuchChannel).arg(at.nodeId).arg(at.portIndex);
        return false;
    }
    if (ops == QLatin1String("setGain"))
        return realMember(request, "val", &c->gainDb, e);
    if (ops == QLatin1String("setMute"))
        return flagMember(request, "val", &c->mute, e);
    if (ops == QLatin1String("setInverse"))
        return flagMember(request, "val", &c->inverse, e);
    if (ops == QLatin1String("setGroupId"))
        return intMember(request, "val", &c->groupId, e);
    *e = tx(Tx::DspNotAChange).arg(ops);
    return false;
}
