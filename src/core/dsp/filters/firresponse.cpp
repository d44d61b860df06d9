#include "core/dsp/filters/firresponse.h"

#include <algorithm>
#include <cmath>
#include <complex>

namespace FirResponse {

namespace {

constexpr double kPi = 3.14159265358979323846;

double omega(double f, double rate)
{
    return 2.0 * kPi * std::round(f * 10.0) / (rate * 10.0);
}

double toDb(double magnitude)
{
    if (!(magnitude > 0.0))
        return kSilentDb;
    return std::max(20.0 * std::log10(magnitude), kSilentDb);
}

/// A filter reduced to its amplitude: for a symmetric array the half beyond the centre, so that
/// |H| = |sum a[k] phi_k(omega)| with phi_k = cos(k omega) (odd length) or cos((k + 1/2) omega) (even length).
struct Shape
{
    bool symmetric = false;
    bool oddLength = true;
    QVector<double> a;
    const QVector<double> *all = nullptr;
};

Shape shape(const QVector<double> &h)
{
    Shape s;
    s.all = &h;
    int first = 0;
    int last = h.size() - 1;
    while (first <= last && h[first] == 0.0)
        ++first;
    while (last >= first && h[last] == 0.0)
        --last;
    if (first > last) { // nothing but zeros
        s.symmetric = true;
        return s;
    }
    for (int i = first, j = last; i < j; ++i, --j)
        if (h[i] != h[j])
            return s;
    s.symmetric = true;
    const int length = last - first + 1;
    s.oddLength = length % 2 == 1;
    const int half = length / 2;
    if (s.oddLength) {
        s.a.resize(half + 1);
        s.a[0] = h[first + half];
        for (int k = 1; k <= half; ++k)
            s.a[k] = 2.0 * h[first + half + k];
    } else {
        s.a.resize(half);
        for (int k = 0; k < half; ++k)
            s.a[k] = 2.0 * h[first + half + k];
    }
    return s;
}

double direct(const QVector<double> &h, double w)
{
    std::complex<double> sum;
    for (int k = 0; k < h.size(); ++k)
        sum += h[k] * std::polar(1.0, -k * w);
    return std::abs(sum);
}

double amplitude(const Shape &s, double w)
{
    if (!s.symmetric)
        return direct(*s.all, w);
    const int n = s.a.size();
    if (n == 0)
        return 0.0;
    // Clenshaw's recurrence: both bases obey phi_{k+1} = 2x phi_k - phi_{k-1}, so one cosine per point
    // replaces one per tap.
    const double x2 = 2.0 * std::cos(w);
    double b1 = 0.0;
    double b2 = 0.0;
    for (int k = n - 1; k >= 1; --k) {
        const double b = s.a[k] + x2 * b1 - b2;
        b2 = b1;
        b1 = b;
    }
    const double phi0 = s.oddLength ? 1.0 : std::cos(w / 2.0);
    const double phi1 = s.oddLength ? std::cos(w) : std::cos(1.5 * w);
    return std::abs(phi0 * s.a[0] + phi1 * b1 - phi0 * b2);
}

QVector<QPointF> series(const QVector<double> &h, double rate, bool useShape)
{
    const QVector<double> &f = grid();
    QVector<QPointF> out;
    out.reserve(f.size());
    Shape s;
    if (useShape)
        s = shape(h);
    for (double fi : f) {
        const double w = omega(fi, rate);
        const double m = useShape ? amplitude(s, w) : direct(h, w);
        out.append(QPointF(std::log10(fi), 10.0 * toDb(m)));
    }
    return out;
}

} // namespace

const QVector<double> &grid()
{
    static const QVector<double> points = [] {
        QVector<double> p;
        int i = 0;
        while (i < 19980) {
            p.append(20.0 + i);
            i += i < 200 ? 1 : i < 500 ? 2 : i < 1000 ? 10 : i < 10000 ? 20 : 100;
        }
        return p;
    }();
    return points;
}

double magnitudeDb(const QVector<double> &h, double f, double rate)
{
    return toDb(amplitude(shape(h), omega(f, rate)));
}

double directMagnitudeDb(const QVector<double> &h, double f, double rate)
{
    return toDb(direct(h, omega(f, rate)));
}

QVector<QPointF> curve(const QVector<double> &h, double rate)
{
    return series(h, rate, true);
}

QVector<QPointF> directCurve(const QVector<double> &h, double rate)
{
    return series(h, rate, false);
}

} // namespace FirResponse
