#include "core/factory/signaltest.h"

#include <cmath>

namespace {

bool agree(double a, double b)
{
    // Silence reads -inf, and -inf minus -inf is no number.
    if (std::isinf(a) || std::isinf(b))
        return a == b;
    return std::fabs(a - b) <= SignalTest::kAgreeDb;
}

} // namespace

SignalTest::SignalTest(const QVector<bool> &hasGenerator, const Settings &settings)
    : m_settings(settings)
    , m_hasGenerator(hasGenerator)
    , m_results(hasGenerator.size())
{}

void SignalTest::start(qint64 nowMs)
{
    m_results = QVector<Result>(m_hasGenerator.size());
    m_actions.clear();
    m_done = false;
    m_current = -1;
    begin(0, nowMs);
}

void SignalTest::begin(int channel, qint64 nowMs)
{
    for (; channel < m_hasGenerator.size(); ++channel) {
        if (m_hasGenerator[channel])
            break;
        m_results[channel].state = State::Failed;
        m_results[channel].reason = Reason::NoGenerator;
    }
    if (channel >= m_hasGenerator.size()) {
        m_current = -1;
        m_done = true;
        return;
    }
    m_current = channel;
    m_confirmed = false;
    m_havePrevious = false;
    m_startedMs = nowMs;
    m_results[channel].state = State::Running;
    m_actions.append({Action::SwitchOn, channel});
}

void SignalTest::generatorOn(int channel)
{
    if (channel == m_current)
        m_confirmed = true;
}

void SignalTest::levels(const QVector<double> &dbfs, qint64 nowMs)
{
    if (m_current < 0)
        return;
    if (!m_confirmed || m_current >= dbfs.size()) {
        tick(nowMs);
        return;
    }
    const double level = dbfs[m_current];
    if (m_havePrevious && agree(level, m_previous)) {
        judge(dbfs, nowMs);
        return;
    }
    m_previous = level;
    m_havePrevious = true;
    tick(nowMs);
}

void SignalTest::judge(const QVector<double> &dbfs, qint64 nowMs)
{
    Result &r = m_results[m_current];
    r.levelDb = dbfs[m_current];
    if (!std::isfinite(r.levelDb) || std::fabs(r.levelDb - m_settings.levelDb) > m_settings.toleranceDb) {
        finish(State::Failed, Reason::WrongLevel, nowMs);
        return;
    }
    for (int c = 0; c < dbfs.size(); ++c) {
        if (c != m_current && !std::isnan(dbfs[c]) && dbfs[c] > r.levelDb - kQuietDb) {
            r.loudChannel = c;
            finish(State::Failed, Reason::NotQuiet, nowMs);
            return;
        }
    }
    finish(State::Passed, Reason::None, nowMs);
}

void SignalTest::tick(qint64 nowMs)
{
    if (m_current >= 0 && nowMs - m_startedMs >= m_settings.settleTimeoutMs)
        finish(State::Failed, m_confirmed ? Reason::NeverSettled : Reason::NotSwitched, nowMs);
}

void SignalTest::finish(State state, Reason reason, qint64 nowMs)
{
    const int channel = m_current;
    m_results[channel].state = state;
    m_results[channel].reason = reason;
    m_actions.append({Action::Restore, channel});
    begin(channel + 1, nowMs);
}

void SignalTest::stop()
{
    if (m_current >= 0) {
        m_results[m_current] = Result{State::Failed, Reason::Stopped};
        m_actions.append({Action::Restore, m_current});
    }
    m_current = -1;
    m_done = true;
}

QVector<SignalTest::Action> SignalTest::takeActions()
{
    QVector<Action> out;
    out.swap(m_actions);
    return out;
}

int SignalTest::finishedCount() const
{
    int n = 0;
    for (const Result &r : m_results)
        n += r.state == State::Passed || r.state == State::Failed;
    return n;
}
