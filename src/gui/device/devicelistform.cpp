#include "gui/device/devicelistform.h"

#include "core/app/scalefactors.h"
#include "core/app/texts.h"
#include "core/devices/devicemodels.h"
#include "gui/device/devicetablemodel.h"
#include "core/devices/devmanager.h"
#include "gui/widgets/noticebox.h"
#include "gui/widgets/style.h"
#include "gui/widgets/planrunner.h"

#include <QEvent>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSortFilterProxyModel>
#include <QTableView>
#include <QVBoxLayout>

DeviceListForm::DeviceListForm(const DevManager &registry, DeviceUiStore *uiStore, QWidget *parent)
    : QWidget(parent)
    , m_registry(registry)
    , m_uiStore(uiStore)
    , m_model(new DeviceTableModel(this))
    , m_proxy(new QSortFilterProxyModel(this))
{
    setObjectName(QStringLiteral("DeviceListForm"));
    m_runner = new PlanRunner(this, QStringLiteral("DeviceListForm"));
    connect(m_runner, &PlanRunner::signal_sendUdp, this, &DeviceListForm::signal_sendUdp);
    m_proxy->setSourceModel(m_model);
    m_proxy->setSortRole(DeviceTableModel::SortRole);
    m_proxy->setFilterCaseSensitivity(Qt::CaseInsensitive);
    m_proxy->setFilterKeyColumn(-1);

    m_filter = new QLineEdit(this);
    m_filter->setObjectName(QStringLiteral("le_filter"));
    m_filter->setClearButtonEnabled(true);
    m_filter->setMinimumWidth(scaled(260));
    connect(m_filter, &QLineEdit::textChanged, m_proxy, &QSortFilterProxyModel::setFilterFixedString);

    m_count = new QLabel(this);
    m_count->setObjectName(QStringLiteral("lb_count"));

    auto makeButton = [this](const char *name, const char *icon) {
        auto *b = new QPushButton(this);
        b->setObjectName(QLatin1String(name));
        if (icon)
            b->setIcon(QIcon(QLatin1String(icon)));
        return b;
    };
    m_settings = makeButton("pb_settings", nullptr);
    m_dsp = makeButton("pb_dsp", nullptr);
    m_identify = makeButton("pb_identify", nullptr);
    m_reboot = makeButton("pb_reboot", nullptr);
    m_settings->setProperty("role", QStringLiteral("primary"));

    m_view = new QTableView(this);
    m_view->setObjectName(QStringLiteral("tv_devices"));
    m_view->setModel(m_proxy);
    m_view->setSortingEnabled(true);
    m_view->sortByColumn(DeviceTableModel::Name, Qt::AscendingOrder);
    m_view->setSelectionBehavior(QAbstractItemView::SelectRows);
    m_view->setSelectionMode(QAbstractItemView::SingleSelection);
    m_view->setEditTriggers(QAbstractItemView::NoEditTriggers);
    m_view->setAlternatingRowColors(true);
    m_view->setShowGrid(false);
    m_view->verticalHeader()->hide();
    m_view->verticalHeader()->setDefaultSectionSize(scaled(32));
    // Every column in view at once: the table is the page's whole point.
    m_view->horizontalHeader()->setSectionResizeMode(QHeaderView::Stretch);
    m_view->horizontalHeader()->setMinimumSectionSize(scaled(70));
    // A device with a signal processor is opened for what it is mostly used for: its processing.
    connect(m_view, &QTableView::doubleClicked, this, [this](const QModelIndex &index) {
        const QString devId = m_proxy->data(index, DeviceTableModel::DevIdRole).toString();
        const auto d = m_registry.findByDevId(devId);
        if (d && DeviceModels::isDspCapable(d->rec.model.str()))
            emit signal_openDsp(devId);
        else
            emit signal_openSettings(devId);
    });
    connect(m_view->selectionModel(), &QItemSelectionModel::selectionChanged, this, &DeviceListForm::updateButtons);
    connect(m_view->horizontalHeader(), &QHeaderView::sortIndicatorChanged, this,
            [this] {
                if (!m_restoringSort)
                    emit signal_sortChoiceChanged(sortChoice());
            });

    connect(m_settings, &QPushButton::clicked, this, [this] {
        if (!selectedDevId().isEmpty())
            emit signal_openSettings(selectedDevId());
    });
    connect(m_dsp, &QPushButton::clicked, this, [this] {
        if (!selectedDevId().isEmpty())
            emit signal_openDsp(selectedDevId());
    });
    connect(m_identify, &QPushButton::clicked, this, &DeviceListForm::on_pb_identify_clicked);
    connect(m_reboot, &QPushButton::clicked, this, &DeviceListForm::on_pb_reboot_clicked);
    // A clock event or a reply changes a row between refreshes: the row takes the registry's record with it,
    // so a state is never shown against an older description (a leader that has since moved on).
    if (m_uiStore)
        connect(m_uiStore, &DeviceUiStore::signal_changed, this, [this](const QString &devId) {
            if (const auto d = m_registry.findByDevId(devId))
                m_model->updateRow(*d, m_uiStore->get(devId));
        });

    auto *bar = new QHBoxLayout;
    bar->setSpacing(scaled(8));
    bar->addWidget(m_filter);
    bar->addWidget(m_count);
    bar->addStretch(1);
    bar->addWidget(m_identify);
    bar->addWidget(m_reboot);
    bar->addWidget(m_dsp);
    bar->addWidget(m_settings);

    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(scaled(16), scaled(14), scaled(16), scaled(14));
    layout->setSpacing(scaled(10));
    layout->addLayout(bar);
    layout->addWidget(m_view, 1);
    retranslate();
    slot_refresh();
}

QString DeviceListForm::selectedDevId() const
{
    const QModelIndexList rows = m_view->selectionModel()->selectedRows();
    return rows.isEmpty() ? QString() : m_proxy->data(rows.first(), DeviceTableModel::DevIdRole).toString();
}

void DeviceListForm::selectDevice(const QString &devId)
{
    const int row = m_model->rowOf(devId);
    if (row < 0)
        return;
    const QModelIndex at = m_proxy->mapFromSource(m_model->index(row, 0));
    m_view->selectRow(at.row());
    m_view->scrollTo(at);
}

QString DeviceListForm::sortChoice() const
{
    const QHeaderView *h = m_view->horizontalHeader();
    return QStringLiteral("%1:%2").arg(h->sortIndicatorSection())
        .arg(h->sortIndicatorOrder() == Qt::AscendingOrder ? QLatin1String("asc") : QLatin1String("desc"));
}

void DeviceListForm::setSortChoice(const QString &choice)
{
    const QStringList parts = choice.split(QLatin1Char(':'));
    bool ok = false;
    const int column = parts.value(0).toInt(&ok);
    if (parts.size() != 2 || !ok || column < 0 || column >= DeviceTableModel::ColumnCount ||
        (parts.at(1) != QLatin1String("asc") && parts.at(1) != QLatin1String("desc")))
        return;
    // The header's own signal does the sorting, so it cannot be blocked: the
    // restored choice is simply not reported back as a new one.
    m_restoringSort = true;
    m_view->sortByColumn(column, parts.at(1) == QLatin1String("asc") ? Qt::AscendingOrder : Qt::DescendingOrder);
    m_restoringSort = false;
}

void DeviceListForm::slot_refresh()
{
    const QVector<Device> devices = m_registry.devices();
    m_model->setDevices(devices);
    if (m_uiStore)
        for (const Device &d : devices)
            if (m_uiStore->contains(d.devId()))
                m_model->setUiData(d.devId(), m_uiStore->get(d.devId()));
    m_count->setText(tx(Tx::DevicesCount).arg(devices.size()));
    updateButtons();
}

void DeviceListForm::slot_refreshDevInfo()
{
    if (!m_uiStore)
        return;
    for (const Device &d : m_registry.devices()) {
        const DeviceUiData ui = m_uiStore->get(d.devId());
        if (!ui.versionKnown)
            send(QStringLiteral("getVersion"), d.devId());
        if (!ui.lockKnown)
            send(QStringLiteral("getLock"), d.devId());
    }
}

void DeviceListForm::slot_blinking(const QString &devId)
{
    m_model->setBlinking(devId, true);
}

void DeviceListForm::slot_unBlinking(const QString &devId)
{
    m_model->setBlinking(devId, false);
}

QString DeviceListForm::nameOf(const QString &devId) const
{
    const auto d = m_registry.findByDevId(devId);
    return d ? d->rec.name.str() : devId;
}

void DeviceListForm::on_pb_identify_clicked()
{
    const QString devId = selectedDevId();
    if (devId.isEmpty()) {
        emit signal_showTips(tx(Tx::NoDeviceSelected), false);
        return;
    }
    send(QStringLiteral("identify"), devId, QJsonObject{{QStringLiteral("seconds"), QStringLiteral("5")}});
    emit signal_showTips(tx(Tx::IdentifySent).arg(nameOf(devId)), true);
}

void DeviceListForm::on_pb_reboot_clicked()
{
    const QString devId = selectedDevId();
    if (devId.isEmpty()) {
        emit signal_showTips(tx(Tx::NoDeviceSelected), false);
        return;
    }
    if (!NoticeBox::confirm(this, tx(Tx::RebootConfirm).arg(nameOf(devId))))
        return;
    send(QStringLiteral("reboot"), devId);
    emit signal_showTips(tx(Tx::RebootSent).arg(nameOf(devId)), true);
}

void DeviceListForm::send(const QString &op, const QString &devId, const QJsonObject &extra)
{
    QJsonObject cmd = extra;
    cmd.insert(QStringLiteral("ops"), op);
    cmd.insert(QStringLiteral("devId"), devId);
    m_runner->send(cmd);
}

void DeviceListForm::updateButtons()
{
    const QString devId = selectedDevId();
    const bool any = !devId.isEmpty();
    m_settings->setEnabled(any);
    m_identify->setEnabled(any);
    m_reboot->setEnabled(any);
    const auto d = any ? m_registry.findByDevId(devId) : std::nullopt;
    m_dsp->setEnabled(d && DeviceModels::isDspCapable(d->rec.model.str()));
}

void DeviceListForm::retranslate()
{
    m_filter->setPlaceholderText(tx(Tx::FilterPlaceholder));
    m_settings->setText(tx(Tx::DeviceSettings));
    m_dsp->setText(tx(Tx::DeviceDsp));
    m_identify->setText(tx(Tx::DeviceIdentify));
    m_reboot->setText(tx(Tx::DeviceReboot));
    m_count->setText(tx(Tx::DevicesCount).arg(m_model->rowCount()));
    m_model->retranslate();
}

void DeviceListForm::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::LanguageChange)
        retranslate();
    QWidget::changeEvent(event);
}
