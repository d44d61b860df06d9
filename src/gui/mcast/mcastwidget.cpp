#include "gui/mcast/mcastwidget.h"

#include "core/app/scalefactors.h"
#include "core/app/texts.h"

#include <QEvent>
#include <QGridLayout>
#include <QLabel>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QVBoxLayout>

namespace {

const Tx kCaptions[6] = {Tx::McastDevId, Tx::McastDevName, Tx::McastDevIp,
                         Tx::McastName,  Tx::McastAddressPort, Tx::McastChannels};

} // namespace

McastWidget::McastWidget(QWidget *parent)
    : FramelessDialog(parent)
{
    setObjectName(QStringLiteral("McastWidget"));
    auto *body = new QWidget(this);
    auto *grid = new QGridLayout(body);
    grid->setContentsMargins(scaled(20), scaled(16), scaled(20), scaled(16));
    grid->setHorizontalSpacing(scaled(12));
    grid->setVerticalSpacing(scaled(10));
    const char *names[5] = {"lb_devId", "lb_devName", "lb_devIp", "lb_mcastName", "lb_addressPort"};
    QLabel **values[5] = {&m_devId, &m_devName, &m_devIp, &m_name, &m_addressPort};
    for (int i = 0; i < 6; ++i) {
        m_captions[i] = new QLabel(body);
        m_captions[i]->setStyleSheet(QStringLiteral("color: rgb(130, 132, 145);"));
        grid->addWidget(m_captions[i], i, 0, i == 5 ? Qt::AlignTop | Qt::AlignRight : Qt::AlignRight);
        if (i == 5)
            break;
        *values[i] = new QLabel(body);
        (*values[i])->setObjectName(QLatin1String(names[i]));
        (*values[i])->setTextInteractionFlags(Qt::TextSelectableByMouse);
        (*values[i])->setStyleSheet(QStringLiteral("color: white;"));
        grid->addWidget(*values[i], i, 1);
    }
    m_channels = new QPlainTextEdit(body);
    m_channels->setObjectName(QStringLiteral("te_channels"));
    m_channels->setReadOnly(true);
    m_channels->setStyleSheet(QStringLiteral("QPlainTextEdit { background: rgb(27, 28, 33); color: rgb(230, 232, 238);"
                                             " border: 1px solid rgb(62, 65, 75); }"));
    m_channels->setMinimumSize(scaled(300), scaled(110));
    grid->addWidget(m_channels, 5, 1);
    m_subscribersCaption = new QLabel(body);
    m_subscribersCaption->setStyleSheet(QStringLiteral("color: rgb(130, 132, 145);"));
    grid->addWidget(m_subscribersCaption, 6, 0, Qt::AlignTop | Qt::AlignRight);
    m_subscribers = new QLabel(body);
    m_subscribers->setObjectName(QStringLiteral("lb_subscribers"));
    m_subscribers->setTextInteractionFlags(Qt::TextSelectableByMouse);
    m_subscribers->setStyleSheet(QStringLiteral("color: white;"));
    m_subscribers->setWordWrap(true);
    grid->addWidget(m_subscribers, 6, 1);
    grid->setColumnStretch(1, 1);
    contentLayout()->addWidget(body);
    resize(scaled(460), sizeHint().height());
    retranslate();
}

void McastWidget::setDetails(const FlowView::Details &details)
{
    m_details = details;
    retranslate();
}

void McastWidget::retranslate()
{
    setTitle(tx(Tx::McastTitle));
    for (int i = 0; i < 6; ++i)
        m_captions[i]->setText(tx(kCaptions[i]));
    m_devId->setText(m_details.devId.isEmpty() ? tx(Tx::McastUnknownCreator) : m_details.devId);
    m_devName->setText(m_details.devName);
    m_devIp->setText(m_details.devIp);
    m_name->setText(m_details.name);
    m_addressPort->setText(m_details.addressPort);
    QStringList lines;
    for (int i = 0; i < m_details.channels.size(); ++i)
        lines.append(QString::number(i + 1) + QStringLiteral(". ") + m_details.channels.at(i));
    m_channels->setPlainText(lines.join(QLatin1Char('\n')));
    m_subscribersCaption->setText(tx(Tx::McastSubscribers));
    m_subscribers->setText(m_details.subscribers.isEmpty() ? tx(Tx::McastNoSubscribers)
                                                           : m_details.subscribers.join(QLatin1Char('\n')));
}

void McastWidget::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::LanguageChange)
        retranslate();
    FramelessDialog::changeEvent(event);
}
