#include "core/app/appinfo.h"
#include "core/app/platform.h"

#include <QDateTime>
#include <QDir>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QtTest>

class TestCrashHandler : public QObject
{
    Q_OBJECT
private slots:
    void fileName();
    void crashWritesOneReport_data();
    void crashWritesOneReport();
};

void TestCrashHandler::fileName()
{
    const QDateTime when(QDate(2026, 11, 22), QTime(9, 5, 7));
    QCOMPARE(Platform::crashFilePath(QStringLiteral("/x/CorvaneLink3/"), when),
             QStringLiteral("/x/CorvaneLink3/1222220025_261122090507.dmp"));
    QVERIFY(Platform::crashFolder().endsWith(QStringLiteral("/CorvaneLink3/")));
}

void TestCrashHandler::crashWritesOneReport_data()
{
    QTest::addColumn<QString>("how");
    QTest::addColumn<QString>("signal");
    QTest::newRow("null pointer") << QStringLiteral("segv") << QStringLiteral("SIGSEGV");
    QTest::newRow("abort") << QStringLiteral("abort") << QStringLiteral("SIGABRT");
    QTest::newRow("stack overflow") << QStringLiteral("overflow") << QStringLiteral("SIGSEGV");
}

void TestCrashHandler::crashWritesOneReport()
{
    QFETCH(QString, how);
    QFETCH(QString, signal);
    if (qEnvironmentVariableIsSet("CORVANE_SANITIZED"))
        QSKIP("sanitizers install their own crash handlers");

    QTemporaryDir home;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(QStringLiteral("HOME"), home.path());
    env.insert(QStringLiteral("XDG_CONFIG_HOME"), home.filePath(QStringLiteral(".config")));
    env.insert(QStringLiteral("XDG_DOCUMENTS_DIR"), home.filePath(QStringLiteral("Documents")));

    QProcess child;
    child.setProcessEnvironment(env);
    const QDateTime before = QDateTime::currentDateTime().addSecs(-1);
    child.start(qEnvironmentVariable("CORVANE_BIN_DIR") + QStringLiteral("/crashprobe"), {how});
    QVERIFY(child.waitForFinished(30000));
    const QDateTime after = QDateTime::currentDateTime().addSecs(1);
    QCOMPARE(child.exitStatus(), QProcess::NormalExit);
    QCOMPARE(child.exitCode(), 255);

    const QDir folder(home.filePath(QStringLiteral("Documents/CorvaneLink3")));
    const QStringList files = folder.entryList(QDir::Files);
    QCOMPARE(files.size(), 1);
    const QRegularExpression pattern(QStringLiteral("^1222220025_(\\d{12})\\.dmp$"));
    const auto match = pattern.match(files.first());
    QVERIFY2(match.hasMatch(), qPrintable(files.first()));
    const QDateTime stamped = QDateTime::fromString(match.captured(1), QStringLiteral("yyMMddhhmmss")).addYears(100);
    QVERIFY2(stamped >= before.addSecs(-1) && stamped <= after, qPrintable(stamped.toString()));

    QFile report(folder.filePath(files.first()));
    QVERIFY(report.open(QIODevice::ReadOnly));
    const QByteArray text = report.readAll();
    QVERIFY(text.contains("signal "));
    QVERIFY(text.contains(signal.toLatin1()));
    QVERIFY(text.contains("address 0x"));
    QVERIFY(text.contains("build 1222220025"));
    // At least a few frames of backtrace follow the header.
    const QByteArray trace = text.mid(text.indexOf("backtrace:\n") + 11);
    QVERIFY2(trace.count('\n') >= 3, text.constData());
}

QTEST_GUILESS_MAIN(TestCrashHandler)
#include "tst_crashhandler.moc"
