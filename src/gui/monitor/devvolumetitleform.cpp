#include "gui/monitor/devvolumetitleform.h"

#include "core/app/scalefactors.h"
#include "core/app/texts.h"

#include <QEvent>

DevVolumeTitleForm::DevVolumeTitleForm(QWidget *parent)
    : ColumnRow(stretches(), 0, parent)
{
    setObjectName(QStringLiteral("wd_volumeTitle"));
    setFixedHeight(scaled(40));
    setColors(QColor(0xA9, 0xA9, 0xB7), QColor(33, 34, 39));
    retranslate();
}

const QVector<int> &DevVolumeTitleForm::stretches()
{
    static const QVector<int> s{12, 22, 22, 22, 22};
    return s;
}

void DevVolumeTitleForm::retranslate()
{
    static const Tx captions[ColumnCount] = {Tx::ColName, Tx::LvlColAnalogIn, Tx::LvlColAnalogOut, Tx::LvlColNetIn,
                                             Tx::LvlColNetOut};
    for (int c = 0; c < ColumnCount; ++c)
        setText(c, tx(captions[c]));
}

void DevVolumeTitleForm::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::LanguageChange)
        retranslate();
    ColumnRow::changeEvent(event);
}
