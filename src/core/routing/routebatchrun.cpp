#include "core/routing/routebatchrun.h"

#include "core/app/texts.h"
#include "core/devices/devmanager.h"
#include "core/protocol/replyrouter.h"

#include <QJsonDocument>

namespace {

// A device that does not answer one command must not hold up the rest.
const int kReplyWaitMs = 300;
// The registry's tables follow a route change within a few round trips; a
// look every tenth of a second costs nothing next to that.
const int kPollMs = 100;

bool isRouteReply(const QString &op)
{
    return op == QLatin1String("setUcastRx") || op == QLatin1String("setMcastRx") || op == QLatin1String("clrRxCh");
}

} // namespace

RouteBatchRun::RouteBatchRun(const DevManager &registry, QVector<PlannedRoute> routes, Sender send, QObject *parent)
    : QObject(parent)
    , m_registry(registry)
    , m_routes(std::move(routes))
    , m_send(std::move(send))
    , m_seen(m_routes.size(), false)
{
    m_poll.setInterval(kPollMs);
    connect(&m_poll, &QTimer::timeout, this, &RouteBatchRun::check);
    m_pace.setSingleShot(true);
    m_pace.setInterval(kReplyWaitMs);
    connect(&m_pace, &QTimer::timeout, this, &RouteBatchRun::sendNext);
    m_patience.setSingleShot(true);
    connect(&m_patience, &QTimer::timeout, this, &RouteBatchRun::finish);
}

bool RouteBatchRun::isSeen(const DevManager &registry, const RouteChange &change)
{
    const std::optional<Device> rx = registry.findByDevId(change.rxDevId);
    return rx && RouteSource::of(rx->routeOf(change.rxCh - 1)) == change.after;
}

void RouteBatchRun::start()
{
    m_poll.start();
    if (!m_send) {
        // Sent by someone else, one command per route: their replies still judge them.
        for (const PlannedRoute &r : m_routes)
            m_commands[r.change.rxDevId] += 1;
        m_next = m_routes.size();
    }
    sendNext();
}

void RouteBatchRun::sendNext()
{
    if (m_finished)
        return;
    if (m_next >= m_routes.size()) {
        if (!m_patience.isActive())
            m_patience.start(m_patienceMs);
        check();
        return;
    }
    const PlannedRoute &r = m_routes.at(m_next++);
    m_commands[r.change.rxDevId] += 1;
    m_send(r.plan.command);
    m_pace.start();
}

void RouteBatchRun::slot_message(const QString &json)
{
    if (m_finished)
        return;
    const QJsonObject o = QJsonDocument::fromJson(json.toUtf8()).object();
    const QString op = o.value(QLatin1String("ops")).toString();
    const QString devId = o.value(QLatin1String("devId")).toString();
    if (!isRouteReply(op) || !m_commands.contains(devId))
        return;
    m_replies[devId] += 1;
    if (o.value(QLatin1String("result")).toString() != QLatin1String("succ")) {
        m_failures[devId] += 1;
        m_reason[devId] = ReplyRouter::reasonText(op, o.value(QLatin1String("reason")).toString());
    }
    // The receiver has dealt with the last command: the next may go.
    if (m_pace.isActive() && m_next > 0 && m_routes.at(m_next - 1).change.rxDevId == devId) {
        m_pace.stop();
        sendNext();
    }
    check();
}

void RouteBatchRun::check()
{
    if (m_finished)
        return;
    int seen = 0;
    // One copy of each receiver per look, however many of its channels the batch has.
    QHash<QString, std::optional<Device>> receivers;
    QHash<QString, int> unseen;
    for (int i = 0; i < m_routes.size(); ++i) {
        const RouteChange &c = m_routes.at(i).change;
        if (!m_seen.at(i) && i < m_next) {
            auto it = receivers.find(c.rxDevId);
            if (it == receivers.end())
                it = receivers.insert(c.rxDevId, m_registry.findByDevId(c.rxDevId));
            m_seen[i] = it->has_value() && RouteSource::of((*it)->routeOf(c.rxCh - 1)) == c.after;
        }
        if (m_seen.at(i))
            ++seen;
        else
            unseen[c.rxDevId] += 1;
    }
    if (seen != m_lastSeen) {
        m_lastSeen = seen;
        emit signal_progress(seen, m_routes.size());
    }
    if (m_next < m_routes.size())
        return;
    // Done when every route is seen, or every receiver still behind has
    // answered all its commands and refused at least as many as are missing.
    for (auto it = unseen.cbegin(); it != unseen.cend(); ++it) {
        const QString &devId = it.key();
        if (m_replies.value(devId) < m_commands.value(devId) || m_failures.value(devId) < it.value())
            return;
    }
    finish();
}

void RouteBatchRun::finish()
{
    if (m_finished)
        return;
    m_finished = true;
    m_poll.stop();
    m_pace.stop();
    m_patience.stop();
    Result result;
    for (int i = 0; i < m_routes.size(); ++i) {
        const RouteChange &c = m_routes.at(i).change;
        if (m_seen.at(i) || isSeen(m_registry, c))
            result.done.append(c);
        else if (m_reason.contains(c.rxDevId))
            result.refused.append({c, m_reason.value(c.rxDevId)});
        else
            result.refused.append({c, tx(Tx::RouteNotSeen).arg(c.rxDevId)});
    }
    emit signal_finished(result);
}
