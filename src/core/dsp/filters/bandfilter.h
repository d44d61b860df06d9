#pragma once

#include "core/dsp/filters/biquad.h"

#include <optional>

struct DspEqBand;

// The sections of the equaliser's bands. w0 = 2π·freq0/48000 in every one.
namespace BandFilter {

enum Type { Peaking = 0, LowShelf = 1, HighShelf = 2, AllPass = 7 };

/// widthOctaves is the band's "qBwS": the bandwidth in octaves between the half-gain points.
Biquad peaking(double freq0, double dbGain, double widthOctaves);
/// Shelves have their slope fixed at 1; the band's width does not reach them.
Biquad lowShelf(double freq0, double dbGain);
Biquad highShelf(double freq0, double dbGain);
/// Computed in single precision, as the device does; q is the band's "qBwS".
Biquad allPass(double freq0, double q);

/// The band's section on the magnitude curve; none for an all-pass band or a type this program does not know,
/// as neither changes the magnitude. The band's bypass flag is not looked at here.
std::optional<Biquad> magnitudeSection(const DspEqBand &band);

} // namespace BandFilter
