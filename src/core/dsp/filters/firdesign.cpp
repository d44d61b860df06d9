#include "core/dsp/filters/firdesign.h"

#include <algorithm>
#include <cmath>

namespace FirDesign {

namespace {
constexpr double kPi = 3.14159265358979323846;
} // namespace

const QVector<int> &tapChoices()
{
    static const QVector<int> taps{127,  159,  191,  223,  255,  319,  383,  447,  511,  639, 767,
                                   895,  1023, 1279, 1535, 1791, 2047, 2559, 3071, 3583, 4095};
    return taps;
}

int centre(int taps)
{
    return taps / 2;
}

QVector<double> ideal(int firType, int taps, double f0, double f1, double rate)
{
    if (taps < 1 || rate <= 0.0 || firType < LowPass || firType > BandPass)
        return {};
    // An even count leaves h[0] at zero: the centre sits past the middle and k runs over the shorter side.
    QVector<double> h(taps, 0.0);
    const int c = centre(taps);
    const double fc0 = f0 / rate;
    const double fc1 = f1 / rate;
    switch (firType) {
    case LowPass:
        h[c] = 2.0 * fc0;
        break;
    case HighPass:
        h[c] = 1.0 - 2.0 * fc0;
        break;
    default:
        h[c] = 2.0 * (f1 - f0) / rate;
        break;
    }
    for (int k = 1; k <= taps - 1 - c; ++k) {
        const double pk = kPi * k;
        double v = std::sin(2.0 * pk * fc0) / pk;
        if (firType == HighPass)
            v = -v;
        else if (firType == BandPass)
            v = std::sin(2.0 * pk * fc1) / pk - v;
        h[c + k] = v;
        h[c - k] = v;
    }
    return h;
}

double besselI0(double x)
{
    // Deliberately the first sixteen terms only: at 100 dB that is 2.4e-8 short of the full series, and a
    // design must not change with a more exact sum.
    double sum = 0.0;
    double term = 1.0; // (x/2)^k / k!
    for (int k = 0; k < 16; ++k) {
        if (k > 0)
            term *= (x / 2.0) / k;
        sum += term * term;
    }
    return sum;
}

double kaiserBeta(double attDb)
{
    if (attDb >= 50.0)
        return 0.1102 * (attDb - 8.7);
    if (attDb >= 21.0)
        return 0.5842 * std::pow(attDb - 21.0, 0.4) + 0.07886 * (attDb - 21.0);
    return 0.0;
}

QVector<double> window(int winType, int taps, double attDb)
{
    QVector<double> w(std::max(taps, 0), 1.0);
    if (taps < 2)
        return w;
    const double span = taps - 1;
    const double beta = kaiserBeta(attDb);
    const double norm = besselI0(beta);
    // Each weight once for the first half and mirrored: cos(2 pi n / span) and cos(2 pi (span - n) / span)
    // differ in their last bits, and a design that is not exactly symmetric loses the fast curve.
    for (int n = 0; n <= (taps - 1) / 2; ++n) {
        const double a = 2.0 * kPi * n / span;
        double v = 1.0;
        switch (winType) {
        case Hanning:
            v = 0.5 - 0.5 * std::cos(a);
            break;
        case Hamming:
            v = 0.54 - 0.46 * std::cos(a);
            break;
        case Blackman:
            v = 0.42 - 0.5 * std::cos(a) + 0.08 * std::cos(2.0 * a);
            break;
        case Kaiser:
            if (attDb >= kMinAttDb) {
                const double r = 2.0 * n / span - 1.0;
                v = besselI0(beta * std::sqrt(std::max(0.0, 1.0 - r * r))) / norm;
            }
            break;
        default:
            break;
        }
        w[n] = v;
        w[taps - 1 - n] = v;
    }
    return w;
}

double storedAttDb(int winType, double attDb)
{
    switch (winType) {
    case Rectangle:
        return 21.0;
    case Hanning:
        return 44.0;
    case Hamming:
        return 53.0;
    case Blackman:
        return 74.0;
    default:
        return attDb;
    }
}

Edges edges(int firType, double lower, double upper, const DspFir &stored)
{
    Edges e;
    e.upper = upper;
    switch (firType) {
    case LowPass:
        e.freq0 = upper;
        break;
    case HighPass:
        e.freq0 = lower;
        break;
    case BandPass:
        if (lower + 0.01 >= upper)
            e.upper = std::min(lower + 0.1, kMaxEdge);
        e.freq0 = lower;
        e.freq1 = e.upper;
        break;
    default:
        e.freq0 = stored.freq0;
        e.freq1 = stored.freq1;
        break;
    }
    return e;
}

double designRate(int deviceRate)
{
    return deviceRate > 0 ? double(deviceRate) : kDefaultRate;
}

Design design(const DspFir &fir, double rate)
{
    Design d;
    if (fir.firType == Custom) {
        d.arr = fir.arr;
        d.attDb = fir.attDb;
        return d;
    }
    d.arr = ideal(fir.firType, fir.taps, fir.freq0, fir.freq1, rate);
    const QVector<double> w = window(fir.winType, d.arr.size(), fir.attDb);
    for (int n = 0; n < d.arr.size(); ++n)
        d.arr[n] *= w[n];
    d.attDb = storedAttDb(fir.winType, fir.attDb);
    return d;
}

void apply(DspFir &fir, double rate)
{
    Design d = design(fir, rate);
    fir.arr = std::move(d.arr);
    fir.attDb = d.attDb;
    if (fir.firType == Custom)
        fir.taps = fir.arr.size();
}

} // namespace FirDesign
