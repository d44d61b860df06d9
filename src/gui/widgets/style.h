#pragma once

#include <QColor>
#include <QFont>
#include <QIcon>
#include <QString>

/// The shared dark look of every page and dialog.
namespace Style {

inline const QColor kBackground(33, 34, 39);
inline const QColor kTitleStrip(50, 89, 182);
inline const QColor kPanel(42, 44, 51);
inline const QColor kBorder(62, 65, 75);
inline const QColor kText(0xA9, 0xA9, 0xB7);
inline const QColor kTextBright(230, 232, 238);
inline const QColor kAccent(50, 89, 182);
inline const QColor kAccentHover(72, 112, 206);
inline const QColor kSuccess(58, 170, 110);
inline const QColor kWarning(230, 160, 40);
inline const QColor kError(214, 72, 72);

/// The application-wide style sheet: buttons, scroll bars, sliders, spin
/// boxes, line edits, tool tips; sizes already scaled for this screen.
QString applicationStyleSheet();

/// The title-strip image style with the picture at path.
QString titleImageStyle(const QString &path);

/// A font of the designed point size on this screen.
QFont font(double designPoints, bool bold = false);

QString rgb(const QColor &c);

/// "/icon.ico" beside the executable when present, else the built-in icon.
QIcon windowIcon();
/// "/title.png" beside the executable when present, else the built-in image.
QString titleImagePath();

} // namespace Style
