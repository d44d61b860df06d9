#pragma once

class DeviceLink;
class EventMonitor;

/// Feeds an event monitor from a device link: the registry's notices, every
/// message the pages get, and the device list on each notice and on the
/// device-information tick (a new clock leader shows only in the announced
/// leader identities, which the registry does not announce as a change).
/// The main window and `corvane-cli events` both use it.
namespace EventFeed {

void attach(DeviceLink *link, EventMonitor *monitor);

} // namespace EventFeed
