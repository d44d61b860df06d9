#pragma once

#include "core/routing/routeplan.h"

#include <QHash>
#include <QStringList>
#include <QVector>

class DevManager;

/// Where one receive channel takes its audio from, by ids and numbers only:
/// kept in undo steps and snapshot files, it must outlive every rebuild.
struct RouteSource
{
    enum Kind { None, Unicast, Multicast };
    Kind kind = None;
    QString srcDevId;    // unicast: the transmitting device
    quint32 flowIp = 0;  // multicast: the flow's group
    int channel = 0;     // from 1: the transmit channel, or the channel within the flow
    QString name;        // the source device's or the flow's name, for listings only

    static RouteSource of(const RtpChItem *route);
    static RouteSource unicast(const QString &devId, int channel);
    static RouteSource multicast(quint32 group, int channel);
    bool isNone() const { return kind == None; }
    /// Same source; the name is not compared (a renamed device still carries the same route).
    bool operator==(const RouteSource &o) const;
    bool operator!=(const RouteSource &o) const { return !(*this == o); }
    /// "DEVID:CH", "flow 239.1.2.3:CH" or "-".
    QString text() const;
};

/// One receive channel going from one source to another.
struct RouteChange
{
    QString rxDevId;
    int rxCh = 0;  // from 1
    RouteSource before;
    RouteSource after;
};

/// The change that puts back what \a change replaced.
RouteChange inverse(const RouteChange &change);

/// The registry's devices and flows as the batch plans read them, indexed once.
class RouteNetwork
{
public:
    RouteNetwork() = default;
    RouteNetwork(const QVector<Device> &devices, const QVector<FlowRecord> &flows);
    static RouteNetwork of(const DevManager &registry);

    const Device *device(const QString &devId) const;
    const FlowRecord *flow(quint32 group) const;
    /// For messages and labels: the device's name, or its id when it has none or is not here.
    QString deviceName(const QString &devId) const;
    /// The flow's name, or its group address.
    QString flowName(quint32 group) const;
    const QVector<Device> &devices() const { return m_devices; }
    /// The receive channel's route now, None when free or unknown.
    RouteSource routeOf(const QString &rxDevId, int rxCh) const;

    /// Receivers' firmware versions by device id; "" (unknown) is treated as the click treats it.
    QHash<QString, QString> firmware;

private:
    QVector<Device> m_devices;
    QHash<QString, int> m_byId;
    QHash<quint32, FlowRecord> m_flows;
};

struct PlannedRoute
{
    RouteChange change;
    /// Its questions in plan.steps, the command in plan.command.
    RoutePlan plan;
};

struct RouteRefusal
{
    RouteChange change;
    QString reason;
};

/// Many route changes decided together: one confirmation for all of them.
struct RouteBatch
{
    QVector<PlannedRoute> changes;
    QVector<RouteRefusal> refused;
    /// Channels already routed as asked: nothing to send.
    QVector<RouteChange> unchanged;

    /// Plans one change against the live network, through the same checks as a click, and files it.
    void add(const RouteNetwork &network, RouteChange change);
    /// Every question the changes would ask, each once, in first-asked order.
    QStringList questions() const;
    /// The undo of the whole batch: the inverse of each change, last first.
    QVector<RouteChange> inverses() const;
};

/// The change a click on the cell of ctx asks for: a routed cell is cleared,
/// any other is routed from its row. What an undo step of the click holds.
RouteChange clickChange(const RouteContext &ctx);

/// The click plan for one route change: a set from state 0 (with the
/// replacement question when the channel is routed) or a clear from state 2.
RoutePlan planRouteChange(const RouteNetwork &network, const RouteChange &change);

namespace BulkRoute {

struct Request
{
    QString srcDevId;   // the transmitting device, unless flowIp is set
    QString dstDevId;
    int from = 1;       // the first source channel, from 1
    int count = 0;      // 0: as many as both sides have from their first channels on
    int dstFrom = 0;    // the first receive channel; 0: the same as from
    quint32 flowIp = 0; // a multicast flow as the source instead
};

/// Source channel from+k to receive channel dstFrom+k for every k of the
/// range. Empty with the reason in *error when the request itself cannot be made.
RouteBatch plan(const RouteNetwork &network, const Request &request, QString *error);

} // namespace BulkRoute
