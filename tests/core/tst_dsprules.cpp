// The processor budget and the diagram's add and paste rules, on configurations built by hand.
#include "core/app/texts.h"
#include "core/dsp/dspbudget.h"
#include "core/dsp/dsprules.h"
#include "../support/dspdocs.h"

#include <QtTest>

namespace {

DspBlock delay(int samples)
{
    DspBlock b = DspKinds::newBlock(DspKind::Delay);
    b.as<DspDelay>()->delayNum = samples;
    return b;
}

QVector<DspBlock> firs(int n)
{
    return QVector<DspBlock>(n, DspKinds::newBlock(DspKind::Fir));
}

} // namespace

class TstDspRules : public QObject
{
    Q_OBJECT
private slots:
    void budgetTerms()
    {
        // No blocks at all: the matrix alone, 16 x 16 x 0.09375 = 24 of 170.
        const CDeviceDspData empty = DspDocs::make(16, 16);
        QCOMPARE(DspBudget::load(empty), 24.0);
        QCOMPARE(DspBudget::usage(empty, 1.0), 14);
        QCOMPARE(DspBudget::cpuText(14), QStringLiteral("CPU:14%"));

        // A long FIR costs more than a delay of a few samples; a delay grows with its length in 100 ms steps.
        QVERIFY(DspBudget::blockCost(DspKinds::newBlock(DspKind::Fir), 48000) >
                DspBudget::blockCost(delay(5), 48000));
        QCOMPARE(DspBudget::blockCost(delay(5), 48000), 0.23);
        QCOMPARE(DspBudget::blockCost(delay(4801), 48000), 0.46);
        DspBlock aec = DspKinds::newBlock(DspKind::Aec);
        QCOMPARE(DspBudget::blockCost(aec, 48000), 128 * 0.03125);
        aec.as<DspAec>()->hasAec = false;
        QCOMPARE(DspBudget::aecCount(aec), 32);

        // The echo-cancelling and automixer nodes add their fixed terms once, whatever their size.
        CDeviceDspData nodes = empty;
        DspNode aecNode, mixNode;
        aecNode.type = DspNode::EchoCancel;
        aecNode.portArr = {DspDefaults::aecChannel(0), DspDefaults::aecChannel(1)};
        mixNode.type = DspNode::Automixer;
        mixNode.portArr = {DspDefaults::channel()};
        nodes.nodeArr.insert(1, aecNode);
        nodes.nodeArr.insert(2, mixNode);
        QCOMPARE(DspBudget::load(nodes), 24.0 + 30.0 + 10.0);

        // The shown figure never passes 99.
        const CDeviceDspData heavy = DspDocs::make(64, 64, firs(32), firs(32));
        QVERIFY(DspBudget::usage(heavy, 1.0) > 300);
        QCOMPARE(DspBudget::shown(DspBudget::usage(heavy, 1.0)), 99);
    }

    void familyFactor()
    {
        QCOMPARE(DspBudget::familyFactor(QStringLiteral("RK1616D"), 48000), 1.0);
        QCOMPARE(DspBudget::familyFactor(QStringLiteral("RK0202D"), 48000), 0.4);
        QCOMPARE(DspBudget::familyFactor(QStringLiteral("RK0202D"), 96000), 0.2);
        QCOMPARE(DspBudget::familyFactor(QStringLiteral("RK1616D"), 96001), 0.25);
        QCOMPARE(DspBudget::familyFactor(QStringLiteral("RK1616D"), 192000), 0.125);
        // The same blocks weigh more on the smaller processor.
        const CDeviceDspData d = DspDocs::make(4, 4, DspDefaults::inputChain(), DspDefaults::outputChain());
        QVERIFY(DspBudget::usage(d, 0.4) > DspBudget::usage(d, 1.0) * 2);
    }

    void addRules()
    {
        const DspBlock hpf = DspKinds::newBlock(DspKind::Hpf);
        CDeviceDspData d = DspDocs::make(2, 2, {hpf, DspKinds::newBlock(DspKind::Lpf),
                                                DspKinds::newBlock(DspKind::Ducker), delay(0)});
        auto add = [&](DspKind k, int ch = 0, bool force = false) {
            return DspRules::checkAdd(d, DspSide::In, ch, DspKinds::newBlock(k), 1.0, force);
        };
        QCOMPARE(add(DspKind::Hpf), tx(Tx::DspOnlyOneHpf));
        QCOMPARE(add(DspKind::Lpf), tx(Tx::DspOnlyOneLpf));
        QCOMPARE(add(DspKind::Ducker), tx(Tx::DspOnlyOneDucker));
        QCOMPARE(add(DspKind::Hpf, 0, true), tx(Tx::DspOnlyOneHpf)); // ForceAdd skips the budget only
        QCOMPARE(add(DspKind::Hpf, 2), tx(Tx::DspNoSuchSideChannel).arg(tx(Tx::DspChannelIn).arg(3)));
        QVERIFY(add(DspKind::Eq).isEmpty());

        // One second of delay memory per channel at 48 kHz: each delay block reserves its 24000 samples.
        QVERIFY(add(DspKind::Delay).isEmpty());
        d.nodeArr[0].portArr[0].procArr.append(delay(0));
        QCOMPARE(add(DspKind::Delay), tx(Tx::DspDelayLimitAdd));
        QVERIFY(add(DspKind::Delay, 1).isEmpty());

        // One echo canceller in the whole configuration, whichever side holds it.
        d.nodeArr.last().portArr[1].procArr.append(DspKinds::newBlock(DspKind::Aec));
        QCOMPARE(add(DspKind::Aec, 1), tx(Tx::DspOnlyOneAec));

        d.nodeArr[0].portArr[1].procArr = QVector<DspBlock>(DspRules::kMaxChainLength, DspKinds::newBlock(DspKind::Eq));
        QCOMPARE(add(DspKind::Eq, 1, true), tx(Tx::DspChainFull).arg(DspRules::kMaxChainLength));
    }

    void budgetEdge()
    {
        // 24 (matrix) + 63 FIRs of 2.27 = 167.01 of 170: usage 98. One more block is still accepted, even though
        // it takes the usage to 99; the next is refused unless ForceAdd.
        CDeviceDspData d = DspDocs::make(16, 16, {}, firs(4));
        d.nodeArr.last().portArr[15].procArr.removeLast();
        QCOMPARE(DspBudget::usage(d, 1.0), 98);
        const DspBlock fir = DspKinds::newBlock(DspKind::Fir);
        QVERIFY(DspRules::checkAdd(d, DspSide::Out, 15, fir, 1.0, false).isEmpty());
        d.nodeArr.last().portArr[15].procArr.append(fir);
        QCOMPARE(DspBudget::usage(d, 1.0), 99);
        QCOMPARE(DspRules::checkAdd(d, DspSide::Out, 0, fir, 1.0, false), tx(Tx::DspCpuShort));
        QVERIFY(DspRules::checkAdd(d, DspSide::Out, 0, fir, 1.0, true).isEmpty());
    }

    void pasteRules()
    {
        const CDeviceDspData d = DspDocs::make(2, 2, DspDefaults::inputChain(), DspDefaults::outputChain());
        QCOMPARE(DspRules::checkPasteBlock(DspKinds::newBlock(DspKind::Hpf), DspKinds::newBlock(DspKind::Lpf)),
                 tx(Tx::DspPasteTypeDiffers));
        QCOMPARE(DspRules::checkPasteBlock(DspKinds::newBlock(DspKind::Compress), DspKinds::newBlock(DspKind::Expand)),
                 tx(Tx::DspPasteTypeDiffers));
        QVERIFY(DspRules::checkPasteBlock(DspKinds::newBlock(DspKind::Eq), DspKinds::newBlock(DspKind::Eq)).isEmpty());

        const QVector<DspBlock> in = DspDefaults::inputChain();
        auto paste = [&](DspSide from, int fromCh, const QVector<DspBlock> &chain, DspSide to, int toCh) {
            return DspRules::checkPasteChannel(d, from, fromCh, chain, to, toCh, 1.0, false);
        };
        QCOMPARE(paste(DspSide::Out, 0, in, DspSide::In, 1), tx(Tx::DspPasteOutToIn));
        QCOMPARE(paste(DspSide::In, 0, in, DspSide::Out, 1), tx(Tx::DspPasteInToOut));
        QCOMPARE(paste(DspSide::In, 1, in, DspSide::In, 1), tx(Tx::DspPasteSameChannel));
        QVERIFY(paste(DspSide::In, 0, in, DspSide::In, 1).isEmpty());
        QCOMPARE(paste(DspSide::In, 0, {delay(0), delay(0), delay(0)}, DspSide::In, 1), tx(Tx::DspDelayLimitPaste));

        // An echo canceller may replace the target's own, not join one elsewhere.
        CDeviceDspData withAec = d;
        withAec.nodeArr[0].portArr[1].procArr.append(DspKinds::newBlock(DspKind::Aec));
        const QVector<DspBlock> aecChain{DspKinds::newBlock(DspKind::Aec)};
        QVERIFY(DspRules::checkPasteChannel(withAec, DspSide::In, 0, aecChain, DspSide::In, 1, 1.0, false).isEmpty());
        QCOMPARE(DspRules::checkPasteChannel(withAec, DspSide::Out, 0, aecChain, DspSide::Out, 1, 1.0, false),
                 tx(Tx::DspOnlyOneAec));

        const CDeviceDspData full = DspDocs::make(64, 64, {}, firs(16));
        QCOMPARE(DspRules::checkPasteChannel(full, DspSide::Out, 0, {}, DspSide::Out, 1, 1.0, false),
                 tx(Tx::DspCpuShort));
        QVERIFY(DspRules::checkPasteChannel(full, DspSide::Out, 0, {}, DspSide::Out, 1, 1.0, true).isEmpty());
    }
};

QTEST_GUILESS_MAIN(TstDspRules)
#include "tst_dsprules.moc"
