#include "simlock.h"

#include "simdevice.h"
#include "simports.h"
#include "simrequest.h"
#include "simtext.h"

using SimRequest::readText;
using SimText::num;

namespace {

QString hexMask(quint32 v)
{
    return QStringLiteral("0x") + QString::number(v, 16);
}

} // namespace

SimLock::SimLock(SimDevice &device, const QString &password)
    : m_device(device)
    , m_password(password)
{}

QString SimLock::opGetLock(const QJsonObject &, QJsonObject &r)
{
    const int devLock = (m_val & 0x1) ? 1 : 0;
    const int routeLock = (m_val & 0x10002) == 0x10002 ? 3 : (m_val & 0x2) ? 1 : 0;
    int dspLock = 0;
    switch (m_dspVal) {
    case 0x1f: dspLock = 1; break;
    case 0x1001f: dspLock = 2; break;
    case 0x1: dspLock = 3; break;
    default: break;
    }
    r.insert(QStringLiteral("devLock"), num(devLock));
    r.insert(QStringLiteral("routeLock"), num(routeLock));
    r.insert(QStringLiteral("dspLock"), num(dspLock));
    r.insert(QStringLiteral("val"), hexMask(m_val));
    r.insert(QStringLiteral("dspVal"), hexMask(m_dspVal));
    return QString();
}

QString SimLock::opSetLock(const QJsonObject &req, QJsonObject &)
{
    QString password, val;
    if (!readText(req, "password", &password) || !readText(req, "val", &val))
        return SimText::badParam;
    if (password != m_password)
        return QStringLiteral("mismatch");
    bool ok = val.startsWith(QLatin1String("0x"));
    const quint32 mask = ok ? val.mid(2).toUInt(&ok, 16) : 0;
    if (!ok)
        return SimText::badParam;
    if (m_device.requestPort() == SimPorts::dsp) {
        if (mask != 0x0 && mask != 0x1f && mask != 0x1001f && mask != 0x1)
            return SimText::badParam;
        m_dspVal = mask;
        m_device.log(QStringLiteral("audio processing lock %1").arg(hexMask(mask)));
    } else {
        if (mask & ~0x10003u)
            return SimText::badParam;
        m_val = mask;
        m_device.log(QStringLiteral("settings and routing lock %1").arg(hexMask(mask)));
    }
    return QString();
}

QString SimLock::opSetPassword(const QJsonObject &req, QJsonObject &)
{
    QString oldPassword, newPassword;
    if (!readText(req, "old", &oldPassword) || !readText(req, "new", &newPassword))
        return SimText::badParam;
    if (oldPassword != m_password)
        return QStringLiteral("mismatch");
    if (newPassword.isEmpty() || newPassword.contains(QLatin1Char(' ')) || newPassword.toUtf8().size() > 32)
        return SimText::badParam;
    m_password = newPassword;
    m_device.log(QStringLiteral("password changed"));
    return QString();
}
