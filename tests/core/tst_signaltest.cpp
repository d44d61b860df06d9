// The signal test's decisions: verdicts from the levels read, the order generators are switched on and put
// back, and that nothing is left switched on when the run ends early.
#include "core/factory/signaltest.h"

#include <QtTest>

#include <cmath>

using Action = SignalTest::Action;
using Reason = SignalTest::Reason;

namespace {

const double kSilence = -INFINITY;

/// Readings of four inputs with the given channel at level and the others silent.
QVector<double> only(int channel, double level, int count = 4)
{
    QVector<double> v(count, kSilence);
    v[channel] = level;
    return v;
}

/// Confirms the channel under test and feeds it the same reading twice, 500 ms apart.
void settle(SignalTest &t, const QVector<double> &reading, qint64 *now)
{
    t.generatorOn(t.current());
    t.levels(reading, *now += 500);
    t.levels(reading, *now += 500);
}

} // namespace

class TstSignalTest : public QObject
{
    Q_OBJECT
private slots:
    void verdicts_data()
    {
        QTest::addColumn<QVector<double>>("first");
        QTest::addColumn<QVector<double>>("second");
        QTest::addColumn<int>("reason"); // None: passed
        QTest::addColumn<int>("loud");
        QTest::newRow("within tolerance") << only(0, -22.9) << only(0, -22.5) << 0 << -1;
        QTest::newRow("neighbour just quiet") << only(0, -20) << QVector<double>{-20, -60, kSilence, -75} << 0 << -1;
        QTest::newRow("too low") << only(0, -23.2) << only(0, -23.1) << int(Reason::WrongLevel) << -1;
        QTest::newRow("too high") << only(0, -16.8) << only(0, -16.9) << int(Reason::WrongLevel) << -1;
        QTest::newRow("dead input") << only(0, kSilence) << only(0, kSilence) << int(Reason::WrongLevel) << -1;
        QTest::newRow("leaks into input 3")
            << only(0, -20) << QVector<double>{-20, kSilence, -59, kSilence} << int(Reason::NotQuiet) << 2;
    }
    void verdicts()
    {
        QFETCH(QVector<double>, first);
        QFETCH(QVector<double>, second);
        QFETCH(int, reason);
        QFETCH(int, loud);
        SignalTest t({true, false}, {});
        t.start(0);
        t.generatorOn(0);
        t.levels(first, 500);
        t.levels(second, 1000);
        const SignalTest::Result r = t.results()[0];
        QCOMPARE(int(r.state), int(reason ? SignalTest::State::Failed : SignalTest::State::Passed));
        QCOMPARE(int(r.reason), reason);
        QCOMPARE(r.loudChannel, loud);
        // The second channel has no generator: it fails as such, and that ends the run.
        QCOMPARE(int(t.results()[1].reason), int(Reason::NoGenerator));
        QVERIFY(t.isDone());
    }

    void settlesOnlyOnTwoAgreeingReadingsAfterTheDeviceConfirmed()
    {
        SignalTest t({true}, {});
        t.start(0);
        // Readings before the device switched the generator on describe the channel before it.
        t.levels(only(0, -20), 500);
        t.levels(only(0, -20), 1000);
        QCOMPARE(t.current(), 0);
        t.generatorOn(0);
        t.levels(only(0, kSilence), 1500); // a reply from before it, then the generator
        t.levels(only(0, -20), 2000);
        t.levels(only(0, -20.6), 2500);
        QCOMPARE(t.current(), 0);
        t.levels(only(0, -20.2), 3000);
        QCOMPARE(int(t.results()[0].state), int(SignalTest::State::Passed));
        QCOMPARE(t.results()[0].levelDb, -20.2);
    }

    void timeouts()
    {
        // Moving readings until the timeout; then a device that never confirms, failing on the clock alone.
        SignalTest t({true, true}, {-20, 1000, 3, 3000});
        t.start(1000);
        t.generatorOn(0);
        for (qint64 now = 1500; now <= 4000; now += 500)
            t.levels(only(0, now % 1000 ? -20 : -25), now);
        QCOMPARE(t.current(), 1);
        QCOMPARE(int(t.results()[0].reason), int(Reason::NeverSettled));
        t.tick(7000);
        QCOMPARE(int(t.results()[1].reason), int(Reason::NotSwitched));
        QVERIFY(t.isDone());
    }

    void switchesOnAndRestoresOneChannelAtATime()
    {
        SignalTest t({true, false, true, true}, {});
        qint64 now = 0;
        t.start(now);
        QCOMPARE(t.takeActions(), (QVector<Action>{{Action::SwitchOn, 0}}));
        settle(t, only(0, -20), &now);
        // Channel 1 has nothing to switch: straight on to channel 2, after channel 0 is put back.
        QCOMPARE(t.takeActions(), (QVector<Action>{{Action::Restore, 0}, {Action::SwitchOn, 2}}));
        t.generatorOn(0); // a late confirmation of a channel already done changes nothing
        settle(t, only(2, -21), &now);
        settle(t, only(3, kSilence), &now);
        QCOMPARE(t.takeActions(), (QVector<Action>{{Action::Restore, 2}, {Action::SwitchOn, 3}, {Action::Restore, 3}}));
        QVERIFY(t.isDone());
        QCOMPARE(t.finishedCount(), 4);
    }

    void stopRestoresTheChannelUnderTest()
    {
        SignalTest t({true, true, true}, {});
        qint64 now = 0;
        t.start(now);
        settle(t, only(0, -20, 3), &now);
        t.takeActions();
        t.stop();
        QCOMPARE(t.takeActions(), (QVector<Action>{{Action::Restore, 1}}));
        QVERIFY(t.isDone());
        QCOMPARE(int(t.results()[1].reason), int(Reason::Stopped));
        // A reading answered after Stop switches nothing on.
        settle(t, only(1, -20, 3), &now);
        QCOMPARE(t.takeActions(), QVector<Action>());
    }
};

QTEST_GUILESS_MAIN(TstSignalTest)
#include "tst_signaltest.moc"
