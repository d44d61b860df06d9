#pragma once

/// The delay block's four units, all from the integer sample count, which is what the device keeps; sound
/// travels at 340 m/s. Pure functions.
namespace DelayUnits {

constexpr double kSoundMetresPerSecond = 340.0;
constexpr double kMetresPerFoot = 0.3048;

double milliseconds(int samples, double rate);
double metres(int samples, double rate);
double feet(int samples, double rate);

/// An entry in a unit, converted to samples and rounded to the nearest one.
int fromMilliseconds(double ms, double rate);
int fromMetres(double metres, double rate);
int fromFeet(double feet, double rate);

} // namespace DelayUnits
