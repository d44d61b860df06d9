#pragma once

#include "core/app/texts.h"

struct DeviceUiData;

/// The controls of the lock dialog, the dialog level numbers they stand
/// for, and how much of the settings window a device's lock covers.
///
/// The settings-and-routing mask has no hidden bit for the details of
/// their own: hiding a device is its 0x10000 bit, which also takes the
/// device out of routing. So "hidden" of the details sends details level 1
/// with routing level 2 (mask 0x10003), and the routing choice has no
/// say while the device is hidden.
struct LockChoice
{
    enum Details { DetailsNormal, DetailsReadOnly, DetailsHidden };
    enum Routing { RoutingNormal, RoutingReadOnly };
    /// The values are the dialog level numbers of the audio-processing area.
    enum Dsp { DspNormal, DspReadOnly, DspDetailsReadOnly, DspHidden };

    Details details = DetailsNormal;
    Routing routing = RoutingNormal;
    Dsp dsp = DspNormal;

    /// The choices that show what the device reports ("getLock", levels 0-3).
    static LockChoice fromDevice(int devLock, int routeLock, int dspLock);

    /// The dialog level numbers LockPlan::setLock takes.
    int detailsLevel() const;
    int routingLevel() const;
    int dspLevel() const { return dsp; }

    bool operator==(const LockChoice &o) const
    {
        return details == o.details && routing == o.routing && dsp == o.dsp;
    }

    /// What covers the settings window, following the details choice that
    /// fromDevice() reads: nothing, a translucent cover that lets the values
    /// show (read-only), or an opaque one (hidden).
    enum Cover { NoCover, ReadOnlyCover, HiddenCover };
    static Cover settingsCover(const DeviceUiData &ui);

    /// The name of an area's level as the device reports it (0-3).
    static Tx detailsLevelText(int deviceLevel);
    static Tx routingLevelText(int deviceLevel);
    static Tx dspLevelText(int deviceLevel);
};
