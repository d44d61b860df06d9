#pragma once

#include <QElapsedTimer>

#include <algorithm>
#include <cstdio>
#include <vector>

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

struct Figures
{
    double medianMs;
    double worstMs;
};

/// Runs once untimed (the first touch of the allocator and of Qt's code), then runs times: the median and the
/// worst in milliseconds.
template <class F> Figures timed(F &&run, int runs)
{
    std::vector<double> ms;
    run();
    for (int i = 0; i < runs; ++i) {
        QElapsedTimer t;
        t.start();
        run();
        ms.push_back(double(t.nsecsElapsed()) / 1e6);
    }
    std::sort(ms.begin(), ms.end());
    return {ms[ms.size() / 2], ms.back()};
}

} // namespace BenchReport
