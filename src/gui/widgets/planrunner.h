#pragma once

#include "core/app/commandplan.h"

#include <QObject>

class QWidget;

/// Runs a page's core plans: shows the steps with the shared notice and
/// confirm boxes and, when every one passed, sends the command as compact
/// JSON. One per page, owned by it; the page forwards the runner's signals
/// as its own, so the main window wires pages exactly as before.
/// User-interface thread only.
class PlanRunner : public QObject
{
    Q_OBJECT
public:
    /// `tag` goes with every datagram sent without a fixed port.
    PlanRunner(QWidget *page, const QString &tag);

    /// True when every step passed (the command, if any, is then sent).
    bool run(const CommandPlan &plan);
    /// Sends a command that needs no steps: polls, identify, commands
    /// already confirmed. `port` 0 sends to the operation's own port.
    void send(const QJsonObject &command, quint16 port = 0);

signals:
    void signal_sendUdp(const QString &json, const QString &tag);
    void signal_sendUdpToPort(const QString &json, quint16 port);

private:
    QWidget *m_page;
    QString m_tag;
};
