#include "clidspsession.h"

#include "core/dsp/dspcommands.h"
#include "core/protocol/devicelink.h"

#include <QElapsedTimer>
#include <QEventLoop>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTimer>

CliDspSession::CliDspSession(DeviceLink *devices, const QString &devId, const QString &model, QObject *parent)
    : QObject(parent)
    , m_devices(devices)
    , m_devId(devId)
    , m_linkSink(&m_link,
                 [this](const QString &request, quint16 port) {
                     // The router finds the device by the id the request names.
                     const bool named = QJsonDocument::fromJson(request.toUtf8()).object().contains(QLatin1String("devId"));
                     m_devices->sendToPort(named ? request : DspCommands::addressedTo(request, m_devId), port);
                 })
    , m_controller(this)
{
    m_controller.setDevice(devId, model);

    connect(&m_link, &DspLink::signal_connected, this, [this](const QString &, bool up) {
        m_connected = m_connected || up;
        wake();
    });
    connect(&m_link, &DspLink::signal_disconnected, this, &CliDspSession::lost);
    // A connection refused never was up, so it never reports a disconnection.
    connect(&m_link, &DspLink::signal_stateChanged, this, [this](int state) {
        if (state == 0)
            lost();
    });
    connect(&m_link, &DspLink::signal_recvMsg, this, [this](const QString &msg) {
        if (m_echoReceived)
            m_echoReceived(msg);
        m_controller.handleTcpReply(msg);
    });
    connect(m_devices, &DeviceLink::signal_recv_message, &m_controller, &DspController::handleUdpReply);

    connect(&m_controller, &DspController::signal_documentLoaded, this, [this] {
        m_loaded = true;
        wake();
    });
    connect(&m_controller, &DspController::signal_configRefused, this, [this](const QString &why) {
        m_refused = why;
        wake();
    });
    connect(&m_controller, &DspController::signal_saved, this, [this](bool ok) {
        m_saved = ok;
        wake();
    });
    connect(&m_controller, &DspController::signal_notice, this, [this](const QString &text, bool isSucc) {
        if (!isSucc)
            m_failures << text;
    });
    connect(&m_controller, &DspController::signal_idle, this, &CliDspSession::wake);
    connect(&m_controller, &DspController::signal_linkLost, this, &CliDspSession::wake);
}

CliDspSession::~CliDspSession()
{
    // The device link outlives this session; its replies must not reach a controller that is gone.
    disconnect(m_devices, nullptr, &m_controller, nullptr);
    m_link.stop();
}

void CliDspSession::setEcho(std::function<void(const QString &)> sent, std::function<void(const QString &)> received)
{
    m_echoSent = std::move(sent);
    m_echoReceived = std::move(received);
}

void CliDspSession::sendTcp(const QString &request)
{
    if (m_echoSent)
        m_echoSent(request);
    m_linkSink.sendTcp(request);
}

void CliDspSession::sendUdp(const QString &request, quint16 port)
{
    m_linkSink.sendUdp(request, port);
}

bool CliDspSession::open(uint32_t ip, int connectMs, QString *why)
{
    m_link.start(ip);
    if (!waitUntil([this] { return m_connected || m_lost; }, connectMs) || !m_connected) {
        *why = QStringLiteral("cannot connect");
        return false;
    }
    m_controller.requestConfig();
    // The controller gives up on the request by itself after its own limit; a little more is allowed here.
    const bool done = waitUntil([this] { return m_loaded || !m_refused.isEmpty() || m_lost || m_controller.isIdle(); },
                                DspController::kConfigTimeoutMs + 2000);
    if (m_loaded)
        return true;
    if (!m_refused.isEmpty())
        *why = QStringLiteral("it sent a configuration this program cannot use: ") + m_refused;
    else if (m_lost)
        *why = QStringLiteral("the DSP link was closed");
    else
        *why = done ? QStringLiteral("no configuration came") : QStringLiteral("no configuration came in time");
    return false;
}

bool CliDspSession::waitIdle(int timeoutMs)
{
    return waitUntil([this] { return m_controller.isIdle() || m_lost; }, timeoutMs) && !m_lost;
}

bool CliDspSession::save(int timeoutMs, QString *why)
{
    m_saved.reset();
    m_controller.save();
    if (!waitUntil([this] { return m_saved.has_value() || m_lost; }, timeoutMs)) {
        *why = QStringLiteral("no answer to the save in time");
        return false;
    }
    if (m_saved.value_or(false))
        return true;
    const QStringList failures = takeFailures();
    *why = m_lost ? QStringLiteral("the DSP link was closed")
                  : failures.isEmpty() ? QStringLiteral("the device did not save the configuration")
                                       : failures.join(QStringLiteral("; "));
    return false;
}

QStringList CliDspSession::takeFailures()
{
    QStringList out;
    out.swap(m_failures);
    return out;
}

bool CliDspSession::waitUntil(const std::function<bool()> &done, int timeoutMs)
{
    QElapsedTimer clock;
    clock.start();
    while (!done()) {
        const qint64 left = timeoutMs - clock.elapsed();
        if (left <= 0)
            return false;
        QEventLoop loop;
        m_waiting = &loop;
        QTimer::singleShot(int(left), &loop, &QEventLoop::quit);
        loop.exec();
        m_waiting = nullptr;
    }
    return true;
}

void CliDspSession::wake()
{
    if (m_waiting)
        m_waiting->quit();
}

void CliDspSession::lost()
{
    if (!m_lost) {
        m_lost = true;
        m_controller.linkLost();
    }
    wake();
}
