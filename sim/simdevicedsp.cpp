#include "simdevice.h"

#include "simdspdocument.h"
#include "simdspprograms.h"
#include "simlevels.h"
#include "simnetwork.h"
#include "simports.h"
#include "simtext.h"

#include "core/app/log.h"

#include <QJsonArray>
#include <QJsonDocument>

// The device's signal processor: its operations, the DSP link's frames, and the answers of the document, the
// meters and the program store.

using SimText::badParam;
using SimText::num;

const QHash<QString, SimDevice::Op> &SimDevice::dspOperations()
{
    static const QHash<QString, Op> ops = [] {
        QHash<QString, Op> o;
        const QVector<int> link{linkPort};
        const QVector<int> both{linkPort, SimPorts::dsp};
        auto add = [&o](const char *name, Handler h, QVector<int> ports, Op::Guard guard) {
            o.insert(QLatin1String(name), Op{h, ports, guard});
        };
        const Handler change = &partCall<SimDevice, &SimDevice::opDspChange>;
        const Handler read = &partCall<SimDevice, &SimDevice::opDspRead>;
        add("getConfig", read, link, Op::Free);
        add("setConfig", change, link, Op::Dsp);
        for (const char *n :
             {"setBorderProc", "setBorderProcBypass", "setBorderEq", "setBorderEqBypass", "setBorderProcGroupIdBatch",
              "setNodeData", "setGain", "setMute", "setInverse", "setGroupId", "setMatrixCell", "setAecChannel"})
            add(n, change, both, Op::Dsp);
        // Programs and stored configurations: reading is never locked, every change is.
        const Handler programs = &partCall<SimDevice, &SimDevice::opDspPrograms>;
        for (const char *n : {"getConfigNameArr", "getDefaultFile", "getConfigByName", "getConfigByIndex",
                              "getLastConfig"})
            add(n, programs, link, Op::Free);
        for (const char *n : {"saveToFile", "saveConfigToFile", "loadFromFile", "loadFromFactory", "deleteFile",
                              "saveConfig", "loadConfig", "deleteConfig", "setFactoryConfig", "resetFactory",
                              "resetFacotry"})
            add(n, programs, link, Op::Dsp);
        add("getMicConfig", &partCall<SimLevels, &SimLevels::opMicConfig>, both, Op::Free);
        add("setMicConfig", &partCall<SimLevels, &SimLevels::opMicConfig>, both, Op::Dsp);
        add("getBorderProcStatus", read, both, Op::Free);
        for (const char *n : {"getCpuUsage", "getVolumeDbBatchIn", "getVolumeDbBatchOut"})
            add(n, &partCall<SimDevice, &SimDevice::opDspMeters>, {SimPorts::dsp}, Op::Free);
        for (const char *n : {"getDspStatus", "getDspTemperature"})
            add(n, &partCall<SimDevice, &SimDevice::opDspStatus>, {SimPorts::dspStatus}, Op::Free);
        return o;
    }();
    return ops;
}

QByteArray SimDevice::handleDspFrame(const QByteArray &payload)
{
    if (!isUp() || m_profile.faults.silent)
        return QByteArray();
    const QJsonDocument doc = QJsonDocument::fromJson(payload);
    QJsonObject reply;
    if (doc.isObject()) {
        reply = respond(doc.object(), linkPort, 0);
    } else {
        // The frame arrived whole, so the link stays; the request is simply unusable.
        LOG_FAIL();
        log(QStringLiteral("unreadable request on the DSP link"));
        reply = QJsonObject{{QStringLiteral("ops"), QString()},
                            {QStringLiteral("result"), QStringLiteral("fail")},
                            {QStringLiteral("reason"), badParam}};
    }
    if (m_network->config().verbose)
        log(QStringLiteral("%1 on the DSP link -> %2")
                .arg(reply.value(QLatin1String("ops")).toString(), reply.value(QLatin1String("result")).toString()));
    return QJsonDocument(reply).toJson(QJsonDocument::Compact);
}

// ---------------------------------------------------------------- signal processor

QString SimDevice::opDspChange(const QJsonObject &req, QJsonObject &r)
{
    const QString ops = r.value(QLatin1String("ops")).toString();
    const QString reason = m_dsp->apply(ops, req, r);
    if (reason.isEmpty() && ops == QLatin1String("setConfig"))
        log(QStringLiteral("audio processing chains replaced"));
    return reason;
}

QString SimDevice::opDspRead(const QJsonObject &req, QJsonObject &r)
{
    if (r.value(QLatin1String("ops")).toString() == QLatin1String("getConfig")) {
        r.insert(QStringLiteral("config"), m_dsp->config(sampleRate()));
        return QString();
    }
    return m_dsp->blockStatus(req, r);
}

QString SimDevice::opDspPrograms(const QJsonObject &req, QJsonObject &r)
{
    const QString ops = r.value(QLatin1String("ops")).toString();
    const QString reason = m_programs->apply(ops, req, r);
    if (reason.isEmpty() && !ops.startsWith(QLatin1String("get")))
        log(QStringLiteral("%1 done").arg(ops));
    return reason;
}

QString SimDevice::opDspMeters(const QJsonObject &, QJsonObject &r)
{
    const QString ops = r.value(QLatin1String("ops")).toString();
    if (ops == QLatin1String("getCpuUsage")) {
        r.insert(QStringLiteral("val"), num(m_dsp->load(sampleRate(), now())));
        return QString();
    }
    QJsonArray arr;
    for (double level : m_dsp->levels(ops.endsWith(QLatin1String("Out"))))
        arr.append(SimText::levelText(level));
    r.insert(QStringLiteral("arr"), arr);
    return QString();
}

QString SimDevice::opDspStatus(const QJsonObject &, QJsonObject &r)
{
    const bool temperatureAsked = r.value(QLatin1String("ops")).toString() == QLatin1String("getDspTemperature");
    r.insert(QStringLiteral("val"),
             temperatureAsked ? num(qRound(m_levels->temperature() / 1000.0)) : QStringLiteral("0"));
    return QString();
}
