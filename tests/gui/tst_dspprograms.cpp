// The program page and the channel-program form with real clicks; the device is a hand-made program store
// answering what the controller sends.
#include "core/dsp/dspdefaults.h"
#include "core/dsp/programs/channelprograms.h"
#include "gui/dsp/programs/channelprogramform.h"
#include "gui/dsp/programs/dspprogramform.h"
#include "gui/dsp/programs/manageprogramform.h"
#include "gui/widgets/filechoice.h"

#include "../support/noticeanswers.h"
#include "../support/programstore.h"

#include <QInputDialog>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QtTest>

class TstDspPrograms : public QObject
{
    Q_OBJECT

    DspDocs::RecordingSink m_sink;
    DspController *m_controller = nullptr;
    DspProgramForm *m_page = nullptr;
    ProgramStore m_store;
    QSignalSpy *m_tips = nullptr;

    template <class T> T *w(const char *name) const
    {
        T *found = m_page->findChild<T *>(QLatin1String(name));
        if (!found)
            qFatal("no %s", name);
        return found;
    }
    void click(const char *name)
    {
        QTest::mouseClick(w<QPushButton>(name), Qt::LeftButton);
        m_store.pump(m_sink, *m_controller);
    }
    QString lastTip() const { return m_tips->isEmpty() ? QString() : m_tips->last().at(0).toString(); }
    QString row(int slot) const
    {
        auto *list = m_page->manage()->list();
        auto *item = static_cast<ProgramItemForm *>(list->itemWidget(list->item(slot)));
        return item ? item->label() + (item->isInUse() ? " *" : "") : QString("none");
    }

private slots:
    void initTestCase() { QStandardPaths::setTestModeEnabled(true); }
    void init()
    {
        m_sink = DspDocs::RecordingSink();
        m_store = ProgramStore();
        m_store.seed("live", ProgramStore::doc("4"));
        m_store.seed("old", ProgramStore::doc("3"));
        m_controller = new DspController(&m_sink);
        m_controller->requestConfig();
        m_store.pump(m_sink, *m_controller);
        m_page = new DspProgramForm(m_controller);
        m_tips = new QSignalSpy(m_page, &DspProgramForm::signal_showTips);
        m_page->show();
        m_store.pump(m_sink, *m_controller);
    }
    void cleanup()
    {
        FileChoice::setHook({});
        delete m_tips;
        delete m_page;
        delete m_controller;
    }

    void listSaveLoadDelete()
    {
        QCOMPARE(row(0), tx(Tx::ProgSlotDefault) + " *");
        QCOMPARE(row(1), QString("1 live"));
        QCOMPARE(row(3), QString("3"));

        QSignalSpy compare(m_page, &DspProgramForm::signal_compareRequested);
        click("pb_compare");
        QCOMPARE(compare.size(), 1);
        m_page->manage()->selectSlot(1);
        QCOMPARE(w<QLineEdit>("le_name")->text(), QString("live"));
        click("pb_load");
        QCOMPARE(lastTip(), tx(Tx::ProgLoadOk));
        QCOMPARE(row(1), QString("1 live *"));
        QCOMPARE(row(0), tx(Tx::ProgSlotDefault));

        m_page->manage()->selectSlot(3);
        w<QLineEdit>("le_name")->clear();
        QTest::keyClicks(w<QLineEdit>("le_name"), "show_2");
        click("pb_save");
        QCOMPARE(lastTip(), tx(Tx::ProgSaveOk));
        QCOMPARE(row(3), QString("3 show_2 *"));

        m_page->manage()->selectSlot(1);
        click("pb_delete");
        QCOMPARE(lastTip(), tx(Tx::ProgDeleteOk));
        QCOMPARE(row(1), QString("1"));
        QCOMPARE(m_store.names.at(1), QString());
    }

    void oldProgramRefusedInABox()
    {
        m_page->manage()->selectSlot(2);
        QString text;
        NoticeAnswers::answerNextBox("pb_ok", &text);
        click("pb_load");
        QTRY_COMPARE(text, tx(Tx::ProgLoadOldVersion));
        QVERIFY(!m_store.ops.contains("loadFromFile"));
    }

    void importAsksBeforeTheFileAndSendsTheSlotsName()
    {
        QTemporaryDir dir;
        const QString path = dir.filePath("p.dt");
        QVERIFY(ProgramFiles::saveFile(path, ProgramFiles::writeProgram({"other", ProgramStore::doc("4", "44100"),
                                                                         ProgramFiles::Version::Current})));
        int asked = 0;
        FileChoice::setHook([&](bool save, const QString &, const QString &filter) {
            ++asked;
            return !save && filter == "*.dt;;*.*" ? path : QString();
        });
        m_page->manage()->selectSlot(1);
        NoticeAnswers::answerNextBox("pb_no");
        click("pb_import");
        QCOMPARE(asked, 0); // "no" ends it before a file is asked for

        NoticeAnswers::answerNextBox("pb_yes");
        click("pb_import");
        m_store.pump(m_sink, *m_controller);
        QCOMPARE(asked, 1);
        QCOMPARE(lastTip(), tx(Tx::ProgImportOk));
        QCOMPARE(m_store.docs.value("live"), ProgramStore::doc("4", "44100"));
    }

    void exportAllWithNothingAsksForNoFile()
    {
        // With nothing beyond the default, no file is asked for.
        m_store.names = QStringList{"default"} + QVector<QString>(15).toList();
        click("pb_refresh");
        bool asked = false;
        FileChoice::setHook([&](bool, const QString &, const QString &) {
            asked = true;
            return QString();
        });
        QString text;
        NoticeAnswers::answerNextBox("pb_ok", &text);
        click("pb_exportAll");
        QTRY_COMPARE(text, tx(Tx::ProgExportAllNone));
        QVERIFY(!asked);
    }

    void saveDiyTakesTheFirstEmptySlot()
    {
        NoticeAnswers::onNextModal([](QWidget *modal) {
            auto *dialog = qobject_cast<QInputDialog *>(modal);
            QVERIFY(dialog);
            dialog->setTextValue("diy_1");
            dialog->accept();
        });
        m_page->saveDiy();
        m_store.pump(m_sink, *m_controller);
        QCOMPARE(lastTip(), tx(Tx::ProgSaveOk));
        QCOMPARE(m_store.names.indexOf("diy_1"), 3);
        QCOMPARE(m_store.inUse, QString("diy_1"));
    }

    void saveWithEditsNotOnTheDeviceAsksFirst()
    {
        m_controller->requestConfig();
        m_controller->handleTcpReply(DspDocs::reply(DspDocs::make(2, 2, DspDefaults::inputChain())));
        m_controller->clearChannel(DspSide::In, 1);
        QVERIFY(m_controller->hasUnsavedChanges());
        m_page->manage()->selectSlot(3);
        QTest::keyClicks(w<QLineEdit>("le_name"), "show_3");
        QString text;
        NoticeAnswers::answerNextBox("pb_no", &text);
        const int sent = m_sink.tcp.size();
        click("pb_save");
        QCOMPARE(text, tx(Tx::ProgSaveUnsavedAsk));
        QCOMPARE(m_sink.tcp.size(), sent);
        QCOMPARE(m_store.names.indexOf("show_3"), -1);
    }

    void channelProgramSavedAndLoadedOntoAnotherChannel()
    {
        QTemporaryDir dir;
        m_controller->requestConfig();
        m_controller->handleTcpReply(DspDocs::reply(DspDocs::make(2, 2, DspDefaults::inputChain())));
        m_controller->clearChannel(DspSide::In, 1);
        ChannelProgramForm form(m_controller, DspSide::In, 0);
        form.setFolder(dir.path());
        QSignalSpy tips(&form, &ChannelProgramForm::signal_showTips);
        QTest::keyClicks(form.findChild<QLineEdit *>("le_channelProgramName"), "vocal");
        QTest::mouseClick(form.findChild<QPushButton *>("pb_saveChannelProgram"), Qt::LeftButton);
        QVERIFY(QFile::exists(ChannelPrograms::pathOf(dir.path(), "vocal")));
        QCOMPARE(form.list()->count(), 1);

        ChannelProgramForm onto(m_controller, DspSide::In, 1);
        onto.setFolder(dir.path());
        onto.list()->setCurrentRow(0);
        QTest::mouseClick(onto.findChild<QPushButton *>("pb_loadChannelProgram"), Qt::LeftButton);
        QCOMPARE(m_controller->chain(DspSide::In, 1).size(), DspDefaults::inputChain().size());
        QVERIFY(m_controller->hasUnsavedChanges());

    }
};

QTEST_MAIN(TstDspPrograms)
#include "tst_dspprograms.moc"
