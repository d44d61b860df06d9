#pragma once

#include <cstdio>

/// The one line each benchmark figure is printed as, so scripts/bench and a reader see every figure beside its
/// target in the same shape. Each returns whether the target is met.
namespace BenchReport {

inline bool atLeast(const char *name, double value, const char *unit, double target, int decimals = 0)
{
    std::printf("%s: %.*f %s (target >= %.*f)\n", name, decimals, value, unit, decimals, target);
    std::fflush(stdout);
    return value >= target;
}

inline bool atMost(const char *name, double value, const char *unit, double target, int decimals = 0)
{
    std::printf("%s: %.*f %s (target <= %.*f)\n", name, decimals, value, unit, decimals, target);
    std::fflush(stdout);
    return value <= target;
}

} // namespace BenchReport
