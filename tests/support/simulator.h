#pragma once

#include <QByteArray>
#include <QNetworkInterface>
#include <QProcess>
#include <QSignalSpy>
#include <QStringList>
#include <QtTest>

/// corvane-sim as a child process of the test, stopped when the object goes.
class Simulator
{
public:
    ~Simulator() { stop(); }

    /// A program built beside the tests.
    static QString binary(const char *name)
    {
        return qEnvironmentVariable("CORVANE_BIN_DIR") + QLatin1Char('/') + QLatin1String(name);
    }

    /// Empty when this process runs in the private network namespace of tests/netns-run, where loopback is the
    /// only interface; otherwise why nothing may be sent. *byHand: the suite was simply started outside
    /// netns-run; when false, a namespace was promised but a real interface is in reach.
    static QString outsidePrivateNetwork(bool *byHand)
    {
        *byHand = qEnvironmentVariable("CORVANE_IN_NETNS") != QLatin1String("1");
        if (*byHand)
            return QStringLiteral("sends datagrams: run it inside the private network namespace of tests/netns-run");
        for (const QNetworkInterface &i : QNetworkInterface::allInterfaces())
            if (!(i.flags() & QNetworkInterface::IsLoopBack))
                return QStringLiteral("refusing to send anything: interface %1 is not loopback, so this is not a "
                                      "private network namespace")
                    .arg(i.name());
        return QString();
    }

    /// Starts the simulator and waits for its summary line, so that a simulator that cannot bind its addresses
    /// fails here with its own words rather than later as a silent network.
    bool start(const QStringList &args = {})
    {
        m_process.start(binary("corvane-sim"), args);
        if (!m_process.waitForStarted(5000))
            return fail("corvane-sim did not start: " + m_process.errorString().toUtf8());
        QByteArray seen;
        QElapsedTimer clock;
        clock.start();
        while (!seen.contains(" devices on ") && clock.elapsed() < 10000) {
            if (m_process.state() == QProcess::NotRunning)
                return fail("corvane-sim stopped: " + seen + m_process.readAllStandardError());
            m_process.waitForReadyRead(100);
            seen += m_process.readAllStandardOutput();
        }
        if (!seen.contains(" devices on "))
            return fail("corvane-sim never reported its devices: " + seen);
        // Its log is not needed; keep the pipe drained.
        QObject::connect(&m_process, &QProcess::readyReadStandardOutput, &m_process,
                         [this] { m_process.readAllStandardOutput(); });
        return true;
    }

    void stop()
    {
        if (m_process.state() == QProcess::NotRunning)
            return;
        m_process.terminate();
        if (!m_process.waitForFinished(5000)) {
            m_process.kill();
            m_process.waitForFinished(2000);
        }
    }

    /// Why start() failed.
    const char *why() const { return m_why.constData(); }

private:
    bool fail(const QByteArray &why)
    {
        m_why = why;
        return false;
    }

    QProcess m_process;
    QByteArray m_why;
};

/// First line of every suite that sends datagrams: skips when the suite was started by hand outside
/// tests/netns-run, and fails, sending nothing, when the promised private namespace is not there.
#define REQUIRE_PRIVATE_NETWORK()                                                                                     \
    do {                                                                                                              \
        bool byHand_ = false;                                                                                         \
        const QString why_ = Simulator::outsidePrivateNetwork(&byHand_);                                              \
        if (byHand_)                                                                                                  \
            QSKIP(qPrintable(why_));                                                                                  \
        if (!why_.isEmpty())                                                                                          \
            QFAIL(qPrintable(why_));                                                                                  \
    } while (false)
