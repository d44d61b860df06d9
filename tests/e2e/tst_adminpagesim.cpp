// The DSP window's administration page against corvane-sim, inside a private network namespace: the page's
// exchanges reach the device's address, a load makes the window read the configuration again, and the restart
// after the factory reset reboots the device through the main window's datagrams.
#include "core/dsp/dspcontroller.h"
#include "core/dsp/programs/programcommands.h"
#include "core/protocol/ipv4.h"
#include "gui/dsp/adminform.h"
#include "gui/dsp/devdspdialog.h"

#include "../support/noticesequence.h"
#include "../support/programwindow.h"
#include "../support/simulator.h"

#include <QLabel>
#include <QListWidget>

class TestAdminPageSim : public QObject
{
    Q_OBJECT
private slots:
    void loadThenFactoryReset()
    {
        const QString device = QStringLiteral("SIM-0007");
        REQUIRE_PRIVATE_NETWORK();
        QVERIFY2(m_sim.start(), m_sim.why());
        QVERIFY(m_window.open(MainWindow::Devices));
        QTRY_VERIFY_WITH_TIMEOUT(m_window.registry().findByDevId(device), 15000);
        const QString ip = Ipv4::toText(m_window.registry().findByDevId(device)->rec.ip);
        const StoredActions::Exchange direct = [ip](const QString &request) { return DspExchange::run(ip, request); };
        QVERIFY(StoredActions::save(direct, 1, "gui_rec").ok);

        DevDspDialog *dsp = m_window->slot_openDsp(device);
        DspController *ctl = dsp->controller();
        QTRY_VERIFY_WITH_TIMEOUT(ctl->isLoaded(), 15000);
        dsp->showAdmin();
        AdminForm *page = dsp->admin();
        QCOMPARE(page->list()->item(1)->text(), QStringLiteral("1 gui_rec"));

        QSignalSpy reread(ctl, &DspController::signal_documentLoaded);
        QStringList told;
        page->list()->setCurrentRow(1);
        answerInOrder(page, {"pb_ok"}, &told);
        QTest::mouseClick(page->findChild<QPushButton *>("pb_load"), Qt::LeftButton);
        QCOMPARE(told, QStringList{tx(Tx::AdminSuccess)});
        QCOMPARE(page->findChild<QLabel *>("lb_lastLoaded")->text(), QStringLiteral("1 gui_rec"));
        QVERIFY(reread.count() > 0 || reread.wait(15000));

        answerInOrder(page, {"pb_yes", "pb_yes"}, &told);
        QTest::mouseClick(page->findChild<QPushButton *>("pb_factoryReset"), Qt::LeftButton);
        QCOMPARE(page->list()->item(1)->text(), QStringLiteral("1"));
        // A rebooting device takes no connections for a while.
        QTRY_VERIFY_WITH_TIMEOUT(!DspExchange::run(ip, ProgramCommands::getLastConfig(), DevicePorts::kDsp, 300, 600).ok,
                                 5000);
    }

private:
    Simulator m_sim;
    ProgramWindow m_window;
};

QTEST_MAIN(TestAdminPageSim)
#include "tst_adminpagesim.moc"
