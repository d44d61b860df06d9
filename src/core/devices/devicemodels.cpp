#include "core/devices/devicemodels.h"

namespace DeviceModels {

bool isDspCapable(const QString &model)
{
    return model.startsWith(QLatin1String("RK")) && model.endsWith(QLatin1Char('D'));
}

} // namespace DeviceModels
