// Stands in until the converter of old documents is merged; it refuses every document.
#include "core/dsp/programs/programconvert.h"

namespace ProgramConvert {
Result toCurrent(const QJsonObject &)
{
    return {Tx::ProgWrongVersion, {}};
}
}
