#include "gui/routing/routetools.h"

#include "gui/routing/routebatchdialog.h"
#include "gui/routing/snapshotdiffdialog.h"
#include "core/app/texts.h"
#include "core/devices/devmanager.h"
#include "core/devices/deviceuistore.h"
#include "core/routing/netsnapshot.h"
#include "gui/widgets/filechoice.h"
#include "gui/widgets/noticebox.h"
#include "gui/widgets/style.h"

#include <QAction>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QLabel>
#include <QMenu>
#include <QToolButton>

namespace {

const char kButtonStyle[] =
    "QToolButton { color: rgb(220, 220, 220); background: rgb(42, 44, 51); border: 1px solid rgb(62, 65, 75);"
    " border-radius: 4px; padding: 4px 12px; }"
    "QToolButton:hover { background: rgb(56, 59, 68); }"
    "QToolButton:disabled { color: rgb(105, 107, 117); background: rgb(36, 37, 42); border-color: rgb(50, 52, 60); }"
    "QToolButton[popupMode=\"2\"] { padding-right: 22px; }"
    "QToolButton::menu-indicator { subcontrol-position: right center; right: 6px; }";

} // namespace

RouteTools::RouteTools(const DevManager &registry, DeviceUiStore *uiStore, QWidget *page, Sender send)
    : QObject(page)
    , m_registry(registry)
    , m_uiStore(uiStore)
    , m_page(page)
    , m_send(std::move(send))
{
    m_undo = new QAction(page);
    m_undo->setObjectName(QStringLiteral("act_routeUndo"));
    m_undo->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_Z));
    m_redo = new QAction(page);
    m_redo->setObjectName(QStringLiteral("act_routeRedo"));
    m_redo->setShortcuts({QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_Z), QKeySequence(Qt::CTRL | Qt::Key_Y)});
    for (QAction *a : {m_undo, m_redo}) {
        // Only while the routing page has the focus: the other pages keep their own keys.
        a->setShortcutContext(Qt::WidgetWithChildrenShortcut);
        page->addAction(a);
    }
    connect(m_undo, &QAction::triggered, this, &RouteTools::undo);
    connect(m_redo, &QAction::triggered, this, &RouteTools::redo);

    auto *snapshots = new QMenu(page);
    snapshots->setObjectName(QStringLiteral("menu_snapshot"));
    m_save = snapshots->addAction(QString());
    m_save->setObjectName(QStringLiteral("act_snapshotSave"));
    m_compare = snapshots->addAction(QString());
    m_compare->setObjectName(QStringLiteral("act_snapshotCompare"));
    connect(m_save, &QAction::triggered, this, &RouteTools::saveSnapshot);
    connect(m_compare, &QAction::triggered, this, &RouteTools::compareSnapshot);

    m_bar = new QWidget(page);
    m_bar->setObjectName(QStringLiteral("wd_routeTools"));
    auto *layout = new QHBoxLayout(m_bar);
    layout->setContentsMargins(0, 0, 0, 0);
    m_undoButton = new QToolButton(m_bar);
    m_undoButton->setObjectName(QStringLiteral("tb_undo"));
    m_undoButton->setDefaultAction(m_undo);
    m_redoButton = new QToolButton(m_bar);
    m_redoButton->setObjectName(QStringLiteral("tb_redo"));
    m_redoButton->setDefaultAction(m_redo);
    m_snapshotButton = new QToolButton(m_bar);
    m_snapshotButton->setObjectName(QStringLiteral("tb_snapshot"));
    m_snapshotButton->setMenu(snapshots);
    m_snapshotButton->setPopupMode(QToolButton::InstantPopup);
    m_progress = new QLabel(m_bar);
    m_progress->setObjectName(QStringLiteral("lb_routeProgress"));
    m_progress->setStyleSheet(QStringLiteral("color: %1;").arg(Style::rgb(Style::kWarning)));
    for (QToolButton *b : {m_undoButton, m_redoButton, m_snapshotButton}) {
        b->setToolButtonStyle(Qt::ToolButtonTextOnly);
        b->setStyleSheet(QLatin1String(kButtonStyle));
        layout->addWidget(b);
    }
    layout->addWidget(m_progress);
    retranslate();
}

void RouteTools::retranslate()
{
    m_save->setText(tx(Tx::SnapshotSave));
    m_compare->setText(tx(Tx::SnapshotCompare));
    m_snapshotButton->setText(tx(Tx::SnapshotMenu));
    updateActions();
}

void RouteTools::updateActions()
{
    const bool idle = !isBusy();
    m_undo->setEnabled(idle && m_history.canUndo());
    m_redo->setEnabled(idle && m_history.canRedo());
    m_compare->setEnabled(idle);
    // The button says what it would take back; the menu entry carries the whole name.
    m_undo->setText(tx(Tx::RouteUndo));
    m_redo->setText(tx(Tx::RouteRedo));
    m_undo->setToolTip(m_history.canUndo() ? tx(Tx::RouteUndoNamed).arg(m_history.undoLabel()) + QStringLiteral(" (Ctrl+Z)")
                                           : tx(Tx::RouteUndo));
    m_redo->setToolTip(m_history.canRedo() ? tx(Tx::RouteRedoNamed).arg(m_history.redoLabel())
                                                 + QStringLiteral(" (Ctrl+Shift+Z)")
                                           : tx(Tx::RouteRedo));
    if (idle)
        m_progress->clear();
}

RouteNetwork RouteTools::network() const
{
    RouteNetwork net = RouteNetwork::of(m_registry);
    if (m_uiStore)
        for (const Device &d : net.devices())
            net.firmware.insert(d.devId(), m_uiStore->get(d.devId()).version);
    return net;
}

void RouteTools::slot_message(const QString &json)
{
    if (m_run)
        m_run->slot_message(json);
    for (RouteBatchRun *r : qAsConst(m_clicks))
        r->slot_message(json);
}

void RouteTools::followClick(const RouteChange &change, const QString &label)
{
    auto *run = new RouteBatchRun(m_registry, {PlannedRoute{change, {}}}, nullptr, this);
    m_clicks.append(run);
    connect(run, &RouteBatchRun::signal_finished, this, [this, run, label](const RouteBatchRun::Result &result) {
        m_clicks.removeOne(run);
        run->deleteLater();
        // A route the device refused is no step: its refusal has been shown already.
        m_history.record({label, result.done});
        updateActions();
    });
    run->start();
}

void RouteTools::start(const RouteBatch &batch, Done done)
{
    m_run = new RouteBatchRun(m_registry, batch.changes, m_send, this);
    connect(m_run, &RouteBatchRun::signal_progress, this, [this](int seen, int total) {
        m_progress->setText(tx(Tx::BulkProgress).arg(seen).arg(total));
    });
    connect(m_run, &RouteBatchRun::signal_finished, this, [this, done](const RouteBatchRun::Result &result) {
        m_run->deleteLater();
        m_run = nullptr;
        done(result);
        updateActions();
        emit signal_batchFinished();
    });
    updateActions();
    m_progress->setText(tx(Tx::BulkProgress).arg(0).arg(batch.changes.size()));
    m_run->start();
}

bool RouteTools::reportRefusals(const QString &title, const RouteBatch &batch, const RouteBatchRun::Result &result,
                                const QVector<StaleChange> &stale)
{
    QVector<RouteRefusal> refused = batch.refused;
    for (const StaleChange &s : stale)
        refused.append({s.change, s.reason});
    refused += result.refused;
    if (refused.isEmpty())
        return false;
    const int total = batch.changes.size() + batch.refused.size() + stale.size();
    RouteBatchDialog::showResult(m_page, title, result.done.size(), total, refused, network());
    return true;
}

void RouteTools::bulkRoute(const BulkRoute::Request &request)
{
    if (isBusy()) {
        NoticeBox::notice(m_page, tx(Tx::BulkBusy));
        return;
    }
    const RouteNetwork net = network();
    QString error;
    const RouteBatch batch = BulkRoute::plan(net, request, &error);
    if (!error.isEmpty()) {
        NoticeBox::notice(m_page, error);
        return;
    }
    const QString title = tx(Tx::BulkTitle);
    if (!RouteBatchDialog::confirm(m_page, title, batch, net))
        return;
    const QString source = request.flowIp ? net.flowName(request.flowIp) : net.deviceName(request.srcDevId);
    const QString target = net.deviceName(request.dstDevId);
    start(batch, [this, batch, title, source, target](const RouteBatchRun::Result &result) {
        m_history.record({tx(Tx::StepBulk).arg(source, target).arg(result.done.size()), result.done});
        if (!reportRefusals(title, batch, result))
            emit signal_showTips(tx(Tx::BulkDone).arg(result.done.size()).arg(batch.changes.size()), true);
    });
}

void RouteTools::clearRoutes(const QVector<RouteChange> &clears, const QString &label)
{
    if (isBusy()) {
        NoticeBox::notice(m_page, tx(Tx::BulkBusy));
        return;
    }
    const RouteNetwork net = network();
    RouteBatch batch;
    for (const RouteChange &c : clears)
        batch.add(net, c);
    const QString title = tx(Tx::BulkClearTitle);
    if (!RouteBatchDialog::confirm(m_page, title, batch, net))
        return;
    start(batch, [this, batch, title, label](const RouteBatchRun::Result &result) {
        m_history.record({label, result.done});
        if (!reportRefusals(title, batch, result))
            emit signal_showTips(tx(Tx::BulkDone).arg(result.done.size()).arg(batch.changes.size()), true);
    });
}

void RouteTools::undo()
{
    replay(RouteHistory::Undo);
}

void RouteTools::redo()
{
    replay(RouteHistory::Redo);
}

void RouteTools::replay(RouteHistory::Direction direction)
{
    if (isBusy())
        return;
    const bool back = direction == RouteHistory::Undo;
    if (back ? !m_history.canUndo() : !m_history.canRedo())
        return;
    const RouteNetwork net = network();
    const RouteHistory::Replay replay = m_history.plan(direction, net);
    const QString title = back ? tx(Tx::RouteUndoNamed).arg(replay.label) : tx(Tx::RouteRedoNamed).arg(replay.label);
    // Undo is the operator's own answer; only questions a click would also ask (a stream limit, another
    // network) are put to them again.
    if (!replay.batch.questions().isEmpty() && !RouteBatchDialog::confirm(m_page, title, replay.batch, net))
        return;
    start(replay.batch, [this, replay, back](const RouteBatchRun::Result &result) {
        m_history.finish(replay, result.done);
        if (!reportRefusals(back ? tx(Tx::RouteUndoPartly) : tx(Tx::RouteRedoPartly), replay.batch, result,
                            replay.stale))
            emit signal_showTips((back ? tx(Tx::RouteUndoDone) : tx(Tx::RouteRedoDone)).arg(replay.label), true);
    });
}

void RouteTools::saveSnapshot()
{
    const QString path = FileChoice::save(m_page, tx(Tx::SnapshotSave), tx(Tx::SnapshotFilter));
    if (path.isEmpty())
        return;
    const NetSnapshot::Snapshot s = NetSnapshot::capture(m_registry.devices());
    QString why;
    if (!NetSnapshot::save(path, s, &why)) {
        NoticeBox::notice(m_page, tx(Tx::SnapshotSaveFailed).arg(why));
        return;
    }
    int routes = 0;
    for (const NetSnapshot::DeviceState &d : s.devices)
        routes += d.routes.size();
    emit signal_showTips(tx(Tx::SnapshotSaved).arg(s.devices.size()).arg(routes), true);
}

void RouteTools::compareSnapshot()
{
    if (isBusy())
        return;
    const QString path = FileChoice::open(m_page, tx(Tx::SnapshotCompare), tx(Tx::SnapshotFilter));
    if (path.isEmpty())
        return;
    const QString name = QFileInfo(path).fileName();
    QString why;
    const std::optional<NetSnapshot::Snapshot> snapshot = NetSnapshot::load(path, &why);
    if (!snapshot) {
        NoticeBox::notice(m_page, tx(Tx::SnapshotUnusable).arg(name, why));
        return;
    }
    const RouteNetwork net = network();
    const NetSnapshot::Diff diff = NetSnapshot::diff(*snapshot, net);
    const RouteBatch recall = NetSnapshot::recall(diff, net);
    SnapshotDiffDialog dialog(name, *snapshot, diff, recall, net, m_page);
    if (dialog.exec() != QDialog::Accepted || recall.changes.isEmpty())
        return;
    start(recall, [this, recall, name](const RouteBatchRun::Result &result) {
        m_history.record({tx(Tx::StepRecall).arg(name), result.done});
        if (!reportRefusals(tx(Tx::SnapshotCompare), recall, result))
            emit signal_showTips(tx(Tx::SnapshotRecalled).arg(result.done.size()).arg(recall.changes.size()), true);
    });
}
