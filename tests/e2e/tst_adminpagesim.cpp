// The DSP window's administration page against corvane-sim, inside a private network namespace: the page's
// blocking exchanges reach the device, a load makes the window read the configuration again, and the factory
// reset's restart reboots the device through the main window's datagrams.
#include "core/dsp/dspcontroller.h"
#include "core/dsp/dspexchange.h"
#include "core/dsp/programs/programcommands.h"
#include "core/protocol/ipv4.h"
#include "gui/dsp/adminform.h"
#include "gui/dsp/devdspdialog.h"
#include "gui/widgets/noticebox.h"

#include "../support/programwindow.h"
#include "../support/simulator.h"

#include <QApplication>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QSignalSpy>
#include <QtTest>

namespace {

/// Answers the next boxes in order, one button each; the texts are kept.
void answerInOrder(QObject *owner, const QStringList &buttons, QStringList *texts)
{
    auto queue = std::make_shared<QStringList>(buttons);
    auto *timer = new QTimer(owner);
    QObject::connect(timer, &QTimer::timeout, timer, [timer, queue, texts] {
        auto *box = qobject_cast<NoticeBox *>(QApplication::activeModalWidget());
        if (!box || box->property("answered").toBool())
            return;
        box->setProperty("answered", true);
        texts->append(box->text());
        QTest::mouseClick(box->findChild<QPushButton *>(queue->takeFirst()), Qt::LeftButton);
        if (queue->isEmpty())
            timer->deleteLater();
    });
    timer->start(10);
}

} // namespace

class TestAdminPageSim : public QObject
{
    Q_OBJECT
private slots:
    void storeLoadAndFactoryReset();

private:
    Simulator m_sim;
    ProgramWindow m_window;
};

void TestAdminPageSim::storeLoadAndFactoryReset()
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

    dsp->showAdmin();
    AdminForm *page = dsp->admin();
    QTRY_VERIFY(page->isVisible());
    QListWidget *list = page->list();
    QCOMPARE(list->item(1)->text(), QStringLiteral("1"));
    QCOMPARE(page->findChild<QLabel *>("lb_lastLoaded")->text(), QStringLiteral("-"));

    QStringList told;
    list->setCurrentRow(1);
    page->findChild<QLineEdit *>("le_name")->setText("gui_rec");
    answerInOrder(page, {"pb_ok"}, &told);
    QTest::mouseClick(page->findChild<QPushButton *>("pb_save"), Qt::LeftButton);
    QCOMPARE(told, QStringList{tx(Tx::AdminSuccess)});
    QCOMPARE(list->item(1)->text(), QStringLiteral("1 gui_rec"));

    // A load replaces what the device runs: the window reads it again.
    QSignalSpy reread(ctl, &DspController::signal_documentLoaded);
    told.clear();
    answerInOrder(page, {"pb_ok"}, &told);
    QTest::mouseClick(page->findChild<QPushButton *>("pb_load"), Qt::LeftButton);
    QCOMPARE(told, QStringList{tx(Tx::AdminSuccess)});
    QCOMPARE(page->findChild<QLabel *>("lb_lastLoaded")->text(), QStringLiteral("1 gui_rec"));
    QVERIFY(reread.count() > 0 || reread.wait(kWaitMs));

    // Reset, then yes to the restart: the records are gone and the device goes quiet while it reboots.
    told.clear();
    answerInOrder(page, {"pb_yes", "pb_yes"}, &told);
    QTest::mouseClick(page->findChild<QPushButton *>("pb_factoryReset"), Qt::LeftButton);
    QCOMPARE(told, (QStringList{tx(Tx::AdminFactoryConfirm), tx(Tx::AdminRestartAsk)}));
    QCOMPARE(list->item(1)->text(), QStringLiteral("1"));
    const QString ip = Ipv4::toText(m_window.registry().findByDevId(device)->rec.ip);
    QTRY_VERIFY_WITH_TIMEOUT(!DspExchange::run(ip, ProgramCommands::getLastConfig(), DevicePorts::kDsp, 300, 600).ok,
                             5000);
}

QTEST_MAIN(TestAdminPageSim)
#include "tst_adminpagesim.moc"
