#include "core/app/language.h"
#include "core/app/scalefactors.h"
#include "core/devices/devmanager.h"
#include "gui/mcast/formmcast.h"
#include "gui/mcast/mcastwidget.h"
#include "gui/mcast/sdppastedialog.h"
#include "gui/mcast/streamform.h"
#include "core/protocol/ipv4.h"
#include "gui/widgets/noticebox.h"

#include "../support/noticeanswers.h"
#include "../support/packets.h"

#include <QApplication>
#include <QClipboard>
#include <QJsonArray>
#include <QJsonDocument>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QSignalSpy>
#include <QtTest>

namespace {

void announce(DevManager &reg, const char *devId, const char *address, const QJsonObject &overrides = {})
{
    const QByteArray a = Packets::announcement(devId, address, overrides);
    reg.intakeAnnouncement(a.constData(), a.size(), Ipv4::fromText(address), 9996);
}

QJsonObject page(const char *op, const char *devId, const QJsonArray &arr, int start = 0)
{
    return QJsonObject{{"ops", op},     {"devId", devId}, {"result", "succ"}, {"idStart", QString::number(start)},
                       {"idNext", start + arr.size()}, {"arr", arr}};
}

QJsonObject txFlow(int id, const char *name, const char *group, const QJsonArray &channels)
{
    return QJsonObject{{"id", QString::number(id)}, {"sdpId", QString::number(id)}, {"name", name},
                       {"dstIp", group}, {"dstPort", "5004"}, {"chNum", QString::number(channels.size())},
                       {"srcChIdArr", channels}};
}

using NoticeAnswers::answerNextBox;

QJsonObject sent(const QSignalSpy &spy, int i = 0)
{
    return QJsonDocument::fromJson(spy.at(i).at(0).toString().toUtf8()).object();
}

} // namespace

class TestFlowsPage : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase();
    void init();
    void cleanup();
    void listsTransmittersAndTheirFlows();
    void createChecksThenSends();
    void automaticAddressKeepsTheTypedHead();
    void deleteAsksAndSendsTheSelectedFlow();
    void rowDetailsAndSelectionStyle();
    void followsTheRegistry();
    void pastedSdpIsRefusedOrAdded();
    void pastedFlowIsRemovedAfterAsking();

private:
    void click(QWidget *w) { QTest::mouseClick(w, Qt::LeftButton); }
    template<class T> T *child(const char *name) { return m_form->findChild<T *>(QLatin1String(name)); }
    void tick(int channel);
    void type(const char *field, const QString &text);
    SdpPasteDialog *pasteSdp(const QString &text);

    DevManager *m_reg = nullptr;
    StreamForm *m_form = nullptr;
};

void TestFlowsPage::initTestCase()
{
    applyScaleFactors(computeScaleFactors(ScreenMetrics{1920, 1080, 1920, 1080, 96}));
}

void TestFlowsPage::init()
{
    Language::setChinese(false);
    m_reg = new DevManager;
    announce(*m_reg, "TX", "10.0.0.1", {{"name", "Stage Box"}, {"chNumTx", "10"}, {"mcastNumTx", "2"}});
    announce(*m_reg, "RX", "10.0.0.2", {{"name", "Amp"}, {"chNumTx", "0"}});
    // The second slot's page comes later (followsTheRegistry).
    m_reg->intakeReply(page("getAllMcastTx", "TX", {txFlow(0, "Drums", "239.69.1.2", {"0", "1"})}),
                       Ipv4::fromText("10.0.0.1"));
    m_form = new StreamForm(*m_reg);
    m_form->resize(1100, 700);
    m_form->show();
    QVERIFY(QTest::qWaitForWindowExposed(m_form));
}

void TestFlowsPage::cleanup()
{
    delete m_form;
    delete m_reg;
}

void TestFlowsPage::tick(int channel)
{
    auto *list = child<QListWidget>("lw_channels");
    QListWidgetItem *item = list->item(channel);
    list->scrollToItem(item);
    const QRect r = list->visualItemRect(item);
    // The check box sits at the left edge of the item.
    QTest::mouseClick(list->viewport(), Qt::LeftButton, {}, QPoint(r.left() + 10, r.center().y()));
}

void TestFlowsPage::type(const char *field, const QString &text)
{
    auto *edit = child<QLineEdit>(field);
    edit->selectAll();
    QTest::keyClick(edit, Qt::Key_Delete);
    QTest::keyClicks(edit, text);
}

void TestFlowsPage::listsTransmittersAndTheirFlows()
{
    // The amplifier has nothing to send; the stage box is chosen by itself.
    auto *devices = child<QListWidget>("lw_devices");
    QCOMPARE(devices->count(), 1);
    QCOMPARE(m_form->currentDevId(), QStringLiteral("TX"));
    QCOMPARE(m_form->flowRows().size(), 1);
    FormMcast *row = m_form->flowRows().first();
    QCOMPARE(row->findChild<QLabel *>("lb_name")->text(), QStringLiteral("Drums"));
    QCOMPARE(row->findChild<QLabel *>("lb_ipPort")->text(), QStringLiteral("239.69.1.2:5004"));
    QCOMPARE(row->findChild<QLabel *>("lb_channels")->text(), QStringLiteral("1,2"));
    QCOMPARE(child<QListWidget>("lw_channels")->count(), 10);
    QCOMPARE(child<QListWidget>("lw_channels")->item(3)->text(), QStringLiteral("4:3"));

    Language::setChinese(true);
    QEvent change(QEvent::LanguageChange);
    QApplication::sendEvent(m_form, &change);
    QApplication::sendEvent(row, &change);
    QCOMPARE(child<QPushButton>("pb_create")->text(), QStringLiteral("创建"));
    QCOMPARE(m_form->flowRows().first()->findChild<QLabel *>("lb_ipPortCaption")->text(), QStringLiteral("IP端口"));
}

void TestFlowsPage::createChecksThenSends()
{
    QSignalSpy spy(m_form, &StreamForm::signal_sendUdp);
    QString text;
    answerNextBox("pb_ok", &text);
    click(child<QPushButton>("pb_create"));
    QCOMPARE(text, QStringLiteral("组播流名称不能为空 (the flow name must not be empty)"));

    QCOMPARE(spy.count(), 0);
    // The other checks are the plan's (tst_routeplan); the page feeds it what was typed and ticked.
    type("le_name", "Vocals");
    for (int ch = 1; ch < 8; ++ch)
        tick(ch);
    click(child<QRadioButton>("rb_manual"));
    QVERIFY(child<QLineEdit>("ip_le_3")->isEnabled());
    type("ip_le_0", "239");
    type("ip_le_2", "1");
    type("ip_le_3", "1");
    type("le_port", "5006");
    type("le_offset", "2");
    click(child<QPushButton>("pb_create"));
    QCOMPARE(spy.count(), 1);
    // The offset typed in milliseconds goes out in samples.
    QCOMPARE(spy.at(0).at(0).toString(),
             QStringLiteral(R"({"devId":"TX","name":"Vocals","ops":"setMcastTx","sdp":{"chNum":"7","dstIp":"239.69.1.1",)"
                            R"("dstPort":"5006","rtpTsOffset":"96","sampleByteNum":"3","srcIp":"10.0.0.1","ssrc":"0"},)"
                            R"("srcChIdArr":["1","2","3","4","5","6","7"]})"));

    // Until the device lists the new flow the form keeps what was typed
    // (a refused flow can be corrected); once listed, the form is empty.
    m_form->slot_refresh();
    QCOMPARE(child<QLineEdit>("le_name")->text(), QStringLiteral("Vocals"));
    m_reg->intakeReply(page("getAllMcastTx", "TX",
                            {txFlow(0, "Drums", "239.69.1.2", {"0", "1"}),
                             txFlow(1, "Vocals", "239.69.1.1", {"1", "2", "3", "4", "5", "6", "7"})}),
                       Ipv4::fromText("10.0.0.1"));
    m_form->slot_refresh();
    QCOMPARE(m_form->flowRows().size(), 2);
    QVERIFY(child<QLineEdit>("le_name")->text().isEmpty());
    QVERIFY(m_form->createInput().tickedChannels.isEmpty());
    QVERIFY(child<QRadioButton>("rb_auto")->isChecked());
    QVERIFY(!child<QLineEdit>("ip_le_3")->isEnabled());
    QCOMPARE(child<QLineEdit>("le_port")->text(), QStringLiteral("5004"));
    QCOMPARE(child<QLineEdit>("le_offset")->text(), QStringLiteral("0"));
}

void TestFlowsPage::automaticAddressKeepsTheTypedHead()
{
    // The first draw hits the flow already known; the page draws again.
    const QByteArray known = Packets::sap(Packets::sdp("Known", "10.0.0.9", "239.69.2.3"));
    m_reg->intakeSap(known.constData(), known.size(), Ipv4::fromText("10.0.0.9"), 9875);
    QVERIFY(m_reg->findFlow(Ipv4::fromText("239.69.2.3")));
    int draws[] = {0, 1, 5, 5};
    int next = 0;
    m_form->setRandomSource([&] { return draws[next++]; });
    QVERIFY(!child<QLineEdit>("ip_le_2")->isEnabled());
    type("le_name", "Auto");
    tick(0);
    QSignalSpy spy(m_form, &StreamForm::signal_sendUdp);
    click(child<QPushButton>("pb_create"));
    QCOMPARE(spy.count(), 1);
    QCOMPARE(sent(spy).value("sdp").toObject().value("dstIp").toString(), QStringLiteral("239.69.7.7"));
}

void TestFlowsPage::deleteAsksAndSendsTheSelectedFlow()
{
    QSignalSpy spy(m_form, &StreamForm::signal_sendUdp);
    QString text;
    answerNextBox("pb_ok", &text);
    click(child<QPushButton>("pb_delete"));
    QCOMPARE(text, QStringLiteral("请选择要删除的组播 (choose the flow to delete)"));

    auto *flows = child<QListWidget>("lw_flows");
    QTest::mouseClick(flows->viewport(), Qt::LeftButton, {}, flows->visualItemRect(flows->item(0)).center());
    answerNextBox("pb_no", &text);
    click(child<QPushButton>("pb_delete"));
    QCOMPARE(text, QStringLiteral("删除组播流？ (delete the flow?)"));
    QCOMPARE(spy.count(), 0);

    answerNextBox("pb_yes");
    click(child<QPushButton>("pb_delete"));
    QCOMPARE(spy.count(), 1);
    QCOMPARE(sent(spy),
             (QJsonObject{{"ops", "clrMcastTx"}, {"devId", "TX"}, {"name", "Drums"}, {"dstIp", "239.69.1.2"}}));
}

void TestFlowsPage::rowDetailsAndSelectionStyle()
{
    auto *flows = child<QListWidget>("lw_flows");
    FormMcast *row = m_form->flowRows().first();
    QVERIFY(row->styleSheet().contains("rgba(27, 28, 33, 1)"));
    QVERIFY(row->styleSheet().contains("border-bottom: 1px solid #333333"));
    const QPoint centre = flows->visualItemRect(flows->item(0)).center();
    QTest::mouseClick(flows->viewport(), Qt::LeftButton, {}, centre);
    QVERIFY(row->isSelected());
    QVERIFY(row->styleSheet().contains("rgba(124, 137, 250, 0.40)"));

    QTest::mouseDClick(flows->viewport(), Qt::LeftButton, {}, centre);
    McastWidget *details = m_form->detailsDialog();
    QVERIFY(details && details->isVisible());
    QCOMPARE(details->title(), QStringLiteral("Flow details"));
    QCOMPARE(details->findChild<QLabel *>("lb_devId")->text(), QStringLiteral("TX"));
    QCOMPARE(details->findChild<QLabel *>("lb_devName")->text(), QStringLiteral("Stage Box"));
    QCOMPARE(details->findChild<QLabel *>("lb_addressPort")->text(), QStringLiteral("239.69.1.2:5004"));
    QCOMPARE(details->findChild<QPlainTextEdit *>("te_channels")->toPlainText(), QStringLiteral("1. 1\n2. 2"));
    Language::setChinese(true);
    QEvent change(QEvent::LanguageChange);
    QApplication::sendEvent(details, &change);
    QCOMPARE(details->title(), QStringLiteral("组播流详情"));
    details->close();
}

void TestFlowsPage::followsTheRegistry()
{
    m_reg->intakeReply(page("getAllMcastTx", "TX", {txFlow(1, "Keys", "239.69.3.4", {"4"})}, 1),
                       Ipv4::fromText("10.0.0.1"));
    auto *flows = child<QListWidget>("lw_flows");
    QTest::mouseClick(flows->viewport(), Qt::LeftButton, {}, flows->visualItemRect(flows->item(0)).center());
    tick(2);
    m_form->slot_refresh();
    QCOMPARE(m_form->flowRows().size(), 2);
    QCOMPARE(m_form->flowRows().at(1)->flow().name, QStringLiteral("Keys"));
    // A refresh keeps the selection and the ticks.
    QVERIFY(m_form->flowRows().at(0)->isSelected());
    QCOMPARE(m_form->createInput().tickedChannels, QStringList{"3:2"});

    announce(*m_reg, "TX2", "10.0.0.3", {{"name", "Backline"}, {"chNumTx", "2"}});
    m_form->slot_refresh();
    auto *devices = child<QListWidget>("lw_devices");
    QCOMPARE(devices->count(), 2);
    QCOMPARE(m_form->currentDevId(), QStringLiteral("TX"));
    QTest::mouseClick(devices->viewport(), Qt::LeftButton, {}, devices->visualItemRect(devices->item(0)).center());
    QCOMPARE(m_form->currentDevId(), QStringLiteral("TX2"));
    QCOMPARE(m_form->flowRows().size(), 0);
    QCOMPARE(child<QListWidget>("lw_channels")->count(), 2);
}

// Opens the dialog with the button and pastes text into its box, as the operator does.
SdpPasteDialog *TestFlowsPage::pasteSdp(const QString &text)
{
    if (!m_form->pasteDialog())
        click(child<QPushButton>("pb_addSdp"));
    SdpPasteDialog *dialog = m_form->pasteDialog();
    if (!dialog || !dialog->isVisible())
        return nullptr;
    auto *box = dialog->findChild<QPlainTextEdit *>("te_sdp");
    box->selectAll();
    QTest::keyClick(box, Qt::Key_Delete);
    QApplication::clipboard()->setText(text);
    QTest::keySequence(box, QKeySequence::Paste);
    // The box keeps line feeds only.
    return box->toPlainText() == QString(text).remove(QLatin1Char('\r')) ? dialog : nullptr;
}

void TestFlowsPage::pastedSdpIsRefusedOrAdded()
{
    auto *pasted = child<QListWidget>("lw_pasted");
    QCOMPARE(pasted->count(), 0);
    QCOMPARE(child<QPushButton>("pb_addSdp")->text(), QStringLiteral("Add flow from SDP…"));
    const QString good = QString::fromUtf8(Packets::sdp("Foreign", "10.0.0.50", "239.77.1.2", 5006, 4));

    // A unicast description: its reason under the box, nothing added, the dialog stays for another try.
    SdpPasteDialog *dialog = pasteSdp(QString(good).replace("239.77.1.2", "10.0.0.60"));
    QVERIFY(dialog);
    QCOMPARE(dialog->title(), QStringLiteral("Add flow from SDP"));
    click(dialog->findChild<QPushButton *>("pb_ok"));
    QVERIFY(dialog->isVisible());
    auto *refusal = dialog->findChild<QLabel *>("lb_refusal");
    QVERIFY2(refusal->text().contains("not a multicast group"), qPrintable(refusal->text()));
    QCOMPARE(m_reg->flowCount(), 0);

    // Editing takes the reason away; a group another flow already has is refused with that flow's name.
    const QByteArray taken = Packets::sap(Packets::sdp("Stage", "10.0.0.1", "239.77.1.2"));
    m_reg->intakeSap(taken.constData(), taken.size(), 0, 9875);
    QVERIFY(pasteSdp(good));
    QVERIFY(refusal->text().isEmpty());
    click(dialog->findChild<QPushButton *>("pb_ok"));
    QCOMPARE(refusal->text(), QStringLiteral("Flow Stage already uses 239.77.1.2: nothing was added."));

    // Cancel leaves everything as it was.
    click(dialog->findChild<QPushButton *>("pb_cancel"));
    QTRY_VERIFY(!m_form->pasteDialog());
    QCOMPARE(m_reg->flowCount(), 1);

    // A usable one on a free group closes the dialog and is listed, in either language.
    dialog = pasteSdp(QString(good).replace("239.77.1.2", "239.77.1.3"));
    QVERIFY(dialog);
    Language::setChinese(true);
    QEvent change(QEvent::LanguageChange);
    QApplication::sendEvent(dialog, &change);
    QCOMPARE(dialog->title(), QStringLiteral("从 SDP 添加组播流"));
    QCOMPARE(dialog->findChild<QPushButton *>("pb_ok")->text(), QStringLiteral("添加"));
    click(dialog->findChild<QPushButton *>("pb_ok"));
    QTRY_VERIFY(!m_form->pasteDialog());
    const auto flow = m_reg->findFlow(Ipv4::fromText("239.77.1.3"));
    QVERIFY(flow && flow->pasted);
    QCOMPARE(pasted->count(), 1);
    QCOMPARE(pasted->item(0)->text(), QStringLiteral("Foreign\n239.77.1.3:5006 · 10.0.0.50"));
    QCOMPARE(child<QLabel>("lb_pasted")->text(), QStringLiteral("从 SDP 添加的组播流"));
}

void TestFlowsPage::pastedFlowIsRemovedAfterAsking()
{
    QVERIFY(!child<QPushButton>("pb_removePasted")->isEnabled());
    FlowRecord flow;
    flow.name = QStringLiteral("Foreign");
    flow.srcIp = Ipv4::fromText("10.0.0.50");
    flow.dstIp = Ipv4::fromText("239.77.1.2");
    flow.chNum = 2;
    QCOMPARE(m_reg->addPastedFlow(flow).outcome, DevManager::Added);
    m_form->slot_refresh();
    auto *pasted = child<QListWidget>("lw_pasted");
    QCOMPARE(pasted->count(), 1);
    QTest::mouseClick(pasted->viewport(), Qt::LeftButton, {}, pasted->visualItemRect(pasted->item(0)).center());
    QString text;
    answerNextBox("pb_no", &text);
    click(child<QPushButton>("pb_removePasted"));
    QVERIFY2(text.startsWith("Remove flow Foreign?"), qPrintable(text));
    QVERIFY(m_reg->findFlow(flow.dstIp));
    answerNextBox("pb_yes");
    click(child<QPushButton>("pb_removePasted"));
    QVERIFY(!m_reg->findFlow(flow.dstIp));
    QCOMPARE(pasted->count(), 0);
    QVERIFY(!child<QPushButton>("pb_removePasted")->isEnabled());
    QCOMPARE(child<QLabel>("lb_pasted")->text(), QStringLiteral("No flow added from SDP."));
}

QTEST_MAIN(TestFlowsPage)
#include "tst_flowspage.moc"
