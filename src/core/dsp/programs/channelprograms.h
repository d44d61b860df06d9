#pragma once

#include "core/dsp/dspblock.h"
#include "core/dsp/dspkinds.h"

#include <QByteArray>
#include <QString>
#include <QVector>

#include <optional>

/// Channel programs: one channel's chain (its blocks in order, with their parameters) kept on the PC under a
/// name, to be loaded onto any channel of the same side. One compact JSON file per program,
/// {"name":..,"procArr":[..],"side":"in"|"out"}, named after the program, in a folder of the operator's choice
/// (by default "channel-programs" under the application's data folder). Blocks are written as the device
/// writes them, so a chain keeps members this program does not know.
namespace ChannelPrograms {

constexpr const char *kSuffix = ".json";

struct Program
{
    QString name;
    DspSide side = DspSide::In;
    QVector<DspBlock> chain;
};

QString defaultFolder();
QByteArray write(const Program &program);
/// Nothing when the bytes are not a channel program (or name a block the codec refuses).
std::optional<Program> read(const QByteArray &bytes);
/// The folder's channel programs by name; files that are not channel programs are left out.
QVector<Program> list(const QString &folder);
QString pathOf(const QString &folder, const QString &name);
/// Writes the program whole into the folder (made when missing); false with the reason in *why.
bool save(const QString &folder, const Program &program, QString *why);

} // namespace ChannelPrograms
