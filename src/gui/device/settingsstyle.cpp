#include "gui/device/settingsstyle.h"

#include "core/app/scalefactors.h"
#include "gui/widgets/style.h"

namespace SettingsStyle {

QString indicators()
{
    const int size = scaled(14);
    return QStringLiteral(
               "QCheckBox::indicator, QRadioButton::indicator { width: %1px; height: %1px;"
               " border: 1px solid rgb(96, 100, 112); background-color: rgb(26, 27, 31); }"
               "QRadioButton::indicator { border-radius: %2px; }"
               "QCheckBox::indicator { border-radius: %3px; }"
               "QCheckBox::indicator:hover, QRadioButton::indicator:hover { border-color: %4; }"
               "QRadioButton::indicator:checked { border-color: %4; background-color: qradialgradient(cx:0.5,"
               " cy:0.5, radius:0.5, fx:0.5, fy:0.5, stop:0 %5, stop:0.5 %5, stop:0.6 rgb(26, 27, 31),"
               " stop:1 rgb(26, 27, 31)); }"
               "QCheckBox::indicator:checked { border: none; image: url(:/pic/checked.png); }"
               "QCheckBox::indicator:disabled, QRadioButton::indicator:disabled { border-color: rgb(62, 65, 75); }"
               "QCheckBox:checked, QRadioButton:checked { color: %6; }")
        .arg(size)
        .arg(size / 2 + 1)
        .arg(scaled(3))
        .arg(Style::rgb(Style::kAccent), Style::rgb(Style::kAccentHover), Style::rgb(Style::kTextBright));
}

} // namespace SettingsStyle
