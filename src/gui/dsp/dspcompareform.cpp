#include "gui/dsp/dspcompareform.h"

#include "core/app/scalefactors.h"
#include "core/app/texts.h"
#include "core/dsp/cdevicedspdata.h"
#include "core/dsp/dspcontroller.h"
#include "core/dsp/programs/programcommands.h"
#include "core/dsp/programs/programfiles.h"
#include "gui/widgets/filechoice.h"
#include "gui/widgets/style.h"

#include <QComboBox>
#include <QEvent>
#include <QFileInfo>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QJsonDocument>
#include <QLabel>
#include <QPointer>
#include <QPushButton>
#include <QTableWidget>

DspCompareDialog::DspCompareDialog(DspController *controller, const QStringList &programNames, QWidget *parent)
    : FramelessDialog(parent)
    , m_controller(controller)
    , m_compare(new QPushButton(this))
    , m_summary(new QLabel(this))
    , m_note(new QLabel(this))
    , m_table(new QTableWidget(0, 4, this))
{
    setObjectName(QStringLiteral("DspCompareDialog"));
    setMinimumSize(scaled(760), scaled(520));

    auto *grid = new QGridLayout;
    grid->setHorizontalSpacing(scaled(10));
    for (Side side : {A, B}) {
        buildSide(side);
        SideWidgets &s = m_sides[side];
        grid->addWidget(s.label, side, 0);
        grid->addWidget(s.kind, side, 1);
        grid->addWidget(s.program, side, 2);
        grid->addWidget(s.choose, side, 3);
        grid->addWidget(s.file, side, 4);
    }
    grid->setColumnStretch(4, 1);
    contentLayout()->addLayout(grid);

    m_compare->setObjectName(QStringLiteral("pb_compare"));
    m_summary->setObjectName(QStringLiteral("lb_summary"));
    m_summary->setFont(Style::font(10, true));
    m_note->setObjectName(QStringLiteral("lb_note"));
    m_note->setWordWrap(true);
    m_note->hide();
    auto *row = new QHBoxLayout;
    row->addWidget(m_summary, 1);
    row->addWidget(m_compare);
    contentLayout()->addLayout(row);
    contentLayout()->addWidget(m_note);

    m_table->setObjectName(QStringLiteral("tw_differences"));
    m_table->setEditTriggers(QAbstractItemView::NoEditTriggers);
    m_table->setSelectionBehavior(QAbstractItemView::SelectRows);
    m_table->verticalHeader()->hide();
    m_table->horizontalHeader()->setSectionResizeMode(QHeaderView::Interactive);
    m_table->horizontalHeader()->setStretchLastSection(true);
    m_table->setColumnWidth(0, scaled(220));
    m_table->setColumnWidth(1, scaled(180));
    m_table->setColumnWidth(2, scaled(150));
    contentLayout()->addWidget(m_table, 1);

    connect(m_compare, &QPushButton::clicked, this, &DspCompareDialog::compare);
    connect(closeButton(), &QPushButton::clicked, this, &QDialog::reject);

    if (programNames.isEmpty()) {
        QPointer<DspCompareDialog> self(this);
        m_controller->request(ProgramCommands::getConfigNameArr(), QStringLiteral("compare names"),
                              [self](const QJsonObject &reply) {
                                  if (self)
                                      self->setProgramNames(ProgramCommands::nameArrOf(reply, QStringLiteral("nameArr")));
                              });
    } else {
        setProgramNames(programNames);
    }
    retranslate();
    for (Side side : {A, B})
        sourceChanged(side);
}

void DspCompareDialog::buildSide(Side side)
{
    const QString tag = side == A ? QStringLiteral("A") : QStringLiteral("B");
    SideWidgets &s = m_sides[side];
    s.label = new QLabel(tag + QLatin1Char(':'), this);
    s.kind = new QComboBox(this);
    s.kind->setObjectName(QStringLiteral("com_source") + tag);
    for (int i = 0; i < 3; ++i)
        s.kind->addItem(QString());
    s.program = new QComboBox(this);
    s.program->setObjectName(QStringLiteral("com_program") + tag);
    s.program->setMinimumWidth(scaled(160));
    s.choose = new QPushButton(this);
    s.choose->setObjectName(QStringLiteral("pb_file") + tag);
    s.file = new QLabel(this);
    s.file->setObjectName(QStringLiteral("lb_file") + tag);
    s.file->setTextInteractionFlags(Qt::TextSelectableByMouse);
    connect(s.kind, QOverload<int>::of(&QComboBox::currentIndexChanged), this, [this, side] { sourceChanged(side); });
    connect(s.choose, &QPushButton::clicked, this, [this, side] { chooseFile(side); });
}

void DspCompareDialog::setProgramNames(const QStringList &nameArr)
{
    for (SideWidgets &s : m_sides) {
        const QString kept = s.program->currentText();
        s.program->clear();
        for (const QString &name : nameArr)
            if (!name.isEmpty())
                s.program->addItem(name);
        if (s.program->findText(kept) >= 0)
            s.program->setCurrentText(kept);
    }
}

void DspCompareDialog::sourceChanged(Side side)
{
    SideWidgets &s = m_sides[side];
    const auto source = Source(s.kind->currentIndex());
    // Only the pickers of the chosen source are shown, so none looks usable when it is not.
    s.program->setVisible(source == Source::Program);
    s.choose->setVisible(source == Source::File);
    s.file->setVisible(source == Source::File);
}

void DspCompareDialog::chooseFile(Side side)
{
    const QString path = FileChoice::open(this, tx(Tx::DspCompareChooseFile), tx(Tx::DspCompareFileFilter));
    if (path.isEmpty())
        return;
    m_sides[side].path = path;
    retranslate();
}

void DspCompareDialog::compare()
{
    const int generation = ++m_generation;
    m_summary->setText(tx(Tx::DspCompareReading));
    for (SideWidgets &s : m_sides)
        s.doc.reset();
    for (Side side : {A, B}) {
        const SideWidgets &s = m_sides[side];
        switch (Source(s.kind->currentIndex())) {
        case Source::Running:
            arrived(generation, side, QJsonDocument::fromJson(m_controller->document().toJson()).object());
            break;
        case Source::File: {
            if (s.path.isEmpty()) {
                failed(generation, tx(Tx::DspCompareNoFile));
                return;
            }
            const std::optional<QByteArray> bytes = ProgramFiles::readFile(s.path);
            const ConfigDiff::FileRead read =
                bytes ? ConfigDiff::documentOf(*bytes) : ConfigDiff::FileRead{Tx::ProgFileOpenError, {}};
            if (!read.ok()) {
                failed(generation, QStringLiteral("%1: %2").arg(QFileInfo(s.path).fileName(), tx(*read.error)));
                return;
            }
            arrived(generation, side, read.config);
            break;
        }
        case Source::Program: {
            const QString name = s.program->currentText();
            QPointer<DspCompareDialog> self(this);
            m_controller->request(
                ProgramCommands::getConfigByName(name, QStringLiteral("compare")),
                QStringLiteral("compare %1").arg(side), [self, generation, side, name](const QJsonObject &reply) {
                    if (!self)
                        return;
                    const QJsonValue config = reply.value(QLatin1String("config"));
                    if (reply.value(QLatin1String("result")).toString() != QLatin1String("succ")
                        || reply.value(QLatin1String("name")).toString() != name || !config.isObject())
                        self->failed(generation, tx(Tx::DspCompareProgramFailed).arg(name));
                    else
                        self->arrived(generation, side, config.toObject());
                });
            break;
        }
        }
    }
}

void DspCompareDialog::arrived(int generation, Side side, const QJsonObject &doc)
{
    if (generation != m_generation)
        return;
    m_sides[side].doc = doc;
    if (!m_sides[A].doc || !m_sides[B].doc)
        return;
    bool convertedA = false, convertedB = false;
    const QJsonObject a = ConfigDiff::comparable(*m_sides[A].doc, &convertedA);
    const QJsonObject b = ConfigDiff::comparable(*m_sides[B].doc, &convertedB);
    showDifferences(ConfigDiff::compare(a, b), convertedA || convertedB);
}

void DspCompareDialog::failed(int generation, const QString &why)
{
    if (generation != m_generation)
        return;
    ++m_generation; // the other side's answer, still on its way, has nothing to join
    m_shownCount = -1;
    m_table->setRowCount(0);
    m_note->hide();
    m_summary->setText(why);
    emit signal_shown();
}

void DspCompareDialog::showDifferences(const QVector<ConfigDiff::Difference> &diffs, bool converted)
{
    m_table->setRowCount(diffs.size());
    const auto shown = [](const QString &v) { return v.isNull() ? QStringLiteral("-") : v; };
    for (int r = 0; r < diffs.size(); ++r) {
        const ConfigDiff::Difference &d = diffs[r];
        const QString cells[] = {d.where, d.member, shown(d.a), shown(d.b)};
        for (int c = 0; c < 4; ++c)
            m_table->setItem(r, c, new QTableWidgetItem(cells[c]));
    }
    m_shownCount = diffs.size();
    m_note->setVisible(converted);
    retranslate();
    emit signal_shown();
}

QString DspCompareDialog::summaryText() const
{
    return m_summary->text();
}

void DspCompareDialog::retranslate()
{
    setTitle(tx(Tx::DspCompareTitle));
    setWindowTitle(title());
    for (SideWidgets &s : m_sides) {
        s.kind->setItemText(int(Source::Running), tx(Tx::DspCompareRunning));
        s.kind->setItemText(int(Source::Program), tx(Tx::DspCompareProgram));
        s.kind->setItemText(int(Source::File), tx(Tx::DspCompareFile));
        s.choose->setText(tx(Tx::DspCompareChooseFile));
        s.file->setText(s.path.isEmpty() ? tx(Tx::DspCompareNoFile) : QFileInfo(s.path).fileName());
        s.file->setToolTip(s.path);
    }
    m_compare->setText(tx(Tx::DspCompareRun));
    m_table->setHorizontalHeaderLabels(
        {tx(Tx::DspCompareWhere), tx(Tx::DspCompareMember), QStringLiteral("A"), QStringLiteral("B")});
    m_note->setText(tx(Tx::DspCompareConverted));
    if (m_shownCount == 0)
        m_summary->setText(tx(Tx::DspCompareIdentical));
    else if (m_shownCount == 1)
        m_summary->setText(tx(Tx::DspCompareOneDifference));
    else if (m_shownCount > 1)
        m_summary->setText(tx(Tx::DspCompareDifferences).arg(m_shownCount));
}

void DspCompareDialog::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::LanguageChange)
        retranslate();
    FramelessDialog::changeEvent(event);
}
