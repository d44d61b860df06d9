#include "gui/app/aboutdialog.h"
#include "core/app/language.h"
#include "gui/app/mainwindow.h"
#include "gui/device/devicelistform.h"
#include "gui/device/devicetablemodel.h"
#include "gui/monitor/formnettitle.h"
#include "gui/monitor/netstateform.h"
#include "gui/widgets/noticebox.h"
#include "gui/widgets/snackbar.h"

#include "../support/noticeanswers.h"

#include <QApplication>
#include <QLabel>
#include <QPushButton>
#include <QSettings>
#include <QStackedWidget>
#include <QTableView>
#include <QComboBox>
#include <QTemporaryDir>
#include <QtTest>

namespace {

QString ini(const QTemporaryDir &dir)
{
    return QSettings(dir.filePath(QStringLiteral("UserConfig.ini")), QSettings::IniFormat)
        .value(QStringLiteral("Langue"))
        .toString();
}

} // namespace

class TestMainWindow : public QObject
{
    Q_OBJECT
private slots:
    void init();
    void startsInEnglishAndRewritesLangue();
    void pageButtonsSwitchPages();
    void languageSwitchRetranslatesEverything();
    void quitPromptAsksFirst();
    void aboutShowsVersionAndBuild();
    void snackBarShowsResults();
    void sortChoicesOutliveTheWindow();

private:
    QTemporaryDir *m_dir = nullptr;
};

void TestMainWindow::init()
{
    delete m_dir;
    m_dir = new QTemporaryDir;
    Language::setChinese(false);
}

void TestMainWindow::startsInEnglishAndRewritesLangue()
{
    QSettings(m_dir->filePath(QStringLiteral("UserConfig.ini")), QSettings::IniFormat)
        .setValue(QStringLiteral("Langue"), QStringLiteral("chs"));
    Language::setChinese(true);
    MainWindow w(m_dir->path());
    QVERIFY(!Language::isChinese());
    QCOMPARE(ini(*m_dir), QStringLiteral("en"));
    QCOMPARE(w.findChild<QPushButton *>(QStringLiteral("pb_routing"))->text(), QStringLiteral("Routing"));
    QVERIFY(w.findChild<QPushButton *>(QStringLiteral("pb_english"))->isChecked());
}

void TestMainWindow::pageButtonsSwitchPages()
{
    MainWindow w(m_dir->path());
    w.show();
    QVERIFY(QTest::qWaitForWindowExposed(&w));
    QCOMPARE(w.currentPage(), MainWindow::Devices);
    const char *names[] = {"pb_devices", "pb_routing", "pb_flows", "pb_clock", "pb_netStats", "pb_levels"};
    for (int page = MainWindow::PageCount - 1; page >= 0; --page) {
        QTest::mouseClick(w.findChild<QPushButton *>(QLatin1String(names[page])), Qt::LeftButton);
        QCOMPARE(int(w.currentPage()), page);
        QVERIFY(w.findChild<QPushButton *>(QLatin1String(names[page]))->isChecked());
    }
    // A real page replaces its placeholder in the same slot.
    auto *real = new QLabel(QStringLiteral("real"));
    w.setPage(MainWindow::Clock);
    w.setPageWidget(MainWindow::Clock, real);
    QCOMPARE(w.pageWidget(MainWindow::Clock), real);
    QCOMPARE(w.currentPage(), MainWindow::Clock);
    w.setQuitConfirmed(true);
}

void TestMainWindow::languageSwitchRetranslatesEverything()
{
    MainWindow w(m_dir->path());
    w.show();
    QVERIFY(QTest::qWaitForWindowExposed(&w));
    // An open dialog follows the switch too.
    NoticeBox box(NoticeBox::Confirm, QStringLiteral("x"), &w);
    box.show();
    QCOMPARE(box.findChild<QPushButton *>(QStringLiteral("pb_yes"))->text(), QStringLiteral("Yes"));

    w.setPage(MainWindow::Routing);
    QTest::mouseClick(w.findChild<QPushButton *>(QStringLiteral("pb_chinese")), Qt::LeftButton);
    QVERIFY(Language::isChinese());
    QCOMPARE(ini(*m_dir), QStringLiteral("chs"));
    QCOMPARE(w.findChild<QPushButton *>(QStringLiteral("pb_routing"))->text(), QStringLiteral("路由"));
    QCOMPARE(w.findChild<QPushButton *>(QStringLiteral("pb_about"))->text(), QStringLiteral("关于"));
    auto *stack = w.findChild<QStackedWidget *>(QStringLiteral("stack_pages"));
    QCOMPARE(stack->currentWidget()->findChild<QLabel *>(QStringLiteral("lb_receivers"))->text(), QStringLiteral("接收设备"));
    // A page that is not shown follows too.
    QCOMPARE(w.pageWidget(MainWindow::Devices)->findChild<QPushButton *>(QStringLiteral("pb_reboot"))->text(),
             QStringLiteral("重启"));
    QCOMPARE(box.findChild<QPushButton *>(QStringLiteral("pb_yes"))->text(), QStringLiteral("是"));
    QCOMPARE(box.title(), QStringLiteral("确认"));
    QCOMPARE(w.snackBar()->currentText(), QStringLiteral("语言：中文"));

    QTest::mouseClick(w.findChild<QPushButton *>(QStringLiteral("pb_english")), Qt::LeftButton);
    QVERIFY(!Language::isChinese());
    QCOMPARE(ini(*m_dir), QStringLiteral("en"));
    QCOMPARE(w.findChild<QPushButton *>(QStringLiteral("pb_routing"))->text(), QStringLiteral("Routing"));
    QCOMPARE(box.findChild<QPushButton *>(QStringLiteral("pb_no"))->text(), QStringLiteral("No"));
    w.setQuitConfirmed(true);
}

void TestMainWindow::quitPromptAsksFirst()
{
    MainWindow w(m_dir->path());
    w.show();
    QVERIFY(QTest::qWaitForWindowExposed(&w));
    auto *close = w.findChild<QPushButton *>(QStringLiteral("close_bt"));
    QString asked;
    NoticeAnswers::answerNextBox("pb_no", &asked);
    QTest::mouseClick(close, Qt::LeftButton);
    QCOMPARE(asked, QStringLiteral("Quit CorvaneLink?"));
    QVERIFY(w.isVisible());

    NoticeAnswers::answerNextBox("pb_yes");
    QTest::mouseClick(close, Qt::LeftButton);
    QVERIFY(!w.isVisible());
}

void TestMainWindow::aboutShowsVersionAndBuild()
{
    MainWindow w(m_dir->path());
    w.show();
    QString version;
    NoticeAnswers::onNextModal([&version](QWidget *modal) {
        version = modal->findChild<QLabel *>(QStringLiteral("lb_version"))->text();
        NoticeAnswers::click(modal, "pb_ok");
    });
    QTest::mouseClick(w.findChild<QPushButton *>(QStringLiteral("pb_about")), Qt::LeftButton);
    QVERIFY2(version.contains(QStringLiteral("3.1.4.45")), qPrintable(version));
    QVERIFY(version.contains(QStringLiteral("1222220025")));
    w.setQuitConfirmed(true);
}

void TestMainWindow::snackBarShowsResults()
{
    MainWindow w(m_dir->path());
    w.show();
    w.slot_showTips(QStringLiteral("setRx fail"), false);
    w.slot_showTips(QStringLiteral("done"), true);
    QCOMPARE(w.snackBar()->currentText(), QStringLiteral("setRx fail"));
    QCOMPARE(w.snackBar()->currentKind(), SnackBar::Failure);
    QCOMPARE(w.snackBar()->pending(), 1);
    QVERIFY(w.snackBar()->isVisible());
    QTRY_COMPARE_WITH_TIMEOUT(w.snackBar()->currentText(), QStringLiteral("done"), 10000);
    QCOMPARE(w.snackBar()->currentKind(), SnackBar::Success);
    w.setQuitConfirmed(true);
}

void TestMainWindow::sortChoicesOutliveTheWindow()
{
    const QString address = QStringLiteral("%1:desc").arg(int(DeviceTableModel::Address));
    {
        MainWindow w(m_dir->path());
        w.findChild<NetStateForm *>()->title()->sortBox()->setCurrentIndex(NetStateRow::Descending);
        w.findChild<DeviceListForm *>()->view()->sortByColumn(DeviceTableModel::Address, Qt::DescendingOrder);
    }
    const QSettings stored(m_dir->filePath(QStringLiteral("UserConfig.ini")), QSettings::IniFormat);
    QCOMPARE(stored.value(QStringLiteral("Sort/NetStats")).toString(), QStringLiteral("Descending"));
    QCOMPARE(stored.value(QStringLiteral("Sort/Devices")).toString(), address);
    // Restored at the next start.
    MainWindow again(m_dir->path());
    QCOMPARE(again.findChild<NetStateForm *>()->sortChoice(), QStringLiteral("Descending"));
    QCOMPARE(again.findChild<DeviceListForm *>()->sortChoice(), address);
}

QTEST_MAIN(TestMainWindow)
#include "tst_mainwindow.moc"
