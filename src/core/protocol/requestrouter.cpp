#include "core/protocol/requestrouter.h"

#include "core/protocol/deviceports.h"
#include "core/app/log.h"
#include "core/devices/devmanager.h"

#include <QJsonDocument>
#include <QJsonObject>

namespace {

struct Translation
{
    const char *page;
    const char *rx;
    const char *tx;
    bool paged;
};

const Translation kTranslations[] = {
    {"getAllPhyLevel", "getAllPhyVolumeDbRx", "getAllPhyVolumeDbTx", true},
    {"getAllPhyGain", "getAllPhyGainDbRx", "getAllPhyGainDbTx", true},
    {"setPhyGain", "setPhyGainDbRx", "setPhyGainDbTx", false},
    {"getAllPhyMute", "getAllPhyMuteRx", "getAllPhyMuteTx", true},
    {"setPhyMute", "setPhyMuteRx", "setPhyMuteTx", false},
    {"getAllNetLevel", "getAllVolumeDbRx", "getAllVolumeDbTx", true},
    {"setChName", "setChNameRx", "setChNameTx", false},
};

const char *const kStatisticsPairs[][2] = {
    {"getDelayStatUcast", "getUcastStats"},
    {"getDelayStatMcast", "getMcastStats"},
    {"clrDelayStatUcast", "clrUcastStats"},
    {"clrDelayStatMcast", "clrMcastStats"},
};

struct FixedPort
{
    quint16 port;
    const char *ops[10];
};

const FixedPort kFixedPorts[] = {
    {DevicePorts::kSettings, {"setSampleRate", "setPacketTimeDiv", "setPtpPriority", "setPtpDomain", "setPtpDscp", "setIp", "getIp",
            "getDebugInfo", "getVersion", "reboot"}},
    {DevicePorts::kInfo, {"getInfo", "setGain", "setPower", "getGpioInfo", "setGpioInfo", "testGpio"}},
    {DevicePorts::kConfig, {"getCfg", "setCfg"}},
    {DevicePorts::kUart, {"sendUdpToUart"}},
};

QByteArray compact(const QJsonObject &obj)
{
    return QJsonDocument(obj).toJson(QJsonDocument::Compact);
}

} // namespace

quint16 RequestRouter::portFor(const QString &op, quint16 announcedPort)
{
    for (const FixedPort &f : kFixedPorts)
        for (const char *o : f.ops)
            if (o && op == QLatin1String(o))
                return f.port;
    return announcedPort;
}

QString RequestRouter::deviceOperation(const QString &op, bool transmitSide, bool *paged)
{
    for (const Translation &t : kTranslations) {
        if (op == QLatin1String(t.page)) {
            if (paged)
                *paged = t.paged;
            return QLatin1String(transmitSide ? t.tx : t.rx);
        }
    }
    return QString();
}

QString RequestRouter::pageOperation(const QString &deviceOp, bool *transmitSide)
{
    for (const Translation &t : kTranslations) {
        if (deviceOp == QLatin1String(t.rx) || deviceOp == QLatin1String(t.tx)) {
            if (transmitSide)
                *transmitSide = deviceOp == QLatin1String(t.tx);
            return QLatin1String(t.page);
        }
    }
    return QString();
}

bool RequestRouter::isTransmitSide(const QJsonObject &request)
{
    const QJsonValue v = request.value(QLatin1String("inOrOut"));
    if (v.isDouble())
        return v.toInt() == 1;
    const QString s = v.toString().toLower();
    return s == QLatin1String("1") || s == QLatin1String("out") || s == QLatin1String("tx");
}

QString RequestRouter::statisticsPartner(const QString &op)
{
    for (const auto &pair : kStatisticsPairs) {
        if (op == QLatin1String(pair[0]))
            return QLatin1String(pair[1]);
        if (op == QLatin1String(pair[1]))
            return QLatin1String(pair[0]);
    }
    return QString();
}

QVector<RequestRouter::Datagram> RequestRouter::route(const QString &json, const DevManager &registry)
{
    return build(json, -1, registry);
}

QVector<RequestRouter::Datagram> RequestRouter::routeToPort(const QString &json, quint16 port,
                                                            const DevManager &registry)
{
    return build(json, port, registry);
}

QVector<RequestRouter::Datagram> RequestRouter::build(const QString &json, int fixedPort, const DevManager &registry)
{
    QVector<Datagram> out;
    QJsonParseError error;
    const QJsonDocument doc = QJsonDocument::fromJson(json.toUtf8(), &error);
    if (error.error != QJsonParseError::NoError || !doc.isObject()) {
        Log::failure(__FILE__, "MainWindow::slot_sendUdp", __LINE__);
        return out;
    }
    QJsonObject req = doc.object();
    QString op = req.value(QLatin1String("ops")).toString();
    const QString devId = req.value(QLatin1String("devId")).toString();
    // The page's tag routes the outcome inside the program; devices never see it.
    req.remove(QStringLiteral("TAG"));

    const bool isSetIp = op == QLatin1String("setIp");
    const std::optional<Device> dev = registry.findByDevId(devId);
    if (!dev && !isSetIp)
        return out;

    bool paged = false;
    const QString translated = deviceOperation(op, isTransmitSide(req), &paged);
    if (!translated.isEmpty()) {
        op = translated;
        req.insert(QStringLiteral("ops"), op);
        req.remove(QStringLiteral("inOrOut"));
        if (paged && !req.contains(QLatin1String("idStart")))
            req.insert(QStringLiteral("idStart"), QStringLiteral("0"));
    }

    Datagram d;
    if (isSetIp) {
        d.ip = kBroadcast;
        d.port = DevicePorts::kSettings;
    } else {
        d.ip = dev->rec.ip;
        quint16 port = portFor(op, quint16(dev->rec.port));
        // The DSP's commands and the settings lock have ports of their own.
        if (req.value(QLatin1String("uiTag")).toString() == QLatin1String("dspUiTag"))
            port = DevicePorts::kDsp;
        else if (op == QLatin1String("setLock"))
            port = DevicePorts::kLock;
        d.port = fixedPort >= 0 ? quint16(fixedPort) : port;
    }
    d.data = compact(req);
    out.append(d);

    const QString partner = statisticsPartner(op);
    if (!partner.isEmpty()) {
        req.insert(QStringLiteral("ops"), partner);
        d.data = compact(req);
        d.port = fixedPort >= 0 ? quint16(fixedPort) : portFor(partner, quint16(dev->rec.port));
        out.append(d);
    }
    return out;
}
