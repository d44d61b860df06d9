#include "core/devices/registrynotice.h"

#include "core/devices/devicerecord.h"
#include "core/protocol/ipv4.h"

QJsonObject RegistryNotice::toJson(const FlowRecord *flow) const
{
    static const char *const ops[] = {"addDev",   "updateDev",   "delDev",      "addMcast",
                                      "delMcast", "updateRoute", "updateActive"};
    QJsonObject o{{QStringLiteral("ops"), QLatin1String(ops[kind])}, {QStringLiteral("name"), name}};
    if (!isFlow()) {
        o.insert(QStringLiteral("devId"), devId);
        return o;
    }
    o.insert(QStringLiteral("dstIp"), Ipv4::toText(flowAddress));
    if (kind == FlowAdded && flow) {
        o.insert(QStringLiteral("sdp"),
                 QJsonObject{{QStringLiteral("srcIp"), Ipv4::toText(flow->srcIp)},
                             {QStringLiteral("dstIp"), Ipv4::toText(flow->dstIp)},
                             {QStringLiteral("dstPort"), QString::number(flow->dstPort)},
                             {QStringLiteral("chNum"), QString::number(flow->chNum)},
                             {QStringLiteral("sampleByteNum"), QString::number(flow->sampleByteNum)},
                             {QStringLiteral("rtpTsOffset"), QString::number(flow->rtpTsOffset)}});
    }
    return o;
}
