#include "simnetwork.h"
#include "simscenario.h"

#include "core/app/log.h"

#include <QCommandLineParser>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <QCoreApplication>
#include <QSocketNotifier>
#include <cstdio>

#ifdef Q_OS_UNIX
#include <csignal>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>
#endif

namespace {

#ifdef Q_OS_UNIX
int signalPipe[2] = {-1, -1};

void onSignal(int)
{
    const char c = 1;
    [[maybe_unused]] const ssize_t n = ::write(signalPipe[1], &c, 1);
}

// A thousand devices hold nine sockets each: far beyond the usual soft limit.
void raiseFileLimit()
{
    rlimit rl{};
    if (getrlimit(RLIMIT_NOFILE, &rl) == 0 && rl.rlim_cur < rl.rlim_max) {
        rl.rlim_cur = rl.rlim_max;
        if (setrlimit(RLIMIT_NOFILE, &rl) != 0)
            LOG_FAIL();
    }
}

// Ctrl-C and SIGTERM end the event loop, so every socket is closed in order.
void quitOnSignals(QCoreApplication *app)
{
    if (::socketpair(AF_UNIX, SOCK_STREAM, 0, signalPipe) != 0) {
        LOG_FAIL();
        return;
    }
    auto *notifier = new QSocketNotifier(signalPipe[0], QSocketNotifier::Read, app);
    QObject::connect(notifier, &QSocketNotifier::activated, app, [app] {
        char c;
        [[maybe_unused]] const ssize_t n = ::read(signalPipe[0], &c, 1);
        app->quit();
    });
    struct sigaction sa
    {
    };
    sa.sa_handler = onSignal;
    sigemptyset(&sa.sa_mask);
    sa.sa_flags = SA_RESTART;
    sigaction(SIGINT, &sa, nullptr);
    sigaction(SIGTERM, &sa, nullptr);
}
#endif

int fail(const QString &text)
{
    std::fprintf(stderr, "corvane-sim: %s\n", qPrintable(text));
    return 2;
}

// "DEVICE" or "DEVICE=VALUE": the device by devId or name, and the value.
bool splitTarget(const SimScenario &s, const QString &arg, int *index, QString *value)
{
    const int eq = arg.indexOf(QLatin1Char('='));
    *index = s.indexOf(eq < 0 ? arg : arg.left(eq));
    *value = eq < 0 ? QString() : arg.mid(eq + 1);
    return *index >= 0;
}

// "DEVICE:NAME:FILE": a "*.dt" file, {"config":<document>,"name":<name>}, for a DSP device.
// The file may hold any version: that is what the option is for.
bool readProgram(const SimScenario &s, const QString &spec, int *index, SimDeviceProfile::Program *program,
                 QString *error)
{
    const int first = spec.indexOf(QLatin1Char(':'));
    const int second = first < 0 ? -1 : spec.indexOf(QLatin1Char(':'), first + 1);
    if (second < 0) {
        *error = QStringLiteral("takes DEVICE:NAME:FILE");
        return false;
    }
    *index = s.indexOf(spec.left(first));
    if (*index < 0 || !s.devices[*index].dsp) {
        *error = QStringLiteral("no DSP device ") + spec.left(first);
        return false;
    }
    program->name = spec.mid(first + 1, second - first - 1);
    static const QRegularExpression rule(QStringLiteral("^[0-9a-zA-Z_-]{1,40}$"));
    if (!rule.match(program->name).hasMatch() || program->name == QLatin1String("default")) {
        *error = QStringLiteral("a program name is 1 to 40 letters, digits, '_' or '-', and not \"default\"");
        return false;
    }
    QFile file(spec.mid(second + 1));
    if (!file.open(QIODevice::ReadOnly)) {
        *error = file.errorString();
        return false;
    }
    QJsonParseError parseError{};
    const QJsonDocument doc = QJsonDocument::fromJson(file.readAll(), &parseError);
    const QJsonValue config = doc.object().value(QLatin1String("config"));
    if (parseError.error != QJsonParseError::NoError || !doc.isObject() || !config.isObject() ||
        !config.toObject().contains(QLatin1String("version"))) {
        *error = QStringLiteral("not a program file: an object with \"config\", a document with a \"version\"");
        return false;
    }
    program->document = config.toObject();
    return true;
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("corvane-sim"));
    Log::setUp();

    QCommandLineParser p;
    p.setApplicationDescription(QStringLiteral("A network of virtual devices for CorvaneLink. See docs/simulator.md."));
    p.addHelpOption();
    const QCommandLineOption scenarioOpt(QStringLiteral("scenario"), QStringLiteral("Scenario file (JSON)."),
                                         QStringLiteral("FILE"));
    const QCommandLineOption devicesOpt(QStringLiteral("devices"), QStringLiteral("Generate N devices instead."),
                                        QStringLiteral("N"));
    const QCommandLineOption ifaceOpt(QStringLiteral("interface"),
                                      QStringLiteral("Address of the interface multicast leaves by (127.0.0.1)."),
                                      QStringLiteral("ADDR"), QStringLiteral("127.0.0.1"));
    const QCommandLineOption baseOpt(QStringLiteral("base"), QStringLiteral("First device address (127.0.0.2)."),
                                     QStringLiteral("ADDR"), QStringLiteral("127.0.0.2"));
    const QCommandLineOption printOpt(QStringLiteral("print-scenario"),
                                      QStringLiteral("Print the scenario (default or chosen) and exit."));
    const QCommandLineOption seedOpt(QStringLiteral("seed"), QStringLiteral("Seed of the random choices."),
                                     QStringLiteral("N"));
    const QCommandLineOption lossOpt(QStringLiteral("loss"), QStringLiteral("Drop PCT % of replies."),
                                     QStringLiteral("PCT"));
    const QCommandLineOption delayOpt(QStringLiteral("delay"), QStringLiteral("Delay every reply by MS."),
                                      QStringLiteral("MS"));
    const QCommandLineOption malformedOpt(QStringLiteral("malformed"),
                                          QStringLiteral("Cut PCT % of replies short, and send garbage on the "
                                                         "announcement group now and then."),
                                          QStringLiteral("PCT"));
    const QCommandLineOption oversizeOpt(
        QStringLiteral("oversize"), QStringLiteral("Pad PCT % of replies beyond 1500 bytes."), QStringLiteral("PCT"));
    const QCommandLineOption refuseOpt(QStringLiteral("refuse"),
                                       QStringLiteral("Refuse an operation on every device (repeatable)."),
                                       QStringLiteral("OPS=REASON"));
    const QCommandLineOption hotOpt(QStringLiteral("hot"),
                                    QStringLiteral("Run a device hot: 80.5-85 °C, or above 86 °C with =error."),
                                    QStringLiteral("DEVICE[=error]"));
    const QCommandLineOption silentOpt(QStringLiteral("silent"),
                                       QStringLiteral("A device that announces but answers nothing."),
                                       QStringLiteral("DEVICE"));
    const QCommandLineOption goneOpt(QStringLiteral("gone"),
                                     QStringLiteral("A device that falls silent after S seconds, for good or, given "
                                                    "BACK, for BACK seconds before it powers on again."),
                                     QStringLiteral("DEVICE=S[:BACK]"));
    const QCommandLineOption blinkOpt(QStringLiteral("blink"),
                                      QStringLiteral("Press a device's identify key every S seconds."),
                                      QStringLiteral("DEVICE=S"));
    const QCommandLineOption dspSplitOpt(QStringLiteral("dsp-split"),
                                         QStringLiteral("Write every DSP link reply in N pieces, 20 ms apart."),
                                         QStringLiteral("N"));
    const QCommandLineOption dspDelayOpt(QStringLiteral("dsp-delay"),
                                         QStringLiteral("Hold every DSP link reply back by MS more."),
                                         QStringLiteral("MS"));
    const QCommandLineOption dspDropOpt(QStringLiteral("dsp-drop"),
                                        QStringLiteral("Close the DSP link instead of answering PCT % of requests."),
                                        QStringLiteral("PCT"));
    const QCommandLineOption dspDropAcceptOpt(QStringLiteral("dsp-drop-on-accept"),
                                              QStringLiteral("Close every DSP link as soon as it is accepted."));
    const QCommandLineOption settleOpt(QStringLiteral("settle-ms"),
                                       QStringLiteral("Time from a new clock leader to lock (3000)."),
                                       QStringLiteral("MS"));
    const QCommandLineOption deadInputOpt(
        QStringLiteral("dead-input"),
        QStringLiteral("A DSP input (from 1) that reads silence whatever its generator does (repeatable)."),
        QStringLiteral("DEVICE:CH"));
    const QCommandLineOption programOpt(
        QStringLiteral("program"),
        QStringLiteral("Store the program of a \"*.dt\" file on a DSP device at start, under NAME, in the first "
                       "empty slot, whatever its version (repeatable)."),
        QStringLiteral("DEVICE:NAME:FILE"));
    const QCommandLineOption verboseOpt(QStringLiteral("verbose"), QStringLiteral("A line per request too."));
    const QCommandLineOption quietOpt(QStringLiteral("quiet"), QStringLiteral("No log lines."));
    p.addOptions({scenarioOpt,  devicesOpt,  ifaceOpt,         baseOpt,   printOpt,   seedOpt, lossOpt,  delayOpt,
                  malformedOpt, oversizeOpt, refuseOpt,        hotOpt,    silentOpt,  goneOpt, blinkOpt, dspSplitOpt,
                  dspDelayOpt,  dspDropOpt,  dspDropAcceptOpt, settleOpt, verboseOpt, quietOpt, deadInputOpt,
                  programOpt});
    p.process(app);

    SimScenario scenario = SimScenario::defaultScenario();
    QString error;
    if (p.isSet(scenarioOpt) && p.isSet(devicesOpt))
        return fail(QStringLiteral("--scenario and --devices exclude each other"));
    if (p.isSet(scenarioOpt) && !SimScenario::fromFile(p.value(scenarioOpt), &scenario, &error))
        return fail(error);
    if (p.isSet(devicesOpt)) {
        bool ok = false;
        const int n = p.value(devicesOpt).toInt(&ok);
        if (!ok || n < 1 || n > 4096)
            return fail(QStringLiteral("--devices takes 1 to 4096"));
        scenario = SimScenario::generated(n);
    }

    // Flags for every device override what the scenario says.
    auto percent = [&](const QCommandLineOption &o, int SimFaults::*member) -> bool {
        if (!p.isSet(o))
            return true;
        bool ok = false;
        const int v = p.value(o).toInt(&ok);
        if (!ok || v < 0 || v > 100)
            return false;
        for (SimDeviceProfile &d : scenario.devices)
            d.faults.*member = v;
        return true;
    };
    if (!percent(lossOpt, &SimFaults::lossPercent) || !percent(malformedOpt, &SimFaults::malformedPercent) ||
        !percent(oversizeOpt, &SimFaults::oversizePercent) || !percent(dspDropOpt, &SimFaults::dspDropPercent))
        return fail(QStringLiteral("percentages run from 0 to 100"));
    if (p.isSet(delayOpt)) {
        bool ok = false;
        const int v = p.value(delayOpt).toInt(&ok);
        if (!ok || v < 0)
            return fail(QStringLiteral("--delay takes milliseconds"));
        for (SimDeviceProfile &d : scenario.devices)
            d.faults.delayMs = v;
    }
    if (p.isSet(dspSplitOpt)) {
        bool ok = false;
        const int v = p.value(dspSplitOpt).toInt(&ok);
        if (!ok || v < 2 || v > 1000)
            return fail(QStringLiteral("--dsp-split takes 2 to 1000 pieces"));
        for (SimDeviceProfile &d : scenario.devices)
            d.faults.dspSplit = v;
    }
    if (p.isSet(dspDelayOpt)) {
        bool ok = false;
        const int v = p.value(dspDelayOpt).toInt(&ok);
        if (!ok || v < 0)
            return fail(QStringLiteral("--dsp-delay takes milliseconds"));
        for (SimDeviceProfile &d : scenario.devices)
            d.faults.dspDelayMs = v;
    }
    if (p.isSet(dspDropAcceptOpt))
        for (SimDeviceProfile &d : scenario.devices)
            d.faults.dspDropOnAccept = true;
    for (const QString &r : p.values(refuseOpt)) {
        const int eq = r.indexOf(QLatin1Char('='));
        if (eq <= 0)
            return fail(QStringLiteral("--refuse takes OPS=REASON"));
        for (SimDeviceProfile &d : scenario.devices)
            d.faults.refuse.insert(r.left(eq), r.mid(eq + 1));
    }
    int index = -1;
    QString value;
    for (const QString &h : p.values(hotOpt)) {
        if (!splitTarget(scenario, h, &index, &value))
            return fail(QStringLiteral("--hot: no device ") + h);
        if (!value.isEmpty() && value != QLatin1String("error") && value != QLatin1String("warn"))
            return fail(QStringLiteral("--hot takes DEVICE, DEVICE=warn or DEVICE=error"));
        scenario.devices[index].faults.hot = value.isEmpty() ? QStringLiteral("warn") : value;
    }
    for (const QString &s : p.values(silentOpt)) {
        if (!splitTarget(scenario, s, &index, &value))
            return fail(QStringLiteral("--silent: no device ") + s);
        scenario.devices[index].faults.silent = true;
    }
    for (const QString &g : p.values(goneOpt)) {
        bool ok = false, backOk = true;
        const bool found = splitTarget(scenario, g, &index, &value);
        const QStringList parts = value.split(QLatin1Char(':'));
        const int after = parts.at(0).toInt(&ok);
        const int back = parts.size() == 2 ? parts.at(1).toInt(&backOk) : -1;
        if (!found || !ok || !backOk || after < 0 || parts.size() > 2 || (parts.size() == 2 && back < 1))
            return fail(QStringLiteral("--gone takes DEVICE=SECONDS or DEVICE=SECONDS:BACK_AFTER_SECONDS"));
        scenario.devices[index].faults.goneAfterS = after;
        scenario.devices[index].faults.backAfterS = back;
    }

    for (const QString &b : p.values(blinkOpt)) {
        bool ok = false;
        if (!splitTarget(scenario, b, &index, &value) || value.toInt(&ok) < 1 || !ok)
            return fail(QStringLiteral("--blink takes DEVICE=SECONDS"));
        scenario.devices[index].blinkEveryS = value.toInt();
    }
    for (const QString &d : p.values(deadInputOpt)) {
        const int colon = d.lastIndexOf(QLatin1Char(':'));
        bool ok = false;
        const int channel = d.mid(colon + 1).toInt(&ok);
        index = colon > 0 ? scenario.indexOf(d.left(colon)) : -1;
        if (index < 0 || !ok || channel < 1)
            return fail(QStringLiteral("--dead-input takes DEVICE:CHANNEL, the channel from 1"));
        scenario.devices[index].deadInputs.append(channel - 1);
    }

    for (const QString &spec : p.values(programOpt)) {
        SimDeviceProfile::Program program;
        if (!readProgram(scenario, spec, &index, &program, &error))
            return fail(QStringLiteral("--program ") + spec + QStringLiteral(": ") + error);
        scenario.devices[index].programs.append(program);
    }

    if (p.isSet(printOpt)) {
        std::fwrite(scenario.toJson().constData(), 1, size_t(scenario.toJson().size()), stdout);
        return 0;
    }

    SimConfig config;
    config.interfaceAddress = QHostAddress(p.value(ifaceOpt));
    config.baseAddress = QHostAddress(p.value(baseOpt));
    if (config.interfaceAddress.protocol() != QAbstractSocket::IPv4Protocol ||
        config.baseAddress.protocol() != QAbstractSocket::IPv4Protocol)
        return fail(QStringLiteral("--interface and --base take IPv4 addresses"));
    config.seed = p.value(seedOpt).toUInt();
    config.verbose = p.isSet(verboseOpt);
    config.quiet = p.isSet(quietOpt);
    if (p.isSet(settleOpt))
        config.settleMs = qMax(0, p.value(settleOpt).toInt());

#ifdef Q_OS_UNIX
    raiseFileLimit();
    quitOnSignals(&app);
#endif

    SimNetwork network(config);
    if (!network.start(scenario, &error))
        return fail(error);
    const int rc = app.exec();
    network.stop();
    network.log(QStringLiteral("stopped"));
    return rc;
}
