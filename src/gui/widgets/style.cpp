#include "gui/widgets/style.h"

#include "core/app/scalefactors.h"

#include <QCoreApplication>
#include <QFile>

namespace Style {

QString rgb(const QColor &c)
{
    if (c.alpha() != 255)
        return QStringLiteral("rgba(%1, %2, %3, %4)").arg(c.red()).arg(c.green()).arg(c.blue()).arg(c.alpha());
    return QStringLiteral("rgb(%1, %2, %3)").arg(c.red()).arg(c.green()).arg(c.blue());
}

QIcon windowIcon()
{
    const QString path = QCoreApplication::applicationDirPath() + QStringLiteral("/icon.ico");
    return QFile::exists(path) ? QIcon(path) : QIcon(QStringLiteral(":/icon.png"));
}

QString titleImagePath()
{
    const QString path = QCoreApplication::applicationDirPath() + QStringLiteral("/title.png");
    return QFile::exists(path) ? path : QStringLiteral(":/title.png");
}

QString titleImageStyle(const QString &path)
{
    return QStringLiteral("background-color:rgb(33, 34, 39);border:none;image: url(%1);").arg(path);
}

QFont font(double designPoints, bool bold)
{
    QFont f;
    f.setPointSizeF(scaledFont(designPoints));
    f.setBold(bold);
    return f;
}

QString applicationStyleSheet()
{
    const auto px = [](int v) { return QString::number(scaled(v)) + QStringLiteral("px"); };
    QString s = QStringLiteral(R"(
QWidget { color: @text; font-size: @font; }
QDialog, QMainWindow { background-color: @bg; }
QToolTip { color: @bright; background-color: @panel; border: 1px solid @border; padding: @p4; }
QLabel { background: transparent; }

QPushButton {
    color: @bright; background-color: @panel; border: 1px solid @border;
    border-radius: @r4; padding: @p6 @p16; min-height: @h24;
}
QPushButton:hover { background-color: rgb(54, 57, 66); border-color: @accent; }
QPushButton:pressed { background-color: @accent; }
QPushButton:checked { background-color: @accent; border-color: @accent; }
QPushButton[role="primary"] { background-color: @accent; border-color: @accent; }
QPushButton[role="primary"]:hover { background-color: @accentHover; }
/* Last and as specific as any face above: a disabled button never keeps a live colour. */
QPushButton:disabled, QPushButton:checked:disabled,
QPushButton[role="primary"]:disabled, QPushButton[role="primary"]:hover:disabled {
    color: @dimText; background-color: @dimFace; border-color: @dimFace;
}

QLineEdit, QSpinBox, QDoubleSpinBox, QComboBox {
    color: @bright; background-color: rgb(26, 27, 31); border: 1px solid @border;
    border-radius: @r3; padding: @p3 @p6; min-height: @h22;
    selection-background-color: @accent;
}
QLineEdit:disabled, QSpinBox:disabled, QDoubleSpinBox:disabled, QComboBox:disabled { color: @dimText; }
QPlainTextEdit, QTextEdit {
    color: @bright; background-color: rgb(26, 27, 31); border: 1px solid @border;
    border-radius: @r3; selection-background-color: @accent;
}
QLineEdit:focus, QSpinBox:focus, QDoubleSpinBox:focus, QComboBox:focus { border-color: @accent; }
QSpinBox::up-button, QDoubleSpinBox::up-button,
QSpinBox::down-button, QDoubleSpinBox::down-button { width: @w16; border: none; background: transparent; }
QSpinBox::up-arrow, QDoubleSpinBox::up-arrow { image: url(:/pic/ui/spin_up.png); width: @w10; height: @w10; }
QSpinBox::down-arrow, QDoubleSpinBox::down-arrow { image: url(:/pic/ui/spin_down.png); width: @w10; height: @w10; }
QComboBox QAbstractItemView { background-color: @panel; color: @bright; selection-background-color: @accent; }

QScrollBar:vertical { background: @bg; width: @w10; margin: 0; }
QScrollBar::handle:vertical { background: rgb(70, 73, 84); min-height: @h24; border-radius: @r4; }
QScrollBar::handle:vertical:hover { background: @accent; }
QScrollBar:horizontal { background: @bg; height: @w10; margin: 0; }
QScrollBar::handle:horizontal { background: rgb(70, 73, 84); min-width: @h24; border-radius: @r4; }
QScrollBar::handle:horizontal:hover { background: @accent; }
QScrollBar::add-line, QScrollBar::sub-line { width: 0; height: 0; border: none; background: none; }
QScrollBar::add-page, QScrollBar::sub-page { background: none; }

QSlider::groove:horizontal { height: @w4; background: rgb(60, 63, 72); border-radius: @r2; }
QSlider::sub-page:horizontal { background: @accent; border-radius: @r2; }
QSlider::handle:horizontal { background: @bright; width: @w14; margin: -@p5 0; border-radius: @r7; }
QSlider::groove:vertical { width: @w4; background: rgb(60, 63, 72); border-radius: @r2; }
QSlider::add-page:vertical { background: @accent; border-radius: @r2; }
QSlider::handle:vertical { background: @bright; height: @w14; margin: 0 -@p5; border-radius: @r7; }

QTableView, QTreeView, QListView {
    background-color: @bg; alternate-background-color: rgb(37, 38, 44); color: @text;
    gridline-color: @border; border: 1px solid @border; selection-background-color: rgba(50, 89, 182, 150);
}
QHeaderView::section { background-color: @panel; color: @text; border: none; border-right: 1px solid @border; padding: @p4; }
QCheckBox, QRadioButton { color: @text; spacing: @p6; }
)");
    const struct { const char *key; QString value; } subs[] = {
        {"@dimText", QStringLiteral("rgb(100, 102, 110)")}, {"@dimFace", QStringLiteral("rgb(38, 39, 45)")},
        {"@accentHover", rgb(kAccentHover)}, {"@accent", rgb(kAccent)}, {"@bright", rgb(kTextBright)},
        {"@text", rgb(kText)}, {"@panel", rgb(kPanel)}, {"@border", rgb(kBorder)}, {"@bg", rgb(kBackground)},
        {"@font", QString::number(qRound(scaledFont(11) * 96 / 72)) + QStringLiteral("px")},
        {"@p16", px(16)}, {"@p6", px(6)}, {"@p5", px(5)}, {"@p4", px(4)}, {"@p3", px(3)},
        {"@r7", px(7)}, {"@r4", px(4)}, {"@r3", px(3)}, {"@r2", px(2)},
        {"@h24", px(24)}, {"@h22", px(22)}, {"@w16", px(16)}, {"@w14", px(14)}, {"@w10", px(10)}, {"@w4", px(4)},
    };
    for (const auto &sub : subs)
        s.replace(QLatin1String(sub.key), sub.value);
    return s;
}

} // namespace Style
