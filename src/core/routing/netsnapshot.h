#pragma once

#include "core/routing/bulkroute.h"

#include <QByteArray>
#include <QDateTime>
#include <QMap>
#include <optional>

/// Every route and multicast subscription of the network at one moment, kept
/// in a file of our own so that an operator can put a show's routing back.
namespace NetSnapshot {

constexpr const char *kFormat = "corvanelink-network-snapshot";
constexpr int kVersion = 1;

struct Subscription
{
    quint32 flowIp = 0;  // the key; 0 for none
    QString name;
    quint32 srcIp = 0;
    quint16 port = 0;
    int chNum = 0;
    bool operator==(const Subscription &o) const;
    bool operator!=(const Subscription &o) const { return !(*this == o); }
};

struct DeviceState
{
    QString devId;
    QString name;
    QMap<int, RouteSource> routes;  // by receive channel, from 1
    QMap<quint32, Subscription> subscriptions;  // by group
};

struct Snapshot
{
    QDateTime saved;
    QVector<DeviceState> devices;
};

Snapshot capture(const QVector<Device> &devices);
QByteArray toJson(const Snapshot &snapshot);
/// Written whole or not at all; false with the reason in *why.
bool save(const QString &path, const Snapshot &snapshot, QString *why);
/// The snapshot, or nothing with the reason in *why: not JSON or cut short,
/// not ours, a newer format, a member that is missing or wrong.
std::optional<Snapshot> parse(const QByteArray &bytes, QString *why);
std::optional<Snapshot> load(const QString &path, QString *why);

/// One subscription going from what the network has to what the snapshot has.
struct SubscriptionChange
{
    Subscription live;      // flowIp 0: the snapshot's is not there now
    Subscription snapshot;  // flowIp 0: subscribed since the snapshot
};

struct DeviceDiff
{
    QString devId;
    QString name;
    /// before: the live route, after: the snapshot's. A None before is a
    /// route removed since the snapshot, a None after one added since.
    QVector<RouteChange> routes;
    QVector<SubscriptionChange> subscriptions;
};

struct Diff
{
    /// Only devices with differences, in the snapshot's order.
    QVector<DeviceDiff> devices;
    /// Devices of the snapshot not on the network: listed, skipped.
    QVector<DeviceState> missing;
    bool isEmpty() const { return devices.isEmpty() && missing.isEmpty(); }
};

Diff diff(const Snapshot &snapshot, const RouteNetwork &live);

/// The route differences as one batch through the click plans. Subscriptions
/// follow their routes: a device subscribes to a flow when a channel is routed from it.
RouteBatch recall(const Diff &diff, const RouteNetwork &live);

} // namespace NetSnapshot
