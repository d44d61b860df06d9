#pragma once

#include <QString>

class DevManager;

/// What the program makes of one reply on the unicast socket: a message for
/// the pages, a notice for the snack bar, and whatever the registry stored.
class ReplyRouter
{
public:
    struct Outcome
    {
        QString message;       // compact JSON for the pages; empty: nothing
        QString notice;        // snack-bar text; empty: nothing
        bool noticeIsSuccess = false;
        bool registryChanged = false;
        bool passedThrough = false;  // a tagged reply, delivered unchanged
    };

    static Outcome route(const char *data, int length, quint32 senderIp, quint16 senderPort, DevManager &registry);

    /// The snack-bar text for a failed reply's reason.
    static QString reasonText(const QString &op, const QString &reason);
};
