// The Flows page of the real program against corvane-sim's default network,
// inside a private network namespace (tests/netns-run): a flow created on
// the page is announced, shows in the page and as a row of the routing grid,
// opens its details from the grid, and goes again when deleted. With
// CORVANE_SHOT_DIR set it also leaves pictures of the "Add flow from SDP"
// dialog and of the question a reserved group asks, in both languages.
#include "gui/mcast/formmcast.h"
#include "gui/mcast/mcastwidget.h"
#include "gui/mcast/sdppastedialog.h"
#include "gui/mcast/streamform.h"
#include "core/protocol/ipv4.h"
#include "gui/routing/cellrouteform.h"

#include "../support/noticeanswers.h"
#include "../support/programwindow.h"
#include "../support/simulator.h"

#include <QDir>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QtTest>

class TestFlowsSim : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase();
    void createShowAndDelete();
    void pictures();

private:
    template<class T> T *child(const char *name) { return m_page->findChild<T *>(QLatin1String(name)); }
    void type(const char *field, const QString &text);
    void tick(int channel);
    void chooseDevice(const QString &devId);
    int pageRow(const QString &name) const;

    Simulator m_sim;
    ProgramWindow m_window;
    StreamForm *m_page = nullptr;
    QTimer m_answer;
    QStringList m_questions;
};

void TestFlowsSim::initTestCase()
{
    REQUIRE_PRIVATE_NETWORK();
    QVERIFY2(m_sim.start(), m_sim.why());
    QVERIFY(m_window.open(MainWindow::Flows, true));
    m_page = m_window.page<StreamForm>(MainWindow::Flows);
    QVERIFY(m_page);
    // Every question is answered yes, and remembered.
    NoticeAnswers::answerAll(&m_answer, &m_questions);
    QVERIFY(m_window.waitForNetwork(8, 2));
}

void TestFlowsSim::type(const char *field, const QString &text)
{
    auto *edit = child<QLineEdit>(field);
    edit->selectAll();
    QTest::keyClick(edit, Qt::Key_Delete);
    QTest::keyClicks(edit, text);
}

void TestFlowsSim::tick(int channel)
{
    auto *list = child<QListWidget>("lw_channels");
    list->scrollToItem(list->item(channel));
    const QRect r = list->visualItemRect(list->item(channel));
    QTest::mouseClick(list->viewport(), Qt::LeftButton, {}, QPoint(r.left() + 10, r.center().y()));
}

void TestFlowsSim::chooseDevice(const QString &devId)
{
    auto *list = child<QListWidget>("lw_devices");
    for (int i = 0; i < list->count(); ++i) {
        if (list->item(i)->data(Qt::UserRole).toString() != devId)
            continue;
        list->scrollToItem(list->item(i));
        QTest::mouseClick(list->viewport(), Qt::LeftButton, {}, list->visualItemRect(list->item(i)).center());
    }
    QCOMPARE(m_page->currentDevId(), devId);
}

int TestFlowsSim::pageRow(const QString &name) const
{
    const QVector<FormMcast *> rows = m_page->flowRows();
    for (int i = 0; i < rows.size(); ++i)
        if (rows.at(i)->flow().name == name)
            return i;
    return -1;
}

void TestFlowsSim::createShowAndDelete()
{
    const DevManager &registry = m_window.registry();
    chooseDevice("SIM-0002");
    QTRY_VERIFY(pageRow("Stage L-R") >= 0);

    type("le_name", "Drum Mics");
    tick(2);
    tick(3);
    tick(4);
    QTest::mouseClick(child<QRadioButton>("rb_manual"), Qt::LeftButton);
    type("ip_le_0", "239");
    type("ip_le_1", "70");
    type("ip_le_2", "1");
    type("ip_le_3", "2");
    type("le_port", "5008");
    QTest::mouseClick(child<QPushButton>("pb_create"), Qt::LeftButton);

    // The device takes it, announces it, and the page and the grid follow.
    const quint32 group = Ipv4::fromText("239.70.1.2");
    QTRY_VERIFY_WITH_TIMEOUT(registry.findFlow(group).has_value(), 10000);
    QTRY_VERIFY_WITH_TIMEOUT(pageRow("Drum Mics") >= 0, 10000);
    FormMcast *row = m_page->flowRows().at(pageRow("Drum Mics"));
    QCOMPARE(row->findChild<QLabel *>("lb_ipPort")->text(), QStringLiteral("239.70.1.2:5008"));
    QCOMPARE(row->flow().channels.size(), 3);
    QVERIFY(m_questions.isEmpty());

    auto *grid = qobject_cast<CellRouteForm *>(m_window->pageWidget(MainWindow::Routing));
    m_window->setPage(MainWindow::Routing);
    QTRY_VERIFY_WITH_TIMEOUT(grid->grid().findLine(RouteGrid::Rows, "Drum Mics") >= 0, 10000);
    const int line = grid->grid().findLine(RouteGrid::Rows, "Drum Mics");
    grid->scrollToLine(RouteGrid::Rows, line);
    QPushButton *header = grid->rowHeader(line);
    QVERIFY(header);
    QTest::mouseDClick(header, Qt::LeftButton, {}, QPoint(header->width() - 10, header->height() / 2));
    QTRY_VERIFY(m_window->flowDetails() && m_window->flowDetails()->isVisible());
    McastWidget *details = m_window->flowDetails();
    QCOMPARE(details->findChild<QLabel *>("lb_devId")->text(), QStringLiteral("SIM-0002"));
    QCOMPARE(details->findChild<QLabel *>("lb_mcastName")->text(), QStringLiteral("Drum Mics"));
    QCOMPARE(details->findChild<QLabel *>("lb_addressPort")->text(), QStringLiteral("239.70.1.2:5008"));
    QCOMPARE(details->findChild<QPlainTextEdit *>("te_channels")->toPlainText().count('\n'), 2);
    details->close();

    m_window->setPage(MainWindow::Flows);
    auto *flows = child<QListWidget>("lw_flows");
    const int index = pageRow("Drum Mics");
    QTest::mouseClick(flows->viewport(), Qt::LeftButton, {}, flows->visualItemRect(flows->item(index)).center());
    QTest::mouseClick(child<QPushButton>("pb_delete"), Qt::LeftButton);
    QTRY_VERIFY_WITH_TIMEOUT(pageRow("Drum Mics") < 0, 10000);
    QCOMPARE(m_questions, QStringList{"删除组播流？ (delete the flow?)"});
    // The device says the flow is gone: it leaves at once, not two minutes later.
    QTRY_VERIFY_WITH_TIMEOUT(!registry.findFlow(group).has_value(), 5000);
    m_window->setPage(MainWindow::Routing);
    QTRY_VERIFY_WITH_TIMEOUT(grid->grid().findLine(RouteGrid::Rows, "Drum Mics") < 0, 10000);
}

void TestFlowsSim::pictures()
{
    if (qEnvironmentVariableIsEmpty("CORVANE_SHOT_DIR"))
        QSKIP("set CORVANE_SHOT_DIR to keep pictures of the dialogs");
    const QDir dir(qEnvironmentVariable("CORVANE_SHOT_DIR"));
    m_answer.stop();
    chooseDevice("SIM-0002");
    for (const bool chinese : {false, true}) {
        const QString lang = chinese ? QStringLiteral("zh") : QStringLiteral("en");
        m_window->slot_switchLanguage(chinese);

        // The dialog as it stands after a refused text: the reason under the box.
        QTest::mouseClick(child<QPushButton>("pb_addSdp"), Qt::LeftButton);
        SdpPasteDialog *dialog = m_page->pasteDialog();
        QVERIFY(dialog && dialog->isVisible());
        dialog->findChild<QPlainTextEdit *>("te_sdp")->setPlainText(
            QStringLiteral("v=0\no=- 4242 1 IN IP4 192.168.10.77\ns=Foreign Console\nc=IN IP4 192.168.10.88\nt=0 0\n"
                           "m=audio 5004 RTP/AVP 97\na=rtpmap:97 L24/48000/4\na=ptime:1\n"
                           "a=ts-refclk:ptp=IEEE1588-2008:00-1D-C1-FF-FE-00-00-02:0\na=mediaclk:direct=0"));
        QTest::mouseClick(dialog->findChild<QPushButton *>("pb_ok"), Qt::LeftButton);
        QVERIFY(!dialog->refusal().isEmpty());
        QTest::qWait(200); // let the window system draw it before the grab
        QVERIFY(dialog->grab().save(dir.filePath(QStringLiteral("flows-paste-sdp-%1.png").arg(lang))));
        QTest::mouseClick(dialog->findChild<QPushButton *>("pb_cancel"), Qt::LeftButton);
        QTRY_VERIFY(!m_page->pasteDialog());

        // A manual group on a device announcement group.
        type("le_name", "Oops");
        tick(0);
        QTest::mouseClick(child<QRadioButton>("rb_manual"), Qt::LeftButton);
        type("ip_le_0", "239");
        type("ip_le_1", "0");
        type("ip_le_2", "0");
        type("ip_le_3", "188");
        bool shot = false;
        NoticeAnswers::onNextModal([&](QWidget *box) {
            QTest::qWait(200);
            shot = box->grab().save(dir.filePath(QStringLiteral("flows-address-conflict-%1.png").arg(lang)));
            NoticeAnswers::click(box, "pb_no");
        });
        QTest::mouseClick(child<QPushButton>("pb_create"), Qt::LeftButton);
        QVERIFY(shot);
        tick(0);
    }
    m_window->slot_switchLanguage(false);
    m_answer.start();
}

QTEST_MAIN(TestFlowsSim)
#include "tst_flowssim.moc"
