#pragma once

#include "core/devices/devicerecord.h"
#include "core/protocol/sapparser.h"

#include <QJsonObject>

/// What the registry reads from one datagram of the announcement groups.
struct Announcement
{
    enum Kind {
        Malformed,     // not a JSON object
        Ignored,       // another operation, or a description without address or identifier
        Device,        // a usable "iAmCorvane"
        RoutesChanged, // "updateRoute": the device's route tables changed
        ActiveChanged, // "updateActive": its active flow ids changed
    };
    Kind kind = Malformed;
    DevRecord device; // Device: the description; its countdown is left at 0
};

/// A SAP datagram as the flow table takes it.
struct FlowAnnouncement
{
    bool valid = false;    // false: not a usable SAP/SDP packet, ignore it
    bool deletion = false; // the sender says the flow has stopped
    FlowRecord flow;       // its countdown is left at 0
};

/// Reads announcements, route notices and SAP packets into typed records:
/// values in, values out, no registry, no clock.
class AnnouncementParser
{
public:
    static Announcement parse(const char *data, int length);

    /// Reads an "iAmCorvane" object into a record; false when it is not
    /// usable (ip missing or 0.0.0.0, no devId). Numbers must be decimal
    /// text: a JSON number reads as 0.
    static bool readDevice(const QJsonObject &obj, DevRecord *out);

    static FlowAnnouncement parseSap(const char *data, int length);
    /// The flow record of a parsed description (countdown 0).
    static FlowRecord flowOf(const FlowDescription &d);
};
