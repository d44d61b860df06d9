#include "gui/widgets/busyoverlay.h"
#include "gui/widgets/framelessdialog.h"
#include "gui/widgets/noticebox.h"
#include "gui/widgets/snackbar.h"
#include "gui/widgets/styledslider.h"

#include <QApplication>
#include <QLineEdit>
#include <QVBoxLayout>
#include <QPushButton>
#include <QSignalSpy>
#include <QTimer>
#include <QWheelEvent>
#include <QtTest>

class TestWidgets : public QObject
{
    Q_OBJECT
private slots:
    void confirmAnswers_data();
    void confirmAnswers();
    void noticeHasOneButton();
    void framelessDialogMovesWhenDragged();
    void busyOverlayTimesOut();
    void snackBarQueuesAndStays();
    void sliderIgnoresWheelWithoutFocus();
};

void TestWidgets::confirmAnswers_data()
{
    QTest::addColumn<QString>("button");
    QTest::addColumn<bool>("result");
    QTest::newRow("yes") << QStringLiteral("pb_yes") << true;
    QTest::newRow("no") << QStringLiteral("pb_no") << false;
    QTest::newRow("title close") << QStringLiteral("close_bt") << false;
}

void TestWidgets::confirmAnswers()
{
    QFETCH(QString, button);
    QTimer::singleShot(0, [button] {
        QWidget *modal = QApplication::activeModalWidget();
        QVERIFY(modal);
        QTest::mouseClick(modal->findChild<QPushButton *>(button), Qt::LeftButton);
    });
    QTEST(NoticeBox::confirm(nullptr, QStringLiteral("Delete flow?")), "result");
}

void TestWidgets::noticeHasOneButton()
{
    NoticeBox box(NoticeBox::Notice, QStringLiteral("设备已加锁"));
    QVERIFY(box.findChild<QPushButton *>(QStringLiteral("pb_ok")));
    QVERIFY(!box.findChild<QPushButton *>(QStringLiteral("pb_no")));
    QCOMPARE(box.text(), QStringLiteral("设备已加锁"));
}

void TestWidgets::framelessDialogMovesWhenDragged()
{
    FramelessDialog d;
    d.resize(300, 200);
    d.move(100, 100);
    d.show();
    QVERIFY(QTest::qWaitForWindowExposed(&d));
    QWidget *strip = d.findChild<QWidget *>(QStringLiteral("wd_titleStrip"));
    QVERIFY(strip);
    const QPoint start = d.pos();
    QTest::mousePress(strip, Qt::LeftButton, {}, QPoint(50, 10));
    QMouseEvent move(QEvent::MouseMove, QPoint(90, 30), strip->mapToGlobal(QPoint(90, 30)), Qt::NoButton,
                     Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(strip, &move);
    QTest::mouseRelease(strip, Qt::LeftButton, {}, QPoint(90, 30));
    QCOMPARE(d.pos(), start + QPoint(40, 20));

    // Enter in a field of a dialog without buttons of its own closes nothing.
    auto *field = new QLineEdit(&d);
    d.contentLayout()->addWidget(field);
    field->setFocus();
    QSignalSpy rejected(&d, &QDialog::rejected);
    QTest::keyClick(field, Qt::Key_Return);
    QCOMPARE(rejected.count(), 0);
    QVERIFY(d.isVisible());
}

void TestWidgets::busyOverlayTimesOut()
{
    QWidget host;
    host.resize(400, 300);
    host.show();
    BusyOverlay overlay(&host);
    QSignalSpy spy(&overlay, &BusyOverlay::signal_timeout);
    overlay.start(QStringLiteral("Loading"), 100);
    overlay.stop();
    QVERIFY(!spy.wait(300)); // stopped in time: no time-out
    overlay.start(QStringLiteral("Loading"), 50);
    QVERIFY(overlay.isBusy());
    QCOMPARE(overlay.geometry(), host.rect());
    QVERIFY(spy.wait(5000));
    QVERIFY(!overlay.isBusy());
}

void TestWidgets::snackBarQueuesAndStays()
{
    QWidget host;
    host.resize(800, 600);
    host.show();
    SnackBar bar(&host);
    bar.showMessage(QString()); // nothing to say: nothing shown
    QVERIFY(!bar.isVisible());
    bar.showMessage(QStringLiteral("one"));
    bar.showMessage(QStringLiteral("two"), SnackBar::Failure);
    QCOMPARE(bar.currentText(), QStringLiteral("one"));
    QVERIFY(bar.geometry().bottom() < host.height());
    QVERIFY(bar.durationMs(QString(200, QLatin1Char('x'))) > bar.durationMs(QStringLiteral("ok")));
}

void TestWidgets::sliderIgnoresWheelWithoutFocus()
{
    QWidget host;
    StyledSlider slider(Qt::Horizontal, &host);
    slider.setRange(0, 100);
    slider.setValue(50);
    host.show();
    QWheelEvent wheel(QPointF(5, 5), slider.mapToGlobal(QPoint(5, 5)), QPoint(), QPoint(0, 120), Qt::NoButton,
                      Qt::NoModifier, Qt::NoScrollPhase, false);
    QApplication::sendEvent(&slider, &wheel);
    QCOMPARE(slider.value(), 50);
}

QTEST_MAIN(TestWidgets)
#include "tst_widgets.moc"
