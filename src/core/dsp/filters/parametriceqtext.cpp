#include "core/dsp/filters/parametriceqtext.h"

#include "core/app/texts.h"
#include "core/dsp/filters/bandfilter.h"

#include <QRegularExpression>
#include <QStringList>

#include <cmath>
#include <optional>

namespace ParametricEqText {

namespace {

// The band editor's limits and steps; a band outside them could not be shown or edited afterwards.
constexpr double kFreqMin = 19.7, kFreqMax = 20200.0;
constexpr double kGainMin = -24.0, kGainMax = 12.0;
constexpr double kWidthMin = 0.017, kWidthMax = 4.75;
constexpr double kShelfWidth = 1.0; // not used by a shelf; what a new band holds

// Divided rather than multiplied by the step, so 0.017 comes out as the very number the editor would hold.
double roundTo(double v, double perUnit) { return std::round(v * perUnit) / perUnit; }

// "120", "120,5" (decimal comma), "120Hz", "1.2kHz". Units are read only as far as kilo goes; nothing else
// these files write changes a number's scale.
std::optional<double> number(QString token, const QString &nextToken)
{
    token.replace(QLatin1Char(','), QLatin1Char('.'));
    double scale = 1.0;
    static const QRegularExpression unit(QStringLiteral("^([-+0-9.eE]+)(k?Hz|dB)?$"),
                                         QRegularExpression::CaseInsensitiveOption);
    const QRegularExpressionMatch m = unit.match(token);
    if (!m.hasMatch())
        return std::nullopt;
    if (m.captured(2).compare(QLatin1String("kHz"), Qt::CaseInsensitive) == 0
        || (m.captured(2).isEmpty() && nextToken.compare(QLatin1String("kHz"), Qt::CaseInsensitive) == 0))
        scale = 1000.0;
    bool ok = false;
    const double v = m.captured(1).toDouble(&ok);
    if (!ok || !std::isfinite(v))
        return std::nullopt;
    return v * scale;
}

struct Fields
{
    std::optional<double> fc, gain, q, bwOct;
};

Fields fields(const QStringList &tokens, int from)
{
    Fields f;
    auto at = [&](int i) { return i < tokens.size() ? tokens.at(i) : QString(); };
    for (int i = from; i < tokens.size(); ++i) {
        const QString key = tokens.at(i).toUpper();
        if (key == QLatin1String("FC"))
            f.fc = number(at(i + 1), at(i + 2));
        else if (key == QLatin1String("GAIN"))
            f.gain = number(at(i + 1), at(i + 2));
        else if (key == QLatin1String("Q"))
            f.q = number(at(i + 1), at(i + 2));
        else if (key == QLatin1String("BW") && at(i + 1).toUpper() == QLatin1String("OCT"))
            f.bwOct = number(at(i + 2), at(i + 3));
    }
    return f;
}

enum class Kind { Peaking, LowShelf, HighShelf, AllPass, Empty, Other };

Kind kindOf(const QString &type)
{
    const QString t = type.toUpper();
    if (t == QLatin1String("PK") || t == QLatin1String("PEQ"))
        return Kind::Peaking;
    if (t == QLatin1String("LS") || t == QLatin1String("LSC"))
        return Kind::LowShelf;
    if (t == QLatin1String("HS") || t == QLatin1String("HSC"))
        return Kind::HighShelf;
    if (t == QLatin1String("AP"))
        return Kind::AllPass;
    if (t == QLatin1String("NONE"))
        return Kind::Empty;
    return Kind::Other;
}

// The band of a filter line, or why there is none.
std::optional<Reason> toBand(Kind kind, const Fields &f, DspEqBand &band)
{
    if (!f.fc)
        return Reason::Unreadable;
    band.freq0 = roundTo(*f.fc, 10.0);
    double gain = 0.0;
    double width = kShelfWidth;
    switch (kind) {
    case Kind::Peaking:
        if (!f.gain || (!f.q && !f.bwOct) || (f.q && *f.q <= 0.0))
            return Reason::Unreadable;
        gain = *f.gain;
        width = f.bwOct ? *f.bwOct : octavesFromQ(*f.q);
        band.type = BandFilter::Peaking;
        break;
    case Kind::LowShelf:
    case Kind::HighShelf:
        if (!f.gain)
            return Reason::Unreadable;
        gain = *f.gain;
        band.type = kind == Kind::LowShelf ? BandFilter::LowShelf : BandFilter::HighShelf;
        break;
    case Kind::AllPass:
        if (!f.q)
            return Reason::Unreadable;
        width = *f.q; // an all-pass band keeps its Q as it is
        band.type = BandFilter::AllPass;
        break;
    default:
        return Reason::Unsupported;
    }
    gain = roundTo(gain, 10.0);
    width = roundTo(width, 1000.0);
    if (band.freq0 < kFreqMin || band.freq0 > kFreqMax || gain < kGainMin || gain > kGainMax || width < kWidthMin
        || width > kWidthMax)
        return Reason::OutOfRange;
    band.dbGain = float(gain);
    band.qBwS = width;
    return std::nullopt;
}

} // namespace

double octavesFromQ(double q) { return 2.0 / std::log(2.0) * std::asinh(1.0 / (2.0 * q)); }

double qFromOctaves(double octaves) { return 1.0 / (2.0 * std::sinh(std::log(2.0) / 2.0 * octaves)); }

QString Skipped::message() const
{
    switch (reason) {
    case Reason::Unsupported:
        return tx(Tx::EqImportUnsupported).arg(line).arg(type);
    case Reason::BeyondBands:
        return tx(Tx::EqImportBeyondBands).arg(line).arg(bandCount);
    case Reason::OutOfRange:
        return tx(Tx::EqImportOutOfRange).arg(line);
    case Reason::Unreadable:
        return tx(Tx::EqImportUnreadable).arg(line);
    }
    return QString();
}

QString Result::message() const { return ok() ? QString() : tx(Tx::EqImportNothing); }

Result parse(const QByteArray &text, int bandCount)
{
    Result r;
    static const QRegularExpression head(QStringLiteral("^\\s*Filter\\s*\\d*\\s*:(.*)$"),
                                         QRegularExpression::CaseInsensitiveOption);
    static const QRegularExpression blanks(QStringLiteral("\\s+"));
    QByteArray body = text;
    if (body.startsWith("\xEF\xBB\xBF"))
        body.remove(0, 3);
    const QList<QByteArray> lines = body.split('\n');
    for (int n = 0; n < lines.size(); ++n) {
        const QRegularExpressionMatch m = head.match(QString::fromUtf8(lines.at(n)));
        if (!m.hasMatch())
            continue; // "Preamp", headers, comments
        const QStringList tokens = m.captured(1).split(blanks, Qt::SkipEmptyParts);
        int at = 0;
        if (at < tokens.size() && tokens.at(at).compare(QLatin1String("OFF"), Qt::CaseInsensitive) == 0)
            continue;
        if (at < tokens.size() && tokens.at(at).compare(QLatin1String("ON"), Qt::CaseInsensitive) == 0)
            ++at;
        if (at >= tokens.size())
            continue;
        const QString type = tokens.at(at);
        const Kind kind = kindOf(type);
        if (kind == Kind::Empty)
            continue;
        Skipped skipped;
        skipped.line = n + 1;
        skipped.type = type;
        skipped.bandCount = bandCount;
        DspEqBand band;
        if (const std::optional<Reason> why = toBand(kind, fields(tokens, at + 1), band)) {
            skipped.reason = *why;
            r.skipped.append(skipped);
        } else if (r.bands.size() >= bandCount) {
            skipped.reason = Reason::BeyondBands;
            r.skipped.append(skipped);
        } else {
            r.bands.append(band);
        }
    }
    return r;
}

QByteArray write(const DspEq &eq)
{
    QByteArray out;
    for (int i = 0; i < eq.bands.size(); ++i) {
        const DspEqBand &b = eq.bands.at(i);
        const QByteArray head = "Filter " + QByteArray::number(i + 1) + (b.bypass ? ": OFF " : ": ON ");
        const QByteArray fc = " Fc " + QByteArray::number(b.freq0, 'f', 1) + " Hz";
        const QByteArray gain = " Gain " + QByteArray::number(double(b.dbGain), 'f', 1) + " dB";
        switch (b.type) {
        case BandFilter::Peaking:
            // Six significant digits: a wide band's width moves fast with Q, and must read back to the same
            // thousandth of an octave.
            out += head + "PK" + fc + gain + " Q " + QByteArray::number(qFromOctaves(b.qBwS), 'g', 6) + "\r\n";
            break;
        case BandFilter::LowShelf:
            out += head + "LS" + fc + gain + "\r\n";
            break;
        case BandFilter::HighShelf:
            out += head + "HS" + fc + gain + "\r\n";
            break;
        case BandFilter::AllPass:
            out += head + "AP" + fc + " Q " + QByteArray::number(b.qBwS, 'g', 6) + "\r\n";
            break;
        default:
            out += head + "None\r\n"; // a type this program does not know keeps its number, not its values
            break;
        }
    }
    return out;
}

} // namespace ParametricEqText

DspEq ParametricEqText::applied(const DspEq &eq, const QVector<DspEqBand> &bands)
{
    DspEq out = eq;
    for (int i = 0; i < out.bands.size(); ++i) {
        DspEqBand &b = out.bands[i];
        if (i >= bands.size()) {
            b.bypass = true;
            continue;
        }
        b.type = bands[i].type;
        b.freq0 = bands[i].freq0;
        b.dbGain = bands[i].dbGain;
        b.qBwS = bands[i].qBwS;
        b.bypass = false;
    }
    return out;
}
