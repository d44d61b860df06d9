// Files brought into the equaliser and the FIR block from other tools: filter lists as text, impulses as WAV,
// coefficients as CSV. Every input is written here by hand; WAV files byte by byte.
#include "core/dsp/filters/firimport.h"
#include "core/dsp/filters/parametriceqtext.h"
#include "core/dsp/filters/wavimpulse.h"

#include <QtTest>

#include <algorithm>
#include <cmath>
#include <cstring>

Q_DECLARE_METATYPE(WavImpulse::Status)

using R = ParametricEqText::Reason;
using W = WavImpulse::Status;

namespace {

DspEqBand band(int type, double freq, float gain, double width)
{
    DspEqBand b;
    b.type = type;
    b.freq0 = freq;
    b.dbGain = gain;
    b.qBwS = width;
    return b;
}

// Field by field: a band's unknown members are no part of what a file carries.
bool sameBands(const QVector<DspEqBand> &a, const QVector<DspEqBand> &b)
{
    auto same = [](const DspEqBand &x, const DspEqBand &y) {
        return x.type == y.type && x.freq0 == y.freq0 && x.dbGain == y.dbGain && x.qBwS == y.qBwS
               && x.bypass == y.bypass;
    };
    return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), same);
}

QByteArray le(quint32 v, int bytes)
{
    QByteArray out;
    for (int i = 0; i < bytes; ++i)
        out.append(char((v >> (8 * i)) & 0xFF));
    return out;
}

QByteArray chunk(const char *id, const QByteArray &body)
{
    return QByteArray(id, 4) + le(quint32(body.size()), 4) + body + (body.size() % 2 ? QByteArray(1, '\0') : "");
}

// A WAV file; extensible puts the format in the sub-format GUID, a "LIST" chunk of odd length goes first so
// the padding rule is exercised on every file.
QByteArray wav(quint16 format, int channels, int bits, const QByteArray &samples, bool extensible = false)
{
    QByteArray fmt = le(extensible ? 0xFFFE : format, 2) + le(quint32(channels), 2) + le(48000, 4)
                     + le(quint32(48000 * channels * bits / 8), 4) + le(quint32(channels * bits / 8), 2)
                     + le(quint32(bits), 2);
    if (extensible)
        fmt += le(22, 2) + le(quint32(bits), 2) + le(4, 4) + le(format, 2)
               + QByteArray::fromHex("000000001000800000aa00389b71");
    const QByteArray body = "WAVE" + chunk("LIST", "odd") + chunk("fmt ", fmt) + chunk("data", samples);
    return "RIFF" + le(quint32(body.size()), 4) + body;
}

QByteArray floats(std::initializer_list<float> values)
{
    QByteArray out;
    for (float f : values) {
        quint32 raw;
        std::memcpy(&raw, &f, 4);
        out += le(raw, 4);
    }
    return out;
}

} // namespace

class TestFilterImport : public QObject
{
    Q_OBJECT
private slots:
    void qAndOctaves()
    {
        // Closed forms of the textbook relation Q = √(2^N) / (2^N - 1), independent of the code's asinh.
        for (double n : {0.017, 1.0 / 3.0, 0.5, 1.0, 2.0, 4.75}) {
            const double q = std::sqrt(std::pow(2.0, n)) / (std::pow(2.0, n) - 1.0);
            QVERIFY2(std::abs(ParametricEqText::octavesFromQ(q) - n) < 1e-12, qPrintable(QString::number(n)));
            QVERIFY2(std::abs(ParametricEqText::qFromOctaves(n) - q) < 1e-9 * q, qPrintable(QString::number(n)));
        }
    }

    void eqTextReadsWhatToolsWrite()
    {
        const QByteArray text = "\xEF\xBB\xBF" "Filter Settings file\r\n"
                                "Preamp: -6.2 dB\r\n"
                                "Filter 1: ON PK Fc 120 Hz Gain -3.5 dB Q 1.41421356\r\n"
                                "Filter 2: OFF PK Fc 500 Hz Gain 2 dB Q 1\r\n"
                                "Filter 3: ON None\r\n"
                                "Filter 4: ON LS Fc 80,5 Hz Gain 4,5 dB\r\n"
                                "Filter 5: ON HSC 12dB Fc 8000 Hz Gain -2 dB\r\n"
                                "Filter 6: ON LSC Fc 1.2 kHz Gain 1 dB Q 0.71\r\n"
                                "Filter: ON PK Fc 2000Hz Gain 6dB BW Oct 0.5\r\n"
                                "Filter 8: ON HP Fc 30 Hz\r\n"
                                "Filter 9: ON PK Fc 300 Hz Q 2\r\n"
                                "Filter 10: ON PK Fc 300 Hz Gain 15 dB Q 2\r\n"
                                "Filter 11: ON PK Fc 300 Hz Gain 1 dB Q 0.05\r\n"
                                "Filter 12: ON AP Fc 700 Hz Q 0.7\r\n"
                                "Filter 13: ON PK Fc 900 Hz Gain 1 dB Q 1\r\n";
        const ParametricEqText::Result r = ParametricEqText::parse(text, 6);
        const QVector<DspEqBand> want{band(0, 120.0, -3.5f, 1.0), band(1, 80.5, 4.5f, 1.0),
                                      band(2, 8000.0, -2.0f, 1.0), band(1, 1200.0, 1.0f, 1.0),
                                      band(0, 2000.0, 6.0f, 0.5),  band(7, 700.0, 0.0f, 0.7)};
        QVERIFY(sameBands(r.bands, want));
        const QVector<QPair<int, R>> skipped{
            {10, R::Unsupported}, {11, R::Unreadable}, {12, R::OutOfRange}, {13, R::OutOfRange}, {15, R::BeyondBands}};
        QCOMPARE(r.skipped.size(), skipped.size());
        for (int i = 0; i < skipped.size(); ++i) {
            QCOMPARE(r.skipped[i].line, skipped[i].first);
            QCOMPARE(r.skipped[i].reason, skipped[i].second);
        }
        QCOMPARE(r.skipped[0].message(), QStringLiteral("Line 10: filter type HP is not supported"));
        QCOMPARE(r.skipped[4].message(), QStringLiteral("Line 15: the block has only 6 bands"));
        QVERIFY(r.message().isEmpty());

        const ParametricEqText::Result none = ParametricEqText::parse("Preamp: 0 dB\nFilter 1: ON LP Fc 1 kHz\n", 7);
        QVERIFY(!none.ok());
        QCOMPARE(none.message(), QStringLiteral("No usable filter in the file"));
    }

    void eqTextRoundTrip()
    {
        DspEq eq;
        eq.bands = {band(0, 19.7, -24.0f, 4.75), band(0, 1234.5, 0.3f, 0.017), band(0, 20200.0, 12.0f, 1.0),
                    band(1, 100.0, 3.0f, 1.0),   band(2, 9000.0, -6.5f, 1.0),  band(7, 500.0, 0.0f, 2.345)};
        DspEqBand off = band(0, 300.0, 1.0f, 1.0);
        off.bypass = true;
        eq.bands.append(off);
        const QByteArray text = ParametricEqText::write(eq);
        QVERIFY(text.startsWith("Filter 1: ON PK Fc 19.7 Hz Gain -24.0 dB Q "));
        QVERIFY(text.contains("Filter 7: OFF PK Fc 300.0 Hz"));
        const ParametricEqText::Result back = ParametricEqText::parse(text, 7);
        QVERIFY(back.skipped.isEmpty());
        eq.bands.removeLast(); // the bypassed band is written OFF, which readers pass over
        QVERIFY(sameBands(back.bands, eq.bands));

        // Applied to a block, the file's bands are the whole correction: the rest are bypassed, values kept.
        DspEq block;
        for (int i = 0; i < 7; ++i)
            block.bands.append(band(0, 100.0 * (i + 1), 5.0f, 2.0));
        block.bands[0].bypass = true;
        const DspEq applied = ParametricEqText::applied(block, back.bands);
        QCOMPARE(applied.bands.size(), 7);
        QVERIFY(sameBands(applied.bands.mid(0, 6), eq.bands));
        QVERIFY(applied.bands[6].bypass);
        QCOMPARE(applied.bands[6].freq0, 700.0);
    }

    void wavSampleFormats_data()
    {
        QTest::addColumn<QByteArray>("file");
        QTest::addColumn<QVector<double>>("values");
        const QByteArray pcm16 = le(0x7FFF, 2) + le(0x8000, 2) + le(0x4000, 2);
        const QVector<double> v16{32767.0 / 32768.0, -1.0, 0.5};
        const QByteArray pcm24 = le(0x800000, 3) + le(0x400000, 3) + le(0xFFFFFF, 3);
        const QVector<double> v24{-1.0, 0.5, -1.0 / 8388608.0};
        QTest::newRow("pcm16") << wav(1, 1, 16, pcm16) << v16;
        QTest::newRow("pcm24") << wav(1, 1, 24, pcm24) << v24; // odd data length: padded after
        QTest::newRow("pcm24 extensible") << wav(1, 1, 24, pcm24, true) << v24;
        QTest::newRow("float") << wav(3, 1, 32, floats({0.25f, -0.125f})) << QVector<double>{0.25, -0.125};
        QTest::newRow("float extensible") << wav(3, 1, 32, floats({1.5f}), true) << QVector<double>{1.5};
    }

    void wavSampleFormats()
    {
        QFETCH(QByteArray, file);
        QFETCH(QVector<double>, values);
        const WavImpulse::Result r = WavImpulse::parse(file, 3);
        QCOMPARE(r.status, W::Ok);
        QCOMPARE(r.values, values);
        QCOMPARE(r.sampleRate, 48000);
    }

    void wavRefusals_data()
    {
        QTest::addColumn<QByteArray>("file");
        QTest::addColumn<WavImpulse::Status>("status");
        QTest::addColumn<QString>("message");
        const QByteArray two = le(1, 2) + le(2, 2);
        QTest::newRow("not riff") << QByteArray("RIFX\0\0\0\0WAVE", 12) << W::NotWave << "Not a WAV file";
        QTest::newRow("stereo") << wav(1, 2, 16, two + two) << W::NotMono
                                << "The impulse must be mono; this file has 2 channels";
        QTest::newRow("8-bit") << wav(1, 1, 8, "ab") << W::UnknownFormat
                               << "Unsupported WAV format: 16-bit or 24-bit PCM or 32-bit float only";
        QByteArray vendor = wav(1, 1, 16, two, true);
        vendor[vendor.indexOf(QByteArray::fromHex("aa00389b71"))] = '\x55';
        QTest::newRow("vendor guid") << vendor << W::UnknownFormat
                                     << "Unsupported WAV format: 16-bit or 24-bit PCM or 32-bit float only";
        QTest::newRow("empty") << wav(1, 1, 16, "") << W::Empty << "The WAV file holds no samples";
        QTest::newRow("cut in data") << wav(1, 1, 16, two).chopped(1) << W::Truncated << "The WAV file is cut short";
        QTest::newRow("half a sample") << wav(1, 1, 16, "abc") << W::Truncated << "The WAV file is cut short";
        QTest::newRow("too many") << wav(1, 1, 16, two + two + two) << W::TooMany << "Fir taps must less then 2";
        QTest::newRow("nan") << wav(3, 1, 32, floats({NAN})) << W::BadSample
                             << "Parsing error, please verify the file format";
    }

    void wavRefusals()
    {
        QFETCH(QByteArray, file);
        QFETCH(WavImpulse::Status, status);
        QFETCH(QString, message);
        const WavImpulse::Result r = WavImpulse::parse(file, 2);
        QCOMPARE(r.status, status);
        QVERIFY(r.values.isEmpty());
        QCOMPARE(r.message(), message);
    }

    void csvCoefficients()
    {
        const QVector<double> four{0.5, -0.25, 1e-3, 2.0};
        QCOMPARE(FirImport::parse("tap,coefficient\r\n0.5,-0.25\r\n1e-3;2\r\n", 8).values, four);
        QCOMPARE(FirImport::parse("\n  left\tright \n0.5\t-0.25\t1e-3\t2", 8).values, four);
        // Only a first line without numbers is a header: words further down still refuse the file.
        QCOMPARE(FirImport::parse("coefficient\n0.5\nabc\n", 8).status, FirImport::Status::ParseFailed);
        QCOMPARE(FirImport::parse("gain 0.5\n1\n", 8).status, FirImport::Status::ParseFailed);
    }
};


QTEST_GUILESS_MAIN(TestFilterImport)
#include "tst_filterimport.moc"
