#pragma once

#include "core/dsp/dspframeassembler.h"

#include <QAbstractSocket>
#include <QObject>
#include <QRecursiveMutex>
#include <QString>
#include <cstdint>

class QTcpSocket;

/// The TCP link to one device's signal processor: length-prefixed JSON both
/// ways. One instance per open DSP window.
///
/// Thread affinity: built on the window's thread, then moved onto a QThread of
/// its own before that thread starts (DspLink does the wiring). From then on
/// every slot runs on that worker thread and must be reached through queued
/// connections only; the signals are emitted from the worker thread. The one
/// exception is setHost(), called directly before the thread starts.
///
/// Ownership: the socket is created on the worker thread by slot_runThread()
/// and belongs to this object. The object deletes itself: slot_quitSocket(),
/// wired to the worker's QThread::finished(), schedules deleteLater(), which
/// Qt carries out as the thread ends. Nobody else deletes it while the thread
/// runs.
class DevDspTcpSocketThread : public QObject
{
    Q_OBJECT
public:
    explicit DevDspTcpSocketThread(QObject *parent = nullptr);
    ~DevDspTcpSocketThread() override;

    /// The address set by setHost(); reconnection() never changes it.
    /// Any thread.
    uint32_t hostIp() const;
    uint32_t hostPort() const;

signals:
    /// msg: "Connecting" (in the interface language); isSucc once the link is up.
    void signal_connected(QString msg, bool isSucc);
    void signal_disconnected();
    void signal_recvMsg(QString msg);
    /// Only ever 0 (unconnected).
    void signal_stateChanged(int state);

public slots:
    /// Plain setter; call before the worker thread starts.
    void setHost(uint32_t ip, uint32_t port);
    /// Wired to QThread::started(): creates the socket and opens the link.
    void slot_runThread();
    /// Frames and writes one message; dropped when the link is not up.
    void slot_sendMsg(QString msg);
    void slot_readyData();
    void slot_stateChanged(QAbstractSocket::SocketState state);
    /// Drops the link and opens one to ip at the stored port.
    void reconnection(uint32_t ip);
    /// Wired to QThread::finished(): schedules this object's deletion.
    void slot_quitSocket();

private slots:
    void onSocketConnected();
    void onSocketDisconnected();

private:
    uint32_t ip = 0;
    uint32_t port = 0;
    DspFrameAssembler assembler;
    QTcpSocket *socket = nullptr;
    // Recursive because the socket reports synchronously from inside calls
    // made under the lock: abort() and disconnectFromHost() emit
    // stateChanged()/disconnected() straight into slot_stateChanged() and
    // onSocketDisconnected() on the same thread. A plain mutex would deadlock
    // there; other threads are still kept out for a whole slot body.
    mutable QRecursiveMutex mutex;
    // The status text of the opening, repeated when the link comes up.
    QString connectingText;
};
