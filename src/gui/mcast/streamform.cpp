#include "gui/mcast/streamform.h"

#include "gui/mcast/formmcast.h"
#include "gui/mcast/mcastwidget.h"
#include "gui/mcast/sdppastedialog.h"
#include "core/devices/deviceorder.h"
#include "core/app/scalefactors.h"
#include "core/app/texts.h"
#include "core/devices/devmanager.h"
#include "core/mcast/flowview.h"
#include "core/protocol/ipv4.h"
#include "gui/widgets/noticebox.h"
#include "gui/widgets/style.h"
#include "gui/widgets/planrunner.h"

#include <QButtonGroup>
#include <algorithm>
#include <QDateTime>
#include <QEvent>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QJsonDocument>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QRadioButton>
#include <QRandomGenerator>
#include <QRegularExpressionValidator>
#include <QVBoxLayout>

namespace {

const char kTag[] = "StreamForm";

// The octets and the port take digits only; ranges are the create action's
// checks, so that a wrong value gets its message instead of being unable to
// be typed.
QValidator *digits(int count, QObject *parent)
{
    return new QRegularExpressionValidator(QRegularExpression(QStringLiteral("\\d{0,%1}").arg(count)), parent);
}

QLabel *caption(QWidget *parent, const char *name)
{
    auto *l = new QLabel(parent);
    l->setObjectName(QLatin1String(name));
    l->setStyleSheet(QStringLiteral("color: rgb(130, 132, 145);"));
    return l;
}

QWidget *panel(QWidget *parent, const char *name)
{
    auto *w = new QWidget(parent);
    w->setObjectName(QLatin1String(name));
    w->setAttribute(Qt::WA_StyledBackground);
    w->setStyleSheet(QStringLiteral("#%1 { background-color: rgb(27, 28, 33); border: 1px solid rgb(50, 52, 60); }")
                         .arg(QLatin1String(name)));
    return w;
}

const char kListStyle[] = "QListWidget { background: rgb(27, 28, 33); border: none; outline: none; color: rgb(200, 202, 210); }"
                          "QListWidget::item { padding: 6px; border-bottom: 1px solid #333333; }"
                          "QListWidget::item:selected { background: rgba(124, 137, 250, 0.40); color: white; }";

} // namespace

StreamForm::StreamForm(DevManager &registry, QWidget *parent)
    : QWidget(parent)
    , m_registry(registry)
{
    setObjectName(QStringLiteral("StreamForm"));
    m_runner = new PlanRunner(this, QLatin1String(kTag));
    connect(m_runner, &PlanRunner::signal_sendUdp, this, &StreamForm::signal_sendUdp);
    // Seeded once with the current time in seconds, as the automatic address asks.
    auto generator = std::make_shared<QRandomGenerator>(quint32(QDateTime::currentSecsSinceEpoch()));
    m_random = [generator] { return int(generator->bounded(1 << 30)); };

    auto *right = new QVBoxLayout;
    right->setSpacing(scaled(12));
    right->addWidget(buildFlowPanel(), 1);
    right->addWidget(buildCreatePanel(), 2);
    auto *layout = new QHBoxLayout(this);
    layout->setContentsMargins(scaled(16), scaled(14), scaled(16), scaled(14));
    layout->setSpacing(scaled(12));
    auto *left = new QVBoxLayout;
    left->setSpacing(scaled(12));
    left->addWidget(buildDevicePanel(), 2);
    left->addWidget(buildPastedPanel(), 1);
    layout->addLayout(left, 1);
    layout->addLayout(right, 2);

    retranslate();
    slot_refresh();
}

QWidget *StreamForm::buildDevicePanel()
{
    QWidget *w = panel(this, "wd_transmitters");
    m_devicesCaption = caption(w, "lb_transmitters");
    m_devices = new QListWidget(w);
    m_devices->setObjectName(QStringLiteral("lw_devices"));
    m_devices->setStyleSheet(QLatin1String(kListStyle));
    connect(m_devices, &QListWidget::currentItemChanged, this, [this](QListWidgetItem *item) {
        const QString id = item ? item->data(Qt::UserRole).toString() : QString();
        if (id == m_devId)
            return;
        m_devId = id;
        showFlows();
        showChannels();
    });
    auto *l = new QVBoxLayout(w);
    l->setContentsMargins(scaled(10), scaled(10), scaled(10), scaled(10));
    l->addWidget(m_devicesCaption);
    l->addWidget(m_devices, 1);
    return w;
}

QWidget *StreamForm::buildPastedPanel()
{
    QWidget *w = panel(this, "wd_pasted");
    m_pastedCaption = caption(w, "lb_pasted");
    m_pasted = new QListWidget(w);
    m_pasted->setObjectName(QStringLiteral("lw_pasted"));
    m_pasted->setStyleSheet(QLatin1String(kListStyle));
    m_addSdp = new QPushButton(w);
    m_addSdp->setObjectName(QStringLiteral("pb_addSdp"));
    connect(m_addSdp, &QPushButton::clicked, this, &StreamForm::on_pb_addSdp_clicked);
    m_removePasted = new QPushButton(w);
    m_removePasted->setObjectName(QStringLiteral("pb_removePasted"));
    connect(m_removePasted, &QPushButton::clicked, this, &StreamForm::on_pb_removePasted_clicked);
    connect(m_pasted, &QListWidget::currentItemChanged, this,
            [this](QListWidgetItem *item) { m_removePasted->setEnabled(item != nullptr); });
    connect(m_pasted, &QListWidget::itemDoubleClicked, this, [this](QListWidgetItem *item) {
        const auto flow = m_registry.findFlow(item->data(Qt::UserRole).toUInt());
        if (!flow)
            return;
        if (!m_details)
            m_details = new McastWidget(this);
        m_details->setAttribute(Qt::WA_DeleteOnClose);
        m_details->setDetails(FlowView::details(*flow, m_registry.devices()));
        m_details->show();
        m_details->raise();
    });
    auto *buttons = new QHBoxLayout;
    buttons->addWidget(m_addSdp);
    buttons->addStretch(1);
    buttons->addWidget(m_removePasted);
    auto *l = new QVBoxLayout(w);
    l->setContentsMargins(scaled(10), scaled(10), scaled(10), scaled(10));
    l->addWidget(m_pastedCaption);
    l->addWidget(m_pasted, 1);
    l->addLayout(buttons);
    return w;
}

QWidget *StreamForm::buildFlowPanel()
{
    QWidget *w = panel(this, "wd_flows");
    m_flowsCaption = caption(w, "lb_flowsOf");
    m_flows = new QListWidget(w);
    m_flows->setObjectName(QStringLiteral("lw_flows"));
    m_flows->setStyleSheet(QStringLiteral("QListWidget { background: rgb(27, 28, 33); border: none; outline: none; }"
                                          "QListWidget::item { padding: 0; }"
                                          "QListWidget::item:selected { background: transparent; }"));
    m_flows->setSelectionMode(QAbstractItemView::SingleSelection);
    connect(m_flows, &QListWidget::itemSelectionChanged, this, &StreamForm::followFlowSelection);
    connect(m_flows, &QListWidget::itemDoubleClicked, this,
            [this](QListWidgetItem *item) { openDetails(m_flows->row(item)); });
    m_detailsButton = new QPushButton(w);
    m_detailsButton->setObjectName(QStringLiteral("pb_details"));
    connect(m_detailsButton, &QPushButton::clicked, this, &StreamForm::on_pb_details_clicked);
    m_delete = new QPushButton(w);
    m_delete->setObjectName(QStringLiteral("pb_delete"));
    connect(m_delete, &QPushButton::clicked, this, &StreamForm::on_pb_delete_clicked);

    auto *buttons = new QHBoxLayout;
    buttons->addWidget(m_flowsCaption, 1);
    buttons->addWidget(m_detailsButton);
    buttons->addWidget(m_delete);
    auto *l = new QVBoxLayout(w);
    l->setContentsMargins(scaled(10), scaled(10), scaled(10), scaled(10));
    l->addLayout(buttons);
    l->addWidget(m_flows, 1);
    return w;
}

QWidget *StreamForm::buildCreatePanel()
{
    QWidget *w = panel(this, "wd_create");
    m_createCaption = caption(w, "lb_create");
    m_createCaption->setStyleSheet(QStringLiteral("color: white; font-weight: bold;"));
    m_nameCaption = caption(w, "lb_name");
    m_name = new QLineEdit(w);
    m_name->setObjectName(QStringLiteral("le_name"));
    m_name->setMaxLength(31);
    m_channelsCaption = caption(w, "lb_channels");
    m_channels = new QListWidget(w);
    m_channels->setObjectName(QStringLiteral("lw_channels"));
    m_channels->setStyleSheet(QStringLiteral(
        "QListWidget { background: rgb(27, 28, 33); border: 1px solid rgb(50, 52, 60); outline: none; color: rgb(200, 202, 210); }"
        "QListWidget::item:hover { background: rgb(40, 42, 49); }"
        "QListWidget::indicator { width: 14px; height: 14px; border: 1px solid rgb(110, 114, 128); border-radius: 2px;"
        " background: rgb(33, 34, 39); }"
        "QListWidget::indicator:checked { background: rgb(72, 112, 206); border-color: rgb(120, 150, 230); }"));
    m_channels->setFlow(QListView::LeftToRight);
    m_channels->setWrapping(true);
    m_channels->setResizeMode(QListView::Adjust);

    m_offsetCaption = caption(w, "lb_offset");
    m_offset = new QLineEdit(QStringLiteral("0"), w);
    m_offset->setObjectName(QStringLiteral("le_offset"));
    m_offset->setValidator(digits(4, m_offset));

    m_auto = new QRadioButton(w);
    m_auto->setObjectName(QStringLiteral("rb_auto"));
    m_manual = new QRadioButton(w);
    m_manual->setObjectName(QStringLiteral("rb_manual"));
    m_modes = new QButtonGroup(this);
    m_modes->addButton(m_auto, FlowPlan::Automatic);
    m_modes->addButton(m_manual, FlowPlan::Manual);
    m_auto->setChecked(true);
    connect(m_modes, &QButtonGroup::idClicked, this, [this] { followAddressMode(); });

    m_addressCaption = caption(w, "lb_address");
    auto *octets = new QHBoxLayout;
    octets->setSpacing(scaled(4));
    const char *defaults[4] = {"239", "69", "", ""};
    for (int i = 0; i < 4; ++i) {
        m_octets[i] = new QLineEdit(QLatin1String(defaults[i]), w);
        m_octets[i]->setObjectName(QStringLiteral("ip_le_%1").arg(i));
        m_octets[i]->setValidator(digits(3, m_octets[i]));
        m_octets[i]->setAlignment(Qt::AlignCenter);
        m_octets[i]->setFixedWidth(scaled(56));
        octets->addWidget(m_octets[i]);
        if (i < 3) {
            auto *dot = new QLabel(QStringLiteral("."), w);
            octets->addWidget(dot);
        }
    }
    octets->addStretch(1);
    m_portCaption = caption(w, "lb_port");
    m_port = new QLineEdit(QStringLiteral("5004"), w);
    m_port->setObjectName(QStringLiteral("le_port"));
    m_port->setValidator(digits(5, m_port));
    m_port->setFixedWidth(scaled(90));
    m_create = new QPushButton(w);
    m_create->setObjectName(QStringLiteral("pb_create"));
    m_create->setProperty("role", QStringLiteral("primary"));
    connect(m_create, &QPushButton::clicked, this, &StreamForm::on_pb_create_clicked);

    auto *modes = new QHBoxLayout;
    modes->setSpacing(scaled(24));
    modes->addWidget(m_auto);
    modes->addWidget(m_manual);
    modes->addStretch(1);
    auto *grid = new QGridLayout(w);
    grid->setContentsMargins(scaled(14), scaled(10), scaled(14), scaled(12));
    grid->setHorizontalSpacing(scaled(12));
    grid->setVerticalSpacing(scaled(8));
    grid->addWidget(m_createCaption, 0, 0, 1, 2);
    grid->addWidget(m_nameCaption, 1, 0);
    grid->addWidget(m_name, 1, 1);
    grid->addWidget(m_channelsCaption, 2, 0, Qt::AlignTop);
    grid->addWidget(m_channels, 2, 1);
    grid->addWidget(m_offsetCaption, 3, 0);
    grid->addWidget(m_offset, 3, 1, Qt::AlignLeft);
    grid->addLayout(modes, 4, 1);
    grid->addWidget(m_addressCaption, 5, 0);
    grid->addLayout(octets, 5, 1);
    grid->addWidget(m_portCaption, 6, 0);
    grid->addWidget(m_port, 6, 1, Qt::AlignLeft);
    grid->addWidget(m_create, 7, 1, Qt::AlignRight);
    grid->setRowStretch(2, 1);
    grid->setColumnStretch(1, 1);
    m_offset->setFixedWidth(scaled(90));
    followAddressMode();
    return w;
}

void StreamForm::followAddressMode()
{
    // Automatic mode draws the last two octets itself.
    const bool manual = m_manual->isChecked();
    for (int i = 2; i < 4; ++i) {
        if (!manual)
            m_octets[i]->clear();
        m_octets[i]->setEnabled(manual);
        m_octets[i]->setPlaceholderText(manual ? QString() : QStringLiteral("*"));
    }
}

void StreamForm::selectDevice(const QString &devId)
{
    for (int i = 0; i < m_devices->count(); ++i)
        if (m_devices->item(i)->data(Qt::UserRole).toString() == devId)
            m_devices->setCurrentRow(i);
}

void StreamForm::slot_refresh()
{
    showDevices();
    showFlows();
    showChannels();
    showPasted();
}

void StreamForm::showPasted()
{
    QVector<FlowRecord> flows = m_registry.flows();
    flows.erase(std::remove_if(flows.begin(), flows.end(), [](const FlowRecord &f) { return !f.pasted; }), flows.end());
    DeviceOrder::sort(flows);
    QStringList texts;
    for (const FlowRecord &f : qAsConst(flows))
        texts.append(QStringLiteral("%1\n%2:%3 · %4").arg(f.name, Ipv4::toText(f.dstIp)).arg(f.dstPort).arg(Ipv4::toText(f.srcIp)));
    QStringList shown;
    for (int i = 0; i < m_pasted->count(); ++i)
        shown.append(m_pasted->item(i)->text());
    if (shown != texts) {
        const quint32 selected = m_pasted->currentItem() ? m_pasted->currentItem()->data(Qt::UserRole).toUInt() : 0;
        const QSignalBlocker block(m_pasted);
        m_pasted->clear();
        for (int i = 0; i < flows.size(); ++i) {
            auto *item = new QListWidgetItem(texts.at(i), m_pasted);
            item->setData(Qt::UserRole, flows.at(i).dstIp);
            if (flows.at(i).dstIp == selected)
                m_pasted->setCurrentItem(item);
        }
    }
    m_pastedCaption->setText(flows.isEmpty() ? tx(Tx::PastedNone) : tx(Tx::PastedFlows));
    m_removePasted->setEnabled(m_pasted->currentItem() != nullptr);
}

SdpPasteDialog *StreamForm::pasteDialog() const
{
    return m_paste;
}

void StreamForm::on_pb_addSdp_clicked()
{
    if (!m_paste) {
        m_paste = new SdpPasteDialog(m_registry, this);
        m_paste->setAttribute(Qt::WA_DeleteOnClose);
        connect(m_paste, &QDialog::accepted, this, &StreamForm::showPasted);
    }
    m_paste->open();
    m_paste->raise();
}

void StreamForm::on_pb_removePasted_clicked()
{
    QListWidgetItem *item = m_pasted->currentItem();
    if (!item)
        return;
    const quint32 group = item->data(Qt::UserRole).toUInt();
    const auto flow = m_registry.findFlow(group);
    if (!flow || !NoticeBox::confirm(this, tx(Tx::PastedRemoveConfirm).arg(flow->name)))
        return;
    m_registry.removePastedFlow(group);
    showPasted();
}

void StreamForm::showDevices()
{
    const QVector<Device> devices = DeviceOrder::sorted(m_registry.devices());
    QStringList ids;
    QStringList texts;
    for (const Device &d : qAsConst(devices)) {
        if (!FlowView::canTransmit(d))
            continue;
        ids.append(d.devId());
        texts.append(QStringLiteral("%1\n%2 · %3")
                         .arg(d.rec.name.str(), Ipv4::toText(d.rec.ip),
                              tx(Tx::StreamFlowCount).arg(FlowView::transmitFlows(d).size())));
    }
    // Announcements refresh the page often: items are only rebuilt when the
    // devices themselves change, so a click in progress is not lost.
    QStringList shownIds;
    for (int i = 0; i < m_devices->count(); ++i)
        shownIds.append(m_devices->item(i)->data(Qt::UserRole).toString());
    const QSignalBlocker block(m_devices);
    if (shownIds != ids) {
        m_devices->clear();
        for (int i = 0; i < ids.size(); ++i)
            (new QListWidgetItem(texts.at(i), m_devices))->setData(Qt::UserRole, ids.at(i));
    }
    for (int i = 0; i < ids.size(); ++i)
        if (m_devices->item(i)->text() != texts.at(i))
            m_devices->item(i)->setText(texts.at(i));
    int current = ids.indexOf(m_devId);
    if (current < 0 && !ids.isEmpty())
        current = 0;
    if (m_devices->currentRow() != current)
        m_devices->setCurrentRow(current);
    m_devId = current >= 0 ? ids.at(current) : QString();
    m_devicesCaption->setText(ids.isEmpty() ? tx(Tx::StreamNoTransmitters) : tx(Tx::StreamTransmitters));
}

QVector<FormMcast *> StreamForm::flowRows() const
{
    QVector<FormMcast *> rows;
    for (int i = 0; i < m_flows->count(); ++i)
        rows.append(static_cast<FormMcast *>(m_flows->itemWidget(m_flows->item(i))));
    return rows;
}

void StreamForm::showFlows()
{
    const auto dev = m_registry.findByDevId(m_devId);
    const QVector<FlowView::TxRow> rows = dev ? FlowView::transmitFlows(*dev) : QVector<FlowView::TxRow>();
    QVector<FlowView::TxRow> shown;
    QString selected;
    for (FormMcast *row : flowRows()) {
        shown.append(row->flow());
        if (row->isSelected())
            selected = row->flow().address;
    }
    if (shown != rows) {
        const QSignalBlocker block(m_flows);
        m_flows->clear();
        for (const FlowView::TxRow &r : rows) {
            auto *item = new QListWidgetItem(m_flows);
            auto *form = new FormMcast;
            form->setFlow(r);
            item->setSizeHint(form->sizeHint());
            m_flows->setItemWidget(item, form);
            if (r.address == selected)
                m_flows->setCurrentItem(item);
        }
        followFlowSelection();
    }
    if (dev && m_pending.devId == m_devId) {
        for (const FlowView::TxRow &r : rows)
            if (r.name == m_pending.name && !m_pending.knownAddresses.contains(r.address))
                clearCreateForm();
    }
    if (!dev)
        m_flowsCaption->setText(tx(Tx::StreamChooseDevice));
    else if (rows.isEmpty())
        m_flowsCaption->setText(tx(Tx::StreamFlowsOf).arg(dev->rec.name.str()) + QStringLiteral(" — ")
                                + tx(Tx::StreamNoFlows));
    else
        m_flowsCaption->setText(tx(Tx::StreamFlowsOf).arg(dev->rec.name.str()));
    m_create->setEnabled(bool(dev));
}

void StreamForm::followFlowSelection()
{
    const QList<QListWidgetItem *> chosen = m_flows->selectedItems();
    for (int i = 0; i < m_flows->count(); ++i)
        static_cast<FormMcast *>(m_flows->itemWidget(m_flows->item(i)))->setSelected(chosen.contains(m_flows->item(i)));
}

void StreamForm::showChannels()
{
    const auto dev = m_registry.findByDevId(m_devId);
    const QStringList items = dev ? FlowView::channelItems(*dev) : QStringList();
    QStringList shown;
    QSet<QString> ticked;
    for (int i = 0; i < m_channels->count(); ++i) {
        shown.append(m_channels->item(i)->text());
        if (m_channels->item(i)->checkState() == Qt::Checked)
            ticked.insert(m_channels->item(i)->text());
    }
    if (shown == items)
        return;
    // A changed list keeps the ticks of the channels that are still there.
    // Columns as wide as the longest item, so names line up and none is cut.
    int widest = 0;
    for (const QString &text : items)
        widest = qMax(widest, m_channels->fontMetrics().horizontalAdvance(text));
    const QSize cell(widest + scaled(48), m_channels->fontMetrics().height() + scaled(12));
    m_channels->setGridSize(cell);
    m_channels->clear();
    for (const QString &text : items) {
        auto *item = new QListWidgetItem(text, m_channels);
        item->setFlags(Qt::ItemIsEnabled | Qt::ItemIsUserCheckable);
        item->setSizeHint(cell);
        item->setCheckState(ticked.contains(text) ? Qt::Checked : Qt::Unchecked);
    }
}

FlowPlan::CreateInput StreamForm::createInput() const
{
    FlowPlan::CreateInput in;
    in.name = m_name->text().trimmed();
    for (int i = 0; i < m_channels->count(); ++i)
        if (m_channels->item(i)->checkState() == Qt::Checked)
            in.tickedChannels.append(m_channels->item(i)->text());
    in.offsetMs = m_offset->text();
    in.mode = m_manual->isChecked() ? FlowPlan::Manual : m_auto->isChecked() ? FlowPlan::Automatic : FlowPlan::NoAddress;
    for (int i = 0; i < 4; ++i)
        in.octets[i] = m_octets[i]->text().trimmed();
    in.port = m_port->text().trimmed();
    return in;
}

void StreamForm::on_pb_create_clicked()
{
    const auto dev = m_registry.findByDevId(m_devId);
    if (!dev)
        return;
    const CommandPlan plan = FlowPlan::create(*dev, createInput(), m_registry.flows(), m_random);
    if (!m_runner->run(plan) || plan.command.isEmpty())
        return;
    m_pending = {m_devId, plan.command.value(QLatin1String("name")).toString(), {}};
    for (const FlowView::TxRow &r : FlowView::transmitFlows(*dev))
        m_pending.knownAddresses.append(r.address);
}

void StreamForm::clearCreateForm()
{
    m_pending = Pending();
    m_name->clear();
    for (int i = 0; i < m_channels->count(); ++i)
        m_channels->item(i)->setCheckState(Qt::Unchecked);
    m_offset->setText(QStringLiteral("0"));
    m_octets[0]->setText(QStringLiteral("239"));
    m_octets[1]->setText(QStringLiteral("69"));
    m_auto->setChecked(true);
    followAddressMode();
    m_port->setText(QStringLiteral("5004"));
}

void StreamForm::on_pb_delete_clicked()
{
    const auto dev = m_registry.findByDevId(m_devId);
    if (!dev)
        return;
    QString selected;
    for (FormMcast *row : flowRows())
        if (row->isSelected())
            selected = row->flow().address;
    m_runner->run(FlowPlan::remove(*dev, selected));
}

void StreamForm::on_pb_details_clicked()
{
    const QList<QListWidgetItem *> chosen = m_flows->selectedItems();
    openDetails(chosen.isEmpty() ? -1 : m_flows->row(chosen.first()));
}

void StreamForm::openDetails(int row)
{
    const auto dev = m_registry.findByDevId(m_devId);
    const QVector<FormMcast *> rows = flowRows();
    if (!dev || row < 0 || row >= rows.size()) {
        NoticeBox::notice(this, tx(Tx::StreamChooseFlow));
        return;
    }
    const quint32 dstIp = Ipv4::fromText(rows.at(row)->flow().address);
    const auto flow = m_registry.findFlow(dstIp);
    if (!m_details)
        m_details = new McastWidget(this);
    m_details->setAttribute(Qt::WA_DeleteOnClose);
    m_details->setDetails(flow ? FlowView::details(*flow, m_registry.devices()) : FlowView::txDetails(*dev, dstIp));
    m_details->show();
    m_details->raise();
}

void StreamForm::retranslate()
{
    m_detailsButton->setText(tx(Tx::StreamDetails));
    m_delete->setText(tx(Tx::StreamDelete));
    m_createCaption->setText(tx(Tx::StreamCreateTitle));
    m_nameCaption->setText(tx(Tx::StreamName));
    m_channelsCaption->setText(tx(Tx::StreamChannels));
    m_offsetCaption->setText(tx(Tx::StreamOffset));
    m_auto->setText(tx(Tx::StreamAutoAddress));
    m_manual->setText(tx(Tx::StreamManualAddress));
    m_addressCaption->setText(tx(Tx::StreamAddress));
    m_portCaption->setText(tx(Tx::StreamPort));
    m_create->setText(tx(Tx::StreamCreate));
    m_addSdp->setText(tx(Tx::PasteButton));
    m_removePasted->setText(tx(Tx::PastedRemove));
}

void StreamForm::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::LanguageChange) {
        retranslate();
        slot_refresh();
    }
    QWidget::changeEvent(event);
}
