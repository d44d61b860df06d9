#pragma once

#include "core/devices/devicerecord.h"

#include <QPair>
#include <QStringList>
#include <QVector>

/// What a headless command names in the registry, and the rule it waits on
/// before it looks them up: the device tables have settled and every named
/// device and flow is known. Settled tables say nothing of flows: SAP
/// announces a flow on its own rhythm, seconds after the device made it.
/// Values in, values out: the caller passes the registry's copies and the
/// time since its last device notice.
struct CommandTargets
{
    /// How long the registry must have been quiet for its tables to count as settled.
    static constexpr qint64 kQuietMs = 1000;

    QStringList devices;                        // by devId or name
    QStringList flows;                          // by SAP session name
    QVector<QPair<QString, QString>> sentFlows; // a device (devId or name) and a flow it sends, by name

    /// The devId of the device with this devId or, failing that, this name; empty when none.
    static QString resolveDevice(const QVector<Device> &devices, const QString &idOrName);
    /// Some device is known, every device's tables are complete, and nothing changed for kQuietMs.
    static bool settled(const QVector<Device> &devices, qint64 quietMs);
    /// Every named device and flow is in these copies.
    bool known(const QVector<Device> &devices, const QVector<FlowRecord> &flows) const;
    bool ready(const QVector<Device> &devices, const QVector<FlowRecord> &flows, qint64 quietMs) const
    {
        return settled(devices, quietMs) && known(devices, flows);
    }
};
