// The table-driven block editors against a controller whose requests are recorded: real input on their
// controls, exactly the requests it causes, and the live figures the window's polling brings in.
#include "core/dsp/dspcontroller.h"
#include "gui/dsp/blocks/dspblockeditors.h"
#include "gui/dsp/blocks/dspblockparamsview.h"
#include "gui/dsp/blocks/dspdelayblockform.h"
#include "gui/dsp/blocks/dspdynamicsform.h"
#include "gui/dsp/blocks/dspsimpleforms.h"
#include "../support/dspdocs.h"

#include <QComboBox>
#include <QDoubleSpinBox>
#include <QLabel>
#include <QPushButton>
#include <QSlider>
#include <QSpinBox>
#include <QtCharts/QChartView>
#include <QtCharts/QLineSeries>
#include <QtTest>

class TstDspBlockForms : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        QVector<DspBlock> in = DspDefaults::inputChain(); // generator 0, gate 1, feedback 2, delay 3, ..., expander 7
        in.append(DspKinds::newBlock(DspKind::Ducker));  // 8
        in.append(DspKinds::newBlock(DspKind::Aec));     // 9
        DspBlock unknown;                                 // 10: a type from a newer device
        unknown.obj = DspUnknownBlock{42};
        unknown.objExtra = QJsonObject{{"depth", "3"}};
        in.append(unknown);
        m_ctl = new DspController(&m_sink);
        m_ctl->setDevice(QStringLiteral("DEV-1"), QStringLiteral("RK0404D"));
        m_ctl->requestConfig();
        m_ctl->handleTcpReply(DspDocs::reply(DspDocs::make(4, 4, in, DspDefaults::outputChain())));
        m_sink.tcp.clear();
    }
    void cleanup()
    {
        qDeleteAll(m_open);
        m_open.clear();
        delete m_ctl;
    }

    void everyEditorSendsItsWholeBlockAndRollsBackAFailedBypass_data()
    {
        QTest::addColumn<int>("side");
        QTest::addColumn<int>("proc");
        QTest::addColumn<QString>("control");
        QTest::newRow("generator") << 0 << 0 << "slider_freq";
        QTest::newRow("gate") << 0 << 1 << "slider_opentime";
        QTest::newRow("feedback") << 0 << 2 << "slider_freqshift";
        QTest::newRow("delay") << 0 << 3 << "slider";
        QTest::newRow("expander") << 0 << 7 << "slider_release";
        QTest::newRow("ducker") << 0 << 8 << "slider_hold";
        QTest::newRow("channel aec") << 0 << 9 << "pb_agc";
        QTest::newRow("compressor") << 1 << 4 << "slider_attack";
        QTest::newRow("limiter") << 1 << 5 << "slider_limit";
    }
    void everyEditorSendsItsWholeBlockAndRollsBackAFailedBypass()
    {
        QFETCH(int, side);
        QFETCH(int, proc);
        QFETCH(QString, control);
        const DspSide s = side ? DspSide::Out : DspSide::In;
        auto *form = open<DspBlockBaseForm>(s, proc);
        const int type = m_ctl->block(m_ctl->blockId(s, 0, proc))->type();
        if (auto *slider = form->findChild<QSlider *>(control))
            slider->setValue(slider->value() + 10);
        else
            QTest::mouseClick(form->findChild<QPushButton *>(control), Qt::LeftButton);
        const QJsonObject obj = sentOne().value("obj").toObject();
        QCOMPARE(obj.keys(), DspBlock::memberNames(type));

        QSignalSpy notices(m_ctl, &DspController::signal_notice);
        auto *bypass = form->findChild<QPushButton *>("pb_bypass");
        QTest::mouseClick(bypass, Qt::LeftButton);
        QVERIFY(!bypass->isChecked());
        QCOMPARE(m_sink.tcp.size(), 1);
        m_ctl->handleTcpReply(DspDocs::answer(m_sink.tcp.takeFirst(), false));
        QVERIFY(bypass->isChecked());
        QCOMPARE(notices.last().first().toString(), tx(Tx::DspSetBypassFailed));
    }

    void unknownBlocksAreShownAsTheyAre()
    {
        auto *view = open<DspBlockParamsView>(DspSide::In, 10);
        QCOMPARE(view->rows(), (QVector<QPair<QString, QString>>{{"depth", "3"}}));
    }

    void slidersAndSpinBoxesSendOnceAndNeverEcho()
    {
        auto *form = open<DspCompressForm>(DspSide::Out, 4);
        auto *curve = static_cast<QtCharts::QLineSeries *>(
            form->findChild<QtCharts::QChartView *>("chart_transfer")->chart()->series().first());
        QCOMPARE(curve->at(2), QPointF(0, 0)); // the identity before the first edit

        auto *threshold = form->findChild<QSlider *>("slider_threshold");
        threshold->setValue(797);
        QJsonObject obj = sentOne().value("obj").toObject();
        QCOMPARE(obj.value("trigDb").toString(), QStringLiteral("-20.3"));
        QCOMPARE(form->findChild<QDoubleSpinBox *>("ds_threshold")->value(), -20.3);
        QCOMPARE(curve->at(1), QPointF(-20.3, -20.3));

        auto *ratio = form->findChild<QSlider *>("slider_ratio");
        ratio->setValue(9);
        obj = sentOne().value("obj").toObject();
        QCOMPARE(obj.value("ratio").toString(), QStringLiteral("128"));
        QCOMPARE(form->findChild<QLabel *>("lab_ratio")->text(), QStringLiteral("128:1"));
        QCOMPARE(obj.value("trigDb").toString(), QStringLiteral("-20.3")); // the whole object each time

        // Within 1e-6 of what is stored: nothing.
        form->findChild<QDoubleSpinBox *>("ds_threshold")->setValue(-20.3000001);
        QVERIFY(m_sink.tcp.isEmpty());
    }

    void liveFiguresReachTheMeters()
    {
        auto *comp = open<DspCompressForm>(DspSide::Out, 4);
        auto *gate = open<DspNoisegateForm>(DspSide::In, 1);
        const quint64 compId = m_ctl->blockId(DspSide::Out, 0, 4);
        emit m_ctl->signal_blockStatus(compId, 0.5, 0);
        QCOMPARE(comp->findChild<QLabel *>("lab_reduce")->text(), QStringLiteral("-6"));
        emit m_ctl->signal_blockStatus(compId, std::nan(""), 1); // no gain in the reply: ignored
        QCOMPARE(comp->findChild<QLabel *>("lab_reduce")->text(), QStringLiteral("-6"));
        emit m_ctl->signal_blockStatus(m_ctl->blockId(DspSide::In, 0, 1), 1.0, 1);
        QCOMPARE(gate->findChild<QLabel *>("lab_status")->text(), tx(Tx::DspGateOpened));
        emit m_ctl->signal_levels(DspSide::In, {-10.0, -INFINITY});
        QCOMPARE(gate->findChild<QLabel *>("lab_volume")->text(), QStringLiteral("-10"));
        QCOMPARE(comp->findChild<QLabel *>("lab_volume")->text(), QStringLiteral("-60")); // not its side
        emit m_ctl->signal_levels(DspSide::Out, {-INFINITY});
        QCOMPARE(comp->findChild<QSlider *>("slider_volume")->value(), -60); // -inf reads -90, held at -60
        // Each open dynamics editor asks for its block's state.
        QTRY_VERIFY(m_sink.udp.filter("bf_out_ch_0_4").size() > 0);
    }

    void delayUnitsMeetInWholeSamples()
    {
        auto *form = open<DspDelayBlockForm>(DspSide::In, 3);
        form->findChild<QDoubleSpinBox *>("dsMeter")->setValue(1.0);
        QCOMPARE(sentOne().value("obj").toObject().value("delayNum").toString(), QStringLiteral("141"));
        QCOMPARE(form->findChild<QSpinBox *>("dsDots")->value(), 141);
        QCOMPARE(form->findChild<QDoubleSpinBox *>("dsMilliSeconds")->value(), 2.94);
        QCOMPARE(form->findChild<QSlider *>("slider")->value(), 141);
        // An entry that rounds to the same count sends nothing and shows the count's own value again.
        form->findChild<QDoubleSpinBox *>("dsFeet")->setValue(3.27);
        QVERIFY(m_sink.tcp.isEmpty());
        QCOMPARE(form->findChild<QDoubleSpinBox *>("dsFeet")->value(), 3.28);
    }

    void choicesAndTheLoadRefusal()
    {
        auto *ducker = open<DspDuckerForm>(DspSide::In, 8);
        auto *trigger = ducker->findChild<QComboBox *>("cb_trigger");
        QCOMPARE(trigger->count(), 4);
        QCOMPARE(trigger->itemText(2), QStringLiteral("In 3"));
        trigger->setCurrentIndex(2);
        emit trigger->activated(2);
        QCOMPARE(sentOne().value("obj").toObject().value("refCh").toString(), QStringLiteral("2"));

        // Above 90% load the block stays bypassed and its button says so.
        m_ctl->handleUdpReply(QStringLiteral("{\"devId\":\"DEV-1\",\"ops\":\"getCpuUsage\",\"result\":\"succ\","
                                             "\"uiTag\":\"dspUiTag\",\"val\":\"95\"}"));
        auto *bypass = ducker->findChild<QPushButton *>("pb_bypass");
        QVERIFY(bypass->isChecked());
        QTest::mouseClick(bypass, Qt::LeftButton);
        QVERIFY(bypass->isChecked());
        QVERIFY(m_sink.tcp.isEmpty());
    }

private:
    template <class T> T *open(DspSide side, int proc)
    {
        const quint64 id = m_ctl->blockId(side, 0, proc);
        auto *form = qobject_cast<T *>(DspBlockEditors::create(
            m_ctl, id, QStringLiteral("t"), [](DspSide, int ch) { return QStringLiteral("In %1").arg(ch + 1); },
            nullptr));
        [&] { QVERIFY(form); }();
        m_open.append(form);
        form->show();
        return form;
    }
    /// The one request the last edit sent, answered; the answer's redraw must send nothing back.
    QJsonObject sentOne()
    {
        [&] { QCOMPARE(m_sink.tcp.size(), 1); }();
        const QString request = m_sink.tcp.takeFirst();
        m_ctl->handleTcpReply(DspDocs::answer(request));
        [&] { QCOMPARE(m_sink.tcp.size(), 0); }();
        return QJsonDocument::fromJson(request.toUtf8()).object();
    }

    DspDocs::RecordingSink m_sink;
    DspController *m_ctl = nullptr;
    QList<QWidget *> m_open;
};

QTEST_MAIN(TstDspBlockForms)
#include "tst_dspblockforms.moc"
