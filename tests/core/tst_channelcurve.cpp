// A channel's curves as a whole: the equaliser editor's (its first equaliser with the chain's crossovers) against
// the SciPy reference curves, and the whole channel's, which adds every other equaliser, crossover and FIR.
#include "core/dsp/dspblock.h"
#include "core/dsp/filters/channelcurve.h"
#include "core/dsp/filters/eqcurve.h"
#include "core/dsp/filters/firdesign.h"
#include "core/dsp/filters/firresponse.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QtTest>

#include <cmath>

namespace {

DspBlock block(DspBlockParams params, bool bypass = false)
{
    DspBlock b;
    b.obj = std::move(params);
    b.bypass = bypass;
    return b;
}

DspBlock crossover(int type, int order, double freq, bool isHpf, bool bypass = false)
{
    return block(DspCrossover{freq, isHpf, order, type}, bypass);
}

DspBlock peaking(double freq, float gain, bool bypass = false)
{
    DspEqBand band;
    band.freq0 = freq;
    band.dbGain = gain;
    return block(DspEq{{band}}, bypass);
}

DspBlock lowPassFir(double edge, bool bypass = false)
{
    DspFir fir;
    fir.freq0 = edge;
    fir.winType = FirDesign::Hamming;
    FirDesign::apply(fir);
    return block(fir, bypass);
}

} // namespace

class TestChannelCurve : public QObject
{
    Q_OBJECT
private slots:
    void editorCurveMatchesReference()
    {
        QFile f(QStringLiteral(CORVANE_TEST_DATA "/filters/curves.json"));
        QVERIFY(f.open(QIODevice::ReadOnly));
        const QJsonObject data = QJsonDocument::fromJson(f.readAll()).object();
        DspEq eq;
        for (const QJsonValue &v : data["bands"].toArray())
            eq.bands.append({v["bypass"].toBool(), float(v["dbGain"].toDouble()), v["freq0"].toDouble(),
                             v["qBwS"].toDouble(), v["type"].toInt(), {}});
        for (const QJsonValue &v : data["curves"].toArray()) {
            const QJsonValue hp = v["highPass"], lp = v["lowPass"];
            // Crossovers either side of the equaliser, a delay between, a second equaliser after: the editor
            // finds its blocks by kind, wherever they stand, and takes the first equaliser only.
            const QVector<DspBlock> chain{
                crossover(lp["type"].toInt(), lp["order"].toInt(), lp["freq0"].toDouble(), false, lp["bypass"].toBool()),
                block(DspDelay()), block(eq),
                crossover(hp["type"].toInt(), hp["order"].toInt(), hp["freq0"].toDouble(), true, hp["bypass"].toBool()),
                peaking(1000.0, 12.0f)};
            const QVector<ChannelCurve::Point> curve = ChannelCurve::editorCurve(chain);
            const QJsonArray want = v["magnitude"].toArray();
            const QVector<Biquad> sections = EqCurve::magnitudeSections(&chain[2], &chain[3], &chain[0]);
            QCOMPARE(curve.size(), want.size());
            for (int i = 0; i < curve.size(); ++i) {
                QCOMPARE(curve[i].freqHz, data["frequencies"][i].toDouble());
                QVERIFY2(std::fabs(10.0 * curve[i].db - want[i].toDouble()) < 1e-3, qPrintable(QString::number(i)));
                // The shared-sine product agrees with the section-by-section sum far inside that tolerance.
                const double direct = EqCurve::sumDb(sections, curve[i].freqHz);
                QVERIFY(std::fabs(curve[i].db - direct) <= 1e-9 * std::max(1.0, std::fabs(direct)));
            }
        }
    }

    void wholeCurveSumsActiveEqualisersAndCrossovers()
    {
        const DspBlock eq = peaking(1000.0, 6.0f), second = peaking(250.0, -9.0f);
        const DspBlock hp = crossover(0, 4, 80.0, true), lp = crossover(2, 8, 12000.0, false);
        // Only equalisers and crossovers: the whole curve is the editor's, in whatever order they stand; bypassed
        // blocks of every kind are left out.
        const QVector<ChannelCurve::Point> editor = ChannelCurve::editorCurve({eq, hp, lp});
        const QVector<ChannelCurve::Point> whole = ChannelCurve::wholeCurve(
            {lp, peaking(100.0, 12.0f, true), eq, block(DspLimiter()), crossover(0, 8, 2000.0, true, true), hp,
             lowPassFir(500.0, true)});
        QCOMPARE(whole.size(), 300);
        for (int i = 0; i < whole.size(); ++i)
            QVERIFY2(std::fabs(whole[i].db - editor[i].db) < 1e-9, qPrintable(QString::number(whole[i].freqHz)));

        // A second equaliser counts in the whole curve, not in the editor's.
        const QVector<ChannelCurve::Point> both = ChannelCurve::wholeCurve({eq, second});
        const QVector<ChannelCurve::Point> first = ChannelCurve::editorCurve({eq, second});
        const QVector<ChannelCurve::Point> alone = ChannelCurve::editorCurve({second});
        for (int i = 0; i < both.size(); ++i)
            QVERIFY(std::fabs(both[i].db - first[i].db - alone[i].db) < 1e-9);
        QVERIFY(alone[EqCurve::frequencies().indexOf(250.0)].db < -8.0);

        for (const ChannelCurve::Point &p : ChannelCurve::wholeCurve({peaking(1000.0, 6.0f, true), lowPassFir(500.0, true)}))
            QCOMPARE(p.db, 0.0);
    }

    void firAddsItsMagnitude()
    {
        const DspBlock eq = peaking(1000.0, 6.0f), fir = lowPassFir(3000.0);
        const QVector<double> &h = fir.as<DspFir>()->arr;
        const QVector<ChannelCurve::Point> whole = ChannelCurve::wholeCurve({fir, eq});
        const QVector<ChannelCurve::Point> eqAlone = ChannelCurve::editorCurve({eq});
        // The editor's curve has no place for an FIR.
        const QVector<ChannelCurve::Point> editor = ChannelCurve::editorCurve({fir, eq});
        int blocked = 0;
        for (int i = 0; i < whole.size(); ++i) {
            QCOMPARE(editor[i].db, eqAlone[i].db);
            const double firDb = FirResponse::directMagnitudeDb(h, whole[i].freqHz);
            if (firDb > -60.0)
                QVERIFY(std::fabs(whole[i].db - eqAlone[i].db - firDb) < 1e-6);
            else
                blocked += whole[i].db < eqAlone[i].db - 50.0;
        }
        QVERIFY(blocked > 50);

        // The coefficients were designed for the given rate: at 96 kHz the same array cuts an octave higher.
        const int at4020 = int(EqCurve::frequencies().indexOf(4020.0));
        QVERIFY(whole[at4020].db < -40.0);
        QVERIFY(std::fabs(ChannelCurve::wholeCurve({fir}, 96000.0)[at4020].db) < 0.1);
    }
};

QTEST_GUILESS_MAIN(TestChannelCurve)
#include "tst_channelcurve.moc"
