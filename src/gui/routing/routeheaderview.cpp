#include "gui/routing/routeheaderview.h"

#include "gui/routing/routeheaderbutton.h"

#include <QGraphicsProxyWidget>
#include <QGraphicsScene>
#include <QScrollBar>

namespace {

// Room past the last line, so the strip can follow the grid to its very end
// even though the grid's own scroll bar takes part of its view.
const int kSlack = 64;

} // namespace

RouteHeaderView::RouteHeaderView(RouteGrid::Axis axis, QWidget *parent)
    : QGraphicsView(parent)
    , m_axis(axis)
    , m_orientation(axis == RouteGrid::Rows ? Qt::Vertical : Qt::Horizontal)
{
    setObjectName(m_orientation == Qt::Vertical ? QStringLiteral("gv_rowHeaders") : QStringLiteral("gv_columnHeaders"));
    auto *scene = new QGraphicsScene(this);
    setScene(scene);
    setFrameShape(QFrame::NoFrame);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setAlignment(Qt::AlignLeft | Qt::AlignTop);
    setBackgroundBrush(QColor(0xFF212227));
    setFocusPolicy(Qt::NoFocus);
    // The strip moves with the grid only.
    setInteractive(true);
    setDragMode(QGraphicsView::NoDrag);

    m_band = new QWidget;
    m_band->setObjectName(QStringLiteral("wd_headerBand"));
    m_band->setAttribute(Qt::WA_StyledBackground);
    m_proxy = scene->addWidget(m_band);
    if (m_orientation == Qt::Horizontal)
        m_proxy->setRotation(-90);
}

void RouteHeaderView::setAxis(int lines, int cellSize, int headerLength)
{
    m_cellSize = cellSize;
    m_length = headerLength;
    const int along = lines * cellSize + kSlack;
    if (m_orientation == Qt::Vertical) {
        scene()->setSceneRect(0, 0, headerLength, along);
        setFixedWidth(headerLength);
    } else {
        scene()->setSceneRect(0, 0, along, headerLength);
        setFixedHeight(headerLength);
    }
}

void RouteHeaderView::populate(int first, int last, const std::function<void(RouteHeaderButton *, int)> &decorate)
{
    const int count = qMax(0, last - first + 1);
    const QString prefix = m_axis == RouteGrid::Rows ? QStringLiteral("tx_") : QStringLiteral("rx_");
    while (m_buttons.size() < count) {
        auto *b = new RouteHeaderButton(m_axis, m_band);
        if (m_filter)
            b->installEventFilter(m_filter);
        m_buttons.append(b);
    }
    m_first = first;
    m_shown = count;
    m_band->resize(m_length, qMax(1, count * m_cellSize));
    for (int i = 0; i < m_buttons.size(); ++i) {
        RouteHeaderButton *b = m_buttons.at(i);
        if (i >= count) {
            b->hide();
            b->setObjectName(QString());
            b->setLine(-1);
            continue;
        }
        // The name is for readers and tests; the page goes by the line.
        b->setObjectName(prefix + QString::number(first + i));
        b->setLine(first + i);
        b->setGeometry(0, i * m_cellSize, m_length, m_cellSize);
        decorate(b, first + i);
        b->show();
    }
    if (m_orientation == Qt::Vertical)
        m_proxy->setPos(0, first * m_cellSize);
    else
        m_proxy->setPos(first * m_cellSize, m_length);
}

RouteHeaderButton *RouteHeaderView::button(int line) const
{
    const int i = line - m_first;
    return i >= 0 && i < m_shown ? m_buttons.at(i) : nullptr;
}

void RouteHeaderView::setOffset(int pixels)
{
    if (m_orientation == Qt::Vertical)
        verticalScrollBar()->setValue(pixels);
    else
        horizontalScrollBar()->setValue(pixels);
}

void RouteHeaderView::setButtonStyleSheet(const QString &styleSheet)
{
    m_band->setStyleSheet(styleSheet);
}
