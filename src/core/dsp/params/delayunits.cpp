#include "core/dsp/params/delayunits.h"

#include <cmath>

// Written as the device's own editor computes them, step by step, so a value shown here is the one an
// operator reads on any other screen of the device.

double DelayUnits::milliseconds(int samples, double rate)
{
    return samples * (1000.0 / rate);
}

double DelayUnits::metres(int samples, double rate)
{
    return samples * (1000.0 / rate) / 1000.0 * kSoundMetresPerSecond;
}

double DelayUnits::feet(int samples, double rate)
{
    return metres(samples, rate) / kMetresPerFoot;
}

int DelayUnits::fromMilliseconds(double ms, double rate)
{
    return int(std::lround(ms / (1000.0 / rate)));
}

int DelayUnits::fromMetres(double metres, double rate)
{
    return int(std::lround(metres / kSoundMetresPerSecond * 1000.0 / (1000.0 / rate)));
}

int DelayUnits::fromFeet(double feet, double rate)
{
    return int(std::lround(feet * kMetresPerFoot / kSoundMetresPerSecond * 1000.0 / (1000.0 / rate)));
}
