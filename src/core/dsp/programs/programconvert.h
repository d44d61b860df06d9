#pragma once

#include "core/app/texts.h"

#include <QJsonObject>

#include <optional>

/// Bringing a program stored by an older device (document versions 2 and 3, docs/dsp.md "Older documents")
/// to the form this program and today's devices read. Pure: nothing is sent or shown here.
namespace ProgramConvert {

struct Result
{
    std::optional<Tx> error;
    QJsonObject config;
    bool ok() const { return !error; }
};

/// A document of any version to the current form (4): ProgNoConversionNeeded for a current one,
/// ProgWrongVersion for one newer than this program or not a version, ProgConvertFailed when an older
/// one cannot be converted (a member missing or out of shape). Never a half-converted document.
Result toCurrent(const QJsonObject &config);

} // namespace ProgramConvert
