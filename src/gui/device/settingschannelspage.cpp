#include "gui/device/settingschannelspage.h"

#include "core/app/scalefactors.h"
#include "core/app/texts.h"
#include "core/device/settingsplan.h"
#include "gui/widgets/style.h"

#include <QAbstractButton>
#include <QApplication>
#include <QEvent>
#include <QHeaderView>
#include <QLabel>
#include <QTableWidget>
#include <QVBoxLayout>

SettingsChannelsPage::SettingsChannelsPage(const QString &devId, QWidget *parent)
    : QWidget(parent)
    , m_devId(devId)
{
    setObjectName(QStringLiteral("page_channels"));
    m_hint = new QLabel(this);
    m_table = new QTableWidget(0, DeviceTables::NameTableCount, this);
    m_table->setObjectName(QStringLiteral("tw_channels"));
    m_table->setAlternatingRowColors(true);
    m_table->setSelectionMode(QAbstractItemView::SingleSelection);
    m_table->setEditTriggers(QAbstractItemView::DoubleClicked | QAbstractItemView::EditKeyPressed
                             | QAbstractItemView::AnyKeyPressed);
    m_table->horizontalHeader()->setSectionResizeMode(QHeaderView::Stretch);
    m_table->verticalHeader()->setDefaultSectionSize(scaled(30));
    m_table->verticalHeader()->setMinimumWidth(scaled(36));
    m_table->verticalHeader()->setDefaultAlignment(Qt::AlignCenter);
    // The shared style colours the sections only; the header's empty part and corner follow here.
    m_table->setStyleSheet(QStringLiteral("QHeaderView { background-color: %1; }").arg(Style::rgb(Style::kBackground)));
    // Set on the corner itself: a rule on the table is lost when a window
    // above it has a style sheet of its own.
    if (auto *corner = m_table->findChild<QAbstractButton *>())
        corner->setStyleSheet(QStringLiteral("background-color: %1; border: none;").arg(Style::rgb(Style::kPanel)));
    connect(m_table, &QTableWidget::itemChanged, this, &SettingsChannelsPage::onItemChanged);

    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(scaled(24), scaled(16), scaled(24), scaled(16));
    layout->addWidget(m_hint);
    layout->addWidget(m_table, 1);
    retranslate();
}

void SettingsChannelsPage::refresh(const Device &dev)
{
    m_dev = dev;
    apply(false);
}

void SettingsChannelsPage::resync()
{
    for (int t = 0; t < DeviceTables::NameTableCount; ++t) {
        m_seen[t].clear();
        m_seenCount[t] = -1;
    }
    apply(true);
}

void SettingsChannelsPage::apply(bool force)
{
    // Leave an open editor alone; the next refresh catches up.
    const QWidget *focus = QApplication::focusWidget();
    if (!force && focus && focus != m_table && m_table->isAncestorOf(focus))
        return;
    m_filling = true;
    int rows = 0;
    for (int t = 0; t < DeviceTables::NameTableCount; ++t)
        rows = qMax(rows, DeviceTables::announcedNameCount(m_dev.rec, DeviceTables::NameTable(t)));
    if (m_table->rowCount() != rows)
        m_table->setRowCount(rows);
    for (int t = 0; t < DeviceTables::NameTableCount; ++t) {
        const auto table = DeviceTables::NameTable(t);
        const int count = DeviceTables::announcedNameCount(m_dev.rec, table);
        const bool countChanged = count != m_seenCount[t];
        m_seen[t].resize(count);
        for (int row = 0; row < rows; ++row) {
            QTableWidgetItem *item = m_table->item(row, t);
            if (!item) {
                item = new QTableWidgetItem;
                m_table->setItem(row, t, item);
            }
            if (row >= count) {
                item->setFlags(Qt::NoItemFlags);
                item->setText(QString());
                continue;
            }
            item->setFlags(Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemIsEditable);
            const QString name = m_dev.channelName(table, row);
            if (force || countChanged || name != m_seen[t][row]) {
                item->setText(name);
                m_seen[t][row] = name;
            }
        }
        m_seenCount[t] = count;
    }
    m_filling = false;
}

void SettingsChannelsPage::onItemChanged(QTableWidgetItem *item)
{
    if (m_filling)
        return;
    emit signal_run(SettingsPlan::channelName(m_devId, DeviceTables::NameTable(item->column()), item->row(),
                                              item->text()));
}

void SettingsChannelsPage::retranslate()
{
    m_hint->setText(tx(Tx::DsChannelsHint));
    m_table->setHorizontalHeaderLabels({tx(Tx::DsNetRx), tx(Tx::DsNetTx), tx(Tx::DsPhyRx), tx(Tx::DsPhyTx)});
}

void SettingsChannelsPage::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::LanguageChange)
        retranslate();
    QWidget::changeEvent(event);
}
