#include "gui/mcast/formmcast.h"

#include "core/app/scalefactors.h"
#include "core/app/texts.h"

#include <QEvent>
#include <QGridLayout>
#include <QLabel>

FormMcast::FormMcast(QWidget *parent)
    : QWidget(parent)
{
    setObjectName(QStringLiteral("FormMcast"));
    setAttribute(Qt::WA_StyledBackground);
    m_name = new QLabel(this);
    m_name->setObjectName(QStringLiteral("lb_name"));
    m_ipPortCaption = new QLabel(this);
    m_ipPortCaption->setObjectName(QStringLiteral("lb_ipPortCaption"));
    m_ipPort = new QLabel(this);
    m_ipPort->setObjectName(QStringLiteral("lb_ipPort"));
    m_channels = new QLabel(this);
    m_channels->setObjectName(QStringLiteral("lb_channels"));
    m_channels->setWordWrap(true);
    for (QLabel *l : {m_name, m_ipPortCaption, m_ipPort, m_channels})
        l->setAttribute(Qt::WA_TransparentForMouseEvents);

    auto *layout = new QGridLayout(this);
    layout->setContentsMargins(scaled(12), scaled(8), scaled(12), scaled(8));
    layout->setHorizontalSpacing(scaled(10));
    layout->setVerticalSpacing(scaled(4));
    layout->addWidget(m_name, 0, 0, 1, 2);
    layout->addWidget(m_ipPortCaption, 1, 0);
    layout->addWidget(m_ipPort, 1, 1);
    layout->addWidget(m_channels, 2, 0, 1, 2);
    layout->setColumnStretch(1, 1);
    setSelected(false);
    retranslate();
}

QString FormMcast::styleFor(bool selected)
{
    return QStringLiteral("#FormMcast { background-color: %1; border-bottom: 1px solid #333333; }"
                          "#FormMcast QLabel { background: transparent; }"
                          "#FormMcast #lb_name { color: white; font-weight: bold; }"
                          "#FormMcast #lb_ipPortCaption { color: rgb(130, 132, 145); }")
        .arg(selected ? QStringLiteral("rgba(124, 137, 250, 0.40)") : QStringLiteral("rgba(27, 28, 33, 1)"));
}

void FormMcast::setFlow(const FlowView::TxRow &row)
{
    m_row = row;
    m_name->setText(row.name);
    m_ipPort->setText(row.addressPort);
    retranslate();
}

void FormMcast::setSelected(bool selected)
{
    m_selected = selected;
    setStyleSheet(styleFor(selected));
}

void FormMcast::retranslate()
{
    m_ipPortCaption->setText(tx(Tx::McastIpPort));
    m_channels->setText(m_row.channels.isEmpty() ? tx(Tx::McastChannelsPlaceholder)
                                                 : m_row.channels.join(QLatin1Char(',')));
}

void FormMcast::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::LanguageChange)
        retranslate();
    QWidget::changeEvent(event);
}
