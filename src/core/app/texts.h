#pragma once

#include <QString>

/// Every visible text, in English and Chinese; the language flag picks.
enum class Tx {
#define TX(id, en, zh) id,
#include "core/app/texts.def"
#undef TX
    Count
};

/// The text in the current language.
QString tx(Tx id);
/// The text in the given language.
QString tx(Tx id, bool chinese);
