#pragma once

#include <QJsonObject>
#include <QString>

class SimDevice;
struct SimDeviceProfile;

/// A device's PTP clock: its priority, domain and DSCP, the leader the
/// election gave it, the settling towards lock, and the "masterOffset" and
/// "adjustFreq" events it sends while it follows a leader.
class SimClock
{
public:
    SimClock(SimDevice &device, const SimDeviceProfile &profile);

    int priority() const { return m_priority; }
    int domain() const { return m_domain; }
    int dscp() const { return m_dscp; }
    QString grandmaster() const { return m_gm; }
    /// From the election; a new leader restarts the settling.
    void setGrandmaster(const QString &clockId);
    /// The state number the events carry: 0 leader, 1 settling, 2 locked.
    int state() const;
    /// Power on: no leader yet.
    void reset();
    /// Sends the events due at \a now.
    void tick(qint64 now);

    /// "setPtpPriority", "setPtpDomain", "setPtpDscp".
    QString opSetPtp(const QJsonObject &req, QJsonObject &r);

private:
    void sendEvents();

    SimDevice &m_device;
    int m_priority, m_domain, m_dscp;
    QString m_gm;
    qint64 m_settleStart = 0;
    qint64 m_nextEvent = 0;
};
