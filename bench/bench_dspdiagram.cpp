// The DSP diagram of a large device: 64 inputs and 64 outputs with eight blocks each. The whole scene is built
// when a document arrives (the window opens, changes are revoked), folding touches every row at once, and the
// processor budget is computed after every change and before every addition, all on the user-interface thread.

#include "benchreport.h"

#include "../tests/support/dspdocgen.h"

#include "core/app/log.h"
#include "core/dsp/dspbudget.h"
#include "core/dsp/dspcontroller.h"
#include "core/dsp/dspsink.h"
#include "gui/dsp/cbasechannel.h"
#include "gui/dsp/dspdiagramform.h"

#include <QAction>
#include <QApplication>
#include <QElapsedTimer>
#include <QMenu>

#include <algorithm>
#include <cstdio>
#include <vector>

namespace {

constexpr int kRuns = 21;
constexpr double kBuildTargetMs = 50.0;
constexpr double kFoldTargetMs = 20.0;
constexpr double kBudgetTargetUs = 50.0;

class NoSink : public DspSink
{
public:
    void sendTcp(const QString &) override {}
    void sendUdp(const QString &, quint16) override {}
};

struct Figures
{
    double median;
    double worst;
};

/// Times run in nanoseconds, reported in the unit divisor gives.
template <class F> Figures timed(F &&run, double divisor, int repeat = 1)
{
    std::vector<double> t;
    run(); // first touch of the allocator and of the fonts
    for (int i = 0; i < kRuns; ++i) {
        QElapsedTimer clock;
        clock.start();
        for (int r = 0; r < repeat; ++r)
            run();
        t.push_back(double(clock.nsecsElapsed()) / divisor / repeat);
    }
    std::sort(t.begin(), t.end());
    return {t[t.size() / 2], t.back()};
}

} // namespace

int main(int argc, char *argv[])
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    Log::setOutput(stderr, true);

    DspDocGen::Options o;
    o.inputs = 64;
    o.outputs = 64;
    o.firTaps = 32;
    NoSink sink;
    DspController controller(&sink);
    controller.setDevice(QStringLiteral("BENCH"), QStringLiteral("RK1616D"));
    controller.requestConfig();
    controller.handleTcpReply(QString::fromUtf8(DspDocGen::reply(DspDocGen::config(o))));
    if (!controller.isLoaded() || controller.channelCount(DspSide::In) != 64) {
        std::printf("dsp diagram: the sample document did not load\n");
        return 2;
    }
    DspDiagramForm form(&controller);
    form.resize(1800, 900);
    form.show();
    QApplication::processEvents();
    int blocks = 0;
    for (DspSide side : {DspSide::In, DspSide::Out})
        for (int ch = 0; ch < 64; ++ch)
            blocks += form.channelItem(side, ch)->items().size();
    std::printf("dsp diagram: 64 in x 64 out, %d block items\n", blocks);

    // A new document rebuilds every row; the figures include the views painting the result.
    const Figures build = timed(
        [&] {
            emit controller.signal_documentLoaded();
            QApplication::processEvents();
        },
        1e6);
    QAction *fold = form.pageMenu()->findChild<QAction *>(QStringLiteral("act_foldAll"));
    QAction *expand = form.pageMenu()->findChild<QAction *>(QStringLiteral("act_expandAll"));
    const Figures folding = timed(
        [&] {
            fold->trigger();
            QApplication::processEvents();
            expand->trigger();
            QApplication::processEvents();
        },
        2e6); // each run folds and unfolds: half of it is one of them
    int sum = 0;
    const double factor = controller.budget().familyFactor;
    const Figures budget = timed([&] { sum += DspBudget::usage(controller.document(), factor); }, 1e3, 100);
    if (sum < 0 || form.channelItem(DspSide::In, 63)->isFolded())
        return 2;

    bool ok = true;
    ok &= BenchReport::atMost("dsp diagram scene build, median", build.median, "ms", kBuildTargetMs, 2);
    ok &= BenchReport::atMost("dsp diagram scene build, worst", build.worst, "ms", kBuildTargetMs, 2);
    ok &= BenchReport::atMost("dsp diagram fold or unfold all, median", folding.median, "ms", kFoldTargetMs, 2);
    ok &= BenchReport::atMost("dsp diagram fold or unfold all, worst", folding.worst, "ms", kFoldTargetMs, 2);
    ok &= BenchReport::atMost("dsp budget usage, median", budget.median, "us", kBudgetTargetUs, 2);
    ok &= BenchReport::atMost("dsp budget usage, worst", budget.worst, "us", kBudgetTargetUs, 2);
    return ok ? 0 : 1;
}
