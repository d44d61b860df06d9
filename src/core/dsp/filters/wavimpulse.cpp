#include "core/dsp/filters/wavimpulse.h"

#include "core/app/texts.h"
#include "core/dsp/filters/coefficientfile.h"


#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>

namespace WavImpulse {

namespace {

constexpr quint16 kPcm = 1;
constexpr quint16 kFloat = 3;
constexpr quint16 kExtensible = 0xFFFE;

quint32 le(const char *p, int bytes)
{
    quint32 v = 0;
    for (int i = bytes - 1; i >= 0; --i)
        v = (v << 8) | quint8(p[i]);
    return v;
}

// The sub-format of an extensible header is a GUID whose first two bytes are the plain format tag and whose
// other fourteen are fixed; anything else is a vendor's own coding.
bool baseGuidTail(const char *p)
{
    static const unsigned char tail[14] = {0x00, 0x00, 0x00, 0x00, 0x10, 0x00, 0x80,
                                           0x00, 0x00, 0xAA, 0x00, 0x38, 0x9B, 0x71};
    return std::memcmp(p, tail, sizeof tail) == 0;
}

double sample(const char *p, quint16 format, int bits)
{
    if (format == kFloat) {
        const quint32 raw = le(p, 4);
        float f;
        std::memcpy(&f, &raw, sizeof f);
        return double(f);
    }
    if (bits == 16)
        return double(qint16(quint16(le(p, 2)))) / 32768.0;
    // 24-bit: shifted up so the sign lands on bit 31, then back down as a signed value.
    return double(qint32(le(p, 3) << 8) >> 8) / 8388608.0;
}

} // namespace

QString Result::message() const
{
    switch (status) {
    case Status::Ok:
        return QString();
    case Status::OpenFailed:
        return tx(Tx::FirOpenFailed);
    case Status::NotWave:
        return tx(Tx::WavNotWave);
    case Status::NotMono:
        return tx(Tx::WavNotMono).arg(channels);
    case Status::UnknownFormat:
        return tx(Tx::WavUnknownFormat);
    case Status::Empty:
        return tx(Tx::WavEmpty);
    case Status::Truncated:
        return tx(Tx::WavTruncated);
    case Status::BadSample:
        return tx(Tx::FirParseFailed);
    case Status::TooMany:
        return tx(Tx::FirTapsTooMany).arg(maxTaps);
    }
    return QString();
}

Result parse(const QByteArray &bytes, int maxTaps)
{
    Result r;
    r.maxTaps = maxTaps;
    const char *d = bytes.constData();
    const qint64 size = bytes.size();
    if (size < 12 || std::memcmp(d, "RIFF", 4) != 0 || std::memcmp(d + 8, "WAVE", 4) != 0)
        return r;

    // Chunks may come in any order and carry others between them ("LIST", "fact", ...); only "fmt " and
    // "data" matter. The RIFF size is not trusted: writers that stream leave it wrong.
    const char *fmt = nullptr;
    quint32 fmtSize = 0;
    const char *data = nullptr;
    quint32 dataSize = 0;
    qint64 at = 12;
    while (at + 8 <= size && !(fmt && data)) {
        const quint32 chunkSize = le(d + at + 4, 4);
        const qint64 body = at + 8;
        if (std::memcmp(d + at, "fmt ", 4) == 0) {
            if (body + chunkSize > size) {
                r.status = Status::Truncated;
                return r;
            }
            fmt = d + body;
            fmtSize = chunkSize;
        } else if (std::memcmp(d + at, "data", 4) == 0) {
            data = d + body;
            dataSize = chunkSize;
            if (body + chunkSize > size) {
                r.status = Status::Truncated;
                return r;
            }
        }
        at = body + chunkSize + (chunkSize & 1u); // chunks are padded to an even length
    }
    if (!fmt)
        return r; // RIFF/WAVE without a format is no sound file
    if (fmtSize < 16) {
        r.status = Status::UnknownFormat;
        return r;
    }

    quint16 format = quint16(le(fmt, 2));
    r.channels = int(le(fmt + 2, 2));
    r.sampleRate = int(std::min<quint32>(le(fmt + 4, 4), quint32(INT32_MAX)));
    const int blockAlign = int(le(fmt + 12, 2));
    const int bits = int(le(fmt + 14, 2));
    if (format == kExtensible) {
        if (fmtSize < 40 || !baseGuidTail(fmt + 26)) {
            r.status = Status::UnknownFormat;
            return r;
        }
        format = quint16(le(fmt + 24, 2));
    }
    if (r.channels != 1) {
        r.status = Status::NotMono;
        return r;
    }
    const bool known = (format == kPcm && (bits == 16 || bits == 24)) || (format == kFloat && bits == 32);
    if (!known || blockAlign != bits / 8) {
        r.status = Status::UnknownFormat;
        return r;
    }
    if (!data) {
        r.status = Status::Truncated;
        return r;
    }
    if (dataSize % quint32(blockAlign) != 0) {
        r.status = Status::Truncated;
        return r;
    }
    const qint64 count = dataSize / quint32(blockAlign);
    if (count == 0) {
        r.status = Status::Empty;
        return r;
    }
    if (count > maxTaps) {
        r.status = Status::TooMany;
        return r;
    }
    QVector<double> values;
    values.reserve(int(count));
    for (qint64 i = 0; i < count; ++i) {
        const double v = sample(data + i * blockAlign, format, bits);
        if (!std::isfinite(v)) {
            r.status = Status::BadSample;
            return r;
        }
        values.append(v);
    }
    r.status = Status::Ok;
    r.values = std::move(values);
    return r;
}

Result readFile(const QString &path, int maxTaps)
{
    return CoefficientFile::read(path, maxTaps, Status::OpenFailed, &parse);
}

} // namespace WavImpulse
