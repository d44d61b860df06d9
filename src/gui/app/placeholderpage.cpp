#include "gui/app/placeholderpage.h"

#include "core/app/scalefactors.h"
#include "gui/widgets/style.h"

#include <QEvent>
#include <QLabel>
#include <QVBoxLayout>

PlaceholderPage::PlaceholderPage(Tx title, Tx description, const QString &icon, QWidget *parent)
    : QWidget(parent)
    , m_titleId(title)
    , m_descriptionId(description)
{
    auto *image = new QLabel(this);
    image->setPixmap(QPixmap(icon).scaled(scaled(72), scaled(72), Qt::KeepAspectRatio, Qt::SmoothTransformation));
    image->setAlignment(Qt::AlignCenter);
    image->setStyleSheet(QStringLiteral("opacity: 0.6;"));
    m_title = new QLabel(this);
    m_title->setObjectName(QStringLiteral("lb_pageTitle"));
    m_title->setAlignment(Qt::AlignCenter);
    m_title->setFont(Style::font(16, true));
    m_title->setStyleSheet(QStringLiteral("color: rgb(230, 232, 238);"));
    m_description = new QLabel(this);
    m_description->setObjectName(QStringLiteral("lb_pageText"));
    m_description->setAlignment(Qt::AlignCenter);
    m_description->setWordWrap(true);
    m_description->setFont(Style::font(11));

    auto *layout = new QVBoxLayout(this);
    layout->addStretch(2);
    layout->addWidget(image);
    layout->addSpacing(scaled(12));
    layout->addWidget(m_title);
    layout->addWidget(m_description);
    layout->addStretch(3);
    retranslate();
}

void PlaceholderPage::retranslate()
{
    m_title->setText(tx(m_titleId));
    m_description->setText(tx(m_descriptionId));
}

void PlaceholderPage::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::LanguageChange)
        retranslate();
    QWidget::changeEvent(event);
}
