#include "gui/widgets/busyoverlay.h"

#include "gui/widgets/style.h"
#include "core/app/scalefactors.h"

#include <QEvent>
#include <QPainter>
#include <QTimer>

BusyOverlay::BusyOverlay(QWidget *host)
    : QWidget(host)
{
    setObjectName(QStringLiteral("busyOverlay"));
    m_spin = new QTimer(this);
    m_spin->setInterval(40);
    connect(m_spin, &QTimer::timeout, this, [this] {
        m_angle = (m_angle + 12) % 360;
        update();
    });
    m_timeout = new QTimer(this);
    m_timeout->setSingleShot(true);
    connect(m_timeout, &QTimer::timeout, this, [this] {
        stop();
        emit signal_timeout();
    });
    host->installEventFilter(this);
    hide();
}

void BusyOverlay::start(const QString &text, int timeoutMs)
{
    m_text = text;
    setGeometry(parentWidget()->rect());
    show();
    raise();
    m_spin->start();
    if (timeoutMs > 0)
        m_timeout->start(timeoutMs);
    else
        m_timeout->stop();
    update();
}

void BusyOverlay::stop()
{
    m_spin->stop();
    m_timeout->stop();
    hide();
}

bool BusyOverlay::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == parentWidget() && event->type() == QEvent::Resize)
        setGeometry(parentWidget()->rect());
    return false;
}

void BusyOverlay::paintEvent(QPaintEvent *)
{
    QPainter p(this);
    p.setRenderHint(QPainter::Antialiasing);
    p.fillRect(rect(), QColor(20, 21, 25, 200));
    const int r = scaled(22);
    const QPoint c = rect().center() - QPoint(0, scaled(20));
    const QRect ring(c.x() - r, c.y() - r, 2 * r, 2 * r);
    p.setPen(QPen(QColor(70, 73, 84), scaled(4)));
    p.drawEllipse(ring);
    p.setPen(QPen(Style::kAccentHover, scaled(4), Qt::SolidLine, Qt::RoundCap));
    p.drawArc(ring, -m_angle * 16, 100 * 16);
    p.setPen(Style::kTextBright);
    p.setFont(Style::font(11));
    p.drawText(QRect(0, c.y() + r + scaled(12), width(), scaled(40)), Qt::AlignHCenter | Qt::AlignTop, m_text);
}
