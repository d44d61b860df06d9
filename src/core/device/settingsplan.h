#pragma once

#include "core/app/commandplan.h"
#include "core/devices/devicerecord.h"

/// What the controls of the device settings window send, checked first.
/// Every number goes out as a decimal string; channel indices count from 0.
class SettingsPlan
{
public:
    enum Setting { SampleRate, PacketTimeDiv, SampleByteNum, DelayUs, Dscp, PtpDomain, PtpDscp };

    /// The announcement keeps names in 64 bytes; the devices refuse longer ones.
    static constexpr int kMaxNameBytes = 64;
    static constexpr double kMinGainDb = -80.0;
    static constexpr double kMaxGainDb = 12.0;

    /// {"ops":op,"devId":devId}
    static QJsonObject request(const QString &devId, const QString &op);
    /// What the window asks when it opens: the amplifier and GPIO questions
    /// only for the models that have them.
    static QVector<QJsonObject> openingRequests(const QString &devId, const QString &model);

    /// Nothing happens when the name is unchanged.
    static CommandPlan rename(const QString &devId, const QString &name, const QString &current);
    static CommandPlan channelName(const QString &devId, DeviceTables::NameTable table, int channel,
                                   const QString &name);
    static CommandPlan setting(const QString &devId, Setting setting, int value);
    /// The valid range of a setting; values of the lists the device offers have no upper bound.
    static void range(Setting setting, int *min, int *max);

    static CommandPlan setPower(const QString &devId, bool on);
    /// The gain goes out with one decimal, as the amplifiers report it.
    static CommandPlan setGain(const QString &devId, int output, double gainDb);
    static CommandPlan setGpio(const QString &devId, int index, bool output, bool high);
    static CommandPlan testGpio(const QString &devId, int index, bool high);
    /// A confirm naming the device, then "reboot".
    static CommandPlan reboot(const QString &devId, const QString &deviceName);

    /// Operations whose reply tells whether a change of this window was
    /// taken; "setChName" is how the Rx/Tx channel-name replies come back.
    static bool isChange(const QString &op);
};
