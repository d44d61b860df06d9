#include "core/device/settingsplan.h"

#include "core/app/texts.h"
#include "core/devices/devicemodels.h"

#include <climits>

namespace {

struct SettingInfo
{
    const char *op;
    const char *member;
    int min;
    int max;
};

const SettingInfo kSettings[] = {
    {"setSampleRate", "sampleRate", 1, INT_MAX},  {"setPacketTimeDiv", "packetTimeDiv", 1, INT_MAX},
    {"setSampleByteNum", "sampleByteNum", 1, INT_MAX}, {"setDelayUs", "delayUs", 0, INT_MAX},
    {"setDscp", "dscp", 0, 63},                   {"setPtpDomain", "val", 0, 127},
    {"setPtpDscp", "val", 0, 63},
};

QString number(int v)
{
    return QString::number(v);
}

CommandPlan send(const QJsonObject &command)
{
    return CommandPlan{{}, command, 0};
}

} // namespace

QJsonObject SettingsPlan::request(const QString &devId, const QString &op)
{
    return QJsonObject{{QStringLiteral("ops"), op}, {QStringLiteral("devId"), devId}};
}

QVector<QJsonObject> SettingsPlan::openingRequests(const QString &devId, const QString &model)
{
    QVector<QJsonObject> out;
    for (const char *op : {"getVersion", "getIp", "getLock", "getDebugInfo"})
        out.append(request(devId, QLatin1String(op)));
    if (DeviceModels::isAmplifier(model))
        out.append(request(devId, QStringLiteral("getInfo")));
    if (DeviceModels::hasGpio(model))
        out.append(request(devId, QStringLiteral("getGpioInfo")));
    return out;
}

CommandPlan SettingsPlan::rename(const QString &devId, const QString &name, const QString &current)
{
    if (name.trimmed().isEmpty())
        return CommandPlan::notice(tx(Tx::DsNameEmpty));
    if (name.toUtf8().size() > kMaxNameBytes)
        return CommandPlan::notice(tx(Tx::DsNameTooLong));
    if (name == current)
        return CommandPlan{};
    QJsonObject cmd = request(devId, QStringLiteral("setDevName"));
    cmd.insert(QStringLiteral("name"), name);
    return send(cmd);
}

CommandPlan SettingsPlan::channelName(const QString &devId, DeviceTables::NameTable table, int channel,
                                      const QString &name)
{
    static const char *const ops[DeviceTables::NameTableCount] = {"setChNameRx", "setChNameTx", "setPhyChNameRx",
                                                                  "setPhyChNameTx"};
    if (table < 0 || table >= DeviceTables::NameTableCount || channel < 0)
        return CommandPlan{};
    if (name.toUtf8().size() > kMaxNameBytes)
        return CommandPlan::notice(tx(Tx::DsNameTooLong));
    QJsonObject cmd = request(devId, QLatin1String(ops[table]));
    cmd.insert(QStringLiteral("chId"), number(channel));
    cmd.insert(QStringLiteral("name"), name);
    return send(cmd);
}

void SettingsPlan::range(Setting setting, int *min, int *max)
{
    *min = kSettings[setting].min;
    *max = kSettings[setting].max;
}

CommandPlan SettingsPlan::setting(const QString &devId, Setting setting, int value)
{
    const SettingInfo &s = kSettings[setting];
    if (value < s.min || value > s.max)
        return CommandPlan::notice(tx(Tx::DspOutOfRange).arg(s.min).arg(s.max));
    QJsonObject cmd = request(devId, QLatin1String(s.op));
    cmd.insert(QLatin1String(s.member), number(value));
    return send(cmd);
}

CommandPlan SettingsPlan::setPower(const QString &devId, bool on)
{
    QJsonObject cmd = request(devId, QStringLiteral("setPower"));
    cmd.insert(QStringLiteral("val"), on ? QStringLiteral("1") : QStringLiteral("0"));
    return send(cmd);
}

CommandPlan SettingsPlan::setGain(const QString &devId, int output, double gainDb)
{
    if (gainDb < kMinGainDb || gainDb > kMaxGainDb)
        return CommandPlan::notice(tx(Tx::DspOutOfRange).arg(kMinGainDb).arg(kMaxGainDb));
    QJsonObject cmd = request(devId, QStringLiteral("setGain"));
    cmd.insert(QStringLiteral("chId"), number(output));
    // -0.04 would otherwise go out as "-0.0".
    const double rounded = qRound(gainDb * 10.0) / 10.0;
    cmd.insert(QStringLiteral("gain"), QString::number(rounded == 0.0 ? 0.0 : rounded, 'f', 1));
    return send(cmd);
}

CommandPlan SettingsPlan::setGpio(const QString &devId, int index, bool output, bool high)
{
    QJsonObject cmd = request(devId, QStringLiteral("setGpioInfo"));
    cmd.insert(QStringLiteral("index"), number(index));
    // An input has no level of its own to set.
    cmd.insert(QStringLiteral("gpioInfo"),
               QJsonObject{{QStringLiteral("dir"), output ? QStringLiteral("out") : QStringLiteral("in")},
                           {QStringLiteral("isHigh"), output && high ? QStringLiteral("1") : QStringLiteral("0")}});
    return send(cmd);
}

CommandPlan SettingsPlan::testGpio(const QString &devId, int index, bool high)
{
    QJsonObject cmd = request(devId, QStringLiteral("testGpio"));
    cmd.insert(QStringLiteral("index"), number(index));
    cmd.insert(QStringLiteral("isHigh"), high ? QStringLiteral("1") : QStringLiteral("0"));
    return send(cmd);
}

CommandPlan SettingsPlan::reboot(const QString &devId, const QString &deviceName)
{
    return CommandPlan{{{PlanStep::Confirm, tx(Tx::RebootConfirm).arg(deviceName)}},
                       request(devId, QStringLiteral("reboot")), 0};
}

bool SettingsPlan::isChange(const QString &op)
{
    static const QStringList changes{
        QStringLiteral("setDevName"),     QStringLiteral("setChName"),      QStringLiteral("setChNameRx"),
        QStringLiteral("setChNameTx"),    QStringLiteral("setPhyChNameRx"), QStringLiteral("setPhyChNameTx"),
        QStringLiteral("setSampleRate"),  QStringLiteral("setPacketTimeDiv"), QStringLiteral("setSampleByteNum"),
        QStringLiteral("setDelayUs"),     QStringLiteral("setDscp"),        QStringLiteral("setPtpDomain"),
        QStringLiteral("setPtpDscp"),     QStringLiteral("setIp"),          QStringLiteral("setPower"),
        QStringLiteral("setGain"),        QStringLiteral("setGpioInfo"),
    };
    return changes.contains(op);
}
