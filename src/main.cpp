#include "core/app/appconfig.h"
#include "core/app/log.h"
#include "core/app/platform.h"
#include "core/app/scalefactors.h"
#include "gui/app/screenmetrics.h"
#include "core/routing/hiddenchannels.h"
#include "gui/app/mainwindow.h"
#include "gui/dsp/devdspdialog.h"
#include "gui/dsp/dspcompareform.h"
#include "gui/dsp/dspofflinedialog.h"
#include "core/dsp/dspofflinefile.h"
#include "core/dsp/programs/programfiles.h"
#include "gui/dsp/programs/dspprogramform.h"
#include "core/dsp/dspcontroller.h"
#include "core/dsp/dspkinds.h"
#include "gui/dsp/dspdiagramform.h"
#include "gui/factory/signaltestdialog.h"
#include "gui/widgets/style.h"

#include <QApplication>
#include <QComboBox>
#include <QCommandLineParser>
#include <QDebug>
#include <QElapsedTimer>
#include <QNetworkProxy>
#include <QPointer>
#include <QPushButton>
#include <QScreen>
#include <QTimer>

#include <memory>
#include <cstdint>
#include <cstdio>

namespace {

/// The compare view for a picture: the running configuration beside the device's last program, compared as soon
/// as the device has listed its programs.
QWidget *compareWithLastProgram(DevDspDialog *dsp)
{
    DspCompareDialog *compare = dsp->openCompare();
    compare->sourceBox(DspCompareDialog::B)->setCurrentIndex(int(DspCompareDialog::Source::Program));
    auto *wait = new QTimer(compare);
    QObject::connect(wait, &QTimer::timeout, compare, [compare, wait] {
        QComboBox *programs = compare->programBox(DspCompareDialog::B);
        if (programs->count() == 0)
            return;
        wait->stop();
        programs->setCurrentIndex(programs->count() - 1);
        compare->compareButton()->click();
    });
    wait->start(50);
    return compare;
}

} // namespace

int main(int argc, char *argv[])
{
    // Scale factors first: on Windows from the display metrics, before any
    // window exists. Elsewhere the windowing system is asked once the
    // application object exists.
    ScreenMetrics metrics;
    const bool nativeMetrics = Platform::nativeScreenMetrics(&metrics);
    ScaleFactors factors = computeScaleFactors(metrics);

    // Device traffic must never go through a system proxy.
    QNetworkProxy::setApplicationProxy(QNetworkProxy(QNetworkProxy::NoProxy));

    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("CorvaneLink"));
    if (!nativeMetrics) {
        metrics = screenMetricsFromPrimaryScreen();
        factors = computeScaleFactors(metrics);
    }

    Platform::installCrashHandler();

    Log::setUp();
    std::printf("=== printf can work \n");

    qRegisterMetaType<uint32_t>("uint32_t");

    applyScaleFactors(factors);
    qDebug().noquote() << QStringLiteral("======= cx:%1, cy:%2, adjScale:%3")
                              .arg(metrics.logicalWidth)
                              .arg(metrics.logicalHeight)
                              .arg(adjScale);
    qDebug().noquote() << factors.diagnostic;

    QCommandLineParser options;
    options.setApplicationDescription(QStringLiteral("CorvaneLink: control of networked audio devices"));
    options.addHelpOption();
    const QCommandLineOption chineseOption(QStringLiteral("chinese"),
                                           QStringLiteral("Switch to Chinese after start-up, as the language button does."));
    const QCommandLineOption screenshotOption(QStringLiteral("screenshot"),
                                              QStringLiteral("Save a picture of the main window to FILE after a moment, then quit."),
                                              QStringLiteral("FILE"));
    const QCommandLineOption interfaceOption(QStringLiteral("interface"),
                                             QStringLiteral("Use the network interface with this IPv4 address (loopback allowed)."),
                                             QStringLiteral("ADDR"));
    const QCommandLineOption pageOption(
        QStringLiteral("page"), QStringLiteral("Open this page: devices, routing, flows, clock, stats or levels; with --dsp, matrix, programs, channel-programs, admin or compare (the running configuration beside the last program)."),
        QStringLiteral("NAME"));
    options.addOption(pageOption);
    const QCommandLineOption allChannelsOption(
        QStringLiteral("all-channels"), QStringLiteral("Show every channel in the routing grid, those some models hide too."));
    options.addOption(allChannelsOption);
    const QCommandLineOption dspOption(
        QStringLiteral("dsp"), QStringLiteral("Open the DSP window of this device once it is found."), QStringLiteral("DEVID"));
    options.addOption(dspOption);
    const QCommandLineOption blockOption(
        QStringLiteral("block"),
        QStringLiteral("With --dsp, open the editor of this block once the configuration is read: in or out, channel "
                       "and position from 0, e.g. in:0:2; or aec, automix for the editors of those nodes."),
        QStringLiteral("SIDE:CH:POS"));
    options.addOption(blockOption);
    const QCommandLineOption signalTestOption(
        QStringLiteral("signal-test"),
        QStringLiteral("Open the signal test with this DSP device and start it once the device is found; with "
                       "--screenshot, the picture is of the finished test."),
        QStringLiteral("DEVID"));
    options.addOption(signalTestOption);
    const QCommandLineOption dspFileOption(
        QStringLiteral("dsp-file"), QStringLiteral("Open this program file (*.dt) in a DSP window with no device."),
        QStringLiteral("FILE"));
    options.addOption(dspFileOption);
    const QCommandLineOption modelOption(
        QStringLiteral("model"), QStringLiteral("With --dsp-file, the DSP model to edit it for (default: one that fits it)."),
        QStringLiteral("MODEL"));
    options.addOption(modelOption);
    const QCommandLineOption rateOption(
        QStringLiteral("rate"), QStringLiteral("With --dsp-file, the sample rate (default: the file's)."),
        QStringLiteral("HZ"));
    options.addOption(rateOption);
    options.addOption(interfaceOption);
    options.addOption(chineseOption);
    options.addOption(screenshotOption);
    options.process(app);

    if (options.isSet(allChannelsOption))
        HiddenChannels::setDisplayFlag(1);
    const QString appDir = QCoreApplication::applicationDirPath();
    QString title;
    if (const auto configured = AppConfig::readTitle(appDir))
        title = *configured;

    app.setStyleSheet(Style::applicationStyleSheet());

    auto *w = new MainWindow(appDir);
    w->setWindowFlags(Qt::Window | Qt::FramelessWindowHint | Qt::WindowSystemMenuHint
                      | Qt::WindowMinimizeButtonHint | Qt::WindowMaximizeButtonHint);
    w->setWindowIcon(Style::windowIcon());
    w->setWindowTitle(title);
    if (const QScreen *screen = QGuiApplication::primaryScreen()) {
        const QRect area = screen->availableGeometry();
        w->resize(w->size().boundedTo(area.size()));
        w->move(area.center() - w->rect().center());
    }
    w->show();
    if (options.isSet(interfaceOption)) {
        if (!w->startNetwork(options.value(interfaceOption)))
            LOG_FAIL();
    } else {
        w->startInterfaceSelection();
    }
    if (options.isSet(chineseOption))
        w->slot_switchLanguage(true);
    const QString dspDevice = options.value(dspOption);
    // With --dsp, --page names a page of the DSP window instead of one of the main window.
    const QString dspPage = dspDevice.isEmpty() ? QString() : options.value(pageOption).toLower();
    const bool dspMatrix = dspPage == QLatin1String("matrix");
    const bool dspAdmin = dspPage == QLatin1String("admin");
    const bool dspCompare = dspPage == QLatin1String("compare");
    const bool dspPrograms = dspPage == QLatin1String("programs");
    const bool dspChannelPrograms = dspPage == QLatin1String("channel-programs");
    if (options.isSet(pageOption) && !(dspMatrix || dspAdmin || dspCompare || dspPrograms || dspChannelPrograms)) {
        static const QStringList pages{QStringLiteral("devices"), QStringLiteral("routing"), QStringLiteral("flows"),
                                       QStringLiteral("clock"),   QStringLiteral("stats"),   QStringLiteral("levels")};
        const int page = pages.indexOf(options.value(pageOption).toLower());
        if (page < 0)
            LOG_FAIL();
        w->setPage(MainWindow::Page(page));
    }
    // The block editor asked for with --block, once it is open.
    auto editor = std::make_shared<QPointer<QWidget>>();
    // Without --block no editor opens (an empty value would split into one empty part, a node form's form).
    const QStringList blockAt =
        options.isSet(blockOption) ? options.value(blockOption).split(QLatin1Char(':')) : QStringList();
    const bool nodeForm =
        blockAt.size() == 1 && (blockAt[0] == QLatin1String("aec") || blockAt[0] == QLatin1String("automix"));
    if (options.isSet(blockOption) && !nodeForm && (blockAt.size() != 3 || !DspKinds::sideFromName(blockAt[0])))
        LOG_FAIL();
    if (!dspDevice.isEmpty()) {
        // The device is known once it has announced itself; until then there is no address to open.
        auto open = [w, dspDevice, dspMatrix, dspPrograms, dspChannelPrograms, dspAdmin, dspCompare, blockAt, editor] {
            const bool opened = w->dspWindow(dspDevice);
            if (!opened)
                w->slot_openDsp(dspDevice);
            DevDspDialog *dsp = w->dspWindow(dspDevice);
            if (dsp && dspMatrix)
                dsp->showMatrix();
            if (dsp && dspPrograms)
                dsp->showPrograms();
            if (dsp && dspChannelPrograms && !opened)
                QObject::connect(dsp->controller(), &DspController::signal_documentLoaded, dsp, [dsp, editor] {
                    if (!*editor)
                        *editor = dsp->programs()->openChannelPrograms();
                });
            if (dsp && dspAdmin)
                dsp->showAdmin();
            if (dsp && dspCompare && !opened)
                QObject::connect(dsp->controller(), &DspController::signal_documentLoaded, dsp, [dsp, editor] {
                    if (!*editor)
                        *editor = compareWithLastProgram(dsp);
                });
            if (!dsp || opened || blockAt.value(0).isEmpty() || (blockAt.size() != 3 && blockAt.size() != 1))
                return;
            QObject::connect(dsp->controller(), &DspController::signal_documentLoaded, dsp, [dsp, blockAt, editor] {
                if (*editor)
                    return;
                DspController *c = dsp->controller();
                if (blockAt.size() == 1) {
                    *editor = dsp->diagram()->openNodeForm(blockAt[0] == QLatin1String("aec"));
                    if (!*editor)
                        LOG_FAIL();
                    return;
                }
                const quint64 id =
                    c->blockId(*DspKinds::sideFromName(blockAt[0]), blockAt[1].toInt(), blockAt[2].toInt());
                *editor = dsp->diagram()->openBlockEditor(id);
                if (!*editor)
                    LOG_FAIL();
            });
        };
        QObject::connect(w, &MainWindow::signal_send_addDev, w, [open, dspDevice](const QString &devId) {
            if (devId == dspDevice)
                open();
        });
        QTimer::singleShot(0, w, open);
    }
    // A program file edited with no device: the model and rate default to what the file says, so the window opens
    // without asking.
    QPointer<QWidget> offline;
    if (options.isSet(dspFileOption)) {
        const QString file = options.value(dspFileOption);
        QString model = options.value(modelOption);
        int rate = options.value(rateOption).toInt();
        if (model.isEmpty() || rate <= 0) {
            if (const auto bytes = ProgramFiles::readFile(file)) {
                const DspOfflineFile::Opened opened = DspOfflineFile::read(*bytes);
                if (model.isEmpty() && opened.ok())
                    model = DspOfflineFile::modelFor(opened.doc);
                if (rate <= 0 && opened.ok())
                    rate = opened.doc.sampleRate > 0 ? opened.doc.sampleRate : 48000;
            }
        }
        offline = w->slot_openProgramFile(file, model, rate);
        if (!offline)
            LOG_FAIL();
        else if (blockAt.size() == 3 && options.isSet(blockOption)) {
            auto *dsp = static_cast<DspOfflineDialog *>(offline.data());
            QObject::connect(dsp->controller(), &DspController::signal_documentLoaded, dsp, [dsp, blockAt, editor] {
                if (*editor)
                    return;
                const quint64 id = dsp->controller()->blockId(*DspKinds::sideFromName(blockAt[0]), blockAt[1].toInt(),
                                                             blockAt[2].toInt());
                *editor = dsp->diagram()->openBlockEditor(id);
            });
        }
    }
    const QString signalDevice = options.value(signalTestOption);
    if (!signalDevice.isEmpty()) {
        auto open = [w, signalDevice] {
            SignalTestDialog *test = w->slot_showSignalTest();
            if (!test->test() && test->selectDevice(signalDevice))
                test->on_pb_start_clicked();
        };
        QObject::connect(w, &MainWindow::signal_send_addDev, w, [open, signalDevice](const QString &devId) {
            if (devId == signalDevice)
                open();
        });
        QTimer::singleShot(0, w, open);
    }
    if (options.isSet(screenshotOption) && !signalDevice.isEmpty()) {
        const QString file = options.value(screenshotOption);
        SignalTestDialog *test = w->slot_showSignalTest();
        auto take = [w, test, file] {
            if (!test->grab().save(file))
                LOG_FAIL();
            w->setQuitConfirmed(true);
            w->close();
        };
        QObject::connect(test, &SignalTestDialog::signal_finished, w, [w, take] { QTimer::singleShot(300, w, take); });
        QTimer::singleShot(60000, w, take);
    } else if (options.isSet(screenshotOption)) {
        const QString file = options.value(screenshotOption);
        auto take = [w, file, editor](QWidget *what) {
            if (*editor)
                what = editor->data();
            if (!what->grab().save(file))
                LOG_FAIL();
            w->setQuitConfirmed(true);
            w->close();
        };
        if (offline) {
            QTimer::singleShot(1500, w, [w, take, offline] { take(offline ? offline.data() : w); });
        } else if (dspDevice.isEmpty()) {
            QTimer::singleShot(1500, w, [w, take] { take(w); });
        } else {
            // The picture is of the DSP window with its document; a device that never answers still ends the
            // run, with whatever the window shows by then.
            auto *poll = new QTimer(w);
            auto *clock = new QElapsedTimer;
            clock->start();
            QObject::connect(poll, &QTimer::timeout, w, [w, take, poll, clock, dspDevice] {
                DevDspDialog *dsp = w->dspWindow(dspDevice);
                const bool loaded = dsp && dsp->controller()->isLoaded();
                if (!loaded && clock->elapsed() < 20000)
                    return;
                poll->stop();
                delete clock;
                // One more moment for the first level meters and the processor figure.
                const QPointer<QWidget> shown = dsp ? static_cast<QWidget *>(dsp) : w;
                QTimer::singleShot(loaded ? 1500 : 0, w, [w, take, shown] { take(shown ? shown.data() : w); });
            });
            poll->start(100);
        }
    }
    const int rc = app.exec();
    delete w;
    return rc;
}
