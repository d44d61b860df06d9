#pragma once

// One second-order (or first-order, b2 = a2 = 0) section of a drawn response curve, and its response at a
// frequency. Curves are always drawn as if the device ran at 48 kHz, whatever its real rate.

/// Magnitude in dB (20·log10|H|) and phase in radians (atan2 of H) at one frequency.
struct FilterResponse
{
    double db = 0.0;
    double phase = 0.0;
};

struct Biquad
{
    static constexpr double kRateHz = 48000.0;

    double b0 = 1.0;
    double b1 = 0.0;
    double b2 = 0.0;
    double a0 = 1.0;
    double a1 = 0.0;
    double a2 = 0.0;

    /// The response at freqHz, taken at the nearest 0.1 Hz: two curves drawn at frequencies that agree to a
    /// tenth of a hertz agree exactly, whatever arithmetic produced the frequency.
    FilterResponse response(double freqHz) const;

    /// The angular frequency (radians per sample) at which response() evaluates freqHz.
    static double quantisedOmega(double freqHz);
};
