#include "gui/device/settingsclockpage.h"

#include "core/app/scalefactors.h"
#include "core/app/texts.h"
#include "core/events/eventmonitor.h"
#include "gui/widgets/style.h"

#include <QEvent>
#include <QHeaderView>
#include <QLabel>
#include <QTableWidget>
#include <QVBoxLayout>

SettingsClockPage::SettingsClockPage(const QString &devId, QWidget *parent)
    : QWidget(parent)
    , m_devId(devId)
{
    setObjectName(QStringLiteral("page_clockHistory"));
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(scaled(24), scaled(20), scaled(24), scaled(20));
    layout->setSpacing(scaled(12));
    m_empty = new QLabel(this);
    m_empty->setObjectName(QStringLiteral("lb_noClockHistory"));
    m_empty->setWordWrap(true);
    layout->addWidget(m_empty);
    m_table = new QTableWidget(0, 3, this);
    m_table->setObjectName(QStringLiteral("tw_clockHistory"));
    m_table->setEditTriggers(QAbstractItemView::NoEditTriggers);
    m_table->setSelectionBehavior(QAbstractItemView::SelectRows);
    m_table->verticalHeader()->setVisible(false);
    m_table->horizontalHeader()->setSectionResizeMode(0, QHeaderView::ResizeToContents);
    m_table->horizontalHeader()->setSectionResizeMode(1, QHeaderView::ResizeToContents);
    m_table->horizontalHeader()->setStretchLastSection(true);
    m_table->setShowGrid(false);
    m_table->setStyleSheet(QStringLiteral("QTableWidget::item { padding: 0 %1px; }").arg(scaled(10)));
    layout->addWidget(m_table, 1);
    retranslate();
}

void SettingsClockPage::setMonitor(const EventMonitor *monitor)
{
    if (m_monitor)
        disconnect(m_monitor, nullptr, this, nullptr);
    m_monitor = monitor;
    if (m_monitor)
        connect(m_monitor, &EventMonitor::signal_clockChanged, this, [this](const QString &devId) {
            if (devId == m_devId)
                refresh();
        });
    refresh();
}

void SettingsClockPage::refresh()
{
    const QVector<EventMonitor::ClockChange> history =
        m_monitor ? m_monitor->clockHistory(m_devId) : QVector<EventMonitor::ClockChange>();
    m_table->setRowCount(history.size());
    for (int i = 0; i < history.size(); ++i) {
        const EventMonitor::ClockChange &c = history.at(history.size() - 1 - i);
        const QString cells[3] = {EventLine::timeText(c.atMs, true), c.stateText(), c.leaderText()};
        const bool trouble = c.state == EventMonitor::ClockChange::NoLeader ||
                             c.state == EventMonitor::ClockChange::Settling ||
                             c.state == EventMonitor::ClockChange::Gone;
        for (int col = 0; col < 3; ++col) {
            auto *item = new QTableWidgetItem(cells[col]);
            item->setToolTip(cells[col]);
            item->setForeground(trouble ? Style::kWarning : Style::kTextBright);
            m_table->setItem(i, col, item);
        }
    }
    m_empty->setVisible(history.isEmpty());
    m_table->setVisible(!history.isEmpty());
}

void SettingsClockPage::retranslate()
{
    m_empty->setText(tx(Tx::EvHistoryEmpty));
    m_table->setHorizontalHeaderLabels({tx(Tx::EvColTime), tx(Tx::EvColState), tx(Tx::EvColLeader)});
    refresh();
}

void SettingsClockPage::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::LanguageChange)
        retranslate();
    QWidget::changeEvent(event);
}
