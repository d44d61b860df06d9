// The DSP window against corvane-sim's signal processor SIM-0006, inside a private network namespace
// (tests/netns-run): opened from the Devices page, a block bypassed through the diagram and the configuration
// saved; a fresh "getConfig" on a connection of its own then shows the change on the device.
#include "core/dsp/dspcontroller.h"
#include "core/dsp/dspexchange.h"
#include "gui/device/devicelistform.h"
#include "gui/device/devicetablemodel.h"
#include "gui/dsp/cbaseitem.h"
#include "gui/dsp/devdspdialog.h"
#include "gui/dsp/dspdiagramform.h"
#include "gui/widgets/busyoverlay.h"

#include "../support/programwindow.h"
#include "../support/simulator.h"

#include <QApplication>
#include <QContextMenuEvent>
#include <QGraphicsView>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMenu>
#include <QPushButton>
#include <QTableView>
#include <QtTest>

namespace {

constexpr int kWaitMs = 15000;
const QString kDevice = QStringLiteral("SIM-0006");

} // namespace

class TestDspWindowSim : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase();
    void bypassSavedReachesTheDevice();

private:
    Simulator m_sim;
    ProgramWindow m_window;
};

void TestDspWindowSim::initTestCase()
{
    REQUIRE_PRIVATE_NETWORK();
    QVERIFY2(m_sim.start(), m_sim.why());
    QVERIFY(m_window.open(MainWindow::Devices));
    QTRY_VERIFY_WITH_TIMEOUT(m_window.registry().findByDevId(kDevice), kWaitMs);
}

void TestDspWindowSim::bypassSavedReachesTheDevice()
{
    // Opened from the Devices page; a second click raises the same window.
    auto *devices = m_window.page<DeviceListForm>(MainWindow::Devices);
    QTableView *table = devices->view();
    int row = -1;
    QTRY_VERIFY_WITH_TIMEOUT((row = [&] {
                                 for (int r = 0; r < table->model()->rowCount(); ++r)
                                     if (table->model()->index(r, 0).data(DeviceTableModel::DevIdRole) == kDevice)
                                         return r;
                                 return -1;
                             }()) >= 0,
                             kWaitMs);
    table->selectRow(row);
    auto *dspButton = devices->findChild<QPushButton *>("pb_dsp");
    QVERIFY(dspButton->isEnabled());
    QTest::mouseClick(dspButton, Qt::LeftButton);
    DevDspDialog *dsp = m_window->dspWindow(kDevice);
    QVERIFY(dsp);
    QTest::mouseClick(dspButton, Qt::LeftButton);
    QCOMPARE(m_window->findChildren<DevDspDialog *>().size(), 1);

    DspController *ctl = dsp->controller();
    QTRY_VERIFY_WITH_TIMEOUT(ctl->isLoaded(), kWaitMs);
    QVERIFY(!dsp->overlay()->isBusy());
    QCOMPARE(ctl->channelCount(DspSide::In), 16);

    // The first block of output 2, bypassed or not, is switched over by its context menu.
    const quint64 uid = ctl->blockId(DspSide::Out, 1, 0);
    QVERIFY(uid);
    const bool wasBypassed = ctl->block(uid)->bypass;
    DspDiagramForm *form = dsp->diagram();
    CBaseItem *item = form->blockItem(uid);
    QVERIFY(item);
    QGraphicsView *view = form->view(DspSide::Out);
    view->ensureVisible(item);
    const QPoint at = view->mapFromScene(item->sceneBoundingRect().center());
    QContextMenuEvent event(QContextMenuEvent::Mouse, at, view->viewport()->mapToGlobal(at));
    QApplication::sendEvent(view->viewport(), &event);
    auto *menu = form->findChild<QMenu *>("menu_block");
    QTRY_VERIFY(menu->isVisible());
    menu->findChild<QAction *>("act_bypass")->trigger();
    menu->close();
    // The device's "succ" brings it into the document.
    QTRY_COMPARE_WITH_TIMEOUT(ctl->block(uid)->bypass, !wasBypassed, kWaitMs);
    QCOMPARE(item->isBypassed(), !wasBypassed);

    QSignalSpy saved(ctl, &DspController::signal_saved);
    QTest::mouseClick(form->findChild<QPushButton *>("pb_save"), Qt::LeftButton);
    QVERIFY(saved.wait(DspController::kConfigTimeoutMs + 2000));
    QCOMPARE(saved.first().first().toBool(), true);

    const auto device = m_window.registry().findByDevId(kDevice);
    const QString address = QStringLiteral("%1.%2.%3.%4")
                                .arg(device->rec.ip >> 24)
                                .arg((device->rec.ip >> 16) & 0xff)
                                .arg((device->rec.ip >> 8) & 0xff)
                                .arg(device->rec.ip & 0xff);
    const DspExchange::Result fresh = DspExchange::run(address, QStringLiteral(R"({"ops":"getConfig","uiTag":"dspUiTag"})"));
    QVERIFY2(fresh.ok, qPrintable(fresh.message));
    const QJsonArray nodes =
        QJsonDocument::fromJson(fresh.reply.toUtf8()).object().value("config").toObject().value("nodeArr").toArray();
    const QJsonObject block = nodes.last()
                                  .toObject()
                                  .value("portArr")
                                  .toArray()
                                  .at(1)
                                  .toObject()
                                  .value("procArr")
                                  .toArray()
                                  .at(0)
                                  .toObject();
    QCOMPARE(block.value("bypass").toString(), QString(wasBypassed ? "0" : "1"));

    // Closing the window ends its link.
    dsp->close();
    QTRY_VERIFY(!m_window->dspWindow(kDevice));
}

QTEST_MAIN(TestDspWindowSim)
#include "tst_dspwindowsim.moc"
