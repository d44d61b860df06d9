#include "core/routing/axisitem.h"

namespace {

// Leaves room between the fold arrow and the name.
const QLatin1String kOwnerPrefix(" ");

} // namespace

QString AxisItem::headerText() const
{
    if (isOwner())
        return kOwnerPrefix + ownerName;
    const QString number = QString::number(channel);
    if (channelName.isEmpty() || channelName == number)
        return number;
    return number + QLatin1String("  ") + channelName;
}
