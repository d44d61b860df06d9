// The FIR designer against designs computed by SciPy (scripts/fir-reference.py writes tests/data/fir/), its
// band edges, its curve, and the reader of custom coefficient files.
#include "core/dsp/filters/firdesign.h"
#include "core/dsp/filters/firimport.h"
#include "core/dsp/filters/firresponse.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QtTest>

#include <cmath>

namespace {

QJsonObject data(const char *name)
{
    QFile f(QStringLiteral(CORVANE_TEST_DATA "/fir/") + QLatin1String(name));
    if (!f.open(QIODevice::ReadOnly))
        qFatal("reference data missing: %s", name);
    return QJsonDocument::fromJson(f.readAll()).object();
}

QVector<double> numbers(const QJsonValue &v)
{
    QVector<double> out;
    for (const QJsonValue &x : v.toArray())
        out.append(x.toDouble());
    return out;
}

DspFir block(const QJsonObject &c)
{
    DspFir fir;
    fir.firType = c[QStringLiteral("firType")].toInt();
    fir.winType = c[QStringLiteral("winType")].toInt();
    fir.taps = c[QStringLiteral("taps")].toInt();
    fir.freq0 = c[QStringLiteral("freq0")].toDouble();
    fir.freq1 = c[QStringLiteral("freq1")].toDouble();
    fir.attDb = c[QStringLiteral("attDb")].toDouble();
    return fir;
}

/// Largest difference, relative to the largest reference coefficient.
double worst(const QVector<double> &got, const QVector<double> &want)
{
    if (got.size() != want.size())
        return 1e9;
    double diff = 0.0, peak = 0.0;
    for (int i = 0; i < got.size(); ++i) {
        diff = std::max(diff, std::abs(got[i] - want[i]));
        peak = std::max(peak, std::abs(want[i]));
    }
    return diff / peak;
}

bool symmetric(const QVector<double> &h)
{
    for (int i = 0; i < h.size(); ++i)
        if (h[i] != h[h.size() - 1 - i])
            return false;
    return true;
}

} // namespace

class TstFirDesign : public QObject
{
    Q_OBJECT
private slots:
    void fixedWindowsMatchReference()
    {
        // Each of the four fixed windows on a low-pass, a high-pass and a band-pass at two lengths, and one
        // design at 96 kHz; the stored attenuation is the window's own whatever the block held before.
        const QJsonArray cases = data("windows.json")[QStringLiteral("cases")].toArray();
        QCOMPARE(cases.size(), 4 * 3 * 2 + 1);
        for (int i = 0; i < cases.size(); ++i) {
            const QJsonObject c = cases[i].toObject();
            DspFir fir = block(c);
            fir.attDb = 90.0;
            const double rate = c[QStringLiteral("rate")].toDouble();
            const FirDesign::Design d = FirDesign::design(fir, rate);
            QVERIFY2(worst(d.arr, numbers(c[QStringLiteral("arr")])) < 1e-12, QByteArray::number(i));
            QVERIFY2(symmetric(d.arr), QByteArray::number(i)); // exactly: the fast curve depends on it
            QCOMPARE(d.attDb, c[QStringLiteral("attDb")].toDouble());
        }
        QCOMPARE(FirDesign::designRate(0), 48000.0);
        QCOMPARE(FirDesign::designRate(96000), 96000.0);
        QCOMPARE(FirDesign::centre(127), 63);
    }

    void kaiserMatchesReference()
    {
        for (const QJsonValue &v : data("kaiser.json")[QStringLiteral("cases")].toArray()) {
            const QJsonObject c = v.toObject();
            const double att = c[QStringLiteral("attDb")].toDouble();
            const double beta = c[QStringLiteral("beta")].toDouble();
            QVERIFY(std::abs(FirDesign::kaiserBeta(att) - beta) < 1e-12);
            // Exactly the sixteen-term sum, which at 100 dB is measurably short of the full series.
            const double i0 = FirDesign::besselI0(beta);
            QVERIFY(std::abs(i0 - c[QStringLiteral("i0Sixteen")].toDouble()) <= 1e-13 * i0);
            if (att == 100.0)
                QVERIFY(std::abs(i0 - c[QStringLiteral("i0Exact")].toDouble()) > 1e-9 * i0);
            for (const QJsonValue &dv : c[QStringLiteral("designs")].toArray()) {
                const QJsonObject dc = dv.toObject();
                const FirDesign::Design d = FirDesign::design(block(dc));
                QVERIFY2(worst(d.arr, numbers(dc[QStringLiteral("arr")])) < 1e-7, qPrintable(QString::number(att)));
                QVERIFY(symmetric(d.arr));
                QCOMPARE(d.attDb, att);
            }
        }
        // 21 dB: beta 0, every weight exactly 1; 50 dB already takes the steeper formula.
        QCOMPARE(FirDesign::window(FirDesign::Kaiser, 127, 21.0), QVector<double>(127, 1.0));
        QCOMPARE(FirDesign::kaiserBeta(50.0), 0.1102 * (50.0 - 8.7));
    }

    void edgesAndCustom()
    {
        // Custom: the imported values unwindowed, taps taken from their count, attenuation left alone.
        DspFir custom;
        custom.firType = FirDesign::Custom;
        custom.winType = FirDesign::Hamming;
        custom.attDb = 30.0;
        custom.arr = {0.5, -0.25, 0.125};
        FirDesign::apply(custom);
        QCOMPARE(custom.arr, (QVector<double>{0.5, -0.25, 0.125}));
        QCOMPARE(custom.taps, 3);
        QCOMPARE(custom.attDb, 30.0);

        using FirDesign::edges;
        auto sent = [](int type, double lower, double upper) {
            const FirDesign::Edges e = edges(type, lower, upper);
            return qMakePair(e.freq0, e.freq1);
        };
        QCOMPARE(sent(FirDesign::LowPass, 100.0, 8000.0), qMakePair(8000.0, 20001.0));
        QCOMPARE(sent(FirDesign::HighPass, 100.0, 8000.0), qMakePair(100.0, 20001.0));
        QCOMPARE(sent(FirDesign::BandPass, 100.0, 8000.0), qMakePair(100.0, 8000.0));
        // A band with no width, nearly none or inverted gets its upper edge 0.1 Hz above the lower one.
        for (double upper : {1000.0, 1000.005, 1000.01, 900.0}) {
            QCOMPARE(sent(FirDesign::BandPass, 1000.0, upper), qMakePair(1000.0, 1000.1));
            QCOMPARE(edges(FirDesign::BandPass, 1000.0, upper).upper, 1000.1);
        }
        QCOMPARE(sent(FirDesign::BandPass, 1000.0, 1000.02), qMakePair(1000.0, 1000.02));
        QCOMPARE(sent(FirDesign::BandPass, 20000.0, 20000.0), qMakePair(20000.0, 20000.0));
        DspFir stored;
        stored.freq0 = 123.0;
        stored.freq1 = 456.0;
        const FirDesign::Edges kept = edges(FirDesign::Custom, 1.0, 2.0, stored);
        QCOMPARE(qMakePair(kept.freq0, kept.freq1), qMakePair(123.0, 456.0));
    }

    void curveMatchesReference()
    {
        const QJsonObject ref = data("curve.json");
        const QVector<double> freqs = numbers(ref[QStringLiteral("freqs")]);
        QCOMPARE(FirResponse::grid(), freqs);
        QCOMPARE(freqs.size(), 950);
        const QVector<double> db = numbers(ref[QStringLiteral("db")]);
        const QVector<QPointF> c = FirResponse::curve(FirDesign::design(block(ref[QStringLiteral("design")].toObject())).arr);
        QCOMPARE(c.size(), freqs.size());
        for (int i = 0; i < c.size(); ++i) {
            QCOMPARE(c[i].x(), std::log10(freqs[i]));
            if (db[i] > -150.0)
                QVERIFY2(std::abs(c[i].y() - 10.0 * db[i]) < 1e-5, qPrintable(QString::number(freqs[i])));
        }
    }

    void symmetricSumAgreesWithDirect()
    {
        // The longest design, an even-length symmetric array (a design shifted by a zero), and one that is
        // not symmetric: the fast path must give what the plain sum gives.
        DspFir fir;
        fir.winType = FirDesign::Kaiser;
        fir.attDb = 100.0;
        fir.taps = 4095;
        fir.freq0 = 60.0;
        const QVector<double> longest = FirDesign::design(fir).arr;
        QVERIFY(symmetric(longest));
        const QVector<double> even{0.1, 0.3, -0.2, -0.2, 0.3, 0.1}, skew{0.4, 0.3, 0.2, 0.1, -0.05};
        const QVector<double> shifted = QVector<double>{0.0} + longest;
        for (const QVector<double> &h : {longest, even, skew, shifted}) {
            const QVector<QPointF> fast = FirResponse::curve(h);
            const QVector<QPointF> direct = FirResponse::directCurve(h);
            for (int i = 0; i < fast.size(); ++i)
                if (direct[i].y() > -1500.0)
                    QVERIFY2(std::abs(fast[i].y() - direct[i].y()) < 1e-3, qPrintable(QString::number(fast[i].x())));
        }
        QCOMPARE(FirResponse::magnitudeDb(QVector<double>(7, 0.0), 1000.0), FirResponse::kSilentDb);
        // 1000.04 Hz is drawn as 1000.0 Hz.
        QCOMPARE(FirResponse::magnitudeDb(skew, 1000.04), FirResponse::magnitudeDb(skew, 1000.0));
    }

    void importTokenising_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<QVector<double>>("values"); // empty: refused as not a list of numbers
        const QVector<double> three{0.5, -0.25, 1e-3};
        QTest::newRow("json") << QByteArray("[0.5, -0.25, 0.001]") << three;
        QTest::newRow("json strings") << QByteArray("[\"0.5\", \"-0.25\", \"1e-3\"]") << three;
        QTest::newRow("commas") << QByteArray("0.5,-0.25,1e-3") << three;
        QTest::newRow("semicolons") << QByteArray("0.5;-0.25;+1E-3;") << three;
        QTest::newRow("lines") << QByteArray("\xEF\xBB\xBF" "0.5\r\n-0.25\r\n\t1e-3\r\n") << three;
        QTest::newRow("parentheses") << QByteArray("(0.5 -0.25) (1e-3)") << three;
        QTest::newRow("nested") << QByteArray("[[0.5],[-0.25 , , 1e-3]]") << three;
        QTest::newRow("word") << QByteArray("0.5, abc") << QVector<double>();
        QTest::newRow("nan") << QByteArray("0.5 nan") << QVector<double>();
        QTest::newRow("too large") << QByteArray("1e999") << QVector<double>();
        QTest::newRow("json word") << QByteArray("[0.5, \"a\"]") << QVector<double>();
        QTest::newRow("json object") << QByteArray("{\"arr\": [1]}") << QVector<double>();
        QTest::newRow("empty") << QByteArray(" \n ") << QVector<double>();
    }

    void importTokenising()
    {
        QFETCH(QByteArray, text);
        QFETCH(QVector<double>, values);
        const FirImport::Result r = FirImport::parse(text, 256);
        QCOMPARE(r.status, values.isEmpty() ? FirImport::Status::ParseFailed : FirImport::Status::Ok);
        QCOMPARE(r.values, values);
    }

    void importRefusals()
    {
        QCOMPARE(FirImport::parse("1 2 3", 3).values.size(), 3);
        const FirImport::Result many = FirImport::parse("1 2 3 4", 3);
        QCOMPARE(many.status, FirImport::Status::TooMany);
        QVERIFY(many.values.isEmpty());
        QCOMPARE(many.message(), QStringLiteral("Fir taps must less then 3"));
        QCOMPARE(FirImport::parse("x", 3).message(), QStringLiteral("Parsing error, please verify the file format"));
        const FirImport::Result missing = FirImport::readFile(QStringLiteral("/nonexistent/fir.txt"), 3);
        QCOMPARE(missing.status, FirImport::Status::OpenFailed);
        QCOMPARE(missing.message(), QStringLiteral("Open file failed!"));
    }
};

QTEST_GUILESS_MAIN(TstFirDesign)
#include "tst_firdesign.moc"
