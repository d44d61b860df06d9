#include "core/dsp/programs/programfiles.h"

#include "core/app/atomicfile.h"
#include "core/protocol/jsonintake.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>

namespace {

// Far above a whole device's programs; a larger file is not ours and is not read into memory.
constexpr qint64 kMaxFileBytes = 64 * 1024 * 1024;

// Files come from anywhere: the same guards as text from the network (a repeated member name leaks in Qt's
// parser, and Qt compares names only up to a NUL byte). Editors on the PC may add a byte-order mark.
bool parse(QByteArray bytes, QJsonDocument *out)
{
    if (bytes.startsWith("\xEF\xBB\xBF"))
        bytes.remove(0, 3);
    if (bytes.contains('\0') || JsonIntake::hasDuplicateKey(bytes.constData(), bytes.size()))
        return false;
    QJsonParseError error;
    *out = QJsonDocument::fromJson(bytes, &error);
    if (error.error != QJsonParseError::NoError)
        return false;
    // Qt's writer drops some characters it reads (a U+FEFF inside a member name comes back as ""), so such a
    // document would not export as it was imported; it is refused rather than quietly changed.
    return QJsonDocument::fromJson(out->toJson(QJsonDocument::Compact)) == *out;
}

bool programOf(const QJsonValue &value, ProgramFiles::Program *out)
{
    const QJsonObject obj = value.toObject();
    const QJsonValue name = obj.value(QLatin1String("name"));
    const QJsonValue config = obj.value(QLatin1String("config"));
    if (!value.isObject() || !name.isString() || !config.isObject())
        return false;
    out->name = name.toString();
    out->config = config.toObject();
    out->version = ProgramFiles::versionOf(out->config);
    return true;
}

QJsonObject objectOf(const ProgramFiles::Program &program)
{
    return QJsonObject{{QStringLiteral("config"), program.config}, {QStringLiteral("name"), program.name}};
}

} // namespace

ProgramFiles::Version ProgramFiles::versionOf(const QJsonObject &config)
{
    const QJsonValue value = config.value(QLatin1String("version"));
    bool ok = false;
    int version = 0;
    if (value.isString()) {
        version = value.toString().toInt(&ok);
    } else if (value.isDouble()) {
        const double d = value.toDouble();
        ok = d == double(int(d)) && d >= 0 && d < 1e6;
        version = ok ? int(d) : 0;
    }
    if (!ok || version < 0 || version > kCurrentVersion)
        return Version::Unknown;
    return version == kCurrentVersion ? Version::Current : Version::NeedsConversion;
}

std::optional<Tx> ProgramFiles::conversionRefusal(Version version)
{
    switch (version) {
    case Version::Current:
        return Tx::ProgNoConversionNeeded;
    case Version::Unknown:
        return Tx::ProgWrongVersion;
    case Version::NeedsConversion:
        break;
    }
    return std::nullopt;
}

ProgramFiles::ProgramRead ProgramFiles::readProgram(const QByteArray &bytes)
{
    ProgramRead r;
    QJsonDocument doc;
    Program program;
    if (!parse(bytes, &doc) || !doc.isObject())
        r.error = Tx::ProgFileParseError;
    else if (!programOf(doc.object(), &program))
        r.error = Tx::ProgFileNotProgram;
    else
        r.programs << program;
    return r;
}

ProgramFiles::ProgramRead ProgramFiles::readProgramList(const QByteArray &bytes)
{
    ProgramRead r;
    QJsonDocument doc;
    if (!parse(bytes, &doc) || !doc.isArray()) {
        r.error = Tx::ProgFileParseError;
        return r;
    }
    const QJsonArray arr = doc.array();
    if (arr.isEmpty()) {
        r.error = Tx::ProgListEmpty;
        return r;
    }
    for (const QJsonValue &value : arr) {
        Program program;
        if (!programOf(value, &program)) {
            r.error = Tx::ProgListElementBad;
            r.programs.clear();
            return r;
        }
        r.programs << program;
    }
    return r;
}

ProgramFiles::StoredRead ProgramFiles::readStoredConfig(const QByteArray &bytes)
{
    StoredRead r;
    QJsonDocument doc;
    if (!parse(bytes, &doc) || !doc.isObject()) {
        r.error = Tx::ProgStoredOpenWrong;
        return r;
    }
    r.config = doc.object();
    r.version = versionOf(r.config);
    return r;
}

QByteArray ProgramFiles::writeProgram(const Program &program)
{
    return QJsonDocument(objectOf(program)).toJson(QJsonDocument::Compact);
}

QByteArray ProgramFiles::writeProgramList(const QVector<Program> &programs)
{
    QJsonArray arr;
    for (const Program &program : programs)
        arr.append(objectOf(program));
    return QJsonDocument(arr).toJson(QJsonDocument::Compact);
}

QByteArray ProgramFiles::writeStoredConfig(const QJsonObject &config)
{
    return QJsonDocument(config).toJson(QJsonDocument::Compact);
}

std::optional<QByteArray> ProgramFiles::readFile(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly) || file.size() > kMaxFileBytes)
        return std::nullopt;
    const QByteArray bytes = file.read(kMaxFileBytes + 1);
    if (bytes.size() > kMaxFileBytes || file.error() != QFileDevice::NoError)
        return std::nullopt;
    return bytes;
}

bool ProgramFiles::saveFile(const QString &path, const QByteArray &bytes, QString *why)
{
    return AtomicFile::write(path, bytes, why);
}
