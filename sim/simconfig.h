#pragma once

#include <QHostAddress>

/// How a simulated network runs: where it sends, and its timings. The
/// defaults are those of real devices; tests shorten the intervals so they
/// need not wait for seconds.
struct SimConfig
{
    QHostAddress interfaceAddress = QHostAddress(QStringLiteral("127.0.0.1")); ///< multicast leaves through this
    QHostAddress baseAddress = QHostAddress(QStringLiteral("127.0.0.2"));      ///< device k gets base + k
    int tickMs = 50;                                                           ///< granularity of every periodic action
    int announceMs = 1000;                                                     ///< "iAmCorvane"
    int sapMs = 3000;                                                          ///< SAP of each multicast transmit flow
    int listenMs = 1000;        ///< after boot, before the leader is known
    int settleMs = 3000;        ///< from a new leader to the locked state
    int settlingEventMs = 1000; ///< clock events while settling
    int lockedEventMs = 5000;   ///< clock events once locked
    int rebootMs = 3000;        ///< silence of a rebooting device
    int moveDelayMs = 300;      ///< between the "setIp" reply and the move to the new address
    quint32 seed = 0;           ///< 0: a different run every time
    bool bindBroadcast = true;  ///< the shared 0.0.0.0:9994 socket for broadcast requests
    bool quiet = false;         ///< no log lines
    bool verbose = false;       ///< a log line per request too
};
