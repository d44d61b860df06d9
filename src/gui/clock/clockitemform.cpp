#include "gui/clock/clockitemform.h"

#include "gui/clock/formclocktitle.h"
#include "core/app/scalefactors.h"
#include "core/app/texts.h"
#include "gui/widgets/rowtipbutton.h"
#include "gui/widgets/style.h"

#include <QEvent>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>

ClockItemForm::ClockItemForm(const QString &devId, QWidget *parent)
    : ColumnRow(FormClockTitle::stretches(), FormClockTitle::kTipWidth, parent)
    , m_devId(devId)
{
    setObjectName(QStringLiteral("wd_clockItem"));
    setFixedHeight(scaled(40));
    m_tip = new RowTipButton(this);
    leadingLayout()->addWidget(m_tip);

    m_edit = new QPushButton(this);
    m_edit->setObjectName(QStringLiteral("pb_editPriority"));
    m_edit->setIcon(QIcon(QStringLiteral(":/pic/edit_white.png")));
    m_edit->setIconSize(QSize(scaled(16), scaled(16)));
    m_edit->setFixedSize(scaled(26), scaled(26));
    m_edit->setCursor(Qt::PointingHandCursor);
    m_edit->setStyleSheet(
        QStringLiteral("QPushButton { border: none; background: transparent; padding: 0; min-height: 0; }"
                       "QPushButton:hover { background-color: rgb(54, 57, 66); }"));
    m_edit->setToolTip(tx(Tx::ClkEditPriority));
    cellLayout(FormClockTitle::Priority)->addWidget(m_edit);
    connect(m_edit, &QPushButton::clicked, this, [this] { emit signal_editPriority(m_devId); });
    m_leader = new QLabel(QStringLiteral("★"), this);
    m_leader->setObjectName(QStringLiteral("lb_leader"));
    m_leader->setStyleSheet(QStringLiteral("QLabel { color: rgb(240, 190, 60); }"));
    m_leader->setToolTip(tx(Tx::ClkLeaderMark));
    m_leader->hide();
    cellLayout(FormClockTitle::Name)->insertWidget(0, m_leader);
    setRow(ClockRow());
}

void ClockItemForm::setLeaderMark(bool leader)
{
    if (leader == m_leaderMark)
        return;
    m_leaderMark = leader;
    m_leader->setVisible(leader);
    QFont f = label(FormClockTitle::Name)->font();
    f.setBold(leader);
    label(FormClockTitle::Name)->setFont(f);
}

void ClockItemForm::setRow(const ClockRow &row)
{
    m_row = row;
    const QString cells[FormClockTitle::ColumnCount] = {row.name,  row.model,      row.devId,    row.ip,     row.role,
                                                        row.state, row.adjustFreq, row.priority, row.version};
    for (int c = 0; c < FormClockTitle::ColumnCount; ++c)
        setText(c, cells[c]);
    m_tip->setProblem(row.problem);
    // A row in error is drawn in red; a warning shows its icon only.
    const bool red = row.problem.level == RowProblem::Error;
    if (int(red) != m_colorLevel) {
        m_colorLevel = int(red);
        setColors(red ? Style::kError : QColor(0xA9, 0xA9, 0xB7), Qt::transparent, true);
    }
}

void ClockItemForm::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::LanguageChange) {
        m_edit->setToolTip(tx(Tx::ClkEditPriority));
        m_leader->setToolTip(tx(Tx::ClkLeaderMark));
    }
    ColumnRow::changeEvent(event);
}
