#pragma once

#include <QString>

/// What the announcement socket's handler makes of one datagram once the
/// registry has taken what it needs.
class McastIntake
{
public:
    enum Kind { Nothing, Event, Blink };
    struct Result
    {
        Kind kind = Nothing;
        QString text;  // Event: the re-tagged object; Blink: the object
        QString devId; // Blink
        QString op;
    };

    /// An object with a non-empty "event" becomes "ops":"clockEvent" with
    /// "remoteIp" added, whatever its "ops" was; "devReqGuiBlink" asks for a
    /// device to be highlighted.
    static Result classify(const char *data, int length, quint32 senderIp);
};
