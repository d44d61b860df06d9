// corvane-cli's batch route commands: route bulk and the network snapshots.
// Every route still goes through the click plan; --yes answers the one
// confirmation the batch asks for.
#include "cliapp.h"

#include "core/app/texts.h"
#include "core/devices/commandtargets.h"
#include "core/devices/devmanager.h"
#include "core/protocol/devicelink.h"
#include "core/protocol/ipv4.h"
#include "core/protocol/replyrouter.h"
#include "core/routing/bulkroute.h"
#include "core/routing/routebatchrun.h"
#include "core/routing/netsnapshot.h"

#include <QElapsedTimer>
#include <QJsonArray>
#include <QJsonDocument>
#include <QTextStream>

#include <algorithm>

namespace {

QString channelText(const RouteChange &c)
{
    return c.rxDevId + QLatin1Char(':') + QString::number(c.rxCh);
}

QString changeLine(const RouteChange &c)
{
    if (c.after.isNone())
        return QStringLiteral("%1 clear (was %2)").arg(channelText(c), c.before.text());
    return QStringLiteral("%1 <- %2 (was %3)").arg(channelText(c), c.after.text(), c.before.text());
}

QJsonValue sourceJson(const RouteSource &s)
{
    switch (s.kind) {
    case RouteSource::Unicast:
        return QJsonObject{{QStringLiteral("srcDevId"), s.srcDevId}, {QStringLiteral("srcCh"), s.channel}};
    case RouteSource::Multicast:
        return QJsonObject{{QStringLiteral("flow"), Ipv4::toText(s.flowIp)}, {QStringLiteral("flowCh"), s.channel}};
    case RouteSource::None:
        break;
    }
    return QJsonValue::Null;
}

QJsonObject changeJson(const RouteChange &c)
{
    return QJsonObject{{QStringLiteral("rxDevId"), c.rxDevId}, {QStringLiteral("rxCh"), c.rxCh},
                       {QStringLiteral("before"), sourceJson(c.before)}, {QStringLiteral("after"), sourceJson(c.after)}};
}

QString subscriptionText(const NetSnapshot::Subscription &s)
{
    return QStringLiteral("%1:%2 \"%3\" from %4, %5 ch")
        .arg(Ipv4::toText(s.flowIp)).arg(s.port).arg(s.name, Ipv4::toText(s.srcIp)).arg(s.chNum);
}

const char *routeKind(const RouteChange &c)
{
    if (c.after.isNone())
        return "added";
    return c.before.isNone() ? "removed" : "changed";
}

} // namespace

int CliApp::runBatch(const RouteBatch &batch)
{
    QTextStream err(stderr);
    QVector<RouteRefusal> refused = batch.refused;
    if (!m_options.json) {
        for (const PlannedRoute &r : batch.changes)
            *m_out << "change: " << changeLine(r.change) << '\n';
        for (const QString &q : batch.questions())
            *m_out << "asks: " << q << '\n';
        m_out->flush();
    }
    if (!batch.changes.isEmpty() && !m_options.yes) {
        err << "corvane-cli: " << batch.changes.size() << " route(s) would change (give --yes to go ahead)\n";
        return 1;
    }

    QElapsedTimer clock;
    clock.start();
    QVector<RouteChange> sent;
    for (const PlannedRoute &r : batch.changes) {
        const QString reply = exchange(r.plan.command, r.change.rxDevId);
        const QJsonObject o = QJsonDocument::fromJson(reply.toUtf8()).object();
        if (reply.isEmpty())
            refused.append({r.change, QStringLiteral("no reply from %1").arg(r.change.rxDevId)});
        else if (o.value(QLatin1String("result")).toString() != QLatin1String("succ"))
            refused.append({r.change, ReplyRouter::reasonText(o.value(QLatin1String("ops")).toString(),
                                                              o.value(QLatin1String("reason")).toString())});
        else
            sent.append(r.change);
    }

    // Done only when the registry shows it: the device's own tables are the proof.
    const DevManager &registry = m_link->registry();
    auto seen = [&registry](const RouteChange &c) { return RouteBatchRun::isSeen(registry, c); };
    auto allSeen = [&] { return std::all_of(sent.cbegin(), sent.cend(), seen); };
    waitUntil(allSeen, qMax(m_options.waitMs, 5000));
    const qint64 confirmedMs = clock.elapsed();
    int done = 0;
    QJsonArray doneJson;
    for (const RouteChange &c : sent) {
        if (seen(c)) {
            ++done;
            doneJson.append(changeJson(c));
        } else {
            refused.append({c, tx(Tx::RouteNotSeen).arg(c.rxDevId)});
        }
    }

    if (m_options.json) {
        QJsonArray refusedJson;
        for (const RouteRefusal &r : refused) {
            QJsonObject o = changeJson(r.change);
            o.insert(QStringLiteral("reason"), r.reason);
            refusedJson.append(o);
        }
        const QJsonObject out{{QStringLiteral("done"), doneJson}, {QStringLiteral("refused"), refusedJson},
                              {QStringLiteral("unchanged"), batch.unchanged.size()},
                              {QStringLiteral("sentToConfirmedMs"), double(confirmedMs)}};
        *m_out << QJsonDocument(out).toJson(QJsonDocument::Indented);
    } else {
        *m_out << "routed " << done << " of " << batch.changes.size() << ", " << batch.unchanged.size()
               << " already as asked\n";
        for (const RouteRefusal &r : refused)
            *m_out << "refused: " << changeLine(r.change) << ": " << r.reason << '\n';
    }
    return refused.isEmpty() ? 0 : 1;
}

int CliApp::cmdBulkRoute()
{
    const QString srcText = m_options.args.at(1);
    const QString dstText = m_options.args.at(2);
    CommandTargets targets;
    targets.devices = QStringList{srcText, dstText};
    waitForSettledTables(targets);
    BulkRoute::Request request;
    request.srcDevId = resolveDevice(srcText);
    request.dstDevId = resolveDevice(dstText);
    if (request.srcDevId.isEmpty() || request.dstDevId.isEmpty())
        return fail(3, QStringLiteral("no such device: %1").arg(request.srcDevId.isEmpty() ? srcText : dstText));
    request.from = m_options.values.value(QStringLiteral("from"), QStringLiteral("1")).toInt();
    request.count = m_options.values.value(QStringLiteral("count"), QStringLiteral("0")).toInt();
    const RouteNetwork network = RouteNetwork::of(m_link->registry());
    QString error;
    const RouteBatch batch = BulkRoute::plan(network, request, &error);
    if (!error.isEmpty())
        return fail(2, error);
    return runBatch(batch);
}

int CliApp::cmdSnapshot()
{
    const QString sub = m_options.args.at(0);
    const QString path = m_options.args.at(1);
    if (sub == QLatin1String("save")) {
        waitForSettledTables({});
        const NetSnapshot::Snapshot s = NetSnapshot::capture(m_link->registry().devices());
        QString why;
        if (!NetSnapshot::save(path, s, &why))
            return fail(2, QStringLiteral("cannot write %1: %2").arg(path, why));
        int routes = 0;
        int subs = 0;
        for (const NetSnapshot::DeviceState &d : s.devices) {
            routes += d.routes.size();
            subs += d.subscriptions.size();
        }
        *m_out << "saved " << s.devices.size() << " devices, " << routes << " routes, " << subs
               << " subscriptions to " << path << '\n';
        return 0;
    }

    // A file that cannot be used sends nothing at all.
    QString why;
    const std::optional<NetSnapshot::Snapshot> snapshot = NetSnapshot::load(path, &why);
    if (!snapshot)
        return fail(2, QStringLiteral("%1: %2").arg(path, why));
    waitForSettledTables({});
    RouteNetwork network = RouteNetwork::of(m_link->registry());
    const NetSnapshot::Diff diff = NetSnapshot::diff(*snapshot, network);

    if (sub == QLatin1String("diff")) {
        if (m_options.json) {
            QJsonArray devices;
            for (const NetSnapshot::DeviceDiff &d : diff.devices) {
                QJsonArray routes;
                for (const RouteChange &c : d.routes)
                    routes.append(QJsonObject{{QStringLiteral("rxCh"), c.rxCh},
                                              {QStringLiteral("change"), QLatin1String(routeKind(c))},
                                              {QStringLiteral("live"), sourceJson(c.before)},
                                              {QStringLiteral("snapshot"), sourceJson(c.after)}});
                QJsonArray subs;
                for (const NetSnapshot::SubscriptionChange &c : d.subscriptions)
                    subs.append(QJsonObject{
                        {QStringLiteral("flow"), Ipv4::toText(c.live.flowIp ? c.live.flowIp : c.snapshot.flowIp)},
                        {QStringLiteral("change"), QLatin1String(!c.snapshot.flowIp ? "added" : !c.live.flowIp ? "removed" : "changed")}});
                devices.append(QJsonObject{{QStringLiteral("devId"), d.devId}, {QStringLiteral("name"), d.name},
                                           {QStringLiteral("routes"), routes}, {QStringLiteral("subscriptions"), subs}});
            }
            QJsonArray missing;
            for (const NetSnapshot::DeviceState &d : diff.missing)
                missing.append(QJsonObject{{QStringLiteral("devId"), d.devId}, {QStringLiteral("name"), d.name}});
            *m_out << QJsonDocument(QJsonObject{{QStringLiteral("devices"), devices}, {QStringLiteral("missing"), missing}})
                          .toJson(QJsonDocument::Indented);
        } else {
            for (const NetSnapshot::DeviceDiff &d : diff.devices) {
                *m_out << d.devId << " \"" << d.name << "\":\n";
                for (const RouteChange &c : d.routes)
                    *m_out << "  route " << c.rxCh << ' ' << routeKind(c) << ": now " << c.before.text()
                           << ", snapshot " << c.after.text() << '\n';
                for (const NetSnapshot::SubscriptionChange &c : d.subscriptions)
                    *m_out << "  subscription " << (!c.snapshot.flowIp ? "added: " : !c.live.flowIp ? "removed: " : "changed: ")
                           << (c.live.flowIp ? subscriptionText(c.live) : QStringLiteral("-")) << " / snapshot "
                           << (c.snapshot.flowIp ? subscriptionText(c.snapshot) : QStringLiteral("-")) << '\n';
            }
            for (const NetSnapshot::DeviceState &d : diff.missing)
                *m_out << "missing: " << d.devId << " \"" << d.name << "\" is not on the network\n";
            if (diff.isEmpty())
                *m_out << "no differences\n";
        }
        return diff.isEmpty() ? 0 : 1;
    }

    for (const NetSnapshot::DeviceState &d : diff.missing)
        *m_out << "skipped: " << d.devId << " \"" << d.name << "\" is not on the network\n";
    // The receivers' firmware decides which flows they may subscribe to, as for one route.
    for (const NetSnapshot::DeviceDiff &d : diff.devices)
        for (const RouteChange &c : d.routes)
            if (c.after.kind == RouteSource::Multicast && !network.firmware.contains(d.devId)) {
                const QString version = exchange(QJsonObject{{QStringLiteral("ops"), QStringLiteral("getVersion")}}, d.devId);
                network.firmware.insert(
                    d.devId, QJsonDocument::fromJson(version.toUtf8()).object().value(QLatin1String("version")).toString());
            }
    return runBatch(NetSnapshot::recall(diff, network));
}
