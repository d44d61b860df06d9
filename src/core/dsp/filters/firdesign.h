#pragma once

#include "core/dsp/dspblock.h"

#include <QVector>

/// Window-method design of the FIR block's coefficients, done on the computer and sent whole to the device.
/// Pure functions; docs/dsp.md, "FIR design".
namespace FirDesign {

enum FirType { LowPass = 0, HighPass = 1, BandPass = 2, Custom = 3 };
enum WinType { Rectangle = 0, Hanning = 1, Hamming = 2, Blackman = 3, Kaiser = 4 };

constexpr double kDefaultRate = 48000.0;
/// freq1 of a low-pass or high-pass block: one above the audio limit, so the device sees no upper edge.
constexpr double kNoUpperEdge = 20001.0;
constexpr double kMinEdge = 20.0;
constexpr double kMaxEdge = 20000.0;
constexpr double kMinAttDb = 21.0;

/// The tap counts the editor offers, shortest first.
const QVector<int> &tapChoices();

/// The centre index: taps / 2 by integer division (taps - 1 over 2 for the odd counts the editor offers).
int centre(int taps);

/// The unwindowed impulse response of type LowPass, HighPass or BandPass, symmetric about centre(taps).
/// f0 is the edge of a low-pass or high-pass and the lower edge of a band, f1 the band's upper edge.
/// Empty for Custom, an unknown type, taps < 1 or rate <= 0.
QVector<double> ideal(int firType, int taps, double f0, double f1, double rate = kDefaultRate);

/// The window of the given type over taps coefficients; attDb only matters to Kaiser. All ones for Rectangle,
/// for Kaiser below 21 dB and for taps < 2 (the cosine windows have no span to run over).
QVector<double> window(int winType, int taps, double attDb);

/// The attenuation the editor stores for a window: the window's own figure, or attDb as chosen for Kaiser.
double storedAttDb(int winType, double attDb);

/// Kaiser's beta for a stop-band attenuation in dB; 0 below 21 dB.
double kaiserBeta(double attDb);

/// The zeroth-order modified Bessel function from the first sixteen terms of its series.
double besselI0(double x);

/// The band edges sent for a type, from the editor's lower and upper edges. A band whose lower edge + 0.01
/// reaches the upper one first gets its upper edge moved to lower + 0.1 (held to the editor's range); the
/// editor shows that edge.
struct Edges
{
    double freq0 = 0.0;
    double freq1 = kNoUpperEdge;
    double upper = 0.0; ///< the upper edge after the move, for the editor to show
};
Edges edges(int firType, double lower, double upper, const DspFir &stored = DspFir());

/// The design rate: the device's rate when it gives one, else 48000.
double designRate(int deviceRate);

struct Design
{
    QVector<double> arr;
    double attDb = kMinAttDb;
};

/// The coefficients and the stored attenuation of a block as it stands (type, window, taps, attDb, freq0,
/// freq1). Custom gives its own arr unwindowed and its attDb unchanged.
Design design(const DspFir &fir, double rate = kDefaultRate);

/// design() written into the block: arr, attDb, and taps for Custom (the number of imported coefficients).
void apply(DspFir &fir, double rate = kDefaultRate);

} // namespace FirDesign
