// The equaliser and crossover maths against reference data computed with SciPy (scripts/filter-reference.py),
// and the selector and control mappings.
#include "core/dsp/dspblock.h"
#include "core/dsp/filters/bandfilter.h"
#include "core/dsp/filters/crossoverchoice.h"
#include "core/dsp/filters/crossoverfilter.h"
#include "core/dsp/filters/eqcurve.h"
#include "core/dsp/filters/eqmapping.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QtTest>

#include <cmath>

namespace {

// Tight enough that a Q off in its third digit (0.707 for 1/√2), a frequency off by a tenth of a hertz or an
// all-pass band computed in double rather than single precision fails.
constexpr double kCoeffRel = 1e-9;
constexpr double kDbTol = 1e-4;
constexpr double kPhaseTol = 1e-6;

QJsonObject load(const char *name)
{
    QFile f(QStringLiteral(CORVANE_TEST_DATA "/filters/") + QLatin1String(name));
    if (!f.open(QIODevice::ReadOnly))
        qFatal("cannot read %s", qPrintable(f.fileName()));
    return QJsonDocument::fromJson(f.readAll()).object();
}

QVector<double> numbers(const QJsonValue &v)
{
    QVector<double> out;
    for (const QJsonValue &x : v.toArray())
        out.append(x.toDouble());
    return out;
}

bool near(double got, double want, double rel, double abs = 1e-12)
{
    return std::fabs(got - want) <= std::max(abs, rel * std::fabs(want));
}

// Phases that differ by whole turns are the same phase.
double phaseGap(double a, double b)
{
    return std::fabs(std::remainder(a - b, 2.0 * M_PI));
}

void compareCoeffs(const Biquad &s, const QJsonValue &want, const QString &what)
{
    const QVector<double> w = numbers(want);
    const double got[6] = {s.b0, s.b1, s.b2, s.a0, s.a1, s.a2};
    for (int i = 0; i < 6; ++i)
        QVERIFY2(near(got[i], w[i], kCoeffRel), qPrintable(QStringLiteral("%1 coefficient %2: %3 != %4")
                                                               .arg(what).arg(i).arg(got[i], 0, 'g', 17).arg(w[i])));
}

DspEqBand band(const QJsonObject &o)
{
    DspEqBand b;
    b.type = o["type"].toInt();
    b.freq0 = o["freq0"].toDouble();
    b.dbGain = float(o["dbGain"].toDouble());
    b.qBwS = o["qBwS"].toDouble();
    b.bypass = o["bypass"].toBool();
    return b;
}

DspBlock block(DspBlockParams params, bool bypass = false)
{
    DspBlock b;
    b.obj = std::move(params);
    b.bypass = bypass;
    return b;
}

DspCrossover crossover(const QJsonObject &o)
{
    DspCrossover c;
    c.type = o["type"].toInt();
    c.order = o["order"].toInt();
    c.freq0 = o["freq0"].toDouble();
    c.isHpf = o["isHpf"].toBool();
    return c;
}

} // namespace

class TstFilters : public QObject
{
    Q_OBJECT
private slots:
    void bandSectionsMatchReference()
    {
        const QJsonObject data = load("bands.json");
        const QVector<double> freqs = numbers(data["frequencies"]);
        for (const QJsonValue &v : data["bands"].toArray()) {
            const QJsonObject o = v.toObject();
            const DspEqBand b = band(o);
            const QString what = QStringLiteral("type %1 at %2 Hz").arg(b.type).arg(b.freq0);
            const auto section = BandFilter::magnitudeSection(b);
            // An all-pass band leaves the magnitude alone; it has a section of its own for the phase graph.
            QCOMPARE(section.has_value(), b.type != BandFilter::AllPass);
            const Biquad s = section ? *section : BandFilter::allPass(b.freq0, b.qBwS);
            compareCoeffs(s, o["coeffs"], what);
            const QVector<double> db = numbers(o["db"]), phase = numbers(o["phase"]);
            for (int i = 0; i < freqs.size(); ++i) {
                const FilterResponse r = s.response(freqs[i]);
                QVERIFY2(std::fabs(r.db - db[i]) < kDbTol, qPrintable(what + QStringLiteral(" dB at %1: %2 != %3")
                                                                         .arg(freqs[i]).arg(r.db).arg(db[i])));
                QVERIFY2(phaseGap(r.phase, phase[i]) < kPhaseTol, qPrintable(what + " phase"));
            }
        }
    }

    void crossoverCascadesMatchReference()
    {
        const QJsonObject data = load("crossovers.json");
        const QVector<double> freqs = numbers(data["frequencies"]);
        int families[3] = {};
        for (const QJsonValue &v : data["crossovers"].toArray()) {
            const QJsonObject o = v.toObject();
            const DspCrossover c = crossover(o);
            ++families[c.type];
            const QString what = QStringLiteral("type %1 order %2 %3").arg(c.type).arg(c.order).arg(c.isHpf ? "HP" : "LP");
            const QVector<double> qs = numbers(o["qs"]);
            QCOMPARE(CrossoverFilter::sectionQs(c.type, c.order), qs);
            const QVector<Biquad> sections = CrossoverFilter::cascade(c);
            const QJsonArray want = o["sections"].toArray();
            // Order 1 is a single first-order section, whatever the family.
            QCOMPARE(sections.size(), c.order / 2 + c.order % 2);
            QCOMPARE(sections.size(), want.size());
            for (int i = 0; i < sections.size(); ++i)
                compareCoeffs(sections[i], want[i], what);
            // Butterworth data is scipy.signal.butter's response; the others follow the device's tables.
            const QVector<double> db = numbers(o["db"]);
            for (int i = 0; i < freqs.size(); ++i)
                QVERIFY2(std::fabs(EqCurve::sumDb(sections, freqs[i]) - db[i]) < kDbTol,
                         qPrintable(what + QStringLiteral(" at %1 Hz").arg(freqs[i])));
        }
        // Butterworth and Bessel 1 to 8, Linkwitz-Riley 1, 2, 4, 6, 8, each on both sides.
        QVERIFY(families[0] == 16 && families[1] == 16 && families[2] == 10);
    }

    void curvesMatchReference()
    {
        const QJsonObject data = load("curves.json");
        const QVector<double> freqs = numbers(data["frequencies"]);
        QCOMPARE(EqCurve::frequencies(), freqs);
        QCOMPARE(freqs.size(), 300);
        DspEq eq;
        for (const QJsonValue &v : data["bands"].toArray())
            eq.bands.append(band(v.toObject()));
        const DspBlock eqBlock = block(eq);
        for (const QJsonValue &v : data["curves"].toArray()) {
            const QJsonObject o = v.toObject();
            const QString name = o["name"].toString();
            const DspBlock hp = block(crossover(o["highPass"].toObject()), o["highPass"]["bypass"].toBool());
            const DspBlock lp = block(crossover(o["lowPass"].toObject()), o["lowPass"]["bypass"].toBool());
            const QVector<QPointF> mag = EqCurve::magnitudeSeries(&eqBlock, &hp, &lp);
            const QVector<QPointF> phase = EqCurve::allPassPhaseSeries(&eqBlock);
            const QVector<double> wantMag = numbers(o["magnitude"]), wantPhase = numbers(o["phase"]);
            QCOMPARE(mag.size(), freqs.size());
            for (int i = 0; i < freqs.size(); ++i) {
                QCOMPARE(mag[i].x(), std::log10(freqs[i]));
                // Ten times the dB value, so the tolerance is ten times the dB one.
                QVERIFY2(std::fabs(mag[i].y() - wantMag[i]) < 10 * kDbTol,
                         qPrintable(name + QStringLiteral(" at %1 Hz").arg(freqs[i])));
                QVERIFY2(std::fabs(phase[i].y() - wantPhase[i]) < 1e-4, qPrintable(QString::number(freqs[i])));
            }
        }
    }

    void bypassedPartsDrawFlat()
    {
        DspEq eq;
        for (int type : {0, 1, 2, 7}) {
            DspEqBand b;
            b.type = type;
            b.dbGain = 9.0f;
            b.bypass = true;
            eq.bands.append(b);
        }
        const DspBlock allBandsBypassed = block(eq);
        for (const QPointF &p : EqCurve::magnitudeSeries(&allBandsBypassed, nullptr, nullptr))
            QCOMPARE(p.y(), 0.0);
        QVERIFY(EqCurve::allPassSections(&allBandsBypassed).isEmpty());
        // A band type this program does not know draws nothing either.
        DspEqBand odd;
        odd.type = 5;
        QVERIFY(!BandFilter::magnitudeSection(odd));

        // The block's own bypass hides bands that are on; a bypassed or missing crossover adds nothing.
        for (DspEqBand &b : eq.bands)
            b.bypass = false;
        const DspBlock eqOff = block(eq, true);
        const DspBlock hpOff = block(DspCrossover{}, true);
        QVERIFY(EqCurve::magnitudeSections(&eqOff, &hpOff, nullptr).isEmpty());
        QVERIFY(EqCurve::allPassSections(&eqOff).isEmpty());
        const DspBlock eqOn = block(eq);
        QCOMPARE(EqCurve::magnitudeSections(&eqOn, nullptr, nullptr).size(), 3); // the all-pass band adds none
        QCOMPARE(EqCurve::allPassSections(&eqOn).size(), 1);
    }

    void crossoverSelector()
    {
        const int types[14] = {0, 0, 1, 2, 0, 1, 2, 0, 1, 2, 0, 1, 2, 2};
        const int orders[14] = {1, 2, 2, 2, 4, 4, 4, 6, 6, 6, 8, 8, 8, 8};
        const QStringList texts = CrossoverChoice::itemTexts();
        QCOMPARE(texts.size(), 14);
        for (int i = 0; i < 14; ++i) {
            QCOMPARE(CrossoverChoice::choice(i).type, types[i]);
            QCOMPARE(CrossoverChoice::choice(i).order, orders[i]);
            // The text's slope is 6 dB per octave per order.
            QVERIFY(i == 13 || texts[i].endsWith(QString::number(6 * orders[i])));
        }
        QCOMPARE(texts[13], QStringLiteral("ByPass"));
        // "ByPass" stores a Linkwitz-Riley 48 and so reads back as that item.
        DspCrossover c;
        QVERIFY(CrossoverChoice::apply(c, 13));
        QCOMPARE(c.type, 2);
        QCOMPARE(c.order, 8);
        QCOMPARE(CrossoverChoice::indexOf(c.type, c.order), 12);
        QVERIFY(!CrossoverChoice::changes(c, 12));
        QVERIFY(!CrossoverChoice::apply(c, 12));
        QCOMPARE(CrossoverChoice::indexOf(2, 3), -1);
    }

    void controlMappings()
    {
        QCOMPARE(EqMapping::gainFromSlider(240), 0.0);
        QCOMPARE(EqMapping::gainFromSlider(0), -24.0);
        QCOMPARE(EqMapping::gainFromSlider(360), 12.0);
        for (int pos = 0; pos <= EqMapping::kSliderMax; ++pos)
            QCOMPARE(EqMapping::sliderFromGain(EqMapping::gainFromSlider(pos)), pos);
        QCOMPARE(EqMapping::sliderFromGain(double(-3.7f)), 203); // a single-precision gain still lands on its step

        QVERIFY(!EqMapping::isChange(1.0, 1.0 + 9e-7));
        QVERIFY(EqMapping::isChange(1.0, 1.0 + 2e-6));

        // The plot's corners, at scale 1 and at 1.25.
        QCOMPARE(EqMapping::freqFromChartX(20, 1), 19.7);
        QCOMPARE(EqMapping::freqFromChartX(1016, 1), 20200.0);
        QCOMPARE(EqMapping::freqFromChartX(500, 1.25), 277.5);
        QCOMPARE(EqMapping::gainFromChartY(62, 1), 12.0);
        QCOMPARE(EqMapping::gainFromChartY(300, 1), -24.0);
        QCOMPARE(EqMapping::gainFromChartY(150, 1), -1.3);
        // A marker sits on a whole designed pixel; dragging it back reads the frequency of that pixel.
        QCOMPARE(EqMapping::chartXFromFreq(1000, 1), 584.0);
        QCOMPARE(EqMapping::chartXFromFreq(1000, 1.5), 876.0);
        QCOMPARE(EqMapping::freqFromChartX(584, 1), 998.7);

        QCOMPARE(EqMapping::markerLabel(189.3, 6.0, 1.5), QStringLiteral("189.3Hz\n6.0dB\nwd:1.5"));
        QCOMPARE(EqMapping::markerLabel(20000, -24, 0.017), QStringLiteral("20000.0Hz\n-24.0dB\nwd:0.017"));
    }
};

QTEST_GUILESS_MAIN(TstFilters)
#include "tst_filters.moc"
