#pragma once

#include <QtGlobal>

/// The fixed ports of the wire as docs/protocol.md lists them, seen from the
/// device side. Every part of the simulator names them from here.
namespace SimPorts {

constexpr quint16 device = 9994;     ///< format, clock, address and version; broadcast "setIp"; factory query
constexpr quint16 peripheral = 9992; ///< amplifier and GPIO
constexpr quint16 config = 9993;     ///< "getCfg", "setCfg"
constexpr quint16 uart = 7999;       ///< "sendUdpToUart"
constexpr quint16 lock = 9995;       ///< the settings and routing lock
constexpr quint16 dsp = 8999;        ///< DSP requests over UDP, and the DSP link over TCP
constexpr quint16 dspStatus = 12001; ///< the DSP window's status queries
constexpr quint16 announce = 9996;   ///< announcements, notices and events, to the groups
constexpr quint16 sap = 9875;        ///< SAP of multicast flows
constexpr quint16 rtp = 5004;        ///< the usual RTP port of a flow
constexpr quint16 control = 9990;    ///< the control port a device announces unless told otherwise

} // namespace SimPorts
