#include "core/dsp/programs/programconvert.h"

// Placeholder until the converter of old documents is merged: every old document is refused.
ProgramConvert::Result ProgramConvert::toCurrent(const QJsonObject &)
{
    return {Tx::ProgWrongVersion, {}};
}
