#pragma once

#include "core/devices/devicerecord.h"

#include <QVector>

/// One routed receive channel, as the receiver reports it.
struct RouteEntry
{
    QString rxDevId;
    int rxCh = 0;           // counted from 1, as shown
    bool multicast = false;
    QString srcDevId;       // unicast
    int srcCh = 0;          // unicast, from 1
    quint32 flowDstIp = 0;  // multicast: the flow's group
    int flowCh = 0;         // multicast, from 1
    QString sourceName;     // the source device's or the flow's name
};

/// Every routed receive channel of the given devices, in device and channel order.
QVector<RouteEntry> routesOf(const QVector<Device> &devices);
