#pragma once

#include <QString>
#include <QtGlobal>

/// One line of the routing grid: a row (a source) or a column (a receiver).
/// Owner lines (channel 0) stand for a whole device or flow; channel lines
/// follow their owner when it is expanded.
struct AxisItem
{
    bool expanded = false;    // owner lines: the channel lines are shown
    bool isMcastFlow = false; // rows only: the owner is a multicast flow
    QString ownerId;          // devId, the flow's name, or the group address of a flow not announced
    QString ownerName;
    QString channelName;      // owner lines repeat the owner's name
    qint32 channel = 0;       // from 1; 0 is the owner's own line
    qint32 online = 0;        // the device's canWork; flows count as online
    quint32 flowIp = 0;       // flow rows: the group address, the key the receivers' routes are matched by
    bool flowAnnounced = true; // flow rows: false for a row labelled by its address only
    int ownerLine = 0;        // index of the owner's line in its axis (itself for owner lines)
    int ownerOrdinal = 0;     // position of the owner among the owners of its axis

    bool isOwner() const { return channel == 0; }
    /// The text of the line's header button.
    QString headerText() const;
};
