// The compare dialog against a DspController whose requests are recorded: clicks choose the sources, a file
// comes through the file-choice hook, a program through the controller's queue, and the table and the summary
// show what the core compare found, in both languages.
#include "../support/dspdocs.h"

#include "core/app/language.h"
#include "core/app/scalefactors.h"
#include "core/app/texts.h"
#include "core/dsp/dspcontroller.h"
#include "core/dsp/programs/programcommands.h"
#include "core/dsp/programs/programfiles.h"
#include "gui/dsp/devdspdialog.h"
#include "gui/dsp/dspcompareform.h"
#include "gui/widgets/filechoice.h"

#include <QAction>
#include <QComboBox>
#include <QLabel>
#include <QPushButton>
#include <QTableWidget>
#include <QTemporaryDir>
#include <QtTest>

namespace {

using D = DspCompareDialog;

QString compact(const QJsonObject &o) { return QString::fromUtf8(QJsonDocument(o).toJson(QJsonDocument::Compact)); }
QJsonObject json(const CDeviceDspData &d) { return QJsonDocument::fromJson(d.toJson()).object(); }
CDeviceDspData running() { return DspDocs::make(2, 2, {DspDefaults::block(2)}, {DspDefaults::block(6)}); }

QStringList row(QTableWidget *t, int r)
{
    QStringList out;
    for (int c = 0; c < t->columnCount(); ++c)
        out << t->item(r, c)->text();
    return out;
}

} // namespace

class TestDspCompare : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase() { applyScaleFactors(computeScaleFactors(ScreenMetrics{1920, 1080, 1920, 1080, 96})); }
    void init()
    {
        Language::setChinese(false);
        m_controller = new DspController(&m_sink);
        m_controller->setDevice("DSP1", "RK0302D");
        m_controller->requestConfig();
        m_controller->handleTcpReply(DspDocs::reply(running()));
        QVERIFY(m_controller->isLoaded());
        m_sink.tcp.clear();
    }
    void cleanup()
    {
        FileChoice::setHook({});
        delete m_controller;
    }

    void filesAgainstTheRunningConfiguration()
    {
        QTemporaryDir dir;
        CDeviceDspData changed = running();
        changed.nodeArr[0].portArr[1].gainDb = -6.5;
        changed.nodeArr.last().portArr[0].procArr[0].bypass = false;
        QVERIFY(ProgramFiles::saveFile(dir.filePath("p.dt"), ProgramFiles::writeProgram({"p", json(changed), {}})));
        QString next = dir.filePath("p.dt");
        FileChoice::setHook([&](bool, const QString &, const QString &) { return next; });

        D dialog(m_controller, {"default", "", "p1"});
        dialog.show();
        QVERIFY(QTest::qWaitForWindowExposed(&dialog));
        QVERIFY(m_sink.tcp.isEmpty()); // the names were given: nothing asked
        // Only the chosen source's pickers are there.
        QVERIFY(!dialog.fileButton(D::B)->isVisible() && !dialog.programBox(D::B)->isVisible());
        dialog.sourceBox(D::B)->setCurrentIndex(int(D::Source::File));
        QVERIFY(dialog.fileButton(D::B)->isVisible() && !dialog.fileButton(D::A)->isVisible());

        QTest::mouseClick(dialog.fileButton(D::B), Qt::LeftButton);
        QCOMPARE(dialog.findChild<QLabel *>("lb_fileB")->text(), QString("p.dt"));
        QTest::mouseClick(dialog.compareButton(), Qt::LeftButton);
        QCOMPARE(dialog.summaryText(), QString("2 differences"));
        QCOMPARE(dialog.table()->rowCount(), 2);
        QCOMPARE(row(dialog.table(), 0), (QStringList{"in 2", "gainDb", "0", "-6.5"}));
        QCOMPARE(row(dialog.table(), 1), (QStringList{"out 1 / 1 limit", "bypass", "1", "0"}));

        // An old program against its conversion: identical, with the note; then in Chinese.
        for (D::Side side : {D::A, D::B}) {
            dialog.sourceBox(side)->setCurrentIndex(int(D::Source::File));
            next = QStringLiteral(CORVANE_TEST_DATA "/programs/") + (side == D::A ? "old.dt" : "old-current.dt");
            QTest::mouseClick(dialog.fileButton(side), Qt::LeftButton);
        }
        QTest::mouseClick(dialog.compareButton(), Qt::LeftButton);
        QCOMPARE(dialog.summaryText(), QString("identical"));
        QVERIFY(dialog.findChild<QLabel *>("lb_note")->isVisible());
        Language::setChinese(true);
        QEvent change(QEvent::LanguageChange);
        QCoreApplication::sendEvent(&dialog, &change);
        QCOMPARE(dialog.summaryText(), QString("完全相同"));
    }

    void programsComeThroughTheController()
    {
        D dialog(m_controller, {});
        dialog.show();
        QVERIFY(QTest::qWaitForWindowExposed(&dialog));
        // No names given: the dialog asks for them.
        QCOMPARE(m_sink.tcp, QStringList{ProgramCommands::getConfigNameArr()});
        m_sink.tcp.clear();
        m_controller->handleTcpReply(compact({{"ops", "getConfigNameArr"}, {"uiTag", "dspUiTag"}, {"result", "succ"},
                                              {"nameArr", QJsonArray{"default", "", "hall"}}}));
        QTRY_COMPARE(dialog.programBox(D::A)->count(), 2);
        dialog.sourceBox(D::A)->setCurrentIndex(int(D::Source::Program));
        dialog.programBox(D::A)->setCurrentText("hall");

        QSignalSpy shown(&dialog, &D::signal_shown);
        QTest::mouseClick(dialog.compareButton(), Qt::LeftButton);
        QCOMPARE(dialog.summaryText(), tx(Tx::DspCompareReading));
        QTRY_COMPARE(m_sink.tcp, QStringList{ProgramCommands::getConfigByName("hall", "compare")});
        CDeviceDspData hall = running();
        hall.sampleRate = 96000;
        const QJsonObject reply{{"ops", "getConfigByName"}, {"uiTag", "dspUiTag"}, {"name", "hall"},
                                {"subTag", "compare"}};
        QJsonObject succ = reply;
        succ.insert("result", "succ");
        succ.insert("config", json(hall));
        m_controller->handleTcpReply(compact(succ));
        QTRY_COMPARE(shown.count(), 1);
        QCOMPARE(dialog.summaryText(), QString("1 difference"));
        QCOMPARE(row(dialog.table(), 0), (QStringList{"document", "sampleRate", "96000", "48000"}));

        // A refusal shows no stale table.
        QTest::mouseClick(dialog.compareButton(), Qt::LeftButton);
        QTRY_COMPARE(m_sink.tcp.size(), 2);
        QJsonObject fail = reply;
        fail.insert("result", "fail");
        m_controller->handleTcpReply(compact(fail));
        QTRY_COMPARE(dialog.summaryText(), tx(Tx::DspCompareProgramFailed).arg("hall"));
        QCOMPARE(dialog.table()->rowCount(), 0);
    }

    void reachedFromTheDspWindowsMenu()
    {
        DevDspDialog window({"DSP1", "Hall", "RK0302D", 0, {}, {}}, [](const QString &, quint16) {});
        auto *entry = window.findChild<QAction *>("act_compare");
        QVERIFY(entry);
        QCOMPARE(entry->text(), tx(Tx::DspCompareMenu));
        entry->trigger();
        QTRY_VERIFY(window.findChild<DspCompareDialog *>() && window.findChild<DspCompareDialog *>()->isVisible());
    }

private:
    DspDocs::RecordingSink m_sink;
    DspController *m_controller = nullptr;
};

QTEST_MAIN(TestDspCompare)
#include "tst_dspcompare.moc"
