#pragma once

#include <QByteArray>
#include <QString>
#include <QVector>

// A measured or designed impulse response saved as a mono WAV file, taken as the custom FIR block's
// coefficients. docs/dsp.md, "Importing", has what is accepted.
namespace WavImpulse {

enum class Status { Ok, OpenFailed, NotWave, NotMono, UnknownFormat, Empty, Truncated, BadSample, TooMany };

struct Result
{
    Status status = Status::NotWave;
    QVector<double> values; ///< full scale is 1.0; empty unless Ok
    int sampleRate = 0;     ///< as the file states it, so the editor can warn of a rate the device does not run
    int channels = 0;
    int maxTaps = 0;

    bool ok() const { return status == Status::Ok; }
    /// The notice shown for a failure, in the current language; empty when Ok.
    QString message() const;
};

/// 16-bit or 24-bit PCM or 32-bit float, plain or WAVE_FORMAT_EXTENSIBLE, one channel, 1 to maxTaps samples.
Result parse(const QByteArray &bytes, int maxTaps);
/// parse() of a file's contents; OpenFailed when it cannot be read.
Result readFile(const QString &path, int maxTaps);

} // namespace WavImpulse
