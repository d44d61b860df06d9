#include "core/dsp/filters/eqcurve.h"

#include "core/dsp/dspblock.h"
#include "core/dsp/filters/bandfilter.h"
#include "core/dsp/filters/crossoverfilter.h"

#include <cmath>

namespace EqCurve {

namespace {

// The band list a curve draws from; empty when the block is missing, bypassed or not an equaliser.
QVector<DspEqBand> activeBands(const DspBlock *eq)
{
    QVector<DspEqBand> bands;
    if (!eq || eq->bypass)
        return bands;
    if (const DspEq *params = eq->as<DspEq>())
        for (const DspEqBand &band : params->bands)
            if (!band.bypass)
                bands.append(band);
    return bands;
}

void appendCascade(QVector<Biquad> &sections, const DspBlock *block)
{
    if (!block || block->bypass)
        return;
    if (const DspCrossover *params = block->as<DspCrossover>())
        sections += CrossoverFilter::cascade(*params);
}

} // namespace

QVector<double> frequencies()
{
    QVector<double> freqs;
    int index = 0;
    while (index < 19980) {
        freqs.append(index + 20);
        index += index < 100 ? 1 : index < 1000 ? 10 : index < 10000 ? 100 : 500;
    }
    return freqs;
}

QVector<Biquad> magnitudeSections(const DspBlock *eq, const DspBlock *highPass, const DspBlock *lowPass)
{
    QVector<Biquad> sections;
    for (const DspEqBand &band : activeBands(eq))
        if (const auto section = BandFilter::magnitudeSection(band))
            sections.append(*section);
    appendCascade(sections, highPass);
    appendCascade(sections, lowPass);
    return sections;
}

double sumDb(const QVector<Biquad> &sections, double freqHz)
{
    double db = 0.0;
    for (const Biquad &s : sections)
        db += s.response(freqHz).db;
    return db;
}

QVector<QPointF> magnitudeSeries(const DspBlock *eq, const DspBlock *highPass, const DspBlock *lowPass)
{
    const QVector<Biquad> sections = magnitudeSections(eq, highPass, lowPass);
    QVector<QPointF> points;
    for (double f : frequencies())
        points.append(QPointF(std::log10(f), 10.0 * sumDb(sections, f)));
    return points;
}

QVector<Biquad> allPassSections(const DspBlock *eq)
{
    QVector<Biquad> sections;
    for (const DspEqBand &band : activeBands(eq))
        if (band.type == BandFilter::AllPass)
            sections.append(BandFilter::allPass(band.freq0, band.qBwS));
    return sections;
}

QVector<QPointF> allPassPhaseSeries(const DspBlock *eq)
{
    const QVector<Biquad> sections = allPassSections(eq);
    QVector<QPointF> points;
    for (double f : frequencies()) {
        double phase = 0.0;
        for (const Biquad &s : sections)
            phase += s.response(f).phase;
        double degrees = std::remainder(phase * 180.0 / M_PI, 360.0);
        if (degrees <= -180.0)
            degrees += 360.0;
        points.append(QPointF(std::log10(f), degrees));
    }
    return points;
}

} // namespace EqCurve
