#include "core/device/lockchoice.h"

#include "core/device/lockplan.h"
#include "core/devices/deviceuistore.h"

namespace {

// Details and routing: 0 normal, 1 read-only, 2 hidden in dialog numbers;
// the device never reports the remaining level, read as the safer read-only.
Tx twoAreaText(int deviceLevel)
{
    switch (LockPlan::dialogLevel(deviceLevel)) {
    case 0: return Tx::LockNormal;
    case 2: return Tx::LockHidden;
    default: return Tx::LockReadOnly;
    }
}

} // namespace

LockChoice LockChoice::fromDevice(int devLock, int routeLock, int dspLock)
{
    LockChoice c;
    const int details = LockPlan::dialogLevel(devLock);
    const int routing = LockPlan::dialogLevel(routeLock);
    if (details == 2 || routing == 2)
        c.details = DetailsHidden;
    else if (details != 0)
        c.details = DetailsReadOnly;
    c.routing = routing != 0 ? RoutingReadOnly : RoutingNormal;
    const int dsp = LockPlan::dialogLevel(dspLock);
    c.dsp = dsp >= DspNormal && dsp <= DspHidden ? Dsp(dsp) : DspNormal;
    return c;
}

int LockChoice::detailsLevel() const
{
    return details == DetailsNormal ? 0 : 1;
}

int LockChoice::routingLevel() const
{
    if (details == DetailsHidden)
        return 2;
    return routing == RoutingReadOnly ? 1 : 0;
}

LockChoice::Cover LockChoice::settingsCover(const DeviceUiData &ui)
{
    if (!ui.lockKnown)
        return NoCover;
    // The cover shows the details level exactly as the lock dialog reads it.
    switch (fromDevice(ui.devLock, ui.routeLock, ui.dspLock).details) {
    case DetailsHidden: return HiddenCover;
    case DetailsReadOnly: return ReadOnlyCover;
    default: return NoCover;
    }
}

Tx LockChoice::detailsLevelText(int deviceLevel)
{
    return twoAreaText(deviceLevel);
}

Tx LockChoice::routingLevelText(int deviceLevel)
{
    return twoAreaText(deviceLevel);
}

Tx LockChoice::dspLevelText(int deviceLevel)
{
    switch (LockPlan::dialogLevel(deviceLevel)) {
    case DspReadOnly: return Tx::LockReadOnly;
    case DspDetailsReadOnly: return Tx::LockDetailsReadOnly;
    case DspHidden: return Tx::LockHidden;
    default: return Tx::LockNormal;
    }
}
