// corvane-cli's clock, stats and levels commands: the cells of the clock,
// network statistics and levels pages, computed by the same core functions,
// one line (or one JSON object) per device.
#include "cliapp.h"

#include "clioutput.h"
#include "core/devices/deviceorder.h"
#include "core/clock/clockrow.h"
#include "core/devices/devicemodels.h"
#include "core/devices/deviceuistore.h"
#include "core/devices/devmanager.h"
#include "core/monitor/levelstracker.h"
#include "core/monitor/netstatstracker.h"
#include "core/protocol/devicelink.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QTextStream>
#include <QTimer>

namespace {

constexpr int kSettleMs = 1000;
// Locked followers report their clock state every five seconds.
constexpr int kClockWaitMs = 7000;
// Three missed polls, one a second, and the first answers.
constexpr int kStatsWaitMs = 6000;
constexpr int kCliPollMs = 1000;

QString compact(const QJsonObject &o)
{
    return QString::fromUtf8(QJsonDocument(o).toJson(QJsonDocument::Compact));
}

QJsonObject objectOf(const QString &json)
{
    return QJsonDocument::fromJson(json.toUtf8()).object();
}

QString levelText(RowProblem::Level level)
{
    switch (level) {
    case RowProblem::Warning: return QStringLiteral("warning");
    case RowProblem::Error: return QStringLiteral("error");
    default: return QStringLiteral("none");
    }
}

// A cell of several lines on one line of text.
QString oneLine(const QString &cell)
{
    QString s = cell;
    return s.replace(QLatin1Char('\n'), QLatin1Char(' '));
}

} // namespace

int CliApp::cmdClock()
{
    DeviceUiStore store;
    connect(m_link, &DeviceLink::signal_recv_message, &store, &DeviceUiStore::slot_message);
    const auto ask = [&] {
        for (const Device &d : m_link->registry().devices())
            if (!store.get(d.devId()).versionKnown)
                m_link->send(compact(
                    {{QStringLiteral("ops"), QStringLiteral("getVersion")}, {QStringLiteral("devId"), d.devId()}}));
    };
    QTimer again;
    connect(&again, &QTimer::timeout, this, ask);
    again.start(kCliPollMs);
    waitUntil(
        [&] {
            const QVector<Device> devices = m_link->registry().devices();
            if (devices.isEmpty() || m_sinceChange.elapsed() < kSettleMs)
                return false;
            for (const Device &d : devices) {
                const DeviceUiData ui = store.get(d.devId());
                // Only a follower's state needs its clock events; leaders and
                // the virtual sound card are shown by rule.
                const bool follower = d.rec.hasClockIdentity() && d.rec.myClkId.str() != d.rec.gmClkId.str() &&
                                      !DeviceModels::isVirtualSoundCard(d.rec.model.str());
                if (!ui.versionKnown || (follower && ui.ptpState < 0))
                    return false;
            }
            return true;
        },
        m_options.waitGiven ? m_options.waitMs : kClockWaitMs);

    QJsonArray arr;
    QVector<QStringList> lines{{QStringLiteral("NAME"), QStringLiteral("MODEL"), QStringLiteral("DEVID"),
                                QStringLiteral("IP"), QStringLiteral("ROLE"), QStringLiteral("STATE"),
                                QStringLiteral("FREQ(PPM)"), QStringLiteral("PRIORITY"), QStringLiteral("VERSION"),
                                QStringLiteral("TIP")}};
    for (const Device &d : DeviceOrder::sorted(m_link->registry().devices())) {
        const ClockRow r = ClockRow::of(d.rec, store.get(d.devId()));
        arr.append(QJsonObject{{QStringLiteral("devId"), r.devId},
                               {QStringLiteral("name"), r.name},
                               {QStringLiteral("model"), r.model},
                               {QStringLiteral("ip"), r.ip},
                               {QStringLiteral("role"), r.role},
                               {QStringLiteral("state"), r.state},
                               {QStringLiteral("adjustFreq"), r.adjustFreq},
                               {QStringLiteral("priority"), r.priority},
                               {QStringLiteral("version"), r.version},
                               {QStringLiteral("level"), levelText(r.problem.level)},
                               {QStringLiteral("tip"), r.problem.text}});
        lines.append(
            {r.name, r.model, r.devId, r.ip, r.role, r.state, r.adjustFreq, r.priority, r.version, r.problem.text});
    }
    if (m_options.json)
        *m_out << QJsonDocument(arr).toJson(QJsonDocument::Indented);
    else
        for (const QString &line : CliOutput::columns(lines))
            *m_out << line << '\n';
    return 0;
}

int CliApp::cmdStats()
{
    NetStatsTracker tracker;
    connect(m_link, &DeviceLink::signal_recv_message, this,
            [&](const QString &json) { tracker.intake(objectOf(json)); });
    const auto send = [this](const QVector<QJsonObject> &requests) {
        for (const QJsonObject &r : requests)
            m_link->send(compact(r));
    };
    QTimer poll;
    connect(&poll, &QTimer::timeout, this, [&] { send(tracker.pollRound(m_link->registry().devices())); });
    poll.start(kCliPollMs);
    waitUntil(
        [&] {
            const QVector<Device> devices = m_link->registry().devices();
            send(tracker.pollNewcomers(devices));
            if (devices.isEmpty() || m_sinceChange.elapsed() < kSettleMs)
                return false;
            for (const Device &d : devices)
                if (!d.tablesComplete() || !(tracker.answered(d.devId()) || tracker.unreachable(d.devId())))
                    return false;
            return true;
        },
        m_options.waitGiven ? m_options.waitMs : kStatsWaitMs);

    QJsonArray arr;
    QVector<QStringList> lines{{QStringLiteral("NAME"), QStringLiteral("MODEL"), QStringLiteral("DEVID"),
                                QStringLiteral("RATE"), QStringLiteral("PACKET"), QStringLiteral("DELAY"),
                                QStringLiteral("TEMP"), QStringLiteral("RECV/SEND"), QStringLiteral("UPTIME"),
                                QStringLiteral("TIP")}};
    for (const NetStateRow &r : tracker.rows(m_link->registry().devices(), NetStateRow::Default)) {
        QJsonObject o{
            {QStringLiteral("devId"), r.devId},           {QStringLiteral("name"), r.name},
            {QStringLiteral("model"), r.model},           {QStringLiteral("sampleRate"), r.sampleRate},
            {QStringLiteral("packetTime"), r.packetTime}, {QStringLiteral("delay"), r.delay},
            {QStringLiteral("temp"), r.temperature},      {QStringLiteral("bandwidth"), r.bandwidth},
            {QStringLiteral("uptime"), r.uptime},         {QStringLiteral("level"), levelText(r.problem.level)},
            {QStringLiteral("tip"), r.problem.text}};
        if (!r.amplifier.isEmpty())
            o.insert(QStringLiteral("amplifier"), r.amplifier);
        arr.append(o);
        lines.append({r.name, r.model, r.devId, r.sampleRate, r.packetTime, r.delay, r.temperature, r.bandwidth,
                      r.uptime, r.problem.text});
    }
    if (m_options.json)
        *m_out << QJsonDocument(arr).toJson(QJsonDocument::Indented);
    else
        for (const QString &line : CliOutput::columns(lines))
            *m_out << line << '\n';
    return 0;
}

int CliApp::cmdLevels()
{
    LevelsTracker tracker;
    connect(m_link, &DeviceLink::signal_recv_message, this,
            [&](const QString &json) { tracker.intake(objectOf(json)); });
    int polledCount = -1;
    const auto round = [&] {
        const QVector<Device> devices = m_link->registry().devices();
        polledCount = devices.size();
        for (const QJsonObject &r : tracker.pollRound(devices))
            m_link->send(compact(r));
    };
    QTimer poll;
    connect(&poll, &QTimer::timeout, this, round);
    poll.start(kCliPollMs);
    waitUntil(
        [&] {
            const QVector<Device> devices = m_link->registry().devices();
            // Devices that just appeared are asked at once.
            if (devices.size() != polledCount)
                round();
            if (devices.isEmpty() || m_sinceChange.elapsed() < kSettleMs)
                return false;
            for (const Device &d : devices)
                if (!tracker.complete(d))
                    return false;
            return true;
        },
        m_options.waitMs);

    QJsonArray arr;
    QVector<QStringList> lines{{QStringLiteral("NAME"), QStringLiteral("DEVID"), QStringLiteral("ANALOG IN(dBV)"),
                                QStringLiteral("ANALOG OUT(dBV)"), QStringLiteral("NET IN(dBFS)"),
                                QStringLiteral("NET OUT(dBFS)")}};
    for (const LevelsTracker::Row &r : tracker.rows(DeviceOrder::sorted(m_link->registry().devices()))) {
        arr.append(QJsonObject{{QStringLiteral("devId"), r.devId},
                               {QStringLiteral("name"), r.name},
                               {QStringLiteral("analogIn"), r.cells[LevelsTracker::AnalogIn]},
                               {QStringLiteral("analogOut"), r.cells[LevelsTracker::AnalogOut]},
                               {QStringLiteral("netIn"), r.cells[LevelsTracker::NetIn]},
                               {QStringLiteral("netOut"), r.cells[LevelsTracker::NetOut]}});
        lines.append({r.name, r.devId, oneLine(r.cells[LevelsTracker::AnalogIn]),
                      oneLine(r.cells[LevelsTracker::AnalogOut]), oneLine(r.cells[LevelsTracker::NetIn]),
                      oneLine(r.cells[LevelsTracker::NetOut])});
    }
    if (m_options.json)
        *m_out << QJsonDocument(arr).toJson(QJsonDocument::Indented);
    else
        for (const QString &line : CliOutput::columns(lines))
            *m_out << line << '\n';
    return 0;
}
