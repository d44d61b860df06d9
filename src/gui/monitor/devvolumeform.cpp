#include "gui/monitor/devvolumeform.h"

#include "gui/monitor/devmeterview.h"
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
#include <QMouseEvent>
#include <QSplitter>
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
    m_meterView = new DevMeterView(this);
    connect(m_meterView, &DevMeterView::signal_chosen, this, &DevVolumeForm::showMeters);
    connect(m_meterView, &DevMeterView::signal_clearClips, this, [this] {
        m_meters.clearClips();
        if (const auto d = m_registry.findByDevId(m_meters.devId()))
            m_meterView->showDevice(*d, m_meters);
    });
    m_split = new QSplitter(Qt::Horizontal, this);
    m_split->setObjectName(QStringLiteral("sp_levels"));
    m_split->setChildrenCollapsible(false);
    m_split->addWidget(m_list);
    m_split->addWidget(m_meterView);
    // A wider window widens the cells: they are what gets cut first.
    m_split->setStretchFactor(0, 1);
    m_split->setStretchFactor(1, 0);
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(scaled(16), scaled(14), scaled(16), scaled(14));
    layout->setSpacing(scaled(10));
    layout->addWidget(m_count);
    layout->addWidget(m_split, 1);

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
    refreshMeters();
}

void DevVolumeForm::showMeters(const QString &devId)
{
    m_tracker.setFullDevice(devId);
    m_meterView->choose(devId);
    m_meters.follow(devId);
    // Drawn at once from what is known; the next poll fetches every page.
    refreshMeters();
}

void DevVolumeForm::refreshMeters()
{
    const auto d = m_meters.devId().isEmpty() ? std::nullopt : m_registry.findByDevId(m_meters.devId());
    if (!d) {
        m_meterView->showNone();
        return;
    }
    m_meters.update(m_tracker, *d);
    m_meterView->showDevice(*d, m_meters);
}

bool DevVolumeForm::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::MouseButtonPress && static_cast<QMouseEvent *>(event)->button() == Qt::LeftButton) {
        if (auto *item = qobject_cast<DevVolumeItemForm *>(watched))
            showMeters(item->devId());
    }
    return QWidget::eventFilter(watched, event);
}

void DevVolumeForm::slot_refresh()
{
    const QVector<Device> devices = DeviceOrder::sorted(m_registry.devices());
    QVector<QWidget *> order;
    QHash<QString, DevVolumeItemForm *> kept;
    for (const Device &d : devices) {
        DevVolumeItemForm *item = m_items.take(d.devId());
        if (!item) {
            item = new DevVolumeItemForm(d.devId(), m_list->rowParent());
            // A click on a device's row shows its meters.
            item->installEventFilter(this);
            item->setCursor(Qt::PointingHandCursor);
        }
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
    QVector<QPair<QString, QString>> choices;
    for (const Device &d : devices)
        choices.append({d.devId(), d.rec.name.str()});
    m_meterView->setDevices(choices);
    if (!m_meters.devId().isEmpty() && !kept.contains(m_meters.devId()))
        showMeters(QString());
}

void DevVolumeForm::slot_message(const QString &json)
{
    // Most messages are not levels: skip them before parsing.
    if (!json.contains(QLatin1String("Level")) && !json.contains(QLatin1String("VolumeDb")))
        return;
    const QJsonObject o = QJsonDocument::fromJson(json.toUtf8()).object();
    QVector<QJsonObject> more;
    if (!m_tracker.intake(o, &more))
        return;
    for (const QJsonObject &c : more)
        m_runner->send(c);
    const QString devId = o.value(QLatin1String("devId")).toString();
    DevVolumeItemForm *item = m_items.value(devId);
    const auto d = item ? m_registry.findByDevId(devId) : std::nullopt;
    if (d)
        item->setRow(m_tracker.row(*d));
}

void DevVolumeForm::showEvent(QShowEvent *event)
{
    // Beside the cells, the meters take three tenths of the page (at least their
    // minimum): enough for four columns of bars, while eight values still fit
    // a line of every cell on a common screen. The user may move the handle.
    if (!m_splitPlaced && width() > 0) {
        m_splitPlaced = true;
        const int w = m_split->width() > 0 ? m_split->width() : width();
        const int meters = qMax(m_meterView->minimumSizeHint().width(), w * 3 / 10);
        m_split->setSizes({w - meters, meters});
    }
    QWidget::showEvent(event);
}

void DevVolumeForm::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::LanguageChange) {
        m_list->setEmptyText(tx(Tx::MonitorEmpty));
        m_count->setText(tx(Tx::DevicesCount).arg(m_items.size()));
    }
    QWidget::changeEvent(event);
}
