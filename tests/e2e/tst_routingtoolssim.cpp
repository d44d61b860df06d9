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

#include <QAbstractItemView>
#include <QAction>
#include <QContextMenuEvent>
#include <QDir>
#include <QGraphicsView>
#include <QLabel>
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
    void pictures();

private:
    QPoint cell(const QString &txOwner, int txCh, const QString &rxOwner, int rxCh);
    /// Chooses an entry of the routing menu once it pops up.
    void chooseFromMenu(const char *action, int tries = 500);
    /// The confirm dialog's button, pressed once the dialog is up; its picture kept when asked;
    /// thenNext runs on the dialog that comes after it.
    void pressInNextDialog(const char *button, const QString &picture = {},
                           std::function<void(QWidget *)> thenNext = {});
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

void TestRoutingToolsSim::chooseFromMenu(const char *action, int tries)
{
    // Polled without a nested wait: the menu runs its own loop, and a wait here would sit under it.
    QTimer::singleShot(10, this, [this, action, tries] {
        auto *menu = qobject_cast<QMenu *>(QApplication::activePopupWidget());
        if (!menu) {
            QVERIFY2(tries > 0, "the routing menu never came up");
            chooseFromMenu(action, tries - 1);
            return;
        }
        QAction *a = menu->findChild<QAction *>(QLatin1String(action));
        QVERIFY2(a && a->isEnabled(), action);
        menu->setActiveAction(a);
        QTest::keyClick(menu, Qt::Key_Return);
    });
}

void TestRoutingToolsSim::pressInNextDialog(const char *button, const QString &picture,
                                            std::function<void(QWidget *)> thenNext)
{
    NoticeAnswers::onNextModal([button, picture, thenNext](QWidget *dialog) {
        const QString dir = qEnvironmentVariable("CORVANE_SHOT_DIR");
        if (!picture.isEmpty() && !dir.isEmpty())
            QVERIFY(dialog->grab().save(QDir(dir).filePath(picture)));
        // Watched for before the click: the next dialog may open at once.
        if (thenNext)
            NoticeAnswers::onNextModal(thenNext, dialog);
        NoticeAnswers::click(dialog, button);
    });
}

namespace {

/// Every text of a result dialog: its labels and every cell of its lists.
QString dialogText(QWidget *dialog)
{
    QString all;
    for (QLabel *l : dialog->findChildren<QLabel *>())
        all += l->text() + '\n';
    std::function<void(const QAbstractItemModel *, const QModelIndex &)> walk =
        [&](const QAbstractItemModel *m, const QModelIndex &parent) {
            for (int r = 0; r < m->rowCount(parent); ++r) {
                for (int c = 0; c < m->columnCount(parent); ++c)
                    all += m->index(r, c, parent).data().toString() + '|';
                walk(m, m->index(r, 0, parent));
            }
        };
    // A list's header is a view of the same model: each model once.
    QSet<const QAbstractItemModel *> models;
    for (QAbstractItemView *v : dialog->findChildren<QAbstractItemView *>())
        if (!models.contains(v->model())) {
            models.insert(v->model());
            walk(v->model(), QModelIndex());
        }
    return all;
}

} // namespace

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

    // The virtual devices are never on one network, and undo asks that again as a click would.
    pressInNextDialog("pb_apply");
    sendFocus();
    QTest::keyClick(m_form->view(), Qt::Key_Z, Qt::ControlModifier);
    QVERIFY(finished.wait(15000));
    QVERIFY(consoleRoutedFromMatrix(16, false));
    QVERIFY(tools->history().canRedo() && !tools->history().canUndo());

    pressInNextDialog("pb_apply");
    sendFocus();
    QTest::keyClick(m_form->view(), Qt::Key_Z, Qt::ControlModifier | Qt::ShiftModifier);
    QVERIFY(finished.wait(15000));
    QVERIFY(consoleRoutedFromMatrix(16, true));

    // A receive channel changed behind the program's back is reported, not forced back.
    m_window->slot_sendUdp(R"({"ops":"setUcastRx","devId":"SIM-0003","srcDevId":"SIM-0002","srcChId":"0","dstChId":"4"})", "test");
    QTRY_VERIFY_WITH_TIMEOUT(m_window.registry().findByDevId("SIM-0003")->routeOf(4)->srcDevId == "SIM-0002", 5000);
    QString report;
    pressInNextDialog("pb_apply", {}, [&report](QWidget *dialog) {
        report = dialogText(dialog);
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
    QSignalSpy replies(m_window.window(), &MainWindow::signal_recv_message);
    m_window->slot_sendUdp(R"({"ops":"setLock","password":"123456","val":"0x2","devId":"SIM-0002"})", "test");
    QTRY_VERIFY_WITH_TIMEOUT(std::any_of(replies.cbegin(), replies.cend(), [](const QList<QVariant> &r) {
                                 const QString json = r.value(0).toString();
                                 return json.contains("setLock") && json.contains("succ");
                             }),
                             5000);
    // The whole pair from the right-click menu of a cell of the two devices.
    const QPoint at = cell("SIM-0001", 1, "SIM-0002", 1);
    QWidget *viewport = m_form->view()->viewport();
    chooseFromMenu("act_bulkPair");
    QString refused;
    pressInNextDialog("pb_apply", {}, [&refused](QWidget *dialog) {
        const QString dir = qEnvironmentVariable("CORVANE_SHOT_DIR");
        if (!dir.isEmpty())
            QVERIFY(dialog->grab().save(QDir(dir).filePath("routing-bulk-result-en.png")));
        refused = dialogText(dialog);
        dialog->close();
    });
    QSignalSpy finished(m_form->tools(), &RouteTools::signal_batchFinished);
    QContextMenuEvent menu(QContextMenuEvent::Mouse, at, viewport->mapToGlobal(at));
    QApplication::sendEvent(viewport, &menu);
    QVERIFY(finished.wait(15000));
    QVERIFY2(refused.count("设备已加锁") == 2, qPrintable(refused));
    const auto rx = m_window.registry().findByDevId("SIM-0002");
    QVERIFY(!rx->routeOf(0) && !rx->routeOf(1));
}

void TestRoutingToolsSim::pictures()
{
    if (qEnvironmentVariableIsEmpty("CORVANE_SHOT_DIR"))
        QSKIP("set CORVANE_SHOT_DIR to keep pictures of the dialogs");
    m_window->slot_switchLanguage(true);
    pressInNextDialog("pb_cancel", "routing-bulk-confirm-zh.png");
    m_form->tools()->bulkRoute({"SIM-0006", "SIM-0003", 1, 16});
    // The snapshot of the test before, against a network changed since.
    m_window->slot_sendUdp(R"({"ops":"setUcastRx","devId":"SIM-0004","srcDevId":"SIM-0003","srcChId":"1","dstChId":"1"})",
                           "test");
    QTRY_VERIFY_WITH_TIMEOUT(m_window.registry().findByDevId("SIM-0004")->routeOf(1), 5000);
    pressInNextDialog("pb_close", "routing-snapshot-diff-zh.png");
    m_form->tools()->compareSnapshot();
    m_window->slot_switchLanguage(false);
}

QTEST_MAIN(TestRoutingToolsSim)
#include "tst_routingtoolssim.moc"
