#pragma once

#include "core/protocol/commandsink.h"
#include "core/protocol/pendingtimeouts.h"

#include <QThread>
#include <atomic>

class DevManager;
class QUdpSocket;

/// The receive thread: owns the announcement, SAP and unicast sockets on the
/// chosen interface, reads every datagram, hands it to the registry and then
/// to its handler, and runs the registry's 20 ms clock.
///
/// sendDatagram() may be called from any thread.
class MyThread : public QThread, public CommandSink
{
    Q_OBJECT
public:
    static constexpr int kTickMs = 20;
    static constexpr int kBufferSize = 1500;

    explicit MyThread(DevManager *registry, QObject *parent = nullptr);
    ~MyThread() override;

    /// The address of the chosen interface (host order); 0 = none.
    void setSelectedAddress(quint32 ip) { m_selected = ip; }
    quint32 selectedAddress() const { return m_selected; }
    /// The address the running thread found its interface by; 0 when not.
    quint32 currentAddress() const { return m_current; }
    /// The port the system gave the unicast socket; 0 while not running.
    quint16 unicastPort() const { return m_unicastPort; }

    /// Stops the thread if it runs (stop flag, quit, unbounded wait), then
    /// starts it on the selected address.
    void restart();
    /// Stop flag, quit, unbounded wait.
    void stopAndWait();
    bool stopFlag() const { return m_stop; }

    /// -1 while the thread is not running, is stopping or has no socket.
    int sendDatagram(const QByteArray &data, quint32 ip, quint16 port) override;
    int sendBatch(const Datagram *batch, int count) override;

    /// Per-device countdowns of blink highlights, aged on the tick.
    PendingTimeouts &blinkTimeouts() { return m_blinks; }

    /// Ages the registry this many times faster than real time (tests only;
    /// the program keeps 1 so a device lasts 120 s without announcing).
    void setAgeingScale(int scale) { m_ageingScale = qMax(1, scale); }

    /// Tick counters, exposed for tests.
    int refreshTicks() const { return m_refreshTicks; }

    /// Marks the pages' data as changed; signal_refreshUi follows on the next
    /// refresh tick.
    void setUiDirty() { m_uiDirty = true; }

signals:
    void signal_refreshUi();
    void signal_refreshDevInfoUi();
    void signal_syncCanWork();
    /// A JSON text for the pages: tagged replies, clock events, dispatched replies.
    void signal_recv_message(const QString &json);
    void signal_blinkingDev(const QString &devId);
    void signal_unBlinkingDev(const QString &devId);
    /// Results of commands for the snack bar.
    void signal_showTips(const QString &text, bool isSucc);
    /// The thread ended because no interface holds the selected address.
    void signal_noInterface();

protected:
    void run() override;
    void handleUdpMcast(const char *data, int length, quint32 ip, quint16 port);
    void handleUdpSap(const char *data, int length, quint32 ip, quint16 port);
    void handleUdpUnicast(const char *data, int length, quint32 ip, quint16 port);

private:
    void tick();

    DevManager *m_registry;
    std::atomic<quint32> m_selected{0};
    std::atomic<quint32> m_current{0};
    std::atomic<bool> m_stop{false};
    std::atomic<bool> m_uiDirty{false};
    std::atomic<qintptr> m_sendDescriptor{-1};
    std::atomic<quint16> m_unicastPort{0};
    std::atomic<int> m_ageingScale{1};
    int m_refreshTicks = 0;
    int m_devInfoTicks = 0;
    int m_canWorkTicks = 0;
    PendingTimeouts m_blinks;
};
