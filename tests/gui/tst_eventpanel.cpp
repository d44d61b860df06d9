// The events panel of the main window and a device's clock history, offscreen, with real clicks. With
// CORVANE_SHOT_DIR set it leaves pictures of both, in English and Chinese.
#include "core/app/language.h"
#include "core/devices/devmanager.h"
#include "core/events/eventmonitor.h"
#include "gui/app/eventpanel.h"
#include "gui/app/mainwindow.h"
#include "gui/device/devicesettingsdialog.h"
#include "gui/widgets/filechoice.h"
#include "gui/widgets/style.h"

#include <QDir>
#include <QListWidget>
#include <QPushButton>
#include <QTableWidget>
#include <QTemporaryDir>
#include <QtTest>

namespace {

RegistryNotice notice(RegistryNotice::Kind kind, const char *devId, const char *name)
{
    RegistryNotice n;
    n.kind = kind;
    n.devId = QLatin1String(devId);
    n.name = QString::fromUtf8(name);
    return n;
}

// Both languages, with a picture of each when asked for.
void inBothLanguages(QWidget *w, const QString &name, const std::function<void()> &check)
{
    for (bool chinese : {false, true}) {
        Language::setChinese(chinese);
        QEvent change(QEvent::LanguageChange);
        QCoreApplication::sendEvent(w, &change);
        check();
        const QString dir = qEnvironmentVariable("CORVANE_SHOT_DIR");
        if (!dir.isEmpty())
            QVERIFY(w->grab().save(QDir(dir).filePath(name + (chinese ? "-zh.png" : "-en.png"))));
    }
    Language::setChinese(false);
}

} // namespace

class TestEventPanel : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase() { qApp->setStyleSheet(Style::applicationStyleSheet()); } // as the program draws
    void buttonCountsUnseenAlertsUntilThePanelIsLookedAt();
    void clockHistoryInTheSettingsWindow();
};

void TestEventPanel::buttonCountsUnseenAlertsUntilThePanelIsLookedAt()
{
    QTemporaryDir dir;
    MainWindow w(dir.path());
    w.show();
    QVERIFY(QTest::qWaitForWindowExposed(&w));
    auto *button = w.findChild<QPushButton *>("pb_events");
    EventMonitor *m = w.events();
    m->onNotice(notice(RegistryNotice::DevAdded, "SIM-0001", "Stage Box 1")); // info: not counted
    m->onNotice(notice(RegistryNotice::DevAdded, "SIM-0004", "Amp Rack"));
    m->onNotice(notice(RegistryNotice::DevRemoved, "SIM-0004", "Amp Rack"));
    m->onMessage({{"ops", "setUcastRx"}, {"devId", "SIM-0001"}, {"result", "fail"}, {"reason", "no free sdpId"}});
    QCOMPARE(button->text(), QStringLiteral("Events (2)"));
    QVERIFY(button->property("alert").toBool() && !w.eventPanel()->isVisible());

    QTest::mouseClick(button, Qt::LeftButton);
    QVERIFY(w.eventPanel()->isVisible());
    QCOMPARE(button->text(), QStringLiteral("Events"));
    QVERIFY(!button->property("alert").toBool());
    // While the panel is open, what arrives is seen as it comes.
    m->onNotice(notice(RegistryNotice::DevAdded, "SIM-0004", "Amp Rack"));
    m->onMessage({{"ops", "getDebugInfo"}, {"devId", "SIM-0004"}, {"result", "succ"}, {"temp", "86000"}});
    QCOMPARE(button->text(), QStringLiteral("Events"));
    QListWidget *list = w.eventPanel()->list();
    QCOMPARE(list->count(), 6);
    // Warnings and errors stand out from information lines, and from each other.
    QVERIFY(list->item(2)->text().contains("Warning") && list->item(5)->text().contains("Error"));
    QCOMPARE(QSet<QRgb>({list->item(0)->foreground().color().rgb(), list->item(2)->foreground().color().rgb(),
                         list->item(5)->foreground().color().rgb()})
                 .size(),
             3);
    inBothLanguages(&w, "events",
                    [&] { QVERIFY(list->item(5)->text().contains(Language::isChinese() ? "错误" : "Error")); });

    const QString saved = dir.filePath("log.txt");
    FileChoice::setHook([&](bool save, const QString &, const QString &) { return save ? saved : QString(); });
    QTest::mouseClick(w.eventPanel()->findChild<QPushButton *>("pb_saveLog"), Qt::LeftButton);
    FileChoice::setHook({});
    QFile file(saved);
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QStringList lines = QString::fromUtf8(file.readAll()).split('\n', Qt::SkipEmptyParts);
    QCOMPARE(lines.size(), 6);
    QVERIFY(lines[2].contains("Warning  Amp Rack (SIM-0004) lost"));

    QTest::mouseClick(w.eventPanel()->findChild<QPushButton *>("pb_closeEvents"), Qt::LeftButton);
    QVERIFY(!w.eventPanel()->isVisible() && !button->isChecked());
    m->onNotice(notice(RegistryNotice::DevRemoved, "SIM-0001", "Stage Box 1"));
    QCOMPARE(button->text(), QStringLiteral("Events (1)"));
}

void TestEventPanel::clockHistoryInTheSettingsWindow()
{
    qint64 now = 1700000000000;
    EventMonitor m([&now] { return now; });
    m.onNotice(notice(RegistryNotice::DevAdded, "SIM-0002", "Stage Box 8"));
    m.onNotice(notice(RegistryNotice::DevAdded, "SIM-0003", "Console"));
    auto devices = [&](const char *consoleLeader) {
        DevRecord lead, console;
        lead.devId.set("SIM-0002"), lead.name.set("Stage Box 8"), console.devId.set("SIM-0003"),
            console.name.set("Console");
        lead.myClkId.set("00-1d-c1-ff-fe-00-00-02"), lead.gmClkId.set("00-1d-c1-ff-fe-00-00-02");
        console.myClkId.set("00-1d-c1-ff-fe-00-00-03"), console.gmClkId.set(consoleLeader);
        m.onDevices({lead, console});
    };
    devices("00-00-00-00-00-00-00-00");
    now += 1200;
    devices("00-1d-c1-ff-fe-00-00-02");
    now += 3000;
    m.onMessage({{"ops", "clockEvent"}, {"event", "masterOffset"}, {"devId", "SIM-0003"}, {"state", "2"}});

    DevManager registry;
    DeviceSettingsDialog dialog("SIM-0003", registry, nullptr);
    dialog.setClockHistory(&m);
    dialog.show();
    dialog.setPage(DeviceSettingsDialog::ClockHistory);
    QVERIFY(QTest::qWaitForWindowExposed(&dialog));
    auto *table = dialog.findChild<QTableWidget *>("tw_clockHistory");
    QVERIFY(table->isVisible());
    // Newest first: locked to Stage Box 8, then settling, then no leader yet; a change shows at once.
    QCOMPARE(table->rowCount(), 3);
    QCOMPARE(table->item(0, 2)->text(), QStringLiteral("Stage Box 8 (SIM-0002)"));
    QCOMPARE(table->item(2, 1)->text(), QStringLiteral("no clock leader"));
    now += 60000;
    m.onMessage({{"ops", "clockEvent"}, {"event", "masterOffset"}, {"devId", "SIM-0003"}, {"state", "1"}});
    QCOMPARE(table->rowCount(), 4);
    inBothLanguages(&dialog, "clock-history", [&] {
        QCOMPARE(table->item(0, 1)->text(),
                 Language::isChinese() ? QStringLiteral("从时钟，未同步") : QStringLiteral("following, not locked"));
    });
}

QTEST_MAIN(TestEventPanel)
#include "tst_eventpanel.moc"
