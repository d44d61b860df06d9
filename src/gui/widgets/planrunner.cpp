#include "gui/widgets/planrunner.h"

#include "gui/widgets/noticebox.h"

#include <QJsonDocument>
#include <QWidget>

PlanRunner::PlanRunner(QWidget *page, const QString &tag)
    : QObject(page)
    , m_page(page)
    , m_tag(tag)
{
}

bool PlanRunner::run(const CommandPlan &plan)
{
    if (!NoticeBox::passSteps(m_page, plan.steps))
        return false;
    if (!plan.command.isEmpty())
        send(plan.command, plan.port);
    return true;
}

void PlanRunner::send(const QJsonObject &command, quint16 port)
{
    const QString json = QString::fromUtf8(QJsonDocument(command).toJson(QJsonDocument::Compact));
    if (port)
        emit signal_sendUdpToPort(json, port);
    else
        emit signal_sendUdp(json, m_tag);
}
