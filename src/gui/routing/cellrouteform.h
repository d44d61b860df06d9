#pragma once

#include "core/routing/bulkroute.h"
#include "core/routing/routegrid.h"
#include "core/routing/tileband.h"
#include "gui/routing/routeheaderbutton.h"

#include <QIcon>
#include <QPixmap>
#include <QPoint>
#include <QRect>
#include <QSet>
#include <QWidget>

class PlanRunner;
class CellGraphicsScene;
class QGraphicsRectItem;
class QMenu;
class RouteTools;
class DevManager;
class DeviceUiStore;
class QGraphicsView;
class QLabel;
class QTimer;
class RouteCellItem;
class RouteHeaderView;
class RouteHoverHighlighter;
class RouteSearchBar;

/// The routing page: every source (device transmit channels, multicast flows)
/// against every receive channel, one square cell per route. A click on a
/// cell is decided by planRouteClick; the page shows its steps and sends its
/// command. Only the tile band around the view holds graphics items.
/// The search fields (RouteSearchBar), the hover lights
/// (RouteHoverHighlighter) and the tools for many routes at once (RouteTools:
/// bulk routes from a Shift-dragged block or a right-click, undo and redo,
/// snapshots) are parts of their own.
///
/// Lives on the interface thread; reads the registry through copies.
class CellRouteForm : public QWidget
{
    Q_OBJECT
public:
    CellRouteForm(const DevManager &registry, DeviceUiStore *uiStore, QWidget *parent = nullptr);
    ~CellRouteForm() override;

    const RouteGrid &grid() const { return m_grid; }
    CellGraphicsScene *scene() const { return m_scene; }
    QGraphicsView *view() const { return m_view; }
    int cellSize() const { return m_cellSize; }
    const TileBand &band() const { return m_band; }
    /// The item of a cell, or nullptr when it lies outside the tile band.
    RouteCellItem *cellItem(int row, int column) const;
    /// The header button of a line, or nullptr outside the band.
    RouteHeaderButton *rowHeader(int row) const;
    RouteHeaderButton *columnHeader(int column) const;
    /// The centre of a cell in view (viewport) coordinates.
    QPoint cellCentreInView(int row, int column) const;
    /// Scrolls so that a line is the first in view.
    void scrollToLine(RouteGrid::Axis axis, int line);
    /// Unfolds or folds every owner of both axes.
    void setAllExpanded(bool expanded);
    /// How often the grid was rebuilt from the registry (coalescing shows in it).
    int rebuildCount() const { return m_rebuildCount; }
    RouteTools *tools() const { return m_tools; }
    /// The block being selected, as grid lines (x columns, y rows); empty when none.
    QRect block() const { return m_block; }
    /// The right-click menu of a cell, or of the block when one is selected;
    /// its actions do their work when triggered. The caller owns it.
    QMenu *contextMenu(int row, int column);

signals:
    void signal_sendUdp(const QString &json, const QString &tag);
    /// A double click on a flow row's header: show the flow's details.
    void signal_showFlow(const QString &flowName);
    /// A double click on a device's header: show that device.
    void signal_showDevice(const QString &devId);
    void signal_showTips(const QString &text, bool isSucc);

public slots:
    /// The registry or a route changed: rebuilds once the burst is over.
    void slot_refresh();
    /// Rebuilds now.
    void slot_rebuild();
    /// Every reply the program receives.
    void slot_message(const QString &json);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;
    void changeEvent(QEvent *event) override;
    void showEvent(QShowEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;

private:
    void buildLayout();
    void retranslate();
    /// The axes changed: new scene size, headers and band.
    void relayout();
    void updateBand(bool force);
    void populateCells();
    void decorateCell(RouteCellItem *item) const;
    void decorateHeader(RouteHeaderButton *button) const;
    void onCellPressed(int x, int y);
    void onBlockPressed(int x, int y);
    void onBlockDragged(int x, int y);
    void onBlockReleased(int x, int y, const QPoint &screenPos);
    void onContextMenu(int x, int y, const QPoint &screenPos);
    void showBlock(const QRect &block);
    bool headerEvent(RouteHeaderButton *button, QEvent *event);
    void toggleOwner(RouteGrid::Axis axis, const QString &ownerId);
    /// A search found a line: unfold its owner if need be, scroll to it, light its header.
    void goToLine(RouteGrid::Axis axis, const QString &ownerId, int channel);
    QString cellKey(int row, int column) const;

    const DevManager &m_registry;
    DeviceUiStore *m_uiStore;
    RouteGrid m_grid;
    TileBand m_band;
    int m_cellSize;
    int m_headerLength;
    int m_arrowZone;

    CellGraphicsScene *m_scene;
    QGraphicsView *m_view;
    RouteHeaderView *m_rowHeaders;
    RouteHeaderView *m_columnHeaders;
    QLabel *m_txCaption;
    QLabel *m_rxCaption;
    RouteSearchBar *m_findOut;
    RouteSearchBar *m_findIn;
    RouteHoverHighlighter *m_hover = nullptr;
    QLabel *m_empty;
    QLabel *m_hint;
    RouteTools *m_tools = nullptr;
    QGraphicsRectItem *m_blockItem = nullptr;
    QPoint m_blockAnchor{-1, -1};  // row, column where the Shift drag began
    QRect m_block;
    QVector<QLabel *> m_legendTexts;
    QTimer *m_rebuildTimer;

    QVector<RouteCellItem *> m_items;  // the band, row-major
    QSet<QString> m_checking;  // cells waiting for the device, by owners and channels
    QPoint m_headerPress;
    bool m_inClick = false;
    bool m_rebuildWanted = false;
    int m_rebuildCount = 0;

    QPixmap m_checkedPicture;
    QPixmap m_checkingPicture;
    QPixmap m_increaseRoute;
    QPixmap m_decreaseRoute;
    QIcon m_increaseIcon;
    QIcon m_decreaseIcon;
    QIcon m_increaseColumnIcon;  // turned against the column strip's quarter turn
    QIcon m_decreaseColumnIcon;
    PlanRunner *m_runner = nullptr;
};
