// The program's own windows against corvane-sim's default network, inside a
// private network namespace (tests/netns-run).
#include "gui/device/devicelistform.h"
#include "gui/device/devicetablemodel.h"
#include "core/device/lockplan.h"
#include "gui/factory/devicetestdialog.h"
#include "gui/widgets/snackbar.h"

#include "gui/widgets/style.h"

#include "../support/programwindow.h"
#include "../support/simulator.h"

#include <QDir>
#include <QJsonDocument>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QSpinBox>
#include <QComboBox>
#include <QTableView>
#include <QtTest>

namespace {

QString compact(const QJsonObject &o)
{
    return QString::fromUtf8(QJsonDocument(o).toJson(QJsonDocument::Compact));
}

QStringList names(const DeviceListForm *page)
{
    QStringList out;
    const QAbstractItemModel *m = page->view()->model();
    for (int r = 0; r < m->rowCount(); ++r)
        out.append(m->index(r, DeviceTableModel::Name).data().toString());
    return out;
}

} // namespace

class TestProgramSim : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase();
    void devicesPageShowsTheNetwork();
    void renameShowsAfterTheNextAnnouncement();
    void lockedDeviceRefusesRoutes();
    void deviceTestTool();

private:
    Simulator m_sim;
    ProgramWindow m_window;
    DeviceListForm *m_page = nullptr;
};

void TestProgramSim::initTestCase()
{
    REQUIRE_PRIVATE_NETWORK();
    QVERIFY2(m_sim.start(), m_sim.why());
    QVERIFY(m_window.open(MainWindow::Devices));
    m_page = m_window.page<DeviceListForm>(MainWindow::Devices);
    QVERIFY(m_page);
}

void TestProgramSim::devicesPageShowsTheNetwork()
{
    QTRY_COMPARE_WITH_TIMEOUT(m_page->model()->rowCount(), 8, 10000);
    QVERIFY(names(m_page).contains("Stage Box 8"));
    // Versions and lock states are asked for and arrive.
    const int row = m_page->model()->rowOf("SIM-0001");
    QTRY_COMPARE_WITH_TIMEOUT(m_page->model()->index(row, DeviceTableModel::Firmware).data().toString(),
                              QStringLiteral("3.1.4.5"), 10000);
    QTRY_COMPARE_WITH_TIMEOUT(m_page->model()->index(row, DeviceTableModel::Lock).data().toString(),
                              QStringLiteral("Open"), 10000);
}

void TestProgramSim::renameShowsAfterTheNextAnnouncement()
{
    QTRY_VERIFY_WITH_TIMEOUT(m_page->model()->rowOf("SIM-0002") >= 0, 10000);
    m_window->slot_sendUdp(compact({{"ops", "setDevName"}, {"devId", "SIM-0002"}, {"name", "Front of House"}}), "test");
    QTRY_VERIFY_WITH_TIMEOUT(names(m_page).contains("Front of House"), 8000);
    QVERIFY(!names(m_page).contains("Stage Box 8"));
}

void TestProgramSim::lockedDeviceRefusesRoutes()
{
    QTRY_VERIFY_WITH_TIMEOUT(m_page->model()->rowOf("SIM-0003") >= 0, 10000);
    const QVector<CommandPlan> lock = LockPlan::setLock("SIM-0003", "123456", 0, 1, 0);
    QVERIFY(m_window->deviceLink()->sendToPort(compact(lock[0].command), lock[0].port) > 0);
    QTRY_COMPARE_WITH_TIMEOUT(m_window->snackBar()->currentText(), QStringLiteral("Set successfully"), 5000);

    m_window->slot_sendUdp(compact({{"ops", "setUcastRx"}, {"devId", "SIM-0003"}, {"srcDevId", "SIM-0001"},
                                    {"srcChId", "0"}, {"dstChId", "0"}}), "test");
    QTRY_COMPARE_WITH_TIMEOUT(m_window->snackBar()->currentText(), QStringLiteral("设备已加锁 (the device is locked)"), 10000);

    // A wrong password changes nothing and says so.
    const QVector<CommandPlan> wrong = LockPlan::setLock("SIM-0003", "nope", 0, 0, 0);
    m_window->deviceLink()->sendToPort(compact(wrong[0].command), wrong[0].port);
    QTRY_COMPARE_WITH_TIMEOUT(m_window->snackBar()->currentText(), QStringLiteral("Password error"), 10000);
}

void TestProgramSim::deviceTestTool()
{
    QTest::mouseClick(m_window->findChild<QPushButton *>("pb_tools"), Qt::LeftButton);
    auto *dialog = m_window->findChild<DeviceTestDialog *>();
    QVERIFY(dialog && dialog->isVisible());
    QTest::mouseClick(dialog->findChild<QPushButton *>("pb_ask"), Qt::LeftButton);
    QTRY_COMPARE_WITH_TIMEOUT(dialog->findChild<QListWidget *>("lw_answers")->count(), 8, 5000);

    auto *device = dialog->findChild<QComboBox *>("com_device");
    device->setCurrentIndex(device->findData("SIM-0004")); // the amplifier has pins
    QVERIFY(device->currentIndex() >= 0);
    dialog->findChild<QSpinBox *>("sb_pin")->setValue(1);
    QTest::mouseClick(dialog->findChild<QPushButton *>("pb_gpioHigh"), Qt::LeftButton);
    QTRY_COMPARE_WITH_TIMEOUT(dialog->findChild<QLabel *>("lb_gpioResult")->text(), QStringLiteral("Pin 1 reads 1"), 5000);

    QTest::keyClicks(dialog->findChild<QLineEdit *>("le_uart"), "hello line");
    QTest::mouseClick(dialog->findChild<QPushButton *>("pb_uartSend"), Qt::LeftButton);
    QTRY_VERIFY_WITH_TIMEOUT(dialog->findChild<QPlainTextEdit *>("te_uartLog")->toPlainText().contains("Echo: hello line"), 5000);

    if (!qEnvironmentVariableIsEmpty("CORVANE_SHOT_DIR")) {
        const QDir dir(qEnvironmentVariable("CORVANE_SHOT_DIR"));
        qApp->setStyleSheet(Style::applicationStyleSheet()); // as the program looks
        for (const bool chinese : {false, true}) {
            m_window->slot_switchLanguage(chinese);
            QTest::qWait(300); // let the window system draw it before the grab
            QVERIFY(dialog->grab().save(
                dir.filePath(QStringLiteral("device-test-%1.png").arg(chinese ? QStringLiteral("zh") : QStringLiteral("en")))));
        }
        m_window->slot_switchLanguage(false);
        qApp->setStyleSheet(QString());
    }
}

QTEST_MAIN(TestProgramSim)
#include "tst_programsim.moc"
