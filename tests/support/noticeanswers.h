#pragma once

// Answers the program's notice and confirm boxes from inside a test, with
// real clicks on their buttons, while the box runs its own event loop.
#include "gui/widgets/noticebox.h"

#include <QApplication>
#include <QPushButton>
#include <QStringList>
#include <QTimer>
#include <QtTest>

namespace NoticeAnswers {

/// Presses a button of the next box to open, and remembers its text.
inline void answerNextBox(const char *button, QString *text = nullptr, int tries = 400)
{
    QTimer::singleShot(5, [=] {
        auto *box = qobject_cast<NoticeBox *>(QApplication::activeModalWidget());
        if (!box) {
            if (tries > 0)
                answerNextBox(button, text, tries - 1);
            return;
        }
        if (text)
            *text = box->text();
        QTest::mouseClick(box->findChild<QPushButton *>(button), Qt::LeftButton);
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
