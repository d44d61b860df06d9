#include "core/dsp/dspcodec.h"

#include "core/app/texts.h"
#include "core/dsp/cdevicedspdata.h"
#include "core/dsp/dspmembers.h"

#include <QVarLengthArray>

#include <cfloat>
#include <climits>
#include <cmath>

namespace {

using namespace DspMembers;

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
