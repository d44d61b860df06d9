#pragma once

#include "core/dsp/dspnode.h"

#include <QJsonArray>
#include <QJsonObject>
#include <QString>
#include <QStringList>

class CDeviceDspData;
class DspJsonWriter;

/// The one place that knows the member names of the DSP document: reading it from the device, writing it back,
/// and checking a change given as JSON. Every record's members are listed once and walked by all three.
namespace DspCodec {

/// Reading what a device wrote. Every member must be there and every scalar must be a string; integers and
/// flags convert as decimal integers (a flag is on when it converts to 1; text that does not convert reads 0),
/// reals as decimal reals. Unknown members are kept in the records' extra objects. On failure *why says where
/// and what, and *out may be half filled.
bool readConfig(const QJsonObject &config, CDeviceDspData *out, QString *why);
bool readBlock(const QJsonObject &block, DspBlock *out, QString *why);
bool readChain(const QJsonArray &procArr, QVector<DspBlock> *out, QString *why);

void writeConfig(DspJsonWriter &w, const CDeviceDspData &doc);
void writeBlock(DspJsonWriter &w, const DspBlock &block);
void writeBlockObj(DspJsonWriter &w, const DspBlock &block);
void writeChain(DspJsonWriter &w, const QVector<DspBlock> &procArr);
void writeNodeObj(DspJsonWriter &w, const DspNode &node);

/// A change given as JSON (a user's block parameters, a request the device accepted) merged into a record:
/// members may be left out, unknown members are refused, every value must convert (strings or JSON numbers;
/// flags "0"/"1"). Arrays replace the whole array, except the equaliser's, whose length is fixed and whose bands
/// merge one by one. On failure the record is unchanged and *error holds a catalogue text naming the member.
/// keepUnknown is for changes the device has already taken: members this program does not know join the
/// record's extra members instead of being refused, as they are now part of the device's document.
bool mergeBlockObj(DspBlock *block, const QJsonObject &members, QString *error, bool keepUnknown = false);
bool mergeNodeObj(DspNode *node, const QJsonObject &members, QString *error, bool keepUnknown = false);

/// Names of the obj members of a block type, in the order written; empty for an unknown type.
QStringList blockMemberNames(int type);

/// Text from outside as a JSON object, through JsonIntake. Text holding a NUL byte is refused too: Qt 5.15
/// compares raw member names only up to their first NUL, so "a\0b" and "a\0c" are the same name to it and
/// the first value leaks, which the intake's own check of repeated names does not see.
bool parseObject(const QByteArray &text, QJsonObject *out);

/// The strict conversions of the document.
int toInt(const QString &text);
bool toFlag(const QString &text);
double toReal(const QString &text);

} // namespace DspCodec
