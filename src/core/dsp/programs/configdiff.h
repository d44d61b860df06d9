#pragma once

#include "core/app/texts.h"

#include <QJsonArray>
#include <QJsonObject>
#include <QString>
#include <QVector>

#include <optional>

/// Two DSP configuration documents side by side, for the compare view and `corvane-cli dsp diff`. Works on the
/// documents as they stand, so values read exactly as the device (or the file) wrote them, and members this
/// program does not know are compared too.
namespace ConfigDiff {

struct Difference
{
    /// "document", "group 2", "in 1", "in 1 / 3 compress", "matrix out 2 / in 1", "aec 1", "automixer" ...;
    /// channels and positions count from 1 as the window shows them.
    QString where;
    /// The member's name in the document ("gainDb", "eqArr 3 dbGain"); "kind" when a block's kind changed,
    /// "block", "channel" or "node" when one side has it and the other not.
    QString member;
    /// A null string where that side has nothing.
    QString a;
    QString b;

    bool operator==(const Difference &o) const
    {
        return where == o.where && member == o.member && a == o.a && b == o.b && a.isNull() == o.a.isNull()
            && b.isNull() == o.b.isNull();
    }
};

/// In document order: the top-level members, the link groups, then node by node (inputs, echo cancellation,
/// automixer, matrix, outputs), each channel's own members before its blocks in chain order. Nodes are paired
/// by role, not by index, so a document with an echo-cancellation node still lines up with one without.
QVector<Difference> compare(const QJsonObject &a, const QJsonObject &b);

/// A file's document: a program ("*.dt"), a stored configuration ("*.dcd", the same two members) or a bare
/// document (an object with "nodeArr"); the program page's messages when it is none of them.
struct FileRead
{
    std::optional<Tx> error;
    QJsonObject config;
    bool ok() const { return !error; }
};
FileRead documentOf(const QByteArray &bytes);

/// What is compared of a document: an older one in its converted form when it converts (the two sides would
/// otherwise differ in every member's name), anything else as it stands. *converted says which.
QJsonObject comparable(const QJsonObject &config, bool *converted = nullptr);

/// "in 1 / 3 compress: ratio 4 -> 8"; "-" for a side that has nothing.
QString line(const Difference &d);
/// [{"where","member","a","b"}], null for a side that has nothing.
QJsonArray toJson(const QVector<Difference> &diffs);

} // namespace ConfigDiff
