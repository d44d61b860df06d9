#pragma once

#include "simconfig.h"
#include "simscenario.h"

#include <QElapsedTimer>
#include <QHash>
#include <QObject>
#include <QRandomGenerator>
#include <QTimer>
#include <QVector>

class QUdpSocket;
class SimDevice;

/// A whole simulated network: the devices of a scenario, the broadcast
/// socket they share, the clock election among them and the tick that
/// drives their periodic work. Single-threaded: everything runs on the
/// thread that created it.
class SimNetwork : public QObject
{
    Q_OBJECT
public:
    explicit SimNetwork(const SimConfig &config, QObject *parent = nullptr);
    ~SimNetwork() override;

    /// Builds and binds every device; false with the reason when the
    /// scenario is unusable or a socket cannot be bound.
    bool start(const SimScenario &scenario, QString *error);
    void stop();

    const SimConfig &config() const { return m_config; }
    /// Milliseconds since the network started.
    qint64 nowMs() const { return m_clock.elapsed(); }
    QRandomGenerator &random() { return m_random; }
    /// True with a probability of \a percent / 100.
    bool chance(int percent);

    const QVector<SimDevice *> &devices() const { return m_devices; }
    SimDevice *deviceById(const QString &devId) const;
    SimDevice *deviceByAddress(quint32 address) const;
    /// The device transmitting the flow to \a group, with the flow's slot.
    SimDevice *flowOwner(quint32 group, int *slot) const;
    bool groupInUse(quint32 group) const;
    /// The clock identity leading \a domain, or empty.
    QString leader(int domain) const { return m_leaders.value(domain); }

    /// One unbuffered line on standard output, "sim: " first.
    void log(const QString &text) const;

private:
    void tick();
    void elect();
    void readBroadcast();

    SimConfig m_config;
    QElapsedTimer m_clock;
    QRandomGenerator m_random;
    QTimer m_timer;
    QUdpSocket *m_broadcast = nullptr;
    QVector<SimDevice *> m_devices;
    QHash<QString, SimDevice *> m_byId;
    QHash<int, QString> m_leaders;
};
