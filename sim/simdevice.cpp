#include "simdevice.h"

#include "simclock.h"
#include "simdspdocument.h"
#include "simdsplink.h"
#include "simdspprograms.h"
#include "simendpoint.h"
#include "simflows.h"
#include "simlevels.h"
#include "simlock.h"
#include "simnetwork.h"
#include "simperipherals.h"
#include "simports.h"
#include "simrequest.h"
#include "simrouting.h"
#include "simsettings.h"
#include "simtext.h"

#include "core/app/log.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QNetworkDatagram>
#include <QTimer>
#include <cmath>

using SimRequest::readText;
using SimText::badParam;
using SimText::dotted;
using SimText::num;

namespace {

const int pageLimit = 1400;

} // namespace

const QString SimDevice::zeroClockId = QStringLiteral("00-00-00-00-00-00-00-00");
const char *const SimDevice::announceGroup = "239.0.0.188";
const char *const SimDevice::eventGroup = "239.0.0.189";

template <> SimDevice &SimDevice::part<SimDevice>()
{
    return *this;
}
template <> SimSettings &SimDevice::part<SimSettings>()
{
    return *m_settings;
}
template <> SimClock &SimDevice::part<SimClock>()
{
    return *m_clock;
}
template <> SimLock &SimDevice::part<SimLock>()
{
    return *m_lock;
}
template <> SimLevels &SimDevice::part<SimLevels>()
{
    return *m_levels;
}
template <> SimRouting &SimDevice::part<SimRouting>()
{
    return *m_routing;
}
template <> SimFlows &SimDevice::part<SimFlows>()
{
    return *m_flows;
}
template <> SimPeripherals &SimDevice::part<SimPeripherals>()
{
    return *m_peripherals;
}

SimDevice::SimDevice(const SimDeviceProfile &profile, const QHostAddress &address, int announcePhaseMs,
                     SimNetwork *network)
    : QObject(network)
    , m_profile(profile)
    , m_network(network)
    , m_endpoint(new SimEndpoint(this))
    , m_settings(std::make_unique<SimSettings>(*this, profile))
    , m_clock(std::make_unique<SimClock>(*this, profile))
    , m_lock(std::make_unique<SimLock>(*this, profile.password))
    , m_levels(std::make_unique<SimLevels>(*this, profile))
    , m_routing(std::make_unique<SimRouting>(*this, profile))
    , m_flows(std::make_unique<SimFlows>(*this, profile.mcastNumTx))
    , m_peripherals(std::make_unique<SimPeripherals>(*this, profile))
    , m_address(address.toIPv4Address())
    , m_announcePhase(qMax(0, announcePhaseMs))
{
    m_prefix = profile.prefix.toInt();
    if (m_prefix < 1 || m_prefix > 32)
        m_prefix = 24;
    m_gateway = profile.gateway.isEmpty() ? dotted((m_address & 0xFFFFFF00u) | 1u) : profile.gateway;
    m_dns = m_gateway;
    if (profile.dsp) {
        SimDspDocument::Layout layout =
            SimDspDocument::layoutFor(profile.model, profile.phyChNumRx, profile.phyChNumTx);
        layout.deadInputs = profile.deadInputs;
        const SimLevels *levels = m_levels.get();
        m_dsp = std::make_unique<SimDspDocument>(layout, [levels](int ch) { return levels->phyIn(ch); });
        m_programs = std::make_unique<SimDspPrograms>(
            *m_dsp, [this] { return sampleRate(); }, profile.phyChNumTx);
        for (const SimDeviceProfile::Program &program : profile.programs) {
            const QString reason = m_programs->seed(program.name, program.document);
            if (!reason.isEmpty())
                log(QStringLiteral("program \"%1\" not stored: %2").arg(program.name, reason));
        }
        m_dspLink = new SimDspLink(
            network, m_profile.faults, [this](const QByteArray &payload) { return handleDspFrame(payload); },
            [this](const QString &text) { log(text); }, this);
    }
    connect(m_endpoint, &SimEndpoint::datagramReceived, this, [this](const QNetworkDatagram &dg, quint16 localPort) {
        handleDatagram(dg.data(), dg.senderAddress(), quint16(dg.senderPort()), localPort);
    });
}

SimDevice::~SimDevice() = default;

bool SimDevice::start(QString *error)
{
    if (!m_endpoint->open(QHostAddress(m_address), quint16(m_profile.port), m_network->config().interfaceAddress,
                          error))
        return false;
    if (m_dspLink && !m_dspLink->listen(QHostAddress(m_address), error)) {
        m_endpoint->close();
        return false;
    }
    m_startedAt = now();
    log(QStringLiteral("\"%1\" %2 %3x%4 at %5:%6")
            .arg(name(), model())
            .arg(m_profile.chNumRx)
            .arg(m_profile.chNumTx)
            .arg(addressText())
            .arg(m_profile.port));
    if (m_dsp) {
        const SimDspDocument::Layout &l = m_dsp->layout();
        log(QStringLiteral("audio processor %1x%2%3, DSP link on %4:%5")
                .arg(l.inputs)
                .arg(l.outputs)
                .arg(l.aec ? QStringLiteral(" with AEC and automixer") : QString())
                .arg(addressText())
                .arg(SimPorts::dsp));
    }
    for (const SimDeviceProfile::Flow &f : m_profile.flows) {
        QJsonObject req{{QStringLiteral("ops"), QStringLiteral("setMcastTx")}, {QStringLiteral("name"), f.name}};
        QJsonArray chans;
        for (int c : f.channels)
            chans.append(num(c));
        req.insert(QStringLiteral("srcChIdArr"), chans);
        QJsonObject sdp;
        if (!f.dstIp.isEmpty()) {
            sdp.insert(QStringLiteral("dstIp"), f.dstIp);
            sdp.insert(QStringLiteral("dstPort"), num(f.dstPort));
        }
        req.insert(QStringLiteral("sdp"), sdp);
        QJsonObject r;
        const QString reason = m_flows->opSetMcastTx(req, r);
        if (!reason.isEmpty())
            log(QStringLiteral("flow \"%1\" not created: %2").arg(f.name, reason));
    }
    boot();
    return true;
}

QString SimDevice::name() const
{
    return m_settings->name();
}

int SimDevice::sampleRate() const
{
    return m_settings->sampleRate();
}

int SimDevice::ptpPriority() const
{
    return m_clock->priority();
}

int SimDevice::ptpDomain() const
{
    return m_clock->domain();
}

QString SimDevice::addressText() const
{
    return dotted(m_address);
}

qint64 SimDevice::now() const
{
    return m_network->nowMs();
}

qint64 SimDevice::sinceBoot() const
{
    return now() - m_bootAt;
}

void SimDevice::log(const QString &text) const
{
    m_network->log(devId() + QStringLiteral(": ") + text);
}

bool SimDevice::isUp() const
{
    return !m_gone && m_rebootUntil < 0 && m_endpoint->isOpen();
}

bool SimDevice::hasListened() const
{
    return isUp() && now() - m_bootAt >= m_network->config().listenMs;
}

bool SimDevice::canLeadClock() const
{
    // The virtual sound card follows the network's clock, it never leads it.
    return hasListened() && model() != QLatin1String("RK0000");
}

void SimDevice::setGrandmaster(const QString &clockId)
{
    m_clock->setGrandmaster(clockId);
}

qint64 SimDevice::announcementAfter(qint64 t) const
{
    // Always at the device's own phase of the period: a tick that comes late
    // (the event loop busy answering) must not pull the devices it serves
    // into step with each other. Rounds missed meanwhile are not made up.
    const qint64 period = qMax(1, m_network->config().announceMs);
    const qint64 next = t - t % period + m_announcePhase % period;
    return next > t ? next : next + period;
}

void SimDevice::boot()
{
    const qint64 t = now();
    m_bootAt = t;
    m_rebootUntil = -1;
    m_clock->reset();
    m_nextAnnounce = announcementAfter(t - 1);
    m_nextSap = t + (m_network->config().sapMs > 1 ? m_network->random().bounded(m_network->config().sapMs) : 0);
    m_routing->activityChanged();
    if (m_dspLink && !m_dspLink->isListening()) {
        QString error;
        if (!m_dspLink->listen(QHostAddress(m_address), &error))
            log(QStringLiteral("DSP link not back: %1").arg(error));
    }
}

void SimDevice::tick(qint64 t)
{
    if (m_gone) {
        if (m_profile.faults.backAfterS < 0 || t - m_goneAt < qint64(m_profile.faults.backAfterS) * 1000)
            return;
        m_gone = false;
        boot();
        m_nextAnnounce = t;
        log(QStringLiteral("back: announcing and answering again"));
    }
    if (!m_wentGone && m_profile.faults.goneAfterS >= 0
        && t - m_startedAt >= qint64(m_profile.faults.goneAfterS) * 1000) {
        m_gone = true;
        m_wentGone = true;
        m_goneAt = t;
        if (m_dspLink)
            m_dspLink->close();
        log(QStringLiteral("gone: no more announcements or answers"));
        return;
    }
    if (m_rebootUntil >= 0) {
        if (t < m_rebootUntil)
            return;
        boot();
        m_nextAnnounce = t;
        log(QStringLiteral("back from reboot"));
    }
    const SimConfig &cfg = m_network->config();
    if (t >= m_nextAnnounce) {
        announce();
        m_nextAnnounce = announcementAfter(t);
    }
    if (t >= m_nextSap) {
        m_flows->sendSap();
        m_nextSap = t + cfg.sapMs;
    }
    if (m_profile.blinkEveryS > 0 && t >= m_nextBlink) {
        if (m_nextBlink > 0)
            pressIdentifyKey();
        m_nextBlink = t + qint64(m_profile.blinkEveryS) * 1000;
    }
    m_clock->tick(t);
    if (m_routing->activityChanged()) {
        sendGroup(announceGroup, QJsonObject{{QStringLiteral("ops"), QStringLiteral("updateActive")},
                                             {QStringLiteral("devId"), devId()}});
    }
}

QJsonObject SimDevice::announcement() const
{
    const SimSettings &s = *m_settings;
    const int frames = s.sampleRate() / 1000 / qMax(1, s.packetTimeDiv());
    return QJsonObject{
        {QStringLiteral("ops"), QStringLiteral("iAmCorvane")},
        {QStringLiteral("devId"), devId()},
        {QStringLiteral("name"), s.name()},
        {QStringLiteral("ip"), addressText()},
        {QStringLiteral("port"), num(m_profile.port)},
        {QStringLiteral("chNumRx"), num(m_profile.chNumRx)},
        {QStringLiteral("chNumTx"), num(m_profile.chNumTx)},
        {QStringLiteral("ucastNumRx"), num(m_profile.ucastNumRx)},
        {QStringLiteral("ucastNumTx"), num(m_profile.ucastNumTx)},
        {QStringLiteral("mcastNumRx"), num(m_profile.mcastNumRx)},
        {QStringLiteral("mcastNumTx"), num(m_profile.mcastNumTx)},
        {QStringLiteral("sampleRate"), num(s.sampleRate())},
        {QStringLiteral("sampleByteNum"), num(s.sampleByteNum())},
        {QStringLiteral("pFrameNum"), num(frames)},
        {QStringLiteral("dscp"), num(s.dscp())},
        {QStringLiteral("delayUs"), num(s.delayUs())},
        {QStringLiteral("myClkId"), m_profile.clockId},
        {QStringLiteral("gmClkId"), m_clock->grandmaster()},
        {QStringLiteral("model"), model()},
        {QStringLiteral("phyChNumRx"), num(m_profile.phyChNumRx)},
        {QStringLiteral("phyChNumTx"), num(m_profile.phyChNumTx)},
        {QStringLiteral("canWork"), m_profile.canWork ? QStringLiteral("1") : QStringLiteral("0")},
    };
}

void SimDevice::sendGroup(const char *group, quint16 port, const QByteArray &bytes)
{
    m_endpoint->sendGroup(QHostAddress(QLatin1String(group)), port, bytes);
}

void SimDevice::sendGroup(const char *group, const QJsonObject &obj)
{
    sendGroup(group, SimPorts::announce, QJsonDocument(obj).toJson(QJsonDocument::Compact));
}

void SimDevice::announce()
{
    sendGroup(announceGroup, announcement());
    if (m_profile.faults.malformedPercent > 0 && m_network->chance(m_profile.faults.malformedPercent)) {
        // Now and then a broken datagram on the group: cut JSON or plain noise.
        QByteArray junk = QJsonDocument(announcement()).toJson(QJsonDocument::Compact);
        if (m_network->random().bounded(2) == 0) {
            junk.truncate(1 + m_network->random().bounded(junk.size() - 1));
        } else {
            junk = QByteArray(1 + m_network->random().bounded(64), '\0');
            for (char &c : junk)
                c = char(m_network->random().bounded(256));
        }
        sendGroup(announceGroup, SimPorts::announce, junk);
    }
}

void SimDevice::pressIdentifyKey()
{
    if (!isUp())
        return;
    sendGroup(announceGroup, QJsonObject{{QStringLiteral("ops"), QStringLiteral("devReqGuiBlink")},
                                         {QStringLiteral("devId"), devId()}});
    log(QStringLiteral("identify key pressed"));
}

void SimDevice::notifyRoute()
{
    sendGroup(announceGroup,
              QJsonObject{{QStringLiteral("ops"), QStringLiteral("updateRoute")}, {QStringLiteral("devId"), devId()}});
}

// ---------------------------------------------------------------- requests

void SimDevice::handleDatagram(const QByteArray &data, const QHostAddress &from, quint16 fromPort, quint16 localPort)
{
    if (!isUp() || m_profile.faults.silent)
        return;
    // The program never sends this much; a real device's buffer would not take it.
    if (data.size() >= 1500)
        return;
    if (data == "AreYouCorvaneLink?") {
        if (localPort == SimPorts::device)
            sendRaw(localPort, QByteArrayLiteral("iAmCorvaneLink!"), from, fromPort, false);
        return;
    }
    QJsonParseError pe;
    const QJsonDocument doc = QJsonDocument::fromJson(data, &pe);
    if (!doc.isObject()) {
        LOG_FAIL();
        log(QStringLiteral("unreadable request on port %1 from %2:%3")
                .arg(localPort)
                .arg(from.toString())
                .arg(fromPort));
        return;
    }
    const QJsonObject reply = handleRequest(doc.object(), localPort);
    if (reply.isEmpty())
        return;
    if (m_network->config().verbose)
        log(QStringLiteral("%1 on %2 -> %3")
                .arg(doc.object().value(QLatin1String("ops")).toString())
                .arg(localPort)
                .arg(reply.value(QLatin1String("result")).toString()));
    sendRaw(localPort, QJsonDocument(reply).toJson(QJsonDocument::Compact), from, fromPort, true);
}

void SimDevice::sendRaw(quint16 localPort, QByteArray bytes, const QHostAddress &to, quint16 toPort, bool mayMangle)
{
    const SimFaults &f = m_profile.faults;
    if (f.lossPercent > 0 && m_network->chance(f.lossPercent))
        return;
    if (mayMangle && f.oversizePercent > 0 && m_network->chance(f.oversizePercent)) {
        // Still valid JSON, just too long for the program's 1500-byte buffer.
        bytes.chop(1);
        bytes += ",\"pad\":\"" + QByteArray(1500, 'x') + "\"}";
    }
    if (mayMangle && f.malformedPercent > 0 && bytes.size() > 2 && m_network->chance(f.malformedPercent))
        bytes.truncate(1 + m_network->random().bounded(bytes.size() - 2));
    if (f.delayMs <= 0) {
        m_endpoint->send(localPort, bytes, to, toPort);
        return;
    }
    QTimer::singleShot(f.delayMs, this, [this, localPort, bytes, to, toPort] {
        if (isUp())
            m_endpoint->send(localPort, bytes, to, toPort);
    });
}

const QHash<QString, SimDevice::Op> &SimDevice::operations()
{
    using namespace SimPorts;
    static const QHash<QString, Op> ops = [] {
        QHash<QString, Op> o;
        const QVector<int> control{0};
        auto add = [&o](const char *name, Handler h, QVector<int> ports, Op::Guard guard) {
            o.insert(QLatin1String(name), Op{h, ports, guard});
        };
        for (const char *n :
             {"getAllRxCh",          "getAllRtpCh",         "getAllUcastRx",       "getAllUcastTx",
              "getAllMcastRx",       "getAllMcastTx",       "getAllActiveUcastId", "getAllActiveMcastId",
              "getAllChNameRx",      "getAllChNameTx",      "getAllPhyChNameRx",   "getAllPhyChNameTx",
              "getAllPhyVolumeDbRx", "getAllPhyVolumeDbTx", "getAllVolumeDbRx",    "getAllVolumeDbTx",
              "getAllPhyGainDbRx",   "getAllPhyGainDbTx",   "getAllPhyMuteRx",     "getAllPhyMuteTx"})
            add(n, &partCall<SimDevice, &SimDevice::opPaged>, control, Op::Free);
        add("setUcastRx", &partCall<SimRouting, &SimRouting::opSetUcastRx>, control, Op::Routing);
        add("setMcastRx", &partCall<SimRouting, &SimRouting::opSetMcastRx>, control, Op::Routing);
        add("clrRxCh", &partCall<SimRouting, &SimRouting::opClrRxCh>, control, Op::Routing);
        add("setMcastTx", &partCall<SimFlows, &SimFlows::opSetMcastTx>, control, Op::Routing);
        add("clrMcastTx", &partCall<SimFlows, &SimFlows::opClrMcastTx>, control, Op::Routing);
        add("setDevName", &partCall<SimSettings, &SimSettings::opSetDevName>, control, Op::Setting);
        for (const char *n : {"setChNameRx", "setChNameTx", "setPhyChNameRx", "setPhyChNameTx"})
            add(n, &partCall<SimSettings, &SimSettings::opSetChName>, control, Op::Setting);
        const Handler format = &partCall<SimSettings, &SimSettings::opSetFormat>;
        add("setSampleByteNum", format, control, Op::Setting);
        add("setDelayUs", format, control, Op::Setting);
        add("setDscp", format, control, Op::Setting);
        add("setSampleRate", format, {device}, Op::Setting);
        add("setPacketTimeDiv", format, {device}, Op::Setting);
        for (const char *n : {"setPtpPriority", "setPtpDomain", "setPtpDscp"})
            add(n, &partCall<SimClock, &SimClock::opSetPtp>, {device}, Op::Setting);
        add("getVersion", &partCall<SimSettings, &SimSettings::opGetVersion>, {device}, Op::Free);
        add("getDebugInfo", &partCall<SimDevice, &SimDevice::opGetDebugInfo>, {device}, Op::Free);
        add("getIp", &partCall<SimDevice, &SimDevice::opGetIp>, {device}, Op::Free);
        add("setIp", &partCall<SimDevice, &SimDevice::opSetIp>, {device}, Op::Setting);
        add("reboot", &partCall<SimDevice, &SimDevice::opReboot>, {device}, Op::Free);
        const Handler oem = &partCall<SimSettings, &SimSettings::opOemAndCustom>;
        add("getOemData", oem, control, Op::Free);
        add("setOemData", oem, control, Op::Setting);
        add("getCustomStr", oem, control, Op::Free);
        add("setCustomStr", oem, control, Op::Setting);
        add("identify", &partCall<SimSettings, &SimSettings::opIdentify>, control, Op::Free);
        const Handler amplifier = &partCall<SimPeripherals, &SimPeripherals::opAmplifier>;
        add("getTarnAmpInfo", amplifier, control, Op::Free);
        add("getInfo", amplifier, {peripheral}, Op::Free);
        add("setGain", amplifier, {peripheral}, Op::Setting);
        add("setPower", amplifier, {peripheral}, Op::Setting);
        const Handler gpio = &partCall<SimPeripherals, &SimPeripherals::opGpio>;
        add("getGpioInfo", gpio, {peripheral}, Op::Free);
        add("setGpioInfo", gpio, {peripheral}, Op::Setting);
        add("testGpio", gpio, {peripheral}, Op::Free);
        add("getCfg", &partCall<SimPeripherals, &SimPeripherals::opCfg>, {config}, Op::Free);
        add("setCfg", &partCall<SimPeripherals, &SimPeripherals::opCfg>, {config}, Op::Setting);
        add("sendUdpToUart", &partCall<SimPeripherals, &SimPeripherals::opUart>, {uart}, Op::Free);
        for (const char *n : {"setPhyGainDbRx", "setPhyGainDbTx", "setPhyMuteRx", "setPhyMuteTx"})
            add(n, &partCall<SimLevels, &SimLevels::opPhyGainMute>, control, Op::Setting);
        for (const char *n : {"getUcastStats", "getMcastStats", "getDelayStatUcast", "getDelayStatMcast",
                              "clrUcastStats", "clrMcastStats", "clrDelayStatUcast", "clrDelayStatMcast"})
            add(n, &partCall<SimRouting, &SimRouting::opStats>, control, Op::Free);
        add("getLock", &partCall<SimLock, &SimLock::opGetLock>, {0, dsp}, Op::Free);
        add("setLock", &partCall<SimLock, &SimLock::opSetLock>, {SimPorts::lock, dsp}, Op::Free);
        add("setPassword", &partCall<SimLock, &SimLock::opSetPassword>, control, Op::Free);
        return o;
    }();
    return ops;
}

QJsonObject SimDevice::handleRequest(const QJsonObject &req, quint16 localPort)
{
    const QString ops = req.value(QLatin1String("ops")).toString();
    const QJsonValue idValue = req.value(QLatin1String("devId"));
    // Requests name their device or none; "setIp" arrives by broadcast and must name it.
    if ((!idValue.isUndefined() || ops == QLatin1String("setIp")) && idValue.toString() != devId())
        return QJsonObject();
    return respond(req, localPort == m_profile.port ? 0 : localPort, localPort);
}

QJsonObject SimDevice::respond(const QJsonObject &req, int port, quint16 localPort)
{
    const QString ops = req.value(QLatin1String("ops")).toString();
    const bool link = port == linkPort;
    // The DSP link reaches one device; its replies carry no "devId".
    QJsonObject r{{QStringLiteral("ops"), ops}};
    if (!link)
        r.insert(QStringLiteral("devId"), devId());
    // The DSP side echoes the editor's "blockFlag" as well.
    const bool dspSide = link || port == SimPorts::dsp;
    for (const char *echoed : {"cookie", "uiTag", "blockFlag"}) {
        const QJsonValue v = req.value(QLatin1String(echoed));
        if (!v.isUndefined() && (dspSide || qstrcmp(echoed, "blockFlag") != 0))
            r.insert(QLatin1String(echoed), v);
    }
    const Op *op = nullptr;
    if (m_dsp) {
        const auto it = dspOperations().constFind(ops);
        if (it != dspOperations().constEnd() && it->ports.contains(port))
            op = &*it;
    }
    if (!op) {
        const auto it = operations().constFind(ops);
        if (it != operations().constEnd() && it->ports.contains(port))
            op = &*it;
    }
    m_localPort = localPort;
    QString reason;
    if (!op)
        reason = SimText::unknownOps;
    else if (m_profile.faults.refuse.contains(ops))
        reason = m_profile.faults.refuse.value(ops);
    else if (op->guard == Op::Routing && m_lock->routingLocked())
        reason = SimText::lockReason;
    else if (op->guard == Op::Setting && m_lock->settingsLocked())
        reason = SimText::lockReason;
    else if (op->guard == Op::Dsp && m_lock->dspLocked())
        reason = SimText::lockReason;
    else
        reason = op->handler(*this, req, r);
    m_localPort = 0;
    if (reason.isEmpty()) {
        r.insert(QStringLiteral("result"), QStringLiteral("succ"));
    } else {
        r.insert(QStringLiteral("result"), QStringLiteral("fail"));
        r.insert(QStringLiteral("reason"), reason);
    }
    return r;
}

// ---------------------------------------------------------------- paged tables

bool SimDevice::pagedTable(const QString &ops, int *size, std::function<QJsonValue(int)> *item) const
{
    auto names = [&](const QStringList &list) {
        *size = list.size();
        *item = [list](int i) {
            return QJsonObject{{QStringLiteral("id"), num(i)}, {QStringLiteral("name"), list.at(i)}};
        };
        return true;
    };
    if (ops == QLatin1String("getAllChNameRx"))
        return names(m_settings->chNamesRx());
    if (ops == QLatin1String("getAllChNameTx"))
        return names(m_settings->chNamesTx());
    if (ops == QLatin1String("getAllPhyChNameRx"))
        return names(m_settings->phyChNamesRx());
    if (ops == QLatin1String("getAllPhyChNameTx"))
        return names(m_settings->phyChNamesTx());
    return m_routing->page(ops, size, item) || m_flows->page(ops, size, item) || m_levels->page(ops, size, item);
}

QString SimDevice::opPaged(const QJsonObject &req, QJsonObject &r)
{
    int size = 0;
    std::function<QJsonValue(int)> item;
    if (!pagedTable(r.value(QLatin1String("ops")).toString(), &size, &item))
        return SimText::unknownOps;
    bool ok = false;
    const int start = SimRequest::readInt(req, "idStart", &ok);
    if (!ok || start < 0)
        return badParam;
    r.insert(QStringLiteral("idStart"), num(start));
    // Fill the page up to the datagram limit, counting the envelope with the
    // widest "idNext" it can carry.
    QJsonObject envelope = r;
    envelope.insert(QStringLiteral("result"), QStringLiteral("succ"));
    envelope.insert(QStringLiteral("idNext"), 999999);
    envelope.insert(QStringLiteral("arr"), QJsonArray());
    int used = QJsonDocument(envelope).toJson(QJsonDocument::Compact).size();
    QJsonArray arr;
    int i = start;
    for (; i < size; ++i) {
        const QJsonValue v = item(i);
        const int cost =
            QJsonDocument(QJsonArray{v}).toJson(QJsonDocument::Compact).size() - 2 + (arr.isEmpty() ? 0 : 1);
        if (used + cost > pageLimit)
            break;
        used += cost;
        arr.append(v);
    }
    r.insert(QStringLiteral("idNext"), start >= size ? size : start + arr.size());
    r.insert(QStringLiteral("arr"), arr);
    return QString();
}

// ---------------------------------------------------------------- the device itself

QString SimDevice::opGetDebugInfo(const QJsonObject &, QJsonObject &r)
{
    r.insert(QStringLiteral("devName"), name());
    r.insert(QStringLiteral("model"), model());
    r.insert(QStringLiteral("temp"), num(m_levels->temperature()));
    r.insert(QStringLiteral("uptime"), QString::number(sinceBoot() / 1000.0, 'f', 2));
    r.insert(QStringLiteral("version"), m_profile.version);
    return QString();
}

QString SimDevice::opGetIp(const QJsonObject &, QJsonObject &r)
{
    r.insert(QStringLiteral("fixedIp"), m_fixedIp ? QStringLiteral("1") : QStringLiteral("0"));
    r.insert(QStringLiteral("ip"), addressText() + QLatin1Char('/') + num(m_prefix));
    r.insert(QStringLiteral("gateway"), m_gateway);
    r.insert(QStringLiteral("dns"), m_dns);
    return QString();
}

QString SimDevice::opSetIp(const QJsonObject &req, QJsonObject &)
{
    QString fixed;
    if (!readText(req, "isFixedIp", &fixed))
        return badParam;
    if (fixed == QLatin1String("0")) {
        // The simulated DHCP server hands out the address the device has.
        m_fixedIp = false;
        log(QStringLiteral("address now automatic, keeping %1").arg(addressText()));
        return QString();
    }
    if (fixed != QLatin1String("1"))
        return badParam;
    QString ipText, gateway, dns;
    if (!readText(req, "ip", &ipText) || !readText(req, "gateway", &gateway) || !readText(req, "dns", &dns))
        return badParam;
    const QStringList parts = ipText.split(QLatin1Char('/'));
    bool okIp = false, okPrefix = false, okGw = false, okDns = false;
    const quint32 ip = SimText::parseDotted(parts.value(0), &okIp);
    const int prefix = parts.size() == 2 ? parts[1].toInt(&okPrefix) : 0;
    SimText::parseDotted(gateway, &okGw);
    SimText::parseDotted(dns, &okDns);
    if (!okIp || !okPrefix || prefix < 1 || prefix > 32 || !okGw || !okDns || !ip || SimText::isMulticast(ip))
        return badParam;
    m_fixedIp = true;
    m_prefix = prefix;
    m_gateway = gateway;
    m_dns = dns;
    if (ip != m_address) {
        const int wait = m_network->config().moveDelayMs + m_profile.faults.delayMs;
        QTimer::singleShot(wait, this, [this, ip] { moveTo(QHostAddress(ip)); });
    }
    return QString();
}

void SimDevice::moveTo(const QHostAddress &newAddress)
{
    const QHostAddress old(m_address);
    QString error;
    if (!m_endpoint->open(newAddress, quint16(m_profile.port), m_network->config().interfaceAddress, &error)) {
        // A real device would go; here the address cannot be had, so it stays reachable where it was.
        log(QStringLiteral("cannot take %1 (%2), staying on %3").arg(newAddress.toString(), error, old.toString()));
        QString again;
        if (!m_endpoint->open(old, quint16(m_profile.port), m_network->config().interfaceAddress, &again))
            log(QStringLiteral("lost its address: %1").arg(again));
        return;
    }
    m_address = newAddress.toIPv4Address();
    log(QStringLiteral("moved %1 -> %2").arg(old.toString(), newAddress.toString()));
    if (m_dspLink && !m_dspLink->listen(newAddress, &error))
        log(QStringLiteral("DSP link cannot follow: %1").arg(error));
    m_nextAnnounce = now();
}

QString SimDevice::opReboot(const QJsonObject &, QJsonObject &)
{
    log(QStringLiteral("rebooting"));
    // The reply leaves first, then the device goes quiet.
    QTimer::singleShot(m_profile.faults.delayMs + 20, this, [this] {
        if (m_gone)
            return;
        m_rebootUntil = now() + m_network->config().rebootMs;
        // A rebooting device drops its TCP connections; boot() listens again.
        if (m_dspLink)
            m_dspLink->close();
    });
    return QString();
}
