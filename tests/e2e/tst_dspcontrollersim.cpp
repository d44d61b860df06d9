// Two DSP windows open at once, as two controllers on two links to two virtual DSP devices: edits made in turn
// on both, a control dragged on each at the same time, and each device ends with its own edits and none of the
// other's. Both links' worker threads run side by side, which is what the thread-sanitizer build looks at.
#include "../support/simulator.h"

#include "core/dsp/dspcontroller.h"
#include "core/dsp/dsplink.h"
#include "core/dsp/dsplinksink.h"

#include <QtTest>

#include <memory>

namespace {

// One DSP window's worth of wiring, as the window does it, without the window.
struct Window
{
    Window(const QString &devId, const QString &model, uint32_t ip)
        : sink(&link, nullptr)
        , controller(&sink)
    {
        controller.setDevice(devId, model);
        QObject::connect(&link, &DspLink::signal_recvMsg, &controller, &DspController::handleTcpReply);
        QObject::connect(&link, &DspLink::signal_disconnected, &controller, &DspController::linkLost);
        QObject::connect(&link, &DspLink::signal_connected, &controller, [this](const QString &, bool up) {
            if (up)
                controller.requestConfig();
        });
        link.start(ip);
    }

    const DspBlock *at(DspSide side, int channel, int index) const
    {
        return controller.block(controller.blockId(side, channel, index));
    }

    template <class T> void drag(DspSide side, int channel, int index, const std::function<void(T &)> &change)
    {
        const quint64 id = controller.blockId(side, channel, index);
        DspBlock b = *controller.block(id);
        change(*b.as<T>());
        controller.setBlockParams(id, b);
    }

    DspLink link;
    DspLinkSink sink;
    DspController controller;
};

int indexOf(const QVector<DspBlock> &chain, DspKind kind)
{
    for (int i = 0; i < chain.size(); ++i)
        if (DspKinds::of(chain.at(i)) == kind)
            return i;
    return -1;
}

} // namespace

class TestDspControllerSim : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase();
    void twoWindowsKeepTheirOwnEdits();
    void saveRightAfterADrag();
    void equaliserBandSeenAfresh();
};

void TestDspControllerSim::initTestCase()
{
    REQUIRE_PRIVATE_NETWORK();
}

void TestDspControllerSim::twoWindowsKeepTheirOwnEdits()
{
    Simulator sim;
    QVERIFY2(sim.start(), sim.why());
    // SIM-0006 (16x16, with echo cancelling and automixer) and SIM-0007 (4x4 at 96 kHz), docs/simulator.md.
    auto a = std::make_unique<Window>("SIM-0006", "RK1616D", 0x7f000007);
    auto b = std::make_unique<Window>("SIM-0007", "RK0404D", 0x7f000008);
    QTRY_VERIFY_WITH_TIMEOUT(a->controller.isLoaded() && b->controller.isLoaded(), 15000);
    QCOMPARE(a->controller.channelCount(DspSide::In), 16);
    QCOMPARE(b->controller.channelCount(DspSide::In), 4);

    const int aDelay = indexOf(a->controller.chain(DspSide::In, 0), DspKind::Delay);
    const int bEq = indexOf(b->controller.chain(DspSide::Out, 1), DspKind::Eq);
    QVERIFY(aDelay >= 0 && bEq >= 0);
    const int bRemovedFrom = b->controller.chain(DspSide::In, 2).size();

    // Edits in turn: parameters that go at once, and chain changes that wait for the save.
    QCOMPARE(a->controller.setChannelGain(DspSide::In, 0, -3.0), QString());
    QCOMPARE(b->controller.setChannelGain(DspSide::In, 0, -9.0), QString());
    QCOMPARE(b->controller.removeBlock(b->controller.blockId(DspSide::In, 2, 0)), QString());
    QCOMPARE(a->controller.setMatrixCell(1, 2, -4.5, false), QString());
    a->controller.setForceAdd(true);
    QCOMPARE(a->controller.addBlock(DspSide::Out, 1, DspKind::Compress), QString());
    QCOMPARE(b->controller.setMatrixCell(0, 3, -6.0, false), QString());
    QCOMPARE(b->controller.setChannelMute(DspSide::Out, 3, true), QString());

    // A control dragged in each window at once: 60 changes each, 5 ms apart.
    for (int i = 1; i <= 60; ++i) {
        a->drag<DspDelay>(DspSide::In, 0, aDelay, [i](DspDelay &d) { d.delayNum = i * 100; });
        b->drag<DspEq>(DspSide::Out, 1, bEq, [i](DspEq &e) { e.bands[2].dbGain = float(-i) / 4; });
        QTest::qWait(5);
    }
    // The control let go before "Save" is pressed.
    QTRY_VERIFY_WITH_TIMEOUT(a->controller.isIdle() && b->controller.isIdle(), 10000);

    QSignalSpy aSaved(&a->controller, &DspController::signal_saved);
    QSignalSpy bSaved(&b->controller, &DspController::signal_saved);
    b->controller.save();
    a->controller.save();
    QTRY_VERIFY_WITH_TIMEOUT(aSaved.size() == 1 && bSaved.size() == 1, 20000);
    QCOMPARE(aSaved.first().first().toBool(), true);
    QCOMPARE(bSaved.first().first().toBool(), true);
    QTRY_VERIFY_WITH_TIMEOUT(a->controller.isIdle() && b->controller.isIdle(), 10000);

    // What each device holds now, read afresh.
    a.reset();
    b.reset();
    a = std::make_unique<Window>("SIM-0006", "RK1616D", 0x7f000007);
    b = std::make_unique<Window>("SIM-0007", "RK0404D", 0x7f000008);
    QTRY_VERIFY_WITH_TIMEOUT(a->controller.isLoaded() && b->controller.isLoaded(), 15000);
    const DspController &ca = a->controller;
    const DspController &cb = b->controller;

    QCOMPARE(ca.channel(DspSide::In, 0)->gainDb, -3.0);
    QCOMPARE(cb.channel(DspSide::In, 0)->gainDb, -9.0);
    QCOMPARE(ca.channel(DspSide::Out, 3)->mute, false);
    QCOMPARE(cb.channel(DspSide::Out, 3)->mute, true);

    QCOMPARE(DspKinds::of(ca.chain(DspSide::Out, 1).last()), std::optional(DspKind::Compress));
    QCOMPARE(cb.chain(DspSide::Out, 1).size(), cb.chain(DspSide::Out, 0).size());
    QCOMPARE(cb.chain(DspSide::In, 2).size(), bRemovedFrom - 1);
    QCOMPARE(ca.chain(DspSide::In, 2).size(), bRemovedFrom);

    // Each drag ended on its last value, on its own device only.
    QCOMPARE(a->at(DspSide::In, 0, aDelay)->as<DspDelay>()->delayNum, 6000);
    QCOMPARE(a->at(DspSide::In, 1, aDelay)->as<DspDelay>()->delayNum, 0);
    QCOMPARE(b->at(DspSide::Out, 1, bEq)->as<DspEq>()->bands[2].dbGain, -15.0f);
    QCOMPARE(b->at(DspSide::Out, 0, bEq)->as<DspEq>()->bands[2].dbGain, 0.0f);

    const DspMatrix &ma = ca.document().node(ca.matrixNodeId())->matrix;
    const DspMatrix &mb = cb.document().node(cb.matrixNodeId())->matrix;
    QCOMPARE(ma.gainArr[1][2], -4.5);
    QCOMPARE(ma.muteArr[1][2], false);
    QCOMPARE(ma.muteArr[0][3], true);
    QCOMPARE(mb.gainArr[0][3], -6.0);
    QCOMPARE(mb.muteArr[0][3], false);
    QCOMPARE(mb.muteArr[1][2], true);
}

void TestDspControllerSim::saveRightAfterADrag()
{
    Simulator sim;
    QVERIFY2(sim.start(), sim.why());
    auto w = std::make_unique<Window>("SIM-0007", "RK0404D", 0x7f000008);
    QTRY_VERIFY_WITH_TIMEOUT(w->controller.isLoaded(), 15000);
    const int delay = indexOf(w->controller.chain(DspSide::Out, 0), DspKind::Delay);
    QVERIFY(delay >= 0);
    QCOMPARE(w->controller.removeBlock(w->controller.blockId(DspSide::In, 0, 0)), QString());

    // "Save" pressed while the last changes of a drag still wait for their answers.
    for (int i = 1; i <= 10; ++i)
        w->drag<DspDelay>(DspSide::Out, 0, delay, [i](DspDelay &d) { d.delayNum = i * 300; });
    QSignalSpy saved(&w->controller, &DspController::signal_saved);
    w->controller.save();
    QVERIFY(saved.wait(10000));
    QCOMPARE(saved.first().first().toBool(), true);
    QTRY_VERIFY_WITH_TIMEOUT(w->controller.isIdle(), 10000);
    QCOMPARE(w->at(DspSide::Out, 0, delay)->as<DspDelay>()->delayNum, 3000);

    w.reset();
    w = std::make_unique<Window>("SIM-0007", "RK0404D", 0x7f000008);
    QTRY_VERIFY_WITH_TIMEOUT(w->controller.isLoaded(), 15000);
    QCOMPARE(w->controller.chain(DspSide::In, 0).size(), w->controller.chain(DspSide::In, 1).size() - 1);
    QCOMPARE(w->at(DspSide::Out, 0, delay)->as<DspDelay>()->delayNum, 3000);
}

void TestDspControllerSim::equaliserBandSeenAfresh()
{
    Simulator sim;
    QVERIFY2(sim.start(), sim.why());
    auto w = std::make_unique<Window>("SIM-0007", "RK0404D", 0x7f000008);
    QTRY_VERIFY_WITH_TIMEOUT(w->controller.isLoaded(), 15000);
    const int eq = indexOf(w->controller.chain(DspSide::In, 1), DspKind::Eq);
    QVERIFY(eq >= 0);
    const quint64 id = w->controller.blockId(DspSide::In, 1, eq);
    const DspEqBand untouched = w->controller.block(id)->as<DspEq>()->bands[3];
    DspEqBand v;
    v.dbGain = -7.5f;
    v.freq0 = 2500.0;
    v.qBwS = 0.707;
    v.type = 2;
    QCOMPARE(w->controller.setEqBand(id, 4, v), QString());
    QCOMPARE(w->controller.setEqBandBypass(id, 5, true), QString());
    QTRY_VERIFY_WITH_TIMEOUT(w->controller.isIdle(), 10000);

    w.reset();
    w = std::make_unique<Window>("SIM-0007", "RK0404D", 0x7f000008);
    QTRY_VERIFY_WITH_TIMEOUT(w->controller.isLoaded(), 15000);
    const QVector<DspEqBand> &bands = w->at(DspSide::In, 1, eq)->as<DspEq>()->bands;
    QCOMPARE(bands[4].dbGain, -7.5f);
    QCOMPARE(bands[4].freq0, 2500.0);
    QCOMPARE(bands[4].qBwS, 0.707);
    QCOMPARE(bands[4].type, 2);
    QVERIFY(!bands[4].bypass);
    QVERIFY(bands[5].bypass);
    QCOMPARE(bands[3].freq0, untouched.freq0);
    QCOMPARE(w->at(DspSide::In, 0, eq)->as<DspEq>()->bands[4].type, 0);
}

QTEST_GUILESS_MAIN(TestDspControllerSim)
#include "tst_dspcontrollersim.moc"
