#include "gui/routing/cellrouteform.h"

#include "gui/routing/cellgraphicsscene.h"
#include "gui/routing/routecellitem.h"
#include "gui/routing/routeheaderbutton.h"
#include "gui/routing/routeheaderview.h"
#include "gui/routing/routehoverhighlighter.h"
#include "gui/routing/routesearchbar.h"
#include "gui/routing/routetools.h"
#include "core/app/scalefactors.h"
#include "core/app/texts.h"
#include "core/devices/devmanager.h"
#include "core/devices/deviceuistore.h"
#include "core/routing/routeblock.h"
#include "core/routing/routeclickcontext.h"
#include "core/routing/routeplan.h"
#include "gui/widgets/noticebox.h"
#include "gui/widgets/style.h"
#include "gui/widgets/planrunner.h"

#include <QEvent>
#include <QGraphicsRectItem>
#include <QGraphicsView>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QJsonDocument>
#include <QLabel>
#include <QMenu>
#include <QMouseEvent>
#include <QScrollBar>
#include <QTimer>
#include <QTransform>
#include <QVBoxLayout>

namespace {

// Notices come in bursts (a route change refetches several tables of several
// devices); one redraw at the end of the burst is enough.
const int kRebuildDelayMs = 100;
const char kMinimumFirmware[] = "3.0.0";

QString headerStyleSheet()
{
    const QString fontPx = QString::number(qMax(7, qRound(scaledFont(9) * 96 / 72)));
    const QString marker = QString::number(qMax(2, scaled(3)));
    QString s = QStringLiteral(
        "QWidget#wd_headerBand { background-color: #212227; }"
        "QPushButton { color: rgb(220, 220, 220); background-color: #212227; border: 1px solid rgba(255, 255, 255, 13);"
        " border-radius: 0px; margin: 0px; padding: 0px 0px 0px @chPad; min-height: 0px; min-width: 0px;"
        " text-align: left; font-size: @font; }"
        "QPushButton[line=\"channel\"], QPushButton[line=\"flowChannel\"] { color: rgb(190, 192, 202); }"
        "QPushButton[line=\"owner\"] { background-color: #34343E; padding-left: @ownPad;"
        " border-left: @marker solid rgb(79, 139, 75); }"
        "QPushButton[line=\"owner\"][state=\"warn\"] { border-left: @marker solid rgb(223, 0, 0); }"
        "QPushButton[line=\"flow\"] { background-color: #2A2B33; padding-left: @ownPad;"
        " border-left: @marker solid rgb(0, 0, 255); }"
        "QPushButton[hover=\"device\"] { background-color: rgb(155, 139, 11); color: black; }"
        "QPushButton[hover=\"flow\"] { background-color: rgb(0, 0, 255); color: rgb(220, 220, 220); }");
    s.replace(QLatin1String("@font"), fontPx + QStringLiteral("px"));
    s.replace(QLatin1String("@marker"), marker + QStringLiteral("px"));
    s.replace(QLatin1String("@chPad"), QString::number(scaled(24)) + QStringLiteral("px"));
    s.replace(QLatin1String("@ownPad"), QString::number(scaled(2)) + QStringLiteral("px"));
    return s;
}

QString channelCount(int count)
{
    return count == 1 ? tx(Tx::BulkOneChannel) : tx(Tx::BulkChannels).arg(count);
}

QPixmap cellPicture(const char *path, int size)
{
    return QPixmap(QLatin1String(path)).scaled(size, size, Qt::KeepAspectRatio, Qt::SmoothTransformation);
}

} // namespace

CellRouteForm::CellRouteForm(const DevManager &registry, DeviceUiStore *uiStore, QWidget *parent)
    : QWidget(parent)
    , m_registry(registry)
    , m_uiStore(uiStore)
    , m_cellSize(qMax(4, int(newAdjScale * 16.0)))
    , m_headerLength(qMax(40, int(newAdjScale * 150)))
    , m_arrowZone(qMax(6, int(newAdjScale * 18)))
{
    setObjectName(QStringLiteral("CellRouteForm"));
    m_runner = new PlanRunner(this, QStringLiteral("CellRouteForm"));
    connect(m_runner, &PlanRunner::signal_sendUdp, this, &CellRouteForm::signal_sendUdp);
    m_tools = new RouteTools(registry, uiStore, this, [this](const QJsonObject &command) { m_runner->send(command); });
    connect(m_tools, &RouteTools::signal_showTips, this, &CellRouteForm::signal_showTips);
    // The pictures are a pixel short of the cell, so the grid lines stay visible around them.
    m_checkedPicture = cellPicture(":/pic/checked.png", m_cellSize - 2);
    m_checkingPicture = cellPicture(":/pic/checking1.png", m_cellSize - 2);
    m_increaseRoute = cellPicture(":/pic/increaseRoute.png", m_cellSize - 2);
    m_decreaseRoute = cellPicture(":/pic/decreaseRoute.png", m_cellSize - 2);
    m_increaseIcon = QIcon(QStringLiteral(":/pic/increase_bt.png"));
    m_decreaseIcon = QIcon(QStringLiteral(":/pic/decrease_bt.png"));
    const QTransform quarter = QTransform().rotate(90);
    m_increaseColumnIcon = QIcon(QPixmap(QStringLiteral(":/pic/increase_bt.png")).transformed(quarter));
    m_decreaseColumnIcon = QIcon(QPixmap(QStringLiteral(":/pic/decrease_bt.png")).transformed(quarter));

    m_rebuildTimer = new QTimer(this);
    m_rebuildTimer->setSingleShot(true);
    m_rebuildTimer->setInterval(kRebuildDelayMs);
    connect(m_rebuildTimer, &QTimer::timeout, this, &CellRouteForm::slot_rebuild);

    buildLayout();
    retranslate();
}

CellRouteForm::~CellRouteForm()
{
    // It watches the viewport, which is about to go.
    delete m_hover;
    m_hover = nullptr;
    // The scene goes first among the children, and leaving the view moves
    // its scroll bars: they must not reach a page half gone.
    m_view->horizontalScrollBar()->disconnect(this);
    m_view->verticalScrollBar()->disconnect(this);
    m_rebuildTimer->stop();
    delete m_view;
}

void CellRouteForm::buildLayout()
{
    m_scene = new CellGraphicsScene(this);
    m_scene->setObjectName(QStringLiteral("gs_routeCells"));
    m_view = new QGraphicsView(m_scene, this);
    m_view->setObjectName(QStringLiteral("gv_routeGrid"));
    m_view->setFrameShape(QFrame::NoFrame);
    m_view->setAlignment(Qt::AlignLeft | Qt::AlignTop);
    m_view->setBackgroundBrush(RouteCellItem::kPlain);
    m_view->setOptimizationFlags(QGraphicsView::DontSavePainterState | QGraphicsView::DontAdjustForAntialiasing);
    connect(m_scene, &CellGraphicsScene::signal_cellPressed, this, &CellRouteForm::onCellPressed,
            Qt::QueuedConnection);
    connect(m_scene, &CellGraphicsScene::signal_blockPressed, this, &CellRouteForm::onBlockPressed);
    connect(m_scene, &CellGraphicsScene::signal_blockDragged, this, &CellRouteForm::onBlockDragged);
    // After the scene has finished with the release: the menu runs its own loop.
    connect(m_scene, &CellGraphicsScene::signal_blockReleased, this, &CellRouteForm::onBlockReleased,
            Qt::QueuedConnection);
    connect(m_scene, &CellGraphicsScene::signal_contextMenu, this, &CellRouteForm::onContextMenu,
            Qt::QueuedConnection);

    m_rowHeaders = new RouteHeaderView(RouteGrid::Rows, this);
    m_columnHeaders = new RouteHeaderView(RouteGrid::Columns, this);
    for (RouteHeaderView *h : {m_rowHeaders, m_columnHeaders}) {
        h->setButtonFilter(this);
        h->setButtonStyleSheet(headerStyleSheet());
    }
    m_rowHeaders->setAxis(0, m_cellSize, m_headerLength);
    m_columnHeaders->setAxis(0, m_cellSize, m_headerLength);

    m_hover = new RouteHoverHighlighter(m_grid, m_view, m_cellSize, m_rowHeaders, m_columnHeaders,
                                        [this](int row, int column) { return cellItem(row, column); }, this);
    connect(m_scene, &CellGraphicsScene::signal_mouseMoved, m_hover, &RouteHoverHighlighter::pointerMoved);

    connect(m_view->verticalScrollBar(), &QScrollBar::valueChanged, this, [this](int v) {
        m_rowHeaders->setOffset(v);
        updateBand(false);
    });
    connect(m_view->horizontalScrollBar(), &QScrollBar::valueChanged, this, [this](int v) {
        m_columnHeaders->setOffset(v);
        updateBand(false);
    });

    const QFont captionFont = Style::font(10, true);
    m_txCaption = new QLabel(this);
    m_txCaption->setObjectName(QStringLiteral("lb_transmitters"));
    m_txCaption->setFont(captionFont);
    m_rxCaption = new QLabel(this);
    m_rxCaption->setObjectName(QStringLiteral("lb_receivers"));
    m_rxCaption->setFont(captionFont);
    for (QLabel *l : {m_txCaption, m_rxCaption})
        l->setStyleSheet(QStringLiteral("color: rgb(220, 220, 220);"));

    m_findOut = new RouteSearchBar(m_grid, RouteGrid::Rows, this);
    m_findOut->setObjectName(QStringLiteral("find_outCh_le"));
    m_findIn = new RouteSearchBar(m_grid, RouteGrid::Columns, this);
    m_findIn->setObjectName(QStringLiteral("find_InCh_le"));
    for (RouteSearchBar *find : {m_findOut, m_findIn})
        connect(find, &RouteSearchBar::signal_found, this, &CellRouteForm::goToLine);
    m_findOut->setFixedWidth(m_headerLength - scaled(8));
    m_findIn->setFixedWidth(scaled(260));

    // What the pictures mean, for a reader new to the page.
    auto *legend = new QHBoxLayout;
    legend->setSpacing(scaled(6));
    const QPixmap pictures[] = {m_checkedPicture, m_checkingPicture, m_increaseRoute};
    for (const QPixmap &p : pictures) {
        auto *pic = new QLabel(this);
        pic->setPixmap(p);
        auto *text = new QLabel(this);
        text->setObjectName(QStringLiteral("lb_legend") + QString::number(m_legendTexts.size()));
        m_legendTexts.append(text);
        legend->addWidget(pic);
        legend->addWidget(text);
        legend->addSpacing(scaled(10));
    }

    m_hint = new QLabel(this);
    m_hint->setObjectName(QStringLiteral("lb_routingHint"));
    m_hint->setStyleSheet(QStringLiteral("color: rgb(150, 152, 164);"));

    // The tools and the legend get a row of their own: beside the search field they were cut at the usual width.
    auto *toolRow = new QHBoxLayout;
    toolRow->setSpacing(scaled(10));
    toolRow->addWidget(m_tools->bar());
    toolRow->addWidget(m_hint);
    toolRow->addStretch(1);
    toolRow->addLayout(legend);

    auto *top = new QHBoxLayout;
    top->setSpacing(scaled(10));
    top->addWidget(m_rxCaption);
    top->addWidget(m_findIn);
    top->addStretch(1);

    auto *corner = new QVBoxLayout;
    corner->setContentsMargins(0, 0, scaled(8), scaled(8));
    corner->setSpacing(scaled(6));
    corner->addStretch(1);
    corner->addWidget(m_txCaption);
    corner->addWidget(m_findOut);

    auto *layout = new QGridLayout(this);
    layout->setContentsMargins(scaled(16), scaled(12), scaled(16), scaled(12));
    layout->setHorizontalSpacing(0);
    layout->setVerticalSpacing(0);
    layout->addLayout(toolRow, 0, 0, 1, 2);
    layout->setRowMinimumHeight(0, scaled(40));
    layout->addLayout(top, 1, 1);
    layout->setRowMinimumHeight(1, scaled(40));
    layout->addLayout(corner, 2, 0);
    layout->addWidget(m_columnHeaders, 2, 1);
    layout->addWidget(m_rowHeaders, 3, 0);
    layout->addWidget(m_view, 3, 1);
    layout->setRowStretch(3, 1);
    layout->setColumnStretch(1, 1);

    m_empty = new QLabel(m_view);
    m_empty->setObjectName(QStringLiteral("lb_empty"));
    m_empty->setAlignment(Qt::AlignCenter);
    m_empty->setWordWrap(true);
    m_empty->setFont(Style::font(11));
    m_empty->setStyleSheet(QStringLiteral("color: rgb(169, 169, 183);"));
}

void CellRouteForm::retranslate()
{
    m_txCaption->setText(tx(Tx::RoutingTransmitters));
    m_rxCaption->setText(tx(Tx::RoutingReceivers));
    m_findOut->setPlaceholderText(tx(Tx::RoutingFindTransmitter));
    m_findIn->setPlaceholderText(tx(Tx::RoutingFindReceiver));
    // The field is as narrow as the row headers: the whole hint rides in the tool tip.
    m_findOut->setToolTip(tx(Tx::RoutingFindTransmitterTip));
    m_findIn->setToolTip(tx(Tx::RoutingFindReceiverTip));
    m_empty->setText(tx(Tx::RoutingEmpty));
    m_hint->setText(tx(Tx::RoutingHint));
    m_tools->retranslate();
    const Tx legend[] = {Tx::RoutingLegendRouted, Tx::RoutingLegendPending, Tx::RoutingLegendFolded};
    for (int i = 0; i < m_legendTexts.size(); ++i)
        m_legendTexts.at(i)->setText(tx(legend[i]));
    updateBand(true);
}

void CellRouteForm::slot_refresh()
{
    m_rebuildTimer->start();
}

void CellRouteForm::slot_rebuild()
{
    m_rebuildTimer->stop();
    // A confirm box is open for a cell: its row and column must keep meaning
    // the same lines until the answer is in.
    if (m_inClick) {
        m_rebuildWanted = true;
        return;
    }
    if (!isVisible())
        return; // rebuilt when shown
    m_grid.rebuild(m_registry.devices(), m_registry.flows());
    m_checking.clear();
    // Its lines may mean other channels now.
    showBlock(QRect());
    ++m_rebuildCount;
    relayout();
    m_findOut->markStale();
    m_findIn->markStale();
}

void CellRouteForm::relayout()
{
    m_hover->clear();
    m_scene->setSceneRect(0, 0, m_grid.columnCount() * m_cellSize, m_grid.rowCount() * m_cellSize);
    m_rowHeaders->setAxis(m_grid.rowCount(), m_cellSize, m_headerLength);
    m_columnHeaders->setAxis(m_grid.columnCount(), m_cellSize, m_headerLength);
    m_empty->setVisible(m_grid.rowCount() == 0 && m_grid.columnCount() == 0);
    m_empty->setGeometry(m_view->rect().adjusted(scaled(40), 0, -scaled(40), 0));
    updateBand(true);
    m_rowHeaders->setOffset(m_view->verticalScrollBar()->value());
    m_columnHeaders->setOffset(m_view->horizontalScrollBar()->value());
}

void CellRouteForm::updateBand(bool force)
{
    const int rowTile = TileBand::tileOf(m_view->verticalScrollBar()->value() / m_cellSize);
    const int colTile = TileBand::tileOf(m_view->horizontalScrollBar()->value() / m_cellSize);
    const QSize shown = m_view->viewport()->size();
    const TileBand band = TileBand::compute(m_grid.rowCount(), m_grid.columnCount(), rowTile, colTile,
                                            shown.height() / m_cellSize + 1, shown.width() / m_cellSize + 1);
    if (!force && band == m_band)
        return;
    m_hover->clear();
    m_band = band;
    populateCells();
    const auto decorate = [this](RouteHeaderButton *b, int) { decorateHeader(b); };
    m_rowHeaders->populate(band.firstRow, band.lastRow, decorate);
    m_columnHeaders->populate(band.firstColumn, band.lastColumn, decorate);
    m_hover->restore();
}

void CellRouteForm::populateCells()
{
    const int count = m_band.rowCount() * m_band.columnCount();
    // Removing items one by one costs a search each; a large shrink is
    // cheaper as one clear.
    if (m_items.size() - count > 512) {
        if (m_blockItem)
            m_scene->removeItem(m_blockItem);
        m_scene->clear();
        m_items.clear();
        if (m_blockItem)
            m_scene->addItem(m_blockItem);
    }
    while (m_items.size() > count)
        delete m_items.takeLast();
    m_items.reserve(count);
    while (m_items.size() < count) {
        auto *item = new RouteCellItem(m_cellSize);
        m_scene->addItem(item);
        m_items.append(item);
    }
    const QVector<AxisItem> &rows = m_grid.rows();
    const QVector<AxisItem> &columns = m_grid.columns();
    int i = 0;
    for (int r = m_band.firstRow; r <= m_band.lastRow; ++r) {
        for (int c = m_band.firstColumn; c <= m_band.lastColumn; ++c) {
            RouteCellItem *item = m_items.at(i++);
            item->setPos(c * m_cellSize, r * m_cellSize);
            item->setCell(r, c, rows.at(r).isOwner(), columns.at(c).isOwner());
            decorateCell(item);
        }
    }
}

QString CellRouteForm::cellKey(int row, int column) const
{
    const AxisItem &r = m_grid.rows().at(row);
    const AxisItem &c = m_grid.columns().at(column);
    return r.ownerId + QLatin1Char('\x1f') + QString::number(r.channel) + QLatin1Char('\x1f') + c.ownerId
        + QLatin1Char('\x1f') + QString::number(c.channel);
}

void CellRouteForm::decorateCell(RouteCellItem *item) const
{
    const int r = item->row();
    const int c = item->column();
    const int state = m_grid.cellState(r, c);
    const bool checking = !m_checking.isEmpty() && m_checking.contains(cellKey(r, c));
    item->setData(1, checking ? QStringLiteral("checking") : QString());
    item->setData(2, !checking && state == 2 ? QStringLiteral("checked") : QString());
    item->setHighlighted(false);
    item->setToolTip(QString());
    if (m_grid.isOwnerPair(r, c)) {
        const bool expanded = m_grid.pairExpanded(r, c);
        item->setData(111, expanded ? QVariant(QStringLiteral("decrease")) : QVariant());
        item->setData(222, expanded ? QVariant() : QVariant(QStringLiteral("increase")));
        item->setPicture(m_grid.pairRouted(r, c) ? (expanded ? m_decreaseRoute : m_increaseRoute) : QPixmap());
        return;
    }
    item->setData(111, QVariant());
    item->setData(222, QVariant());
    item->setPicture(checking ? m_checkingPicture : state == 2 ? m_checkedPicture : QPixmap());
}

void CellRouteForm::decorateHeader(RouteHeaderButton *button) const
{
    const RouteGrid::Axis axis = button->axis();
    const AxisItem &item = m_grid.axis(axis).at(button->line());
    const char *kind = item.isMcastFlow ? (item.isOwner() ? "flow" : "flowChannel")
                                        : (item.isOwner() ? "owner" : "channel");
    button->setProperty("line", QLatin1String(kind));
    button->setProperty("hover", QString());
    QString state = QStringLiteral("ok");
    if (item.isOwner() && !item.isMcastFlow) {
        bool firmwareOk = true;
        if (m_uiStore) {
            const DeviceUiData ui = m_uiStore->get(item.ownerId);
            // Not answered yet is not held against the device.
            firmwareOk = !ui.versionKnown
                || DeviceUiStore::compareVersions(ui.version, QLatin1String(kMinimumFirmware)) >= 0;
        }
        if (!item.online || !firmwareOk)
            state = QStringLiteral("warn");
    }
    button->setProperty("state", state);
    if (item.isOwner()) {
        if (axis == RouteGrid::Columns)
            button->setIcon(item.expanded ? m_decreaseColumnIcon : m_increaseColumnIcon);
        else
            button->setIcon(item.expanded ? m_decreaseIcon : m_increaseIcon);
        button->setIconSize(QSize(int(newAdjScale * 15), int(newAdjScale * 15)));
        const QString title = item.flowAnnounced ? item.ownerName : tx(Tx::RoutingFlowAddress).arg(item.ownerName);
        button->setToolTip(title + QLatin1Char('\n') + tx(Tx::RoutingOwnerTip));
    } else {
        button->setIcon(QIcon());
        button->setToolTip(item.ownerName + QLatin1Char(':') + item.channelName);
    }
    // Both tool tips hold the whole name, which the button may cut.
    button->setFullText(item.headerText());
    button->repolish();
}

RouteCellItem *CellRouteForm::cellItem(int row, int column) const
{
    if (!m_band.contains(row, column))
        return nullptr;
    const int i = (row - m_band.firstRow) * m_band.columnCount() + (column - m_band.firstColumn);
    return i < m_items.size() ? m_items.at(i) : nullptr;
}

RouteHeaderButton *CellRouteForm::rowHeader(int row) const
{
    return m_rowHeaders->button(row);
}

RouteHeaderButton *CellRouteForm::columnHeader(int column) const
{
    return m_columnHeaders->button(column);
}

QPoint CellRouteForm::cellCentreInView(int row, int column) const
{
    return m_view->mapFromScene(QPointF((column + 0.5) * m_cellSize, (row + 0.5) * m_cellSize));
}

void CellRouteForm::scrollToLine(RouteGrid::Axis axis, int line)
{
    if (line < 0)
        return;
    QScrollBar *bar = axis == RouteGrid::Rows ? m_view->verticalScrollBar() : m_view->horizontalScrollBar();
    bar->setValue(line * m_cellSize);
}

void CellRouteForm::onCellPressed(int x, int y)
{
    int row = -1;
    int column = -1;
    if (m_inClick || !m_grid.cellAt(x, y, m_cellSize, &row, &column))
        return;
    if (m_grid.isOwnerPair(row, column)) {
        m_grid.togglePair(row, column);
        relayout();
        return;
    }
    if (m_grid.rows().at(row).isOwner() || m_grid.columns().at(column).isOwner())
        return;

    const RouteContext ctx = routeClickContext(m_grid, row, column, m_registry, m_uiStore);
    const RoutePlan plan = planRouteClick(ctx);
    const RouteChange change = clickChange(ctx);
    m_inClick = true;
    const bool passed = m_runner->run(plan);
    m_inClick = false;
    if (passed) {
        if (!plan.command.isEmpty()) {
            const AxisItem &r = m_grid.rows().at(row);
            const AxisItem &c = m_grid.columns().at(column);
            // Named as the dialogs name routes.
            const QString to = c.ownerName + QStringLiteral(" · ") + c.channelName;
            m_tools->followClick(change, change.after.isNone()
                                             ? tx(Tx::StepClear).arg(to)
                                             : tx(Tx::StepRoute).arg(r.ownerName + QStringLiteral(" · ") + r.channelName, to));
        }
        if (plan.markChecking) {
            m_checking.insert(cellKey(row, column));
            if (RouteCellItem *item = cellItem(row, column))
                decorateCell(item);
        }
    }
    if (m_rebuildWanted) {
        m_rebuildWanted = false;
        m_rebuildTimer->start();
    }
}

void CellRouteForm::slot_message(const QString &json)
{
    m_tools->slot_message(json);
}

void CellRouteForm::onBlockPressed(int x, int y)
{
    int row = -1;
    int column = -1;
    m_blockAnchor = QPoint(-1, -1);
    if (m_inClick || !m_grid.cellAt(x, y, m_cellSize, &row, &column))
        return;
    m_blockAnchor = QPoint(row, column);
    showBlock(RouteBlock::between(m_grid, row, column, row, column));
}

void CellRouteForm::onBlockDragged(int x, int y)
{
    if (m_blockAnchor.x() < 0)
        return;
    // Past the grid's edge the block keeps its last edge.
    const int row = qBound(0, y / m_cellSize, m_grid.rowCount() - 1);
    const int column = qBound(0, x / m_cellSize, m_grid.columnCount() - 1);
    showBlock(RouteBlock::between(m_grid, m_blockAnchor.x(), m_blockAnchor.y(), row, column));
}

void CellRouteForm::onBlockReleased(int x, int y, const QPoint &screenPos)
{
    onBlockDragged(x, y);
    m_blockAnchor = QPoint(-1, -1);
    if (m_block.isEmpty()) {
        NoticeBox::notice(this, tx(Tx::BulkNoBlock));
        return;
    }
    onContextMenu(x, y, screenPos);
}

void CellRouteForm::onContextMenu(int x, int y, const QPoint &screenPos)
{
    int row = -1;
    int column = -1;
    if (m_inClick || !m_grid.cellAt(x, y, m_cellSize, &row, &column)) {
        showBlock(QRect());
        return;
    }
    QMenu *menu = contextMenu(row, column);
    // The lines must keep meaning the same channels while the menu is open.
    m_inClick = true;
    menu->exec(screenPos);
    m_inClick = false;
    menu->deleteLater();
    showBlock(QRect());
    if (m_rebuildWanted) {
        m_rebuildWanted = false;
        m_rebuildTimer->start();
    }
}

QMenu *CellRouteForm::contextMenu(int row, int column)
{
    auto *menu = new QMenu(this);
    menu->setObjectName(QStringLiteral("menu_routing"));
    auto add = [this, menu](const char *name, const QString &text, std::function<void()> work) {
        QAction *a = menu->addAction(text);
        a->setObjectName(QLatin1String(name));
        // After the menu has closed and the page is free again: the work opens dialogs of its own.
        connect(a, &QAction::triggered, menu, [this, work] { QTimer::singleShot(0, this, work); });
        return a;
    };
    const bool insideBlock = m_block.contains(column, row);
    const AxisItem &r = m_grid.rows().at(row);
    const AxisItem &c = m_grid.columns().at(column);
    if (insideBlock) {
        const BulkRoute::Request request = RouteBlock::routeRequest(m_grid, m_block);
        add("act_bulkBlock", tx(Tx::BulkSelectionEntry).arg(channelCount(request.count)), [this, request] { m_tools->bulkRoute(request); });
        const QVector<RouteChange> clears = RouteBlock::clears(m_grid, m_block);
        if (!clears.isEmpty()) {
            const QString label = tx(Tx::StepClearBlock).arg(clears.size()).arg(c.ownerName);
            add("act_clearBlock", tx(Tx::BulkClearSelectionEntry).arg(clears.size()),
                [this, clears, label] { m_tools->clearRoutes(clears, label); });
        }
    } else {
        BulkRoute::Request request;
        if (RouteBlock::pairRequest(m_grid, row, column, &request))
            add("act_bulkPair", tx(Tx::BulkPairEntry).arg(r.ownerName, c.ownerName, channelCount(request.count)),
                [this, request] { m_tools->bulkRoute(request); });
        const QVector<RouteChange> clears = RouteBlock::pairClears(m_grid, m_tools->network(), row, column);
        if (!clears.isEmpty()) {
            const QString label = tx(Tx::StepClearBlock).arg(clears.size()).arg(c.ownerName);
            add("act_clearPair", tx(Tx::BulkClearPairEntry).arg(r.ownerName, c.ownerName).arg(clears.size()),
                [this, clears, label] { m_tools->clearRoutes(clears, label); });
        }
    }
    for (QAction *a : menu->actions())
        a->setEnabled(!m_tools->isBusy());
    if (!menu->isEmpty())
        menu->addSeparator();
    const RouteHistory &h = m_tools->history();
    QAction *undo = add("act_menuUndo", h.canUndo() ? tx(Tx::RouteUndoNamed).arg(h.undoLabel()) : tx(Tx::RouteUndo),
                        [this] { m_tools->undo(); });
    undo->setShortcut(m_tools->undoAction()->shortcut());
    undo->setEnabled(m_tools->undoAction()->isEnabled());
    QAction *redo = add("act_menuRedo", h.canRedo() ? tx(Tx::RouteRedoNamed).arg(h.redoLabel()) : tx(Tx::RouteRedo),
                        [this] { m_tools->redo(); });
    redo->setShortcut(m_tools->redoAction()->shortcut());
    redo->setEnabled(m_tools->redoAction()->isEnabled());
    return menu;
}

void CellRouteForm::showBlock(const QRect &block)
{
    m_block = block;
    if (block.isEmpty()) {
        if (m_blockItem)
            m_blockItem->hide();
        return;
    }
    if (!m_blockItem) {
        m_blockItem = new QGraphicsRectItem;
        m_blockItem->setZValue(10);
        m_blockItem->setPen(QPen(Style::kAccentHover, 2));
        QColor fill = Style::kAccent;
        fill.setAlpha(70);
        m_blockItem->setBrush(fill);
        m_blockItem->setAcceptedMouseButtons(Qt::NoButton);
        m_scene->addItem(m_blockItem);
    }
    m_blockItem->setRect(block.left() * m_cellSize, block.top() * m_cellSize, block.width() * m_cellSize,
                         block.height() * m_cellSize);
    m_blockItem->show();
}

void CellRouteForm::setAllExpanded(bool expanded)
{
    if (m_inClick)
        return;
    m_grid.setAllExpanded(RouteGrid::Rows, expanded);
    m_grid.setAllExpanded(RouteGrid::Columns, expanded);
    relayout();
}

void CellRouteForm::toggleOwner(RouteGrid::Axis axis, const QString &ownerId)
{
    if (m_inClick)
        return;
    m_grid.toggleOwner(axis, ownerId);
    relayout();
}

bool CellRouteForm::headerEvent(RouteHeaderButton *button, QEvent *event)
{
    const RouteGrid::Axis axis = button->axis();
    const int line = button->line();
    if (line < 0 || line >= m_grid.axis(axis).size())
        return false;
    const AxisItem &item = m_grid.axis(axis).at(line);
    auto *mouse = static_cast<QMouseEvent *>(event);
    switch (event->type()) {
    case QEvent::MouseButtonPress:
    case QEvent::MouseButtonDblClick:
        m_headerPress = mouse->pos();
        if (event->type() == QEvent::MouseButtonDblClick && mouse->button() == Qt::LeftButton && item.isOwner()
            && m_headerPress.x() >= m_arrowZone) {
            if (!item.isMcastFlow)
                emit signal_showDevice(item.ownerId);
            else if (item.flowAnnounced)
                emit signal_showFlow(item.ownerId);
            return true;
        }
        return false;
    case QEvent::MouseButtonRelease:
        if (mouse->button() == Qt::LeftButton && item.isOwner() && m_headerPress.x() >= 0
            && m_headerPress.x() < m_arrowZone && button->rect().contains(mouse->pos())) {
            // After the button has finished with its own event: the fold
            // redecorates the buttons.
            const QString owner = item.ownerId;
            QTimer::singleShot(0, this, [this, axis, owner] { toggleOwner(axis, owner); });
        }
        return false;
    default:
        return false;
    }
}

bool CellRouteForm::eventFilter(QObject *watched, QEvent *event)
{
    if (auto *button = qobject_cast<RouteHeaderButton *>(watched)) {
        switch (event->type()) {
        case QEvent::MouseButtonPress:
        case QEvent::MouseButtonRelease:
        case QEvent::MouseButtonDblClick:
            return headerEvent(button, event);
        default:
            return false;
        }
    }
    return QWidget::eventFilter(watched, event);
}

void CellRouteForm::goToLine(RouteGrid::Axis axis, const QString &ownerId, int channel)
{
    if (channel > 0 && !m_grid.isExpanded(axis, ownerId))
        toggleOwner(axis, ownerId);
    const int line = m_grid.findLine(axis, ownerId, channel);
    scrollToLine(axis, line);
    updateBand(false);
    if (line >= 0)
        m_hover->lightHeader(axis, line);
}

void CellRouteForm::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::LanguageChange)
        retranslate();
    QWidget::changeEvent(event);
}

void CellRouteForm::showEvent(QShowEvent *event)
{
    QWidget::showEvent(event);
    slot_rebuild();
}

void CellRouteForm::resizeEvent(QResizeEvent *event)
{
    QWidget::resizeEvent(event);
    m_empty->setGeometry(m_view->rect().adjusted(scaled(40), 0, -scaled(40), 0));
    updateBand(false);
}
