#pragma once

#include "simconfig.h"
#include "simnetwork.h"
#include "simscenario.h"

#include <memory>

/// A simulated network for one test: the given devices on 127.0.0.2 and up,
/// quiet, seeded, with every interval cut down so tests wait milliseconds
/// where real devices take seconds.
inline SimConfig fastConfig()
{
    SimConfig c;
    c.tickMs = 10;
    c.announceMs = 100;
    c.sapMs = 150;
    c.listenMs = 100;
    c.settleMs = 400;
    c.settlingEventMs = 50;
    c.lockedEventMs = 200;
    c.rebootMs = 400;
    c.moveDelayMs = 50;
    c.seed = 4711;
    c.quiet = true;
    return c;
}

inline std::unique_ptr<SimNetwork> startNetwork(const SimScenario &scenario, const SimConfig &config = fastConfig())
{
    auto net = std::make_unique<SimNetwork>(config);
    QString error;
    if (!net->start(scenario, &error))
        qWarning("network did not start: %s", qPrintable(error));
    return net;
}
