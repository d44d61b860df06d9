#pragma once

#include <QElapsedTimer>
#include <QHash>
#include <QJsonObject>
#include <QObject>
#include <QPair>
#include <QVector>
#include <QStringList>

class CliDspSession;
class DspController;
class DeviceLink;
class QTextStream;
struct CliDspArgs;
struct CommandTargets;
struct RouteBatch;

/// corvane-cli: the program's core without widgets, for scripts and tests.
class CliApp : public QObject
{
    Q_OBJECT
public:
    struct Options
    {
        QString interfaceAddress;
        int waitMs = 4000;
        bool waitGiven = false;
        bool json = false;
        bool verbose = false;
        int ageingScale = 1;
        bool yes = false;
        /// dsp add-block and paste-channel: past the budget check, as the window's "ForceAdd".
        bool force = false;
        /// dsp response: the whole channel's curve rather than the equaliser editor's; the points as CSV.
        bool whole = false;
        bool csv = false;
        /// Values of the route and flow commands' options ("name", "channels", ...).
        QHash<QString, QString> values;
        QString command;
        QStringList args;
    };

    static QString usage();
    /// False with a one-line error when the arguments make no sense.
    static bool parse(const QStringList &arguments, Options *out, QString *error);

    explicit CliApp(const Options &options, QObject *parent = nullptr);
    ~CliApp() override;

    /// Runs the command to its end; the process exit code.
    int run();

private:
    int fail(int code, const QString &message);
    bool waitUntil(const std::function<bool()> &done, int timeoutMs);
    /// Waits, within --wait, until the device tables have settled and every
    /// device and flow the command names is known.
    bool waitForSettledTables(const CommandTargets &targets);
    QString resolveDevice(const QString &idOrName) const;

    int cmdDevices();
    int cmdFlows();
    int cmdRoutes();
    int cmdWatch();
    void connectWatchPrinters();
    /// The event stream the main window's panel shows (clievents.cpp).
    void connectEventPrinters();
    int cmdSend();
    // The clock and monitoring pages' figures (climonitor.cpp).
    int cmdClock();
    int cmdStats();
    int cmdLevels();
    int cmdRoute();
    // Many routes at once: route bulk and the network snapshots (clibulk.cpp).
    int cmdBulkRoute();
    int cmdSnapshot();
    /// Lists the batch, sends it with --yes, waits until the registry shows every route; 0 when all went.
    int runBatch(const RouteBatch &batch);
    int cmdFlow();
    int cmdFlowAddSdp();
    // The DSP configuration through the DSP controller over the device's TCP link (clidsp.cpp).
    int cmdDsp();
    int dspBudget(CliDspSession &session);
    int dspSetBlock(CliDspSession &session, const CliDspArgs &a);
    /// add-block, remove-block, paste-channel: the document changes, then it is saved.
    int dspChangeChain(CliDspSession &session, const CliDspArgs &a);
    int dspChannel(CliDspSession &session, const CliDspArgs &a);
    int dspMatrix(CliDspSession &session, const CliDspArgs &a);
    /// Waits for every answer; 0, or the exit code after saying what failed.
    int dspAnswers(CliDspSession &session);
    int dspPrint(const QJsonObject &json, const QString &text);
    // Response curves and FIR design (cliresponse.cpp).
    /// dsp response CHAIN and dsp fir-design: the JSON given is all there is; no network is opened.
    int cmdDspOffline(const CliDspArgs &a);
    int dspResponse(CliDspSession &session, const CliDspArgs &a);
    /// 0 when the side has the channel; else the exit code after saying so.
    int dspCheckChannel(const DspController &c, const CliDspArgs &a);
    // Parametric filter lists in and out of a channel's equaliser (clidspeq.cpp).
    int dspEqText(CliDspSession &session, const CliDspArgs &a);
    /// A dynamics block's live state, asked until it comes (clidspstatus.cpp).
    int dspStatus(CliDspSession &session, const CliDspArgs &a);
    /// The device's programs through the program page's own sequencing (clidspprograms.cpp).
    int dspProgram(CliDspSession &session, const CliDspArgs &a);
    /// Stored configurations and the factory reset, one blocking exchange each (clidspstored.cpp).
    int dspStored(const CliDspArgs &a, const QString &address, const QString &devId);
    // Two configurations side by side (clidspdiff.cpp): 0 identical, 1 different, 2 trouble.
    int cmdDspDiff(const CliDspArgs &a);
    /// A diff source's document; sessions keeps one DSP session per device, its children named by device id.
    bool dspDiffSource(const QString &source, QObject *sessions, QJsonObject *config, QString *why);
    int printCurve(const QVector<QPair<double, double>> &points);

    /// Sends one request to a device through the request router and waits for
    /// its reply; empty when none came.
    QString exchange(QJsonObject request, const QString &devId);
    /// Prints what was sent and what the device said; 0 on success.
    int report(const QJsonObject &sent, const QString &reply);
    /// The steps of a plan: a notice refuses, a confirm needs --yes. True to go on.
    bool passSteps(const struct CommandPlan &plan);

    Options m_options;
    DeviceLink *m_link;
    QTextStream *m_out;
    QElapsedTimer m_sinceChange;
};
