#include "gui/dsp/programs/manageprogramform.h"

#include "core/app/scalefactors.h"
#include "core/dsp/programs/programrules.h"
#include "gui/widgets/filechoice.h"
#include "gui/widgets/noticebox.h"

#include <QEvent>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPointer>
#include <QPushButton>
#include <QVBoxLayout>

namespace {

const char kProgramFilter[] = "*.dt;;*.*";
const char kListFilter[] = "*.dtl;;*.*";

QPushButton *button(QWidget *parent, const char *name)
{
    auto *b = new QPushButton(parent);
    b->setObjectName(QLatin1String(name));
    return b;
}

} // namespace

ProgramItemForm::ProgramItemForm(QWidget *parent)
    : QWidget(parent)
    , m_label(new QLabel(this))
    , m_inUse(new QLabel(this))
{
    setObjectName(QStringLiteral("ProgramItemForm"));
    m_label->setObjectName(QStringLiteral("lb_slot"));
    m_inUse->setObjectName(QStringLiteral("lb_inUse"));
    m_inUse->setStyleSheet(QStringLiteral("color: rgb(96, 200, 120);"));
    auto *row = new QHBoxLayout(this);
    row->setContentsMargins(scaled(6), scaled(2), scaled(6), scaled(2));
    row->addWidget(m_label);
    row->addSpacing(scaled(12));
    row->addWidget(m_inUse);
    row->addStretch(1);
}

void ProgramItemForm::show(int slot, const QString &name, bool inUse)
{
    m_label->setText(name.isEmpty() ? QString::number(slot) : ProgramRules::slotLabel(slot, name));
    m_inUse->setText(inUse ? tx(Tx::ProgInUseMark) : QString());
}

QString ProgramItemForm::label() const
{
    return m_label->text();
}

bool ProgramItemForm::isInUse() const
{
    return !m_inUse->text().isEmpty();
}

ManageProgramForm::ManageProgramForm(ProgramActions *actions, QWidget *parent)
    : QWidget(parent)
    , m_actions(actions)
    , m_list(new QListWidget(this))
    , m_name(new QLineEdit(this))
    , m_nameLabel(new QLabel(this))
    , m_progress(new QLabel(this))
{
    setObjectName(QStringLiteral("ManageProgramForm"));
    m_list->setObjectName(QStringLiteral("lw_programs"));
    m_name->setObjectName(QStringLiteral("le_name"));
    m_name->setMaxLength(64); // longer names are refused with the rule's own message, not cut silently
    m_progress->setObjectName(QStringLiteral("lb_progress"));
    m_save = button(this, "pb_save");
    m_load = button(this, "pb_load");
    m_delete = button(this, "pb_delete");
    m_export = button(this, "pb_export");
    m_exportAll = button(this, "pb_exportAll");
    m_import = button(this, "pb_import");
    m_importAll = button(this, "pb_importAll");
    m_convert = button(this, "pb_convert");
    m_compare = button(this, "pb_compare");
    m_refresh = button(this, "pb_refresh");

    auto *nameRow = new QHBoxLayout;
    nameRow->addWidget(m_nameLabel);
    nameRow->addWidget(m_name, 1);
    auto *buttons = new QGridLayout;
    const QList<QPushButton *> all{m_save, m_load, m_delete, m_convert, m_export, m_exportAll,
                                   m_import, m_importAll, m_compare, m_refresh};
    for (int i = 0; i < all.size(); ++i)
        buttons->addWidget(all.at(i), i / 2, i % 2);
    auto *side = new QVBoxLayout;
    side->addLayout(nameRow);
    side->addLayout(buttons);
    side->addWidget(m_progress);
    side->addStretch(1);
    auto *layout = new QHBoxLayout(this);
    layout->addWidget(m_list, 1);
    layout->addLayout(side);

    connect(m_list, &QListWidget::currentRowChanged, this, [this](int slot) {
        if (slot > 0)
            m_name->setText(m_actions->names().value(slot));
    });
    connect(m_actions, &ProgramActions::signal_listChanged, this, &ManageProgramForm::rebuild);
    connect(m_actions, &ProgramActions::signal_exportProgress, this, [this](int got, int total) {
        m_progress->setText(tx(Tx::ProgExportAllProgress).arg(got).arg(total));
    });
    connect(m_save, &QPushButton::clicked, this, &ManageProgramForm::save);
    connect(m_load, &QPushButton::clicked, this, &ManageProgramForm::load);
    connect(m_delete, &QPushButton::clicked, this, &ManageProgramForm::remove);
    connect(m_export, &QPushButton::clicked, this, &ManageProgramForm::exportOne);
    connect(m_exportAll, &QPushButton::clicked, this, &ManageProgramForm::exportAll);
    connect(m_import, &QPushButton::clicked, this, [this] { import(false); });
    connect(m_importAll, &QPushButton::clicked, this, [this] { import(true); });
    connect(m_convert, &QPushButton::clicked, this, &ManageProgramForm::convert);
    connect(m_compare, &QPushButton::clicked, this, &ManageProgramForm::signal_compareRequested);
    connect(m_refresh, &QPushButton::clicked, this, &ManageProgramForm::refresh);
    retranslate();
}

int ManageProgramForm::selectedSlot() const
{
    return m_list->currentRow();
}

void ManageProgramForm::selectSlot(int slot)
{
    m_list->setCurrentRow(slot);
}

void ManageProgramForm::refresh()
{
    run([this](ProgramActions::Done done) { m_actions->refresh(done); });
}

void ManageProgramForm::rebuild()
{
    const int selected = m_list->currentRow();
    const QStringList &names = m_actions->names();
    while (m_list->count() > names.size())
        delete m_list->takeItem(m_list->count() - 1);
    while (m_list->count() < names.size()) {
        auto *item = new QListWidgetItem(m_list);
        m_list->setItemWidget(item, new ProgramItemForm(m_list));
    }
    for (int slot = 0; slot < names.size(); ++slot) {
        auto *row = static_cast<ProgramItemForm *>(m_list->itemWidget(m_list->item(slot)));
        const QString &name = names.at(slot);
        row->show(slot, name, !name.isEmpty() && name == m_actions->inUse());
        // Measured with its text: an empty row is shorter than a named one, and a row cut to it clips the
        // underscores of names.
        m_list->item(slot)->setSizeHint(row->sizeHint());
    }
    if (selected >= 0 && selected < names.size())
        m_list->setCurrentRow(selected);
}

void ManageProgramForm::setBusy(bool busy)
{
    m_busy = busy;
    for (QPushButton *b : {m_save, m_load, m_delete, m_export, m_exportAll, m_import, m_importAll, m_convert, m_refresh})
        b->setEnabled(!busy);
}

void ManageProgramForm::run(const std::function<void(ProgramActions::Done)> &start)
{
    if (m_busy)
        return;
    setBusy(true);
    QPointer<ManageProgramForm> self(this);
    start([self](const ProgramActions::Outcome &outcome) {
        if (!self)
            return;
        self->setBusy(false);
        self->m_progress->clear();
        self->show(outcome);
    });
}

void ManageProgramForm::show(const ProgramActions::Outcome &outcome)
{
    if (outcome.text.isEmpty())
        return;
    if (outcome.tips) {
        NoticeBox box(NoticeBox::Notice, outcome.text, this);
        box.setTitle(tx(Tx::ProgTips));
        box.exec();
    } else {
        emit signal_showTips(outcome.text, outcome.ok);
    }
    if (!outcome.detail.isEmpty())
        NoticeBox::notice(this, outcome.detail);
}

bool ManageProgramForm::passSteps(const QVector<PlanStep> &steps)
{
    return NoticeBox::passSteps(this, steps);
}

void ManageProgramForm::save()
{
    const int slot = selectedSlot();
    const QString name = m_name->text().trimmed();
    if (!passSteps(m_actions->beforeSave()))
        return;
    run([this, slot, name](ProgramActions::Done done) { m_actions->save(slot, name, done); });
}

void ManageProgramForm::load()
{
    const int slot = selectedSlot();
    run([this, slot](ProgramActions::Done done) { m_actions->load(slot, done); });
}

void ManageProgramForm::remove()
{
    const int slot = selectedSlot();
    run([this, slot](ProgramActions::Done done) { m_actions->remove(slot, done); });
}

void ManageProgramForm::exportOne()
{
    const int slot = selectedSlot();
    // Refused before a file is asked for: the operator should not pick a file for nothing.
    if (const std::optional<Tx> why = ProgramRules::refuseExport(slot, m_actions->names()))
        return show({false, tx(*why), {}, false});
    const QString path = FileChoice::save(this, tx(Tx::ProgExport), QLatin1String(kProgramFilter));
    if (path.isEmpty())
        return;
    run([this, slot, path](ProgramActions::Done done) { m_actions->exportOne(slot, path, done); });
}

void ManageProgramForm::exportAll()
{
    if (const std::optional<Tx> why = ProgramRules::refuseExportAll(m_actions->names()))
        return show({false, tx(*why), {}, true});
    const QString path = FileChoice::save(this, tx(Tx::ProgExportAll), QLatin1String(kListFilter));
    if (path.isEmpty())
        return;
    run([this, path](ProgramActions::Done done) { m_actions->exportAll(path, done); });
}

void ManageProgramForm::import(bool all)
{
    const int slot = selectedSlot();
    if (!passSteps(m_actions->beforeImport(slot, all)))
        return;
    const QString path = FileChoice::open(this, tx(all ? Tx::ProgImportAll : Tx::ProgImport),
                                          QLatin1String(all ? kListFilter : kProgramFilter));
    if (path.isEmpty())
        return;
    const std::optional<QByteArray> bytes = ProgramFiles::readFile(path);
    const ProgramActions::ImportPlan plan =
        all ? m_actions->planImportAll(bytes) : m_actions->planImport(slot, bytes, m_name->text().trimmed());
    if (!passSteps(plan.steps))
        return;
    run([this, plan](ProgramActions::Done done) { m_actions->import(plan, done); });
}

void ManageProgramForm::convert()
{
    const int slot = selectedSlot();
    run([this, slot](ProgramActions::Done done) { m_actions->convert(slot, done); });
}

void ManageProgramForm::retranslate()
{
    m_nameLabel->setText(tx(Tx::ProgNameLabel));
    m_save->setText(tx(Tx::ProgSave));
    m_load->setText(tx(Tx::ProgLoad));
    m_delete->setText(tx(Tx::ProgDelete));
    m_export->setText(tx(Tx::ProgExport));
    m_exportAll->setText(tx(Tx::ProgExportAll));
    m_import->setText(tx(Tx::ProgImport));
    m_importAll->setText(tx(Tx::ProgImportAll));
    m_convert->setText(tx(Tx::ProgConvert));
    m_compare->setText(tx(Tx::ProgCompare));
    m_refresh->setText(tx(Tx::ProgRefresh));
    rebuild();
}

void ManageProgramForm::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::LanguageChange)
        retranslate();
    QWidget::changeEvent(event);
}
