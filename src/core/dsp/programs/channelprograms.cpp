#include "core/dsp/programs/channelprograms.h"

#include "core/dsp/dspcodec.h"
#include "core/dsp/dspjsonwriter.h"
#include "core/dsp/programs/programfiles.h"

#include <QDir>
#include <QJsonArray>
#include <QStandardPaths>

#include <algorithm>

namespace ChannelPrograms {

QString defaultFolder()
{
    return QStandardPaths::writableLocation(QStandardPaths::AppDataLocation) + QStringLiteral("/channel-programs");
}

QByteArray write(const Program &program)
{
    QByteArray out;
    DspJsonWriter w(&out);
    w.beginObject();
    w.key("name");
    w.text(program.name);
    w.key("procArr");
    DspCodec::writeChain(w, program.chain);
    w.key("side");
    w.text(DspKinds::sideName(program.side));
    w.endObject();
    return out;
}

std::optional<Program> read(const QByteArray &bytes)
{
    QJsonObject o;
    if (!DspCodec::parseObject(bytes, &o) || !o.value(QLatin1String("name")).isString()
        || !o.value(QLatin1String("procArr")).isArray())
        return std::nullopt;
    const std::optional<DspSide> side = DspKinds::sideFromName(o.value(QLatin1String("side")).toString());
    if (!side)
        return std::nullopt;
    Program p;
    p.name = o.value(QLatin1String("name")).toString();
    p.side = *side;
    QString why;
    if (!DspCodec::readChain(o.value(QLatin1String("procArr")).toArray(), &p.chain, &why))
        return std::nullopt;
    return p;
}

QString pathOf(const QString &folder, const QString &name)
{
    return QDir(folder).filePath(name + QLatin1String(kSuffix));
}

QVector<Program> list(const QString &folder)
{
    QVector<Program> out;
    const QStringList files = QDir(folder).entryList({QStringLiteral("*") + QLatin1String(kSuffix)}, QDir::Files);
    for (const QString &file : files) {
        const std::optional<QByteArray> bytes = ProgramFiles::readFile(QDir(folder).filePath(file));
        if (const std::optional<Program> p = bytes ? read(*bytes) : std::nullopt)
            out.append(*p);
    }
    std::sort(out.begin(), out.end(), [](const Program &a, const Program &b) { return a.name < b.name; });
    return out;
}

bool save(const QString &folder, const Program &program, QString *why)
{
    if (!QDir().mkpath(folder)) {
        if (why)
            *why = folder;
        return false;
    }
    return ProgramFiles::saveFile(pathOf(folder, program.name), write(program), why);
}

} // namespace ChannelPrograms
