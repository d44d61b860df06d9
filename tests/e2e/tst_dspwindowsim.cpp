// The DSP window against corvane-sim's signal processor SIM-0006, inside a private network namespace
// (tests/netns-run): opened from the Devices page, a block bypassed through the diagram and the configuration
// saved; a fresh "getConfig" on a connection of its own then shows the change on the device.
#include "core/dsp/dspcontroller.h"
#include "core/dsp/dspexchange.h"
#include "core/protocol/ipv4.h"
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

class TestDspWindowSim : public QObject
{
    Q_OBJECT
private slots:
    void bypassSavedReachesTheDevice();

private:
    Simulator m_sim;
    ProgramWindow m_window;
};

void TestDspWindowSim::bypassSavedReachesTheDevice()
{
    constexpr int kWaitMs = 15000;
    const QString device = QStringLiteral("SIM-0006");
    REQUIRE_PRIVATE_NETWORK();
    QVERIFY2(m_sim.start(), m_sim.why());
    QVERIFY(m_window.open(MainWindow::Devices));

    // Opened from the Devices page; a second click raises the same window.
    auto *devices = m_window.page<DeviceListForm>(MainWindow::Devices);
    QAbstractItemModel *rows = devices->view()->model();
    auto rowOf = [&] {
        for (int r = 0; r < rows->rowCount(); ++r)
            if (rows->index(r, 0).data(DeviceTableModel::DevIdRole) == device)
                return r;
        return -1;
    };
    QTRY_VERIFY_WITH_TIMEOUT(rowOf() >= 0, kWaitMs);
    devices->view()->selectRow(rowOf());
    auto *dspButton = devices->findChild<QPushButton *>("pb_dsp");
    QTest::mouseClick(dspButton, Qt::LeftButton);
    QTest::mouseClick(dspButton, Qt::LeftButton);
    QCOMPARE(m_window->findChildren<DevDspDialog *>().size(), 1);
    DevDspDialog *dsp = m_window->dspWindow(device);
    DspController *ctl = dsp->controller();
    QTRY_VERIFY_WITH_TIMEOUT(ctl->isLoaded(), kWaitMs);
    QVERIFY(!dsp->overlay()->isBusy());
    QCOMPARE(ctl->channelCount(DspSide::In), 16);

    // The first block of output 2, bypassed or not, is switched over by its context menu; the device's
    // "succ" brings the change into the document.
    const quint64 uid = ctl->blockId(DspSide::Out, 1, 0);
    const bool wasBypassed = ctl->block(uid)->bypass;
    DspDiagramForm *form = dsp->diagram();
    QGraphicsView *view = form->view(DspSide::Out);
    view->ensureVisible(form->blockItem(uid));
    const QPoint at = view->mapFromScene(form->blockItem(uid)->sceneBoundingRect().center());
    QContextMenuEvent event(QContextMenuEvent::Mouse, at, view->viewport()->mapToGlobal(at));
    QApplication::sendEvent(view->viewport(), &event);
    auto *menu = form->findChild<QMenu *>("menu_block");
    QTRY_VERIFY(menu->isVisible());
    menu->findChild<QAction *>("act_bypass")->trigger();
    menu->close();
    QTRY_COMPARE_WITH_TIMEOUT(ctl->block(uid)->bypass, !wasBypassed, kWaitMs);
    QCOMPARE(form->blockItem(uid)->isBypassed(), !wasBypassed);

    QSignalSpy saved(ctl, &DspController::signal_saved);
    QTest::mouseClick(form->findChild<QPushButton *>("pb_save"), Qt::LeftButton);
    QVERIFY(saved.wait(DspController::kConfigTimeoutMs + 2000));
    QCOMPARE(saved.first().first().toBool(), true);

    const QJsonObject block = ProgramWindow::blockOf(m_window.freshConfig(device), true, 1, 0);
    QCOMPARE(block.value("bypass").toString(), QString(wasBypassed ? "0" : "1"));

    dsp->close();
    QTRY_VERIFY(!m_window->dspWindow(device));
}

QTEST_MAIN(TestDspWindowSim)
#include "tst_dspwindowsim.moc"
