#pragma once

#include <QtGlobal>

/// The fixed ports of the devices, each written once. Requests go to the
/// port a device announced unless the operation belongs to one of these.
namespace DevicePorts {

constexpr quint16 kAnnounce = 9996; ///< announcements and events, both groups
constexpr quint16 kSap = 9875;      ///< SAP flow announcements
constexpr quint16 kSettings = 9994; ///< clock, address and format settings; the discovery probe
constexpr quint16 kInfo = 9992;     ///< amplifier and GPIO
constexpr quint16 kConfig = 9993;   ///< device configuration blocks
constexpr quint16 kUart = 7999;     ///< the serial bridge
constexpr quint16 kLock = 9995;     ///< lock and password of the settings side
constexpr quint16 kDsp = 8999;      ///< the DSP's TCP link, its datagrams and its lock
constexpr quint16 kDspStatus = 12001; ///< the DSP window's two status queries

} // namespace DevicePorts
