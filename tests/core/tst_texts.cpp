#include "core/app/language.h"
#include "core/app/texts.h"

#include <QSignalSpy>
#include <QtTest>

class TestTexts : public QObject
{
    Q_OBJECT
private slots:
    void everyTextInBothLanguages();
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

void TestTexts::flagPicksTheLanguage()
{
    QSignalSpy spy(Language::instance(), &Language::changed);
    Language::setChinese(false);
    QCOMPARE(tx(Tx::PageRouting), QStringLiteral("Routing"));
    Language::setChinese(true);
    QCOMPARE(tx(Tx::PageRouting), QStringLiteral("路由"));
    Language::setChinese(true); // no change, no signal
    Language::setChinese(false);
    QCOMPARE(spy.count(), 2);
    QCOMPARE(spy.at(0).at(0).toBool(), true);
}

QTEST_GUILESS_MAIN(TestTexts)
#include "tst_texts.moc"
