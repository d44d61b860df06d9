#include "core/dsp/dspcodec.h"

#include "core/app/texts.h"
#include "core/dsp/cdevicedspdata.h"
#include "core/dsp/dspjsonwriter.h"
#include "core/protocol/jsonintake.h"

#include <QVarLengthArray>

#include <cfloat>
#include <climits>
#include <cmath>

namespace {

// The members of every record, in ascending order of their names: the order they are written in. Each list is
// walked by the reader, the merger and the writer, so a name is spelt once.

template <class V> void members(V &v, DspEqBand &s)
{
    v.real("dbGain", s.dbGain);
    v.real("freq0", s.freq0);
    v.real("qBwS", s.qBwS);
    v.integer("type", s.type);
}

template <class V> void members(V &v, DspEq &s)
{
    v.bandBypass("bypassArr", s.bands);
    v.bands("eqArr", s.bands);
}

template <class V> void members(V &v, DspDelay &s)
{
    v.integer("delayNum", s.delayNum);
    v.integer("maxNum", s.maxNum);
}

template <class V> void members(V &v, DspDynamics &s)
{
    v.real("attackMs", s.attackMs);
    v.real("kneeDb", s.kneeDb);
    v.real("ratio", s.ratio);
    v.real("releaseMs", s.releaseMs);
    v.real("trigDb", s.trigDb);
}

template <class V> void members(V &v, DspFeedback &s)
{
    v.real("freqShift", s.freqShift);
}

template <class V> void members(V &v, DspCrossover &s)
{
    v.real("freq0", s.freq0);
    v.flag("isHpf", s.isHpf);
    v.integer("order", s.order);
    v.integer("type", s.type);
}

template <class V> void members(V &v, DspFir &s)
{
    v.reals("arr", s.arr);
    v.real("attDb", s.attDb);
    v.integer("firType", s.firType);
    v.real("freq0", s.freq0);
    v.real("freq1", s.freq1);
    v.integer("maxTaps", s.maxTaps);
    v.integer("taps", s.taps);
    v.integer("winType", s.winType);
}

template <class V> void members(V &v, DspLimiter &s)
{
    v.real("limitDb", s.limitDb);
}

template <class V> void members(V &v, DspGate &s)
{
    v.real("closeMs", s.closeMs);
    v.real("openMs", s.openMs);
    v.real("trigDb", s.trigDb);
}

template <class V> void members(V &v, DspSignalGen &s)
{
    v.real("freq", s.freq);
    v.real("gainDb", s.gainDb);
    v.integer("mode", s.mode);
}

template <class V> void members(V &v, DspAec &s)
{
    v.integer("aecLevel", s.aecLevel);
    v.integer("ansLevel", s.ansLevel);
    v.integer("banMask", s.banMask);
    v.integer("farCh", s.farCh);
    v.flag("farFromOut", s.farFromOut);
    v.flag("hasAec", s.hasAec);
    v.flag("hasAgc", s.hasAgc);
    v.flag("hasAns", s.hasAns);
}

template <class V> void members(V &v, DspDucker &s)
{
    v.real("attackMs", s.attackMs);
    v.real("duckDb", s.duckDb);
    v.real("holdMs", s.holdMs);
    v.integer("refCh", s.refCh);
    v.real("releaseMs", s.releaseMs);
    v.real("trigDb", s.trigDb);
}

template <class V> void members(V &, DspUnknownBlock &) {}

template <class V> void members(V &v, DspGroup &s)
{
    v.real("gainDb", s.gainDb);
    v.flag("mute", s.mute);
    v.text("name", s.name);
}

template <class V> void members(V &v, DspMatrix &s)
{
    v.realRows("gainArr", s.gainArr);
    v.flagRows("muteArr", s.muteArr);
}

template <class V> void members(V &v, DspAutomixer &s)
{
    v.real("attackMs", s.attackMs);
    v.integer("chNumLimit", s.chNumLimit);
    v.real("decayDb", s.decayDb);
    v.real("duckAttackMs", s.duckAttackMs);
    v.real("duckDb", s.duckDb);
    v.real("duckReleaseMs", s.duckReleaseMs);
    v.real("holdMs", s.holdMs);
    v.flag("leaveLastOn", s.leaveLastOn);
    v.flags("maskArr", s.maskArr);
    v.integer("mode", s.mode);
    v.flag("nomAttenuate", s.nomAttenuate);
    v.real("releaseMs", s.releaseMs);
    v.real("slope", s.slope);
    v.real("trigDb", s.trigDb);
}

// The node type decides which members a channel has on the wire.
template <class V> void members(V &v, DspChannel &s, int nodeType)
{
    const bool aec = nodeType == DspNode::EchoCancel;
    if (aec) {
        v.integer("aecLevel", s.aecLevel);
        v.integer("ansLevel", s.ansLevel);
    }
    v.json("commArr", s.commArr);
    if (aec)
        v.integers("farArr", s.farArr);
    v.real("gainDb", s.gainDb);
    v.integer("groupId", s.groupId);
    if (aec) {
        v.flag("hasAec", s.hasAec);
        v.flag("hasAgc", s.hasAgc);
        v.flag("hasAns", s.hasAns);
    }
    v.flag("inverse", s.inverse);
    v.flag("mute", s.mute);
    if (aec)
        v.integers("nearArr", s.nearArr);
    if (nodeType == DspNode::Channels)
        v.blocks("procArr", s.procArr);
}

template <class V> void visitParams(V &v, DspBlockParams &p)
{
    std::visit([&v](auto &params) { members(v, params); }, p);
}

void setType(DspBlockParams &p, int type)
{
    switch (type) {
    case 0: p.emplace<0>(); break;
    case 1: p.emplace<1>(); break;
    case 2: p.emplace<2>(); break;
    case 3: p.emplace<3>(); break;
    case 4: p.emplace<4>(); break;
    case 5: p.emplace<5>(); break;
    case 6: p.emplace<6>(); break;
    case 7: p.emplace<7>(); break;
    case 8: p.emplace<8>(); break;
    case 9: p.emplace<9>(); break;
    case 10: p.emplace<10>(); break;
    case 11: p.emplace<11>(); break;
    default: p = DspUnknownBlock{type};
    }
}

double checkedFloat(double d)
{
    return std::fabs(d) <= double(FLT_MAX) ? d : 0.0;
}

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

// Merges a change given as JSON: members optional, unknown ones refused, values checked.
class Merger
{
public:
    /// keepUnknown: members the record does not list are collected in unknown instead of refused.
    Merger(const QJsonObject &o, QString *error, bool keepUnknown, const QString &prefix = QString())
        : o(o)
        , error(*error)
        , keepUnknown(keepUnknown)
        , prefix(prefix)
    {}

    QJsonObject unknown;

    void integer(const char *n, int &v) { scalar(n, v, asInt, Tx::DspValueNotInteger); }
    void real(const char *n, double &v) { scalar(n, v, asReal, Tx::DspValueNotNumber); }
    void real(const char *n, float &v)
    {
        double d = 0;
        QJsonValue x;
        if (!take(n, &x))
            return;
        if (asReal(x, &d) && std::fabs(d) <= double(FLT_MAX))
            v = float(d);
        else
            fail(Tx::DspValueNotNumber, n);
    }
    void flag(const char *n, bool &v) { scalar(n, v, asFlag, Tx::DspValueNotFlag); }
    void integers(const char *n, QVector<int> &v) { list(n, v, asInt, Tx::DspValueNotInteger); }
    void reals(const char *n, QVector<double> &v) { list(n, v, asReal, Tx::DspValueNotNumber); }
    void flags(const char *n, QVector<bool> &v) { list(n, v, asFlag, Tx::DspValueNotFlag); }
    void realRows(const char *n, QVector<QVector<double>> &v) { rows(n, v, asReal, Tx::DspValueNotNumber); }
    void flagRows(const char *n, QVector<QVector<bool>> &v) { rows(n, v, asFlag, Tx::DspValueNotFlag); }
    void bandBypass(const char *n, QVector<DspEqBand> &bands)
    {
        QJsonArray a;
        if (!array(n, &a) || !sameLength(n, a, bands.size()))
            return;
        QVector<DspEqBand> changed = bands;
        for (int i = 0; i < a.size(); ++i) {
            if (!asFlag(a.at(i), &changed[i].bypass)) {
                fail(Tx::DspValueNotFlag, element(n, i));
                return;
            }
        }
        bands = changed;
    }
    void bands(const char *n, QVector<DspEqBand> &bands)
    {
        QJsonArray a;
        if (!array(n, &a) || !sameLength(n, a, bands.size()))
            return;
        QVector<DspEqBand> changed = bands;
        for (int i = 0; i < a.size(); ++i) {
            const QString where = element(n, i);
            if (!a.at(i).isObject()) {
                fail(Tx::DspValueNotObject, where);
                return;
            }
            const QJsonObject band = a.at(i).toObject();
            Merger m(band, &error, keepUnknown, where + QLatin1Char('.'));
            members(m, changed[i]);
            if (!m.finish(tx(Tx::DspKindEqBand)))
                return;
            m.addUnknownTo(&changed[i].extra);
        }
        bands = changed;
    }

    /// False, with the error set, when a value failed or a member is not one of the record's.
    bool finish(const QString &kind)
    {
        if (!error.isEmpty())
            return false;
        if (o.size() <= found)
            return true;
        QStringList known;
        for (int i = 0; i < looked; ++i)
            known << QLatin1String(names[i]);
        for (auto it = o.constBegin(); it != o.constEnd(); ++it) {
            if (known.contains(it.key()))
                continue;
            if (!keepUnknown) {
                error = tx(Tx::DspUnknownMember).arg(prefix + it.key(), kind, known.join(QLatin1String(", ")));
                return false;
            }
            unknown.insert(it.key(), it.value());
        }
        return true;
    }

    void addUnknownTo(QJsonObject *extra) const
    {
        for (auto it = unknown.constBegin(); it != unknown.constEnd(); ++it)
            extra->insert(it.key(), it.value());
    }

private:
    static bool asInt(const QJsonValue &x, int *out)
    {
        if (x.isString()) {
            bool ok = false;
            const int v = x.toString().toInt(&ok);
            if (ok)
                *out = v;
            return ok;
        }
        if (x.isDouble()) {
            const double d = x.toDouble();
            if (d != std::trunc(d) || d < double(INT_MIN) || d > double(INT_MAX))
                return false;
            *out = int(d);
            return true;
        }
        return false;
    }
    static bool asReal(const QJsonValue &x, double *out)
    {
        double v = 0;
        bool ok = false;
        if (x.isString())
            v = x.toString().toDouble(&ok);
        else if (x.isDouble())
            v = x.toDouble(), ok = true;
        if (!ok || !std::isfinite(v))
            return false;
        *out = v;
        return true;
    }
    static bool asFlag(const QJsonValue &x, bool *out)
    {
        if (x.isBool()) {
            *out = x.toBool();
            return true;
        }
        int v = -1;
        if (!asInt(x, &v) || (v != 0 && v != 1))
            return false;
        *out = v == 1;
        return true;
    }

    bool take(const char *n, QJsonValue *x)
    {
        names.append(n);
        ++looked;
        if (!error.isEmpty())
            return false;
        *x = o.value(QLatin1String(n));
        if (x->isUndefined())
            return false;
        ++found;
        return true;
    }

    template <class T> void scalar(const char *n, T &v, bool (*convert)(const QJsonValue &, T *), Tx complaint)
    {
        QJsonValue x;
        if (!take(n, &x))
            return;
        T r{};
        if (convert(x, &r))
            v = r;
        else
            fail(complaint, n);
    }

    bool array(const char *n, QJsonArray *a)
    {
        QJsonValue x;
        if (!take(n, &x))
            return false;
        if (!x.isArray()) {
            fail(Tx::DspValueNotArray, n);
            return false;
        }
        *a = x.toArray();
        return true;
    }

    template <class T>
    bool fillList(const QJsonArray &a, QVector<T> *out, bool (*convert)(const QJsonValue &, T *), Tx complaint,
                  const QString &name)
    {
        QVector<T> v(a.size());
        for (int i = 0; i < a.size(); ++i) {
            T r{};
            if (!convert(a.at(i), &r)) {
                fail(complaint, element(name, i));
                return false;
            }
            v[i] = r;
        }
        *out = v;
        return true;
    }

    template <class T> void list(const char *n, QVector<T> &v, bool (*convert)(const QJsonValue &, T *), Tx complaint)
    {
        QJsonArray a;
        if (array(n, &a))
            fillList(a, &v, convert, complaint, QLatin1String(n));
    }

    template <class T>
    void rows(const char *n, QVector<QVector<T>> &v, bool (*convert)(const QJsonValue &, T *), Tx complaint)
    {
        QJsonArray a;
        if (!array(n, &a))
            return;
        QVector<QVector<T>> changed(a.size());
        for (int i = 0; i < a.size(); ++i) {
            const QString where = element(n, i);
            if (!a.at(i).isArray()) {
                fail(Tx::DspValueNotArray, where);
                return;
            }
            if (!fillList(a.at(i).toArray(), &changed[i], convert, complaint, where))
                return;
        }
        v = changed;
    }

    bool sameLength(const char *n, const QJsonArray &a, int size)
    {
        if (a.size() == size)
            return true;
        error = tx(Tx::DspArrayLength).arg(prefix + QLatin1String(n)).arg(size);
        return false;
    }

    QString element(const QString &n, int i) const
    {
        return n + QLatin1Char('[') + QString::number(i) + QLatin1Char(']');
    }

    void fail(Tx text, const QString &name)
    {
        if (error.isEmpty())
            error = tx(text).arg(prefix + name);
    }

    const QJsonObject &o;
    QString &error;
    bool keepUnknown;
    QString prefix;
    QVarLengthArray<const char *, 16> names;
    int looked = 0;
    int found = 0;
};

const Tx kBlockKinds[DspBlock::kKnownTypes] = {
    Tx::DspKindEq,       Tx::DspKindDelay,     Tx::DspKindCompressor, Tx::DspKindFeedback,
    Tx::DspKindFilter,   Tx::DspKindFir,       Tx::DspKindLimiter,    Tx::DspKindGate,
    Tx::DspKindExpander, Tx::DspKindSignalGen, Tx::DspKindAec,        Tx::DspKindDucker,
};

// Collects the names of a member list.
class NameList
{
public:
    QStringList names;
    template <class T> void text(const char *n, T &) { names << QLatin1String(n); }
    template <class T> void integer(const char *n, T &) { names << QLatin1String(n); }
    template <class T> void real(const char *n, T &) { names << QLatin1String(n); }
    template <class T> void flag(const char *n, T &) { names << QLatin1String(n); }
    template <class T> void integers(const char *n, T &) { names << QLatin1String(n); }
    template <class T> void reals(const char *n, T &) { names << QLatin1String(n); }
    template <class T> void flags(const char *n, T &) { names << QLatin1String(n); }
    template <class T> void bandBypass(const char *n, T &) { names << QLatin1String(n); }
    template <class T> void bands(const char *n, T &) { names << QLatin1String(n); }
};

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

bool mergeBlockObj(DspBlock *block, const QJsonObject &changes, QString *error, bool keepUnknown)
{
    QString e;
    Merger m(changes, &e, keepUnknown);
    if (!block->isKnownType()) {
        if (keepUnknown)
            m.finish(QString());
        else
            e = tx(Tx::DspUnknownBlockType).arg(block->type());
    } else {
        DspBlockParams changed = block->obj;
        visitParams(m, changed);
        if (m.finish(tx(kBlockKinds[block->type()])))
            block->obj = std::move(changed);
    }
    if (e.isEmpty())
        m.addUnknownTo(&block->objExtra);
    if (error)
        *error = e;
    return e.isEmpty();
}

bool mergeNodeObj(DspNode *node, const QJsonObject &changes, QString *error, bool keepUnknown)
{
    QString e;
    Merger m(changes, &e, keepUnknown);
    if (node->type == DspNode::Matrix) {
        DspMatrix changed = node->matrix;
        members(m, changed);
        if (m.finish(tx(Tx::DspKindMatrix)))
            node->matrix = changed;
    } else if (node->type == DspNode::Automixer) {
        DspAutomixer changed = node->automixer;
        members(m, changed);
        if (m.finish(tx(Tx::DspKindAutomixer)))
            node->automixer = changed;
    } else if (keepUnknown) {
        m.finish(QString());
    } else {
        e = tx(Tx::DspNodeHasNoData);
    }
    if (e.isEmpty())
        m.addUnknownTo(&node->objExtra);
    if (error)
        *error = e;
    return e.isEmpty();
}

QStringList blockMemberNames(int type)
{
    DspBlockParams p;
    setType(p, type);
    NameList names;
    visitParams(names, p);
    return names.names;
}

} // namespace DspCodec
