#include "gui/app/titlebar.h"

#include "core/app/scalefactors.h"
#include "core/app/texts.h"
#include "gui/widgets/style.h"
#include "gui/widgets/windowdragger.h"

#include <QHBoxLayout>
#include <QIcon>
#include <QLabel>
#include <QPushButton>

namespace {
QPushButton *windowButton(QWidget *parent, const char *name, const char *icon, const char *hover)
{
    auto *b = new QPushButton(parent);
    b->setObjectName(QLatin1String(name));
    b->setIcon(QIcon(QLatin1String(icon)));
    b->setIconSize(QSize(scaled(22), scaled(22)));
    b->setFixedSize(scaled(46), scaled(34));
    b->setFocusPolicy(Qt::NoFocus);
    b->setStyleSheet(QStringLiteral("QPushButton { border: none; background: transparent; padding: 0; min-height: 0; border-radius: 0; }"
                                    "QPushButton:hover { background-color: %1; }")
                         .arg(QLatin1String(hover)));
    return b;
}
} // namespace

TitleBar::TitleBar(QWidget *parent)
    : QWidget(parent)
{
    setObjectName(QStringLiteral("wd_title"));
    setFixedHeight(scaled(40));
    setAttribute(Qt::WA_StyledBackground);
    setStyleSheet(QStringLiteral("#wd_title { background-color: rgb(33, 34, 39); border-bottom: 1px solid rgb(50, 52, 60); }"));

    m_image = new QLabel(this);
    m_image->setObjectName(QStringLiteral("lb_titleImage"));
    m_image->setFixedSize(scaled(190), scaled(26));
    m_image->setStyleSheet(Style::titleImageStyle(Style::titleImagePath()));

    m_title = new QLabel(this);
    m_title->setObjectName(QStringLiteral("lb_appTitle"));
    m_title->setFont(Style::font(10));
    m_title->setStyleSheet(QStringLiteral("color: rgb(169, 169, 183);"));

    m_min = windowButton(this, "min_bt", ":/pic/ui/win_min.png", "rgb(55, 58, 68)");
    m_max = windowButton(this, "max_bt", ":/pic/ui/win_max.png", "rgb(55, 58, 68)");
    m_close = windowButton(this, "close_bt", ":/pic/ui/win_close.png", "rgb(214, 72, 72)");
    connect(m_min, &QPushButton::clicked, this, [this] { window()->showMinimized(); });
    connect(m_max, &QPushButton::clicked, this, &TitleBar::toggleMaximised);
    connect(m_close, &QPushButton::clicked, this, &TitleBar::signal_closeRequested);

    auto *layout = new QHBoxLayout(this);
    layout->setContentsMargins(scaled(14), 0, 0, 0);
    layout->setSpacing(scaled(12));
    layout->addWidget(m_image);
    layout->addWidget(m_title, 1);
    layout->addWidget(m_min);
    layout->addWidget(m_max);
    layout->addWidget(m_close);

    auto *dragger = new WindowDragger(this, true);
    connect(dragger, &WindowDragger::signal_doubleClicked, this, &TitleBar::toggleMaximised);
    retranslate();
}

void TitleBar::toggleMaximised()
{
    if (window()->isMaximized())
        window()->showNormal();
    else
        window()->showMaximized();
    syncMaximised();
}

void TitleBar::syncMaximised()
{
    const bool max = window()->isMaximized();
    m_max->setIcon(QIcon(max ? QStringLiteral(":/pic/ui/win_restore.png") : QStringLiteral(":/pic/ui/win_max.png")));
    m_max->setToolTip(tx(max ? Tx::Restore : Tx::Maximise));
}

void TitleBar::retranslate()
{
    m_title->setText(window()->windowTitle());
    m_min->setToolTip(tx(Tx::Minimise));
    m_close->setToolTip(tx(Tx::Close));
    syncMaximised();
}
