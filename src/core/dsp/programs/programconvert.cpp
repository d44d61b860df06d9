#include "core/dsp/programs/programconvert.h"

#include "core/dsp/cdevicedspdata.h"
#include "core/dsp/dspcodec.h"
#include "core/dsp/dspdefaults.h"
#include "core/dsp/dspjsonwriter.h"
#include "core/dsp/programs/programfiles.h"

#include <QJsonArray>
#include <QJsonDocument>

namespace {

// Any member missing or out of shape abandons the whole conversion; thrown inside, caught in toCurrent, so no
// half-built document can leave.
struct OutOfShape
{
};

QJsonValue member(const QJsonObject &obj, const char *name)
{
    const QJsonValue v = obj.value(QLatin1String(name));
    if (v.isUndefined())
        throw OutOfShape{};
    return v;
}

QString text(const QJsonObject &obj, const char *name)
{
    const QJsonValue v = member(obj, name);
    if (!v.isString())
        throw OutOfShape{};
    return v.toString();
}

QJsonArray array(const QJsonObject &obj, const char *name)
{
    const QJsonValue v = member(obj, name);
    if (!v.isArray())
        throw OutOfShape{};
    return v.toArray();
}

QJsonObject object(const QJsonValue &v)
{
    if (!v.isObject())
        throw OutOfShape{};
    return v.toObject();
}

QString textAt(const QJsonArray &arr, int i)
{
    if (i >= arr.size() || !arr.at(i).isString())
        throw OutOfShape{};
    return arr.at(i).toString();
}

// Every element a decimal text; the current reader wants the same of "nearArr", "farArr" and the FIR "arr".
QJsonArray texts(const QJsonArray &arr)
{
    for (const QJsonValue &v : arr)
        if (!v.isString())
            throw OutOfShape{};
    return arr;
}

int count(const QJsonObject &node)
{
    bool ok = false;
    const int n = text(node, "portNum").toInt(&ok);
    // A device of that age had at most a few dozen channels; the bound keeps a hostile count from allocating.
    if (!ok || n < 0 || n > 1024)
        throw OutOfShape{};
    return n;
}

QJsonObject defaultObj(int type)
{
    QByteArray out;
    DspJsonWriter w(&out);
    DspCodec::writeBlockObj(w, DspDefaults::block(type));
    return QJsonDocument::fromJson(out).object();
}

// The version-3 members of each block type that kept their meaning, by their current name; members a type
// gained later come from the defaults.
struct Renamed
{
    const char *old;
    const char *now;
};

QVector<Renamed> scalarsOf(int type)
{
    switch (type) {
    case 1:
        return {{"delay", "delayNum"}};
    case 2:
    case 8:
        return {{"attackMs", "attackMs"}, {"kneeDb", "kneeDb"}, {"ratio", "ratio"}, {"releaseMs", "releaseMs"},
                {"trigDb", "trigDb"}};
    case 3:
        return {{"freqShift", "freqShift"}};
    case 4:
        return {{"freq0", "freq0"}, {"isHpf", "isHpf"}, {"order", "order"}, {"type", "type"}};
    case 5:
        return {{"firType", "firType"}, {"freq0", "freq0"}, {"freq1", "freq1"}, {"taps", "taps"},
                {"winType", "winType"}};
    case 6:
        return {{"limitDb", "limitDb"}};
    case 7:
        return {{"closeMs", "closeMs"}, {"openMs", "openMs"}, {"trigDb", "trigDb"}};
    case 9:
        return {{"freq", "freq"}, {"gainDb", "gainDb"}, {"mode", "mode"}};
    default:
        return {};
    }
}

constexpr int kEqBands = 7;
constexpr int kLastOldBlockType = 9; // the echo canceller and the ducker came with version 4

QJsonObject blockObj(int type, const QJsonObject &old)
{
    QJsonObject obj = defaultObj(type);
    if (type == 0) {
        const QJsonArray bands = array(old, "bandArr");
        if (bands.size() != kEqBands)
            throw OutOfShape{};
        QJsonArray eqArr, bypassArr;
        for (const QJsonValue &b : bands) {
            if (!b.isArray() || b.toArray().size() != 4)
                throw OutOfShape{};
            const QJsonArray band = b.toArray();
            eqArr.append(QJsonObject{{QStringLiteral("dbGain"), textAt(band, 2)},
                                     {QStringLiteral("freq0"), textAt(band, 1)},
                                     {QStringLiteral("qBwS"), textAt(band, 3)},
                                     {QStringLiteral("type"), textAt(band, 0)}});
            bypassArr.append(QStringLiteral("0"));
        }
        obj.insert(QStringLiteral("eqArr"), eqArr);
        obj.insert(QStringLiteral("bypassArr"), bypassArr);
        return obj;
    }
    for (const Renamed &r : scalarsOf(type))
        obj.insert(QLatin1String(r.now), text(old, r.old));
    if (type == 5)
        obj.insert(QStringLiteral("arr"), texts(array(old, "arr")));
    return obj;
}

QJsonArray chain(const QJsonArray &procArr)
{
    QJsonArray out;
    for (const QJsonValue &v : procArr) {
        const QJsonObject old = object(v);
        bool ok = false;
        const int type = text(old, "type").toInt(&ok);
        if (!ok || type < 0 || type > kLastOldBlockType)
            throw OutOfShape{};
        out.append(QJsonObject{{QStringLiteral("bypass"), text(old, "bypass")},
                               {QStringLiteral("core"), QStringLiteral("-1")},
                               {QStringLiteral("groupId"), QStringLiteral("-1")},
                               {QStringLiteral("obj"), blockObj(type, object(member(old, "obj")))},
                               {QStringLiteral("type"), QString::number(type)}});
    }
    return out;
}

// Channel nodes and the echo-cancellation node kept gain, mute and phase in arrays beside the ports.
QJsonArray ports(const QJsonObject &node, bool echoCancel)
{
    const int n = count(node);
    const QJsonArray gains = array(node, "gainArr");
    const QJsonArray mutes = array(node, "muteArr");
    const QJsonArray phases = array(node, "phaseArr");
    const QJsonArray portArr = array(node, "portArr");
    if (gains.size() != n || mutes.size() != n || phases.size() != n || portArr.size() != n)
        throw OutOfShape{};
    QJsonArray out;
    for (int i = 0; i < n; ++i) {
        const QJsonObject old = object(portArr.at(i));
        QJsonObject port{{QStringLiteral("commArr"), QJsonArray()},
                         {QStringLiteral("gainDb"), textAt(gains, i)},
                         {QStringLiteral("groupId"), QStringLiteral("-1")},
                         {QStringLiteral("inverse"), textAt(phases, i)},
                         {QStringLiteral("mute"), textAt(mutes, i)}};
        if (echoCancel) {
            for (const char *name : {"aecLevel", "ansLevel", "hasAec", "hasAgc", "hasAns"})
                port.insert(QLatin1String(name), text(old, name));
            port.insert(QStringLiteral("farArr"), texts(array(old, "farArr")));
            port.insert(QStringLiteral("nearArr"), texts(array(old, "nearArr")));
        } else {
            port.insert(QStringLiteral("procArr"), chain(array(old, "procArr")));
        }
        out.append(port);
    }
    return out;
}

QJsonObject node(int type, const QJsonObject &obj, const QJsonArray &portArr)
{
    return QJsonObject{{QStringLiteral("obj"), obj},
                       {QStringLiteral("portArr"), portArr},
                       {QStringLiteral("portNum"), QString::number(portArr.size())},
                       {QStringLiteral("type"), QString::number(type)}};
}

QJsonObject matrix(const QJsonObject &old, int outputs, int inputs)
{
    const QJsonArray mixArr = array(object(member(old, "obj")), "mixArr");
    if (mixArr.size() != outputs)
        throw OutOfShape{};
    QJsonArray gainArr, muteArr;
    for (const QJsonValue &r : mixArr) {
        if (!r.isArray() || r.toArray().size() != inputs)
            throw OutOfShape{};
        QJsonArray gains, mutes;
        for (const QJsonValue &c : r.toArray()) {
            const QJsonObject cell = object(c);
            gains.append(text(cell, "gain"));
            mutes.append(text(cell, "mute"));
        }
        gainArr.append(gains);
        muteArr.append(mutes);
    }
    return node(1, QJsonObject{{QStringLiteral("gainArr"), gainArr}, {QStringLiteral("muteArr"), muteArr}},
                QJsonArray());
}

int typeOf(const QJsonValue &v)
{
    bool ok = false;
    const int type = text(object(v), "type").toInt(&ok);
    if (!ok)
        throw OutOfShape{};
    return type;
}

// Inputs, the echo-cancellation node only from version 3 on, the matrix, outputs: nothing else, in that order.
QJsonObject convert(const QJsonObject &old, int version)
{
    const QJsonArray nodes = array(old, "nodeArr");
    const bool withAec = nodes.size() == 4;
    if (nodes.size() != 3 && !(withAec && version >= 3))
        throw OutOfShape{};
    const QJsonObject in = object(nodes.first());
    const QJsonObject out = object(nodes.last());
    if (typeOf(in) != 0 || typeOf(out) != 0 || typeOf(nodes.at(nodes.size() - 2)) != 1
        || (withAec && typeOf(nodes.at(1)) != 2))
        throw OutOfShape{};

    QJsonArray nodeArr;
    nodeArr.append(node(0, QJsonObject(), ports(in, false)));
    if (withAec)
        nodeArr.append(node(2, QJsonObject(), ports(object(nodes.at(1)), true)));
    nodeArr.append(matrix(object(nodes.at(nodes.size() - 2)), count(out), count(in)));
    nodeArr.append(node(0, QJsonObject(), ports(out, false)));

    return QJsonObject{{QStringLiteral("customStr"), QString()},
                       {QStringLiteral("groupArr"), QJsonArray()},
                       {QStringLiteral("nodeArr"), nodeArr},
                       {QStringLiteral("sampleRate"), text(old, "sampleRate")},
                       {QStringLiteral("version"), QString::number(ProgramFiles::kCurrentVersion)}};
}

} // namespace

ProgramConvert::Result ProgramConvert::toCurrent(const QJsonObject &config)
{
    if (const std::optional<Tx> refusal = ProgramFiles::conversionRefusal(ProgramFiles::versionOf(config)))
        return {refusal, {}};
    const QJsonValue v = config.value(QLatin1String("version"));
    const int version = v.isString() ? v.toString().toInt() : v.toInt();
    // Version 1 documents were never kept by a device this program can reach; their form is not known.
    if (version < 2)
        return {Tx::ProgWrongVersion, {}};

    QJsonObject converted;
    try {
        converted = convert(config, version);
    } catch (const OutOfShape &) {
        return {Tx::ProgConvertFailed, {}};
    }
    // The reader of today decides: what it refuses is not handed on, and what it takes is given in the exact
    // form it writes, numbers as a device writes them.
    CDeviceDspData doc;
    if (!doc.loadConfig(converted).ok())
        return {Tx::ProgConvertFailed, {}};
    QJsonObject written;
    if (!DspCodec::parseObject(doc.toJson(), &written))
        return {Tx::ProgConvertFailed, {}};
    return {std::nullopt, written};
}
