#include "core/app/appconfig.h"
#include "core/app/log.h"
#include "core/app/scalefactors.h"
#include "core/app/usersettings.h"

#include <QFile>
#include <QSettings>
#include <QTemporaryDir>
#include <QtTest>

class TestAppStartup : public QObject
{
    Q_OBJECT
private slots:
    void scaleFactors_data();
    void scaleFactors();
    void scaleDiagnosticText();
    void appConfigTitle_data();
    void appConfigTitle();
    void appConfigFile();
    void langueRoundTrip();
    void logLine_data();
    void logLine();
};

void TestAppStartup::scaleFactors_data()
{
    QTest::addColumn<int>("physW");
    QTest::addColumn<int>("physH");
    QTest::addColumn<int>("cx");
    QTest::addColumn<int>("cy");
    QTest::addColumn<double>("winScal");
    QTest::addColumn<double>("adj");
    QTest::addColumn<double>("fontAdj");
    QTest::addColumn<double>("newAdj");
    QTest::addColumn<double>("newFont");
    // 21:9 at 100 %: clamped to the 16:9 part, 1920 wide.
    QTest::newRow("2560x1080 at 100%") << 2560 << 1080 << 2560 << 1080 << 1.0 << 1.5 << 1.5 << 1.0 << 1.0;
    // 1080p at 150 %: logical 1280 wide.
    QTest::newRow("1920x1080 at 150%") << 1920 << 1080 << 1280 << 720 << 1.5 << 1.5 << 1.0 << 1.0 << 1.0 / 1.5;
    QTest::newRow("1280x720 at 100%") << 1280 << 720 << 1280 << 720 << 1.0 << 1.0 << 1.0 << 1.0 / 1.5 << 1.0 / 1.5;
    // Taller than 16:9 is not clamped.
    QTest::newRow("1920x1200 at 100%") << 1920 << 1200 << 1920 << 1200 << 1.0 << 1.5 << 1.5 << 1.0 << 1.0;
    QTest::newRow("3840x2160 at 200%") << 3840 << 2160 << 1920 << 1080 << 2.0 << 3.0 << 1.5 << 2.0 << 1.0;
}

void TestAppStartup::scaleFactors()
{
    QFETCH(int, physW);
    QFETCH(int, physH);
    QFETCH(int, cx);
    QFETCH(int, cy);
    ScreenMetrics m;
    m.physicalWidth = physW;
    m.physicalHeight = physH;
    m.logicalWidth = cx;
    m.logicalHeight = cy;
    const ScaleFactors f = computeScaleFactors(m);
    QTEST(f.winScal, "winScal");
    QTEST(f.adjScale, "adj");
    QTEST(f.adjFontScale, "fontAdj");
    QFETCH(double, newAdj);
    QFETCH(double, newFont);
    QVERIFY(qFuzzyCompare(f.newAdjScale, newAdj));
    QVERIFY(qFuzzyCompare(f.newAdjFontScale, newFont));
}

void TestAppStartup::scaleDiagnosticText()
{
    ScreenMetrics m;
    m.physicalWidth = 2560;
    m.physicalHeight = 1080;
    m.logicalWidth = 2560;
    m.logicalHeight = 1080;
    m.logicalDpi = 96;
    QCOMPARE(computeScaleFactors(m).diagnostic,
             QStringLiteral("cx:1920-xPix:1920-winScal:1-xDots:96-adjScale:1.5-adjFontScale:1.5"
                            "-newAdjScale=1-newAdjFontScale=1"));
    // A screen that reports nothing usable falls back instead of dividing by zero.
    const ScaleFactors broken = computeScaleFactors(ScreenMetrics{0, 0, 0, 0, 0});
    QVERIFY(qIsFinite(broken.adjScale) && broken.adjScale > 0);
}

void TestAppStartup::appConfigTitle_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<bool>("hasTitle");
    QTest::addColumn<QString>("title");
    QTest::newRow("plain") << QByteArray("title=Studio A\n") << true << QStringLiteral("Studio A");
    QTest::newRow("equals in value") << QByteArray("title=Studio A=B") << true << QStringLiteral("Studio A=B");
    QTest::newRow("empty first lines skipped") << QByteArray("\n\nname=Hall 2\nother=x") << true << QStringLiteral("Hall 2");
    QTest::newRow("no equals") << QByteArray("just a line\ntitle=late") << false << QString();
    QTest::newRow("empty") << QByteArray() << false << QString();
    QTest::newRow("utf8") << QByteArray("t=演播室 1") << true << QStringLiteral("演播室 1");
    QTest::newRow("empty value") << QByteArray("t=") << true << QString();
    QTest::newRow("carriage return kept") << QByteArray("t=A\r\n") << true << QStringLiteral("A\r");
}

void TestAppStartup::appConfigTitle()
{
    QFETCH(QByteArray, content);
    QFETCH(bool, hasTitle);
    const auto title = AppConfig::parseTitle(content);
    QCOMPARE(title.has_value(), hasTitle);
    if (hasTitle)
        QTEST(*title, "title");
}

void TestAppStartup::appConfigFile()
{
    QTemporaryDir dir;
    QVERIFY(!AppConfig::readTitle(dir.path()).has_value());
    QFile f(dir.filePath(QStringLiteral("appConfig.txt")));
    QVERIFY(f.open(QIODevice::WriteOnly));
    f.write("title=Studio A=B\n");
    f.close();
    QCOMPARE(AppConfig::readTitle(dir.path()).value_or(QString()), QStringLiteral("Studio A=B"));
}

void TestAppStartup::langueRoundTrip()
{
    QTemporaryDir dir;
    UserSettings s(dir.path());
    QCOMPARE(s.storedLanguage(), QString());
    s.storeLanguage(true);
    QCOMPARE(s.storedLanguage(), QStringLiteral("chs"));
    s.storeLanguage(false);
    QCOMPARE(s.storedLanguage(), QStringLiteral("en"));
    QSettings raw(s.path(), QSettings::IniFormat);
    QCOMPARE(raw.value(QStringLiteral("Langue")).toString(), QStringLiteral("en"));
}

void TestAppStartup::logLine_data()
{
    QTest::addColumn<QByteArray>("file");
    QTest::addColumn<QByteArray>("pretty");
    QTest::addColumn<QByteArray>("expected");
    QTest::newRow("method") << QByteArray("/src/core/protocol/mythread.cpp") << QByteArray("virtual void MyThread::run()")
                            << QByteArray("file=mythread.cpp func=MyThread::run line=42 \n");
    QTest::newRow("free function") << QByteArray("main.cpp") << QByteArray("int main(int, char**)")
                                   << QByteArray("file=main.cpp func=main line=42 \n");
    QTest::newRow("template return") << QByteArray("C:\\w\\a.cpp") << QByteArray("QMap<int, int> DevManager::table(int) const")
                                     << QByteArray("file=a.cpp func=DevManager::table line=42 \n");
    QTest::newRow("pointer return") << QByteArray("b.cpp") << QByteArray("const char* Foo::name()")
                                    << QByteArray("file=b.cpp func=Foo::name line=42 \n");
}

void TestAppStartup::logLine()
{
    QFETCH(QByteArray, file);
    QFETCH(QByteArray, pretty);
    QTEST(Log::failureLine(file.constData(), pretty.constData(), 42), "expected");
}

QTEST_GUILESS_MAIN(TestAppStartup)
#include "tst_appstartup.moc"
