#include "core/dsp/dspcodec.h"

#include "core/app/texts.h"
#include "core/dsp/cdevicedspdata.h"
#include "core/dsp/dspmembers.h"
#include "core/protocol/jsonintake.h"

#include <QVarLengthArray>

#include <cfloat>
#include <climits>
#include <cmath>

namespace {

using namespace DspMembers;

// Where the reader is in the document, for the message that says why a document was refused.
class Intake
{
public:
    void push(const char *name, int index) { path.append({name, index}); }
    void pop() { path.removeLast(); }

    void fail(const QString &what)
    {
        if (failed)
            return;
        failed = true;
        QString where;
        for (const Step &s : path) {
            if (s.name) {
                if (!where.isEmpty())
                    where += QLatin1Char('.');
                where += QLatin1String(s.name);
            }
            if (s.index >= 0)
                where += QLatin1Char('[') + QString::number(s.index) + QLatin1Char(']');
        }
        why = where.isEmpty() ? what : where + QLatin1String(": ") + what;
    }

    bool failed = false;
    QString why;

private:
    struct Step
    {
        const char *name;
        int index;
    };
    QVarLengthArray<Step, 12> path;
};

class Scope
{
public:
    Scope(Intake &in, const char *name, int index = -1)
        : in(in)
    {
        in.push(name, index);
    }
    ~Scope() { in.pop(); }
    Scope(const Scope &) = delete;
    Scope &operator=(const Scope &) = delete;

private:
    Intake &in;
};

void readBlockInto(const QJsonObject &o, DspBlock &b, Intake &in);
void readBlocks(const QJsonArray &a, QVector<DspBlock> &v, Intake &in);

// Reads what a device wrote: every member present, every scalar a string.
class StrictReader
{
public:
    StrictReader(const QJsonObject &o, Intake &in)
        : o(o)
        , in(in)
    {}

    void text(const char *n, QString &v)
    {
        QJsonValue x;
        if (scalar(n, &x))
            v = x.toString();
    }
    void integer(const char *n, int &v)
    {
        QJsonValue x;
        if (scalar(n, &x))
            v = DspCodec::toInt(x.toString());
    }
    void real(const char *n, double &v)
    {
        QJsonValue x;
        if (scalar(n, &x))
            v = DspCodec::toReal(x.toString());
    }
    void real(const char *n, float &v)
    {
        QJsonValue x;
        if (scalar(n, &x))
            v = float(checkedFloat(DspCodec::toReal(x.toString())));
    }
    void flag(const char *n, bool &v)
    {
        QJsonValue x;
        if (scalar(n, &x))
            v = DspCodec::toFlag(x.toString());
    }
    void integers(const char *n, QVector<int> &v) { list(n, v, DspCodec::toInt); }
    void reals(const char *n, QVector<double> &v) { list(n, v, DspCodec::toReal); }
    void flags(const char *n, QVector<bool> &v) { list(n, v, DspCodec::toFlag); }
    void realRows(const char *n, QVector<QVector<double>> &v) { rows(n, v, DspCodec::toReal); }
    void flagRows(const char *n, QVector<QVector<bool>> &v) { rows(n, v, DspCodec::toFlag); }
    void json(const char *n, QJsonArray &v) { array(n, &v); }

    void blocks(const char *n, QVector<DspBlock> &v)
    {
        QJsonArray a;
        if (!array(n, &a))
            return;
        Scope s(in, n);
        readBlocks(a, v, in);
    }

    void bandBypass(const char *n, QVector<DspEqBand> &bands)
    {
        QJsonArray a;
        if (!array(n, &a))
            return;
        Scope s(in, n);
        bands.resize(a.size());
        for (int i = 0; i < a.size(); ++i) {
            const QJsonValue e = a.at(i);
            if (!e.isString()) {
                Scope at(in, nullptr, i);
                in.fail(QStringLiteral("not a string"));
                return;
            }
            bands[i].bypass = DspCodec::toFlag(e.toString());
        }
    }

    void bands(const char *n, QVector<DspEqBand> &bands)
    {
        QJsonArray a;
        if (!array(n, &a))
            return;
        Scope s(in, n);
        if (a.size() != bands.size()) {
            in.fail(QStringLiteral("%1 bands but %2 bypass flags").arg(a.size()).arg(bands.size()));
            return;
        }
        for (int i = 0; i < a.size() && !in.failed; ++i) {
            Scope at(in, nullptr, i);
            const QJsonValue e = a.at(i);
            if (!e.isObject()) {
                in.fail(QStringLiteral("a band must be an object"));
                return;
            }
            const QJsonObject band = e.toObject();
            StrictReader r(band, in);
            members(r, bands[i]);
            r.finish(&bands[i].extra);
        }
    }

    bool object(const char *n, QJsonObject *out)
    {
        QJsonValue x;
        if (!take(n, &x))
            return false;
        if (!x.isObject()) {
            fail(n, "not an object");
            return false;
        }
        *out = x.toObject();
        return true;
    }

    bool array(const char *n, QJsonArray *out)
    {
        QJsonValue x;
        if (!take(n, &x))
            return false;
        if (!x.isArray()) {
            fail(n, "not an array");
            return false;
        }
        *out = x.toArray();
        return true;
    }

    /// Keeps the members no list named. Every listed member had to be there, so a count tells whether any is
    /// left, and the documents that have none (all a device writes) cost nothing more.
    void finish(QJsonObject *extra)
    {
        if (in.failed || o.size() <= found)
            return;
        for (auto it = o.constBegin(); it != o.constEnd(); ++it) {
            const QString k = it.key();
            bool known = false;
            for (int i = 0; i < found && !known; ++i)
                known = k == QLatin1String(names[i]);
            if (!known)
                extra->insert(k, it.value());
        }
    }

private:
    bool take(const char *n, QJsonValue *x)
    {
        if (in.failed)
            return false;
        *x = o.value(QLatin1String(n));
        if (x->isUndefined()) {
            fail(n, "missing");
            return false;
        }
        names.append(n);
        ++found;
        return true;
    }

    bool scalar(const char *n, QJsonValue *x)
    {
        if (!take(n, x))
            return false;
        if (!x->isString()) {
            fail(n, "not a string");
            return false;
        }
        return true;
    }

    template <class T> bool fillList(const QJsonArray &a, QVector<T> &v, T (*convert)(const QString &))
    {
        v.resize(a.size());
        for (int i = 0; i < a.size(); ++i) {
            const QJsonValue e = a.at(i);
            if (!e.isString()) {
                Scope at(in, nullptr, i);
                in.fail(QStringLiteral("not a string"));
                return false;
            }
            v[i] = convert(e.toString());
        }
        return true;
    }

    template <class T> void list(const char *n, QVector<T> &v, T (*convert)(const QString &))
    {
        QJsonArray a;
        if (!array(n, &a))
            return;
        Scope s(in, n);
        fillList(a, v, convert);
    }

    template <class T> void rows(const char *n, QVector<QVector<T>> &v, T (*convert)(const QString &))
    {
        QJsonArray a;
        if (!array(n, &a))
            return;
        Scope s(in, n);
        v.resize(a.size());
        for (int i = 0; i < a.size(); ++i) {
            Scope at(in, nullptr, i);
            const QJsonValue e = a.at(i);
            if (!e.isArray()) {
                in.fail(QStringLiteral("not an array"));
                return;
            }
            if (!fillList(e.toArray(), v[i], convert))
                return;
        }
    }

    void fail(const char *n, const char *what)
    {
        in.fail(QLatin1Char('"') + QLatin1String(n) + QLatin1String("\" ") + QLatin1String(what));
    }

    const QJsonObject &o;
    Intake &in;
    QVarLengthArray<const char *, 16> names;
    int found = 0;
};

void readBlockInto(const QJsonObject &o, DspBlock &b, Intake &in)
{
    StrictReader r(o, in);
    int type = 0;
    QJsonObject obj;
    r.flag("bypass", b.bypass);
    r.integer("core", b.core);
    r.integer("groupId", b.groupId);
    r.object("obj", &obj);
    r.integer("type", type);
    r.finish(&b.extra);
    if (in.failed)
        return;
    setType(b.obj, type);
    if (!b.isKnownType()) {
        b.objExtra = obj;
        return;
    }
    Scope s(in, "obj");
    StrictReader p(obj, in);
    visitParams(p, b.obj);
    p.finish(&b.objExtra);
}

void readBlocks(const QJsonArray &a, QVector<DspBlock> &v, Intake &in)
{
    v.resize(a.size());
    for (int i = 0; i < a.size() && !in.failed; ++i) {
        Scope s(in, nullptr, i);
        const QJsonValue e = a.at(i);
        if (!e.isObject()) {
            in.fail(QStringLiteral("a block must be an object"));
            return;
        }
        readBlockInto(e.toObject(), v[i], in);
    }
}

void readNode(const QJsonObject &o, DspNode &n, Intake &in)
{
    StrictReader r(o, in);
    QJsonObject obj;
    QJsonArray ports;
    int portNum = 0;
    r.object("obj", &obj);
    r.array("portArr", &ports);
    r.integer("portNum", portNum);
    r.integer("type", n.type);
    r.finish(&n.extra);
    if (in.failed)
        return;
    if (portNum != ports.size()) {
        in.fail(QStringLiteral("\"portNum\" is %1 but \"portArr\" holds %2").arg(portNum).arg(ports.size()));
        return;
    }
    if (n.hasChannels()) {
        Scope s(in, "portArr");
        n.portArr.resize(ports.size());
        for (int i = 0; i < ports.size() && !in.failed; ++i) {
            Scope at(in, nullptr, i);
            const QJsonValue e = ports.at(i);
            if (!e.isObject()) {
                in.fail(QStringLiteral("a channel must be an object"));
                return;
            }
            const QJsonObject channel = e.toObject();
            StrictReader c(channel, in);
            members(c, n.portArr[i], n.type);
            c.finish(&n.portArr[i].extra);
        }
    } else {
        n.rawPorts = ports;
    }
    Scope s(in, "obj");
    StrictReader p(obj, in);
    if (n.type == DspNode::Matrix) {
        members(p, n.matrix);
        p.finish(&n.objExtra);
    } else if (n.type == DspNode::Automixer) {
        members(p, n.automixer);
        p.finish(&n.objExtra);
    } else {
        n.objExtra = obj;
    }
}

} // namespace

namespace DspCodec {


bool parseObject(const QByteArray &text, QJsonObject *out)
{
    return !text.contains('\0') && JsonIntake::parseObject(text.constData(), text.size(), out);
}

int toInt(const QString &text)
{
    bool ok = false;
    const int v = text.toInt(&ok);
    return ok ? v : 0;
}

bool toFlag(const QString &text)
{
    return toInt(text) == 1;
}

double toReal(const QString &text)
{
    bool ok = false;
    const double v = text.toDouble(&ok);
    return ok && std::isfinite(v) ? v : 0.0;
}

bool readConfig(const QJsonObject &config, CDeviceDspData *out, QString *why)
{
    Intake in;
    StrictReader r(config, in);
    QJsonArray groups;
    QJsonArray nodes;
    r.text("customStr", out->customStr);
    r.array("groupArr", &groups);
    r.array("nodeArr", &nodes);
    r.integer("sampleRate", out->sampleRate);
    r.text("version", out->version);
    r.finish(&out->extra);
    if (!in.failed) {
        Scope s(in, "groupArr");
        out->groupArr.resize(groups.size());
        for (int i = 0; i < groups.size() && !in.failed; ++i) {
            Scope at(in, nullptr, i);
            if (!groups.at(i).isObject()) {
                in.fail(QStringLiteral("a group must be an object"));
                break;
            }
            const QJsonObject group = groups.at(i).toObject();
            StrictReader g(group, in);
            members(g, out->groupArr[i]);
            g.finish(&out->groupArr[i].extra);
        }
    }
    if (!in.failed) {
        Scope s(in, "nodeArr");
        out->nodeArr.resize(nodes.size());
        for (int i = 0; i < nodes.size() && !in.failed; ++i) {
            Scope at(in, nullptr, i);
            if (!nodes.at(i).isObject()) {
                in.fail(QStringLiteral("a node must be an object"));
                break;
            }
            readNode(nodes.at(i).toObject(), out->nodeArr[i], in);
        }
    }
    if (in.failed && why)
        *why = in.why;
    return !in.failed;
}

bool readBlock(const QJsonObject &block, DspBlock *out, QString *why)
{
    Intake in;
    readBlockInto(block, *out, in);
    if (in.failed && why)
        *why = in.why;
    return !in.failed;
}

bool readChain(const QJsonArray &procArr, QVector<DspBlock> *out, QString *why)
{
    Intake in;
    Scope s(in, "procArr");
    readBlocks(procArr, *out, in);
    if (in.failed && why)
        *why = in.why;
    return !in.failed;
}

} // namespace DspCodec
