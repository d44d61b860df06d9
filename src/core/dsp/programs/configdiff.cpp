#include "core/dsp/programs/configdiff.h"

#include "core/dsp/dspdefaults.h"
#include "core/dsp/dspkinds.h"
#include "core/dsp/programs/programconvert.h"
#include "core/dsp/programs/programfiles.h"

#include <QJsonDocument>
#include <QMap>
#include <QSet>
#include <QStringList>

#include <algorithm>

using ConfigDiff::Difference;

namespace {

using Diffs = QVector<Difference>;

QString shown(const QJsonValue &v)
{
    switch (v.type()) {
    case QJsonValue::Undefined:
        return QString();
    case QJsonValue::String:
        return v.toString();
    case QJsonValue::Array:
        return QString::fromUtf8(QJsonDocument(v.toArray()).toJson(QJsonDocument::Compact));
    case QJsonValue::Object:
        return QString::fromUtf8(QJsonDocument(v.toObject()).toJson(QJsonDocument::Compact));
    default: // numbers, booleans and null as JSON writes them
        return QString::fromUtf8(
                   QJsonDocument(QJsonArray{v}).toJson(QJsonDocument::Compact)).mid(1).chopped(1);
    }
}

QString joined(const QString &prefix, const QString &name) { return prefix.isEmpty() ? name : prefix + ' ' + name; }

QStringList keysOf(const QJsonObject &a, const QJsonObject &b, const QStringList &skip = {})
{
    QStringList keys = a.keys() + b.keys();
    std::sort(keys.begin(), keys.end());
    keys.erase(std::unique(keys.begin(), keys.end()), keys.end());
    for (const QString &s : skip)
        keys.removeAll(s);
    return keys;
}

bool holdsRecords(const QJsonArray &arr)
{
    return std::any_of(arr.begin(), arr.end(), [](const QJsonValue &v) { return v.isArray() || v.isObject(); });
}

// Objects member by member and arrays element by element, down to the scalars; an array of scalars whose
// length changed is one difference, shown whole.
void members(const QString &where, const QString &prefix, const QJsonValue &a, const QJsonValue &b, Diffs *out)
{
    if (a.isObject() && b.isObject()) {
        const QJsonObject oa = a.toObject(), ob = b.toObject();
        for (const QString &k : keysOf(oa, ob))
            members(where, joined(prefix, k), oa.value(k), ob.value(k), out);
        return;
    }
    if (a.isArray() && b.isArray()) {
        const QJsonArray aa = a.toArray(), ab = b.toArray();
        if (aa.size() == ab.size() || holdsRecords(aa) || holdsRecords(ab)) {
            for (int i = 0; i < std::max(aa.size(), ab.size()); ++i)
                members(where, joined(prefix, QString::number(i + 1)), aa.at(i), ab.at(i), out);
            return;
        }
    }
    if (a != b)
        out->append({where, prefix, shown(a), shown(b)});
}

// By the type alone, so that a block whose members do not read still gets its name.
QString kindOf(const QJsonObject &block)
{
    const QString type = block.value(QLatin1String("type")).toString();
    const bool highPass = block.value(QLatin1String("obj")).toObject().value(QLatin1String("isHpf")).toString()
                          != QLatin1String("0");
    bool ok = false;
    const int t = type.toInt(&ok);
    if (ok)
        if (const auto kind = DspKinds::of(DspDefaults::block(t, highPass)))
            return DspKinds::cliName(*kind);
    return QStringLiteral("type ") + type;
}

void blocks(const QString &channel, const QJsonArray &a, const QJsonArray &b, Diffs *out)
{
    for (int i = 0; i < std::max(a.size(), b.size()); ++i) {
        const QJsonObject ba = a.at(i).toObject(), bb = b.at(i).toObject();
        const QString ka = i < a.size() ? kindOf(ba) : QString();
        const QString kb = i < b.size() ? kindOf(bb) : QString();
        const QString where = QStringLiteral("%1 / %2 %3").arg(channel).arg(i + 1).arg(ka.isNull() ? kb : ka);
        if (ka.isNull() || kb.isNull())
            out->append({where, QStringLiteral("block"), ka, kb});
        else if (ka != kb)
            out->append({where, QStringLiteral("kind"), ka, kb});
        else
            for (const QString &k : keysOf(ba, bb, {QStringLiteral("type")}))
                members(where, k == QLatin1String("obj") ? QString() : k, ba.value(k), bb.value(k), out);
    }
}

void ports(const QString &role, const QJsonArray &a, const QJsonArray &b, Diffs *out)
{
    for (int i = 0; i < std::max(a.size(), b.size()); ++i) {
        const QString where = QStringLiteral("%1 %2").arg(role).arg(i + 1);
        if (i >= a.size() || i >= b.size()) {
            out->append({where, QStringLiteral("channel"), i < a.size() ? QStringLiteral("present") : QString(),
                         i < b.size() ? QStringLiteral("present") : QString()});
            continue;
        }
        const QJsonObject pa = a.at(i).toObject(), pb = b.at(i).toObject();
        for (const QString &k : keysOf(pa, pb, {QStringLiteral("procArr")}))
            members(where, k, pa.value(k), pb.value(k), out);
        blocks(where, pa.value(QLatin1String("procArr")).toArray(), pb.value(QLatin1String("procArr")).toArray(),
               out);
    }
}

void matrix(const QJsonObject &a, const QJsonObject &b, Diffs *out)
{
    const QJsonArray ga = a.value(QLatin1String("gainArr")).toArray(), gb = b.value(QLatin1String("gainArr")).toArray();
    const QJsonArray ma = a.value(QLatin1String("muteArr")).toArray(), mb = b.value(QLatin1String("muteArr")).toArray();
    const int rows = std::max({ga.size(), gb.size(), ma.size(), mb.size()});
    for (int r = 0; r < rows; ++r) {
        const int cols = std::max({ga.at(r).toArray().size(), gb.at(r).toArray().size(), ma.at(r).toArray().size(),
                                   mb.at(r).toArray().size()});
        for (int c = 0; c < cols; ++c) {
            const QString where = QStringLiteral("matrix out %1 / in %2").arg(r + 1).arg(c + 1);
            members(where, QStringLiteral("gain"), ga.at(r).toArray().at(c), gb.at(r).toArray().at(c), out);
            members(where, QStringLiteral("mute"), ma.at(r).toArray().at(c), mb.at(r).toArray().at(c), out);
        }
    }
    for (const QString &k : keysOf(a, b, {QStringLiteral("gainArr"), QStringLiteral("muteArr")}))
        members(QStringLiteral("matrix"), k, a.value(k), b.value(k), out);
}

QString typeName(int type)
{
    switch (type) {
    case 1:
        return QStringLiteral("matrix");
    case 2:
        return QStringLiteral("aec");
    case 3:
        return QStringLiteral("automixer");
    default:
        return QStringLiteral("node type %1").arg(type);
    }
}

// Each node by what it is: the first channel node "in", the last "out", the others by type, a repeated one
// numbered; the order is the document's.
QVector<QPair<QString, QJsonObject>> roles(const QJsonArray &nodes)
{
    QVector<QPair<QString, QJsonObject>> out;
    QMap<QString, int> seen;
    for (int i = 0; i < nodes.size(); ++i) {
        const QJsonObject n = nodes.at(i).toObject();
        const int type = n.value(QLatin1String("type")).toString().toInt();
        QString role = i == 0 ? QStringLiteral("in") : i == nodes.size() - 1 ? QStringLiteral("out") : typeName(type);
        if (const int k = seen[role]++)
            role += QStringLiteral(" #%1").arg(k + 1);
        out.append({role, n});
    }
    return out;
}

void node(const QString &role, const QJsonObject &a, const QJsonObject &b, Diffs *out)
{
    const QJsonObject oa = a.value(QLatin1String("obj")).toObject(), ob = b.value(QLatin1String("obj")).toObject();
    const bool isMatrix = a.value(QLatin1String("type")).toString() == QLatin1String("1");
    if (a.value(QLatin1String("type")) != b.value(QLatin1String("type")))
        out->append({role, QStringLiteral("type"), shown(a.value(QLatin1String("type"))),
                     shown(b.value(QLatin1String("type")))});
    else if (isMatrix)
        matrix(oa, ob, out);
    else
        members(role, QString(), oa, ob, out);
    if (!isMatrix)
        ports(role, a.value(QLatin1String("portArr")).toArray(), b.value(QLatin1String("portArr")).toArray(), out);
    const QStringList own{QStringLiteral("obj"), QStringLiteral("portArr"), QStringLiteral("portNum"),
                          QStringLiteral("type")};
    for (const QString &k : keysOf(a, b, own))
        members(role, k, a.value(k), b.value(k), out);
}

QString channelsOf(const QJsonObject &node)
{
    return QStringLiteral("%1 channels").arg(node.value(QLatin1String("portArr")).toArray().size());
}

} // namespace

QVector<Difference> ConfigDiff::compare(const QJsonObject &a, const QJsonObject &b)
{
    Diffs out;
    const QString document = QStringLiteral("document");
    for (const QString &k : keysOf(a, b, {QStringLiteral("groupArr"), QStringLiteral("nodeArr")}))
        members(document, k, a.value(k), b.value(k), &out);

    const QJsonArray ga = a.value(QLatin1String("groupArr")).toArray();
    const QJsonArray gb = b.value(QLatin1String("groupArr")).toArray();
    for (int i = 0; i < std::max(ga.size(), gb.size()); ++i)
        members(QStringLiteral("group %1").arg(i + 1), QString(), ga.at(i).isUndefined() ? QJsonObject() : ga.at(i),
                gb.at(i).isUndefined() ? QJsonObject() : gb.at(i), &out);

    const auto ra = roles(a.value(QLatin1String("nodeArr")).toArray());
    const auto rb = roles(b.value(QLatin1String("nodeArr")).toArray());
    const auto find = [](const QVector<QPair<QString, QJsonObject>> &list, const QString &role) {
        for (const auto &p : list)
            if (p.first == role)
                return &p;
        return static_cast<const QPair<QString, QJsonObject> *>(nullptr);
    };
    // A's order, with B's nodes that A lacks placed after the A node they follow in B.
    QVector<QString> order;
    for (const auto &p : ra)
        order.append(p.first);
    for (int i = 0; i < rb.size(); ++i)
        if (!order.contains(rb[i].first))
            order.insert(i == 0 ? 0 : order.indexOf(rb[i - 1].first) + 1, rb[i].first);
    for (const QString &role : order) {
        const auto *na = find(ra, role), *nb = find(rb, role);
        if (na && nb)
            node(role, na->second, nb->second, &out);
        else
            out.append({role, QStringLiteral("node"), na ? channelsOf(na->second) : QString(),
                        nb ? channelsOf(nb->second) : QString()});
    }
    return out;
}

ConfigDiff::FileRead ConfigDiff::documentOf(const QByteArray &bytes)
{
    const ProgramFiles::ProgramRead program = ProgramFiles::readProgram(bytes);
    if (program.ok())
        return {std::nullopt, program.programs.first().config};
    if (program.error == Tx::ProgFileNotProgram) {
        const ProgramFiles::StoredRead bare = ProgramFiles::readStoredConfig(bytes);
        if (bare.ok() && bare.config.value(QLatin1String("nodeArr")).isArray())
            return {std::nullopt, bare.config};
    }
    return {program.error, {}};
}

QJsonObject ConfigDiff::comparable(const QJsonObject &config, bool *converted)
{
    const bool old = ProgramFiles::versionOf(config) == ProgramFiles::Version::NeedsConversion;
    const ProgramConvert::Result r = old ? ProgramConvert::toCurrent(config) : ProgramConvert::Result{};
    if (converted)
        *converted = old && r.ok();
    return old && r.ok() ? r.config : config;
}

QString ConfigDiff::line(const Difference &d)
{
    const auto side = [](const QString &v) { return v.isNull() ? QStringLiteral("-") : v; };
    return QStringLiteral("%1: %2 %3 -> %4").arg(d.where, d.member, side(d.a), side(d.b));
}

QJsonArray ConfigDiff::toJson(const QVector<Difference> &diffs)
{
    QJsonArray out;
    const auto side = [](const QString &v) { return v.isNull() ? QJsonValue(QJsonValue::Null) : QJsonValue(v); };
    for (const Difference &d : diffs)
        out.append(QJsonObject{{QStringLiteral("a"), side(d.a)},
                               {QStringLiteral("b"), side(d.b)},
                               {QStringLiteral("member"), d.member},
                               {QStringLiteral("where"), d.where}});
    return out;
}
