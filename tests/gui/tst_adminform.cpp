// The administration page with real clicks over a scripted device: what each button sends, what the operator
// is asked and told, and what the window hears.
#include "gui/dsp/adminform.h"
#include "gui/widgets/filechoice.h"
#include "core/dsp/programs/programfiles.h"

#include "../support/dspdocs.h"
#include "../support/noticeanswers.h"
#include "../support/scriptedexchange.h"

#include <QJsonArray>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QtTest>

using NoticeAnswers::answerNextBox;

class TestAdminForm : public QObject
{
    Q_OBJECT
private slots:
    void init()
    {
        m_device = ScriptedExchange();
        m_device.succeed("getConfigNameArr", {{"configNameArr", QJsonArray{"live", "", "show"}},
                                              {"nameArr", QJsonArray{"default"}}});
        m_device.succeed("getLastConfig", {{"lastConfig", "2"}});
        m_reboots = 0;
        m_form.reset(new AdminForm(m_device.exchange(), [this] { ++m_reboots; }));
        m_form->show();
        QVERIFY(QTest::qWaitForWindowExposed(m_form.get()));
    }
    void cleanup()
    {
        m_form.reset();
        FileChoice::setHook({});
    }

    void showsTheRecordsAndTheLastLoaded()
    {
        QCOMPARE(m_form->list()->count(), 8);
        QCOMPARE(m_form->list()->item(0)->text(), QStringLiteral("0 live"));
        QCOMPARE(m_form->list()->item(1)->text(), QStringLiteral("1"));
        QCOMPARE(m_form->findChild<QLabel *>("lb_lastLoaded")->text(), QStringLiteral("2 show"));
        // Choosing a record offers its name for the next save.
        clickRow(2);
        QCOMPARE(m_form->findChild<QLineEdit *>("le_name")->text(), QStringLiteral("show"));
    }

    void saveChecksTheNameFirstThenStores()
    {
        clickRow(1);
        auto *name = m_form->findChild<QLineEdit *>("le_name");
        name->clear();
        QTest::keyClicks(name, "a b");
        const int before = m_device.sent.size();
        QString told;
        answerNextBox("pb_ok", &told);
        click("pb_save");
        QCOMPARE(told, tx(Tx::ProgAdminNameFormat));
        QCOMPARE(m_device.sent.size(), before);

        name->clear();
        QTest::keyClicks(name, "night");
        m_device.answers.insert("getConfig",
                                QJsonDocument::fromJson(DspDocs::reply(DspDocs::make(2, 2)).toUtf8()).object());
        m_device.succeed("saveConfig");
        answerNextBox("pb_ok", &told);
        click("pb_save");
        QCOMPARE(told, tx(Tx::AdminSuccess));
        const int save = m_device.opsSent().indexOf("saveConfig");
        QVERIFY(save > 0);
        QCOMPARE(m_device.sentObject(save).value("index").toString(), QStringLiteral("1"));
        QCOMPARE(m_device.sentObject(save).value("name").toString(), QStringLiteral("night"));
        // The list is read again afterwards.
        QCOMPARE(m_device.opsSent().last(), QStringLiteral("getLastConfig"));
    }

    void loadTellsTheWindowAndNeedsARecord()
    {
        QSignalSpy replaced(m_form.get(), &AdminForm::signal_runningConfigReplaced);
        const int before = m_device.sent.size();
        QString told;
        answerNextBox("pb_ok", &told);
        click("pb_load");
        QCOMPARE(told, tx(Tx::AdminChooseRecord));
        QCOMPARE(m_device.sent.size(), before);

        clickRow(2);
        m_device.answers.insert("loadConfig", {{"result", "fail"}, {"reason", "LOCK_UCAST_MCAST"}});
        answerNextBox("pb_ok", &told);
        click("pb_load");
        QCOMPARE(told, tx(Tx::ProgDeviceLocked));
        QCOMPARE(replaced.count(), 0);

        m_device.succeed("loadConfig");
        answerNextBox("pb_ok", &told);
        click("pb_load");
        QCOMPARE(told, tx(Tx::AdminSuccess));
        QCOMPARE(replaced.count(), 1);
    }

    void exportAndImportThroughFiles()
    {
        QTemporaryDir dir;
        const QString path = dir.filePath("show.dcd");
        const QJsonObject record{{"config", QJsonObject{{"version", "4"}}}, {"name", "show"}};
        QStringList captions;
        FileChoice::setHook([&](bool, const QString &caption, const QString &filter) {
            captions << caption;
            return filter == QLatin1String("*.dcd;;*.*") ? path : QString();
        });
        clickRow(2);
        m_device.succeed("getConfigByIndex", {{"config", record}});
        answerNextBox("pb_ok");
        click("pb_export");
        QCOMPARE(*ProgramFiles::readFile(path), ProgramFiles::writeStoredConfig(record));

        // "No" to the overwrite question: no file is asked for, nothing is sent.
        clickRow(4);
        const int before = m_device.sent.size();
        QString asked;
        answerNextBox("pb_no", &asked);
        click("pb_import");
        QCOMPARE(asked, tx(Tx::ProgImportOverwrite));
        QCOMPARE(m_device.sent.size(), before);
        QCOMPARE(captions, QStringList{tx(Tx::AdminSaveFile)});

        m_device.succeed("saveConfig");
        QStringList told;
        answerSequence({"pb_yes", "pb_ok"}, &told);
        click("pb_import");
        QCOMPARE(told.last(), tx(Tx::AdminSuccess));
        QVERIFY(m_device.opsSent().contains("saveConfig"));
        QCOMPARE(captions.last(), tx(Tx::AdminSelectFile));
        const QJsonObject sent = m_device.sentObject(m_device.opsSent().indexOf("saveConfig"));
        QCOMPARE(sent.value("index").toString(), QStringLiteral("4"));
        QCOMPARE(sent.value("config").toObject(), record);
    }

    void factoryResetAsksTwiceAndReboots()
    {
        QSignalSpy replaced(m_form.get(), &AdminForm::signal_runningConfigReplaced);
        answerNextBox("pb_no");
        click("pb_factoryReset");
        QVERIFY(!m_device.opsSent().contains("resetFactory"));

        m_device.succeed("resetFactory");
        m_device.succeed("resetFacotry");
        // Yes to the reset, then no to the restart: the reset stands, no reboot.
        QStringList questions;
        answerSequence({"pb_yes", "pb_no"}, &questions);
        click("pb_factoryReset");
        QCOMPARE(questions, (QStringList{tx(Tx::AdminFactoryConfirm), tx(Tx::AdminRestartAsk)}));
        QCOMPARE(replaced.count(), 1);
        QCOMPARE(m_reboots, 0);

        answerSequence({"pb_yes", "pb_yes"}, &questions);
        click("pb_factoryReset");
        QCOMPARE(m_reboots, 1);
        QCOMPARE(m_device.opsSent().count("resetFacotry"), 2);
    }

private:
    void click(const char *name)
    {
        QTest::mouseClick(m_form->findChild<QPushButton *>(name), Qt::LeftButton);
    }
    void clickRow(int row)
    {
        QListWidget *list = m_form->list();
        QTest::mouseClick(list->viewport(), Qt::LeftButton, {}, list->visualItemRect(list->item(row)).center());
        QCOMPARE(list->currentRow(), row);
    }
    /// Answers the next boxes in order, one button each, keeping their texts.
    void answerSequence(const QStringList &buttons, QStringList *texts)
    {
        texts->clear();
        auto queue = std::make_shared<QStringList>(buttons);
        auto *timer = new QTimer(m_form.get());
        connect(timer, &QTimer::timeout, timer, [timer, queue, texts] {
            auto *box = qobject_cast<NoticeBox *>(QApplication::activeModalWidget());
            if (!box || box->property("answered").toBool())
                return;
            box->setProperty("answered", true);
            texts->append(box->text());
            QTest::mouseClick(box->findChild<QPushButton *>(queue->takeFirst()), Qt::LeftButton);
            if (queue->isEmpty())
                timer->deleteLater();
        });
        timer->start(10);
    }

    ScriptedExchange m_device;
    std::unique_ptr<AdminForm> m_form;
    int m_reboots = 0;
};

QTEST_MAIN(TestAdminForm)
#include "tst_adminform.moc"
