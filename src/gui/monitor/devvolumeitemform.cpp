#include "gui/monitor/devvolumeitemform.h"

#include "gui/monitor/devvolumetitleform.h"
#include "core/app/scalefactors.h"
#include "core/app/texts.h"
#include "gui/widgets/style.h"

#include <QFontDatabase>
#include <QLayout>
#include <QLabel>

DevVolumeItemForm::DevVolumeItemForm(const QString &devId, QWidget *parent)
    : ColumnRow(DevVolumeTitleForm::stretches(), 0, parent)
    , m_devId(devId)
{
    setObjectName(QStringLiteral("wd_volumeItem"));
    setColors(QColor(0xA9, 0xA9, 0xB7), Qt::transparent, true);
    // Fixed-width digits keep the values of the lines under one another.
    QFont mono = QFontDatabase::systemFont(QFontDatabase::FixedFont);
    mono.setPointSizeF(scaledFont(9.5));
    for (int c = DevVolumeTitleForm::AnalogIn; c < DevVolumeTitleForm::ColumnCount; ++c)
        label(c)->setFont(mono);
    layout()->setContentsMargins(scaled(8), scaled(9), scaled(8), scaled(9));
    setLineCount(1);
}

void DevVolumeItemForm::setLineCount(int lines)
{
    if (lines == m_lines)
        return;
    m_lines = lines;
    const int text = label(DevVolumeTitleForm::AnalogIn)->fontMetrics().lineSpacing() * lines;
    setFixedHeight(qMax(scaled(40), text + scaled(18)));
}

void DevVolumeItemForm::setRow(const LevelsTracker::Row &row)
{
    setText(DevVolumeTitleForm::Name, row.name);
    int lines = m_lines;
    for (int g = 0; g < LevelsTracker::GroupCount; ++g) {
        setText(DevVolumeTitleForm::AnalogIn + g, row.cells[size_t(g)]);
        lines = qMax(lines, row.cells[size_t(g)].count(QLatin1Char('\n')) + 1);
    }
    // A device that answers more channels than it announced still shows them all.
    setLineCount(lines);
}
