#include "gui/dsp/dspdiagramform.h"

#include "core/app/scalefactors.h"
#include "core/app/texts.h"
#include "core/dsp/dspbudget.h"
#include "core/dsp/dspcontroller.h"
#include "gui/dsp/cbasechannel.h"
#include "gui/dsp/cbaseitem.h"
#include "gui/dsp/blocks/dspblockeditors.h"
#include "gui/dsp/blocks/dspaecform.h"
#include "gui/dsp/blocks/dspautomixform.h"
#include "gui/dsp/blocks/dspblockparamsview.h"
#include "gui/widgets/framelessdialog.h"
#include "gui/widgets/noticebox.h"
#include "gui/widgets/style.h"

#include <QContextMenuEvent>
#include <QEvent>
#include <QGraphicsScene>
#include <QGraphicsView>
#include <QHBoxLayout>
#include <QLabel>
#include <QMenu>
#include <QMouseEvent>
#include <QPushButton>
#include <QScrollBar>
#include <QSpinBox>
#include <QToolButton>
#include <QVBoxLayout>

namespace {

/// Vertical distance between two channel rows.
constexpr int kRowPitch = CBaseChannel::kHeight + 8;
constexpr int kGap = CBaseChannel::kGap;

int sideIndex(DspSide side)
{
    return side == DspSide::In ? 0 : 1;
}

const char kViewStyle[] = "QGraphicsView { background-color: rgb(30, 31, 36); border: 1px solid rgb(52, 54, 62); }";

} // namespace

DspDiagramForm::DspDiagramForm(DspController *controller, QWidget *parent)
    : QWidget(parent)
    , m_controller(controller)
{
    setObjectName(QStringLiteral("DspDiagramForm"));
    m_nameOf = [](DspSide side, int channel) {
        return tx(side == DspSide::In ? Tx::DspChannelIn : Tx::DspChannelOut).arg(channel + 1);
    };
    for (DspSide side : {DspSide::In, DspSide::Out}) {
        const int s = sideIndex(side);
        m_scene[s] = new QGraphicsScene(this);
        m_scene[s]->setItemIndexMethod(QGraphicsScene::NoIndex);
        m_view[s] = new QGraphicsView(m_scene[s], this);
        m_view[s]->setObjectName(side == DspSide::In ? QStringLiteral("input_widget") : QStringLiteral("output_widget"));
        m_view[s]->setAlignment(Qt::AlignLeft | Qt::AlignTop);
        m_view[s]->setStyleSheet(QLatin1String(kViewStyle));
        m_view[s]->viewport()->installEventFilter(this);
    }
    buildBars();

    connect(controller, &DspController::signal_documentLoaded, this, [this] {
        emit signal_closeall();
        for (const QPointer<FramelessDialog> &v : qAsConst(m_views))
            if (v)
                v->close();
        m_views.clear();
        m_viewTags.clear();
        rebuild();
    });
    connect(controller, &DspController::signal_chainChanged, this, [this](DspSide side, int channel) {
        rebuildRow(side, channel);
        if (side == DspSide::Out)
            placeRows(side); // the headers stand right of the longest chain
        closeRemovedViews();
    });
    connect(controller, &DspController::signal_blockChanged, this, &DspDiagramForm::onBlockChanged);
    connect(controller, &DspController::signal_budgetChanged, this, &DspDiagramForm::updateCpu);
    connect(controller, &DspController::signal_unsavedChanged, this, &DspDiagramForm::updateUnsaved);
    connect(controller, &DspController::signal_notice, this, &DspDiagramForm::signal_showTips);
    connect(controller, &DspController::signal_levels, this, &DspDiagramForm::onLevels);
    retranslate();
    rebuild();
}

void DspDiagramForm::buildBars()
{
    m_cpu = new QLabel(this);
    m_cpu->setObjectName(QStringLiteral("lb_cpu"));
    m_cpu->setFont(Style::font(11, true));
    m_unsaved = new QLabel(this);
    m_unsaved->setObjectName(QStringLiteral("lb_unsaved"));
    m_unsaved->setStyleSheet(QStringLiteral("color: rgb(226, 170, 60);"));
    m_save = new QPushButton(this);
    m_save->setObjectName(QStringLiteral("pb_save"));
    m_save->setProperty("role", QStringLiteral("primary"));
    connect(m_save, &QPushButton::clicked, m_controller, &DspController::save);

    m_pageMenu = new QMenu(this);
    m_pageMenu->setObjectName(QStringLiteral("menu_page"));
    m_pageMenu->setToolTipsVisible(true);
    m_menuButton = new QToolButton(this);
    m_menuButton->setObjectName(QStringLiteral("tb_menu"));
    m_menuButton->setMenu(m_pageMenu);
    m_menuButton->setPopupMode(QToolButton::InstantPopup);
    m_menuButton->setToolButtonStyle(Qt::ToolButtonTextOnly);
    m_menuButton->setStyleSheet(QStringLiteral("QToolButton { color: white; background: rgb(42, 44, 51); border: 1px solid rgb(62, 65, 75);"
                                               " border-radius: 4px; padding: 5px 22px 5px 14px; }"
                                               "QToolButton::menu-indicator { subcontrol-position: right center; right: 6px; }"));
    auto action = [this](const char *name, auto slot) {
        QAction *a = m_pageMenu->addAction(QString());
        a->setObjectName(QLatin1String(name));
        connect(a, &QAction::triggered, this, slot);
        return a;
    };
    m_act.expand = action("act_expandAll", [this] { setAllFolded(false); });
    m_act.fold = action("act_foldAll", [this] { setAllFolded(true); });
    m_jumpMenu = m_pageMenu->addMenu(QString());
    m_jumpMenu->setObjectName(QStringLiteral("menu_jumpTo"));
    connect(m_jumpMenu, &QMenu::aboutToShow, this, &DspDiagramForm::fillJumpMenu);
    m_pageMenu->addSeparator();
    m_act.forceAdd = action("act_forceAdd", [this](bool on) { m_controller->setForceAdd(on); });
    m_act.forceAdd->setCheckable(true);
    m_act.revoke = action("act_revokeAll", [this] {
        if (NoticeBox::confirm(this, tx(Tx::DspRevokeConfirm)))
            m_controller->revokeAll();
    });
    m_pageMenu->addSeparator();
    m_act.addAec = action("act_addAec", [this] { askNodeChannels(true); });
    m_act.addAutomixer = action("act_addAutomixer", [this] { askNodeChannels(false); });
    m_act.automixerConfig = action("act_automixerConfig", [this] { openNodeForm(false); });
    m_act.aecConfig = action("act_aecConfig", [this] { openNodeForm(true); });
    m_act.mic = action("act_micConfig", [this] { emit signal_micConfigRequested(); });
    m_pageMenu->addSeparator();
    // Loading and managing channel programs share one form: its list is where a program is chosen either way.
    m_act.loadProgram = action("act_loadChannelProgram", [this] { emit signal_channelProgramsRequested(); });
    m_act.managePrograms = action("act_manageChannelPrograms", [this] { emit signal_channelProgramsRequested(); });
    m_act.saveDiy = action("act_saveDiy", [this] { emit signal_saveDiyRequested(); });

    m_blockMenu = new QMenu(this);
    m_blockMenu->setObjectName(QStringLiteral("menu_block"));
    m_channelMenu = new QMenu(this);
    m_channelMenu->setObjectName(QStringLiteral("menu_channel"));

    auto *top = new QHBoxLayout;
    top->setSpacing(scaled(12));
    top->addWidget(m_cpu);
    top->addWidget(m_unsaved);
    top->addStretch(1);
    top->addWidget(m_save);
    top->addWidget(m_menuButton);

    m_addTo = new QLabel(this);
    m_addTo->setObjectName(QStringLiteral("lb_addTo"));
    auto *add = new QHBoxLayout;
    add->setSpacing(scaled(4));
    add->addWidget(m_addTo);
    const DspKind *kinds = DspKinds::all();
    for (int i = 0; i < DspKinds::kCount; ++i) {
        const DspKind kind = kinds[i];
        auto *b = new QPushButton(this);
        b->setObjectName(DspKinds::buttonName(kind));
        b->setFocusPolicy(Qt::NoFocus);
        connect(b, &QPushButton::clicked, this, [this, kind] { addBlock(kind); });
        m_addButtons.append(b);
        add->addWidget(b);
    }
    add->addStretch(1);

    m_matrix = new QPushButton(this);
    m_matrix->setObjectName(QStringLiteral("matrix_bt"));
    m_matrix->setFixedWidth(scaled(64));
    m_matrix->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Expanding);
    m_matrix->setStyleSheet(QStringLiteral("QPushButton { background-color: rgb(50, 89, 182); color: white; padding: 0;"
                                           " border-radius: 6px; font-weight: bold; }"
                                           "QPushButton:hover { background-color: rgb(64, 104, 200); }"));
    connect(m_matrix, &QPushButton::clicked, this, &DspDiagramForm::signal_matrixRequested);

    m_inputsTitle = new QLabel(this);
    m_outputsTitle = new QLabel(this);
    for (QLabel *l : {m_inputsTitle, m_outputsTitle})
        l->setFont(Style::font(10, true));
    auto column = [this](QLabel *title, QGraphicsView *view) {
        auto *c = new QVBoxLayout;
        c->setSpacing(scaled(4));
        c->addWidget(title);
        c->addWidget(view, 1);
        return c;
    };
    auto *diagram = new QHBoxLayout;
    m_columns = diagram;
    diagram->setSpacing(scaled(kGap));
    diagram->addLayout(column(m_inputsTitle, m_view[0]), 1);
    diagram->addWidget(m_matrix);
    diagram->addLayout(column(m_outputsTitle, m_view[1]), 1);

    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(scaled(8), scaled(8), scaled(8), scaled(8));
    layout->setSpacing(scaled(6));
    layout->addLayout(top);
    layout->addLayout(add);
    layout->addLayout(diagram, 1);
}

void DspDiagramForm::setChannelNames(NameOf nameOf)
{
    m_nameOf = std::move(nameOf);
    rebuild();
}

QString DspDiagramForm::channelName(DspSide side, int channel) const
{
    return m_nameOf(side, channel);
}

QString DspDiagramForm::blockTitle(DspSide side, int channel, quint64 uid) const
{
    const DspBlock *block = m_controller->block(uid);
    return channelName(side, channel) + (block ? DspKinds::titleSuffix(*block) : QString());
}

QGraphicsView *DspDiagramForm::view(DspSide side) const
{
    return m_view[sideIndex(side)];
}

CBaseChannel *DspDiagramForm::channelItem(DspSide side, int channel) const
{
    const QVector<CBaseChannel *> &row = m_channels[sideIndex(side)];
    return channel >= 0 && channel < row.size() ? row[channel] : nullptr;
}

CBaseItem *DspDiagramForm::blockItem(quint64 uid) const
{
    return m_items.value(uid);
}

void DspDiagramForm::rebuild()
{
    m_items.clear();
    for (DspSide side : {DspSide::In, DspSide::Out}) {
        const int s = sideIndex(side);
        qDeleteAll(m_channels[s]);
        m_channels[s].clear();
        const int count = m_controller->isLoaded() ? m_controller->channelCount(side) : 0;
        m_channels[s].reserve(count);
        for (int ch = 0; ch < count; ++ch) {
            CBaseChannel *c = side == DspSide::In ? static_cast<CBaseChannel *>(new CInputChannel(ch, channelName(side, ch)))
                                                  : new COutputChannel(ch, channelName(side, ch));
            m_scene[s]->addItem(c);
            m_channels[s].append(c);
            rebuildRow(side, ch);
        }
        placeRows(side);
    }
    if (!channelItem(m_currentSide, m_currentChannel))
        m_currentChannel = -1;
    if (CBaseChannel *c = channelItem(m_currentSide, m_currentChannel))
        c->setCurrent(true);
    updateCpu();
    updateUnsaved();
    updateAddBar();
}

void DspDiagramForm::rebuildRow(DspSide side, int channel)
{
    CBaseChannel *row = channelItem(side, channel);
    if (!row)
        return;
    for (CBaseItem *old : row->items())
        m_items.remove(old->uid());
    QVector<CBaseItem *> items;
    const QVector<DspBlock> &chain = m_controller->chain(side, channel);
    items.reserve(chain.size());
    for (const DspBlock &block : chain) {
        CBaseItem *item = CBaseItem::create(m_controller, block.uid, blockTitle(side, channel, block.uid));
        m_items.insert(block.uid, item);
        items.append(item);
    }
    row->setItems(items);
}

void DspDiagramForm::placeRows(DspSide side)
{
    const int s = sideIndex(side);
    qreal x = 0;
    if (side == DspSide::Out) {
        int longest = 1;
        for (const CBaseChannel *c : qAsConst(m_channels[s]))
            longest = qMax(longest, c->items().size());
        x = longest * scaled(CBaseItem::kWidth + kGap);
    }
    qreal y = 0;
    for (CBaseChannel *c : qAsConst(m_channels[s])) {
        c->setPos(x, y);
        y += scaled(kRowPitch);
    }
    // The longest row sets the width whether folded or not, so folding never makes the view jump.
    qreal width = scaled(CBaseChannel::kWidth);
    for (const CBaseChannel *c : qAsConst(m_channels[s]))
        width = qMax(width, qreal(scaled(CBaseChannel::kWidth + kGap) + c->items().size() * scaled(CBaseItem::kWidth + kGap)));
    const qreal margin = scaled(6);
    m_scene[s]->setSceneRect(-margin, -margin, width + 2 * margin, qMax<qreal>(y, scaled(kRowPitch)) + margin);
    // The two sides share the width as their chains need it, so the longer side is not the one that scrolls.
    m_columns->setStretch(s == 0 ? 0 : 2, qMax(1, int(width)));
}

void DspDiagramForm::selectChannel(DspSide side, int channel)
{
    if (CBaseChannel *old = channelItem(m_currentSide, m_currentChannel))
        old->setCurrent(false);
    CBaseChannel *row = channelItem(side, channel);
    m_currentSide = side;
    m_currentChannel = row ? channel : -1;
    if (row)
        row->setCurrent(true);
    updateAddBar();
    if (row)
        emit signal_channelSelected(side, channel);
}

void DspDiagramForm::setAllFolded(bool folded)
{
    for (const QVector<CBaseChannel *> &side : m_channels)
        for (CBaseChannel *c : side)
            c->setFolded(folded);
}

void DspDiagramForm::jumpTo(DspSide side, int channel)
{
    if (CBaseChannel *row = channelItem(side, channel)) {
        m_view[sideIndex(side)]->ensureVisible(row, scaled(10), scaled(10));
        selectChannel(side, channel);
    }
}

void DspDiagramForm::fillJumpMenu()
{
    m_jumpMenu->clear();
    for (DspSide side : {DspSide::In, DspSide::Out}) {
        QMenu *sub = m_jumpMenu->addMenu(tx(side == DspSide::In ? Tx::DspInputs : Tx::DspOutputs));
        for (int ch = 0; ch < m_channels[sideIndex(side)].size(); ++ch)
            connect(sub->addAction(QStringLiteral("%1  %2").arg(ch + 1).arg(channelName(side, ch))), &QAction::triggered,
                    this, [this, side, ch] { jumpTo(side, ch); });
    }
}

void DspDiagramForm::addBlock(DspKind kind)
{
    if (!channelItem(m_currentSide, m_currentChannel)) {
        emit signal_showTips(tx(Tx::DspChooseChannel), false);
        return;
    }
    // A refusal comes back as the controller's notice.
    m_controller->addBlock(m_currentSide, m_currentChannel, kind);
}

void DspDiagramForm::onBlockChanged(quint64 uid)
{
    if (CBaseItem *item = m_items.value(uid))
        item->update();
    const DspBlock *block = m_controller->block(uid);
    const auto place = m_controller->place(uid);
    if (block && place && block->groupId >= 0) {
        const bool input = place->side == DspSide::In;
        emit signal_syncLinkChannel(input, place->channel, place->procIndex);
        emit signal_updateUI(input, place->channel, place->procIndex);
    }
}

void DspDiagramForm::onLevels(DspSide side, const QVector<double> &dbfs)
{
    const QVector<CBaseChannel *> &rows = m_channels[sideIndex(side)];
    for (int i = 0; i < qMin(rows.size(), dbfs.size()); ++i)
        rows[i]->setLevel(dbfs[i]);
}

QWidget *DspDiagramForm::openBlockEditor(quint64 uid)
{
    const auto place = m_controller->place(uid);
    if (!place)
        return nullptr;
    if (FramelessDialog *open = m_views.value(uid)) {
        open->raise();
        open->activateWindow();
        return open;
    }
    FramelessDialog *view = DspBlockEditors::create(m_controller, uid, blockTitle(place->side, place->channel, uid),
                                                    m_nameOf, this);
    m_views.insert(uid, view);
    m_viewTags.insert(uid, m_controller->blockFlag(uid));
    view->show();
    return view;
}

void DspDiagramForm::closeRemovedViews()
{
    for (auto it = m_views.begin(); it != m_views.end();) {
        if (!it.value() || !m_controller->block(it.key())) {
            emit signal_close(m_viewTags.take(it.key()));
            it = m_views.erase(it);
        } else {
            m_viewTags[it.key()] = m_controller->blockFlag(it.key()); // blocks before it may have gone
            ++it;
        }
    }
}

QWidget *DspDiagramForm::openNodeForm(bool echoCancel)
{
    const int nodeId = echoCancel ? m_controller->aecNodeId() : m_controller->automixerNodeId();
    const DspNode *node = m_controller->document().node(nodeId);
    if (!node || node->portNum() == 0) {
        emit signal_showTips(tx(Tx::DspNoNode).arg(tx(echoCancel ? Tx::DspKindAec : Tx::DspKindAutomixer)), false);
        return nullptr;
    }
    QPointer<DspNodeForm> &open = echoCancel ? m_aecForm : m_automixForm;
    if (!open) {
        auto names = [this](DspSide side, int channel) { return channelName(side, channel); };
        if (echoCancel)
            open = new DspAecForm(m_controller, names, this);
        else
            open = new DspAutomixForm(m_controller, names, this);
    }
    open->show();
    open->raise();
    return open;
}

void DspDiagramForm::askNodeChannels(bool echoCancel)
{
    const int nodeId = echoCancel ? m_controller->aecNodeId() : m_controller->automixerNodeId();
    const DspNode *node = nodeId >= 0 ? m_controller->document().node(nodeId) : nullptr;
    const int inputs = m_controller->channelCount(DspSide::In);

    FramelessDialog ask(this);
    ask.setObjectName(QStringLiteral("dlg_nodeChannels"));
    ask.setTitle(tx(echoCancel ? Tx::DspAddAec : Tx::DspAddAutomixer));
    auto *text = new QLabel(tx(echoCancel ? Tx::DspAecChannelsAsk : Tx::DspAutomixerChannelsAsk), &ask);
    text->setWordWrap(true);
    auto *count = new QSpinBox(&ask);
    count->setObjectName(QStringLiteral("sb_channels"));
    count->setRange(0, inputs);
    count->setValue(node ? node->portNum() : inputs);
    ask.contentLayout()->addWidget(text);
    ask.contentLayout()->addWidget(count);
    const FramelessDialog::OkCancel row = ask.addOkCancelRow();
    row.ok->setText(tx(Tx::Ok));
    row.cancel->setText(tx(Tx::Cancel));
    connect(row.ok, &QPushButton::clicked, &ask, &QDialog::accept);
    if (ask.exec() != QDialog::Accepted)
        return;
    // A refusal comes back as the controller's notice.
    if (echoCancel)
        m_controller->setAecChannels(count->value());
    else
        m_controller->setAutomixerChannels(count->value());
}

QMenu *DspDiagramForm::blockMenu(quint64 uid)
{
    m_blockMenu->clear();
    auto add = [this, uid](const char *name, Tx text, auto f) {
        QAction *a = m_blockMenu->addAction(tx(text));
        a->setObjectName(QLatin1String(name));
        connect(a, &QAction::triggered, this, [f, uid] { f(uid); });
        return a;
    };
    DspController *c = m_controller;
    add("act_bypass", Tx::DspBlockBypass, [c](quint64 id) {
        if (const DspBlock *b = c->block(id))
            c->setBypass(id, !b->bypass);
    });
    add("act_copyBlock", Tx::DspBlockCopy, [c](quint64 id) { c->copyBlock(id); });
    add("act_pasteBlock", Tx::DspBlockPaste, [c](quint64 id) { c->pasteBlock(id); })->setEnabled(c->hasCopiedBlock());
    m_blockMenu->addSeparator();
    add("act_deleteBlock", Tx::DspBlockDelete, [c](quint64 id) { c->removeBlock(id); });
    return m_blockMenu;
}

QMenu *DspDiagramForm::channelMenu(DspSide side, int channel)
{
    m_channelMenu->clear();
    auto add = [this, side, channel](const char *name, Tx text, auto f) {
        QAction *a = m_channelMenu->addAction(tx(text));
        a->setObjectName(QLatin1String(name));
        connect(a, &QAction::triggered, this, [f, side, channel] { f(side, channel); });
        return a;
    };
    DspController *c = m_controller;
    add("act_copyChannel", Tx::DspChannelCopy, [c](DspSide s, int ch) { c->copyChannel(s, ch); });
    add("act_pasteChannel", Tx::DspChannelPaste, [c](DspSide s, int ch) { c->pasteChannel(s, ch); })
        ->setEnabled(c->hasCopiedChannel());
    m_channelMenu->addSeparator();
    add("act_deleteChannel", Tx::DspChannelDelete, [c](DspSide s, int ch) { c->clearChannel(s, ch); });
    return m_channelMenu;
}

bool DspDiagramForm::eventFilter(QObject *watched, QEvent *event)
{
    for (QGraphicsView *view : m_view) {
        if (watched != view->viewport())
            continue;
        if (event->type() == QEvent::MouseButtonRelease) {
            auto *mouse = static_cast<QMouseEvent *>(event);
            if (mouse->button() == Qt::LeftButton)
                clicked(view, mouse->pos());
        } else if (event->type() == QEvent::ContextMenu) {
            contextMenu(view, static_cast<QContextMenuEvent *>(event)->pos());
            return true;
        }
    }
    return QWidget::eventFilter(watched, event);
}

void DspDiagramForm::clicked(QGraphicsView *view, const QPoint &pos)
{
    QGraphicsItem *hit = view->itemAt(pos);
    if (CBaseItem *item = CBaseItem::from(hit)) {
        openBlockEditor(item->uid());
    } else if (CBaseChannel *row = CBaseChannel::from(hit)) {
        selectChannel(row->side(), row->channel());
    }
}

void DspDiagramForm::contextMenu(QGraphicsView *view, const QPoint &pos)
{
    QGraphicsItem *hit = view->itemAt(pos);
    const QPoint global = view->viewport()->mapToGlobal(pos);
    if (CBaseItem *item = CBaseItem::from(hit))
        blockMenu(item->uid())->popup(global);
    else if (CBaseChannel *row = CBaseChannel::from(hit))
        channelMenu(row->side(), row->channel())->popup(global);
}

void DspDiagramForm::updateCpu()
{
    m_cpu->setText(DspBudget::cpuText(m_controller->shownUsage()));
}

void DspDiagramForm::updateUnsaved()
{
    m_unsaved->setText(m_controller->hasUnsavedChanges() ? tx(Tx::DspUnsaved) : QString());
}

void DspDiagramForm::updateAddBar()
{
    const bool chosen = channelItem(m_currentSide, m_currentChannel) != nullptr;
    m_addTo->setText(chosen ? tx(Tx::DspAddTo).arg(channelName(m_currentSide, m_currentChannel))
                            : tx(Tx::DspChooseChannel));
    for (QPushButton *b : qAsConst(m_addButtons))
        b->setEnabled(chosen);
}

void DspDiagramForm::retranslate()
{
    const DspKind *kinds = DspKinds::all();
    for (int i = 0; i < m_addButtons.size(); ++i)
        m_addButtons[i]->setText(DspKinds::buttonText(kinds[i]));
    m_matrix->setText(tx(Tx::DspMatrixButton));
    m_save->setText(tx(Tx::DspSave));
    m_menuButton->setText(tx(Tx::DspMenu));
    m_inputsTitle->setText(tx(Tx::DspInputs));
    m_outputsTitle->setText(tx(Tx::DspOutputs));
    m_act.expand->setText(tx(Tx::DspExpandAll));
    m_act.fold->setText(tx(Tx::DspFoldAll));
    m_jumpMenu->setTitle(tx(Tx::DspJumpTo));
    m_act.forceAdd->setText(tx(Tx::DspForceAdd));
    m_act.revoke->setText(tx(Tx::DspRevokeAll));
    m_act.addAec->setText(tx(Tx::DspAddAec));
    m_act.addAutomixer->setText(tx(Tx::DspAddAutomixer));
    m_act.automixerConfig->setText(tx(Tx::DspAutomixerConfig));
    m_act.aecConfig->setText(tx(Tx::DspAecConfig));
    m_act.mic->setText(tx(Tx::DspMicConfig));
    m_act.loadProgram->setText(tx(Tx::DspLoadChannelProgram));
    m_act.managePrograms->setText(tx(Tx::DspManageChannelPrograms));
    m_act.saveDiy->setText(tx(Tx::DspSaveDiy));
    updateAddBar();
}

void DspDiagramForm::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::LanguageChange) {
        retranslate();
        rebuild(); // default channel names and the block marks follow the language
    }
    QWidget::changeEvent(event);
}
