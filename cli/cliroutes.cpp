// corvane-cli's route and flow commands: the same plans the routing grid and
// the stream page follow, with --yes standing in for the user's answers.
#include "cliapp.h"

#include "core/app/commandplan.h"
#include "core/app/texts.h"
#include "core/devices/commandtargets.h"
#include "core/devices/devmanager.h"
#include "core/devices/deviceuistore.h"
#include "core/mcast/flowplan.h"
#include "core/mcast/pastedflow.h"
#include "core/protocol/devicelink.h"
#include "core/protocol/ipv4.h"
#include "core/protocol/replyrouter.h"
#include "core/routing/routeplan.h"

#include <QDateTime>
#include <QFile>
#include <QJsonDocument>
#include <QRandomGenerator>
#include <QTextStream>

namespace {

QString compact(const QJsonObject &o)
{
    return QString::fromUtf8(QJsonDocument(o).toJson(QJsonDocument::Compact));
}

// "NAME:CH" with CH counted from 1; the name may itself hold colons.
bool splitChannel(const QString &text, QString *owner, int *channel)
{
    const int colon = text.lastIndexOf(QLatin1Char(':'));
    if (colon <= 0)
        return false;
    bool ok = false;
    *channel = text.mid(colon + 1).toInt(&ok);
    *owner = text.left(colon);
    return ok && *channel >= 1;
}

} // namespace

bool CliApp::passSteps(const CommandPlan &plan)
{
    QTextStream err(stderr);
    for (const PlanStep &step : plan.steps) {
        if (step.kind == PlanStep::Notice) {
            err << "corvane-cli: " << step.text << '\n';
            return false;
        }
        if (!m_options.yes) {
            err << "corvane-cli: " << step.text << " (give --yes to go ahead)\n";
            return false;
        }
        err << "confirmed: " << step.text << '\n';
    }
    return true;
}

int CliApp::report(const QJsonObject &sent, const QString &reply)
{
    *m_out << "sent: " << compact(sent) << '\n';
    if (reply.isEmpty())
        return fail(4, QStringLiteral("no reply from %1").arg(sent.value(QLatin1String("devId")).toString()));
    *m_out << "reply: " << reply << '\n';
    const QJsonObject r = QJsonDocument::fromJson(reply.toUtf8()).object();
    if (r.value(QLatin1String("result")).toString() == QLatin1String("succ"))
        return 0;
    return fail(1, ReplyRouter::reasonText(r.value(QLatin1String("ops")).toString(),
                                           r.value(QLatin1String("reason")).toString()));
}

int CliApp::cmdRoute()
{
    DevManager &registry = m_link->registry();
    const bool adding = m_options.args.at(0) == QLatin1String("add");
    const QString dstText = m_options.args.at(adding ? 2 : 1);
    const QString srcText = adding ? m_options.args.at(1) : QString();

    RouteContext ctx;
    QString rxName;
    QString owner;
    int channel = 0;
    if (!splitChannel(dstText, &rxName, &ctx.rxChannel))
        return fail(2, QStringLiteral("a receive channel is DEVICE:CH, not \"%1\"").arg(dstText));
    if (adding && !splitChannel(srcText, &owner, &channel))
        return fail(2, QStringLiteral("a source is DEVICE:CH or flow:NAME:CH, not \"%1\"").arg(srcText));
    const bool fromFlow = owner.startsWith(QLatin1String("flow:"));
    CommandTargets targets;
    targets.devices.append(rxName);
    if (fromFlow)
        targets.flows.append(owner.mid(5));
    else if (adding)
        targets.devices.append(owner);
    waitForSettledTables(targets);

    ctx.rxDevId = resolveDevice(rxName);
    ctx.rx = registry.findByDevId(ctx.rxDevId);
    if (!ctx.rx)
        return fail(3, QStringLiteral("no such device: %1").arg(rxName));
    if (ctx.rxChannel > ctx.rx->rec.chNumRx)
        return fail(2, QStringLiteral("%1 has %2 receive channels").arg(rxName).arg(ctx.rx->rec.chNumRx));
    ctx.findDevice = [&registry](const QString &devId) { return registry.findByDevId(devId); };

    // The receiver's firmware decides what it may subscribe to.
    const QString version = exchange(QJsonObject{{QStringLiteral("ops"), QStringLiteral("getVersion")}}, ctx.rxDevId);
    ctx.rxFirmware = QJsonDocument::fromJson(version.toUtf8()).object().value(QLatin1String("version")).toString();

    const RtpChItem *current = ctx.rx->routeOf(ctx.rxChannel - 1);
    if (adding) {
        ctx.rowChannel = channel;
        if (fromFlow) {
            ctx.rowIsFlow = true;
            ctx.rowOwnerId = owner.mid(5);
            ctx.flow = registry.findFlowByName(ctx.rowOwnerId);
            if (!ctx.flow)
                return fail(3, QStringLiteral("no such flow: %1").arg(ctx.rowOwnerId));
            if (channel > ctx.flow->chNum)
                return fail(2, QStringLiteral("flow %1 has %2 channels").arg(ctx.rowOwnerId).arg(ctx.flow->chNum));
            if (current && current->isMulticast() && current->dstIp == ctx.flow->dstIp && current->srcChId == channel - 1) {
                *m_out << "already routed\n";
                return 0;
            }
        } else {
            ctx.rowOwnerId = resolveDevice(owner);
            ctx.tx = registry.findByDevId(ctx.rowOwnerId);
            if (!ctx.tx)
                return fail(3, QStringLiteral("no such device: %1").arg(owner));
            if (channel > ctx.tx->rec.chNumTx)
                return fail(2, QStringLiteral("%1 has %2 transmit channels").arg(owner).arg(ctx.tx->rec.chNumTx));
            if (current && current->srcDevId == ctx.rowOwnerId && current->srcChId == channel - 1) {
                *m_out << "already routed\n";
                return 0;
            }
        }
        ctx.cellState = 0;
    } else {
        if (!current) {
            *m_out << "not routed\n";
            return 0;
        }
        ctx.cellState = 2;
        ctx.rowChannel = current->srcChId + 1;
        if (current->isMulticast()) {
            ctx.rowIsFlow = true;
            ctx.flow = registry.findFlow(current->dstIp);
            if (!ctx.flow) {
                // The flow is no longer announced; the route still names it.
                FlowRecord gone;
                gone.name = current->name;
                gone.srcIp = current->srcIp;
                gone.dstIp = current->dstIp;
                gone.dstPort = current->dstPort;
                gone.sampleRate = quint32(ctx.rx->rec.sampleRate);
                ctx.flow = gone;
            }
            ctx.rowOwnerId = ctx.flow->name;
        } else {
            ctx.rowOwnerId = current->srcDevId;
            ctx.tx = registry.findByDevId(current->srcDevId);
            if (!ctx.tx) {
                // A transmitter that has left: clearing needs nothing from it.
                const QJsonObject clear{{QStringLiteral("ops"), QStringLiteral("clrRxCh")},
                                        {QStringLiteral("devId"), ctx.rxDevId},
                                        {QStringLiteral("dstChId"), QString::number(ctx.rxChannel - 1)}};
                return report(clear, exchange(clear, ctx.rxDevId));
            }
        }
    }

    const RoutePlan plan = planRouteClick(ctx);
    if (!passSteps(plan))
        return 1;
    if (plan.command.isEmpty())
        return fail(1, QStringLiteral("nothing to send"));
    return report(plan.command, exchange(plan.command, ctx.rxDevId));
}

// A pasted flow lives in the registry of the process that holds it; this one ends with the command. So
// add-sdp checks the text exactly as the flows page would and, given a receive channel, subscribes it through
// the same route plan as "route add": the subscription is the device's and outlives the run.
int CliApp::cmdFlowAddSdp()
{
    DevManager &registry = m_link->registry();
    QFile file(m_options.args.at(1));
    if (!file.open(QIODevice::ReadOnly))
        return fail(2, QStringLiteral("cannot read %1: %2").arg(file.fileName(), file.errorString()));
    const PastedFlow::Result parsed = PastedFlow::parse(QString::fromUtf8(file.read(64 * 1024)));
    if (!parsed.ok)
        return fail(2, parsed.refusal);
    const QString subscribe = m_options.values.value(QStringLiteral("subscribe"));
    bool ok = true;
    const int flowChannel = m_options.values.value(QStringLiteral("flow-channel"), QStringLiteral("1")).toInt(&ok);
    if (!ok || flowChannel < 1 || flowChannel > parsed.flow.chNum)
        return fail(2, QStringLiteral("the flow has channels 1 to %1").arg(parsed.flow.chNum));

    // What is already announced must be heard first, or a flow on the same group would go unnoticed.
    CommandTargets targets;
    QString rxName;
    int rxChannel = 0;
    if (!subscribe.isEmpty()) {
        if (!splitChannel(subscribe, &rxName, &rxChannel))
            return fail(2, QStringLiteral("--subscribe takes DEVICE:CH, not \"%1\"").arg(subscribe));
        targets.devices.append(rxName);
    }
    waitForSettledTables(targets);
    const FlowRecord &flow = parsed.flow;
    const auto sameName = registry.findFlowByName(flow.name);
    if (sameName && sameName->dstIp != flow.dstIp)
        return fail(1, QStringLiteral("flow %1 on %2 has the same name").arg(flow.name, Ipv4::toText(sameName->dstIp)));
    const DevManager::PasteResult added = registry.addPastedFlow(flow);
    if (added.outcome == DevManager::AddressInUse)
        return fail(1, tx(Tx::PasteAddressInUse).arg(Ipv4::toText(flow.dstIp), added.flowName));
    if (added.outcome == DevManager::TableFull)
        return fail(1, tx(Tx::PasteTableFull));
    *m_out << "flow: " << flow.name << ' ' << Ipv4::toText(flow.dstIp) << ':' << flow.dstPort << " from "
           << Ipv4::toText(flow.srcIp) << ", " << flow.chNum << " channels, " << flow.sampleRate << " Hz\n";
    if (subscribe.isEmpty())
        return 0;
    m_options.args = QStringList{QStringLiteral("add"), QStringLiteral("flow:%1:%2").arg(flow.name).arg(flowChannel),
                                 subscribe};
    return cmdRoute();
}

int CliApp::cmdFlow()
{
    if (m_options.args.at(0) == QLatin1String("add-sdp"))
        return cmdFlowAddSdp();
    DevManager &registry = m_link->registry();
    const QString devText = m_options.args.at(1);
    const bool creating = m_options.args.at(0) == QLatin1String("create");
    CommandTargets targets;
    targets.devices.append(devText);
    if (!creating)
        targets.sentFlows.append({devText, m_options.args.at(2)});
    waitForSettledTables(targets);
    const QString devId = resolveDevice(devText);
    const auto dev = registry.findByDevId(devId);
    if (!dev)
        return fail(3, QStringLiteral("no such device: %1").arg(devText));

    CommandPlan plan;
    if (creating) {
        FlowPlan::CreateInput in;
        in.name = m_options.values.value(QStringLiteral("name"));
        in.offsetMs = m_options.values.value(QStringLiteral("offset"), QStringLiteral("0"));
        const QStringList wanted =
            m_options.values.value(QStringLiteral("channels")).split(QLatin1Char(','), Qt::SkipEmptyParts);
        for (const QString &w : wanted) {
            bool ok = false;
            const int ch = w.trimmed().toInt(&ok);
            if (!ok || ch < 1 || ch > dev->rec.chNumTx)
                return fail(2, QStringLiteral("%1 has transmit channels 1 to %2, not \"%3\"")
                                   .arg(devText).arg(dev->rec.chNumTx).arg(w));
            const QString name = dev->channelName(DeviceTables::NameTx, ch - 1);
            in.tickedChannels.append((name.isEmpty() ? QString::number(ch) : name) + QLatin1Char(':')
                                     + QString::number(ch - 1));
        }
        in.port = m_options.values.value(QStringLiteral("port"), QStringLiteral("5004"));
        const QString address = m_options.values.value(QStringLiteral("address"));
        if (address.isEmpty()) {
            // As the stream page does by default: 239.69. and two random octets.
            in.mode = FlowPlan::Automatic;
            in.octets[0] = QStringLiteral("239");
            in.octets[1] = QStringLiteral("69");
        } else {
            in.mode = FlowPlan::Manual;
            const QStringList octets = address.split(QLatin1Char('.'));
            for (int i = 0; i < 4; ++i)
                in.octets[i] = octets.value(i);
        }
        QRandomGenerator random(quint32(QDateTime::currentSecsSinceEpoch()));
        plan = FlowPlan::create(*dev, in, registry.flows(), [&random] { return int(random.bounded(1 << 30)); });
    } else {
        const QString name = m_options.args.at(2);
        QString selected;
        for (const McastTxItem &f : dev->tables.mcastTx)
            if (f.name == name && f.dstIp != 0)
                selected = Ipv4::toText(f.dstIp);
        if (selected.isEmpty())
            return fail(3, QStringLiteral("%1 sends no flow named %2").arg(devText, name));
        plan = FlowPlan::remove(*dev, selected);
    }
    if (!passSteps(plan))
        return 1;
    return report(plan.command, exchange(plan.command, devId));
}
