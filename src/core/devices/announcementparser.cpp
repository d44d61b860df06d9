#include "core/devices/announcementparser.h"

#include "core/protocol/ipv4.h"
#include "core/protocol/jsonintake.h"
#include "core/protocol/sapparser.h"

#include <cstdlib>
#include <cstring>

namespace {

// Announcement numbers are decimal text; anything else (a JSON number
// included) reads as 0, as the devices have always been understood.
qint32 decimal(const QJsonValue &v)
{
    if (!v.isString())
        return 0;
    const QByteArray text = v.toString().toLatin1();
    return qint32(std::strtol(text.constData(), nullptr, 10));
}

QByteArray utf8(const QJsonValue &v)
{
    return v.isString() ? v.toString().toUtf8() : QByteArray();
}

constexpr quint8 kSapDeletionFlag = 0x04;

} // namespace

Announcement AnnouncementParser::parse(const char *data, int length)
{
    Announcement a;
    QJsonObject obj;
    if (!JsonIntake::parseObject(data, length, &obj))
        return a;
    const QString op = obj.value(QLatin1String("ops")).toString();
    if (op == QLatin1String("iAmCorvane"))
        a.kind = readDevice(obj, &a.device) ? Announcement::Device : Announcement::Ignored;
    else if (op == QLatin1String("updateRoute"))
        a.kind = Announcement::RoutesChanged;
    else if (op == QLatin1String("updateActive"))
        a.kind = Announcement::ActiveChanged;
    else
        a.kind = Announcement::Ignored;
    return a;
}

bool AnnouncementParser::readDevice(const QJsonObject &obj, DevRecord *out)
{
    DevRecord &r = *out;
    r.devId.set(utf8(obj.value(QLatin1String("devId"))));
    r.name.set(utf8(obj.value(QLatin1String("name"))));
    r.ip = Ipv4::fromText(obj.value(QLatin1String("ip")).toString());
    r.port = decimal(obj.value(QLatin1String("port")));
    r.chNumRx = decimal(obj.value(QLatin1String("chNumRx")));
    r.chNumTx = decimal(obj.value(QLatin1String("chNumTx")));
    r.ucastNumRx = decimal(obj.value(QLatin1String("ucastNumRx")));
    r.ucastNumTx = decimal(obj.value(QLatin1String("ucastNumTx")));
    r.mcastNumRx = decimal(obj.value(QLatin1String("mcastNumRx")));
    r.mcastNumTx = decimal(obj.value(QLatin1String("mcastNumTx")));
    r.sampleRate = decimal(obj.value(QLatin1String("sampleRate")));
    r.sampleByteNum = decimal(obj.value(QLatin1String("sampleByteNum")));
    r.pFrameNum = decimal(obj.value(QLatin1String("pFrameNum")));
    r.dscp = decimal(obj.value(QLatin1String("dscp")));
    r.delayUs = decimal(obj.value(QLatin1String("delayUs")));
    r.myClkId.set(utf8(obj.value(QLatin1String("myClkId"))));
    r.gmClkId.set(utf8(obj.value(QLatin1String("gmClkId"))));
    r.model.set(utf8(obj.value(QLatin1String("model"))));
    r.phyChNumRx = decimal(obj.value(QLatin1String("phyChNumRx")));
    r.phyChNumTx = decimal(obj.value(QLatin1String("phyChNumTx")));
    r.canWork = decimal(obj.value(QLatin1String("canWork")));
    // A device without an address cannot be asked anything; one without an
    // identifier cannot be told apart from a free slot.
    return r.ip != 0 && !r.devId.isEmpty();
}

FlowAnnouncement AnnouncementParser::parseSap(const char *data, int length)
{
    FlowAnnouncement out;
    FlowDescription d;
    if (!SapParser::parse(data, length, &d))
        return out;
    out.valid = true;
    out.deletion = d.versionFlags & kSapDeletionFlag;
    out.flow = flowOf(d);
    return out;
}

FlowRecord AnnouncementParser::flowOf(const FlowDescription &d)
{
    FlowRecord flow;
    flow.name = d.sessionName;
    // SDP lines end in CRLF and the session name keeps the CR; a name shown
    // to the operator does not.
    if (flow.name.endsWith(QLatin1Char('\r')))
        flow.name.chop(1);
    flow.srcIp = d.srcIp;
    flow.dstIp = d.dstIp;
    flow.dstPort = d.dstPort;
    flow.chNum = d.chNum;
    flow.sampleByteNum = d.sampleByteNum;
    flow.sampleRate = d.sampleRate;
    flow.pFrameNum = d.framesPerPacket;
    std::memcpy(flow.gmClkId, d.gmClkId, sizeof flow.gmClkId);
    flow.rtpTsOffset = d.rtpTsOffset;
    return flow;
}
