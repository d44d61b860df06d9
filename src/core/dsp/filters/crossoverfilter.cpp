#include "core/dsp/filters/crossoverfilter.h"

#include "core/dsp/dspblock.h"

#include <cmath>

namespace CrossoverFilter {

namespace {

// Index: order; Q of each section, as the device holds them.
const QVector<QVector<double>> kBessel = {
    {},
    {},
    {0.57735026919},
    {0.691046625825},
    {0.805538281842, 0.521934581669},
    {0.916477373948, 0.563535620851},
    {1.02331395383, 0.611194546878, 0.510317824749},
    {1.12625754198, 0.660821389297, 0.5323556979},
    {1.22566942541, 0.710852074442, 0.559609164796, 0.505991069397},
};

// Not the exact square roots: these are the values the device filters with.
const QVector<QVector<double>> kLinkwitzRiley = {
    {}, {}, {0.5}, {}, {0.707, 0.707}, {}, {0.5, 1.0, 1.0}, {}, {0.54, 1.31, 0.54, 1.31},
};

QVector<double> butterworthQs(int order)
{
    QVector<double> qs;
    for (int k = 0; k < order / 2; ++k)
        qs.append(1.0 / (2.0 * std::sin(M_PI / order * (k + 0.5))));
    return qs;
}

double omega(double freq0)
{
    return 2.0 * M_PI * freq0 / Biquad::kRateHz;
}

} // namespace

QVector<double> sectionQs(int family, int order)
{
    if (order < 2)
        return {};
    const QVector<QVector<double>> *table = family == Bessel          ? &kBessel
                                            : family == LinkwitzRiley ? &kLinkwitzRiley
                                                                      : nullptr;
    if (table && order < table->size() && !table->at(order).isEmpty())
        return table->at(order);
    return butterworthQs(order);
}

Biquad highPass(double freq0, double q)
{
    const double w0 = omega(freq0);
    const double alpha = std::sin(w0) / (2.0 * q);
    const double cs = std::cos(w0);
    const double b0 = (1.0 + cs) / 2.0 / (1.0 + alpha);
    return {b0, -(1.0 + cs) / (1.0 + alpha), b0, 1.0, -2.0 * cs / (1.0 + alpha), (1.0 - alpha) / (1.0 + alpha)};
}

Biquad lowPass(double freq0, double q)
{
    const double w0 = omega(freq0);
    const double alpha = std::sin(w0) / (2.0 * q);
    const double cs = std::cos(w0);
    const double b0 = (1.0 - cs) / 2.0 / (1.0 + alpha);
    return {b0, (1.0 - cs) / (1.0 + alpha), b0, 1.0, -2.0 * cs / (1.0 + alpha), (1.0 - alpha) / (1.0 + alpha)};
}

Biquad firstOrderHighPass(double freq0)
{
    const double w0 = omega(freq0);
    const double sn = std::sin(w0);
    const double cs = std::cos(w0);
    const double b0 = (1.0 + cs) / (1.0 + sn + cs);
    return {b0, -b0, 0.0, 1.0, (sn - cs - 1.0) / (sn + cs + 1.0), 0.0};
}

Biquad firstOrderLowPass(double freq0)
{
    const double w0 = omega(freq0);
    const double sn = std::sin(w0);
    const double cs = std::cos(w0);
    const double b0 = sn / (sn + cs + 1.0);
    return {b0, b0, 0.0, 1.0, (sn - cs - 1.0) / (sn + cs + 1.0), 0.0};
}

QVector<Biquad> cascade(const DspCrossover &block)
{
    QVector<Biquad> sections;
    for (double q : sectionQs(block.type, block.order))
        sections.append(block.isHpf ? highPass(block.freq0, q) : lowPass(block.freq0, q));
    if (block.order > 0 && block.order % 2 == 1)
        sections.append(block.isHpf ? firstOrderHighPass(block.freq0) : firstOrderLowPass(block.freq0));
    return sections;
}

} // namespace CrossoverFilter
