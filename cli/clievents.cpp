// corvane-cli events: the event log of the main window's panel, as timed lines.
#include "cliapp.h"

#include "core/events/eventfeed.h"
#include "core/events/eventmonitor.h"
#include "core/protocol/devicelink.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QTextStream>
#include <QTimer>

namespace {
// The statistics page's pace: temperatures are news at most this often.
constexpr int kDebugPollMs = 5000;
} // namespace

void CliApp::connectEventPrinters()
{
    auto *monitor = new EventMonitor({}, this);
    EventFeed::attach(m_link, monitor);
    connect(monitor, &EventMonitor::signal_added, this, [this](const EventLine &line) {
        if (m_options.json)
            *m_out << QJsonDocument(line.toJson()).toJson(QJsonDocument::Compact) << '\n';
        else
            *m_out << line.logLine() << '\n';
        m_out->flush();
    });
    // The program's pages ask every device its version (which holds its PTP
    // domain) and its temperature; without pages, this asks instead.
    auto ask = [this](const QString &devId, const char *op) {
        const QJsonObject request{{QStringLiteral("ops"), QLatin1String(op)}, {QStringLiteral("devId"), devId}};
        m_link->send(QString::fromUtf8(QJsonDocument(request).toJson(QJsonDocument::Compact)));
    };
    connect(m_link, &DeviceLink::signal_send_addDev, this, [ask](const QString &devId) {
        ask(devId, "getVersion");
        ask(devId, "getDebugInfo");
    });
    auto *poll = new QTimer(this);
    connect(poll, &QTimer::timeout, this, [this, ask] {
        for (const Device &d : m_link->registry().devices())
            ask(d.devId(), "getDebugInfo");
    });
    poll->start(kDebugPollMs);
}
