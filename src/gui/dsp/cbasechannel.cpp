#include "gui/dsp/cbasechannel.h"

#include "core/app/scalefactors.h"
#include "gui/dsp/cbaseitem.h"
#include "gui/widgets/style.h"

#include <QCursor>
#include <QPainter>

CBaseChannel::CBaseChannel(DspSide side, int channel, const QString &name, QGraphicsItem *parent)
    : QGraphicsItem(parent)
    , m_side(side)
    , m_channel(channel)
    , m_name(name)
{
    setToolTip(name);
    setCursor(QCursor(Qt::PointingHandCursor));
}

CBaseChannel *CBaseChannel::from(QGraphicsItem *item)
{
    if (!item || item->type() < CBaseChannel::Type || item->type() > COutputChannel::Type)
        return nullptr;
    return static_cast<CBaseChannel *>(item);
}

void CBaseChannel::setName(const QString &name)
{
    m_name = name;
    setToolTip(name);
    update();
}

void CBaseChannel::setItems(const QVector<CBaseItem *> &items)
{
    qDeleteAll(m_items);
    m_items = items;
    for (CBaseItem *item : m_items) {
        item->setParentItem(this);
        item->setVisible(!m_folded);
    }
    placeItems();
}

void CBaseChannel::setFolded(bool folded)
{
    if (folded == m_folded)
        return;
    m_folded = folded;
    for (CBaseItem *item : m_items)
        item->setVisible(!folded);
    update();
}

void CBaseChannel::setCurrent(bool current)
{
    if (current == m_current)
        return;
    m_current = current;
    update();
}

void CBaseChannel::setLevel(double dbfs)
{
    // Meters tick every second for every channel: repaint only what moved by a visible step.
    const auto shown = [](double db) { return std::isfinite(db) ? qBound(kFloorDb, db, 0.0) : kFloorDb; };
    const bool visible = std::abs(shown(dbfs) - shown(m_level)) >= 0.25;
    m_level = dbfs;
    if (visible)
        update();
}

QRectF CBaseChannel::boundingRect() const
{
    return QRectF(0, 0, scaled(kWidth), scaled(kHeight));
}

void CBaseChannel::paint(QPainter *painter, const QStyleOptionGraphicsItem *, QWidget *)
{
    const QRectF r = boundingRect().adjusted(0.5, 0.5, -0.5, -0.5);
    painter->setRenderHint(QPainter::Antialiasing);
    painter->setPen(QPen(m_current ? QColor(88, 140, 255) : QColor(70, 73, 84), m_current ? 2.0 : 1.0));
    painter->setBrush(m_current ? QColor(44, 56, 84) : QColor(40, 42, 49));
    painter->drawRoundedRect(r, scaled(4), scaled(4));

    const qreal pad = scaled(6);
    const qreal meterHeight = scaled(5);
    const QRectF meter(r.left() + pad, r.bottom() - pad - meterHeight, r.width() - 2 * pad, meterHeight);
    QRectF text(r.left() + pad, r.top() + scaled(2), r.width() - 2 * pad, meter.top() - r.top() - scaled(3));

    painter->setFont(Style::font(8, true));
    painter->setPen(QColor(150, 155, 170));
    const QString number = QString::number(m_channel + 1);
    painter->drawText(text, Qt::AlignLeft | Qt::AlignVCenter, number);
    const qreal numberWidth = painter->fontMetrics().horizontalAdvance(QStringLiteral("00 "));
    text.setLeft(text.left() + numberWidth);
    painter->setFont(Style::font(9));
    painter->setPen(QColor(235, 237, 244));
    painter->drawText(text, Qt::AlignLeft | Qt::AlignVCenter,
                      painter->fontMetrics().elidedText(m_name, Qt::ElideRight, int(text.width())));
    if (m_folded && !m_items.isEmpty()) {
        painter->setPen(QColor(150, 155, 170));
        painter->drawText(text, Qt::AlignRight | Qt::AlignTop, QStringLiteral("+%1").arg(m_items.size()));
    }

    painter->setPen(Qt::NoPen);
    painter->setBrush(QColor(24, 25, 29));
    painter->drawRect(meter);
    if (std::isfinite(m_level) && m_level > kFloorDb) {
        const double fraction = (qMin(m_level, 0.0) - kFloorDb) / -kFloorDb;
        QRectF bar = meter;
        bar.setWidth(meter.width() * fraction);
        painter->setBrush(m_level > -6 ? QColor(220, 70, 60) : m_level > -18 ? QColor(226, 190, 60) : QColor(70, 190, 100));
        painter->drawRect(bar);
    }
}

CInputChannel::CInputChannel(int channel, const QString &name, QGraphicsItem *parent)
    : CBaseChannel(DspSide::In, channel, name, parent)
{
}

void CInputChannel::placeItems()
{
    qreal x = scaled(kWidth + kGap);
    for (CBaseItem *item : m_items) {
        item->setPos(x, 0);
        x += scaled(CBaseItem::kWidth + kGap);
    }
}

COutputChannel::COutputChannel(int channel, const QString &name, QGraphicsItem *parent)
    : CBaseChannel(DspSide::Out, channel, name, parent)
{
}

void COutputChannel::placeItems()
{
    qreal x = -scaled(kGap + CBaseItem::kWidth);
    for (int i = m_items.size() - 1; i >= 0; --i) {
        m_items[i]->setPos(x, 0);
        x -= scaled(CBaseItem::kWidth + kGap);
    }
}
