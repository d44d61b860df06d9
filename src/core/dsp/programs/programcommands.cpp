#include "core/dsp/programs/programcommands.h"

#include <QJsonDocument>

namespace {

QString request(const char *ops, QJsonObject members = {})
{
    members.insert(QStringLiteral("ops"), QLatin1String(ops));
    members.insert(QStringLiteral("uiTag"), QStringLiteral("dspUiTag"));
    // QJsonObject keeps its members in name order, which is the order every request is written in.
    return QString::fromUtf8(QJsonDocument(members).toJson(QJsonDocument::Compact));
}

QString number(int value)
{
    return QString::number(value);
}

} // namespace

QString ProgramCommands::getConfigNameArr()
{
    return request("getConfigNameArr");
}

QString ProgramCommands::getDefaultFile()
{
    return request("getDefaultFile");
}

QString ProgramCommands::getConfigByName(const QString &name, const QString &subTag)
{
    return request("getConfigByName", {{QStringLiteral("name"), name}, {QStringLiteral("subTag"), subTag}});
}

QString ProgramCommands::saveToFile(const QString &name, const QString &oldName)
{
    return request("saveToFile", {{QStringLiteral("name"), name}, {QStringLiteral("oldName"), oldName}});
}

QString ProgramCommands::saveConfigToFile(const QString &name, const QJsonObject &config, const QString &subTag)
{
    QJsonObject members{{QStringLiteral("config"), config}, {QStringLiteral("name"), name}};
    if (!subTag.isEmpty())
        members.insert(QStringLiteral("subTag"), subTag);
    return request("saveConfigToFile", members);
}

QString ProgramCommands::loadFromFile(const QString &name)
{
    return request("loadFromFile", {{QStringLiteral("name"), name}});
}

QString ProgramCommands::loadFromFactory()
{
    return request("loadFromFactory");
}

QString ProgramCommands::deleteFile(const QString &name, bool isUser)
{
    return request("deleteFile",
                   {{QStringLiteral("isUser"), isUser ? QStringLiteral("1") : QStringLiteral("0")},
                    {QStringLiteral("name"), name}});
}

QString ProgramCommands::getConfigByIndex(int index)
{
    return request("getConfigByIndex", {{QStringLiteral("index"), number(index)}});
}

QString ProgramCommands::saveConfig(const StoredConfig &s)
{
    return request("saveConfig", {{QStringLiteral("index"), number(s.index)},
                                  {QStringLiteral("name"), s.name},
                                  {QStringLiteral("inChNum"), number(s.inChNum)},
                                  {QStringLiteral("outChNum"), number(s.outChNum)},
                                  {QStringLiteral("defaultAmpType"), s.defaultAmpType},
                                  {QStringLiteral("analogGainArr"), s.analogGainArr},
                                  {QStringLiteral("aes67GainArr"), s.aes67GainArr},
                                  {QStringLiteral("analogPhaseArr"), s.analogPhaseArr},
                                  {QStringLiteral("aes67PhaseArr"), s.aes67PhaseArr},
                                  {QStringLiteral("config"), s.config}});
}

QString ProgramCommands::loadConfig(int index)
{
    return request("loadConfig", {{QStringLiteral("index"), number(index)}});
}

QString ProgramCommands::deleteConfig(int index)
{
    return request("deleteConfig", {{QStringLiteral("index"), number(index)}});
}

QString ProgramCommands::getLastConfig()
{
    return request("getLastConfig");
}

QString ProgramCommands::setFactoryConfig(int sampleRate, const QJsonObject &config)
{
    return request("setFactoryConfig",
                   {{QStringLiteral("config"), config}, {QStringLiteral("sampleRate"), number(sampleRate)}});
}

QStringList ProgramCommands::resetFactory()
{
    return {QStringLiteral("{\"ops\":\"resetFactory\"}"), QStringLiteral("{\"ops\":\"resetFacotry\"}")};
}

QStringList ProgramCommands::nameArrOf(const QJsonObject &reply, const QString &key)
{
    QStringList names;
    for (const QJsonValue &value : reply.value(key).toArray())
        names << value.toString();
    return names;
}
