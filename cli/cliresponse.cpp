// corvane-cli dsp response and dsp fir-design: the curves the equaliser and FIR editors draw, computed by the same
// core functions, so a script can check a chain's response without opening a window or reaching a device.
#include "cliapp.h"

#include "clidspargs.h"
#include "clidspsession.h"
#include "core/dsp/dspcodec.h"
#include "core/dsp/dspkinds.h"
#include "core/dsp/filters/channelcurve.h"
#include "core/dsp/filters/curvecsv.h"
#include "core/dsp/filters/firdesign.h"
#include "core/dsp/filters/firresponse.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QTextStream>

#include <cmath>

namespace {

using Points = CurveCsv::Points;

/// The JSON text of an argument: the argument itself, or the contents of the file after '@'.
bool readInput(const QString &arg, QByteArray *text, QString *why)
{
    if (!arg.startsWith(QLatin1Char('@'))) {
        *text = arg.toUtf8();
        return true;
    }
    QFile file(arg.mid(1));
    if (!file.open(QIODevice::ReadOnly)) {
        *why = QStringLiteral("cannot read %1: %2").arg(file.fileName(), file.errorString());
        return false;
    }
    *text = file.readAll();
    return true;
}

QJsonDocument parseJson(const QByteArray &text, const char *what, QString *why)
{
    QJsonParseError error;
    const QJsonDocument doc = QJsonDocument::fromJson(text, &error);
    if (error.error != QJsonParseError::NoError)
        *why = QStringLiteral("%1 is not JSON: %2 at offset %3")
                   .arg(QLatin1String(what), error.errorString())
                   .arg(error.offset);
    return doc;
}

Points toPoints(const QVector<ChannelCurve::Point> &curve)
{
    Points out;
    out.reserve(curve.size());
    for (const ChannelCurve::Point &p : curve)
        out.append({p.freqHz, p.db});
    return out;
}

bool inEditorRange(double f)
{
    return f >= FirDesign::kMinEdge && f <= FirDesign::kMaxEdge;
}

/// What the FIR editor's controls could not have produced; empty when the block is one it could send.
QString firRefusal(const DspFir &fir)
{
    if (fir.firType < FirDesign::LowPass || fir.firType > FirDesign::Custom)
        return QStringLiteral("firType is 0 (low-pass), 1 (high-pass), 2 (band-pass) or 3 (custom), not %1")
            .arg(fir.firType);
    if (fir.winType < FirDesign::Rectangle || fir.winType > FirDesign::Kaiser)
        return QStringLiteral("winType is 0 to 4 (Rectangle, Hanning, Hamming, Blackman, Kaiser), not %1")
            .arg(fir.winType);
    if (fir.firType == FirDesign::Custom) {
        if (fir.arr.isEmpty())
            return QStringLiteral("a custom FIR (firType 3) needs its coefficients in \"arr\"");
        if (fir.arr.size() > fir.maxTaps)
            return QStringLiteral("Fir taps must less then %1").arg(fir.maxTaps);
        return {};
    }
    if (fir.taps < 1 || fir.taps > FirDesign::tapChoices().last())
        return QStringLiteral("taps is 1 to %1, not %2").arg(FirDesign::tapChoices().last()).arg(fir.taps);
    if (!std::isfinite(fir.attDb) || fir.attDb < 0.0)
        return QStringLiteral("attDb is a number of dB from 0 up");
    if (!inEditorRange(fir.freq0))
        return QStringLiteral("freq0 is %1 to %2 Hz, not %3").arg(FirDesign::kMinEdge).arg(FirDesign::kMaxEdge).arg(fir.freq0);
    if (fir.firType == FirDesign::BandPass && !inEditorRange(fir.freq1))
        return QStringLiteral("freq1 (a band's upper edge) is %1 to %2 Hz, not %3")
            .arg(FirDesign::kMinEdge)
            .arg(FirDesign::kMaxEdge)
            .arg(fir.freq1);
    return {};
}

} // namespace

int CliApp::printCurve(const Points &points)
{
    if (m_options.json) {
        QJsonArray arr;
        for (const auto &[f, db] : points)
            arr.append(QJsonArray{f, db});
        *m_out << QJsonDocument(QJsonObject{{"points", arr}}).toJson(QJsonDocument::Compact) << '\n';
    } else if (m_options.csv) {
        *m_out << QString::fromLatin1(CurveCsv::write(points));
    } else {
        for (const auto &[f, db] : points)
            *m_out << QStringLiteral("%1 Hz  %2 dB\n").arg(f, 7, 'f', 0).arg(db, 8, 'f', 2);
    }
    return 0;
}

int CliApp::cmdDspOffline(const CliDspArgs &a)
{
    QByteArray text;
    QString why;
    if (!readInput(a.jsonInput, &text, &why))
        return fail(2, why);

    if (a.command == CliDspArgs::Command::Response) {
        const QJsonDocument doc = parseJson(text, "CHAIN", &why);
        if (!why.isEmpty())
            return fail(2, why);
        if (!doc.isArray())
            return fail(2, QStringLiteral("CHAIN is a JSON array of blocks, as a channel's \"procArr\""));
        QVector<DspBlock> chain;
        if (!DspCodec::readChain(doc.array(), &chain, &why))
            return fail(2, QStringLiteral("CHAIN: %1").arg(why));
        return printCurve(toPoints(m_options.whole ? ChannelCurve::wholeCurve(chain) : ChannelCurve::editorCurve(chain)));
    }

    const QJsonDocument doc = parseJson(text, "OBJ", &why);
    if (!why.isEmpty())
        return fail(2, why);
    if (!doc.isObject())
        return fail(2, QStringLiteral("OBJ is the JSON object of an FIR block's \"obj\""));
    DspBlock block = DspKinds::newBlock(DspKind::Fir);
    if (!DspCodec::mergeBlockObj(&block, doc.object(), &why))
        return fail(2, QStringLiteral("OBJ: %1").arg(why));
    DspFir &fir = *block.as<DspFir>();
    const QString refusal = firRefusal(fir);
    if (!refusal.isEmpty())
        return fail(2, QStringLiteral("OBJ: %1").arg(refusal));
    // The editor sends the edges its type uses, from its two edge controls.
    const double lower = fir.firType == FirDesign::LowPass ? FirDesign::kMinEdge : fir.freq0;
    const double upper = fir.firType == FirDesign::LowPass ? fir.freq0 : fir.freq1;
    const FirDesign::Edges edges = FirDesign::edges(fir.firType, lower, upper, fir);
    fir.freq0 = edges.freq0;
    fir.freq1 = edges.freq1;
    FirDesign::apply(fir);

    const QByteArray obj = block.objToJson();
    if (!m_options.json) {
        *m_out << obj << '\n';
        return 0;
    }
    const QVector<QPointF> curve = FirResponse::curve(fir.arr);
    const QVector<double> &grid = FirResponse::grid();
    QJsonArray points;
    for (int i = 0; i < curve.size(); ++i)
        points.append(QJsonArray{grid.at(i), curve.at(i).y() / 10.0});
    *m_out << QJsonDocument(QJsonObject{{"obj", QJsonDocument::fromJson(obj).object()}, {"points", points}})
                  .toJson(QJsonDocument::Compact)
           << '\n';
    return 0;
}

int CliApp::dspResponse(CliDspSession &session, const CliDspArgs &a)
{
    const DspController &c = session.controller();
    if (const int code = dspCheckChannel(c, a))
        return code;
    const QVector<DspBlock> &chain = c.chain(a.side, a.channel);
    // An FIR was designed for the device's rate, so its curve is drawn at that rate.
    const double rate = FirDesign::designRate(c.document().sampleRate);
    return printCurve(toPoints(m_options.whole ? ChannelCurve::wholeCurve(chain, rate) : ChannelCurve::editorCurve(chain)));
}

int CliApp::dspCheckChannel(const DspController &c, const CliDspArgs &a)
{
    if (a.channel < c.channelCount(a.side))
        return 0;
    return fail(2, QStringLiteral("CH: the %1 side has %2 channels, not %3")
                       .arg(DspKinds::sideName(a.side))
                       .arg(c.channelCount(a.side))
                       .arg(a.channel + 1));
}
