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

DspBlock crossover(const QJsonObject &o)
{
    DspCrossover c;
    c.type = o["type"].toInt();
    c.order = o["order"].toInt();
    c.freq0 = o["freq0"].toDouble();
    c.isHpf = o["isHpf"].toBool();
    return block(c, o["bypass"].toBool());
}

DspBlock peaking(double freq, float gain, bool bypass = false)
{
    DspEqBand band;
    band.freq0 = freq;
    band.dbGain = gain;
    DspEq eq;
    eq.bands = {band};
    return block(eq, bypass);
}

DspBlock lowPassFir(double edge)
{
    DspFir fir;
    fir.freq0 = edge;
    fir.winType = FirDesign::Hamming;
    FirDesign::apply(fir);
    return block(fir);
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
        for (const QJsonValue &v : data["bands"].toArray()) {
            const QJsonObject o = v.toObject();
            DspEqBand b;
            b.type = o["type"].toInt();
            b.freq0 = o["freq0"].toDouble();
            b.dbGain = float(o["dbGain"].toDouble());
            b.qBwS = o["qBwS"].toDouble();
            b.bypass = o["bypass"].toBool();
            eq.bands.append(b);
        }
        for (const QJsonValue &v : data["curves"].toArray()) {
            const QJsonObject o = v.toObject();
            // Crossovers on either side of the equaliser, a delay between, a second equaliser after: the editor
            // finds its blocks by kind, whatever their place, and takes the first equaliser only.
            const QVector<DspBlock> chain{crossover(o["lowPass"].toObject()), block(DspDelay()), block(eq),
                                          crossover(o["highPass"].toObject()), peaking(1000.0, 12.0f)};
            const QVector<ChannelCurve::Point> curve = ChannelCurve::editorCurve(chain);
            const QJsonArray want = o["magnitude"].toArray();
            const QVector<Biquad> sections = EqCurve::magnitudeSections(&chain[2], &chain[3], &chain[0]);
            QCOMPARE(curve.size(), want.size());
            for (int i = 0; i < curve.size(); ++i) {
                QCOMPARE(curve[i].freqHz, data["frequencies"][i].toDouble());
                // The shared-sine product agrees with the section-by-section sum far inside the reference's tolerance.
                const double direct = EqCurve::sumDb(sections, curve[i].freqHz);
                QVERIFY(std::fabs(curve[i].db - direct) <= 1e-9 * std::max(1.0, std::fabs(direct)));
                QVERIFY2(std::fabs(10.0 * curve[i].db - want[i].toDouble()) < 1e-3,
                         qPrintable(o["name"].toString() + QStringLiteral(" at %1 Hz").arg(curve[i].freqHz)));
            }
        }
    }

    void wholeCurveSumsEqualiserAndCrossovers()
    {
        DspCrossover hp;
        hp.order = 4;
        hp.freq0 = 80.0;
        DspCrossover lp = hp;
        lp.isHpf = false;
        lp.type = 2;
        lp.freq0 = 12000.0;
        const DspBlock eq = peaking(1000.0, 6.0f), second = peaking(250.0, -9.0f);
        // Only equalisers and crossovers: the whole curve is the editor's curve, in whatever order they stand.
        const QVector<ChannelCurve::Point> editor = ChannelCurve::editorCurve({eq, block(hp), block(lp)});
        const QVector<ChannelCurve::Point> whole = ChannelCurve::wholeCurve({block(lp), eq, block(DspLimiter()), block(hp)});
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
    }

    void bypassedBlocksAreLeftOut()
    {
        const DspBlock eq = peaking(1000.0, 6.0f);
        DspCrossover hp;
        hp.order = 8;
        hp.freq0 = 2000.0;
        DspBlock fir = lowPassFir(500.0);
        fir.bypass = true;
        const QVector<DspBlock> chain{eq, peaking(100.0, 12.0f, true), block(hp, true), fir};
        const QVector<ChannelCurve::Point> whole = ChannelCurve::wholeCurve(chain);
        const QVector<ChannelCurve::Point> editor = ChannelCurve::editorCurve(chain);
        const QVector<ChannelCurve::Point> eqAlone = ChannelCurve::editorCurve({eq});
        for (int i = 0; i < whole.size(); ++i) {
            QCOMPARE(whole[i].db, eqAlone[i].db);
            QCOMPARE(editor[i].db, eqAlone[i].db);
        }
        // Nothing active at all: flat.
        for (const ChannelCurve::Point &p : ChannelCurve::wholeCurve({peaking(1000.0, 6.0f, true), fir}))
            QCOMPARE(p.db, 0.0);
    }

    void firAddsItsMagnitude()
    {
        const DspBlock eq = peaking(1000.0, 6.0f);
        const DspBlock fir = lowPassFir(3000.0);
        const QVector<double> &h = fir.as<DspFir>()->arr;
        const QVector<ChannelCurve::Point> whole = ChannelCurve::wholeCurve({fir, eq});
        const QVector<ChannelCurve::Point> eqAlone = ChannelCurve::editorCurve({eq});
        // The editor's curve has no place for an FIR.
        const QVector<ChannelCurve::Point> editor = ChannelCurve::editorCurve({fir, eq});
        int blocked = 0;
        for (int i = 0; i < whole.size(); ++i) {
            const double f = whole[i].freqHz;
            QCOMPARE(editor[i].db, eqAlone[i].db);
            const double firDb = FirResponse::directMagnitudeDb(h, f);
            if (firDb > -60.0) {
                QVERIFY2(std::fabs(whole[i].db - eqAlone[i].db - firDb) < 1e-6, qPrintable(QString::number(f)));
            } else {
                QVERIFY2(whole[i].db < eqAlone[i].db - 50.0, qPrintable(QString::number(f)));
                ++blocked;
            }
        }
        QVERIFY(blocked > 50);

        // The coefficients were designed for the given rate: at 96 kHz the same array cuts an octave higher.
        const QVector<ChannelCurve::Point> at96 = ChannelCurve::wholeCurve({fir}, 96000.0);
        const int i4020 = int(EqCurve::frequencies().indexOf(4020.0));
        QVERIFY(whole[i4020].db < -40.0);
        QVERIFY2(std::fabs(at96[i4020].db) < 0.1, qPrintable(QString::number(at96[i4020].db)));
    }
};

QTEST_GUILESS_MAIN(TestChannelCurve)
#include "tst_channelcurve.moc"
