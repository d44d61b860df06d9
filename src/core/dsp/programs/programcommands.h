#pragma once

#include <QJsonArray>
#include <QJsonObject>
#include <QString>
#include <QStringList>

/// The requests of the program page and the administration page: compact JSON with "ops" and
/// "uiTag":"dspUiTag", members in name order, numbers as decimal strings, like every DSP request.
namespace ProgramCommands {

// Program page.
QString getConfigNameArr(); ///< also the administration page's list ("configNameArr" in its reply)
QString getDefaultFile();
/// subTag says why the program is fetched: "exportAll", "convert", or the single export's own tag.
QString getConfigByName(const QString &name, const QString &subTag);
QString saveToFile(const QString &name, const QString &oldName);
/// subTag only when importing all; empty leaves it out.
QString saveConfigToFile(const QString &name, const QJsonObject &config, const QString &subTag = {});
QString loadFromFile(const QString &name);
QString loadFromFactory();
QString deleteFile(const QString &name, bool isUser);

// Administration page.
struct StoredConfig
{
    int index = 0;
    QString name;
    int inChNum = 0;
    int outChNum = 0;
    /// The amplifier settings are the device settings' business; they pass through as the device gave them.
    QJsonValue defaultAmpType;
    QJsonArray analogGainArr;
    QJsonArray aes67GainArr;
    QJsonArray analogPhaseArr;
    QJsonArray aes67PhaseArr;
    QJsonObject config;
};
QString getConfigByIndex(int index);
QString saveConfig(const StoredConfig &stored);
QString loadConfig(int index);
QString deleteConfig(int index);
QString getLastConfig();
QString setFactoryConfig(int sampleRate, const QJsonObject &config);
/// Both forms, in order, exactly as written: some devices only know the misspelt one.
QStringList resetFactory();

/// The names by slot of a "getConfigNameArr" reply ("nameArr" on the program page, "configNameArr" on the
/// administration page); non-text entries read as empty slots.
QStringList nameArrOf(const QJsonObject &reply, const QString &key);

} // namespace ProgramCommands
