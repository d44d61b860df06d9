#include "gui/monitor/netstateform.h"

#include "gui/monitor/formnettitle.h"
#include "gui/monitor/netstateitemform.h"
#include "core/app/scalefactors.h"
#include "core/app/texts.h"
#include "core/devices/devmanager.h"
#include "gui/widgets/rowlist.h"
#include "gui/widgets/planrunner.h"

#include <QEvent>
#include <QJsonDocument>
#include <QLabel>
#include <QTimer>
#include <QVBoxLayout>

NetStateForm::NetStateForm(const DevManager &registry, QWidget *parent)
    : QWidget(parent)
    , m_registry(registry)
{
    setObjectName(QStringLiteral("NetStateForm"));
    m_runner = new PlanRunner(this, QStringLiteral("NetStateForm"));
    connect(m_runner, &PlanRunner::signal_sendUdp, this, &NetStateForm::signal_sendUdp);
    m_title = new FormNetTitle;
    m_list = new RowList(m_title, this);
    m_count = new QLabel(this);
    m_count->setObjectName(QStringLiteral("lb_count"));
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(scaled(16), scaled(14), scaled(16), scaled(14));
    layout->setSpacing(scaled(10));
    layout->addWidget(m_count);
    layout->addWidget(m_list, 1);
    connect(m_title, &FormNetTitle::signal_sortChanged, this, [this] {
        showRows(m_registry.devices());
        emit signal_sortChoiceChanged(sortChoice());
    });

    // A child of the page: it stops when the page is destroyed.
    m_timer = new QTimer(this);
    m_timer->setObjectName(QStringLiteral("tm_poll"));
    m_timer->setInterval(NetStatsTracker::kPollMs);
    connect(m_timer, &QTimer::timeout, this, &NetStateForm::slot_poll);
    m_timer->start();
    m_list->setEmptyText(tx(Tx::MonitorEmpty));
    slot_refresh();
}

namespace {
const char *const kSortChoices[] = {"Default", "Ascending", "Descending"};
} // namespace

QString NetStateForm::sortChoice() const
{
    return QLatin1String(kSortChoices[m_title->sortOrder()]);
}

void NetStateForm::setSortChoice(const QString &choice)
{
    for (int i = 0; i < 3; ++i)
        if (choice == QLatin1String(kSortChoices[i])) {
            m_title->setSortOrder(NetStateRow::SortOrder(i));
            showRows(m_registry.devices());
        }
}

void NetStateForm::setPollInterval(int ms)
{
    m_timer->start(ms);
}

int NetStateForm::pollInterval() const
{
    return m_timer->interval();
}

QVector<NetStateItemForm *> NetStateForm::items() const
{
    QVector<NetStateItemForm *> out;
    for (QWidget *w : m_list->rows())
        out.append(static_cast<NetStateItemForm *>(w));
    return out;
}

void NetStateForm::slot_poll()
{
    const QVector<Device> devices = m_registry.devices();
    send(m_tracker.pollRound(devices));
    showRows(devices);
}

void NetStateForm::slot_refresh()
{
    const QVector<Device> devices = m_registry.devices();
    send(m_tracker.pollNewcomers(devices));
    showRows(devices);
}

void NetStateForm::slot_message(const QString &json)
{
    // Most messages are not for this page: skip them before parsing.
    if (!json.contains(QLatin1String("getDebugInfo")) && !json.contains(QLatin1String("getTarnAmpInfo")))
        return;
    const QJsonObject o = QJsonDocument::fromJson(json.toUtf8()).object();
    if (!m_tracker.intake(o))
        return;
    NetStateItemForm *item = m_items.value(o.value(QLatin1String("devId")).toString());
    const auto d = item ? m_registry.findByDevId(item->devId()) : std::nullopt;
    if (!d)
        return;
    const bool renamed = d->rec.name.str() != item->row().name;
    item->setRow(m_tracker.row(*d));
    // A new name moves the row at once; a new temperature waits for the poll
    // tick, so a sort by temperature rearranges the list once per round.
    if (renamed)
        showRows(m_registry.devices());
}

void NetStateForm::showRows(const QVector<Device> &devices)
{
    QVector<QWidget *> order;
    QHash<QString, NetStateItemForm *> kept;
    for (const NetStateRow &row : m_tracker.rows(devices, m_title->sortOrder())) {
        NetStateItemForm *item = m_items.take(row.devId);
        if (!item)
            item = new NetStateItemForm(row.devId, m_list->rowParent());
        item->setRow(row);
        kept.insert(row.devId, item);
        order.append(item);
    }
    for (NetStateItemForm *gone : qAsConst(m_items))
        gone->deleteLater();
    m_items = kept;
    m_list->setRows(order);
    m_count->setText(tx(Tx::DevicesCount).arg(devices.size()));
}

void NetStateForm::send(const QVector<QJsonObject> &commands)
{
    for (const QJsonObject &c : commands)
        m_runner->send(c);
}

void NetStateForm::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::LanguageChange) {
        m_list->setEmptyText(tx(Tx::MonitorEmpty));
        showRows(m_registry.devices());
    }
    QWidget::changeEvent(event);
}
