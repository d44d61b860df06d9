#include "core/dsp/dspcommands.h"

#include "core/dsp/cdevicedspdata.h"
#include "core/dsp/dspcodec.h"
#include "core/dsp/dspjsonwriter.h"

#include <QJsonDocument>

namespace {

// One request; the caller writes the members in ascending name order, "ops" and "uiTag" among them.
class Request
{
public:
    Request()
        : w(&out)
    {
        w.beginObject();
    }

    DspJsonWriter &writer() { return w; }
    void text(const char *name, const QString &value)
    {
        w.key(name);
        w.text(value);
    }
    void integer(const char *name, int value)
    {
        w.key(name);
        w.integer(value);
    }
    void address(const DspBlockAddress &at, const char *after = nullptr);
    void ops(const char *name)
    {
        w.key("ops");
        w.text(name);
    }
    void uiTag()
    {
        w.key("uiTag");
        w.text("dspUiTag");
    }
    QString done()
    {
        w.endObject();
        return QString::fromUtf8(out);
    }

private:
    QByteArray out;
    DspJsonWriter w;
};

void writeChains(DspJsonWriter &w, const QVector<QVector<DspBlock>> &chains)
{
    w.beginArray();
    for (const QVector<DspBlock> &chain : chains) {
        w.beginObject();
        w.key("procArr");
        DspCodec::writeChain(w, chain);
        w.endObject();
    }
    w.endArray();
}

QVector<QVector<DspBlock>> chainsOf(const DspNode *node)
{
    QVector<QVector<DspBlock>> chains;
    if (node)
        for (const DspChannel &c : node->portArr)
            chains.append(c.procArr);
    return chains;
}

// The block-addressed requests share one shape: blockFlag, nodeId, [obj], ops, portIndex, procIndex, uiTag, [val].
QString blockRequest(const char *ops, const QString &blockFlag, const DspBlockAddress &at, const DspBlock *obj,
                     const char *val)
{
    Request r;
    r.text("blockFlag", blockFlag);
    r.integer("nodeId", at.nodeId);
    if (obj) {
        r.writer().key("obj");
        DspCodec::writeBlockObj(r.writer(), *obj);
    }
    r.ops(ops);
    r.integer("portIndex", at.portIndex);
    r.integer("procIndex", at.procIndex);
    r.uiTag();
    if (val) {
        r.writer().key("val");
        r.writer().text(val);
    }
    return r.done();
}

// One band of an equaliser block: blockFlag, eqIndex, nodeId, [obj], ops, portIndex, procIndex, uiTag, [val].
// The band's bypass travels apart from its values, as the device keeps it in an array of its own.
QString eqRequest(const char *ops, const QString &blockFlag, const DspBlockAddress &at, int eqIndex,
                  const DspEqBand *band, const char *val)
{
    Request r;
    r.text("blockFlag", blockFlag);
    r.integer("eqIndex", eqIndex);
    r.integer("nodeId", at.nodeId);
    if (band) {
        DspJsonWriter &w = r.writer();
        w.key("obj");
        w.beginObject(&band->extra);
        w.key("dbGain");
        w.real(double(band->dbGain));
        w.key("freq0");
        w.real(band->freq0);
        w.key("qBwS");
        w.real(band->qBwS);
        w.key("type");
        w.integer(band->type);
        w.endObject();
    }
    r.ops(ops);
    r.integer("portIndex", at.portIndex);
    r.integer("procIndex", at.procIndex);
    r.uiTag();
    if (val) {
        r.writer().key("val");
        r.writer().text(val);
    }
    return r.done();
}

QString channelRequest(const char *ops, int nodeId, int portIndex, const QByteArray &val)
{
    Request r;
    r.integer("nodeId", nodeId);
    r.ops(ops);
    r.integer("portIndex", portIndex);
    r.uiTag();
    r.writer().key("val");
    r.writer().text(val.constData());
    return r.done();
}

QString bare(const char *ops)
{
    Request r;
    r.ops(ops);
    r.uiTag();
    return r.done();
}

QString setConfigWith(const QVector<QVector<DspBlock>> &inChains, const QVector<QVector<DspBlock>> &outChains,
                      int aecChNum, int autoMixerChNum, int index);

std::optional<double> number(const QJsonValue &v)
{
    bool ok = false;
    const double d = v.toString().toDouble(&ok);
    return ok ? std::optional<double>(d) : std::nullopt;
}

} // namespace

QString DspCommands::blockFlag(bool outputSide, int channel, int procIndex)
{
    return QLatin1String(outputSide ? "bf_out_ch_" : "bf_in_ch_") + QString::number(channel) + QLatin1Char('_') +
           QString::number(procIndex);
}

QString DspCommands::getConfig()
{
    return bare("getConfig");
}

QString DspCommands::setConfig(const CDeviceDspData &doc, int index)
{
    return setConfig(chainsOf(doc.node(0)), chainsOf(doc.isLoaded() ? doc.node(doc.outputNodeId()) : nullptr), index);
}

QString DspCommands::setConfig(const QVector<QVector<DspBlock>> &inChains, const QVector<QVector<DspBlock>> &outChains,
                               int index)
{
    return setConfigWith(inChains, outChains, -1, -1, index);
}

QString DspCommands::setConfig(const CDeviceDspData &doc, int aecChNum, int autoMixerChNum, int index)
{
    return setConfigWith(chainsOf(doc.node(0)), chainsOf(doc.isLoaded() ? doc.node(doc.outputNodeId()) : nullptr),
                         aecChNum, autoMixerChNum, index);
}

QString DspCommands::setMatrixCell(int nodeId, int output, int input, double gainDb, bool mute)
{
    Request r;
    r.writer().key("gainDb");
    r.writer().real(gainDb);
    r.integer("inIndex", input);
    r.writer().key("mute");
    r.writer().flag(mute);
    r.integer("nodeId", nodeId);
    r.ops("setMatrixCell");
    r.integer("outIndex", output);
    r.uiTag();
    return r.done();
}

QString DspCommands::getCpuUsage()
{
    return bare("getCpuUsage");
}

QString DspCommands::getVolumeDbBatch(bool outputs)
{
    return bare(outputs ? "getVolumeDbBatchOut" : "getVolumeDbBatchIn");
}

QString DspCommands::getDspStatus()
{
    return bare("getDspStatus");
}

QString DspCommands::getDspTemperature()
{
    return bare("getDspTemperature");
}

namespace {

QString setConfigWith(const QVector<QVector<DspBlock>> &inChains, const QVector<QVector<DspBlock>> &outChains,
                      int aecChNum, int autoMixerChNum, int index)
{
    Request r;
    if (aecChNum >= 0)
        r.integer("aecChNum", aecChNum);
    if (autoMixerChNum >= 0)
        r.integer("autoMixerChNum", autoMixerChNum);
    r.writer().key("inArr");
    writeChains(r.writer(), inChains);
    r.integer("index", index);
    r.ops("setConfig");
    r.writer().key("outArr");
    writeChains(r.writer(), outChains);
    r.uiTag();
    return r.done();
}

} // namespace

QString DspCommands::setBorderProc(const QString &blockFlag, const DspBlockAddress &at, const DspBlock &block)
{
    return blockRequest("setBorderProc", blockFlag, at, &block, nullptr);
}

QString DspCommands::setBorderProcBypass(const QString &blockFlag, const DspBlockAddress &at, bool bypass)
{
    return blockRequest("setBorderProcBypass", blockFlag, at, nullptr, bypass ? "1" : "0");
}

QString DspCommands::setBorderEq(const QString &blockFlag, const DspBlockAddress &at, int eqIndex,
                                 const DspEqBand &band)
{
    return eqRequest("setBorderEq", blockFlag, at, eqIndex, &band, nullptr);
}

QString DspCommands::setBorderEqBypass(const QString &blockFlag, const DspBlockAddress &at, int eqIndex, bool bypass)
{
    return eqRequest("setBorderEqBypass", blockFlag, at, eqIndex, nullptr, bypass ? "1" : "0");
}

QString DspCommands::getBorderProcStatus(const QString &blockFlag, const DspBlockAddress &at)
{
    return blockRequest("getBorderProcStatus", blockFlag, at, nullptr, nullptr);
}

QString DspCommands::setBorderProcGroupIdBatch(int nodeId, int procIndex, const QVector<int> &portArr, int groupId)
{
    Request r;
    r.integer("groupId", groupId);
    r.integer("nodeId", nodeId);
    r.ops("setBorderProcGroupIdBatch");
    r.writer().key("portArr");
    r.writer().beginArray();
    for (int p : portArr)
        r.writer().integer(p);
    r.writer().endArray();
    r.integer("procIndex", procIndex);
    r.uiTag();
    return r.done();
}

QString DspCommands::setNodeData(int nodeId, const DspNode &node)
{
    Request r;
    r.integer("nodeId", nodeId);
    r.writer().key("obj");
    DspCodec::writeNodeObj(r.writer(), node);
    r.ops("setNodeData");
    r.uiTag();
    return r.done();
}

QString DspCommands::setAecChannel(int nodeId, int portIndex, const DspChannel &c)
{
    Request r;
    r.integer("nodeId", nodeId);
    DspJsonWriter &w = r.writer();
    w.key("obj");
    w.beginObject();
    w.key("aecLevel");
    w.integer(c.aecLevel);
    w.key("ansLevel");
    w.integer(c.ansLevel);
    w.key("farArr");
    w.beginArray();
    for (int ch : c.farArr)
        w.integer(ch);
    w.endArray();
    w.key("hasAec");
    w.flag(c.hasAec);
    w.key("hasAgc");
    w.flag(c.hasAgc);
    w.key("hasAns");
    w.flag(c.hasAns);
    w.key("nearArr");
    w.beginArray();
    for (int ch : c.nearArr)
        w.integer(ch);
    w.endArray();
    w.endObject();
    r.ops("setAecChannel");
    r.integer("portIndex", portIndex);
    r.uiTag();
    return r.done();
}

QString DspCommands::setGain(int nodeId, int portIndex, double gainDb)
{
    return channelRequest("setGain", nodeId, portIndex, DspJsonWriter::formatReal(gainDb));
}

QString DspCommands::setMute(int nodeId, int portIndex, bool mute)
{
    return channelRequest("setMute", nodeId, portIndex, mute ? "1" : "0");
}

QString DspCommands::setInverse(int nodeId, int portIndex, bool inverse)
{
    return channelRequest("setInverse", nodeId, portIndex, inverse ? "1" : "0");
}

QString DspCommands::setGroupId(int nodeId, int portIndex, int groupId)
{
    return channelRequest("setGroupId", nodeId, portIndex, QByteArray::number(groupId));
}

QString DspCommands::addressedTo(const QString &request, const QString &devId)
{
    QJsonObject o = QJsonDocument::fromJson(request.toUtf8()).object();
    o.insert(QStringLiteral("devId"), devId);
    return QString::fromUtf8(QJsonDocument(o).toJson(QJsonDocument::Compact));
}

std::optional<Tx> DspCommands::failureTextOf(const QString &ops)
{
    static const struct
    {
        const char *ops;
        Tx text;
    } kTexts[] = {
        {"setBorderProc", Tx::DspSetFailed},     {"setBorderProcBypass", Tx::DspSetBypassFailed},
        {"setBorderEq", Tx::DspSetFailed},       {"setBorderEqBypass", Tx::DspSetFailed},
        {"setGain", Tx::DspSetGainFailed},       {"setMute", Tx::DspSetMuteFailed},
        {"setInverse", Tx::DspSetInverseFailed}, {"setGroupId", Tx::DspSetFailedRetry},
        {"setNodeData", Tx::DspSetFailedRetry},  {"setBorderProcGroupIdBatch", Tx::DspLinkFailed},
        {"setAecChannel", Tx::DspSetFailed},
    };
    for (const auto &t : kTexts)
        if (ops == QLatin1String(t.ops))
            return t.text;
    return std::nullopt;
}

Tx DspCommands::groupLinkText(bool succeeded, bool linking)
{
    return !succeeded ? Tx::DspLinkFailed : linking ? Tx::DspLinked : Tx::DspUnlinked;
}

DspCommands::Reply DspCommands::readReply(const QString &text)
{
    const QByteArray utf8 = text.toUtf8();
    QJsonObject o;
    if (!DspCodec::parseObject(utf8, &o))
        return Reply();
    return readReply(o);
}

DspCommands::Reply DspCommands::readReply(const QJsonObject &o)
{
    Reply r;
    r.ops = o.value(QLatin1String("ops")).toString();
    r.valid = !r.ops.isEmpty();
    if (!r.valid)
        return r;
    r.blockFlag = o.value(QLatin1String("blockFlag")).toString();
    r.succeeded = o.value(QLatin1String("result")).toString() == QLatin1String("succ");
    r.reason = o.value(QLatin1String("reason")).toString();
    r.val = number(o.value(QLatin1String("val")));
    const QJsonObject obj = o.value(QLatin1String("obj")).toObject();
    r.gain = number(obj.value(QLatin1String("gain")));
    if (obj.value(QLatin1String("isOpen")).isString())
        r.isOpen = DspCodec::toFlag(obj.value(QLatin1String("isOpen")).toString());
    if (!r.succeeded)
        r.failureText = failureTextOf(r.ops);
    return r;
}

namespace {

// Both edits start from the block as the document holds it.
bool startEdit(const CDeviceDspData &doc, const DspBlockAddress &at, DspCommands::Edit *e, QString *flag)
{
    const DspBlock *b = doc.block(at);
    *flag = doc.blockFlag(at);
    if (!b || flag->isEmpty()) {
        e->error = tx(Tx::DspNoSuchBlock).arg(at.nodeId).arg(at.portIndex).arg(at.procIndex);
        return false;
    }
    e->block = *b;
    return true;
}

} // namespace

DspCommands::Edit DspCommands::planSetBlock(const CDeviceDspData &doc, const DspBlockAddress &at, const QString &params)
{
    Edit e;
    QString flag;
    if (!startEdit(doc, at, &e, &flag))
        return e;
    if (!e.block.isKnownType()) {
        e.error = tx(Tx::DspUnknownBlockType).arg(e.block.type());
        return e;
    }
    const QByteArray utf8 = params.toUtf8();
    QJsonObject changes;
    if (!DspCodec::parseObject(utf8, &changes)) {
        e.error = tx(Tx::DspParamsNotObject);
        return e;
    }
    if (!DspCodec::mergeBlockObj(&e.block, changes, &e.error))
        return e;
    e.command = setBorderProc(flag, at, e.block);
    return e;
}

DspCommands::Edit DspCommands::planBypass(const CDeviceDspData &doc, const DspBlockAddress &at, const QString &value)
{
    Edit e;
    QString flag;
    if (!startEdit(doc, at, &e, &flag))
        return e;
    const QString v = value.trimmed();
    if (v != QLatin1String("0") && v != QLatin1String("1")) {
        e.error = tx(Tx::DspBypassValue);
        return e;
    }
    e.block.bypass = v == QLatin1String("1");
    e.command = setBorderProcBypass(flag, at, e.block.bypass);
    return e;
}
