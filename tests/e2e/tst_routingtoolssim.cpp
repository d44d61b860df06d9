// The routing page's tools for many routes at once, in the real program
// against corvane-sim in a private network namespace: a Shift-dragged block
// routed in bulk, undone and redone by the keyboard; a snapshot saved,
// compared after three changes and recalled. With CORVANE_SHOT_DIR set it
// leaves pictures of the two dialogs there.
#include "gui/routing/cellrouteform.h"
#include "gui/routing/routetools.h"
#include "gui/widgets/filechoice.h"
#include "gui/widgets/snackbar.h"

#include "../support/noticeanswers.h"
#include "../support/programwindow.h"
#include "../support/simulator.h"

#include <QAction>
#include <QContextMenuEvent>
#include <QDir>
#include <QGraphicsView>
#include <QMenu>
#include <QTemporaryDir>
#include <QTreeWidget>
#include <QtTest>

class TestRoutingToolsSim : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase();
    void cleanupTestCase() { FileChoice::setHook({}); }
    void bulkBlockUndoRedo();
    void snapshotCompareAndRecall();
    void lockedReceiverRefusesTheBatch();

private:
    QPoint cell(const QString &txOwner, int txCh, const QString &rxOwner, int rxCh);
    /// Chooses an entry of the routing menu once it pops up.
    void chooseFromMenu(const char *action);
    /// The confirm dialog's button, pressed once the dialog is up; its picture kept when asked.
    void pressInNextDialog(const char *button, const QString &picture = {});
    /// The receive channels 1..count of SIM-0003 routed from SIM-0006 1..count, or all free.
    bool consoleRoutedFromMatrix(int count, bool routed) const;
    void sendFocus();

    Simulator m_sim;
    ProgramWindow m_window;
    CellRouteForm *m_form = nullptr;
    QTemporaryDir m_dir;
};

void TestRoutingToolsSim::initTestCase()
{
    REQUIRE_PRIVATE_NETWORK();
    QVERIFY2(m_sim.start(), m_sim.why());
    QVERIFY(m_window.open(MainWindow::Routing, true));
    m_form = m_window.page<CellRouteForm>(MainWindow::Routing);
    QVERIFY(m_form);
    QVERIFY(m_window.waitForNetwork(8, 2));
    QTRY_VERIFY_WITH_TIMEOUT(m_form->grid().columnCount() == 8 && m_form->grid().findLine(RouteGrid::Rows, "SIM-0006") >= 0,
                             15000);
    m_form->setAllExpanded(true);
}

QPoint TestRoutingToolsSim::cell(const QString &txOwner, int txCh, const QString &rxOwner, int rxCh)
{
    const int row = m_form->grid().findLine(RouteGrid::Rows, txOwner, txCh);
    const int column = m_form->grid().findLine(RouteGrid::Columns, rxOwner, rxCh);
    return m_form->cellCentreInView(row, column);
}

void TestRoutingToolsSim::chooseFromMenu(const char *action)
{
    const QString name = QLatin1String(action);
    QTimer::singleShot(0, this, [name] {
        QTRY_VERIFY(qobject_cast<QMenu *>(QApplication::activePopupWidget()));
        auto *menu = qobject_cast<QMenu *>(QApplication::activePopupWidget());
        QAction *a = menu->findChild<QAction *>(name);
        QVERIFY2(a && a->isEnabled(), qPrintable(name));
        menu->setActiveAction(a);
        QTest::keyClick(menu, Qt::Key_Return);
    });
}

void TestRoutingToolsSim::pressInNextDialog(const char *button, const QString &picture)
{
    NoticeAnswers::onNextModal([button, picture](QWidget *dialog) {
        const QString dir = qEnvironmentVariable("CORVANE_SHOT_DIR");
        if (!picture.isEmpty() && !dir.isEmpty())
            QVERIFY(dialog->grab().save(QDir(dir).filePath(picture)));
        NoticeAnswers::click(dialog, button);
    });
}

bool TestRoutingToolsSim::consoleRoutedFromMatrix(int count, bool routed) const
{
    const auto rx = m_window.registry().findByDevId("SIM-0003");
    if (!rx)
        return false;
    for (int ch = 0; ch < count; ++ch) {
        const RtpChItem *r = rx->routeOf(ch);
        if (routed != (r && r->srcDevId == QLatin1String("SIM-0006") && r->srcChId == ch))
            return false;
    }
    return true;
}

void TestRoutingToolsSim::sendFocus()
{
    QApplication::setActiveWindow(m_window.window());
    m_form->view()->setFocus();
}

void TestRoutingToolsSim::bulkBlockUndoRedo()
{
    RouteTools *tools = m_form->tools();
    QVERIFY(!tools->undoAction()->isEnabled());
    // The block from the matrix's first transmit channel to its 16th, onto the console's first 16.
    m_form->scrollToLine(RouteGrid::Rows, m_form->grid().findLine(RouteGrid::Rows, "SIM-0006"));
    m_form->scrollToLine(RouteGrid::Columns, m_form->grid().findLine(RouteGrid::Columns, "SIM-0003"));
    QWidget *viewport = m_form->view()->viewport();
    chooseFromMenu("act_bulkBlock");
    pressInNextDialog("pb_apply", "routing-bulk-confirm-en.png");
    QSignalSpy finished(tools, &RouteTools::signal_batchFinished);
    QTest::mousePress(viewport, Qt::LeftButton, Qt::ShiftModifier, cell("SIM-0006", 1, "SIM-0003", 1));
    // Dragged past the matrix's last channel: the block stops at it.
    QTest::mouseRelease(viewport, Qt::LeftButton, Qt::ShiftModifier, cell("SIM-0006", 16, "SIM-0003", 20));
    QVERIFY(finished.wait(15000));
    QVERIFY(consoleRoutedFromMatrix(16, true));
    QVERIFY2(m_window->snackBar()->currentText().contains("16 of 16"), qPrintable(m_window->snackBar()->currentText()));
    QVERIFY(tools->undoAction()->isEnabled());

    sendFocus();
    QTest::keyClick(m_form->view(), Qt::Key_Z, Qt::ControlModifier);
    QVERIFY(finished.wait(15000));
    QVERIFY(consoleRoutedFromMatrix(16, false));
    QVERIFY(tools->history().canRedo() && !tools->history().canUndo());

    sendFocus();
    QTest::keyClick(m_form->view(), Qt::Key_Z, Qt::ControlModifier | Qt::ShiftModifier);
    QVERIFY(finished.wait(15000));
    QVERIFY(consoleRoutedFromMatrix(16, true));

    // A receive channel changed behind the program's back is reported, not forced back.
    m_window->slot_sendUdp(R"({"ops":"setUcastRx","devId":"SIM-0003","srcDevId":"SIM-0002","srcChId":"0","dstChId":"4"})", "test");
    QTRY_VERIFY_WITH_TIMEOUT(m_window.registry().findByDevId("SIM-0003")->routeOf(4)->srcDevId == "SIM-0002", 5000);
    QString report;
    NoticeAnswers::onNextModal([&report](QWidget *dialog) {
        for (QLabel *l : dialog->findChildren<QLabel *>())
            report += l->text() + '\n';
        for (QAbstractItemView *v : dialog->findChildren<QAbstractItemView *>())
            for (int r = 0; r < v->model()->rowCount(); ++r)
                for (int c = 0; c < v->model()->columnCount(); ++c)
                    report += v->model()->index(r, c).data().toString() + ' ';
        dialog->close();
    });
    sendFocus();
    QTest::keyClick(m_form->view(), Qt::Key_Z, Qt::ControlModifier);
    QVERIFY(finished.wait(15000));
    QVERIFY2(report.contains("changed since"), qPrintable(report));
    const auto rx = m_window.registry().findByDevId("SIM-0003");
    QCOMPARE(rx->routeOf(4)->srcDevId, QStringLiteral("SIM-0002"));
    QVERIFY(!rx->routeOf(0) && !rx->routeOf(15));
}

void TestRoutingToolsSim::snapshotCompareAndRecall()
{
    const QString file = m_dir.filePath("show.json");
    FileChoice::setHook([file](bool, const QString &, const QString &) { return file; });
    RouteTools *tools = m_form->tools();
    tools->saveSnapshot();
    QVERIFY(QFile::exists(file));

    // Three changes: one route cleared, one moved, one added.
    auto send = [this](const char *json) { m_window->slot_sendUdp(QString::fromLatin1(json), "test"); };
    send(R"({"ops":"clrRxCh","devId":"SIM-0003","dstChId":"4"})");
    send(R"({"ops":"setUcastRx","devId":"SIM-0003","srcDevId":"SIM-0002","srcChId":"1","dstChId":"7"})");
    send(R"({"ops":"setUcastRx","devId":"SIM-0004","srcDevId":"SIM-0003","srcChId":"0","dstChId":"0"})");
    QTRY_VERIFY_WITH_TIMEOUT(m_window.registry().findByDevId("SIM-0004")->routeOf(0)
                                 && !m_window.registry().findByDevId("SIM-0003")->routeOf(4),
                             5000);

    int shown = -1;
    NoticeAnswers::onNextModal([&shown](QWidget *dialog) {
        auto *tree = dialog->findChild<QTreeWidget *>("tw_diff");
        QVERIFY(tree);
        tree->expandAll();
        shown = 0;
        for (int i = 0; i < tree->topLevelItemCount(); ++i)
            shown += tree->topLevelItem(i)->childCount();
        const QString dir = qEnvironmentVariable("CORVANE_SHOT_DIR");
        if (!dir.isEmpty())
            QVERIFY(dialog->grab().save(QDir(dir).filePath("routing-snapshot-diff-en.png")));
        NoticeAnswers::click(dialog, "pb_recall");
    });
    QSignalSpy finished(tools, &RouteTools::signal_batchFinished);
    tools->compareSnapshot();
    QVERIFY(finished.wait(15000));
    QCOMPARE(shown, 3);
    const auto console = m_window.registry().findByDevId("SIM-0003");
    QCOMPARE(console->routeOf(4)->srcDevId, QStringLiteral("SIM-0002"));
    QVERIFY(!console->routeOf(7));
    QVERIFY(!m_window.registry().findByDevId("SIM-0004")->routeOf(0));
    // Recalled is one step: undo takes the three back.
    QVERIFY(tools->history().undoLabel().contains("show.json"));
}

void TestRoutingToolsSim::lockedReceiverRefusesTheBatch()
{
    m_window->slot_sendUdp(R"({"ops":"setLock","password":"123456","val":"0x2"})"
                           R"(,"devId":"SIM-0002"})", "test");
    QTRY_COMPARE_WITH_TIMEOUT(m_window->snackBar()->currentText(), QStringLiteral("Set successfully"), 5000);
    // The whole pair from the right-click menu of a cell of the two devices.
    const QPoint at = cell("SIM-0001", 1, "SIM-0002", 1);
    QWidget *viewport = m_form->view()->viewport();
    chooseFromMenu("act_bulkPair");
    pressInNextDialog("pb_apply");
    QStringList refused;
    NoticeAnswers::onNextModal([&refused](QWidget *dialog) {
        const QString dir = qEnvironmentVariable("CORVANE_SHOT_DIR");
        if (!dir.isEmpty())
            QVERIFY(dialog->grab().save(QDir(dir).filePath("routing-bulk-result-en.png")));
        for (QAbstractItemView *v : dialog->findChildren<QAbstractItemView *>())
            for (int r = 0; r < v->model()->rowCount(); ++r)
                for (int c = 0; c < v->model()->columnCount(); ++c)
                    refused << v->model()->index(r, c).data().toString();
        dialog->close();
    }, QApplication::activeModalWidget());
    QSignalSpy finished(m_form->tools(), &RouteTools::signal_batchFinished);
    QContextMenuEvent menu(QContextMenuEvent::Mouse, at, viewport->mapToGlobal(at));
    QApplication::sendEvent(viewport, &menu);
    QVERIFY(finished.wait(15000));
    QVERIFY2(refused.filter("设备已加锁").size() == 2, qPrintable(refused.join('|')));
    const auto rx = m_window.registry().findByDevId("SIM-0002");
    QVERIFY(!rx->routeOf(0) && !rx->routeOf(1));
}

QTEST_MAIN(TestRoutingToolsSim)
#include "tst_routingtoolssim.moc"
