#include "simflows.h"

#include "simclock.h"
#include "simdevice.h"
#include "simnetwork.h"
#include "simports.h"
#include "simrequest.h"
#include "simsap.h"
#include "simsettings.h"
#include "simtext.h"

#include <QHostAddress>
#include <QTimer>

using SimRequest::readInt;
using SimText::badParam;
using SimText::dotted;
using SimText::num;

namespace {

const char *const sapGroup = "239.255.255.255";

} // namespace

SimFlows::SimFlows(SimDevice &device, int count)
    : m_device(device)
    , m_flows(count)
{}

int SimFlows::indexByGroup(quint32 group) const
{
    for (int i = 0; i < m_flows.size(); ++i)
        if (m_flows[i].dstIp == group)
            return i;
    return -1;
}

QString SimFlows::name(int slot) const
{
    return m_flows.value(slot).name;
}

int SimFlows::port(int slot) const
{
    return m_flows.value(slot).dstPort;
}

int SimFlows::channel(int slot, int position) const
{
    return m_flows.value(slot).channels.value(position, -1);
}

void SimFlows::setSampleByteNum(int bytes)
{
    for (Flow &f : m_flows)
        f.sampleByteNum = bytes;
}

void SimFlows::sendSap()
{
    for (const Flow &f : qAsConst(m_flows))
        if (f.dstIp)
            sendSapFor(f, false);
}

void SimFlows::sendSapFor(const Flow &f, bool deletion)
{
    const SimSettings &settings = m_device.settings();
    SimSap::Flow s;
    s.name = f.name;
    s.source = m_device.address();
    s.group = f.dstIp;
    s.port = f.dstPort;
    s.sampleByteNum = f.sampleByteNum;
    s.sampleRate = settings.sampleRate();
    s.packetTimeDiv = settings.packetTimeDiv();
    s.gmClkId = m_device.clock().grandmaster();
    s.ptpDomain = m_device.clock().domain();
    s.rtpTsOffset = f.rtpTsOffset;
    s.sessionId = f.sessionId;
    s.sessionVersion = f.sessionVersion;
    for (int c : f.channels)
        s.channelNames << settings.chNamesTx().value(c);
    m_device.sendGroup(sapGroup, SimPorts::sap,
                       SimSap::packet(s.source, quint16(f.sessionId), SimSap::sdp(s), deletion));
}

bool SimFlows::page(const QString &ops, int *size, std::function<QJsonValue(int)> *item) const
{
    if (ops != QLatin1String("getAllMcastTx"))
        return false;
    *size = m_flows.size();
    *item = [this](int i) {
        const Flow &m = m_flows[i];
        return QJsonObject{{QStringLiteral("id"), num(i)},
                           {QStringLiteral("sdpId"), num(i)},
                           {QStringLiteral("name"), m.name},
                           {QStringLiteral("dstIp"), dotted(m.dstIp)},
                           {QStringLiteral("dstPort"), num(m.dstIp ? m.dstPort : 0)},
                           {QStringLiteral("chNum"), num(m.channels.size())},
                           {QStringLiteral("srcChIdArr"), SimText::textArray(m.channels)}};
    };
    return true;
}

QString SimFlows::opSetMcastTx(const QJsonObject &req, QJsonObject &r)
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
        if (!ok || c < 0 || c >= m_device.profile().chNumTx || channels.contains(c))
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
    int port = SimPorts::rtp;
    const bool haveIp = sdp.contains(QLatin1String("dstIp"));
    if (haveIp) {
        group = SimText::parseDotted(sdp.value(QLatin1String("dstIp")).toString(), &ok);
        if (!ok || !SimText::isMulticast(group) || indexByGroup(group) >= 0)
            return badParam;
    }
    if (sdp.contains(QLatin1String("dstPort"))) {
        port = readInt(sdp, "dstPort", &ok);
        if (!ok || port < 1024 || port > 65534)
            return badParam;
    }
    int slot = -1;
    for (int i = 0; i < m_flows.size() && slot < 0; ++i)
        if (!m_flows[i].dstIp)
            slot = i;
    if (slot < 0)
        return SimText::noFreeSdpId;
    if (!haveIp) {
        // 239.69.x.y from the device's address, moved on while another flow has it.
        quint32 candidate = 0xEF450000u | ((m_device.address() + quint32(slot) * 0x100u) & 0xFFFFu);
        while ((candidate & 0xFFu) == 0 || (candidate & 0xFFu) == 255 || m_device.network()->groupInUse(candidate))
            candidate = 0xEF450000u | ((candidate + 1) & 0xFFFFu);
        group = candidate;
    }
    Flow &f = m_flows[slot];
    f.name = req.value(QLatin1String("name")).toString();
    if (f.name.isEmpty())
        f.name = QStringLiteral("%1 : %2-%3").arg(m_device.name()).arg(channels.first() + 1).arg(channels.last() + 1);
    f.dstIp = group;
    f.dstPort = port;
    f.channels = channels;
    bool okBytes = false;
    const int bytes = readInt(sdp, "sampleByteNum", &okBytes);
    f.sampleByteNum =
        okBytes && SimSettings::sampleByteNums.contains(bytes) ? bytes : m_device.settings().sampleByteNum();
    f.rtpTsOffset = quint32(readInt(sdp, "rtpTsOffset", &ok));
    f.sessionId = (SimText::stableHash(m_device.devId() + dotted(group)) & 0x7FFFFFFFu) | 1u;
    f.sessionVersion = quint32(m_device.now() & 0x7FFFFFFF) + 1;
    r.insert(QStringLiteral("sdpId"), num(slot));
    r.insert(QStringLiteral("dstIp"), dotted(group));
    r.insert(QStringLiteral("dstPort"), num(port));
    // Receivers hear of the flow at once rather than at the next round.
    if (m_device.isUp()) {
        m_device.notifyRoute();
        QTimer::singleShot(0, &m_device, [this] { sendSap(); });
    }
    m_device.log(
        QStringLiteral("flow \"%1\" on %2:%3, %4 channels").arg(f.name, dotted(group)).arg(port).arg(channels.size()));
    return QString();
}

QString SimFlows::opClrMcastTx(const QJsonObject &req, QJsonObject &)
{
    bool ok = false;
    const quint32 group = SimText::parseDotted(req.value(QLatin1String("dstIp")).toString(), &ok);
    const int slot = ok ? indexByGroup(group) : -1;
    if (slot < 0)
        return badParam;
    m_device.log(QStringLiteral("flow \"%1\" on %2 removed").arg(m_flows[slot].name, dotted(group)));
    // Listeners drop the flow at once instead of waiting for it to age out.
    if (m_device.isUp())
        sendSapFor(m_flows[slot], true);
    m_flows[slot] = Flow();
    m_device.notifyRoute();
    return QString();
}
