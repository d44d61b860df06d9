#include "core/dsp/filters/bandfilter.h"

#include "core/dsp/dspblock.h"

#include <cmath>

namespace BandFilter {

namespace {

double omega(double freq0)
{
    return 2.0 * M_PI * freq0 / Biquad::kRateHz;
}

double amplitude(double dbGain)
{
    return std::pow(10.0, dbGain / 40.0);
}

} // namespace

Biquad peaking(double freq0, double dbGain, double widthOctaves)
{
    const double w0 = omega(freq0);
    const double a = amplitude(dbGain);
    const double alpha = std::sin(w0) * std::sinh(std::log(2.0) / 2.0 * widthOctaves * w0 / std::sin(w0));
    const double c = -2.0 * std::cos(w0);
    return {1.0 + alpha * a, c, 1.0 - alpha * a, 1.0 + alpha / a, c, 1.0 - alpha / a};
}

Biquad lowShelf(double freq0, double dbGain)
{
    const double w0 = omega(freq0);
    const double a = amplitude(dbGain);
    const double cs = std::cos(w0);
    const double k = 2.0 * std::sqrt(a) * (std::sin(w0) / 2.0 * std::sqrt(2.0));
    return {a * ((a + 1) - (a - 1) * cs + k), 2.0 * a * ((a - 1) - (a + 1) * cs), a * ((a + 1) - (a - 1) * cs - k),
            (a + 1) + (a - 1) * cs + k,       -2.0 * ((a - 1) + (a + 1) * cs),   (a + 1) + (a - 1) * cs - k};
}

Biquad highShelf(double freq0, double dbGain)
{
    const double w0 = omega(freq0);
    const double a = amplitude(dbGain);
    const double cs = std::cos(w0);
    const double k = 2.0 * std::sqrt(a) * (std::sin(w0) / 2.0 * std::sqrt(2.0));
    return {a * ((a + 1) + (a - 1) * cs + k), -2.0 * a * ((a - 1) + (a + 1) * cs), a * ((a + 1) + (a - 1) * cs - k),
            (a + 1) - (a - 1) * cs + k,       2.0 * ((a - 1) - (a + 1) * cs),      (a + 1) - (a - 1) * cs - k};
}

Biquad allPass(double freq0, double q)
{
    const float w0 = 2.0f * float(M_PI) * float(freq0) / float(Biquad::kRateHz);
    const float alpha = std::sin(w0) * 0.5f / float(q);
    const float b0 = (1.0f - alpha) / (1.0f + alpha);
    const float b1 = -2.0f * std::cos(w0) / (1.0f + alpha);
    return {double(b0), double(b1), 1.0, 1.0, double(b1), double(b0)};
}

std::optional<Biquad> magnitudeSection(const DspEqBand &band)
{
    switch (band.type) {
    case Peaking:
        return peaking(band.freq0, double(band.dbGain), band.qBwS);
    case LowShelf:
        return lowShelf(band.freq0, double(band.dbGain));
    case HighShelf:
        return highShelf(band.freq0, double(band.dbGain));
    default:
        return std::nullopt;
    }
}

} // namespace BandFilter
