// The editors of the echo-cancellation and automixer nodes against a controller whose requests are recorded:
// real clicks, exactly one request with the right members, nothing echoed when the answer redraws them.
#include "core/dsp/dspcommands.h"
#include "core/dsp/dspcontroller.h"
#include "gui/dsp/blocks/dspaecform.h"
#include "gui/dsp/blocks/dspautomixform.h"
#include "../support/dspdocs.h"

#include <QDoubleSpinBox>
#include <QJsonArray>
#include <QLabel>
#include <QMenu>
#include <QPushButton>
#include <QSlider>
#include <QSpinBox>
#include <QtTest>

const DspNodeForm::ChannelNames micName = [](DspSide, int c) { return QStringLiteral("Mic %1").arg(c + 1); };

class TstDspNodeForms : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        m_ctl = new DspController(&m_sink);
        m_ctl->setDevice(QStringLiteral("DEV-1"), QStringLiteral("RK0404D"));
        m_ctl->requestConfig();
        m_ctl->handleTcpReply(DspDocs::reply(DspDocs::withNodes(DspDocs::make(4, 4), 3)));
        m_sink.tcp.clear();
    }
    void cleanup() { delete m_ctl; }

    void echoCancelRowSendsItsChannelWhole()
    {
        DspAecForm form(m_ctl, micName);
        form.show();
        auto *agc = form.findChild<QPushButton *>("pb_agc_2");
        QTest::mouseClick(agc, Qt::LeftButton);
        QJsonObject req = sentOne();
        QCOMPARE(req.value("ops").toString(), QStringLiteral("setAecChannel"));
        QCOMPARE(req.value("portIndex").toString(), QStringLiteral("2"));
        QJsonObject obj = req.value("obj").toObject();
        QCOMPARE(obj.value("hasAgc").toString(), QStringLiteral("1"));
        QCOMPARE(obj.value("nearArr").toArray(), QJsonArray{QStringLiteral("2")});

        // The far end's menu names the inputs; a checked one joins the list (menus pop up modally, so the
        // action is triggered rather than clicked).
        auto *far = form.findChild<QPushButton *>("pb_far_2");
        far->menu()->actions()[3]->trigger();
        obj = sentOne().value("obj").toObject();
        QCOMPARE(obj.value("farArr").toArray(), QJsonArray{QStringLiteral("3")});
        QCOMPARE(obj.value("hasAgc").toString(), QStringLiteral("1")); // the earlier change stays
        QCOMPARE(far->text(), QStringLiteral("Mic 4"));

        QTest::keyClick(form.findChild<QSpinBox *>("sb_anslevel_0"), Qt::Key_Up);
        QCOMPARE(sentOne().value("obj").toObject().value("ansLevel").toString(), QStringLiteral("3"));
    }

    void automixerMembersAndChannelStrips()
    {
        DspAutomixForm form(m_ctl, micName);
        form.show();
        QTest::mouseClick(form.findChild<QPushButton *>("pb_leavelaston"), Qt::LeftButton);
        QJsonObject obj = sentOne().value("obj").toObject(); // "setNodeData" alone carries the node's obj
        QCOMPARE(obj.value("leaveLastOn").toString(), QStringLiteral("0"));
        QCOMPARE(obj.value("trigDb").toString(), QStringLiteral("-40"));
        QCOMPARE(form.findChild<QDoubleSpinBox *>("sb_chnumlimit")->maximum(), 3.0);

        QWidget *strip = form.findChild<QWidget *>("DspAutomixChForm_1");
        QCOMPARE(strip->findChild<QLabel *>("lb_name")->text(), QStringLiteral("Mic 2"));
        QTest::mouseClick(strip->findChild<QPushButton *>("pb_inmix"), Qt::LeftButton);
        obj = sentOne().value("obj").toObject();
        QCOMPARE(obj.value("maskArr").toArray(),
                 (QJsonArray{QStringLiteral("1"), QStringLiteral("0"), QStringLiteral("1")}));
        QTest::mouseClick(strip->findChild<QPushButton *>("pb_mute"), Qt::LeftButton);
        QCOMPARE(sentOneText(), DspCommands::setMute(2, 1, true));
        strip->findChild<QDoubleSpinBox *>("ds_gain")->setValue(-3.5);
        QCOMPARE(sentOneText(), DspCommands::setGain(2, 1, -3.5));

        // A slider at the stored value's position sends nothing.
        auto *slider = form.findChild<QSlider *>("slider_threshold");
        emit slider->valueChanged(slider->value());
        QVERIFY(m_sink.tcp.isEmpty());
    }

    void formsCloseWhenTheirNodeGoes()
    {
        QPointer<QWidget> mix = new DspAutomixForm(m_ctl, micName);
        mix->show();
        m_ctl->setAutomixerChannels(0);
        QTRY_VERIFY(mix.isNull());
    }

private:
    QString sentOneText()
    {
        [&] { QCOMPARE(m_sink.tcp.size(), 1); }();
        const QString request = m_sink.tcp.takeFirst();
        m_ctl->handleTcpReply(DspDocs::answer(request));
        [&] { QCOMPARE(m_sink.tcp.size(), 0); }(); // the redraw after the answer sends nothing
        return request;
    }
    QJsonObject sentOne() { return QJsonDocument::fromJson(sentOneText().toUtf8()).object(); }

    DspDocs::RecordingSink m_sink;
    DspController *m_ctl = nullptr;
};

QTEST_MAIN(TstDspNodeForms)
#include "tst_dspnodeforms.moc"
