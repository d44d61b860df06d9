// The administration page with real clicks over a scripted device: what is asked, and what is sent only after.
#include "gui/dsp/adminform.h"
#include "gui/widgets/filechoice.h"

#include "../support/noticesequence.h"
#include "../support/scriptedexchange.h"

#include <QJsonArray>
#include <QLineEdit>
#include <QListWidget>
#include <QTemporaryDir>

class TestAdminForm : public QObject
{
    Q_OBJECT
private slots:
    void init()
    {
        m_device = ScriptedExchange();
        m_device.succeed("getConfigNameArr", {{"configNameArr", QJsonArray{"live", "", "show"}}});
        m_device.succeed("getLastConfig", {{"lastConfig", "-1"}});
        m_reboots = 0;
        m_form.reset(new AdminForm(m_device.exchange(), [this] { ++m_reboots; }));
        m_form->show();
        QVERIFY(QTest::qWaitForWindowExposed(m_form.get()));
        m_told.clear();
    }

    void nothingIsSentUntilARecordAndANameAreGood()
    {
        const int listed = m_device.sent.size();
        answerInOrder(m_form.get(), {"pb_ok"}, &m_told);
        click("pb_load"); // no record chosen yet
        QCOMPARE(m_told, QStringList{tx(Tx::AdminChooseRecord)});
        QTest::mouseClick(m_form->list()->viewport(), Qt::LeftButton, {},
                          m_form->list()->visualItemRect(m_form->list()->item(2)).center());
        auto *name = m_form->findChild<QLineEdit *>("le_name");
        QCOMPARE(name->text(), QStringLiteral("show"));
        name->setText("a b");
        answerInOrder(m_form.get(), {"pb_ok"}, &m_told);
        click("pb_save");
        QCOMPARE(m_told.last(), tx(Tx::ProgAdminNameFormat));
        QCOMPARE(m_device.sent.size(), listed);
    }

    void importAsksBeforeTheFileIsChosen()
    {
        QTemporaryDir dir;
        QFile file(dir.filePath("r.dcd"));
        QVERIFY(file.open(QIODevice::WriteOnly) && file.write(R"({"config":{},"name":"r"})") > 0);
        file.close();
        QStringList captions;
        FileChoice::setHook([&](bool, const QString &caption, const QString &filter) {
            captions << caption + filter;
            return file.fileName();
        });
        m_form->list()->setCurrentRow(4);
        answerInOrder(m_form.get(), {"pb_no"}, &m_told);
        click("pb_import");
        QCOMPARE(m_told, QStringList{tx(Tx::ProgImportOverwrite)});
        QVERIFY(captions.isEmpty());
        m_device.succeed("saveConfig");
        answerInOrder(m_form.get(), {"pb_yes", "pb_ok"}, &m_told);
        click("pb_import");
        FileChoice::setHook({});
        QCOMPARE(captions, QStringList{tx(Tx::AdminSelectFile) + "*.dcd;;*.*"});
        QCOMPARE(m_told.last(), tx(Tx::AdminSuccess));
        const QJsonObject sent = m_device.sentObject(m_device.opsSent().indexOf("saveConfig"));
        QCOMPARE(sent.value("index").toString(), QStringLiteral("4"));
        QCOMPARE(sent.value("config").toObject().value("name").toString(), QStringLiteral("r"));
    }

    void factoryResetWithoutRestart()
    {
        QSignalSpy replaced(m_form.get(), &AdminForm::signal_runningConfigReplaced);
        m_device.succeed("resetFactory");
        answerInOrder(m_form.get(), {"pb_yes", "pb_no"}, &m_told);
        click("pb_factoryReset");
        QCOMPARE(m_told, (QStringList{tx(Tx::AdminFactoryConfirm), tx(Tx::AdminRestartAsk)}));
        QCOMPARE(replaced.count(), 1);
        QCOMPARE(m_reboots, 0);
    }

private:
    void click(const char *name) { QTest::mouseClick(m_form->findChild<QPushButton *>(name), Qt::LeftButton); }

    ScriptedExchange m_device;
    std::unique_ptr<AdminForm> m_form;
    int m_reboots = 0;
    QStringList m_told;
};

QTEST_MAIN(TestAdminForm)
#include "tst_adminform.moc"
