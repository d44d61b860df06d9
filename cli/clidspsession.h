#pragma once

#include "core/dsp/dspcontroller.h"
#include "core/dsp/dsplink.h"
#include "core/dsp/dsplinksink.h"
#include "core/dsp/dspsink.h"

#include <QObject>
#include <QStringList>

#include <functional>
#include <optional>

class DeviceLink;
class QEventLoop;

/// What one dsp command of corvane-cli opens on a device: the DSP link, the controller over it (the same one the
/// DSP window uses) and the waits on the controller's signals that a command line needs where a window would
/// just redraw. Requests over the link are handed to an optional echo before they go, so the client can show
/// what it sent; datagrams go through the client's device link, and its replies come back to the controller.
///
/// Thread affinity: the client's main thread.
class CliDspSession : public QObject, public DspSink
{
    Q_OBJECT
public:
    CliDspSession(DeviceLink *devices, const QString &devId, const QString &model, QObject *parent = nullptr);
    ~CliDspSession() override;

    DspController &controller() { return m_controller; }
    const DspController &controller() const { return m_controller; }

    /// Opens the link to ip and loads the device's configuration; false with the reason in *why.
    bool open(uint32_t ip, int connectMs, QString *why);
    /// Waits until every request has its answer (or the controller gave up on it); false when the link was lost
    /// or timeoutMs passed first.
    bool waitIdle(int timeoutMs);
    /// Saves the document ("setConfig") and waits for the answer; false with the reason in *why.
    bool save(int timeoutMs, QString *why);
    /// The notices of failed requests since the last call, in the order they came.
    QStringList takeFailures();

    /// Called with every request handed to the link, and with every message the link brings.
    void setEcho(std::function<void(const QString &)> sent, std::function<void(const QString &)> received);

    void sendTcp(const QString &request) override;
    void sendUdp(const QString &request, quint16 port) override;

private:
    /// Turns the event loop until done() holds, waking on every signal of the link and the controller.
    bool waitUntil(const std::function<bool()> &done, int timeoutMs);
    void wake();
    void lost();

    DeviceLink *m_devices;
    QString m_devId;
    DspLink m_link;
    DspLinkSink m_linkSink;
    DspController m_controller;
    std::function<void(const QString &)> m_echoSent;
    std::function<void(const QString &)> m_echoReceived;

    QEventLoop *m_waiting = nullptr;
    bool m_connected = false;
    bool m_lost = false;
    bool m_loaded = false;
    QString m_refused;
    std::optional<bool> m_saved;
    QStringList m_failures;
};
