#include "core/app/scalefactors.h"
#include "core/devices/devmanager.h"
#include "core/protocol/ipv4.h"
#include "gui/routing/cellgraphicsscene.h"
#include "gui/routing/cellrouteform.h"
#include "gui/routing/routeheaderbutton.h"
#include "gui/routing/routecellitem.h"
#include "gui/widgets/noticebox.h"

#include "../support/noticeanswers.h"
#include "../support/packets.h"

#include <QApplication>
#include <QGraphicsView>
#include <QJsonArray>
#include <QLineEdit>
#include <QPushButton>
#include <QScrollBar>
#include <QtTest>

namespace {

QJsonObject page(const char *op, const char *devId, const QJsonArray &arr)
{
    return QJsonObject{{"ops", op}, {"devId", devId}, {"result", "succ"}, {"idStart", "0"}, {"idNext", arr.size()},
                       {"arr", arr}};
}

void announce(DevManager &reg, const char *devId, const char *address, const QJsonObject &overrides = {})
{
    const QByteArray a = Packets::announcement(devId, address, overrides);
    reg.intakeAnnouncement(a.constData(), a.size(), Ipv4::fromText(address), 9996);
}

// Free unicast stream slots, so that no stream-limit question is asked.
void freeStreams(DevManager &reg, const char *devId, const char *address)
{
    QJsonArray free;
    for (int i = 0; i < 4; ++i)
        free.append(QJsonObject{{"id", QString::number(i)}, {"dstDevId", ""}, {"dstIp", "0.0.0.0"}, {"chNum", "0"},
                                 {"srcChIdArr", QJsonArray()}});
    reg.intakeReply(page("getAllUcastTx", devId, free), Ipv4::fromText(address));
}

using NoticeAnswers::answerNextBox;

} // namespace

class TestRoutingGrid : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase();
    void init();
    void cleanup();
    void clickOnCellSendsTheCommand();
    void cancelledConfirmSendsNothing();
    void routedCellsAndPairClicks();
    void hoveringTheSameCellTwiceChangesNothing();
    void headerArrowFoldsAndDoubleClickAsksForDetails();
    void longNamesEndInAnEllipsis();
    void burstOfNoticesRebuildsOnce();
    void tallGridBandAndSearch();

private:
    void click(int row, int column);
    void show();

    DevManager *m_reg = nullptr;
    CellRouteForm *m_form = nullptr;
};

void TestRoutingGrid::initTestCase()
{
    applyScaleFactors(computeScaleFactors(ScreenMetrics{1920, 1080, 1920, 1080, 96}));
}

void TestRoutingGrid::init()
{
    m_reg = new DevManager;
    // Named so that the order by name is the order of announcement the cases below count on.
    announce(*m_reg, "TX", "10.0.0.1", {{"name", "Stage Box"}, {"chNumRx", "2"}, {"chNumTx", "2"}});
    announce(*m_reg, "RX", "10.0.0.2", {{"name", "Zone Console"}, {"chNumRx", "2"}, {"chNumTx", "2"}});
    freeStreams(*m_reg, "TX", "10.0.0.1");
    m_form = new CellRouteForm(*m_reg, nullptr);
    m_form->resize(900, 700);
}

void TestRoutingGrid::cleanup()
{
    delete m_form;
    delete m_reg;
}

void TestRoutingGrid::show()
{
    m_form->show();
    QVERIFY(QTest::qWaitForWindowExposed(m_form));
}

void TestRoutingGrid::click(int row, int column)
{
    QTest::mouseClick(m_form->view()->viewport(), Qt::LeftButton, {}, m_form->cellCentreInView(row, column));
}

void TestRoutingGrid::clickOnCellSendsTheCommand()
{
    show();
    click(0, 1);
    QTRY_COMPARE(m_form->grid().rowCount(), 4);
    // rows: TX TX/1 TX/2 RX; columns: TX RX RX/1 RX/2
    QSignalSpy sent(m_form, &CellRouteForm::signal_sendUdp);
    click(2, 2);
    QVERIFY(sent.wait(3000));
    QCOMPARE(sent.at(0).at(0).toString(),
             QStringLiteral(R"({"devId":"RX","dstChId":"0","ops":"setUcastRx","srcChId":"1","srcDevId":"TX"})"));
    RouteCellItem *cell = m_form->cellItem(2, 2);
    QCOMPARE(cell->data(1).toString(), QStringLiteral("checking"));
    QVERIFY(cell->hasPicture());

    // Owner lines against channels do nothing; nor does a click past the grid.
    click(0, 2);
    click(2, 1);
    QTest::mouseClick(m_form->view()->viewport(), Qt::LeftButton, {},
                      m_form->view()->mapFromScene(QPointF(8, 4 * m_form->cellSize() + 3)));
    QCoreApplication::processEvents(); // the presses are queued
    QCOMPARE(sent.count(), 1);

    // The next rebuild reads the registry again: the mark goes.
    m_form->slot_rebuild();
    QCOMPARE(m_form->cellItem(2, 2)->data(1).toString(), QString());
}

void TestRoutingGrid::cancelledConfirmSendsNothing()
{
    announce(*m_reg, "FAR", "11.0.0.3", {{"name", "Zz Far"}, {"chNumRx", "2"}, {"chNumTx", "0"}});
    show();
    // rows: TX RX; columns: TX RX FAR
    click(0, 2);
    QTRY_COMPARE(m_form->grid().columnCount(), 5);
    QSignalSpy sent(m_form, &CellRouteForm::signal_sendUdp);
    QString question;
    answerNextBox("pb_no", &question);
    click(1, 3);
    QTRY_COMPARE(question, QStringLiteral("two device not same network, want to set routing?"));
    QCOMPARE(m_form->cellItem(1, 3)->data(1).toString(), QString());

    // The second click waits for the first to finish: one command means the "no" sent none.
    answerNextBox("pb_yes");
    click(1, 3);
    QVERIFY(sent.wait(3000));
    QCOMPARE(sent.count(), 1);
    QCOMPARE(sent.at(0).at(0).toString(),
             QStringLiteral(R"({"devId":"FAR","dstChId":"0","ops":"setUcastRx","srcChId":"0","srcDevId":"TX"})"));
}

void TestRoutingGrid::routedCellsAndPairClicks()
{
    m_reg->intakeReply(page("getAllRxCh", "RX", {QJsonObject{{"id", "0"}, {"rtpChId", "-1"}},
                                                 QJsonObject{{"id", "1"}, {"rtpChId", "1"}}}),
                       Ipv4::fromText("10.0.0.2"));
    m_reg->intakeReply(page("getAllRtpCh", "RX",
                            {QJsonObject{{"id", "0"}, {"srcDevId", ""}, {"srcIp", "0.0.0.0"}, {"dstIp", "0.0.0.0"}},
                             QJsonObject{{"id", "1"}, {"srcDevId", "TX"}, {"name", "Stage Box"}, {"srcChId", "0"},
                                         {"srcIp", "10.0.0.1"}, {"dstIp", "10.0.0.2"}, {"dstPort", "5004"}}}),
                       Ipv4::fromText("10.0.0.2"));
    show();
    RouteCellItem *pair = m_form->cellItem(0, 1);
    QVERIFY(pair->hasPicture());                 // folded, with a route inside
    QCOMPARE(pair->data(222).toString(), QStringLiteral("increase"));
    click(0, 1); // the pair unfolds both owners
    QTRY_COMPARE(m_form->grid().rowCount(), 4);
    // rows: TX TX/1 TX/2 RX; columns: TX RX RX/1 RX/2
    QCOMPARE(m_form->cellItem(1, 3)->data(2).toString(), QStringLiteral("checked"));
    QVERIFY(m_form->cellItem(1, 3)->hasPicture());
    QCOMPARE(m_form->cellItem(0, 1)->data(111).toString(), QStringLiteral("decrease"));

    // A click on the routed cell clears it, with no replacement question.
    QSignalSpy sent(m_form, &CellRouteForm::signal_sendUdp);
    click(1, 3);
    QVERIFY(sent.wait(3000));
    QCOMPARE(sent.at(0).at(0).toString(), QStringLiteral(R"({"devId":"RX","dstChId":"1","ops":"clrRxCh"})"));
    click(0, 1); // and folds both again
    QTRY_COMPARE(m_form->grid().rowCount(), 2);
    QCOMPARE(m_form->cellItem(0, 1)->data(222).toString(), QStringLiteral("increase"));
}

void TestRoutingGrid::hoveringTheSameCellTwiceChangesNothing()
{
    show();
    click(0, 1);
    QTRY_COMPARE(m_form->grid().rowCount(), 4);
    QWidget *viewport = m_form->view()->viewport();
    const QPoint at = m_form->cellCentreInView(2, 2);
    QTest::mouseMove(viewport, at);
    auto lit = [this] {
        QStringList out;
        for (int r = 0; r < m_form->grid().rowCount(); ++r)
            for (int c = 0; c < m_form->grid().columnCount(); ++c)
                if (m_form->cellItem(r, c)->isHighlighted())
                    out.append(QStringLiteral("%1,%2").arg(r).arg(c));
        return out;
    };
    QTRY_VERIFY(!lit().isEmpty());
    const QStringList first = lit();
    // Row 2 and column 2 within the band, owner lines included.
    QVERIFY(first.contains("2,3"));
    QVERIFY(first.contains("1,2"));
    QVERIFY(!first.contains("1,3"));
    const QString tip = m_form->cellItem(2, 2)->toolTip();
    QVERIFY(tip.contains(QStringLiteral("Stage Box:2 -&gt; Zone Console:1")));
    QCOMPARE(m_form->rowHeader(2)->property("hover").toString(), QStringLiteral("device"));

    QTest::mouseMove(viewport, at + QPoint(1, 1));
    QCoreApplication::processEvents();
    QCOMPARE(lit(), first);
    QCOMPARE(m_form->cellItem(2, 2)->toolTip(), tip);

    // On an owner line no cell lights up; the owners' headers do.
    QTest::mouseMove(viewport, m_form->cellCentreInView(0, 2));
    QTRY_VERIFY(lit().isEmpty());
    QCOMPARE(m_form->rowHeader(0)->property("hover").toString(), QStringLiteral("device"));
    QCOMPARE(m_form->columnHeader(1)->property("hover").toString(), QStringLiteral("device"));
    QCOMPARE(m_form->rowHeader(2)->property("hover").toString(), QString());
}

void TestRoutingGrid::headerArrowFoldsAndDoubleClickAsksForDetails()
{
    show();
    QPushButton *tx = m_form->rowHeader(0);
    QTest::mouseClick(tx, Qt::LeftButton, {}, QPoint(4, tx->height() / 2));
    QTRY_VERIFY(m_form->grid().isExpanded(RouteGrid::Rows, "TX"));

    // Away from the arrow a click folds nothing; a double click asks for the device.
    QSignalSpy device(m_form, &CellRouteForm::signal_showDevice);
    QPushButton *rx = m_form->columnHeader(1);
    QTest::mouseDClick(rx, Qt::LeftButton, {}, QPoint(rx->width() / 2, rx->height() / 2));
    QTRY_COMPARE(device.count(), 1);
    QCOMPARE(device.at(0).at(0).toString(), QStringLiteral("RX"));
    QCoreApplication::processEvents(); // a fold would come on the next turn of the loop
    QVERIFY(!m_form->grid().isExpanded(RouteGrid::Columns, "RX"));

    // A flow row's header asks for the flow's details.
    const QByteArray sap = Packets::sap(Packets::sdp("Stage L-R", "10.0.0.1", "239.69.1.2"));
    m_reg->intakeSap(sap.constData(), sap.size(), Ipv4::fromText("10.0.0.1"), 9875);
    m_form->slot_rebuild();
    const int flowLine = m_form->grid().findLine(RouteGrid::Rows, "Stage L-R");
    QVERIFY(flowLine > 0);
    QSignalSpy flow(m_form, &CellRouteForm::signal_showFlow);
    QPushButton *f = m_form->rowHeader(flowLine);
    QTest::mouseDClick(f, Qt::LeftButton, {}, QPoint(f->width() / 2, f->height() / 2));
    QTRY_COMPARE(flow.count(), 1);
    QCOMPARE(flow.at(0).at(0).toString(), QStringLiteral("Stage L-R"));
}

void TestRoutingGrid::longNamesEndInAnEllipsis()
{
    const QString name = QStringLiteral("Stage Box 8 - Front of House Left Wing");
    announce(*m_reg, "LONG", "10.0.0.3", {{"name", name}, {"chNumRx", "2"}, {"chNumTx", "2"}});
    show();
    // Rows and columns alike: cut with an ellipsis, the whole name in the tool tip.
    for (RouteHeaderButton *b : {m_form->rowHeader(m_form->grid().findLine(RouteGrid::Rows, "LONG")),
                                 m_form->columnHeader(m_form->grid().findLine(RouteGrid::Columns, "LONG"))}) {
        QVERIFY2(b->text().endsWith(QChar(0x2026)), qPrintable(b->text()));
        QVERIFY(name.startsWith(b->text().chopped(1).trimmed()));
        QVERIFY(b->toolTip().startsWith(name + QLatin1Char('\n')));
        // Cut to the room beside the fold arrow: the mark itself stays in view.
        QVERIFY(b->fontMetrics().horizontalAdvance(b->text()) + b->iconSize().width() < b->width());
        // A wider strip shows the whole name.
        b->resize(b->width() * 3, b->height());
        QCOMPARE(b->text().trimmed(), name);
    }
    // Short names are left whole.
    QCOMPARE(m_form->rowHeader(m_form->grid().findLine(RouteGrid::Rows, "TX"))->text().trimmed(),
             QStringLiteral("Stage Box"));
}

void TestRoutingGrid::burstOfNoticesRebuildsOnce()
{
    show();
    const int before = m_form->rebuildCount();
    for (int i = 0; i < 25; ++i)
        m_form->slot_refresh();
    QTRY_COMPARE(m_form->rebuildCount(), before + 1);
    QTest::qWait(250);
    QCOMPARE(m_form->rebuildCount(), before + 1);
}

void TestRoutingGrid::tallGridBandAndSearch()
{
    announce(*m_reg, "BIG", "10.0.0.9", {{"name", "Big"}, {"chNumRx", "64"}, {"chNumTx", "64"}});
    m_form->resize(700, 500);
    show();
    QPushButton *big = m_form->rowHeader(m_form->grid().findLine(RouteGrid::Rows, "BIG"));
    QTest::mouseClick(big, Qt::LeftButton, {}, QPoint(4, 5));
    QTRY_COMPARE(m_form->grid().rowCount(), 3 + 64);
    QVERIFY(m_form->cellItem(59, 0));
    QVERIFY(!m_form->cellItem(62, 0));
    QVERIFY(!m_form->rowHeader(62));
    m_form->scrollToLine(RouteGrid::Rows, 30);
    QTRY_COMPARE(m_form->band().firstRow, 30);
    QVERIFY(m_form->cellItem(62, 0));
    QVERIFY(!m_form->cellItem(5, 0));

    // A search unfolds the owner of the channel it finds and scrolls to it.
    auto *find = m_form->findChild<QLineEdit *>("find_InCh_le");
    find->setFocus();
    QTest::keyClicks(find, "Big:40");
    QTest::keyClick(find, Qt::Key_Return);
    QTRY_VERIFY(m_form->grid().isExpanded(RouteGrid::Columns, "BIG"));
    const int line = m_form->grid().findLine(RouteGrid::Columns, "BIG", 40);
    QVERIFY(line > 0);
    QTRY_COMPARE(m_form->view()->horizontalScrollBar()->value(),
                 qMin(line * m_form->cellSize(), m_form->view()->horizontalScrollBar()->maximum()));
    QCOMPARE(m_form->columnHeader(line)->hover(), QStringLiteral("device"));
}

QTEST_MAIN(TestRoutingGrid)
#include "tst_routinggrid.moc"
