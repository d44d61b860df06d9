#pragma once

#include "core/app/texts.h"

#include <QJsonObject>

#include <optional>

namespace ProgramConvert {
struct Result { std::optional<Tx> error; QJsonObject config; bool ok() const { return !error; } };
Result toCurrent(const QJsonObject &config); // ProgNoConversionNeeded / ProgWrongVersion / ProgConvertFailed
}
