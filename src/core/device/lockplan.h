#pragma once

#include "core/app/commandplan.h"

/// The device lock: levels, masks and the password rules.
class LockPlan
{
public:
    /// A level as the device reports it (0-3) to the dialog's level number.
    static int dialogLevel(int deviceLevel);
    /// The settings-and-routing mask for the dialog's two levels.
    static quint32 settingsMask(int detailsLevel, int routingLevel);
    /// The audio-processing mask for the dialog's level.
    static quint32 dspMask(int level);
    /// "0x" and lower-case hexadecimal without leading zeros.
    static QString maskText(quint32 mask);

    /// The two "setLock" commands, settings-and-routing first.
    static QVector<CommandPlan> setLock(const QString &devId, const QString &password, int detailsLevel,
                                        int routingLevel, int dspLevel);
    /// The password change, checked before anything is sent.
    static CommandPlan changePassword(const QString &devId, const QString &oldPassword, const QString &newPassword,
                                      const QString &confirmation);
};
