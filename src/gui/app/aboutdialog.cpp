#include "gui/app/aboutdialog.h"

#include "core/app/appinfo.h"
#include "core/app/scalefactors.h"
#include "core/app/texts.h"
#include "gui/widgets/style.h"

#include <QEvent>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVariant>
#include <QVBoxLayout>

AboutDialog::AboutDialog(QWidget *parent)
    : FramelessDialog(parent)
{
    setObjectName(QStringLiteral("dlg_about"));
    setFixedWidth(scaled(460));
    auto *image = new QLabel(this);
    image->setFixedHeight(scaled(48));
    image->setStyleSheet(Style::titleImageStyle(Style::titleImagePath()));
    m_text = new QLabel(this);
    m_text->setWordWrap(true);
    m_text->setAlignment(Qt::AlignCenter);
    m_version = new QLabel(this);
    m_version->setObjectName(QStringLiteral("lb_version"));
    m_version->setAlignment(Qt::AlignCenter);
    m_version->setStyleSheet(QStringLiteral("color: rgb(230, 232, 238);"));
    m_ok = new QPushButton(this);
    m_ok->setObjectName(QStringLiteral("pb_ok"));
    m_ok->setProperty("role", QStringLiteral("primary"));
    m_ok->setMinimumWidth(scaled(90));
    connect(m_ok, &QPushButton::clicked, this, &QDialog::accept);

    contentLayout()->addWidget(image);
    contentLayout()->addWidget(m_text);
    contentLayout()->addWidget(m_version);
    auto *row = new QHBoxLayout;
    row->addStretch(1);
    row->addWidget(m_ok);
    row->addStretch(1);
    contentLayout()->addLayout(row);
    retranslate();
}

QString AboutDialog::versionLine()
{
    return tx(Tx::AboutVersion) + QLatin1Char(' ') + QLatin1String(AppInfo::kVersion) + QStringLiteral("    ")
           + tx(Tx::AboutBuild) + QLatin1Char(' ') + QLatin1String(AppInfo::kBuild);
}

void AboutDialog::retranslate()
{
    setTitle(tx(Tx::AboutTitle));
    m_text->setText(tx(Tx::AboutText));
    m_version->setText(versionLine());
    m_ok->setText(tx(Tx::Ok));
}

void AboutDialog::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::LanguageChange)
        retranslate();
    FramelessDialog::changeEvent(event);
}
