#include "gui/monitor/devvolumeform.h"

#include "gui/monitor/devvolumeitemform.h"
#include "gui/monitor/devvolumetitleform.h"
#include "core/app/scalefactors.h"
#include "core/app/texts.h"
#include "core/devices/deviceorder.h"
#include "core/devices/devmanager.h"
#include "gui/widgets/rowlist.h"
#include "gui/widgets/planrunner.h"

#include <QEvent>
#include <QJsonDocument>
#include <QLabel>
#include <QTimer>
#include <QVBoxLayout>

DevVolumeForm::DevVolumeForm(const DevManager &registry, QWidget *parent)
    : QWidget(parent)
    , m_registry(registry)
{
    setObjectName(QStringLiteral("DevVolumeForm"));
    m_runner = new PlanRunner(this, QStringLiteral("DevVolumeForm"));
    connect(m_runner, &PlanRunner::signal_sendUdp, this, &DevVolumeForm::signal_sendUdp);
    m_list = new RowList(new DevVolumeTitleForm, this);
    m_count = new QLabel(this);
    m_count->setObjectName(QStringLiteral("lb_count"));
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(scaled(16), scaled(14), scaled(16), scaled(14));
    layout->setSpacing(scaled(10));
    layout->addWidget(m_count);
    layout->addWidget(m_list, 1);

    // A child of the page: it stops when the page is destroyed.
    m_timer = new QTimer(this);
    m_timer->setObjectName(QStringLiteral("tm_poll"));
    m_timer->setInterval(LevelsTracker::kPollMs);
    connect(m_timer, &QTimer::timeout, this, &DevVolumeForm::slot_poll);
    m_timer->start();
    m_list->setEmptyText(tx(Tx::MonitorEmpty));
    slot_refresh();
}

void DevVolumeForm::setPollInterval(int ms)
{
    m_timer->start(ms);
}

int DevVolumeForm::pollInterval() const
{
    return m_timer->interval();
}

void DevVolumeForm::slot_poll()
{
    const QVector<Device> devices = m_registry.devices();
    for (const QJsonObject &c : m_tracker.pollRound(devices))
        m_runner->send(c);
    // Groups that went unanswered too long are emptied on the poll, not on a reply.
    for (const Device &d : devices)
        if (DevVolumeItemForm *item = m_items.value(d.devId()))
            item->setRow(m_tracker.row(d));
}

void DevVolumeForm::slot_refresh()
{
    const QVector<Device> devices = DeviceOrder::sorted(m_registry.devices());
    QVector<QWidget *> order;
    QHash<QString, DevVolumeItemForm *> kept;
    for (const Device &d : devices) {
        DevVolumeItemForm *item = m_items.take(d.devId());
        if (!item)
            item = new DevVolumeItemForm(d.devId(), m_list->rowParent());
        item->setLineCount(LevelsTracker::lineCount(d));
        item->setRow(m_tracker.row(d));
        kept.insert(d.devId(), item);
        order.append(item);
    }
    for (DevVolumeItemForm *gone : qAsConst(m_items))
        gone->deleteLater();
    m_items = kept;
    m_list->setRows(order);
    m_count->setText(tx(Tx::DevicesCount).arg(devices.size()));
}

void DevVolumeForm::slot_message(const QString &json)
{
    // Most messages are not levels: skip them before parsing.
    if (!json.contains(QLatin1String("Level")) && !json.contains(QLatin1String("VolumeDb")))
        return;
    const QJsonObject o = QJsonDocument::fromJson(json.toUtf8()).object();
    if (!m_tracker.intake(o))
        return;
    const QString devId = o.value(QLatin1String("devId")).toString();
    DevVolumeItemForm *item = m_items.value(devId);
    const auto d = item ? m_registry.findByDevId(devId) : std::nullopt;
    if (d)
        item->setRow(m_tracker.row(*d));
}

void DevVolumeForm::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::LanguageChange) {
        m_list->setEmptyText(tx(Tx::MonitorEmpty));
        m_count->setText(tx(Tx::DevicesCount).arg(m_items.size()));
    }
    QWidget::changeEvent(event);
}
