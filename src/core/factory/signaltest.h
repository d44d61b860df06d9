#pragma once

#include <QVector>

#include <limits>

/// The decisions of the production line's signal test, without widgets or sockets: the owner feeds it the
/// input levels the device reports and the time, carries out the actions it asks for (switch a channel's
/// generator on, put it back as it was) and shows its verdicts.
///
/// The input channels are tested one after the other. A channel settles when two readings in a row agree
/// within kAgreeDb (silence agrees with silence); it passes when it then reads the test level within the
/// tolerance and every other input stays kQuietDb below it, which proves both the path and that it does not
/// leak into its neighbours. A channel that has not settled settleTimeoutMs after its generator was asked for
/// fails. Only the tested channel has to settle: the others may carry noise that never agrees with itself.
class SignalTest
{
public:
    static constexpr double kAgreeDb = 0.5;
    static constexpr double kQuietDb = 40.0;

    struct Settings
    {
        double levelDb = -20.0;
        double freqHz = 1000.0;
        double toleranceDb = 3.0;
        int settleTimeoutMs = 5000;
    };

    enum class State { Untested, Running, Passed, Failed };
    enum class Reason {
        None,
        NoGenerator,  ///< the channel's chain has no generator block
        NotSwitched,  ///< the device never confirmed the generator on
        NeverSettled, ///< confirmed, but the readings kept moving
        WrongLevel,   ///< settled outside the tolerance (silence included)
        NotQuiet,     ///< another input within kQuietDb of the tested one
        Stopped,      ///< stopped while this channel was under test
    };
    struct Result
    {
        State state = State::Untested;
        Reason reason = Reason::None;
        double levelDb = std::numeric_limits<double>::quiet_NaN(); ///< the settled reading; -inf is silence
        int loudChannel = -1;                                      ///< with NotQuiet: the first input too loud
    };
    struct Action
    {
        enum Kind { SwitchOn, Restore } kind;
        int channel;
        bool operator==(const Action &o) const { return kind == o.kind && channel == o.channel; }
    };

    /// hasGenerator: one entry per input channel.
    SignalTest(const QVector<bool> &hasGenerator, const Settings &settings);

    const Settings &settings() const { return m_settings; }
    int channelCount() const { return m_results.size(); }

    void start(qint64 nowMs);
    /// The device confirmed the channel's generator on: readings count from now on.
    void generatorOn(int channel);
    /// One reading of every input in dBFS.
    void levels(const QVector<double> &dbfs, qint64 nowMs);
    /// Lets timeouts happen when no reading comes.
    void tick(qint64 nowMs);
    /// Ends the run: the channel under test fails as stopped and its generator is put back.
    void stop();

    /// What to do next, in order; each action is handed out once.
    QVector<Action> takeActions();

    bool isRunning() const { return m_current >= 0; }
    /// Every channel has a verdict, or the run was stopped.
    bool isDone() const { return m_done; }
    /// The channel under test; -1 when none.
    int current() const { return m_current; }
    /// Channels with a verdict.
    int finishedCount() const;
    const QVector<Result> &results() const { return m_results; }

private:
    void begin(int channel, qint64 nowMs);
    void finish(State state, Reason reason, qint64 nowMs);
    void judge(const QVector<double> &dbfs, qint64 nowMs);

    Settings m_settings;
    QVector<bool> m_hasGenerator;
    QVector<Result> m_results;
    QVector<Action> m_actions;
    int m_current = -1;
    bool m_done = false;
    bool m_confirmed = false;
    bool m_havePrevious = false;
    double m_previous = 0;
    qint64 m_startedMs = 0;
};
