#pragma once

#include "core/protocol/deviceports.h"

#include <QString>
#include <QtGlobal>

/// One request and its reply over a connection of its own, blocking the
/// calling thread: the stored-configuration page uses it where it must have
/// the answer before it goes on, and corvane-cli uses it for single commands.
/// Same framing as the long-lived link.
///
/// Thread affinity: any thread; the socket is created, used and closed inside
/// run(), which needs no event loop. Worst case it blocks for the connect wait
/// plus limitMs.
class DspExchange
{
public:
    static constexpr int kConnectWaitMs = 1000;
    static constexpr int kReadWaitMs = 1000;
    static constexpr int kLimitMs = 5000;

    struct Result
    {
        bool ok = false;
        /// The whole reply text when ok.
        QString reply;
        /// When not ok: a notice for the user, title and text in the
        /// interface language.
        QString title;
        QString message;
    };

    /// Sends request to address:port and waits for one whole reply, each
    /// wait at most readWaitMs, all waits together about limitMs.
    static Result run(const QString &address, const QString &request, quint16 port = DevicePorts::kDsp,
                      int readWaitMs = kReadWaitMs, int limitMs = kLimitMs);
};
