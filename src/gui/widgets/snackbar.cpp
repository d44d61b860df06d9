#include "gui/widgets/snackbar.h"

#include "gui/widgets/style.h"
#include "core/app/scalefactors.h"

#include <QEvent>
#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>
#include <QPainterPath>
#include <QTimer>

SnackBar::SnackBar(QWidget *host)
    : QWidget(host)
{
    setObjectName(QStringLiteral("snackBar"));
    setAttribute(Qt::WA_TransparentForMouseEvents);
    setFocusPolicy(Qt::NoFocus);
    m_icon = new QLabel(this);
    m_icon->setFixedSize(scaled(20), scaled(20));
    m_icon->setScaledContents(true);
    m_label = new QLabel(this);
    m_label->setObjectName(QStringLiteral("lb_snack"));
    m_label->setStyleSheet(QStringLiteral("color: rgb(240, 242, 246);"));
    m_label->setFont(Style::font(11));
    m_label->setWordWrap(true);
    auto *layout = new QHBoxLayout(this);
    layout->setContentsMargins(scaled(16), scaled(10), scaled(20), scaled(10));
    layout->setSpacing(scaled(10));
    layout->addWidget(m_icon);
    layout->addWidget(m_label, 1);

    m_timer = new QTimer(this);
    m_timer->setSingleShot(true);
    connect(m_timer, &QTimer::timeout, this, &SnackBar::showNext);
    host->installEventFilter(this);
    hide();
}

int SnackBar::durationMs(const QString &text)
{
    return qBound(2500, 1500 + 60 * text.size(), 8000);
}

void SnackBar::showMessage(const QString &text, Kind kind)
{
    if (text.isEmpty())
        return;
    m_queue.enqueue({text, kind});
    if (!m_timer->isActive())
        showNext();
}

void SnackBar::slot_showTips(const QString &text, bool isSucc)
{
    showMessage(text, isSucc ? Success : Failure);
}

QString SnackBar::currentText() const
{
    return isVisible() ? m_current.text : QString();
}

void SnackBar::showNext()
{
    if (m_queue.isEmpty()) {
        m_current = Item();
        hide();
        return;
    }
    m_current = m_queue.dequeue();
    static const char *const icons[] = {":/pic/ui/info.png", ":/pic/ui/success.png", ":/pic/ui/failure.png"};
    m_icon->setPixmap(QPixmap(QLatin1String(icons[m_current.kind])));
    m_label->setText(m_current.text);
    place();
    show();
    raise();
    m_timer->start(durationMs(m_current.text));
}

void SnackBar::place()
{
    QWidget *host = parentWidget();
    const int maxWidth = qMin(scaled(720), host->width() - scaled(40));
    m_label->setMaximumWidth(maxWidth - scaled(60));
    adjustSize();
    const int w = qMin(qMax(sizeHint().width(), scaled(240)), maxWidth);
    resize(w, heightForWidth(w) > 0 ? heightForWidth(w) : sizeHint().height());
    move((host->width() - width()) / 2, host->height() - height() - scaled(36));
}

bool SnackBar::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == parentWidget() && event->type() == QEvent::Resize && isVisible())
        place();
    return false;
}

void SnackBar::paintEvent(QPaintEvent *)
{
    QPainter p(this);
    p.setRenderHint(QPainter::Antialiasing);
    QPainterPath path;
    path.addRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), scaled(6), scaled(6));
    p.fillPath(path, QColor(48, 51, 60, 240));
    const QColor edge = m_current.kind == Failure ? Style::kError
                        : m_current.kind == Success ? Style::kSuccess : Style::kAccent;
    p.fillRect(QRect(0, scaled(6), scaled(4), height() - scaled(12)), edge);
    p.setPen(QColor(70, 74, 86));
    p.drawPath(path);
}
