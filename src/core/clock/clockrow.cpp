#include "core/clock/clockrow.h"

#include "core/clock/clockpriority.h"
#include "core/clock/clockstatus.h"
#include "core/app/texts.h"
#include "core/devices/devicemodels.h"
#include "core/devices/devicerecord.h"
#include "core/devices/deviceuistore.h"
#include "core/protocol/ipv4.h"

namespace {

bool isAllZeros(const QString &clockId)
{
    for (const QChar c : clockId)
        if (c != QLatin1Char('0') && c != QLatin1Char('-'))
            return false;
    return true;
}

} // namespace

ClockRow ClockRow::of(const DevRecord &rec, const DeviceUiData &ui)
{
    ClockRow row;
    row.devId = rec.devId.str();
    row.name = rec.name.str();
    row.model = rec.model.str();
    row.ip = Ipv4::toText(rec.ip);
    const ClockStatus s = ClockStatus::of(rec, ui.ptpState);
    row.leader = s.leader;
    row.locked = s.locked;
    row.role = s.roleText();
    row.state = s.stateText();
    row.adjustFreq = ui.adjustFreq;
    row.priority = ClockPriority::cellText(ui.ptpPriority);
    row.version = ui.version;
    if (DeviceModels::isVirtualSoundCard(row.model))
        return row;
    if (isAllZeros(rec.gmClkId.str()))
        row.problem = {RowProblem::Error, row.name + tx(Tx::ClockNoLeaderTip)};
    else if (!s.locked)
        row.problem = {RowProblem::Warning, row.name + tx(Tx::ClockUnlockedTip)};
    return row;
}
