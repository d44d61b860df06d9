// The equaliser and crossover editor against a controller whose requests are recorded: real input on its band
// strips, crossover rows and chart, and exactly what reaches the device because of it.

#include "core/app/scalefactors.h"
#include "core/dsp/dspcontroller.h"
#include "core/dsp/filters/eqmapping.h"
#include "gui/widgets/filechoice.h"
#include "gui/dsp/blocks/dspblockeditors.h"
#include "gui/dsp/blocks/dspeqchart.h"
#include "gui/dsp/blocks/dspeqhlpblockform.h"
#include "gui/dsp/blocks/dspeqsingleform.h"
#include "../support/dspdocs.h"
#include "../support/noticeanswers.h"

#include <QComboBox>
#include <QDoubleSpinBox>
#include <QJsonArray>
#include <QJsonDocument>
#include <QPushButton>
#include <QSlider>
#include <QTemporaryDir>
#include <QtTest>

class TstDspEqEditor : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        QVector<DspBlock> chain = DspDefaults::inputChain(); // equaliser at 4, high-pass 5, low-pass 6
        chain[4].as<DspEq>()->bands[1].freq0 = 101.0000004;  // within 1e-6 of what the box shows
        chain[4].as<DspEq>()->bands[6].dbGain = 15.0f;       // beyond the editor's ranges: shown clamped
        chain[6].as<DspCrossover>()->freq0 = 22000.0;
        m_ctl = new DspController(&m_sink);
        m_ctl->requestConfig();
        m_ctl->handleTcpReply(DspDocs::reply(DspDocs::make(1, 1, chain)));
        m_sink.tcp.clear();
        // Opened from the high-pass block, it edits the channel's equaliser too.
        auto *dialog = DspBlockEditors::create(m_ctl, m_ctl->blockId(DspSide::In, 0, 5), "In 1", {}, nullptr);
        m_form = qobject_cast<DspEqHlpBlockForm *>(dialog);
        QVERIFY(m_form);
        QCOMPARE(m_form->eqUid(), m_ctl->blockId(DspSide::In, 0, 4));
        m_form->show();
        QVERIFY(QTest::qWaitForWindowExposed(m_form));
        QCOMPARE(child<QDoubleSpinBox>(m_form, "sp_lpfFreq")->value(), 20200.0);
        QCOMPARE(m_sink.tcp.size(), 0); // and not sent back
    }
    void cleanup()
    {
        delete m_form;
        delete m_ctl;
    }

    void bandStripSendsOneCommandPerEdit();
    void crossoverRowsSendTheirBlock();
    void chartDragIsOneUndoStep();
    void importListsSkippedLinesAndAppliesInOneStep();

private:
    template <class T> T *child(QWidget *parent, const char *name)
    {
        T *w = parent->findChild<T *>(QLatin1String(name));
        return w ? w : (qFatal("no %s", name), nullptr);
    }
    DspEqSingleForm *strip(int i) { return m_form->strips().at(i); }
    /// The one request the last edit sent, answered "succ"; the answer's redraw must not send anything back.
    QJsonObject sentOne(const char *ops)
    {
        [&] { QCOMPARE(m_sink.tcp.size(), 1); }();
        const QJsonObject r = QJsonDocument::fromJson(m_sink.tcp.takeFirst().toUtf8()).object();
        [&] { QCOMPARE(r.value("ops").toString(), QString::fromLatin1(ops)); }();
        answer(r);
        [&] { QCOMPARE(m_sink.tcp.size(), 0); }();
        return r;
    }
    void answer(const QJsonObject &r)
    {
        m_ctl->handleTcpReply(DspDocs::answer(QString::fromUtf8(QJsonDocument(r).toJson(QJsonDocument::Compact))));
    }
    DspEqBand shownBand(int i) const { return m_ctl->shownBlock(m_form->eqUid()).as<DspEq>()->bands[i]; }

    DspDocs::RecordingSink m_sink;
    DspController *m_ctl = nullptr;
    DspEqHlpBlockForm *m_form = nullptr;
};

void TstDspEqEditor::bandStripSendsOneCommandPerEdit()
{
    // Gain typed: the slider follows without a word of its own.
    auto *gain = child<QDoubleSpinBox>(strip(2), "sp_gain");
    gain->selectAll();
    QTest::keyClicks(gain, "3.5");
    QTest::keyClick(gain, Qt::Key_Enter);
    QJsonObject r = sentOne("setBorderEq");
    QCOMPARE(r.value("eqIndex").toString(), "2");
    QCOMPARE(r.value("obj").toObject().value("dbGain").toString(), "3.5");
    QCOMPARE(r.value("obj").toObject().value("freq0").toString(), "254");
    QCOMPARE(strip(2)->gainSlider()->value(), 275);

    // Slider a page up: one degree of ten steps, the box follows.
    QTest::keyClick(strip(2)->gainSlider(), Qt::Key_PageUp);
    QCOMPARE(sentOne("setBorderEq").value("obj").toObject().value("dbGain").toString(), "4.5");
    QCOMPARE(child<QDoubleSpinBox>(strip(2), "sp_gain")->value(), 4.5);

    // Type buttons: a new type is sent, the current one is not.
    QTest::mouseClick(child<QPushButton>(strip(0), "pb_hs"), Qt::LeftButton);
    QCOMPARE(sentOne("setBorderEq").value("obj").toObject().value("type").toString(), "2");
    QTest::mouseClick(child<QPushButton>(strip(0), "pb_hs"), Qt::LeftButton);
    QTest::mouseClick(child<QPushButton>(strip(3), "pb_0dB"), Qt::LeftButton);
    QCOMPARE(m_sink.tcp.size(), 0);

    // A value the box reports within 1e-6 of the stored one is no change.
    emit child<QDoubleSpinBox>(strip(1), "sp_freq")->valueChanged(101.0);
    QCOMPARE(m_sink.tcp.size(), 0);

    QTest::mouseClick(child<QPushButton>(strip(5), "pb_bypass"), Qt::LeftButton);
    r = sentOne("setBorderEqBypass");
    QCOMPARE(r.value("eqIndex").toString(), "5");
    QCOMPARE(r.value("val").toString(), "1");
}

void TstDspEqEditor::crossoverRowsSendTheirBlock()
{
    // "ByPass", the last item, stores a Linkwitz-Riley of order 8; the item before it is the same pair.
    auto *type = child<QComboBox>(m_form, "com_hpfType");
    QTest::keyClick(type, Qt::Key_End);
    QJsonObject obj = sentOne("setBorderProc").value("obj").toObject();
    QCOMPARE(obj, QJsonObject({{"type", "2"}, {"order", "8"}, {"isHpf", "1"}, {"freq0", "20"}}));
    emit type->activated(12);
    QCOMPARE(m_sink.tcp.size(), 0);

    auto *freq = child<QDoubleSpinBox>(m_form, "sp_lpfFreq");
    freq->setValue(12000.0);
    QJsonObject r = sentOne("setBorderProc");
    QCOMPARE(r.value("procIndex").toString(), "6");
    QCOMPARE(r.value("obj").toObject().value("freq0").toString(), "12000");

    // The slider is one undo step however far it goes.
    auto *slider = child<QSlider>(m_form, "sl_hpfFreq");
    emit slider->sliderPressed();
    slider->setValue(300);
    slider->setValue(310);
    emit slider->sliderReleased();
    answer(QJsonDocument::fromJson(m_sink.tcp.takeFirst().toUtf8()).object());
    QCOMPARE(QJsonDocument::fromJson(m_sink.tcp.first().toUtf8()).object()["obj"].toObject()["freq0"].toString(),
             QString::number(EqMapping::freqFromChartX(330, 1.0)));
    answer(QJsonDocument::fromJson(m_sink.tcp.takeFirst().toUtf8()).object());
    m_ctl->undo();
    QCOMPARE(sentOne("setBorderProc").value("obj").toObject().value("freq0").toString(), "20");

    QTest::mouseClick(child<QPushButton>(m_form, "pb_lpfBypass"), Qt::LeftButton);
    r = sentOne("setBorderProcBypass");
    QCOMPARE(r.value("procIndex").toString(), "6");
    QCOMPARE(r.value("val").toString(), "0");
}

void TstDspEqEditor::chartDragIsOneUndoStep()
{
    DspEqChart *chart = m_form->chart();
    QWidget *vp = chart->viewport();
    const QPoint from = chart->mapFromScene(chart->markerPos(3));
    const QPoint to = from + QPoint(40, -30);
    QTest::mousePress(vp, Qt::LeftButton, {}, from);
    // QTest's move does not carry the held button to a widget; the events a drag brings do.
    for (const QPoint &p : {from + QPoint(20, -10), to}) {
        QMouseEvent move(QEvent::MouseMove, p, vp->mapToGlobal(p), Qt::NoButton, Qt::LeftButton, {});
        QApplication::sendEvent(vp, &move);
    }
    QTest::mouseRelease(vp, Qt::LeftButton, {}, to);
    // The first move went at once, the second waited for its answer.
    QCOMPARE(m_sink.tcp.size(), 1);
    answer(QJsonDocument::fromJson(m_sink.tcp.takeFirst().toUtf8()).object());
    const QPointF at = chart->chartPoint(chart->mapToScene(to));
    const QJsonObject band = sentOne("setBorderEq").value("obj").toObject();
    QCOMPARE(band.value("freq0").toString(), QString::number(EqMapping::freqFromChartX(at.x(), newAdjScale)));
    QCOMPARE(band.value("dbGain").toString(), QString::number(EqMapping::gainFromChartY(at.y(), newAdjScale)));

    m_ctl->undo();
    QCOMPARE(sentOne("setBorderEq").value("obj").toObject().value("freq0").toString(), "640");
    QVERIFY(!m_ctl->canUndo());
    QCOMPARE(child<QDoubleSpinBox>(strip(3), "sp_freq")->value(), 640.0);
}

void TstDspEqEditor::importListsSkippedLinesAndAppliesInOneStep()
{
    QTemporaryDir dir;
    const QString path = dir.filePath("room.txt");
    QFile f(path);
    QVERIFY(f.open(QIODevice::WriteOnly));
    f.write("Preamp: -4 dB\nFilter 1: ON PK Fc 120 Hz Gain -3.5 dB Q 1.414\nFilter 2: ON HP Fc 30 Hz\n"
            "Filter 3: ON LS Fc 80 Hz Gain 4 dB\n");
    f.close();
    FileChoice::setHook([&](bool, const QString &, const QString &) { return path; });
    QString question;
    NoticeAnswers::answerNextBox("pb_yes", &question);
    QTest::mouseClick(child<QPushButton>(m_form, "pb_import"), Qt::LeftButton);
    QVERIFY2(question.contains("HP") && question.contains("Line 3"), qPrintable(question));

    const QJsonObject obj = sentOne("setBorderProc").value("obj").toObject();
    const QJsonArray eq = obj.value("eqArr").toArray();
    QCOMPARE(eq[0].toObject().value("freq0").toString(), "120");
    QCOMPARE(eq[1].toObject().value("type").toString(), "1");
    QCOMPARE(obj.value("bypassArr").toArray(), QJsonArray({"0", "0", "1", "1", "1", "1", "1"}));
    QCOMPARE(child<QDoubleSpinBox>(strip(0), "sp_gain")->value(), -3.5);

    m_ctl->undo();
    sentOne("setBorderProc");
    QCOMPARE(shownBand(0).freq0, 40.0);
    QVERIFY(!shownBand(6).bypass);
    // Every gain to zero is one change of the block too.
    QTest::mouseClick(child<QPushButton>(m_form, "pb_allZero"), Qt::LeftButton);
    QCOMPARE(sentOne("setBorderProc")["obj"].toObject()["eqArr"].toArray()[6].toObject()["dbGain"].toString(), "0");

    // Export writes what the block holds.
    FileChoice::setHook([&](bool, const QString &, const QString &) { return dir.filePath("o.txt"); });
    QTest::mouseClick(child<QPushButton>(m_form, "pb_export"), Qt::LeftButton);
    QFile written(dir.filePath("o.txt"));
    QVERIFY(written.open(QIODevice::ReadOnly) && written.readAll().contains("Filter 7: ON PK Fc 10200"));
    FileChoice::setHook({});
}

QTEST_MAIN(TstDspEqEditor)
#include "tst_dspeqeditor.moc"
