#pragma once

#include <QJsonObject>
#include <QString>
#include <QtGlobal>

struct FlowRecord;

/// One change of the registry that the pages hear of. Raised on the thread
/// that changed the registry, after its mutex is released.
struct RegistryNotice
{
    enum Kind {
        DevAdded,      // a new device announced itself
        DevUpdated,    // its canWork or clock-identity state changed
        DevRemoved,    // it stopped announcing
        FlowAdded,     // a new flow was learnt from SAP
        FlowRemoved,   // its sender deleted it, or it stopped being announced
        RoutesChanged, // a page of one of a device's route tables was stored
        ActiveChanged, // a page of a device's active flow ids was stored
    };

    Kind kind = DevAdded;
    QString devId;           // device kinds
    QString name;            // the device's or the flow's name, for logs
    quint32 flowAddress = 0; // flow kinds: the multicast group, the flow's key

    bool isFlow() const { return kind == FlowAdded || kind == FlowRemoved; }

    /// The notice as tools log it: {"ops":"addDev"|"updateDev"|"delDev"|
    /// "addMcast"|"delMcast"|"updateRoute"|"updateActive","name":...} with
    /// "devId" or "dstIp"; a FlowAdded given its flow also carries "sdp", the
    /// members a receiver subscribes with (all numbers as decimal text).
    QJsonObject toJson(const FlowRecord *flow = nullptr) const;
};
