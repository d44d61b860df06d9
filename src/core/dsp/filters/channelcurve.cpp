#include "core/dsp/filters/channelcurve.h"

#include "core/dsp/filters/eqcurve.h"
#include "core/dsp/filters/firresponse.h"

namespace ChannelCurve {

namespace {

QVector<Point> pointsOf(const QVector<Biquad> &sections, const QVector<const QVector<double> *> &firs, double firRate)
{
    QVector<Point> points;
    const QVector<double> freqs = EqCurve::frequencies();
    points.reserve(freqs.size());
    for (double f : freqs) {
        double db = EqCurve::sumDb(sections, f);
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
