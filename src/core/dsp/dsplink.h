#pragma once

#include "core/protocol/deviceports.h"

#include <QObject>
#include <QPointer>
#include <QString>
#include <cstdint>

class DevDspTcpSocketThread;
class QThread;

/// Owns one DSP link: a worker QThread and the transport on it, wired the way
/// the DSP window wires them, for the window and for command-line tools alike.
/// Users talk to the device through this object's slots and signals only.
///
/// Thread affinity: lives on the thread that creates it (the window's or the
/// tool's); call it only there. Its signals repeat the transport's and arrive
/// queued on that thread, so receivers never run on the worker.
///
/// Ownership: the QThread is this object's; the transport owns itself (it is
/// deleted as its thread finishes), so transport() is null once stopped.
class DspLink : public QObject
{
    Q_OBJECT
public:
    explicit DspLink(QObject *parent = nullptr);
    /// Stops the link (see stop()).
    ~DspLink() override;

    /// Builds a worker thread and a transport aimed at ip:port, wires them and
    /// starts the thread; the transport then opens the connection. A link
    /// already running is stopped first.
    void start(uint32_t ip, uint32_t port = DevicePorts::kDsp);
    /// Quits the worker thread and waits for it. The transport's destructor
    /// closes the socket on the worker before this returns.
    void stop();
    bool isRunning() const;

    /// The transport while the link runs, for inspection; reach its slots only
    /// through this object's.
    DevDspTcpSocketThread *transport() const;

public slots:
    /// Queued to the transport's slot_sendMsg.
    void sendTcpRequest(const QString &msg);
    /// Queued to the transport's reconnection.
    void reconnect(uint32_t ip);

signals:
    void signal_sendTcpMsg(QString msg);
    void signal_reconnect(uint32_t ip);

    void signal_connected(QString msg, bool isSucc);
    void signal_disconnected();
    void signal_recvMsg(QString msg);
    void signal_stateChanged(int state);

private:
    QThread *m_thread = nullptr;
    QPointer<DevDspTcpSocketThread> m_transport;
};
