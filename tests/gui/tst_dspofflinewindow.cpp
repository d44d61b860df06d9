#include "core/app/texts.h"
#include "core/dsp/dspcontroller.h"
#include "core/dsp/dspkinds.h"
#include "core/dsp/dspofflinefile.h"
#include "core/dsp/programs/programfiles.h"
#include "gui/dsp/dspdiagramform.h"
#include "gui/dsp/dspofflinedialog.h"
#include "gui/widgets/filechoice.h"

#include "../support/dspdocs.h"
#include "../support/noticeanswers.h"

#include <QComboBox>
#include <QPushButton>
#include <QTabWidget>
#include <QTemporaryDir>
#include <QtTest>

/// The DSP window on a program file, driven with real clicks.
class TestDspOfflineWindow : public QObject
{
    Q_OBJECT
private slots:
    void init();
    void cleanup();
    void editSaveAndTheFileHasTheChange();
    void closingAsksAboutUnsavedChanges();
    void choiceOfModelAndRate();
    void badFileOrModelOpensNoWindow_data();
    void badFileOrModelOpensNoWindow();

private:
    QString writeFile(const QByteArray &bytes);
    DspOfflineDialog *openLoaded(const QString &model = QStringLiteral("RK0404D"), int rate = 48000);
    CDeviceDspData onDisk() const;

    QTemporaryDir *m_dir = nullptr;
    QString m_path;
};

void TestDspOfflineWindow::init()
{
    m_dir = new QTemporaryDir;
    const CDeviceDspData doc = DspDocs::make(4, 4, {DspDefaults::block(0)});
    m_path = writeFile(DspOfflineFile::write(QStringLiteral("hall"), doc));
}

void TestDspOfflineWindow::cleanup()
{
    QList<QPointer<QWidget>> windows;
    for (QWidget *w : QApplication::topLevelWidgets())
        windows.append(w);
    for (const QPointer<QWidget> &w : windows)
        if (qobject_cast<DspOfflineDialog *>(w.data()))
            delete w.data();
    delete m_dir;
}

QString TestDspOfflineWindow::writeFile(const QByteArray &bytes)
{
    const QString path = m_dir->filePath(QStringLiteral("hall.dt"));
    QFile f(path);
    f.open(QIODevice::WriteOnly | QIODevice::Truncate);
    f.write(bytes);
    return path;
}

DspOfflineDialog *TestDspOfflineWindow::openLoaded(const QString &model, int rate)
{
    DspOfflineDialog *w = DspOfflineDialog::openFile(m_path, nullptr, model, rate);
    if (w && !QTest::qWaitFor([w] { return w->controller()->isLoaded() && w->controller()->isIdle(); }, 3000))
        return nullptr;
    return w;
}

CDeviceDspData TestDspOfflineWindow::onDisk() const
{
    return DspOfflineFile::read(*ProgramFiles::readFile(m_path)).doc;
}

void TestDspOfflineWindow::editSaveAndTheFileHasTheChange()
{
    DspOfflineDialog *w = openLoaded();
    QVERIFY(w);
    QCOMPARE(w->title(), tx(Tx::OfflineTitle).arg(QStringLiteral("hall.dt")));
    // Only the pages of the document: the device's program store is not there.
    auto *tabs = w->findChild<QTabWidget *>(QStringLiteral("tab_pages"));
    QCOMPARE(tabs->count(), 2);
    QVERIFY(!w->hasUnsavedChanges());

    // The first input is chosen on opening; a compressor is added to it.
    QTest::mouseClick(w->findChild<QPushButton *>(DspKinds::buttonName(DspKind::Compress)), Qt::LeftButton);
    QTRY_COMPARE(w->controller()->chain(DspSide::In, 0).size(), 2);
    QVERIFY(w->hasUnsavedChanges());
    QTest::mouseClick(w->findChild<QPushButton *>(QStringLiteral("pb_saveFile")), Qt::LeftButton);
    QVERIFY(!w->hasUnsavedChanges());
    QCOMPARE(onDisk().nodeArr[0].portArr[0].procArr.size(), 2);
    QCOMPARE(onDisk().nodeArr[0].portArr[0].procArr[1].type(), DspDefaults::block(2).type());

    // Save as: the window edits the new file from then on.
    const QString other = m_dir->filePath(QStringLiteral("copy"));
    FileChoice::setHook([other](bool save, const QString &, const QString &) { return save ? other : QString(); });
    QTest::mouseClick(w->findChild<QPushButton *>(QStringLiteral("pb_saveFileAs")), Qt::LeftButton);
    FileChoice::setHook({});
    QCOMPARE(w->path(), other + QStringLiteral(".dt"));
    QVERIFY(w->title().contains(QLatin1String("copy.dt")));
    QCOMPARE(DspOfflineFile::read(*ProgramFiles::readFile(w->path())).doc.toJson(),
             w->controller()->document().toJson());
}

void TestDspOfflineWindow::closingAsksAboutUnsavedChanges()
{
    DspOfflineDialog *w = openLoaded();
    QVERIFY(w);
    const QByteArray before = *ProgramFiles::readFile(m_path);
    // Nothing changed: it closes without a question.
    QTest::mouseClick(w->closeButton(), Qt::LeftButton);
    QVERIFY(!w->isVisible());

    w = openLoaded();
    QVERIFY(w);
    QVERIFY(w->controller()->setChannelMute(DspSide::Out, 2, true).isEmpty());
    QTRY_VERIFY(w->hasUnsavedChanges());
    NoticeAnswers::onNextModal([](QWidget *box) { NoticeAnswers::click(box, "pb_cancel"); });
    QTest::mouseClick(w->closeButton(), Qt::LeftButton);
    QVERIFY(w->isVisible());
    NoticeAnswers::onNextModal([](QWidget *box) { NoticeAnswers::click(box, "pb_discard"); });
    QTest::mouseClick(w->closeButton(), Qt::LeftButton);
    QVERIFY(!w->isVisible());
    QCOMPARE(*ProgramFiles::readFile(m_path), before);

    w = openLoaded();
    QVERIFY(w);
    QVERIFY(w->controller()->setChannelMute(DspSide::Out, 2, true).isEmpty());
    QTRY_VERIFY(w->hasUnsavedChanges());
    NoticeAnswers::onNextModal([](QWidget *box) { NoticeAnswers::click(box, "pb_save"); });
    QTest::mouseClick(w->closeButton(), Qt::LeftButton);
    QVERIFY(!w->isVisible());
    QCOMPARE(onDisk().nodeArr.last().portArr[2].mute, true);
}

void TestDspOfflineWindow::choiceOfModelAndRate()
{
    bool okWasRefused = false;
    NoticeAnswers::onNextModal([&okWasRefused](QWidget *choice) {
        auto *model = choice->findChild<QComboBox *>(QStringLiteral("cb_model"));
        auto *ok = choice->findChild<QPushButton *>(QStringLiteral("pb_ok"));
        // Preset to the model the document fits.
        QCOMPARE(model->currentText(), QStringLiteral("RK0404D"));
        model->setCurrentText(QStringLiteral("RK0202D"));
        okWasRefused = !ok->isEnabled();
        model->setCurrentText(QStringLiteral("RK0404D"));
        choice->findChild<QComboBox *>(QStringLiteral("cb_rate"))->setCurrentText(QStringLiteral("96000"));
        QTest::mouseClick(ok, Qt::LeftButton);
    });
    DspOfflineDialog *w = DspOfflineDialog::openFile(m_path, nullptr);
    QVERIFY(w);
    QVERIFY(okWasRefused);
    QTRY_VERIFY(w->controller()->isLoaded());
    QCOMPARE(w->controller()->document().sampleRate, 96000);
    QCOMPARE(w->controller()->budget().familyFactor, 0.5);
    // Another rate than the file's is a change to save.
    QVERIFY(w->hasUnsavedChanges());
}

void TestDspOfflineWindow::badFileOrModelOpensNoWindow_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("model");
    QTest::addColumn<QString>("message");
    const QByteArray good = DspOfflineFile::write(QStringLiteral("hall"), DspDocs::make(4, 4));
    QTest::newRow("not json") << QByteArray("{\"config\":") << "RK0404D" << tx(Tx::ProgFileParseError);
    QTest::newRow("not a program") << QByteArray("{\"x\":1}") << "RK0404D" << tx(Tx::ProgFileNotProgram);
    QTest::newRow("newer") << QByteArray("{\"config\":{\"version\":\"7\"},\"name\":\"n\"}") << "RK0404D"
                           << tx(Tx::ProgWrongVersion);
    QTest::newRow("model too small") << good << "RK0202D"
                                     << DspOfflineFile::fitError(DspDocs::make(4, 4), QStringLiteral("RK0202D"));
}

void TestDspOfflineWindow::badFileOrModelOpensNoWindow()
{
    QFETCH(QByteArray, bytes);
    QFETCH(QString, model);
    QFETCH(QString, message);
    writeFile(bytes);
    QString shown;
    NoticeAnswers::answerNextBox("pb_ok", &shown);
    QVERIFY(!DspOfflineDialog::openFile(m_path, nullptr, model, 48000));
    QCOMPARE(shown, message);
    for (QWidget *w : QApplication::topLevelWidgets())
        QVERIFY(!qobject_cast<DspOfflineDialog *>(w));
}

QTEST_MAIN(TestDspOfflineWindow)
#include "tst_dspofflinewindow.moc"
