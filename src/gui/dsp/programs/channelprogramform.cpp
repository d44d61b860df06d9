#include "gui/dsp/programs/channelprogramform.h"

#include "core/app/scalefactors.h"
#include "core/dsp/dspcontroller.h"
#include "core/dsp/programs/programrules.h"
#include "gui/widgets/noticebox.h"

#include <QDir>
#include <QEvent>
#include <QFileDialog>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>

namespace {
// Where the operator last looked, for the next form of this session.
QString g_folder;
}

ChannelProgramForm::ChannelProgramForm(DspController *controller, DspSide side, int channel, QWidget *parent)
    : FramelessDialog(parent)
    , m_controller(controller)
    , m_side(side)
    , m_channel(channel)
    , m_folderLabel(new QLabel(this))
    , m_list(new QListWidget(this))
    , m_name(new QLineEdit(this))
    , m_nameLabel(new QLabel(this))
    , m_empty(new QLabel(this))
    , m_otherFolder(new QPushButton(this))
    , m_save(new QPushButton(this))
    , m_load(new QPushButton(this))
{
    setObjectName(QStringLiteral("ChannelProgramForm"));
    m_folderLabel->setObjectName(QStringLiteral("lb_folder"));
    m_folderLabel->setWordWrap(true);
    m_list->setObjectName(QStringLiteral("lw_channelPrograms"));
    m_name->setObjectName(QStringLiteral("le_channelProgramName"));
    m_empty->setObjectName(QStringLiteral("lb_noChannelPrograms"));
    m_otherFolder->setObjectName(QStringLiteral("pb_otherFolder"));
    m_save->setObjectName(QStringLiteral("pb_saveChannelProgram"));
    m_load->setObjectName(QStringLiteral("pb_loadChannelProgram"));

    auto *top = new QHBoxLayout;
    top->addWidget(m_folderLabel, 1);
    top->addWidget(m_otherFolder);
    auto *nameRow = new QHBoxLayout;
    nameRow->addWidget(m_nameLabel);
    nameRow->addWidget(m_name, 1);
    contentLayout()->addLayout(top);
    contentLayout()->addWidget(m_list, 1);
    contentLayout()->addWidget(m_empty);
    contentLayout()->addWidget(m_load);
    contentLayout()->addLayout(nameRow);
    contentLayout()->addWidget(m_save);

    connect(m_otherFolder, &QPushButton::clicked, this, [this] {
        const QString dir = QFileDialog::getExistingDirectory(this, tx(Tx::ChanProgOtherFolder), m_folder);
        if (!dir.isEmpty())
            setFolder(dir);
    });
    connect(m_save, &QPushButton::clicked, this, &ChannelProgramForm::save);
    connect(m_load, &QPushButton::clicked, this, &ChannelProgramForm::load);
    connect(m_list, &QListWidget::itemDoubleClicked, this, &ChannelProgramForm::load);
    connect(m_list, &QListWidget::currentRowChanged, this, [this](int row) {
        if (row >= 0 && row < m_programs.size())
            m_name->setText(m_programs.at(row).name);
    });
    resize(scaled(420), scaled(460));
    setFolder(g_folder.isEmpty() ? ChannelPrograms::defaultFolder() : g_folder);
}

void ChannelProgramForm::setFolder(const QString &folder)
{
    m_folder = folder;
    g_folder = folder;
    reload();
    retranslate();
}

void ChannelProgramForm::reload()
{
    m_programs = ChannelPrograms::list(m_folder);
    m_list->clear();
    for (const ChannelPrograms::Program &p : qAsConst(m_programs)) {
        auto *item = new QListWidgetItem(QStringLiteral("%1  (%2, %3)").arg(p.name, DspKinds::sideName(p.side)).arg(p.chain.size()), m_list);
        // Only programs of the selected channel's side can be loaded onto it.
        if (p.side != m_side)
            item->setForeground(Qt::gray);
    }
    m_empty->setVisible(m_programs.isEmpty());
}

void ChannelProgramForm::save()
{
    const QString name = m_name->text().trimmed();
    if (m_channel < 0 || !m_controller->channel(m_side, m_channel))
        return NoticeBox::notice(this, tx(Tx::ChanProgNoChannel));
    if (const std::optional<Tx> why = ProgramRules::nameError(name, ProgramRules::Page::Program))
        return NoticeBox::notice(this, tx(*why));
    QString why;
    if (!ChannelPrograms::save(m_folder, {name, m_side, m_controller->chain(m_side, m_channel)}, &why))
        return NoticeBox::notice(this, tx(Tx::ProgExportFail).arg(why));
    reload();
    emit signal_showTips(tx(Tx::ChanProgSaved).arg(name), true);
}

void ChannelProgramForm::load()
{
    const int row = m_list->currentRow();
    if (row < 0 || row >= m_programs.size())
        return NoticeBox::notice(this, tx(Tx::ChanProgChoose));
    if (m_channel < 0 || !m_controller->channel(m_side, m_channel))
        return NoticeBox::notice(this, tx(Tx::ChanProgNoChannel));
    const ChannelPrograms::Program &p = m_programs.at(row);
    if (p.side != m_side)
        return NoticeBox::notice(this, tx(Tx::ChanProgWrongSide).arg(DspKinds::sideName(p.side)));
    // A refusal reaches the window's snack bar from the controller, as a paste's does.
    if (m_controller->pasteChain(p.side, -1, p.chain, m_side, m_channel).isEmpty())
        emit signal_showTips(tx(Tx::ChanProgLoaded).arg(p.name), true);
}

void ChannelProgramForm::retranslate()
{
    setTitle(tx(Tx::ChanProgTitle));
    m_folderLabel->setText(tx(Tx::ChanProgFolder).arg(QDir::toNativeSeparators(m_folder)));
    m_otherFolder->setText(tx(Tx::ChanProgOtherFolder));
    m_save->setText(tx(Tx::ChanProgSaveFrom));
    m_load->setText(tx(Tx::ChanProgLoadOnto));
    m_nameLabel->setText(tx(Tx::ProgNameLabel));
    m_empty->setText(tx(Tx::ChanProgNone));
    m_empty->setVisible(m_programs.isEmpty());
}

void ChannelProgramForm::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::LanguageChange)
        retranslate();
    FramelessDialog::changeEvent(event);
}
