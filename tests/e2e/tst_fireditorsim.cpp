// The FIR editor against corvane-sim's 96 kHz signal processor SIM-0007, inside a private network namespace
// (tests/netns-run): a longer design chosen in the editor is what a fresh "getConfig" of the device then holds.
#include "core/dsp/dspcontroller.h"
#include "core/dsp/dspexchange.h"
#include "core/dsp/filters/firdesign.h"
#include "core/protocol/ipv4.h"
#include "gui/dsp/devdspdialog.h"
#include "gui/dsp/dspdiagramform.h"
#include "gui/dsp/dspfirform.h"

#include "../support/programwindow.h"
#include "../support/simulator.h"

#include <QComboBox>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLabel>
#include <QtCharts/QXYSeries>
#include <QtTest>

class TestFirEditorSim : public QObject
{
    Q_OBJECT
private slots:
    void designReachesTheDevice();

private:
    Simulator m_sim;
    ProgramWindow m_window;
};

void TestFirEditorSim::designReachesTheDevice()
{
    constexpr int kWaitMs = 15000;
    const QString device = QStringLiteral("SIM-0007");
    REQUIRE_PRIVATE_NETWORK();
    QVERIFY2(m_sim.start(), m_sim.why());
    QVERIFY(m_window.open(MainWindow::Devices));
    QTRY_VERIFY_WITH_TIMEOUT(m_window.registry().findByDevId(device), kWaitMs);
    DevDspDialog *dsp = m_window->slot_openDsp(device);
    QVERIFY(dsp);
    DspController *ctl = dsp->controller();
    QTRY_VERIFY_WITH_TIMEOUT(ctl->isLoaded(), kWaitMs);

    const quint64 uid = ctl->blockId(DspSide::Out, 0, 6);
    auto *form = qobject_cast<DspFirForm *>(dsp->diagram()->openBlockEditor(uid));
    QVERIFY(form);
    QCOMPARE(form->designRate(), 96000.0);
    auto *note = form->findChild<QLabel *>("lab_designrate");
    QVERIFY(note->isVisible() && note->text().contains("96000"));
    QCOMPARE(form->curve()->count(), 950);

    auto *taps = form->findChild<QComboBox *>("cb_taps");
    const int longer = FirDesign::tapChoices().value(taps->currentIndex() + 1);
    QTest::keyClick(taps, Qt::Key_Down);
    QTRY_COMPARE_WITH_TIMEOUT(ctl->block(uid)->as<DspFir>()->taps, longer, kWaitMs);

    const QString address = Ipv4::toText(m_window.registry().findByDevId(device)->rec.ip);
    const DspExchange::Result fresh = DspExchange::run(address, QStringLiteral(R"({"ops":"getConfig","uiTag":"dspUiTag"})"));
    QVERIFY2(fresh.ok, qPrintable(fresh.message));
    const QJsonObject config = QJsonDocument::fromJson(fresh.reply.toUtf8()).object().value("config").toObject();
    const QJsonObject outputs = config.value("nodeArr").toArray().last().toObject();
    const QJsonObject obj = outputs.value("portArr")[0].toObject().value("procArr")[6].toObject().value("obj").toObject();
    QCOMPARE(obj.value("taps").toString(), QString::number(longer));
    QCOMPARE(obj.value("arr").toArray().size(), longer);

    dsp->close();
    QTRY_VERIFY(!m_window->dspWindow(device));
}

QTEST_MAIN(TestFirEditorSim)
#include "tst_fireditorsim.moc"
