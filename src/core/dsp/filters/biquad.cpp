#include "core/dsp/filters/biquad.h"

#include <cmath>
#include <complex>

double Biquad::quantisedOmega(double freqHz)
{
    return 2.0 * M_PI * std::round(freqHz * 10.0) / (kRateHz * 10.0);
}

FilterResponse Biquad::response(double freqHz) const
{
    const double w = quantisedOmega(freqHz);
    const std::complex<double> z1 = std::polar(1.0, -w);
    const std::complex<double> z2 = std::polar(1.0, -2.0 * w);
    const std::complex<double> h = (b0 + b1 * z1 + b2 * z2) / (a0 + a1 * z1 + a2 * z2);
    return {20.0 * std::log10(std::abs(h)), std::atan2(h.imag(), h.real())};
}
