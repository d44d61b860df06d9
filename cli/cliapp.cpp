#include "cliapp.h"

#include "clidspargs.h"
#include "clioutput.h"
#include "core/devices/deviceorder.h"
#include "core/app/netscan.h"
#include "core/devices/commandtargets.h"
#include "core/protocol/devicelink.h"
#include "core/protocol/requestrouter.h"
#include "core/routing/routelist.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QEventLoop>
#include <QJsonArray>
#include <QJsonDocument>
#include <QTextStream>
#include <QTimer>
#include <cstdio>

namespace {
constexpr int kReplyMs = 3000;
} // namespace

QString CliApp::usage()
{
    return QStringLiteral(
        "usage: corvane-cli [--interface ADDR] [--wait SECONDS] [--json] [--verbose] COMMAND\n"
        "commands:\n"
        "  devices              the devices found, with their tables' state\n"
        "  flows                the multicast flows announced by SAP\n"
        "  routes               every routed receive channel (channels from 1)\n"
        "  watch                registry notices and device events as they happen\n"
        "  events               what an operator must know, a timed line each: devices found, lost, back; clock\n"
        "                       leaders and locks; temperatures; refusals (--wait as for watch)\n"
        "  send DEVID JSON      one request through the request router; prints the reply\n"
        "  clock                every device's PTP role, state, frequency adjustment and priority (waits up to 7 s)\n"
        "  stats                every device's timing, bandwidth, temperature, running time, problem (up to 6 s)\n"
        "  levels               every device's levels in four groups (at most 32 per group, '-' below -70)\n"
        "  route add SRC DST    SRC is DEVICE:CH or flow:NAME:CH, DST is DEVICE:CH (channels from 1)\n"
        "  route remove DST     clears the route of a receive channel\n"
        "  route bulk SRC_DEVID DST_DEVID [--from N] [--count N]\n"
        "                       SRC channel k to DST channel k for each k (default: all both have);\n"
        "                       lists the changes, sends them with --yes, waits until the registry shows them\n"
        "  snapshot save FILE   every route and multicast subscription of the network, as JSON\n"
        "  snapshot diff FILE   what differs now from the snapshot, per device (exit 1 when anything does)\n"
        "  snapshot recall FILE puts the snapshot's routes back (only the differences; --yes to send)\n"
        "  flow create DEVICE --name NAME --channels 1,2,... [--address A.B.C.D --port P] [--offset MS]\n"
        "  flow delete DEVICE NAME\n"
        "  flow add-sdp FILE [--subscribe DEVICE:CH [--flow-channel N]]\n"
        "                       checks the flow described by an SDP file as the flows page does and, with\n"
        "                       --subscribe, subscribes DEVICE's receive channel CH to its channel N (default 1);\n"
        "                       the flow is known to this run only, the subscription stays on the device\n"
        "%1"
        "options:\n"
        "  --interface ADDR     a local IPv4 address (loopback allowed); default: the only usable one\n"
        "  --wait SECONDS       how long to listen before answering (default 4; watch: until interrupted)\n"
        "  --json               JSON instead of text\n"
        "  --yes                answer yes to the questions the program would ask\n"
        "  --force              dsp add-block, paste-channel: add even past the processor budget\n"
        "  --whole              dsp response: the whole channel's curve\n"
        "  --csv                dsp response: the points as freq_hz,db lines\n"
        "  --verbose            diagnostics on standard error\n"
        "  --age-scale N        age devices and flows N times faster (for tests)\n")
        .arg(CliDspArgs::usage());
}

bool CliApp::parse(const QStringList &arguments, Options *out, QString *error)
{
    Options o;
    for (int i = 1; i < arguments.size(); ++i) {
        const QString &a = arguments.at(i);
        if (a == QLatin1String("--age-scale")) {
            bool ok = false;
            o.ageingScale = i + 1 < arguments.size() ? arguments.at(++i).toInt(&ok) : 0;
            if (!ok || o.ageingScale < 1 || o.ageingScale > 10000) {
                *error = QStringLiteral("--age-scale takes a whole number from 1 to 10000");
                return false;
            }
        } else if (a == QLatin1String("--interface") || a == QLatin1String("--wait")) {
            if (i + 1 >= arguments.size()) {
                *error = a + QStringLiteral(" needs a value");
                return false;
            }
            const QString v = arguments.at(++i);
            if (a == QLatin1String("--interface")) {
                o.interfaceAddress = v;
            } else {
                bool ok = false;
                const double seconds = v.toDouble(&ok);
                if (!ok || seconds < 0 || seconds > 86400) {
                    *error = QStringLiteral("--wait takes a number of seconds, not \"%1\"").arg(v);
                    return false;
                }
                o.waitMs = int(seconds * 1000);
                o.waitGiven = true;
            }
        } else if (a == QLatin1String("--yes")) {
            o.yes = true;
        } else if (a == QLatin1String("--force")) {
            o.force = true;
        } else if (a == QLatin1String("--whole")) {
            o.whole = true;
        } else if (a == QLatin1String("--csv")) {
            o.csv = true;
        } else if (QStringList{QStringLiteral("--name"), QStringLiteral("--channels"), QStringLiteral("--address"),
                               QStringLiteral("--port"), QStringLiteral("--offset"),
                               QStringLiteral("--from"), QStringLiteral("--count"), QStringLiteral("--subscribe"),
                               QStringLiteral("--flow-channel")}
                       .contains(a)) {
            if (i + 1 >= arguments.size()) {
                *error = a + QStringLiteral(" needs a value");
                return false;
            }
            o.values.insert(a.mid(2), arguments.at(++i));
        } else if (a == QLatin1String("--json")) {
            o.json = true;
        } else if (a == QLatin1String("--verbose")) {
            o.verbose = true;
        } else if (a == QLatin1String("--help") || a == QLatin1String("-h")) {
            o.command = QStringLiteral("help");
        } else if (a.startsWith(QLatin1String("--"))) {
            *error = QStringLiteral("unknown option %1").arg(a);
            return false;
        } else if (o.command.isEmpty()) {
            o.command = a;
        } else {
            o.args.append(a);
        }
    }
    static const QStringList commands{QStringLiteral("devices"), QStringLiteral("flows"), QStringLiteral("routes"),
                                      QStringLiteral("watch"), QStringLiteral("events"), QStringLiteral("send"), QStringLiteral("help"),
                                      QStringLiteral("route"), QStringLiteral("flow"), QStringLiteral("clock"),
                                      QStringLiteral("stats"), QStringLiteral("levels"), QStringLiteral("dsp"),
                                      QStringLiteral("snapshot")};
    if (o.command.isEmpty()) {
        *error = QStringLiteral("no command given");
        return false;
    }
    if (!commands.contains(o.command)) {
        *error = QStringLiteral("unknown command %1").arg(o.command);
        return false;
    }
    if (o.command == QLatin1String("send") && o.args.size() != 2) {
        *error = QStringLiteral("send takes DEVID and JSON");
        return false;
    }
    const QString sub = o.args.value(0);
    if (o.command == QLatin1String("route")
        && !((sub == QLatin1String("add") && o.args.size() == 3) || (sub == QLatin1String("remove") && o.args.size() == 2)
             || (sub == QLatin1String("bulk") && o.args.size() == 3))) {
        *error = QStringLiteral("route takes add SRC DST, remove DST or bulk SRC_DEVID DST_DEVID");
        return false;
    }
    for (const char *key : {"from", "count"}) {
        bool ok = true;
        const QString v = o.values.value(QLatin1String(key));
        if (!v.isNull() && (sub != QLatin1String("bulk") || v.toInt(&ok) < 1 || !ok)) {
            *error = QStringLiteral("--%1 goes only with route bulk, as a channel count from 1").arg(QLatin1String(key));
            return false;
        }
    }
    if (o.command == QLatin1String("snapshot")
        && !(QStringList{QStringLiteral("save"), QStringLiteral("diff"), QStringLiteral("recall")}.contains(sub)
             && o.args.size() == 2)) {
        *error = QStringLiteral("snapshot takes save FILE, diff FILE or recall FILE");
        return false;
    }
    if (o.command == QLatin1String("flow")
        && !((sub == QLatin1String("create") && o.args.size() == 2) || (sub == QLatin1String("delete") && o.args.size() == 3)
             || (sub == QLatin1String("add-sdp") && o.args.size() == 2))) {
        *error = QStringLiteral("flow takes create DEVICE --name NAME --channels 1,2,..., delete DEVICE NAME or add-sdp FILE");
        return false;
    }
    if (o.command == QLatin1String("dsp")) {
        const std::optional<CliDspArgs> dsp = CliDspArgs::parse(o.args, error);
        if (!dsp)
            return false;
        if (o.force && !dsp->takesForce()) {
            *error = QStringLiteral("--force goes only with dsp add-block and dsp paste-channel");
            return false;
        }
        if ((o.whole || o.csv) && !dsp->takesCurveFormat()) {
            *error = QStringLiteral("--whole and --csv go only with dsp response");
            return false;
        }
        if (o.csv && o.json) {
            *error = QStringLiteral("--csv and --json: choose one");
            return false;
        }
    } else if (o.force) {
        *error = QStringLiteral("--force goes only with dsp add-block and dsp paste-channel");
        return false;
    } else if (o.whole || o.csv) {
        *error = QStringLiteral("--whole and --csv go only with dsp response");
        return false;
    }
    *out = o;
    return true;
}

CliApp::CliApp(const Options &options, QObject *parent)
    : QObject(parent)
    , m_options(options)
    , m_link(new DeviceLink(this))
    , m_out(new QTextStream(stdout))
{
    m_out->setCodec("UTF-8");
    m_sinceChange.start();
    // The tables settle when the devices and their pages stop changing; flows come and go on their own.
    auto changed = [this] { m_sinceChange.restart(); };
    connect(m_link, &DeviceLink::signal_send_addDev, this, changed);
    connect(m_link, &DeviceLink::signal_send_updateDev, this, changed);
    connect(m_link, &DeviceLink::signal_send_delDev, this, changed);
    connect(m_link, &DeviceLink::signal_refresh_route, this, changed);
}

CliApp::~CliApp()
{
    m_link->stop();
    delete m_out;
}

int CliApp::fail(int code, const QString &message)
{
    QTextStream err(stderr);
    err << "corvane-cli: " << message << '\n';
    return code;
}

bool CliApp::waitUntil(const std::function<bool()> &done, int timeoutMs)
{
    QElapsedTimer clock;
    clock.start();
    QEventLoop loop;
    QTimer poll;
    poll.setInterval(50);
    connect(&poll, &QTimer::timeout, &loop, [&] {
        if (done() || clock.elapsed() >= timeoutMs)
            loop.quit();
    });
    poll.start();
    if (!done())
        loop.exec();
    return done();
}

bool CliApp::waitForSettledTables(const CommandTargets &targets)
{
    return waitUntil(
        [&] {
            const DevManager &registry = m_link->registry();
            return targets.ready(registry.devices(), registry.flows(), m_sinceChange.elapsed());
        },
        m_options.waitMs);
}

QString CliApp::resolveDevice(const QString &idOrName) const
{
    return CommandTargets::resolveDevice(m_link->registry().devices(), idOrName);
}

int CliApp::run()
{
    if (m_options.command == QLatin1String("help")) {
        *m_out << usage();
        return 0;
    }
    if (m_options.command == QLatin1String("dsp")) {
        QString error;
        const std::optional<CliDspArgs> dsp = CliDspArgs::parse(m_options.args, &error);
        if (dsp && dsp->offline())
            return dsp->command == CliDspArgs::Command::Diff ? cmdDspDiff(*dsp) : cmdDspOffline(*dsp);
    }
    QString address = m_options.interfaceAddress;
    if (address.isEmpty()) {
        const QStringList candidates = NetScan::candidates();
        if (candidates.size() != 1)
            return fail(2, candidates.isEmpty()
                               ? QStringLiteral("no usable network interface; give --interface ADDR")
                               : QStringLiteral("several network interfaces (%1); give --interface ADDR")
                                     .arg(candidates.join(QStringLiteral(", "))));
        address = candidates.first();
    }
    if (!NetScan::isLocalAddress(address))
        return fail(2, QStringLiteral("no interface has the address %1").arg(address));

    QJsonObject request;
    if (m_options.command == QLatin1String("send")) {
        QJsonParseError error;
        const QJsonDocument doc = QJsonDocument::fromJson(m_options.args.at(1).toUtf8(), &error);
        if (error.error != QJsonParseError::NoError || !doc.isObject())
            return fail(2, QStringLiteral("malformed JSON argument: %1")
                               .arg(error.error != QJsonParseError::NoError ? error.errorString()
                                                                            : QStringLiteral("not an object")));
    }

    m_link->thread().setAgeingScale(m_options.ageingScale);
    // Printers first: the first notices come as soon as the thread runs.
    if (m_options.command == QLatin1String("watch"))
        connectWatchPrinters();
    if (m_options.command == QLatin1String("events"))
        connectEventPrinters();
    m_link->startOn(address);
    if (!waitUntil([this] { return m_link->thread().currentAddress() != 0 || m_link->thread().isFinished(); }, 2000)
        || m_link->thread().currentAddress() == 0)
        return fail(2, QStringLiteral("cannot listen on %1").arg(address));

    if (m_options.command == QLatin1String("devices"))
        return cmdDevices();
    if (m_options.command == QLatin1String("flows"))
        return cmdFlows();
    if (m_options.command == QLatin1String("routes"))
        return cmdRoutes();
    if (m_options.command == QLatin1String("watch") || m_options.command == QLatin1String("events"))
        return cmdWatch();
    if (m_options.command == QLatin1String("clock"))
        return cmdClock();
    if (m_options.command == QLatin1String("stats"))
        return cmdStats();
    if (m_options.command == QLatin1String("levels"))
        return cmdLevels();
    if (m_options.command == QLatin1String("route"))
        return m_options.args.at(0) == QLatin1String("bulk") ? cmdBulkRoute() : cmdRoute();
    if (m_options.command == QLatin1String("snapshot"))
        return cmdSnapshot();
    if (m_options.command == QLatin1String("flow"))
        return cmdFlow();
    if (m_options.command == QLatin1String("dsp"))
        return cmdDsp();
    return cmdSend();
}

int CliApp::cmdDevices()
{
    waitForSettledTables({});
    const QVector<Device> devices = DeviceOrder::sorted(m_link->registry().devices());
    if (m_options.json) {
        QJsonArray arr;
        for (const Device &d : devices)
            arr.append(CliOutput::deviceJson(d));
        *m_out << QJsonDocument(arr).toJson(QJsonDocument::Indented);
    } else {
        for (const QString &line : CliOutput::deviceLines(devices))
            *m_out << line << '\n';
    }
    return 0;
}

int CliApp::cmdFlows()
{
    waitUntil([] { return false; }, m_options.waitMs);
    const QVector<FlowRecord> flows = m_link->registry().flows();
    if (m_options.json) {
        QJsonArray arr;
        for (const FlowRecord &f : flows)
            arr.append(CliOutput::flowJson(f));
        *m_out << QJsonDocument(arr).toJson(QJsonDocument::Indented);
    } else {
        for (const QString &line : CliOutput::flowLines(flows))
            *m_out << line << '\n';
    }
    return 0;
}

int CliApp::cmdRoutes()
{
    waitForSettledTables({});
    // In the order every list shows, never the order the announcements happened to come in.
    const QVector<RouteEntry> routes = routesOf(DeviceOrder::sorted(m_link->registry().devices()));
    if (m_options.json) {
        QJsonArray arr;
        for (const RouteEntry &r : routes)
            arr.append(CliOutput::routeJson(r));
        *m_out << QJsonDocument(arr).toJson(QJsonDocument::Indented);
    } else {
        for (const QString &line : CliOutput::routeLines(routes))
            *m_out << line << '\n';
    }
    return 0;
}

void CliApp::connectWatchPrinters()
{
    auto print = [this](const QString &kind, const QString &json) {
        if (m_options.json)
            *m_out << json << '\n';
        else
            *m_out << QDateTime::currentDateTime().toString(QStringLiteral("hh:mm:ss.zzz")) << ' ' << kind << ' '
                   << json << '\n';
        m_out->flush();
    };
    connect(m_link, &DeviceLink::signal_notification, this, [print](const QString &json) { print(QStringLiteral("notice"), json); });
    connect(m_link, &DeviceLink::signal_recv_message, this, [print](const QString &json) { print(QStringLiteral("event"), json); });
    connect(m_link, &DeviceLink::signal_blinkingDev, this, [print](const QString &devId) {
        print(QStringLiteral("blink"), QStringLiteral("{\"ops\":\"devReqGuiBlink\",\"devId\":\"%1\"}").arg(devId));
    });
    connect(m_link, &DeviceLink::signal_unBlinkingDev, this, [print](const QString &devId) {
        print(QStringLiteral("unblink"), QStringLiteral("{\"ops\":\"unBlink\",\"devId\":\"%1\"}").arg(devId));
    });
}

int CliApp::cmdWatch()
{
    if (m_options.waitGiven)
        waitUntil([] { return false; }, m_options.waitMs);
    else
        QEventLoop().exec();
    return 0;
}

int CliApp::cmdSend()
{
    const QString wanted = m_options.args.at(0);
    QString devId;
    waitUntil([&] { return !(devId = resolveDevice(wanted)).isEmpty(); }, m_options.waitMs);
    if (devId.isEmpty())
        return fail(3, QStringLiteral("no such device: %1").arg(wanted));
    const QString reply = exchange(QJsonDocument::fromJson(m_options.args.at(1).toUtf8()).object(), devId);
    if (reply.isEmpty())
        return fail(4, QStringLiteral("no reply from %1 within %2 s").arg(devId).arg(kReplyMs / 1000));
    *m_out << reply << '\n';
    return 0;
}

QString CliApp::exchange(QJsonObject request, const QString &devId)
{
    request.insert(QStringLiteral("devId"), devId);
    // A reply whose cookie is "0" comes back unchanged to whoever asked.
    if (!request.contains(QLatin1String("cookie")))
        request.insert(QStringLiteral("cookie"), QStringLiteral("0"));
    const QString op = request.value(QLatin1String("ops")).toString();
    const QString deviceOp = RequestRouter::deviceOperation(op, RequestRouter::isTransmitSide(request));

    QString reply;
    // Woken by the reply itself, not a poll: a batch of routes sends one request after another.
    QEventLoop loop;
    const auto connection = connect(m_link, &DeviceLink::signal_recv_message, this, [&](const QString &json) {
        const QJsonObject r = QJsonDocument::fromJson(json.toUtf8()).object();
        const QString rop = r.value(QLatin1String("ops")).toString();
        if (reply.isEmpty() && r.value(QLatin1String("devId")).toString() == devId
            && (rop == op || (!deviceOp.isEmpty() && rop == deviceOp))) {
            reply = json;
            loop.quit();
        }
    });
    const QString text = QString::fromUtf8(QJsonDocument(request).toJson(QJsonDocument::Compact));
    if (m_link->send(text) >= 0) {
        if (m_options.verbose)
            QTextStream(stderr) << "sent: " << text << '\n';
        QTimer::singleShot(kReplyMs, &loop, &QEventLoop::quit);
        if (reply.isEmpty())
            loop.exec();
    }
    disconnect(connection);
    return reply;
}
