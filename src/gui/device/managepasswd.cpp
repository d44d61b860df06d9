#include "gui/device/managepasswd.h"

#include "gui/device/passwordedit.h"
#include "core/app/scalefactors.h"
#include "core/app/texts.h"
#include "core/device/lockplan.h"
#include "gui/widgets/noticebox.h"
#include "gui/widgets/style.h"
#include "gui/widgets/planrunner.h"

#include <QEvent>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QJsonDocument>
#include <QLabel>
#include <QPushButton>
#include <QVariant>
#include <QVBoxLayout>

ManagePasswd::ManagePasswd(const QString &devId, QWidget *parent)
    : FramelessDialog(parent)
    , m_devId(devId)
{
    setObjectName(QStringLiteral("dlg_managePasswd"));
    m_runner = new PlanRunner(this, QStringLiteral("ManagePasswd"));
    connect(m_runner, &PlanRunner::signal_sendUdp, this, &ManagePasswd::signal_sendUdp);
    setMinimumWidth(scaled(480));

    auto *grid = new QGridLayout;
    grid->setHorizontalSpacing(scaled(12));
    grid->setVerticalSpacing(scaled(10));
    const auto row = [&](int r, const char *name, QLabel **label, PasswordEdit **edit) {
        *label = new QLabel(this);
        *edit = new PasswordEdit(this);
        (*edit)->setObjectName(QLatin1String(name));
        grid->addWidget(*label, r, 0);
        grid->addWidget(*edit, r, 1);
    };
    row(0, "le_oldPasswd", &m_oldLabel, &m_old);
    row(1, "le_newPasswd", &m_newLabel, &m_new);
    row(2, "le_confirmPasswd", &m_confirmLabel, &m_confirm);
    grid->setColumnStretch(1, 1);
    contentLayout()->addLayout(grid);

    m_tips = new QLabel(this);
    m_tips->setObjectName(QStringLiteral("lb_tips"));
    m_tips->setStyleSheet(QStringLiteral("color: %1;").arg(Style::rgb(Style::kWarning)));
    contentLayout()->addWidget(m_tips);

    const OkCancel buttons = addOkCancelRow();
    m_ok = buttons.ok;
    m_cancel = buttons.cancel;
    connect(m_ok, &QPushButton::clicked, this, &ManagePasswd::onOk);
    retranslate();
}

void ManagePasswd::onOk()
{
    const CommandPlan plan = LockPlan::changePassword(m_devId, m_old->text(), m_new->text(), m_confirm->text());
    if (m_runner->run(plan))
        accept();
}

void ManagePasswd::retranslate()
{
    setTitle(tx(Tx::ManagePasswdTitle));
    m_oldLabel->setText(tx(Tx::OldPassword));
    m_newLabel->setText(tx(Tx::NewPassword));
    m_confirmLabel->setText(tx(Tx::ConfirmPassword));
    m_tips->setText(tx(Tx::PasswordTips));
    m_ok->setText(tx(Tx::Ok));
    m_cancel->setText(tx(Tx::Cancel));
}

void ManagePasswd::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::LanguageChange)
        retranslate();
    FramelessDialog::changeEvent(event);
}
