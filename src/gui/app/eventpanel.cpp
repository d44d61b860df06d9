#include "gui/app/eventpanel.h"

#include "core/app/atomicfile.h"
#include "core/app/scalefactors.h"
#include "core/app/texts.h"
#include "core/events/eventmonitor.h"
#include "gui/widgets/filechoice.h"
#include "gui/widgets/style.h"

#include <QEvent>
#include <QHBoxLayout>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QScrollBar>
#include <QVBoxLayout>

EventPanel::EventPanel(EventMonitor *monitor, QWidget *parent)
    : QWidget(parent)
    , m_monitor(monitor)
{
    setObjectName(QStringLiteral("wd_events"));
    setAttribute(Qt::WA_StyledBackground);
    setStyleSheet(
        QStringLiteral("#wd_events { background-color: rgb(28, 29, 34); border-left: 1px solid rgb(50, 52, 60); }"));
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(scaled(12), scaled(10), scaled(12), scaled(10));
    layout->setSpacing(scaled(8));

    auto *head = new QHBoxLayout;
    m_title = new QLabel(this);
    m_title->setFont(Style::font(11, true));
    m_title->setStyleSheet(QStringLiteral("color: %1;").arg(Style::rgb(Style::kTextBright)));
    m_save = new QPushButton(this);
    m_save->setObjectName(QStringLiteral("pb_saveLog"));
    m_close = new QPushButton(this);
    m_close->setObjectName(QStringLiteral("pb_closeEvents"));
    head->addWidget(m_title, 1);
    head->addWidget(m_save);
    head->addWidget(m_close);
    layout->addLayout(head);

    m_empty = new QLabel(this);
    m_empty->setObjectName(QStringLiteral("lb_noEvents"));
    m_empty->setWordWrap(true);
    layout->addWidget(m_empty);
    m_list = new QListWidget(this);
    m_list->setObjectName(QStringLiteral("lw_events"));
    m_list->setWordWrap(true);
    m_list->setUniformItemSizes(false);
    m_list->setSelectionMode(QAbstractItemView::ExtendedSelection);
    m_list->setFont(Style::font(9.5));
    m_list->setStyleSheet(
        QStringLiteral("QListWidget { background-color: rgb(33, 34, 39); border: 1px solid rgb(50, 52, 60); }"
                       "QListWidget::item { padding: %1px %2px; }")
            .arg(scaled(3))
            .arg(scaled(4)));
    layout->addWidget(m_list, 1);

    connect(m_save, &QPushButton::clicked, this, &EventPanel::save);
    connect(m_close, &QPushButton::clicked, this, &EventPanel::signal_closeRequested);
    connect(m_monitor, &EventMonitor::signal_added, this, &EventPanel::append);
    // Alerts that arrive while the panel is open are seen as they come.
    connect(m_monitor, &EventMonitor::signal_unseenChanged, this, [this](int count) {
        if (count > 0 && isVisible())
            m_monitor->markSeen();
    });
    retranslate();
    rebuild();
}

void EventPanel::append(const EventLine &line)
{
    QScrollBar *bar = m_list->verticalScrollBar();
    const bool atBottom = bar->value() >= bar->maximum() - 2;
    auto *item = new QListWidgetItem(EventLine::timeText(line.atMs, false) + QStringLiteral("  ") +
                                     EventLine::severityText(line.severity) + QStringLiteral("  ") + line.text());
    item->setToolTip(line.logLine());
    item->setData(Qt::UserRole, int(line.severity));
    const QColor colour = line.severity == EventLine::Error     ? Style::kError
                          : line.severity == EventLine::Warning ? Style::kWarning
                                                                : Style::kText;
    item->setForeground(colour);
    if (line.isAlert()) {
        QFont f = m_list->font();
        f.setBold(true);
        item->setFont(f);
    }
    m_list->addItem(item);
    while (m_list->count() > EventMonitor::kMaxLines)
        delete m_list->takeItem(0);
    m_empty->setVisible(false);
    m_list->setVisible(true);
    // An operator reading older lines is not pulled down by new ones.
    if (atBottom)
        m_list->scrollToBottom();
}

void EventPanel::rebuild()
{
    m_list->clear();
    for (const EventLine &line : m_monitor->lines())
        append(line);
    m_empty->setVisible(m_list->count() == 0);
    m_list->setVisible(m_list->count() > 0);
    m_list->scrollToBottom();
}

void EventPanel::save()
{
    const QString path = FileChoice::save(this, tx(Tx::EvSave), tx(Tx::EvFileFilter));
    if (path.isEmpty())
        return;
    QString why;
    if (AtomicFile::write(path, m_monitor->logText().toUtf8(), &why))
        emit signal_showTips(tx(Tx::EvSaved).arg(int(m_monitor->lines().size())), true);
    else
        emit signal_showTips(tx(Tx::EvSaveFailed).arg(why), false);
}

void EventPanel::showEvent(QShowEvent *event)
{
    QWidget::showEvent(event);
    m_monitor->markSeen();
}

void EventPanel::retranslate()
{
    m_title->setText(tx(Tx::EvTitle));
    m_empty->setText(tx(Tx::EvEmpty));
    m_save->setText(tx(Tx::EvSave));
    m_close->setText(tx(Tx::EvClose));
}

void EventPanel::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::LanguageChange) {
        retranslate();
        rebuild();
    }
    QWidget::changeEvent(event);
}
