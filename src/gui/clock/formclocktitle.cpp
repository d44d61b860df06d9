#include "gui/clock/formclocktitle.h"

#include "core/app/scalefactors.h"
#include "core/app/texts.h"

#include <QColor>
#include <QEvent>

FormClockTitle::FormClockTitle(QWidget *parent)
    : ColumnRow(stretches(), kTipWidth, parent)
{
    setObjectName(QStringLiteral("wd_clockTitle"));
    setFixedHeight(scaled(40));
    setColors(QColor(0xA9, 0xA9, 0xB7), QColor(33, 34, 39));
    retranslate();
}

const QVector<int> &FormClockTitle::stretches()
{
    static const QVector<int> s{16, 10, 11, 10, 8, 8, 9, 10, 8};
    return s;
}

void FormClockTitle::retranslate()
{
    static const Tx captions[ColumnCount] = {Tx::ColName,    Tx::ColModel,       Tx::ColDevId,
                                             Tx::ColAddress, Tx::ClkColRole,     Tx::ClkColState,
                                             Tx::ClkColFreq, Tx::ClkColPriority, Tx::ColFirmware};
    for (int c = 0; c < ColumnCount; ++c)
        setText(c, tx(captions[c]));
}

void FormClockTitle::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::LanguageChange)
        retranslate();
    ColumnRow::changeEvent(event);
}
