// The clock, statistics and levels pages offscreen: real clicks on a row's
// buttons, the priority dialog's refusals and the command it sends, what
// one row of each page shows for the replies it is given, and long names.
#include "core/app/language.h"
#include "gui/clock/clockform.h"
#include "gui/clock/clockitemform.h"
#include "gui/clock/dialogchangepriority.h"
#include "gui/clock/formclocktitle.h"
#include "core/devices/deviceuistore.h"
#include "core/devices/devmanager.h"
#include "gui/monitor/devmeterview.h"
#include "gui/monitor/devvolumeform.h"
#include "gui/monitor/devvolumeitemform.h"
#include "gui/monitor/devvolumetitleform.h"
#include "gui/monitor/formnettitle.h"
#include "gui/monitor/netstateform.h"
#include "gui/monitor/netstateitemform.h"
#include "core/protocol/ipv4.h"
#include "gui/widgets/elidedlabel.h"
#include "gui/widgets/rowtipbutton.h"

#include "../support/packets.h"

#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QScrollArea>
#include <QScrollBar>
#include <QSignalSpy>
#include <QtTest>

namespace {

void announce(DevManager &registry, const QString &devId, const char *ip, const QJsonObject &overrides = {})
{
    const QByteArray a = Packets::announcement(devId, QLatin1String(ip), overrides);
    registry.intakeAnnouncement(a.constData(), a.size(), Ipv4::fromText(QLatin1String(ip)), 9996);
}

QString compact(const QJsonObject &o)
{
    return QString::fromUtf8(QJsonDocument(o).toJson(QJsonDocument::Compact));
}

QStringList sentOps(const QSignalSpy &spy)
{
    QStringList out;
    for (const QList<QVariant> &call : spy)
        out << call.at(0).toString();
    return out;
}

const QJsonObject kFollower{
    {"name", "Stage Box"}, {"myClkId", "00-1D-C1-FF-FE-00-00-02"}, {"gmClkId", "00-1D-C1-FF-FE-00-00-01"}};

} // namespace

class TestMonitorPages : public QObject
{
    Q_OBJECT
private slots:
    void init() { Language::setChinese(false); }
    void cleanup();
    void clockRowAndPriorityDialog();
    void clockSummaryAndLeaderMark();
    void statisticsRowAndSortOrder();
    void levelsRow();
    void meterViewShowsEveryChannel();
    void longNamesEndInAnEllipsis();
};

void TestMonitorPages::cleanup()
{
    for (QWidget *w : QApplication::topLevelWidgets())
        if (qobject_cast<DialogChangePriority *>(w))
            delete w;
}

void TestMonitorPages::clockRowAndPriorityDialog()
{
    DevManager registry;
    DeviceUiStore store;
    announce(registry, "D1", "10.0.0.2", kFollower);
    store.slot_message(R"({"ops":"getVersion","devId":"D1","result":"succ","version":"3.1.4.45","ptpPriority":"128"})");
    ClockForm form(registry, &store);
    form.resize(1400, 500);
    form.show();
    QVERIFY(QTest::qWaitForWindowExposed(&form));
    QSignalSpy sent(&form, &ClockForm::signal_sendUdp);
    ClockItemForm *row = form.item("D1");
    QVERIFY(row);
    QCOMPARE(row->text(FormClockTitle::Name), QStringLiteral("Stage Box"));
    QCOMPARE(row->text(FormClockTitle::Role), QStringLiteral("Slave"));
    QVERIFY(row->tipButton()->isVisibleTo(row));

    store.slot_message(R"({"ops":"clockEvent","devId":"D1","event":"masterOffset","state":"2","masterOffset":"12"})");
    store.slot_message(R"({"ops":"clockEvent","devId":"D1","event":"adjustFreq","adjustFreq":"-0.125"})");
    QCOMPARE(row->text(FormClockTitle::State), QStringLiteral("locked"));
    QVERIFY(!row->tipButton()->isVisibleTo(row));

    // The dialog refuses out of range, sends on Enter, and cancel sends nothing.
    QCOMPARE(row->text(FormClockTitle::Priority), QStringLiteral("128"));
    QTest::mouseClick(row->editButton(), Qt::LeftButton);
    auto *dialog = form.findChild<DialogChangePriority *>();
    QVERIFY(dialog);
    QTRY_VERIFY(dialog->isVisible());
    QCOMPARE(dialog->findChild<QLabel *>("lb_device")->text(), QStringLiteral("Device: Stage Box (D1)"));
    auto *field = dialog->findChild<QLineEdit *>("le_priority");
    QCOMPARE(field->text(), QStringLiteral("128"));
    for (const char *refused : {"256", "abc"}) {
        field->clear();
        QTest::keyClicks(field, refused);
        QTest::mouseClick(dialog->findChild<QPushButton *>("pb_ok"), Qt::LeftButton);
        QVERIFY2(dialog->isVisible(), refused);
        QCOMPARE(dialog->refusalText(), QStringLiteral("Please enter a number from 0 to 255"));
    }
    QCOMPARE(sent.count(), 0);
    field->clear();
    QTest::keyClicks(field, "255");
    QTest::keyClick(field, Qt::Key_Return);
    QCOMPARE(sentOps(sent), QStringList{R"({"devId":"D1","ops":"setPtpPriority","val":"255"})"});
    QTRY_VERIFY(form.findChild<DialogChangePriority *>() == nullptr);
    QTest::mouseClick(row->editButton(), Qt::LeftButton);
    dialog = form.findChild<DialogChangePriority *>();
    QTest::mouseClick(dialog->findChild<QPushButton *>("pb_cancel"), Qt::LeftButton);
    QTRY_VERIFY(form.findChild<DialogChangePriority *>() == nullptr);
    QCOMPARE(sent.count(), 1);

    // A changed priority is read back from the device.
    sent.clear();
    form.slot_message(R"({"ops":"setPtpPriority","devId":"D1","result":"succ"})");
    QCOMPARE(sentOps(sent), QStringList{R"({"devId":"D1","ops":"getVersion"})"});
    store.slot_message(R"({"ops":"getVersion","devId":"D1","result":"succ","ptpPriority":"37"})");
    QCOMPARE(row->text(FormClockTitle::Priority), QStringLiteral("NA"));

    // The page follows the language switch.
    Language::setChinese(true);
    QEvent change(QEvent::LanguageChange);
    QApplication::sendEvent(&form, &change);
    QCOMPARE(form.item("D1")->text(FormClockTitle::Role), QStringLiteral("从时钟"));

    // Gone from the registry, gone from the page.
    for (int i = 0; i < 6000; ++i)
        registry.clock(20);
    form.slot_refresh();
    QVERIFY(form.items().isEmpty());
}

void TestMonitorPages::clockSummaryAndLeaderMark()
{
    // Announced in no particular order; the leader announces itself last.
    DevManager registry;
    DeviceUiStore store;
    const QString leaderClk = "00-1D-C1-FF-FE-00-00-02";
    announce(registry, "D10", "10.0.0.10", {{"name", "Stage Box 10"}, {"myClkId", "00-1D-C1-FF-FE-00-00-10"},
                                            {"gmClkId", leaderClk}});
    announce(registry, "D7", "10.0.0.7", {{"name", "Wall Panel"}, {"myClkId", "00-1D-C1-FF-FE-00-00-07"},
                                          {"gmClkId", leaderClk}, {"sampleRate", "96000"}});
    announce(registry, "D2", "10.0.0.2", {{"name", "Stage Box 2"}, {"myClkId", leaderClk}, {"gmClkId", leaderClk}});
    ClockForm form(registry, &store);
    form.resize(1400, 500);
    form.show();
    QVERIFY(QTest::qWaitForWindowExposed(&form));
    QStringList order;
    for (ClockItemForm *i : form.items())
        order << i->devId();
    QCOMPARE(order, (QStringList{"D2", "D10", "D7"}));
    QCOMPARE(form.summaryLabel()->text(), QStringLiteral("Domain — · leader Stage Box 2 (D2) · 1 of 3 locked"));
    QVERIFY(form.item("D2")->hasLeaderMark());
    QVERIFY(!form.item("D10")->hasLeaderMark());
    QVERIFY(form.rateWarningLabel()->isVisibleTo(&form));
    QVERIFY(form.rateWarningLabel()->text().endsWith("most devices run at 48 kHz; Wall Panel runs at 96 kHz"));

    // Clock events and the reported domain reach the summary without a registry change.
    for (const char *id : {"D7", "D10"})
        store.slot_message(QStringLiteral(R"({"ops":"clockEvent","devId":"%1","event":"masterOffset","state":"2"})")
                               .arg(id));
    store.slot_message(R"({"ops":"getVersion","devId":"D2","result":"succ","ptpDomain":"0"})");
    QTRY_COMPARE(form.summaryLabel()->text(), QStringLiteral("Domain 0 · leader Stage Box 2 (D2) · 3 of 3 locked"));

}

void TestMonitorPages::statisticsRowAndSortOrder()
{
    DevManager registry;
    announce(registry, "A1", "10.0.0.5", {{"name", "Amp Rack"}, {"model", "RK7731"}});
    announce(registry, "D2", "10.0.0.3", {{"name", "alpha"}});
    announce(registry, "D3", "10.0.0.4", {{"name", "Charlie"}});
    NetStateForm form(registry);
    form.resize(1400, 500);
    form.show();
    QVERIFY(QTest::qWaitForWindowExposed(&form));
    QSignalSpy sent(&form, &NetStateForm::signal_sendUdp);
    form.setPollInterval(50);
    QVERIFY(sent.wait(2000));
    QCOMPARE(sentOps(sent).mid(0, 2),
             (QStringList{R"({"devId":"A1","ops":"getDebugInfo"})", R"({"devId":"A1","ops":"getTarnAmpInfo"})"}));
    form.setPollInterval(60000);

    form.slot_message(R"({"ops":"getDebugInfo","devId":"A1","result":"succ","temp":"80500","uptime":"3725.40"})");
    NetStateItemForm *row = form.item("A1");
    QVERIFY(row);
    QCOMPARE(row->text(FormNetTitle::Temperature), QStringLiteral("80.5 °C"));
    RowTipButton *tip = row->tipButton();
    QVERIFY(tip->isVisibleTo(row));
    QVERIFY(tip->toolTip().startsWith("Amp Rack temperature is too high"));
    QTest::mouseClick(tip, Qt::LeftButton); // shows the tip; must not disturb the row

    // The amplifier's tool tip labels every figure, after the device's own temperature.
    form.slot_message(R"({"ops":"getTarnAmpInfo","devId":"A1","result":"succ","power":"1","voltage":"48.2",)"
                      R"("protect":"0","tempArr":["79800","80200"]})");
    QCOMPARE(row->label(FormNetTitle::Temperature)->toolTip(),
             QStringLiteral("Device temperature: 80.5 °C\nAmplifier power: on · supply: 48.2 V · Output 1: 79.8 °C · "
                            "Output 2: 80.2 °C"));

    // The sort order, chosen with the keyboard as a user would; the box says what it is.
    form.slot_message(R"({"ops":"getDebugInfo","devId":"D3","result":"succ","temp":"41000","uptime":"5"})");
    auto names = [&] {
        QStringList out;
        for (NetStateItemForm *i : form.items())
            out << i->text(FormNetTitle::Name);
        return out;
    };
    QCOMPARE(names(), (QStringList{"alpha", "Amp Rack", "Charlie"}));
    QComboBox *sort = form.title()->sortBox();
    QCOMPARE(form.title()->sortLabel()->buddy(), sort);
    QCOMPARE(form.title()->sortLabel()->text(), QStringLiteral("Order:"));
    QSignalSpy chosen(&form, &NetStateForm::signal_sortChoiceChanged);
    sort->setFocus();
    QTest::keyClick(sort, Qt::Key_Down);
    QCOMPARE(names(), (QStringList{"Charlie", "Amp Rack", "alpha"}));
    QTest::keyClick(sort, Qt::Key_Down);
    QCOMPARE(names(), (QStringList{"Amp Rack", "Charlie", "alpha"}));
    QCOMPARE(chosen.count(), 2);
    QCOMPARE(chosen.last().at(0).toString(), QStringLiteral("Descending"));
}

void TestMonitorPages::levelsRow()
{
    DevManager registry;
    announce(registry, "D1", "10.0.0.2", {{"name", "Box"}, {"phyChNumRx", "2"}, {"phyChNumTx", "0"}});
    DevVolumeForm form(registry);
    form.resize(1400, 500);
    form.show();
    QSignalSpy sent(&form, &DevVolumeForm::signal_sendUdp);
    QVERIFY(sent.wait(3000)); // what is asked is checked without the page

    QJsonArray forty;
    for (int i = 0; i < 40; ++i)
        forty.append(i % 2 ? "-inf" : "-3.2");
    form.slot_message(
        R"({"ops":"getAllPhyLevel","devId":"D1","inOrOut":"0","result":"succ","idStart":"0","arr":["-inf","-71.5"]})");
    form.slot_message(compact({{"ops", "getAllNetLevel"},
                               {"devId", "D1"},
                               {"inOrOut", "1"},
                               {"result", "succ"},
                               {"idStart", "0"},
                               {"arr", forty}}));
    DevVolumeItemForm *row = form.item("D1");
    QVERIFY(row);
    QCOMPARE(row->text(DevVolumeTitleForm::Name), QStringLiteral("Box"));
    QCOMPARE(row->text(DevVolumeTitleForm::AnalogIn), QStringLiteral("-/-"));
    QCOMPARE(row->text(DevVolumeTitleForm::NetOut).split('\n').first(), QStringLiteral("-3/-/-3/-/-3/-/-3/-"));
    // All four lines fit the row.
    const QLabel *cell = row->label(DevVolumeTitleForm::NetOut);
    QVERIFY(cell->fontMetrics().lineSpacing() * 4 <= cell->height());
}

void TestMonitorPages::meterViewShowsEveryChannel()
{
    DevManager registry;
    announce(registry, "D1", "10.0.0.2", {{"name", "Box"}, {"phyChNumRx", "2"}, {"phyChNumTx", "0"}});
    announce(registry, "D7", "10.0.0.7",
             {{"name", "Stage Rack 128"}, {"chNumRx", "128"}, {"chNumTx", "128"}, {"phyChNumRx", "16"}, {"phyChNumTx", "16"}});
    const QString longName = QStringLiteral("Lead Vocal Wireless Handheld Microphone Channel");
    registry.intakeReply(QJsonObject{{"ops", "getAllChNameRx"}, {"devId", "D7"}, {"result", "succ"}, {"idStart", "0"},
                                     {"idNext", 1}, {"arr", QJsonArray{QJsonObject{{"id", "0"}, {"name", longName}}}}},
                         Ipv4::fromText("10.0.0.7"));
    DevVolumeForm form(registry);
    form.setPollInterval(3600 * 1000); // polled by hand below
    form.resize(1400, 700);
    form.show();
    QVERIFY(QTest::qWaitForWindowExposed(&form));
    DevMeterView *view = form.meterView();
    QVERIFY(view->bars(LevelsTracker::NetIn).isEmpty());

    // A click on the device's row shows its meters: every channel, not the 32 of the cells.
    QTest::mouseClick(form.item("D7")->label(DevVolumeTitleForm::Name), Qt::LeftButton);
    QCOMPARE(view->chosen(), QStringLiteral("D7"));
    QCOMPARE(view->bars(LevelsTracker::NetIn).size(), 128);
    QCOMPARE(view->bars(LevelsTracker::NetOut).size(), 128);
    QCOMPARE(view->bars(LevelsTracker::AnalogIn).size(), 16);
    QCOMPARE(view->bars(LevelsTracker::AnalogOut).size(), 16);

    form.slot_poll();
    QJsonArray levels;
    for (int i = 0; i < 128; ++i)
        levels.append(i == 127 ? "0.0" : i == 64 ? "-35.0" : "-inf");
    form.slot_message(compact({{"ops", "getAllNetLevel"}, {"devId", "D7"}, {"inOrOut", "0"}, {"result", "succ"},
                               {"idStart", "0"}, {"idNext", 128}, {"arr", levels}}));
    form.slot_poll();
    MeterBar *last = view->bars(LevelsTracker::NetIn).at(127);
    QCOMPARE(last->levelFraction(), 1.0);
    QVERIFY(last->clipped());
    QCOMPARE(view->bars(LevelsTracker::NetIn).at(64)->levelFraction(), 0.5);
    QCOMPARE(view->bars(LevelsTracker::NetIn).at(0)->levelFraction(), 0.0);

    // The grid scrolls to the last channel, whose bar and label are drawn.
    auto *scroll = view->findChild<QScrollArea *>("sa_meters");
    scroll->ensureWidgetVisible(last);
    QVERIFY(scroll->verticalScrollBar()->value() > 0);
    QTRY_VERIFY(last->isVisible() && last->width() > 20);
    ElidedLabel *first = view->labels(LevelsTracker::NetIn).at(0);
    QVERIFY(first->isElided());
    QVERIFY(first->text().endsWith(QChar(0x2026)));
    QVERIFY(first->toolTip().contains(longName));
    QCOMPARE(view->labels(LevelsTracker::NetIn).at(127)->text(), QStringLiteral("128"));

    // The clip mark stays until reset.
    form.slot_message(compact({{"ops", "getAllNetLevel"}, {"devId", "D7"}, {"inOrOut", "0"}, {"result", "succ"},
                               {"idStart", "0"}, {"idNext", 0}, {"arr", QJsonArray()}}));
    form.slot_poll();
    QVERIFY(last->clipped());
    QTest::mouseClick(view->findChild<QPushButton *>("pb_clearClips"), Qt::LeftButton);
    QVERIFY(!view->bars(LevelsTracker::NetIn).at(127)->clipped());

    // Chosen from the list instead: the other device's channels.
    auto *list = view->findChild<QComboBox *>("cb_meterDevice");
    list->setFocus();
    QTest::keyClick(list, Qt::Key_Up);
    QCOMPARE(view->chosen(), QStringLiteral("D1"));
    QCOMPARE(view->bars(LevelsTracker::AnalogIn).size(), 2);
    QCOMPARE(view->bars(LevelsTracker::NetIn).size(), 8);
}

void TestMonitorPages::longNamesEndInAnEllipsis()
{
    const QString name = QStringLiteral("Stage Box 8 - Front of House Left Wing");
    DevManager registry;
    DeviceUiStore store;
    announce(registry, "D1", "10.0.0.2", {{"name", name}});
    ClockForm clock(registry, &store);
    NetStateForm stats(registry);
    DevVolumeForm levels(registry);
    const QVector<QPair<QWidget *, QLabel *>> pages{{&clock, clock.item("D1")->label(FormClockTitle::Name)},
                                                    {&stats, stats.item("D1")->label(FormNetTitle::Name)},
                                                    {&levels, levels.item("D1")->label(DevVolumeTitleForm::Name)}};
    for (const auto &page : pages) {
        QWidget *form = page.first;
        const QLabel *cell = page.second;
        form->resize(700, 400);
        form->show();
        QVERIFY(QTest::qWaitForWindowExposed(form));
        QTRY_VERIFY2(cell->text().endsWith(QChar(0x2026)), qPrintable(form->objectName() + ": " + cell->text()));
        QVERIFY(name.startsWith(cell->text().chopped(1)));
        QVERIFY(cell->fontMetrics().horizontalAdvance(cell->text()) <= cell->contentsRect().width());
        QCOMPARE(cell->toolTip(), name);
        // Wide enough again, the whole name shows; the language switch keeps it so.
        form->resize(4000, 400);
        QTRY_COMPARE(cell->text(), name);
        Language::setChinese(true);
        QEvent change(QEvent::LanguageChange);
        QApplication::sendEvent(form, &change);
        QCOMPARE(cell->text(), name);
        Language::setChinese(false);
        form->hide();
    }
}

QTEST_MAIN(TestMonitorPages)
#include "tst_monitorpages.moc"
