#include "gui/device/settingslockpage.h"

#include "core/app/scalefactors.h"
#include "core/app/texts.h"
#include "core/device/lockchoice.h"
#include "gui/widgets/style.h"

#include <QEvent>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVariant>
#include <QVBoxLayout>

SettingsLockPage::SettingsLockPage(QWidget *parent)
    : QWidget(parent)
{
    setObjectName(QStringLiteral("page_lock"));
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(scaled(24), scaled(20), scaled(24), scaled(20));
    layout->setSpacing(scaled(16));
    auto *grid = new QGridLayout;
    grid->setHorizontalSpacing(scaled(24));
    grid->setVerticalSpacing(scaled(12));
    const char *names[3] = {"lb_lockDetails", "lb_lockRouting", "lb_lockDsp"};
    for (int i = 0; i < 3; ++i) {
        m_areas[i] = new QLabel(this);
        m_levels[i] = new QLabel(this);
        m_levels[i]->setObjectName(QLatin1String(names[i]));
        m_levels[i]->setStyleSheet(QStringLiteral("color: %1;").arg(Style::rgb(Style::kTextBright)));
        grid->addWidget(m_areas[i], i, 0);
        grid->addWidget(m_levels[i], i, 1);
    }
    grid->setColumnStretch(2, 1);
    layout->addLayout(grid);

    m_manageLock = new QPushButton(this);
    m_manageLock->setObjectName(QStringLiteral("pb_manageLock"));
    m_manageLock->setProperty("role", QStringLiteral("primary"));
    m_changePassword = new QPushButton(this);
    m_changePassword->setObjectName(QStringLiteral("pb_changePasswd"));
    m_refresh = new QPushButton(this);
    m_refresh->setObjectName(QStringLiteral("pb_refreshLock"));
    connect(m_manageLock, &QPushButton::clicked, this, &SettingsLockPage::signal_manageLock);
    connect(m_changePassword, &QPushButton::clicked, this, &SettingsLockPage::signal_changePassword);
    connect(m_refresh, &QPushButton::clicked, this, &SettingsLockPage::signal_refresh);
    auto *row = new QHBoxLayout;
    row->addWidget(m_manageLock);
    row->addWidget(m_changePassword);
    row->addWidget(m_refresh);
    row->addStretch(1);
    layout->addLayout(row);
    layout->addStretch(1);
    retranslate();
}

void SettingsLockPage::refresh(const DeviceUiData &ui)
{
    m_ui = ui;
    retranslate();
}

void SettingsLockPage::retranslate()
{
    m_areas[0]->setText(tx(Tx::LockAreaDetails));
    m_areas[1]->setText(tx(Tx::LockAreaRouting));
    m_areas[2]->setText(tx(Tx::LockAreaDsp));
    if (m_ui.lockKnown) {
        m_levels[0]->setText(tx(LockChoice::detailsLevelText(m_ui.devLock)));
        m_levels[1]->setText(tx(LockChoice::routingLevelText(m_ui.routeLock)));
        m_levels[2]->setText(tx(LockChoice::dspLevelText(m_ui.dspLock)));
    } else {
        for (QLabel *l : m_levels)
            l->setText(tx(Tx::LockNotRead));
    }
    m_manageLock->setText(tx(Tx::ManageLockTitle));
    m_changePassword->setText(tx(Tx::ManagePasswdTitle));
    m_refresh->setText(tx(Tx::DsRefresh));
}

void SettingsLockPage::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::LanguageChange)
        retranslate();
    QWidget::changeEvent(event);
}
