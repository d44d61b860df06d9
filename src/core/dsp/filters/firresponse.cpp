#include "core/dsp/filters/firresponse.h"

#include <algorithm>
#include <cmath>
#include <complex>
#include <vector>

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

/// |sum a[k] phi_k| of a symmetric shape at several frequencies at once, by Clenshaw's recurrence: both bases
/// obey phi_{k+1} = 2x phi_k - phi_{k-1}, so one cosine per point replaces one per tap. Each point's recurrence
/// waits on its own previous step; running a few side by side keeps the processor busy instead of waiting.
template <int Lanes> void amplitudes(const Shape &s, const double *w, double *out)
{
    const int n = s.a.size();
    double x2[Lanes], b1[Lanes], b2[Lanes];
    for (int l = 0; l < Lanes; ++l) {
        x2[l] = 2.0 * std::cos(w[l]);
        b1[l] = 0.0;
        b2[l] = 0.0;
    }
    for (int k = n - 1; k >= 1; --k) {
        const double ak = s.a[k];
        for (int l = 0; l < Lanes; ++l) {
            const double b = ak + x2[l] * b1[l] - b2[l];
            b2[l] = b1[l];
            b1[l] = b;
        }
    }
    for (int l = 0; l < Lanes; ++l) {
        const double phi0 = s.oddLength ? 1.0 : std::cos(w[l] / 2.0);
        const double phi1 = s.oddLength ? std::cos(w[l]) : std::cos(1.5 * w[l]);
        out[l] = n == 0 ? 0.0 : std::abs(phi0 * s.a[0] + phi1 * b1[l] - phi0 * b2[l]);
    }
}

double amplitude(const Shape &s, double w)
{
    if (!s.symmetric)
        return direct(*s.all, w);
    double out = 0.0;
    amplitudes<1>(s, &w, &out);
    return out;
}

QVector<QPointF> series(const QVector<double> &h, double rate, bool useShape)
{
    const QVector<double> &f = grid();
    const int count = f.size();
    std::vector<double> w(count), m(count);
    for (int i = 0; i < count; ++i)
        w[i] = omega(f[i], rate);
    const Shape s = useShape ? shape(h) : Shape();
    if (useShape && s.symmetric) {
        constexpr int kLanes = 8;
        int i = 0;
        for (; i + kLanes <= count; i += kLanes)
            amplitudes<kLanes>(s, &w[i], &m[i]);
        for (; i < count; ++i)
            amplitudes<1>(s, &w[i], &m[i]);
    } else {
        for (int i = 0; i < count; ++i)
            m[i] = direct(h, w[i]);
    }
    QVector<QPointF> out;
    out.reserve(count);
    for (int i = 0; i < count; ++i)
        out.append(QPointF(std::log10(f[i]), 10.0 * toDb(m[i])));
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
