#pragma once

#include "core/routing/bulkroute.h"
#include "core/routing/routebatchrun.h"
#include "core/routing/routehistory.h"

#include <QJsonObject>
#include <QObject>

#include <functional>

class DevManager;
class DeviceUiStore;
class QAction;
class QLabel;
class QMenu;
class QToolButton;
class QWidget;

/// The routing page's tools that work on many routes at once: bulk routes
/// and clears, undo and redo, network snapshots. Every route goes through
/// the click's plan, is followed until the receiver's tables show it, and
/// only what was seen becomes an undo step.
///
/// Owned by the page; its bar sits on the page's top row. Interface thread.
class RouteTools : public QObject
{
    Q_OBJECT
public:
    using Sender = std::function<void(const QJsonObject &command)>;

    RouteTools(const DevManager &registry, DeviceUiStore *uiStore, QWidget *page, Sender send);

    /// Undo, redo, the snapshot menu and the progress of a batch.
    QWidget *bar() const { return m_bar; }
    QAction *undoAction() const { return m_undo; }
    QAction *redoAction() const { return m_redo; }
    const RouteHistory &history() const { return m_history; }
    /// A batch is being sent and followed: no other may start.
    bool isBusy() const { return m_run != nullptr; }
    /// The live network as the plans read it, with the receivers' firmware.
    RouteNetwork network() const;

    /// A click's command has been sent: its route becomes an undo step once seen.
    void followClick(const RouteChange &change, const QString &label);
    /// Plans, confirms in one dialog, sends and follows a bulk route.
    void bulkRoute(const BulkRoute::Request &request);
    /// The same for clears of receive channels (after is none in each).
    void clearRoutes(const QVector<RouteChange> &clears, const QString &label);
    void undo();
    void redo();
    void saveSnapshot();
    void compareSnapshot();
    void retranslate();

public slots:
    /// Every reply the program receives (route replies judge a batch).
    void slot_message(const QString &json);

signals:
    void signal_showTips(const QString &text, bool isSucc);
    /// A batch, undo, redo or recall has ended (its result shown).
    void signal_batchFinished();

private:
    using Done = std::function<void(const RouteBatchRun::Result &)>;
    void start(const RouteBatch &batch, Done done);
    void replay(RouteHistory::Direction direction);
    /// The refusals of the plans and of the run, shown together at the end; false when there were none.
    bool reportRefusals(const QString &title, const RouteBatch &batch, const RouteBatchRun::Result &result,
                        const QVector<StaleChange> &stale = {});
    void updateActions();

    const DevManager &m_registry;
    DeviceUiStore *m_uiStore;
    QWidget *m_page;
    Sender m_send;
    RouteHistory m_history;
    RouteBatchRun *m_run = nullptr;
    QVector<RouteBatchRun *> m_clicks;

    QWidget *m_bar;
    QToolButton *m_undoButton;
    QToolButton *m_redoButton;
    QToolButton *m_snapshotButton;
    QLabel *m_progress;
    QAction *m_undo;
    QAction *m_redo;
    QAction *m_save;
    QAction *m_compare;
};
