#include "core/dsp/filters/channelcurve.h"

#include "core/dsp/filters/eqcurve.h"
#include "core/dsp/filters/firresponse.h"

#include <cmath>

namespace ChannelCurve {

namespace {

// The curve is redrawn on every step of a dragged control. Summing each section's dB value as Biquad::response
// does costs two complex exponentials, a complex division and a logarithm per section and point; here the
// sines of a point are shared by every section and the squared magnitudes are multiplied, leaving one logarithm
// per point. The terms are the same sums as the complex evaluation's, so nothing is lost to cancellation.
double sectionsDb(const QVector<Biquad> &sections, double freqHz)
{
    if (sections.isEmpty())
        return 0.0;
    const double w = Biquad::quantisedOmega(freqHz);
    const double c1 = std::cos(w), s1 = std::sin(w);
    const double c2 = c1 * c1 - s1 * s1, s2 = 2.0 * s1 * c1;
    double power = 1.0;
    double db = 0.0;
    for (const Biquad &q : sections) {
        const double nr = q.b0 + q.b1 * c1 + q.b2 * c2, ni = q.b1 * s1 + q.b2 * s2;
        const double dr = q.a0 + q.a1 * c1 + q.a2 * c2, di = q.a1 * s1 + q.a2 * s2;
        power *= (nr * nr + ni * ni) / (dr * dr + di * di);
        // Deep stop bands of many sections could leave the range of a double: take the logarithm early then.
        if (power < 1e-150 || power > 1e150) {
            db += 10.0 * std::log10(power);
            power = 1.0;
        }
    }
    return db + 10.0 * std::log10(power);
}

QVector<Point> pointsOf(const QVector<Biquad> &sections, const QVector<const QVector<double> *> &firs, double firRate)
{
    QVector<Point> points;
    const QVector<double> freqs = EqCurve::frequencies();
    points.reserve(freqs.size());
    for (double f : freqs) {
        double db = sectionsDb(sections, f);
        for (const QVector<double> *h : firs)
            db += FirResponse::magnitudeDb(*h, f, firRate);
        points.append({f, db});
    }
    return points;
}

} // namespace

EditorBlocks editorBlocks(const QVector<DspBlock> &chain)
{
    EditorBlocks found;
    for (const DspBlock &b : chain) {
        if (!found.eq && b.as<DspEq>())
            found.eq = &b;
        if (const DspCrossover *x = b.as<DspCrossover>()) {
            const DspBlock *&slot = x->isHpf ? found.highPass : found.lowPass;
            if (!slot)
                slot = &b;
        }
    }
    return found;
}

QVector<Point> editorCurve(const QVector<DspBlock> &chain)
{
    const EditorBlocks b = editorBlocks(chain);
    return pointsOf(EqCurve::magnitudeSections(b.eq, b.highPass, b.lowPass), {}, FirDesign::kDefaultRate);
}

QVector<Point> wholeCurve(const QVector<DspBlock> &chain, double firRate)
{
    QVector<Biquad> sections;
    QVector<const QVector<double> *> firs;
    for (const DspBlock &b : chain) {
        // magnitudeSections leaves bypassed blocks out itself; an FIR has to be skipped here.
        if (b.as<DspEq>())
            sections += EqCurve::magnitudeSections(&b, nullptr, nullptr);
        else if (const DspCrossover *x = b.as<DspCrossover>())
            sections += x->isHpf ? EqCurve::magnitudeSections(nullptr, &b, nullptr)
                                 : EqCurve::magnitudeSections(nullptr, nullptr, &b);
        else if (const DspFir *fir = b.as<DspFir>(); fir && !b.bypass && !fir->arr.isEmpty())
            firs.append(&fir->arr);
    }
    return pointsOf(sections, firs, firRate);
}

} // namespace ChannelCurve
