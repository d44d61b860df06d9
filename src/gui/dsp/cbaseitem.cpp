#include "gui/dsp/cbaseitem.h"

#include "core/app/scalefactors.h"
#include "core/app/texts.h"
#include "core/dsp/dspbudget.h"
#include "core/dsp/dspcontroller.h"
#include "gui/widgets/style.h"

#include <QFontMetrics>
#include <QCursor>
#include <QPainter>
#include <QTextOption>

CBaseItem::CBaseItem(const DspController *controller, quint64 uid, const QString &title, QGraphicsItem *parent)
    : QGraphicsItem(parent)
    , m_controller(controller)
    , m_uid(uid)
    , m_title(title)
{
    setToolTip(title);
    setCursor(QCursor(Qt::PointingHandCursor));
    // Painting reads the document; caching would show an old state after a change the item was told about.
    setCacheMode(NoCache);
}

CBaseItem *CBaseItem::create(const DspController *controller, quint64 uid, const QString &title, QGraphicsItem *parent)
{
    const DspBlock *block = controller->block(uid);
    const std::optional<DspKind> kind = block ? DspKinds::of(*block) : std::nullopt;
    if (!kind)
        return new CBaseItem(controller, uid, title, parent);
    switch (*kind) {
    case DspKind::Eq: return new CEqBlockItem(controller, uid, title, parent);
    case DspKind::Delay: return new CDelayItem(controller, uid, title, parent);
    case DspKind::Compress: return new CCompressItem(controller, uid, title, parent);
    case DspKind::Fbe: return new CFbeItem(controller, uid, title, parent);
    case DspKind::Hpf:
    case DspKind::Lpf: return new CHlpfItem(controller, uid, title, parent);
    case DspKind::Fir: return new CFirItem(controller, uid, title, parent);
    case DspKind::Limit: return new CLimitItem(controller, uid, title, parent);
    case DspKind::NoiseGate: return new CNoisegateItme(controller, uid, title, parent);
    case DspKind::Expand: return new CExpandItem(controller, uid, title, parent);
    case DspKind::SignalGen: return new CSignalGen(controller, uid, title, parent);
    case DspKind::Aec: return new CChAecItem(controller, uid, title, parent);
    case DspKind::Ducker: return new CDuckerItem(controller, uid, title, parent);
    }
    return new CBaseItem(controller, uid, title, parent);
}

CBaseItem *CBaseItem::from(QGraphicsItem *item)
{
    if (!item || item->type() < CBaseItem::Type || item->type() > CChAecItem::Type)
        return nullptr;
    return static_cast<CBaseItem *>(item);
}

int CBaseItem::kindCode() const
{
    const DspBlock *block = m_controller->block(m_uid);
    return block ? DspBudget::kindCode(*block) : -1;
}

bool CBaseItem::isBypassed() const
{
    const DspBlock *block = m_controller->block(m_uid);
    return !block || block->bypass;
}

QRectF CBaseItem::boundingRect() const
{
    return QRectF(0, 0, scaled(kWidth), scaled(kHeight));
}

QColor CBaseItem::colour() const
{
    return QColor(90, 94, 106);
}

void CBaseItem::paint(QPainter *painter, const QStyleOptionGraphicsItem *, QWidget *)
{
    const QRectF r = boundingRect().adjusted(0.5, 0.5, -0.5, -0.5);
    const bool bypassed = isBypassed();
    painter->setRenderHint(QPainter::Antialiasing);
    // A bypassed block must read as "not in the signal" at a glance, in a picture without colour too: grey
    // fill, dashed outline and the word.
    QPen pen(bypassed ? QColor(120, 122, 130) : colour().lighter(150), 1.2);
    pen.setStyle(bypassed ? Qt::DashLine : Qt::SolidLine);
    painter->setPen(pen);
    painter->setBrush(bypassed ? QColor(52, 54, 60) : colour());
    painter->drawRoundedRect(r, scaled(4), scaled(4));

    QFont font = Style::font(8);
    painter->setFont(font);
    painter->setPen(bypassed ? QColor(150, 152, 160) : QColor(245, 246, 250));
    const qreal pad = scaled(4);
    QRectF text = r.adjusted(pad, pad / 2, -pad, -pad / 2);
    QFont small = Style::font(7);
    small.setBold(true);
    // The bottom line tells the bypass, and the kind where the title does not: the equaliser and the two
    // filters share one title suffix.
    text.setBottom(text.bottom() - QFontMetrics(small).height() + scaled(2));
    QTextOption wrap(Qt::AlignCenter);
    wrap.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    painter->drawText(text, m_title, wrap);
    painter->setFont(small);
    const QRectF bottom = r.adjusted(pad, 0, -pad, -scaled(2));
    const DspBlock *block = m_controller->block(m_uid);
    const std::optional<DspKind> kind = block ? DspKinds::of(*block) : std::nullopt;
    if (kind && (*kind == DspKind::Eq || *kind == DspKind::Hpf || *kind == DspKind::Lpf)) {
        painter->setPen(bypassed ? QColor(130, 134, 146) : QColor(210, 225, 255));
        painter->drawText(bottom, Qt::AlignLeft | Qt::AlignBottom, DspKinds::buttonText(*kind));
    }
    if (bypassed) {
        painter->setPen(QColor(214, 160, 70));
        painter->drawText(bottom, Qt::AlignRight | Qt::AlignBottom, tx(Tx::DspBypassMark));
    }
}

int CDelayItem::delayLength() const
{
    const DspBlock *block = m_controller->block(uid());
    return block ? DspBudget::delayLength(*block, m_controller->document().sampleRate) : 0;
}

int CChAecItem::count() const
{
    const DspBlock *block = m_controller->block(uid());
    return block ? DspBudget::aecCount(*block) : 0;
}

QColor CEqBlockItem::colour() const { return QColor(46, 104, 184); }
QColor CHlpfItem::colour() const { return QColor(38, 128, 150); }
QColor CDelayItem::colour() const { return QColor(104, 84, 170); }
QColor CCompressItem::colour() const { return QColor(176, 92, 52); }
QColor CExpandItem::colour() const { return QColor(150, 110, 40); }
QColor CLimitItem::colour() const { return QColor(170, 60, 70); }
QColor CNoisegateItme::colour() const { return QColor(70, 130, 80); }
QColor CFbeItem::colour() const { return QColor(130, 70, 140); }
QColor CFirItem::colour() const { return QColor(40, 110, 120); }
QColor CDuckerItem::colour() const { return QColor(120, 120, 50); }
QColor CSignalGen::colour() const { return QColor(60, 140, 120); }
QColor CChAecItem::colour() const { return QColor(90, 90, 160); }
