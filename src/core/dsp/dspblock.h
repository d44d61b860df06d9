#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QString>
#include <QStringList>
#include <QVector>

#include <variant>

// The parameters of one processing block, one record per block type. Defaults are those of a block the program
// adds itself (docs/dsp.md). Editors change the members in place and send the whole record.

/// One band of the equaliser. The device keeps the bypass flags in an array of their own ("bypassArr");
/// here they sit with their band, so the two can never differ in length.
struct DspEqBand
{
    bool bypass = false;
    float dbGain = 0.0f;
    double freq0 = 1000.0;
    double qBwS = 1.0;
    int type = 0;      ///< 0 peaking, 1 low shelf, 2 high shelf, 7 all-pass
    QJsonObject extra; ///< members of the band this program does not know, written back unchanged
};

/// Type 0: parametric equaliser, seven bands on a device.
struct DspEq
{
    QVector<DspEqBand> bands;
};

/// Type 1: delay in samples.
struct DspDelay
{
    int delayNum = 0;
    int maxNum = 24000; ///< set by the device; never edited
};

/// Compressor and expander share their members.
struct DspDynamics
{
    double attackMs = 50.0;
    double kneeDb = 0.0;
    double ratio = 2.0;
    double releaseMs = 100.0;
    double trigDb = -20.0;
};

/// Type 2.
struct DspCompressor : DspDynamics
{
};

/// Type 3: feedback eliminator (frequency shifter).
struct DspFeedback
{
    double freqShift = 1.0;
};

/// Type 4: high-pass or low-pass filter.
struct DspCrossover
{
    double freq0 = 20.0;
    bool isHpf = true;
    int order = 1;
    int type = 0; ///< 0 Butterworth, 1 Bessel, 2 Linkwitz-Riley
};

/// Type 5: FIR filter; arr holds the designed coefficients.
struct DspFir
{
    QVector<double> arr;
    double attDb = 21.0;
    int firType = 0;
    double freq0 = 10000.0;
    double freq1 = 20001.0; // one above the audio limit on purpose
    int maxTaps = 256;
    int taps = 127;
    int winType = 0;
};

/// Type 6.
struct DspLimiter
{
    double limitDb = -20.0;
};

/// Type 7: noise gate.
struct DspGate
{
    double closeMs = 10.0;
    double openMs = 10.0;
    double trigDb = -90.0;
};

/// Type 8.
struct DspExpander : DspDynamics
{
};

/// Type 9: signal generator; mode 0 sine, 1 white noise, 2 pink noise.
struct DspSignalGen
{
    double freq = 1000.0;
    double gainDb = -20.0;
    int mode = 0;
};

/// Type 10: echo canceller inside a channel's chain.
struct DspAec
{
    int aecLevel = 2;
    int ansLevel = 2;
    int banMask = 0;
    int farCh = 0;
    bool farFromOut = false;
    bool hasAec = true;
    bool hasAgc = false;
    bool hasAns = true;
};

/// Type 11: ducker; refCh is the channel whose level ducks this one.
struct DspDucker
{
    double attackMs = 50.0;
    double duckDb = -15.0;
    double holdMs = 500.0;
    int refCh = 0;
    double releaseMs = 500.0;
    double trigDb = -40.0;
};

/// A block of a type this program does not know; its obj is kept whole in DspBlock::objExtra.
struct DspUnknownBlock
{
    int type = -1;
};

/// The index of each alternative is the block's type number.
using DspBlockParams = std::variant<DspEq, DspDelay, DspCompressor, DspFeedback, DspCrossover, DspFir, DspLimiter,
                                    DspGate, DspExpander, DspSignalGen, DspAec, DspDucker, DspUnknownBlock>;

/// One element of a channel's "procArr".
struct DspBlock
{
    static constexpr int kKnownTypes = 12;

    bool bypass = true;
    int core = -1;    ///< processor core running it; -1 not yet placed
    int groupId = -1; ///< link group; -1 none
    DspBlockParams obj;
    /// Members of obj this program does not know (all of obj for an unknown type), written back unchanged.
    QJsonObject objExtra;
    /// Members of the block itself this program does not know.
    QJsonObject extra;
    /// The block's identity while the document is open: never written to the device or a file, so two
    /// documents that differ only in it are the same document. 0 until the DSP controller gives one.
    quint64 uid = 0;

    /// The block type number as on the wire.
    int type() const;
    bool isKnownType() const { return obj.index() < size_t(kKnownTypes); }

    /// The parameters when they are of type T, else null: `if (auto *c = b.as<DspCompressor>()) c->ratio = 4;`
    template <class T> T *as() { return std::get_if<T>(&obj); }
    template <class T> const T *as() const { return std::get_if<T>(&obj); }

    /// The block and its obj as compact document text (members in name order, every scalar a string).
    QByteArray toJson() const;
    QByteArray objToJson() const;

    /// Names of the obj members of a block type, in the order written; empty for an unknown type.
    static QStringList memberNames(int type);
};
