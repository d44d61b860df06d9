#include "core/dsp/dspcodec.h"

#include "core/app/texts.h"
#include "core/dsp/cdevicedspdata.h"
#include "core/dsp/dspmembers.h"
#include "core/dsp/dspjsonwriter.h"

namespace {

using namespace DspMembers;

// Writes records through their member lists. The lists take non-const references so that one list serves all
// three walkers; this one only reads.
class WriteMembers
{
public:
    explicit WriteMembers(DspJsonWriter &w)
        : w(w)
    {}

    void text(const char *n, const QString &v)
    {
        w.key(n);
        w.text(v);
    }
    void integer(const char *n, int v)
    {
        w.key(n);
        w.integer(v);
    }
    void real(const char *n, double v)
    {
        w.key(n);
        w.real(v);
    }
    void flag(const char *n, bool v)
    {
        w.key(n);
        w.flag(v);
    }
    void integers(const char *n, const QVector<int> &v)
    {
        w.key(n);
        list(v, &DspJsonWriter::integer);
    }
    void reals(const char *n, const QVector<double> &v)
    {
        w.key(n);
        list(v, &DspJsonWriter::real);
    }
    void flags(const char *n, const QVector<bool> &v)
    {
        w.key(n);
        list(v, &DspJsonWriter::flag);
    }
    void realRows(const char *n, const QVector<QVector<double>> &v)
    {
        w.key(n);
        w.beginArray();
        for (const QVector<double> &row : v)
            list(row, &DspJsonWriter::real);
        w.endArray();
    }
    void flagRows(const char *n, const QVector<QVector<bool>> &v)
    {
        w.key(n);
        w.beginArray();
        for (const QVector<bool> &row : v)
            list(row, &DspJsonWriter::flag);
        w.endArray();
    }
    void json(const char *n, const QJsonArray &v)
    {
        w.key(n);
        w.value(v);
    }
    void blocks(const char *n, const QVector<DspBlock> &v)
    {
        w.key(n);
        DspCodec::writeChain(w, v);
    }
    void bandBypass(const char *n, const QVector<DspEqBand> &bands)
    {
        w.key(n);
        w.beginArray();
        for (const DspEqBand &b : bands)
            w.flag(b.bypass);
        w.endArray();
    }
    void bands(const char *n, const QVector<DspEqBand> &bands)
    {
        w.key(n);
        w.beginArray();
        for (const DspEqBand &b : bands) {
            w.beginObject(&b.extra);
            members(*this, const_cast<DspEqBand &>(b));
            w.endObject();
        }
        w.endArray();
    }

private:
    template <class T, class Arg> void list(const QVector<T> &v, void (DspJsonWriter::*write)(Arg))
    {
        w.beginArray();
        for (const T &x : v)
            (w.*write)(x);
        w.endArray();
    }

    DspJsonWriter &w;
};

} // namespace

namespace DspCodec {

void writeBlockObj(DspJsonWriter &w, const DspBlock &block)
{
    w.beginObject(&block.objExtra);
    WriteMembers m(w);
    visitParams(m, const_cast<DspBlockParams &>(block.obj));
    w.endObject();
}

void writeBlock(DspJsonWriter &w, const DspBlock &block)
{
    w.beginObject(&block.extra);
    w.key("bypass");
    w.flag(block.bypass);
    w.key("core");
    w.integer(block.core);
    w.key("groupId");
    w.integer(block.groupId);
    w.key("obj");
    writeBlockObj(w, block);
    w.key("type");
    w.integer(block.type());
    w.endObject();
}

void writeChain(DspJsonWriter &w, const QVector<DspBlock> &procArr)
{
    w.beginArray();
    for (const DspBlock &b : procArr)
        writeBlock(w, b);
    w.endArray();
}

void writeNodeObj(DspJsonWriter &w, const DspNode &node)
{
    w.beginObject(&node.objExtra);
    WriteMembers m(w);
    if (node.type == DspNode::Matrix)
        members(m, const_cast<DspMatrix &>(node.matrix));
    else if (node.type == DspNode::Automixer)
        members(m, const_cast<DspAutomixer &>(node.automixer));
    w.endObject();
}

void writeConfig(DspJsonWriter &w, const CDeviceDspData &doc)
{
    WriteMembers m(w);
    w.beginObject(&doc.extra);
    m.text("customStr", doc.customStr);
    w.key("groupArr");
    w.beginArray();
    for (const DspGroup &g : doc.groupArr) {
        w.beginObject(&g.extra);
        members(m, const_cast<DspGroup &>(g));
        w.endObject();
    }
    w.endArray();
    w.key("nodeArr");
    w.beginArray();
    for (const DspNode &n : doc.nodeArr) {
        w.beginObject(&n.extra);
        w.key("obj");
        writeNodeObj(w, n);
        w.key("portArr");
        if (n.hasChannels()) {
            w.beginArray();
            for (const DspChannel &c : n.portArr) {
                w.beginObject(&c.extra);
                members(m, const_cast<DspChannel &>(c), n.type);
                w.endObject();
            }
            w.endArray();
        } else {
            w.value(n.rawPorts);
        }
        w.key("portNum");
        w.integer(n.portNum());
        w.key("type");
        w.integer(n.type);
        w.endObject();
    }
    w.endArray();
    m.integer("sampleRate", doc.sampleRate);
    m.text("version", doc.version);
    w.endObject();
}

} // namespace DspCodec
