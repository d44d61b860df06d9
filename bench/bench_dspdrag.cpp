// A control of a block editor dragged: 200 changes a second for 5 s to one delay block through the DSP controller,
// over the DSP link to corvane-sim's virtual DSP. At every moment the device is behind the screen by the time
// since the value it last confirmed was set (nothing when it holds the newest); the figure is the worst of that,
// and the device must end on exactly the last value. The controller writes one request at a time and replaces a
// waiting change by a newer one, so the lag stays near two round trips however fast the control moves.
// Starts corvane-sim and talks to it on loopback, so this program runs only inside tests/netns-run.

#include "benchreport.h"

#include "core/app/log.h"
#include "core/dsp/dspcontroller.h"
#include "core/dsp/dsplink.h"
#include "core/dsp/dsplinksink.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QHash>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTimer>

#include <algorithm>
#include <cstdio>
#include <deque>
#include <functional>
#include <vector>

namespace {

constexpr double kTargetMs = 100.0;
constexpr int kRatePerS = 200;
constexpr int kSeconds = 5;
constexpr int kStep = 20; // 1000 changes of 20 samples stay within the block's 24000
// SIM-0006 of corvane-sim's default scenario: 16x16 with echo cancelling and automixer (docs/simulator.md).
constexpr uint32_t kDeviceIp = 0x7f000007;

bool waitUntil(const std::function<bool()> &done, int ms)
{
    QElapsedTimer t;
    t.start();
    while (!done() && t.elapsed() < ms)
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 5);
    return done();
}

// The controller's sink, noting the value each request carries, in order: the device answers one at a time, so
// the n-th answer belongs to the n-th request.
class Recorder : public DspSink
{
public:
    explicit Recorder(DspLink *link)
        : m_inner(link, nullptr)
    {
    }
    void sendTcp(const QString &request) override
    {
        const QJsonObject r = QJsonDocument::fromJson(request.toUtf8()).object();
        const QJsonObject obj = r.value(QLatin1String("obj")).toObject();
        inFlight.push_back(r.value(QLatin1String("ops")) == QLatin1String("setBorderProc") && obj.contains("delayNum")
                               ? obj.value(QLatin1String("delayNum")).toString().toInt()
                               : -1);
        ++requests;
        m_inner.sendTcp(request);
    }
    void sendUdp(const QString &, quint16) override {}

    std::deque<int> inFlight;
    int requests = 0;

private:
    DspLinkSink m_inner;
};

} // namespace

int main(int argc, char **argv)
{
    if (qgetenv("CORVANE_IN_NETNS") != "1") {
        std::printf("DSP drag: run through tests/netns-run, never on the host's networks\n");
        return 2;
    }
    QCoreApplication app(argc, argv);
    Log::setOutput(std::fopen("/dev/null", "w"), true);

    QProcess sim;
    sim.setProcessChannelMode(QProcess::MergedChannels);
    sim.start(QCoreApplication::applicationDirPath() + QStringLiteral("/corvane-sim"), QStringList());
    QByteArray said;
    QObject::connect(&sim, &QProcess::readyRead, [&] { said += sim.readAll(); said = said.right(4096); });
    if (!waitUntil([&] { return said.contains(" devices on "); }, 10000)) {
        std::printf("DSP drag: corvane-sim did not start: %s\n", said.constData());
        return 2;
    }

    DspLink link;
    Recorder recorder(&link);
    DspController controller(&recorder);
    controller.setDevice(QStringLiteral("SIM-0006"), QStringLiteral("RK1616D"));

    QElapsedTimer clock;
    clock.start();
    QHash<int, qint64> setAt; // value -> when the control showed it, ns
    int latest = -1;
    int confirmed = -1;
    double worstMs = 0.0;
    std::vector<double> lags;
    bool dragging = false;
    auto sample = [&] {
        if (!dragging)
            return;
        const double lag = confirmed == latest ? 0.0 : (clock.nsecsElapsed() - setAt.value(confirmed)) / 1e6;
        lags.push_back(lag);
        worstMs = std::max(worstMs, lag);
    };

    bool up = false;
    QObject::connect(&link, &DspLink::signal_connected, [&](const QString &, bool isSucc) { up = up || isSucc; });
    QObject::connect(&link, &DspLink::signal_recvMsg, [&](const QString &msg) {
        const int value = recorder.inFlight.empty() ? -1 : recorder.inFlight.front();
        if (!recorder.inFlight.empty())
            recorder.inFlight.pop_front();
        if (value >= 0 && msg.contains(QLatin1String("\"result\":\"succ\""))) {
            sample();
            confirmed = value;
            sample();
        }
        controller.handleTcpReply(msg);
    });
    link.start(kDeviceIp);
    if (!waitUntil([&] { return up; }, 3000)) {
        std::printf("DSP drag: no DSP link to the virtual device\n");
        return 2;
    }
    controller.requestConfig();
    if (!waitUntil([&] { return controller.isLoaded(); }, 10000)) {
        std::printf("DSP drag: no configuration\n");
        return 2;
    }
    int index = -1;
    for (int i = 0; i < controller.chain(DspSide::In, 0).size() && index < 0; ++i)
        if (DspKinds::of(controller.chain(DspSide::In, 0).at(i)) == DspKind::Delay)
            index = i;
    const quint64 id = controller.blockId(DspSide::In, 0, index);
    if (!id) {
        std::printf("DSP drag: input 1 has no delay block\n");
        return 2;
    }
    confirmed = controller.block(id)->as<DspDelay>()->delayNum;
    const int requestsBefore = recorder.requests;

    const int changes = kRatePerS * kSeconds;
    int made = 0;
    QTimer tick;
    tick.setTimerType(Qt::PreciseTimer);
    tick.setInterval(1000 / kRatePerS);
    QObject::connect(&tick, &QTimer::timeout, [&] {
        sample();
        if (made == changes)
            return;
        ++made;
        const int value = made * kStep;
        setAt.insert(value, clock.nsecsElapsed());
        if (made == 1)
            setAt.insert(confirmed, clock.nsecsElapsed());
        latest = value;
        dragging = true;
        DspBlock b = *controller.block(id);
        b.as<DspDelay>()->delayNum = value;
        controller.beginGesture();
        controller.setBlockParams(id, b);
        controller.endGesture();
    });
    const qint64 start = clock.elapsed();
    tick.start();
    // The drag, then the tail until the device has the last value.
    const bool caughtUp = waitUntil([&] { return made == changes && confirmed == latest; }, kSeconds * 1000 + 5000);
    tick.stop();
    const double dragS = (clock.elapsed() - start) / 1000.0;
    waitUntil([&] { return controller.isIdle(); }, 5000);

    // What the device holds, read afresh.
    bool reloaded = false;
    QObject::connect(&controller, &DspController::signal_documentLoaded, [&] { reloaded = true; });
    controller.revokeAll();
    waitUntil([&] { return reloaded; }, 10000);
    const DspBlock *onDevice = reloaded ? controller.block(controller.blockId(DspSide::In, 0, index)) : nullptr;
    const int deviceValue = onDevice && onDevice->as<DspDelay>() ? onDevice->as<DspDelay>()->delayNum : -1;

    link.stop();
    sim.terminate();
    sim.waitForFinished(5000);

    std::sort(lags.begin(), lags.end());
    std::printf("DSP drag: %d changes of a delay in %.1f s, %d requests written, %zu samples of the lag\n", made, dragS,
                recorder.requests - requestsBefore, lags.size());
    bool ok = caughtUp;
    if (!caughtUp)
        std::printf("DSP drag: the device never confirmed the last value\n");
    if (!lags.empty())
        std::printf("DSP drag lag, median: %.1f ms (no target)\n", lags[lags.size() / 2]);
    ok = BenchReport::atMost("DSP drag, device behind the control, worst", worstMs, "ms", kTargetMs, 1) && ok;
    std::printf("DSP drag: the device ends on %d, the control on %d\n", deviceValue, changes * kStep);
    return ok && deviceValue == changes * kStep ? 0 : 1;
}
