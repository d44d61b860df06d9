#pragma once

#include <QJsonObject>
#include <QString>
#include <QVector>

/// What a user action should do, decided without widgets: the messages to
/// show in order, then the command to send if every step passed.
struct PlanStep
{
    enum Kind { Notice, Confirm };
    Kind kind = Notice;
    QString text;
};

struct CommandPlan
{
    /// Shown in order; a Notice ends the plan, a "no" to a Confirm ends it.
    QVector<PlanStep> steps;
    /// Sent when every step passed; empty: send nothing.
    QJsonObject command;
    /// A fixed device port, or 0 for the port the operation normally goes to.
    quint16 port = 0;

    static CommandPlan notice(const QString &text) { return CommandPlan{{{PlanStep::Notice, text}}, {}, 0}; }
    bool refused() const { return !steps.isEmpty() && steps.last().kind == PlanStep::Notice; }
};
