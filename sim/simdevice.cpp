#include "simdevice.h"

#include "simdspdocument.h"
#include "simdsplink.h"
#include "simendpoint.h"
#include "simnetwork.h"
#include "simrequest.h"
#include "simsap.h"

#include "core/app/log.h"

#include <QJsonDocument>
#include <QTimer>
#include <cmath>
#include <limits>

using SimRequest::readInt;
using SimRequest::readReal;
using SimRequest::readText;

namespace {

const char *const announceGroup = "239.0.0.188";
const char *const eventGroup = "239.0.0.189";
const quint16 announcePort = 9996;
const quint16 sapPort = 9875;
const int pageLimit = 1400;
const char *const emptyPlace = "4294967295";
const QString lockReason = QStringLiteral("LOCK_UCAST_MCAST");
const QString badParam = QStringLiteral("bad param");
const QString noFreeSdpId = QStringLiteral("no free sdpId");

const QVector<int> sampleRates{44100, 48000, 96000};
const QVector<int> packetTimeDivs{1, 2, 3, 4, 8};
const QVector<int> sampleByteNums{2, 3};
const QVector<int> delays{250, 500, 1000, 2000, 4000, 8000};

QString num(qint64 v)
{
    return QString::number(v);
}

QString dotted(quint32 a)
{
    return SimSap::dotted(a);
}

QJsonArray textArray(const QVector<int> &values)
{
    QJsonArray a;
    for (int v : values)
        a.append(num(v));
    return a;
}

quint32 parseDotted(const QString &text, bool *ok)
{
    const QStringList parts = text.split(QLatin1Char('.'));
    *ok = parts.size() == 4;
    quint32 a = 0;
    for (const QString &p : parts) {
        bool pok = false;
        const uint v = p.toUInt(&pok);
        if (!pok || v > 255 || p.isEmpty())
            *ok = false;
        a = (a << 8) | (v & 0xff);
    }
    return *ok ? a : 0;
}

bool isMulticast(quint32 a)
{
    return a >= 0xE0000000u && a <= 0xEFFFFFFFu;
}

QString levelText(double dB)
{
    return std::isnan(dB) ? QStringLiteral("-inf") : QString::number(dB, 'f', 1);
}

QString hexMask(quint32 v)
{
    return QStringLiteral("0x") + QString::number(v, 16);
}

quint32 stableHash(const QString &s)
{
    quint32 h = 2166136261u;
    for (const QChar c : s)
        h = (h ^ c.unicode()) * 16777619u;
    return h;
}

QStringList filledNames(const QStringList &given, int count, const QString &stem)
{
    QStringList names = given.mid(0, count);
    for (int i = names.size(); i < count; ++i)
        names << stem + QLatin1Char(' ') + num(i + 1);
    return names;
}

} // namespace

const QString SimDevice::zeroClockId = QStringLiteral("00-00-00-00-00-00-00-00");

SimDevice::SimDevice(const SimDeviceProfile &profile, const QHostAddress &address, SimNetwork *network)
    : QObject(network)
    , m_profile(profile)
    , m_network(network)
    , m_endpoint(new SimEndpoint(this))
    , m_address(address.toIPv4Address())
    , m_name(profile.name)
    , m_sampleRate(profile.sampleRate)
    , m_sampleByteNum(profile.sampleByteNum)
    , m_packetTimeDiv(profile.packetTimeDiv)
    , m_delayUs(profile.delayUs)
    , m_dscp(profile.dscp)
    , m_ptpPriority(profile.ptpPriority)
    , m_ptpDomain(profile.ptpDomain)
    , m_ptpDscp(profile.ptpDscp)
    , m_password(profile.password)
    , m_gm(zeroClockId)
{
    m_prefix = profile.prefix.toInt();
    if (m_prefix < 1 || m_prefix > 32)
        m_prefix = 24;
    m_gateway = profile.gateway.isEmpty() ? dotted((m_address & 0xFFFFFF00u) | 1u) : profile.gateway;
    m_dns = m_gateway;
    m_chNameRx = filledNames(profile.chNamesRx, profile.chNumRx, QStringLiteral("Rx"));
    // Transmit channels carry the physical inputs: they take their names unless given.
    QStringList txNames = profile.chNamesTx;
    if (txNames.isEmpty())
        txNames = profile.phyChNamesRx.mid(0, profile.chNumTx);
    m_chNameTx = filledNames(txNames, profile.chNumTx, QStringLiteral("Tx"));
    m_phyChNameRx = filledNames(profile.phyChNamesRx, profile.phyChNumRx, QStringLiteral("In"));
    m_phyChNameTx = filledNames(profile.phyChNamesTx, profile.phyChNumTx, QStringLiteral("Out"));
    m_phyGainRx = QVector<double>(profile.phyChNumRx, 0.0);
    m_phyGainTx = QVector<double>(profile.phyChNumTx, 0.0);
    m_phyMuteRx = QVector<bool>(profile.phyChNumRx, false);
    m_phyMuteTx = QVector<bool>(profile.phyChNumTx, false);
    m_ampGain = QVector<double>(profile.amplifier ? profile.phyChNumTx : 0, 0.0);
    m_gpio = QVector<Gpio>(profile.gpioNum);
    for (int i = 0; i < m_gpio.size(); ++i)
        m_gpio[i].output = i % 2 == 1;
    m_cfg = QJsonObject{{QStringLiteral("panelBrightness"), QStringLiteral("80")},
                        {QStringLiteral("fanMode"), QStringLiteral("auto")},
                        {QStringLiteral("location"), QString()}};
    m_rxRoute = QVector<int>(profile.chNumRx, -1);
    m_rtp = QVector<RouteEntry>(profile.chNumRx);
    m_ucastRx = QVector<UcastRx>(profile.ucastNumRx);
    m_ucastTx = QVector<UcastTx>(profile.ucastNumTx);
    m_mcastRx = QVector<McastRx>(profile.mcastNumRx);
    m_mcastTx = QVector<McastTx>(profile.mcastNumTx);
    m_levelSeed = stableHash(profile.devId);
    if (profile.dsp) {
        const SimDspDocument::Layout layout =
            SimDspDocument::layoutFor(profile.model, profile.phyChNumRx, profile.phyChNumTx);
        m_dsp = std::make_unique<SimDspDocument>(layout, [this](int ch) { return phyInLevel(ch); });
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
            .arg(m_name, model())
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
                .arg(SimDspLink::port));
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
        const QString reason = opSetMcastTx(req, r);
        if (!reason.isEmpty())
            log(QStringLiteral("flow \"%1\" not created: %2").arg(f.name, reason));
    }
    boot();
    return true;
}

QString SimDevice::addressText() const
{
    return dotted(m_address);
}

qint64 SimDevice::now() const
{
    return m_network->nowMs();
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
    if (clockId == m_gm)
        return;
    m_gm = clockId;
    m_settleStart = now();
    m_nextClockEvent = m_settleStart;
}

int SimDevice::ptpState() const
{
    if (m_gm == m_profile.clockId)
        return 0;
    if (m_gm == zeroClockId)
        return 1;
    return now() - m_settleStart >= m_network->config().settleMs ? 2 : 1;
}

void SimDevice::boot()
{
    const qint64 t = now();
    m_bootAt = t;
    m_rebootUntil = -1;
    m_gm = zeroClockId;
    m_settleStart = t;
    // Spread the announcements of many devices over the interval.
    const int spread = m_network->config().announceMs;
    m_nextAnnounce = t + (spread > 1 ? m_network->random().bounded(spread) : 0);
    m_nextSap = t + (m_network->config().sapMs > 1 ? m_network->random().bounded(m_network->config().sapMs) : 0);
    m_nextClockEvent = t;
    m_lastActive = activeSignature();
    if (m_dspLink && !m_dspLink->isListening()) {
        QString error;
        if (!m_dspLink->listen(QHostAddress(m_address), &error))
            log(QStringLiteral("DSP link not back: %1").arg(error));
    }
}

void SimDevice::tick(qint64 t)
{
    if (m_gone)
        return;
    if (m_profile.faults.goneAfterS >= 0 && t - m_startedAt >= qint64(m_profile.faults.goneAfterS) * 1000) {
        m_gone = true;
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
        m_nextAnnounce = t + cfg.announceMs;
    }
    if (t >= m_nextSap) {
        sendSap();
        m_nextSap = t + cfg.sapMs;
    }
    if (m_profile.blinkEveryS > 0 && t >= m_nextBlink) {
        if (m_nextBlink > 0)
            pressIdentifyKey();
        m_nextBlink = t + qint64(m_profile.blinkEveryS) * 1000;
    }
    if (m_gm != zeroClockId && t >= m_nextClockEvent) {
        sendClockEvents();
        m_nextClockEvent = t + (ptpState() == 1 ? cfg.settlingEventMs : cfg.lockedEventMs);
    }
    const QString active = activeSignature();
    if (active != m_lastActive) {
        m_lastActive = active;
        sendGroup(announceGroup, QJsonObject{{QStringLiteral("ops"), QStringLiteral("updateActive")},
                                             {QStringLiteral("devId"), devId()}});
    }
}

QJsonObject SimDevice::announcement() const
{
    const int frames = m_sampleRate / 1000 / qMax(1, m_packetTimeDiv);
    return QJsonObject{
        {QStringLiteral("ops"), QStringLiteral("iAmCorvane")},
        {QStringLiteral("devId"), devId()},
        {QStringLiteral("name"), m_name},
        {QStringLiteral("ip"), addressText()},
        {QStringLiteral("port"), num(m_profile.port)},
        {QStringLiteral("chNumRx"), num(m_profile.chNumRx)},
        {QStringLiteral("chNumTx"), num(m_profile.chNumTx)},
        {QStringLiteral("ucastNumRx"), num(m_profile.ucastNumRx)},
        {QStringLiteral("ucastNumTx"), num(m_profile.ucastNumTx)},
        {QStringLiteral("mcastNumRx"), num(m_profile.mcastNumRx)},
        {QStringLiteral("mcastNumTx"), num(m_profile.mcastNumTx)},
        {QStringLiteral("sampleRate"), num(m_sampleRate)},
        {QStringLiteral("sampleByteNum"), num(m_sampleByteNum)},
        {QStringLiteral("pFrameNum"), num(frames)},
        {QStringLiteral("dscp"), num(m_dscp)},
        {QStringLiteral("delayUs"), num(m_delayUs)},
        {QStringLiteral("myClkId"), m_profile.clockId},
        {QStringLiteral("gmClkId"), m_gm},
        {QStringLiteral("model"), model()},
        {QStringLiteral("phyChNumRx"), num(m_profile.phyChNumRx)},
        {QStringLiteral("phyChNumTx"), num(m_profile.phyChNumTx)},
        {QStringLiteral("canWork"), m_profile.canWork ? QStringLiteral("1") : QStringLiteral("0")},
    };
}

void SimDevice::sendGroup(const char *group, const QJsonObject &obj)
{
    m_endpoint->sendGroup(QHostAddress(QLatin1String(group)), announcePort,
                          QJsonDocument(obj).toJson(QJsonDocument::Compact));
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
        m_endpoint->sendGroup(QHostAddress(QLatin1String(announceGroup)), announcePort, junk);
    }
}

void SimDevice::sendSap()
{
    for (const McastTx &f : qAsConst(m_mcastTx))
        if (f.dstIp)
            sendSapFor(f, false);
}

void SimDevice::sendSapFor(const McastTx &f, bool deletion)
{
    SimSap::Flow s;
    s.name = f.name;
    s.source = m_address;
    s.group = f.dstIp;
    s.port = f.dstPort;
    s.sampleByteNum = f.sampleByteNum;
    s.sampleRate = m_sampleRate;
    s.packetTimeDiv = m_packetTimeDiv;
    s.gmClkId = m_gm;
    s.ptpDomain = m_ptpDomain;
    s.rtpTsOffset = f.rtpTsOffset;
    s.sessionId = f.sessionId;
    s.sessionVersion = f.sessionVersion;
    for (int c : f.channels)
        s.channelNames << m_chNameTx.value(c);
    m_endpoint->sendGroup(QHostAddress(QStringLiteral("239.255.255.255")), sapPort,
                          SimSap::packet(m_address, quint16(f.sessionId), SimSap::sdp(s), deletion));
}

void SimDevice::sendClockEvents()
{
    const int state = ptpState();
    QRandomGenerator &rnd = m_network->random();
    qint64 offset = 0;
    double freq = 0.0;
    if (state == 1) {
        // Settling: a large offset shrinking towards lock, the servo pulling hard.
        const double progress = double(now() - m_settleStart) / qMax(1, m_network->config().settleMs);
        const double scale = std::exp(-3.0 * qMin(progress, 1.0));
        offset = qint64((8000 + rnd.bounded(4000)) * scale) * (rnd.bounded(2) ? 1 : -1);
        freq = (rnd.bounded(2000) - 1000) / 100.0 * scale;
    } else if (state == 2) {
        offset = rnd.bounded(161) - 80;
        freq = (rnd.bounded(1001) - 500) / 1000.0;
    }
    sendGroup(eventGroup, QJsonObject{{QStringLiteral("devId"), devId()},
                                      {QStringLiteral("event"), QStringLiteral("masterOffset")},
                                      {QStringLiteral("state"), num(state)},
                                      {QStringLiteral("masterOffset"), num(offset)}});
    sendGroup(eventGroup, QJsonObject{{QStringLiteral("devId"), devId()},
                                      {QStringLiteral("event"), QStringLiteral("adjustFreq")},
                                      {QStringLiteral("adjustFreq"), QString::number(freq, 'f', 3)}});
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
        if (localPort == 9994)
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
            add(n, &SimDevice::opPaged, control, Op::Free);
        add("setUcastRx", &SimDevice::opSetUcastRx, control, Op::Routing);
        add("setMcastRx", &SimDevice::opSetMcastRx, control, Op::Routing);
        add("clrRxCh", &SimDevice::opClrRxCh, control, Op::Routing);
        add("setMcastTx", &SimDevice::opSetMcastTx, control, Op::Routing);
        add("clrMcastTx", &SimDevice::opClrMcastTx, control, Op::Routing);
        add("setDevName", &SimDevice::opSetDevName, control, Op::Setting);
        for (const char *n : {"setChNameRx", "setChNameTx", "setPhyChNameRx", "setPhyChNameTx"})
            add(n, &SimDevice::opSetChName, control, Op::Setting);
        add("setSampleByteNum", &SimDevice::opSetFormat, control, Op::Setting);
        add("setDelayUs", &SimDevice::opSetFormat, control, Op::Setting);
        add("setDscp", &SimDevice::opSetFormat, control, Op::Setting);
        add("setSampleRate", &SimDevice::opSetFormat, {9994}, Op::Setting);
        add("setPacketTimeDiv", &SimDevice::opSetFormat, {9994}, Op::Setting);
        for (const char *n : {"setPtpPriority", "setPtpDomain", "setPtpDscp"})
            add(n, &SimDevice::opSetPtp, {9994}, Op::Setting);
        add("getVersion", &SimDevice::opGetVersion, {9994}, Op::Free);
        add("getDebugInfo", &SimDevice::opGetDebugInfo, {9994}, Op::Free);
        add("getIp", &SimDevice::opGetIp, {9994}, Op::Free);
        add("setIp", &SimDevice::opSetIp, {9994}, Op::Setting);
        add("reboot", &SimDevice::opReboot, {9994}, Op::Free);
        add("getOemData", &SimDevice::opOemAndCustom, control, Op::Free);
        add("setOemData", &SimDevice::opOemAndCustom, control, Op::Setting);
        add("getCustomStr", &SimDevice::opOemAndCustom, control, Op::Free);
        add("setCustomStr", &SimDevice::opOemAndCustom, control, Op::Setting);
        add("identify", &SimDevice::opIdentify, control, Op::Free);
        add("getTarnAmpInfo", &SimDevice::opAmplifier, control, Op::Free);
        add("getInfo", &SimDevice::opAmplifier, {9992}, Op::Free);
        add("setGain", &SimDevice::opAmplifier, {9992}, Op::Setting);
        add("setPower", &SimDevice::opAmplifier, {9992}, Op::Setting);
        add("getGpioInfo", &SimDevice::opGpio, {9992}, Op::Free);
        add("setGpioInfo", &SimDevice::opGpio, {9992}, Op::Setting);
        add("testGpio", &SimDevice::opGpio, {9992}, Op::Free);
        add("getCfg", &SimDevice::opCfg, {9993}, Op::Free);
        add("setCfg", &SimDevice::opCfg, {9993}, Op::Setting);
        add("sendUdpToUart", &SimDevice::opUart, {7999}, Op::Free);
        for (const char *n : {"setPhyGainDbRx", "setPhyGainDbTx", "setPhyMuteRx", "setPhyMuteTx"})
            add(n, &SimDevice::opPhyGainMute, control, Op::Setting);
        for (const char *n : {"getUcastStats", "getMcastStats", "getDelayStatUcast", "getDelayStatMcast",
                              "clrUcastStats", "clrMcastStats", "clrDelayStatUcast", "clrDelayStatMcast"})
            add(n, &SimDevice::opStats, control, Op::Free);
        add("getLock", &SimDevice::opGetLock, {0, 8999}, Op::Free);
        add("setLock", &SimDevice::opSetLock, {9995, 8999}, Op::Free);
        add("setPassword", &SimDevice::opSetPassword, control, Op::Free);
        return o;
    }();
    return ops;
}

const QHash<QString, SimDevice::Op> &SimDevice::dspOperations()
{
    static const QHash<QString, Op> ops = [] {
        QHash<QString, Op> o;
        const QVector<int> link{linkPort};
        const QVector<int> both{linkPort, 8999};
        auto add = [&o](const char *name, Handler h, QVector<int> ports, Op::Guard guard) {
            o.insert(QLatin1String(name), Op{h, ports, guard});
        };
        add("getConfig", &SimDevice::opDspRead, link, Op::Free);
        add("setConfig", &SimDevice::opDspChange, link, Op::Dsp);
        for (const char *n : {"setBorderProc", "setBorderProcBypass", "setBorderProcGroupIdBatch", "setNodeData",
                              "setGain", "setMute", "setInverse", "setGroupId"})
            add(n, &SimDevice::opDspChange, both, Op::Dsp);
        add("getBorderProcStatus", &SimDevice::opDspRead, both, Op::Free);
        for (const char *n : {"getCpuUsage", "getVolumeDbBatchIn", "getVolumeDbBatchOut"})
            add(n, &SimDevice::opDspMeters, {8999}, Op::Free);
        for (const char *n : {"getDspStatus", "getDspTemperature"})
            add(n, &SimDevice::opDspStatus, {12001}, Op::Free);
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
    const bool dspSide = link || port == 8999;
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
        reason = QStringLiteral("unknown ops");
    else if (m_profile.faults.refuse.contains(ops))
        reason = m_profile.faults.refuse.value(ops);
    else if (op->guard == Op::Routing && (m_lockVal & 0x2))
        reason = lockReason;
    else if (op->guard == Op::Setting && (m_lockVal & 0x1))
        reason = lockReason;
    else if (op->guard == Op::Dsp && m_dspLockVal != 0)
        reason = lockReason;
    else
        reason = (this->*(op->handler))(req, r);
    m_localPort = 0;
    if (reason.isEmpty()) {
        r.insert(QStringLiteral("result"), QStringLiteral("succ"));
    } else {
        r.insert(QStringLiteral("result"), QStringLiteral("fail"));
        r.insert(QStringLiteral("reason"), reason);
    }
    return r;
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

// ---------------------------------------------------------------- paged tables

bool SimDevice::pagedTable(const QString &ops, int *size, std::function<QJsonValue(int)> *item) const
{
    const SimDeviceProfile &s = m_profile;
    auto names = [&](const QStringList &list) {
        *size = list.size();
        *item = [list](int i) {
            return QJsonObject{{QStringLiteral("id"), num(i)}, {QStringLiteral("name"), list.at(i)}};
        };
    };
    auto levels = [&](int count, double (SimDevice::*level)(int) const) {
        *size = count;
        *item = [this, level](int i) { return QJsonValue(levelText((this->*level)(i))); };
    };
    if (ops == QLatin1String("getAllRxCh")) {
        *size = s.chNumRx;
        *item = [this](int i) {
            return QJsonObject{{QStringLiteral("id"), num(i)}, {QStringLiteral("rtpChId"), num(m_rxRoute[i])}};
        };
    } else if (ops == QLatin1String("getAllRtpCh")) {
        *size = s.chNumRx;
        *item = [this](int i) {
            const RouteEntry &e = m_rtp[i];
            QJsonObject o{{QStringLiteral("id"), num(i)},
                          {QStringLiteral("active"), routeActive(i) ? QStringLiteral("1") : QStringLiteral("0")},
                          {QStringLiteral("srcDevId"), QString()},
                          {QStringLiteral("name"), QString()},
                          {QStringLiteral("srcChId"), num(e.srcChId)},
                          {QStringLiteral("srcIp"), QStringLiteral("0.0.0.0")},
                          {QStringLiteral("dstIp"), QStringLiteral("0.0.0.0")},
                          {QStringLiteral("dstPort"), QStringLiteral("0")}};
            if (e.kind == RouteEntry::Unicast) {
                const UcastRx &u = m_ucastRx[e.stream];
                const SimDevice *tx = m_network->deviceById(u.srcDevId);
                o.insert(QStringLiteral("srcDevId"), u.srcDevId);
                o.insert(QStringLiteral("name"), tx ? tx->name() : u.srcName);
                o.insert(QStringLiteral("srcIp"), dotted(tx ? tx->address() : u.srcIp));
                o.insert(QStringLiteral("dstIp"), addressText());
                o.insert(QStringLiteral("dstPort"), QStringLiteral("5004"));
            } else if (e.kind == RouteEntry::Multicast) {
                const McastRx &m = m_mcastRx[e.stream];
                o.insert(QStringLiteral("name"), m.name);
                o.insert(QStringLiteral("srcIp"), dotted(m.srcIp));
                o.insert(QStringLiteral("dstIp"), dotted(m.dstIp));
                o.insert(QStringLiteral("dstPort"), num(m.dstPort));
            }
            return o;
        };
    } else if (ops == QLatin1String("getAllUcastRx")) {
        *size = s.ucastNumRx;
        *item = [this](int i) {
            const UcastRx &u = m_ucastRx[i];
            const SimDevice *tx = u.srcDevId.isEmpty() ? nullptr : m_network->deviceById(u.srcDevId);
            const int chNum = tx && u.txStream >= 0 ? tx->m_ucastTx.value(u.txStream).channels.size() : 0;
            return QJsonObject{{QStringLiteral("id"), num(i)},
                               {QStringLiteral("srcDevId"), u.srcDevId},
                               {QStringLiteral("srcIp"), dotted(tx ? tx->address() : u.srcIp)},
                               {QStringLiteral("chNum"), num(u.rtp.isEmpty() ? 0 : qMax(chNum, 1))},
                               {QStringLiteral("rtpChIdArr"), textArray(u.rtp)}};
        };
    } else if (ops == QLatin1String("getAllUcastTx")) {
        *size = s.ucastNumTx;
        *item = [this](int i) {
            const UcastTx &u = m_ucastTx[i];
            const SimDevice *rx = u.dstDevId.isEmpty() ? nullptr : m_network->deviceById(u.dstDevId);
            QJsonArray places;
            for (int p = 0; p < 8; ++p)
                places.append(p < u.channels.size() ? num(u.channels[p]) : QLatin1String(emptyPlace));
            return QJsonObject{{QStringLiteral("id"), num(i)},
                               {QStringLiteral("dstDevId"), u.dstDevId},
                               {QStringLiteral("dstIp"), dotted(rx ? rx->address() : u.dstIp)},
                               {QStringLiteral("chNum"), num(u.channels.size())},
                               {QStringLiteral("srcChIdArr"), places}};
        };
    } else if (ops == QLatin1String("getAllMcastRx")) {
        *size = s.mcastNumRx;
        *item = [this](int i) {
            const McastRx &m = m_mcastRx[i];
            return QJsonObject{{QStringLiteral("id"), num(i)},
                               {QStringLiteral("name"), m.name},
                               {QStringLiteral("srcIp"), dotted(m.srcIp)},
                               {QStringLiteral("dstIp"), dotted(m.dstIp)},
                               {QStringLiteral("dstPort"), num(m.dstPort)},
                               {QStringLiteral("chNum"), num(m.chNum)},
                               {QStringLiteral("rtpChIdArr"), textArray(m.rtp)}};
        };
    } else if (ops == QLatin1String("getAllMcastTx")) {
        *size = s.mcastNumTx;
        *item = [this](int i) {
            const McastTx &m = m_mcastTx[i];
            return QJsonObject{{QStringLiteral("id"), num(i)},
                               {QStringLiteral("sdpId"), num(i)},
                               {QStringLiteral("name"), m.name},
                               {QStringLiteral("dstIp"), dotted(m.dstIp)},
                               {QStringLiteral("dstPort"), num(m.dstIp ? m.dstPort : 0)},
                               {QStringLiteral("chNum"), num(m.channels.size())},
                               {QStringLiteral("srcChIdArr"), textArray(m.channels)}};
        };
    } else if (ops == QLatin1String("getAllActiveUcastId")) {
        *size = s.ucastNumRx;
        *item = [this](int i) {
            return QJsonObject{
                {QStringLiteral("id"), num(i)},
                {QStringLiteral("active"), ucastRxActive(i) ? QStringLiteral("1") : QStringLiteral("0")}};
        };
    } else if (ops == QLatin1String("getAllActiveMcastId")) {
        *size = s.mcastNumRx;
        *item = [this](int i) {
            return QJsonObject{
                {QStringLiteral("id"), num(i)},
                {QStringLiteral("active"), mcastRxActive(i) ? QStringLiteral("1") : QStringLiteral("0")}};
        };
    } else if (ops == QLatin1String("getAllChNameRx")) {
        names(m_chNameRx);
    } else if (ops == QLatin1String("getAllChNameTx")) {
        names(m_chNameTx);
    } else if (ops == QLatin1String("getAllPhyChNameRx")) {
        names(m_phyChNameRx);
    } else if (ops == QLatin1String("getAllPhyChNameTx")) {
        names(m_phyChNameTx);
    } else if (ops == QLatin1String("getAllPhyVolumeDbRx")) {
        levels(s.phyChNumRx, &SimDevice::phyInDbv);
    } else if (ops == QLatin1String("getAllPhyVolumeDbTx")) {
        levels(s.phyChNumTx, &SimDevice::phyOutLevel);
    } else if (ops == QLatin1String("getAllVolumeDbRx")) {
        levels(s.chNumRx, &SimDevice::netRxLevel);
    } else if (ops == QLatin1String("getAllVolumeDbTx")) {
        levels(s.chNumTx, &SimDevice::netTxLevel);
    } else if (ops == QLatin1String("getAllPhyGainDbRx") || ops == QLatin1String("getAllPhyGainDbTx")) {
        const QVector<double> gains = ops.endsWith(QLatin1String("Rx")) ? m_phyGainRx : m_phyGainTx;
        *size = gains.size();
        *item = [gains](int i) { return QJsonValue(QString::number(gains[i], 'f', 1)); };
    } else if (ops == QLatin1String("getAllPhyMuteRx") || ops == QLatin1String("getAllPhyMuteTx")) {
        const QVector<bool> mutes = ops.endsWith(QLatin1String("Rx")) ? m_phyMuteRx : m_phyMuteTx;
        *size = mutes.size();
        *item = [mutes](int i) { return QJsonValue(mutes[i] ? QStringLiteral("1") : QStringLiteral("0")); };
    } else {
        return false;
    }
    return true;
}

QString SimDevice::opPaged(const QJsonObject &req, QJsonObject &r)
{
    int size = 0;
    std::function<QJsonValue(int)> item;
    if (!pagedTable(r.value(QLatin1String("ops")).toString(), &size, &item))
        return QStringLiteral("unknown ops");
    bool ok = false;
    const int start = readInt(req, "idStart", &ok);
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

// ---------------------------------------------------------------- routing

bool SimDevice::ucastRxActive(int k) const
{
    const UcastRx &u = m_ucastRx.value(k);
    if (u.rtp.isEmpty() || !isUp())
        return false;
    const SimDevice *tx = m_network->deviceById(u.srcDevId);
    return tx && tx->isUp() && tx->sampleRate() == m_sampleRate;
}

bool SimDevice::mcastRxActive(int k) const
{
    const McastRx &m = m_mcastRx.value(k);
    if (!m.dstIp || !isUp())
        return false;
    int slot = -1;
    const SimDevice *tx = m_network->flowOwner(m.dstIp, &slot);
    return tx && tx->isUp() && tx->sampleRate() == m_sampleRate && tx->m_mcastTx[slot].dstPort == m.dstPort;
}

bool SimDevice::routeActive(int ch) const
{
    const RouteEntry &e = m_rtp.value(ch);
    if (e.kind == RouteEntry::Unicast)
        return ucastRxActive(e.stream);
    if (e.kind == RouteEntry::Multicast)
        return mcastRxActive(e.stream);
    return false;
}

QString SimDevice::activeSignature() const
{
    QString s;
    s.reserve(m_ucastRx.size() + m_mcastRx.size());
    for (int k = 0; k < m_ucastRx.size(); ++k)
        s += ucastRxActive(k) ? QLatin1Char('1') : QLatin1Char('0');
    for (int k = 0; k < m_mcastRx.size(); ++k)
        s += mcastRxActive(k) ? QLatin1Char('1') : QLatin1Char('0');
    return s;
}

int SimDevice::attachUcastTx(const QString &rxDevId, quint32 rxIp, int srcChId)
{
    int withRoom = -1;
    int free = -1;
    for (int j = 0; j < m_ucastTx.size(); ++j) {
        UcastTx &t = m_ucastTx[j];
        if (t.dstDevId == rxDevId) {
            if (t.channels.contains(srcChId))
                return j;
            if (t.channels.size() < 8 && withRoom < 0)
                withRoom = j;
        } else if (t.dstDevId.isEmpty() && free < 0) {
            free = j;
        }
    }
    const int j = withRoom >= 0 ? withRoom : free;
    if (j < 0)
        return -1;
    m_ucastTx[j].dstDevId = rxDevId;
    m_ucastTx[j].dstIp = rxIp;
    m_ucastTx[j].channels.append(srcChId);
    notifyRoute();
    return j;
}

void SimDevice::releaseUcastTx(int stream, int srcChId)
{
    if (stream < 0 || stream >= m_ucastTx.size())
        return;
    UcastTx &t = m_ucastTx[stream];
    // The stream closes up: its remaining channels keep their order.
    if (!t.channels.removeOne(srcChId))
        return;
    if (t.channels.isEmpty())
        t = UcastTx();
    notifyRoute();
}

void SimDevice::clearRoute(int ch, bool *changed)
{
    RouteEntry &e = m_rtp[ch];
    if (e.kind == RouteEntry::Unicast) {
        UcastRx &u = m_ucastRx[e.stream];
        u.rtp.removeOne(ch);
        bool stillCarried = false;
        for (int other : qAsConst(u.rtp))
            stillCarried = stillCarried || m_rtp[other].srcChId == e.srcChId;
        if (!stillCarried) {
            if (SimDevice *tx = m_network->deviceById(u.srcDevId))
                tx->releaseUcastTx(u.txStream, e.srcChId);
        }
        if (u.rtp.isEmpty())
            u = UcastRx();
    } else if (e.kind == RouteEntry::Multicast) {
        McastRx &m = m_mcastRx[e.stream];
        m.rtp.removeOne(ch);
        if (m.rtp.isEmpty())
            m = McastRx();
    } else {
        return;
    }
    e = RouteEntry();
    m_rxRoute[ch] = -1;
    *changed = true;
}

QString SimDevice::opSetUcastRx(const QJsonObject &req, QJsonObject &)
{
    bool okSrc = false, okDst = false;
    const int srcCh = readInt(req, "srcChId", &okSrc);
    const int dstCh = readInt(req, "dstChId", &okDst);
    QString srcDevId;
    if (!okSrc || !okDst || !readText(req, "srcDevId", &srcDevId) || dstCh < 0 || dstCh >= m_profile.chNumRx)
        return badParam;
    SimDevice *tx = m_network->deviceById(srcDevId);
    if (!tx || tx == this || srcCh < 0 || srcCh >= tx->m_profile.chNumTx)
        return badParam;
    const RouteEntry &cur = m_rtp[dstCh];
    if (cur.kind == RouteEntry::Unicast && m_ucastRx[cur.stream].srcDevId == srcDevId && cur.srcChId == srcCh)
        return QString();

    bool changed = false;
    clearRoute(dstCh, &changed);
    const int j = tx->attachUcastTx(devId(), m_address, srcCh);
    if (j < 0) {
        if (changed)
            notifyRoute();
        return noFreeSdpId;
    }
    int k = -1;
    for (int i = 0; i < m_ucastRx.size() && k < 0; ++i)
        if (!m_ucastRx[i].rtp.isEmpty() && m_ucastRx[i].srcDevId == srcDevId && m_ucastRx[i].txStream == j)
            k = i;
    for (int i = 0; i < m_ucastRx.size() && k < 0; ++i) {
        if (m_ucastRx[i].rtp.isEmpty()) {
            k = i;
            UcastRx &u = m_ucastRx[i];
            u.srcDevId = srcDevId;
            u.srcName = tx->name();
            u.srcIp = tx->address();
            u.txStream = j;
            u.statsSince = u.delaySince = now();
        }
    }
    if (k < 0) {
        tx->releaseUcastTx(j, srcCh);
        if (changed)
            notifyRoute();
        return noFreeSdpId;
    }
    m_ucastRx[k].rtp.append(dstCh);
    m_rtp[dstCh] = RouteEntry{RouteEntry::Unicast, k, srcCh};
    m_rxRoute[dstCh] = dstCh;
    notifyRoute();
    log(QStringLiteral("route Rx %1 <- %2 Tx %3").arg(dstCh).arg(srcDevId).arg(srcCh));
    return QString();
}

QString SimDevice::opSetMcastRx(const QJsonObject &req, QJsonObject &)
{
    bool okSrc = false, okDst = false;
    const int srcCh = readInt(req, "srcChId", &okSrc);
    const int dstCh = readInt(req, "dstChId", &okDst);
    const QJsonObject sdp = req.value(QLatin1String("sdp")).toObject();
    bool okIp = false, okSrcIp = false, okPort = false, okCh = false;
    const quint32 group = parseDotted(sdp.value(QLatin1String("dstIp")).toString(), &okIp);
    const quint32 source = parseDotted(sdp.value(QLatin1String("srcIp")).toString(), &okSrcIp);
    const int port = readInt(sdp, "dstPort", &okPort);
    const int chNum = readInt(sdp, "chNum", &okCh);
    bool okBytes = false, okOffset = false;
    const int bytes = readInt(sdp, "sampleByteNum", &okBytes);
    const quint32 offset = quint32(readInt(sdp, "rtpTsOffset", &okOffset));
    if (!okSrc || !okDst || !okIp || !okSrcIp || !okPort || !okCh || dstCh < 0 || dstCh >= m_profile.chNumRx ||
        !isMulticast(group) || port < 1 || port > 65535 || chNum < 1 || chNum > 8 || srcCh < 0 || srcCh >= chNum)
        return badParam;
    const RouteEntry &cur = m_rtp[dstCh];
    if (cur.kind == RouteEntry::Multicast && m_mcastRx[cur.stream].dstIp == group && cur.srcChId == srcCh)
        return QString();
    int k = -1;
    for (int i = 0; i < m_mcastRx.size() && k < 0; ++i)
        if (m_mcastRx[i].dstIp == group)
            k = i;
    bool changed = false;
    if (k < 0) {
        // The channel's old route may hold the last place of a subscription: free it first.
        int free = -1;
        for (int i = 0; i < m_mcastRx.size() && free < 0; ++i)
            if (!m_mcastRx[i].dstIp || (m_mcastRx[i].rtp.size() == 1 && m_mcastRx[i].rtp[0] == dstCh))
                free = i;
        if (free < 0)
            return noFreeSdpId;
        clearRoute(dstCh, &changed);
        k = free;
        McastRx &m = m_mcastRx[k];
        int slot = -1;
        const SimDevice *owner = m_network->flowOwner(group, &slot);
        m.name = owner ? owner->flowName(slot) : dotted(group);
        m.srcIp = source;
        m.dstIp = group;
        m.dstPort = port;
        m.chNum = chNum;
        m.sampleByteNum = okBytes ? bytes : m_sampleByteNum;
        m.rtpTsOffset = okOffset ? offset : 0;
        m.statsSince = m.delaySince = now();
    } else if (cur.kind == RouteEntry::Multicast && cur.stream == k) {
        // Another channel of the same flow: the subscription stays as it is.
        m_rtp[dstCh].srcChId = srcCh;
        notifyRoute();
        return QString();
    } else {
        clearRoute(dstCh, &changed);
    }
    m_mcastRx[k].rtp.append(dstCh);
    m_rtp[dstCh] = RouteEntry{RouteEntry::Multicast, k, srcCh};
    m_rxRoute[dstCh] = dstCh;
    notifyRoute();
    log(QStringLiteral("route Rx %1 <- flow %2 channel %3").arg(dstCh).arg(dotted(group)).arg(srcCh));
    return QString();
}

QString SimDevice::opClrRxCh(const QJsonObject &req, QJsonObject &)
{
    bool ok = false;
    const int dstCh = readInt(req, "dstChId", &ok);
    if (!ok || dstCh < 0 || dstCh >= m_profile.chNumRx)
        return badParam;
    bool changed = false;
    clearRoute(dstCh, &changed);
    // Clearing an unrouted channel is no error, and no change either.
    if (changed) {
        notifyRoute();
        log(QStringLiteral("route Rx %1 cleared").arg(dstCh));
    }
    return QString();
}

int SimDevice::flowIndexByGroup(quint32 group) const
{
    for (int i = 0; i < m_mcastTx.size(); ++i)
        if (m_mcastTx[i].dstIp == group)
            return i;
    return -1;
}

QString SimDevice::flowName(int index) const
{
    return m_mcastTx.value(index).name;
}

int SimDevice::flowChannel(int index, int position) const
{
    return m_mcastTx.value(index).channels.value(position, -1);
}

QString SimDevice::opSetMcastTx(const QJsonObject &req, QJsonObject &r)
{
    QVector<int> channels;
    const QJsonValue arrValue = req.value(QLatin1String("srcChIdArr"));
    if (!arrValue.isArray())
        return badParam;
    for (const QJsonValue &v : arrValue.toArray()) {
        bool ok = false;
        const int c = v.isString() ? v.toString().toInt(&ok) : 0;
        if (!v.isString())
            ok = true;
        if (!ok || c < 0 || c >= m_profile.chNumTx || channels.contains(c))
            return badParam;
        channels << c;
    }
    if (channels.isEmpty() || channels.size() > 8)
        return badParam;
    const QJsonObject sdp = req.value(QLatin1String("sdp")).toObject();
    bool ok = false;
    const int chNum = readInt(sdp, "chNum", &ok);
    if (ok && chNum != channels.size())
        return badParam;
    quint32 group = 0;
    int port = 5004;
    const bool haveIp = sdp.contains(QLatin1String("dstIp"));
    if (haveIp) {
        group = parseDotted(sdp.value(QLatin1String("dstIp")).toString(), &ok);
        if (!ok || !isMulticast(group) || flowIndexByGroup(group) >= 0)
            return badParam;
    }
    if (sdp.contains(QLatin1String("dstPort"))) {
        port = readInt(sdp, "dstPort", &ok);
        if (!ok || port < 1024 || port > 65534)
            return badParam;
    }
    int slot = -1;
    for (int i = 0; i < m_mcastTx.size() && slot < 0; ++i)
        if (!m_mcastTx[i].dstIp)
            slot = i;
    if (slot < 0)
        return noFreeSdpId;
    if (!haveIp) {
        // 239.69.x.y from the device's address, moved on while another flow has it.
        quint32 candidate = 0xEF450000u | ((m_address + quint32(slot) * 0x100u) & 0xFFFFu);
        while ((candidate & 0xFFu) == 0 || (candidate & 0xFFu) == 255 || m_network->groupInUse(candidate))
            candidate = 0xEF450000u | ((candidate + 1) & 0xFFFFu);
        group = candidate;
    }
    McastTx &f = m_mcastTx[slot];
    f.name = req.value(QLatin1String("name")).toString();
    if (f.name.isEmpty())
        f.name = QStringLiteral("%1 : %2-%3").arg(m_name).arg(channels.first() + 1).arg(channels.last() + 1);
    f.dstIp = group;
    f.dstPort = port;
    f.channels = channels;
    bool okBytes = false;
    const int bytes = readInt(sdp, "sampleByteNum", &okBytes);
    f.sampleByteNum = okBytes && sampleByteNums.contains(bytes) ? bytes : m_sampleByteNum;
    f.rtpTsOffset = quint32(readInt(sdp, "rtpTsOffset", &ok));
    f.sessionId = (stableHash(devId() + dotted(group)) & 0x7FFFFFFFu) | 1u;
    f.sessionVersion = quint32(now() & 0x7FFFFFFF) + 1;
    r.insert(QStringLiteral("sdpId"), num(slot));
    r.insert(QStringLiteral("dstIp"), dotted(group));
    r.insert(QStringLiteral("dstPort"), num(port));
    // Receivers hear of the flow at once rather than at the next round.
    if (m_endpoint->isOpen() && isUp()) {
        notifyRoute();
        QTimer::singleShot(0, this, [this] { sendSap(); });
    }
    log(QStringLiteral("flow \"%1\" on %2:%3, %4 channels").arg(f.name, dotted(group)).arg(port).arg(channels.size()));
    return QString();
}

QString SimDevice::opClrMcastTx(const QJsonObject &req, QJsonObject &)
{
    bool ok = false;
    const quint32 group = parseDotted(req.value(QLatin1String("dstIp")).toString(), &ok);
    const int slot = ok ? flowIndexByGroup(group) : -1;
    if (slot < 0)
        return badParam;
    log(QStringLiteral("flow \"%1\" on %2 removed").arg(m_mcastTx[slot].name, dotted(group)));
    // Listeners drop the flow at once instead of waiting for it to age out.
    if (m_endpoint->isOpen() && isUp())
        sendSapFor(m_mcastTx[slot], true);
    m_mcastTx[slot] = McastTx();
    notifyRoute();
    return QString();
}

// ---------------------------------------------------------------- settings

QString SimDevice::opSetDevName(const QJsonObject &req, QJsonObject &)
{
    QString name;
    if (!readText(req, "name", &name) || name.isEmpty() || name.toUtf8().size() > 64)
        return badParam;
    log(QStringLiteral("renamed \"%1\" -> \"%2\"").arg(m_name, name));
    m_name = name;
    return QString();
}

QString SimDevice::opSetChName(const QJsonObject &req, QJsonObject &r)
{
    const QString ops = r.value(QLatin1String("ops")).toString();
    QStringList *list = ops == QLatin1String("setChNameRx")      ? &m_chNameRx
                        : ops == QLatin1String("setChNameTx")    ? &m_chNameTx
                        : ops == QLatin1String("setPhyChNameRx") ? &m_phyChNameRx
                                                                 : &m_phyChNameTx;
    bool ok = false;
    const int ch = readInt(req, "chId", &ok);
    QString name;
    if (!ok || ch < 0 || ch >= list->size() || !readText(req, "name", &name) || name.toUtf8().size() > 64)
        return badParam;
    (*list)[ch] = name;
    return QString();
}

QString SimDevice::opSetFormat(const QJsonObject &req, QJsonObject &r)
{
    const QString ops = r.value(QLatin1String("ops")).toString();
    bool ok = false;
    if (ops == QLatin1String("setSampleRate")) {
        const int v = readInt(req, "sampleRate", &ok);
        if (!ok || !sampleRates.contains(v))
            return badParam;
        m_sampleRate = v;
    } else if (ops == QLatin1String("setPacketTimeDiv")) {
        const int v = readInt(req, "packetTimeDiv", &ok);
        if (!ok || !packetTimeDivs.contains(v))
            return badParam;
        m_packetTimeDiv = v;
    } else if (ops == QLatin1String("setSampleByteNum")) {
        const int v = readInt(req, "sampleByteNum", &ok);
        if (!ok || !sampleByteNums.contains(v))
            return badParam;
        m_sampleByteNum = v;
        for (McastTx &f : m_mcastTx)
            f.sampleByteNum = v;
    } else if (ops == QLatin1String("setDelayUs")) {
        const int v = readInt(req, "delayUs", &ok);
        if (!ok || !delays.contains(v))
            return badParam;
        m_delayUs = v;
    } else {
        const int v = readInt(req, "dscp", &ok);
        if (!ok || v < 0 || v > 63)
            return badParam;
        m_dscp = v;
    }
    log(QStringLiteral("%1 done").arg(ops));
    return QString();
}

QString SimDevice::opSetPtp(const QJsonObject &req, QJsonObject &r)
{
    const QString ops = r.value(QLatin1String("ops")).toString();
    bool ok = false;
    const int v = readInt(req, "val", &ok);
    if (ops == QLatin1String("setPtpPriority")) {
        if (!ok || v < 0 || v > 255)
            return badParam;
        m_ptpPriority = v;
        log(QStringLiteral("PTP priority %1").arg(v));
    } else if (ops == QLatin1String("setPtpDomain")) {
        if (!ok || v < 0 || v > 127)
            return badParam;
        m_ptpDomain = v;
        log(QStringLiteral("PTP domain %1").arg(v));
    } else {
        if (!ok || v < 0 || v > 63)
            return badParam;
        m_ptpDscp = v;
    }
    return QString();
}

QString SimDevice::opGetVersion(const QJsonObject &, QJsonObject &r)
{
    r.insert(QStringLiteral("version"), m_profile.version);
    r.insert(QStringLiteral("oemCode"), m_profile.oemCode);
    r.insert(QStringLiteral("ptpPriority"), num(m_ptpPriority));
    r.insert(QStringLiteral("ptpDomain"), num(m_ptpDomain));
    r.insert(QStringLiteral("ptpDscp"), num(m_ptpDscp));
    r.insert(QStringLiteral("sampleRateArr"), textArray(sampleRates));
    r.insert(QStringLiteral("packetTimeDivArr"), textArray(packetTimeDivs));
    r.insert(QStringLiteral("sampleByteNumArr"), textArray(sampleByteNums));
    r.insert(QStringLiteral("delayUsArr"), textArray(delays));
    return QString();
}

int SimDevice::temperature() const
{
    const double t = now() / 1000.0;
    const double wave = std::sin(t / 20.0 + (m_levelSeed % 628) / 100.0);
    if (m_profile.faults.hot == QLatin1String("warn"))
        return 82750 + int(2000 * wave); // 80.75 to 84.75 °C: above 80, not above 85
    if (m_profile.faults.hot == QLatin1String("error"))
        return 86500 + int(400 * wave);
    return 41000 + int(m_levelSeed % 6000) + int(1500 * wave);
}

QString SimDevice::opGetDebugInfo(const QJsonObject &, QJsonObject &r)
{
    r.insert(QStringLiteral("devName"), m_name);
    r.insert(QStringLiteral("model"), model());
    r.insert(QStringLiteral("temp"), num(temperature()));
    r.insert(QStringLiteral("uptime"), QString::number((now() - m_bootAt) / 1000.0, 'f', 2));
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
    const quint32 ip = parseDotted(parts.value(0), &okIp);
    const int prefix = parts.size() == 2 ? parts[1].toInt(&okPrefix) : 0;
    parseDotted(gateway, &okGw);
    parseDotted(dns, &okDns);
    if (!okIp || !okPrefix || prefix < 1 || prefix > 32 || !okGw || !okDns || !ip || isMulticast(ip))
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

QString SimDevice::opOemAndCustom(const QJsonObject &req, QJsonObject &r)
{
    const QString ops = r.value(QLatin1String("ops")).toString();
    if (ops == QLatin1String("getOemData")) {
        r.insert(QStringLiteral("customOemType"), m_customOemType);
    } else if (ops == QLatin1String("setOemData")) {
        bool ok = false;
        const int v = readInt(req, "customOemType", &ok);
        if (!ok || v < 0)
            return badParam;
        m_customOemType = num(v);
    } else if (ops == QLatin1String("getCustomStr")) {
        r.insert(QStringLiteral("str"), m_customStr);
    } else {
        QString s;
        if (!readText(req, "str", &s) || s.toUtf8().size() > 64)
            return badParam;
        m_customStr = s;
    }
    return QString();
}

QString SimDevice::opIdentify(const QJsonObject &req, QJsonObject &)
{
    bool ok = false;
    int seconds = readInt(req, "seconds", &ok);
    if (!ok)
        seconds = 5;
    if (seconds < 0 || seconds > 3600)
        return badParam;
    log(QStringLiteral("front panel flashing for %1 s").arg(seconds));
    return QString();
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

QString SimDevice::opAmplifier(const QJsonObject &req, QJsonObject &r)
{
    const QString ops = r.value(QLatin1String("ops")).toString();
    if (!m_profile.amplifier || (ops == QLatin1String("getTarnAmpInfo") && model() != QLatin1String("RK7731")))
        return QStringLiteral("unknown ops");
    QJsonArray temps;
    for (int i = 0; i < m_ampGain.size(); ++i)
        temps.append(num(temperature() - 3000 + i * 400));
    const QString volts = m_power ? QString::number(48.0 + (m_levelSeed % 5) / 10.0, 'f', 1) : QStringLiteral("0.0");
    if (ops == QLatin1String("getInfo")) {
        QJsonArray gains;
        for (double g : qAsConst(m_ampGain))
            gains.append(QString::number(g, 'f', 1));
        r.insert(QStringLiteral("power"), m_power ? QStringLiteral("1") : QStringLiteral("0"));
        r.insert(QStringLiteral("gainArr"), gains);
        r.insert(QStringLiteral("tempArr"), temps);
        r.insert(QStringLiteral("voltage"), volts);
    } else if (ops == QLatin1String("getTarnAmpInfo")) {
        r.insert(QStringLiteral("power"), m_power ? QStringLiteral("1") : QStringLiteral("0"));
        r.insert(QStringLiteral("voltage"), volts);
        // An overheating amplifier protects itself: fault code 2.
        r.insert(QStringLiteral("protect"),
                 m_profile.faults.hot == QLatin1String("error") ? QStringLiteral("2") : QStringLiteral("0"));
        r.insert(QStringLiteral("tempArr"), temps);
    } else if (ops == QLatin1String("setGain")) {
        bool okCh = false, okGain = false;
        const int ch = readInt(req, "chId", &okCh);
        const double gain = readReal(req, "gain", &okGain);
        if (!okCh || !okGain || ch < 0 || ch >= m_ampGain.size() || gain < -80.0 || gain > 12.0)
            return badParam;
        m_ampGain[ch] = std::round(gain * 10.0) / 10.0;
    } else {
        QString v;
        if (!readText(req, "val", &v) || (v != QLatin1String("0") && v != QLatin1String("1")))
            return badParam;
        m_power = v == QLatin1String("1");
        log(m_power ? QStringLiteral("amplifier on") : QStringLiteral("amplifier off"));
    }
    return QString();
}

QString SimDevice::opGpio(const QJsonObject &req, QJsonObject &r)
{
    const QString ops = r.value(QLatin1String("ops")).toString();
    if (ops == QLatin1String("getGpioInfo")) {
        QJsonArray arr;
        for (int i = 0; i < m_gpio.size(); ++i)
            arr.append(
                QJsonObject{{QStringLiteral("index"), num(i)},
                            {QStringLiteral("dir"), m_gpio[i].output ? QStringLiteral("out") : QStringLiteral("in")},
                            {QStringLiteral("isHigh"), m_gpio[i].high ? QStringLiteral("1") : QStringLiteral("0")}});
        r.insert(QStringLiteral("arr"), arr);
        return QString();
    }
    bool ok = false;
    const int index = readInt(req, "index", &ok);
    if (!ok || index < 0 || index >= m_gpio.size())
        return badParam;
    Gpio &g = m_gpio[index];
    if (ops == QLatin1String("setGpioInfo")) {
        const QJsonObject info = req.value(QLatin1String("gpioInfo")).toObject();
        const QString dir = info.value(QLatin1String("dir")).toString();
        const QString high = info.value(QLatin1String("isHigh")).toString();
        if ((dir != QLatin1String("in") && dir != QLatin1String("out")) ||
            (high != QLatin1String("0") && high != QLatin1String("1")))
            return badParam;
        g.output = dir == QLatin1String("out");
        g.high = g.output && high == QLatin1String("1");
        return QString();
    }
    QString high;
    if (!readText(req, "isHigh", &high) || (high != QLatin1String("0") && high != QLatin1String("1")))
        return badParam;
    // Only an output follows the test; an input reads what is wired to it.
    if (g.output)
        g.high = high == QLatin1String("1");
    r.insert(QStringLiteral("index"), num(index));
    r.insert(QStringLiteral("isHigh"), g.high ? QStringLiteral("1") : QStringLiteral("0"));
    return QString();
}

QString SimDevice::opCfg(const QJsonObject &req, QJsonObject &r)
{
    if (r.value(QLatin1String("ops")).toString() == QLatin1String("getCfg")) {
        r.insert(QStringLiteral("cfg"), m_cfg);
        return QString();
    }
    const QJsonValue v = req.value(QLatin1String("cfg"));
    if (!v.isObject())
        return badParam;
    const QJsonObject cfg = v.toObject();
    for (auto it = cfg.begin(); it != cfg.end(); ++it)
        if (!it.value().isString())
            return badParam;
    for (auto it = cfg.begin(); it != cfg.end(); ++it)
        m_cfg.insert(it.key(), it.value());
    return QString();
}

QString SimDevice::opUart(const QJsonObject &req, QJsonObject &r)
{
    QString data;
    if (!readText(req, "data", &data))
        return badParam;
    // A loop-back plug on the serial port: what goes out comes back.
    r.insert(QStringLiteral("back"), data);
    return QString();
}

QString SimDevice::opPhyGainMute(const QJsonObject &req, QJsonObject &r)
{
    const QString ops = r.value(QLatin1String("ops")).toString();
    const bool rx = ops.endsWith(QLatin1String("Rx"));
    bool okCh = false;
    const int ch = readInt(req, "chId", &okCh);
    if (ops.startsWith(QLatin1String("setPhyGain"))) {
        QVector<double> &gains = rx ? m_phyGainRx : m_phyGainTx;
        bool ok = false;
        const double v = readReal(req, "val", &ok);
        if (!okCh || !ok || ch < 0 || ch >= gains.size() || v < -80.0 || v > 24.0)
            return badParam;
        gains[ch] = std::round(v * 10.0) / 10.0;
    } else {
        QVector<bool> &mutes = rx ? m_phyMuteRx : m_phyMuteTx;
        QString v;
        if (!okCh || ch < 0 || ch >= mutes.size() || !readText(req, "val", &v) ||
            (v != QLatin1String("0") && v != QLatin1String("1")))
            return badParam;
        mutes[ch] = v == QLatin1String("1");
    }
    return QString();
}

QString SimDevice::opStats(const QJsonObject &req, QJsonObject &r)
{
    const QString ops = r.value(QLatin1String("ops")).toString();
    const bool ucast = ops.contains(QLatin1String("Ucast"));
    bool ok = false;
    const int id = readInt(req, "sdpId", &ok);
    const int count = ucast ? m_ucastRx.size() : m_mcastRx.size();
    if (!ok || id < 0 || id >= count)
        return badParam;
    qint64 &statsSince = ucast ? m_ucastRx[id].statsSince : m_mcastRx[id].statsSince;
    qint64 &delaySince = ucast ? m_ucastRx[id].delaySince : m_mcastRx[id].delaySince;
    const bool active = ucast ? ucastRxActive(id) : mcastRxActive(id);
    r.insert(QStringLiteral("sdpId"), num(id));
    if (ops.startsWith(QLatin1String("clr"))) {
        if (ops.contains(QLatin1String("Delay")))
            delaySince = now();
        else
            statsSince = now();
        return QString();
    }
    if (ops.contains(QLatin1String("Delay"))) {
        const bool any = active && now() > delaySince;
        r.insert(QStringLiteral("minUs"), num(any ? 90 + m_levelSeed % 40 : 0));
        r.insert(QStringLiteral("maxUs"), num(any ? qMin(m_delayUs - 50, 400 + int(m_levelSeed % 300)) : 0));
        r.insert(QStringLiteral("avgUs"), num(any ? 180 + m_levelSeed % 60 : 0));
        return QString();
    }
    const qint64 packets = active ? (now() - statsSince) * m_packetTimeDiv : 0;
    // Loss the device is told to show on its replies shows on its streams too.
    const qint64 lost = packets * m_profile.faults.lossPercent / 1000;
    r.insert(QStringLiteral("pktCnt"), num(packets));
    r.insert(QStringLiteral("lostCnt"), num(lost));
    r.insert(QStringLiteral("lateCnt"), num(lost / 4));
    return QString();
}

// ---------------------------------------------------------------- lock

QString SimDevice::opGetLock(const QJsonObject &, QJsonObject &r)
{
    const int devLock = (m_lockVal & 0x1) ? 1 : 0;
    const int routeLock = (m_lockVal & 0x10002) == 0x10002 ? 3 : (m_lockVal & 0x2) ? 1 : 0;
    int dspLock = 0;
    switch (m_dspLockVal) {
    case 0x1f: dspLock = 1; break;
    case 0x1001f: dspLock = 2; break;
    case 0x1: dspLock = 3; break;
    default: break;
    }
    r.insert(QStringLiteral("devLock"), num(devLock));
    r.insert(QStringLiteral("routeLock"), num(routeLock));
    r.insert(QStringLiteral("dspLock"), num(dspLock));
    r.insert(QStringLiteral("val"), hexMask(m_lockVal));
    r.insert(QStringLiteral("dspVal"), hexMask(m_dspLockVal));
    return QString();
}

QString SimDevice::opSetLock(const QJsonObject &req, QJsonObject &)
{
    QString password, val;
    if (!readText(req, "password", &password) || !readText(req, "val", &val))
        return badParam;
    if (password != m_password)
        return QStringLiteral("mismatch");
    bool ok = val.startsWith(QLatin1String("0x"));
    const quint32 mask = ok ? val.mid(2).toUInt(&ok, 16) : 0;
    if (!ok)
        return badParam;
    if (m_localPort == 8999) {
        if (mask != 0x0 && mask != 0x1f && mask != 0x1001f && mask != 0x1)
            return badParam;
        m_dspLockVal = mask;
        log(QStringLiteral("audio processing lock %1").arg(hexMask(mask)));
    } else {
        if (mask & ~0x10003u)
            return badParam;
        m_lockVal = mask;
        log(QStringLiteral("settings and routing lock %1").arg(hexMask(mask)));
    }
    return QString();
}

QString SimDevice::opSetPassword(const QJsonObject &req, QJsonObject &)
{
    QString oldPassword, newPassword;
    if (!readText(req, "old", &oldPassword) || !readText(req, "new", &newPassword))
        return badParam;
    if (oldPassword != m_password)
        return QStringLiteral("mismatch");
    if (newPassword.isEmpty() || newPassword.contains(QLatin1Char(' ')) || newPassword.toUtf8().size() > 32)
        return badParam;
    m_password = newPassword;
    log(QStringLiteral("password changed"));
    return QString();
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
        r.insert(QStringLiteral("config"), m_dsp->config(m_sampleRate));
        return QString();
    }
    return m_dsp->blockStatus(req, r);
}

QString SimDevice::opDspMeters(const QJsonObject &, QJsonObject &r)
{
    const QString ops = r.value(QLatin1String("ops")).toString();
    if (ops == QLatin1String("getCpuUsage")) {
        r.insert(QStringLiteral("val"), num(m_dsp->load(m_sampleRate, now())));
        return QString();
    }
    QJsonArray arr;
    for (double level : m_dsp->levels(ops.endsWith(QLatin1String("Out"))))
        arr.append(levelText(level));
    r.insert(QStringLiteral("arr"), arr);
    return QString();
}

QString SimDevice::opDspStatus(const QJsonObject &, QJsonObject &r)
{
    const bool temperatureAsked = r.value(QLatin1String("ops")).toString() == QLatin1String("getDspTemperature");
    r.insert(QStringLiteral("val"), temperatureAsked ? num(qRound(temperature() / 1000.0)) : QStringLiteral("0"));
    return QString();
}

// ---------------------------------------------------------------- levels

double SimDevice::phyInLevel(int ch) const
{
    if (ch < 0 || ch >= m_profile.phyChNumRx || m_profile.silentInputs.contains(ch) || m_phyMuteRx.value(ch))
        return std::numeric_limits<double>::quiet_NaN();
    // Programme material: each channel at its own level, swelling slowly, with some flicker.
    const quint32 h = m_levelSeed ^ (quint32(ch) * 2654435761u);
    const double t = now() / 1000.0;
    const double base = -14.0 - double(h % 24);
    const double swell = 6.0 * std::sin(t / (2.0 + (h >> 8) % 5) + (h >> 16) % 7);
    const double flicker = 1.5 * std::sin(t * 7.3 + (h >> 4) % 11);
    return qMin(-0.5, base + swell + flicker + m_phyGainRx.value(ch));
}

double SimDevice::netTxLevel(int ch) const
{
    if (ch < 0 || ch >= m_profile.chNumTx)
        return std::numeric_limits<double>::quiet_NaN();
    if (m_profile.phyChNumRx == 0 && ch < 2) {
        // A virtual sound card sends what the computer plays on its first two channels.
        const double t = now() / 1000.0;
        return -16.0 + 5.0 * std::sin(t / 3.0 + ch);
    }
    return phyInLevel(ch);
}

double SimDevice::netRxLevel(int ch) const
{
    const RouteEntry &e = m_rtp.value(ch);
    if (!routeActive(ch))
        return std::numeric_limits<double>::quiet_NaN();
    if (e.kind == RouteEntry::Unicast) {
        const SimDevice *tx = m_network->deviceById(m_ucastRx[e.stream].srcDevId);
        return tx ? tx->netTxLevel(e.srcChId) : std::numeric_limits<double>::quiet_NaN();
    }
    int slot = -1;
    const SimDevice *tx = m_network->flowOwner(m_mcastRx[e.stream].dstIp, &slot);
    return tx ? tx->netTxLevel(tx->flowChannel(slot, e.srcChId)) : std::numeric_limits<double>::quiet_NaN();
}

double SimDevice::phyOutLevel(int ch) const
{
    if (ch < 0 || ch >= m_profile.phyChNumTx || m_phyMuteTx.value(ch) || (m_profile.amplifier && !m_power))
        return std::numeric_limits<double>::quiet_NaN();
    // Physical levels are in dBV: full scale sits at +18 dBV.
    return qMin(18.0, netRxLevel(ch) + 18.0 + m_phyGainTx.value(ch) + m_ampGain.value(ch));
}
