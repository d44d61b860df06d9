#pragma once

#include <QString>

/// What a device's model code says about it.
namespace DeviceModels {

/// The virtual sound card: never a clock leader, never a multicast receiver.
inline bool isVirtualSoundCard(const QString &model) { return model == QLatin1String("RK0000"); }
/// The amplifier with its own amplifier settings and information.
inline bool isAmplifier(const QString &model) { return model == QLatin1String("RK7731"); }
/// Models whose code ends in "D" carry a signal processor.
bool isDspCapable(const QString &model);
/// Amplifiers and signal processors have GPIO pins.
inline bool hasGpio(const QString &model) { return isAmplifier(model) || isDspCapable(model); }

} // namespace DeviceModels
