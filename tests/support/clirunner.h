#pragma once

#include "simulator.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QSignalSpy>

/// What one run of corvane-cli left.
struct CliRun
{
    int code = -1; ///< -1: it did not finish in time
    qint64 elapsedMs = 0;
    QByteArray out;
    QByteArray err;
    QJsonDocument json; ///< stdout read as one JSON document, when it is one
};

/// Runs corvane-cli with fixed leading arguments, bounded in time. The test's event loop turns while the client
/// works, so a hand-written device or a watch in this process keeps answering and reading.
class CliRunner
{
public:
    explicit CliRunner(const QStringList &leading = {})
        : m_leading(leading)
    {
    }

    CliRun run(const QStringList &args, int timeoutMs = 30000) const
    {
        CliRun r;
        QProcess p;
        QSignalSpy finished(&p, QOverload<int, QProcess::ExitStatus>::of(&QProcess::finished));
        QElapsedTimer clock;
        clock.start();
        p.start(Simulator::binary("corvane-cli"), m_leading + args);
        if (!p.waitForStarted(5000)) {
            r.err = "corvane-cli did not start: " + p.errorString().toUtf8();
            return r;
        }
        if (!finished.wait(timeoutMs)) {
            p.kill();
            p.waitForFinished(2000);
            r.err = "corvane-cli did not finish in time";
            return r;
        }
        r.elapsedMs = clock.elapsed();
        r.code = p.exitCode();
        r.out = p.readAllStandardOutput();
        r.err = p.readAllStandardError();
        r.json = QJsonDocument::fromJson(r.out);
        return r;
    }

private:
    QStringList m_leading;
};
