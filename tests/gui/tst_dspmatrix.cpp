// The matrix page, the channel strip and the microphone settings against a DspController whose requests are
// recorded instead of sent: what a click, a key or a wheel turn asks of the device, and what the widgets show
// when the device takes or refuses it.
#include "core/app/language.h"
#include "core/app/scalefactors.h"
#include "core/app/texts.h"
#include "core/dsp/dspcontroller.h"
#include "core/dsp/dspmicconfig.h"
#include "core/dsp/dspsink.h"
#include "gui/dsp/dspchannelstripform.h"
#include "gui/dsp/dspmatrixform.h"
#include "gui/dsp/dspmatrixmodel.h"
#include "gui/dsp/dspmicconfigdialog.h"
#include "gui/widgets/styledslider.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDoubleSpinBox>
#include <QJsonArray>
#include <QJsonDocument>
#include <QLabel>
#include <QPushButton>
#include <QSignalSpy>
#include <QSpinBox>
#include <QTableView>
#include <QtTest>

namespace {

QJsonObject parse(const QString &text)
{
    return QJsonDocument::fromJson(text.toUtf8()).object();
}

QString compact(const QJsonObject &o)
{
    return QString::fromUtf8(QJsonDocument(o).toJson(QJsonDocument::Compact));
}

// What the controller would have sent, on either path, and the means to answer the last of it.
class RecordingSink : public DspSink
{
public:
    struct Sent
    {
        QJsonObject request;
        bool udp = false;
    };
    void sendTcp(const QString &request) override { sent.append({parse(request), false}); }
    void sendUdp(const QString &request, quint16) override { sent.append({parse(request), true}); }

    /// The requests of one operation, "devId" left out, oldest first.
    QVector<QJsonObject> of(const char *ops) const
    {
        QVector<QJsonObject> found;
        for (const Sent &s : sent)
            if (s.request.value("ops").toString() == QLatin1String(ops)) {
                QJsonObject r = s.request;
                r.remove("devId");
                found.append(r);
            }
        return found;
    }
    /// Answers every request not yet answered, in order, with result and extra reply members.
    void answerAll(DspController &c, bool succ, const QJsonObject &extra = {})
    {
        while (answered < sent.size()) {
            const Sent s = sent.at(answered++);
            QJsonObject reply{
                {"ops", s.request.value("ops")}, {"uiTag", "dspUiTag"}, {"result", succ ? "succ" : "fail"}};
            if (!succ)
                reply.insert("reason", "bad param");
            for (auto it = extra.begin(); it != extra.end(); ++it)
                reply.insert(it.key(), it.value());
            if (s.udp) {
                reply.insert("devId", "DSP1");
                c.handleUdpReply(compact(reply));
            } else {
                c.handleTcpReply(compact(reply));
            }
        }
    }
    QVector<Sent> sent;
    int answered = 0;
};

QJsonArray repeat(const QJsonValue &v, int n)
{
    QJsonArray a;
    for (int i = 0; i < n; ++i)
        a.append(v);
    return a;
}

QJsonObject channels(int n)
{
    const QJsonObject ch{{"commArr", QJsonArray()}, {"gainDb", "0"}, {"groupId", "-1"},
                         {"inverse", "0"},          {"mute", "0"},   {"procArr", QJsonArray()}};
    return {{"obj", QJsonObject()}, {"portArr", repeat(ch, n)}, {"portNum", QString::number(n)}, {"type", "0"}};
}

// Three inputs, two outputs; output 1 takes input 1 at -6 dB, every other cross-point but the diagonal is off.
QString configReply()
{
    const QJsonObject matrix{
        {"obj", QJsonObject{{"gainArr", QJsonArray{QJsonArray{"0", "-100", "-100"}, QJsonArray{"-100", "-6", "-100"}}},
                            {"muteArr", QJsonArray{QJsonArray{"0", "1", "1"}, QJsonArray{"1", "0", "1"}}}}},
        {"portArr", QJsonArray()},
        {"portNum", "0"},
        {"type", "1"}};
    const QJsonObject group{{"gainDb", "0"}, {"mute", "0"}, {"name", "Stage"}};
    QJsonObject g2 = group;
    g2.insert("name", "Choir");
    const QJsonObject config{{"customStr", ""},
                             {"groupArr", QJsonArray{group, g2}},
                             {"nodeArr", QJsonArray{channels(3), matrix, channels(2)}},
                             {"sampleRate", "48000"},
                             {"version", "4"}};
    return compact({{"ops", "getConfig"}, {"uiTag", "dspUiTag"}, {"result", "succ"}, {"config", config}});
}

} // namespace

class TestDspMatrix : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase();
    void init();
    void cleanup();
    void matrixCellsAskAndFollowTheDevice();
    void wheelTurnsAreOneUndoStep();
    void stripSendsItsChangesAndSpringsBack();
    void micDialogReadsAndWritesEachInput();
    void micRepliesReadStrictly();

private:
    QString cellText(int out, int in) const { return m_matrix->model()->index(out, in).data().toString(); }
    void shoot(QWidget *w, const char *name);

    RecordingSink *m_sink = nullptr;
    DspController *m_controller = nullptr;
    DspMatrixForm *m_matrix = nullptr;
};

void TestDspMatrix::initTestCase()
{
    applyScaleFactors(computeScaleFactors(ScreenMetrics{1920, 1080, 1920, 1080, 96}));
}

void TestDspMatrix::init()
{
    Language::setChinese(false);
    m_sink = new RecordingSink;
    m_controller = new DspController(m_sink);
    m_controller->setDevice("DSP1", "RK0302D");
    m_matrix = new DspMatrixForm(m_controller);
    m_matrix->setChannelNames({"Lectern", "Handheld"}, {"Hall"});
    m_controller->requestConfig();
    m_sink->answered = m_sink->sent.size();
    m_controller->handleTcpReply(configReply());
    QVERIFY(m_controller->isLoaded());
    m_sink->sent.clear();
    m_sink->answered = 0;
    m_matrix->resize(500, 200);
    m_matrix->show();
    QVERIFY(QTest::qWaitForWindowExposed(m_matrix));
}

void TestDspMatrix::cleanup()
{
    delete m_matrix;
    delete m_controller;
    delete m_sink;
}

void TestDspMatrix::shoot(QWidget *w, const char *name)
{
    // Pictures for the documentation, on request only.
    const QString dir = qEnvironmentVariable("CORVANE_SHOTS");
    if (!dir.isEmpty())
        QVERIFY(w->grab().save(dir + '/' + name));
}

void TestDspMatrix::matrixCellsAskAndFollowTheDevice()
{
    QTableView *view = m_matrix->view();
    QCOMPARE(m_matrix->model()->rowCount(), 2);
    QCOMPARE(m_matrix->model()->columnCount(), 3);
    QCOMPARE(m_matrix->model()->headerData(1, Qt::Horizontal).toString(), QStringLiteral("Handheld"));
    QCOMPARE(m_matrix->model()->headerData(1, Qt::Vertical).toString(), QStringLiteral("Out 2"));
    QCOMPARE(cellText(1, 1), QStringLiteral("-6.0"));
    QCOMPARE(cellText(1, 2), QStringLiteral("off"));
    QVERIFY(m_matrix->model()->index(1, 2).data(Qt::BackgroundRole) !=
            m_matrix->model()->index(1, 1).data(Qt::BackgroundRole));

    // Typed in place into a muted cell: the level asked for, and the cross-point opened.
    const QModelIndex cell = m_matrix->model()->index(1, 2);
    const QPoint at = view->visualRect(cell).center();
    QTest::mouseClick(view->viewport(), Qt::LeftButton, {}, at);
    QTest::mouseDClick(view->viewport(), Qt::LeftButton, {}, at);
    auto *editor = view->findChild<QDoubleSpinBox *>("sb_cellGain");
    QVERIFY(editor);
    editor->selectAll();
    QTest::keyClicks(editor, "-12.5");
    QTest::keyClick(editor, Qt::Key_Return);
    QTRY_COMPARE(m_sink->of("setMatrixCell").size(), 1);
    QCOMPARE(m_sink->of("setMatrixCell").first(),
             parse(R"({"gainDb":"-12.5","inIndex":"2","mute":"0","nodeId":"1","ops":"setMatrixCell",)"
                   R"("outIndex":"1","uiTag":"dspUiTag"})"));
    QCOMPARE(cellText(1, 2), QStringLiteral("-12.5"));
    m_sink->answerAll(*m_controller, true);
    QTRY_VERIFY(m_controller->isIdle());
    QCOMPARE(cellText(1, 2), QStringLiteral("-12.5"));
    QCOMPARE(m_controller->document().node(1)->matrix.gainArr[1][2], -12.5);

    // Space mutes the current cell; the device refuses, and the cell shows its level again.
    QSignalSpy notices(m_controller, &DspController::signal_notice);
    view->setCurrentIndex(m_matrix->model()->index(1, 1));
    QTest::keyClick(view, Qt::Key_Space);
    QCOMPARE(m_sink->of("setMatrixCell").size(), 2);
    QCOMPARE(m_sink->of("setMatrixCell").last().value("mute"), QJsonValue("1"));
    QCOMPARE(m_sink->of("setMatrixCell").last().value("gainDb"), QJsonValue("-6"));
    QCOMPARE(cellText(1, 1), QStringLiteral("off"));
    m_sink->answerAll(*m_controller, false);
    QTRY_COMPARE(cellText(1, 1), QStringLiteral("-6.0"));
    QVERIFY(!notices.isEmpty());
    QVERIFY(!m_controller->document().node(1)->matrix.muteArr[1][1]);
}

void TestDspMatrix::wheelTurnsAreOneUndoStep()
{
    QTableView *view = m_matrix->view();
    const QModelIndex cell = m_matrix->model()->index(1, 1);
    const QPoint at = view->visualRect(cell).center();
    // Not yet the current cell: the wheel scrolls, nothing changes.
    view->setCurrentIndex(m_matrix->model()->index(0, 0));
    QWheelEvent notch(at, view->viewport()->mapToGlobal(at), {}, {0, 120}, Qt::NoButton, {}, Qt::NoScrollPhase, false);
    QApplication::sendEvent(view->viewport(), &notch);
    QVERIFY(m_sink->of("setMatrixCell").isEmpty());
    view->setCurrentIndex(cell);
    for (int i = 0; i < 3; ++i) {
        QWheelEvent again(at, view->viewport()->mapToGlobal(at), {}, {0, 120}, Qt::NoButton, {}, Qt::NoScrollPhase,
                          false);
        QApplication::sendEvent(view->viewport(), &again);
        m_sink->answerAll(*m_controller, true);
    }
    QCOMPARE(cellText(1, 1), QStringLiteral("-4.5"));
    QCOMPARE(m_sink->of("setMatrixCell").last().value("gainDb"), QJsonValue("-4.5"));
    QTRY_VERIFY_WITH_TIMEOUT(!m_matrix->isWheelGestureOpen(), DspMatrixForm::kWheelGestureMs * 4);
    // One undo goes back past all three notches.
    m_controller->undo();
    QTRY_COMPARE(m_sink->of("setMatrixCell").last().value("gainDb"), QJsonValue("-6"));
    m_sink->answerAll(*m_controller, true);
    QTRY_COMPARE(cellText(1, 1), QStringLiteral("-6.0"));
    QVERIFY(!m_controller->canUndo());
}

void TestDspMatrix::stripSendsItsChangesAndSpringsBack()
{
    DspChannelStripForm strip(m_controller);
    strip.setChannelNames({"Lectern", "Handheld"}, {"Hall"});
    strip.showChannel(DspSide::In, 1);
    strip.resize(180, 460);
    strip.show();
    QVERIFY(QTest::qWaitForWindowExposed(&strip));
    QCOMPARE(strip.findChild<QLabel *>("lb_name")->text(), QStringLiteral("Handheld"));
    auto *group = strip.findChild<QComboBox *>("com_group");
    QCOMPARE(group->count(), 3);
    QCOMPARE(group->itemText(2), QStringLiteral("Choir"));

    auto *mute = strip.findChild<QPushButton *>("pb_mute");
    QTest::mouseClick(mute, Qt::LeftButton);
    QCOMPARE(m_sink->of("setMute").size(), 1);
    QCOMPARE(m_sink->of("setMute").first(),
             parse(R"({"nodeId":"0","ops":"setMute","portIndex":"1","uiTag":"dspUiTag","val":"1"})"));
    m_sink->answerAll(*m_controller, false, {{"val", "1"}});
    QTRY_VERIFY(!mute->isChecked());
    QTest::mouseClick(strip.findChild<QPushButton *>("pb_inverse"), Qt::LeftButton);
    QCOMPARE(m_sink->of("setInverse").last().value("val"), QJsonValue("1"));
    m_sink->answerAll(*m_controller, true, {{"val", "1"}});
    QTRY_VERIFY(m_controller->channel(DspSide::In, 1)->inverse);

    // A slider drag is one undo step ending on the value where the hand let go.
    auto *slider = strip.findChild<StyledSlider *>("sl_gain");
    slider->setSliderDown(true);
    for (int tenths : {-10, -20, -35}) {
        slider->setValue(tenths);
        m_sink->answerAll(*m_controller, true);
    }
    slider->setSliderDown(false);
    m_sink->answerAll(*m_controller, true);
    QTRY_COMPARE(m_controller->channel(DspSide::In, 1)->gainDb, -3.5);
    QCOMPARE(strip.findChild<QDoubleSpinBox *>("sb_gain")->value(), -3.5);
    m_controller->undo();
    m_sink->answerAll(*m_controller, true);
    QTRY_COMPARE(m_controller->channel(DspSide::In, 1)->gainDb, 0.0);
    QTRY_COMPARE(slider->value(), 0);

    group->setCurrentIndex(2);
    emit group->activated(2);
    QVERIFY(!m_sink->of("setGroupId").isEmpty());
    QCOMPARE(m_sink->of("setGroupId").last().value("val"), QJsonValue("1"));
    shoot(&strip, "dsp-strip-en.png");
}

void TestDspMatrix::micDialogReadsAndWritesEachInput()
{
    DspMicConfigDialog dialog(m_controller, {"Lectern"});
    dialog.show();
    QVERIFY(QTest::qWaitForWindowExposed(&dialog));
    QCOMPARE(m_sink->of("getMicConfig").size(), 1);
    QCOMPARE(dialog.statusText(), tx(Tx::DspMicReading));
    m_sink->answerAll(*m_controller, true,
                      {{"arr", QJsonArray{QJsonObject{{"gainDb", "24"}, {"phantom", "1"}},
                                          QJsonObject{{"gainDb", "0"}, {"phantom", "0"}}}}});
    QTRY_COMPARE(dialog.inputCount(), 2);
    QCOMPARE(dialog.gainBox(0)->value(), 24);
    QVERIFY(dialog.phantomBox(0)->isChecked());
    QVERIFY(dialog.statusText().isEmpty());

    const int side = dialog.phantomBox(1)->height();
    QTest::mouseClick(dialog.phantomBox(1), Qt::LeftButton, {}, QPoint(side / 2, side / 2));
    QCOMPARE(m_sink->of("setMicConfig").size(), 1);
    QCOMPARE(m_sink->of("setMicConfig").first(),
             parse(R"({"gainDb":"0","ops":"setMicConfig","phantom":"1","portIndex":"1","uiTag":"dspUiTag"})"));
    m_sink->answerAll(*m_controller, true, {{"gainDb", "0"}, {"phantom", "1"}});
    // A refused gain springs back to what the device has, and says so.
    dialog.gainBox(1)->setValue(30);
    QCOMPARE(m_sink->of("setMicConfig").last().value("gainDb"), QJsonValue("30"));
    QCOMPARE(m_sink->of("setMicConfig").last().value("phantom"), QJsonValue("1"));
    m_sink->answerAll(*m_controller, false);
    QTRY_COMPARE(dialog.gainBox(1)->value(), 0);
    QVERIFY(dialog.phantomBox(1)->isChecked());
    QCOMPARE(dialog.statusText(), tx(Tx::DspSetFailedRetry));
    shoot(&dialog, "dsp-mic-en.png");
}

void TestDspMatrix::micRepliesReadStrictly()
{
    const QJsonObject one{{"gainDb", "60"}, {"phantom", "0"}};
    QJsonObject reply{{"ops", "getMicConfig"}, {"result", "succ"}, {"arr", QJsonArray{one}}};
    QCOMPARE(DspMicConfig::readInputs(reply)->first().gainDb, 60);
    // One bad element: nothing to show rather than a half-true list.
    for (const QJsonObject &bad :
         {QJsonObject{{"gainDb", "6.5"}, {"phantom", "0"}}, QJsonObject{{"gainDb", "6"}, {"phantom", "true"}}}) {
        reply.insert("arr", QJsonArray{one, bad});
        QVERIFY2(!DspMicConfig::readInputs(reply), qPrintable(compact(bad)));
    }
    QVERIFY(!DspMicConfig::readSet(reply)); // not the reply of a write
    // Out of range asks for the nearest the preamplifier has.
    QCOMPARE(parse(DspMicConfig::setRequest(0, {75, false})).value("gainDb"), QJsonValue("60"));
}

QTEST_MAIN(TestDspMatrix)
#include "tst_dspmatrix.moc"
