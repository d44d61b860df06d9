#include "core/clock/clockstatus.h"

#include "core/app/texts.h"
#include "core/devices/devicemodels.h"
#include "core/devices/devicerecord.h"

ClockStatus ClockStatus::of(const DevRecord &rec, int ptpState)
{
    ClockStatus s;
    if (DeviceModels::isVirtualSoundCard(rec.model.str())) {
        s.leader = false;
        s.locked = true;
        return s;
    }
    s.leader = rec.myClkId.str() == rec.gmClkId.str();
    s.locked = ptpState == 2 || s.leader;
    return s;
}

QString ClockStatus::roleText() const
{
    return tx(leader ? Tx::ClockMaster : Tx::ClockSlave);
}

QString ClockStatus::stateText() const
{
    return tx(locked ? Tx::ClockLocked : Tx::ClockUnlock);
}
