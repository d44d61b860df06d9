#pragma once

#include "core/dsp/dspblock.h"

#include <QByteArray>
#include <QString>
#include <QVector>

// The plain-text filter lists that room-measurement and system-wide equaliser tools read and write
// ("Filter 1: ON PK Fc 120 Hz Gain -3.5 dB Q 2.10"), in both directions. docs/dsp.md, "Importing", has the rules.
namespace ParametricEqText {

/// Q to the width the block keeps, in octaves between the half-gain points: 2/ln2 · asinh(1/(2Q)).
double octavesFromQ(double q);
/// The inverse: 1 / (2 sinh(ln2/2 · octaves)).
double qFromOctaves(double octaves);

enum class Reason {
    Unsupported, ///< a filter type the block has no band for (high-pass, notch, ...)
    BeyondBands, ///< a usable filter after the block's bands are all taken
    OutOfRange,  ///< frequency, gain or width that the band editor cannot hold
    Unreadable   ///< a known type without the numbers it needs
};

/// A filter line that is not taken, so the editor can show it before anything is applied.
struct Skipped
{
    int line = 0;    ///< from 1
    QString type;    ///< the type as the file names it ("HP", "NO", ...)
    Reason reason = Reason::Unsupported;
    int bandCount = 0;

    /// The line of the list shown to the user, in the current language.
    QString message() const;
};

struct Result
{
    QVector<DspEqBand> bands; ///< in file order, every one active; empty when nothing is usable
    QVector<Skipped> skipped;

    bool ok() const { return !bands.isEmpty(); }
    /// The notice when nothing is usable; empty otherwise.
    QString message() const;
};

/// The active filters of the text, at most bandCount of them, rounded to the band editor's steps. OFF filters,
/// empty "None" slots, "Preamp" and every other line are passed over without a word.
Result parse(const QByteArray &text, int bandCount);

/// The block with the imported bands in its first bands, each active, and its other bands bypassed with their
/// values kept: the file is the whole correction, and bypassed bands cost nothing to bring back.
DspEq applied(const DspEq &eq, const QVector<DspEqBand> &bands);

/// Every band of the block, one line each, numbered from 1; a bypassed band is written OFF. Shelves carry no
/// width (the block's slope is fixed); all-pass bands are written "AP" with their Q.
QByteArray write(const DspEq &eq);

} // namespace ParametricEqText
