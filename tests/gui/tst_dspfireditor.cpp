// The FIR editor against a controller whose requests are recorded: keys on its controls, files handed to its
// import, and exactly what the device is asked for.
#include "core/dsp/dspcontroller.h"
#include "core/dsp/dspkinds.h"
#include "gui/widgets/filechoice.h"
#include "gui/dsp/blocks/dspfirform.h"
#include "gui/widgets/noticebox.h"
#include "../support/dspdocs.h"

#include <QComboBox>
#include <QDoubleSpinBox>
#include <QJsonDocument>
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
        m_ctl = new DspController(&m_sink);
        m_ctl->requestConfig();
        m_ctl->handleTcpReply(DspDocs::reply(DspDocs::make(1, 1, {}, {DspKinds::newBlock(DspKind::Fir)})));
        m_sink.tcp.clear();
        m_form = new DspFirForm(m_ctl, m_ctl->blockId(DspSide::Out, 0, 0), QStringLiteral("Out 1-FIR"));
        m_form->show();
    }
    void cleanup()
    {
        delete m_form;
        delete m_ctl;
    }

    void designChoicesSendTheWholeBlockOnce();
    void edgesFollowTheTableAndAreNotResent();
    void importIsCheckedBeforeAnythingIsSent();

private:
    template <class W> W *w(const char *name) { return m_form->findChild<W *>(QLatin1String(name)); }
    /// The named obj members (an array by its size) of the one "setBorderProc" the last action sent, which is
    /// answered as the device would. Unless a change waits behind it, the answer must send nothing more.
    QString sentOnce(const QStringList &names, bool waiting = false)
    {
        const QStringList sent = m_sink.tcp.filter(QStringLiteral("setBorderProc"));
        m_sink.tcp.clear();
        const QJsonObject request = QJsonDocument::fromJson(sent.value(0).toUtf8()).object();
        m_ctl->handleTcpReply(
            QStringLiteral(R"({"ops":"setBorderProc","uiTag":"dspUiTag","result":"succ","blockFlag":"%1"})")
                .arg(request.value("blockFlag").toString()));
        QStringList values{QStringLiteral("sent %1, then %2:").arg(sent.size()).arg(waiting ? 0 : m_sink.tcp.size())};
        for (const QString &n : names) {
            const QJsonValue v = request.value("obj")[n];
            values.append(v.isArray() ? QString::number(v.toArray().size()) : v.toString());
        }
        return values.join(QLatin1Char(' '));
    }
    void key(const char *name, Qt::Key k) { QTest::keyClick(w<QWidget>(name), k); }
    void type(const char *spin, const QString &text)
    {
        w<QDoubleSpinBox>(spin)->selectAll();
        QTest::keyClicks(w<QWidget>(spin), text + QLatin1Char('\r'));
    }

    DspDocs::RecordingSink m_sink;
    DspController *m_ctl = nullptr;
    DspFirForm *m_form = nullptr;
};

void TstDspFirEditor::designChoicesSendTheWholeBlockOnce()
{
    key("cb_type", Qt::Key_Down); // high-pass: the lower edge, no upper one
    QCOMPARE(sentOnce({"firType", "winType", "attDb", "taps", "maxTaps", "freq0", "freq1", "arr"}),
             QString("sent 1, then 0: 1 0 21 127 256 1000 20001 127"));
    QVERIFY(w<QDoubleSpinBox>("ds_hpf")->isEnabled() && !w<QDoubleSpinBox>("ds_lpf")->isEnabled());

    key("cb_window", Qt::Key_Down);
    QCOMPARE(sentOnce({"attDb"}), QString("sent 1, then 0: 44"));
    key("cb_window", Qt::Key_Down); // Hamming stores its own figure whatever the box showed
    QCOMPARE(sentOnce({"winType", "attDb"}), QString("sent 1, then 0: 2 53"));
    QCOMPARE(w<QComboBox>("cb_attdb")->currentText(), QString("53 dB"));
    QVERIFY(!w<QComboBox>("cb_attdb")->isEnabled());

    // The device takes 256 taps: the longest choice it can have is the last one offered.
    key("cb_taps", Qt::Key_End);
    QCOMPARE(sentOnce({"taps", "arr"}), QString("sent 1, then 0: 255 255"));

    key("cb_window", Qt::Key_End); // Kaiser keeps the figure shown and lets it be chosen
    QCOMPARE(sentOnce({"winType", "attDb"}), QString("sent 1, then 0: 4 53"));
    key("cb_attdb", Qt::Key_Down);
    QCOMPARE(sentOnce({"winType", "attDb"}), QString("sent 1, then 0: 4 54"));
}

void TstDspFirEditor::edgesFollowTheTableAndAreNotResent()
{
    key("cb_type", Qt::Key_Down);
    key("cb_type", Qt::Key_Down);
    QCOMPARE(sentOnce({}, true), QString("sent 1, then 0:"));
    QCOMPARE(sentOnce({"firType", "freq0", "freq1"}), QString("sent 1, then 0: 2 1000 10000"));

    // An upper edge at the lower one is moved just above it, and shown there.
    type("ds_lpf", "1000");
    QCOMPARE(sentOnce({"freq0", "freq1"}), QString("sent 1, then 0: 1000 1000.1"));
    type("ds_lpf", "1000"); // the same block again: nothing to send
    QVERIFY(m_sink.tcp.isEmpty());
    QCOMPARE(w<QDoubleSpinBox>("ds_lpf")->value(), 1000.1);

    // A drag: every step asks (the controller keeps only the newest unsent), one undo step for all of it.
    auto *slider = w<QSlider>("slider_hpf");
    slider->setSliderDown(true);
    slider->triggerAction(QAbstractSlider::SliderSingleStepAdd);
    slider->triggerAction(QAbstractSlider::SliderSingleStepAdd);
    slider->setSliderDown(false);
    QCOMPARE(sentOnce({"freq0"}, true), QString("sent 1, then 0: 1000.1"));
    QCOMPARE(sentOnce({"freq0", "freq1"}), QString("sent 1, then 0: 1000.2 1000.3"));
    m_ctl->undo();
    QCOMPARE(sentOnce({"freq0", "freq1"}), QString("sent 1, then 0: 1000 1000.1"));
}

void TstDspFirEditor::importIsCheckedBeforeAnythingIsSent()
{
    QTemporaryDir dir;
    QByteArray text; // what the file the user picks holds
    FileChoice::setHook([&](bool, const QString &, const QString &) {
        QFile f(dir.filePath("taps.txt"));
        return f.open(QIODevice::WriteOnly) && f.write(text) == text.size() ? f.fileName() : QString();
    });
    QVERIFY(!w<QPushButton>("pb_import")->isEnabled());
    key("cb_type", Qt::Key_End); // Custom starts from the design it had, never from nothing
    QCOMPARE(sentOnce({"firType", "taps", "arr"}), QString("sent 1, then 0: 3 127 127"));
    QVERIFY(w<QPushButton>("pb_import")->isEnabled() && !w<QComboBox>("cb_window")->isEnabled());

    text = QByteArray("0.001\n").repeated(257);
    QTest::mouseClick(w<QPushButton>("pb_import"), Qt::LeftButton);
    auto *tips = m_form->findChild<NoticeBox *>();
    QCOMPARE(tips ? tips->title() + ": " + tips->text() : QString(), QString("Tips: Fir taps must less then 256"));
    QVERIFY(m_sink.tcp.isEmpty());

    text = "0.5, -0.25\n1e-3\n";
    QTest::mouseClick(w<QPushButton>("pb_import"), Qt::LeftButton);
    QCOMPARE(sentOnce({"taps", "arr"}), QString("sent 1, then 0: 3 3"));
    QCOMPARE(w<QTextBrowser>("textbrowser_customfir")->toPlainText(), QString("0.5\n-0.25\n0.001"));
}

QTEST_MAIN(TstDspFirEditor)
#include "tst_dspfireditor.moc"
