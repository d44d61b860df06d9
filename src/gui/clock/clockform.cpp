#include "gui/clock/clockform.h"

#include "gui/clock/clockitemform.h"
#include "gui/clock/dialogchangepriority.h"
#include "gui/clock/formclocktitle.h"
#include "core/app/scalefactors.h"
#include "core/app/texts.h"
#include "core/clock/clockrow.h"
#include "core/clock/clocksummary.h"
#include "core/devices/deviceorder.h"
#include "core/devices/deviceuistore.h"
#include "core/devices/devmanager.h"
#include "gui/widgets/planrunner.h"
#include "gui/widgets/rowlist.h"
#include "gui/widgets/style.h"

#include <QEvent>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLabel>
#include <QSet>
#include <QTimer>
#include <QVBoxLayout>

ClockForm::ClockForm(const DevManager &registry, DeviceUiStore *uiStore, QWidget *parent)
    : QWidget(parent)
    , m_registry(registry)
    , m_uiStore(uiStore)
{
    setObjectName(QStringLiteral("ClockForm"));
    m_runner = new PlanRunner(this, QStringLiteral("ClockForm"));
    connect(m_runner, &PlanRunner::signal_sendUdp, this, &ClockForm::signal_sendUdp);
    m_list = new RowList(new FormClockTitle, this);
    m_count = new QLabel(this);
    m_count->setObjectName(QStringLiteral("lb_count"));
    m_summary = new QLabel(this);
    m_summary->setObjectName(QStringLiteral("lb_clockSummary"));
    m_summary->setFont(Style::font(10.5));
    m_summary->setStyleSheet(QStringLiteral("QLabel { color: %1; }").arg(Style::rgb(Style::kTextBright)));
    m_summary->setTextInteractionFlags(Qt::TextSelectableByMouse);
    m_rateWarning = new QLabel(this);
    m_rateWarning->setObjectName(QStringLiteral("lb_rateWarning"));
    m_rateWarning->setFont(Style::font(10.5));
    m_rateWarning->setWordWrap(true);
    m_rateWarning->setStyleSheet(QStringLiteral("QLabel { color: %1; }").arg(Style::rgb(Style::kWarning)));
    m_rateWarning->hide();
    m_summaryTimer = new QTimer(this);
    m_summaryTimer->setSingleShot(true);
    m_summaryTimer->setInterval(200);
    connect(m_summaryTimer, &QTimer::timeout, this,
            [this] { showSummary(DeviceOrder::sorted(m_registry.devices())); });
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(scaled(16), scaled(14), scaled(16), scaled(14));
    layout->setSpacing(scaled(10));
    layout->addWidget(m_summary);
    layout->addWidget(m_rateWarning);
    layout->addWidget(m_count);
    layout->addWidget(m_list, 1);
    if (m_uiStore)
        connect(m_uiStore, &DeviceUiStore::signal_changed, this, &ClockForm::slot_deviceChanged);
    m_list->setEmptyText(tx(Tx::MonitorEmpty));
    slot_refresh();
}

QVector<ClockItemForm *> ClockForm::items() const
{
    QVector<ClockItemForm *> out;
    for (QWidget *w : m_list->rows())
        out.append(static_cast<ClockItemForm *>(w));
    return out;
}

void ClockForm::slot_refresh()
{
    const QVector<Device> devices = DeviceOrder::sorted(m_registry.devices());
    QVector<QWidget *> order;
    QHash<QString, ClockItemForm *> kept;
    for (const Device &d : devices) {
        const QString devId = d.devId();
        ClockItemForm *item = m_items.take(devId);
        if (!item) {
            item = new ClockItemForm(devId, m_list->rowParent());
            connect(item, &ClockItemForm::signal_editPriority, this, &ClockForm::slot_editPriority);
        }
        item->setRow(ClockRow::of(d.rec, m_uiStore ? m_uiStore->get(devId) : DeviceUiData()));
        kept.insert(devId, item);
        order.append(item);
    }
    for (ClockItemForm *gone : qAsConst(m_items))
        gone->deleteLater();
    m_items = kept;
    m_list->setRows(order);
    m_count->setText(tx(Tx::DevicesCount).arg(devices.size()));
    showSummary(devices);
}

void ClockForm::showSummary(const QVector<Device> &devices)
{
    QVector<ClockMember> members;
    members.reserve(devices.size());
    for (const Device &d : devices) {
        const DeviceUiData ui = m_uiStore ? m_uiStore->get(d.devId()) : DeviceUiData();
        members.append({d.rec, ui.ptpState, ui.ptpDomain});
    }
    QStringList lines;
    QSet<QString> leaders;
    for (const ClockDomainSummary &s : ClockSummary::domains(members)) {
        lines.append(s.text());
        if (!s.leaderDevId.isEmpty())
            leaders.insert(s.leaderDevId);
    }
    m_summary->setText(lines.join(QLatin1Char('\n')));
    m_summary->setVisible(!lines.isEmpty());
    for (auto it = m_items.cbegin(); it != m_items.cend(); ++it)
        it.value()->setLeaderMark(leaders.contains(it.key()));
    const SampleRateCheck rates = ClockSummary::sampleRates(members);
    m_rateWarning->setText(QStringLiteral("⚠ ") + rates.text());
    m_rateWarning->setVisible(rates.mismatch());
}

void ClockForm::slot_deviceChanged(const QString &devId)
{
    ClockItemForm *item = m_items.value(devId);
    const auto d = item ? m_registry.findByDevId(devId) : std::nullopt;
    if (!d)
        return;
    item->setRow(ClockRow::of(d->rec, m_uiStore ? m_uiStore->get(devId) : DeviceUiData()));
    // A lock or a reported domain changes the counts above the list; clock
    // events of a large network come in bursts, so they are summed up once.
    if (!m_summaryTimer->isActive())
        m_summaryTimer->start();
}

void ClockForm::slot_message(const QString &json)
{
    if (!json.contains(QLatin1String("setPtpPriority")))
        return;
    const QJsonObject o = QJsonDocument::fromJson(json.toUtf8()).object();
    if (o.value(QLatin1String("ops")).toString() != QLatin1String("setPtpPriority") ||
        o.value(QLatin1String("result")).toString() != QLatin1String("succ"))
        return;
    // The reply does not carry the new value: ask the device what it holds now.
    m_runner->send({{QStringLiteral("ops"), QStringLiteral("getVersion")},
                    {QStringLiteral("devId"), o.value(QLatin1String("devId")).toString()}});
}

void ClockForm::slot_editPriority(const QString &devId)
{
    const int current = m_uiStore ? m_uiStore->get(devId).ptpPriority : -1;
    const auto device = m_registry.findByDevId(devId);
    auto *dialog = new DialogChangePriority(devId, device ? device->rec.name.str() : QString(), current, this);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    connect(dialog, &DialogChangePriority::signal_confirmed, m_runner,
            [this](const QJsonObject &command) { m_runner->send(command); });
    dialog->open();
}

void ClockForm::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::LanguageChange) {
        m_list->setEmptyText(tx(Tx::MonitorEmpty));
        slot_refresh();
    }
    QWidget::changeEvent(event);
}
