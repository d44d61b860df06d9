// The FIR editor against a controller whose requests are recorded: keys on its controls, files handed to its
// import, and exactly what the device is asked for.
#include "core/dsp/dspcontroller.h"
#include "core/dsp/dspkinds.h"
#include "gui/dsp/dspfirform.h"
#include "gui/widgets/noticebox.h"
#include "../support/dspdocs.h"

#include <QComboBox>
#include <QDoubleSpinBox>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QPushButton>
#include <QSlider>
#include <QTemporaryDir>
#include <QTextBrowser>
#include <QtTest>

class TstDspFirEditor : public QObject
{
    Q_OBJECT
private slots:
    void init()
    {
        m_sink = new DspDocs::RecordingSink;
        m_ctl = new DspController(m_sink);
        m_ctl->setDevice(QStringLiteral("SIM-T"), QStringLiteral("RK0404D"));
        m_ctl->requestConfig();
        m_ctl->handleTcpReply(DspDocs::reply(DspDocs::make(1, 1, {}, {DspKinds::newBlock(DspKind::Fir)})));
        QVERIFY(m_ctl->isLoaded() && m_ctl->isIdle());
        m_sink->tcp.clear();
        m_form = new DspFirForm(m_ctl, m_ctl->blockId(DspSide::Out, 0, 0), QStringLiteral("Out 1-FIR"));
        m_form->show();
        QVERIFY(QTest::qWaitForWindowExposed(m_form));
    }
    void cleanup()
    {
        delete m_form;
        delete m_ctl;
        delete m_sink;
    }

    void designChoicesSendTheWholeBlockOnce();
    void edgesFollowTheTableAndAreNotResent();
    void importIsCheckedBeforeAnythingIsSent();

private:
    template <class W> W *w(const char *name) { return m_form->findChild<W *>(QLatin1String(name)); }
    /// The one "setBorderProc" the last action sent, answered as the device would; its obj. Unless a change
    /// waits behind it, the answer must send nothing more.
    QJsonObject sentOnce(bool waiting = false)
    {
        const QStringList sent = m_sink->tcp.filter(QStringLiteral("setBorderProc"));
        m_sink->tcp.clear();
        if (sent.size() != 1)
            return {{"sent", sent.size()}};
        const QJsonObject request = QJsonDocument::fromJson(sent.first().toUtf8()).object();
        m_ctl->handleTcpReply(QString::fromUtf8(QJsonDocument(QJsonObject{
            {"ops", "setBorderProc"}, {"uiTag", "dspUiTag"}, {"result", "succ"},
            {"blockFlag", request.value("blockFlag")}}).toJson(QJsonDocument::Compact)));
        // The answer redraws the editor; nothing may come back from that.
        return m_sink->tcp.isEmpty() || waiting ? request.value("obj").toObject() : QJsonObject{{"echo", m_sink->tcp.size()}};
    }
    void key(const char *name, Qt::Key k) { QTest::keyClick(w<QWidget>(name), k); }
    void type(const char *spin, const QString &text)
    {
        auto *box = w<QDoubleSpinBox>(spin);
        box->selectAll();
        QTest::keyClicks(box, text);
        QTest::keyClick(box, Qt::Key_Enter);
    }

    DspDocs::RecordingSink *m_sink = nullptr;
    DspController *m_ctl = nullptr;
    DspFirForm *m_form = nullptr;
};

void TstDspFirEditor::designChoicesSendTheWholeBlockOnce()
{
    QVERIFY(!w<QDoubleSpinBox>("ds_hpf")->isEnabled() && w<QDoubleSpinBox>("ds_lpf")->isEnabled());
    key("cb_type", Qt::Key_Down); // high-pass: the lower edge, no upper one
    QJsonObject obj = sentOnce();
    QCOMPARE(obj.value("firType").toString(), QString("1"));
    QCOMPARE(obj.value("freq0").toString(), QString("1000"));
    QCOMPARE(obj.value("freq1").toString(), QString("20001"));
    QCOMPARE(obj.value("arr").toArray().size(), 127);
    for (const char *member : {"winType", "attDb", "taps", "maxTaps"})
        QVERIFY2(obj.contains(QLatin1String(member)), member);
    QVERIFY(w<QDoubleSpinBox>("ds_hpf")->isEnabled() && !w<QDoubleSpinBox>("ds_lpf")->isEnabled());

    key("cb_window", Qt::Key_Down);
    QCOMPARE(sentOnce().value("attDb").toString(), QString("44"));
    key("cb_window", Qt::Key_Down); // Hamming stores its own figure whatever the box showed
    obj = sentOnce();
    QCOMPARE(obj.value("winType").toString(), QString("2"));
    QCOMPARE(obj.value("attDb").toString(), QString("53"));
    QCOMPARE(w<QComboBox>("cb_attdb")->currentText(), QString("53 dB"));
    QVERIFY(!w<QComboBox>("cb_attdb")->isEnabled());

    // The device takes 256 taps: the longest choice it can have is the last one offered.
    key("cb_taps", Qt::Key_End);
    obj = sentOnce();
    QCOMPARE(obj.value("taps").toString(), QString("255"));
    QCOMPARE(obj.value("arr").toArray().size(), 255);
    QCOMPARE(w<QComboBox>("cb_taps")->currentText(), QString("255"));

    key("cb_window", Qt::Key_End); // Kaiser keeps the figure shown and lets it be chosen
    QCOMPARE(sentOnce().value("attDb").toString(), QString("53"));
    QVERIFY(w<QComboBox>("cb_attdb")->isEnabled());
    key("cb_attdb", Qt::Key_Down);
    obj = sentOnce();
    QCOMPARE(obj.value("attDb").toString(), QString("54"));
    QCOMPARE(obj.value("winType").toString(), QString("4"));
}

void TstDspFirEditor::edgesFollowTheTableAndAreNotResent()
{
    key("cb_type", Qt::Key_Down);
    sentOnce();
    key("cb_type", Qt::Key_Down);
    QJsonObject obj = sentOnce();
    QCOMPARE(obj.value("freq0").toString() + " " + obj.value("freq1").toString(), QString("1000 10000"));

    // An upper edge at the lower one is moved just above it, and shown there.
    type("ds_lpf", "1000");
    QCOMPARE(sentOnce().value("freq1").toString(), QString("1000.1"));
    QCOMPARE(w<QDoubleSpinBox>("ds_lpf")->value(), 1000.1);
    QCOMPARE(w<QSlider>("slider_lpf")->value(), 10001);
    type("ds_lpf", "1000"); // the same block again: nothing to send
    QVERIFY(m_sink->tcp.isEmpty());
    QCOMPARE(w<QDoubleSpinBox>("ds_lpf")->value(), 1000.1);

    // A drag: every step asks (the controller keeps only the newest unsent), one undo step for all of it.
    auto *slider = w<QSlider>("slider_hpf");
    slider->setSliderDown(true);
    slider->triggerAction(QAbstractSlider::SliderSingleStepAdd);
    slider->triggerAction(QAbstractSlider::SliderSingleStepAdd);
    slider->setSliderDown(false);
    QCOMPARE(w<QDoubleSpinBox>("ds_hpf")->value(), 1000.2);
    QCOMPARE(sentOnce(true).value("freq0").toString(), QString("1000.1"));
    obj = sentOnce();
    QCOMPARE(obj.value("freq0").toString() + " " + obj.value("freq1").toString(), QString("1000.2 1000.3"));
    m_ctl->undo();
    obj = sentOnce();
    QCOMPARE(obj.value("freq0").toString() + " " + obj.value("freq1").toString(), QString("1000 1000.1"));
    QCOMPARE(w<QDoubleSpinBox>("ds_hpf")->value(), 1000.0);
}

void TstDspFirEditor::importIsCheckedBeforeAnythingIsSent()
{
    QTemporaryDir dir;
    QString file;
    m_form->setFileChooser([&file](bool save, const QString &, const QString &) { return save ? QString() : file; });
    auto write = [&](const QString &name, const QByteArray &text) {
        file = dir.filePath(name);
        QFile f(file);
        QVERIFY(f.open(QIODevice::WriteOnly) && f.write(text) == text.size());
    };
    QVERIFY(!w<QPushButton>("pb_import")->isEnabled());
    key("cb_type", Qt::Key_End); // Custom starts from the design it had, never from nothing
    QCOMPARE(sentOnce().value("arr").toArray().size(), 127);
    QVERIFY(w<QPushButton>("pb_import")->isEnabled() && !w<QComboBox>("cb_window")->isEnabled());

    write("long.txt", QByteArray("0.001\n").repeated(257));
    QTest::mouseClick(w<QPushButton>("pb_import"), Qt::LeftButton);
    auto *tips = m_form->findChild<NoticeBox *>();
    QVERIFY(tips && tips->isVisible());
    QCOMPARE(tips->title(), QString("Tips"));
    QCOMPARE(tips->text(), QString("Fir taps must less then 256"));
    QVERIFY(m_sink->tcp.isEmpty());
    tips->close();

    write("three.txt", "0.5, -0.25\n1e-3\n");
    QTest::mouseClick(w<QPushButton>("pb_import"), Qt::LeftButton);
    const QJsonObject obj = sentOnce();
    QCOMPARE(obj.value("taps").toString(), QString("3"));
    QCOMPARE(obj.value("arr").toArray().at(2).toString(), QString("0.001"));
    QCOMPARE(w<QTextBrowser>("textbrowser_customfir")->toPlainText(), QString("0.5\n-0.25\n0.001"));
    QCOMPARE(w<QComboBox>("cb_taps")->currentIndex(), -1);
}

QTEST_MAIN(TstDspFirEditor)
#include "tst_dspfireditor.moc"
