#include "core/device/lockplan.h"

#include "core/protocol/deviceports.h"
#include "core/app/texts.h"

int LockPlan::dialogLevel(int deviceLevel)
{
    switch (deviceLevel) {
    case 2: return 3;
    case 3: return 2;
    default: return deviceLevel;
    }
}

quint32 LockPlan::settingsMask(int detailsLevel, int routingLevel)
{
    quint32 mask = detailsLevel == 1 ? 0x1u : 0x0u;
    if (routingLevel == 1)
        mask |= 0x2u;
    else if (routingLevel == 2)
        mask |= 0x10002u;
    return mask;
}

quint32 LockPlan::dspMask(int level)
{
    switch (level) {
    case 1: return 0x1fu;
    case 2: return 0x1u;
    case 3: return 0x1001fu;
    default: return 0x0u;
    }
}

QString LockPlan::maskText(quint32 mask)
{
    return QStringLiteral("0x") + QString::number(mask, 16);
}

QVector<CommandPlan> LockPlan::setLock(const QString &devId, const QString &password, int detailsLevel,
                                       int routingLevel, int dspLevel)
{
    CommandPlan settings;
    settings.command = QJsonObject{{QStringLiteral("ops"), QStringLiteral("setLock")},
                                   {QStringLiteral("devId"), devId},
                                   {QStringLiteral("password"), password},
                                   {QStringLiteral("val"), maskText(settingsMask(detailsLevel, routingLevel))}};
    settings.port = DevicePorts::kLock;
    CommandPlan dsp;
    dsp.command = QJsonObject{{QStringLiteral("ops"), QStringLiteral("setLock")},
                              {QStringLiteral("devId"), devId},
                              {QStringLiteral("uiTag"), QStringLiteral("dspUiTag")},
                              {QStringLiteral("password"), password},
                              {QStringLiteral("val"), maskText(dspMask(dspLevel))}};
    dsp.port = DevicePorts::kDsp;
    return {settings, dsp};
}

CommandPlan LockPlan::changePassword(const QString &devId, const QString &oldPassword, const QString &newPassword,
                                     const QString &confirmation)
{
    if (oldPassword.isEmpty() || newPassword.isEmpty() || confirmation.isEmpty())
        return CommandPlan::notice(tx(Tx::PasswordEmpty));
    if (newPassword != confirmation)
        return CommandPlan::notice(tx(Tx::PasswordsDiffer));
    if (newPassword.contains(QLatin1Char(' ')))
        return CommandPlan::notice(tx(Tx::PasswordSpaces));
    return CommandPlan{{},
                       QJsonObject{{QStringLiteral("ops"), QStringLiteral("setPassword")},
                                   {QStringLiteral("devId"), devId},
                                   {QStringLiteral("old"), oldPassword},
                                   {QStringLiteral("new"), newPassword}},
                       0};
}
