#include "simdspmembers.h"

#include "simdspshared.h"

#include <QHash>
#include <cmath>

using namespace SimDspShared;

namespace {

// What a firmware would accept for a member, by the member's name (an
// array's elements go by the array's name). Unlisted members are free text.
struct Rule
{
    enum Kind { Text, Flag, Int, Real } kind = Text;
    double lo = 0;
    double hi = 0;
};

const QHash<QString, Rule> &rules()
{
    static const QHash<QString, Rule> r = [] {
        QHash<QString, Rule> h;
        for (const char *n : {"bypass", "mute", "inverse", "isHpf", "hasAec", "hasAgc", "hasAns", "farFromOut",
                              "leaveLastOn", "nomAttenuate", "bypassArr", "muteArr", "maskArr"})
            h.insert(QLatin1String(n), {Rule::Flag, 0, 1});
        auto whole = [&h](const char *n, double lo, double hi) { h.insert(QLatin1String(n), {Rule::Int, lo, hi}); };
        auto real = [&h](const char *n, double lo, double hi) { h.insert(QLatin1String(n), {Rule::Real, lo, hi}); };
        whole("core", -1, 15);
        whole("groupId", -1, linkGroups - 1);
        whole("type", 0, 15);
        whole("order", 1, 8);
        whole("delayNum", 0, 1e9);
        whole("maxNum", 0, 1e9);
        whole("taps", 1, 65536);
        whole("maxTaps", 1, 65536);
        whole("firType", 0, 3);
        whole("winType", 0, 4);
        whole("mode", 0, 15);
        whole("aecLevel", 0, 10);
        whole("ansLevel", 0, 10);
        whole("banMask", 0, 2147483647.0);
        whole("farCh", 0, 1023);
        whole("refCh", 0, 1023);
        whole("chNumLimit", 1, 1024);
        whole("nearArr", 0, 1023);
        whole("farArr", 0, 1023);
        for (const char *n : {"freq", "freq0", "freq1"})
            real(n, 1, 24000);
        for (const char *n : {"dbGain", "gainDb", "gainArr"})
            real(n, -144, 24);
        for (const char *n : {"trigDb", "limitDb", "duckDb", "decayDb"})
            real(n, -144, 0);
        for (const char *n : {"attackMs", "releaseMs", "holdMs", "openMs", "closeMs", "duckAttackMs", "duckReleaseMs"})
            real(n, 0, 60000);
        real("kneeDb", 0, 48);
        real("attDb", 0, 200);
        real("ratio", 1, 1000);
        real("qBwS", 0.001, 100);
        real("slope", 0, 100);
        real("freqShift", 0, 100);
        real("arr", -1000, 1000);
        return h;
    }();
    return r;
}

bool canonical(const QString &name, const QString &in, QString *out)
{
    const Rule rule = rules().value(name);
    if (rule.kind == Rule::Text) {
        *out = in;
        return true;
    }
    bool ok = false;
    const double d = in.trimmed().toDouble(&ok);
    if (!ok || !std::isfinite(d) || d < rule.lo || d > rule.hi)
        return false;
    if (rule.kind == Rule::Real) {
        *out = real(d);
        return true;
    }
    if (d != std::floor(d))
        return false;
    *out = text(qint64(d));
    return true;
}

} // namespace

namespace SimDspMembers {


QJsonArray repeat(const QJsonValue &v, int n)
{
    QJsonArray a;
    for (int i = 0; i < n; ++i)
        a.append(v);
    return a;
}

QJsonObject defaultObj(int type, bool lowPass)
{
    switch (type) {
    case Eq: {
        QJsonArray bands;
        for (const char *f : {"40", "101", "254", "640", "1600", "4000", "10200"})
            bands.append(QJsonObject{{QStringLiteral("dbGain"), QStringLiteral("0")},
                                     {QStringLiteral("freq0"), QLatin1String(f)},
                                     {QStringLiteral("qBwS"), QStringLiteral("1")},
                                     {QStringLiteral("type"), QStringLiteral("0")}});
        return {{QStringLiteral("bypassArr"), repeat(QStringLiteral("0"), 7)}, {QStringLiteral("eqArr"), bands}};
    }
    case Delay:
        return {{QStringLiteral("delayNum"), QStringLiteral("0")}, {QStringLiteral("maxNum"), QStringLiteral("24000")}};
    case Compressor:
    case Expander:
        return {{QStringLiteral("attackMs"), QStringLiteral("50")},
                {QStringLiteral("kneeDb"), QStringLiteral("0")},
                {QStringLiteral("ratio"), QStringLiteral("2")},
                {QStringLiteral("releaseMs"), QStringLiteral("100")},
                {QStringLiteral("trigDb"), QStringLiteral("-20")}};
    case Feedback: return {{QStringLiteral("freqShift"), QStringLiteral("1")}};
    case Crossover:
        return {{QStringLiteral("freq0"), lowPass ? QStringLiteral("20000") : QStringLiteral("20")},
                {QStringLiteral("isHpf"), lowPass ? QStringLiteral("0") : QStringLiteral("1")},
                {QStringLiteral("order"), QStringLiteral("1")},
                {QStringLiteral("type"), QStringLiteral("0")}};
    case Fir:
        return {{QStringLiteral("arr"), QJsonArray()},
                {QStringLiteral("attDb"), QStringLiteral("21")},
                {QStringLiteral("firType"), QStringLiteral("0")},
                {QStringLiteral("freq0"), QStringLiteral("10000")},
                {QStringLiteral("freq1"), QStringLiteral("20001")},
                {QStringLiteral("maxTaps"), QStringLiteral("256")},
                {QStringLiteral("taps"), QStringLiteral("127")},
                {QStringLiteral("winType"), QStringLiteral("0")}};
    case Limiter: return {{QStringLiteral("limitDb"), QStringLiteral("-20")}};
    case Gate:
        return {{QStringLiteral("closeMs"), QStringLiteral("10")},
                {QStringLiteral("openMs"), QStringLiteral("10")},
                {QStringLiteral("trigDb"), QStringLiteral("-90")}};
    case Generator:
        return {{QStringLiteral("freq"), QStringLiteral("1000")},
                {QStringLiteral("gainDb"), QStringLiteral("-20")},
                {QStringLiteral("mode"), QStringLiteral("0")}};
    case ChAec:
        return {{QStringLiteral("aecLevel"), QStringLiteral("2")},   {QStringLiteral("ansLevel"), QStringLiteral("2")},
                {QStringLiteral("banMask"), QStringLiteral("0")},    {QStringLiteral("farCh"), QStringLiteral("0")},
                {QStringLiteral("farFromOut"), QStringLiteral("0")}, {QStringLiteral("hasAec"), QStringLiteral("1")},
                {QStringLiteral("hasAgc"), QStringLiteral("0")},     {QStringLiteral("hasAns"), QStringLiteral("1")}};
    case Ducker:
        return {
            {QStringLiteral("attackMs"), QStringLiteral("50")},   {QStringLiteral("duckDb"), QStringLiteral("-15")},
            {QStringLiteral("holdMs"), QStringLiteral("500")},    {QStringLiteral("refCh"), QStringLiteral("0")},
            {QStringLiteral("releaseMs"), QStringLiteral("500")}, {QStringLiteral("trigDb"), QStringLiteral("-40")}};
    default: return {};
    }
}

QJsonObject defaultBlock(int type, bool lowPass)
{
    return {{QStringLiteral("bypass"), QStringLiteral("1")},
            {QStringLiteral("core"), QStringLiteral("-1")},
            {QStringLiteral("groupId"), QStringLiteral("-1")},
            {QStringLiteral("obj"), defaultObj(type, lowPass)},
            {QStringLiteral("type"), text(type)}};
}

QJsonObject channelMembers()
{
    return {{QStringLiteral("commArr"), QJsonArray()},
            {QStringLiteral("gainDb"), QStringLiteral("0")},
            {QStringLiteral("groupId"), QStringLiteral("-1")},
            {QStringLiteral("inverse"), QStringLiteral("0")},
            {QStringLiteral("mute"), QStringLiteral("0")}};
}

QJsonObject aecMembers(int channel)
{
    QJsonObject m = channelMembers();
    m.insert(QStringLiteral("aecLevel"), QStringLiteral("2"));
    m.insert(QStringLiteral("ansLevel"), QStringLiteral("2"));
    m.insert(QStringLiteral("farArr"), QJsonArray());
    m.insert(QStringLiteral("hasAec"), QStringLiteral("1"));
    m.insert(QStringLiteral("hasAgc"), QStringLiteral("0"));
    m.insert(QStringLiteral("hasAns"), QStringLiteral("1"));
    m.insert(QStringLiteral("nearArr"), QJsonArray{text(channel)});
    return m;
}

QJsonObject automixerObj(int channels)
{
    return QJsonObject{{QStringLiteral("attackMs"), QStringLiteral("10")},
                       {QStringLiteral("chNumLimit"), text(channels)},
                       {QStringLiteral("decayDb"), QStringLiteral("-6")},
                       {QStringLiteral("duckAttackMs"), QStringLiteral("50")},
                       {QStringLiteral("duckDb"), QStringLiteral("-15")},
                       {QStringLiteral("duckReleaseMs"), QStringLiteral("500")},
                       {QStringLiteral("holdMs"), QStringLiteral("500")},
                       {QStringLiteral("leaveLastOn"), QStringLiteral("1")},
                       {QStringLiteral("maskArr"), repeat(QStringLiteral("1"), channels)},
                       {QStringLiteral("mode"), QStringLiteral("0")},
                       {QStringLiteral("nomAttenuate"), QStringLiteral("1")},
                       {QStringLiteral("releaseMs"), QStringLiteral("300")},
                       {QStringLiteral("slope"), QStringLiteral("2")},
                       {QStringLiteral("trigDb"), QStringLiteral("-40")}};
}

bool conform(const QString &name, const QJsonValue &templ, const QJsonValue &v, QJsonValue *out, bool partial)
{
    if (templ.isString()) {
        QString c;
        if (!v.isString() || !canonical(name, v.toString(), &c))
            return false;
        *out = c;
        return true;
    }
    if (templ.isArray()) {
        const QJsonArray t = templ.toArray();
        const QJsonArray a = v.toArray();
        if (!v.isArray() || (!t.isEmpty() && a.size() != t.size()))
            return false;
        QJsonArray result;
        for (int i = 0; i < a.size(); ++i) {
            QJsonValue e;
            if (!conform(name, t.isEmpty() ? QJsonValue(QString()) : t.at(i), a.at(i), &e, false))
                return false;
            result.append(e);
        }
        *out = result;
        return true;
    }
    if (templ.isObject()) {
        const QJsonObject t = templ.toObject();
        const QJsonObject o = v.toObject();
        if (!v.isObject() || (!partial && o.size() != t.size()))
            return false;
        QJsonObject result;
        for (auto it = o.begin(); it != o.end(); ++it) {
            QJsonValue e;
            if (!t.contains(it.key()) || !conform(it.key(), t.value(it.key()), it.value(), &e, false))
                return false;
            result.insert(it.key(), e);
        }
        *out = result;
        return true;
    }
    return false;
}

QJsonObject merged(QJsonObject base, const QJsonObject &changes)
{
    for (auto it = changes.begin(); it != changes.end(); ++it)
        base.insert(it.key(), it.value());
    return base;
}

} // namespace SimDspMembers
