#pragma once

#include <QString>

/// Style pieces the shared dark style leaves to the platform: check and
/// radio indicators, which would otherwise show as white squares.
namespace SettingsStyle {

QString indicators();

} // namespace SettingsStyle
