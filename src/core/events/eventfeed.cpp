#include "core/events/eventfeed.h"

#include "core/events/eventmonitor.h"
#include "core/protocol/devicelink.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QTimer>

namespace EventFeed {

namespace {
constexpr int kBurstMs = 200;
} // namespace

void attach(DeviceLink *link, EventMonitor *monitor)
{
    auto devices = [link, monitor] {
        QVector<DevRecord> records;
        for (const Device &d : link->registry().devices())
            records.append(d.rec);
        monitor->onDevices(records);
    };
    // A network coming up raises a notice per device: the list is read once
    // for a burst of them, not once per notice.
    auto *soon = new QTimer(monitor);
    soon->setSingleShot(true);
    soon->setInterval(kBurstMs);
    QObject::connect(soon, &QTimer::timeout, monitor, devices);
    // The notice as the registry made it, read back from its logged form: the
    // typed notice stays on the receive thread.
    QObject::connect(link, &DeviceLink::signal_notification, monitor, [monitor, soon](const QString &json) {
        const QJsonObject o = QJsonDocument::fromJson(json.toUtf8()).object();
        const QString op = o.value(QLatin1String("ops")).toString();
        RegistryNotice n;
        if (op == QLatin1String("addDev"))
            n.kind = RegistryNotice::DevAdded;
        else if (op == QLatin1String("delDev"))
            n.kind = RegistryNotice::DevRemoved;
        else if (op == QLatin1String("updateDev"))
            n.kind = RegistryNotice::DevUpdated;
        else
            return;
        n.devId = o.value(QLatin1String("devId")).toString();
        n.name = o.value(QLatin1String("name")).toString();
        monitor->onNotice(n);
        if (!soon->isActive())
            soon->start();
    });
    QObject::connect(link, &DeviceLink::signal_refreshDevInfoUi, monitor, devices);
    QObject::connect(link, &DeviceLink::signal_recv_message, monitor, [monitor](const QString &json) {
        monitor->onMessage(QJsonDocument::fromJson(json.toUtf8()).object());
    });
}

} // namespace EventFeed
