#include "gui/monitor/netstateitemform.h"

#include "gui/monitor/formnettitle.h"
#include "core/app/scalefactors.h"
#include "core/app/texts.h"
#include "gui/widgets/rowtipbutton.h"
#include "gui/widgets/style.h"

#include <QHBoxLayout>
#include <QLabel>

NetStateItemForm::NetStateItemForm(const QString &devId, QWidget *parent)
    : ColumnRow(FormNetTitle::stretches(), FormNetTitle::kTipWidth, parent)
    , m_devId(devId)
{
    setObjectName(QStringLiteral("wd_netStateItem"));
    setFixedHeight(scaled(40));
    m_tip = new RowTipButton(this);
    leadingLayout()->addWidget(m_tip);
    setRow(NetStateRow());
}

void NetStateItemForm::setRow(const NetStateRow &row)
{
    m_row = row;
    const QString cells[FormNetTitle::ColumnCount] = {row.name,        row.model,      row.devId,
                                                      row.sampleRate,  row.packetTime, row.delay,
                                                      row.temperature, row.bandwidth,  row.uptime};
    for (int c = 0; c < FormNetTitle::ColumnCount; ++c)
        setText(c, cells[c]);
    // The amplifier's own figures join the device's temperature, each under its label.
    if (!row.amplifier.isEmpty())
        label(FormNetTitle::Temperature)
            ->setToolTip(tx(Tx::NetTempTipDevice)
                             .arg(row.temperature.isEmpty() ? QStringLiteral("?") : row.temperature) +
                         QLatin1Char('\n') + row.amplifier);
    m_tip->setProblem(row.problem);
    const bool red = row.problem.level == RowProblem::Error;
    if (int(red) != m_colorLevel) {
        m_colorLevel = int(red);
        setColors(red ? Style::kError : QColor(0xA9, 0xA9, 0xB7), Qt::transparent, true);
    }
}
