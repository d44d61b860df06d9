#pragma once

// Answers the program's notice, confirm and other modal boxes from inside a
// test, with real clicks on their buttons, while the box runs its own event loop.
#include "gui/widgets/noticebox.h"

#include <QAbstractButton>
#include <QApplication>
#include <QPushButton>
#include <QStringList>
#include <QTimer>
#include <QtTest>
#include <functional>

namespace NoticeAnswers {

inline void click(QWidget *parent, const char *name)
{
    auto *b = parent->findChild<QAbstractButton *>(QLatin1String(name));
    QVERIFY2(b, name);
    QTest::mouseClick(b, Qt::LeftButton);
}

/// Runs f on the next modal window once it is up; one that does not come
/// within a few seconds fails the test instead of hanging it.
inline void onNextModal(std::function<void(QWidget *)> f, QWidget *previous = QApplication::activeModalWidget(),
                        int tries = 500)
{
    QTimer::singleShot(tries == 500 ? 0 : 10, [f, previous, tries] {
        QWidget *modal = QApplication::activeModalWidget();
        if ((!modal || modal == previous) && tries > 0) {
            onNextModal(f, previous, tries - 1);
            return;
        }
        QVERIFY(modal && modal != previous);
        f(modal);
    });
}

/// Presses a button of the next notice or confirm box, and remembers its text.
inline void answerNextBox(const char *button, QString *text = nullptr)
{
    onNextModal([=](QWidget *modal) {
        auto *box = qobject_cast<NoticeBox *>(modal);
        QVERIFY(box);
        if (text)
            *text = box->text();
        click(box, button);
    });
}

/// Answers every box for as long as the timer runs: "yes" to a confirm,
/// "OK" to a notice; each text is kept in questions.
inline void answerAll(QTimer *timer, QStringList *questions)
{
    timer->setInterval(20);
    QObject::connect(timer, &QTimer::timeout, timer, [questions] {
        if (auto *box = qobject_cast<NoticeBox *>(QApplication::activeModalWidget())) {
            questions->append(box->text());
            const char *button = box->kind() == NoticeBox::Confirm ? "pb_yes" : "pb_ok";
            QTest::mouseClick(box->findChild<QPushButton *>(button), Qt::LeftButton);
        }
    });
    timer->start();
}

} // namespace NoticeAnswers
