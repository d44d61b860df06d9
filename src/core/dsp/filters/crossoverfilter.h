#pragma once

#include "core/dsp/filters/biquad.h"

#include <QVector>

struct DspCrossover;

// The cascade of a high-pass or low-pass block as the curve draws it: order / 2 second-order sections, and one
// first-order section more for an odd order, all at the block's own corner frequency.
namespace CrossoverFilter {

enum Family { Butterworth = 0, Bessel = 1, LinkwitzRiley = 2 };

/// The Q of each second-order section, in section order. The Bessel and Linkwitz-Riley values are the device's
/// own short table values; an order missing from a table (a Linkwitz-Riley of odd order, anything above 8)
/// falls back to the Butterworth Q, so a document from elsewhere still draws a curve of the right slope.
QVector<double> sectionQs(int family, int order);

Biquad highPass(double freq0, double q);
Biquad lowPass(double freq0, double q);
Biquad firstOrderHighPass(double freq0);
Biquad firstOrderLowPass(double freq0);

/// Every section of the block's cascade; none for an order below 1.
QVector<Biquad> cascade(const DspCrossover &block);

} // namespace CrossoverFilter
