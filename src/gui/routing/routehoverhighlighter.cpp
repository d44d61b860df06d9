#include "gui/routing/routehoverhighlighter.h"

#include "core/app/scalefactors.h"
#include "gui/routing/routecellitem.h"
#include "gui/routing/routeheaderbutton.h"
#include "gui/routing/routeheaderview.h"

#include <QEvent>
#include <QGraphicsView>
#include <QtMath>

RouteHoverHighlighter::RouteHoverHighlighter(const RouteGrid &grid, QGraphicsView *view, int cellSize,
                                             RouteHeaderView *rows, RouteHeaderView *columns, CellLookup cells,
                                             QObject *parent)
    : QObject(parent)
    , m_grid(grid)
    , m_view(view)
    , m_viewport(view->viewport())
    , m_cellSize(cellSize)
    , m_rows(rows)
    , m_columns(columns)
    , m_cells(std::move(cells))
{
    m_viewport->setMouseTracking(true);
    m_viewport->installEventFilter(this);
}

bool RouteHoverHighlighter::eventFilter(QObject *watched, QEvent *event)
{
    // Compared by the pointer kept at construction: while the page is torn
    // down the view is already half destroyed and must not be called.
    if (watched == m_viewport && event->type() == QEvent::Leave) {
        m_pointerInside = false;
        clear();
    }
    return QObject::eventFilter(watched, event);
}

void RouteHoverHighlighter::pointerMoved(const QPointF &scenePos)
{
    m_pointerInside = true;
    m_pointer = m_view->mapFromScene(scenePos);
    int row = -1;
    int column = -1;
    if (!m_grid.cellAt(qFloor(scenePos.x()), qFloor(scenePos.y()), m_cellSize, &row, &column)) {
        clear();
        return;
    }
    if (row == m_row && column == m_column)
        return;
    hover(row, column);
}

void RouteHoverHighlighter::restore()
{
    if (m_pointerInside && m_row < 0)
        pointerMoved(m_view->mapToScene(m_pointer));
}

void RouteHoverHighlighter::light(RouteHeaderButton *button, const char *look)
{
    if (!button)
        return;
    button->setHover(QLatin1String(look));
    m_litHeaders.append(button);
}

void RouteHoverHighlighter::lightHeader(RouteGrid::Axis axis, int line)
{
    RouteHeaderButton *b = (axis == RouteGrid::Rows ? m_rows : m_columns)->button(line);
    if (b)
        light(b, m_grid.axis(axis).at(line).isMcastFlow ? "flow" : "device");
}

void RouteHoverHighlighter::hover(int row, int column)
{
    clear();
    m_row = row;
    m_column = column;
    if (RouteCellItem *item = m_cells(row, column)) {
        item->setToolTip(QStringLiteral("<span style=\"font-family:'微软雅黑'; font-size:%1pt;\">%2</span>")
                             .arg(qMax(1, int(newAdjScale * 9)))
                             .arg(m_grid.toolTip(row, column).toHtmlEscaped()));
    }
    const AxisItem &r = m_grid.rows().at(row);
    const AxisItem &c = m_grid.columns().at(column);
    const char *rowLook = r.isMcastFlow ? "flow" : "device";
    if (r.isOwner() || c.isOwner()) {
        // No cell highlight on owner lines: their headers light up instead.
        light(m_rows->button(r.ownerLine), rowLook);
        light(m_columns->button(c.ownerLine), "device");
        return;
    }
    auto lightCell = [this](int rr, int cc) {
        RouteCellItem *item = m_cells(rr, cc);
        if (item && !item->isChecked() && !item->isChecking()) {
            item->setHighlighted(true);
            m_lit.append(item);
        }
    };
    // The header strips hold exactly the band's lines.
    for (int cc = m_columns->firstLine(); cc <= m_columns->lastLine(); ++cc)
        lightCell(row, cc);
    for (int rr = m_rows->firstLine(); rr <= m_rows->lastLine(); ++rr)
        if (rr != row)
            lightCell(rr, column);
    // The channel headers of the hovered cell light up too, so its names read at once.
    light(m_rows->button(row), rowLook);
    light(m_columns->button(column), "device");
}

void RouteHoverHighlighter::clear()
{
    for (RouteCellItem *item : qAsConst(m_lit))
        item->setHighlighted(false);
    m_lit.clear();
    for (RouteHeaderButton *b : qAsConst(m_litHeaders))
        b->setHover(QString());
    m_litHeaders.clear();
    m_row = -1;
    m_column = -1;
}
