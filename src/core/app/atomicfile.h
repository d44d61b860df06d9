#pragma once

#include <QByteArray>
#include <QString>

/// Files the user keeps (exported programs, stored configurations) are replaced whole or not at all: a full
/// disk or a dropped network share mid-write must not leave half a document where a good one stood.
namespace AtomicFile {

/// Writes the bytes to a temporary file beside \a path and renames it over the old one. False, with the reason
/// in *why, when anything fails; the old file is then as it was.
bool write(const QString &path, const QByteArray &bytes, QString *why = nullptr);

} // namespace AtomicFile
