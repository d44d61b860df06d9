#pragma once

#include "core/app/texts.h"

#include <QJsonObject>

#include <optional>

/// Brings a stored document of an older version to the form this program writes.
namespace ProgramConvert {

struct Result
{
    std::optional<Tx> error;
    QJsonObject config;
    bool ok() const { return !error; }
};
/// ProgNoConversionNeeded for a current document, ProgWrongVersion for one this program cannot handle,
/// ProgConvertFailed when the old document cannot be read.
Result toCurrent(const QJsonObject &config);

} // namespace ProgramConvert
