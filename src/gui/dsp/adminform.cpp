#include "gui/dsp/adminform.h"

#include "core/app/lastfolders.h"
#include "core/app/scalefactors.h"
#include "core/app/texts.h"
#include "gui/widgets/filechoice.h"
#include "gui/widgets/noticebox.h"

#include <QApplication>
#include <QEvent>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QVBoxLayout>

namespace {

const QString kFilter = QStringLiteral("*.dcd;;*.*");

QPushButton *button(QWidget *parent, const char *name)
{
    auto *b = new QPushButton(parent);
    b->setObjectName(QLatin1String(name));
    return b;
}

} // namespace

AdminForm::AdminForm(StoredActions::Exchange exchange, std::function<void()> reboot, QWidget *parent)
    : QWidget(parent)
    , m_reboot(std::move(reboot))
{
    setObjectName(QStringLiteral("page_dspAdmin"));
    // The exchange blocks the interface thread; the cursor says so for as long as it lasts.
    m_exchange = [inner = std::move(exchange)](const QString &request) {
        QApplication::setOverrideCursor(Qt::WaitCursor);
        const DspExchange::Result r = inner(request);
        QApplication::restoreOverrideCursor();
        return r;
    };

    m_title = new QLabel(this);
    m_list = new QListWidget(this);
    m_list->setObjectName(QStringLiteral("lw_configs"));
    m_list->setSelectionMode(QAbstractItemView::SingleSelection);
    for (int i = 0; i < StoredActions::kSlots; ++i)
        m_list->addItem(StoredActions::label(i, QString()));
    m_lastCaption = new QLabel(this);
    m_last = new QLabel(QStringLiteral("-"), this);
    m_last->setObjectName(QStringLiteral("lb_lastLoaded"));
    m_nameCaption = new QLabel(this);
    m_name = new QLineEdit(this);
    m_name->setObjectName(QStringLiteral("le_name"));
    m_save = button(this, "pb_save");
    m_load = button(this, "pb_load");
    m_delete = button(this, "pb_delete");
    m_export = button(this, "pb_export");
    m_import = button(this, "pb_import");
    m_factory = button(this, "pb_factoryReset");

    auto *left = new QVBoxLayout;
    left->addWidget(m_title);
    left->addWidget(m_list, 1);
    auto *lastRow = new QHBoxLayout;
    lastRow->addWidget(m_lastCaption);
    lastRow->addWidget(m_last, 1);
    left->addLayout(lastRow);

    auto *right = new QVBoxLayout;
    right->addWidget(m_nameCaption);
    right->addWidget(m_name);
    auto *buttons = new QGridLayout;
    buttons->addWidget(m_save, 0, 0);
    buttons->addWidget(m_load, 0, 1);
    buttons->addWidget(m_delete, 0, 2);
    buttons->addWidget(m_export, 1, 0, 1, 3);
    buttons->addWidget(m_import, 2, 0, 1, 3);
    right->addLayout(buttons);
    right->addStretch(1);
    right->addWidget(m_factory);

    // Eight short rows and six buttons: kept to their natural size rather than spread over a wide window.
    m_list->setFixedWidth(scaled(420));
    auto *rightPanel = new QWidget(this);
    rightPanel->setFixedWidth(scaled(340));
    rightPanel->setLayout(right);
    right->setContentsMargins(0, 0, 0, 0);
    auto *layout = new QHBoxLayout(this);
    layout->addLayout(left);
    layout->addSpacing(scaled(16));
    layout->addWidget(rightPanel);
    layout->addStretch(1);

    connect(m_list, &QListWidget::itemSelectionChanged, this, [this] {
        const int row = selectedRow();
        if (row >= 0 && row < m_listing.names.size())
            m_name->setText(m_listing.names.at(row));
    });
    connect(m_save, &QPushButton::clicked, this, &AdminForm::onSave);
    connect(m_load, &QPushButton::clicked, this, &AdminForm::onLoad);
    connect(m_delete, &QPushButton::clicked, this, &AdminForm::onDelete);
    connect(m_export, &QPushButton::clicked, this, &AdminForm::onExport);
    connect(m_import, &QPushButton::clicked, this, &AdminForm::onImport);
    connect(m_factory, &QPushButton::clicked, this, &AdminForm::onFactoryReset);
    retranslate();
}

void AdminForm::refresh()
{
    m_listing = StoredActions::list(m_exchange);
    if (!m_listing.ok) {
        tell(m_listing.failure);
        return;
    }
    for (int i = 0; i < StoredActions::kSlots; ++i)
        m_list->item(i)->setText(StoredActions::label(i, m_listing.names.at(i)));
    m_last->setText(StoredActions::lastText(m_listing));
}

void AdminForm::showEvent(QShowEvent *event)
{
    QWidget::showEvent(event);
    refresh();
}

void AdminForm::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::LanguageChange)
        retranslate();
    QWidget::changeEvent(event);
}

void AdminForm::retranslate()
{
    m_title->setText(tx(Tx::AdminStored));
    m_lastCaption->setText(tx(Tx::AdminLastLoaded));
    m_nameCaption->setText(tx(Tx::AdminName));
    m_save->setText(tx(Tx::AdminSave));
    m_load->setText(tx(Tx::AdminLoad));
    m_delete->setText(tx(Tx::AdminDelete));
    m_export->setText(tx(Tx::AdminExport));
    m_import->setText(tx(Tx::AdminImport));
    m_factory->setText(tx(Tx::AdminFactoryReset));
}

int AdminForm::selectedRow() const
{
    // The selection, not the current row: a list given focus has a current row nobody chose.
    const QModelIndexList rows = m_list->selectionModel()->selectedRows();
    return rows.isEmpty() ? -1 : rows.first().row();
}

int AdminForm::chosen()
{
    const int row = selectedRow();
    if (row < 0)
        NoticeBox::notice(this, tx(Tx::AdminChooseRecord));
    return row;
}

void AdminForm::tell(const StoredActions::Outcome &outcome)
{
    NoticeBox box(NoticeBox::Notice, outcome.message, this);
    if (!outcome.title.isEmpty())
        box.setTitle(outcome.title);
    box.exec();
}

void AdminForm::onSave()
{
    const int index = chosen();
    if (index < 0)
        return;
    // The name is checked before anything goes out, so a refused name costs no exchange.
    if (const std::optional<StoredActions::Outcome> refused = StoredActions::nameRefusal(m_name->text())) {
        tell(*refused);
        return;
    }
    tell(StoredActions::save(m_exchange, index, m_name->text()));
    refresh();
}

void AdminForm::onLoad()
{
    const int index = chosen();
    if (index < 0)
        return;
    const StoredActions::Outcome o = StoredActions::load(m_exchange, index);
    if (o.ok)
        emit signal_runningConfigReplaced();
    tell(o);
    refresh();
}

void AdminForm::onDelete()
{
    const int index = chosen();
    if (index < 0)
        return;
    tell(StoredActions::remove(m_exchange, index));
    refresh();
}

void AdminForm::onExport()
{
    const int index = chosen();
    if (index < 0)
        return;
    const QString path = FileChoice::save(this, tx(Tx::AdminSaveFile), kFilter, LastFolders::Kind::StoredConfigs);
    if (path.isEmpty())
        return;
    tell(StoredActions::exportTo(m_exchange, index, path));
}

void AdminForm::onImport()
{
    const int index = chosen();
    if (index < 0 || !NoticeBox::confirm(this, StoredActions::importQuestion()))
        return;
    const QString path = FileChoice::open(this, tx(Tx::AdminSelectFile), kFilter, LastFolders::Kind::StoredConfigs);
    if (path.isEmpty())
        return;
    tell(StoredActions::importFrom(m_exchange, index, path));
    refresh();
}

void AdminForm::onFactoryReset()
{
    if (!NoticeBox::confirm(this, StoredActions::factoryQuestion()))
        return;
    const StoredActions::Outcome o = StoredActions::factoryReset(m_exchange);
    if (!o.ok) {
        tell(o);
        refresh();
        return;
    }
    emit signal_runningConfigReplaced();
    refresh();
    if (NoticeBox::confirm(this, StoredActions::restartQuestion()) && m_reboot)
        m_reboot();
}
