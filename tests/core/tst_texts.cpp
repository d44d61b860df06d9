#include "core/app/language.h"
#include "core/app/texts.h"

#include <QRegularExpression>
#include <QSignalSpy>
#include <QtTest>

class TestTexts : public QObject
{
    Q_OBJECT
private slots:
    void everyTextInBothLanguages();
    void chineseOnlyTextsCarryAGloss_data();
    void chineseOnlyTextsCarryAGloss();
    void flagPicksTheLanguage();
};

void TestTexts::everyTextInBothLanguages()
{
    for (int i = 0; i < int(Tx::Count); ++i) {
        QVERIFY2(!tx(Tx(i), false).isEmpty(), qPrintable(QString::number(i)));
        QVERIFY2(!tx(Tx(i), true).isEmpty(), qPrintable(QString::number(i)));
    }
    QCOMPARE(tx(Tx::QuitPrompt, true), QStringLiteral("确定退出 CorvaneLink 吗？"));
}

// A text that exists only in Chinese reaches an English-speaking operator
// unchanged, so it can still be matched with what others read, and then
// explained: "中文 (gloss)". The Chinese form stays bare.
void TestTexts::chineseOnlyTextsCarryAGloss_data()
{
    QTest::addColumn<QString>("english");
    QTest::addColumn<QString>("chinese");
    const QRegularExpression han(QStringLiteral("\\p{Han}"));
    int rows = 0;
    for (int i = 0; i < int(Tx::Count); ++i) {
        // The language switch names each language in its own script.
        if (Tx(i) == Tx::LanguageChinese || !tx(Tx(i), false).contains(han))
            continue;
        QTest::newRow(qPrintable(tx(Tx(i), true))) << tx(Tx(i), false) << tx(Tx(i), true);
        ++rows;
    }
    QVERIFY(rows >= 35);
}

void TestTexts::chineseOnlyTextsCarryAGloss()
{
    QFETCH(QString, english);
    QFETCH(QString, chinese);
    QVERIFY2(english.startsWith(chinese + QStringLiteral(" (")) && english.endsWith(QLatin1Char(')')),
             qPrintable(english));
    const QString gloss = english.mid(chinese.size() + 2).chopped(1);
    QVERIFY(!gloss.trimmed().isEmpty());
    QVERIFY2(!gloss.contains(QRegularExpression(QStringLiteral("\\p{Han}"))), qPrintable(gloss));
    QVERIFY(!chinese.contains(QLatin1Char('(')));
}

void TestTexts::flagPicksTheLanguage()
{
    QSignalSpy spy(Language::instance(), &Language::changed);
    Language::setChinese(false);
    QCOMPARE(tx(Tx::PageRouting), QStringLiteral("Routing"));
    QCOMPARE(tx(Tx::IpEmpty), QStringLiteral("ip不能为空 (the address must not be empty)"));
    Language::setChinese(true);
    QCOMPARE(tx(Tx::PageRouting), QStringLiteral("路由"));
    QCOMPARE(tx(Tx::IpEmpty), QStringLiteral("ip不能为空"));
    Language::setChinese(true); // no change, no signal
    Language::setChinese(false);
    QCOMPARE(spy.count(), 2);
    QCOMPARE(spy.at(0).at(0).toBool(), true);
}

QTEST_GUILESS_MAIN(TestTexts)
#include "tst_texts.moc"
