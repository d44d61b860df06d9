#include "gui/widgets/rowlist.h"

#include "gui/widgets/columnrow.h"
#include "gui/widgets/style.h"
#include "core/app/scalefactors.h"

#include <QEvent>
#include <QLabel>
#include <QScrollArea>
#include <QScrollBar>
#include <QVBoxLayout>

RowList::RowList(ColumnRow *header, QWidget *parent)
    : QWidget(parent)
    , m_header(header)
{
    m_header->setParent(this);
    m_scroll = new QScrollArea(this);
    m_scroll->setObjectName(QStringLiteral("sa_rows"));
    m_scroll->setWidgetResizable(true);
    m_scroll->setFrameShape(QFrame::NoFrame);
    m_scroll->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_scroll->setStyleSheet(QStringLiteral("QScrollArea { background: transparent; }"));
    m_content = new QWidget(m_scroll);
    m_content->setObjectName(QStringLiteral("wd_rows"));
    m_content->setStyleSheet(QStringLiteral("#wd_rows { background: transparent; }"));
    m_rowLayout = new QVBoxLayout(m_content);
    m_rowLayout->setContentsMargins(0, 0, 0, 0);
    m_rowLayout->setSpacing(0);
    m_rowLayout->addStretch(1);
    m_scroll->setWidget(m_content);
    m_scroll->viewport()->setAutoFillBackground(false);
    m_content->setAutoFillBackground(false);
    m_scroll->verticalScrollBar()->installEventFilter(this);

    m_empty = new QLabel(this);
    m_empty->setObjectName(QStringLiteral("lb_empty"));
    m_empty->setAlignment(Qt::AlignCenter);
    m_empty->setFont(Style::font(11));

    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(m_header);
    layout->addWidget(m_scroll, 1);
    layout->addWidget(m_empty, 1);
    setRows({});
}

QWidget *RowList::rowParent() const
{
    return m_content;
}

void RowList::setRows(const QVector<QWidget *> &rows)
{
    if (rows != m_rows) {
        for (QWidget *w : qAsConst(m_rows)) {
            m_rowLayout->removeWidget(w);
            if (!rows.contains(w))
                w->hide();
        }
        for (int i = 0; i < rows.size(); ++i) {
            m_rowLayout->insertWidget(i, rows.at(i));
            rows.at(i)->show();
        }
        m_rows = rows;
    }
    m_scroll->setVisible(!m_rows.isEmpty());
    m_empty->setVisible(m_rows.isEmpty());
}

void RowList::setEmptyText(const QString &text)
{
    m_empty->setText(text);
}

bool RowList::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == m_scroll->verticalScrollBar() &&
        (event->type() == QEvent::Show || event->type() == QEvent::Hide || event->type() == QEvent::Resize))
        followScrollBar();
    return QWidget::eventFilter(watched, event);
}

void RowList::followScrollBar()
{
    const QScrollBar *bar = m_scroll->verticalScrollBar();
    const int right = bar->isVisibleTo(m_scroll) ? bar->width() : 0;
    m_header->setContentsMargins(0, 0, right, 0);
}
