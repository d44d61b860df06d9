#pragma once

#include "core/app/texts.h"

#include <QByteArray>
#include <QJsonObject>
#include <QString>
#include <QVector>

#include <optional>

/// The DSP files kept on the PC, all compact UTF-8 JSON:
///   "*.dt"  one program, {"config":<document>,"name":<name>};
///   "*.dtl" every program, an array of such objects;
///   "*.dcd" one stored configuration, the "config" object of its "getConfigByIndex" reply as it stands.
/// The readers and writers work on bytes; readFile and saveFile are the only ones touching the disk.
namespace ProgramFiles {

/// The document form this program writes and loads.
constexpr int kCurrentVersion = 4;

enum class Version {
    Current,         ///< 4: loads and imports as it is
    NeedsConversion, ///< below 4: must be converted to the current form first
    Unknown,         ///< newer than this program, or not a version number: refused
};
/// From the document's "version" member: a decimal string (as devices write it) or a JSON integer.
Version versionOf(const QJsonObject &config);
/// What a request to convert a stored program says before anything is done: ProgNoConversionNeeded for a
/// current one, ProgWrongVersion for one this program cannot handle, nothing when it is to be converted.
std::optional<Tx> conversionRefusal(Version version);

struct Program
{
    QString name;
    QJsonObject config;
    Version version = Version::Unknown;
};

/// A reader's outcome: the refusal message, or the parts. A program list's versions are per program.
struct ProgramRead
{
    std::optional<Tx> error;
    QVector<Program> programs; ///< one for "*.dt"
    bool ok() const { return !error; }
};
struct StoredRead
{
    std::optional<Tx> error;
    QJsonObject config;
    Version version = Version::Unknown;
    bool ok() const { return !error; }
};

/// "*.dt": ProgFileParseError when the bytes are not a JSON object, ProgFileNotProgram when "name" (text) or
/// "config" (object) is missing.
ProgramRead readProgram(const QByteArray &bytes);
/// "*.dtl": ProgFileParseError when not a JSON array, ProgListEmpty when it holds none, ProgListElementBad
/// when any element is not a program. One bad element refuses the whole file, so an import never stops
/// halfway with some slots overwritten and others not.
ProgramRead readProgramList(const QByteArray &bytes);
/// "*.dcd": ProgStoredOpenWrong when the bytes are not a JSON object.
StoredRead readStoredConfig(const QByteArray &bytes);

QByteArray writeProgram(const Program &program);
QByteArray writeProgramList(const QVector<Program> &programs);
QByteArray writeStoredConfig(const QJsonObject &config);

/// The file's bytes; nothing when it cannot be opened or is larger than any document could be.
std::optional<QByteArray> readFile(const QString &path);
/// Replaces the file whole, or leaves it as it was and gives the reason (AtomicFile).
bool saveFile(const QString &path, const QByteArray &bytes, QString *why = nullptr);

} // namespace ProgramFiles
