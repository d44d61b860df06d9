#include "core/mcast/flowplan.h"

#include "core/app/texts.h"
#include "core/mcast/flowaddress.h"
#include "core/protocol/ipv4.h"

#include <QJsonArray>

namespace {

QString num(qint64 v)
{
    return QString::number(v);
}

} // namespace

CommandPlan FlowPlan::create(const Device &dev, const CreateInput &in, const QVector<FlowRecord> &knownFlows,
                             const std::function<int()> &randomSource)
{
    if (in.name.isEmpty())
        return CommandPlan::notice(tx(Tx::FlowNameEmpty));
    if (in.tickedChannels.isEmpty())
        return CommandPlan::notice(tx(Tx::FlowNoChannel));
    if (in.tickedChannels.size() > 8)
        return CommandPlan::notice(tx(Tx::FlowTooManyChannels));

    QJsonArray channels;
    for (const QString &item : in.tickedChannels)
        channels.append(item.mid(item.lastIndexOf(QLatin1Char(':')) + 1).trimmed());
    QJsonObject sdp{{QStringLiteral("rtpTsOffset"), num(qint64(dev.rec.sampleRate / 1000) * in.offsetMs.trimmed().toInt())},
                    {QStringLiteral("sampleByteNum"), num(dev.rec.sampleByteNum)},
                    {QStringLiteral("chNum"), num(in.tickedChannels.size())},
                    {QStringLiteral("srcIp"), Ipv4::toText(dev.rec.ip)},
                    {QStringLiteral("ssrc"), QStringLiteral("0")}};

    if (in.mode == Automatic) {
        const QString head = in.octets[0] + QLatin1Char('.') + in.octets[1] + QLatin1Char('.');
        QString address;
        // A group no known flow uses and the network does not reserve; bounded so a full range cannot hang the
        // page (the confirmation below then names what is wrong with the last one drawn).
        for (int attempt = 0; attempt < 100000; ++attempt) {
            const int a = randomSource() % 252 + 2;
            const int b = randomSource() % 252 + 2;
            address = head + num(a) + QLatin1Char('.') + num(b);
            if (FlowAddress::conflict(Ipv4::fromText(address), knownFlows).isEmpty())
                break;
        }
        sdp.insert(QStringLiteral("dstIp"), address);
        sdp.insert(QStringLiteral("dstPort"), in.port);
    } else if (in.mode == Manual) {
        const int first = in.octets[0].toInt();
        bool octetsOk = first >= 224 && first <= 239;
        for (int i = 1; i < 4; ++i)
            octetsOk = octetsOk && in.octets[i].toInt() <= 255;
        if (!octetsOk)
            return CommandPlan::notice(tx(Tx::FlowWrongIp));
        const int port = in.port.toInt();
        if (port < 1024 || port > 65534)
            return CommandPlan::notice(tx(Tx::FlowWrongPort));
        for (const QString &octet : in.octets)
            if (octet.isEmpty())
                return CommandPlan::notice(tx(Tx::FlowIpEmpty));
        if (in.port.isEmpty())
            return CommandPlan::notice(tx(Tx::FlowPortEmpty));
        sdp.insert(QStringLiteral("dstIp"),
                   QStringLiteral("%1.%2.%3.%4").arg(in.octets[0], in.octets[1], in.octets[2], in.octets[3]));
        sdp.insert(QStringLiteral("dstPort"), in.port);
    }

    CommandPlan plan;
    if (sdp.contains(QLatin1String("dstIp"))) {
        const QString why = FlowAddress::conflict(Ipv4::fromText(sdp.value(QLatin1String("dstIp")).toString()), knownFlows);
        if (!why.isEmpty())
            plan.steps.append({PlanStep::Confirm, tx(Tx::FlowAddressConfirm).arg(why)});
    }
    plan.command = QJsonObject{{QStringLiteral("ops"), QStringLiteral("setMcastTx")},
                               {QStringLiteral("devId"), dev.devId()},
                               {QStringLiteral("name"), in.name},
                               {QStringLiteral("srcChIdArr"), channels},
                               {QStringLiteral("sdp"), sdp}};
    return plan;
}

CommandPlan FlowPlan::remove(const Device &dev, const QString &selectedDstIp)
{
    if (selectedDstIp.isEmpty())
        return CommandPlan::notice(tx(Tx::FlowChooseToDelete));
    const quint32 dst = Ipv4::fromText(selectedDstIp);
    for (const McastTxItem &f : dev.tables.mcastTx) {
        if (f.dstIp != dst || dst == 0)
            continue;
        return CommandPlan{{{PlanStep::Confirm, tx(Tx::FlowDeleteConfirm)}},
                           QJsonObject{{QStringLiteral("ops"), QStringLiteral("clrMcastTx")},
                                       {QStringLiteral("devId"), dev.devId()},
                                       {QStringLiteral("name"), f.name},
                                       {QStringLiteral("dstIp"), Ipv4::toText(f.dstIp)}},
                           0};
    }
    return CommandPlan::notice(tx(Tx::FlowChooseToDelete));
}
