#include "gui/app/interfacechooser.h"
#include "core/app/language.h"
#include "gui/app/selectnetdialog.h"
#include "gui/device/devicelistform.h"
#include "gui/device/devicetablemodel.h"
#include "core/devices/devmanager.h"
#include "core/devices/deviceuistore.h"
#include "core/protocol/ipv4.h"

#include "../support/packets.h"

#include <QApplication>
#include <QCheckBox>
#include <QHeaderView>
#include <QLineEdit>
#include <QPushButton>
#include <QSignalSpy>
#include <QTableView>
#include <QTimer>
#include <QtTest>

namespace {

void announce(DevManager &registry, const QString &devId, const char *ip, const QJsonObject &overrides = {})
{
    const QByteArray a = Packets::announcement(devId, QLatin1String(ip), overrides);
    registry.intakeAnnouncement(a.constData(), a.size(), Ipv4::fromText(QLatin1String(ip)), 9996);
}

QStringList column(const DeviceListForm &form, int col)
{
    QStringList out;
    QAbstractItemModel *m = form.view()->model();
    for (int r = 0; r < m->rowCount(); ++r)
        out.append(m->index(r, col).data().toString());
    return out;
}

void clickRow(QTableView *view, int row)
{
    const QRect cell = view->visualRect(view->model()->index(row, 0));
    QTest::mouseClick(view->viewport(), Qt::LeftButton, {}, cell.center());
}

} // namespace

class TestDevicesPage : public QObject
{
    Q_OBJECT
private slots:
    void init() { Language::setChinese(false); }
    void rowsFollowTheRegistry();
    void clockColumnFollowsANewLeader();
    void sortAndFilter();
    void standardOrderKeepsTheSelection();
    void actionsSendTheirCommands();
    void blinkHighlightsTheRow();
    void interfaceDialogChoosesAndWatches();
};

void TestDevicesPage::rowsFollowTheRegistry()
{
    DevManager registry;
    DeviceUiStore store;
    announce(registry, "A", "10.0.0.2", {{"name", "Alpha"}});
    DeviceListForm form(registry, &store);
    QCOMPARE(form.model()->rowCount(), 1);
    announce(registry, "B", "10.0.0.3", {{"name", "Bravo"}, {"canWork", "0"}, {"model", "RK1616D"}});
    form.slot_refresh();
    QCOMPARE(column(form, DeviceTableModel::Name), (QStringList{"Alpha", "Bravo"}));
    QCOMPARE(column(form, DeviceTableModel::State), (QStringList{"Online", "Not ready"}));
    QCOMPARE(column(form, DeviceTableModel::Firmware), (QStringList{"…", "…"}));
    store.slot_message(R"({"ops":"getVersion","devId":"B","result":"succ","version":"3.1.4.5"})");
    store.slot_message(R"({"ops":"getLock","devId":"B","result":"succ","devLock":"0","routeLock":"1","dspLock":"0"})");
    QCOMPARE(column(form, DeviceTableModel::Firmware), (QStringList{"…", "3.1.4.5"}));
    QCOMPARE(column(form, DeviceTableModel::Lock), (QStringList{"…", "Locked"}));
    // A device that is gone leaves the table; the language switch rewrites it.
    for (int i = 0; i < 6000; ++i)
        registry.clock(20);
    form.slot_refresh();
    QCOMPARE(form.model()->rowCount(), 0);
}

void TestDevicesPage::clockColumnFollowsANewLeader()
{
    const QString first = "00-1D-C1-FF-FE-00-00-01";
    const QString second = "00-1D-C1-FF-FE-00-00-02";
    DevManager registry;
    DeviceUiStore store;
    announce(registry, "A", "10.0.0.2", {{"myClkId", first}, {"gmClkId", first}});
    announce(registry, "B", "10.0.0.3", {{"myClkId", second}, {"gmClkId", first}});
    DeviceListForm form(registry, &store);
    store.slot_message(R"({"ops":"clockEvent","event":"masterOffset","devId":"B","state":"2"})");
    QCOMPARE(column(form, DeviceTableModel::Clock), (QStringList{"Master · locked", "Slave · locked"}));
    // A priority change made B the leader; the devices say so in their next announcements.
    announce(registry, "A", "10.0.0.2", {{"myClkId", first}, {"gmClkId", second}});
    announce(registry, "B", "10.0.0.3", {{"myClkId", second}, {"gmClkId", second}});
    QVERIFY(registry.takeDirty()); // the page's next periodic refresh will come
    // Before it does, clock events arrive: a row never shows them against the old description.
    store.slot_message(R"({"ops":"clockEvent","event":"masterOffset","devId":"A","state":"1"})");
    store.slot_message(R"({"ops":"clockEvent","event":"masterOffset","devId":"B","state":"6"})");
    QCOMPARE(column(form, DeviceTableModel::Clock), (QStringList{"Slave · unlock", "Master · locked"}));
}

void TestDevicesPage::sortAndFilter()
{
    DevManager registry;
    announce(registry, "A", "10.0.0.10", {{"name", "Zulu"}, {"sampleRate", "96000"}});
    announce(registry, "B", "10.0.0.9", {{"name", "alpha"}});
    announce(registry, "C", "10.0.0.100", {{"name", "Mike"}, {"model", "RK7731"}});
    DeviceListForm form(registry, nullptr);
    form.show();
    QCOMPARE(column(form, DeviceTableModel::Name), (QStringList{"alpha", "Mike", "Zulu"}));
    // Addresses sort as numbers, not as text.
    form.view()->sortByColumn(DeviceTableModel::Address, Qt::AscendingOrder);
    QCOMPARE(column(form, DeviceTableModel::Address), (QStringList{"10.0.0.9", "10.0.0.10", "10.0.0.100"}));
    auto *filter = form.findChild<QLineEdit *>("le_filter");
    QTest::keyClicks(filter, "rk7731");
    QCOMPARE(column(form, DeviceTableModel::Name), QStringList{"Mike"});
    filter->clear();
    QTest::keyClicks(filter, "96000");
    QCOMPARE(column(form, DeviceTableModel::Name), QStringList{"Zulu"});
}

void TestDevicesPage::standardOrderKeepsTheSelection()
{
    DevManager registry;
    announce(registry, "S10", "10.0.0.10", {{"name", "Stage Box 10"}});
    announce(registry, "T2", "10.0.0.12", {{"name", "Twin"}});
    announce(registry, "S2", "10.0.0.2", {{"name", "Stage Box 2"}});
    announce(registry, "T1", "10.0.0.11", {{"name", "Twin"}});
    DeviceListForm form(registry, nullptr);
    form.show();
    QVERIFY(QTest::qWaitForWindowExposed(&form));
    QCOMPARE(column(form, DeviceTableModel::DevId), (QStringList{"S2", "S10", "T1", "T2"}));
    clickRow(form.view(), 1);
    QCOMPARE(form.selectedDevId(), QStringLiteral("S10"));

    // A newcomer lands in its place and a renamed device moves; the selection stays on its device.
    announce(registry, "S3", "10.0.0.3", {{"name", "Stage Box 3"}});
    form.slot_refresh();
    QCOMPARE(column(form, DeviceTableModel::DevId), (QStringList{"S2", "S3", "S10", "T1", "T2"}));
    QCOMPARE(form.selectedDevId(), QStringLiteral("S10"));
    announce(registry, "T2", "10.0.0.12", {{"name", "Amp"}});
    form.slot_refresh();
    QCOMPARE(column(form, DeviceTableModel::DevId), (QStringList{"T2", "S2", "S3", "S10", "T1"}));
    QCOMPARE(form.model()->devIdAt(0), QStringLiteral("T2"));
    QCOMPARE(form.selectedDevId(), QStringLiteral("S10"));

    // The user's sort is reported for keeping (restoring it is the main window's test); nonsense is ignored.
    QSignalSpy chosen(&form, &DeviceListForm::signal_sortChoiceChanged);
    QHeaderView *header = form.view()->horizontalHeader();
    QTest::mouseClick(header->viewport(), Qt::LeftButton, {},
                      QPoint(header->sectionViewportPosition(DeviceTableModel::Address) + 5, header->height() / 2));
    QCOMPARE(chosen.count(), 1);
    const QString choice = chosen.last().at(0).toString();
    QCOMPARE(choice, QStringLiteral("%1:asc").arg(int(DeviceTableModel::Address)));
    form.setSortChoice("12:sideways");
    QCOMPARE(form.sortChoice(), choice);
}

void TestDevicesPage::actionsSendTheirCommands()
{
    DevManager registry;
    announce(registry, "A", "10.0.0.2", {{"name", "Alpha"}});
    announce(registry, "D", "10.0.0.3", {{"name", "Dsp"}, {"model", "RK1616D"}});
    DeviceListForm form(registry, nullptr);
    form.show();
    QVERIFY(QTest::qWaitForWindowExposed(&form));
    QStringList sent;
    connect(&form, &DeviceListForm::signal_sendUdp, [&](const QString &json, const QString &) { sent.append(json); });
    QSignalSpy settings(&form, &DeviceListForm::signal_openSettings);

    auto *identify = form.findChild<QPushButton *>("pb_identify");
    auto *reboot = form.findChild<QPushButton *>("pb_reboot");
    auto *dsp = form.findChild<QPushButton *>("pb_dsp");
    QVERIFY(!identify->isEnabled());
    clickRow(form.view(), 0);
    QCOMPARE(form.selectedDevId(), QStringLiteral("A"));
    QVERIFY(!dsp->isEnabled()); // not a signal-processor model
    QTest::mouseClick(identify, Qt::LeftButton);
    QCOMPARE(sent, QStringList{R"({"devId":"A","ops":"identify","seconds":"5"})"});

    // Reboot asks first; "no" sends nothing.
    QTimer::singleShot(0, [] { QTest::mouseClick(QApplication::activeModalWidget()->findChild<QPushButton *>("pb_no"), Qt::LeftButton); });
    QTest::mouseClick(reboot, Qt::LeftButton);
    QCOMPARE(sent.size(), 1);
    QTimer::singleShot(0, [] { QTest::mouseClick(QApplication::activeModalWidget()->findChild<QPushButton *>("pb_yes"), Qt::LeftButton); });
    QTest::mouseClick(reboot, Qt::LeftButton);
    QCOMPARE(sent.last(), QStringLiteral(R"({"devId":"A","ops":"reboot"})"));

    clickRow(form.view(), 1);
    QVERIFY(dsp->isEnabled());
    const QPoint cell = form.view()->visualRect(form.view()->model()->index(1, 2)).center();
    QTest::mouseClick(form.view()->viewport(), Qt::LeftButton, {}, cell);
    // A signal processor opens its DSP window on a double click, any other device its settings.
    QSignalSpy dspOpened(&form, &DeviceListForm::signal_openDsp);
    QTest::mouseDClick(form.view()->viewport(), Qt::LeftButton, {}, cell);
    QCOMPARE(settings.count(), 0);
    QCOMPARE(dspOpened.count(), 1);
    QCOMPARE(dspOpened.last().first().toString(), QStringLiteral("D"));
    const QPoint other = form.view()->visualRect(form.view()->model()->index(0, 2)).center();
    QTest::mouseClick(form.view()->viewport(), Qt::LeftButton, {}, other);
    QTest::mouseDClick(form.view()->viewport(), Qt::LeftButton, {}, other);
    QCOMPARE(settings.count(), 1);
    QCOMPARE(settings.last().first().toString(), QStringLiteral("A"));

    // Missing version and lock are asked for.
    sent.clear();
    DeviceUiStore store;
    DeviceListForm withStore(registry, &store);
    connect(&withStore, &DeviceListForm::signal_sendUdp, [&](const QString &json, const QString &) { sent.append(json); });
    withStore.slot_refreshDevInfo();
    QCOMPARE(sent.size(), 4);
    QVERIFY(sent.contains(R"({"devId":"D","ops":"getVersion"})"));
    QVERIFY(sent.contains(R"({"devId":"A","ops":"getLock"})"));
}

void TestDevicesPage::blinkHighlightsTheRow()
{
    DevManager registry;
    announce(registry, "A", "10.0.0.2");
    DeviceListForm form(registry, nullptr);
    form.slot_blinking("A");
    const QModelIndex cell = form.view()->model()->index(0, 0);
    QVERIFY(cell.data(DeviceTableModel::BlinkRole).toBool() && cell.data(Qt::BackgroundRole).isValid());
    form.slot_unBlinking("A");
    form.slot_blinking("nobody"); // a device not listed changes nothing
    QVERIFY(!cell.data(DeviceTableModel::BlinkRole).toBool());
}

void TestDevicesPage::interfaceDialogChoosesAndWatches()
{
    // When to ask is NetSelection's rule; this is the dialog the rule opens, clicked for real.
    QVector<NetScan::Entry> host{{"eth0", "192.168.1.10"}, {"VMware VMnet1", "192.168.56.1"}};
    QWidget parent;
    auto *chooser = new InterfaceChooser(&parent, [&] { return host; });
    QSignalSpy chosen(chooser, &InterfaceChooser::updateNetInterafceSignal);
    chooser->start();
    chooser->startupTick();
    QCOMPARE(chooser->currentIp(), QStringLiteral("192.168.1.10"));
    QVERIFY(!chooser->dialog()->isVisible());
    host = {{"eth0", "192.168.1.10"}, {"eth1", "10.1.1.1"}};
    chooser->watchTick();
    QVERIFY(chooser->dialog()->isVisible());
    QCOMPARE(chosen.count(), 1);
    auto items = chooser->dialog()->findChildren<QCheckBox *>("cb_net");
    QCOMPARE(items.size(), 2);
    QTest::mouseClick(items.at(1), Qt::LeftButton);
    QTest::mouseClick(items.at(0), Qt::LeftButton);
    QVERIFY(!items.at(1)->isChecked()); // one ticked item at a time
    QTest::mouseClick(items.at(1), Qt::LeftButton);
    QTest::mouseClick(chooser->dialog()->findChild<QPushButton *>("ok_bt"), Qt::LeftButton);
    QCOMPARE(chosen.count(), 2);
    QCOMPARE(chooser->currentIp(), QStringLiteral("10.1.1.1"));
}

QTEST_MAIN(TestDevicesPage)
#include "tst_devicespage.moc"
