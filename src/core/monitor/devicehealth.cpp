#include "core/monitor/devicehealth.h"

#include "core/app/texts.h"

RowProblem::Level DeviceHealth::temperatureLevel(int tenths)
{
    if (tenths > 850)
        return RowProblem::Error;
    if (tenths > 800)
        return RowProblem::Warning;
    return RowProblem::None;
}

RowProblem DeviceHealth::problem(const QString &name, bool unreachable, const QString &protectCode, int tenths)
{
    if (unreachable)
        return {RowProblem::Error, name + tx(Tx::CommAbnormalTip)};
    if (!protectCode.isEmpty() && protectCode != QLatin1String("0"))
        return {RowProblem::Error, name + tx(Tx::AmpProtectTip).arg(protectCode)};
    if (tenths == kNoTemperature)
        return {};
    switch (temperatureLevel(tenths)) {
    case RowProblem::Error: return {RowProblem::Error, name + tx(Tx::TempAbnormalTip)};
    case RowProblem::Warning: return {RowProblem::Warning, name + tx(Tx::TempHighTip)};
    default: return {};
    }
}
