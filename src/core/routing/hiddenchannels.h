#pragma once

#include <QString>

/// Channels that some model families keep out of the routing grid.
namespace HiddenChannels {

/// How many of a model's channels the grid leaves out (the last ones), on
/// either side, whatever the display flag.
int hiddenBy(const QString &model);
/// The channels the grid shows out of count, under the display flag.
int shownCount(const QString &model, int count);

/// Program-wide: 1 shows every channel of every model. Set once at start-up
/// ("--all-channels"); read on the interface thread.
int displayFlag();
void setDisplayFlag(int flag);

} // namespace HiddenChannels
