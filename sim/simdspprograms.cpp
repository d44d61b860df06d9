#include "simdspprograms.h"

#include "simdspdocument.h"
#include "simrequest.h"

#include <QRegularExpression>

using SimRequest::readInt;
using SimRequest::readReal;

namespace {

const QString badParam = QStringLiteral("bad param");
const QString defaultName = QStringLiteral("default");

bool validName(const QJsonValue &v)
{
    static const QRegularExpression rule(QStringLiteral("^[0-9a-zA-Z_-]{1,40}$"));
    return v.isString() && rule.match(v.toString()).hasMatch();
}

// A document is stored as it stands, old versions too; it only has to say which version it is.
bool storable(const QJsonValue &v)
{
    return v.isObject() && v.toObject().contains(QLatin1String("version"));
}

QJsonArray zeros(int n)
{
    QJsonArray a;
    for (int i = 0; i < n; ++i)
        a.append(QStringLiteral("0"));
    return a;
}

// The amplifier arrays: gains in dB, phases "0"/"1".
bool validGains(const QJsonValue &v)
{
    if (!v.isArray())
        return false;
    for (const QJsonValue &e : v.toArray()) {
        bool ok = false;
        if (!e.isString() || (e.toString().toDouble(&ok), !ok))
            return false;
    }
    return true;
}

bool validPhases(const QJsonValue &v)
{
    if (!v.isArray())
        return false;
    for (const QJsonValue &e : v.toArray())
        if (e != QJsonValue(QStringLiteral("0")) && e != QJsonValue(QStringLiteral("1")))
            return false;
    return true;
}

bool validAmpType(const QJsonValue &v)
{
    bool ok = false;
    const int t = readInt(v, &ok);
    return v.isString() && ok && t >= 0 && t <= 3;
}

} // namespace

SimDspPrograms::SimDspPrograms(SimDspDocument &dsp, std::function<int()> sampleRate, int channels)
    : m_dsp(dsp)
    , m_sampleRate(std::move(sampleRate))
    , m_channels(channels)
    , m_initial(dsp.config(m_sampleRate()))
{
    m_names[0] = defaultName;
    m_amplifier.analogGain = m_amplifier.aes67Gain = zeros(channels);
    m_amplifier.analogPhase = m_amplifier.aes67Phase = zeros(channels);
}

QString SimDspPrograms::seed(const QString &name, const QJsonObject &document)
{
    if (!validName(name) || name == defaultName || !document.contains(QLatin1String("version")))
        return badParam;
    return store(name, document, -1);
}

QString SimDspPrograms::apply(const QString &ops, const QJsonObject &req, QJsonObject &reply)
{
    if (ops == QLatin1String("getConfigNameArr")) {
        QJsonArray names, configNames;
        for (const QString &n : m_names)
            names.append(n);
        for (const QJsonObject &r : m_records)
            configNames.append(r.value(QLatin1String("name")).toString());
        reply.insert(QStringLiteral("nameArr"), names);
        reply.insert(QStringLiteral("configNameArr"), configNames);
        return QString();
    }
    if (ops == QLatin1String("getDefaultFile")) {
        reply.insert(QStringLiteral("name"), m_inUse);
        return QString();
    }
    if (ops == QLatin1String("getConfigByName")) {
        const QJsonValue name = req.value(QLatin1String("name"));
        const int slot = slotOf(name.toString());
        if (!name.isString() || slot < 0)
            return badParam;
        reply.insert(QStringLiteral("name"), name);
        reply.insert(QStringLiteral("subTag"), req.value(QLatin1String("subTag")).toString());
        reply.insert(QStringLiteral("config"), slot == 0 ? factoryDocument() : m_programs[slot]);
        return QString();
    }
    if (ops == QLatin1String("saveToFile"))
        return saveToFile(req);
    if (ops == QLatin1String("saveConfigToFile"))
        return saveConfigToFile(req);
    if (ops == QLatin1String("loadFromFile"))
        return loadFromFile(req);
    if (ops == QLatin1String("loadFromFactory")) {
        const QString reason = m_dsp.load(factoryDocument(), m_sampleRate());
        if (reason.isEmpty())
            m_inUse = defaultName;
        return reason;
    }
    if (ops == QLatin1String("deleteFile"))
        return deleteFile(req);
    if (ops == QLatin1String("getConfigByIndex")) {
        const int index = recordIndex(req);
        if (index < 0 || m_records[index].isEmpty())
            return badParam;
        reply.insert(QStringLiteral("index"), QString::number(index));
        reply.insert(QStringLiteral("config"), m_records[index]);
        return QString();
    }
    if (ops == QLatin1String("saveConfig"))
        return saveConfig(req);
    if (ops == QLatin1String("loadConfig"))
        return loadConfig(req);
    if (ops == QLatin1String("deleteConfig")) {
        const int index = recordIndex(req);
        if (index < 0 || m_records[index].isEmpty())
            return badParam;
        m_records[index] = QJsonObject();
        return QString();
    }
    if (ops == QLatin1String("getLastConfig")) {
        reply.insert(QStringLiteral("lastConfig"), QString::number(m_lastConfig));
        return QString();
    }
    if (ops == QLatin1String("setFactoryConfig"))
        return setFactoryConfig(req);
    if (ops == QLatin1String("resetFactory") || ops == QLatin1String("resetFacotry")) {
        resetFactory();
        return QString();
    }
    return QStringLiteral("unknown ops");
}

int SimDspPrograms::slotOf(const QString &name) const
{
    if (name.isEmpty())
        return -1;
    for (int s = 0; s < slotCount; ++s)
        if (m_names[s] == name)
            return s;
    return -1;
}

int SimDspPrograms::firstEmpty() const
{
    for (int s = 1; s < slotCount; ++s)
        if (m_names[s].isEmpty())
            return s;
    return -1;
}

QJsonObject SimDspPrograms::factoryDocument() const
{
    const int rate = m_sampleRate();
    if (m_factory.contains(rate))
        return m_factory.value(rate);
    QJsonObject doc = m_initial;
    doc.insert(QStringLiteral("sampleRate"), QString::number(rate));
    return doc;
}

int SimDspPrograms::recordIndex(const QJsonObject &req)
{
    bool ok = false;
    const int index = readInt(req, "index", &ok);
    return ok && req.value(QLatin1String("index")).isString() && index >= 0 && index < recordCount ? index : -1;
}

QString SimDspPrograms::store(const QString &name, const QJsonObject &doc, int slot)
{
    // Names are unique: a program of that name is replaced where it stands.
    int at = slotOf(name);
    if (at < 0)
        at = slot > 0 ? slot : firstEmpty();
    if (at <= 0)
        return QStringLiteral("no free slot");
    m_names[at] = name;
    m_programs[at] = doc;
    return QString();
}

QString SimDspPrograms::saveToFile(const QJsonObject &req)
{
    const QJsonValue name = req.value(QLatin1String("name"));
    const QString oldName = req.value(QLatin1String("oldName")).toString();
    if (!validName(name) || name.toString() == defaultName || oldName == defaultName)
        return badParam;
    const int old = slotOf(oldName);
    // Saving under a new name over "oldName" while another slot holds the new name: that one goes.
    const int holder = slotOf(name.toString());
    if (old > 0 && holder > 0 && holder != old) {
        m_names[holder].clear();
        m_programs[holder] = QJsonObject();
    }
    const int rate = m_sampleRate();
    QString reason;
    if (old > 0) {
        m_names[old] = name.toString();
        m_programs[old] = m_dsp.config(rate);
    } else {
        reason = store(name.toString(), m_dsp.config(rate), -1);
    }
    if (reason.isEmpty())
        m_inUse = name.toString();
    return reason;
}

QString SimDspPrograms::saveConfigToFile(const QJsonObject &req)
{
    const QJsonValue name = req.value(QLatin1String("name"));
    const QJsonValue config = req.value(QLatin1String("config"));
    if (!validName(name) || name.toString() == defaultName || !storable(config))
        return badParam;
    return store(name.toString(), config.toObject(), -1);
}

QString SimDspPrograms::loadFromFile(const QJsonObject &req)
{
    const QString name = req.value(QLatin1String("name")).toString();
    const int slot = slotOf(name);
    if (slot < 0)
        return badParam;
    const QString reason = m_dsp.load(slot == 0 ? factoryDocument() : m_programs[slot], m_sampleRate());
    if (reason.isEmpty())
        m_inUse = name;
    return reason;
}

QString SimDspPrograms::deleteFile(const QJsonObject &req)
{
    const QString name = req.value(QLatin1String("name")).toString();
    const int slot = slotOf(name);
    if (slot <= 0 || name == m_inUse)
        return badParam;
    m_names[slot].clear();
    m_programs[slot] = QJsonObject();
    return QString();
}

QString SimDspPrograms::saveConfig(const QJsonObject &req)
{
    const int index = recordIndex(req);
    const QJsonValue config = req.value(QLatin1String("config"));
    if (index < 0 || !config.isObject())
        return badParam;
    const QJsonObject given = config.toObject();
    // A "*.dcd" file arrives whole: a record holding its own document and name.
    if (given.value(QLatin1String("config")).isObject() && given.value(QLatin1String("name")).isString()) {
        if (!validName(given.value(QLatin1String("name"))))
            return badParam;
        m_records[index] = given;
        return QString();
    }
    if (!validName(req.value(QLatin1String("name"))) || !storable(config))
        return badParam;
    const QJsonValue type = req.value(QLatin1String("defaultAmpType"));
    if (!type.isUndefined() && !validAmpType(type))
        return badParam;
    QJsonObject record{{QStringLiteral("config"), given},
                       {QStringLiteral("name"), req.value(QLatin1String("name"))},
                       {QStringLiteral("inChNum"), QString::number(m_dsp.layout().inputs)},
                       {QStringLiteral("outChNum"), QString::number(m_dsp.layout().outputs)},
                       {QStringLiteral("defaultAmpType"), m_amplifier.type},
                       {QStringLiteral("analogGainArr"), m_amplifier.analogGain},
                       {QStringLiteral("aes67GainArr"), m_amplifier.aes67Gain},
                       {QStringLiteral("analogPhaseArr"), m_amplifier.analogPhase},
                       {QStringLiteral("aes67PhaseArr"), m_amplifier.aes67Phase}};
    for (const char *count : {"inChNum", "outChNum"}) {
        const QJsonValue v = req.value(QLatin1String(count));
        bool ok = false;
        if (v.isUndefined())
            continue;
        if (!v.isString() || readInt(v, &ok) < 0 || !ok)
            return badParam;
        record.insert(QLatin1String(count), v);
    }
    if (!type.isUndefined())
        record.insert(QStringLiteral("defaultAmpType"), type);
    for (const char *gains : {"analogGainArr", "aes67GainArr"}) {
        const QJsonValue v = req.value(QLatin1String(gains));
        if (v.isUndefined())
            continue;
        if (!validGains(v))
            return badParam;
        record.insert(QLatin1String(gains), v);
    }
    for (const char *phases : {"analogPhaseArr", "aes67PhaseArr"}) {
        const QJsonValue v = req.value(QLatin1String(phases));
        if (v.isUndefined())
            continue;
        if (!validPhases(v))
            return badParam;
        record.insert(QLatin1String(phases), v);
    }
    m_records[index] = record;
    return QString();
}

QString SimDspPrograms::loadConfig(const QJsonObject &req)
{
    const int index = recordIndex(req);
    if (index < 0 || m_records[index].isEmpty())
        return badParam;
    const QJsonObject &record = m_records[index];
    // An imported record may carry amplifier settings the device cannot take: checked before anything changes.
    Amplifier amp = m_amplifier;
    const QJsonValue type = record.value(QLatin1String("defaultAmpType"));
    if (!type.isUndefined()) {
        if (!validAmpType(type))
            return badParam;
        amp.type = type.toString();
    }
    const struct
    {
        const char *key;
        QJsonArray Amplifier::*member;
        bool gain;
    } arrays[] = {{"analogGainArr", &Amplifier::analogGain, true},
                  {"aes67GainArr", &Amplifier::aes67Gain, true},
                  {"analogPhaseArr", &Amplifier::analogPhase, false},
                  {"aes67PhaseArr", &Amplifier::aes67Phase, false}};
    for (const auto &a : arrays) {
        const QJsonValue v = record.value(QLatin1String(a.key));
        if (v.isUndefined())
            continue;
        if (!(a.gain ? validGains(v) : validPhases(v)))
            return badParam;
        amp.*a.member = v.toArray();
    }
    const QString reason = m_dsp.load(record.value(QLatin1String("config")).toObject(), m_sampleRate());
    if (!reason.isEmpty())
        return reason;
    m_amplifier = amp;
    m_lastConfig = index;
    return QString();
}

QString SimDspPrograms::setFactoryConfig(const QJsonObject &req)
{
    bool ok = false;
    const int rate = readInt(req, "sampleRate", &ok);
    const QJsonValue config = req.value(QLatin1String("config"));
    if (!ok || !req.value(QLatin1String("sampleRate")).isString() || rate <= 0 || !config.isObject())
        return badParam;
    // Tried on a copy: the running document stays as it is.
    SimDspDocument trial = m_dsp;
    const QString reason = trial.load(config.toObject(), rate);
    if (reason == QLatin1String("sample rate mismatch"))
        return badParam;
    if (!reason.isEmpty())
        return reason;
    m_factory.insert(rate, config.toObject());
    return QString();
}

void SimDspPrograms::resetFactory()
{
    for (int s = 1; s < slotCount; ++s) {
        m_names[s].clear();
        m_programs[s] = QJsonObject();
    }
    for (QJsonObject &r : m_records)
        r = QJsonObject();
    m_inUse = defaultName;
    m_lastConfig = -1;
    m_amplifier = Amplifier();
    m_amplifier.analogGain = m_amplifier.aes67Gain = zeros(m_channels);
    m_amplifier.analogPhase = m_amplifier.aes67Phase = zeros(m_channels);
    const QString reason = m_dsp.load(factoryDocument(), m_sampleRate());
    Q_ASSERT(reason.isEmpty());
    Q_UNUSED(reason);
}
