// The routing grid of the real program against corvane-sim's default network,
// inside a private network namespace (tests/netns-run). With CORVANE_SHOT_DIR
// set it also leaves pictures of the page there.
#include "gui/routing/cellrouteform.h"
#include "gui/routing/routecellitem.h"
#include "gui/widgets/snackbar.h"

#include "../support/noticeanswers.h"
#include "../support/programwindow.h"
#include "../support/simulator.h"

#include <QDir>
#include <QGraphicsView>
#include <QJsonDocument>
#include <QPushButton>
#include <QtTest>

namespace {

QString compact(const QJsonObject &o)
{
    return QString::fromUtf8(QJsonDocument(o).toJson(QJsonDocument::Compact));
}

} // namespace

class TestRoutingGridSim : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase();
    void unicastRouteFromTheGrid();
    void multicastSubscriptionFromTheGrid();
    void pictures();

private:
    void click(int row, int column);
    /// Unfolds the pair of owners by a click on their owner x owner cell.
    void unfoldPair(const QString &rowOwner, const QString &columnOwner);
    void unfoldRow(const QString &owner);
    void unfoldColumn(const QString &owner);
    void foldAll();
    /// Clicks the cell and waits for the next rebuild to show it in the given state.
    void clickAndSee(const QString &rowOwner, int rowChannel, const QString &rxDevId, int rxChannel, bool routed);
    void shoot(const QString &name);

    Simulator m_sim;
    ProgramWindow m_window;
    CellRouteForm *m_form = nullptr;
    QTimer m_answer;
    QStringList m_questions;
};

void TestRoutingGridSim::initTestCase()
{
    REQUIRE_PRIVATE_NETWORK();
    QVERIFY2(m_sim.start(), m_sim.why());
    // The designed size: cells of 16 pixels.
    QVERIFY(m_window.open(MainWindow::Routing, true));
    m_form = m_window.page<CellRouteForm>(MainWindow::Routing);
    QVERIFY(m_form);
    // Every question is answered yes (the virtual devices sit on 127/8,
    // which never counts as one network), and remembered.
    NoticeAnswers::answerAll(&m_answer, &m_questions);
    // The whole network first: lines must not move under a click.
    QVERIFY(m_window.waitForNetwork(8, 2));
    QTRY_VERIFY_WITH_TIMEOUT(m_form->grid().findLine(RouteGrid::Rows, "Mix Bus") >= 0
                                 && m_form->grid().findLine(RouteGrid::Rows, "Stage L-R") >= 0
                                 && m_form->grid().columnCount() == 8,
                             15000);
}

void TestRoutingGridSim::click(int row, int column)
{
    m_form->scrollToLine(RouteGrid::Rows, qMax(0, row - 5));
    m_form->scrollToLine(RouteGrid::Columns, qMax(0, column - 5));
    QTest::mouseClick(m_form->view()->viewport(), Qt::LeftButton, {}, m_form->cellCentreInView(row, column));
}

void TestRoutingGridSim::unfoldPair(const QString &rowOwner, const QString &columnOwner)
{
    const RouteGrid &g = m_form->grid();
    if (g.isExpanded(RouteGrid::Rows, rowOwner) || g.isExpanded(RouteGrid::Columns, columnOwner))
        click(g.findLine(RouteGrid::Rows, rowOwner), g.findLine(RouteGrid::Columns, columnOwner)); // folds both first
    QTRY_VERIFY(!g.isExpanded(RouteGrid::Rows, rowOwner) && !g.isExpanded(RouteGrid::Columns, columnOwner));
    click(g.findLine(RouteGrid::Rows, rowOwner), g.findLine(RouteGrid::Columns, columnOwner));
    QTRY_VERIFY(g.isExpanded(RouteGrid::Rows, rowOwner) && g.isExpanded(RouteGrid::Columns, columnOwner));
}

void TestRoutingGridSim::unfoldRow(const QString &owner)
{
    const int line = m_form->grid().findLine(RouteGrid::Rows, owner);
    m_form->scrollToLine(RouteGrid::Rows, line);
    QPushButton *b = m_form->rowHeader(line);
    QVERIFY(b);
    if (!m_form->grid().isExpanded(RouteGrid::Rows, owner))
        QTest::mouseClick(b, Qt::LeftButton, {}, QPoint(4, b->height() / 2));
    QTRY_VERIFY(m_form->grid().isExpanded(RouteGrid::Rows, owner));
}

void TestRoutingGridSim::unfoldColumn(const QString &owner)
{
    const int line = m_form->grid().findLine(RouteGrid::Columns, owner);
    m_form->scrollToLine(RouteGrid::Columns, line);
    QPushButton *b = m_form->columnHeader(line);
    QVERIFY(b);
    if (!m_form->grid().isExpanded(RouteGrid::Columns, owner))
        QTest::mouseClick(b, Qt::LeftButton, {}, QPoint(4, b->height() / 2));
    QTRY_VERIFY(m_form->grid().isExpanded(RouteGrid::Columns, owner));
}

void TestRoutingGridSim::foldAll()
{
    for (RouteGrid::Axis axis : {RouteGrid::Rows, RouteGrid::Columns}) {
        const QStringList owners = m_form->grid().expanded(axis).values();
        for (const QString &owner : owners) {
            const int line = m_form->grid().findLine(axis, owner);
            if (line < 0)
                continue;
            m_form->scrollToLine(axis, line);
            QPushButton *b = axis == RouteGrid::Rows ? m_form->rowHeader(line) : m_form->columnHeader(line);
            QVERIFY(b);
            QTest::mouseClick(b, Qt::LeftButton, {}, QPoint(4, b->height() / 2));
            QTRY_VERIFY(!m_form->grid().isExpanded(axis, owner));
        }
    }
}

void TestRoutingGridSim::clickAndSee(const QString &rowOwner, int rowChannel, const QString &rxDevId, int rxChannel,
                                     bool routed)
{
    const RouteGrid &g = m_form->grid();
    const int row = g.findLine(RouteGrid::Rows, rowOwner, rowChannel);
    const int column = g.findLine(RouteGrid::Columns, rxDevId, rxChannel);
    QVERIFY(row > 0 && column > 0);
    QCOMPARE(g.cellState(row, column), routed ? 0 : 2);
    const int rebuilds = m_form->rebuildCount();
    click(row, column);
    QTRY_VERIFY_WITH_TIMEOUT(m_form->rebuildCount() > rebuilds || m_form->cellItem(row, column)->isChecking(), 5000);
    QTRY_COMPARE_WITH_TIMEOUT(g.cellState(row, column), routed ? 2 : 0, 10000);
    RouteCellItem *cell = m_form->cellItem(row, column);
    QVERIFY(cell);
    QCOMPARE(cell->data(2).toString(), routed ? QStringLiteral("checked") : QString());
    QCOMPARE(cell->data(1).toString(), QString());
}

void TestRoutingGridSim::unicastRouteFromTheGrid()
{
    unfoldPair("SIM-0002", "SIM-0003");
    clickAndSee("SIM-0002", 3, "SIM-0003", 1, true);
    const auto rx = m_window.registry().findByDevId("SIM-0003");
    QVERIFY(rx && rx->routeOf(0));
    QCOMPARE(rx->routeOf(0)->srcDevId, QStringLiteral("SIM-0002"));
    QCOMPARE(rx->routeOf(0)->srcChId, 2);
    QVERIFY(m_questions.contains("two device not same network, want to set routing?"));

    clickAndSee("SIM-0002", 3, "SIM-0003", 1, false);
    QTRY_VERIFY_WITH_TIMEOUT(!m_window.registry().findByDevId("SIM-0003")->routeOf(0), 5000);
}

void TestRoutingGridSim::multicastSubscriptionFromTheGrid()
{
    unfoldPair("Stage L-R", "SIM-0006");
    clickAndSee("Stage L-R", 2, "SIM-0006", 5, true);
    const auto rx = m_window.registry().findByDevId("SIM-0006");
    QVERIFY(rx && rx->routeOf(4) && rx->routeOf(4)->isMulticast());
    clickAndSee("Stage L-R", 2, "SIM-0006", 5, false);
}

void TestRoutingGridSim::shoot(const QString &name)
{
    const QString dir = qEnvironmentVariable("CORVANE_SHOT_DIR");
    QTest::qWait(300);
    m_window->snackBar()->hide();
    QVERIFY(m_window->grab().save(QDir(dir).filePath(name)));
}

void TestRoutingGridSim::pictures()
{
    if (qEnvironmentVariableIsEmpty("CORVANE_SHOT_DIR"))
        QSKIP("set CORVANE_SHOT_DIR to keep pictures of the page");
    auto send = [this](const QJsonObject &o) { m_window->slot_sendUdp(compact(o), "test"); };
    // A few routes: a stage box into the console, the console into the amplifier, a flow into the matrix.
    for (int ch = 0; ch < 4; ++ch)
        send({{"ops", "setUcastRx"}, {"devId", "SIM-0003"}, {"srcDevId", "SIM-0002"}, {"srcChId", QString::number(ch)},
              {"dstChId", QString::number(ch)}});
    for (int ch = 0; ch < 4; ++ch)
        send({{"ops", "setUcastRx"}, {"devId", "SIM-0004"}, {"srcDevId", "SIM-0003"},
              {"srcChId", QString::number(8 + ch)}, {"dstChId", QString::number(ch)}});
    send({{"ops", "setUcastRx"}, {"devId", "SIM-0006"}, {"srcDevId", "SIM-0001"}, {"srcChId", "1"}, {"dstChId", "2"}});
    QJsonObject sdp{{"srcIp", "127.0.0.3"}, {"dstIp", "239.69.1.2"}, {"dstPort", "5004"}, {"chNum", "2"},
                    {"sampleByteNum", "3"}, {"rtpTsOffset", "0"}};
    for (int ch = 0; ch < 2; ++ch)
        send({{"ops", "setMcastRx"}, {"devId", "SIM-0006"}, {"sdp", sdp}, {"srcChId", QString::number(ch)},
              {"dstChId", QString::number(ch)}});
    send({{"ops", "setUcastRx"}, {"devId", "SIM-0008"}, {"srcDevId", "SIM-0002"}, {"srcChId", "0"}, {"dstChId", "0"}});
    QTRY_VERIFY_WITH_TIMEOUT(m_form->grid().pairRouted("SIM-0003", "SIM-0004"), 10000);
    QTRY_VERIFY_WITH_TIMEOUT(m_form->grid().pairRouted("Stage L-R", "SIM-0006"), 10000);
    QTRY_VERIFY_WITH_TIMEOUT(m_form->grid().pairRouted("SIM-0002", "SIM-0008"), 10000);
    foldAll();
    m_form->scrollToLine(RouteGrid::Rows, 0);
    m_form->scrollToLine(RouteGrid::Columns, 0);
    shoot("routing-folded-en.png");

    unfoldRow("SIM-0002");
    unfoldRow("Stage L-R");
    unfoldColumn("SIM-0004");
    unfoldColumn("SIM-0003");
    unfoldColumn("SIM-0006");
    m_form->scrollToLine(RouteGrid::Rows, 0);
    m_form->scrollToLine(RouteGrid::Columns, 0);
    QTest::qWait(300);
    const int row = m_form->grid().findLine(RouteGrid::Rows, "SIM-0002", 2);
    const int column = m_form->grid().findLine(RouteGrid::Columns, "SIM-0003", 5);
    QTest::mouseMove(m_form->view()->viewport(), m_form->cellCentreInView(row, column));
    QTRY_VERIFY(m_form->cellItem(row, column - 1)->isHighlighted());
    shoot("routing-en.png");
    m_window->slot_switchLanguage(true);
    QTest::mouseMove(m_form->view()->viewport(), m_form->cellCentreInView(row, column));
    shoot("routing-zh.png");
    m_window->slot_switchLanguage(false);
    m_window->resize(1900, 1060);
    QTest::qWait(300);
    unfoldRow("SIM-0003");
    m_form->scrollToLine(RouteGrid::Rows, 0);
    shoot("routing-large-en.png");
}

QTEST_MAIN(TestRoutingGridSim)
#include "tst_routinggridsim.moc"
