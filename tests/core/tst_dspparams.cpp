// The block editors' tables and conversions: every control names a member its block has, the slider mappings and
// roundings give the figures operators read on the device's own screens.
#include "core/dsp/params/delayunits.h"
#include "core/dsp/params/dspparams.h"
#include "core/dsp/params/dynamics.h"

#include <QtTest>

class TstDspParams : public QObject
{
    Q_OBJECT
private slots:
    void everyControlNamesAMemberOfItsRecord()
    {
        for (int k = 0; k < DspKinds::kCount; ++k) {
            const DspKind kind = DspKinds::all()[k];
            const DspBlock block = DspKinds::newBlock(kind);
            for (const DspParam &p : DspParams::of(kind)) {
                QVERIFY2(DspParams::value(block, p.member), p.member);
                QVERIFY2(p.sliderMin() <= p.sliderMax(), p.member);
                if (p.hasSlider() && p.kind == DspParam::Kind::Number)
                    QCOMPARE(p.fromSlider(p.sliderMax()), p.max);
            }
        }
        for (const DspParam &p : DspParams::automixer())
            QVERIFY2(DspParams::value(DspAutomixer(), p.member), p.member);
        for (const DspParam &p : DspParams::aecChannel())
            QVERIFY2(DspParams::value(DspChannel(), DspNode::EchoCancel, p.member), p.member);
    }

    void membersAreReadAndWrittenByName()
    {
        DspBlock ducker = DspKinds::newBlock(DspKind::Ducker);
        QVERIFY(DspParams::setValue(ducker, "refCh", 2.6));
        QVERIFY(DspParams::setValue(ducker, "trigDb", -33.3));
        QCOMPARE(ducker.as<DspDucker>()->refCh, 3);
        QCOMPARE(ducker.as<DspDucker>()->trigDb, -33.3);
        QVERIFY(!DspParams::setValue(ducker, "ratio", 4));
        QVERIFY(!DspParams::value(ducker, "ratio"));

        DspChannel ch;
        QVERIFY(DspParams::setValue(ch, DspNode::EchoCancel, "hasAgc", 1));
        QVERIFY(ch.hasAgc);
        // An input channel has no echo-cancelling members on the wire, so none to edit.
        QVERIFY(!DspParams::value(ch, DspNode::Channels, "hasAgc"));
        DspAutomixer mixer;
        QVERIFY(DspParams::setValue(mixer, "leaveLastOn", 0));
        QVERIFY(!mixer.leaveLastOn);
    }

    void dynamicsControls()
    {
        const QVector<DspParam> &comp = DspParams::of(DspKind::Compress);
        const DspParam &threshold = comp[0];
        const DspParam &ratio = comp[1];
        QCOMPARE(threshold.sliderPosition(-20.3), 797);
        QCOMPARE(threshold.fromSlider(797), -20.3);
        QCOMPARE(DspParams::of(DspKind::NoiseGate)[0].fromSlider(580), -42.0);
        QCOMPARE(DspParams::of(DspKind::NoiseGate)[0].sliderMax(), 580);
        QCOMPARE(ratio.sliderPosition(4.0000001), 4);
        QCOMPARE(ratio.sliderPosition(5), 0); // not in the table
        QCOMPARE(ratio.fromSlider(9), 128.0);
        QCOMPARE(Dynamics::ratioLabel(128), QStringLiteral("128:1"));
        QCOMPARE(Dynamics::ratioLabel(1.2), QStringLiteral("1.2:1"));
        // A value out of range in a document is shown held to the range.
        QCOMPARE(threshold.shown(12.0), 0.0);
        QCOMPARE(ratio.shown(5.0), 1.2);

        // Ratio 1.2 at threshold 0 draws the identity.
        for (const QPointF &p : Dynamics::compressorCurve(0.0, 1.2))
            QCOMPARE(p.x(), p.y());
        QCOMPARE(Dynamics::compressorCurve(-20, 4).last(), QPointF(0, -15));
        QCOMPARE(Dynamics::expanderCurve(-40, 2).first(), QPointF(-100, -160));
        const QVector<QPointF> curve = Dynamics::compressorCurve(-20, 4);
        QCOMPARE(Dynamics::operatingPoint(curve, -8.0), QPointF(-8.0, -17.0));
        QCOMPARE(Dynamics::operatingPoint(curve, -qInf()), QPointF(-100.0, -100.0));
        QCOMPARE(Dynamics::operatingPoint(curve, -8.0, -6.5), QPointF(-8.0, -14.5)); // what the device reports

        QCOMPARE(Dynamics::reductionDb(0.999), 0.0);
        QCOMPARE(Dynamics::reductionDb(0.5), -6.0);
        QCOMPARE(Dynamics::reductionDb(std::pow(10.0, -3.5 / 20)), -3.5);
        QCOMPARE(Dynamics::reductionDb(0.0), -60.0);
        QCOMPARE(Dynamics::meterDb(QStringLiteral("-inf")), -90);
        QCOMPARE(Dynamics::meterDb(QStringLiteral("-12.6")), -13);
    }

    void generatorAndDelay()
    {
        const DspParam &volume = DspParams::of(DspKind::SignalGen)[2];
        QCOMPARE(volume.fromSlider(600), 0.0);
        QCOMPARE(volume.fromSlider(0), -60.0);
        QCOMPARE(volume.sliderPosition(-20.05), 400); // away from zero on a half

        QCOMPARE(QString::number(DelayUnits::milliseconds(48, 48000), 'f', 2), QStringLiteral("1.00"));
        QCOMPARE(QString::number(DelayUnits::metres(48, 48000), 'f', 2), QStringLiteral("0.34"));
        QCOMPARE(QString::number(DelayUnits::feet(48, 48000), 'f', 2), QStringLiteral("1.12"));
        QCOMPARE(DelayUnits::fromMetres(1.0, 48000), 141);
        QCOMPARE(QString::number(DelayUnits::milliseconds(141, 48000), 'f', 2), QStringLiteral("2.94"));
        QCOMPARE(DelayUnits::fromFeet(DelayUnits::feet(24000, 96000), 96000), 24000);
        QCOMPARE(DelayUnits::fromMilliseconds(2.94, 48000), 141);
    }
};

QTEST_GUILESS_MAIN(TstDspParams)
#include "tst_dspparams.moc"
