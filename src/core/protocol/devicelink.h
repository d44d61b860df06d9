#pragma once

#include "core/devices/devmanager.h"
#include "core/protocol/mythread.h"

#include <QObject>
#include <cstdint>

/// The program's connection to the device network: the registry, the
/// receive thread and the two routers, wired together. The main window and
/// corvane-cli both stand on it; pages talk to it only through signals and
/// slot_sendUdp.
///
/// Lives on the interface thread; its signals may be emitted from the
/// receive thread and reach receivers queued.
class DeviceLink : public QObject
{
    Q_OBJECT
public:
    static constexpr int kBlinkMs = 5000;

    explicit DeviceLink(QObject *parent = nullptr);
    ~DeviceLink() override;

    DevManager &registry() { return m_registry; }
    const DevManager &registry() const { return m_registry; }
    MyThread &thread() { return m_thread; }

    /// (Re)starts the receive thread on a dotted IPv4 address of this host.
    /// False when the text is not an address.
    bool startOn(const QString &address);
    void stop();
    QString currentAddress() const;

    /// Routes and sends one page request; the number of datagrams written,
    /// or -1 when the request was dropped or could not be sent.
    int send(const QString &json);
    /// The same to a fixed device port (the lock and DSP commands).
    int sendToPort(const QString &json, quint16 port);

public slots:
    void slot_sendUdp(const QString &json, const QString &tag);

signals:
    void signal_send_addDev(const QString &devId);
    void signal_send_updateDev(const QString &devId);
    void signal_send_delDev(const QString &devId);
    /// The notice as RegistryNotice::toJson writes it, with the flow's "sdp".
    void signal_send_addMcast(const QString &json);
    void signal_send_delMcast(uint32_t dstIp);
    /// A page of a device's route or active-flow tables was stored.
    void signal_refresh_route();
    /// Every registry notice as RegistryNotice::toJson writes it, for tools that log them.
    void signal_notification(const QString &json);

    void signal_recv_message(const QString &json);
    void signal_blinkingDev(const QString &devId);
    void signal_unBlinkingDev(const QString &devId);
    void signal_refreshUi();
    void signal_refreshDevInfoUi();
    void signal_syncCanWork();
    void signal_showTips(const QString &text, bool isSucc);

private:
    void onNotice(const RegistryNotice &notice);

    DevManager m_registry;
    MyThread m_thread;
};
