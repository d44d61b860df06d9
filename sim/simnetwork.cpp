#include "simnetwork.h"

#include "simdevice.h"
#include "simendpoint.h"
#include "simflows.h"
#include "simports.h"

#include "core/app/log.h"

#include <QNetworkDatagram>
#include <QUdpSocket>

SimNetwork::SimNetwork(const SimConfig &config, QObject *parent)
    : QObject(parent)
    , m_config(config)
    , m_random(config.seed ? config.seed : QRandomGenerator::global()->generate())
{
    m_clock.start();
    m_timer.setTimerType(Qt::PreciseTimer);
    connect(&m_timer, &QTimer::timeout, this, &SimNetwork::tick);
}

SimNetwork::~SimNetwork()
{
    stop();
}

bool SimNetwork::chance(int percent)
{
    return percent > 0 && (percent >= 100 || int(m_random.bounded(100)) < percent);
}

void SimNetwork::log(const QString &text) const
{
    if (!m_config.quiet)
        Log::line(QStringLiteral("sim: ") + text);
}

bool SimNetwork::start(const SimScenario &scenario, QString *error)
{
    stop();
    const QString problem = scenario.check();
    if (!problem.isEmpty()) {
        *error = problem;
        return false;
    }
    if (m_config.baseAddress.protocol() != QAbstractSocket::IPv4Protocol ||
        m_config.interfaceAddress.protocol() != QAbstractSocket::IPv4Protocol) {
        *error = QStringLiteral("base and interface addresses must be IPv4");
        return false;
    }
    if (m_config.bindBroadcast) {
        m_broadcast = new QUdpSocket(this);
        if (!m_broadcast->bind(QHostAddress::AnyIPv4, SimPorts::device,
                               QAbstractSocket::ShareAddress | QAbstractSocket::ReuseAddressHint)) {
            *error = QStringLiteral("0.0.0.0:%1: ").arg(SimPorts::device) + m_broadcast->errorString();
            LOG_FAIL();
            stop();
            return false;
        }
        connect(m_broadcast, &QUdpSocket::readyRead, this, &SimNetwork::readBroadcast);
    }
    const quint32 base = m_config.baseAddress.toIPv4Address();
    const int count = scenario.devices.size();
    for (int k = 0; k < count; ++k) {
        const SimDeviceProfile &profile = scenario.devices[k];
        const QHostAddress address =
            profile.address.isEmpty() ? QHostAddress(base + quint32(k)) : QHostAddress(profile.address);
        // The devices take turns over the announcement period, evenly spread.
        const int phase = int(qint64(k) * qMax(1, m_config.announceMs) / count);
        auto *d = new SimDevice(profile, address, phase, this);
        m_devices << d;
        m_byId.insert(profile.devId, d);
    }
    for (SimDevice *d : qAsConst(m_devices)) {
        QString why;
        if (!d->start(&why)) {
            *error = d->devId() + QStringLiteral(": ") + why;
            stop();
            return false;
        }
    }
    const QString first = QHostAddress(m_devices.first()->address()).toString();
    const QString last = QHostAddress(m_devices.last()->address()).toString();
    log(QStringLiteral("%1 devices on %2..%3 via %4")
            .arg(m_devices.size())
            .arg(first, last, m_config.interfaceAddress.toString()));
    m_timer.start(qMax(1, m_config.tickMs));
    tick();
    return true;
}

void SimNetwork::stop()
{
    m_timer.stop();
    qDeleteAll(m_devices);
    m_devices.clear();
    m_byId.clear();
    m_leaders.clear();
    delete m_broadcast;
    m_broadcast = nullptr;
}

SimDevice *SimNetwork::deviceById(const QString &devId) const
{
    return m_byId.value(devId);
}

SimDevice *SimNetwork::deviceByAddress(quint32 address) const
{
    for (SimDevice *d : m_devices)
        if (d->address() == address)
            return d;
    return nullptr;
}

SimDevice *SimNetwork::flowOwner(quint32 group, int *slot) const
{
    for (SimDevice *d : m_devices) {
        const int i = d->flows().indexByGroup(group);
        if (i >= 0) {
            *slot = i;
            return d;
        }
    }
    return nullptr;
}

bool SimNetwork::groupInUse(quint32 group) const
{
    int slot = -1;
    return flowOwner(group, &slot) != nullptr;
}

void SimNetwork::tick()
{
    elect();
    const qint64 now = nowMs();
    for (SimDevice *d : qAsConst(m_devices))
        d->tick(now);
}

void SimNetwork::elect()
{
    // Per PTP domain the best clock leads: lowest priority value, ties to the
    // lower clock identity (same-length upper-case hex compares as numbers).
    QHash<int, SimDevice *> best;
    for (SimDevice *d : qAsConst(m_devices)) {
        if (!d->canLeadClock())
            continue;
        SimDevice *&b = best[d->ptpDomain()];
        if (!b || d->ptpPriority() < b->ptpPriority() ||
            (d->ptpPriority() == b->ptpPriority() && d->clockId() < b->clockId()))
            b = d;
    }
    for (auto it = best.begin(); it != best.end(); ++it) {
        if (m_leaders.value(it.key()) != it.value()->clockId())
            log(QStringLiteral("clock leader of domain %1 is %2 \"%3\" (priority %4)")
                    .arg(it.key())
                    .arg(it.value()->devId(), it.value()->name())
                    .arg(it.value()->ptpPriority()));
        m_leaders.insert(it.key(), it.value()->clockId());
    }
    for (auto it = m_leaders.begin(); it != m_leaders.end();) {
        if (!best.contains(it.key()))
            it = m_leaders.erase(it);
        else
            ++it;
    }
    for (SimDevice *d : qAsConst(m_devices)) {
        if (!d->hasListened())
            continue;
        const QString gm = m_leaders.value(d->ptpDomain());
        d->setGrandmaster(gm.isEmpty() ? SimDevice::zeroClockId : gm);
    }
}

void SimNetwork::readBroadcast()
{
    // Every device handles each broadcast: a few per turn of the event loop.
    for (int n = 0; n < SimEndpoint::maxPerTurn && m_broadcast && m_broadcast->hasPendingDatagrams(); ++n) {
        const QNetworkDatagram dg = m_broadcast->receiveDatagram(2048);
        if (!dg.isValid())
            continue;
        // Unicast to an address no device holds lands here too; on a real
        // network nobody would hear it.
        const QHostAddress to = dg.destinationAddress();
        if (!to.isNull() && to != QHostAddress::Broadcast && (to.toIPv4Address() & 0xFFu) != 0xFFu)
            continue;
        // Every device hears a broadcast and answers from its own device port; the
        // devId in the request picks out who acts on it.
        const QVector<SimDevice *> devices = m_devices;
        for (SimDevice *d : devices)
            d->handleDatagram(dg.data(), dg.senderAddress(), quint16(dg.senderPort()), SimPorts::device);
    }
}
