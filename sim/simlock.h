#pragma once

#include <QJsonObject>
#include <QString>

class SimDevice;

/// A device's locks and the password that opens them: the settings and
/// routing lock (port 9995), the signal processor's lock (port 8999), and
/// which kind of operation each refuses.
class SimLock
{
public:
    SimLock(SimDevice &device, const QString &password);

    bool settingsLocked() const { return m_val & 0x1; }
    bool routingLocked() const { return m_val & 0x2; }
    bool dspLocked() const { return m_dspVal != 0; }

    QString opGetLock(const QJsonObject &req, QJsonObject &r);
    /// The mask it takes depends on the port the request came in by.
    QString opSetLock(const QJsonObject &req, QJsonObject &r);
    QString opSetPassword(const QJsonObject &req, QJsonObject &r);

private:
    SimDevice &m_device;
    quint32 m_val = 0;
    quint32 m_dspVal = 0;
    QString m_password;
};
